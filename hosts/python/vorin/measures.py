"""Measures of a distribution: its total, its log mean, its peaks."""

from __future__ import annotations

from dataclasses import asdict, dataclass
from typing import Any, Dict, List, Union

import numpy as np

from .data import real_array
from .errors import InputValueError
from .toolkit import Fields, address, job


@dataclass(frozen=True)
class Peak:
    """A local maximum of a distribution and the part of the distribution around it."""

    position: float  #: in the unit of the grid, interpolated between grid values
    width: float  #: standard deviation of log10 over its part, in decades
    share: float  #: the part of the total between the minima beside it, 0 to 1
    at_grid_end: bool  #: the distribution rises up to the first or last grid value

    def to_dict(self) -> Dict[str, Union[float, bool]]:
        """The fields by name."""
        return asdict(self)


def log_mean(grid: Any, distribution: Any) -> float:
    """exp(sum f ln T / sum f), in the unit of the grid; nan where the total is 0."""
    return _measured(grid, distribution, 0.0).number("log_mean")


def peaks(grid: Any, distribution: Any, smallest_share: float = 0.005) -> List[Peak]:
    """The peaks of a distribution by rising position, without those of a smaller share.

    A run of equal values is one maximum when both sides fall. The position is the vertex
    of the parabola through the maximum and its neighbours over the logarithm of the grid.
    The amplitude at a minimum between two peaks goes to both in equal parts. A peak on one
    grid value has a width of 0.
    """
    return peaks_of(_measured(grid, distribution, smallest_share))


def peaks_of(fields: Fields) -> List[Peak]:
    """The peaks that a result of the toolkit lists."""
    columns = [fields.array(f"peak_{name}").tolist()
               for name in ("position", "width", "share", "at_grid_end")]
    return [Peak(position, width, share, bool(at_end))
            for position, width, share, at_end in zip(*columns)]


def per_decade(grid: Any, distribution: Any) -> np.ndarray:
    """Amplitudes over the width of the grid around each value, in decades.

    They do not depend on how fine the grid is, so that one picture can show distributions on
    different grids.
    """
    return _measured(grid, distribution, 0.0).array("per_decade")


def _measured(grid: Any, distribution: Any, smallest_share: float) -> Fields:
    values, amplitudes = real_array("grid", grid), real_array("distribution", distribution)
    if values.size != amplitudes.size:
        raise InputValueError(f"distribution has {amplitudes.size} elements and grid has "
                              f"{values.size}; as many are required")
    return job("vorin_measures", address(values), address(amplitudes), values.size,
               float(smallest_share))
