#!/usr/bin/env python3
"""Kinds of input and what becomes of each: writes the table of docs/python.md.

    input_kinds.py           prints the table
    input_kinds.py --write   puts it into docs/python.md

Each kind is tried. One that goes in gives the result of the same numbers as plain arrays; the
others are refused, and the table has the sentence.
"""

import array
import decimal
import functools
import sys
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parent.parent))

import numpy as np  # noqa: E402
import pandas  # noqa: E402
import xarray  # noqa: E402

import vorin  # noqa: E402

ROOT = Path(__file__).resolve().parents[3]
PAGE = ROOT / "docs" / "python.md"
MARK = "<!-- The table of tools/input_kinds.py, which writes it; a test compares. -->\n"

T = 1e-3 * np.arange(1, 81)
Y = np.rint(64.0 * vorin.simulate(T, [(0.02, 0.1, 50.0)], noise=0.5, seed=3).y)
OPTIONS = {"grid": (1e-3, 0.5, 30), "noise": 32.0}
GAP = np.where(np.arange(T.size) == 3, np.nan, Y)
MANY = np.array([Y, 2.0 * Y])


def one(t, y=None):
    """A decay and what stands for it in plain arrays."""
    return lambda: vorin.invert(t, y, **OPTIONS)


def many(*given, **options):
    """A container of Y and 2 Y."""
    return lambda: vorin.invert_many(*given, **options, **OPTIONS)


def _milliseconds():
    return xarray.DataArray(Y, dims="echo", coords={"echo": ("echo", 1e3 * T, {"units": "ms"})})


def _two(dims=("sample", "echo"), **coordinates):
    return xarray.DataArray(MANY, dims=dims, coords={dims[1]: T, **coordinates})


#: What is given, in the words of the table, and the call.
KINDS = [
    ("arrays of float32 and float64", one(T.astype("f4"), Y.astype("f8"))),
    ("other byte order, strides, read-only memory", one(T.astype(">f8"), np.repeat(Y, 2)[::2])),
    ("lists and tuples of numbers", one(list(T), tuple(Y))),
    ("`array.array`, `memoryview`", one(array.array("d", T), memoryview(Y))),
    ("complex samples", one(T, Y.astype(complex))),
    ("whole numbers", one(T, Y.astype(np.int32))),
    ("a masked array that masks nothing", one(T, np.ma.array(Y))),
    ("a masked array with masked samples", one(T, np.ma.masked_invalid(GAP))),
    ("not-a-number or infinity among the samples", one(T, GAP)),
    ("truth values", one(T, Y > 5.0)),
    ("objects: Decimal, None", one(T, [decimal.Decimal(str(value)) for value in Y])),
    ("texts", one(T, [str(value) for value in Y])),
    ("a generator", one(T, (value for value in Y))),
    ("a column or a matrix as one decay", one(T, Y[:, None])),
    ("a single number", one(T, 3.0)),
    ("nothing at all", one([], [])),
    ("fewer samples than times", one(T, Y[:-1])),
    ("falling times", one(T[::-1], Y[::-1])),
    ("a time twice", one(np.r_[T[0], T[:-1]], Y)),
    ("a time below 0", one(T - 1.0, Y)),
    ("samples that are 0 everywhere", one(T, 0.0 * Y)),
    ("the name of a file", one("decay.csv")),
    ("what `vorin.read` or `vorin.simulate` returned",
     one(vorin.ReadDecay(T, Y))),
    ("times as `timedelta64`", one(np.rint(1e6 * T).astype("timedelta64[us]"), Y)),
    ("a pandas Series, its index the times", one(pandas.Series(Y, index=T))),
    ("a Series of a nullable type (Float64)", one(pandas.Series(Y, index=T).astype("Float64"))),
    ("a Series with missing values", one(pandas.Series(GAP, index=T).astype("Float64"))),
    ("a Series indexed by dates",
     one(pandas.Series(Y, index=pandas.date_range("2020", periods=T.size)))),
    ("a DataFrame as one decay", one(pandas.DataFrame({"a": Y}, index=T))),
    ("an xarray DataArray, its coordinate in ms", one(_milliseconds())),
    ("a DataArray of times in ms beside an array", one(_milliseconds().coords["echo"], Y)),
    ("a DataArray whose coordinate is in an unknown unit",
     one(_milliseconds().assign_coords(echo=("echo", T, {"units": "h"})))),
    ("an xarray Dataset", one(xarray.Dataset({"y": ("t", Y)}, coords={"t": T}))),
    ("`invert_many`: a list of decays", many(T, [Y, 2.0 * Y])),
    ("`invert_many`: a dict", many(T, {"a": Y, "b": 2.0 * Y})),
    ("`invert_many`: a matrix, a row a decay", many(T, MANY)),
    ("`invert_many`: a matrix, a column a decay, with `axis=0`", many(T, MANY.T, axis=0)),
    ("`invert_many`: the same without `axis`", many(T, MANY.T)),
    ("`invert_many`: an array of 3 or more dimensions", many(T, MANY.reshape(2, 1, -1))),
    ("`invert_many`: a DataFrame, its index the times",
     many(pandas.DataFrame(MANY.T, index=T, columns=["a", "b"]))),
    ("`invert_many`: a DataArray with labels", many(_two(sample=["a", "b"]))),
    ("`invert_many`: decays with times of their own",
     many([pandas.Series(Y, index=T), vorin.ReadDecay(T, 2.0 * Y)])),
    ("`invert_many`: a single decay", many(T, Y)),
]


@functools.lru_cache(maxsize=None)
def _expected(factor):
    return vorin.invert(T, factor * Y, **OPTIONS)


def _same(result, factor):
    """Equal but for the rounding of times in single precision or in another unit."""
    expected = _expected(factor)
    return (np.array_equal(result.y, expected.y) and np.allclose(result.t, expected.t, rtol=1e-7)
            and np.allclose(result.distribution, expected.distribution,
                            atol=1e-4 * expected.distribution.max()))


def _goes_in(found):
    if isinstance(found, vorin.Result):
        assert _same(found, 1.0)
        return "taken; turned to a phase of 0" if found.phase is not None else "taken"
    results = list(found.values()) if isinstance(found, dict) else list(np.ravel(found))
    assert len(results) == 2 and _same(results[0], 1.0) and _same(results[1], 2.0)
    if isinstance(found, dict):
        return "a dict of results"
    return "a list of results" if isinstance(found, list) else "an array of results"


def outcome(call):
    """What the table says of a kind."""
    try:
        return _goes_in(call())
    except vorin.VorinError as error:
        kind = "TypeError" if isinstance(error, TypeError) else "ValueError"
        return f"{kind}: {error}".replace("|", "\\|")


def table():
    """The table in Markdown."""
    rows = [f"| {words} | {outcome(call)} |\n" for words, call in KINDS]
    return "".join(["| given | what happens |\n", "| --- | --- |\n", *rows])


def with_table(page):
    """The page with the table of now."""
    before, rest = page.split(MARK)
    after = rest.split("\n## ", 1)[1]
    return f"{before}{MARK}\n{table()}\n## {after}"


if __name__ == "__main__":
    if sys.argv[1:] == ["--write"]:
        PAGE.write_text(with_table(PAGE.read_text(encoding="utf-8")), encoding="utf-8")
    else:
        print(table(), end="")
