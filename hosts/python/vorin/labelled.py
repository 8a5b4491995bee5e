"""Decays that bring their times along: a pandas Series or DataFrame, an xarray DataArray.

Neither package is imported: an object is told by what it has.
"""

from __future__ import annotations

from typing import Any, Dict, Hashable, Tuple

import numpy as np

from .errors import InputTypeError, InputValueError

#: Sizes of the units that a coordinate may name, in SI units.
_UNITS = {"s": 1.0, "ms": 1e-3, "us": 1e-6, "µs": 1e-6, "μs": 1e-6, "ns": 1e-9,
          "s/m2": 1.0, "s/m^2": 1.0, "s/mm2": 1e6, "s/mm^2": 1e6}


def is_frame(value: Any) -> bool:
    """True for a table whose columns are decays and whose index is their times."""
    return all(hasattr(value, name) for name in ("columns", "index", "to_numpy"))


def _is_series(value: Any) -> bool:
    return hasattr(value, "index") and hasattr(value, "to_numpy") and not is_frame(value)


def _is_data_array(value: Any) -> bool:
    return all(hasattr(value, name) for name in ("dims", "coords", "values"))


def _times_of_index(name: str, index: Any) -> np.ndarray:
    values = np.asarray(index)
    if values.dtype.kind == "m":
        return values / np.timedelta64(1, "s")
    if values.dtype.kind not in "iuf":
        raise InputTypeError(f"the index of {name} holds {values.dtype} values; the times of the "
                             "samples in s are required")
    return values.astype(float)


def series(value: Any) -> Tuple[np.ndarray, Any]:
    """Times and samples of one decay that comes without its times beside it."""
    if _is_data_array(value):
        return _of_data_array(value)
    if _is_series(value):
        return _times_of_index("t", value.index), value.to_numpy()
    if is_frame(value):
        raise InputTypeError("t is a table of several decays; give one of its columns, or the "
                             "table to vorin.invert_many")
    raise InputTypeError("y is missing; give times and samples, or a pandas Series or an xarray "
                         "DataArray that has both")


def _of_data_array(value: Any) -> Tuple[np.ndarray, Any]:
    if len(value.dims) != 1:
        raise InputValueError(f"t has the dimensions {', '.join(map(str, value.dims))}; one, that "
                              "of the samples, is required")
    dimension = value.dims[0]
    if dimension not in value.coords:
        raise InputValueError(f"t has no coordinate along {dimension}; its times are required")
    coordinate = value.coords[dimension]
    times = _times_of_index("t", coordinate.values)
    unit = coordinate.attrs.get("units", "s")
    if np.asarray(coordinate.values).dtype.kind == "m":
        return times, value.values
    if unit not in _UNITS:
        raise InputValueError(f"the coordinate {dimension} of t is in {unit!r}; one of "
                              f"{', '.join(_UNITS)} is required")
    return times * _UNITS[unit], value.values


def columns(frame: Any) -> Tuple[np.ndarray, Dict[Hashable, Any]]:
    """Times and decays of a table, by the names of its columns."""
    decays = {name: frame.iloc[:, i].to_numpy() for i, name in enumerate(frame.columns)}
    if len(decays) != len(frame.columns):
        raise InputValueError("two columns of t have one name; give each its own")
    return _times_of_index("t", frame.index), decays
