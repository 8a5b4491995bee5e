// Runs of the worker: inversions of all decays, the L-curve of the selected one, its bootstrap.
(function (page) {
  "use strict";

  let running = false;

  const fileOf = (decay) => page.session.files.find((file) => file.id === decay.file);

  // What the worker needs to invert a decay, now or again.
  page.jobOf = (decay, settings) => ({ key: decay.id, name: decay.name, time: decay.time,
    amplitude: decay.amplitude, imaginary: decay.imaginary, settings: settings || decay.used });

  // Takes what an inversion found into the session.
  page.takeInversion = (decay, settings, result) => {
    const { report, summary, ...inversion } = result;
    Object.assign(decay, { inversion, report, summary, used: settings, bootstrap: null, complaint: "" });
    document.documentElement.dataset.runs = String(Number(document.documentElement.dataset.runs || 0) + 1);
  };

  async function invertOne(decay) {
    const settings = page.inversionSettings(fileOf(decay));
    try {
      const result = await page.engine.run("invert",
        { ...page.jobOf(decay, settings), measures: page.measureSettings() });
      decay.lcurve = null;
      page.takeInversion(decay, settings, result);
    } catch (error) {
      if (error instanceof page.engine.Cancelled) {
        throw error;
      }
      page.forget(decay);
      decay.complaint = error.message;
    }
  }

  function progress(done, total, text) {
    const bar = page.el("progress");
    page.show("progress-part", total !== null);
    if (done === null) {
      bar.removeAttribute("value");
    } else {
      bar.value = total ? done / total : 0;
    }
    page.el("progress-text").textContent = text;
  }

  // Runs `job` with the buttons in the state of a run.
  async function during(job) {
    if (running) {
      return;
    }
    running = true;
    page.complain("");
    page.show("cancel", true);
    page.adaptButtons();
    try {
      await job();
    } catch (error) {
      if (error instanceof page.engine.Cancelled) {
        page.session.decays.forEach((decay) => {
          decay.bootstrap = null;
        });
        page.tell("cancelled");
      } else {
        page.complain(error.message);
      }
    } finally {
      running = false;
      page.show("cancel", false);
      progress(0, null, "");
      page.adaptButtons();
    }
  }

  const invertThese = (decays) => during(async () => {
    for (const [index, decay] of decays.entries()) {
      progress(decays.length > 1 ? index : null, decays.length,
        decays.length > 1 ? `decay ${index + 1} of ${decays.length}: ${decay.name}` : "inverting");
      await invertOne(decay);
      if (index % 8 === 7) {
        page.emit("inverted", null);
      }
    }
    page.emit("inverted", page.selectedDecay());
    const bad = decays.filter((decay) => decay.complaint);
    page.complain(bad.slice(0, 5).map((decay) => (decays.length > 1 ? `${decay.name}: ${decay.complaint}` : decay.complaint)).join("\n"));
    page.tell(`${decays.length - bad.length} of ${decays.length} decays inverted`);
    await drawLCurve();
  });

  // The L-curve of the selected decay; where there is none the plot stays away.
  async function drawLCurve() {
    const decay = page.selectedDecay();
    if (!decay?.inversion || decay.lcurve) {
      return;
    }
    const { inversion } = decay;
    try {
      const curve = await page.engine.run("lcurve", page.jobOf(decay));
      if (decay.inversion === inversion) {
        decay.lcurve = curve;
        page.drawPlots();
      }
    } catch (error) {
      if (error instanceof page.engine.Cancelled) {
        throw error;
      }
    }
  }

  const bootstrap = () => during(async () => {
    const decay = page.selectedDecay();
    const job = { ...page.jobOf(decay), bootstrap: page.bootstrapSettings(), measures: page.measureSettings() };
    progress(0, 1, "drawing the noise anew");
    const { band, report, summary } = await page.engine.run("bootstrap", job, (done, total) =>
      progress(done, total, `replicate ${done} of ${total}`));
    Object.assign(decay, { bootstrap: band, report, summary });
    page.emit("inverted", decay);
    page.tell(`bootstrap done, ${band.replicates} replicates`);
  });

  page.adaptButtons = () => {
    const decay = page.selectedDecay();
    const some = page.session.decays.some((one) => one.inversion);
    page.el("run").disabled = running || page.session.decays.length === 0;
    page.el("run").textContent = page.session.decays.length > 1 ? `Invert all ${page.session.decays.length}` : "Invert";
    page.show("run-one", page.session.decays.length > 1);
    page.el("run-one").disabled = running || !decay;
    page.el("bootstrap").disabled = running || !decay?.inversion;
    for (const id of ["csv", "fit", "svg", "png", "report"]) {
      page.el(`export-${id}`).disabled = !decay?.inversion;
    }
    for (const id of ["export-table", "export-json", "print"]) {
      page.el(id).disabled = !some;
    }
  };

  page.startInverting = () => {
    page.el("run").addEventListener("click", () => invertThese([...page.session.decays]));
    page.el("run-one").addEventListener("click", () => invertThese([page.selectedDecay()]));
    page.el("bootstrap").addEventListener("click", bootstrap);
    page.el("cancel").addEventListener("click", () => page.engine.cancel());
    ["decays", "selected", "inverted"].forEach((event) => page.on(event, page.adaptButtons));
    page.on("selected", () => drawLCurve().catch(() => {}));
  };
  page.invertSelected = async (decay) => {
    await invertOne(decay).catch(() => {});
    page.complain(decay.complaint);
    page.emit("inverted", decay);
  };
  page.refreshLCurve = () => drawLCurve().catch(() => {});
})((globalThis.VorinPage = globalThis.VorinPage || {}));
