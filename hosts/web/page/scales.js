// Scales of axes: from values to places on the screen, with ticks.
(function (page) {
  "use strict";

  // A scale from `domain` [low, high] to `range` [start, end]; logarithmic for values above 0.
  page.scale = (domain, range, log) => {
    const to = log ? Math.log10 : (value) => value;
    const from = log ? (value) => 10 ** value : (value) => value;
    const [low, high] = domain.map(to);
    const slope = (range[1] - range[0]) / (high - low || 1);
    return {
      log, domain, range,
      at: (value) => range[0] + slope * (to(value) - low),
      value: (place) => from(low + (place - range[0]) / slope),
      ticks: (count) => (log ? logTicks(domain, count) : linearTicks(domain, count)),
    };
  };

  function linearTicks([low, high], count) {
    const rough = (high - low) / count;
    const power = 10 ** Math.floor(Math.log10(rough));
    const step = [1, 2, 5, 10].map((factor) => factor * power).find((size) => size >= rough * 0.999);
    const ticks = [];
    for (let k = Math.ceil(low / step - 1e-9); k * step <= high + 1e-9 * step; ++k) {
      ticks.push({ value: k * step, label: tidy(k * step, step) });
    }
    return ticks;
  }

  function tidy(value, step) {
    const places = Math.max(0, Math.min(12, -Math.floor(Math.log10(step) + 1e-9)));
    const text = Math.abs(value) < 1e-12 * step ? "0" : value.toFixed(places);
    return Math.abs(value) >= 1e6 || (step < 1e-4 && value !== 0)
      ? value.toExponential(2).replace(/\.?0+e/, "e").replace("e+", "e") : text;
  }

  // Powers of ten with a label, and between them, where there is room, 2 and 5, or marks alone.
  function logTicks([low, high], count) {
    const decades = Math.log10(high / low);
    if (decades < 0.6) {
      return linearTicks([low, high], count);
    }
    const every = Math.max(1, Math.ceil(decades / count));
    const labelled = decades < 1.2 ? [1, 2, 3, 5, 7] : decades < 3 ? [1, 2, 5] : [1];
    const ticks = [];
    for (let power = Math.floor(Math.log10(low)); power <= Math.ceil(Math.log10(high)); ++power) {
      for (let factor = 1; factor < 10; ++factor) {
        const value = factor * 10 ** power;
        if (value >= low * 0.9999 && value <= high * 1.0001 && (every === 1 || factor === 1)) {
          const named = labelled.includes(factor) && (factor !== 1 || power % every === 0);
          ticks.push({ value, label: named ? powerText(value, factor, power) : "" });
        }
      }
    }
    return ticks;
  }

  function powerText(value, factor, power) {
    if (power >= -3 && power <= 4) {
      return power >= 0 ? String(factor * 10 ** power) : value.toFixed(-power);
    }
    return `${factor}e${power}`;
  }

  // The ends of a list, [least, greatest] of its finite values, or of those above 0. Lists never
  // change, so that their ends are kept.
  const ends = { linear: new WeakMap(), log: new WeakMap() };
  function endsOf(list, log) {
    const known = log ? ends.log : ends.linear;
    if (!known.has(list)) {
      let low = Infinity;
      let high = -Infinity;
      for (let i = 0; i < list.length; ++i) {
        const value = list[i];
        if (Number.isFinite(value) && (!log || value > 0)) {
          low = value < low ? value : low;
          high = value > high ? value : high;
        }
      }
      known.set(list, [low, high]);
    }
    return known.get(list);
  }

  // The least and the greatest finite value of lists; above 0 alone for a logarithmic axis.
  page.extent = (lists, log) => {
    const all = lists.map((list) => endsOf(list, log));
    const low = Math.min(...all.map((one) => one[0]));
    const high = Math.max(...all.map((one) => one[1]));
    return low <= high ? [low, high] : log ? [1e-3, 1] : [0, 1];
  };

  // With some room beyond both ends.
  page.padded = ([low, high], log, part = 0.05) => {
    if (log) {
      const factor = Math.max(high / low, 1.5) ** part;
      return [low / factor, high * factor];
    }
    const room = (high - low || Math.abs(high) || 1) * part;
    return [low - room, high + room];
  };
})((globalThis.VorinPage = globalThis.VorinPage || {}));
