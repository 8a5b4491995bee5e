"""What :func:`vorin.invert_map` found out about each voxel."""

from __future__ import annotations

from dataclasses import dataclass, fields
from typing import TYPE_CHECKING, Any, Dict, Hashable, List, Mapping, Optional, Sequence, Tuple

import numpy as np

from .arrays import FloatArray, Numbers, equal_fields, fields_hash
from .errors import InputValueError
from .tables import required

if TYPE_CHECKING:
    from .voxels import VoxelJob

_ABOUT = {
    "total": "sum of the distribution",
    "log_mean": "logarithmic mean of the distribution",
    "weight": "weight of the penalty",
    "noise": "standard deviation of the noise",
    "signal_to_noise": "largest magnitude of the samples over the noise",
    "standard_error": "standard error of the fit to the pruned points",
    "status": "what became of the voxel",
    "flip": "refocusing angle",
    "share": "part of the total in a range",
    "distribution": "amplitude at each value of the grid",
}
_WHY = "computes chunks"
_IN_UNIT_OF_DATA = ("total", "noise", "standard_error", "distribution")


@dataclass(frozen=True, eq=False, repr=False)
class MapResult:
    """Maps of voxels, arrays of the shape of the data without the axis of the samples.

    Where ``status`` is not 0, all numbers of the voxel are not-a-number. Of a dask array the
    maps are dask arrays, and nothing is inverted before :meth:`compute`, or before one of them
    is asked for.

    Attributes
    ----------
    total : numpy.ndarray
        The sum of each voxel's distribution, in the unit of the data.
    log_mean : numpy.ndarray
        Its log mean, in the unit of the grid; not-a-number where the total is 0.
    weight : numpy.ndarray
        The weight of its inversion.
    noise : numpy.ndarray
        The standard deviation of the noise; not-a-number where none is known.
    signal_to_noise : numpy.ndarray
        The largest magnitude of the samples over it.
    standard_error : numpy.ndarray
        Of the fit to the pruned points, in the unit of the data.
    status : numpy.ndarray of uint8
        0 where the voxel is inverted, else why not: an index of ``status_words``.
    flip : numpy.ndarray or None
        The refocusing angle in degrees; None for any kernel but "t2-epg".
    share : numpy.ndarray of shape (..., ranges) or None
        The part of the total in each range; None without cutoffs.
    distribution : numpy.ndarray of shape (..., ng) or None
        None unless it was asked for.
    grid : numpy.ndarray of shape (ng,)
        The abscissae of the distributions.
    range_edges : numpy.ndarray of shape (ranges + 1,)
        0, the cutoffs and infinity; empty without cutoffs.
    kernel : str
        The name of the kernel, or "own".
    status_words : list of str
        Each status in a word or two, from 0.
    """

    total: Numbers
    log_mean: Numbers
    weight: Numbers
    noise: Numbers
    signal_to_noise: Numbers
    standard_error: Numbers
    status: Numbers
    flip: Optional[Numbers]
    share: Optional[Numbers]
    distribution: Optional[Numbers]
    grid: FloatArray
    range_edges: FloatArray
    kernel: str
    status_words: List[str]

    @staticmethod
    def _of(job: "VoxelJob", kernel: Any, maps: Mapping[str, Any]) -> "MapResult":
        return _result({**maps, "grid": job.grid, "range_edges": job.range_edges,
                        "status_words": job.status_words,
                        "kernel": kernel if isinstance(kernel, str) else "own"})

    @property
    def shape(self) -> Tuple[int, ...]:
        """Of the voxels."""
        return tuple(self.total.shape)

    @property
    def counts(self) -> Dict[str, int]:
        """How many voxels have each status, by its word; without those that none has."""
        numbers = np.bincount(np.asarray(self.status).reshape(-1))
        return {self.status_words[k]: int(count) for k, count in enumerate(numbers) if count}

    def __repr__(self) -> str:
        voxels = " x ".join(map(str, self.shape)) or "1"
        if self._lazy():
            return f"<vorin.MapResult {voxels} voxels, not yet computed>"
        counts = ", ".join(f"{count} {word}" for word, count in self.counts.items())
        return f"<vorin.MapResult {voxels} voxels: {counts or 'none'}>"

    def __eq__(self, other: object) -> bool:
        return isinstance(other, MapResult) and equal_fields(self, other)

    def __hash__(self) -> int:
        return fields_hash(self)

    def _maps(self) -> Dict[str, Any]:
        """The arrays with an element or a row for each voxel, by name."""
        return {name: getattr(self, name) for name in _ABOUT if getattr(self, name) is not None}

    def to_xarray(self, dims: Optional[Sequence[Hashable]] = None) -> Any:
        """The maps as an xarray Dataset, whose ``to_zarr`` and ``to_netcdf`` write them.

        Parameters
        ----------
        dims : sequence of str, optional
            The names of the dimensions of the voxels; "x0", "x1", ... without them.

        Returns
        -------
        xarray.Dataset
            A variable for each map, with units and meaning as attributes, and the coordinates
            ``grid``, ``range_from`` and ``range_to``.
        """
        if dims is None:
            dims = [f"x{k}" for k in range(len(self.shape))]
        if isinstance(dims, str) or len(dims) != len(self.shape):
            raise InputValueError(f"dims is {dims!r}; {len(self.shape)} names are required")
        return self._dataset(dims, {}, "")

    def _dataset(self, dims: Sequence[Hashable], coords: Mapping[Hashable, Any], unit: str) -> Any:
        """With these coordinates of the voxels, for data in ``unit``."""
        xarray = required("xarray", "holds data sets")
        for name in ("grid", "range"):
            if name in dims:
                raise InputValueError(f"a dimension of the data is named {name!r}, as one of the "
                                      "result; rename it")
        grid_unit = "m2/s" if self.kernel == "diffusion" else "s"
        units = {**{name: unit for name in _IN_UNIT_OF_DATA}, "log_mean": grid_unit,
                 "flip": "degree"}
        own = {"distribution": ("grid",), "share": ("range",)}
        variables = {}
        for name, values in self._maps().items():
            attributes: Dict[str, Any] = {"long_name": _ABOUT[name]}
            if units.get(name):
                attributes["units"] = units[name]
            if name == "status":
                attributes["flag_values"] = list(range(len(self.status_words)))
                attributes["flag_meanings"] = " ".join(
                    word.replace(" ", "_") for word in self.status_words)
            variables[name] = ((*dims, *own.get(name, ())), values, attributes)
        about = {"units": grid_unit}
        along: Dict[Hashable, Any] = dict(coords)
        if self.distribution is not None:
            along["grid"] = ("grid", self.grid, about)
        if self.share is not None:
            along["range_from"] = ("range", self.range_edges[:-1], about)
            along["range_to"] = ("range", self.range_edges[1:], about)
        return xarray.Dataset(variables, coords=along, attrs={"kernel": self.kernel})

    def to_dataframe(self) -> Any:
        """The maps as a pandas DataFrame, a row a voxel.

        Returns
        -------
        pandas.DataFrame
            Indexed by the indices of the voxels; a column for each map but the distribution,
            "share_0", "share_1", ... for the ranges.
        """
        pandas = required("pandas", "holds tables")
        computed = self.compute()
        columns: Dict[str, Any] = {}
        for name, values in computed._maps().items():
            if name == "share":
                for k in range(values.shape[-1]):
                    columns[f"share_{k}"] = values[..., k].reshape(-1)
            elif name != "distribution":
                columns[name] = values.reshape(-1)
        index = None
        if len(self.shape) > 1:
            index = pandas.MultiIndex.from_product([range(size) for size in self.shape])
        return pandas.DataFrame(columns, index=index)

    def compute(self, **options: Any) -> "MapResult":
        """The maps as numpy arrays.

        Parameters
        ----------
        **options
            Passed to ``dask.compute``: ``scheduler``, ``num_workers`` and so on.

        Returns
        -------
        MapResult
        """
        if not self._lazy():
            return self
        computed: MapResult = required("dask", _WHY).compute(self, **options)[0]
        return computed

    # A collection of dask: dask.compute(result) and client.compute(result) take it.

    def _lazy(self) -> bool:
        return hasattr(self.total, "__dask_graph__")

    def __dask_graph__(self) -> Any:
        if not self._lazy():
            return None
        graphs = required("dask.highlevelgraph", _WHY).HighLevelGraph
        return graphs.merge(*(values.__dask_graph__() for values in self._maps().values()))

    def __dask_keys__(self) -> List[Any]:
        return [values.__dask_keys__() for values in self._maps().values()]

    def __dask_tokenize__(self) -> Tuple[Any, ...]:
        return tuple(getattr(values, "name", id(values)) for values in self._maps().values())

    @property
    def __dask_scheduler__(self) -> Any:
        return self.total.__dask_scheduler__  # type: ignore[attr-defined]

    @staticmethod
    def __dask_optimize__(graph: Any, keys: Any, **options: Any) -> Any:
        return required("dask.array.optimization", _WHY).optimize(graph, keys, **options)

    def __dask_postcompute__(self) -> Tuple[Any, Tuple[Any, ...]]:
        finishing = {name: values.__dask_postcompute__() for name, values in self._maps().items()}
        return _finished, (self._bare(), finishing)

    def __dask_postpersist__(self) -> Tuple[Any, Tuple[Any, ...]]:
        keeping = {name: values.__dask_postpersist__() for name, values in self._maps().items()}
        return _persisted, (self._bare(), keeping)

    def _bare(self) -> Dict[str, Any]:
        """All but the maps."""
        return {field.name: getattr(self, field.name) for field in fields(self)
                if field.name not in _ABOUT}


def _result(values: Mapping[str, Any]) -> MapResult:
    optional: Dict[str, Any] = {"flip": None, "share": None, "distribution": None}
    return MapResult(**{**optional, **values})


def _finished(results: Sequence[Any], bare: Mapping[str, Any], finishing: Mapping[str, Any]
              ) -> MapResult:
    maps = {name: function(result, *arguments)
            for result, (name, (function, arguments)) in zip(results, finishing.items())}
    return _result({**bare, **maps})


def _persisted(graph: Any, bare: Mapping[str, Any], keeping: Mapping[str, Any],
               **options: Any) -> MapResult:
    maps = {name: function(graph, *arguments, **options)
            for name, (function, arguments) in keeping.items()}
    return _result({**bare, **maps})
