"""Reports of inversions as files."""

from __future__ import annotations

import os
from typing import Any, Mapping

import numpy as np

from . import checks, toolkit
from .bootstrapping import worker_count
from .data import real_array
from .errors import InputTypeError
from .toolkit import Fields, Settings


def write_report(inversion: Fields, path: Any, cutoffs: Any, percentiles: Any, replicates: int,
                 seed: int, texts: Mapping[str, str]) -> None:
    """Writes what :meth:`vorin.Result.report` says."""
    settings = Settings(cutoff=_listed("cutoffs", cutoffs),
                        percentiles=_listed("percentiles", percentiles))
    for name, text in texts.items():
        if name not in ("name", "title", "amplitude_label"):
            raise InputTypeError(f"{name}: a report has no such text; its texts are name, title, "
                                 "amplitude_label")
        settings.set(name, str(text))
    band = None
    if replicates:
        request = Settings(replicates=str(checks.number("bootstrap", replicates, "i")),
                           seed=str(checks.number("seed", seed, "i")),
                           threads=worker_count(None, 64))
        with toolkit.named("replicates", "bootstrap"):
            band = toolkit.bootstrap(inversion, request, None)
    toolkit.call("vorin_write_report", inversion.raw, None if band is None else band.raw,
                 settings.raw, os.fsencode(os.path.abspath(os.fspath(path))))


def _listed(name: str, values: Any) -> Any:
    numbers = real_array(name, np.atleast_1d(np.asarray(values, dtype=float)))
    return ",".join(repr(float(value)) for value in numbers) or None
