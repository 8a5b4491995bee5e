"""Measures of a distribution: its total, its means, its peaks, amounts between cutoffs."""

from __future__ import annotations

from dataclasses import asdict, dataclass, replace
from typing import TYPE_CHECKING, Any, Dict, List, Optional, Tuple, Union

import numpy as np

from .arrays import FloatArray, Numbers
from .data import real_array
from .errors import InputValueError
from .toolkit import Fields, address, job

if TYPE_CHECKING:
    from .bootstrapping import Bootstrap

#: Lower and upper end of a 68 % interval.
Interval = Tuple[float, float]


@dataclass(frozen=True)
class Peak:
    """A local maximum of a distribution and the part of the distribution around it."""

    position: float  #: in the unit of the grid, interpolated between grid values
    width: float  #: standard deviation of log10 over its part, in decades
    share: float  #: the part of the total between the minima beside it, 0 to 1
    at_grid_end: bool  #: the distribution rises up to the first or last grid value
    centre: float  #: centre of gravity of its part in the logarithm, in the unit of the grid
    amount: float  #: the sum of the amplitudes of its part
    position_interval: Optional[Interval] = None  #: by a bootstrap, as the four below
    centre_interval: Optional[Interval] = None
    width_interval: Optional[Interval] = None
    share_interval: Optional[Interval] = None
    amount_interval: Optional[Interval] = None

    def to_dict(self) -> Dict[str, Union[float, bool]]:
        """The fields by name, the ends of intervals as the command's JSON has them."""
        values: Dict[str, Union[float, bool]] = {}
        for name, value in asdict(self).items():
            if not name.endswith("_interval"):
                values[name] = value
            elif value is not None:
                head = name[:-len("_interval")]
                values[f"{head}_lower"], values[f"{head}_upper"] = value
        return values


@dataclass(frozen=True)
class Part:
    """What lies between two neighbouring cutoffs."""

    start: float  #: a cutoff; 0 for the first part
    end: float  #: a cutoff; inf for the last part
    amount: float  #: in the unit of the amplitudes
    share: float  #: of the total, 0 to 1
    amount_interval: Optional[Interval] = None  #: by a bootstrap
    share_interval: Optional[Interval] = None


@dataclass(frozen=True)
class Percentile:
    """The value at and below which a percentage of the total lies."""

    percent: float
    position: float  #: in the unit of the grid
    interval: Optional[Interval] = None  #: by a bootstrap


def cutoffs(grid: Any, distribution: Any, *values: Any,
            band: Optional["Bootstrap"] = None) -> List[Part]:
    """Amount and share below, between and above ``values`` of the grid, such as T2 cutoffs.

    A grid value has the interval half way to its neighbours in the logarithm, over which
    its amplitude is spread evenly, so a cutoff within it divides the amplitude in proportion to
    the logarithm.

    Parameters
    ----------
    grid, distribution : array-like
        The distribution.
    *values : float or sequence of float
        In the unit of the grid, above 0, in any order.
    band : Bootstrap, optional
        Of the inversion; adds the 68 % intervals.
    """
    limits = np.sort(_flat("cutoffs", values))
    fields = _reported(grid, distribution, limits, np.empty(0), band)
    ends = [0.0, *limits.tolist(), float("inf")]
    amounts, shares = fields.array("part_amount"), fields.array("part_share")
    amount_ends, share_ends = _ends(fields, "part_amount", band), _ends(fields, "part_share", band)
    return [Part(ends[k], ends[k + 1], float(amounts[k]), float(shares[k]), amount_ends[k],
                 share_ends[k]) for k in range(amounts.size)]


def percentiles(grid: Any, distribution: Any, *percents: Any,
                band: Optional["Bootstrap"] = None) -> List[Percentile]:
    """The values at and below which ``percents`` (10, 50 and 90) % of the total lie.

    Otherwise as :func:`cutoffs`; percentages are above 0 and below 100.
    """
    wanted = np.sort(_flat("percentiles", percents or (10.0, 50.0, 90.0)))
    fields = _reported(grid, distribution, np.empty(0), wanted, band)
    positions, ends = fields.array("percentile"), _ends(fields, "percentile", band)
    return [Percentile(float(wanted[k]), float(positions[k]), ends[k])
            for k in range(wanted.size)]


def cumulative(grid: Any, distribution: Any) -> FloatArray:
    """The sum of the amplitudes up to and with that of each grid value."""
    return _measured(grid, distribution, 0.0).array("cumulative")


def mean(grid: Any, distribution: Any) -> float:
    """sum f T / sum f, in the unit of the grid; nan where the total is 0."""
    return _measured(grid, distribution, 0.0).number("mean")


def log_mean(grid: Any, distribution: Any) -> float:
    """exp(sum f ln T / sum f), in the unit of the grid; nan where the total is 0.

    Parameters
    ----------
    grid, distribution : array_like of shape (ng,)
        The distribution.

    Returns
    -------
    float
    """
    return _measured(grid, distribution, 0.0).number("log_mean")


def peaks(grid: Any, distribution: Any, smallest_share: float = 0.005,
          band: Optional["Bootstrap"] = None) -> List[Peak]:
    """The peaks of a distribution by rising position, without those of a smaller share.

    A run of equal values is one maximum when both sides fall. The position is the vertex
    of the parabola through the maximum and its neighbours over the logarithm of the grid.
    The amplitude at a minimum between two peaks goes to both in equal parts. A peak on one
    grid value has a width of 0.

    Parameters
    ----------
    grid, distribution : array_like of shape (ng,)
        The distribution.
    smallest_share : float
        Peaks that hold less of the total are left out.
    band : Bootstrap, optional
        Of the inversion; adds the 68 % intervals. That of a peak is the interval of its part of
        the grid, whatever peaks a replicate has there.

    Returns
    -------
    list of Peak
    """
    found = peaks_of(_measured(grid, distribution, smallest_share))
    if band is None:
        return found
    # The toolkit gives intervals to all peaks from its own smallest share on.
    fields = _reported(grid, distribution, np.empty(0), np.empty(0), band)
    positions = fields.array("peak_position").tolist()
    ends = {name: _ends(fields, f"peak_{name}", band)
            for name in ("position", "centre", "width", "share", "amount")}
    return [replace(peak, **{f"{name}_interval": ends[name][positions.index(peak.position)]
                             for name in ends})
            if peak.position in positions else peak for peak in found]


def peaks_of(fields: Fields) -> List[Peak]:
    """The peaks that a result of the toolkit lists."""
    columns = [fields.array(f"peak_{name}").tolist()
               for name in ("position", "width", "share", "at_grid_end", "centre", "amount")]
    return [Peak(position, width, share, bool(at_end), centre, amount)
            for position, width, share, at_end, centre, amount in zip(*columns)]


def per_decade(grid: Any, distribution: Any) -> FloatArray:
    """Amplitudes over the width of the grid around each value, in decades.

    They do not depend on how fine the grid is, so that one picture can show distributions on
    different grids.
    """
    return _measured(grid, distribution, 0.0).array("per_decade")


def _flat(name: str, values: Any) -> FloatArray:
    """Numbers that are given one by one or as one sequence."""
    return real_array(name, values[0] if len(values) == 1 and np.ndim(values[0]) == 1 else values)


def _ends(fields: Fields, name: str,
          band: Optional["Bootstrap"]) -> Union[List[Interval], List[None]]:
    """The intervals of a list of measures, or None for each without a bootstrap."""
    count = fields.array(name).size
    if band is None:
        return [None] * count
    lower, upper = fields.array(f"{name}_lower"), fields.array(f"{name}_upper")
    return [(float(lower[k]), float(upper[k])) for k in range(count)]


def _reported(grid: Any, distribution: Any, limits: FloatArray, percents: FloatArray,
              band: Optional["Bootstrap"]) -> Fields:
    values, amplitudes = _same_size(grid, distribution)
    replicates = np.empty((0, values.size)) if band is None else band.distributions
    if replicates.shape[1] != values.size:
        raise InputValueError(f"band has {replicates.shape[1]} grid values and the distribution "
                              f"{values.size}; a bootstrap of this inversion is required")
    factor = 1.0 if band is None else band.interval_factor
    return job("vorin_report_measures", address(values), address(amplitudes), values.size,
               address(limits), limits.size, address(percents), percents.size,
               address(replicates), replicates.shape[0], factor)


def _same_size(grid: Any, distribution: Any) -> Tuple[FloatArray, FloatArray]:
    values, amplitudes = real_array("grid", grid), real_array("distribution", distribution)
    if values.size != amplitudes.size:
        raise InputValueError(f"distribution has {amplitudes.size} elements and grid has "
                              f"{values.size}; as many are required")
    return values, amplitudes


def _measured(grid: Any, distribution: Any, smallest_share: float) -> Fields:
    values, amplitudes = _same_size(grid, distribution)
    return job("vorin_measures", address(values), address(amplitudes), values.size,
               float(smallest_share))
