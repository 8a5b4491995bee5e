// The WebAssembly module in node against the command of this machine:
//   node web_test.js FOLDER COMMAND SAMPLE [DATA]
// FOLDER holds vorin_web.js and vorin_web.wasm; COMMAND is the program vorin; SAMPLE is the sample
// decay and DATA a folder of measured ones. The module reads each file from its bytes and inverts
// it; noise, weight, log mean, total and distribution have to be the command's. Both round alike but
// for exp and log, which are another library's: the results agree to 1e-6 of their size.
"use strict";
const { execFileSync } = require("child_process");
const fs = require("fs");
const path = require("path");

const [folder, command, sample, data] = process.argv.slice(2).map((p) => path.resolve(p));
const create = require(path.join(folder, "vorin_web.js"));
const { Vorin } = require(path.join(__dirname, "../../hosts/web/vorin.js"));
const { tryWithLittleMemory } = require("./refused_memory.js");
const tolerance = 1e-6;
let failures = 0;

function expect(condition, what) {
  if (!condition) {
    failures += 1;
    console.log(`failed: ${what}`);
  }
}

function near(value, wanted, scale, what) {
  expect(Math.abs(value - wanted) <= tolerance * Math.abs(scale) || value === wanted,
    `${what}: ${value}, by the command ${wanted}`);
}

function refused(action, code, what) {
  try {
    action();
    expect(false, `${what}: nothing was refused`);
  } catch (error) {
    expect(error.status === code && error.message.length > 10, `${what}: ${error}`);
  }
}

function compare(vorin, file) {
  const label = path.basename(file);
  const report = execFileSync(command, ["invert", file, "--json", "-"],
    { stdio: ["ignore", "pipe", "ignore"] });
  const wanted = JSON.parse(report);
  const decay = vorin.readDecay(label, fs.readFileSync(file));
  const result = vorin.invert(decay.time, decay.amplitude, {}, decay.imaginary || null);
  expect(result.status === wanted.status, `${label}: status ${result.status}, not ${wanted.status}`);
  for (const field of ["noise", "weight", "total"]) {
    near(result[field], wanted[field], wanted[field], `${label}: ${field}`);
  }
  if (wanted.log_mean !== undefined) {
    const seconds = typeof wanted.log_mean === "number" ? wanted.log_mean : wanted.log_mean.value;
    near(result.log_mean, seconds, seconds, `${label}: log_mean`);
  }
  const distribution = wanted.distribution;
  expect(distribution.length === result.distribution.length, `${label}: points of the grid`);
  const largest = Math.max(...distribution);
  distribution.forEach((value, i) =>
    near(result.distribution[i], value, largest, `${label}: distribution at ${i}`));
}

// Decimal numbers of many lengths and powers: JavaScript's Number() is correctly rounded, too.
function compareNumbers(vorin) {
  const texts = Array.from({ length: 3000 }, (_, i) => {
    const digits = String((i * 7919 + 1) * 1e6 + i * i * 31).padEnd(7 + (i % 13), String(i % 10));
    return [`${digits.slice(0, 3)}.${digits.slice(3)}`, `${digits}e${(i % 50) - 30}`, digits][i % 3];
  });
  const rows = texts.map((text, i) => `${i + 1},${text}\n`).join("");
  const { amplitude } = vorin.readDecay("numbers.csv", Buffer.from(rows), { columns: "1,2" });
  texts.forEach((text, i) => expect(amplitude[i] === Number(text), `${text} is read as ${amplitude[i]}`));
}

async function main() {
  const wasmBinary = fs.readFileSync(path.join(folder, "vorin_web.wasm"));
  const vorin = await Vorin.load(create, { wasmBinary });
  const measured = data && fs.existsSync(data) ? fs.readdirSync(data).sort() : [];
  const trains = measured.filter((name) => name.endsWith("_cpmg.csv"));
  const files = [sample, ...trains.map((name) => path.join(data, name))];
  files.forEach((file) => compare(vorin, file));
  compareNumbers(vorin);

  // One sentence each, and the module goes on.
  refused(() => vorin.readDecay("empty.csv", new Uint8Array(0)), Vorin.status.badInput, "an empty file");
  refused(() => vorin.invert([1, 2], [1, 2], { nonsense: 1 }), Vorin.status.badInput, "an unknown setting");
  compare(vorin, sample);

  const bytes = fs.readFileSync(sample);
  const read = vorin.readDecay("decay.csv", bytes);
  const inverted = (settings) => vorin.invert(read.time, read.amplitude, settings).distribution;
  const refusals = tryWithLittleMemory(vorin, Vorin.status.noMemory, {
    default: () => inverted({}),
    unpruned: () => inverted({ prune: "none" }),
    corner: () => inverted({ weight: "corner" }),
    compressed: () => inverted({ compress: "20,1e-6" }),
    reading: () => vorin.readDecay("decay.csv", bytes).amplitude,
  }, expect);
  expect(refusals > 0, "no memory was refused");
  let best = Infinity;
  for (let i = 0; i < 20; ++i) {
    const start = process.hrtime.bigint();
    vorin.invert(read.time, read.amplitude);
    best = Math.min(best, Number(process.hrtime.bigint() - start) / 1e6);
  }
  console.log(`web: ${files.length} decays compared, ${refusals} jobs without the memory that ` +
    `they ask for, ${failures} failures; module of ` +
    `${wasmBinary.length} bytes, ${best.toFixed(2)} ms to invert the sample`);
  process.exitCode = failures === 0 ? 0 : 1;
}

main().catch((error) => {
  console.log(error);
  process.exitCode = 1;
});
