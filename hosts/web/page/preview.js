// What was read of the selected file, and the controls that correct it: the list of decays, the
// first rows with a role for each column, and the first samples, which can be left out.
(function (page) {
  "use strict";

  const shownRows = 10;
  const shownColumns = 12;
  const roles = ["", "time", "amplitude", "imaginary"];

  function drawList() {
    const items = [];
    for (const file of page.session.files) {
      const decays = page.session.decays.filter((decay) => decay.file === file.id);
      if (decays.length === 0) {
        items.push(badItem(file));
      }
      decays.forEach((decay, index) => items.push(item(file, decay, index === 0)));
    }
    page.el("decays").replaceChildren(...items);
  }

  function badItem(file) {
    const select = page.make("button", { type: "button", class: "name", text: file.name,
      "aria-pressed": String(page.session.selected === file.id), onclick: () => page.select(file.id) });
    return page.make("li", { class: "bad", "data-file": file.id }, [
      select, removal(file),
      page.make("p", { class: "complaint", title: file.complaint,
        text: file.complaint ? "can't be read" : "being read" })]);
  }

  function item(file, decay, first) {
    const shown = page.make("input", { type: "checkbox", "aria-label": `Draw ${decay.name}`,
      onchange: () => {
        decay.shown = shown.checked;
        page.emit("decays");
      } });
    shown.checked = decay.shown;
    const state = decay.complaint ? "bad" : decay.inversion ? "done" : "";
    const select = page.make("button", { type: "button", class: "name", text: decay.name,
      "aria-pressed": String(page.session.selected === decay.id), onclick: () => page.select(decay.id) });
    const samples = `${decay.time.length} samples${decay.imaginary ? ", complex" : ""}`;
    return page.make("li", { class: `colour${decay.colour} ${state}`, "data-id": decay.id }, [
      shown, page.make("span", { class: "swatch", "aria-hidden": "true" }), select,
      page.make("span", { class: "samples", text: samples }),
      ...(first ? [removal(file)] : []),
      ...(decay.complaint ? [page.make("p", { class: "complaint", text: decay.complaint })] : [])]);
  }

  const removal = (file) =>
    page.make("button", { type: "button", class: "remove", text: "×",
      "aria-label": `Remove ${file.name}`, onclick: () => page.removeFile(file.id) });

  function drawReading() {
    const file = page.selectedFile();
    page.show("reading-part", file !== null);
    page.show("rows-part", file !== null);
    if (!file) {
      return;
    }
    for (const control of page.el("reading").querySelectorAll("input:not([type=checkbox]), select")) {
      const name = control.name || "turn";
      const text = file.reading[name] || (name === "skip" ? "0" : "");
      if (control.value !== text && control !== document.activeElement) {
        control.value = text;
      }
    }
    const complex = file.found?.imaginary !== undefined;
    page.el("turn").closest(".field").hidden = !complex;
    const found = file.found;
    page.el("found").textContent = found
      ? `${found.format}; columns ${found.columns}; unit ${found.unit} (${found.unit_origin})` : "";
    page.el("reading-notes").replaceChildren(
      ...(found ? found.notes : []).map((text) => page.make("li", { text })));
    page.el("reading-part").querySelector("details").open ||= !found;
    drawTables(file);
  }

  // The first lines of a text, in fields. Only for the eyes: the toolkit's reader decides.
  function firstRows(file) {
    const start = file.bytes.subarray(0, 1 << 14);
    if (start.includes(0)) {
      return [];
    }
    const text = new TextDecoder("utf-8").decode(start);
    const lines = text.split(/\r\n|\r|\n/).slice(0, shownRows + 8);
    const separator = [";", "\t", ","].find((mark) => lines.some((line) => line.includes(mark)));
    return lines.filter((line) => line.trim() !== "").slice(0, shownRows)
      .map((line) => (separator ? line.split(separator) : line.trim().split(/\s+/)).slice(0, shownColumns));
  }

  function drawTables(file) {
    const decay = page.selectedDecay();
    const raw = firstRows(file);
    page.show("raw-part", raw.length > 0);
    page.show("preview-part", decay !== null);
    if (raw.length > 0) {
      drawRaw(page.el("raw"), file, raw);
    }
    if (decay) {
      drawSamples(page.el("preview"), file, decay);
    }
    page.el("rows-part").querySelector("details").open ||= !file.found;
  }

  function drawSamples(table, file, decay) {
    const skip = Number(file.reading.skip || 0);
    const columns = ["left out", "time or b (SI)", "amplitude", ...(decay.imaginary ? ["imaginary"] : [])];
    const rows = Array.from({ length: Math.min(shownRows, decay.time.length) }, (_, i) => {
      const box = page.make("input", { type: "checkbox", "aria-label": `Leave out samples up to ${i + 1}`,
        onchange: () => change("skip", String(box.checked ? i + 1 : i)) });
      box.checked = i < skip;
      return page.make("tr", { class: i < skip ? "out" : "" }, [
        page.make("td", {}, [box]), page.cell(page.number(decay.time[i], 6), "time", decay.time[i]),
        page.cell(page.number(decay.amplitude[i], 6), "amplitude", decay.amplitude[i]),
        ...(decay.imaginary ? [page.cell(page.number(decay.imaginary[i], 6), "imaginary", decay.imaginary[i])] : [])]);
    });
    page.fillTable(table, columns, rows);
  }

  // The file's own first lines, with what each column is taken for.
  function drawRaw(table, file, raw) {
    const width = Math.max(...raw.map((row) => row.length));
    const taken = Array.from((file.found ? file.found.columns : "").matchAll(/(?:^|, )(\d+)/g),
      (match) => Number(match[1]));
    const choices = Array.from({ length: width }, (_, column) => {
      const choice = page.make("select", { "aria-label": `Column ${column + 1} is` },
        roles.map((role) => page.make("option", { value: role, text: role || "not read" })));
      choice.value = roles[taken.indexOf(column + 1) + 1] || "";
      choice.addEventListener("change", () => assign(choices.map((one) => one.value)));
      return choice;
    });
    table.tHead.replaceChildren(page.make("tr", {}, choices.map((choice, column) =>
      page.make("th", { scope: "col" }, [page.make("span", { text: `${column + 1} ` }), choice]))));
    table.tBodies[0].replaceChildren(...raw.map((fields) => page.make("tr", {},
      Array.from({ length: width }, (_, i) => page.make("td", { text: (fields[i] || "").slice(0, 40) })))));
  }

  function assign(chosen) {
    const places = roles.slice(1).map((role) => chosen.indexOf(role) + 1);
    if (places[0] > 0 && places[1] > 0) {
      change("columns", places.filter((place) => place > 0).join(","));
    }
  }

  // A setting of how the selected file is read, or all files.
  function change(name, text) {
    const file = page.selectedFile();
    const files = page.el("reading-all").checked ? page.session.files : [file];
    files.forEach((one) => {
      one.reading = { ...one.reading, [name]: text };
    });
    if (name === "skip") {
      page.session.decays.filter((decay) => files.some((one) => one.id === decay.file)).forEach(page.forget);
      page.emit("inverted");
      page.emit("selected");
    } else {
      page.readAgain(files);
    }
  }

  page.startPreview = () => {
    page.on("decays", drawList);
    page.on("selected", drawList);
    page.on("selected", drawReading);
    page.on("inverted", drawList);
    page.el("reading").addEventListener("change", ({ target }) => {
      if (target.id !== "reading-all") {
        change(target.name || "turn", target.value.trim());
      }
    });
    page.el("reading").addEventListener("submit", (event) => event.preventDefault());
  };
})((globalThis.VorinPage = globalThis.VorinPage || {}));
