"""Results as the tables and data sets of pandas and xarray, which are imported where asked for."""

from __future__ import annotations

import importlib
from typing import (TYPE_CHECKING, Any, Dict, Iterable, List, Mapping, Optional, Sequence, Tuple,
                    Union)

import numpy as np

from .errors import InputTypeError, InputValueError, VorinError

if TYPE_CHECKING:
    from .result import Result
    from .two_dimensional import Result2D

_COLUMNS = ("success", "status", "status_text", "finding", "noise", "signal_to_noise", "weight",
            "standard_error", "fit_error", "total", "log_mean", "mean")

_MAP_NUMBERS = ("success", "status", "status_text", "noise", "weight", "standard_error", "total",
                "log_mean1", "log_mean2")


def required(module: str, purpose: str) -> Any:
    """A module that only some functions need, loaded when one is called."""
    try:
        return importlib.import_module(module)
    except ImportError:
        package = module.partition(".")[0]
        raise VorinError(f"{package}, which {purpose}, is not installed; install the package "
                         f"python3-{package}") from None


def to_dataframe(results: Union[Mapping[Any, Any], Iterable[Any]]) -> Any:
    """Results of many decays as a pandas DataFrame, a row a decay.

    Parameters
    ----------
    results : mapping, iterable or array of Result
        What :func:`vorin.invert_many` returned. Where it kept an exception in a result's place,
        the row has its sentence as ``status_text`` and no numbers.

    Returns
    -------
    pandas.DataFrame
        Indexed by the keys of the mapping, by the indices of an array, or from 0.
    """
    pandas = required("pandas", "holds tables")
    values, names, shape = _listed(results)
    rows = []
    for value in values:
        if isinstance(value, Exception):
            rows.append({"success": False, "status_text": str(value)})
        else:
            rows.append({name: getattr(value, name) for name in _COLUMNS})
    index = names if shape is None else pandas.MultiIndex.from_tuples(list(np.ndindex(*shape)))
    return pandas.DataFrame(rows, index=index, columns=list(_COLUMNS))


def _listed(results: Any) -> Tuple[List[Any], Optional[List[Any]], Optional[Tuple[int, ...]]]:
    """Results in order, and their names or the shape of their array."""
    names = list(results) if isinstance(results, Mapping) else None
    shape = results.shape if isinstance(results, np.ndarray) and results.ndim > 1 else None
    values = list(results.values() if isinstance(results, Mapping) else
                  results.reshape(-1) if shape is not None else results)
    for value in values:
        if not isinstance(value, Exception) and not hasattr(value, "distribution"):
            raise InputTypeError(f"results holds a {type(value).__name__}; results of "
                                 "vorin.invert are required")
    return values, names, shape


def to_xarray(results: Union[Mapping[Any, Any], Iterable[Any]], dims: Optional[Sequence[str]] = None
              ) -> Any:
    """Results of many decays as an xarray Dataset.

    Parameters
    ----------
    results : mapping, iterable or array of Result
        What :func:`vorin.invert_many` returned, on one grid. Where it kept an exception in a
        result's place, the numbers are not-a-number and ``status_text`` is its sentence.
    dims : sequence of str, optional
        The names of the dimensions of the decays; "decay" for a list or a mapping, "x0", "x1",
        ... for an array.

    Returns
    -------
    xarray.Dataset
        ``distribution`` over the decays and ``grid``, and a variable for each column of
        :func:`vorin.to_dataframe`.
    """
    xarray = required("xarray", "holds data sets")
    values, names, shape = _listed(results)
    sizes = (len(values),) if shape is None else shape
    if dims is None:
        dims = ("decay",) if shape is None else tuple(f"x{k}" for k in range(len(shape)))
    if isinstance(dims, str) or len(dims) != len(sizes):
        raise InputValueError(f"dims is {dims!r}; {len(sizes)} names are required")
    good = [value for value in values if not isinstance(value, Exception)]
    if not good:
        raise InputValueError("results holds no result; all decays failed")
    grid = good[0].grid
    if not all(np.array_equal(value.grid, grid) for value in good):
        raise InputValueError("the results are on different grids; invert them with one grid=")
    nothing = np.full(grid.size, np.nan)
    rows = [nothing if isinstance(value, Exception) else value.distribution for value in values]
    table = to_dataframe(results)
    labels: Dict[str, Any] = {} if names is None else {dims[0]: names}
    return xarray.Dataset(
        {"distribution": ((*dims, "grid"), np.array(rows).reshape(*sizes, grid.size)),
         **{name: (tuple(dims), table[name].to_numpy().reshape(sizes)) for name in _COLUMNS}},
        coords={"grid": ("grid", grid, {"units": _units(good[0])[2]}), **labels})


def distribution_frame(result: "Result") -> Any:
    """The distribution as a pandas DataFrame: amplitude and cumulative sum by grid value."""
    pandas = required("pandas", "holds tables")
    return pandas.DataFrame({"amplitude": result.distribution, "cumulative": result.cumulative()},
                            index=pandas.Index(result.grid, name="grid"))


def dataset(result: "Result") -> Any:
    """Decay, fit and distribution as an xarray Dataset with the measures as attributes."""
    xarray = required("xarray", "holds data sets")
    quantity = _units(result)
    values = xarray.Dataset(
        {"y": ("t", result.y), "fit": ("t", result.fit), "residual": ("t", result.residual),
         "distribution": ("grid", result.distribution),
         "cumulative": ("grid", result.cumulative())},
        coords={"t": ("t", result.t, {"units": quantity[1], "long_name": quantity[0]}),
                "grid": ("grid", result.grid, {"units": quantity[2]})})
    values.attrs.update({name: _plain(getattr(result, name)) for name in ("kernel",) + _COLUMNS})
    return values


def map_frame(result: "Result2D") -> Any:
    """A map as a pandas DataFrame."""
    pandas = required("pandas", "holds tables")
    return pandas.DataFrame(result.distribution, index=pandas.Index(result.grid1, name="grid1"),
                            columns=pandas.Index(result.grid2, name="grid2"))


def map_dataset(result: "Result2D") -> Any:
    """Samples, fit and map as an xarray Dataset with the measures as attributes."""
    xarray = required("xarray", "holds data sets")
    units = [("s/m2", "m2/s") if kernel == "diffusion" else ("s", "s")
             for kernel in result.kernels]
    values = xarray.Dataset(
        {"D": (("t1", "t2"), result.D), "fit": (("t1", "t2"), result.fit),
         "distribution": (("grid1", "grid2"), result.distribution),
         "projection1": ("grid1", result.projection1),
         "projection2": ("grid2", result.projection2)},
        coords={f"{name}{k + 1}": (f"{name}{k + 1}", getattr(result, f"{name}{k + 1}"),
                                   {"units": units[k][part]})
                for k in range(2) for part, name in enumerate(("t", "grid"))})
    values.attrs.update({name: _plain(getattr(result, name)) for name in _MAP_NUMBERS})
    values.attrs["kernels"] = ", ".join(result.kernels)
    return values


def _units(result: "Result") -> Tuple[str, str, str]:
    """What the samples are over, its unit, and that of the grid."""
    return ("b value", "s/m2", "m2/s") if result.kernel == "diffusion" else ("time", "s", "s")


def _plain(value: Any) -> Any:
    # NetCDF has no truth values.
    return int(value) if isinstance(value, bool) else value
