// The worker as promises: each job answers once, reports progress, and can be ended.
(function (page) {
  "use strict";

  const waiting = new Map();
  let bytes = null;
  let worker = null;
  let ready = null;
  let last = 0;

  class Cancelled extends Error {}

  function tellState() {
    const state = document.documentElement.dataset;
    if (state.state !== "error") {
      state.state = !worker || ready === null ? "loading" : waiting.size > 0 ? "busy" : "ready";
    }
  }

  function rejectAll(error) {
    const jobs = [...waiting.values()];
    waiting.clear();
    jobs.forEach((job) => job.reject(error));
  }

  function start() {
    const own = page.newWorker();
    worker = own;
    return new Promise((resolve, reject) => {
      own.onerror = (event) => reject(new Error(event.message || "the worker can't be started"));
      own.onmessage = ({ data }) => {
        if (data.kind === "ready") {
          resolve(data);
        } else if (data.kind === "failed") {
          reject(new Error(data.message));
        } else {
          answer(data);
        }
      };
      own.postMessage({ kind: "load", bytes });
    });
  }

  function restart(reason) {
    worker.terminate();
    ready = start();
    rejectAll(reason);
    tellState();
  }

  function answer(data) {
    const job = waiting.get(data.id);
    if (!job) {
      return;
    }
    if (data.kind === "progress") {
      job.progress?.(data.done, data.total);
      return;
    }
    waiting.delete(data.id);
    if (data.kind === "done") {
      job.resolve(data.value);
    } else {
      job.reject(new Error(data.message));
      if (data.fatal) {  // memory that the module was refused, above all
        restart(new Error(`the computation ended: ${data.message}`));
      }
    }
    tellState();
  }

  page.engine = {
    Cancelled,

    // Loads the module; answers with the toolkit's version and settings.
    async load() {
      bytes = await page.moduleBytes();
      ready = start();
      const about = await ready;
      tellState();
      return about;
    },

    // Runs a job of worker.js.
    async run(kind, job = {}, progress = null) {
      const id = ++last;
      const answered = new Promise((resolve, reject) => waiting.set(id, { resolve, reject, progress }));
      tellState();
      answered.catch(() => {});
      try {
        await ready;
      } catch (error) {
        waiting.delete(id);
        throw error;
      }
      if (waiting.has(id)) {
        worker.postMessage({ id, kind, ...job });
      }
      return answered;
    },

    busy: () => waiting.size > 0,

    // Ends whatever runs.
    cancel() {
      restart(new Cancelled("cancelled"));
    },
  };
})((globalThis.VorinPage = globalThis.VorinPage || {}));
