"""Long jobs: a million samples, and the way out of what takes too long."""
import pytest
from command import SAMPLE, inversion, near

np = pytest.importorskip("numpy")


def test_a_long_run_is_cancelled_and_the_page_goes_on(page):
    page.choose(SAMPLE)
    page.arrived(1)
    page.set("#replicates", "100000")
    page.invert()
    before = page.results()[0]
    page.click("#bootstrap")
    page.until(lambda: page.one("#cancel").is_displayed(), "the run can be cancelled")
    page.until(lambda: page.run("return document.getElementById('progress').value") > 0, "progress is shown")
    assert page.state() == "busy"
    page.click("#cancel")
    page.finished("the run has ended")
    assert page.results()[0]["total"] == before["total"]
    page.set("#replicates", "20")
    page.set("#weight", "corner")
    page.invert()
    assert near(page.results()[0]["weight"], inversion(SAMPLE, "--weight", "corner")["weight"])
    page.click("#bootstrap")
    page.finished("a short bootstrap ends")
    assert page.kept_json("#export-json")["bootstrap"]["replicates"] == 20


def test_a_million_samples(page, folder):
    noise = np.random.default_rng(5).standard_normal(1_000_000)
    times = 1e-5 * np.arange(1, 1_000_001)
    path = folder / "million.csv"
    np.savetxt(path, np.column_stack([times, 100 * np.exp(-times / 0.4) + noise]), fmt="%.6g", delimiter=",")
    page.drop(path)
    page.arrived(1)
    page.invert()
    wanted = inversion(path)
    row = page.results()[0]
    for field in ("noise", "weight", "log_mean", "total"):
        assert near(row[field], wanted[field]), field
    # What is drawn does not grow with the samples.
    assert page.run("return document.querySelector('#plot-decay svg').outerHTML.length") < 1_000_000


def test_the_page_answers_while_it_computes(page):
    """Frames are drawn while the worker computes."""
    page.choose(SAMPLE)
    page.arrived(1)
    page.set("#replicates", "3000")
    page.invert()
    page.click("#bootstrap")
    page.until(lambda: page.state() == "busy", "the bootstrap begins")
    frames = page.driver.execute_async_script("""
      const done = arguments[0];
      let frames = 0;
      const step = () => {
        if (document.documentElement.dataset.state !== "busy" || ++frames === 20) done(frames);
        else requestAnimationFrame(step);
      };
      requestAnimationFrame(step);""")
    assert frames == 20
    page.click("#cancel")
    page.finished("the run has ended")
