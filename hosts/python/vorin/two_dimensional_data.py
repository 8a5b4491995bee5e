"""Two-dimensional data from files, and computed ones with known truth."""

from __future__ import annotations

import os
from typing import Any, NamedTuple, Optional, Sequence, Tuple, Union

import numpy as np

from . import checks
from .arrays import FloatArray, equal_tuples
from .data import real_array
from .errors import InputTypeError, InputValueError
from .grids import as_grid
from .simulation import _sigma
from .toolkit import Settings, address, job, named
from .two_dimensional_input import axes_of, pair_of, set_kernels

PathLike = Union[str, "os.PathLike[str]"]


class Data2D(NamedTuple):
    """The samples of a two-dimensional experiment."""

    t1: FloatArray  #: first axis, of shape (n1,)
    t2: FloatArray  #: second axis, of shape (n2,)
    D: FloatArray  #: samples, of shape (n1, n2); complex where there are two channels

    def __eq__(self, other: object) -> bool:
        return equal_tuples(self, other)

    def __ne__(self, other: object) -> bool:
        return not equal_tuples(self, other)


class Simulation2D(NamedTuple):
    """Computed two-dimensional data and their truth."""

    t1: FloatArray  #: first axis, of shape (n1,)
    t2: FloatArray  #: second axis, of shape (n2,)
    D: FloatArray  #: samples, of shape (n1, n2)
    grid1: FloatArray  #: first axis of the truth, of shape (g1,)
    grid2: FloatArray  #: second axis of the truth, of shape (g2,)
    distribution: FloatArray  #: true amplitudes, of shape (g1, g2)
    noise: float  #: standard deviation of the noise

    def __eq__(self, other: object) -> bool:
        return equal_tuples(self, other)

    def __ne__(self, other: object) -> bool:
        return not equal_tuples(self, other)


def read2d(path: PathLike, *, kernels: Any = ("t1-inversion", "t2"),
           times1: Optional[PathLike] = None, times2: Optional[PathLike] = None,
           time_unit1: Optional[str] = None, time_unit2: Optional[str] = None,
           imaginary: Optional[PathLike] = None) -> Data2D:
    """The samples in a file, as the command ``vorin invert2d`` reads them.

    Parameters
    ----------
    path : path-like
        A matrix of text whose first row holds the times of the second axis and whose first
        column those of the first; a plain matrix, with ``times1`` and ``times2``; either as
        an array of numpy's (.npy); or the T1IRT2.dat of a Spinsolve, or its folder.
    kernels : (first, second)
        "diffusion" where an axis holds b-values.
    times1, times2 : path-like, optional
        Files with the times of rows and columns of a plain matrix.
    time_unit1, time_unit2 : str, optional
        "s", "ms", "us" or "ns"; for diffusion "s/m2", "s/cm2", "s/mm2" or "ms/um2".
    imaginary : path-like, optional
        The imaginary channel, a matrix of the same form.

    Returns
    -------
    Data2D
        ``vorin.invert2d(vorin.read2d("data.csv"))`` inverts it.

    Raises
    ------
    InputValueError
        With file and line, for what can't be read.
    """
    settings = Settings(time_unit1=time_unit1, time_unit2=time_unit2)
    set_kernels(settings, pair_of(kernels))
    for name, file in (("times1", times1), ("times2", times2), ("imaginary", imaginary)):
        if file is not None:
            settings.set(name, os.fsdecode(_file(name, file)))
    fields = job("vorin_read2d", os.fsencode(_file("path", path)), settings.raw)
    t1, t2 = fields.array("times1"), fields.array("times2")
    D = fields.array("samples")
    try:
        D = D + 1j * fields.array("imaginary")
    except KeyError:
        pass
    return Data2D(t1, t2, D.reshape(t1.size, t2.size))


def simulate2d(t1: Any, t2: Any, peaks: Sequence[Tuple[float, float, float, float]], *,
               kernels: Any = ("t1-inversion", "t2"), noise: float = 0.5, seed: int = 1,
               grid1: Any = None, grid2: Any = None) -> Simulation2D:
    """Makes two-dimensional data: peaks normal in both logarithms, put through the kernels.

    Parameters
    ----------
    t1, t2 : array_like of shape (n1,) and (n2,)
        The axes, in s or, for "diffusion", b-values in s/m^2.
    peaks : sequence of (position1, position2, width, amplitude)
        Centres in s (m^2/s for "diffusion"), standard deviation in decades, total.
    kernels : (first, second)
        Names, as of :func:`vorin.invert2d`.
    noise : float
        Standard deviation of the normal noise, 0 or above, in the unit of the amplitudes.
    seed : int
        Of the noise, the same on every machine. ``vorin simulate2d`` draws the same.
    grid1, grid2 : array_like or (from, to, n), optional
        On which the peaks stand; 100 values without it.

    Returns
    -------
    Simulation2D
    """
    settings = Settings(sigma=_sigma(noise), seed=str(checks.number("seed", seed, "i")))
    set_kernels(settings, pair_of(kernels))
    for name, grid in (("grid1", grid1), ("grid2", grid2)):
        if grid is not None:
            settings.set(name, as_grid(grid))
    first, second = axes_of(t1, t2)
    rows = np.array([_peak(index, peak) for index, peak in enumerate(peaks)],
                    dtype=float).reshape(-1, 4)
    with named("sigma", "noise"):
        fields = job("vorin_simulate2d", settings.raw, address(first), first.size,
                     address(second), second.size, address(rows), len(rows))
    axes = fields.array("grid1"), fields.array("grid2")
    return Simulation2D(first, second, fields.array("samples").reshape(first.size, second.size),
                        *axes, fields.array("distribution").reshape(axes[0].size, axes[1].size),
                        float(noise))


def _file(name: str, path: Any) -> Union[str, bytes]:
    try:
        found: Union[str, bytes] = os.fspath(path)
    except TypeError:
        raise InputTypeError(f"{name} is of type {type(path).__name__}; the name of a file is "
                             "needed") from None
    return found


def _peak(index: int, peak: Any) -> FloatArray:
    row = real_array(f"peaks[{index}]", peak)
    if row.size != 4:
        raise InputValueError(f"peaks[{index}] is {peak!r}; two positions, width in decades and "
                              "amplitude, all above 0, are needed")
    return row
