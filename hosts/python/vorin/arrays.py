"""Types of arrays in signatures, and when two objects with arrays are equal."""

from __future__ import annotations

from dataclasses import fields
from typing import Any, Tuple

import numpy as np
import numpy.typing as npt

FloatArray = npt.NDArray[np.float64]
IndexArray = npt.NDArray[np.intp]
#: Real or complex samples.
Numbers = npt.NDArray[Any]


def equal_fields(one: Any, other: Any) -> bool:
    """True when all public fields of two dataclasses of one type are equal.

    Numbers are equal when all their bits are, but for the sign of 0; not-a-number is equal to
    itself, unlike in arithmetic: two results without a noise are the same result.
    """
    return all(_equal(getattr(one, field.name), getattr(other, field.name))
               for field in fields(one) if not field.name.startswith("_"))


def equal_tuples(one: Any, other: object) -> bool:
    """True when all elements of two tuples of one type are equal, in the same sense."""
    return type(one) is type(other) and all(map(_equal, one, other))  # type: ignore[call-overload]


def _equal(a: Any, b: Any) -> bool:
    if isinstance(a, np.ndarray):
        return bool(np.array_equal(a, b, equal_nan=a.dtype.kind in "fc"))
    return bool(a == b or (a != a and b != b))


def fields_hash(one: Any) -> int:
    """A hash that equal dataclasses share: of their numbers, texts and shapes."""
    return hash(tuple(_hashable(getattr(one, field.name)) for field in fields(one)
                      if not field.name.startswith("_")))


def _hashable(value: Any) -> Any:
    if isinstance(value, np.ndarray):
        shape: Tuple[int, ...] = value.shape
        return shape
    if isinstance(value, list):
        return len(value)
    return None if value != value else value
