"""The types of the package, by mypy: those inside it, and those that callers see."""

import re
import shutil
import subprocess

import pytest
from conftest import PACKAGE, ROOT

MYPY = shutil.which("mypy")
pytestmark = pytest.mark.skipif(MYPY is None, reason="skipped: mypy is not installed")

USER = '''
from typing import Dict, List

import numpy as np
import vorin

t, y = vorin.read("decay.csv")
result: vorin.Result = vorin.invert(t, y, grid=[1e-3, 1e-2, 1e-1], noise=0.2)
other = vorin.invert(t, y, grid=(1e-3, 1.0, 80), weight="corner", settings={"RWEI": 1})
total: float = result.total + sum(peak.amount for peak in other.peaks())
for part in result.cutoffs(0.033, band=result.bootstrap(50)):
    print(part.share, part.share_interval)
many: List[vorin.Result] = vorin.invert_many(t, [y, y])
named: Dict[str, vorin.Result] = vorin.invert_many(t, {"a": y})
curve: vorin.LCurve = vorin.lcurve(t, y)
weight: float = curve.weights[curve.corner]
same: bool = result == other
noise = vorin.difference_noise(t, y)
if noise is not None:
    print(noise + 1.0)
made = vorin.simulate(np.geomspace(1e-3, 5.0, 60), [(0.4, 0.1, 10.0)], kernel="t1-saturation")
matrix = vorin.kernel_matrix("t2", made.t, vorin.log_grid(1e-3, 1.0, 60)) @ np.ones(60)
map_: vorin.Result2D = vorin.invert2d(t, t, np.outer(y, y), kernels=("t2", "t2"))
share: float = map_.share(t1=(0.1, 1.0)) + map_.peaks[0].share
with vorin.Library() as library:
    print(library.get("CWEI"))
'''

def _of_the_page():
    """The code of docs/python.md in order. One call in it is made to be refused."""
    page = (ROOT / "docs" / "python.md").read_text(encoding="utf-8")
    return "\n".join(re.findall(r"^```python\n(.*?)^```", page, flags=re.S | re.M))


WRONG = '''
import vorin

vorin.invert([1.0], [2.0], skip="three")
vorin.lcurve([1.0], [2.0]).corner.nothing
'''


def test_the_package_and_code_that_uses_it_are_strict(tmp_path):
    """One run, since reading numpy's types takes most of it."""
    (tmp_path / "user.py").write_text(USER)
    (tmp_path / "wrong.py").write_text(WRONG)
    (tmp_path / "page.py").write_text(_of_the_page())
    cache = ROOT / "build" / "mypy_cache"
    if not (ROOT / "build").is_dir():
        cache = tmp_path / "cache"
    run = subprocess.run(
        [MYPY, "--config-file", PACKAGE / "pyproject.toml", "--strict", "--cache-dir", cache,
         PACKAGE / "vorin", *(tmp_path / f"{name}.py" for name in ("page", "user", "wrong"))], cwd=PACKAGE,
        capture_output=True, text=True, check=False, timeout=300)
    found = {line.partition(": error: ")[2] for line in run.stdout.splitlines()
             if ": error: " in line}
    expected = ("Argument 3 to \"Vorin_s\"", "Argument \"skip\" to \"invert\"",
                "\"int\" has no attribute \"nothing\"")
    assert sorted(found) == sorted(one for one in found if one.startswith(expected)), run.stdout
    assert len(found) == 3, run.stdout + run.stderr
