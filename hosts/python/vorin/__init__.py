"""Vorin: from a measured decay to a distribution of relaxation times.

>>> result = vorin.invert(t, y)          # doctest: +SKIP
>>> result.log_mean, result.peaks()      # doctest: +SKIP
>>> result.plot("decay.png")             # doctest: +SKIP
"""

from .bootstrapping import Bootstrap, bootstrap
from .errors import InputTypeError, InputValueError, LibraryNotFound, VorinError
from .grids import default_grid, log_grid
from .inversion import invert, invert_many
from .kernels import kernel_matrix
from .library import Library
from .loading import find_library, find_toolkit
from .measures import Peak, log_mean, peaks
from .noise import difference_noise
from .plotting import plot
from .reading import read
from .result import Result
from .simulation import Simulation, simulate

__all__ = [
    "Bootstrap", "InputTypeError", "InputValueError", "Library", "LibraryNotFound", "Peak",
    "Result", "Simulation", "VorinError", "bootstrap", "default_grid", "difference_noise",
    "find_library", "find_toolkit", "invert", "invert_many", "kernel_matrix", "log_grid",
    "log_mean", "peaks", "plot", "read", "simulate",
]
__version__ = "10.56"
