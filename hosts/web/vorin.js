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
    addresses(list) {
      const address = this.take(4 * list.length);
      this.module.HEAPU32.set(list, address / 4);
      return address;
    }
    free() {
      this.blocks.forEach((address) => this.module._free(address));
    }
  }

  // Settings by name; free() at the end.
  class Settings {
    constructor(vorin, values) {
      this.vorin = vorin;
      vorin.withArena((arena) => {
        this.handle = vorin.handleOf(arena, (...out) => vorin.module._vorin_settings_create(...out));
      });
      try {
        Object.entries(values).forEach(([name, value]) => this.set(name, value));
      } catch (error) {
        this.free();
        throw error;
      }
    }
    set(name, value) {
      const m = this.vorin.module;
      this.vorin.withArena((arena) => {
        const message = arena.take(messageSize);
        const end = [message, BigInt(messageSize)];
        const key = arena.text(name);
        const code =
          typeof value === "number"
            ? m._vorin_settings_set_number(this.handle, key, value, ...end)
            : typeof value === "string"
              ? m._vorin_settings_set_text(this.handle, key, arena.text(value), ...end)
              : m._vorin_settings_set_array(this.handle, key, arena.numbers(value),
                  BigInt(value.length), ...end);
        this.vorin.check(code, message);
      });
    }
    free() {
      this.vorin.module._vorin_settings_free(this.handle);
      this.handle = 0;
    }
  }

  // A result that later jobs need, until free(). Its fields stay.
  class Kept {
    constructor(vorin, handle) {
      this.vorin = vorin;
      this.handle = handle;
      try {
        this.fields = vorin.fieldsOf(handle);
      } catch (error) {
        this.free();
        throw error;
      }
    }
    free() {
      this.vorin.module._vorin_result_free(this.handle);
      this.handle = 0;
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
      return this.withFiles(name, bytes, companions, (path) =>
        this.withSettings(settings, (handle, arena) =>
          this.resultOf(arena, (...out) =>
            this.module._vorin_read_decay(arena.text(path), handle, ...out))));
    }

    // Two-dimensional data in the bytes of a file.
    read2d(name, bytes, settings = {}, companions = {}) {
      return this.withFiles(name, bytes, companions, (path) =>
        this.withSettings(settings, (handle, arena) =>
          this.resultOf(arena, (...out) =>
            this.module._vorin_read2d(arena.text(path), handle, ...out))));
    }

    // Runs `job` with the path of a file that holds `bytes`, beside its companions.
    withFiles(name, bytes, companions, job) {
      const FS = this.module.FS;
      const written = [];
      try {
        for (const [file, content] of [...Object.entries(companions), [name, bytes]]) {
          const path = `${folder}/${file.replace(/[/\0]/g, "_")}`;
          FS.writeFile(path, content);
          written.push(path);
        }
        return job(written[written.length - 1]);
      } catch (error) {
        if (error instanceof VorinError) {
          error.message = error.message.split(`${folder}/`).join("");
        }
        throw error;
      } finally {
        written.forEach((path) => FS.analyzePath(path).exists && FS.unlink(path));
      }
    }

    // Times in seconds (m2 and s/m2 for diffusion), amplitudes, and for complex data those of the
    // imaginary channel.
    invert(times, real, settings = {}, imaginary = null) {
      const inversion = this.openInversion(times, real, settings, imaginary);
      inversion.free();
      return inversion.fields;
    }

    // The same, kept for jobs on it until free(). `settings` may be what openSettings() returned.
    openInversion(times, real, settings = {}, imaginary = null) {
      if (times.length !== real.length || (imaginary && imaginary.length !== real.length)) {
        throw new VorinError("times and amplitudes are of different lengths", status.badInput);
      }
      return this.withSettings(settings, (handle, arena) => {
        const second = imaginary ? arena.numbers(imaginary) : 0;
        const x = arena.numbers(times);
        const y = arena.numbers(real);
        return new Kept(this, this.handleOf(arena, (...out) =>
          this.module._vorin_invert(handle, x, y, second, BigInt(real.length), ...out)));
      });
    }

    // The uncertainty of an inversion. `progress` is called with what is done and the total.
    openBootstrap(inversion, settings = {}, progress = null) {
      return this.withSettings(settings, (handle, arena) =>
        this.withProgress(progress, (call) =>
          new Kept(this, this.handleOf(arena, (...out) =>
            this.module._vorin_bootstrap(inversion.handle, handle, call, 0, ...out)))));
    }

    lcurve(inversion) {
      return this.withArena((arena) =>
        this.resultOf(arena, (...out) => this.module._vorin_lcurve(inversion.handle, ...out)));
    }

    // Samples by rows, times1.length x times2.length.
    openInversion2d(times1, times2, real, settings = {}, imaginary = null, progress = null) {
      if (real.length !== times1.length * times2.length) {
        throw new VorinError("samples and times are of different lengths", status.badInput);
      }
      return this.withSettings(settings, (handle, arena) => {
        const second = imaginary ? arena.numbers(imaginary) : 0;
        const [x1, x2, y] = [times1, times2, real].map((values) => arena.numbers(values));
        return this.withProgress(progress, (call) =>
          new Kept(this, this.handleOf(arena, (...out) =>
            this.module._vorin_invert2d(handle, x1, BigInt(times1.length), x2,
              BigInt(times2.length), y, second, call, 0, ...out))));
      });
    }

    // A text of the command's files (see vorin_write_text) of `items`, each with an inversion, a
    // bootstrap or null, and a name.
    writeText(form, items, settings = {}, picture = null) {
      return this.withSettings(settings, (handle, arena) => {
        const inversions = arena.addresses(items.map((item) => item.inversion.handle));
        const bands = arena.addresses(items.map((item) => (item.bootstrap ? item.bootstrap.handle : 0)));
        const names = arena.addresses(items.map((item) => arena.text(item.name)));
        const drawn = picture === null ? 0 : arena.text(picture);
        return this.resultOf(arena, (...out) =>
          this.module._vorin_write_text(arena.text(form), inversions, bands, names,
            BigInt(items.length), drawn, handle, ...out)).text;
      });
    }

    // Total, log mean, peaks, "per_decade" and "cumulative" of a distribution.
    measures(grid, distribution, smallestShare = 0.005) {
      return this.withArena((arena) => {
        const [x, y] = [arena.numbers(grid), arena.numbers(distribution)];
        return this.resultOf(arena, (...out) =>
          this.module._vorin_measures(x, y, BigInt(grid.length), smallestShare, ...out));
      });
    }

    // Labels and units of the axes of a picture.
    pictureAxes(kernel, lastAbscissa, lastOnGrid) {
      return this.withArena((arena) =>
        this.resultOf(arena, (...out) =>
          this.module._vorin_picture_axes(arena.text(kernel), lastAbscissa, lastOnGrid, ...out)));
    }

    // A computed decay: by default two peaks at 3000 times.
    simulate(settings = {}) {
      return this.withSettings(settings, (handle, arena) =>
        this.resultOf(arena, (...out) => this.module._vorin_simulate(handle, 0, 0n, 0, 0n, ...out)));
    }

    // Computed two-dimensional data. Peaks are [centre1, centre2, decades, amplitude].
    simulate2d(times1, times2, peaks, settings = {}) {
      return this.withSettings(settings, (handle, arena) => {
        const [x1, x2, rows] = [times1, times2, peaks.flat()].map((list) => arena.numbers(list));
        return this.resultOf(arena, (...out) =>
          this.module._vorin_simulate2d(handle, x1, BigInt(times1.length), x2,
            BigInt(times2.length), rows, BigInt(peaks.length), ...out));
      });
    }

    // All settings: lists "name", "takes", "default" and "meaning".
    settingNames() {
      return this.withArena((arena) =>
        this.resultOf(arena, (...out) => this.module._vorin_setting_names(...out)));
    }

    // Settings that several calls use: what they compute by the way, such as kernels, is kept.
    openSettings(settings) {
      return new Settings(this, settings);
    }

    // Runs `job` with a handle of settings.
    withSettings(settings, job) {
      const made = settings instanceof Settings ? settings : new Settings(this, settings);
      try {
        return this.withArena((arena) => job(made.handle, arena));
      } finally {
        if (made !== settings) {
          made.free();
        }
      }
    }

    withArena(job) {
      const arena = new Arena(this.module);
      try {
        return job(arena);
      } finally {
        arena.free();
      }
    }

    // Runs `job` with the address of a function that calls `progress`; with none, with null.
    withProgress(progress, job) {
      if (!progress) {
        return job(0);
      }
      const call = this.module.addFunction((user, done, total) => {
        progress(Number(done), Number(total));
        return 0;
      }, "iijj");
      try {
        return job(call);
      } finally {
        this.module.removeFunction(call);
      }
    }

    // The result that `call` makes, as an object with a member for each field.
    resultOf(arena, call) {
      const kept = new Kept(this, this.handleOf(arena, call));
      kept.free();
      return kept.fields;
    }

    // The handle that `call` makes; its last arguments are those for the handle and the message.
    handleOf(arena, call) {
      const message = arena.take(messageSize);
      const address = arena.take(4);
      this.check(call(address, message, BigInt(messageSize)), message);
      return this.module.HEAPU32[address / 4];
    }

    fieldsOf(handle) {
      return this.withArena((arena) => this.fields(handle, arena));
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
