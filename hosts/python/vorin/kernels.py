"""The curves that one relaxation time, or one diffusion coefficient, leaves."""

from __future__ import annotations

from dataclasses import dataclass
from typing import Callable, Dict, Union

import numpy as np

from .errors import InputTypeError, InputValueError


@dataclass(frozen=True)
class Kernel:
    """A kernel with the names that a report and a picture need."""

    name: str
    formula: str
    symbol: str  #: of what the grid holds
    quantity: str  #: the same in words
    abscissa: str  #: what the data are sampled at, in words
    units: tuple  #: (name, size) pairs of the abscissa, the greatest first
    grid_units: tuple  #: the same of the grid
    curve: Callable[[np.ndarray, np.ndarray], np.ndarray]


_TIME_UNITS = (("s", 1.0), ("ms", 1e-3), ("us", 1e-6))


def _decay(t: np.ndarray, T: np.ndarray) -> np.ndarray:
    return np.exp(-t / T)


# expm1 keeps all places where t is much shorter than T.
def _saturation(t: np.ndarray, T: np.ndarray) -> np.ndarray:
    return -np.expm1(-t / T)


def _inversion(t: np.ndarray, T: np.ndarray) -> np.ndarray:
    return -2.0 * np.expm1(-t / T) - 1.0


def _diffusion(b: np.ndarray, D: np.ndarray) -> np.ndarray:
    return np.exp(-b * D)


def _relaxation(name: str, formula: str, symbol: str, curve: Callable) -> Kernel:
    return Kernel(name, formula, symbol, "relaxation time", "time", _TIME_UNITS, _TIME_UNITS, curve)


KERNELS: Dict[str, Kernel] = {
    kernel.name: kernel
    for kernel in (
        _relaxation("t2", "exp(-t/T2)", "T2", _decay),
        _relaxation("t1-saturation", "1 - exp(-t/T1)", "T1", _saturation),
        _relaxation("t1-inversion", "1 - 2 exp(-t/T1)", "T1", _inversion),
        Kernel("diffusion", "exp(-b D)", "D", "diffusion coefficient", "b",
               (("s/m²", 1.0),), (("m²/s", 1.0),), _diffusion),
    )
}

#: What stands for a matrix that the caller made.
OWN = Kernel("own", "the caller's own", "g", "grid value", "abscissa", (("", 1.0),),
             (("", 1.0),), _decay)


def named_kernel(name: object) -> Kernel:
    """The kernel of that name."""
    if not isinstance(name, str):
        raise InputTypeError(f"kernel is of type {type(name).__name__}; a name or a numpy array of "
                             "samples by grid values is wanted")
    if name not in KERNELS:
        raise InputValueError(f"kernel {name!r}: there is no such kernel; write "
                              f"{', '.join(list(KERNELS)[:-1])} or {list(KERNELS)[-1]}, or give a "
                              "matrix of your own")
    return KERNELS[name]


def kernel_matrix(kernel: str, t: np.ndarray, grid: np.ndarray) -> np.ndarray:
    """The matrix of a named kernel.

    Parameters
    ----------
    kernel : {"t2", "t1-saturation", "t1-inversion", "diffusion"}
    t : array of shape (nf,)
        Sample times in s, or b-values in s/m^2.
    grid : array of shape (ng,)
        Relaxation times in s, or diffusion coefficients in m^2/s.

    Returns
    -------
    numpy.ndarray of shape (nf, ng), float64
    """
    abscissa = np.asarray(t, dtype=float)[:, np.newaxis]
    return named_kernel(kernel).curve(abscissa, np.asarray(grid, dtype=float)[np.newaxis, :])


KernelArgument = Union[str, np.ndarray]
