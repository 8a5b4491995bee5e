// The lines in the distribution that divide it into parts: drawn, dragged, moved by keys. The
// setting "cutoff" is a text of their places; the toolkit reads it and measures the parts.
(function (page) {
  "use strict";

  let busy = false;
  let wanted = false;
  let held = null;  // the number of the line that has the focus, which outlives a redraw

  // The places of the lines in SI units.
  const places = (decay) =>
    (decay?.report?.cutoffs || []).filter((part) => part.to !== null).map((part) => part.to);

  // A place as a text that the toolkit takes.
  const written = (value) => String(Number(value.toPrecision(4)));

  // What is written for people: times in ms or s.
  function friendly(value, kernel) {
    return kernel === "diffusion" ? written(value) : value < 1 ? `${written(value * 1e3)}ms` : `${written(value)}s`;
  }

  function setPlaces(list, kernel) {
    const sorted = [...list].filter((value) => value > 0).sort((a, b) => a - b);
    const distinct = sorted.filter((value, i) => i === 0 || written(value) !== written(sorted[i - 1]));
    page.el("cutoff").value = distinct.map((value) => friendly(value, kernel)).join(",");
    measure();
  }

  // Measures the selected decay by the present cutoffs and percentiles, then the others.
  async function measure() {
    wanted = true;
    if (busy) {
      return;
    }
    busy = true;
    try {
      while (wanted) {
        wanted = false;
        const selected = page.selectedDecay();
        const done = page.session.decays.filter((decay) => decay.inversion);
        for (const decay of [selected, ...done.filter((one) => one !== selected)].filter((one) => one?.inversion)) {
          const told = await page.engine.run("measure", { ...page.jobOf(decay), measures: page.measureSettings() });
          Object.assign(decay, told);
          if (decay === selected) {
            page.emit("measured");
          }
          if (wanted) {
            break;
          }
        }
        page.complain("");
      }
      page.emit("measured");
      page.emit("settings");
    } catch (error) {
      if (!(error instanceof page.engine.Cancelled)) {
        page.complain(error.message);
      }
    } finally {
      busy = false;
    }
  }

  // The lines, with the share of each part beside them.
  page.drawCutoffs = (group, x, y, plot, decay) => {
    if (!decay.inversion || !decay.report) {
      return;  // drawn again after the decay has lost them
    }
    const list = places(decay);
    const { kernel, axes } = decay.inversion;
    const size = axes.grid_unit_size;
    const inside = (value) => Math.min(Math.max(x.at(value / size), x.range[0]), x.range[1]);
    const edges = [x.range[0], ...list.map(inside), x.range[1]];
    (list.length > 0 ? decay.report.cutoffs : []).forEach((part, i) => {
      if (edges[i + 1] - edges[i] > 40) {
        group.append(page.makeSvg("text", { class: "share-label", "text-anchor": "middle",
          x: ((edges[i] + edges[i + 1]) / 2).toFixed(1), y: y.range[1] + 13, text: page.percent(part.share) }));
      }
    });
    list.forEach((value, i) => {
      const at = x.at(value / size);
      if (at >= x.range[0] && at <= x.range[1]) {
        group.append(line(at, y, plot, { list, i, size, kernel }));
      }
    });
    if (held !== null && group.querySelectorAll(".handle")[held]) {
      group.querySelectorAll(".handle")[held].focus();
    }
  };

  function line(at, y, plot, { list, i, size, kernel }) {
    const handle = page.makeSvg("g", { class: "handle", tabindex: "0", role: "slider",
      "aria-label": `Cutoff ${i + 1}`, "aria-valuenow": String(list[i]),
      "aria-valuetext": page.gridValue(list[i], kernel) }, [
      page.makeSvg("path", { class: "grip", d: `M${at.toFixed(1)},${y.range[0]}V${y.range[1]}` }),
      page.makeSvg("path", { class: "cutoff", d: `M${at.toFixed(1)},${y.range[0]}V${y.range[1]}` }),
      page.makeSvg("circle", { class: "knob", cx: at.toFixed(1), cy: ((y.range[0] + y.range[1]) / 2).toFixed(1), r: 6 })]);
    const move = (value) => {
      held = i;
      setPlaces(list.map((other, k) => (k === i ? value : other)), kernel);
    };
    handle.addEventListener("pointerdown", (event) => {
      event.stopPropagation();
      held = i;
      handle.focus();
      follow(plot, event.pointerId, (px) => move(plot.at.x.value(px) * size));
    });
    handle.addEventListener("keydown", (event) => {
      const factor = { ArrowLeft: 1 / 1.02, ArrowRight: 1.02, PageDown: 1 / 1.2, PageUp: 1.2 }[event.key];
      if (factor) {
        move(list[i] * factor);
      } else if (event.key === "Delete" || event.key === "Backspace") {
        held = null;
        setPlaces(list.filter((other, k) => k !== i), kernel);
      } else {
        return;
      }
      event.preventDefault();
      event.stopPropagation();
    });
    return handle;
  }

  // Calls `moved` with the place of the pointer until it is let go. The line is drawn anew meanwhile.
  function follow(plot, pointer, moved) {
    const move = (event) => {
      if (event.pointerId === pointer) {
        moved(Math.min(Math.max(plot.place(event)[0], plot.at.x.range[0]), plot.at.x.range[1]));
      }
    };
    const end = () => {
      removeEventListener("pointermove", move);
      removeEventListener("pointerup", end);
      removeEventListener("pointercancel", end);
    };
    addEventListener("pointermove", move);
    addEventListener("pointerup", end);
    addEventListener("pointercancel", end);
  }

  function add() {
    const decay = page.selectedDecay();
    if (decay?.inversion) {
      const list = [...places(decay), decay.inversion.log_mean * 1.0001 ** places(decay).length];
      setPlaces(list, decay.inversion.kernel);
    }
  }

  page.startCutoffs = () => {
    const release = ({ target }) => {
      held = target.closest?.(".handle") ? held : null;
    };
    document.addEventListener("focusin", release);
    document.addEventListener("pointerdown", release);
    const tools = page.el("plot-distribution").querySelector(".tools");
    tools.prepend(page.make("button", { type: "button", id: "add-cutoff", text: "add cutoff", onclick: add,
      "aria-label": "Add a cutoff at the log mean" }));
    for (const id of ["cutoff", "percentiles"]) {
      page.el(id).addEventListener("change", () => {
        held = null;
        measure();
      });
    }
  };
})((globalThis.VorinPage = globalThis.VorinPage || {}));
