// The picture of a map: its cells in colours over both axes, both projections along the edges, the
// lines of constant ratio where both axes are relaxation times, and the peaks.
(function (page) {
  "use strict";

  // From nothing to the largest amplitude: lightness rises evenly, and no two hues need telling
  // apart.
  const stops = [[68, 1, 84], [59, 82, 139], [33, 145, 140], [94, 201, 98], [253, 231, 37]];
  const edgePart = 0.14;  // of the plot, that a projection takes up
  let plot = null;

  function colour(part) {
    const at = Math.min(Math.max(part, 0), 1) * (stops.length - 1);
    const i = Math.min(Math.floor(at), stops.length - 2);
    return stops[i].map((value, k) => Math.round(value + (at - i) * (stops[i + 1][k] - value)));
  }

  // A picture with a pixel for each cell; the first row of the grid is at its foot.
  function cells({ distribution, grid1, grid2 }) {
    const [rows, columns] = [grid1.length, grid2.length];
    const canvas = page.make("canvas", { width: columns, height: rows });
    const context = canvas.getContext("2d");
    const image = context.createImageData(columns, rows);
    const largest = distribution.reduce((most, value) => Math.max(most, value), 0) || 1;
    for (let i = 0; i < rows; ++i) {
      for (let k = 0; k < columns; ++k) {
        const place = 4 * ((rows - 1 - i) * columns + k);
        image.data.set([...colour(distribution[i * columns + k] / largest), 255], place);
      }
    }
    context.putImageData(image, 0, 0);
    return canvas.toDataURL();
  }

  // The outer ends of the first and the last cell of a grid that is even in its logarithm.
  function ends(grid, size) {
    const half = (grid[grid.length - 1] / grid[0]) ** (0.5 / Math.max(grid.length - 1, 1));
    return [grid[0] / half / size, (grid[grid.length - 1] * half) / size];
  }

  function projections(group, x, y, inversion, sizes) {
    const most = (values) => values.reduce((top, value) => Math.max(top, value), 0) || 1;
    const [width, height] = [x.range[1] - x.range[0], y.range[0] - y.range[1]];
    const [top1, top2] = [most(inversion.projection1), most(inversion.projection2)];
    const below = Array.from(inversion.grid2, (value, k) =>
      `${x.at(value / sizes[1]).toFixed(1)},${(y.range[0] - (edgePart * height * inversion.projection2[k]) / top2).toFixed(1)}`);
    const beside = Array.from(inversion.grid1, (value, i) =>
      `${(x.range[0] + (edgePart * width * inversion.projection1[i]) / top1).toFixed(1)},${y.at(value / sizes[0]).toFixed(1)}`);
    for (const points of [below, beside]) {
      group.append(page.makeSvg("path", { class: "projection", d: `M${points.join("L")}` }));
    }
  }

  function ratios(group, x, y, inversion, sizes) {
    if ([inversion.kernel1, inversion.kernel2].includes("diffusion")) {
      return;
    }
    for (const ratio of [1, 10, 100]) {
      const line = x.domain.map((value) => [x.at(value), y.at((value * sizes[1] * ratio) / sizes[0])]);
      group.append(page.makeSvg("path", { class: "ratio", d: `M${line.map((p) => p.map((v) => v.toFixed(1)).join(",")).join("L")}` }));
      // The label where the line leaves the plot, at the top or on the right.
      const top = x.at((y.domain[1] * sizes[0]) / (ratio * sizes[1]));
      const [px, py] = top < x.range[1] ? [top - 8, y.range[1] + 15] : [x.range[1] - 8, line[1][1] + 18];
      if (px > x.range[0] + 40 && py < y.range[0]) {
        group.append(page.makeSvg("text", { class: "ratio-label", "text-anchor": "end", x: px.toFixed(1), y: py.toFixed(1), text: `${ratio} : 1` }));
      }
    }
  }

  function marks(inversion, image, sizes) {
    return (group, x, y) => {
      const [left, right] = ends(inversion.grid2, sizes[1]).map(x.at);
      const [foot, top] = ends(inversion.grid1, sizes[0]).map(y.at);
      const clipped = page.makeSvg("g", { "clip-path": `url(#${plot.clip})` });
      const picture = page.makeSvg("image", { x: left.toFixed(2), y: top.toFixed(2), width: (right - left).toFixed(2),
        height: (foot - top).toFixed(2), preserveAspectRatio: "none", class: "cells" });
      picture.setAttribute("href", image);
      clipped.append(picture);
      ratios(clipped, x, y, inversion, sizes);
      projections(clipped, x, y, inversion, sizes);
      inversion.peak_share.forEach((share, i) => {
        const at = [x.at(inversion.peak_position2[i] / sizes[1]), y.at(inversion.peak_position1[i] / sizes[0])];
        clipped.append(page.makeSvg("path", { class: "peak-cross",
          d: `M${(at[0] - 5).toFixed(1)},${at[1].toFixed(1)}h10M${at[0].toFixed(1)},${(at[1] - 5).toFixed(1)}v10` }),
          page.makeSvg("text", { class: "map-label", x: (at[0] + 8).toFixed(1), y: (at[1] - 8).toFixed(1), text: page.percent(share) }));
      });
      group.append(clipped);
    };
  }

  page.startMapPlot = () => {
    plot = page.plot("plot-map", { logX: true, logY: true, fixedX: true, fixedY: true, tight: true, height: 480 });
  };

  page.drawMap = (inversion) => {
    if (!inversion) {
      plot.clear();
      return;
    }
    const sizes = inversion.axes.map((axes) => axes.grid_unit_size);
    const { grid1, grid2, distribution } = inversion;
    const image = cells(inversion);
    plot.setZoom(null);
    plot.draw({
      series: [{ kind: "points", name: "ends", x: ends(grid2, sizes[1]), y: ends(grid1, sizes[0]), look: "hidden" }],
      x: { label: inversion.axes[1].grid_label }, y: { label: inversion.axes[0].grid_label },
      readout: (value2, value1) => {
        const i = page.nearest(grid1, value1 * sizes[0]);
        const k = page.nearest(grid2, value2 * sizes[1]);
        return `rows ${page.gridValue(grid1[i], inversion.kernel1)}, columns ${page.gridValue(grid2[k], inversion.kernel2)}: ` +
          `amplitude ${page.amplitude(distribution[i * grid2.length + k])}`;
      },
      marks: marks(inversion, image, sizes),
    });
  };
})((globalThis.VorinPage = globalThis.VorinPage || {}));
