"""vorin map on volumes that other programs have written: nibabel, h5py and numpy.

Each voxel of a map is compared with what vorin invert says of the same samples, to the last bit.
The program is $VORIN_PROGRAM. Where nibabel or h5py is missing their tests are skipped.
"""
import json
import os
import resource
import signal
import struct
import subprocess
import time

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


def npz(path):
    with np.load(path) as archive:
        return {name: archive[name] for name in archive.files if name not in ("grid", "times")}


def test_numpy_array_of_any_order_and_axis(tmp_path):
    data = decays(5, 4)
    options = ["--times", times_text(), "--grid", GRID, "--distribution"]
    np.save(tmp_path / "a.npy", data)
    done = run(tmp_path, "map", "a.npy", *options, "--out", "a.npz")
    assert done.stdout.startswith("18 of 20 voxels inverted, 1 not finite, 1 all zero\n")
    maps = npz(tmp_path / "a.npz")
    assert maps["distribution"].shape == (5, 4, 24)
    assert maps["status"].dtype == np.int32
    assert maps["status"].ravel()[1] == 4 and maps["status"].ravel()[2] == 3
    compare(tmp_path, maps, data, list(np.ndindex(5, 4))[::3])
    # The same numbers in other orders of the file.
    np.save(tmp_path / "b.npy", np.asfortranarray(data.transpose(2, 0, 1)))
    np.save(tmp_path / "c.npy", np.ascontiguousarray(data.transpose(0, 2, 1)).astype(">f8"))
    for name, axis in (("b", "0"), ("c", "1"), ("c", "-2")):
        run(tmp_path, "map", name + ".npy", *options, "--axis", axis, "--out", name + ".npz")
        assert (tmp_path / (name + ".npz")).read_bytes() == (tmp_path / "a.npz").read_bytes()
    # A folder of arrays, in single precision.
    run(tmp_path, "map", "a.npy", *options, "--single", "--out", "maps")
    total = np.load(tmp_path / "maps" / "total.npy")
    assert total.dtype == np.float32
    np.testing.assert_array_equal(total, maps["total"].astype(np.float32))
    told = json.loads((tmp_path / "maps" / "maps.json").read_text())
    assert len(told["grid"]) == 24 and told["maps"]["log_mean"]["unit"] == "s"
    assert sorted(os.listdir(tmp_path / "maps")) == sorted(
        [name + ".npy" for name in [*MAPS, "status", "distribution"]] + ["maps.json"])


@pytest.mark.parametrize("options", [["--weight", "0.3"], ["--weight", "corner"],
                                     ["--noise", "4", "--method", "classic"],
                                     ["--prune", "none", "--weight", "noise"]])
def test_settings_are_those_of_invert(tmp_path, options):
    data = decays(3, 2)
    np.save(tmp_path / "a.npy", data)
    run(tmp_path, "map", "a.npy", "--times", times_text(), "--grid", GRID, *options, "--out",
        "a.npz")
    compare(tmp_path, npz(tmp_path / "a.npz"), data, [(0, 0), (2, 1)], *options)


def test_cutoffs_calibration_skip_mask_and_threshold(tmp_path):
    data = decays(6)
    data[5] *= 0.01
    np.save(tmp_path / "a.npy", data)
    np.save(tmp_path / "mask.npy", np.array([1, 1, 1, 0, 1, 1], dtype=bool))
    run(tmp_path, "map", "a.npy", "--times", times_text(), "--grid", GRID, "--mask", "mask.npy",
        "--threshold", "100", "--cutoff", "40ms", "--calibrate", "100pu=800", "--skip", "1",
        "--out", "a.npz")
    maps = npz(tmp_path / "a.npz")
    assert list(maps["status"][1:]) == [4, 3, 1, 0, 2]
    one = inverted(tmp_path, data[4], "--cutoff", "40ms", "--calibrate", "100pu=800", "--skip", "1")
    assert maps["total"][4] == one["total"]
    assert maps["noise"][4] == one["noise"]
    below = maps["share_below_0.04"][4]
    assert 0 < below < 1 and below + maps["share_above_0.04"][4] == pytest.approx(1, abs=1e-12)
    assert below == one["cutoffs"][0]["share"]


def test_complex_data_are_turned_by_one_phase_a_voxel(tmp_path):
    data = decays(4)
    data[1:3] = data[0:1]
    rng = np.random.default_rng(5)
    turned = (data + 1j * rng.normal(0, 4, data.shape)) * np.exp(1j * np.arange(4))[:, None]
    np.save(tmp_path / "a.npy", turned)
    for options in ([], ["--noise", "quadrature"]):
        run(tmp_path, "map", "a.npy", "--times", times_text(), "--grid", GRID, *options, "--out",
            "a.npz")
        rows = "".join(f"{t!r},{z.real!r},{z.imag!r}\n"
                       for t, z in zip(TIMES.tolist(), turned[3].tolist()))
        (tmp_path / "z.csv").write_text(rows)
        done = run(tmp_path, "invert", "z.csv", "--columns", "1,2,3", "--grid", GRID, "--json", "-",
                   *options)
        wanted = json.loads(done.stdout)
        maps = npz(tmp_path / "a.npz")
        assert maps["total"][3] == wanted["total"]
        assert maps["noise"][3] == wanted["noise"]


def test_trains_of_echoes_with_an_angle_for_all_a_map_and_an_estimate(tmp_path):
    data = np.abs(decays(4))
    data[1:3] = data[0:1]
    np.save(tmp_path / "a.npy", data)
    np.save(tmp_path / "angle.npy", np.array([150.0, 120.0, 0.0, np.nan]))
    words = ["map", "a.npy", "--times", times_text(), "--grid", GRID, "--kernel", "t2-epg", "--t1",
             "2s", "--weight", "0.5"]
    own = ["--kernel", "t2-epg", "--t1", "2s", "--weight", "0.5"]
    run(tmp_path, *words, "--flip", "150", "--out", "one.npz")
    one = npz(tmp_path / "one.npz")
    assert set(one["flip"]) == {150.0}
    compare(tmp_path, one, data, [(0,), (3,)], *own, "--flip", "150")
    run(tmp_path, *words, "--flip-map", "angle.npy", "--out", "map.npz")
    each = npz(tmp_path / "map.npz")
    assert list(each["flip"][:2]) == [150.0, 120.0]
    assert each["total"][0] == one["total"][0]
    compare(tmp_path, each, data, [(1,)], *own, "--flip", "120")
    compare(tmp_path, each, data, [(2,), (3,)], *own, "--flip", "estimate")
    out = ["--out", "a.npz"]
    assert "--flip 150: give one" in refusal(tmp_path, *words, "--flip", "150", "--flip-map",
                                            "angle.npy", *out)
    assert "t2-epg" in refusal(tmp_path, "map", "a.npy", "--times", times_text(), "--flip-map",
                               "angle.npy", *out)


def test_magnitudes_without_their_floor(tmp_path):
    data = np.abs(decays(3))
    np.save(tmp_path / "a.npy", data)
    run(tmp_path, "map", "a.npy", "--times", times_text(), "--grid", GRID, "--rician", "--noise",
        "4", "--out", "a.npz")
    maps = npz(tmp_path / "a.npz")
    assert maps["status"][0] == 0
    compare(tmp_path, maps, data, [(0,)], "--rician", "--noise", "4")


def test_shared_weight_is_that_of_the_mean_decay(tmp_path):
    data = decays(8)
    np.save(tmp_path / "a.npy", data)
    run(tmp_path, "map", "a.npy", "--times", times_text(), "--grid", GRID, "--weight", "shared",
        "--noise", "4", "--out", "a.npz")
    maps = npz(tmp_path / "a.npz")
    good = maps["status"] == 0
    total = np.zeros(len(TIMES))
    for row in data[good]:
        total = total + row
    wanted = inverted(tmp_path, total / good.sum(), "--noise", "4")
    assert set(maps["weight"][good]) == {wanted["weight"]}
    compare(tmp_path, maps, data, [(0,), (7,)], "--noise", "4", "--weight", repr(wanted["weight"]))
    # A run that was interrupted in its first write has left no weight behind.
    (tmp_path / "b.npz.unfinished").write_bytes(b"")
    run(tmp_path, "map", "a.npy", "--times", times_text(), "--grid", GRID, "--weight", "shared",
        "--noise", "4", "--out", "b.npz", "--resume")
    assert (tmp_path / "b.npz").read_bytes() == (tmp_path / "a.npz").read_bytes()


def test_table_with_a_decay_a_row(tmp_path):
    data = decays(7)
    lines = ["# a well log", "; ".join(f"{1000 * t:g}ms" for t in TIMES)]
    lines += ["; ".join("nan" if np.isnan(a) else repr(float(a)) for a in row) for row in data]
    (tmp_path / "log.csv").write_text("\n".join(lines) + "\n")
    run(tmp_path, "map", "log.csv", "--grid", GRID, "--out", "maps.csv")
    rows = [line.split(",") for line in (tmp_path / "maps.csv").read_text().splitlines()]
    assert rows[0] == ["row", *MAPS, "status"]
    columns = {name: np.array([float(row[k] or "nan") for row in rows[1:]])
               for k, name in enumerate(rows[0])}
    assert list(columns.pop("row")) == [1, 2, 3, 4, 5, 6, 7]
    compare(tmp_path, columns, data, [(0,), (3,), (6,)])
    # Times in a row of numbers; and from the command line.
    lines[1] = "; ".join(repr(float(t)) for t in TIMES)
    (tmp_path / "log2.csv").write_text("\n".join(lines) + "\n")
    run(tmp_path, "map", "log2.csv", "--grid", GRID, "--out", "maps2.csv")
    assert (tmp_path / "maps2.csv").read_bytes() == (tmp_path / "maps.csv").read_bytes()
    (tmp_path / "log3.csv").write_text("\n".join(lines[2:]) + "\n")
    run(tmp_path, "map", "log3.csv", "--times", times_text(), "--grid", GRID, "--out", "maps3.csv")
    assert (tmp_path / "maps3.csv").read_bytes() == (tmp_path / "maps.csv").read_bytes()


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


@pytest.mark.parametrize("version, ending", [(1, ".nii"), (2, ".nii.gz")])
def test_nifti_image(tmp_path, version, ending):
    nibabel = pytest.importorskip("nibabel")
    data = decays(3, 4, 2)
    image = nifti(tmp_path, "vol" + ending, data, version)
    nifti(tmp_path, "mask" + ending, np.arange(24).reshape(3, 4, 2) % 5 != 4, dtype=np.uint8,
          sidecar=False)
    run(tmp_path, "map", "vol" + ending, "--mask", "mask" + ending, "--grid", GRID,
        "--distribution", "--cutoff", "40ms", "--out", "sub-01_")
    maps = {}
    for name in [*MAPS, "status", "distribution", "share_below_0.04", "share_above_0.04"]:
        found = nibabel.load(tmp_path / f"sub-01_{name}{ending}")
        assert type(found) is type(image)
        np.testing.assert_array_equal(found.affine, image.affine)
        assert found.header["qform_code"] == 1 and found.header["sform_code"] == 4
        np.testing.assert_array_equal(found.get_qform(), image.get_qform())
        np.testing.assert_array_equal(found.header.get_zooms()[:3], image.header.get_zooms()[:3])
        maps[name] = np.asanyarray(found.dataobj)
    assert maps["distribution"].shape == (3, 4, 2, 24)
    masked = np.arange(24).reshape(3, 4, 2) % 5 == 4
    assert (maps["status"][masked] == 1).all() and (maps["status"][~masked] != 1).all()
    del maps["share_below_0.04"], maps["share_above_0.04"]
    compare(tmp_path, maps, data, [(0, 0, 0), (2, 3, 0), (1, 2, 1), (2, 0, 1)])
    assert json.loads((tmp_path / "sub-01_maps.json").read_text())["times"] == list(TIMES)


@pytest.mark.parametrize("dtype, slope, inter", [
    (np.uint8, 4.0, -3.0), (np.int8, 7.0, 1.0), (np.int16, 0.25, 10.0), (np.uint16, 0.125, 0.0),
    (np.int32, 1e-3, 0.0), (np.uint32, 1e-3, 0.0), (np.int64, 1e-3, 0.0), (np.uint64, 1e-3, 0.0),
    (np.float32, None, 0.0), (">i2", 0.25, 0.0), (">f4", None, 0.0)])
def test_nifti_data_types_and_scale(tmp_path, dtype, slope, inter):
    """What nibabel makes of an image is what is inverted."""
    nibabel = pytest.importorskip("nibabel")
    data = decays(2, 2, 1, seed=3)
    data[np.isnan(data)] = 10
    header = nibabel.Nifti1Header(endianness=">" if str(dtype).startswith(">") else "<")
    header.set_data_dtype(dtype)
    if slope is None:
        image = nibabel.Nifti1Image(data.astype(dtype), np.eye(4), header)
    else:
        image = nibabel.Nifti1Image(data, np.eye(4), header)
        image.header.set_slope_inter(slope, inter)
    image.to_filename(tmp_path / "vol.nii")
    seen = nibabel.load(tmp_path / "vol.nii")
    values = seen.get_fdata()
    if slope is not None:
        assert seen.dataobj.slope == np.float32(slope)
    run(tmp_path, "map", "vol.nii", "--times", times_text(), "--grid", GRID, "--weight", "1",
        "--out", "maps.nii")
    status = np.asanyarray(nibabel.load(tmp_path / "maps_status.nii").dataobj)
    total = np.asanyarray(nibabel.load(tmp_path / "maps_total.nii").dataobj)
    assert status[0, 0, 0] == 0
    assert total[0, 0, 0] == inverted(tmp_path, values[0, 0, 0], "--weight", "1")["total"]
    assert total[1, 1, 0] == inverted(tmp_path, values[1, 1, 0], "--weight", "1")["total"]


def test_nifti_pair_and_complex(tmp_path):
    nibabel = pytest.importorskip("nibabel")
    data = decays(2, 2, 2)
    pair = nibabel.Nifti1Pair(data, np.eye(4))
    pair.to_filename(tmp_path / "pair.img")
    run(tmp_path, "map", "pair.hdr", "--times", times_text(), "--grid", GRID, "--out", "a")
    run(tmp_path, "map", "pair.img", "--times", times_text(), "--grid", GRID, "--out", "b")
    total = np.asanyarray(nibabel.load(tmp_path / "a" / "total.nii").dataobj)
    assert total[0, 0, 0] == inverted(tmp_path, data[0, 0, 0])["total"]
    for name in os.listdir(tmp_path / "a"):
        if name != "maps.json":
            assert (tmp_path / "a" / name).read_bytes() == (tmp_path / "b" / name).read_bytes()
    nibabel.Nifti1Image(data.astype(np.complex64) * 1j, np.eye(4)).to_filename(tmp_path / "z.nii")
    run(tmp_path, "map", "z.nii", "--times", times_text(), "--grid", GRID, "--out", "z")
    found = np.asanyarray(nibabel.load(tmp_path / "z" / "total.nii").dataobj)
    np.testing.assert_allclose(found[0, 0, 0], total[0, 0, 0], rtol=1e-3)


def raw_nifti(folder, name="raw.nii", **changes):
    """A header of NIfTI-1 by its published offsets, and as many bytes as it should have."""
    fields = {"dim": (4, 2, 2, 2, 12, 1, 1, 1), "datatype": 64, "bitpix": 64, "offset": 352.0,
              "size": 348, "magic": b"n+1\0", "bytes": 8 * 96, **changes}
    header = bytearray(352)
    struct.pack_into("<i", header, 0, fields["size"])
    struct.pack_into("<8h", header, 40, *fields["dim"])
    struct.pack_into("<hh", header, 70, fields["datatype"], fields["bitpix"])
    struct.pack_into("<f", header, 108, fields["offset"])
    header[344:348] = fields["magic"]
    (folder / name).write_bytes(bytes(header) + np.ones(fields["bytes"] // 8).tobytes())


@pytest.mark.parametrize("changes, words", [
    ({"bytes": 8 * 95}, "cut off or its header is wrong"),
    ({"dim": (4, 32767, 32767, 32767, 32767, 1, 1, 1)}, "cut off or its header is wrong"),
    ({"dim": (4, 2, 2, 2, -12, 1, 1, 1)}, "-12 positions along axis 4"),
    ({"dim": (9, 2, 2, 2, 12, 1, 1, 1)}, "9 dimensions"),
    ({"dim": (3, 2, 2, 24, 1, 1, 1, 1)}, "4 are needed"),
    ({"dim": (5, 2, 2, 2, 4, 3, 1, 1)}, "4 are needed"),
    ({"bitpix": 32}, "contradicts itself"),
    ({"datatype": 128, "bitpix": 24}, "colours"),
    ({"datatype": 1, "bitpix": 1}, "no numbers"),
    ({"offset": 12.0}, "begin at byte 12"),
    ({"offset": float("nan")}, "begin at byte nan"),
    ({"offset": 1e9}, "cut off or its header is wrong"),
])
def test_nifti_header_that_lies(tmp_path, changes, words):
    raw_nifti(tmp_path, **changes)
    assert words in refusal(tmp_path, "map", "raw.nii", "--times", times_text(), "--out", "maps")


def test_hand_written_nifti_header(tmp_path):
    raw_nifti(tmp_path)
    done = run(tmp_path, "map", "raw.nii", "--times", times_text(), "--weight", "1", "--out", "maps")
    assert done.stdout.startswith("8 of 8 voxels inverted\n")
    total = (tmp_path / "maps" / "total.nii").read_bytes()
    assert struct.unpack_from("<8h", total, 40) == (3, 2, 2, 2, 1, 1, 1, 1)
    assert len(total) == 352 + 8 * 8


def test_packed_image_that_is_cut_or_damaged(tmp_path):
    nifti(tmp_path, "vol.nii.gz", decays(3, 3, 3))
    whole = (tmp_path / "vol.nii.gz").read_bytes()
    for content in (whole[:len(whole) // 2], whole[:-4], whole[:-20] + bytes(20)):
        (tmp_path / "vol.nii.gz").write_bytes(content)
        assert "damaged or cut off" in refusal(tmp_path, "map", "vol.nii.gz", "--out", "maps")


def test_times_and_masks_that_do_not_fit(tmp_path):
    data = decays(2, 3)
    np.save(tmp_path / "a.npy", data)
    np.save(tmp_path / "m.npy", np.ones((3, 2)))
    np.save(tmp_path / "v.npy", np.ones(5))
    t = ["--times", times_text()]
    out = ["--out", "a.npz"]
    assert "times of its 12 samples are not known" in refusal(tmp_path, "map", "a.npy", *out)
    assert "3 times, but a.npy has 12" in refusal(tmp_path, "map", "a.npy", "--times",
                                                  "1ms,2ms,3ms", *out)
    backwards = ",".join(repr(float(x)) for x in TIMES[::-1])
    assert "times must rise" in refusal(tmp_path, "map", "a.npy", "--times", backwards, *out)
    assert "--mask m.npy: the mask has 3 x 2 voxels, but a.npy has 2 x 3" in refusal(
        tmp_path, "map", "a.npy", *t, "--mask", "m.npy", *out)
    assert "axes" in refusal(tmp_path, "map", "a.npy", *t, "--axis", "3", *out)
    assert "arrays" in refusal(tmp_path, "map", "a.npy", *t, "--out", "maps.h5")
    assert "2 times, but v.npy has 5" in refusal(tmp_path, "map", "v.npy", "--times", "1,2", *out)
    for words in (["--threshold", "-1"], ["--part", "3/2"], ["--weight", "much"],
                  ["--skip", "11"], ["--grid", "1:2"], ["--jobs", "0"]):
        assert words[0] in refusal(tmp_path, "map", "a.npy", *t, *words, *out)
    (tmp_path / "cut.npy").write_bytes((tmp_path / "a.npy").read_bytes()[:-8])
    assert "cut off" in refusal(tmp_path, "map", "cut.npy", *t, *out)
    assert "no such file" in refusal(tmp_path, "map", "none.npy", *t, *out).lower()
    (tmp_path / "t.csv").write_text("1,2,3\n4,5,6\n7,8\n")
    assert "line 3" in refusal(tmp_path, "map", "t.csv", "--out", "o.csv")


def hdf5(folder, name, data, **dataset):
    h5py = pytest.importorskip("h5py")
    with h5py.File(folder / name, "w") as file:
        file.create_dataset("scan/data", data=data, **dataset)
        file["scan/t"] = TIMES * 1000
        file["scan/t"].attrs["units"] = "ms"


@pytest.mark.parametrize("dataset", [{}, {"chunks": (2, 3, 5), "compression": "gzip"},
                                     {"chunks": (1, 1, 12)}])
def test_hdf5_data_set(tmp_path, dataset):
    h5py = pytest.importorskip("h5py")
    data = decays(5, 4)
    hdf5(tmp_path, "a.h5", data, **dataset)
    run(tmp_path, "map", "a.h5:/scan/data", "--grid", GRID, "--distribution", "--out", "maps.h5")
    with h5py.File(tmp_path / "maps.h5") as file:
        maps = {name: file[name][...] for name in [*MAPS, "status", "distribution"]}
        assert file["log_mean"].attrs["units"] == b"s" or file["log_mean"].attrs["units"] == "s"
        assert file["grid"].shape == (24,)
        assert file["distribution"].dims[2][0].name == "/grid"
    data = data.astype(float)
    compare(tmp_path, maps, data, [(0, 0), (4, 3), (2, 1)])
    run(tmp_path, "map", "a.h5", "--times", "a.h5:/scan/t", "--time-unit", "ms", "--grid", GRID,
        "--distribution", "--out", "again.h5")
    with h5py.File(tmp_path / "again.h5") as file:
        for name, values in maps.items():
            np.testing.assert_array_equal(file[name][...], values)


def test_hdf5_axis_mask_scales_and_xarray(tmp_path):
    h5py = pytest.importorskip("h5py")
    data = decays(4, 3)
    with h5py.File(tmp_path / "a.h5", "w") as file:
        file["echoes"] = data.transpose(2, 0, 1)
        file["te"] = TIMES
        file["te"].make_scale("te")
        file["depth"] = np.arange(4) * 0.5
        file["depth"].attrs["units"] = "m"
        file["depth"].make_scale("depth")
        file["echoes"].dims[0].attach_scale(file["te"])
        file["echoes"].dims[1].attach_scale(file["depth"])
        file["mask"] = np.arange(12).reshape(4, 3) != 7
    run(tmp_path, "map", "a.h5:/echoes", "--axis", "0", "--mask", "a.h5:/mask", "--grid", GRID,
        "--out", "maps.h5")
    with h5py.File(tmp_path / "maps.h5") as file:
        maps = {name: file[name][...] for name in [*MAPS, "status"]}
        np.testing.assert_array_equal(file["depth"][...], np.arange(4) * 0.5)
    assert maps["status"][2, 1] == 1
    compare(tmp_path, maps, data, [(0, 0), (3, 2)])
    xarray = pytest.importorskip("xarray")
    try:
        found = xarray.open_dataset(tmp_path / "maps.h5", engine="h5netcdf")
    except ValueError:
        pytest.skip("xarray has no engine for HDF5 here")
    with found:
        assert found["total"].dims == ("depth", "axis_1")
        assert float(found["total"].sel(depth=1.5)[2]) == maps["total"][3, 2]


def test_hdf5_that_is_damaged(tmp_path):
    h5py = pytest.importorskip("h5py")
    hdf5(tmp_path, "a.h5", decays(50, 4))
    whole = (tmp_path / "a.h5").read_bytes()
    (tmp_path / "cut.h5").write_bytes(whole[:len(whole) // 2])
    assert "damaged or cut off" in refusal(tmp_path, "map", "cut.h5", "--out", "m.h5")
    assert "no data set" in refusal(tmp_path, "map", "a.h5:/none", "--out", "m.h5")
    with h5py.File(tmp_path / "empty.h5", "w") as file:
        file.create_dataset("x", shape=(1 << 20, 1 << 20, 1 << 9), chunks=(1, 1, 16), dtype="f8")
        file["t"] = np.arange(1.0, 513.0)
    assert "never written" in refusal(tmp_path, "map", "empty.h5:/x", "--out", "m.h5")
    with h5py.File(tmp_path / "two.h5", "w") as file:
        file["a"] = np.ones((2, 2))
        file["b"] = np.ones((2, 2))
    assert "/a, /b" in refusal(tmp_path, "map", "two.h5", "--out", "m.h5")


def parts(folder, words, out, count):
    for number in range(count, 0, -1):
        run(folder, *words, "--part", f"{number}/{count}", "--out", out)
    return [f"{out}.part-{number}-of-{count}" for number in range(1, count + 1)]


@pytest.mark.parametrize("kind", ["npz", "h5", "nii", "csv"])
def test_parts_that_are_joined_are_one_run(tmp_path, kind):
    data = decays(1500)
    data[0] = data[5]
    if kind == "npz":
        np.save(tmp_path / "a.npy", data)
        source, out = "a.npy", "maps.npz"
    elif kind == "h5":
        hdf5(tmp_path, "a.h5", data, chunks=(100, 12))
        source, out = "a.h5", "maps.h5"
    elif kind == "nii":
        nifti(tmp_path, "a.nii.gz", data.reshape(10, 15, 10, 12))
        source, out = "a.nii.gz", "maps.nii.gz"
    else:
        np.savetxt(tmp_path / "a.csv", np.vstack([TIMES, data]), delimiter=",")
        source, out = "a.csv", "maps.csv"
    words = ["map", source, "--times", times_text(), "--grid", GRID, "--weight", "1"]
    if kind == "csv":
        np.savetxt(tmp_path / "a.csv", data, delimiter=",")
    run(tmp_path, *words, "--out", out)
    whole = contents(tmp_path, "maps")
    for name in whole:
        os.remove(tmp_path / name)
    names = parts(tmp_path, words, out, 3)
    run(tmp_path, "map", "--join", *names, "--out", out)
    joined = {name: content for name, content in contents(tmp_path, "maps").items()
              if ".part-" not in name}
    assert joined == whole
    assert "missing" in refusal(tmp_path, "map", "--join", *names[:2], "--out", out)
    assert "same voxels" in refusal(tmp_path, "map", "--join", names[0], *names, "--out", out)
    run(tmp_path, *words, "--skip", "1", "--part", "2/3", "--out", "other" + out[4:])
    assert "other options" in refusal(tmp_path, "map", "--join", names[0],
                                      f"other{out[4:]}.part-2-of-3", names[2], "--out", out)


def contents(folder, start):
    return {name: (folder / name).read_bytes() for name in os.listdir(folder)
            if name.startswith(start)}


@pytest.mark.parametrize("how", [signal.SIGKILL, signal.SIGINT])
def test_interrupted_map_goes_on_to_the_same_bytes(tmp_path, how):
    data = decays(6000)
    np.save(tmp_path / "a.npy", data)
    words = ["map", "a.npy", "--times", times_text(), "--grid", "5ms:2s:12", "--weight", "1",
             "--out", "maps.npz"]
    run(tmp_path, *words)
    whole = (tmp_path / "maps.npz").read_bytes()
    os.remove(tmp_path / "maps.npz")
    child = subprocess.Popen([PROGRAM, *words], cwd=tmp_path, stderr=subprocess.PIPE)
    journal = tmp_path / "maps.npz.unfinished"
    while child.poll() is None and not (journal.exists() and journal.stat().st_size > 100_000):
        time.sleep(0.001)
    child.send_signal(how)
    child.communicate()
    if child.returncode != 0:
        assert child.returncode == -how
        assert not (tmp_path / "maps.npz").exists()
        assert "other options" in refusal(tmp_path, *words, "--resume", "--skip", "1")
        # What is behind the last whole block does not count.
        with open(journal, "ab") as file:
            file.write(b"half a block")
        run(tmp_path, *words, "--resume")
    assert (tmp_path / "maps.npz").read_bytes() == whole
    assert sorted(os.listdir(tmp_path)) == ["a.npy", "maps.npz"]


def test_answer_does_not_depend_on_jobs(tmp_path):
    np.save(tmp_path / "a.npy", decays(60))
    words = ["map", "a.npy", "--times", times_text(), "--grid", GRID]
    run(tmp_path, *words, "--jobs", "1", "--out", "one.npz")
    run(tmp_path, *words, "--jobs", "3", "--out", "three.npz")
    assert (tmp_path / "one.npz").read_bytes() == (tmp_path / "three.npz").read_bytes()


def test_no_voxel_at_all_is_no_success(tmp_path):
    np.save(tmp_path / "a.npy", np.zeros((3, 12)))
    done = run(tmp_path, "map", "a.npy", "--times", times_text(), "--out", "a.npz", status=1)
    assert done.stdout.startswith("0 of 3 voxels inverted, 3 all zero\n")
    assert np.isnan(npz(tmp_path / "a.npz")["total"]).all()


def test_refocusing_angles_estimated_and_from_a_map(tmp_path):
    rows = []
    for seed, flip in enumerate((120, 150, 120)):
        run(tmp_path, "simulate", "--kernel", "t2-epg", "--flip", flip, "--spacing", "10ms",
            "--samples", 32, "--noise", "0.3", "--seed", seed, "--peak", "20ms:0.08:20",
            "--peak", "80ms:0.08:80", "--out", "s.csv")
        rows.append(np.genfromtxt(tmp_path / "s.csv", delimiter=",", comments="#")[-32:, 1])
    np.save(tmp_path / "a.npy", np.array(rows))
    np.save(tmp_path / "angles.npy", np.array([0.0, 0.0, 123.4]))
    options = ["--kernel", "t2-epg", "--noise", "0.3", "--method", "classic", "--grid", "8ms:1s:40"]
    run(tmp_path, "map", "a.npy", "--spacing", "10ms", *options, "--flip-map", "angles.npy",
        "--out", "a.npz")
    maps = npz(tmp_path / "a.npz")
    assert abs(maps["flip"][0] - 120) < 6 and abs(maps["flip"][1] - 150) < 6
    assert maps["flip"][2] == 123
    for k, flip in enumerate(("estimate", "estimate", 123)):
        text = "".join(f"{0.01 * (n + 1)!r},{float(a)!r}\n" for n, a in enumerate(rows[k]))
        (tmp_path / "one.csv").write_text(text)
        single = json.loads(run(tmp_path, "invert", "one.csv", *options, "--flip", flip,
                                "--json", "-").stdout)
        assert maps["flip"][k] == single["flip"] and maps["total"][k] == single["total"]
    np.save(tmp_path / "wrong.npy", np.zeros(4))
    told = refusal(tmp_path, "map", "a.npy", "--spacing", "10ms", *options, "--flip-map",
                   "wrong.npy", "--out", "b.npz")
    assert "--flip-map wrong.npy: the map of angles has 4 voxels, but a.npy has 3" in told
    told = refusal(tmp_path, "map", "a.npy", "--spacing", "10ms", "--flip-map", "angles.npy",
                   "--out", "b.npz")
    assert "they are those of --kernel t2-epg" in told


def test_a_disk_that_is_full_loses_nothing(tmp_path):
    """A limit of the file's size refuses writes as a full disk does."""
    data = decays(40, 50)
    np.save(tmp_path / "a.npy", data)
    options = ["--times", times_text(), "--grid", GRID, "--weight", "0.3", "--distribution"]
    run(tmp_path, "map", "a.npy", *options, "--out", "whole.npz")

    def limited():
        signal.signal(signal.SIGXFSZ, signal.SIG_IGN)
        resource.setrlimit(resource.RLIMIT_FSIZE, (200_000, resource.RLIM_INFINITY))

    done = subprocess.run([PROGRAM, "map", "a.npy", *options, "--out", "b.npz"], cwd=tmp_path,
                          capture_output=True, text=True, preexec_fn=limited)
    assert done.returncode == 2 and done.stderr.count("\n") == 1
    assert "b.npz.unfinished: the file can't be written" in done.stderr
    assert not (tmp_path / "b.npz").exists()
    run(tmp_path, "map", "a.npy", *options, "--out", "b.npz", "--resume")
    assert (tmp_path / "b.npz").read_bytes() == (tmp_path / "whole.npz").read_bytes()
