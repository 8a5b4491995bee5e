// The axes of a plot: lines of a grid, ticks, numbers and labels.
(function (page) {
  "use strict";

  const text = (x, y, content, attributes) =>
    page.makeSvg("text", { x: x.toFixed(1), y: y.toFixed(1), text: content, ...attributes });

  function across(scale, y, content) {
    const [top, foot] = [y.range[1], y.range[0]];
    const parts = [];
    for (const { value, label } of scale.ticks(Math.max(3, (scale.range[1] - scale.range[0]) / 90))) {
      const at = scale.at(value);
      parts.push(page.makeSvg("path", { class: label ? "gridline" : "gridline minor", d: `M${at.toFixed(1)},${top}V${foot}` }));
      if (label) {
        parts.push(text(at, foot + 17, label, { "text-anchor": "middle", class: "number" }));
      }
    }
    parts.push(text((scale.range[0] + scale.range[1]) / 2, foot + 37, content.label,
      { "text-anchor": "middle", class: "label" }));
    return parts;
  }

  function upwards(scale, x, content, right) {
    const side = right ? x.range[1] : x.range[0];
    const parts = [];
    for (const { value, label } of scale.ticks(Math.max(3, (scale.range[0] - scale.range[1]) / 45))) {
      const at = scale.at(value);
      if (!right) {
        parts.push(page.makeSvg("path", { class: label ? "gridline" : "gridline minor", d: `M${x.range[0]},${at.toFixed(1)}H${x.range[1]}` }));
      }
      if (label) {
        parts.push(text(side + (right ? 7 : -7), at + 4, label, { "text-anchor": right ? "start" : "end", class: "number" }));
      }
    }
    const middle = (scale.range[0] + scale.range[1]) / 2;
    const place = side + (right ? 46 : -50);
    parts.push(text(place, middle, content.label, { "text-anchor": "middle", class: "label",
      transform: `rotate(-90 ${place.toFixed(1)} ${middle.toFixed(1)})` }));
    return parts;
  }

  page.axes = (content, { x, y, ySide }) =>
    page.makeSvg("g", { class: "axes" }, [
      ...across(x, y, content.x), ...upwards(y, x, content.y, false),
      ...(ySide ? upwards(ySide, x, content.y2, true) : []),
      page.makeSvg("rect", { class: "frame", x: x.range[0], y: y.range[1],
        width: x.range[1] - x.range[0], height: y.range[0] - y.range[1] }),
    ]);
})((globalThis.VorinPage = globalThis.VorinPage || {}));
