"""The command vorin, whose numbers and sentences the page has to give, and how they are compared."""
import json
import os
import subprocess
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
PROGRAM = Path(os.environ.get("VORIN_PROGRAM", ROOT / "build/release/bin/vorin")).resolve()
SAMPLE = ROOT / "hosts/sample/decay.csv"
DATA = Path(os.environ.get("VORIN_MEASURED_DATA_DIR", ROOT.parent / "shared/data"))

# The page runs the same code on the same bits, with the same roundings but for exp, log and pow,
# which another C library computes there: last bits of the kernel differ.
RELATIVE = 1e-6


def measured():
    """The measured decays, each with the kernel that describes it."""
    if not DATA.is_dir():
        return []
    kernels = {"_cpmg": "t2", "_saturation_recovery": "t1-saturation"}
    return [(path, kernel) for path in sorted(DATA.glob("*.csv"))
            for end, kernel in kernels.items() if path.stem.endswith(end)]


def run(*arguments, folder=None):
    return subprocess.run([PROGRAM, *map(str, arguments)], capture_output=True, text=True,
                          cwd=folder, check=False)


def inversion(path, *options):
    """The command's results of one decay, an object."""
    answer = run("invert", path, "--json", "-", *options)
    assert answer.returncode in (0, 1), answer.stderr
    return json.loads(answer.stdout)


def sentence(path, *options):
    """What the command says to a file that it refuses, without its own name and the folder."""
    answer = run("invert", path.name, "--json", "-", *options, folder=path.parent)
    assert answer.returncode == 2 and answer.stdout == "", answer
    return answer.stderr.strip().removeprefix("vorin: ")


def near(value, wanted, scale=None, relative=RELATIVE):
    if wanted is None:
        return value is None
    return abs(value - wanted) <= relative * abs(wanted if scale is None else scale)


def assert_same_inversion(found, wanted, relative=RELATIVE):
    """Noise, weight, log mean, total and distribution, found by the page and by the command."""
    for field in ("status", "success", "samples", "weight_origin", "noise_origin", "finding"):
        assert found[field] == wanted[field], field
    for field in ("noise", "weight", "log_mean", "total", "mean", "standard_error", "fit_error"):
        assert near(found[field], wanted[field], None, relative), (field, found[field], wanted[field])
    assert_same_distribution(found, wanted, relative)
    assert len(found["peaks"]) == len(wanted["peaks"])
    for one, other in zip(found["peaks"], wanted["peaks"]):
        assert near(one["position"], other["position"], None, relative)
        assert near(one["share"], other["share"], 1, relative)


def assert_same_distribution(found, wanted, relative=RELATIVE):
    largest = max(wanted["distribution"])
    assert largest > 0
    for field, scale in (("grid", None), ("distribution", largest), ("cumulative", wanted["total"])):
        assert len(found[field]) == len(wanted[field]) > 10, field
        for one, other in zip(found[field], wanted[field]):
            assert near(one, other, scale, relative), (field, one, other)
