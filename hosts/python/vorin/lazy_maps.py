"""Maps of dask arrays: chunks of voxels are inverted where and when dask computes them.

dask is imported where an array of it is given.
"""

from __future__ import annotations

from typing import Any, Dict, Optional, Tuple

import numpy as np

from .arrays import FloatArray, Numbers
from .tables import required
from .voxels import VoxelJob


def is_dask(value: Any) -> bool:
    """True for a dask array."""
    return all(hasattr(value, name) for name in ("__dask_graph__", "chunks", "map_blocks"))


def _dask() -> Any:
    return required("dask.array", "computes chunks")


def moved(values: Any, position: int) -> Any:
    """The array with an axis moved to the end."""
    if is_dask(values):
        return _dask().moveaxis(values, position, -1)
    return np.moveaxis(values, position, -1)


def inverted(job: VoxelJob, rows: Any, mask: Any, noise: Any, flip: Any, shared: bool
             ) -> Dict[str, Any]:
    """The maps as dask arrays, a task for each chunk of voxels."""
    array = _dask()
    rows = rows.rechunk({rows.ndim - 1: -1})  # a voxel's samples are inverted together
    voxels = tuple(range(rows.ndim - 1))
    samples, column = rows.ndim - 1, rows.ndim

    def over_voxels(values: Any) -> Tuple[Any, Any]:
        """``values`` in the chunks of the voxels, with their indices, for blockwise()."""
        if values is None:
            return None, None
        return array.asarray(values).rechunk(rows.chunks[:-1]), voxels

    width = len(job.numbers) + sum(job.widths.values())
    weight: Tuple[Any, Any] = (None, None)
    if shared:
        weight = _shared_weight(job, rows, over_voxels(mask), voxels, samples, column), ()
    packed = array.blockwise(
        _packed, (*voxels, column), rows, (*voxels, samples), *over_voxels(mask),
        *over_voxels(noise), *over_voxels(flip), *weight, job=job, new_axes={column: width}, concatenate=True,
        dtype=np.float64, meta=np.empty((0,) * rows.ndim), name=None)
    maps: Dict[str, Any] = {name: packed[..., k] for k, name in enumerate(job.numbers)}
    maps["status"] = maps["status"].astype(np.uint8)
    first = len(job.numbers)
    for name, columns in job.widths.items():
        maps[name] = packed[..., first:first + columns]
        first += columns
    return maps


def _shared_weight(job: VoxelJob, rows: Any, mask: Tuple[Any, Any], voxels: Tuple[int, ...],
                   samples: int, column: int) -> Any:
    """The weight by the mean decay of all chunks, as an array without dimensions."""
    array = _dask()
    sums = array.blockwise(
        _sums, (*voxels, column), rows, (*voxels, samples), *mask, job=job,
        new_axes={column: job.samples + 1}, adjust_chunks={k: 1 for k in voxels},
        concatenate=True, dtype=np.float64, meta=np.empty((0,) * rows.ndim))
    whole = sums.reshape(-1, job.samples + 1).rechunk(-1)
    return array.blockwise(_weight, (), whole, (0, 1), job=job, concatenate=True,
                                dtype=np.float64, meta=np.empty(()))


def _packed(rows: Numbers, mask: Optional[Numbers], noise: Optional[FloatArray],
            flip: Optional[FloatArray], weight: Optional[FloatArray], job: VoxelJob) -> FloatArray:
    """All numbers of the voxels of a chunk."""
    shape = rows.shape[:-1]
    if weight is not None:
        job = job.at_weight(float(weight))
    flat = rows.reshape(-1, rows.shape[-1])
    found = job.packed(flat, _flat(mask), _flat(noise), _flat(flip))
    return found.reshape(*shape, found.shape[-1])


def _sums(rows: Numbers, mask: Optional[Numbers], job: VoxelJob) -> FloatArray:
    """The sums of the samples of a chunk, and how many voxels they hold."""
    flat = rows.reshape(-1, rows.shape[-1])
    sums, count = job.add_to_mean(flat, _flat(mask), (np.zeros(job.samples), 0))
    return np.append(sums, count).reshape((1,) * (rows.ndim - 1) + (-1,))


def _weight(sums: FloatArray, job: VoxelJob) -> FloatArray:
    from .maps import mean_of

    total = sums.sum(axis=0)
    return np.array(job.shared_weight(mean_of(total[:-1], int(total[-1]))))


def _flat(values: Optional[Numbers]) -> Optional[Numbers]:
    return None if values is None else np.ascontiguousarray(values).reshape(-1)
