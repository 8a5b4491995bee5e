// Starts the page: loads the module, connects the controls.
(function (page) {
  "use strict";

  page.setTheme = (theme) => {
    const known = ["light", "dark"].includes(theme) ? theme : "auto";
    page.el("theme").value = known;
    document.documentElement.dataset.theme = known;
    page.drawPlots();
  };

  const take = (job) => job.catch((error) => page.complain(error.message));

  function startDropping() {
    const zone = page.el("drop");
    addEventListener("dragover", (event) => {
      event.preventDefault();
      zone.classList.add("over");
    });
    addEventListener("dragleave", (event) => {
      if (event.relatedTarget === null) {
        zone.classList.remove("over");
      }
    });
    addEventListener("drop", (event) => {
      event.preventDefault();
      zone.classList.remove("over");
      take(page.filesOf(event.dataTransfer).then(page.addFiles));
    });
    page.el("files").addEventListener("change", ({ target }) => {
      const files = [...target.files].map((file) => ({ folder: "", file }));
      target.value = "";
      if (files.length > 0) {
        take(page.addFiles(files));
      }
    });
  }

  function startPasting() {
    page.el("add-pasted").addEventListener("click", () => {
      const text = page.el("paste").value;
      if (text.trim() !== "") {
        take(page.addText("pasted.txt", text));
      }
    });
    addEventListener("paste", (event) => {
      if (event.target.closest("input, textarea, select")) {
        return;
      }
      const { files } = event.clipboardData;
      const text = event.clipboardData.getData("text/plain");
      if (files.length > 0) {
        take(page.addFiles([...files].map((file) => ({ folder: "", file }))));
      } else if (text.trim() !== "") {
        take(page.addText("pasted.txt", text));
      }
    });
  }

  function startSettings() {
    const form = page.el("settings");
    let kernel = page.kernel();
    const quantity = (name) => (name === "diffusion" ? "b" : "t");
    form.addEventListener("change", () => {
      page.adaptForm(form);
      if (quantity(page.kernel()) !== quantity(kernel) && page.session.files.length > 0) {
        page.readAgain(page.session.files);
      }
      kernel = page.kernel();
      page.drawPlots();
    });
    form.addEventListener("submit", (event) => {
      event.preventDefault();
      if (!page.el("run").disabled) {
        page.el("run").click();
      }
    });
    page.adaptForm(form);
    page.adaptForm(page.el("map-settings"));
    page.el("theme").addEventListener("change", ({ target }) => page.setTheme(target.value));
  }

  async function start() {
    page.startPreview();
    page.startPlots();
    page.startResults();
    page.startInverting();
    page.startWeight();
    page.startCutoffs();
    page.startExports();
    page.startMap();
    page.startShare();
    startSettings();
    startDropping();
    startPasting();
    page.el("example").addEventListener("click", () => take(page.addExample()));
    try {
      const { version } = await page.engine.load();
      page.el("version").textContent = version;
      document.documentElement.dataset.loaded = performance.now().toFixed(0);
    } catch (error) {
      document.documentElement.dataset.state = "error";
      page.complain(`The page can't compute here: ${error.message}. A browser of 2023 or later is needed.`);
    }
  }

  start();
})((globalThis.VorinPage = globalThis.VorinPage || {}));
