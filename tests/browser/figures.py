#!/usr/bin/env python3
"""Times of the page in headless Chromium, its size, and what WebAssembly costs.

    figures.py [FOLDER]   FOLDER receives screenshots

Medians of several runs on the machine as it is: run it with nothing else at work."""
import os
import statistics
import sys
import tempfile
import time
import zlib
from pathlib import Path

sys.path.insert(0, str(Path(__file__).parent))
from command import ROOT, SAMPLE, measured  # noqa: E402
from page import PAGE, Page  # noqa: E402

READY = """
new MutationObserver(() => {
  if (document.documentElement?.dataset.state === "ready" && !window.readyAfter) window.readyAfter = performance.now();
}).observe(document, { subtree: true, attributes: true, childList: true });
"""

# From a movement of the slider to the frame after the distribution has been drawn anew.
DRAG = """
const [moves, done] = arguments;
const slider = document.getElementById("weight-slider");
const figure = document.getElementById("plot-distribution");
const times = [];
function move(at) {
  const start = performance.now();
  const seen = new MutationObserver(() => {
    seen.disconnect();
    setTimeout(() => {  // it was drawn in the callback of a frame, which has been painted now
      times.push(performance.now() - start);
      at + 1 < moves ? move(at + 1) : done(times);
    });
  });
  seen.observe(figure, { subtree: true, childList: true, attributes: true, characterData: true });
  slider.value = -3 + 4 * at / moves;
  slider.dispatchEvent(new Event("input", { bubbles: true }));
}
move(0);
"""

INVERT = """
const done = arguments[0];
const decay = VorinPage.session.decays[0];
const times = [];
(async () => {
  for (let i = 0; i < 25; ++i) {
    const start = performance.now();
    await VorinPage.engine.run("invert", { ...VorinPage.jobOf(decay, {}), measures: VorinPage.measureSettings() });
    times.push(performance.now() - start);
  }
  done(times);
})().catch((error) => done(String(error)));
"""


def native():
    """Milliseconds of the same inversion by the toolkit of this machine."""
    os.environ.setdefault("VORIN_TOOLKIT", str(ROOT / "build/libvorin_toolkit.so"))
    os.environ.setdefault("VORIN_LIBRARY", str(ROOT / "build/libVorin01056.so"))
    sys.path.insert(0, str(ROOT / "hosts/python"))
    import vorin
    t, y = vorin.read(str(SAMPLE))
    times = []
    for _ in range(25):
        start = time.perf_counter()
        vorin.invert(t, y)
        times.append(1e3 * (time.perf_counter() - start))
    return statistics.median(times)


def show(what, times):
    ordered = sorted(times)
    print(f"{what:58} {statistics.median(times):8.1f} ms, nine of ten below {ordered[int(0.9 * (len(ordered) - 1))]:.1f}")


def times_of(page):
    size = PAGE.stat().st_size
    print(f"{'vorin.html':58} {size / 1e6:8.2f} MB, {len(zlib.compress(PAGE.read_bytes(), 9)) / 1e6:.2f} packed by a server")
    loads = []
    for _ in range(7):
        page.open()
        loads.append(page.run("return window.readyAfter"))
    show("from opening the file to ready", loads)
    page.choose(SAMPLE)
    page.arrived(1)
    page.invert()
    show("from a movement of the slider to the frame, 3000 samples", page.driver.execute_async_script(DRAG, 40)[3:])
    page.finished("the last position is drawn")
    web = page.driver.execute_async_script(INVERT)
    assert isinstance(web, list), web
    show("an inversion of 3000 samples in the worker, with its plot data", web)
    try:
        there = native()
        print(f"{'the same by the toolkit of this machine':58} {there:8.1f} ms, {statistics.median(web) / there:.1f} times less")
    except (ImportError, OSError) as error:
        print(f"no native time: {error}")


def many_decays(folder):
    text = SAMPLE.read_text().splitlines()[2:]
    paths = []
    for index in range(8):
        path = folder / f"plug {index + 1}.csv"
        rows = (row.split(",") for row in text[index * 8::1 + index % 3])
        path.write_text("time_s,amplitude\n" + "\n".join(
            f"{float(t) * (0.7 + 0.1 * index)!r},{float(y) * (1 + 0.2 * index)!r}" for t, y in rows) + "\n")
        paths.append(path)
    return paths


def screenshots(page, out):
    out.mkdir(parents=True, exist_ok=True)

    def keep(name, width=1280, height=900, whole=True):
        page.cdp("Emulation.setDeviceMetricsOverride", width=width, height=height, deviceScaleFactor=1, mobile=False)
        if whole:
            height = min(page.run("return document.documentElement.scrollHeight"), 4000)
            page.cdp("Emulation.setDeviceMetricsOverride", width=width, height=height, deviceScaleFactor=1, mobile=False)
        page.screenshot(out / f"{name}.png")
        page.cdp("Emulation.clearDeviceMetricsOverride")

    page.open()
    keep("start", whole=False)
    page.choose(next((path for path, kernel in measured() if path.stem.startswith("rock") and kernel == "t2"), SAMPLE))
    page.arrived(1)
    page.set("#cutoff", "33ms")
    page.invert()
    keep("result")
    page.cdp("Emulation.setEmulatedMedia", features=[{"name": "prefers-color-scheme", "value": "dark"}])
    keep("dark")
    page.cdp("Emulation.setEmulatedMedia", features=[{"name": "prefers-color-scheme", "value": ""}])
    keep("narrow", width=360)
    page.cdp("Emulation.setEmulatedMedia", media="print")
    keep("print", width=794)
    page.cdp("Emulation.setEmulatedMedia", media="")
    with tempfile.TemporaryDirectory() as folder:
        bad = Path(folder) / "prose.csv"
        bad.write_text("hello world\nthis is prose\n")
        page.open()
        page.drop(bad)
        page.until(page.message, "the file is refused")
        keep("error", whole=False)
        page.open()
        page.drop(*many_decays(Path(folder)))
        page.arrived(8)
        page.invert()
        keep("many")
    page.open()
    page.click("#example-map")
    page.until(lambda: page.one("#map-run").is_displayed() and page.state() == "ready", "the example map")
    page.click("#map-run")
    page.until(lambda: page.one("#plot-map").is_displayed() and page.state() == "ready", "the map is inverted")
    keep("map")


def main(arguments):
    page = Page()
    try:
        page.cdp("Page.addScriptToEvaluateOnNewDocument", source=READY)
        times_of(page)
        if arguments:
            screenshots(page, Path(arguments[0]).resolve())
    finally:
        page.close()


if __name__ == "__main__":
    main(sys.argv[1:])
