"""The caller's samples as arrays that the toolkit can read: types and shapes."""

from __future__ import annotations

from typing import Any, Optional, Tuple

import numpy as np

from .arrays import FloatArray, Numbers
from .errors import InputTypeError, InputValueError


def real_array(name: str, value: Any, dimensions: int = 1) -> FloatArray:
    """``value`` as contiguous numbers in double precision, of that count of dimensions."""
    array = _numbers(name, value)
    if np.iscomplexobj(array):
        raise InputTypeError(f"{name} is complex; real numbers are required")
    return np.ascontiguousarray(_shaped(name, array, dimensions), dtype=float)


def _numbers(name: str, value: Any) -> Numbers:
    if isinstance(value, np.ma.MaskedArray) and np.any(value.mask):
        raise InputValueError(f"{name} has masked elements; omit them and their times")
    try:
        array = np.asarray(value)
    except (TypeError, ValueError):
        raise InputTypeError(
            f"{name} is not an array of numbers; give one row of numbers") from None
    if array.dtype.kind not in "iufc":
        raise InputTypeError(f"{name} holds {array.dtype} values; numbers are required")
    return array


def _shaped(name: str, array: Numbers, dimensions: int) -> Numbers:
    if array.ndim != dimensions:
        raise InputValueError(f"{name} has shape {array.shape}; {dimensions} "
                              f"dimension{'s are' if dimensions > 1 else ' is'} required")
    return array


#: Times, amplitudes and, for complex data, the imaginary channel.
Samples = Tuple[FloatArray, FloatArray, Optional[FloatArray]]


def samples(t: Any, y: Any) -> Samples:
    """The caller's samples; an array of double precision is not copied."""
    times = real_array("t", t)
    numbers = _shaped("y", _numbers("y", y), 1)
    if numbers.size != times.size:
        raise InputValueError(f"y has {numbers.size} samples and t has {times.size}; each sample "
                              "needs a time")
    real = np.ascontiguousarray(numbers.real, dtype=float)
    if numbers.dtype.kind != "c":
        return times, real, None
    return times, real, np.ascontiguousarray(numbers.imag, dtype=float)
