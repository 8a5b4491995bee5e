"""How an inversion is to be run: the checked options, and the keys of the library."""

from __future__ import annotations

import numbers
from dataclasses import dataclass
from typing import Any, Dict, Mapping, Optional, Tuple, Union

import numpy as np

from . import checks
from .errors import InputTypeError, InputValueError
from .library import TEXT_KEYS, Library

#: The keys that hold a number and can be set, results included.
NUMBER_KEYS = tuple(
    "REPO SAVE SAVF PRLO PRHI PRPO SVDT SVDN L2MO L2NS BRDA TOL MAXI SIG RSIG L1AL WEIG WITE WTOL "
    "STOL WRAT WFRA RWEI WREF WMIN WMAX WNMI WNMA CSTA CWEI CWIT CITE CSIG CSI2 DSE CSE EWIT C1 "
    "C2".split())

#: The words that a choice takes; the library stores its last choice for what it does not know.
CHOICES = {
    "PRMO": ("LOG", "LIN", "LILO", "NONE"),
    "NALG": ("UREG", "FIT", "ASYM", "ASY2", "REG", "D2", "D3", "NONE"),
    "TARG": ("WEIG", "NOISE", "2"),
}

#: The library's estimators of the noise and the word of the key NALG for each.
#:
#: "fit" is the standard error of the non-negative fit without a penalty (the word FIT stands
#: for the same, and a query does not give it back), "ridge" that of a ridge fit, "scan" the
#: smallest standard error on a ladder of weights. "difference" takes second differences of
#: neighbouring samples (first ones, D2, count the slope of the curve as noise); D3 makes the
#: number in CSI2 the noise, which the compressed driver forms itself and a host of the plain
#: one puts there.
ESTIMATORS = {"fit": "UREG", "ridge": "REG", "scan": "ASYM", "difference": "D3"}

_PRUNING = {"log": "LOG", "linear": "LIN", "none": "NONE"}
_PRUNED_POINTS = (10, 5000)  # the range to which the library limits the count
_DEFAULT_ROWS, _DEFAULT_RATIO = 20, 1e-6  # of a compression
_MOST_ROWS = 10000
_DEFAULT_THRESHOLD = 4.0  # of outliers, in standard deviations: one good sample in 16000 goes
_SINGLE = np.finfo(np.float32)


@dataclass(frozen=True)
class Options:
    """Checked options of an inversion."""

    weight: Union[str, float] = "noise"  #: "noise", "corner" or a number
    noise: Union[str, float, None] = None  #: a number, an estimator's name, or None
    pruning: str = "LOG"  #: a word of PRMO
    prune_points: Optional[int] = None
    compression: Optional[Tuple[int, float]] = None  #: rows kept and ratio of singular values
    outliers: Optional[float] = None  #: threshold in standard deviations
    robust: bool = False  #: outliers are told on this side, not by the library
    settings: Tuple[Tuple[str, Union[float, str]], ...] = ()

    @property
    def rejects_in_library(self) -> bool:
        """True when the library itself keeps outliers out, by its key L2MO."""
        return self.outliers is not None and not self.robust

    @property
    def fifth_driver(self) -> bool:
        """True when the fifth compressed driver inverts, not the plain one."""
        return self.compression is not None or self.rejects_in_library


def options_from(weight: Any, noise: Any, prune: Any, prune_points: Any, compress: Any,
                 reject_outliers: Any, settings: Any) -> Options:
    """The arguments of :func:`vorin.invert`, checked."""
    outliers, robust = _outliers(reject_outliers)
    if outliers is not None and not robust and prune == "none":
        raise InputValueError("reject_outliers with prune 'none': the library keeps outliers out "
                              "of bins; let samples be gathered, or write 'robust'")
    return Options(
        weight=_weight(weight),
        noise=_noise(noise),
        pruning=_pruning(prune),
        prune_points=_prune_points(prune_points),
        compression=_compression(compress),
        outliers=outliers,
        robust=robust,
        settings=_settings(settings),
    )


def _positive(name: str, value: Any, words: str) -> float:
    if isinstance(value, bool) or not isinstance(value, numbers.Real):
        raise InputTypeError(f"{name} is of type {type(value).__name__}; {words} is wanted")
    number = float(value)
    if not float(_SINGLE.tiny) <= number <= float(_SINGLE.max):
        raise InputValueError(f"{name} is {number:g}; a number above 0 is wanted")
    return number


def _one_of(name: str, value: str, words: Any, else_: str = "") -> str:
    if value not in words:
        raise InputValueError(f"{name} {value!r}: write {', '.join(words)}{else_}")
    return value


def _weight(weight: Any) -> Union[str, float]:
    if isinstance(weight, str):
        return _one_of("weight", weight, ("noise", "corner"), " or give a number above 0")
    return _positive("weight", weight, "\"noise\", \"corner\" or a number")


def _noise(noise: Any) -> Union[str, float, None]:
    if noise is None:
        return None
    if isinstance(noise, str):
        return _one_of("noise", noise, (*ESTIMATORS, "quadrature"), " or give a number above 0")
    return _positive("noise", noise, "a number or the name of an estimate")


def _pruning(prune: Any) -> str:
    if not isinstance(prune, str):
        raise InputTypeError(f"prune is of type {type(prune).__name__}; write log, linear or none")
    return _PRUNING[_one_of("prune", prune, tuple(_PRUNING))]


def _prune_points(count: Any) -> Optional[int]:
    if count is None:
        return None
    whole = checks.number("prune_points", count, "i")
    least, most = _PRUNED_POINTS
    if not least <= whole <= most:
        raise InputValueError(
            f"prune_points is {whole}; a whole number from {least} to {most} is wanted")
    return whole


def _compression(compress: Any) -> Optional[Tuple[int, float]]:
    if compress is None or compress is False:
        return None
    if compress is True:
        return _DEFAULT_ROWS, _DEFAULT_RATIO
    rows, ratio = compress if isinstance(compress, tuple) and len(compress) == 2 else (
        compress, _DEFAULT_RATIO)
    count = checks.number("compress", rows, "i")
    ratio = checks.number("the ratio of compress", ratio, "f")
    if not 1 <= count <= _MOST_ROWS:
        raise InputValueError(
            f"compress is {count}; a count of rows from 1 to {_MOST_ROWS} is wanted")
    if not 0.0 <= ratio < 1.0:
        raise InputValueError(f"the ratio of compress is {ratio:g}; a number from 0 to below 1 is "
                              "wanted")
    return count, ratio


def _outliers(reject: Any) -> Tuple[Optional[float], bool]:
    if reject is None or reject is False:
        return None, False
    robust = False
    if isinstance(reject, str) or (isinstance(reject, tuple) and len(reject) == 2
                                   and isinstance(reject[0], str)):
        word, reject = (reject, True) if isinstance(reject, str) else reject
        _one_of("reject_outliers", word, ("robust",), " or give a number of standard deviations")
        robust = True
    if reject is True:
        return _DEFAULT_THRESHOLD, robust
    threshold = _positive("reject_outliers", reject, "True or a number of standard deviations")
    if threshold < 1.0:
        raise InputValueError(f"reject_outliers is {threshold:g}; a number of standard deviations "
                              "of 1 or above is wanted")
    return threshold, robust


def _settings(settings: Any) -> Tuple[Tuple[str, Union[float, str]], ...]:
    if settings is None:
        return ()
    if not isinstance(settings, Mapping):
        raise InputTypeError(f"settings is of type {type(settings).__name__}; a mapping of keys to "
                             "values is wanted, such as {'MAXI': 200}")
    checked: Dict[str, Union[float, str]] = {}
    for key, value in settings.items():
        if not isinstance(key, str):
            raise InputTypeError(f"settings: the key {key!r} is no text; keys are texts such as "
                                 "'MAXI'")
        checked[key.strip().upper()] = _setting(key.strip().upper(), value)
    return tuple(checked.items())


def _setting(key: str, value: Any) -> Union[float, str]:
    where = f"settings[{key!r}]"
    if key == "FLOG":
        raise InputValueError(f"{where}: the log's name is given by the argument log")
    if key[:3] == "SIG":
        raise InputValueError(
            f"{where}: the noise is given by the argument noise, in the unit of the data")
    if key in CHOICES:
        if not isinstance(value, str):
            raise InputTypeError(f"{where} is of type {type(value).__name__}; it takes one of "
                                 f"{', '.join(CHOICES[key])}")
        return _one_of(where, value.upper(), CHOICES[key])
    if key == "PRAV":
        if not isinstance(value, str):
            raise InputTypeError(f"{where} is of type {type(value).__name__}; it takes a text")
        return value
    if key in ("VERN", "VERS"):
        raise InputValueError(f"{where}: this key can be read only")
    if key not in NUMBER_KEYS:
        raise InputValueError(f"{where}: the library has no such key; docs/keys.md lists them")
    number = checks.number(where, value, "f")
    if not abs(number) <= float(_SINGLE.max):
        raise InputValueError(f"{where} is {number:g}; a finite number is wanted")
    return number


def load_values(library: Library) -> Dict[str, float]:
    """What the number keys of a library hold, for :func:`restore`."""
    return {key: float(library.VorinSQR("Q", key).value) for key in NUMBER_KEYS}


def restore(library: Library, values: Mapping[str, float]) -> None:
    """Brings a library back to where every inversion starts, whatever ran before."""
    library.store_numbers(values)
    for key, word in (("PRMO", "LOG"), ("NALG", "NONE"), ("TARG", "NOISE"), ("PRAV", "DATA")):
        library.VorinSQC("S", key, word)


assert set(TEXT_KEYS) == {*CHOICES, "FLOG", "VERS", "PRAV"}
