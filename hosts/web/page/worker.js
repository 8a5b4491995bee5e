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

  function invert(job) {
    release(bootstraps, job.key);
    const made = vorin.openInversion(job.time, job.amplitude, job.settings, job.imaginary);
    return withCurves(keep(inversions, job.key, made));
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
    release(bootstraps, job.key);
    const made = vorin.openInversion(job.time, job.amplitude, dragged.handle, job.imaginary);
    return withCurves(keep(inversions, job.key, made));
  }

  // An inversion with what its plots show beside it.
  function withCurves(fields) {
    const { per_decade, cumulative } = vorin.measures(fields.grid, fields.distribution);
    const axes = vorin.pictureAxes(fields.kernel, fields.time[fields.time.length - 1],
      fields.grid[fields.grid.length - 1]);
    return { ...fields, per_decade, cumulative, axes };
  }

  function inversionOf(job) {
    if (!inversions.has(job.key)) {
      invert(job);
    }
    return inversions.get(job.key);
  }

  function bootstrap(job) {
    const made = vorin.openBootstrap(inversionOf(job), job.bootstrap, (done, total) =>
      self.postMessage({ id: job.id, kind: "progress", done, total }));
    return keep(bootstraps, job.key, made);
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
    invert2d: (job) => {
      const made = vorin.openInversion2d(job.times1, job.times2, job.samples, job.settings,
        job.imaginary, (done, total) =>
          self.postMessage({ id: job.id, kind: "progress", done, total }));
      made.free();
      return made.fields;
    },
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
