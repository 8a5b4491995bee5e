"""Inverting two-dimensional data: T1-T2, T2-T2 and D-T2 maps."""

from __future__ import annotations

import math
from dataclasses import asdict, dataclass, field
from typing import (TYPE_CHECKING, Any, Callable, Dict, List, Optional, Sequence, Tuple, cast,
                    overload)

import numpy as np

from . import checks, labelled
from .arrays import FloatArray, equal_fields, fields_hash
from .bootstrapping import _whole_seed
from .data import real_array
from .display import map_html
from .errors import InputValueError
from .grids import as_grid
from .options import _text_or_number
from .tables import map_dataset, map_frame
from .toolkit import Fields, Settings, address, call, job, named, watched_job
from .two_dimensional_input import RepeatableInversion2D, axes_of, pair_of, samples_of

if TYPE_CHECKING:
    from matplotlib.axes import Axes
    from matplotlib.figure import Figure

Interval = Tuple[float, float]
_WHOLE: Interval = (1e-300, 1e299)

#: The relaxation time of each kernel that has one.
SYMBOLS = {"t2": "T2", "t1-saturation": "T1", "t1-inversion": "T1"}


@dataclass(frozen=True)
class Peak2D:
    """A maximum of a map and the cells that belong to it."""

    position1: float  #: on the first axis, in the unit of its grid, between grid values
    position2: float  #: on the second
    share: float  #: of the total, 0 to 1
    log_mean1: float  #: over its cells
    log_mean2: float
    width1: float  #: standard deviation of log10 over its cells, in decades
    width2: float
    at_grid_end: bool  #: the maximum lies on an edge of the map
    ratio: Optional[float] = None  #: position1 / position2 where both axes are times

    def to_dict(self) -> Dict[str, Any]:
        """The fields by name; without the ratio where there is none."""
        values = asdict(self)
        if self.ratio is None:
            del values["ratio"]
        return values


class Peaks2D(List[Peak2D]):
    """The peaks of a map, the largest share first. Called, it lists them by another limit."""

    def __init__(self, peaks: Sequence[Peak2D], again: Callable[[float], Sequence[Peak2D]]):
        super().__init__(peaks)
        self._again = again

    def __call__(self, smallest_share: float = 0.005) -> List[Peak2D]:
        """The peaks whose share of the total is not below ``smallest_share``."""
        return list(self._again(smallest_share))


@dataclass(frozen=True)
class Spread2D:
    """The middle 68 % of the replicates for one peak or region."""

    share: Interval
    log_mean1: Interval
    log_mean2: Interval


@dataclass(frozen=True)
class Bootstrap2D:
    """What :meth:`Result2D.bootstrap` gives."""

    replicates: int  #: that were inverted with success
    peaks: List[Spread2D]  #: in the order of :attr:`Result2D.peaks`
    regions: List[Spread2D]  #: in the order in which they were asked for


_NUMBERS = ("status", "success", "weight", "noise", "wanted_standard_error", "standard_error",
            "closest_standard_error", "rows", "duality_gap", "iterations", "passes", "phase",
            "total", "log_mean1", "log_mean2")
_COUNTS = ("status", "rows", "iterations", "passes")
_TEXTS = ("weight_origin", "noise_origin", "status_text")


@dataclass(frozen=True, repr=False, eq=False)
class Result2D:
    """The outcome of :func:`vorin.invert2d`. Amplitudes and errors are in the unit of the data.

    Attributes
    ----------
    t1 : numpy.ndarray of shape (n1,)
    t2 : numpy.ndarray of shape (n2,)
        The axes of the data.
    D : numpy.ndarray of shape (n1, n2)
        The samples that were inverted; complex data turned.
    grid1 : numpy.ndarray of shape (g1,)
    grid2 : numpy.ndarray of shape (g2,)
        The axes of the map: relaxation times in s, diffusion coefficients in m^2/s.
    distribution : numpy.ndarray of shape (g1, g2)
        The map: the amplitude at each pair of grid values, nowhere negative.
    projection1, projection2 : numpy.ndarray
        Its sums over the other axis, of shape (g1,) and (g2,).
    kernels : (str, str)
        The kernels' names; "own" for a matrix of the caller's.
    status : int
        0 success, 1 the iteration ended before the map was optimal, 2 no weight reaches the
        aim, 3 the best map is 0 everywhere.
    status_text : str
        The same in words.
    success : bool
    weight : float
        The w of 1/2 \\|K1 F K2' - D\\|^2 + w/2 \\|F\\|^2.
    weight_origin : {"noise", "corner", "given"}
    noise : float
        Standard deviation of a sample; nan when there is no estimate and none was needed.
    noise_origin : {"projection", "quadrature", "given", ""}
    wanted_standard_error, standard_error, closest_standard_error : float
        Root mean square of the residual of the compressed rows: the aim of the search, what
        the map has, and the least that any map reaches. The first and the last are nan
        unless the weight was searched by the noise.
    rows : int
        Compressed rows of the search.
    duality_gap : float
        How far the map is from the minimum at most, as a part of the minimum.
    iterations, passes : int
        Weights looked at, and Newton steps.
    phase : float or None
        The angle in radians by which complex data were turned.
    total, log_mean1, log_mean2 : float
    peaks : list of Peak2D
        The largest share first; ``peaks(smallest_share)`` lists those above another limit.
    """

    t1: FloatArray
    t2: FloatArray
    D: FloatArray
    grid1: FloatArray
    grid2: FloatArray
    distribution: FloatArray
    projection1: FloatArray
    projection2: FloatArray
    kernels: Tuple[str, str]
    status: int
    status_text: str
    success: bool
    weight: float
    weight_origin: str
    noise: float
    noise_origin: str
    wanted_standard_error: float
    standard_error: float
    closest_standard_error: float
    rows: int
    duality_gap: float
    iterations: int
    passes: int
    phase: Optional[float]
    total: float
    log_mean1: float
    log_mean2: float
    _fields: Optional[Fields] = field(repr=False)  # none after a way through pickle
    _again: RepeatableInversion2D = field(repr=False)

    @classmethod
    def _of(cls, fields: Fields, again: RepeatableInversion2D) -> "Result2D":
        values: Dict[str, Any] = dict(zip(_NUMBERS, fields.numbers(*_NUMBERS)))
        values.update({name: int(values[name]) for name in _COUNTS})
        values.update({name: fields.text(name) for name in _TEXTS})
        values["success"] = values["success"] == 1.0
        values["phase"] = None if math.isnan(values["phase"]) else values["phase"]
        grids = {name: fields.array(name) for name in ("grid1", "grid2")}
        shape = (grids["grid1"].size, grids["grid2"].size)
        values.update(grids)
        return cls(**values, t1=again.t1, t2=again.t2,
                   D=fields.array("samples").reshape(again.t1.size, again.t2.size),
                   distribution=fields.array("distribution").reshape(shape),
                   projection1=fields.array("projection1"),
                   projection2=fields.array("projection2"),
                   kernels=(fields.text("kernel1"), fields.text("kernel2")),
                   _fields=fields, _again=again)

    def __getstate__(self) -> Dict[str, Any]:
        # The toolkit's result stays in its process; what needs it elsewhere inverts again.
        return {**self.__dict__, "_fields": None}

    def __setstate__(self, state: Dict[str, Any]) -> None:
        self.__dict__.update(state)

    def _inverted(self) -> Fields:
        if self._fields is None:
            self.__dict__["_fields"] = self._again.run(None)
        return cast(Fields, self._fields)

    def __repr__(self) -> str:
        return (f"<vorin.Result2D {self.kernels[0]}, {self.kernels[1]}, {self.t1.size} x "
                f"{self.t2.size} samples, {self.grid1.size} x {self.grid2.size} map: weight "
                f"{self.weight:.4g}, {self.status_text}>")

    def _repr_html_(self) -> str:
        """Both projections and a table, which a notebook shows for the name of a result."""
        return map_html(self)

    def __eq__(self, other: object) -> bool:
        return isinstance(other, Result2D) and equal_fields(self, other)

    def __hash__(self) -> int:
        return fields_hash(self)

    @property
    def both_are_times(self) -> bool:
        """True where the ratio of positions is one of relaxation times."""
        return all(name in SYMBOLS for name in self.kernels)

    @property
    def fit(self) -> FloatArray:
        """K1 F K2', of shape (n1, n2)."""
        values = np.empty((self.t1.size, self.t2.size))
        call("vorin_fit2d", self._inverted().raw, address(values))
        return values

    @property
    def residual(self) -> FloatArray:
        """D - fit, of shape (n1, n2)."""
        return self.D - self.fit

    @property
    def peaks(self) -> Peaks2D:
        """The peaks, the largest share first."""
        return Peaks2D(self._peaks(0.005), self._peaks)

    def _peaks(self, smallest_share: float) -> List[Peak2D]:
        fields = job("vorin_measures2d", *self._map(), float(smallest_share))
        names = ("position1", "position2", "share", "log_mean1", "log_mean2", "width1", "width2",
                 "at_grid_end")
        columns = [fields.array(f"peak_{name}").tolist() for name in names]
        return [Peak2D(**dict(zip(names[:-1], row)), at_grid_end=bool(row[-1]),
                       ratio=row[0] / row[1] if self.both_are_times else None)
                for row in zip(*columns)]

    def _map(self) -> Tuple[Any, ...]:
        map_ = np.ascontiguousarray(self.distribution)
        return (address(self.grid1), self.grid1.size, address(self.grid2), self.grid2.size,
                address(map_))

    def share(self, t1: Optional[Interval] = None, t2: Optional[Interval] = None) -> float:
        """The part of the total that lies in a rectangle, 0 to 1.

        Cells at an edge count by their part inside, so that the share does not jump with
        the rectangle.

        Parameters
        ----------
        t1, t2 : (float, float), optional
            From and to on the first and on the second axis, in the unit of its grid; the
            whole axis without it.

        Returns
        -------
        float
            nan for a map that is 0 everywhere.
        """
        region = _region("t1", t1) + _region("t2", t2)
        share = np.empty(1)
        corners = np.array(region)
        call("vorin_share2d", *self._map(), address(corners), address(share))
        return float(share[0])

    def bootstrap(self, n: int = 200, seed: int = 1, *,
                  regions: Sequence[Tuple[Interval, Interval]] = (),
                  progress: Optional[Callable[[int], None]] = None) -> Bootstrap2D:
        """How far peaks and regions are to be trusted.

        A replicate is the fit plus residuals of single samples, drawn with replacement from
        the inversion's own, inverted at its weight [1]_. A peak's cells are those of the
        inversion in every replicate. The intervals show what the noise does, not what the
        penalty has moved.

        Parameters
        ----------
        n : int
            Count of replicates, 20 to 100000.
        seed : int
            0 or above. One seed gives the replicates of the command.
        regions : sequence of ((from, to), (from, to))
            Rectangles, a pair for each axis, to be told besides the peaks.
        progress : callable, optional
            Called with the count of replicates done. What it raises ends the bootstrap.

        Returns
        -------
        Bootstrap2D

        References
        ----------
        .. [1] B. Efron, Bootstrap methods: another look at the jackknife, Ann. Stat. 7
           (1979) 1.
        """
        settings = Settings(replicates=str(checks.number("n", n, "i")),
                            seed=str(_whole_seed(seed)))
        rows = np.array([_rectangle(index, region) for index, region in enumerate(regions)],
                        dtype=float).reshape(-1, 4)
        told = None if progress is None else lambda done, _total: progress(done)
        with named("replicates", "n"):
            fields = watched_job("vorin_bootstrap2d", told, self._inverted().raw, settings.raw,
                                 address(rows), len(rows))
        return Bootstrap2D(int(fields.number("replicates")), _spreads(fields, "peak"),
                           _spreads(fields, "region"))

    @overload
    def plot(self, path: Any = None, *, title: Optional[str] = None,
             ax: None = None) -> "Figure": ...

    @overload
    def plot(self, path: Any = None, *, title: Optional[str] = None, ax: "Axes") -> "Axes": ...

    def plot(self, path: Any = None, *, title: Optional[str] = None, ax: Any = None) -> Any:
        """Draws the map with both projections; see :func:`vorin.plot2d`.

        Parameters
        ----------
        path, title, ax
            As of :func:`vorin.plot2d`.

        Returns
        -------
        matplotlib.figure.Figure or matplotlib.axes.Axes
        """
        from .two_dimensional_plot import plot2d  # so that matplotlib is needed for pictures only

        return plot2d(self, path, title=title, ax=ax)

    def to_dataframe(self) -> Any:
        """The map as a table.

        Returns
        -------
        pandas.DataFrame
            A row for each value of ``grid1``, a column for each of ``grid2``.
        """
        return map_frame(self)

    def to_xarray(self) -> Any:
        """Samples, fit and map with the measures as attributes.

        Returns
        -------
        xarray.Dataset
        """
        return map_dataset(self)

    def to_dict(self) -> Dict[str, Any]:
        """Everything as plain numbers, texts and lists, for ``json.dumps``.

        The names are those of the command's JSON output; what is not a number is None.
        """
        numbers = ("weight", "noise", "wanted_standard_error", "standard_error",
                   "closest_standard_error", "duality_gap", "total", "log_mean1", "log_mean2")
        return {
            "kernels": list(self.kernels),
            "status": self.status,
            "status_text": self.status_text,
            "success": self.success,
            **{name: _finite(getattr(self, name)) for name in numbers},
            "weight_origin": self.weight_origin,
            "noise_origin": self.noise_origin or None,
            "rows": self.rows,
            "iterations": self.iterations,
            "passes": self.passes,
            "phase": None if self.phase is None else math.degrees(self.phase),
            "peaks": [peak.to_dict() for peak in self.peaks],
            "grid1": self.grid1.tolist(),
            "grid2": self.grid2.tolist(),
            "projection1": self.projection1.tolist(),
            "projection2": self.projection2.tolist(),
            "distribution": self.distribution.tolist(),
        }


def invert2d(
    t1: Any,
    t2: Any = None,
    D: Any = None,
    *,
    kernels: Any = ("t1-inversion", "t2"),
    grid1: Any = None,
    grid2: Any = None,
    weight: Any = "noise",
    noise: Any = None,
    progress: Optional[Callable[[float], None]] = None,
) -> Result2D:
    """Turns the matrix of a T1-T2, T2-T2 or D-T2 experiment into a map.

    Finds the F >= 0 that minimises 1/2 \\|K1 F K2' - D\\|^2 + w/2 \\|F\\|^2, on the factors of
    both kernels [1]_. Calls from several threads run side by side.

    Parameters
    ----------
    t1 : array_like of shape (n1,)
        The first axis, that of the rows: recovery times or times of a first echo train in s,
        b-values in s/m^2; rising from 0 or above. Without ``t2`` and ``D`` the data themselves:
        what :func:`vorin.read2d` or :func:`vorin.simulate2d` returned, a pandas DataFrame whose
        index and columns are the axes, or an xarray DataArray of two dimensions whose coordinates
        are, in the units that their attributes ``units`` name.
    t2 : array_like of shape (n2,), optional
        The second axis, that of the columns.
    D : array_like of shape (n1, n2), optional
        Samples in any unit. Complex ones are turned by the constant phase that makes the
        sum of squares of the imaginary channel least, and the real channel is inverted.
    kernels : (first, second) or "FIRST,SECOND"
        Each one of "t1-inversion", "t1-saturation", "t2", "diffusion", or an array of shape
        (n1, g1) or (n2, g2) whose columns belong to the axis's grid.
    grid1, grid2 : array_like or (from, to, n), optional
        The axes of the map: relaxation times in s, diffusion coefficients in m^2/s. Three
        numbers mean n values evenly spaced in the logarithm. Without it: 64 values where the
        data have signal, at most from the first time above 0 to three times the last (for
        "diffusion" the reciprocals).
    weight : {"noise", "corner"} or float
        "noise" takes the w at which the sum of squares is 14 noise variances above the least
        that a map reaches, "corner" that of the corner of the L-curve, a number is w itself.
    noise : float or {"projection", "quadrature"}, optional
        Standard deviation of a sample, or how to find it: from what the compression leaves
        out (the default), or from the imaginary channel.
    progress : callable, optional
        Called now and then with the part done, 0 to 1. What it raises ends the inversion.

    Returns
    -------
    Result2D

    Raises
    ------
    InputValueError, InputTypeError
        For arguments that can't be used; they are a ValueError and a TypeError.
    LibraryNotFound
        When there is no shared library; see :func:`vorin.find_toolkit`.

    References
    ----------
    .. [1] L. Venkataramanan, Y.-Q. Song, M. D. Huerlimann, Solving Fredholm integrals of the
       first kind with tensor product structure in 2 and 2.5 dimensions, IEEE Trans. Signal
       Process. 50 (2002) 1017.
    """
    t1, t2, D = labelled.triple(t1, t2, D)
    options = {"kernels": pair_of(kernels), "grid1": None if grid1 is None else as_grid(grid1),
               "grid2": None if grid2 is None else as_grid(grid2),
               "weight": _text_or_number("weight", weight, "\"noise\", \"corner\" or a number"),
               "noise": None if noise is None else _text_or_number(
                   "noise", noise, "a number, \"projection\" or \"quadrature\"")}
    again = RepeatableInversion2D(options, *axes_of(t1, t2), *samples_of(t1, t2, D))
    return Result2D._of(again.run(progress), again)


def _region(name: str, interval: Optional[Interval]) -> Interval:
    if interval is None:
        return _WHOLE
    ends = real_array(name, interval)
    if ends.size != 2 or not 0.0 < ends[0] < ends[1]:
        raise InputValueError(f"{name} is {interval!r}; the two ends of a range that rises from "
                              "above 0 are needed")
    return float(ends[0]), float(ends[1])


def _rectangle(index: int, region: Any) -> Tuple[float, ...]:
    if not isinstance(region, (tuple, list)) or len(region) != 2:
        raise InputValueError(f"regions[{index}] is {region!r}; two pairs are needed, such as "
                              "((0.1, 1), (0.01, 0.1))")
    return (_region(f"the first axis of regions[{index}]", region[0])
            + _region(f"the second axis of regions[{index}]", region[1]))


def _spreads(fields: Fields, of: str) -> List[Spread2D]:
    limits = {name: list(zip(fields.array(f"{of}_{name}_lower").tolist(),
                             fields.array(f"{of}_{name}_upper").tolist()))
              for name in ("share", "log_mean1", "log_mean2")}
    return [Spread2D(*row) for row in zip(*limits.values())]


def _finite(value: float) -> Optional[float]:
    return float(value) if math.isfinite(value) else None
