"""Logarithmic grids of relaxation times or diffusion coefficients."""

from __future__ import annotations

from typing import Any

import numpy as np

from .errors import InputTypeError, InputValueError

_MOST_POINTS = 10000  # a kernel of more columns is a slip of the keyboard
_SMALLEST, _LARGEST = 1e-30, 1e30  # well inside the range of single precision
_DEFAULT_POINTS = 100
_BEYOND = 3.0  # how far the grid reaches past the samples


def log_grid(start: float, stop: float, count: int) -> np.ndarray:
    """``count`` values from ``start`` to ``stop``, evenly spaced in their logarithm.

    Both ends are exact.

    Returns
    -------
    numpy.ndarray of shape (count,), float64
    """
    step = (np.log(stop) - np.log(start)) / (count - 1)
    values = start * np.exp(step * np.arange(count))
    values[-1] = stop
    return values


def default_grid(t: np.ndarray, kernel: str = "t2") -> np.ndarray:
    """The grid for samples at ``t``: a third of the first time above 0 to three times the last.

    Outside this range a relaxation time leaves no trace in the samples that would tell it
    from its neighbours. For ``kernel="diffusion"`` the range is that of the reciprocals.

    Returns
    -------
    numpy.ndarray of shape (100,), float64
    """
    first = t[0] if t[0] > 0.0 else t[1]
    start, stop = first / _BEYOND, t[-1] * _BEYOND
    if kernel == "diffusion":
        start, stop = 1.0 / stop, 1.0 / start
    return log_grid(start, stop, _DEFAULT_POINTS)


def as_grid(grid: Any) -> np.ndarray:
    """The grid that the argument ``grid`` stands for: an array, or (from, to, count)."""
    if isinstance(grid, tuple) and len(grid) == 3:
        return _from_range(grid)
    try:
        values = np.array(grid, dtype=float)
    except (TypeError, ValueError):
        raise InputTypeError(
            f"grid is of type {type(grid).__name__}; an array of rising values above 0, or the "
            "tuple (from, to, count), is wanted") from None
    if values.ndim != 1 or values.size < 2:
        raise InputValueError(
            f"grid has shape {values.shape}; one dimension with 2 values or more is wanted")
    if not np.all(np.isfinite(values)):
        raise InputValueError("grid holds a value that is not finite; rising values above 0 are "
                              "wanted")
    if values[0] < _SMALLEST or values[-1] > _LARGEST or np.any(np.diff(values) <= 0.0):
        raise InputValueError("grid does not rise from above 0; give each value once, sorted")
    return values


def _from_range(grid: tuple) -> np.ndarray:
    try:
        start, stop, count = float(grid[0]), float(grid[1]), int(grid[2])
    except (TypeError, ValueError, OverflowError):
        raise InputTypeError(f"grid {grid!r}: two numbers and a count are wanted, such as "
                             "(1e-4, 10, 100)") from None
    if not (_SMALLEST <= start < stop <= _LARGEST):
        raise InputValueError(f"grid {grid!r}: the first two must be above 0 and rise, such as "
                              "(1e-4, 10, 100)")
    if count != grid[2] or not 2 <= count <= _MOST_POINTS:
        raise InputValueError(
            f"grid {grid!r}: the count must be a whole number from 2 to {_MOST_POINTS}")
    return log_grid(start, stop, count)
