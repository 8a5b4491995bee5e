// Pictures of the plots as files: SVG with the present look inside, and PNG drawn from it.
(function (page) {
  "use strict";

  const gap = 8;
  const commonWidth = 900;
  const sharper = 2;
  const looks = ["fill", "fill-opacity", "stroke", "stroke-width", "stroke-opacity", "stroke-dasharray",
    "stroke-linecap", "stroke-linejoin", "opacity", "font-family", "font-size", "font-weight", "text-anchor",
    "visibility", "display"];

  // A copy of the drawing whose elements carry what the styles of the page say.
  function dressed(svg) {
    const copy = svg.cloneNode(true);
    const sources = svg.querySelectorAll("*");
    const targets = copy.querySelectorAll("*");
    sources.forEach((source, i) => {
      const style = getComputedStyle(source);
      looks.forEach((name) => targets[i].setAttribute(name, style.getPropertyValue(name)));
      targets[i].removeAttribute("class");
      targets[i].removeAttribute("tabindex");
      targets[i].removeAttribute("role");
    });
    return copy;
  }

  // The plots of the figures one below the other; several of one width.
  page.pictureOf = (ids) => {
    const plots = ids.filter((id) => !page.el(id).hidden).map(page.plotOf);
    const together = plots.length > 1 ? plots : [];
    together.forEach((plot) => plot.paint(commonWidth));
    try {
      return assembled(plots.map((plot) => plot.svg));
    } finally {
      together.forEach((plot) => plot.paint());
    }
  };

  function assembled(drawings) {
    const sizes = drawings.map((svg) => svg.viewBox.baseVal);
    const width = Math.max(...sizes.map((size) => size.width));
    const height = sizes.reduce((sum, size) => sum + size.height + gap, -gap);
    const background = getComputedStyle(page.el("data")).getPropertyValue("background-color");
    const whole = page.makeSvg("svg", { xmlns: "http://www.w3.org/2000/svg", width, height,
      viewBox: `0 0 ${width} ${height}` },
      [page.makeSvg("rect", { width, height, fill: background })]);
    let top = 0;
    drawings.forEach((svg, i) => {
      const group = page.makeSvg("g", { transform: `translate(0 ${top})` });
      group.append(...dressed(svg).childNodes);
      whole.append(group);
      top += sizes[i].height + gap;
    });
    return { text: new XMLSerializer().serializeToString(whole), width, height };
  }

  async function pngOf({ text, width, height }) {
    const address = URL.createObjectURL(new Blob([text], { type: "image/svg+xml" }));
    try {
      const image = new Image();
      image.src = address;
      await image.decode();
      const canvas = page.make("canvas", { width: width * sharper, height: height * sharper });
      canvas.getContext("2d").drawImage(image, 0, 0, canvas.width, canvas.height);
      return await new Promise((done) => canvas.toBlob(done, "image/png"));
    } finally {
      URL.revokeObjectURL(address);
    }
  }

  page.savePicture = async (ids, kind) => {
    const picture = page.pictureOf(ids);
    const map = ids.includes("plot-map");
    const stem = page.stem(map ? page.mapName() : page.selectedDecay().name);
    const part = ids.length === 1 ? ids[0].replace("plot", "") : "";
    if (kind === "svg") {
      page.save(`${stem}${part}.svg`, `<?xml version="1.0" encoding="UTF-8"?>\n${picture.text}\n`, "image/svg+xml");
    } else {
      page.save(`${stem}${part}.png`, await pngOf(picture), "image/png");
    }
  };
})((globalThis.VorinPage = globalThis.VorinPage || {}));
