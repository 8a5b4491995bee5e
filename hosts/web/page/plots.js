// The four plots of decays: what they draw of the session, and what they tell under the cursor.
(function (page) {
  "use strict";

  const plots = {};

  // Values in another unit. Long lists are kept: each redraw asks for the same ones.
  const kept = new WeakMap();
  const long = 10000;
  function scaled(values, size) {
    if (size === 1) {
      return values;
    }
    if (values.length < long) {
      return values.map((value) => value / size);
    }
    if (kept.get(values)?.size !== size) {
      kept.set(values, { size, result: values.map((value) => value / size) });
    }
    return kept.get(values).result;
  }

  const look = (decay) => `colour${decay.colour}`;

  // Decays whose axis is that of the selected one: times, or b values.
  function together(decays) {
    const last = decays[decays.length - 1];
    const diffusion = (decay) => (decay.inversion ? decay.inversion.kernel : page.kernel()) === "diffusion";
    return last ? decays.filter((decay) => diffusion(decay) === diffusion(last)) : [];
  }

  // Labels and units of the axes; asked of the toolkit where nothing is inverted yet.
  function axesOf(decay) {
    if (decay.inversion) {
      return decay.inversion.axes;
    }
    const kernel = page.kernel();
    if (decay.axes?.kernel !== kernel) {
      const end = decay.time[decay.time.length - 1];
      const own = (decay.axes = { kernel, abscissa_label: "", abscissa_unit: "", abscissa_unit_size: 1 });
      page.engine.run("axes", { kernel, lastAbscissa: end, lastOnGrid: end }).then((axes) => {
        Object.assign(own, axes);
        page.drawPlots();
      }, () => {});
    }
    return decay.axes;
  }

  // What amplitudes are divided by, so that decays of different size can be compared.
  const relative = (decays) => decays.length > 1 && page.el("relative").checked;
  const totalOf = (decays) => (decay) => (relative(decays) ? decay.inversion.total : 1);
  const largestOf = (decays) => (decay) =>
    (relative(decays) ? Math.max(...page.extent([decay.amplitude], false).map(Math.abs)) || 1 : 1);

  const legendOf = (decays) =>
    decays.length > 1 ? decays.map((decay) => ({ text: decay.name, look: look(decay) })) : [];

  // What of a decay is inverted, or would be.
  function samplesOf(decay) {
    if (decay.inversion) {
      return { x: decay.inversion.time, y: decay.inversion.amplitude };
    }
    return { x: decay.time, y: decay.amplitude };
  }

  function skippedOf(decay) {
    const file = page.session.files.find((one) => one.id === decay.file);
    const count = Number(file?.reading.skip || 0);
    return { x: decay.time.slice(0, count), y: decay.amplitude.slice(0, count) };
  }

  function drawDecay(decays, axes) {
    const size = axes.abscissa_unit_size;
    const part = largestOf(decays);
    const series = [];
    for (const decay of decays) {
      const { x, y } = samplesOf(decay);
      series.push({ kind: "points", name: "amplitude", look: look(decay), x: scaled(x, size), y: scaled(y, part(decay)) });
      const skipped = skippedOf(decay);
      series.push({ kind: "points", name: "skipped", look: "left-out", x: scaled(skipped.x, size),
        y: scaled(skipped.y, part(decay)) });
    }
    for (const one of decays.filter((decay) => decay.inversion)) {
      const { inversion } = one;
      const rejected = Array.from(inversion.rejected);
      const own = part(one);
      series.push({ kind: "points", name: "rejected", look: "left-out", x: rejected.map((i) => inversion.time[i] / size),
        y: rejected.map((i) => inversion.amplitude[i] / own) });
      series.push({ kind: "line", name: "fit", look: "fit", x: scaled(inversion.time, size), y: scaled(inversion.fit, own) });
    }
    const decay = decays[decays.length - 1];
    const own = samplesOf(decay);
    plots.decay.draw({ series, legend: legendOf(decays), x: { label: axes.abscissa_label },
      y: { label: relative(decays) ? "amplitude / largest" : amplitudeLabel(decay) },
      readout: (value) => {
        const i = page.nearest(own.x, value * size);
        const fit = decay.inversion ? `, fit ${page.amplitude(decay.inversion.fit[i])}` : "";
        return `sample ${i + 1}: ${page.number(own.x[i] / size, 5)} ${axes.abscissa_unit}, amplitude ${page.amplitude(own.y[i])}${fit}`;
      } });
  }

  const amplitudeLabel = (decay) =>
    decay.inversion?.amplitude_unit ? `amplitude (${decay.inversion.amplitude_unit})` : "amplitude";

  function drawResidual(decays, axes) {
    const done = decays.filter((decay) => decay.inversion);
    const size = axes.abscissa_unit_size;
    const part = largestOf(decays);
    const curves = done.map((decay) => ({ kind: "points", name: "residual", look: look(decay),
      x: scaled(decay.inversion.time, size), y: scaled(decay.inversion.residual, part(decay)) }));
    const last = done[done.length - 1];
    const lastSize = part(last);
    const noise = last.inversion.noise / lastSize;
    const own = curves[curves.length - 1];
    plots.residual.draw({ series: curves, x: { label: axes.abscissa_label }, y: { label: relative(decays) ? "residual / largest" : "residual" },
      readout: (value) => {
        const i = page.nearest(own.x, value);
        return `sample ${i + 1}: ${page.number(own.x[i], 5)} ${axes.abscissa_unit}, residual ${page.amplitude(own.y[i] * lastSize)}`;
      },
      // Zero and one standard deviation of the noise to either side.
      marks: (group, x, y) => [0, noise, -noise].filter(Number.isFinite).forEach((level) =>
        group.append(page.makeSvg("path", { class: level === 0 ? "zero" : "noise-level",
          d: `M${x.range[0]},${y.at(level).toFixed(1)}H${x.range[1]}` }))) });
  }

  function drawDistribution(decays) {
    const done = decays.filter((decay) => decay.inversion);
    const decay = done[done.length - 1];
    const { axes, kernel } = decay.inversion;
    const size = axes.grid_unit_size;
    const part = totalOf(done);
    const series = [];
    for (const one of done) {
      const x = scaled(one.inversion.grid, size);
      const y = scaled(one.inversion.distribution, part(one));
      if (one === decay && one.bootstrap) {
        series.push({ kind: "band", name: "band", x, look: look(one), lower: scaled(one.bootstrap.lower, part(one)),
          upper: scaled(one.bootstrap.upper, part(one)) });
      }
      if (one === decay) {
        series.push({ kind: "area", name: "area", x, y, look: look(one) });
      }
      series.push({ kind: "line", name: "distribution", x, y, look: look(one) });
    }
    const own = decay.inversion;
    series.push({ kind: "line", name: "cumulative", right: true, look: "cumulative",
      x: scaled(own.grid, size), y: own.cumulative });
    plots.distribution.draw({ series, legend: legendOf(done), x: { label: axes.grid_label },
      y: { label: relative(done) ? "amplitude / total" : amplitudeLabel(decay) }, y2: { label: "cumulative" },
      readout: (value) => {
        const i = page.nearest(own.grid, value * size);
        return `${page.gridValue(own.grid[i], kernel)}: amplitude ${page.amplitude(own.distribution[i])}, cumulative ${page.amplitude(own.cumulative[i])}` +
          ` (${page.percent(own.cumulative[i] / own.total)})`;
      },
      marks: (group, x, y, plot) => {
        drawPeaks(group, x, y, own, size, part(decay));
        page.drawCutoffs(group, x, y, plot, decay);
      } });
  }

  // A mark at each peak, with its position; the table tells the rest.
  function drawPeaks(group, x, y, inversion, size, part) {
    let free = -Infinity;
    inversion.peak_position.forEach((position, i) => {
      const at = x.at(position / size);
      if (at < x.range[0] || at > x.range[1]) {
        return;
      }
      group.append(page.makeSvg("path", { class: "peak", d: `M${at.toFixed(1)},${y.range[0]}v6` }));
      if (at - free > 74 && inversion.peak_share[i] > 0.02) {
        free = at;
        const height = inversion.distribution[page.nearest(inversion.grid, position)] / part;
        group.append(page.makeSvg("text", { class: "peak-label", "text-anchor": "middle", x: at.toFixed(1),
          y: Math.max(y.range[1] + 14, y.at(height) - 7).toFixed(1), text: page.gridValue(position, inversion.kernel) }));
      }
    });
  }

  function drawLCurve(decay) {
    // As they are now: the plot is drawn again later, when the decay may have lost them.
    const { lcurve: curve, inversion } = decay;
    const { residual_norm, solution_norm, weight } = curve;
    const dot = (group, x, y, px, py, kind, label, higher) => {
      const [cx, cy] = [x.at(px), y.at(py)];
      const right = cx > 0.7 * x.range[1];  // no room for the label there
      group.append(page.makeSvg("circle", { class: kind, r: 5, cx: cx.toFixed(1), cy: cy.toFixed(1) }),
        page.makeSvg("text", { class: "point-label", "text-anchor": right ? "end" : "start", text: label,
          x: (cx + (right ? -9 : 9)).toFixed(1), y: Math.max(cy - higher, y.range[1] + 12).toFixed(1) }));
    };
    plots.lcurve.draw({
      series: [{ kind: "line", name: "lcurve", x: residual_norm, y: solution_norm, look: look(decay) },
        { kind: "points", name: "weights", x: residual_norm, y: solution_norm, look: `${look(decay)} large` },
        // The present point belongs to the plot, wherever it lies.
        { kind: "points", name: "present", x: [curve.used_residual_norm], y: [curve.used_solution_norm], look: "hidden" }],
      x: { label: "norm of the residual" }, y: { label: "norm of the distribution" },
      readout: (value) => {
        const i = page.nearest(residual_norm, value);
        return `weight ${page.number(weight[i])}: residual ${page.number(residual_norm[i], 4)}, distribution ${page.number(solution_norm[i], 4)}`;
      },
      marks: (group, x, y) => {
        const [kx, ky] = [residual_norm[curve.corner], solution_norm[curve.corner]];
        dot(group, x, y, kx, ky, "corner", "corner", 8);
        const [px, py] = presentPoint(curve, inversion);
        // The curve has room above it on the right; beside the corner that label is there already.
        const isNear = Math.abs(x.at(px) - x.at(kx)) < 60 && Math.abs(y.at(py) - y.at(ky)) < 20;
        dot(group, x, y, px, py, "present", `weight ${page.number(inversion.weight)}`, isNear ? 24 : 8);
      } });
  }

  // Where the inversion is on the curve. While the weight is being dragged the curve is that of the
  // last inversion, and the point lies on it between the two weights beside.
  function presentPoint(lcurve, inversion) {
    if (inversion.weight === lcurve.used_weight) {
      return [lcurve.used_residual_norm, lcurve.used_solution_norm];
    }
    const weights = lcurve.weight;
    const i = Math.max(0, Math.min(weights.length - 2, weights.findIndex((weight) => weight > inversion.weight) - 1));
    const part = Math.min(1, Math.max(0, Math.log(inversion.weight / weights[i]) / Math.log(weights[i + 1] / weights[i])));
    return [lcurve.residual_norm, lcurve.solution_norm].map((list) => list[i] * (list[i + 1] / list[i]) ** part);
  }

  page.startPlots = () => {
    plots.distribution = page.plot("plot-distribution", { logX: true, zeroY: true, height: 320 });
    plots.decay = page.plot("plot-decay", { logX: false, height: 280 });
    plots.residual = page.plot("plot-residual", { logX: false, fixedY: true, height: 200 });
    plots.lcurve = page.plot("plot-lcurve", { logX: true, logY: true, height: 280 });
    const draw = page.eachFrame(page.drawPlots);
    ["decays", "selected", "inverted", "measured"].forEach((event) => page.on(event, draw));
    page.el("relative").addEventListener("change", draw);
  };

  page.drawPlots = () => {
    const decay = page.selectedDecay();
    const shown = together(page.shownDecays());
    page.show("relative-part", shown.length > 1);
    if (!decay) {
      Object.values(plots).forEach((plot) => plot.clear());
      return;
    }
    const axes = axesOf(decay);
    drawDecay(shown, axes);
    if (decay.inversion) {
      drawResidual(shown, axes);
      drawDistribution(shown);
    } else {
      plots.residual.clear();
      plots.distribution.clear();
    }
    if (decay.inversion && decay.lcurve) {
      drawLCurve(decay);
    } else {
      plots.lcurve.clear();
    }
  };
})((globalThis.VorinPage = globalThis.VorinPage || {}));
