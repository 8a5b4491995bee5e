// Memory that is refused inside the WebAssembly module ends the job alone: with the status for it
// and a sentence, and the module goes on with the same bits. All memory that the module may have is
// taken in blocks first; jobs then run with one more block freed at a time.
"use strict";

const kibibyte = 1024;

// The addresses of as many blocks as there are.
function fill(module, bytes) {
  const blocks = [];
  for (let address = module._malloc(bytes); address !== 0; address = module._malloc(bytes)) {
    blocks.push(address);
  }
  return blocks;
}

// `jobs` has by name functions that return an array; `expect` takes a condition and a text. Returns
// how many runs were refused.
function tryWithLittleMemory(vorin, noMemory, jobs, expect) {
  const { module } = vorin;
  const wanted = Object.entries(jobs).map(([name, job]) => ({ name, job, values: job() }));
  const same = (values, others) => values.every((value, i) => Object.is(value, others[i]));
  const blocks = fill(module, kibibyte * kibibyte);
  blocks.push(...fill(module, 32 * kibibyte));
  let refused = 0;
  for (let freed = 0; freed < 64; ++freed) {
    for (const { name, job, values } of wanted) {
      try {
        expect(same(job(), values), `${name} with ${freed} blocks: other numbers`);
      } catch (error) {
        refused += 1;
        expect(error.status === noMemory && error.message.includes("memory"),
          `${name} with ${freed} blocks: ${error}`);
      }
    }
    module._free(blocks.pop());
  }
  blocks.forEach((address) => module._free(address));
  wanted.forEach(({ name, job, values }) => expect(same(job(), values), `${name} afterwards`));
  return refused;
}

module.exports = { tryWithLittleMemory };
