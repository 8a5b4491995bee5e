// Files to keep. Their texts are the toolkit's, the same as those of the command.
(function (page) {
  "use strict";

  const onePicture = ["plot-decay", "plot-residual", "plot-distribution"];

  // Gives a text or a blob to the user as a file.
  page.save = (name, content, kind) => {
    const blob = content instanceof Blob ? content : new Blob([content], { type: `${kind};charset=utf-8` });
    const address = URL.createObjectURL(blob);
    const link = page.make("a", { href: address, download: name });
    document.body.append(link);
    link.click();
    link.remove();
    setTimeout(() => URL.revokeObjectURL(address), 60000);
    page.tell(`${name} saved`);
  };

  async function text(form, decays, picture = null) {
    return page.engine.run("text", { form, jobs: decays.map((decay) => page.jobOf(decay)),
      measures: page.measureSettings(), picture });
  }

  const done = () => page.session.decays.filter((decay) => decay.inversion);

  async function saveOne(form, ending, kind) {
    const decay = page.selectedDecay();
    const picture = form === "report" ? paperPicture() : null;
    page.save(`${page.stem(decay.name)}${ending}`, await text(form, [decay], picture), kind);
  }

  async function saveAll(form, ending, kind) {
    const decays = done();
    const stem = decays.length === 1 ? page.stem(decays[0].name) : "decays";
    page.save(`${stem}${ending}`, await text(form, decays), kind);
  }

  // A report is read on paper: its picture has the light look.
  function paperPicture() {
    const root = document.documentElement;
    const before = root.dataset.theme;
    root.dataset.theme = "light";
    const { text: svg } = page.pictureOf(onePicture);
    root.dataset.theme = before;
    return svg;
  }

  const jobs = {
    "export-csv": () => saveOne("distribution", "_distribution.csv", "text/csv"),
    "export-fit": () => saveOne("fit", "_fit.csv", "text/csv"),
    "export-report": () => saveOne("report", "_report.html", "text/html"),
    "export-table": () => saveAll("table", "_table.csv", "text/csv"),
    "export-json": () => saveAll("json", ".json", "application/json"),
    "export-svg": () => page.savePicture(onePicture, "svg"),
    "export-png": () => page.savePicture(onePicture, "png"),
    "print": () => window.print(),
  };

  page.startExports = () => {
    for (const [id, job] of Object.entries(jobs)) {
      page.el(id).addEventListener("click", async () => {
        try {
          await job();
        } catch (error) {
          page.complain(error.message);
        }
      });
    }
  };
})((globalThis.VorinPage = globalThis.VorinPage || {}));
