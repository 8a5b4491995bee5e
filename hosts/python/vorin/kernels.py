"""The matrices of the kernels, and the words for them in pictures."""

from __future__ import annotations

from dataclasses import dataclass
from typing import Any, Dict

import numpy as np

from .data import real_array
from .toolkit import address, call


@dataclass(frozen=True)
class Kernel:
    """The names of a kernel and of its axes."""

    name: str
    formula: str
    symbol: str  #: of what the grid holds
    quantity: str  #: the same in words
    abscissa: str  #: what the data are sampled at, in words
    units: tuple  #: (name, size) pairs of the abscissa, the greatest first
    grid_units: tuple  #: the same of the grid


_TIME_UNITS = (("s", 1.0), ("ms", 1e-3), ("us", 1e-6))


def _relaxation(name: str, formula: str, symbol: str) -> Kernel:
    return Kernel(name, formula, symbol, "relaxation time", "time", _TIME_UNITS, _TIME_UNITS)


KERNELS: Dict[str, Kernel] = {
    kernel.name: kernel
    for kernel in (
        _relaxation("t2", "exp(-t/T2)", "T2"),
        _relaxation("t1-saturation", "1 - exp(-t/T1)", "T1"),
        _relaxation("t1-inversion", "1 - 2 exp(-t/T1)", "T1"),
        Kernel("diffusion", "exp(-b D)", "D", "diffusion coefficient", "b",
               (("s/m²", 1.0),), (("m²/s", 1.0),)),
    )
}

#: What stands for a matrix that the caller made.
OWN = Kernel("own", "the caller's own", "g", "grid value", "abscissa", (("", 1.0),),
             (("", 1.0),))


def kernel_matrix(kernel: str, t: Any, grid: Any) -> np.ndarray:
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
    times, values = real_array("t", t), real_array("grid", grid)
    matrix = np.empty((times.size, values.size))
    call("vorin_kernel_matrix", str(kernel).encode(), address(times), times.size, address(values),
         values.size, address(matrix))
    return matrix
