// Where the worker and the WebAssembly module come from.
//
// In the single file both are in the page: a script element "vorin-worker" of type text/plain
// holds vorin_web.js, vorin.js and worker.js one behind the other, and "vorin-module" the bytes of
// vorin_web.wasm in base64, packed. In a folder for a server, all four lie beside the page.
// See bundle.py.
(function (page) {
  "use strict";

  let address = null;

  // Pages with a policy take the address of a worker only from here.
  const addresses = globalThis.trustedTypes
    ? trustedTypes.createPolicy("vorin", { createScriptURL: (url) => url })
    : { createScriptURL: (url) => url };

  function decoded(text) {
    const characters = atob(text.trim());
    const bytes = new Uint8Array(characters.length);
    for (let i = 0; i < bytes.length; ++i) {
      bytes[i] = characters.charCodeAt(i);
    }
    return bytes.buffer;
  }

  // The bytes of the module; the caller may give them away.
  page.moduleBytes = async function () {
    const inside = document.getElementById("vorin-module");
    if (inside) {
      const { packing } = inside.dataset;
      const bytes = decoded(inside.textContent);
      return packing
        ? new Response(new Blob([bytes]).stream().pipeThrough(new DecompressionStream(packing))).arrayBuffer()
        : bytes;
    }
    const answer = await fetch("vorin_web.wasm");
    if (!answer.ok) {
      throw new Error(`vorin_web.wasm can't be read beside the page (${answer.status})`);
    }
    return answer.arrayBuffer();
  };

  page.newWorker = function () {
    const inside = document.getElementById("vorin-worker");
    if (!inside) {
      return new Worker(addresses.createScriptURL("worker.js"));
    }
    if (!address) {
      address = URL.createObjectURL(new Blob([inside.textContent], { type: "text/javascript" }));
    }
    return new Worker(addresses.createScriptURL(address));
  };
})((globalThis.VorinPage = globalThis.VorinPage || {}));
