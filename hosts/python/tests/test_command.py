"""The package and the command line give the same numbers."""

import subprocess

import numpy as np
import pytest
from conftest import ROOT

import vorin

SAMPLE = ROOT / "hosts" / "sample" / "decay.csv"


def command(program, folder, *arguments):
    """Grid, distribution, fit and summary of `vorin invert`."""
    run = subprocess.run([program, "invert", *map(str, arguments), "--out", "f.csv", "--fit",
                          "y.csv"], cwd=folder, capture_output=True, text=True, check=False)
    assert run.returncode == 0, run.stderr
    out = np.loadtxt(folder / "f.csv", delimiter=",", skiprows=2, usecols=(0, 1))
    fit = np.loadtxt(folder / "y.csv", delimiter=",", skiprows=2)
    head = (folder / "f.csv").read_text().split("\n")[0]
    return out[:, 0], out[:, 1], fit[:, 2], float(head.split("weight ")[1].split(",")[0])


@pytest.mark.parametrize("arguments, options", [
    ([], {}),
    (["--noise", "0.3"], {"noise": 0.3}),
    (["--weight", "2.5"], {"weight": 2.5}),
    (["--prune", "none", "--weight", "0.5"], {"prune": "none", "weight": 0.5}),
    (["--prune", "linear", "--prune-points", "80"], {"prune": "linear", "prune_points": 80}),
    (["--grid", "0.001:2:60", "--skip", "4"], {"grid": (0.001, 2.0, 60), "skip": 4}),
    (["--kernel", "t1-inversion", "--weight", "1"], {"kernel": "t1-inversion", "weight": 1.0}),
    (["--set", "TARG=2"], {"weight": "corner"}),
    (["--set", "BRDA=3", "--set", "RSIG=1.1"], {"settings": {"BRDA": 3, "RSIG": 1.1}}),
    (["--weight", "corner"], {"weight": "corner"}),
    (["--noise", "difference"], {"noise": "difference"}),
    (["--noise", "fit"], {"noise": "fit"}),
    (["--noise", "ridge"], {"noise": "ridge"}),
    (["--noise", "scan"], {"noise": "scan"}),
    (["--compress"], {"compress": True}),
    (["--compress", "12,1e-4"], {"compress": (12, 1e-4)}),
    (["--compress", "--noise", "difference"], {"compress": True, "noise": "difference"}),
    (["--compress", "30", "--prune", "none"], {"compress": 30, "prune": "none"}),
    (["--reject-outliers", "2.5"], {"reject_outliers": 2.5}),
], ids=lambda value: " ".join(value) if isinstance(value, list) else "")
def test_the_command_and_the_package_agree(program, tmp_path, arguments, options):
    grid, distribution, fit, weight = command(program, tmp_path, SAMPLE, *arguments)
    result = vorin.invert(*vorin.read(SAMPLE), **options)
    # Eight places are written; the library works in single precision.
    assert result.grid == pytest.approx(grid, rel=1e-7)
    assert result.weight == pytest.approx(weight, rel=1e-5)
    assert result.distribution == pytest.approx(distribution, abs=1e-5 * np.max(distribution))
    assert result.fit == pytest.approx(fit, abs=1e-5 * np.max(np.abs(fit)))


@pytest.mark.parametrize("name, kernel", [("rock_cpmg", "t2"), ("berea_cpmg", "t2"),
                                          ("rock_saturation_recovery", "t1-saturation")])
def test_they_agree_on_measured_decays(program, measured, tmp_path, name, kernel):
    path = measured / f"{name}.csv"
    grid, distribution, fit, weight = command(program, tmp_path, path, "--kernel", kernel)
    result = vorin.invert(*vorin.read(path), kernel=kernel)
    assert result.weight == pytest.approx(weight, rel=1e-4)
    assert result.distribution == pytest.approx(distribution, abs=1e-4 * np.max(distribution))
    assert result.fit == pytest.approx(fit, abs=1e-5 * np.max(np.abs(fit)))
    assert result.grid == pytest.approx(grid, rel=1e-7)
