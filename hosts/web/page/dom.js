// Elements of the page: made from names, properties and texts, never from markup, so that nothing
// of a file is read as HTML.
(function (page) {
  "use strict";

  const svgNames = "http://www.w3.org/2000/svg";

  page.el = (id) => document.getElementById(id);

  function filled(element, attributes, children) {
    for (const [name, value] of Object.entries(attributes || {})) {
      if (name === "text") {
        element.textContent = value;
      } else if (name.startsWith("on")) {
        element.addEventListener(name.slice(2), value);
      } else if (value !== null && value !== undefined && value !== false) {
        element.setAttribute(name, value === true ? "" : value);
      }
    }
    element.append(...(children || []));
    return element;
  }

  // An HTML element; the attribute "text" is its content, "onclick" and so on are listeners.
  page.make = (tag, attributes, children) =>
    filled(document.createElement(tag), attributes, children);

  page.makeSvg = (tag, attributes, children) =>
    filled(document.createElementNS(svgNames, tag), attributes, children);

  page.show = (id, visible) => {
    page.el(id).hidden = !visible;
  };

  // What is wrong, where a screen reader tells it at once; an empty text takes it away.
  page.complain = (text) => {
    const place = page.el("message");
    place.textContent = text;
    place.hidden = text === "";
  };

  page.tell = (text) => {
    page.el("status").textContent = text;
  };

  // Fills a table: `columns` are texts, `rows` lists of cells, { text, field, value }.
  page.fillTable = (table, columns, rows) => {
    const head = page.make("tr", {}, columns.map((text) => page.make("th", { scope: "col", text })));
    table.tHead.replaceChildren(head);
    table.tBodies[0].replaceChildren(...rows);
  };

  page.cell = (text, field, value) =>
    page.make("td", { text, "data-field": field,
      "data-value": value === undefined ? undefined : String(value) });

  // One call of `job` for each frame at most, with the arguments of the last request.
  page.eachFrame = (job) => {
    let wanted = false;
    return () => {
      if (!wanted) {
        wanted = true;
        requestAnimationFrame(() => {
          wanted = false;
          job();
        });
      }
    };
  };
})((globalThis.VorinPage = globalThis.VorinPage || {}));
