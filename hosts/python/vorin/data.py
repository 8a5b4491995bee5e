"""Looking at the caller's samples before anything else does."""

from __future__ import annotations

from dataclasses import dataclass
from typing import Any, Optional, Tuple, Union

import numpy as np

from . import checks
from .errors import InputTypeError, InputValueError
from .grids import as_grid, default_grid
from .kernels import OWN, Kernel, kernel_matrix, named_kernel

# Times beyond this are no times, and single precision would not hold them.
_LONGEST = 1e30


@dataclass(frozen=True)
class Decay:
    """Checked samples: real amplitudes and, where they were complex, what the turn left."""

    t: np.ndarray
    y: np.ndarray
    imaginary: Optional[np.ndarray] = None
    phase: Optional[float] = None  #: in radians, by which the samples were turned

    @property
    def quadrature(self) -> Optional[float]:
        """The standard deviation of the imaginary channel about its mean; None without one."""
        if self.imaginary is None:
            return None
        deviation = float(np.std(self.imaginary, ddof=1))
        return deviation if deviation > 0.0 else None


def real_array(name: str, value: Any, dimensions: int = 1) -> np.ndarray:
    """``value`` as finite numbers in double precision, of the given count of dimensions."""
    array = _numbers(name, value)
    if np.iscomplexobj(array):
        raise InputTypeError(f"{name} is complex; real numbers are wanted")
    return _finite(name, array.astype(float), dimensions)


def _numbers(name: str, value: Any) -> np.ndarray:
    try:
        array = np.asarray(value)
    except (TypeError, ValueError):
        raise InputTypeError(f"{name} is no array of numbers; give one row of numbers") from None
    if array.dtype.kind not in "iufc":
        raise InputTypeError(f"{name} holds {array.dtype} values; numbers are wanted")
    return array


def _finite(name: str, array: np.ndarray, dimensions: int) -> np.ndarray:
    if array.ndim != dimensions:
        raise InputValueError(f"{name} has shape {array.shape}; {dimensions} "
                              f"dimension{'s are' if dimensions > 1 else ' is'} wanted")
    wrong = np.argwhere(~np.isfinite(array))
    if wrong.size:
        at = ", ".join(str(index) for index in wrong[0])
        raise InputValueError(f"{name}[{at}] is not a finite number; leave out samples without a "
                              "value")
    return array


def as_times(t: Any) -> np.ndarray:
    """The sample times: rising from 0 or above."""
    times = real_array("t", t)
    if times.size < 2:
        raise InputValueError(f"t has {times.size} element{'' if times.size == 1 else 's'}; a "
                              "decay wants 2 samples at least")
    if times[0] < 0.0:
        raise InputValueError(f"t[0] is {times[0]:g}; times are 0 or above")
    falls = np.nonzero(np.diff(times) <= 0.0)[0]
    if falls.size:
        at = int(falls[0]) + 1
        raise InputValueError(f"t[{at}] is {times[at]:g} and does not rise above t[{at - 1}], "
                              f"{times[at - 1]:g}; sort the samples by time, each time once")
    if times[-1] > _LONGEST:
        raise InputValueError(f"t[{times.size - 1}] is {times[-1]:g}; times are {_LONGEST:g} at "
                              "most")
    return times


def as_decay(t: Any, y: Any, kernel: str = "t2") -> Decay:
    """Times and samples, complex ones turned to the real channel."""
    times = as_times(t)
    numbers = _numbers("y", y)
    if numbers.dtype.kind == "c":
        samples = _finite("y", numbers.astype(complex), 1)
    else:
        samples = _finite("y", numbers.astype(float), 1)
    if samples.size != times.size:
        raise InputValueError(f"y has {samples.size} samples and t has {times.size}; each sample "
                              "wants its time")
    if not np.any(samples):
        raise InputValueError("y is 0 everywhere; a decay has a signal")
    if not np.iscomplexobj(samples):
        return Decay(times, samples)
    angle, turned = _turned(samples, kernel)
    return Decay(times, turned.real.copy(), turned.imag.copy(), angle)


def _turned(z: np.ndarray, kernel: str) -> Tuple[float, np.ndarray]:
    """Turns samples by the phase that makes the sum of squares of the imaginary channel least.

    That is half the argument of the sum of z^2, up to half a turn. The sum of the real
    channel decides: it comes out positive; for an inversion recovery, its last sample.
    """
    scaled = z / np.max(np.abs(z))
    angle = 0.5 * float(np.angle(np.sum(scaled * scaled)))
    turned = z * np.exp(-1j * angle)
    sign = turned.real[-1] if kernel == "t1-inversion" else np.sum(turned.real)
    if sign < 0.0:
        turned = -turned
        angle += -np.pi if angle > 0.0 else np.pi
    return angle, turned


def kernel_and_grid(kernel: Union[str, Any], t: np.ndarray,
                    grid: Any) -> Tuple[Kernel, np.ndarray, np.ndarray]:
    """The kernel's description, its matrix (nf, ng) and the grid (ng)."""
    if isinstance(kernel, str) or np.ndim(kernel) == 0:
        described = named_kernel(kernel)
        values = default_grid(t, described.name) if grid is None else as_grid(grid)
        return described, kernel_matrix(described.name, t, values), values
    matrix = real_array("kernel", kernel, dimensions=2)
    if grid is None:
        raise InputValueError("grid is missing; a kernel of your own wants the values that its "
                              "columns stand for")
    values = as_grid(grid)
    if matrix.shape != (t.size, values.size):
        raise InputValueError(f"kernel has shape {matrix.shape}; ({t.size}, {values.size}) is "
                              "wanted, a row for each sample and a column for each grid value")
    if np.max(np.abs(matrix)) > np.finfo(np.float32).max:
        raise InputValueError("kernel holds values beyond single precision; scale it")
    return OWN, matrix, values


def skipped(count: Any, samples: int) -> int:
    """How many samples at the start are left out."""
    whole = checks.number("skip", count, "i")
    if not 0 <= whole <= samples - 2:
        raise InputValueError(f"skip is {whole}; a whole number from 0 to {samples - 2} is wanted, "
                              "so that 2 samples stay")
    return whole
