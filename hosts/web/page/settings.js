// The forms of settings: what they hold as texts by the toolkit's names, and back. The toolkit
// reads the texts and says what is wrong with them.
(function (page) {
  "use strict";

  // Of the form, but none of the inversion: what a report measures, and the bootstrap's.
  const measuring = ["cutoff", "percentiles"];
  const bootstrapping = ["replicates", "seed"];

  const companion = (form, name) => form.querySelector(`[data-value-of="${name}"]`);

  const applies = (control) => !control.closest("[hidden]") || !control.closest(".only");

  // The settings that differ from nothing, by name.
  page.formValues = (form) => {
    const values = {};
    for (const control of form.querySelectorAll("[name]")) {
      const chosen = control.type !== "checkbox" || control.checked;
      let text = chosen && applies(control) ? control.value.trim() : "";
      if (text === "given") {
        text = companion(form, control.name).value.trim();
        if (text === "") {
          throw new Error(`${control.name}: the choice is "given"; write the value beside it`);
        }
      }
      if (text !== "") {
        values[control.name] = text;
      }
    }
    return values;
  };

  // The form as `values` say; what they don't name has its default.
  page.setForm = (form, values) => {
    form.reset();
    for (const control of form.querySelectorAll("[name]")) {
      const text = values[control.name];
      if (typeof text !== "string" && typeof text !== "number") {
        continue;
      }
      setControl(form, control, String(text));
    }
    page.adaptForm(form);
  };

  function setControl(form, control, text) {
    const beside = companion(form, control.name);
    if (control.type === "checkbox") {
      control.checked = text === control.value;
    } else if (beside && ![...control.options].some((option) => option.value === text)) {
      control.value = "given";
      beside.value = text;
    } else {
      control.value = text;
    }
  }

  // Shows the controls that the others call for.
  page.adaptForm = (form) => {
    const kernel = form.querySelector("[name=kernel]")?.value;
    form.querySelectorAll("[data-only-kernel]").forEach((field) => {
      field.hidden = field.dataset.onlyKernel !== kernel;
    });
    form.querySelectorAll("[data-value-of]").forEach((input) => {
      input.hidden = form.querySelector(`[name="${input.dataset.valueOf}"]`).value !== "given";
    });
  };

  const without = (values, names) =>
    Object.fromEntries(Object.entries(values).filter(([name]) => !names.includes(name)));
  const only = (values, names) =>
    Object.fromEntries(Object.entries(values).filter(([name]) => names.includes(name)));

  const form = () => page.el("settings");
  page.kernel = () => form().querySelector("[name=kernel]").value;
  page.inversionSettings = (file) => {
    const skip = file.reading.skip && file.reading.skip !== "0" ? { skip: file.reading.skip } : {};
    return { ...without(page.formValues(form()), [...measuring, ...bootstrapping]), ...skip };
  };
  page.measureSettings = () => only(page.formValues(form()), measuring);
  page.bootstrapSettings = () => only(page.formValues(form()), bootstrapping);
})((globalThis.VorinPage = globalThis.VorinPage || {}));
