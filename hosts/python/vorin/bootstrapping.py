"""How far an inversion is to be trusted: its spread when the noise is drawn again."""

from __future__ import annotations

import os
import threading
from concurrent.futures import ThreadPoolExecutor
from dataclasses import dataclass
from typing import TYPE_CHECKING, Any, Callable, Dict, Optional, Tuple

import numpy as np

from . import checks, measures
from .errors import InputTypeError, InputValueError
from .instances import borrowed

if TYPE_CHECKING:
    from .result import Result

# What one standard deviation either way leaves out of a normal variate on each side.
_TAIL = 15.8655  # per cent
_REPLICATES = (20, 100000)


@dataclass(frozen=True, eq=False)
class Bootstrap:
    """The middle 68 % of the replicates of :func:`vorin.bootstrap`.

    Attributes
    ----------
    replicates : int
        How many were inverted with success.
    lower, upper : numpy.ndarray of shape (ng,)
        Band of the amplitude at each grid value, in the unit of the data.
    log_mean_lower, log_mean_upper : float
        Interval of the log mean, in the unit of the grid.
    log_means : numpy.ndarray of shape (replicates,)
        The log mean of each replicate.
    """

    replicates: int
    lower: np.ndarray
    upper: np.ndarray
    log_mean_lower: float
    log_mean_upper: float
    log_means: np.ndarray

    def to_dict(self) -> Dict[str, Any]:
        """The fields as plain numbers and lists, under the names of the command's JSON."""
        interval = (self.log_mean_lower, self.log_mean_upper)
        lower, upper = (value if np.isfinite(value) else None for value in interval)
        return {
            "replicates": self.replicates,
            "lower": self.lower.tolist(),
            "upper": self.upper.tolist(),
            "log_mean_lower": lower,
            "log_mean_upper": upper,
        }


def bootstrap(result: "Result", n: int = 200, seed: int = 1, *, workers: Optional[int] = None,
              progress: Optional[Callable[[int], None]] = None) -> Bootstrap:
    """Inverts the fit with noise drawn from the residual, many times over [1]_.

    A replicate is the fit plus residuals of single samples, drawn with replacement from the
    inversion's own without their mean. It is inverted with the same settings at the weight
    of the result, which stays: a weight searched anew adds the spread of the search and no
    truth.

    The band of the distribution is as wide as the 16th and the 84th percentile of each
    amplitude are away from its median, laid around the distribution and cut at 0. It shows
    what the noise does to the smoothed distribution, not how far the penalty has moved it.

    The interval of the log mean stands on its logarithm. The replicates' median is off the
    result by b, what the penalty does to the fit, and half the middle 68 % of them is h, what
    the noise does. The penalty has moved the result itself by something between nothing, when
    the truth is smooth, and b, when it is as sharp as the result [2]_; so the interval is
    ln L - b/2 plus and minus sqrt(h^2 + (b/2)^2). An interval between percentiles would hold
    the penalty's share twice, and one that takes all of b away fails for smooth truths.

    Parameters
    ----------
    result : Result
        What :func:`vorin.invert` gave.
    n : int
        Count of replicates, 20 to 100000.
    seed : int
        0 or above. One seed gives the same replicates, with any count of workers.
    workers : int, optional
        Threads, one for each processor by default.
    progress : callable, optional
        Called with the count of replicates done, by the thread that did the last one.

    Returns
    -------
    Bootstrap

    References
    ----------
    .. [1] B. Efron, Bootstrap methods: another look at the jackknife, Ann. Stat. 7 (1979) 1.
    .. [2] For b as the estimate of a bias: A. C. Davison, D. V. Hinkley, Bootstrap Methods and
       their Application, Cambridge 1997, section 2.2.
    """
    count, start = _counts(n, seed)
    kept = np.ones(result.t.size, bool)
    kept[result.rejected] = False
    problem = result.problem.at_weight(result.weight)
    fit = result.fit[kept] / problem.scale
    residual = result.y[kept] / problem.scale - fit
    residual -= np.mean(residual)
    done = _Counter(progress)

    def some(indices: range) -> Tuple[np.ndarray, np.ndarray]:
        distributions = np.empty((len(indices), result.grid.size))
        good = np.zeros(len(indices), bool)
        with borrowed() as library:
            problem.set_keys(library)
            for row, index in enumerate(indices):
                drawn = np.random.default_rng((start, index)).integers(fit.size, size=fit.size)
                solution = problem.solve(library, (fit + residual[drawn]).astype(np.float32))
                distributions[row], good[row] = solution.distribution, solution.status == 0
                done.add()
        return distributions, good

    shares = _shares(count, workers)
    if len(shares) == 1:
        parts = [some(shares[0])]
    else:
        with ThreadPoolExecutor(len(shares)) as pool:
            parts = list(pool.map(some, shares))
    distributions = np.concatenate([part[0] for part in parts])
    return _bands(result, distributions[np.concatenate([part[1] for part in parts])])


def _counts(n: Any, seed: Any) -> Tuple[int, int]:
    count = checks.number("n", n, "i")
    least, most = _REPLICATES
    if not least <= count <= most:
        raise InputValueError(f"n is {count}; a whole number from {least} to {most} is wanted")
    if isinstance(seed, bool) or not isinstance(seed, (int, np.integer)):
        raise InputTypeError(f"seed is of type {type(seed).__name__}; a whole number is wanted")
    if seed < 0:
        raise InputValueError(f"seed is {seed}; a whole number of 0 or above is wanted")
    return count, int(seed)


def worker_count(workers: Optional[int], jobs: int) -> int:
    """How many threads serve ``jobs`` jobs."""
    if workers is not None:
        threads: int = checks.number("workers", workers, "i")
        if threads < 1:
            raise InputValueError(f"workers is {threads}; a whole number of 1 or above is wanted")
    elif hasattr(os, "sched_getaffinity"):  # not on every system
        threads = len(os.sched_getaffinity(0))
    else:
        threads = os.cpu_count() or 1
    return max(1, min(threads, jobs))


def _shares(count: int, workers: Optional[int]) -> list:
    threads = worker_count(workers, count)
    edges = [count * k // threads for k in range(threads + 1)]
    return [range(first, last) for first, last in zip(edges, edges[1:])]


class _Counter:
    def __init__(self, progress: Optional[Callable[[int], None]]):
        self._progress = progress
        self._guard = threading.Lock()
        self._done = 0

    def add(self) -> None:
        if self._progress is not None:
            with self._guard:
                self._done += 1
                self._progress(self._done)


def _bands(result: "Result", distributions: np.ndarray) -> Bootstrap:
    log_means = np.array([measures.log_mean(result.grid, row) for row in distributions])
    usable = log_means[np.isfinite(log_means)]
    lower = upper = np.full(result.grid.size, np.nan)
    bounds = (float("nan"), float("nan"))
    if distributions.size:
        # Replicates are smoothed twice: their own place would lie beside the distribution.
        low, middle, high = np.percentile(distributions, (_TAIL, 50.0, 100.0 - _TAIL), axis=0)
        lower = np.maximum(result.distribution + low - middle, 0.0)
        upper = np.maximum(result.distribution + high - middle, 0.0)
    if usable.size and result.total > 0.0:
        bounds = _interval(result.log_mean, np.log(usable))
    return Bootstrap(len(distributions), lower, upper, *bounds, log_means)


def _interval(log_mean: float, logarithms: np.ndarray) -> Tuple[float, float]:
    """The interval about a log mean, from the logarithms of those of the replicates."""
    low, middle, high = np.percentile(logarithms, (_TAIL, 50.0, 100.0 - _TAIL))
    centre = np.log(log_mean)
    half_bias = 0.5 * (middle - centre)
    reach = np.hypot(0.5 * (high - low), half_bias)
    return float(np.exp(centre - half_bias - reach)), float(np.exp(centre - half_bias + reach))
