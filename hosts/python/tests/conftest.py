"""What the tests share. The library is that of VORIN_LIBRARY, or of build/ in the source tree."""

import os
import shutil
import sys
from pathlib import Path

import numpy as np
import pytest

PACKAGE = Path(__file__).resolve().parent.parent
ROOT = PACKAGE.parent.parent
sys.path.insert(0, str(PACKAGE))

import vorin  # noqa: E402


@pytest.fixture(autouse=True)
def _in_an_empty_folder(tmp_path, monkeypatch):
    """Each test runs in a folder of its own, which shows what it leaves behind."""
    monkeypatch.chdir(tmp_path)
    monkeypatch.setenv("MPLBACKEND", "Agg")
    monkeypatch.setenv("MPLCONFIGDIR", str(tmp_path.parent / "matplotlib"))


@pytest.fixture
def library():
    """The numerical library; unloaded afterwards, so that each test has it as it is loaded."""
    with vorin.Library() as instance:
        yield instance


@pytest.fixture
def fresh(library):
    return library


@pytest.fixture(scope="session")
def program():
    """The command line, built beside the library."""
    found = os.environ.get("VORIN_PROGRAM") or str(ROOT / "build" / "release" / "bin" / "vorin")
    if shutil.which(found) is None:
        pytest.skip("skipped: the program vorin is not built")
    return found


@pytest.fixture(scope="session")
def measured():
    """The folder of measured decays."""
    folder = Path(os.environ.get("VORIN_MEASURED_DATA_DIR", str(ROOT.parent / "shared" / "data")))
    if not folder.is_dir():
        pytest.skip(f"skipped: there is no folder {folder}")
    return folder


@pytest.fixture(scope="session")
def decay():
    """A short computed echo train."""
    return vorin.simulate(np.arange(1, 401) * 1e-3, noise=0.3, seed=11)
