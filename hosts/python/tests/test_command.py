"""The package and the command line give the same numbers."""

import json
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
    (["--reject-outliers", "robust,2.5"], {"reject_outliers": ("robust", 2.5)}),
], ids=lambda value: " ".join(value) if isinstance(value, list) else "")
def test_the_command_and_the_package_agree(program, tmp_path, arguments, options):
    grid, distribution, fit, weight = command(program, tmp_path, SAMPLE, *arguments)
    result = vorin.invert(*vorin.read(SAMPLE), **options)
    # Eight places are written; the library works in single precision.
    assert result.grid == pytest.approx(grid, rel=1e-7)
    assert result.weight == pytest.approx(weight, rel=1e-5)
    assert result.distribution == pytest.approx(distribution, abs=1e-5 * np.max(distribution))
    assert result.fit == pytest.approx(fit, abs=1e-5 * np.max(np.abs(fit)))


@pytest.mark.parametrize("arguments, options", [
    ([], {}),
    (["--weight", "corner"], {"weight": "corner"}),
    (["--noise", "scan", "--compress"], {"noise": "scan", "compress": True}),
    (["--kernel", "diffusion", "--weight", "1"], {"kernel": "diffusion", "weight": 1.0}),
    (["--noise", "0.01", "--set", "WITE=2"], {"noise": 0.01, "settings": {"WITE": 2}}),
], ids=lambda value: " ".join(value) if isinstance(value, list) else "")
def test_the_command_s_json_is_the_package_s_dictionary(program, arguments, options):
    run = subprocess.run([program, "invert", str(SAMPLE), "--json", "-", *arguments],
                         capture_output=True, text=True, check=False)
    assert run.returncode in (0, 1), run.stderr
    theirs = json.loads(run.stdout)
    mine = vorin.invert(*vorin.read(SAMPLE), **options).to_dict()
    assert theirs.pop("file") == str(SAMPLE) and theirs.keys() == mine.keys()
    for key in ("kernel", "status", "success", "samples", "weight_origin", "noise_origin",
                "iterations", "passes"):
        assert theirs[key] == mine[key], key
    for key in ("weight", "noise", "signal_to_noise", "wanted_standard_error", "standard_error",
                "fit_error", "total", "log_mean"):
        assert mine[key] == pytest.approx(theirs[key], rel=1e-5), key
    assert mine["grid"] == pytest.approx(theirs["grid"], rel=1e-12)
    assert mine["distribution"] == pytest.approx(theirs["distribution"],
                                                 abs=1e-5 * max(theirs["distribution"]))
    assert len(mine["peaks"]) == len(theirs["peaks"])
    for peak, other in zip(mine["peaks"], theirs["peaks"]):
        assert peak == pytest.approx(other, rel=1e-3, abs=1e-9)


def test_complex_data_are_turned_alike(program, tmp_path):
    t, y = vorin.read(SAMPLE)
    rng = np.random.default_rng(3)
    z = (y + 0.2j * rng.standard_normal(t.size)) * np.exp(-0.4j)
    np.savetxt(tmp_path / "z.csv", np.column_stack((t, z.real, z.imag)), delimiter=",", fmt="%.17g")
    run = subprocess.run([program, "invert", str(tmp_path / "z.csv"), "--noise", "quadrature",
                          "--json", "-", "--skip", "3", "--columns", "1,2,3"],
                         capture_output=True, text=True, check=False)
    assert run.returncode == 0, run.stderr
    theirs = json.loads(run.stdout)
    mine = vorin.invert(*vorin.read(tmp_path / "z.csv", columns="1,2,3"), noise="quadrature", skip=3)
    assert mine.noise == pytest.approx(theirs["noise"], rel=1e-9)
    assert mine.noise_origin == theirs["noise_origin"] == "quadrature"
    assert mine.log_mean == pytest.approx(theirs["log_mean"], rel=1e-5)


def test_both_bootstraps_give_the_same_interval_but_for_what_they_draw(program):
    run = subprocess.run([program, "invert", str(SAMPLE), "--bootstrap", "400", "--json", "-"],
                         capture_output=True, text=True, check=False)
    assert run.returncode == 0, run.stderr
    theirs = json.loads(run.stdout)["bootstrap"]
    mine = vorin.invert(*vorin.read(SAMPLE)).bootstrap(400)
    width = np.log(mine.log_mean_upper / mine.log_mean_lower)
    # The ends are percentiles of 400 draws: each spreads by about 4 % of the width.
    assert np.log(theirs["log_mean_lower"]) == pytest.approx(np.log(mine.log_mean_lower),
                                                             abs=0.25 * width)
    assert np.log(theirs["log_mean_upper"]) == pytest.approx(np.log(mine.log_mean_upper),
                                                             abs=0.25 * width)
    assert np.sum(theirs["upper"]) - np.sum(theirs["lower"]) == pytest.approx(
        np.sum(mine.upper - mine.lower), rel=0.2)


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
