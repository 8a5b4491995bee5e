"""The uncertainty of an inversion: its spread when the noise is resampled."""

from __future__ import annotations

import os
from dataclasses import dataclass
from typing import TYPE_CHECKING, Any, Callable, Dict, Optional

import numpy as np

from . import checks, toolkit
from .arrays import FloatArray, equal_fields, fields_hash
from .errors import InputTypeError, InputValueError
from .toolkit import Settings

if TYPE_CHECKING:
    from .result import Result

#: That the toolkit takes.
MOST_THREADS = 1024


@dataclass(frozen=True, eq=False, repr=False)
class Bootstrap:
    """The middle 68 % of the replicates of :func:`vorin.bootstrap`.

    Attributes
    ----------
    replicates : int
        How many were inverted successfully.
    lower, upper : numpy.ndarray of shape (ng,)
        Band of the amplitude at each grid value, in the unit of the data.
    log_mean_lower, log_mean_upper : float
        Interval of the log mean, in the unit of the grid.
    interval_too_narrow : bool
        True where a peak with a fifth of the total is wider than 0.22 decades. It may be several
        peaks, which noise alone does not show, and the interval holds the truth less often than
        in 68 % of the cases.
    log_means : numpy.ndarray of shape (replicates,)
        The log mean of each of them.
    distributions : numpy.ndarray of shape (replicates, ng)
        The distribution of each of them, for the intervals of other measures.
    interval_factor : float
        How much wider the intervals are than the replicates spread: 1.1 where the data chose the
        weight, else 1.
    """

    replicates: int
    lower: FloatArray
    upper: FloatArray
    log_mean_lower: float
    log_mean_upper: float
    log_means: FloatArray
    distributions: FloatArray
    interval_factor: float = 1.0
    interval_too_narrow: bool = False

    def __repr__(self) -> str:
        too_narrow = " (too narrow)" if self.interval_too_narrow else ""
        return (f"<vorin.Bootstrap {self.replicates} replicates: log mean "
                f"{self.log_mean_lower:.4g} to {self.log_mean_upper:.4g}{too_narrow}>")

    def __eq__(self, other: object) -> bool:
        return isinstance(other, Bootstrap) and equal_fields(self, other)

    def __hash__(self) -> int:
        return fields_hash(self)

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
            "interval_too_narrow": self.interval_too_narrow,
        }


def bootstrap(result: "Result", n: int = 200, seed: int = 1, *, workers: Optional[int] = None,
              progress: Optional[Callable[[int], None]] = None) -> Bootstrap:
    """Inverts the fit with noise drawn from the residual, many times over [1]_.

    A replicate is the fit plus residuals of single samples, drawn with replacement from the
    inversion's own without their mean. It is inverted with the same settings at the weight
    of the result, which is kept: a weight searched anew adds the spread of the search and no
    information.

    The band of the distribution is as wide as the 16th and the 84th percentile of each
    amplitude are away from its median, placed around the distribution and cut at 0. It shows
    what the noise does to the smoothed distribution, not how far the penalty has moved it.

    The interval is computed for the logarithm of the log mean. The replicates' median is off the
    result by b, the effect of the penalty on the fit, and half the middle 68 % of them is h, the
    effect of the noise. The penalty has moved the result itself by something between nothing, when
    the truth is smooth, and b, when it is as sharp as the result [2]_; so the interval is
    ln L - b/2 plus and minus sqrt(h^2 + (b/2)^2), wider by a tenth where the data chose the
    weight. An interval between percentiles would hold
    twice the effect of the penalty, and one that takes all of b away fails for smooth truths.

    Parameters
    ----------
    result : Result
        Of :func:`vorin.invert`.
    n : int
        Count of replicates, 20 to 100000.
    seed : int
        0 or above. One seed gives the same replicates as the command's, with any count of
        workers.
    workers : int, optional
        Threads, one for each processor by default.
    progress : callable, optional
        Called with the count of replicates done, by the thread that did the last one. What it
        raises ends the bootstrap.

    Returns
    -------
    Bootstrap

    References
    ----------
    .. [1] B. Efron, Bootstrap methods: another look at the jackknife, Ann. Stat. 7 (1979) 1.
    .. [2] For b as the estimate of a bias: A. C. Davison, D. V. Hinkley, Bootstrap Methods and
       their Application, Cambridge 1997, section 2.2.

    Examples
    --------
    >>> decay = vorin.simulate(seed=1)
    >>> result = vorin.invert(decay.t, decay.y)
    >>> band = vorin.bootstrap(result, 50, seed=7)
    >>> band.log_mean_lower < result.log_mean < band.log_mean_upper
    True
    >>> band == vorin.bootstrap(result, 50, seed=7, workers=3)
    True
    """
    settings = Settings(replicates=str(checks.number("n", n, "i")), seed=str(_whole_seed(seed)),
                        threads=worker_count(workers, MOST_THREADS))
    with toolkit.named("replicates", "n"):
        fields = toolkit.bootstrap(result._inverted(), settings, progress)
    replicates, lower, upper, too_narrow, factor = fields.numbers(
        "replicates", "log_mean_lower", "log_mean_upper", "interval_too_narrow", "interval_factor")
    return Bootstrap(int(replicates), fields.array("lower"), fields.array("upper"), lower, upper,
                     fields.array("log_means"),
                     fields.array("distributions").reshape(int(replicates), -1), factor,
                     bool(too_narrow))


def _whole_seed(seed: Any) -> int:
    if isinstance(seed, bool) or not isinstance(seed, (int, np.integer)):
        raise InputTypeError(f"seed is of type {type(seed).__name__}; a whole number is required")
    return int(seed)


def worker_count(workers: Optional[int], jobs: int, name: str = "workers") -> int:
    """How many threads serve ``jobs`` jobs, when the argument ``name`` is ``workers``."""
    if workers is not None:
        threads: int = checks.number(name, workers, "i")
        if threads < 1:
            raise InputValueError(f"{name} is {threads}; a whole number of 1 or above is required")
    elif hasattr(os, "sched_getaffinity"):  # not on every system
        threads = len(os.sched_getaffinity(0))
    else:
        threads = os.cpu_count() or 1
    return max(1, min(threads, jobs))
