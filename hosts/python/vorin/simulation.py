"""Computed decays with known truth."""

from __future__ import annotations

from typing import Any, NamedTuple, Optional, Sequence, Tuple

import numpy as np

from . import checks
from .arrays import FloatArray, equal_tuples
from .data import real_array
from .errors import InputTypeError, InputValueError
from .grids import as_grid
from .measures import log_mean
from .toolkit import Settings, address, job, named

class Simulation(NamedTuple):
    """A computed decay and its truth."""

    t: FloatArray  #: sample times in s, shape (nf,)
    y: FloatArray  #: samples, shape (nf,)
    grid: FloatArray  #: grid of the truth in s, shape (ng,)
    distribution: FloatArray  #: true amplitudes, shape (ng,)
    noise: float  #: standard deviation of the noise

    def __eq__(self, other: object) -> bool:
        return equal_tuples(self, other)

    def __ne__(self, other: object) -> bool:
        return not equal_tuples(self, other)

    @property
    def log_mean(self) -> float:
        """The true log mean, in the unit of the grid."""
        return log_mean(self.grid, self.distribution)


def simulate(t: Any = None, peaks: Optional[Sequence[Tuple[float, float, float]]] = None, *,
             noise: Optional[float] = None, seed: int = 1, kernel: str = "t2",
             grid: Any = None, flip: Optional[float] = None,
             t1: Optional[float] = None) -> Simulation:
    """Computes a decay: peaks that are normal in log10 T, put through a kernel, with noise.

    Parameters
    ----------
    t : array_like of shape (nf,), optional
        Sample times in s; by default 3000 at a spacing of 0.2 ms.
    peaks : sequence of (time, width, amplitude), optional
        Centre in s (in m^2/s for "diffusion"), standard deviation in decades, total; by
        default (0.008, 0.15, 30) and (0.09, 0.15, 70).
    noise : float, optional
        Standard deviation of the normal noise, 0 or above, in the unit of the amplitudes; by
        default 0.2.
    seed : int
        Of the noise, the same on every machine. ``vorin simulate`` draws the same.
    kernel : {"t2", "t1-saturation", "t1-inversion", "diffusion", "t2-epg"}
    grid : array_like of shape (ng,) or (from, to, n), optional
        Of the distribution; by default (1e-4, 10, 200).
    flip : float, optional
        Refocusing angle in degrees, for "t2-epg"; by default 180.
    t1 : float, optional
        Longitudinal relaxation time in s, for "t2-epg"; by default 1.

    Returns
    -------
    Simulation
        Named tuple of t, y, grid, distribution and noise.

    Examples
    --------
    >>> made = vorin.simulate([0.0, 0.1], [(0.05, 0.1, 3.0)], noise=0.0)
    >>> round(float(made.y[0]), 6), f"{made.log_mean:.3f}"
    (3.0, '0.050')
    """
    if not isinstance(kernel, str):
        raise InputTypeError(f"kernel is of type {type(kernel).__name__}; a name is required")
    settings = Settings(kernel=kernel, seed=str(checks.number("seed", seed, "i")))
    if grid is not None:
        settings.set("grid", as_grid(grid))
    if noise is not None:
        settings.set("sigma", _sigma(noise))
    for name, value in (("flip", flip), ("t1", t1)):
        if value is not None:
            settings.set(name, checks.number(name, value, "f"))
    times, rows = None, None
    if t is not None:
        times = real_array("t", t)
    if peaks is not None:
        rows = np.array([_peak(index, peak) for index, peak in enumerate(peaks)], dtype=float)
    with named("sigma", "noise"):
        fields = job("vorin_simulate", settings.raw, *_given(times), *_given(rows))
    return Simulation(fields.array("time"), fields.array("amplitude"), fields.array("grid"),
                      fields.array("distribution"), fields.number("noise"))


def _given(rows: Optional[FloatArray]) -> Tuple[Any, int]:
    return (None, 0) if rows is None else (address(rows), len(rows))


def _sigma(noise: Any) -> str:
    if isinstance(noise, bool) or not isinstance(noise, (int, float, np.number)):
        raise InputTypeError(f"noise is of type {type(noise).__name__}; a number is required")
    return repr(float(noise))


def _peak(index: int, peak: Any) -> FloatArray:
    where = f"peaks[{index}]"
    row = real_array(where, peak)
    if row.size != 3:
        raise InputValueError(f"{where} is {peak!r}; time, width in decades and amplitude, all "
                              "above 0, are required")
    return row
