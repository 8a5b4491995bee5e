"""What the tests of `vorin map` share: decays, the program, and files that other programs write.

The program is $VORIN_PROGRAM, which may start one that is emulated. Where nibabel or h5py is missing
their tests are skipped.
"""
import json
import os
import subprocess

import numpy as np
import pytest

PROGRAM = os.environ["VORIN_PROGRAM"]
TIMES = np.arange(1, 13) * 0.01
GRID = "5ms:2s:24"
MAPS = ["total", "log_mean", "weight", "noise", "signal_to_noise", "standard_error"]


def run(folder, *words, status=0, environment=None):
    done = subprocess.run([PROGRAM, *map(str, words)], cwd=folder, capture_output=True, text=True,
                          env={**os.environ, **(environment or {})})
    assert done.returncode == status, done.stderr
    return done


def refusal(folder, *words):
    before = sorted(os.listdir(folder))
    done = run(folder, *words, status=2)
    assert sorted(os.listdir(folder)) == before
    assert done.stdout == ""
    assert done.stderr.count("\n") == 1 and done.stderr.startswith("vorin: ")
    return done.stderr


def decays(*shape, seed=1):
    """Two components in varying parts, with noise; a few voxels that can't be inverted."""
    rng = np.random.default_rng(seed)
    share = rng.uniform(0.1, 0.6, shape + (1,))
    clean = 800 * (share * np.exp(-TIMES / 0.02) + (1 - share) * np.exp(-TIMES / 0.2))
    data = clean + rng.normal(0, 4, clean.shape)
    flat = data.reshape(-1, len(TIMES))
    flat[1] = 0
    flat[2, 3] = np.nan
    return data


def times_text():
    return ",".join(repr(float(t)) for t in TIMES)


def inverted(folder, samples, *options):
    """What vorin invert says of one decay."""
    rows = "".join(f"{float(t)!r},{float(a)!r}\n" for t, a in zip(TIMES, samples))
    (folder / "one.csv").write_text(rows)
    done = subprocess.run([PROGRAM, "invert", "one.csv", "--json", "-", "--grid", GRID, *options],
                          cwd=folder, capture_output=True, text=True)
    return json.loads(done.stdout) if done.stdout else None


def compare(folder, maps, data, voxels, *options):
    """maps: by name, shaped as the voxels of data, samples last."""
    for voxel in voxels:
        found = {name: maps[name][voxel] for name in maps if name != "status"}
        if maps["status"][voxel] != 0:
            assert all(np.isnan(value).all() for value in found.values())
            continue
        wanted = inverted(folder, data[voxel], *options)
        distribution = wanted["distribution"]
        assert found["total"] == wanted["total"]
        assert found["log_mean"] == wanted["log_mean"]
        assert found["weight"] == wanted["weight"]
        assert found["noise"] == wanted["noise"]
        assert found["signal_to_noise"] == wanted["signal_to_noise"]
        assert found["standard_error"] == wanted["standard_error"]
        if "distribution" in found:
            assert list(found["distribution"]) == distribution


def maps_in(folder):
    """The maps of a folder of numpy's files, by name."""
    return {name.removesuffix(".npy"): np.load(folder / name)
            for name in os.listdir(folder) if name.endswith(".npy")}


def nifti(folder, name, data, version=1, dtype=np.float64, slope=None, inter=0.0, sidecar=True):
    nibabel = pytest.importorskip("nibabel")
    kind = nibabel.Nifti1Image if version == 1 else nibabel.Nifti2Image
    affine = np.array([[-2, 0, 0.1, 90], [0, 2.5, 0, -126], [0.2, 0, 3, -72], [0, 0, 0, 1]])
    image = kind(np.asarray(data).astype(dtype), affine)
    image.set_qform(affine, code=1)
    image.set_sform(affine, code=4)
    image.header.set_data_dtype(dtype)
    if slope is not None:
        image.header.set_slope_inter(slope, inter)
    image.to_filename(folder / name)
    if sidecar:
        stem = name.split(".")[0]
        (folder / (stem + ".json")).write_text(json.dumps({"EchoTime": list(TIMES)}))
    return nibabel.load(folder / name)


def hdf5(folder, name, data, **dataset):
    h5py = pytest.importorskip("h5py")
    with h5py.File(folder / name, "w") as file:
        file.create_dataset("scan/data", data=data, **dataset)
        file["scan/t"] = TIMES * 1000
        file["scan/t"].attrs["units"] = "ms"


def contents(folder, start=""):
    return {name: (folder / name).read_bytes() for name in os.listdir(folder)
            if name.startswith(start)}
