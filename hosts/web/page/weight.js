// The slider of the weight: while it is dragged the selected decay is inverted at each weight that
// the worker has time for, and the plots follow. These inversions are by the method "classic", which
// solves once at a given weight, with the same distribution. When the slider is let go, the chosen
// method inverts at its weight, which also looks for what the kernel can't describe.
(function (page) {
  "use strict";

  let wanted = null;  // the weight that waits for the worker
  let busy = false;
  let released = false;  // since the last L-curve

  const slider = () => page.el("weight-slider");

  async function follow() {
    const decay = page.selectedDecay();
    if (busy || !decay) {
      return;
    }
    busy = true;
    try {
      while (wanted !== null) {
        const { weight, since } = wanted;
        wanted = null;
        const file = page.session.files.find((one) => one.id === decay.file);
        const settings = { ...page.inversionSettings(file), weight };
        const result = await page.engine.run("drag",
          { ...page.jobOf(decay, { ...settings, method: "classic" }), measures: page.measureSettings() });
        page.takeInversion(decay, settings, result);
        page.emit("inverted", decay);
        // Measured by tests: from the event of the slider to the drawn plots.
        requestAnimationFrame(() => setTimeout(() => {
          document.documentElement.dataset.redraw = (performance.now() - since).toFixed(1);
        }));
      }
    } catch (error) {
      if (!(error instanceof page.engine.Cancelled)) {
        page.complain(error.message);
      }
    } finally {
      busy = false;
    }
    if (released) {
      finish();
    }
  }

  // After the slider has been let go: the whole inversion, and the L-curve with its point.
  async function finish() {
    released = false;
    page.emit("settings");
    const decay = page.selectedDecay();
    if (decay) {
      await page.invertSelected(decay);
      page.refreshLCurve();
    }
  }

  function dragged() {
    const text = Number((10 ** Number(slider().value)).toPrecision(4)).toString();
    page.el("weight").value = "given";
    page.el("weight-value").value = text;
    slider().setAttribute("aria-valuetext", text);
    page.adaptForm(page.el("settings"));
    const decay = page.selectedDecay();
    if (decay) {
      page.complain("");
      wanted = { weight: text, since: performance.now() };
      follow();
    }
  }

  // Puts the slider where the inversion is.
  function place(weight) {
    if (weight > 0 && document.activeElement !== slider()) {
      slider().value = String(Math.log10(weight));
      slider().setAttribute("aria-valuetext", page.number(weight));
    }
  }

  page.startWeight = () => {
    slider().addEventListener("input", dragged);
    slider().addEventListener("change", () => {
      released = true;
      if (!busy) {
        finish();
      }
    });
    page.el("weight-value").addEventListener("change", ({ target }) => place(Number(target.value.replace(",", "."))));
    const follows = () => place(page.selectedDecay()?.inversion?.weight);
    page.on("inverted", follows);
    page.on("selected", follows);
  };
})((globalThis.VorinPage = globalThis.VorinPage || {}));
