"""Inverting very many decays at the same times: images, logs, profiles."""

from __future__ import annotations

from typing import Any, Dict, Hashable, Iterator, List, Mapping, Optional, Sequence, Tuple, Union

import numpy as np

from . import labelled, lazy_maps
from .arrays import FloatArray, Numbers
from .bootstrapping import MOST_THREADS, worker_count
from .data import real_array
from .errors import InputTypeError, InputValueError
from .inversion import DEFAULTS, known
from .map_result import MapResult
from .options import number_option
from .progress import Counter, Progress
from .voxels import VoxelJob, require_numbers

#: Bytes of samples and results that a block holds, about.
_BLOCK_BYTES = 16 << 20
_FEWEST_VOXELS, _MOST_VOXELS = 64, 16384

_NOT_HERE = {"log": "a map writes none; invert a single decay to keep its log"}


def invert_map(t: Any, data: Any = None, axis: Union[int, str] = -1, *, mask: Any = None,
               threshold: Optional[float] = None, noise: Any = None,
               weight: Union[str, float] = "own",
               cutoffs: Union[float, Sequence[float], None] = None, distribution: bool = False,
               jobs: Optional[int] = None, progress: Progress = None, **settings: Any) -> Any:
    """Inverts every voxel of an image, every depth of a log, every row of a table.

    What the decays share is computed once, and blocks of them are inverted on threads. Each
    number is that of :func:`vorin.invert` on the voxel's samples, to the last bit. A voxel that
    can't be inverted (zeros, not-a-number, no noise) gets a status and not-a-number and stops
    nothing.

    Parameters
    ----------
    t : array_like of shape (nf,)
        The times of the samples in s. Without ``data``, or None with it, the DataArray has them
        as the coordinate of its dimension ``axis``.
    data : array, xarray.DataArray or dask.array.Array
        Samples, ``nf`` of them along ``axis``; the other axes are those of the voxels. Of a
        memory-mapped array a block at a time is read. On a dask array, also one in a DataArray,
        nothing is inverted yet: its chunks are, when the result is computed or written.
    axis : int or str
        The axis of the samples, the last one by default; of a DataArray also its name.
    mask : array_like of the shape of the voxels, optional
        Voxels where it is 0 are not inverted.
    threshold : float, optional
        Voxels without a sample of this magnitude are not inverted.
    noise : float, str or array of the shape of the voxels, optional
        As for :func:`vorin.invert`, or the standard deviation for each voxel; not-a-number
        in it leaves a voxel to its own samples.
    weight : {"own", "shared", "corner"} or float
        "own" chooses the weight of each voxel by its noise, "corner" by its L-curve, and a number
        is the weight of all. "shared" is the one weight at which :func:`vorin.invert` inverts the
        mean decay of all voxels; give ``noise``, that of a single voxel, since the mean has less.
    cutoffs : sequence of float, optional
        Values of the grid between which ``share`` of the result is told, in s (or m^2/s).
    distribution : bool
        Keeps the distribution of each voxel.
    jobs : int, optional
        Threads; one for each processor, or, on a dask array, one for each chunk that dask
        computes at a time.
    progress : bool or callable, optional
        Called with the count of voxels done so far; True shows a bar of tqdm, if that is there.
    **settings
        Options of :func:`vorin.invert`: ``kernel``, ``grid``, ``method``, ``skip`` and others.
        ``flip`` for "t2-epg" may also be an array of the shape of the voxels, a map of refocusing
        angles in degrees, which are taken to the nearest degree; where it is not-a-number the
        angle is estimated.

    Returns
    -------
    MapResult or xarray.Dataset
        Of a DataArray a Dataset with its dimensions and coordinates; of any other array a
        MapResult. Of a dask array both hold dask arrays.

    See Also
    --------
    invert, invert_many

    Examples
    --------
    >>> decay = vorin.simulate(2e-3 * np.arange(1, 57), noise=0.2, seed=1)
    >>> image = np.tile(decay.y, (2, 3, 1))              # 2 x 3 voxels
    >>> image[0, 1] = 0.0
    >>> maps = vorin.invert_map(decay.t, image, cutoffs=[0.033])
    >>> maps.counts
    {'ok': 5, 'all zero': 1}
    >>> bool(maps.log_mean[1, 2] == vorin.invert(decay.t, decay.y).log_mean)
    True
    >>> maps.share.shape
    (2, 3, 2)
    """
    image = _Image(t, data, axis)
    options = _options(settings, weight, noise, image.voxels)
    lazy = lazy_maps.is_dask(image.rows)
    threads = 1 if lazy and jobs is None else worker_count(jobs, MOST_THREADS, "jobs")
    extras = {"cutoff": _cutoffs(cutoffs), "distribution": _on("distribution", distribution),
              "threshold": None if threshold is None else
              number_option("threshold", threshold, "a number in the unit of the data"),
              "threads": threads}
    job = VoxelJob(image.times, options, extras)
    flip = settings.get("flip")
    of_voxels = {"flip": _number_map("flip", image.of_voxels("flip", flip)) if _is_map(flip)
                 else None,
                 "mask": None if mask is None else _mask(image.of_voxels("mask", mask)),
                 "noise": _number_map("noise", image.of_voxels("noise", noise)) if _is_map(noise)
                 else None}
    shared = isinstance(weight, str) and weight == "shared"
    if lazy:
        if progress is not None and progress is not False:
            raise InputTypeError("progress: a dask array is inverted when the result is computed; "
                                 "dask.diagnostics.ProgressBar shows how far it is")
        maps = lazy_maps.inverted(job, image.rows, of_voxels["mask"], of_voxels["noise"],
                                  of_voxels["flip"], shared)
    else:
        maps = _inverted(job, image.rows, of_voxels, shared, progress)
    return image.labelled(MapResult._of(job, options["kernel"], maps))


def _options(settings: Mapping[str, Any], weight: Any, noise: Any, voxels: Tuple[int, ...]
             ) -> Dict[str, Any]:
    """Those of vorin.invert."""
    for name, why in _NOT_HERE.items():
        if settings.get(name) is not None:
            raise InputValueError(f"{name}: {why}")
    options = {**DEFAULTS, **known(settings)}
    if isinstance(weight, str):
        if weight not in ("own", "shared", "noise", "corner"):
            raise InputValueError(f"weight is {weight!r}; write \"own\", \"shared\", \"corner\" or "
                                  "a number above 0")
        weight = "corner" if weight == "corner" else "noise"
    options["weight"] = weight
    options["noise"] = None if _is_map(noise) else noise
    if _is_map(options["flip"]):
        options["flip"] = "estimate"  # for the voxels that have no number of their own
    if isinstance(noise, str) and noise == "quadrature":
        raise InputValueError("noise is \"quadrature\"; a map has no imaginary channel: give a "
                              "number, an array for each voxel or another estimate")
    return options


def _is_map(noise: Any) -> bool:
    return bool(noise.ndim > 0 if hasattr(noise, "ndim") else np.ndim(noise) > 0)


def _on(name: str, value: Any) -> str:
    if not isinstance(value, (bool, np.bool_)):
        raise InputTypeError(f"{name} is of type {type(value).__name__}; True or False is required")
    return "on" if value else "off"


def _cutoffs(cutoffs: Any) -> Optional[str]:
    if cutoffs is None:
        return None
    values = real_array("cutoffs", np.atleast_1d(cutoffs))
    return ",".join(repr(float(value)) for value in values) or None


def _mask(mask: Any) -> Any:
    return (mask != 0).astype(np.uint8)


def _number_map(name: str, values: Any) -> Any:
    if values.dtype.kind not in "iuf":
        raise InputTypeError(f"{name} holds {values.dtype} values; numbers are required")
    return values.astype(float)


class _Image:
    """The samples with their axis last, and what the array says beside them."""

    def __init__(self, t: Any, data: Any, axis: Union[int, str]):
        if data is None or (t is None and labelled.is_data_array(data)):
            t, data = None, t if data is None else data
            if not labelled.is_data_array(data):
                raise InputTypeError("data is missing; give times and data, or an xarray DataArray "
                                     "that has both")
        self._array: Any = data if labelled.is_data_array(data) else None
        values = self._array.data if self._array is not None else data
        if not (hasattr(values, "ndim") and hasattr(values, "dtype")):
            values = np.asarray(values)
        require_numbers(values.dtype)
        if values.ndim == 0:
            raise InputValueError("data is a single number; samples along one axis are required")
        position = labelled.axis_position(
            "data", values if self._array is None else self._array, axis)
        if t is None:
            t = labelled.times_along(self._array, self._array.dims[position])
        self.times: FloatArray = real_array("t", labelled.seconds(t))
        self._require_samples(values.shape, position, axis)
        self.rows: Any = lazy_maps.moved(values, position)
        self._dims: List[Hashable] = []
        if self._array is not None:
            self._dims = [dim for k, dim in enumerate(self._array.dims) if k != position]
        #: The shape of the maps.
        self.voxels: Tuple[int, ...] = tuple(self.rows.shape[:-1])

    def _require_samples(self, shape: Tuple[int, ...], position: int, axis: Any) -> None:
        samples, size = shape[position], self.times.size
        if samples != size:
            fits = f"; axis={shape.index(size)} fits" if size in shape else ""
            raise InputValueError(f"data has {samples} samples along axis {axis} and t has "
                                  f"{size}{fits}")

    def of_voxels(self, name: str, value: Any) -> Any:
        """An array of the shape of the voxels; a DataArray by the names of its dimensions."""
        if labelled.is_data_array(value):
            if self._dims and set(value.dims) == set(self._dims):
                value = value.transpose(*self._dims)
            value = value.data
        if not lazy_maps.is_dask(value):
            value = np.asarray(value)
        if tuple(value.shape) != self.voxels:
            raise InputValueError(f"{name} has shape {tuple(value.shape)} and the voxels "
                                  f"{self.voxels}; one value for each voxel is required")
        return value

    def labelled(self, result: MapResult) -> Any:
        """The result as a Dataset where the data have names."""
        if self._array is None:
            return result
        coords = {name: values for name, values in self._array.coords.items()
                  if set(values.dims) <= set(self._dims)}
        return result._dataset(self._dims, coords, str(self._array.attrs.get("units", "")))


def _blocks(rows: Numbers, size: int) -> Iterator[Tuple[int, int, Numbers]]:
    """First voxel, the one behind the last, and the samples of each block of at most ``size``."""
    shape = rows.shape[:-1]
    count = int(np.prod(shape))
    flat = rows.reshape(count, rows.shape[-1]) if rows.flags.c_contiguous else None
    for first in range(0, count, size):
        last = min(first + size, count)
        if flat is not None:
            yield first, last, flat[first:last]
        else:  # without a copy of the whole
            yield first, last, rows[np.unravel_index(np.arange(first, last), shape)]


def _inverted(job: VoxelJob, rows: Numbers, of_voxels: Mapping[str, Optional[Numbers]],
              shared: bool, progress: Progress) -> Dict[str, Numbers]:
    """The maps of an array in memory, or mapped into it, a block at a time."""
    shape = rows.shape[:-1]
    count = int(np.prod(shape))
    each = 8 * (rows.shape[-1] + len(job.numbers) + sum(job.widths.values()))
    size = int(np.clip(_BLOCK_BYTES // each, _FEWEST_VOXELS, _MOST_VOXELS))
    flat = {name: None if values is None else np.ascontiguousarray(values).reshape(-1)
            for name, values in of_voxels.items()}

    def part(name: str, first: int, last: int) -> Optional[Numbers]:
        values = flat[name]
        return None if values is None else values[first:last]

    if shared:
        sums: Tuple[FloatArray, int] = (np.zeros(job.samples), 0)
        for first, last, block in _blocks(rows, size):
            sums = job.add_to_mean(block, part("mask", first, last), sums)
        job = job.at_weight(job.shared_weight(mean_of(*sums)))
    maps: Dict[str, Numbers] = {name: np.empty(count) for name in job.numbers}
    maps["status"] = np.empty(count, dtype=np.uint8)
    maps.update({name: np.empty((count, width)) for name, width in job.widths.items()})
    with Counter(progress, count, "voxel") as counter:
        for first, last, block in _blocks(rows, size):
            found = job.invert(block, part("mask", first, last), part("noise", first, last),
                               part("flip", first, last), counter.beyond(first))
            for name, values in maps.items():
                values[first:last] = found.array(name).reshape(values[first:last].shape)
    return {name: values.reshape((*shape, *values.shape[1:])) for name, values in maps.items()}


def mean_of(sums: FloatArray, count: int) -> FloatArray:
    """The mean decay of so many voxels."""
    if count == 0:
        raise InputValueError("weight is \"shared\", and no voxel can be inverted: all are outside "
                              "the mask, below the threshold, 0 or not finite")
    return sums / count
