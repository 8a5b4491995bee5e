// The licences of what is bundled, shown when their part of the page is opened.
(function () {
  "use strict";

  document.getElementById("licences").addEventListener("toggle", async ({ target }) => {
    const place = target.querySelector("pre");
    if (!target.open || place.textContent !== "") {
      return;
    }
    const inside = document.getElementById("vorin-licences");
    place.textContent = inside ? inside.textContent : await (await fetch("LICENCES.txt")).text();
  });
})();
