"""Inverting decays."""

from __future__ import annotations

import math
import os
from concurrent.futures import ThreadPoolExecutor
from typing import Any, Iterable, List, Mapping, Optional, Tuple, Union

import numpy as np

from .bootstrapping import worker_count
from .data import Decay, as_decay, as_times, kernel_and_grid, real_array, skipped
from .errors import InputTypeError, InputValueError
from .instances import borrowed
from .kernels import Kernel
from .library import Library
from .noise import difference_noise
from .problem import LogFile, Problem, Solution, number
from .result import Result
from .settings import Options, options_from

GridArgument = Union[np.ndarray, Tuple[float, float, int], None]

_MOST_ROUNDS = 50


def invert(
    t: Any,
    y: Any,
    *,
    kernel: Union[str, np.ndarray] = "t2",
    grid: GridArgument = None,
    weight: Union[str, float] = "noise",
    noise: Union[str, float, None] = None,
    prune: str = "log",
    prune_points: Optional[int] = None,
    compress: Union[bool, int, Tuple[int, float], None] = None,
    reject_outliers: Union[bool, float, str, Tuple[str, float], None] = None,
    skip: int = 0,
    settings: Optional[Mapping[str, Union[float, str]]] = None,
    log: Union[str, "os.PathLike[str]", None] = None,
) -> Result:
    """Turns a decay into a distribution of relaxation times.

    Finds the F >= 0 that minimises 1/2 \\|K F - y\\|^2 + w/2 \\|F\\|^2. It runs on an instance
    of the library that no other call uses meanwhile and whose keys are fresh, so that calls
    from several threads run side by side and none depends on what ran before.

    Parameters
    ----------
    t : array_like of shape (nf,)
        Sample times in s, rising from 0 or above; b-values in s/m^2 for "diffusion".
    y : array_like of shape (nf,)
        Samples in any unit. Complex ones are turned by the constant phase that makes the
        sum of squares of the imaginary channel least, and the real channel is inverted.
    kernel : {"t2", "t1-saturation", "t1-inversion", "diffusion"} or array of shape (nf, ng)
        exp(-t/T2), 1 - exp(-t/T1), 1 - 2 exp(-t/T1), exp(-b D), or a matrix of your own,
        whose columns belong to ``grid``.
    grid : array_like of shape (ng,) or (from, to, n), optional
        Relaxation times in s, or diffusion coefficients in m^2/s. Three numbers stand for
        n values evenly spaced in the logarithm. Without it: 100 from a third of the first
        time above 0 to three times the last (for "diffusion" the reciprocals of that range).
    weight : {"noise", "corner"} or float
        "noise" searches for the w at which the fit misses the data by 1.05 times the noise,
        "corner" takes RWEI times the corner of the L-curve, a number is w itself.
    noise : float or {"difference", "fit", "ridge", "scan", "quadrature"}, optional
        Standard deviation of the noise in the unit of ``y``, or how to find it: the
        library's second differences of neighbouring samples; the standard error of its
        non-negative fit without a penalty; of its ridge fit; the least one on a ladder of
        weights; the deviation of the imaginary channel. Without it:
        :func:`vorin.difference_noise`.
    prune : {"log", "linear", "none"}
        Bins into which samples are gathered first.
    prune_points : int, optional
        Count of bins, 10 to 5000; 200 without it.
    compress : bool, int or (int, float), optional
        Truncated singular value decomposition after the binning: the most rows to keep
        (True: 20) and the ratio to the largest singular value at or below which rows are
        dropped (1e-6).
    reject_outliers : bool, float, "robust" or ("robust", float), optional
        Leaves out samples that a first fit misses by so many noise deviations (True: 4): the
        library's ridge fit, and with a sample the bin that it is in, or, with "robust", a fit
        without a penalty, and the sample alone.
    skip : int
        Leaves out so many samples at the start.
    settings : mapping, optional
        Keys of the library, such as ``{"MAXI": 200}``, set last. They apply to data whose
        largest magnitude is 1.
    log : path-like, optional
        Keeps the library's log there. It is written in the working directory first.

    Returns
    -------
    Result

    Raises
    ------
    InputValueError, InputTypeError
        For arguments that can't be used; they are a ValueError and a TypeError.
    LibraryNotFound
        When there is no shared library; see :func:`vorin.find_library`.
    """
    options = options_from(weight, noise, prune, prune_points, compress, reject_outliers, settings)
    times = as_times(t)
    start = skipped(skip, times.size)
    name = kernel if isinstance(kernel, str) else "own"
    y, kernel = _without_first(start, times.size, y, kernel)
    decay = as_decay(times[start:], y, name)
    described, matrix, values = kernel_and_grid(kernel, decay.t, grid)
    _require_usable(decay, options)
    problem = Problem(decay.t, decay.y, matrix, values, options)
    log_file = LogFile(log) if log is not None else None
    try:
        with borrowed() as library:
            run = _Run(library, problem, decay, log_file)
            run.search()
        if log_file is not None:
            log_file.keep()
    finally:
        if log_file is not None:
            log_file.discard()
    return run.result(described, values, problem)


def invert_many(t: Any, decays: Iterable[Any], *, workers: Optional[int] = None,
                **options: Any) -> List[Result]:
    """Inverts many decays with the same times in threads, each on an instance of its own.

    Parameters
    ----------
    t : array_like of shape (nf,)
        As for :func:`vorin.invert`.
    decays : iterable of array_like of shape (nf,)
        The decays, such as the rows of an array.
    workers : int, optional
        Threads; one for each processor by default.
    **options
        Passed to :func:`vorin.invert`.

    Returns
    -------
    list of Result
        In the order of ``decays``; the same to the last bit as one call after another.
    """
    try:
        rows = list(decays)
    except TypeError:
        raise InputTypeError(f"decays is of type {type(decays).__name__}; a sequence of decays is "
                             "wanted") from None
    if options.get("log") is not None:
        raise InputValueError("log: several inversions would write one file; invert one by one to "
                              "keep logs")
    threads = worker_count(workers, len(rows))
    if threads == 1:
        return [invert(t, row, **options) for row in rows]
    with ThreadPoolExecutor(threads) as pool:
        return list(pool.map(lambda row: invert(t, row, **options), rows))


def _without_first(start: int, samples: int, y: Any, kernel: Any) -> Tuple[Any, Any]:
    """Samples, and rows of a kernel, without the first. What has another length stays, so
    that the checks that follow tell of it."""
    if start > 0:
        y = np.asarray(y)
        if y.ndim == 1:
            if y.size != samples:
                as_decay(np.arange(float(samples)), y)
            y = y[start:]
        if not isinstance(kernel, str):
            kernel = real_array("kernel", kernel, dimensions=2)
            kernel = kernel[start:] if kernel.shape[0] == samples else kernel
    return y, kernel


def _require_usable(decay: Decay, options: Options) -> None:
    largest = float(np.max(np.abs(decay.y)))
    if isinstance(options.noise, float) and not options.noise < largest:
        raise InputValueError(f"noise is {options.noise:g}, no less than the largest amplitude, "
                              f"{largest:g}; give it in the unit of the data")
    if options.noise == "quadrature" and decay.quadrature is None:
        raise InputValueError("noise 'quadrature': the data have no imaginary channel; give "
                              "complex data, or another noise")


def _root_mean_square(values: np.ndarray, scale: float) -> float:
    return float(np.sqrt(np.mean((values / scale) ** 2))) * scale


class _Run:
    """One inversion on one instance: rejection of outliers, noise, search."""

    def __init__(self, library: Library, problem: Problem, decay: Decay,
                 log: Optional[LogFile]):
        self._library = library
        self._decay = decay
        self._log = log
        self.rejected = self._outliers(problem)
        self.problem = problem.without(self.rejected) if self.rejected.any() else problem
        self.noise, self.noise_origin = self._known_noise()
        self.raised_aim = math.nan
        self.corner_weight = math.nan

    def _outliers(self, problem: Problem) -> np.ndarray:
        """Samples that this side leaves out.

        The farthest spoil the fit that the others are held against, so the search goes on
        without those found until it finds no more.
        """
        rejected = np.zeros(problem.y.size, bool)
        threshold = problem.options.outliers
        if threshold is None or problem.options.rejects_in_library:
            return rejected
        for _ in range(_MOST_ROUNDS):
            rest = problem.without(rejected)
            found = rest.outliers(self._library, threshold)
            if not found.any() or np.count_nonzero(~found) < 2:
                break
            rejected[np.nonzero(~rejected)[0][found]] = True
        return rejected

    def _known_noise(self) -> Tuple[float, str]:
        """The noise as this side knows it; the library tells what its estimators found later."""
        how = self.problem.options.noise
        value: Optional[float] = None
        if how is None:
            value, how = difference_noise(self._decay.t, self._decay.y), "differences"
        elif isinstance(how, float):
            value, how = how, "given"
        elif how == "quadrature":
            value = self._decay.quadrature
        elif how == "difference":
            # The compressed driver takes the same measure itself; the plain one reads CSI2.
            data = self.problem.data
            value = self._library.VorinSEDiff(3, data.size, data) * self.problem.scale
            value = value if value > 0.0 else None
        if value is None:
            return math.nan, ""
        return value, how

    def search(self) -> None:
        library, problem = self._library, self.problem
        problem.set_keys(library, self._log.name if self._log else None)
        known = math.isfinite(self.noise)
        if known:
            problem.set_noise(library, self.noise)
        elif problem.needs_noise(library):
            raise InputValueError(
                "the data show no noise to aim the fit at (too few samples, or computed data); "
                "give a noise or a weight")
        self.solution = problem.solve(library, problem.data)
        own = self._take_estimate()
        if known and own and self.solution.out_of_reach:
            # No fit comes as close as the noise asks for: the samples hold more than noise.
            self.raised_aim = self.solution.reached_error
            library.VorinSQC("S", "NALG", "NONE")
            problem.set_noise(library, self.raised_aim)
            self.solution = problem.solve(library, problem.data)
        if self.solution.mode == "corner":
            self.corner_weight = self.solution.weight / _corner_factor(library)

    def result(self, described: Kernel, grid: np.ndarray, whole: Problem) -> Result:
        """The outcome; ``whole`` is the problem of all samples, rejected ones included."""
        solution, problem = self.solution, self.problem
        rejected = self.rejected
        if problem.options.rejects_in_library:
            rejected = solution.rejected
            problem = problem.without(rejected)
        fit = whole.fit_of(solution.distribution) if self.rejected.any() else solution.fit
        left = (self._decay.y - fit)[~rejected]
        return Result(
            t=self._decay.t,
            y=self._decay.y,
            grid=grid,
            distribution=solution.distribution,
            fit=fit,
            status=solution.status,
            weight=solution.weight,
            weight_origin="given" if solution.mode == "fixed" else solution.mode,
            noise=self.noise,
            noise_origin=self.noise_origin,
            wanted_standard_error=solution.wanted_error,
            standard_error=solution.reached_error,
            fit_error=_root_mean_square(left, problem.scale),
            iterations=solution.weight_steps,
            passes=solution.passes,
            raised_aim=self.raised_aim,
            corner_weight=self.corner_weight,
            rejected=np.nonzero(rejected)[0],
            phase=self._decay.phase,
            kernel=described.name,
            described=described,
            problem=problem,
        )

    def _take_estimate(self) -> bool:
        """Takes over what the library estimated; False when it did."""
        library = self._library
        used = number(library, "CSIG")
        if self.solution.mode != "noise" or used == number(library, "SIG"):
            return True
        self.noise = used * self.problem.scale
        how = self.problem.options.noise
        self.noise_origin = how if isinstance(how, str) else "library"
        return False

    solution: Solution


def _corner_factor(library: Library) -> float:
    """What the weight of the result is to that of the corner: RWEI, unless it is close to 1."""
    factor = number(library, "RWEI")
    return factor if factor < 0.95 or factor > 1.05 else 1.0
