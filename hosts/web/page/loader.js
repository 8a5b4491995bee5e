// Where the worker and the WebAssembly module come from.
//
// In the single file a data block "vorin-bundle" holds the worker's text, the module's packed bytes,
// the sample decay and the licences. In a folder for a server they are files beside the page.
(function (page) {
  "use strict";

  const inside = document.getElementById("vorin-bundle");
  const bundle = inside ? JSON.parse(inside.textContent) : null;
  const policy = globalThis.trustedTypes
    ? trustedTypes.createPolicy("vorin", { createScriptURL: (address) => address })
    : { createScriptURL: (address) => address };
  let workerAddress = "worker.js";
  if (bundle) {
    const text = new Blob([bundle.worker], { type: "text/javascript" });
    workerAddress = URL.createObjectURL(text);
  }

  async function fetched(name) {
    const answer = await fetch(name);
    if (!answer.ok) {
      throw new Error(`${name} can't be read beside the page (${answer.status})`);
    }
    return answer;
  }

  async function unpacked(base64, packing) {
    const characters = atob(base64);
    const bytes = Uint8Array.from(characters, (character) => character.charCodeAt(0));
    const stream = new Blob([bytes]).stream().pipeThrough(new DecompressionStream(packing));
    return new Response(stream).arrayBuffer();
  }

  page.newWorker = () => new Worker(policy.createScriptURL(workerAddress));

  page.moduleBytes = async () =>
    bundle ? unpacked(bundle.module, bundle.packing) : (await fetched("vorin_web.wasm")).arrayBuffer();

  page.sampleText = async () => (bundle ? bundle.sample : (await fetched("decay.csv")).text());

  page.licences = async () => (bundle ? bundle.licences : (await fetched("LICENCES.txt")).text());
})((globalThis.VorinPage = globalThis.VorinPage || {}));
