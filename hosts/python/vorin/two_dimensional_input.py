"""What a two-dimensional inversion is given: its axes, samples and kernels, for the toolkit."""

from __future__ import annotations

from dataclasses import dataclass
from typing import Any, Callable, Dict, Optional, Tuple

import numpy as np

from .arrays import FloatArray
from .data import _numbers, _shaped, real_array
from .errors import InputTypeError, InputValueError
from .toolkit import Fields, Settings, address, named, watched_job


@dataclass(frozen=True)
class RepeatableInversion2D:
    """An inversion that can be run once more, also after a way through pickle."""

    options: Dict[str, Any]
    t1: FloatArray
    t2: FloatArray
    real: FloatArray
    imaginary: Optional[FloatArray]

    def run(self, progress: Optional[Callable[[float], None]]) -> Fields:
        """The toolkit's result."""
        settings = Settings()
        for name, value in self.options.items():
            if name == "kernels":
                set_kernels(settings, value)
            else:
                settings.set(name, value)
        told = None if progress is None else lambda done, total: progress(done / total)
        with named("kernel1", "kernels[0]"), named("kernel2", "kernels[1]"):
            return watched_job(
                "vorin_invert2d", told, settings.raw, address(self.t1), self.t1.size,
                address(self.t2), self.t2.size, address(self.real),
                None if self.imaginary is None else address(self.imaginary))


def set_kernels(settings: Settings, kernels: Tuple[Any, Any]) -> None:
    """Both kernels of a map, names or matrices."""
    for index, kernel in enumerate(kernels):
        where = f"kernels[{index}]"
        if not isinstance(kernel, str):
            if np.ndim(kernel) == 0:
                raise InputTypeError(f"{where} is of type {type(kernel).__name__}; a name or a "
                                     "numpy array of samples by grid values is needed")
            kernel = real_array(where, kernel, dimensions=2)
        with named(f"kernel{index + 1}", where):
            settings.set(f"kernel{index + 1}", kernel)


def pair_of(kernels: Any) -> Tuple[Any, Any]:
    given = [part.strip() for part in kernels.split(",")] if isinstance(kernels, str) else kernels
    if not isinstance(given, (tuple, list)) or len(given) != 2:
        raise InputTypeError(f"kernels {kernels!r}: two are needed, that of the rows first, such "
                             "as (\"t1-inversion\", \"t2\")")
    return given[0], given[1]


def axes_of(t1: Any, t2: Any) -> Tuple[FloatArray, FloatArray]:
    return real_array("t1", t1), real_array("t2", t2)


def samples_of(t1: Any, t2: Any, D: Any) -> Tuple[FloatArray, Optional[FloatArray]]:
    numbers = _shaped("D", _numbers("D", D), 2)
    if numbers.shape != (np.size(t1), np.size(t2)):
        raise InputValueError(f"D has shape {numbers.shape}; t1 has {np.size(t1)} values, one for "
                              f"each row, and t2 has {np.size(t2)}, one for each column")
    real = np.ascontiguousarray(numbers.real, dtype=float)
    if numbers.dtype.kind != "c":
        return real, None
    return real, np.ascontiguousarray(numbers.imag, dtype=float)
