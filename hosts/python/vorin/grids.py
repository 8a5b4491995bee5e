"""Logarithmic grids of relaxation times or diffusion coefficients."""

from __future__ import annotations

from typing import Any

import numpy as np

from .arrays import FloatArray
from .data import real_array
from .errors import InputTypeError, InputValueError
from .toolkit import address, call, job


def log_grid(start: float, stop: float, count: int) -> FloatArray:
    """``count`` values from ``start`` to ``stop``, evenly spaced in their logarithm.

    Both ends are exact.

    Parameters
    ----------
    start, stop : float
        The ends, above 0.
    count : int
        How many values, 2 or more.

    Returns
    -------
    numpy.ndarray of shape (count,), float64

    Examples
    --------
    >>> vorin.log_grid(1e-3, 10.0, 5).round(9).tolist()
    [0.001, 0.01, 0.1, 1.0, 10.0]
    """
    values = np.empty(max(int(count), 0))
    call("vorin_log_grid", float(start), float(stop), values.size, address(values))
    return values


def default_grid(t: FloatArray, kernel: str = "t2") -> FloatArray:
    """The grid for samples at ``t``: a third of the first time above 0 to three times the last.

    Outside this range the samples do not distinguish a relaxation time from its
    neighbours. For ``kernel="diffusion"`` the range is that of the reciprocals.

    Parameters
    ----------
    t : array_like of shape (nf,)
        Sample times in s, or b-values in s/m^2.
    kernel : str
        A name, as of :func:`vorin.invert`.

    Returns
    -------
    numpy.ndarray of shape (100,), float64

    Examples
    --------
    >>> grid = vorin.default_grid(np.array([0.0, 0.003, 1.0]))
    >>> grid.size, round(float(grid[0]), 12), round(float(grid[-1]), 12)
    (100, 0.001, 3.0)
    """
    times = real_array("t", t)
    return job("vorin_default_grid", str(kernel).encode(), address(times), times.size).array("grid")


def as_grid(grid: Any) -> FloatArray:
    """The values of the argument ``grid``, an array or (from, to, count)."""
    if isinstance(grid, tuple) and len(grid) == 3:
        try:
            start, stop, count = float(grid[0]), float(grid[1]), int(grid[2])
        except (TypeError, ValueError, OverflowError):
            raise InputTypeError(f"grid {grid!r}: two numbers and a count are required, such as "
                                 "(1e-4, 10, 100)") from None
        if count != grid[2] or count < 0:
            raise InputValueError(f"grid {grid!r}: the count must be a whole number of 2 or above")
        return log_grid(start, stop, count)
    try:
        values = np.ascontiguousarray(grid, dtype=float)
    except (TypeError, ValueError):
        raise InputTypeError(
            f"grid is of type {type(grid).__name__}; an array of rising values above 0, or the "
            "tuple (from, to, count), is required") from None
    if np.ndim(grid) != 1 or values.size < 2:
        raise InputValueError(f"grid has shape {np.shape(grid)}; one dimension with 2 values or "
                              "more is required")
    return values
