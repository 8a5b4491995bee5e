"""The blocks of docs/python.md, of the README and of the site's how-to pages do what they say, and
the example runs."""

import contextlib
import io
import os
import re
import shlex
import shutil
import subprocess
import sys

import numpy as np
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
                                                         "lcurve.png", "decay.html"}


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


HOWTO = sorted((ROOT / "docs" / "site" / "howto").glob("*.md"))


def _decay_file(path, **options):
    made = vorin.simulate(**options)
    np.savetxt(path, np.column_stack((made.t, made.y)), delimiter=",", header="time (s),amplitude")


@pytest.fixture
def howto_files(tmp_path):
    """What the how-to pages invert, under their names."""
    train, delays = 1e-3 * np.arange(1, 401), np.geomspace(5e-3, 5.0, 40)
    for name, seed in (("plug.csv", 1), ("other_plug.csv", 2)):
        _decay_file(tmp_path / name, t=train, seed=seed)
    for name, kernel in (("recovery.csv", "t1-saturation"), ("inversion.csv", "t1-inversion")):
        _decay_file(tmp_path / name, t=delays, peaks=[(0.5, 0.1, 50.0)], noise=0.5, kernel=kernel)


@pytest.mark.parametrize("page", HOWTO, ids=lambda page: page.stem)
def test_the_commands_and_the_code_of_a_how_to_page_run(page, howto_files, program, tmp_path):
    text = page.read_text(encoding="utf-8")
    for block in re.findall(r"^```console\n(.*?)^```", text, flags=re.S | re.M):
        for line in block.splitlines():
            words = shlex.split(line.removeprefix("$ ").replace("$(pkg-config", "pkg-config"))
            if words[0] == "vorin":
                run = subprocess.run([program, *words[1:]], cwd=tmp_path, capture_output=True,
                                     text=True, check=False)
                assert run.returncode == 0, f"{line}\n{run.stdout}{run.stderr}"
    scope = {}
    for code in re.findall(r"^```python\n(.*?)^```", text, flags=re.S | re.M):
        with contextlib.redirect_stdout(io.StringIO()):
            exec(compile(code, str(page), "exec"), scope)
    if page.stem == "image":
        assert scope["t2"].shape == scope["water"].shape == (2, 3)
        # T2 of 50, 80 and 120 ms in the columns, to the width of the peaks, 0.05 decades.
        assert np.log10(scope["t2"].values) == pytest.approx(
            np.log10(np.tile([0.05, 0.08, 0.12], (2, 1))), abs=0.05)


@pytest.mark.skipif(shutil.which("cc") is None, reason="skipped: there is no C compiler")
def test_the_program_of_the_c_page_prints_what_it_shows(tmp_path):
    text = (ROOT / "docs/site/howto/embed_c.md").read_text(encoding="utf-8")
    code = re.search(r"^```c\n(.*?)^```", text, flags=re.S | re.M).group(1)
    shown = re.search(r"^```text\n(.*?)^```", text, flags=re.S | re.M).group(1)
    (tmp_path / "embed.c").write_text(code)
    toolkit = vorin.find_toolkit().resolve()
    subprocess.run(["cc", "-std=c99", "-Wall", "-Wextra", "-Werror", "embed.c", "-o", "embed",
                    f"-I{ROOT / 'toolkit'}", str(toolkit), "-lm"], cwd=tmp_path, check=True)
    run = subprocess.run([str(tmp_path / "embed")], capture_output=True, text=True, check=True,
                         env={**os.environ, "LD_LIBRARY_PATH": str(toolkit.parent)})
    assert run.stdout == shown
