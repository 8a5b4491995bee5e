"""Computed decays with known truth."""

from __future__ import annotations

from typing import Any, NamedTuple, Sequence, Tuple

import numpy as np

from .data import as_times, real_array
from .errors import InputTypeError, InputValueError
from .grids import as_grid
from .kernels import kernel_matrix, named_kernel
from .measures import log_mean

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
        Of the noise. ``vorin simulate`` draws other noise for the same seed.
    kernel : {"t2", "t1-saturation", "t1-inversion", "diffusion"}
    grid : array_like of shape (ng,) or (from, to, n)
        On which the peaks stand.

    Returns
    -------
    Simulation
        Named tuple of t, y, grid, distribution and noise.
    """
    named_kernel(kernel)
    times = np.arange(1, 3001) * 2e-4 if t is None else as_times(t)
    values = as_grid(grid)
    distribution = np.zeros(values.size)
    for index, peak in enumerate(peaks):
        distribution += _peak(index, peak, values)
    if isinstance(noise, bool) or not isinstance(noise, (int, float, np.number)):
        raise InputTypeError(f"noise is of type {type(noise).__name__}; a number is wanted")
    if not 0.0 <= noise < np.inf:
        raise InputValueError(f"noise is {noise:g}; a number of 0 or above is wanted")
    clean = kernel_matrix(kernel, times, values) @ distribution
    y = clean + noise * np.random.default_rng(seed).standard_normal(times.size)
    return Simulation(times, y, values, distribution, float(noise))


def _peak(index: int, peak: Any, grid: np.ndarray) -> np.ndarray:
    where = f"peaks[{index}]"
    numbers = real_array(where, peak)
    if numbers.size != 3 or not np.all(numbers > 0.0):
        raise InputValueError(f"{where} is {peak!r}; time, width in decades and amplitude, all "
                              "above 0, are wanted")
    centre, width, amplitude = numbers
    decades = np.log10(grid / centre)
    shape = np.exp(-0.5 * (decades / width) ** 2)
    if not np.sum(shape) > 0.0:  # too narrow for the grid: the nearest value takes it whole
        shape = np.zeros(grid.size)
        shape[np.argmin(np.abs(decades))] = 1.0
    return amplitude * shape / np.sum(shape)
