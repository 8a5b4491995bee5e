"""One decay with its kernel as the library takes them, solved any number of times."""

from __future__ import annotations

import itertools
import math
import os
from dataclasses import dataclass, replace
from pathlib import Path
from typing import Any, Callable, Optional, Union

import numpy as np

from .errors import InputValueError, VorinError
from .library import NO_LOG, Library
from .settings import ESTIMATORS, Options

#: The tolerance is that of the squared change of a dual vector of about noise / weight. For
#: data of magnitude 1 the library's 1e-6 ends a solve at a large weight before it has
#: settled; this value costs a pass more. Single precision (BRDA = 1) would not reach it.
TOLERANCE = 1e-12

_LEAST_SHIFT = 1e-6
_MEDIAN_OF_NORMAL = 0.6744897501960817  # half of |N(0, 1)| lies below
_ROUNDING = 1e-6  # of data of magnitude 1
_log_numbers = itertools.count()


@dataclass(frozen=True)
class Solution:
    """What one call of a driver left, in the unit of the data."""

    distribution: np.ndarray
    fit: np.ndarray
    status: int
    mode: str  #: "fixed", "noise" or "corner"
    weight: float
    wanted_error: float  #: nan without a search
    reached_error: float  #: of the reduced data
    weight_steps: int
    passes: int  #: of the last solve; 0 when it was none that iterates
    rejected: np.ndarray  #: samples that the library took for outliers (bool, nf)

    @property
    def success(self) -> bool:
        """True when the distribution is what was asked for; the corner reports neither."""
        return self.status < 1 or (self.status == 999 and self.mode == "corner")

    @property
    def out_of_reach(self) -> bool:
        """True when the search failed since every fit misses the data by more than it wanted."""
        return (self.mode == "noise" and not self.success
                and self.reached_error > self.wanted_error)


def pruning_abscissae(t: np.ndarray) -> np.ndarray:
    """The abscissae on which the library prunes: the times, unless the first is 0.

    Logarithmic bins have no lower end there. All are then shifted by the first spacing, so
    that the sample at 0 stands where an evenly spaced decay would have its first sample;
    the kernel keeps the true times.
    """
    if t[0] < np.finfo(np.float32).tiny:
        # A spacing that is nothing beside the whole would leave all bins near 0.
        t = t + max(t[1] - t[0], _LEAST_SHIFT * t[-1])
    return t.astype(np.float32)


class Problem:
    """A kernel, the samples and how to invert them.

    Parameters
    ----------
    t, y : arrays of shape (nf,)
    kernel : array of shape (nf, ng)
    grid : array of shape (ng,)
    options : Options
    """

    def __init__(self, t: np.ndarray, y: np.ndarray, kernel: np.ndarray, grid: np.ndarray,
                 options: Options):
        self.options = options
        self.y = y
        self.scale = float(np.max(np.abs(y)))
        self._kernel = np.asfortranarray(kernel, dtype=np.float32)
        self._abscissae = pruning_abscissae(t)
        self._grid = grid.astype(np.float32)

    def without(self, rejected: np.ndarray) -> "Problem":
        """The problem of the samples that are not ``rejected`` (bool, nf)."""
        other = object.__new__(Problem)
        other.options, other._grid = replace(self.options, outliers=None), self._grid
        other.y = self.y[~rejected]
        other.scale = float(np.max(np.abs(other.y)))  # an outlier may have been the largest
        other._kernel = np.asfortranarray(self._kernel[~rejected])
        other._abscissae = self._abscissae[~rejected]
        return other

    def at_weight(self, weight: float) -> "Problem":
        """The same problem at a fixed weight, whatever the keys given by the user say."""
        other = object.__new__(Problem)
        kept = tuple((key, value) for key, value in self.options.settings
                     if key not in ("TARG", "WEIG"))
        other.__dict__ = dict(self.__dict__,
                              options=replace(self.options, weight=weight, settings=kept))
        return other

    @property
    def data(self) -> np.ndarray:
        """The samples as the library gets them: single precision, largest magnitude 1."""
        return (self.y / self.scale).astype(np.float32)

    def fit_of(self, distribution: np.ndarray) -> np.ndarray:
        """The kernel times a distribution, at every sample."""
        return self._kernel.astype(float) @ distribution

    def set_keys(self, library: Library, log: Optional[Path] = None) -> None:
        """Hands the options to the store of a library that has been restored."""
        options = self.options
        library.VorinSQC("S", "FLOG", str(log) if log else NO_LOG)
        library.VorinSQR("S", "REPO", 2.0 if log else 0.0)
        library.VorinSQC("S", "PRMO", options.pruning)
        if options.prune_points is not None:
            library.VorinSQR("S", "PRPO", float(options.prune_points))
        if options.compression is not None:
            library.VorinSQR("S", "SVDN", float(options.compression[0]))
            library.VorinSQR("S", "SVDT", options.compression[1])
        if options.rejects_in_library:
            library.VorinSQR("S", "L2MO", 1.0)
            library.VorinSQR("S", "L2NS", float(options.outliers or 0.0))
        self._set_target(library)
        library.VorinSQC("S", "NALG", ESTIMATORS.get(str(options.noise), "NONE"))
        for key, value in options.settings:
            if isinstance(value, str):
                library.VorinSQC("S", key, value)
            else:
                library.VorinSQR("S", key, value)
        if log is None:
            library.VorinSQR("S", "REPO", 0.0)
        if "TOL" not in dict(options.settings) and library.get("BRDA") != 1.0:
            library.VorinSQR("S", "TOL", TOLERANCE)

    def _set_target(self, library: Library) -> None:
        weight = self.options.weight
        if isinstance(weight, str):
            library.VorinSQC("S", "TARG", {"noise": "NOISE", "corner": "2"}[weight])
        else:
            library.VorinSQC("S", "TARG", "WEIG")
            library.VorinSQR("S", "WEIG", weight)

    def set_noise(self, library: Library, noise: float) -> None:
        """Tells the library the noise of its data: SIG or CSI2 is read, depending on NALG."""
        library.VorinSQR("S", "SIG", noise / self.scale)
        library.VorinSQR("S", "CSI2", noise / self.scale)

    def needs_noise(self, library: Library) -> bool:
        """Whether the keys make the library aim at a noise that the host has to give."""
        if library.get("TARG") != "NOISE":
            return False
        # Differences are taken on this side, which the plain driver leaves to its host; all
        # other estimates are the library's.
        estimator = str(dict(self.options.settings).get(
            "NALG", ESTIMATORS.get(str(self.options.noise), "NONE")))
        return estimator in ("NONE", "ASY2") or (
            estimator[:1] == "D"
            and (not self.options.fifth_driver or self.options.noise == "difference"))

    def outliers(self, library: Library, threshold: float) -> np.ndarray:
        """Samples off an unpenalised fit by ``threshold`` noise deviations (bool, nf).

        The noise is that of the residual's median magnitude, of which outliers don't make much
        (F. R. Hampel, J. Am. Stat. Assoc. 69 (1974) 383). A large outlier pulls the fit off its
        neighbours, so only those are told that are at least half as far off as the farthest.
        """
        nf, ng = self._kernel.shape
        data = self.data.astype(float)
        fitted = library.plsN_dll(np.asfortranarray(self._kernel, float), nf, ng, data)
        off = np.abs(data - self.fit_of(fitted.x))
        noise = np.sort(off)[nf // 2] / _MEDIAN_OF_NORMAL
        if not noise > _ROUNDING:
            return np.zeros(nf, bool)  # computed data
        return off >= max(threshold * noise, 0.5 * np.max(off))

    def solve(self, library: Library, data: np.ndarray) -> Solution:
        """One inversion of ``data`` (single precision, nf) with the keys as they stand."""
        nf, ng = self._kernel.shape
        driver: Callable[..., Any] = (
            library.VorinyC5_s if self.options.fifth_driver else library.Voriny_s)
        answer = driver(nf, ng, nf, ng, self._kernel, self._abscissae, data, G=self._grid)
        mode = {"NOISE": "noise", "2": "corner"}.get(str(library.get("TARG")), "fixed")
        iterates = library.get("BRDA") != 3.0  # the quadratic program has no passes
        return Solution(
            distribution=answer.F.astype(float) * self.scale,
            fit=answer.FIT.astype(float) * self.scale,
            status=answer.status,
            mode=mode,
            weight=number(library, "CWEI"),
            wanted_error=number(library, "DSE") * self.scale if mode == "noise" else math.nan,
            reached_error=number(library, "CSE") * self.scale,
            weight_steps=round(number(library, "CWIT")),
            passes=round(number(library, "CITE")) if iterates else 0,
            rejected=answer.W > 1.0,
        )


def number(library: Library, key: str) -> float:
    """What a number key holds, in single precision as the library has it."""
    return float(library.VorinSQR("Q", key).value)


class LogFile:
    """The library's log on its way to where the caller wants it.

    The store holds texts in upper case, so the library can't be told a path with small
    letters. It writes a file of a name of its own in the working directory, which is then
    moved.
    """

    def __init__(self, path: Union[str, os.PathLike]):
        self._target = Path(os.path.abspath(path))
        if not self._target.parent.is_dir():
            raise InputValueError(f"log {str(path)!r}: there is no folder {self._target.parent}; "
                                  "make it first")
        if self._target.is_dir():
            raise InputValueError(f"log {str(path)!r}: this is a folder; give the name of a file")
        self._folder = Path.cwd()
        self.name = Path(f"VORIN-{os.getpid()}-{next(_log_numbers)}.LOG")

    def keep(self) -> None:
        """Moves the log to its place."""
        written = self._folder / self.name
        try:
            content = written.read_bytes()
            written.unlink()
        except OSError as error:
            raise VorinError(f"log {str(self._target)!r}: the library could not write its log in "
                             f"the working directory {self._folder} ({error.strerror}); change to "
                             "one that can be written to") from None
        try:
            self._target.write_bytes(content)
        except OSError as error:
            raise InputValueError(f"log {str(self._target)!r}: the file can't be written "
                                  f"({error.strerror})") from None

    def discard(self) -> None:
        """Removes a log that nobody will read."""
        (self._folder / self.name).unlink(missing_ok=True)
