// A plot in a figure: axes, curves, zoom by dragging or by keys, and what lies under the cursor.
//
//   const plot = page.plot("plot-decay", { logX: true });
//   plot.draw({ series, x: { label }, y: { label }, y2: { label }, readout, marks });
//
// Series are those of curves.js; one with `right` belongs to the axis on the right. `readout(x, y)`
// answers with the text for what is under the cursor. `marks(group, x, y)` draws more.
(function (page) {
  "use strict";

  const margin = { left: 64, right: 18, top: 14, bottom: 46 };
  const rightAxis = 56;
  let plots = 0;

  class Plot {
    constructor(id, options) {
      this.figure = page.el(id);
      this.options = options;
      this.logX = options.logX;
      this.logY = options.logY || false;
      this.zoom = null;
      this.content = null;
      this.clip = `clip${++plots}`;
      this.makeFrame(id);
      this.redraw = page.eachFrame(() => this.paint());
      new ResizeObserver(() => this.redraw()).observe(this.figure);
    }

    makeFrame(id) {
      const title = this.figure.querySelector("figcaption");
      const name = title.textContent;
      this.logXButton = this.options.fixedX ? null : this.toggle("log x", "logX");
      this.logYButton = this.options.fixedY ? null : this.toggle("log y", "logY");
      const button = (text, label, job) =>
        page.make("button", { type: "button", text, "aria-label": `${label}: ${name}`, onclick: job });
      this.tools = page.make("span", { class: "tools" }, [
        ...[this.logXButton, this.logYButton].filter(Boolean),
        button("whole", "Show all", () => this.setZoom(null)),
        button("SVG", "Save as SVG", () => page.savePicture([id], "svg")),
        button("PNG", "Save as PNG", () => page.savePicture([id], "png")),
      ]);
      title.replaceChildren(page.make("span", { class: "title", text: name }), this.tools);
      this.svg = page.makeSvg("svg", { class: "drawing", tabindex: "0", role: "img", "aria-label": name });
      this.readout = page.make("output", { class: "readout", "aria-live": "polite" });
      this.legend = page.make("ul", { class: "legend" });
      this.figure.append(this.svg, this.readout, this.legend);
      this.listen();
    }

    toggle(text, member) {
      const button = page.make("button", { type: "button", text, "aria-pressed": String(this[member]),
        onclick: () => {
          this[member] = !this[member];
          button.setAttribute("aria-pressed", String(this[member]));
          this.setZoom(null);
        } });
      return button;
    }

    draw(content) {
      this.content = content;
      this.figure.hidden = false;
      this.redraw();
    }

    clear() {
      this.content = null;
      this.zoom = null;
      this.figure.hidden = true;
    }

    setZoom(zoom) {
      this.zoom = zoom;
      this.redraw();
    }

    // The scales for the present content and a width in pixels.
    scales(width) {
      const height = this.options.height || 280;
      const { series, y2 } = this.content;
      const right = y2 ? rightAxis : margin.right;
      const own = (key, side) => series.filter((one) => Boolean(one.right) === side)
        .flatMap((one) => (key === "x" ? [one.x] : one.kind === "band" ? [one.lower, one.upper] : [one.y]));
      const bottom = [height - margin.bottom, margin.top];
      const domainY = (lists, log) => {
        const [low, high] = page.extent(lists, log);
        const from = !log && this.options.zeroY ? Math.min(0, low) : low;
        return this.options.zeroY && !log && from === 0 ? [0, high * 1.08 || 1]
          : page.padded([log ? Math.max(low, high * 1e-6) : from, high], log, this.options.tight ? 0 : 0.05);
      };
      const room = this.options.tight ? 0 : 0.02;
      const wholeX = page.padded(page.extent(series.flatMap((one) => [one.x]), this.logX), this.logX, room);
      const wholeY = domainY(own("y", false), this.logY);
      const span = [margin.left, width - right];
      const x = page.scale(this.zoom ? this.zoom.x : wholeX, span, this.logX);
      const y = page.scale(this.zoom?.y || wholeY, bottom, this.logY);
      const ySide = y2 ? page.scale(domainY(own("y", true), false), bottom, false) : null;
      return { height, x, y, ySide };
    }

    // Draws at the width of the figure, or for a picture at another.
    paint(given) {
      if (!this.content || this.figure.hidden || this.figure.clientWidth === 0) {
        return;
      }
      const width = given || Math.max(260, this.figure.clientWidth - 2);
      const { height, x, y, ySide } = (this.at = this.scales(width));
      this.svg.setAttribute("viewBox", `0 0 ${width} ${height}`);
      this.svg.setAttribute("width", width);
      this.svg.setAttribute("height", height);
      const area = { x: x.range[0], y: y.range[1], width: x.range[1] - x.range[0], height: y.range[0] - y.range[1] };
      const curves = page.makeSvg("g", { "clip-path": `url(#${this.clip})` },
        this.content.series.map((one) => page.curve(one, x, one.right ? ySide : y)));
      this.cursor = page.makeSvg("path", { class: "cursor", d: "" });
      this.box = page.makeSvg("rect", { class: "box", width: 0, height: 0 });
      const marks = page.makeSvg("g", { class: "marks" });
      this.svg.replaceChildren(
        page.makeSvg("clipPath", { id: this.clip }, [page.makeSvg("rect", area)]),
        page.axes(this.content, this.at), curves, this.cursor, this.box, marks);
      this.content.marks?.(marks, x, y, this);
      this.legend.replaceChildren(...(this.content.legend || []).map(({ text, look }) =>
        page.make("li", { class: look }, [page.make("span", { class: "swatch", "aria-hidden": "true" }), text])));
    }

    // Where a pointer is, in the units of the drawing.
    place(event) {
      const frame = this.svg.getBoundingClientRect();
      return [event.clientX - frame.left, event.clientY - frame.top];
    }

    listen() {
      let from = null;
      this.svg.addEventListener("pointerdown", (event) => {
        if (event.button === 0 && this.at && !event.target.closest(".handle")) {
          from = this.place(event);
          this.svg.setPointerCapture(event.pointerId);
        }
      });
      this.svg.addEventListener("pointermove", (event) => {
        if (this.at) {
          const [px, py] = this.place(event);
          this.point(px, py);
          if (from) {
            this.drawBox(from, [px, py]);
          }
        }
      });
      this.svg.addEventListener("pointerup", (event) => {
        if (from) {
          this.zoomTo(from, this.place(event));
          from = null;
        }
      });
      this.svg.addEventListener("pointercancel", () => {
        from = null;
        this.box?.setAttribute("width", 0);
      });
      this.svg.addEventListener("pointerleave", () => this.unpoint());
      this.svg.addEventListener("dblclick", (event) => {
        if (!event.target.closest(".handle")) {
          this.setZoom(null);
        }
      });
      this.svg.addEventListener("keydown", (event) => this.key(event));
    }

    drawBox([x0, y0], [x1, y1]) {
      this.box.setAttribute("x", Math.min(x0, x1));
      this.box.setAttribute("y", Math.min(y0, y1));
      this.box.setAttribute("width", Math.abs(x1 - x0));
      this.box.setAttribute("height", Math.abs(y1 - y0));
    }

    zoomTo([x0, y0], [x1, y1]) {
      this.box.setAttribute("width", 0);
      if (Math.abs(x1 - x0) < 8) {
        return;
      }
      const { x, y } = this.at;
      const inside = (scale, place) => scale.value(Math.min(Math.max(place, Math.min(...scale.range)), Math.max(...scale.range)));
      const flat = Math.abs(y1 - y0) < 24;  // a stroke along x zooms x alone
      this.setZoom({ x: [inside(x, Math.min(x0, x1)), inside(x, Math.max(x0, x1))],
        y: flat ? [...y.domain] : [inside(y, Math.max(y0, y1)), inside(y, Math.min(y0, y1))] });
    }

    // Zooms about the middle, or about the cursor.
    zoomBy(factor) {
      const { x, y } = this.at;
      const middle = this.pointed || (x.range[0] + x.range[1]) / 2;
      const ends = x.range.map((end) => x.value(middle + (end - middle) * factor));
      this.setZoom({ x: ends, y: [...y.domain] });
    }

    key(event) {
      if (event.target !== this.svg || !this.at || event.ctrlKey || event.metaKey || event.altKey) {
        return;
      }
      const { x } = this.at;
      const step = (x.range[1] - x.range[0]) / 100;
      const now = this.pointed || x.range[0];
      const jobs = {
        ArrowLeft: () => this.point(Math.max(x.range[0], now - step)),
        ArrowRight: () => this.point(Math.min(x.range[1], now + step)),
        "+": () => this.zoomBy(0.7),
        "-": () => this.zoomBy(1 / 0.7),
        0: () => this.setZoom(null),
        Escape: () => this.unpoint(),
      };
      if (jobs[event.key]) {
        jobs[event.key]();
        event.preventDefault();
      }
    }

    // Shows what is at the place px, and where it matters py.
    point(px, py = (this.at.y.range[0] + this.at.y.range[1]) / 2) {
      const { x, y } = this.at;
      if (px < x.range[0] || px > x.range[1] || !this.content.readout) {
        this.unpoint();
        return;
      }
      this.pointed = px;
      this.cursor.setAttribute("d", `M${px},${y.range[0]}V${y.range[1]}`);
      this.readout.textContent = this.content.readout(x.value(px), y.value(py));
    }

    unpoint() {
      this.pointed = null;
      this.cursor?.setAttribute("d", "");
      this.readout.textContent = "";
    }
  }

  const made = new Map();
  page.plot = (id, options) => {
    made.set(id, new Plot(id, options));
    return made.get(id);
  };
  page.plotOf = (id) => made.get(id);

  // On paper all plots have the width of the page.
  const paper = 900;
  addEventListener("beforeprint", () => made.forEach((plot) => plot.paint(paper)));
  addEventListener("afterprint", () => made.forEach((plot) => plot.paint()));

  // The index of the value of a rising list that is nearest to x.
  page.nearest = (list, x) => {
    let low = 0;
    let high = list.length - 1;
    while (high - low > 1) {
      const middle = (low + high) >> 1;
      if (list[middle] > x) {
        high = middle;
      } else {
        low = middle;
      }
    }
    return Math.abs(list[high] - x) < Math.abs(list[low] - x) ? high : low;
  };
})((globalThis.VorinPage = globalThis.VorinPage || {}));
