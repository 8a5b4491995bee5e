"""Vorin: from a measured decay to a distribution of relaxation times.

>>> decay = vorin.simulate(seed=1)            # or t, y = vorin.read("decay.csv")
>>> result = vorin.invert(decay.t, decay.y)
>>> f"{1e3 * result.log_mean:.0f} ms, {len(result.peaks(0.05))} peaks"
'43 ms, 2 peaks'
>>> figure = result.plot("decay.png")
"""

from .bootstrapping import Bootstrap, bootstrap
from .errors import InputTypeError, InputValueError, LibraryNotFound, VorinError
from .grids import default_grid, log_grid
from .inversion import invert, invert_many
from .kernels import kernel_matrix
from .lcurves import LCurve, lcurve
from .library import Library
from .loading import find_library, find_toolkit
from .map_result import MapResult
from .maps import invert_map
from .measures import Part, Peak, Percentile, log_mean, peaks
from .noise import difference_noise
from .plotting import plot
from .reading import ReadDecay, read, read_all
from .result import Result
from .simulation import Simulation, simulate
from .tables import to_dataframe, to_xarray
from .two_dimensional import Bootstrap2D, Peak2D, Result2D, Spread2D, invert2d
from .two_dimensional_data import Data2D, Simulation2D, read2d, simulate2d
from .two_dimensional_plot import plot2d

__all__ = [
    "Bootstrap", "Bootstrap2D", "Data2D", "InputTypeError", "InputValueError", "LCurve", "Library",
    "LibraryNotFound", "MapResult", "Part", "Peak", "Peak2D", "Percentile", "ReadDecay", "Result",
    "Result2D", "Simulation", "Simulation2D", "Spread2D", "VorinError", "bootstrap", "default_grid",
    "difference_noise", "find_library", "find_toolkit", "invert", "invert2d", "invert_many",
    "invert_map", "kernel_matrix", "lcurve", "log_grid", "log_mean", "peaks", "plot", "plot2d",
    "read", "read2d", "read_all", "simulate", "simulate2d", "to_dataframe", "to_xarray",
]
__version__ = "10.56"
