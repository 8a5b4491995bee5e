"""Computed decays with known truth."""

from __future__ import annotations

from typing import Any, NamedTuple, Sequence, Tuple

import numpy as np

from . import checks
from .data import real_array
from .errors import InputTypeError, InputValueError
from .grids import as_grid
from .measures import log_mean
from .toolkit import Settings, address, job, named

_PEAKS = ((0.008, 0.15, 30.0), (0.09, 0.15, 70.0))


class Simulation(NamedTuple):
    """A computed decay and its truth."""

    t: np.ndarray  #: sample times in s, shape (nf,)
    y: np.ndarray  #: samples, shape (nf,)
    grid: np.ndarray  #: grid of the truth in s, shape (ng,)
    distribution: np.ndarray  #: true amplitudes, shape (ng,)
    noise: float  #: standard deviation of the noise

    @property
    def log_mean(self) -> float:
        """The true log mean, in the unit of the grid."""
        return log_mean(self.grid, self.distribution)


def simulate(t: Any = None, peaks: Sequence[Tuple[float, float, float]] = _PEAKS, *,
             noise: float = 0.2, seed: int = 1, kernel: str = "t2",
             grid: Any = (1e-4, 10.0, 200)) -> Simulation:
    """Makes a decay: peaks that are normal in log10 T, put through a kernel, with noise.

    Parameters
    ----------
    t : array_like of shape (nf,), optional
        Sample times in s; 3000 at a spacing of 0.2 ms without it.
    peaks : sequence of (time, width, amplitude)
        Centre in s (in m^2/s for "diffusion"), standard deviation in decades, total.
    noise : float
        Standard deviation of the normal noise, 0 or above, in the unit of the amplitudes.
    seed : int
        Of the noise, the same on every machine. ``vorin simulate`` draws the same.
    kernel : {"t2", "t1-saturation", "t1-inversion", "diffusion"}
    grid : array_like of shape (ng,) or (from, to, n)
        On which the peaks stand.

    Returns
    -------
    Simulation
        Named tuple of t, y, grid, distribution and noise.
    """
    if not isinstance(kernel, str):
        raise InputTypeError(f"kernel is of type {type(kernel).__name__}; a name is required")
    settings = Settings(kernel=kernel, grid=as_grid(grid), sigma=_sigma(noise),
                        seed=str(checks.number("seed", seed, "i")))
    times = np.arange(1, 3001) * 2e-4 if t is None else real_array("t", t)
    rows = np.array([_peak(index, peak) for index, peak in enumerate(peaks)], dtype=float)
    with named("sigma", "noise"):
        fields = job("vorin_simulate", settings.raw, address(times), times.size, address(rows),
                     len(rows))
    return Simulation(times, fields.array("amplitude"), fields.array("grid"),
                      fields.array("distribution"), float(noise))


def _sigma(noise: Any) -> str:
    if isinstance(noise, bool) or not isinstance(noise, (int, float, np.number)):
        raise InputTypeError(f"noise is of type {type(noise).__name__}; a number is required")
    return repr(float(noise))


def _peak(index: int, peak: Any) -> np.ndarray:
    where = f"peaks[{index}]"
    row = real_array(where, peak)
    if row.size != 3:
        raise InputValueError(f"{where} is {peak!r}; time, width in decades and amplitude, all "
                              "above 0, are required")
    return row
