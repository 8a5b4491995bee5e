"""The blocks of docs/python.md and of the README do what they say, and the example runs."""

import contextlib
import io
import re
import shutil
import subprocess
import sys

import pytest
from conftest import PACKAGE, ROOT

import vorin

PAGE = (ROOT / "docs" / "python.md").read_text(encoding="utf-8")
BLOCKS = re.findall(r"^```python\n(.*?)^```\n(?:\n```text\n(.*?)^```)?", PAGE, flags=re.S | re.M)


@pytest.fixture
def sample(tmp_path):
    (tmp_path / "hosts" / "sample").mkdir(parents=True)
    shutil.copy(ROOT / "hosts" / "sample" / "decay.csv", tmp_path / "hosts" / "sample")


def test_the_page_runs_from_top_to_bottom_and_prints_what_it_shows(sample, tmp_path):
    assert len(BLOCKS) >= 8
    scope = {}
    for code, shown in BLOCKS:
        printed = io.StringIO()
        with contextlib.redirect_stdout(printed):
            exec(compile(code, "docs/python.md", "exec"), scope)
        assert printed.getvalue() == shown
    assert {path.name for path in tmp_path.iterdir()} == {"hosts", "decay.png", "band.png",
                                                         "lcurve.png"}


def test_the_readme_s_block_runs(sample, tmp_path):
    text = (ROOT / "README.md").read_text(encoding="utf-8")
    code = re.search(r"^```python\n(.*?)^```", text, flags=re.S | re.M).group(1)
    exec(compile(code, "README.md", "exec"), {})
    assert (tmp_path / "decay.png").stat().st_size > 10000


def test_the_example_draws_its_picture(tmp_path):
    run = subprocess.run([sys.executable, "-B", PACKAGE / "examples" / "first_inversion.py",
                          tmp_path / "p.png"], capture_output=True, text=True, check=True,
                         env={"PYTHONPATH": str(PACKAGE), "MPLBACKEND": "Agg",
                              "MPLCONFIGDIR": str(tmp_path), "VORIN_LIBRARY":
                              str(vorin.find_library())})
    assert run.stdout.startswith("success") and (tmp_path / "p.png").stat().st_size > 10000
    assert (ROOT / "docs" / "python.png").read_bytes().startswith(b"\x89PNG")


def test_the_page_s_table_of_options_is_that_of_invert():
    import inspect
    named = set(re.findall(r"`(\w+)`", " ".join(
        line.split("|")[1] for line in PAGE.split("\n") if line.startswith("| `"))))
    parameters = {name for name, parameter in inspect.signature(vorin.invert).parameters.items()
                  if parameter.kind is parameter.KEYWORD_ONLY}
    assert parameters <= named
