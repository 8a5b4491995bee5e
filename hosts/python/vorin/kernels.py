"""The matrices of the kernels."""

from __future__ import annotations

from typing import Any

import numpy as np

from .arrays import FloatArray
from .data import real_array
from .toolkit import address, call


def kernel_matrix(kernel: str, t: Any, grid: Any) -> FloatArray:
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

    Examples
    --------
    >>> vorin.kernel_matrix("t2", [0.0, 1.0], [1.0, 2.0]).round(4).tolist()
    [[1.0, 1.0], [0.3679, 0.6065]]
    """
    times, values = real_array("t", t), real_array("grid", grid)
    matrix = np.empty((times.size, values.size))
    call("vorin_kernel_matrix", str(kernel).encode(), address(times), times.size, address(values),
         values.size, address(matrix))
    return matrix
