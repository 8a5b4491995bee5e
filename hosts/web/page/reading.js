// Files: dropped, chosen or pasted, read by the toolkit in the worker, and read anew when the user
// corrects how.
(function (page) {
  "use strict";

  // Files that hold parameters of the data beside them, and no data.
  const parameters = /^(acqus?|acqu\d+s?|acqu\.par|proc\w*|vdlist|vclist|vplist|.*\.par)$/i;
  const mostParameterBytes = 4e6;

  const bytesOf = async (file) => new Uint8Array(await file.arrayBuffer());

  // All files of a drop, those in folders too: { name, folder, file }.
  async function filesOf(transfer) {
    // The entry of a file can't be read in a page that was itself opened as a file, so that files are
    // taken as such. All of it is asked for before the first wait, after which the drop is forgotten.
    const found = [];
    const entries = [];
    for (const item of transfer.items) {
      const entry = item.webkitGetAsEntry?.();
      const file = item.kind === "file" ? item.getAsFile() : null;
      if (entry?.isDirectory) {
        entries.push(entry);
      } else if (file) {
        found.push({ folder: "", file });
      }
    }
    const visit = async (entry, folder) => {
      if (entry.isFile) {
        found.push({ folder, file: await new Promise((done, fail) => entry.file(done, fail)) });
        return;
      }
      const reader = entry.createReader();
      for (;;) {
        const part = await new Promise((done, fail) => reader.readEntries(done, fail));
        if (part.length === 0) {
          return;
        }
        for (const inner of part) {
          await visit(inner, `${folder}/${entry.name}`);
        }
      }
    };
    for (const entry of entries) {
      try {
        await visit(entry, "");
      } catch {
        throw new Error(`${entry.name}: this browser reads no folders here; drop the files that are in it`);
      }
    }
    return found;
  }

  // Reads what was dropped or chosen. `found` is a list of { folder, file }.
  async function addFiles(found) {
    page.complain("");
    const beside = new Map();
    for (const { folder, file } of found) {
      if (parameters.test(file.name) && file.size <= mostParameterBytes) {
        beside.set(folder, { ...beside.get(folder), [file.name]: await bytesOf(file) });
      }
    }
    let data = found.filter(({ file }) => !parameters.test(file.name));
    if (data.length === 0) {
      data = found;  // a single file with an unlucky name
    }
    const made = [];
    for (const { folder, file } of data) {
      const companions = { ...beside.get(folder) };
      delete companions[file.name];
      made.push({ id: page.nextId(), name: file.name, bytes: await bytesOf(file), companions,
        reading: { ...page.startReading }, found: null, complaint: "" });
    }
    if (page.el("as-map").checked) {
      made.forEach((file) => page.openMap(file));
      return;
    }
    await addData(made);
  }

  async function addData(files) {
    page.session.files.push(...files);
    const outcomes = await Promise.all(files.map(read));
    if (outcomes.includes("cancelled")) {
      return;
    }
    const bad = files.filter((file) => file.complaint);
    page.complain(bad.map((file) => file.complaint).join("\n"));
    const first = files.find((file) => !file.complaint) || files[0];
    const decay = page.session.decays.find((other) => other.file === first.id);
    page.emit("decays");
    page.select(decay ? decay.id : first.id);
    const count = page.session.decays.filter((other) => files.some((file) => file.id === other.file)).length;
    page.tell(`${count} decays read`);
  }

  // What the toolkit's reader is told.
  function readSettings(file) {
    const { columns, time_unit, spacing, header_lines } = file.reading;
    const given = { columns, time_unit, spacing, header_lines, kernel: page.kernel() };
    return Object.fromEntries(Object.entries(given).filter(([, text]) => text));
  }

  // Reads the file by its settings; what is wrong becomes its complaint.
  async function read(file) {
    const version = (file.version = (file.version || 0) + 1);
    try {
      const result = await page.engine.run("read", { name: file.name, bytes: file.bytes,
        settings: readSettings(file), companions: file.companions });
      if (version !== file.version) {
        return "outdated";
      }
      file.complaint = "";
      file.found = result;
      page.replaceDecays(file, decaysOf(file, result));
    } catch (error) {
      if (error instanceof page.engine.Cancelled) {
        return "cancelled";
      }
      file.found = null;
      file.complaint = error.message;
      page.replaceDecays(file, []);
    }
    return "read";
  }

  function decaysOf(file, result) {
    let start = 0;
    return Array.from(result.sizes, (size, index) => {
      const part = (values) => values.slice(start, start + size);
      const column = result.sizes.length > 1 ? `: ${result.names[index]}` : "";
      const decay = { file: file.id, name: file.name + column, time: part(result.time),
        amplitude: part(result.amplitude), imaginary: result.imaginary ? part(result.imaginary) : null };
      start += size;
      page.forget(decay);
      turn(decay, file.reading.turn);
      return decay;
    });
  }

  // Complex data turned back by an angle that the user gives; the toolkit finds the others.
  function turn(decay, text) {
    const degrees = Number((text || "").replace(",", "."));
    if (!decay.imaginary || !text || !Number.isFinite(degrees)) {
      return;
    }
    const [c, s] = [Math.cos((degrees * Math.PI) / 180), Math.sin((degrees * Math.PI) / 180)];
    decay.amplitude = decay.amplitude.map((real, i) => real * c + decay.imaginary[i] * s);
    decay.imaginary = null;
  }

  // Reads files anew after a change of their settings.
  async function readAgain(files) {
    const outcomes = await Promise.all(files.map(read));
    if (outcomes.every((outcome) => outcome === "read")) {
      page.complain(files.map((file) => file.complaint).filter(Boolean).join("\n"));
      if (!page.selectedDecay() && files[0]) {
        const decay = page.session.decays.find((other) => other.file === files[0].id);
        page.session.selected = decay ? decay.id : files[0].id;
      }
      page.emit("decays");
      page.emit("selected");
    }
  }

  async function addText(name, text) {
    await addData([{ id: page.nextId(), name, bytes: new TextEncoder().encode(text), companions: {},
      reading: { ...page.startReading }, found: null, complaint: "" }]);
  }

  // The sample decay: 3000 echoes of two peaks, 8 and 90 ms.
  async function addExample() {
    page.complain("");
    const { time, amplitude } = await page.engine.run("simulate", { settings: {} });
    const rows = Array.from(time, (t, i) => `${Number(t.toPrecision(7))},${Number(amplitude[i].toPrecision(7))}`);
    await addText("decay.csv", `time_s,amplitude\n${rows.join("\n")}\n`);
  }

  Object.assign(page, { filesOf, addFiles, addText, addExample, readAgain });
})((globalThis.VorinPage = globalThis.VorinPage || {}));
