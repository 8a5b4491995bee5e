"""`vorin map` on volumes that other programs have written: nibabel, h5py and numpy."""
import gzip
import json
import os
import struct

import numpy as np
import pytest

from volumes import (GRID, MAPS, PROGRAM, TIMES, compare, decays, hdf5, inverted, maps_in, nifti,
                     refusal, run, times_text)


def arrays(folder):
    return {path.name: path.read_bytes() for path in folder.glob("*.npy")}


def test_numpy_array_of_any_order_and_axis(tmp_path):
    data = decays(5, 4)
    options = ["--times", times_text(), "--grid", GRID, "--distribution"]
    np.save(tmp_path / "a.npy", data)
    done = run(tmp_path, "map", "a.npy", *options, "--out", "a")
    assert done.stdout.startswith("18 of 20 voxels inverted, 1 not finite, 1 all zero\n")
    maps = maps_in(tmp_path / "a")
    assert maps["distribution"].shape == (5, 4, 24)
    assert maps["status"].dtype == np.int32
    assert maps["status"].ravel()[1] == 4 and maps["status"].ravel()[2] == 3
    compare(tmp_path, maps, data, list(np.ndindex(5, 4))[::3])
    # The same numbers in other orders of the file.
    np.save(tmp_path / "b.npy", np.asfortranarray(data.transpose(2, 0, 1)))
    np.save(tmp_path / "c.npy", np.ascontiguousarray(data.transpose(0, 2, 1)).astype(">f8"))
    for name, axis in (("b", "0"), ("c", "1"), ("c", "-2")):
        run(tmp_path, "map", name + ".npy", *options, "--axis", axis, "--out", name + axis)
        assert arrays(tmp_path / (name + axis)) == arrays(tmp_path / "a")
    # A folder of arrays, in single precision.
    run(tmp_path, "map", "a.npy", *options, "--single", "--out", "maps")
    total = np.load(tmp_path / "maps" / "total.npy")
    assert total.dtype == np.float32
    np.testing.assert_array_equal(total, maps["total"].astype(np.float32))
    told = json.loads((tmp_path / "maps" / "maps.json").read_text())
    assert len(told["grid"]) == 24 and told["maps"]["log_mean"]["unit"] == "s"
    assert sorted(os.listdir(tmp_path / "maps")) == sorted(
        [name + ".npy" for name in [*MAPS, "status", "distribution"]] + ["maps.json"])


@pytest.mark.containers
def test_archive_of_arrays(tmp_path):
    np.save(tmp_path / "a.npy", decays(5, 4))
    words = ["map", "a.npy", "--times", times_text(), "--grid", GRID, "--distribution", "--out"]
    run(tmp_path, *words, "a")
    run(tmp_path, *words, "a.npz")
    maps = maps_in(tmp_path / "a")
    with np.load(tmp_path / "a.npz") as archive:
        assert sorted(archive.files) == sorted([*maps, "grid", "times"])
        np.testing.assert_array_equal(archive["times"], TIMES)
        assert archive["grid"].shape == (24,)
        for name, values in maps.items():
            np.testing.assert_array_equal(archive[name], values)


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
    (np.float32, None, 0.0),
    pytest.param(">i2", 0.25, 0.0, marks=pytest.mark.containers),
    pytest.param(">f4", None, 0.0, marks=pytest.mark.containers)])
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
    for dtype in (np.complex64, np.complex128):
        nibabel.Nifti1Image(data.astype(dtype) * 1j, np.eye(4)).to_filename(tmp_path / "z.nii")
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


def test_packed_nifti_header_that_lies(tmp_path):
    """Nothing is unpacked for numbers that no file can hold: here 2 to the power of 54."""
    raw_nifti(tmp_path, dim=(4, 32767, 32767, 32767, 512, 1, 1, 1))
    packed = gzip.compress((tmp_path / "raw.nii").read_bytes())
    (tmp_path / "raw.nii").unlink()
    (tmp_path / "raw.nii.gz").write_bytes(packed)
    assert "cut off or its header is wrong: 32767 x 32767 x 32767 x 512 numbers" in refusal(
        tmp_path, "map", "raw.nii.gz", "--times", times_text(), "--out", "maps")


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
    out = ["--out", "maps"]
    assert "times of its 12 samples are not known" in refusal(tmp_path, "map", "a.npy", *out)
    assert "3 times, but a.npy has 12" in refusal(tmp_path, "map", "a.npy", "--times",
                                                  "1ms,2ms,3ms", *out)
    assert "time 1 is -0.01; times must rise, and none may be negative" in refusal(
        tmp_path, "map", "a.npy", "--times=-" + times_text(), *out)
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
    assert "none.npy: the file can't be read (" in refusal(tmp_path, "map", "none.npy", *t, *out)
    (tmp_path / "t.csv").write_text("1,2,3\n4,5,6\n7,8\n")
    assert "line 3" in refusal(tmp_path, "map", "t.csv", "--out", "o.csv")


@pytest.mark.containers
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


@pytest.mark.containers
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


@pytest.mark.containers
@pytest.mark.parametrize("axis", [0, 2])
def test_complex_hdf5_data_set(tmp_path, axis):
    """Pairs of real and imaginary parts give the maps of the same numbers in an array."""
    h5py = pytest.importorskip("h5py")
    data = np.moveaxis(decays(4, 3) * np.exp(0.7j), 2, axis)
    np.save(tmp_path / "a.npy", data)
    with h5py.File(tmp_path / "a.h5", "w") as file:
        file["z"] = data
    options = ["--axis", str(axis), "--times", times_text(), "--grid", GRID, "--distribution"]
    run(tmp_path, "map", "a.npy", *options, "--out", "a")
    run(tmp_path, "map", "a.h5", *options, "--out", "a_h5.h5")
    with h5py.File(tmp_path / "a_h5.h5") as file:
        for name, values in maps_in(tmp_path / "a").items():
            np.testing.assert_array_equal(file[name][...], values)


@pytest.mark.containers
def test_hdf5_chunks_of_axes_of_one(tmp_path):
    h5py = pytest.importorskip("h5py")
    data = decays(5, 1, 3)
    np.save(tmp_path / "a.npy", data)
    run(tmp_path, "map", "a.npy", "--times", times_text(), "--grid", GRID, "--out", "a")
    for chunks in ((1, 1, 1, 12), (2, 1, 2, 5), (1, 1, 3, 12), (5, 1, 3, 12)):
        hdf5(tmp_path, "a.h5", data, chunks=chunks)
        run(tmp_path, "map", "a.h5:/scan/data", "--times", times_text(), "--grid", GRID, "--out",
            "m.h5")
        with h5py.File(tmp_path / "m.h5") as file:
            for name, values in maps_in(tmp_path / "a").items():
                np.testing.assert_array_equal(file[name][...], values)
        (tmp_path / "m.h5").unlink()


@pytest.mark.containers
@pytest.mark.parametrize("rights, words", [
    (None, "is not installed; install it, with"), (0o644, "can't be run; install"),
    (0o755, "can't be run; install")])
def test_hdf5_without_its_reader(tmp_path, monkeypatch, rights, words):
    """It is missing, may not be run, or ends as the loader does where a library is missing."""
    hdf5(tmp_path, "a.h5", decays(2, 2))
    reader = tmp_path / "reader"
    if rights is not None:
        reader.write_text("#!/bin/sh\nexit 127\n")
        reader.chmod(rights)
    monkeypatch.setenv("VORIN_CONTAINERS", str(reader))
    assert f"the program of Vorin that reads it, {words} the Debian packages" in refusal(
        tmp_path, "map", "a.h5:/scan/data", "--out", "m.h5")


@pytest.mark.containers
def test_hdf5_maps_that_arrive_byte_by_byte(tmp_path, monkeypatch):
    """The writer of HDF5 gets its numbers from a socket, in whatever pieces."""
    data = decays(2, 2)
    hdf5(tmp_path, "a.h5", data)
    words = ["map", "a.h5:/scan/data", "--grid", GRID, "--out"]
    run(tmp_path, *words, "whole.h5")
    writer = os.path.join(os.path.dirname(PROGRAM), "vorin-containers")
    slow = tmp_path / "slow"
    slow.write_text(f"""#!/usr/bin/python3
import array, fcntl, os, subprocess, sys, termios
if sys.argv[1] != "maps":
    os.execv({writer!r}, [{writer!r}, *sys.argv[1:]])
child = subprocess.Popen([{writer!r}, *sys.argv[1:]], stdin=subprocess.PIPE, bufsize=0)
waiting = array.array("i", [0])
for byte in sys.stdin.buffer.read():
    child.stdin.write(bytes([byte]))
    while fcntl.ioctl(child.stdin, termios.FIONREAD, waiting) == 0 and waiting[0]:
        pass
child.stdin.close()
sys.exit(child.wait())
""")
    slow.chmod(0o755)
    monkeypatch.setenv("VORIN_CONTAINERS", str(slow))
    run(tmp_path, *words, "slow.h5")
    assert (tmp_path / "slow.h5").read_bytes() == (tmp_path / "whole.h5").read_bytes()


@pytest.mark.containers
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
