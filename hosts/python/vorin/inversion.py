"""Inverting decays."""

from __future__ import annotations

import os
from concurrent.futures import ThreadPoolExecutor
from typing import (Any, Callable, Dict, Iterable, List, Literal, Mapping, Optional, Sequence,
                    Tuple, Union, overload)

import numpy as np

from . import labelled
from .arrays import FloatArray, Numbers
from .bootstrapping import worker_count
from .data import Samples, samples
from .errors import InputTypeError, InputValueError
from .many import decays_of
from .options import settings_from
from .progress import Counter, Progress
from .result import Result
from .toolkit import Fields, Settings, address, job

GridArgument = Union[FloatArray, Sequence[float], Tuple[float, float, int], None]


def invert(
    t: Any,
    y: Any = None,
    *,
    kernel: Union[str, FloatArray] = "t2",
    grid: GridArgument = None,
    method: str = "automatic",
    weight: Union[str, float] = "noise",
    noise: Union[str, float, None] = None,
    baseline: Union[str, float, None] = None,
    inversion_efficiency: Union[str, float, None] = None,
    prune: str = "log",
    prune_points: Optional[int] = None,
    compress: Union[bool, int, Tuple[int, float], None] = None,
    reject_outliers: Union[bool, float, str, Tuple[str, float], None] = None,
    skip: int = 0,
    flip: Union[str, float, None] = None,
    t1: Optional[float] = None,
    echo_spacing: Optional[float] = None,
    rician: bool = False,
    settings: Optional[Mapping[str, Union[float, str]]] = None,
    log: Union[str, "os.PathLike[str]", None] = None,
    calibrate: Optional[str] = None,
) -> Result:
    """Turns a decay into a distribution of relaxation times.

    Finds the F >= 0 that minimises 1/2 \\|K F - y\\|^2 + w/2 \\|F\\|^2. It runs on an instance
    of the library's state of its own, so that calls from several threads run side by side
    and none depends on what ran before.

    Parameters
    ----------
    t : array_like of shape (nf,)
        Sample times in s, rising from 0 or above; b-values in s/m^2 for "diffusion". Without
        ``y`` the decay itself: what :func:`vorin.read` or :func:`vorin.simulate` returned, a
        pandas Series whose index is the times in s (or time differences), or an xarray DataArray
        of one dimension whose coordinate is, in the unit that its attribute ``units`` names.
    y : array_like of shape (nf,), optional
        Samples in any unit. Complex ones are turned by the constant phase that makes the
        sum of squares of the imaginary channel least, and the real channel is inverted.
    kernel : {"t2", "t1-saturation", "t1-inversion", "diffusion", "t2-epg"} or array (nf, ng)
        exp(-t/T2), 1 - exp(-t/T1), 1 - 2 exp(-t/T1), exp(-b D), or a matrix of your own,
        whose columns belong to ``grid``.
    grid : array_like of shape (ng,) or (from, to, n), optional
        Relaxation times in s, or diffusion coefficients in m^2/s. Three numbers stand for
        n values evenly spaced in the logarithm. Without it: 100 from a third of the first
        time above 0 to three times the last (for "diffusion" the reciprocals of that range).
    method : {"automatic", "classic"}
        Who chooses the range of the grid that holds signal, the noise and the weight:
        "automatic" the data, which also tell where the kernel can't describe them
        (``finding`` of the result); "classic" the library on the whole grid, by a search for
        the w at which the fit misses the data by 1.05 times the noise. A key of that search
        in ``settings`` asks for "classic", too.
    weight : {"noise", "corner"} or float
        "noise" leaves it to ``method``, "corner" takes RWEI times the corner of the L-curve,
        a number is w itself.
    noise : float or {"difference", "fit", "ridge", "scan", "quadrature"}, optional
        Standard deviation of the noise in the unit of ``y``, or how to find it: the
        library's second differences of neighbouring samples; the standard error of its
        non-negative fit without a penalty; of its ridge fit; the least one on a grid of
        weights; the deviation of the imaginary channel. Without it: that of the residual of
        the closest fit or, with "classic", :func:`vorin.difference_noise`.
    baseline : "fit" or float, optional
        A constant beside the curve, fitted or given in the unit of ``y``.
    inversion_efficiency : "fit" or float, optional
        How complete the inversion was, for "t1-inversion": E of 1 - (1 + E) exp(-t/T1), 0 to 1.
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
    flip : "estimate" or float, optional
        For "t2-epg", echoes behind incomplete refocusing: the refocusing angle in degrees
        (180), or that at which a distribution comes closest to the decay.
    t1 : float, optional
        For "t2-epg": the longitudinal relaxation time in s (1).
    echo_spacing : float, optional
        For "t2-epg": the time in s from echo to echo, by default the first of ``t``.
    rician : bool
        The data are magnitudes, as images are; the floor that noise leaves under them is taken
        away.
    settings : mapping, optional
        Keys of the library, such as ``{"MAXI": 200}``, set last. They apply to data whose
        largest magnitude is 1.
    log : path-like, optional
        Keeps the library's log there.
    calibrate : str, optional
        The unit of all amplitudes of the result: "100pu=1234.5" says that an amplitude of 1234.5
        in ``y`` is 100 pu. ``noise`` and ``baseline`` stay in the unit of ``y``.

    Returns
    -------
    Result

    Raises
    ------
    InputValueError, InputTypeError
        For arguments that can't be used; they are a ValueError and a TypeError.
    LibraryNotFound
        When there is no shared library; see :func:`vorin.find_toolkit`.

    See Also
    --------
    invert_many, lcurve, Result.bootstrap

    Examples
    --------
    >>> decay = vorin.simulate(noise=0.2, seed=1)        # peaks at 8 and 90 ms
    >>> result = vorin.invert(decay.t, decay.y)
    >>> result.status_text
    'success'
    >>> [f"{1e3 * peak.position:.0f} ms" for peak in result.peaks(0.05)]
    ['9 ms', '87 ms']
    >>> bool(abs(result.log_mean / decay.log_mean - 1) < 0.02)
    True
    """
    options = {"kernel": kernel, "grid": grid, "method": method, "weight": weight,
               "noise": noise, "baseline": baseline,
               "inversion_efficiency": inversion_efficiency, "prune": prune,
               "prune_points": prune_points, "compress": compress,
               "reject_outliers": reject_outliers, "skip": skip, "flip": flip, "t1": t1,
               "echo_spacing": echo_spacing, "rician": rician, "settings": settings, "log": log,
               "calibrate": calibrate}
    return _inverted(settings_from(**options), options, t, y)


def _inverted(made: Settings, options: Mapping[str, Any], t: Any, y: Any) -> Result:
    decay = samples(*labelled.pair(t, y))
    return Result._of(_run(made, decay), _Again({**options, "log": None}, decay))


def _run(made: Settings, decay: Samples) -> Fields:
    times, real, imaginary = decay
    return job("vorin_invert", made.raw, address(times), address(real),
               None if imaginary is None else address(imaginary), times.size)


class _Again:
    """An inversion that can be done once more, in another process too."""

    def __init__(self, options: Mapping[str, Any], decay: Samples):
        self._options = options
        # The caller may change what it gave.
        self._decay = tuple(None if part is None else part.copy() for part in decay)

    def __call__(self) -> Fields:
        return _run(settings_from(**self._options), self._decay)  # type: ignore[arg-type]


@overload
def invert_many(t: Any, decays: Mapping[Any, Any], *,  # type: ignore[misc]
                axis: Union[int, str] = -1, workers: Optional[int] = None,
                on_error: Literal["raise"] = "raise", progress: Progress = None,
                **options: Any) -> Dict[Any, Result]: ...


@overload
def invert_many(t: Any, decays: Numbers, *, axis: Union[int, str] = -1,
                workers: Optional[int] = None, on_error: str = "raise", progress: Progress = None,
                **options: Any) -> Any: ...


@overload
def invert_many(t: Any, decays: Iterable[Any], *, axis: Union[int, str] = -1,
                workers: Optional[int] = None,
                on_error: Literal["raise"] = "raise", progress: Progress = None,
                **options: Any) -> List[Result]: ...


@overload
def invert_many(t: Any, decays: Any = None, *, axis: Union[int, str] = -1,
                workers: Optional[int] = None,
                on_error: str = "raise", progress: Progress = None, **options: Any) -> Any: ...


def invert_many(t: Any, decays: Any = None, *, axis: Union[int, str] = -1,
                workers: Optional[int] = None, on_error: str = "raise", progress: Progress = None,
                **options: Any) -> Any:
    """Inverts many decays in threads, each on an instance of its own.

    Parameters
    ----------
    t : array_like of shape (nf,)
        The times of all decays, as for :func:`vorin.invert`. Without ``decays`` what has times
        itself: a pandas DataFrame whose index is the times in s and whose columns are the decays;
        an xarray DataArray; a list or dict of decays that each bring their own times.
    decays : iterable, mapping, array or DataFrame
        The decays: a list, a dict, the columns of a DataFrame, or an array of 2 or more
        dimensions.
    axis : int or str
        Of an array: the axis of the samples, the last one by default; of a DataArray also the name
        of the dimension.
    workers : int, optional
        Threads; one for each processor by default.
    on_error : {"raise", "keep"}
        What becomes of a decay that can't be inverted: "raise" ends with its exception, "keep"
        puts the exception in the place of its result.
    progress : bool or callable, optional
        Called with the count of decays done so far; True shows a bar of tqdm, if that is there.
    **options
        Passed to :func:`vorin.invert`.

    Returns
    -------
    list, dict or numpy.ndarray of Result
        A list in the order of ``decays``; of a mapping, a DataFrame or a DataArray of 2 dimensions
        with labels a dict by keys, columns or labels; of an array of 3 or more dimensions an array
        of objects of the shape without ``axis``. The same to the last bit as one call after
        another. :func:`vorin.to_dataframe` makes a table of each, :func:`vorin.to_xarray` a
        Dataset.

    Examples
    --------
    >>> decay = vorin.simulate(1e-3 * np.arange(1, 201), seed=1)
    >>> image = np.tile(decay.y, (2, 3, 1))              # 2 x 3 pixels
    >>> results = vorin.invert_many(decay.t, image)
    >>> results.shape, results[1, 2] == vorin.invert(decay.t, decay.y)
    ((2, 3), True)
    """
    if on_error not in ("raise", "keep"):
        raise InputValueError(f'on_error is {on_error!r}; write "raise" or "keep"')
    if options.get("log") is not None:
        raise InputValueError("log: several inversions would write one file; invert one by one to "
                              "keep logs")
    many = decays_of(t, decays, axis)
    options = {**DEFAULTS, **known(options)}
    made = settings_from(**options)

    def one(decay: Tuple[Any, Any]) -> Any:
        try:
            return _inverted(made, options, *decay)
        except (InputValueError, InputTypeError) as error:
            if on_error == "raise":
                raise
            return error

    with Counter(progress, len(many.decays), "decay") as counter:
        results = _mapped(lambda decay: _counted(counter, one(decay)), many.decays,
                          worker_count(workers, len(many.decays)))
    return many.put_together(results)


def _counted(counter: Counter, result: Any) -> Any:
    counter.add(1)
    return result


def _mapped(function: Callable[[Any], Any], rows: List[Any], threads: int) -> List[Any]:
    if threads == 1:
        return [function(row) for row in rows]
    with ThreadPoolExecutor(threads) as pool:
        return list(pool.map(function, rows))


#: The options of :func:`vorin.invert`.
DEFAULTS: Dict[str, Any] = dict(invert.__kwdefaults__ or {})


def known(options: Mapping[str, Any]) -> Mapping[str, Any]:
    """``options``, each of which :func:`vorin.invert` has."""
    for name in options:
        if name not in DEFAULTS:
            raise InputTypeError(f"{name}: vorin.invert has no such option; its options are "
                                 f"{', '.join(DEFAULTS)}")
    return options
