"""Blocks of voxels through the toolkit: how they are inverted, in this process or in another."""

from __future__ import annotations

import ctypes
import functools
import uuid
from typing import Any, Callable, Dict, List, Mapping, Optional, Tuple

import numpy as np

from .arrays import FloatArray, Numbers
from .errors import InputTypeError
from .options import settings_from
from .toolkit import Fields, Map, Settings, address, call, job, watched_job

#: What each voxel has one number of, whatever the kernel.
_NUMBERS = ("total", "log_mean", "weight", "noise", "signal_to_noise", "standard_error", "status")


class VoxelJob:
    """How voxels at the times ``t`` are inverted.

    It can be sent to another process, which makes the toolkit's part of it when it first
    inverts a block and keeps it for the next.
    """

    def __init__(self, t: FloatArray, options: Mapping[str, Any], extras: Mapping[str, Any]):
        self._t = t
        self._options = dict(options)
        self._extras = dict(extras)
        self._name = uuid.uuid4().hex
        #: What the result is about; asked for here, so that what is wrong with the settings is
        #: told before the first block.
        made = _map_of(self)
        description = job("vorin_map_describe", made.raw)
        self.grid: FloatArray = description.array("grid").copy()
        self.range_edges: FloatArray = description.array("range_edges").copy()
        self.status_words: List[str] = description.texts("status_words")
        self._keeps_flip = bool(description.number("keeps_flip"))
        self.keeps_distribution = bool(description.number("keeps_distribution"))

    def __eq__(self, other: object) -> bool:
        return isinstance(other, VoxelJob) and self._name == other._name

    def __hash__(self) -> int:
        return hash(self._name)

    def __dask_tokenize__(self) -> str:
        return self._name

    @property
    def samples(self) -> int:
        """Of a voxel."""
        return self._t.size

    @property
    def ranges(self) -> int:
        """Of ``share``."""
        return max(self.range_edges.size - 1, 0)

    @property
    def numbers(self) -> Tuple[str, ...]:
        """What each voxel has one number of, in the order of packed()."""
        return (*_NUMBERS, "flip") if self._keeps_flip else _NUMBERS

    @property
    def widths(self) -> Dict[str, int]:
        """How many numbers of each kind a voxel has, but for ``numbers``."""
        kept = {"share": self.ranges,
                "distribution": self.grid.size if self.keeps_distribution else 0}
        return {name: width for name, width in kept.items() if width > 0}

    def settings(self) -> Settings:
        """Those of the toolkit."""
        made = settings_from(**self._options)
        for name, value in self._extras.items():
            made.set(name, value)
        return made

    def at_weight(self, weight: float) -> "VoxelJob":
        """The same at a given weight."""
        return VoxelJob(self._t, {**self._options, "weight": weight}, self._extras)

    def invert(self, rows: Numbers, mask: Optional[Numbers], noise: Optional[FloatArray],
               flip: Optional[FloatArray],
               progress: Optional[Callable[[int, int], None]] = None) -> Fields:
        """A block of voxels, a row of samples each."""
        rows = plain(rows)
        made = _map_of(self)  # kept while it is at work, whatever else is made meanwhile
        return watched_job("vorin_map_invert", progress, made.raw, address(rows), rows.itemsize,
                           len(rows), _address_or_none(mask), _address_or_none(noise),
                           _address_or_none(flip))

    def packed(self, rows: Numbers, mask: Optional[Numbers], noise: Optional[FloatArray],
               flip: Optional[FloatArray]) -> FloatArray:
        """A block as an array with a row of all numbers for each voxel."""
        fields = self.invert(rows, mask, noise, flip)
        columns = [fields.array(name)[:, None] for name in self.numbers]
        columns += [fields.array(name).reshape(len(rows), width)
                    for name, width in self.widths.items()]
        return np.concatenate(columns, axis=1)

    def add_to_mean(self, rows: Numbers, mask: Optional[Numbers],
                    sums: Tuple[FloatArray, int]) -> Tuple[FloatArray, int]:
        """``sums``, of samples and how many voxels they hold, with those of a block."""
        rows = plain(rows)
        added = np.array(sums[0], dtype=float)
        count = ctypes.c_int64(sums[1])
        made = _map_of(self)
        call("vorin_map_add_to_mean", made.raw, address(rows), rows.itemsize, len(rows),
             _address_or_none(mask), address(added), ctypes.byref(count))
        return added, count.value

    def shared_weight(self, mean: FloatArray) -> float:
        """The weight at which the mean decay is inverted."""
        weight = ctypes.c_double()
        mean = np.ascontiguousarray(mean, dtype=float)
        settings = self.settings()
        call("vorin_map_shared_weight", settings.raw, address(self._t), address(mean),
             mean.size, ctypes.byref(weight))
        return weight.value


@functools.lru_cache(maxsize=8)
def _map_of(voxels: VoxelJob) -> Map:
    return Map(voxels.settings(), voxels._t)


def _address_or_none(array: Optional[Numbers]) -> Optional[ctypes.c_void_p]:
    return None if array is None else address(array)


def plain(block: Numbers) -> Numbers:
    """The numbers of a block in an array that the toolkit takes; masked ones as not-a-number."""
    if isinstance(block, np.ma.MaskedArray):
        block = np.where(np.broadcast_to(block.mask, block.shape), np.nan, block.data)
    return np.ascontiguousarray(block, dtype=_taken(block.dtype))


def _taken(dtype: "np.dtype[Any]") -> Any:
    if dtype.kind == "c":
        raise InputTypeError("data is complex; give its real channel after a phase correction, or "
                             "its magnitude")
    if dtype.kind not in "iuf":
        raise InputTypeError(f"data holds {dtype} values; numbers are required")
    return np.float32 if dtype.kind == "f" and dtype.itemsize <= 4 else np.float64


def require_numbers(dtype: Any) -> None:
    """Raises InputTypeError for what is no array of real numbers."""
    _taken(np.dtype(dtype))
