// The settings of the whole session, never data, in a file or behind the # of a link: the forms, how
// each file is read, the looks of the plots. A link is not sent anywhere by opening it: what stands
// behind # stays in the browser.
(function (page) {
  "use strict";

  const forms = ["settings", "map-settings"];
  const kind = "vorin settings";

  function present() {
    const values = { kind, version: 1 };
    for (const id of forms) {
      try {
        values[id] = page.formValues(page.el(id));
      } catch {
        values[id] = {};
      }
    }
    values.reading = page.selectedFile()?.reading || page.startReading || {};
    values.theme = page.el("theme").value;
    return values;
  }

  // Only texts under known names are taken; the toolkit looks at what they say.
  function texts(object) {
    return Object.fromEntries(Object.entries(object && typeof object === "object" ? object : {})
      .filter(([, value]) => typeof value === "string" && value.length < 1000));
  }

  function apply(values) {
    if (!values || values.kind !== kind) {
      throw new Error("this is no file of settings of this page; choose one that it has written");
    }
    forms.forEach((id) => page.setForm(page.el(id), texts(values[id])));
    page.startReading = texts(values.reading);
    page.session.files.forEach((file) => {
      file.reading = { ...page.startReading };
    });
    page.setTheme(values.theme);
    if (page.session.files.length > 0) {
      page.readAgain(page.session.files);
    }
    tellLink();
  }

  const encoded = (values) =>
    btoa(String.fromCharCode(...new TextEncoder().encode(JSON.stringify(values))))
      .replaceAll("+", "-").replaceAll("/", "_").replace(/=+$/, "");

  const decoded = (text) =>
    JSON.parse(new TextDecoder().decode(Uint8Array.from(
      atob(text.replaceAll("-", "+").replaceAll("_", "/")), (character) => character.charCodeAt(0))));

  function tellLink() {
    page.el("link").href = `#settings=${encoded(present())}`;
  }

  function fromAddress() {
    const match = /^#settings=([\w-]+)$/.exec(location.hash);
    if (!match) {
      return;
    }
    try {
      apply(decoded(match[1]));
    } catch {
      page.complain("the link holds no settings of this page that can be read; ask for it again");
    }
  }

  async function open({ target }) {
    const [file] = target.files;
    target.value = "";
    if (!file) {
      return;
    }
    try {
      apply(JSON.parse(await file.text()));
      page.complain("");
      page.tell("settings taken");
    } catch (error) {
      page.complain(`${file.name}: ${error instanceof SyntaxError ? "no JSON; choose a file of settings that this page has written" : error.message}`);
    }
  }

  page.startShare = () => {
    page.el("export-settings").addEventListener("click", () =>
      page.save("vorin_settings.json", JSON.stringify(present(), null, 2) + "\n", "application/json"));
    page.el("open-settings").addEventListener("change", open);
    addEventListener("hashchange", fromAddress);
    ["settings", "selected", "decays", "inverted", "measured"].forEach((event) => page.on(event, tellLink));
    document.addEventListener("change", tellLink);
    page.el("link").addEventListener("focus", tellLink);
    page.el("link").addEventListener("pointerenter", tellLink);
    page.el("link").addEventListener("click", () => {
      tellLink();
      navigator.clipboard?.writeText(page.el("link").href).then(() => page.tell("link copied"), () => {});
    });
    fromAddress();
    tellLink();
  };
})((globalThis.VorinPage = globalThis.VorinPage || {}));
