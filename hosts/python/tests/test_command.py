"""The package and the command line give the same numbers."""

import json
import os
import subprocess
import sys

import numpy as np
import pytest
from conftest import PACKAGE, ROOT

import vorin

SAMPLE = ROOT / "hosts" / "sample" / "decay.csv"


CASES = [
    ([], {}),
    (["--noise", "0.3"], {"noise": 0.3}),
    (["--weight", "2.5"], {"weight": 2.5}),
    (["--prune", "none", "--weight", "0.5"], {"prune": "none", "weight": 0.5}),
    (["--prune", "linear", "--prune-points", "80"], {"prune": "linear", "prune_points": 80}),
    (["--grid", "0.001:2:60", "--skip", "4"], {"grid": (0.001, 2.0, 60), "skip": 4}),
    (["--kernel", "t1-inversion", "--weight", "1"], {"kernel": "t1-inversion", "weight": 1.0}),
    (["--kernel", "t1-saturation", "--noise", "3"], {"kernel": "t1-saturation", "noise": 3}),
    (["--kernel", "diffusion", "--weight", "1"], {"kernel": "diffusion", "weight": 1.0}),
    (["--set", "TARG=2"], {"settings": {"TARG": "2"}}),
    (["--set", "BRDA=3", "--set", "RSIG=1.1"], {"settings": {"BRDA": 3, "RSIG": 1.1}}),
    (["--set", "NALG=ASY2"], {"settings": {"NALG": "ASY2"}}),
    (["--weight", "corner"], {"weight": "corner"}),
    (["--noise", "difference"], {"noise": "difference"}),
    (["--noise", "fit"], {"noise": "fit"}),
    (["--noise", "ridge"], {"noise": "ridge"}),
    (["--noise", "scan"], {"noise": "scan"}),
    (["--noise", "scan", "--compress"], {"noise": "scan", "compress": True}),
    (["--noise", "0.01", "--set", "WITE=2"], {"noise": 0.01, "settings": {"WITE": 2}}),
    (["--compress"], {"compress": True}),
    (["--compress", "12,1e-4"], {"compress": (12, 1e-4)}),
    (["--compress", "--noise", "difference"], {"compress": True, "noise": "difference"}),
    (["--compress", "30", "--prune", "none"], {"compress": 30, "prune": "none"}),
    (["--reject-outliers"], {"reject_outliers": True}),
    (["--reject-outliers", "2.5"], {"reject_outliers": 2.5}),
    (["--reject-outliers", "robust,2.5"], {"reject_outliers": ("robust", 2.5)}),
]
#: What Python calls differently: the options of the command in a sentence are its arguments.
TEXTS = ("status_text", "finding_text", "notes")


def json_of(program, *arguments):
    """What the command writes, or its sentence where it refuses."""
    run = subprocess.run([program, "invert", *map(str, arguments), "--json", "-"],
                         capture_output=True, text=True, check=False)
    return json.loads(run.stdout) if run.returncode in (0, 1) else run.stderr.strip()


@pytest.mark.parametrize("arguments, options", CASES,
                         ids=lambda value: " ".join(value) if isinstance(value, list) else "")
def test_the_command_and_the_package_give_the_same_bits(program, arguments, options):
    theirs = json_of(program, SAMPLE, *arguments)
    try:
        mine = vorin.invert(*vorin.read(SAMPLE), **options).to_dict()
    except vorin.VorinError as error:  # the same sentence, with arguments for options
        assert theirs == f"vorin: {error}" or theirs.replace("--", "") .split()[1:4] == (
            str(error).split()[:3])
        return
    assert theirs.pop("file") == str(SAMPLE) and theirs.keys() == mine.keys()
    for key in mine:
        if key not in TEXTS:
            assert mine[key] == theirs[key], key


@pytest.mark.parametrize("arguments, options, words", [
    (["--weight", "x"], {"weight": "x"}, 'weight "x": write noise, corner or a number above 0'),
    (["--noise", "x"], {"noise": "x"}, 'noise "x": write a number above 0, difference, fit'),
    (["--noise", "1e9"], {"noise": 1e9}, "is no less than the largest amplitude"),
    (["--noise", "quadrature"], {"noise": "quadrature"}, "the data have no imaginary channel"),
    (["--prune", "x"], {"prune": "x"}, 'prune "x": write log, linear or none'),
    (["--reject-outliers", "x"], {"reject_outliers": "x"}, "a number of 1 or above is required"),
    (["--set", "NOPE=x"], {"settings": {"NOPE": "x"}}, '"NOPE=x": the library has no such key'),
])
def test_both_refuse_bad_input_in_the_same_words(program, arguments, options, words):
    with pytest.raises(vorin.InputValueError) as caught:
        vorin.invert(*vorin.read(SAMPLE), **options)
    theirs = json_of(program, SAMPLE, *arguments)
    assert words in theirs and words in str(caught.value)


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
    assert mine.noise == theirs["noise"]
    assert mine.noise_origin == theirs["noise_origin"] == "quadrature"
    assert mine.log_mean == theirs["log_mean"]


def test_the_bootstraps_have_the_same_bits(program):
    theirs = json_of(program, SAMPLE, "--bootstrap", 40, "--seed", 5)["bootstrap"]
    assert vorin.invert(*vorin.read(SAMPLE)).bootstrap(40, seed=5).to_dict() == theirs


@pytest.mark.parametrize("arguments, options", [
    ([], {}),
    (["--noise", "0.3", "--seed", "9"], {"noise": 0.3, "seed": 9}),
    (["--kernel", "t1-inversion", "--peak", "0.05:0.2:10"],
     {"kernel": "t1-inversion", "peaks": [(0.05, 0.2, 10.0)]}),
    (["--grid", "0.001:1:50"], {"grid": (0.001, 1.0, 50)}),
    (["--spacing", "0.001", "--samples", "40"], {"t": np.arange(1, 41) * 1e-3}),
])
def test_computed_decays_are_the_same(program, tmp_path, arguments, options):
    subprocess.run([program, "simulate", "--out", "y.csv", *arguments],
                   cwd=tmp_path, check=True, capture_output=True)
    made = vorin.simulate(**options)
    # The command writes seven places.
    assert vorin.read(tmp_path / "y.csv")[1] == pytest.approx(made.y, rel=1e-6, abs=1e-7)


def test_the_package_runs_the_command(program, tmp_path):
    environment = {"PATH": os.path.dirname(program) + os.pathsep + os.environ["PATH"],
                   "PYTHONPATH": str(PACKAGE)}
    run = subprocess.run([sys.executable, "-m", "vorin", "keys", "maxi"], capture_output=True,
                         text=True, check=False, env=environment, cwd=tmp_path)
    assert run.returncode == 0 and run.stdout.startswith("MAXI  50 "), run.stderr
    refused = subprocess.run([sys.executable, "-m", "vorin", "invert", "none.csv"], check=False,
                             capture_output=True, text=True, env=environment, cwd=tmp_path)
    assert refused.returncode == 2 and refused.stderr.startswith("vorin: none.csv: there is no")


@pytest.mark.parametrize("name, kernel", [("rock_cpmg", "t2"), ("berea_cpmg", "t2"),
                                          ("rock_saturation_recovery", "t1-saturation")])
def test_they_agree_on_measured_decays(program, measured, name, kernel):
    path = measured / f"{name}.csv"
    theirs = json_of(program, path, "--kernel", kernel)
    mine = vorin.invert(*vorin.read(path), kernel=kernel).to_dict()
    assert mine["distribution"] == theirs["distribution"] and mine["weight"] == theirs["weight"]
