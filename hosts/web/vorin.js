// The toolkit from JavaScript: reads files from bytes, inverts decays, and returns plain objects.
// Runs in a page, in a worker and in node. All calls run to their end: a page calls from a worker.
//
//   const vorin = await Vorin.load(createVorinModule, { wasmBinary });
//   const decay = vorin.readDecay("train.csv", bytes, { columns: "1,2" });
//   const result = vorin.invert(decay.time, decay.amplitude, { weight: "corner" });
//
// Settings are the toolkit's by their names: a text, a number, an array of numbers. A failure is a
// VorinError with one sentence and the toolkit's status (vorin_toolkit.h); the module stays usable.
(function (root) {
  "use strict";

  const status = { ok: 0, badInput: 1, noMemory: 2, cancelled: 3, noField: 4, internal: 5 };
  const kinds = { number: 1, text: 2, array: 3, texts: 4 };
  const messageSize = 4096;
  const folder = "/files";

  class VorinError extends Error {
    constructor(message, code) {
      super(message);
      this.name = "VorinError";
      this.status = code;
    }
  }

  // What one call needs in the module's memory; freed at its end.
  class Arena {
    constructor(module) {
      this.module = module;
      this.blocks = [];
    }
    take(bytes) {
      const address = this.module._malloc(Math.max(bytes, 8));
      if (address === 0) {
        throw new VorinError("the browser refused memory for the data", status.noMemory);
      }
      this.blocks.push(address);
      return address;
    }
    text(value) {
      const size = this.module.lengthBytesUTF8(value) + 1;
      const address = this.take(size);
      this.module.stringToUTF8(value, address, size);
      return address;
    }
    numbers(values) {
      const address = this.take(8 * values.length);
      this.module.HEAPF64.set(values, address / 8);
      return address;
    }
    free() {
      this.blocks.forEach((address) => this.module._free(address));
    }
  }

  class Vorin {
    // `create` is the function of vorin_web.js; `options` are Emscripten's, above all wasmBinary,
    // the bytes of vorin_web.wasm.
    static async load(create, options) {
      const module = await create(options);
      module.FS.mkdir(folder);
      return new Vorin(module);
    }

    constructor(module) {
      this.module = module;
    }

    version() {
      return this.module.UTF8ToString(this.module._vorin_toolkit_version());
    }

    // The decay or decays in the bytes of a file. `companions` holds by name the bytes of files
    // that lie beside it (parameters of a spectrometer). Nothing is kept.
    readDecay(name, bytes, settings = {}, companions = {}) {
      const FS = this.module.FS;
      const written = [];
      try {
        for (const [file, content] of [...Object.entries(companions), [name, bytes]]) {
          const path = `${folder}/${file.replace(/[/\0]/g, "_")}`;
          FS.writeFile(path, content);
          written.push(path);
        }
        const path = written[written.length - 1];
        return this.withSettings(settings, (handle, arena) =>
          this.resultOf(arena, (result, message) =>
            this.module._vorin_read_decay(arena.text(path), handle, result, message, BigInt(messageSize))));
      } catch (error) {
        if (error instanceof VorinError) {
          error.message = error.message.split(`${folder}/`).join("");
        }
        throw error;
      } finally {
        written.forEach((path) => FS.unlink(path));
      }
    }

    // Times in seconds (m2 and s/m2 for diffusion), amplitudes, and for complex data those of the
    // imaginary channel.
    invert(times, real, settings = {}, imaginary = null) {
      if (times.length !== real.length || (imaginary && imaginary.length !== real.length)) {
        throw new VorinError("times and amplitudes are of different lengths", status.badInput);
      }
      return this.withSettings(settings, (handle, arena) => {
        const second = imaginary ? arena.numbers(imaginary) : 0;
        const x = arena.numbers(times);
        const y = arena.numbers(real);
        return this.resultOf(arena, (result, message) =>
          this.module._vorin_invert(handle, x, y, second, BigInt(real.length), result, message,
            BigInt(messageSize)));
      });
    }

    // Runs `job` with a handle of settings.
    withSettings(settings, job) {
      const arena = new Arena(this.module);
      const m = this.module;
      const size = BigInt(messageSize);
      const message = arena.take(messageSize);
      const address = arena.take(4);
      let handle = 0;
      try {
        this.check(m._vorin_settings_create(address, message, size), message);
        handle = m.HEAPU32[address / 4];
        for (const [name, value] of Object.entries(settings)) {
          const key = arena.text(name);
          const code =
            typeof value === "number"
              ? m._vorin_settings_set_number(handle, key, value, message, size)
              : typeof value === "string"
                ? m._vorin_settings_set_text(handle, key, arena.text(value), message, size)
                : m._vorin_settings_set_array(handle, key, arena.numbers(value),
                    BigInt(value.length), message, size);
          this.check(code, message);
        }
        return job(handle, arena);
      } finally {
        if (handle !== 0) {
          m._vorin_settings_free(handle);
        }
        arena.free();
      }
    }

    // The result that `call` makes, as an object with a member for each field.
    resultOf(arena, call) {
      const m = this.module;
      const message = arena.take(messageSize);
      const address = arena.take(4);
      this.check(call(address, message), message);
      const handle = m.HEAPU32[address / 4];
      try {
        return this.fields(handle, arena);
      } finally {
        m._vorin_result_free(handle);
      }
    }

    fields(handle, arena) {
      const m = this.module;
      const name = arena.take(4);
      const kind = arena.take(4);
      const count = arena.take(8);
      const value = arena.take(8);
      const result = {};
      for (let index = 0n; m._vorin_result_field(handle, index, name, kind, count, 0, 0n) === 0; ++index) {
        const address = m.HEAPU32[name / 4];
        const key = m.UTF8ToString(address);
        const length = Number(m.HEAP32[count / 4]);
        switch (m.HEAP32[kind / 4]) {
          case kinds.number:
            m._vorin_result_number(handle, address, value, 0, 0n);
            result[key] = m.HEAPF64[value / 8];
            break;
          case kinds.text:
            m._vorin_result_text(handle, address, value, 0, 0n);
            result[key] = m.UTF8ToString(m.HEAPU32[value / 4]);
            break;
          case kinds.array: {
            m._vorin_result_array(handle, address, value, count, 0, 0n);
            const start = m.HEAPU32[value / 4] / 8;
            result[key] = m.HEAPF64.slice(start, start + length);
            break;
          }
          case kinds.texts:
            result[key] = Array.from({ length }, (_, i) => {
              m._vorin_result_text_at(handle, address, BigInt(i), value, 0, 0n);
              return m.UTF8ToString(m.HEAPU32[value / 4]);
            });
            break;
        }
      }
      return result;
    }

    check(code, message) {
      if (code !== status.ok) {
        throw new VorinError(this.module.UTF8ToString(message), code);
      }
    }
  }

  Vorin.status = status;
  root.Vorin = Vorin;
  root.VorinError = VorinError;
  if (typeof module !== "undefined" && module.exports) {
    module.exports = { Vorin, VorinError };
  }
})(typeof globalThis !== "undefined" ? globalThis : this);
