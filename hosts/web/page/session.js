// What the page knows: files, their decays, which of them are shown, and what was found.
//
//   file   { id, name, bytes, companions, reading, found, complaint }
//   decay  { id, file, name, time, amplitude, imaginary, colour, shown,
//            inversion, used, bootstrap, lcurve, report, complaint }
//
// `inversion` has the fields of vorin_invert, `used` the settings that it was made with, `report`
// the object of the command's JSON.
(function (page) {
  "use strict";

  const listeners = new Map();
  let last = 0;

  page.session = { files: [], decays: [], selected: null };

  page.nextId = () => String(++last);

  // The events: "decays" (the list, or what is shown of it), "selected", "inverted" (a decay has
  // been inverted or has lost its inversion), "measured" (cutoffs or percentiles have changed).
  page.on = (event, listener) => {
    listeners.set(event, [...(listeners.get(event) || []), listener]);
  };
  page.emit = (event, ...details) => {
    (listeners.get(event) || []).forEach((listener) => listener(...details));
  };

  page.selectedDecay = () =>
    page.session.decays.find((decay) => decay.id === page.session.selected) || null;

  page.selectedFile = () => {
    const decay = page.selectedDecay();
    return page.session.files.find((file) => file.id === (decay ? decay.file : page.session.selected)) || null;
  };

  page.select = (id) => {
    page.session.selected = id;
    page.emit("selected");
  };

  // The decays whose curves are drawn: the chosen ones and the selected one, which is the last.
  page.shownDecays = () => {
    const selected = page.selectedDecay();
    const others = page.session.decays.filter((decay) => decay.shown && decay !== selected);
    return selected ? [...others, selected] : others;
  };

  page.forget = (decay) => {
    decay.inversion = decay.bootstrap = decay.lcurve = decay.report = null;
    decay.complaint = "";
  };

  // Puts `decays` of `file` in the place of those that it had.
  page.replaceDecays = (file, decays) => {
    const all = page.session.decays;
    const old = all.filter((decay) => decay.file === file.id);
    const place = old.length > 0 ? all.indexOf(old[0]) : all.length;
    decays.forEach((decay, index) => {
      decay.id = old[index] ? old[index].id : page.nextId();
      decay.colour = old[index] ? old[index].colour : freeColour(all.concat(decays.slice(0, index)));
      decay.shown = old[index] ? old[index].shown : decays.length <= 8 && all.length < 8;
    });
    const others = all.filter((decay) => decay.file !== file.id);
    others.splice(Math.min(place, others.length), 0, ...decays);
    page.session.decays = others;
    old.forEach((decay) => page.engine.run("forget", { key: decay.id }).catch(() => {}));
  };

  const colours = 8;
  function freeColour(decays) {
    const used = new Array(colours).fill(0);
    decays.forEach((decay) => ++used[decay.colour]);
    return used.indexOf(Math.min(...used));
  }

  page.removeFile = (id) => {
    const file = page.session.files.find((other) => other.id === id);
    page.replaceDecays(file, []);
    page.session.files = page.session.files.filter((other) => other !== file);
    if (!page.selectedFile()) {
      page.session.selected = page.session.decays[0]?.id || page.session.files[0]?.id || null;
    }
    page.emit("decays");
    page.emit("selected");
  };
})((globalThis.VorinPage = globalThis.VorinPage || {}));
