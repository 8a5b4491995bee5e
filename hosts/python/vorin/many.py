"""Many decays in their containers: taken apart for inverting, and results put together again."""

from __future__ import annotations

from typing import Any, Hashable, List, Mapping, NamedTuple, Optional, Tuple, Union

import numpy as np

from . import labelled
from .errors import InputTypeError, InputValueError


class Many(NamedTuple):
    """The decays of a container, each with its times, and what the container was."""

    decays: List[Tuple[Any, Any]]  #: of times and samples; a decay with times has None for samples
    names: Optional[List[Hashable]] = None  #: the keys of a dict, the columns of a table
    shape: Optional[Tuple[int, ...]] = None  #: of an array of more than 2 dimensions, without axis

    def put_together(self, results: List[Any]) -> Any:
        """The results in the container that the caller expects."""
        if self.names is not None:
            return dict(zip(self.names, results))
        if self.shape is None:
            return results
        array = np.empty(len(results), dtype=object)
        array[:] = results
        return array.reshape(self.shape)


def decays_of(t: Any, decays: Any, axis: Union[int, str] = -1) -> Many:
    """The decays of the arguments of :func:`vorin.invert_many`."""
    if decays is None:
        return _with_their_times(t, axis)
    if labelled.is_frame(decays):
        decays = labelled.columns(decays)[1]
    elif labelled.is_data_array(decays) or isinstance(decays, np.ndarray):
        return _of_array(t, "decays", decays, axis)
    if isinstance(decays, Mapping):
        return Many([(t, _present(row)) for row in decays.values()], list(decays))
    try:
        return Many([(t, _present(row)) for row in decays])
    except TypeError:
        raise InputTypeError(f"decays is of type {type(decays).__name__}; a sequence of decays is "
                             "required") from None


def _present(row: Any) -> Any:
    # None would ask for times that the decay brings along.
    return [] if row is None else row


def _with_their_times(t: Any, axis: Union[int, str]) -> Many:
    if labelled.is_frame(t):
        times, columns = labelled.columns(t)
        return Many([(times, row) for row in columns.values()], list(columns))
    if labelled.is_data_array(t) and len(t.dims) > 1:
        position = labelled.axis_position("t", t, axis)
        many = _of_array(labelled.times_along(t, t.dims[position]), "t", t, axis)
        return many if many.shape is not None else many._replace(names=_labels(t, position))
    if isinstance(t, Mapping) and all(labelled.has_times(decay) for decay in t.values()):
        return Many([(decay, None) for decay in t.values()], list(t))
    if isinstance(t, (list, tuple)) and all(labelled.has_times(decay) for decay in t):
        return Many([(decay, None) for decay in t])
    raise InputTypeError("decays is missing; give times and decays, or what has both: a pandas "
                         "DataFrame, an xarray DataArray, a list or dict of decays with their "
                         "times")


def _labels(array: Any, position: int) -> Optional[List[Hashable]]:
    """Those of the other dimension of two, where it has any and each is given once."""
    other = array.dims[1 - position]
    if other not in array.coords:
        return None
    labels: List[Hashable] = array.coords[other].values.tolist()
    return labels if len(set(labels)) == len(labels) else None


def _of_array(t: Any, name: str, decays: Any, axis: Union[int, str]) -> Many:
    if decays.ndim < 2:
        raise InputValueError(f"{name} has shape {decays.shape}; 2 dimensions or more are "
                              "required, and vorin.invert takes a single decay")
    rows = np.moveaxis(np.asarray(decays), labelled.axis_position(name, decays, axis), -1)
    samples = rows.shape[-1]
    if np.ndim(t) == 1 and np.size(t) != samples and np.size(t) in decays.shape:
        raise InputValueError(f"{name} has {samples} samples along axis {axis} and t has "
                              f"{np.size(t)}; axis={decays.shape.index(np.size(t))} fits")
    shape = None if decays.ndim == 2 else rows.shape[:-1]
    return Many([(t, row) for row in rows.reshape(-1, samples)], shape=shape)
