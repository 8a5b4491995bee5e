// The worker of the page: loads the WebAssembly module and does the jobs that the page sends, one
// after the other. To cancel, the page ends the worker and starts another.
//
//   in   { kind: "load", bytes }                    the bytes of vorin_web.wasm
//        { id, kind, ... }                          a job, a member of `jobs` below
//   out  { kind: "ready", version, settings }       after loading
//        { id, kind: "progress", done, total }
//        { id, kind: "done", value } or { id, kind: "error", message, status }
//        { kind: "failed", message }                the module can't be loaded
"use strict";

(function () {
  let vorin = null;
  // By the page's key of a decay: its inversion and its bootstrap, for later jobs on them.
  const inversions = new Map();
  const bootstraps = new Map();
  // The settings of the slider, with the kernel that they keep.
  let dragged = { key: "", handle: null };

  function keep(store, key, made) {
    release(store, key);
    store.set(key, made);
    return made.fields;
  }

  function release(store, key) {
    if (store.has(key)) {
      store.get(key).free();
      store.delete(key);
    }
  }

  function opened(job, settings) {
    release(bootstraps, job.key);
    const made = vorin.openInversion(job.time, job.amplitude, settings, job.imaginary);
    return keep(inversions, job.key, made);
  }

  function invert(job) {
    return { ...withCurves(opened(job, job.settings)), ...told(job) };
  }

  // The inversion at one weight by settings that stay: the kernel is computed once.
  function drag(job) {
    const { weight, ...others } = job.settings;
    const key = JSON.stringify([job.key, others]);
    if (dragged.key !== key) {
      dragged.handle?.free();
      dragged = { key: "", handle: null };
      dragged = { key, handle: vorin.openSettings(others) };
    }
    dragged.handle.set("weight", weight);
    return { ...withCurves(opened(job, dragged.handle)), ...told(job) };
  }

  // What is told of an inversion: the object of the command's JSON, and its summary.
  function told(job) {
    return { report: JSON.parse(text("json", [job], job.measures)),
      summary: text("summary", [job], job.measures) };
  }

  // A text of the command's files, of inversions that are made again where they are gone.
  function text(form, jobs, settings, picture = null) {
    const items = jobs.map((job) => ({ name: job.name, inversion: inversionOf(job),
      bootstrap: bootstraps.get(job.key) || null }));
    // A table has intervals for all of its rows or for none.
    const some = form === "table" && items.some((item) => item.bootstrap === null);
    return vorin.writeText(form, some ? items.map((item) => ({ ...item, bootstrap: null })) : items,
      settings, picture);
  }

  // An inversion with what its plots show beside it.
  function withCurves(fields) {
    const { cumulative } = vorin.measures(fields.grid, fields.distribution);
    const axes = vorin.pictureAxes(fields.kernel, fields.time[fields.time.length - 1],
      fields.grid[fields.grid.length - 1]);
    const residual = fields.amplitude.map((value, i) => value - fields.fit[i]);
    return { ...fields, cumulative, residual, axes };
  }

  function inversionOf(job) {
    if (!inversions.has(job.key)) {
      opened(job, job.settings);
    }
    return inversions.get(job.key);
  }

  function bootstrap(job) {
    const made = vorin.openBootstrap(inversionOf(job), job.bootstrap, (done, total) =>
      self.postMessage({ id: job.id, kind: "progress", done, total }));
    return { band: keep(bootstraps, job.key, made), ...told(job) };
  }

  // An inversion of two-dimensional data; the last one is kept for its texts.
  function invert2d(job) {
    const made = vorin.openInversion2d(job.times1, job.times2, job.samples, job.settings,
      job.imaginary, (done, total) => self.postMessage({ id: job.id, kind: "progress", done, total }));
    const { samples, ...fields } = keep(inversions, "map", made);
    const axes = [1, 2].map((axis) => {
      const times = job[`times${axis}`];
      const grid = fields[`grid${axis}`];
      return vorin.pictureAxes(fields[`kernel${axis}`], times[times.length - 1], grid[grid.length - 1]);
    });
    return { ...fields, axes };
  }

  function mapText(job) {
    return vorin.writeText(job.form, [{ name: job.name, inversion: inversions.get("map"), bootstrap: null }],
      {}, null);
  }

  const jobs = {
    read: (job) => vorin.readDecay(job.name, job.bytes, job.settings, job.companions),
    invert,
    drag,
    bootstrap,
    lcurve: (job) => vorin.lcurve(inversionOf(job)),
    forget: (job) => {
      release(inversions, job.key);
      release(bootstraps, job.key);
    },
    axes: (job) => vorin.pictureAxes(job.kernel, job.lastAbscissa, job.lastOnGrid),
    simulate: (job) => vorin.simulate(job.settings),
    simulate2d: (job) => vorin.simulate2d(job.times1, job.times2, job.peaks, job.settings),
    read2d: (job) => vorin.read2d(job.name, job.bytes, job.settings, job.companions),
    invert2d,
    mapText,
    measure: told,
    text: (job) => text(job.form, job.jobs, job.measures, job.picture),
  };

  async function load(bytes) {
    try {
      if (typeof createVorinModule === "undefined") {
        importScripts("vorin_web.js", "vorin.js");
      }
      vorin = await Vorin.load(createVorinModule, { wasmBinary: bytes });
      self.postMessage({ kind: "ready", version: vorin.version(), settings: vorin.settingNames() });
    } catch (error) {
      self.postMessage({ kind: "failed", message: String(error.message || error) });
    }
  }

  self.onmessage = ({ data }) => {
    if (data.kind === "load") {
      load(data.bytes);
      return;
    }
    try {
      self.postMessage({ id: data.id, kind: "done", value: jobs[data.kind](data) });
    } catch (error) {
      const known = error instanceof VorinError;
      self.postMessage({ id: data.id, kind: "error", status: known ? error.status : null,
        message: String(error.message || error), fatal: !known });
    }
  };
})();
