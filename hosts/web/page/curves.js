// Series as paths of SVG. What can't be seen is not drawn: of many samples in one column of pixels
// the first, the least, the greatest and the last are left, so that a million of them are quick.
(function (page) {
  "use strict";

  const fewest = 4000;

  // The indices of the samples that are drawn. Those of a long list are kept for the next redraw.
  const known = new WeakMap();
  function visible(xs, ys, x, y) {
    const key = [x.domain, x.range, x.log, y.log].join();
    const before = known.get(ys);
    if (before && before.xs === xs && before.key === key) {
      return before.kept;
    }
    const kept = found(xs, ys, x, y);
    if (xs.length > fewest) {
      known.set(ys, { xs, key, kept });
    }
    return kept;
  }

  function found(xs, ys, x, y) {
    const kept = [];
    const few = xs.length <= fewest;
    const inside = (i) => Number.isFinite(xs[i]) && Number.isFinite(ys[i]) &&
      (!x.log || xs[i] > 0) && (!y.log || ys[i] > 0);
    let column = NaN;
    let group = null;
    const close = () => {
      if (group) {
        kept.push(...[...new Set([group.first, group.least, group.greatest, group.last])].sort((a, b) => a - b));
      }
    };
    for (let i = 0; i < xs.length; ++i) {
      if (!inside(i)) {
        continue;
      }
      if (few) {
        kept.push(i);
        continue;
      }
      const pixel = Math.round(x.at(xs[i]));
      if (pixel < x.range[0] - 5 || pixel > x.range[1] + 5) {
        continue;
      }
      if (pixel !== column) {
        close();
        column = pixel;
        group = { first: i, least: i, greatest: i, last: i };
      }
      group.last = i;
      group.least = ys[i] < ys[group.least] ? i : group.least;
      group.greatest = ys[i] > ys[group.greatest] ? i : group.greatest;
    }
    close();
    return kept;
  }

  const place = (scale, value) => {
    const at = scale.at(value);
    return (at > 1e5 ? 1e5 : at < -1e5 ? -1e5 : at).toFixed(1);
  };

  const pointsAt = (series, x, y, ys) =>
    visible(series.x, ys, x, y).map((i) => `${place(x, series.x[i])},${place(y, ys[i])}`);

  function bars(series, x, y) {
    const columns = new Map();
    for (const i of visible(series.x, series.y, x, y)) {
      const at = Math.round(x.at(series.x[i]));
      const [low, high] = columns.get(at) || [Infinity, -Infinity];
      columns.set(at, [Math.min(low, series.y[i]), Math.max(high, series.y[i])]);
    }
    return Array.from(columns, ([at, [low, high]]) => `M${at},${place(y, low)}V${place(y, high)}`).join("");
  }

  const path = (series, d, kind) =>
    page.makeSvg("path", { d, class: `${kind} ${series.look || ""}`, "data-series": series.name });

  const drawers = {
    line: (series, x, y) => path(series, "M" + pointsAt(series, x, y, series.y).join("L"), "line"),
    // Points of next to no extent, which a cap of the stroke makes squares (without any they are lost
    // on paper); of a long list a bar in each column of pixels, from the least to the greatest.
    points: (series, x, y) => {
      if (series.x.length > fewest) {
        return path(series, bars(series, x, y), "points");
      }
      return path(series, pointsAt(series, x, y, series.y).map((point) => `M${point}h.1`).join(""), "points");
    },
    // From the curve down to the axis.
    area: (series, x, y) => {
      const points = pointsAt(series, x, y, series.y);
      const foot = y.range[0].toFixed(1);
      const ends = points.length > 0 ? [points[0], points[points.length - 1]].map((p) => p.split(",")[0]) : [];
      return path(series, points.length > 0 ? `M${ends[0]},${foot}L${points.join("L")}L${ends[1]},${foot}Z` : "", "area");
    },
    band: (series, x, y) => {
      const lower = pointsAt(series, x, y, series.lower).reverse();
      return path(series, `M${pointsAt(series, x, y, series.upper).concat(lower).join("L")}Z`, "band");
    },
  };

  // An element for a series { kind, x, y, look, name }; of a band, lower and upper.
  page.curve = (series, x, y) => {
    const element = drawers[series.kind](series, x, y);
    if (/^M?Z?$/.test(element.getAttribute("d"))) {
      element.setAttribute("d", "");
    }
    return element;
  };
})((globalThis.VorinPage = globalThis.VorinPage || {}));
