"""Decays that bring their times along: a pandas Series or DataFrame, an xarray DataArray, what
:func:`vorin.read` and :func:`vorin.simulate` return.

Neither package is imported: an object is told by what it has.
"""

from __future__ import annotations

import os
from typing import Any, Dict, Hashable, Tuple

import numpy as np

from .arrays import FloatArray
from .errors import InputTypeError, InputValueError

#: Sizes of the units that a coordinate may name, in SI units.
_UNITS = {"s": 1.0, "ms": 1e-3, "us": 1e-6, "µs": 1e-6, "μs": 1e-6, "ns": 1e-9,
          "s/m2": 1.0, "s/m^2": 1.0, "s/mm2": 1e6, "s/mm^2": 1e6}


def is_frame(value: Any) -> bool:
    """True for a table whose columns are decays and whose index is their times."""
    return all(hasattr(value, name) for name in ("columns", "index", "to_numpy"))


def _is_series(value: Any) -> bool:
    return hasattr(value, "index") and hasattr(value, "to_numpy") and not is_frame(value)


def _is_data_set(value: Any) -> bool:
    return hasattr(value, "data_vars")


def is_data_array(value: Any) -> bool:
    """True for an xarray DataArray."""
    return (all(hasattr(value, name) for name in ("dims", "coords", "values"))
            and not _is_data_set(value))


def has_times(value: Any) -> bool:
    """True for a decay that brings its times along."""
    return (_is_series(value) or is_data_array(value)
            or (hasattr(value, "t") and hasattr(value, "y") and not is_frame(value)))


def _times(values: Any) -> Any:
    """Time differences as numbers in s; other values as they are."""
    if getattr(values, "dtype", None) is not None and values.dtype.kind == "m":
        return np.asarray(values) / np.timedelta64(1, "s")
    return values


def _times_of_index(name: str, index: Any) -> FloatArray:
    values = np.asarray(_times(np.asarray(index)))
    if values.dtype.kind not in "iuf":
        raise InputTypeError(f"the index of {name} holds {values.dtype} values; the times of the "
                             "samples in s are required")
    return values.astype(float)


def _in_seconds(name: str, coordinate: Any) -> FloatArray:
    """The values of an xarray coordinate, in the unit that its attribute says."""
    times = _times_of_index(name, coordinate.values)
    if np.asarray(coordinate.values).dtype.kind == "m":
        return times
    unit = coordinate.attrs.get("units", "s")
    if unit not in _UNITS:
        where = "t" if coordinate.name is None else f"the coordinate {coordinate.name} of t"
        raise InputValueError(f"{where} is in {unit!r}; one of {', '.join(_UNITS)} is required")
    return np.asarray(times * _UNITS[unit])


def _values(decay: Any) -> Any:
    """The numbers of a pandas object, a missing one as not-a-number."""
    if hasattr(decay, "to_numpy") and not isinstance(getattr(decay, "dtype", None), np.dtype):
        try:
            return decay.to_numpy(dtype=float, na_value=np.nan)
        except (TypeError, ValueError):
            return decay.to_numpy()
    return decay


def pair(t: Any, y: Any) -> Tuple[Any, Any]:
    """Times in s and samples of one decay, given as two arrays or as one that has its times."""
    if type(t) is np.ndarray and t.dtype.kind == "f" and type(y) is np.ndarray:
        return t, y
    if y is None:
        return _with_its_times(t)
    if is_data_array(t):
        return _in_seconds("t", t), _values(y)
    return _times(t.to_numpy() if _is_series(t) else t), _values(y)


def _with_its_times(value: Any) -> Tuple[Any, Any]:
    if is_data_array(value):
        return _of_data_array(value)
    if _is_series(value):
        return _times_of_index("t", value.index), _values(value)
    if is_frame(value):
        raise InputTypeError("t is a table of several decays; give one of its columns, or the "
                             "table to vorin.invert_many")
    if _is_data_set(value):
        raise InputTypeError("t is a data set; give one of its arrays, such as dataset['y']")
    if isinstance(value, (str, bytes, os.PathLike)):
        raise InputTypeError("t is the name of a file; vorin.read reads it, as in "
                             "vorin.invert(vorin.read(name))")
    if has_times(value):
        return value.t, value.y
    raise InputTypeError("y is missing; give times and samples, or a pandas Series or an xarray "
                         "DataArray that has both")


def _of_data_array(value: Any) -> Tuple[FloatArray, Any]:
    if len(value.dims) != 1:
        raise InputValueError(f"t has the dimensions {', '.join(map(str, value.dims))}; one, that "
                              "of the samples, is required")
    return times_along(value, value.dims[0]), value.values


def triple(t1: Any, t2: Any, D: Any) -> Tuple[Any, Any, Any]:
    """Both axes in s and the samples of two-dimensional data, given as three arrays or as one."""
    if t2 is not None and D is not None:
        first, second = (_in_seconds(name, t) if is_data_array(t) else _times(t)
                         for name, t in (("t1", t1), ("t2", t2)))
        return first, second, D
    if t2 is not None or D is not None:
        raise InputTypeError(f"{'t2' if t2 is None else 'D'} is missing; give t1, t2 and D, or "
                             "what has all three")
    if is_frame(t1):
        return (_times_of_index("t1", t1.index), _times_of_index("the columns of t1", t1.columns),
                t1.to_numpy())
    if is_data_array(t1):
        if len(t1.dims) != 2:
            raise InputValueError(f"t1 has the dimensions {', '.join(map(str, t1.dims))}; two are "
                                  "required")
        return times_along(t1, t1.dims[0]), times_along(t1, t1.dims[1]), t1.values
    if all(hasattr(t1, name) for name in ("t1", "t2", "D")):
        return t1.t1, t1.t2, t1.D
    if isinstance(t1, (str, bytes, os.PathLike)):
        raise InputTypeError("t1 is the name of a file; vorin.read2d reads it, as in "
                             "vorin.invert2d(vorin.read2d(name))")
    raise InputTypeError("t2 and D are missing; give t1, t2 and D, or what has all three: a pandas "
                         "DataFrame, an xarray DataArray, or what vorin.read2d returned")


def times_along(value: Any, dimension: Hashable) -> FloatArray:
    """The times in s of an xarray DataArray along one of its dimensions."""
    if dimension not in value.coords:
        raise InputValueError(f"t has no coordinate along {dimension}; its times are required")
    return _in_seconds("t", value.coords[dimension])


def seconds(t: Any) -> Any:
    """Times alone, in s: an array, time differences, or a DataArray with a unit."""
    return _in_seconds("t", t) if is_data_array(t) else _times(t)


def axis_position(name: str, array: Any, axis: Any) -> int:
    """The axis of the argument ``name``, counted from 0; of a DataArray it may be given by name."""
    dims = list(array.dims) if is_data_array(array) else []
    if isinstance(axis, str) and dims:
        if axis not in dims:
            raise InputValueError(f"axis is {axis!r}; the dimensions are "
                                  f"{', '.join(map(str, dims))}")
        return dims.index(axis)
    if isinstance(axis, bool) or not isinstance(axis, (int, np.integer)):
        raise InputTypeError(f"axis is {axis!r}; a whole number is required")
    count: int = array.ndim
    if not -count <= axis < count:
        raise InputValueError(f"axis is {axis}; {name} has {count} dimensions, so {-count} to "
                              f"{count - 1} are possible")
    return int(axis) % count


def columns(frame: Any) -> Tuple[FloatArray, Dict[Hashable, Any]]:
    """Times and decays of a table, by the names of its columns."""
    decays = {name: _values(frame.iloc[:, i]) for i, name in enumerate(frame.columns)}
    if len(decays) != len(frame.columns):
        raise InputValueError("two columns of t have one name; give each its own")
    return _times_of_index("t", frame.index), decays
