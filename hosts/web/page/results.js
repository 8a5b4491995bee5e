// What was found, in words and tables: the selected decay's verdict, notes, shares and peaks, and a
// row for each decay. Cells hold the full numbers in data-value, in SI units.
(function (page) {
  "use strict";

  const text = { grid: (value, kernel) => page.gridValue(value, kernel) };

  // A number with its interval by the bootstrap below it.
  function measured(field, object, name, show) {
    const value = object[name];
    const cell = page.cell(show(value), field, value);
    const interval = page.interval(object[`${name}_lower`], object[`${name}_upper`], show);
    if (interval) {
      cell.append(page.make("small", { text: interval }));
    }
    return cell;
  }

  // The parts between cutoffs in the words of the trade where there is one cutoff.
  function partName(parts, index, kernel) {
    const { from, to } = parts[index];
    const range = to === null ? `above ${text.grid(from, kernel)}`
      : from > 0 ? `${text.grid(from, kernel)} to ${text.grid(to, kernel)}` : `below ${text.grid(to, kernel)}`;
    const word = parts.length === 2 && kernel !== "diffusion" ? ["bound, ", "free, "][index] : "";
    return word + range;
  }

  function drawShares(report) {
    const parts = report.cutoffs || [];
    page.show("shares-part", parts.length > 0);
    page.fillTable(page.el("shares"), ["part", "amount", "share"], parts.map((part, i) =>
      page.make("tr", {}, [page.make("th", { scope: "row", text: partName(parts, i, report.kernel) }),
        measured("amount", part, "amount", page.amplitude), measured("share", part, "share", page.percent)])));
  }

  function drawPeaks(report) {
    const peaks = report.peaks || [];
    const grid = (value) => text.grid(value, report.kernel);
    page.show("peaks-part", peaks.length > 0);
    page.fillTable(page.el("peaks"), ["position", "share", "amount", "width (decades)", "centre"],
      peaks.map((peak) => page.make("tr", {}, [
        measured("position", peak, "position", grid), measured("share", peak, "share", page.percent),
        measured("amount", peak, "amount", page.amplitude),
        measured("width", peak, "width", (value) => page.number(value, 2)),
        measured("centre", peak, "centre", grid)])));
  }

  function verdict(decay) {
    const { inversion, report } = decay;
    const grid = (value) => text.grid(value, inversion.kernel);
    const place = page.el("verdict");
    place.className = inversion.success ? "good" : "bad";
    if (!inversion.success) {
      return inversion.finding_text || inversion.status_text;
    }
    const band = report.bootstrap;
    const interval = band ? ` (${page.interval(band.log_mean_lower, band.log_mean_upper, grid)})` : "";
    const offset = Number.isFinite(inversion.offset) ? `, baseline ${page.amplitude(inversion.offset)}` : "";
    const phase = Number.isFinite(inversion.phase) ? `, phase ${((inversion.phase * 180) / Math.PI).toFixed(1)}°` : "";
    const status = inversion.finding_text || inversion.status_text;
    return `${status[0].toUpperCase()}${status.slice(1)}. Log mean ${grid(inversion.log_mean)}${interval}, total ${page.amplitude(inversion.total)}, ` +
      `signal to noise ${page.number(inversion.signal_to_noise)}, weight ${page.number(inversion.weight)}${offset}${phase}.`;
  }

  function drawOne() {
    const decay = page.selectedDecay();
    page.show("welcome", page.session.files.length === 0 && page.el("map").hidden);
    const file = page.selectedFile();
    page.show("one", file !== null);
    page.el("one").querySelector(".plots").hidden = decay === null;
    if (!file) {
      return;
    }
    const { inversion, report, name, complaint } = decay || { name: file.name, complaint: file.complaint };
    page.el("one-heading").textContent = name;
    page.el("verdict").textContent = inversion ? verdict(decay) : complaint;
    page.show("verdict", Boolean(inversion || complaint));
    if (!inversion) {
      page.el("verdict").className = "bad";
    }
    page.el("notes").replaceChildren(...(inversion ? inversion.notes : []).map((note) => page.make("li", { text: note })));
    page.show("summary-part", Boolean(inversion));
    if (report) {
      page.el("summary").textContent = decay.summary || "";
      drawShares(report);
      drawPeaks(report);
    } else {
      page.show("shares-part", false);
      page.show("peaks-part", false);
    }
  }

  const columns = ["decay", "samples", "status", "noise", "weight", "standard error", "log mean", "mean", "total", "peaks"];

  // In a word; the title has the sentence.
  function statusWord(report) {
    return report.success ? "success" : report.status === 0 ? "doubtful" : `failed (${report.status})`;
  }

  function row(decay) {
    const { report } = decay;
    const name = page.make("th", { scope: "row" }, [page.make("button", { type: "button", class: "name",
      text: decay.name, onclick: () => page.select(decay.id) })]);
    const about = { "data-id": decay.id, "data-name": decay.name,
      class: decay.id === page.session.selected ? "selected" : "" };
    if (!report) {
      return page.make("tr", about, [name, page.make("td", { colspan: "9", class: "complaint", text: decay.complaint })]);
    }
    const grid = (value) => text.grid(value, report.kernel);
    const status = page.cell(statusWord(report), "status", report.status);
    status.title = report.finding_text || report.status_text;
    const logMean = page.cell(grid(report.log_mean), "log_mean", report.log_mean);
    if (report.bootstrap) {
      logMean.append(page.make("small", { text: page.interval(report.bootstrap.log_mean_lower, report.bootstrap.log_mean_upper, grid) }));
    }
    return page.make("tr", about, [name, page.cell(String(report.samples), "samples", report.samples), status,
      page.cell(page.number(report.noise), "noise", report.noise),
      page.cell(page.number(report.weight), "weight", report.weight),
      page.cell(page.number(report.standard_error), "standard_error", report.standard_error), logMean,
      measured("mean", report, "mean", grid), page.cell(page.amplitude(report.total), "total", report.total),
      page.cell(String(report.peaks.length), "peaks", report.peaks.length),
      ...report.percentiles.map((one) => measured(`p${one.percent}`, one, "position", grid)),
      ...(report.cutoffs || []).map((part, i) => measured(`share${i}`, part, "share", page.percent))]);
  }

  function drawTable() {
    const rows = page.session.decays.filter((decay) => decay.report || decay.complaint);
    page.show("table-part", rows.length > 0);
    const first = rows.find((decay) => decay.report)?.report;
    const more = first ? [...first.percentiles.map((one) => `${one.percent} %`),
      ...(first.cutoffs || []).map((part, i) => partName(first.cutoffs, i, first.kernel))] : [];
    page.fillTable(page.el("results"), [...columns, ...more], rows.map(row));
  }

  page.startResults = () => {
    for (const event of ["decays", "selected", "inverted", "measured"]) {
      page.on(event, drawOne);
      page.on(event, drawTable);
    }
  };
})((globalThis.VorinPage = globalThis.VorinPage || {}));
