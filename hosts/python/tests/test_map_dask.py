"""Maps of dask arrays: lazy, on any scheduler, with a worker that is killed, and written to files."""

import os
import signal
import time

import numpy as np
import pytest
from test_map import CLASSIC, T, voxels

import vorin

dask = pytest.importorskip("dask", reason="skipped: dask is not installed")
arrays = pytest.importorskip("dask.array", reason="skipped: dask.array is not installed")

OPTIONS = {**CLASSIC, "cutoffs": [0.02], "distribution": True}


@pytest.fixture(scope="module")
def image():
    made = voxels(6, 8)
    made[2, 3] = 0.0
    return made


@pytest.fixture(scope="module")
def expected(image):
    return vorin.invert_map(T, image, **OPTIONS)


@pytest.mark.parametrize("chunks", [(6, 8, 56), (2, 3, 56), (4, 8, 10)])
@pytest.mark.parametrize("scheduler", ["synchronous", "threads"])
def test_chunks_of_any_size_give_the_bits_of_the_whole(image, expected, chunks, scheduler):
    lazy = vorin.invert_map(T, arrays.from_array(image, chunks=chunks), **OPTIONS)
    assert "not yet computed" in repr(lazy) and lazy.shape == (6, 8)
    assert lazy.total.chunks == arrays.core.normalize_chunks(chunks[:2], (6, 8))
    assert lazy.status.dtype == np.uint8 and lazy.distribution.shape == (6, 8, 60)
    assert lazy.compute(scheduler=scheduler) == expected


def test_a_result_is_a_collection_of_dask(image, expected):
    lazy = vorin.invert_map(T, arrays.from_array(image, chunks=(3, 8, 56)), **OPTIONS)
    assert dask.is_dask_collection(lazy) and not dask.is_dask_collection(expected)
    total, whole = dask.compute(lazy.total, lazy)
    assert whole == expected and np.array_equal(total, expected.total, equal_nan=True)
    kept, = dask.persist(lazy)
    assert kept.compute() == expected and expected.compute() is expected


def test_nothing_is_inverted_before_it_is_asked_for_and_then_once(image, monkeypatch):
    from vorin.voxels import VoxelJob
    inverted = []
    packed = VoxelJob.packed
    monkeypatch.setattr(VoxelJob, "packed",
                        lambda job, rows, *rest: inverted.append(len(rows)) or packed(job, rows,
                                                                                      *rest))
    lazy = vorin.invert_map(T, arrays.from_array(image, chunks=(3, 8, 56)), **OPTIONS)
    assert inverted == []
    lazy.compute()
    assert inverted == [24, 24]


def test_mask_noise_and_axis_go_with_the_chunks(image):
    mask = np.arange(48).reshape(6, 8) % 5
    noise = np.where(mask == 2, 0.03, np.nan)
    whole = vorin.invert_map(T, image, mask=mask, noise=noise, **CLASSIC)
    turned = arrays.from_array(np.moveaxis(image, -1, 0), chunks=(56, 4, 4))
    for form in (np.asarray, lambda values: arrays.from_array(values, chunks=5)):
        lazy = vorin.invert_map(T, turned, 0, mask=form(mask), noise=form(noise), **CLASSIC)
        assert lazy.compute() == whole
    assert whole.counts["masked"] == 10


def test_angles_go_with_the_chunks(image):
    flips = np.linspace(100.0, 147.0, 48).reshape(6, 8)
    options = {**CLASSIC, "kernel": "t2-epg", "noise": 0.01}
    whole = vorin.invert_map(T, image, flip=flips, **options)
    lazy = vorin.invert_map(T, arrays.from_array(image, chunks=(3, 4, 56)), flip=flips, **options)
    assert lazy.compute() == whole and np.array_equal(whole.flip[0], flips[0])


def test_one_weight_by_the_mean_of_all_chunks(image):
    whole = vorin.invert_map(T, image, weight="shared", noise=0.01, **CLASSIC)
    lazy = vorin.invert_map(T, arrays.from_array(image, chunks=(4, 5, 56)), weight="shared",
                            noise=0.01, **CLASSIC).compute()
    weights = np.unique(lazy.weight[lazy.status == 0])
    assert weights.size == 1
    # The sums of the chunks are added in another order.
    assert weights[0] == pytest.approx(np.nanmax(whole.weight), rel=1e-5)


def test_a_labelled_array_of_chunks_is_written_to_zarr(image, expected, tmp_path):
    xarray = pytest.importorskip("xarray", reason="skipped: xarray is not installed")
    pytest.importorskip("zarr", reason="skipped: zarr is not installed")
    labelled = xarray.DataArray(image, dims=("y", "x", "echo"), name="signal",
                                coords={"echo": ("echo", 1e3 * T, {"units": "ms"}),
                                        "x": np.arange(8.0)})
    lazy = vorin.invert_map(labelled.chunk({"y": 2}), axis="echo", **OPTIONS)
    assert lazy["total"].chunks == ((2, 2, 2), (8,))
    lazy.to_zarr(tmp_path / "maps.zarr")
    written = xarray.open_zarr(tmp_path / "maps.zarr")
    assert np.array_equal(written["distribution"], expected.distribution, equal_nan=True)
    assert written["status"].dtype == np.uint8 and written["x"].values.tolist() == list(range(8))
    assert written.attrs["kernel"] == "t2" and written["range_to"].values[1] == np.inf
    arrays_only = vorin.invert_map(T, arrays.from_array(image, chunks=(2, 8, 56)), **OPTIONS)
    arrays_only.to_xarray(("y", "x")).to_zarr(tmp_path / "plain.zarr")
    assert np.array_equal(xarray.open_zarr(tmp_path / "plain.zarr")["weight"], expected.weight,
                          equal_nan=True)


def test_a_data_set_is_written_to_hdf5(image, expected, tmp_path):
    xarray = pytest.importorskip("xarray", reason="skipped: xarray is not installed")
    pytest.importorskip("h5netcdf", reason="skipped: h5netcdf is not installed")
    for k, maps in enumerate((expected, vorin.invert_map(
            T, arrays.from_array(image, chunks=(2, 8, 56)), **OPTIONS))):
        maps.to_xarray(("y", "x")).to_netcdf(tmp_path / f"{k}.h5", engine="h5netcdf")
        written = xarray.open_dataset(tmp_path / f"{k}.h5", engine="h5netcdf")
        assert np.array_equal(written["distribution"], expected.distribution, equal_nan=True)
        assert written["total"].attrs["long_name"] and written["grid"].attrs["units"] == "s"
        written.close()


def test_a_bar_of_ours_is_refused(image):
    with pytest.raises(vorin.InputTypeError, match="dask.diagnostics.ProgressBar"):
        vorin.invert_map(T, arrays.from_array(image, chunks=-1), progress=True)


def test_settings_are_looked_at_before_anything_is_computed(image):
    lazy = arrays.from_array(image, chunks=-1)
    with pytest.raises(vorin.InputValueError, match="weight"):
        vorin.invert_map(T, lazy, weight=-1.0)
    with pytest.raises(vorin.InputValueError, match="data has 56 samples along axis -1"):
        vorin.invert_map(T[:-1], lazy)


@pytest.mark.skipif(not hasattr(signal, "SIGKILL"), reason="skipped: there is no SIGKILL")
def test_a_worker_that_is_killed_loses_nothing_and_workers_leave_no_files(tmp_path):
    distributed = pytest.importorskip("distributed", reason="skipped: distributed is not installed")
    data = voxels(16, 15)
    options = {"grid": CLASSIC["grid"], "cutoffs": [0.02]}  # the slower method: time to die in
    whole = vorin.invert_map(T, data, **options)
    scratch = tmp_path / "scratch"
    here = tmp_path / "here"
    here.mkdir()
    os.chdir(here)
    with dask.config.set({"distributed.admin.log-format": "%(message)s"}), \
            distributed.LocalCluster(n_workers=2, threads_per_worker=1, dashboard_address=None,
                                     local_directory=str(scratch), silence_logs=50) as cluster, \
            distributed.Client(cluster) as client:
        workers = client.run(os.getpid)
        assert len(workers) == 2 and os.getpid() not in workers.values()
        lazy = vorin.invert_map(T, arrays.from_array(data, chunks=(1, 15, 56)), **options)
        future = client.compute(lazy)
        deadline = time.monotonic() + 60
        finished = 0
        while finished < 3 and time.monotonic() < deadline:
            finished = client.run_on_scheduler(_finished_chunks)
        assert 3 <= finished < 16
        killed = next(iter(workers.values()))
        os.kill(killed, signal.SIGKILL)
        assert future.result(timeout=60) == whole
        assert killed not in client.run(os.getpid).values()
    assert list(here.iterdir()) == []
    assert not list(scratch.rglob("*.log"))


def _finished_chunks(dask_scheduler):
    return sum(task.state == "memory" and "packed" in task.key
               for task in dask_scheduler.tasks.values())
