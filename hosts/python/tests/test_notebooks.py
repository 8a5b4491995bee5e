"""The notebooks run from top to bottom and find what their data hold; they are kept without outputs.

Their cells run as plain Python here. Building the site runs them through nbconvert.
"""

import contextlib
import io
import json
import shutil

import pytest
from conftest import ROOT

import vorin

pyplot = pytest.importorskip("matplotlib.pyplot", reason="skipped: matplotlib is not installed")
NOTEBOOKS = sorted((ROOT / "docs").glob("*.ipynb"))


def _cells(notebook, kind):
    return ["".join(cell["source"])
            for cell in json.loads(notebook.read_text(encoding="utf-8"))["cells"]
            if cell["cell_type"] == kind]


def _run(name, tmp_path, monkeypatch):
    (tmp_path / "docs").mkdir()
    shutil.copytree(ROOT / "hosts" / "sample", tmp_path / "hosts" / "sample")
    monkeypatch.chdir(tmp_path / "docs")
    scope, printed = {}, io.StringIO()
    with contextlib.redirect_stdout(printed):
        for code in _cells(ROOT / "docs" / f"{name}.ipynb", "code"):
            exec(compile(code.replace("%matplotlib inline", ""), name, "exec"), scope)
    pyplot.close("all")
    return scope, printed.getvalue()


@pytest.mark.parametrize("notebook", NOTEBOOKS, ids=lambda path: path.stem)
def test_a_notebook_is_kept_without_outputs(notebook):
    assert notebook.stat().st_size < 20000
    cells = json.loads(notebook.read_text(encoding="utf-8"))["cells"]
    assert not any(cell.get("outputs") or cell.get("execution_count") for cell in cells)
    assert _cells(notebook, "markdown")[0].startswith("# ")


def test_the_notebook_leads_from_the_file_to_the_figure(tmp_path, monkeypatch):
    scope, printed = _run("notebook", tmp_path, monkeypatch)
    assert (tmp_path / "docs" / "t2.pdf").read_bytes().startswith(b"%PDF")
    # The truth of the sample: log mean 43.5 ms, 30.1 % below 33 ms, noise of 0.2.
    assert scope["result"].log_mean == pytest.approx(0.0435, rel=0.01)
    assert scope["bound"].share == pytest.approx(0.301, abs=0.005)
    assert scope["tail"].std() == pytest.approx(0.2, rel=4 / (2 * 300) ** 0.5)
    assert abs(scope["neighbours"]) < 3 / 3000 ** 0.5
    truth = vorin.simulate()
    assert 100 * vorin.measures.cutoffs(truth.grid, truth.distribution, 0.033)[0].share == (
        pytest.approx(30.1, abs=0.05))
    assert f"Vorin {vorin.__version__}: kernel t2" in printed


def test_the_notebook_of_maps_finds_the_truth(tmp_path, monkeypatch):
    scope, _ = _run("notebook_2d", tmp_path, monkeypatch)
    assert (tmp_path / "docs" / "t1t2.pdf").read_bytes().startswith(b"%PDF")
    assert scope["result"].share(*scope["free"]) == pytest.approx(0.6, abs=0.01)
    first, second = scope["result"].peaks
    assert (first.log_mean1, first.log_mean2) == pytest.approx((0.5, 0.3), rel=0.03)
    assert (second.log_mean1, second.log_mean2) == pytest.approx((0.05, 0.02), rel=0.03)
