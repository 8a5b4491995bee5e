// Two-dimensional data: read, inverted to a map over two axes, with its peaks and files.
(function (page) {
  "use strict";

  // { name, file, data: { times1, times2, samples, imaginary }, inversion, settings }
  let map = null;

  const form = () => page.el("map-settings");
  const readingNames = ["time_unit1", "time_unit2"];

  page.mapName = () => map.name;
  page.presentMap = () => map;

  // Two peaks with T1/T2 of 1.7 and 2.5: 32 recoveries by 2000 echoes, noise of 0.5.
  async function openExample() {
    page.complain("");
    const times1 = Float64Array.from({ length: 32 }, (_, i) => 1e-3 * 5000 ** (i / 31));
    const times2 = Float64Array.from({ length: 2000 }, (_, i) => 5e-4 * (i + 1));
    const peaks = [[0.5, 0.3, 0.1, 60], [0.05, 0.02, 0.1, 40]];
    try {
      const { samples } = await page.engine.run("simulate2d", { times1, times2, peaks, settings: { seed: "3" } });
      take({ name: "t1t2.csv", file: null, data: { times1, times2, samples, imaginary: null }, inversion: null });
    } catch (error) {
      page.complain(error.message);
    }
  }

  function take(next) {
    map = next;
    page.show("method", page.session.files.length > 0);
    page.show("keep", page.session.files.length > 0);
    page.show("map", true);
    page.show("welcome", false);
    draw();
    page.el("map-heading").scrollIntoView({ block: "start" });
  }

  function readSettings() {
    const values = page.formValues(form());
    const names = [...readingNames, "kernel1", "kernel2"];
    return Object.fromEntries(Object.entries(values).filter(([name]) => names.includes(name)));
  }

  page.openMap = async (file) => {
    page.complain("");
    try {
      const data = await page.engine.run("read2d", { name: file.name, bytes: file.bytes,
        companions: file.companions, settings: readSettings() });
      take({ name: file.name, file, data, inversion: null });
    } catch (error) {
      if (!(error instanceof page.engine.Cancelled)) {
        page.complain(error.message);
      }
    }
  };

  async function invert() {
    const { data } = map;
    page.complain("");
    page.show("cancel", true);
    page.el("map-run").disabled = true;
    try {
      const settings = Object.fromEntries(Object.entries(page.formValues(form()))
        .filter(([name]) => !readingNames.includes(name)));
      map.inversion = await page.engine.run("invert2d", { ...data, settings }, (done, total) => {
        page.show("progress-part", true);
        page.el("progress").value = done / total;
        page.el("progress-text").textContent = "inverting the map";
      });
      page.tell("map inverted");
    } catch (error) {
      map.inversion = null;
      if (!(error instanceof page.engine.Cancelled)) {
        page.complain(error.message);
      }
    }
    page.show("cancel", false);
    page.show("progress-part", false);
    draw();
  }

  const facts = [
    ["total", "total", (value) => page.amplitude(value)], ["log_mean1", "log mean of the rows", "kernel1"],
    ["log_mean2", "log mean of the columns", "kernel2"], ["weight", "weight", (value) => page.number(value)],
    ["noise", "noise", (value) => page.number(value)],
    ["standard_error", "standard error", (value) => page.number(value)],
    ["wanted_standard_error", "wanted standard error", (value) => page.number(value)],
    ["closest_standard_error", "closest standard error", (value) => page.number(value)],
  ];

  function draw() {
    const { inversion, data } = map;
    page.el("map-heading").textContent = map.name;
    page.el("map-run").disabled = false;
    ["csv", "json", "svg", "png"].forEach((kind) => {
      page.el(`map-export-${kind}`).disabled = !inversion;
    });
    const place = page.el("map-verdict");
    place.className = !inversion ? "" : inversion.success ? "good" : "bad";
    const sentence = (text) => `${text[0].toUpperCase()}${text.slice(1)}.`;
    place.textContent = inversion ? sentence(inversion.status_text)
      : `${data.times1.length} x ${data.times2.length} samples${data.imaginary ? ", complex" : ""}`;
    const grid = (value, axis) => page.gridValue(value, inversion[`kernel${axis}`]);
    page.el("map-results").tBodies[0].replaceChildren(...(inversion ? facts : []).map(([field, label, show]) =>
      page.make("tr", {}, [page.make("th", { scope: "row", text: label }),
        page.cell(typeof show === "string" ? grid(inversion[field], show.at(-1)) : show(inversion[field]), field, inversion[field])])));
    page.fillTable(page.el("map-peaks"), inversion ? ["rows", "columns", "share", "log mean, rows", "log mean, columns"] : [],
      Array.from(inversion ? inversion.peak_share : [], (share, i) => page.make("tr", {}, [
        page.cell(grid(inversion.peak_position1[i], 1), "position1", inversion.peak_position1[i]),
        page.cell(grid(inversion.peak_position2[i], 2), "position2", inversion.peak_position2[i]),
        page.cell(page.percent(share), "share", share),
        page.cell(grid(inversion.peak_log_mean1[i], 1), "log_mean1", inversion.peak_log_mean1[i]),
        page.cell(grid(inversion.peak_log_mean2[i], 2), "log_mean2", inversion.peak_log_mean2[i])])));
    page.drawMap(inversion);
  }

  async function saveText(textForm, ending, kind) {
    try {
      const text = await page.engine.run("mapText", { form: textForm, name: map.name });
      page.save(`${page.stem(map.name)}${ending}`, text, kind);
    } catch (error) {
      page.complain(error.message);
    }
  }

  page.startMap = () => {
    page.startMapPlot();
    page.on("decays", () => {
      page.show("method", true);
      page.show("keep", true);
    });
    page.el("example-map").addEventListener("click", openExample);
    page.el("map-run").addEventListener("click", invert);
    page.el("map-export-csv").addEventListener("click", () => saveText("distribution", "_map.csv", "text/csv"));
    page.el("map-export-json").addEventListener("click", () => saveText("json", "_map.json", "application/json"));
    page.el("map-export-svg").addEventListener("click", () => page.savePicture(["plot-map"], "svg"));
    page.el("map-export-png").addEventListener("click", () => page.savePicture(["plot-map"], "png"));
    form().addEventListener("change", ({ target }) => {
      page.adaptForm(form());
      if (map?.file && [...readingNames, "kernel1", "kernel2"].includes(target.name)) {
        page.openMap(map.file);
      }
    });
    form().addEventListener("submit", (event) => event.preventDefault());
  };
})((globalThis.VorinPage = globalThis.VorinPage || {}));
