// Numbers as text for reading, in units that suit them. Exports have the toolkit's own texts.
(function (page) {
  "use strict";

  const missing = "–";
  const timeUnits = [[1, "s"], [1e-3, "ms"], [1e-6, "µs"], [1e-9, "ns"]];

  const known = (value) => typeof value === "number" && Number.isFinite(value);

  // Three significant places, or as many as asked for.
  page.number = (value, places = 3) => {
    if (!known(value)) {
      return missing;
    }
    const size = Math.abs(value);
    const text = value.toPrecision(places);
    if (size !== 0 && (size < 1e-3 || size >= 1e6)) {
      return value.toExponential(places - 1).replace("e+", "e");
    }
    return text.includes("e") ? String(Math.round(value)) : text;
  };

  // An amplitude: five places, without zeros at the end.
  page.amplitude = (value) =>
    known(value) ? String(Number(value.toPrecision(4))) : missing;

  // A value of the distribution's axis.
  page.gridValue = (value, kernel) => {
    if (!known(value)) {
      return missing;
    }
    if (kernel === "diffusion") {
      return `${page.number(value)} m²/s`;
    }
    const [size, name] = timeUnits.find(([unit]) => Math.abs(value) >= 0.9995 * unit) || timeUnits[3];
    return `${page.number(value / size)} ${name}`;
  };

  page.percent = (share) => (known(share) ? `${(100 * share).toFixed(1)} %` : missing);

  // "5.1 to 6.3", where a bootstrap gives an interval.
  page.interval = (lower, upper, text) =>
    known(lower) && known(upper) ? `${text(lower)} to ${text(upper)}` : "";

  // A name for files of a decay: without folder and ending, without characters that some system
  // forbids.
  page.stem = (name) =>
    name.replace(/^.*[/\\]/, "").replace(/\.[^.]*$/, "").replace(/[^\p{L}\p{N}._ -]/gu, "_").slice(0, 80) ||
    "decay";
})((globalThis.VorinPage = globalThis.VorinPage || {}));
