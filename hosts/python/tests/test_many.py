"""Containers of many decays: images, labelled arrays, decays with times of their own."""

import numpy as np
import pytest

import vorin

T = 1e-3 * np.arange(1, 61)
OPTIONS = {"grid": (1e-3, 0.5, 30), "noise": 0.05}


@pytest.fixture(scope="module")
def image():
    rows = [vorin.simulate(T, [(0.01 * (k + 1), 0.1, 10.0)], noise=0.05, seed=k).y
            for k in range(6)]
    return np.array(rows).reshape(2, 3, T.size)


def test_an_image_gives_an_array_of_results_of_its_shape(image):
    results = vorin.invert_many(T, image, workers=2, **OPTIONS)
    assert results.shape == (2, 3)
    for place in np.ndindex(2, 3):
        assert results[place] == vorin.invert(T, image[place], **OPTIONS)
    table = vorin.to_dataframe(results)
    assert table.loc[(1, 2), "total"] == results[1, 2].total and len(table) == 6


@pytest.mark.parametrize("axis", [0, 1, 2, -1, -3])
def test_the_axis_of_the_samples_may_be_any(image, axis):
    expected = vorin.invert_many(T, image, **OPTIONS)
    results = vorin.invert_many(T, np.moveaxis(image, -1, axis), axis=axis, **OPTIONS)
    assert np.array_equal(results, expected)


def test_columns_of_a_matrix_are_decays_on_request(image):
    columns = image.reshape(-1, T.size).T
    results = vorin.invert_many(T, columns, axis=0, **OPTIONS)
    assert isinstance(results, list)
    assert results[4] == vorin.invert(T, columns[:, 4], **OPTIONS)
    with pytest.raises(vorin.InputValueError, match="6 samples along axis -1 and t has 60; axis=0"):
        vorin.invert_many(T, columns, **OPTIONS)


def test_decays_with_their_own_times_need_none_beside_them(image):
    made = {"a": vorin.simulate(T, noise=0.2, seed=1), "b": vorin.simulate(T[10:], noise=0.2)}
    expected = {name: vorin.invert(one.t, one.y) for name, one in made.items()}
    assert vorin.invert_many(made) == expected
    assert vorin.invert_many(list(made.values())) == list(expected.values())


def test_an_array_with_labels_keeps_them(image):
    xarray = pytest.importorskip("xarray", reason="skipped: xarray is not installed")
    plane = xarray.DataArray(image[0], dims=("depth", "echo"),
                             coords={"depth": [10.0, 10.5, 11.0],
                                     "echo": ("echo", 1e3 * T, {"units": "ms"})})
    found = vorin.invert_many(plane, **OPTIONS)
    assert list(found) == [10.0, 10.5, 11.0]
    assert found[10.5].total == pytest.approx(vorin.invert(T, image[0, 1], **OPTIONS).total)
    turned = vorin.invert_many(plane.transpose(), axis="echo", **OPTIONS)
    assert turned == found
    cube = xarray.DataArray(image, dims=("y", "x", "echo"), coords={"echo": T})
    assert np.array_equal(vorin.invert_many(cube, **OPTIONS), vorin.invert_many(T, image, **OPTIONS))
    with pytest.raises(vorin.InputValueError, match="axis is 'z'; the dimensions are y, x, echo"):
        vorin.invert_many(cube, axis="z")


def test_results_of_an_image_as_a_data_set(image):
    pytest.importorskip("xarray", reason="skipped: xarray is not installed")
    spoiled = image.copy()
    spoiled[0, 1, 5] = np.nan
    results = vorin.invert_many(T, spoiled, on_error="keep", **OPTIONS)
    data = vorin.to_xarray(results, dims=("row", "column"))
    assert data["distribution"].dims == ("row", "column", "grid")
    assert np.array_equal(data["distribution"][1, 2], results[1, 2].distribution)
    assert data["log_mean"].shape == (2, 3) and np.isnan(data["log_mean"][0, 1])
    assert str(data["status_text"][0, 1].item()) == str(results[0, 1])
    assert np.array_equal(data["grid"], results[0, 0].grid) and data["grid"].attrs["units"] == "s"
    named = vorin.to_xarray(vorin.invert_many(T, {"a": image[0, 0], "b": image[1, 1]}, **OPTIONS))
    assert named["decay"].values.tolist() == ["a", "b"]
    with pytest.raises(vorin.InputValueError, match="dims is 'row'; 2 names are required"):
        vorin.to_xarray(results, dims="row")
    with pytest.raises(vorin.InputValueError, match="on different grids"):
        vorin.to_xarray([vorin.invert(T, image[0, 0]), vorin.invert(T[9:], image[0, 0, 9:])])


@pytest.mark.parametrize("axis, message", [
    (3, "axis is 3; decays has 3 dimensions"), ("x", "axis is 'x'; a whole number"),
    (True, "axis is True; a whole number")])
def test_an_axis_that_is_not_there_is_named(image, axis, message):
    with pytest.raises(vorin.VorinError, match=message):
        vorin.invert_many(T, image, axis=axis)
