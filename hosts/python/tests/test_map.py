"""Maps of voxels: each the bits of an inversion of its own, in whatever container they come."""

import os
import subprocess
import sys

import numpy as np
import pytest
from conftest import PACKAGE

import vorin

T = 2e-3 * np.arange(1, 57)
GRID = (1e-3, 1.0, 60)
CLASSIC = {"grid": GRID, "method": "classic"}
NUMBERS = ("total", "log_mean", "weight", "noise", "signal_to_noise", "standard_error")


def voxels(*shape, noise=0.01, seed=1):
    """Two components with noise at each place."""
    generator = np.random.default_rng(seed)
    share = generator.uniform(0.2, 0.8, (*shape, 1))
    slow = generator.uniform(0.03, 0.1, (*shape, 1))
    clean = share * np.exp(-T / 0.008) + (1 - share) * np.exp(-T / slow)
    return clean + noise * generator.normal(size=(*shape, T.size))


@pytest.fixture(scope="module")
def image():
    return voxels(4, 6)


@pytest.mark.parametrize("options", [CLASSIC, {"grid": GRID}, {**CLASSIC, "weight": 0.3},
                                     {**CLASSIC, "weight": "corner"}, {**CLASSIC, "noise": "fit"},
                                     {**CLASSIC, "noise": 0.02, "skip": 2},
                                     {"kernel": "t1-saturation", "noise": 0.01}])
def test_each_voxel_has_the_bits_of_an_inversion_of_its_own(image, options):
    data = 1.0 - image if "kernel" in options else image
    maps = vorin.invert_map(T, data, cutoffs=[0.02, 0.05], distribution=True, jobs=2, **options)
    assert maps.shape == (4, 6) and maps.share.shape == (4, 6, 3)
    inverted = 0
    for place in np.ndindex(2, 6):
        single = vorin.invert(T, data[place], **options)
        assert (maps.status[place] == 0) == single.success
        if single.success:
            inverted += 1
            for name in NUMBERS:
                assert np.array_equal(getattr(maps, name)[place], getattr(single, name),
                                      equal_nan=True), name
            assert np.array_equal(maps.distribution[place], single.distribution)
            assert maps.share[place].tolist() == [part.share for part in
                                                  single.cutoffs(0.02, 0.05)]
    assert inverted >= 10
    assert np.array_equal(maps.grid, single.grid)
    assert maps.range_edges.tolist() == [0.0, 0.02, 0.05, np.inf]


def test_neither_blocks_nor_threads_nor_the_axis_change_a_bit(image, monkeypatch):
    from vorin import maps as module
    whole = vorin.invert_map(T, image, jobs=1, distribution=True, **CLASSIC)
    assert whole == vorin.invert_map(T, image, jobs=3, distribution=True, **CLASSIC)
    monkeypatch.setattr(module, "_BLOCK_BYTES", 0)
    monkeypatch.setattr(module, "_FEWEST_VOXELS", 5)
    assert whole == vorin.invert_map(T, image, distribution=True, **CLASSIC)
    turned = np.moveaxis(image, -1, 0)  # whose voxels are not contiguous
    assert whole == vorin.invert_map(T, turned, 0, distribution=True, **CLASSIC)
    assert whole == vorin.invert_map(T, np.asfortranarray(image), distribution=True, **CLASSIC)


def test_numbers_of_any_kind_are_taken_as_they_are(image):
    single = image.astype(np.float32)
    expected = vorin.invert_map(T, single.astype(float), **CLASSIC)
    assert vorin.invert_map(T, single, **CLASSIC) == expected
    assert vorin.invert_map(T, single.astype(">f4"), **CLASSIC) == expected
    assert vorin.invert_map(T, single.tolist(), **CLASSIC) == expected
    whole = np.rint(1000 * image).astype(np.int16)
    assert vorin.invert_map(T, whole, **CLASSIC) == vorin.invert_map(T, whole.astype(float),
                                                                     **CLASSIC)
    with pytest.raises(vorin.InputTypeError, match="data is complex"):
        vorin.invert_map(T, image * 1j)
    with pytest.raises(vorin.InputTypeError, match="data holds bool values"):
        vorin.invert_map(T, image > 0)


def test_a_voxel_that_cannot_be_inverted_stops_nothing(image):
    spoiled = image.copy()
    spoiled[0, 1, 5] = np.nan
    spoiled[0, 2] = 0.0
    spoiled[0, 3] = 7.0
    spoiled[1, 0] *= 1e-6
    mask = np.ones((4, 6), dtype=bool)
    mask[1, 1] = False
    noise = np.full((4, 6), np.nan)
    noise[1, 2] = 0.05
    noise[1, 3] = 100.0
    maps = vorin.invert_map(T, spoiled, mask=mask, threshold=1e-3, noise=noise, cutoffs=0.02,
                            **CLASSIC)
    words = [maps.status_words[k] for k in maps.status.reshape(-1)[:10]]
    assert words == ["ok", "not finite", "all zero", "no noise", "ok", "ok", "below threshold",
                     "masked", "ok", "noise too large"]
    assert maps.counts == {"ok": 18, "masked": 1, "below threshold": 1, "not finite": 1,
                           "all zero": 1, "no noise": 1, "noise too large": 1}
    assert "4 x 6 voxels: 18 ok, 1 masked" in repr(maps)
    for name in (*NUMBERS, "share"):
        assert np.isnan(getattr(maps, name)[maps.status > 0]).all()
        assert not np.isnan(getattr(maps, name)[maps.status == 0]).any()
    assert maps.noise[1, 2] == 0.05
    assert maps.weight[1, 2] == vorin.invert(T, image[1, 2], noise=0.05, **CLASSIC).weight
    hidden = np.ma.masked_array(image, mask=np.isnan(spoiled))
    assert vorin.invert_map(T, hidden, **CLASSIC).counts == {"ok": 23, "not finite": 1}


def test_one_weight_for_all_is_that_of_the_mean_decay(image):
    spoiled = image.copy()
    spoiled[0, 0] = 0.0
    mask = np.ones((4, 6))
    mask[3, 3] = 0
    kept = [spoiled[place] for place in np.ndindex(4, 6) if place not in ((0, 0), (3, 3))]
    mean = np.zeros(T.size)
    for row in kept:  # in turn, as they come in blocks
        mean = mean + row
    single = vorin.invert(T, mean / len(kept), noise=0.01, **CLASSIC)
    maps = vorin.invert_map(T, spoiled, mask=mask, weight="shared", noise=0.01, **CLASSIC)
    assert np.unique(maps.weight[maps.status == 0]).tolist() == [single.weight]
    assert maps.counts["ok"] == 22
    assert maps.total[1, 1] == vorin.invert(T, image[1, 1], noise=0.01, grid=GRID,
                                            method="classic", weight=single.weight).total
    with pytest.raises(vorin.InputValueError, match='weight is "shared", and no voxel'):
        vorin.invert_map(T, 0.0 * image, weight="shared")


def test_a_mapped_file_is_read_in_blocks(tmp_path, image):
    big = np.lib.format.open_memmap(tmp_path / "big.npy", "w+", np.float32, (12, 6, T.size))
    big[:] = np.tile(image, (3, 1, 1))
    big.flush()
    maps = vorin.invert_map(T, np.load(tmp_path / "big.npy", mmap_mode="r"), **CLASSIC)
    few = vorin.invert_map(T, image.astype(np.float32), **CLASSIC)
    assert np.array_equal(maps.total, np.tile(few.total, (3, 1)))


ANONYMOUS = r"""
import re, sys
import numpy as np, vorin

def anonymous():
    return int(re.search(r"RssAnon:\s+(\d+)", open("/proc/self/status").read()).group(1))

t = 2e-3 * np.arange(1, 57)
big = np.load(sys.argv[1], mmap_mode="r")
found = []
maps = vorin.invert_map(t, big, jobs=1, progress=lambda done: found.append(anonymous()))
assert maps.counts == {"all zero": 700000}, maps.counts
# The maps take 40 MB, the samples would take 150 MB more.
assert max(found) - found[0] < 60000, (found[0], max(found))
"""


@pytest.mark.skipif(not os.path.exists("/proc/self/status"), reason="skipped: there is no /proc")
def test_memory_does_not_grow_with_the_file(tmp_path):
    name = tmp_path / "big.npy"
    np.lib.format.open_memmap(name, "w+", np.float32, (700000, T.size)).flush()
    subprocess.run([sys.executable, "-B", "-c", ANONYMOUS, name], check=True,
                   env={**os.environ, "PYTHONPATH": str(PACKAGE)})


def test_progress_is_told_and_ends_the_job(image):
    told = []
    maps = vorin.invert_map(T, image, jobs=2, progress=told.append, **CLASSIC)
    assert told[-1] == 24 and told == sorted(told) and maps.counts == {"ok": 24}

    def stop(done):
        raise KeyboardInterrupt

    with pytest.raises(KeyboardInterrupt):
        vorin.invert_map(T, image, progress=stop, **CLASSIC)
    with pytest.raises(vorin.InputTypeError, match="progress is of type int"):
        vorin.invert_map(T, image, progress=3)


def test_a_bar_is_shown_where_tqdm_is(image, capsys):
    pytest.importorskip("tqdm", reason="skipped: tqdm is not installed")
    vorin.invert_map(T, image, progress=True, **CLASSIC)
    assert "24/24" in capsys.readouterr().err


def test_a_labelled_array_gives_a_data_set_with_its_names(image):
    xarray = pytest.importorskip("xarray", reason="skipped: xarray is not installed")
    labelled = xarray.DataArray(
        image, dims=("y", "x", "echo"), attrs={"units": "mV"},
        coords={"y": [0.5, 1.0, 1.5, 2.0], "echo": ("echo", 1e3 * T, {"units": "ms"}),
                "region": (("y", "x"), np.arange(24).reshape(4, 6)), "subject": "s01"})
    maps = vorin.invert_map(T, image, cutoffs=[0.02], distribution=True, **CLASSIC)
    data = vorin.invert_map(labelled, axis="echo", cutoffs=[0.02], distribution=True, **CLASSIC)
    assert data["total"].dims == ("y", "x") and data["distribution"].dims == ("y", "x", "grid")
    for name in (*NUMBERS, "status", "share", "distribution"):
        assert np.array_equal(data[name], getattr(maps, name)), name
    assert set(data.coords) == {"y", "region", "subject", "grid", "range_from", "range_to"}
    assert data["total"].attrs["units"] == "mV" and data["log_mean"].attrs["units"] == "s"
    assert data["status"].attrs["flag_meanings"].split()[1] == "masked"
    turned = labelled.transpose("echo", "x", "y")
    mask = xarray.ones_like(labelled.isel(echo=0, drop=True))
    assert np.array_equal(vorin.invert_map(None, turned, "echo", mask=mask, **CLASSIC)["total"].T,
                          maps.total)
    assert maps.to_xarray(("y", "x"))["share"].identical(
        data["share"].drop_vars(["y", "region", "subject"]))
    with pytest.raises(vorin.InputValueError, match="axis is 'time'; the dimensions are y, x"):
        vorin.invert_map(labelled, axis="time")
    with pytest.raises(vorin.InputValueError, match="named 'grid'"):
        vorin.invert_map(labelled.rename(x="grid"), axis="echo")


def test_maps_as_a_table(image):
    pytest.importorskip("pandas", reason="skipped: pandas is not installed")
    maps = vorin.invert_map(T, image, cutoffs=[0.02], **CLASSIC)
    table = maps.to_dataframe()
    assert len(table) == 24 and table.loc[(3, 2), "share_1"] == maps.share[3, 2, 1]
    row = vorin.invert_map(T, image[0], **CLASSIC).to_dataframe()
    assert row.loc[4, "log_mean"] == maps.log_mean[0, 4]


@pytest.mark.parametrize("arguments, message", [
    ({"axis": 0}, "data has 4 samples along axis 0 and t has 56; axis=2 fits"),
    ({"axis": 3}, "axis is 3; data has 3 dimensions"),
    ({"axis": "echo"}, "axis is 'echo'; a whole number"),
    ({"mask": np.ones((4, 5))}, r"mask has shape \(4, 5\) and the voxels \(4, 6\)"),
    ({"noise": np.ones((6, 4))}, r"noise has shape \(6, 4\)"),
    ({"noise": -np.ones((4, 6))}, r"noise\[0\] is -1; numbers above 0"),
    ({"noise": "quadrature"}, "noise is \"quadrature\"; a map has no imaginary channel"),
    ({"noise": -1.0}, "noise"),
    ({"weight": "mean"}, "weight is 'mean'; write \"own\", \"shared\""),
    ({"weight": -1.0}, "weight"),
    ({"threshold": "high"}, "threshold is of type str"),
    ({"threshold": -1.0}, "threshold"),
    ({"distribution": "yes"}, "distribution is of type str"),
    ({"cutoffs": [0.0]}, "cutoff"),
    ({"cutoffs": "3ms"}, "cutoffs"),
    ({"jobs": 0}, "jobs is 0"),
    ({"log": "a.log"}, "log: a map writes none"),
    ({"smooth": 3}, "smooth: vorin.invert has no such option"),
    ({"skip": 55}, "skip"),
    ({"settings": {"NOKEY": 1}}, "NOKEY"),
])
def test_bad_arguments_are_named(image, arguments, message):
    with pytest.raises(vorin.VorinError, match=message):
        vorin.invert_map(T, image, **arguments)


def test_data_without_times_is_named(image):
    for data in (None, image):
        with pytest.raises(vorin.InputTypeError, match="data is missing; give times and data"):
            vorin.invert_map(T if data is None else data)


def test_empty_and_single_data(image):
    assert vorin.invert_map(T, image[:0], **CLASSIC).shape == (0, 6)
    single = vorin.invert_map(T, image[0, 0], **CLASSIC)
    assert single.shape == () and single.total == vorin.invert(T, image[0, 0], **CLASSIC).total


def test_echoes_of_incomplete_pulses():
    echoes = 0.01 * np.arange(1, 33)
    decays = [vorin.simulate(echoes, [(0.02, 0.08, 20.0), (0.08, 0.08, 80.0)], noise=0.3,
                             seed=k, kernel="t2-epg", flip=flip).y
              for k, flip in enumerate((120.0, 150.0, 175.0))]
    rows = np.array([*decays, decays[0]])
    angles = np.array([np.nan, np.nan, np.nan, 123.0])
    train = {**CLASSIC, "kernel": "t2-epg", "noise": 0.3, "grid": (0.008, 1.0, 40)}
    maps = vorin.invert_map(echoes, rows, flip=angles, **train)
    for k in range(3):
        single = vorin.invert(echoes, rows[k], flip="estimate", **train)
        assert maps.flip[k] == single.flip and maps.log_mean[k] == single.log_mean
    assert abs(maps.flip[0] - 120.0) < 6.0 and abs(maps.flip[1] - 150.0) < 6.0
    given = vorin.invert(echoes, rows[3], flip=123.0, **train)
    assert maps.flip[3] == 123.0 and maps.total[3] == given.total
    assert vorin.invert_map(T, np.ones((1, T.size)), **CLASSIC).flip is None
    with pytest.raises(vorin.InputValueError, match="flip\\[0\\] is -1"):
        vorin.invert_map(echoes, rows[:1], flip=np.array([-1.0]), **train)
    with pytest.raises(vorin.InputValueError, match="they are those of kernel t2-epg"):
        vorin.invert_map(T, np.ones((1, T.size)), flip=np.array([120.0]), **CLASSIC)


def test_magnitudes():
    clean = vorin.simulate(T, [(0.03, 0.1, 100.0)], noise=0.0).y
    random = np.random.default_rng(3)
    rows = np.hypot(clean + 4.0 * random.standard_normal((3, T.size)),
                    4.0 * random.standard_normal((3, T.size)))
    rows[2, 5] = -1.0
    options = {**CLASSIC, "noise": 4.0, "rician": True}
    maps = vorin.invert_map(T, rows, **options)
    assert maps.counts == {"ok": 2, "negative": 1}
    for k in range(2):
        assert maps.total[k] == vorin.invert(T, rows[k], **options).total
