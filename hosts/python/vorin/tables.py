"""Results as the tables and data sets of pandas and xarray, which are imported where asked for."""

from __future__ import annotations

from typing import TYPE_CHECKING, Any, Iterable, Mapping, Union

from .errors import InputTypeError

if TYPE_CHECKING:
    from .result import Result

_COLUMNS = ("success", "status", "status_text", "finding", "noise", "signal_to_noise", "weight",
            "standard_error", "fit_error", "total", "log_mean", "mean")


def to_dataframe(results: Union[Mapping[Any, Any], Iterable[Any]]) -> Any:
    """Results of many decays as a pandas DataFrame, a row a decay.

    Parameters
    ----------
    results : mapping or iterable of Result
        What :func:`vorin.invert_many` returned. Where it kept an exception in a result's place,
        the row has its sentence as ``status_text`` and no numbers.

    Returns
    -------
    pandas.DataFrame
        Indexed by the keys of the mapping, or from 0.
    """
    import pandas

    names = list(results) if isinstance(results, Mapping) else None
    values = list(results.values()) if isinstance(results, Mapping) else list(results)
    rows = []
    for value in values:
        if isinstance(value, Exception):
            rows.append({"success": False, "status_text": str(value)})
        elif hasattr(value, "distribution"):
            rows.append({name: getattr(value, name) for name in _COLUMNS})
        else:
            raise InputTypeError(f"results holds a {type(value).__name__}; results of vorin.invert "
                                 "are required")
    return pandas.DataFrame(rows, index=names, columns=list(_COLUMNS))


def distribution_frame(result: "Result") -> Any:
    """The distribution as a pandas DataFrame: amplitude and cumulative sum by grid value."""
    import pandas

    return pandas.DataFrame({"amplitude": result.distribution, "cumulative": result.cumulative()},
                            index=pandas.Index(result.grid, name="grid"))


def dataset(result: "Result") -> Any:
    """Decay, fit and distribution as an xarray Dataset with the measures as attributes."""
    import xarray

    quantity = ("b value", "s/m2", "m2/s") if result.kernel == "diffusion" else ("time", "s", "s")
    values = xarray.Dataset(
        {"y": ("t", result.y), "fit": ("t", result.fit), "residual": ("t", result.residual),
         "distribution": ("grid", result.distribution),
         "cumulative": ("grid", result.cumulative())},
        coords={"t": ("t", result.t, {"units": quantity[1], "long_name": quantity[0]}),
                "grid": ("grid", result.grid, {"units": quantity[2]})})
    values.attrs.update({name: _plain(getattr(result, name)) for name in ("kernel",) + _COLUMNS})
    return values


def _plain(value: Any) -> Any:
    # NetCDF has no truth values.
    return int(value) if isinstance(value, bool) else value
