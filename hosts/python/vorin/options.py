"""The arguments of :func:`vorin.invert` as settings of the toolkit.

What is looked at here is of which type a value is. What a value may be, the toolkit knows.
"""

from __future__ import annotations

import numbers
import os
from typing import Any, Mapping, Optional

import numpy as np

from . import checks
from .data import real_array
from .errors import InputTypeError
from .grids import as_grid
from .toolkit import Settings


def settings_from(kernel: Any, grid: Any, method: Any, weight: Any, noise: Any, baseline: Any,
                  inversion_efficiency: Any, prune: Any, prune_points: Any, compress: Any,
                  reject_outliers: Any, skip: Any, settings: Any, log: Any,
                  calibrate: Any = None, flip: Any = None, t1: Any = None,
                  echo_spacing: Any = None, rician: Any = False) -> Settings:
    """The settings of an inversion."""
    made = Settings()
    _set_kernel(made, kernel)
    if not isinstance(method, str):
        raise InputTypeError(f"method is of type {type(method).__name__}; write automatic or "
                             "classic")
    made.set("method", method)
    if baseline is not None:
        made.set("baseline", _text_or_number("baseline", baseline, "\"fit\" or a number"))
    if inversion_efficiency is not None:
        made.set("inversion_efficiency",
                 _text_or_number("inversion_efficiency", inversion_efficiency,
                                 "\"fit\" or a number from 0 to 1"))
    if grid is not None:
        made.set("grid", as_grid(grid))
    made.set("weight", _text_or_number("weight", weight, "\"noise\", \"corner\" or a number"))
    if noise is not None:
        made.set("noise", _text_or_number("noise", noise, "a number or the name of an estimate"))
    if not isinstance(prune, str):
        raise InputTypeError(f"prune is of type {type(prune).__name__}; write log, linear or none")
    made.set("prune", prune)
    if prune_points is not None:
        made.set("prune_points", checks.number("prune_points", prune_points, "i"))
    made.set("compress", _compression(compress))
    made.set("reject_outliers", _outliers(reject_outliers))
    made.set("skip", checks.number("skip", skip, "i"))
    if flip is not None:
        made.set("flip", _text_or_number("flip", flip, "\"estimate\" or a number of degrees"))
    if t1 is not None:
        made.set("t1", number_option("t1", t1, "a time in s"))
    if echo_spacing is not None:
        made.set("echo_spacing", number_option("echo_spacing", echo_spacing, "a time in s"))
    if not isinstance(rician, (bool, np.bool_)):
        raise InputTypeError(f"rician is of type {type(rician).__name__}; True or False is "
                             "required")
    if rician:
        made.set("rician", "on")
    _set_keys(made, settings)
    if calibrate is not None:
        if not isinstance(calibrate, str):
            raise InputTypeError(f"calibrate is of type {type(calibrate).__name__}; a text such as "
                                 "\"100pu=1234.5\" is required")
        made.set("calibrate", calibrate)
    if log is not None:
        made.set("log", os.path.abspath(os.fspath(log)))
    return made


def _set_kernel(made: Settings, kernel: Any) -> None:
    if isinstance(kernel, str):
        made.set("kernel", kernel)
    elif np.ndim(kernel) == 0:
        raise InputTypeError(f"kernel is of type {type(kernel).__name__}; a name or a numpy array "
                             "of samples by grid values is required")
    else:
        made.set("kernel", real_array("kernel", kernel, dimensions=2))


def number_option(name: str, value: Any, words: str) -> float:
    """A number, no truth value; ``words`` tell what is required."""
    if isinstance(value, (bool, np.bool_)) or not isinstance(value, numbers.Real):
        raise InputTypeError(f"{name} is of type {type(value).__name__}; {words} is required")
    return float(value)


def _text_or_number(name: str, value: Any, words: str) -> Any:
    if isinstance(value, str) and value:
        return value
    return number_option(name, value, words)


def _compression(compress: Any) -> Optional[str]:
    if compress is None or compress is False:
        return None
    if compress is True:
        return "on"
    if isinstance(compress, tuple) and len(compress) == 2:
        rows = checks.number("compress", compress[0], "i")
        return f"{rows},{checks.number('the ratio of compress', compress[1], 'f')!r}"
    return str(checks.number("compress", compress, "i"))


def _outliers(reject: Any) -> Optional[str]:
    words = "True, \"robust\" or a number of standard deviations"
    if reject is None or reject is False:
        return None
    if reject is True:
        return "on"
    if isinstance(reject, str):
        return reject
    if isinstance(reject, tuple) and len(reject) == 2 and isinstance(reject[0], str):
        return f"{reject[0]},{number_option('reject_outliers', reject[1], words)!r}"
    return repr(number_option("reject_outliers", reject, words))


def _set_keys(made: Settings, settings: Any) -> None:
    if settings is None:
        return
    if not isinstance(settings, Mapping):
        raise InputTypeError(f"settings is of type {type(settings).__name__}; a mapping of keys to "
                             "values is required, such as {'MAXI': 200}")
    for key, value in settings.items():
        if not isinstance(key, str):
            raise InputTypeError(f"settings: the key {key!r} is not a text; keys are texts such as "
                                 "'MAXI'")
        if not isinstance(value, str):
            value = number_option(f"settings[{key!r}]", value, "a number or a text")
        made.set(f"key.{key.strip().upper()}", value)
