"""Decays with their times: pandas and xarray, dicts and tables; results as tables."""

import sys

import numpy as np
import pytest

import vorin

pandas = pytest.importorskip("pandas", reason="skipped: pandas is not installed")


@pytest.fixture(scope="module")
def decays():
    t = np.arange(1, 201) * 1e-3
    return t, {name: vorin.simulate(t, [(T, 0.1, 50.0)], noise=0.3, seed=seed).y
               for seed, (name, T) in enumerate({"a": 0.01, "b": 0.03}.items(), 1)}


def same(one, other):
    return (np.array_equal(one.t, other.t) and np.array_equal(one.y, other.y)
            and np.array_equal(one.distribution, other.distribution)
            and np.array_equal(one.grid, other.grid) and one.weight == other.weight)


def test_a_series_brings_its_times(decays):
    t, rows = decays
    expected = vorin.invert(t, rows["a"])
    assert same(vorin.invert(pandas.Series(rows["a"], index=t)), expected)
    seconds = pandas.to_timedelta(np.arange(1, 201), unit="ms")
    assert vorin.invert(pandas.Series(rows["a"], index=seconds)).log_mean == pytest.approx(
        expected.log_mean, rel=1e-9)
    assert same(vorin.invert(pandas.Series(t), pandas.Series(rows["a"], index=t)), expected)


def test_a_data_array_brings_its_times_and_their_unit(decays):
    xarray = pytest.importorskip("xarray", reason="skipped: xarray is not installed")
    t, rows = decays
    array = xarray.DataArray(rows["a"], dims="t", coords={"t": ("t", t)})
    expected = vorin.invert(t, rows["a"])
    assert same(vorin.invert(array), expected)
    in_ms = xarray.DataArray(rows["a"], dims="echo",
                             coords={"echo": ("echo", np.arange(1.0, 201.0), {"units": "ms"})})
    assert vorin.invert(in_ms).log_mean == pytest.approx(expected.log_mean, rel=1e-9)
    in_hours = in_ms.assign_coords(echo=("echo", t, {"units": "h"}))
    with pytest.raises(vorin.InputValueError, match="coordinate echo of t is in 'h'; one of s, ms"):
        vorin.invert(in_hours)
    with pytest.raises(vorin.InputValueError, match="no coordinate along echo"):
        vorin.invert(xarray.DataArray(rows["a"], dims="echo"))
    with pytest.raises(vorin.InputValueError, match="has the dimensions x, echo; one"):
        vorin.invert(xarray.DataArray(np.ones((2, 3)), dims=("x", "echo")))


def test_many_decays_of_a_table_or_a_dict_keep_their_names(decays):
    t, rows = decays
    expected = {name: vorin.invert(t, row) for name, row in rows.items()}
    for given in ((t, rows), (pandas.DataFrame(rows, index=t),),
                  (t, pandas.DataFrame(rows, index=t))):
        found = vorin.invert_many(*given, workers=2)
        assert list(found) == ["a", "b"]
        assert all(same(found[name], expected[name]) for name in expected)


@pytest.mark.parametrize("given, message", [
    ((np.arange(3.0),), "y is missing; give times and samples"),
    ((pandas.DataFrame({"a": [1.0]}),), "t is a table of several decays"),
    ((pandas.Series([1.0, 2.0], index=["x", "y"]),), "the index of t holds object values"),
])
def test_one_sentence_says_what_is_missing(given, message):
    with pytest.raises(vorin.InputTypeError, match=message):
        vorin.invert(*given)


def test_a_table_with_a_repeated_name_and_missing_decays_are_refused(decays):
    t, rows = decays
    twice = pandas.DataFrame(np.column_stack(list(rows.values())), index=t, columns=["a", "a"])
    with pytest.raises(vorin.InputValueError, match="two columns of t have one name"):
        vorin.invert_many(twice)
    with pytest.raises(vorin.InputTypeError, match="decays is missing"):
        vorin.invert_many(t)


@pytest.mark.parametrize("workers", [1, 3])
def test_a_decay_that_fails_ends_the_call_or_is_kept(decays, workers):
    t, rows = decays
    given = [rows["a"], np.full(t.size, np.nan), rows["b"]]
    with pytest.raises(vorin.InputValueError):
        vorin.invert_many(t, given, workers=workers)
    counts = []
    found = vorin.invert_many(t, given, workers=workers, on_error="keep", progress=counts.append)
    assert counts == [1, 2, 3]
    assert isinstance(found[1], vorin.InputValueError)
    assert same(found[0], vorin.invert(t, rows["a"]))
    table = vorin.to_dataframe(found)
    assert table["success"].tolist() == [True, False, True]
    assert table["status_text"][1] == str(found[1]) and np.isnan(table["total"][1])
    assert table["total"][2] == found[2].total
    with pytest.raises(vorin.InputValueError, match='write "raise" or "keep"'):
        vorin.invert_many(t, given, on_error="skip")


def test_results_as_tables(decays):
    t, rows = decays
    table = vorin.to_dataframe(vorin.invert_many(t, rows))
    assert table.index.tolist() == ["a", "b"]
    assert table["log_mean"]["b"] == pytest.approx(0.03, rel=0.1)
    result = vorin.invert(t, rows["a"])
    frame = result.to_dataframe()
    assert frame["amplitude"].sum() == pytest.approx(result.total)
    assert np.array_equal(frame.index, result.grid)
    assert frame["cumulative"].iloc[-1] == pytest.approx(result.total)
    with pytest.raises(vorin.InputTypeError, match="results holds a int"):
        vorin.to_dataframe([3])


def test_a_result_as_a_dataset(decays):
    pytest.importorskip("xarray", reason="skipped: xarray is not installed")
    t, rows = decays
    result = vorin.invert(t, rows["a"])
    data = result.to_xarray()
    assert np.allclose(data["fit"] + data["residual"], result.y, rtol=1e-14, atol=0.0)
    assert data["distribution"].sum() == pytest.approx(result.total)
    assert data["t"].attrs["units"] == "s" and data.attrs["total"] == result.total


@pytest.mark.parametrize("module, call", [
    ("pandas", lambda result: result.to_dataframe()),
    ("pandas", lambda result: vorin.to_dataframe([result])),
    ("pandas", lambda result: result.lcurve().to_dataframe()),
    ("xarray", lambda result: result.to_xarray()),
    ("xarray", lambda result: vorin.to_xarray([result])),
])
def test_without_the_package_a_sentence_says_what_to_install(decays, monkeypatch, module, call):
    t, rows = decays
    result = vorin.invert(t, rows["a"])
    monkeypatch.setitem(sys.modules, module, None)
    with pytest.raises(vorin.VorinError, match=f"{module}, which holds .*python3-{module}"):
        call(result)
