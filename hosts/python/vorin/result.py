"""What an inversion gives back."""

from __future__ import annotations

import math
from dataclasses import dataclass, field
from typing import TYPE_CHECKING, Any, Callable, Dict, List, Optional, Tuple, cast, overload

import numpy as np

from . import measures
from .arrays import FloatArray, IndexArray, equal_fields, fields_hash
from .bootstrapping import Bootstrap, bootstrap
from .display import result_html
from .measures import Part, Peak, Percentile
from .reports import write_report
from .tables import dataset, distribution_frame
from .toolkit import Fields

if TYPE_CHECKING:
    from matplotlib.axes import Axes
    from matplotlib.figure import Figure

    from .lcurves import LCurve


_NUMBERS = ("status", "success", "weight", "noise", "signal_to_noise", "wanted_standard_error",
            "standard_error", "fit_error", "iterations", "passes", "relaxed_target",
            "corner_weight",
            "phase", "noise_spread", "offset", "efficiency", "flip", "total", "log_mean", "mean")
_COUNTS = ("status", "iterations", "passes")
_OPTIONAL = ("phase", "offset", "efficiency", "flip")  # None where the toolkit has not-a-number
_TEXTS = ("kernel", "weight_origin", "noise_origin", "status_text", "finding", "finding_text",
          "amplitude_unit")


@dataclass(frozen=True, repr=False, eq=False)
class Result:
    """The outcome of :func:`vorin.invert`. Amplitudes and errors are in the unit of the data.

    Attributes
    ----------
    t, y : numpy.ndarray of shape (nf,)
        The samples that were inverted: without the skipped ones, complex data turned.
    grid : numpy.ndarray of shape (ng,)
        Relaxation times in s (diffusion coefficients in m^2/s), rising.
    distribution : numpy.ndarray of shape (ng,)
        The amplitude at each grid value, nowhere negative.
    fit, residual : numpy.ndarray of shape (nf,)
        The kernel times the distribution, and y - fit.
    status : int
        As ``include/vorin.h`` lists it; 0 is a success, 999 the answer of a corner search.
    weight : float
        The regularisation weight w, in the unit of the kernel squared.
    weight_origin : {"automatic", "given", "noise", "corner"}
        How the weight came about: chosen from the data, given, by the library's search for the
        noise, by the corner of the L-curve.
    noise : float
        Standard deviation of the noise; nan when there is no estimate and none was needed.
    noise_origin : str
        Where the noise came from: "residual" (of the closest fit), "given", "differences"
        (:func:`vorin.difference_noise`),
        "quadrature", the name of one of the library's estimates, "library" for one that was
        chosen by the key NALG; empty where the noise is nan.
    wanted_standard_error : float
        What the search for the noise aimed at; nan without one.
    standard_error : float
        Root mean square of the residual of the reduced (binned, compressed) data.
    fit_error : float
        Root mean square of the residual over all samples that were not rejected.
    iterations : int
        Solves of the weight search; 0 for a fixed weight.
    passes : int
        Passes of the last solve; 0 when it was none that iterates.
    relaxed_target : float
        The closest fit, where it took the place of the noise; nan otherwise.
    corner_weight : float
        The weight of the corner, of which ``weight`` is RWEI times; nan without a corner search.
    rejected : numpy.ndarray of int
        The indices of the samples that were left out as outliers.
    phase : float or None
        The angle in radians by which complex data were turned.
    noise_spread : float
        Relative standard deviation of ``noise``; nan where it is not known. Above 0.15 the noise
        had better be given.
    support : tuple of (float, float)
        The first and the last value of the grid's range outside which the distribution is 0.
    left_out : numpy.ndarray of int
        The indices of first samples that lie off every curve; they are in ``rejected``, too.
    offset : float or None
        The constant beside the curve, part of ``fit``, where ``baseline`` asked for one.
    efficiency : float or None
        That of the inversion, where ``inversion_efficiency`` asked for it.
    flip : float or None
        The refocusing angle of "t2-epg" in degrees.
    finding : str
        What is wrong with data or settings, in a word; empty for nothing: "empty",
        "negative", "other kernel", "magnitude", "offset", "efficiency", "structure", "too fast",
        "noise too large", "noise too small", "corner lost".
    finding_text : str
        The same as a sentence that says what to do.
    amplitude_unit : str
        The unit that ``calibrate`` names; empty without one.
    notes : list of str
        Remarks on data and inversion, a sentence each.
    kernel : str
        The kernel's name; "own" for a matrix of the caller's.
    status_text : str
        What the status means, in words; for a failure also what to try next.
    success : bool
        True when the distribution is what was asked for. The corner search reports neither
        success nor failure and counts as a success. So does a search whose target was relaxed;
        ``outcome`` tells it apart.
    total : float
        The sum of the amplitudes.
    log_mean : float
        exp(sum f ln T / sum f) in the unit of the grid; nan for an empty distribution.
    mean : float
        sum f T / sum f in the unit of the grid; nan for an empty distribution.
    signal_to_noise : float
        The largest magnitude of the samples over the noise; nan where that is not known.
    """

    t: FloatArray
    y: FloatArray
    grid: FloatArray
    distribution: FloatArray
    fit: FloatArray
    status: int
    weight: float
    weight_origin: str
    noise: float
    noise_origin: str
    wanted_standard_error: float
    standard_error: float
    fit_error: float
    iterations: int
    passes: int
    relaxed_target: float
    corner_weight: float
    rejected: IndexArray
    phase: Optional[float]
    noise_spread: float
    support: Tuple[float, float]
    left_out: IndexArray
    offset: Optional[float]
    efficiency: Optional[float]
    flip: Optional[float]
    finding: str
    finding_text: str
    amplitude_unit: str
    notes: List[str]
    kernel: str
    status_text: str
    success: bool
    total: float
    log_mean: float
    mean: float
    signal_to_noise: float
    _fields: Optional[Fields] = field(repr=False)  # None after unpickling
    _again: Callable[[], Fields] = field(repr=False)  # inverts once more

    @classmethod
    def _of(cls, fields: Fields, again: Callable[[], Fields]) -> "Result":
        numbers = dict(zip(_NUMBERS, fields.numbers(*_NUMBERS)))
        first, last = fields.array("support")
        values: Dict[str, Any] = {
            **numbers,
            **{name: int(numbers[name]) for name in _COUNTS},
            **{name: None if math.isnan(numbers[name]) else numbers[name] for name in _OPTIONAL},
            **{name: fields.text(name) for name in _TEXTS},
            "success": numbers["success"] == 1.0,
            "notes": fields.texts("notes"),
            "left_out": fields.array("left_out").astype(np.intp),
            "support": (float(first), float(last)),
            "t": fields.array("time"),
            "y": fields.array("amplitude"),
            "grid": fields.array("grid"),
            "distribution": fields.array("distribution"),
            "fit": fields.array("fit"),
            "rejected": fields.array("rejected").astype(np.intp),
            "_fields": fields,
            "_again": again,
        }
        return cls(**values)

    def __getstate__(self) -> Dict[str, Any]:
        # The toolkit's result stays in its process; what needs it elsewhere inverts again.
        return {**self.__dict__, "_fields": None}

    def __setstate__(self, state: Dict[str, Any]) -> None:
        self.__dict__.update(state)

    def _inverted(self) -> Fields:
        """The toolkit's own result, on which further jobs run."""
        if self._fields is None:
            self.__dict__["_fields"] = self._again()
        return cast(Fields, self._fields)

    def __repr__(self) -> str:
        return (f"<vorin.Result {self.kernel}, {self.t.size} samples, {self.grid.size} grid "
                f"values: log mean {self.log_mean:.4g}, weight {self.weight:.4g}, "
                f"{self.outcome}>")

    def __eq__(self, other: object) -> bool:
        return isinstance(other, Result) and equal_fields(self, other)

    def __hash__(self) -> int:
        return fields_hash(self)

    def _repr_html_(self) -> str:
        """A small picture and a table, which a notebook shows for the name of a result."""
        return result_html(self)

    @property
    def outcome(self) -> str:
        """How the inversion went, in a sentence.

        Unlike ``success`` and ``status_text`` it tells a success from one whose target was
        relaxed: where no fit comes as close as the noise allows, the closest fit takes the
        place of the noise, and the distribution is that of another noise than was given.
        """
        if not self.success or math.isnan(self.relaxed_target):
            return self.status_text
        return (f"{self.status_text} with a relaxed target: no fit of the binned samples comes "
                f"closer than {self.relaxed_target:.4g}, which took the place of the noise "
                f"({self.noise:.4g})")

    @property
    def residual(self) -> FloatArray:
        """y - fit, of shape (nf,)."""
        return self.y - self.fit

    def peaks(self, smallest_share: float = 0.005, *,
              band: Optional[Bootstrap] = None) -> List[Peak]:
        """The peaks of the distribution by rising position.

        Parameters
        ----------
        smallest_share : float
            Peaks that hold less of the total are left out.
        band : Bootstrap, optional
            Of this result; adds the 68 % intervals.

        Returns
        -------
        list of Peak
            Each with ``position`` (unit of the grid), ``width`` (standard deviation in
            decades), ``share`` (of the total), ``at_grid_end``, ``centre`` (centre of gravity in
            the logarithm) and ``amount``, and with ``band`` the interval of each but
            ``at_grid_end``: ``position_interval`` and so on.
        """
        return measures.peaks(self.grid, self.distribution, smallest_share, band)

    def report(self, path: Any, *, cutoffs: Any = (), percentiles: Any = (),
               bootstrap: int = 0, seed: int = 1, **texts: str) -> None:
        """Writes a report for paper: picture, results, checks of the residual, settings, versions.

        gnuplot draws the picture and has to be installed.

        Parameters
        ----------
        path : path-like
            Of the file; it ends in .html (one page that needs no other file) or .pdf.
        cutoffs, percentiles : float or sequence of float
            Which are told beside total, means and peaks; cutoffs in the unit of the grid.
        bootstrap : int
            Replicates of a bootstrap whose intervals are told; 0 for none.
        seed : int
            Of the bootstrap.
        **texts : str
            ``name`` of the sample, ``title`` of the report, ``amplitude_label`` of the axes.
        """
        write_report(self._inverted(), path, cutoffs, percentiles, bootstrap, seed, texts)

    def cutoffs(self, *values: Any, band: Optional[Bootstrap] = None) -> List[Part]:
        """Amount and share below, between and above values of the grid: bound and free fluid.

        Parameters
        ----------
        *values : float or sequence of float
            The cutoffs in the unit of the grid, above 0. One that lies within the interval of a
            grid value (half way to its neighbours) divides its amplitude in proportion to the
            logarithm.
        band : Bootstrap, optional
            Of this result; adds the 68 % intervals.

        Returns
        -------
        list of Part
            One more than there are cutoffs, each with ``start``, ``end``, ``amount``, ``share``,
            ``amount_interval`` and ``share_interval``.
        """
        return measures.cutoffs(self.grid, self.distribution, *values, band=band)

    def percentiles(self, *percents: Any, band: Optional[Bootstrap] = None) -> List[Percentile]:
        """The values at and below which ``percents`` (10, 50 and 90) % of the total lie.

        Parameters
        ----------
        *percents : float or sequence of float
            Above 0 and below 100.
        band : Bootstrap, optional
            Of this result; adds the 68 % intervals.

        Returns
        -------
        list of Percentile
            Each with ``percent``, ``position`` (unit of the grid) and ``interval``.
        """
        return measures.percentiles(self.grid, self.distribution, *percents, band=band)

    def cumulative(self) -> FloatArray:
        """The sum of the amplitudes up to and with that of each grid value.

        Returns
        -------
        numpy.ndarray of shape (ng,)
        """
        return measures.cumulative(self.grid, self.distribution)

    def bootstrap(self, n: int = 200, seed: int = 1, *, workers: Optional[int] = None,
                  progress: Optional[Callable[[int], None]] = None) -> Bootstrap:
        """How far the result is to be trusted; see :func:`vorin.bootstrap`.

        Parameters
        ----------
        n, seed, workers, progress
            As of :func:`vorin.bootstrap`.

        Returns
        -------
        Bootstrap
        """
        return bootstrap(self, n, seed, workers=workers, progress=progress)

    def lcurve(self) -> "LCurve":
        """The L-curve of the inversion; see :func:`vorin.lcurve`.

        Returns
        -------
        LCurve
        """
        from .lcurves import of_result  # which itself needs results

        return of_result(self)

    @overload
    def plot(self, path: Any = None, *, truth: Any = None, band: Optional[Bootstrap] = None,
             title: Optional[str] = None, ax: None = None) -> "Figure": ...

    @overload
    def plot(self, path: Any = None, *, truth: Any = None, band: Optional[Bootstrap] = None,
             title: Optional[str] = None, ax: "Axes") -> "Axes": ...

    def plot(self, path: Any = None, *, truth: Any = None, band: Optional[Bootstrap] = None,
             title: Optional[str] = None, ax: Any = None) -> Any:
        """Draws decay and fit, the residual, and the distribution; see :func:`vorin.plot`.

        Parameters
        ----------
        path, truth, band, title, ax
            As of :func:`vorin.plot`.

        Returns
        -------
        matplotlib.figure.Figure or matplotlib.axes.Axes
        """
        from .plotting import plot  # so that matplotlib is required for pictures only

        return plot(self, path, truth=truth, band=band, title=title, ax=ax)

    def plot_decay(self, path: Any = None, *, ax: Any = None) -> "Axes":
        """Draws the samples and the fit over time.

        Parameters
        ----------
        path : path-like, optional
            Writes the picture there, as PNG, PDF or SVG by its ending.
        ax : matplotlib.axes.Axes, optional
            Draws there; in a figure of its own without it.

        Returns
        -------
        matplotlib.axes.Axes
        """
        from .plotting import plot_decay

        return plot_decay(self, path, ax=ax)

    def plot_residual(self, path: Any = None, *, ax: Any = None) -> "Axes":
        """Draws y - fit over time.

        Parameters
        ----------
        path, ax
            As of :meth:`plot_decay`.

        Returns
        -------
        matplotlib.axes.Axes
        """
        from .plotting import plot_residual

        return plot_residual(self, path, ax=ax)

    def plot_distribution(self, path: Any = None, *, truth: Any = None,
                          band: Optional[Bootstrap] = None, ax: Any = None) -> "Axes":
        """Draws the amplitude per decade over the logarithm of the grid.

        Parameters
        ----------
        path, truth, band
            As of :func:`vorin.plot`.
        ax : matplotlib.axes.Axes, optional
            As of :meth:`plot_decay`.

        Returns
        -------
        matplotlib.axes.Axes
        """
        from .plotting import plot_distribution

        return plot_distribution(self, path, truth=truth, band=band, ax=ax)

    def to_dataframe(self) -> Any:
        """The distribution as a table.

        Returns
        -------
        pandas.DataFrame
            ``amplitude`` and ``cumulative`` by grid value.
        """
        return distribution_frame(self)

    def to_xarray(self) -> Any:
        """Decay, fit and distribution with the measures as attributes.

        Returns
        -------
        xarray.Dataset
        """
        return dataset(self)

    def to_dict(self, band: Optional[Bootstrap] = None) -> Dict[str, Any]:
        """Everything as plain numbers, texts and lists, for ``json.dumps``.

        The names are those of the command's JSON output; what is not a number is None.

        Parameters
        ----------
        band : Bootstrap, optional
            Of this result; added under "bootstrap".

        Returns
        -------
        dict
        """
        values: Dict[str, Any] = {
            "kernel": self.kernel,
            "status": self.status,
            "status_text": self.status_text,
            "success": self.success,
            "samples": int(self.t.size),
            "weight": _finite(self.weight),
            "weight_origin": self.weight_origin,
            "noise": _finite(self.noise),
            "noise_origin": self.noise_origin or None,
            "signal_to_noise": _finite(self.signal_to_noise),
            "wanted_standard_error": _finite(self.wanted_standard_error),
            "standard_error": _finite(self.standard_error),
            "fit_error": _finite(self.fit_error),
            "iterations": self.iterations,
            "passes": self.passes,
            "noise_spread": _finite(self.noise_spread),
            "support": list(self.support),
            "left_out": self.left_out.tolist(),
            "offset": self.offset,
            "efficiency": self.efficiency,
            "flip": self.flip,
            "finding": self.finding or None,
            "finding_text": self.finding_text or None,
            "notes": list(self.notes),
            "amplitude_unit": self.amplitude_unit or None,
            "total": _finite(self.total),
            "log_mean": _finite(self.log_mean),
            "mean": _finite(self.mean),
            "percentiles": [{"percent": one.percent, "position": _finite(one.position)}
                            for one in self.percentiles()],
            "cutoffs": [],
            "peaks": [peak.to_dict() for peak in self.peaks()],
            "grid": self.grid.tolist(),
            "distribution": self.distribution.tolist(),
            "cumulative": self.cumulative().tolist(),
        }
        if band is not None:
            values["bootstrap"] = band.to_dict()
        return values


def _finite(value: float) -> Optional[float]:
    return float(value) if math.isfinite(value) else None
