"""What is read off a distribution: its total, its log mean, its peaks."""

from __future__ import annotations

from dataclasses import asdict, dataclass
from typing import Dict, Iterator, List, Tuple, Union

import numpy as np


@dataclass(frozen=True)
class Peak:
    """A local maximum of a distribution and what belongs to it."""

    position: float  #: in the unit of the grid, interpolated between grid values
    width: float  #: standard deviation of log10 over its part, in decades
    share: float  #: the part of the total between the minima beside it, 0 to 1
    at_grid_end: bool  #: the distribution rises up to the first or last grid value

    def to_dict(self) -> Dict[str, Union[float, bool]]:
        """The fields by name."""
        return asdict(self)


def log_mean(grid: np.ndarray, distribution: np.ndarray) -> float:
    """exp(sum f ln T / sum f), in the unit of the grid; nan where the total is 0."""
    total = float(np.sum(distribution))
    if not total > 0.0:
        return float("nan")
    return float(np.exp(np.dot(distribution, np.log(grid)) / total))


def peaks(grid: np.ndarray, distribution: np.ndarray, smallest_share: float = 0.005) -> List[Peak]:
    """The peaks of a distribution by rising position, without those of a smaller share.

    A run of equal values is one maximum when both sides fall. The position is the vertex
    of the parabola through the maximum and its neighbours over the logarithm of the grid.
    The amplitude at a minimum between two peaks goes to both in equal parts. A peak on one
    grid value has a width of 0.
    """
    f = np.asarray(distribution, dtype=float)
    x = np.log10(grid)
    total = float(np.sum(f))
    tops = list(_maxima(f))
    found = []
    weights = np.zeros_like(f)  # of the amplitudes that belong to the peak
    start = 0
    for index, (first, last) in enumerate(tops):
        end, lowest = f.size, None
        if index + 1 < len(tops):
            lowest = last + 1 + int(np.argmin(f[last + 1:tops[index + 1][0]]))
            end = lowest
        weights[:] = 0.0
        weights[start:end] = 1.0
        if index > 0:
            weights[start - 1] = 0.5
        if lowest is not None:
            weights[lowest] = 0.5
            start = lowest + 1
        part = weights * f
        share = float(np.sum(part)) / total
        if share >= smallest_share:
            found.append(Peak(_position(first, last, f, grid), _width(part, x), share,
                              first == 0 or last + 1 == f.size))
    return found


def _maxima(f: np.ndarray) -> Iterator[Tuple[int, int]]:
    """First and last index of the runs that lie higher than what is on either side."""
    first = 0
    while first < f.size:
        last = first
        while last + 1 < f.size and f[last + 1] == f[first]:
            last += 1
        rises = first == 0 or f[first - 1] < f[first]
        falls = last + 1 == f.size or f[last + 1] < f[last]
        if f[first] > 0.0 and rises and falls:
            yield first, last
        first = last + 1


def _position(first: int, last: int, f: np.ndarray, grid: np.ndarray) -> float:
    left, right = np.log(grid[first]), np.log(grid[last])
    if first != last or first == 0 or last + 1 == f.size:
        return float(np.exp(0.5 * (left + right)))
    # The vertex of the parabola through three points, by divided differences; the grid need
    # not be even.
    before, after = np.log(grid[first - 1]), np.log(grid[first + 1])
    slope_before = (f[first] - f[first - 1]) / (left - before)
    slope_after = (f[first + 1] - f[first]) / (after - left)
    curvature = (slope_after - slope_before) / (after - before)
    return float(np.exp(0.5 * (before + left) - slope_before / (2.0 * curvature)))


def _width(part: np.ndarray, x: np.ndarray) -> float:
    total = float(np.sum(part))
    mean = float(np.dot(part, x)) / total
    return float(np.sqrt(np.dot(part, (x - mean) ** 2) / total))
