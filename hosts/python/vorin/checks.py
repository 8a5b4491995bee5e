"""Converts one Python argument for an export, or says what is wrong with it."""

from __future__ import annotations

import ctypes
import numbers
import operator
from typing import Any, Dict, Optional, Tuple

import numpy as np

from .arrays import Numbers
from .errors import InputTypeError, InputValueError
from .exports import Argument

DTYPES: Dict[str, "np.dtype[Any]"] = {
    "i": np.dtype(np.int32), "f": np.dtype(np.float32), "d": np.dtype(np.float64)}
C_TYPES: Dict[str, Any] = {"i": ctypes.c_int32, "f": ctypes.c_float, "d": ctypes.c_double}

#: Length of a text that is read out with no length given: that of the longest slot.
TEXT_LENGTH = 256
_KEY_LENGTH = 4


def number(where: str, value: Any, type_: str) -> Any:
    """``value`` as a Python int or float, for a C number of the given type."""
    if isinstance(value, np.ndarray) and value.size == 1:
        value = value.reshape(-1)[0]
    if type_ == "i":
        try:
            whole = operator.index(value)
        except TypeError:
            raise InputTypeError(
                f"{where} is {_kind(value)}; a whole number is required") from None
        if not -(2**31) <= whole < 2**31:
            raise InputValueError(f"{where} is {whole}; a 32-bit integer is required")
        return whole
    if isinstance(value, numbers.Real):
        return float(value)
    raise InputTypeError(f"{where} is {_kind(value)}; a number is required")


def _kind(value: Any) -> str:
    return "missing" if value is None else f"of type {type(value).__name__}"


def _storage(where: str, value: Any, type_: str) -> Numbers:
    """``value`` as an array that the library may read or write."""
    dtype = DTYPES[type_]
    if not isinstance(value, np.ndarray):
        raise InputTypeError(
            f"{where} is {_kind(value)}; a numpy array of {dtype.name} is required")
    if value.dtype != dtype or not value.dtype.isnative:
        raise InputTypeError(
            f"{where} is an array of {value.dtype}; one of {dtype.name} is required")
    return value


def _writable(where: str, value: Numbers) -> None:
    if not value.flags.writeable:
        raise InputValueError(f"{where} is read-only; the call writes to it, so give a copy")


def array(where: str, value: Any, argument: Argument, shape: Tuple[int, ...]) -> Numbers:
    """``value`` when it is an array of exactly that type, shape and storage order."""
    if value is None and argument.written and not (argument.read and argument.name == "K"):
        return np.zeros(shape, DTYPES[argument.type], order="F")
    found = _storage(where, value, argument.type)
    if found.shape != shape:
        dimensions = ", ".join(argument.shape)
        raise InputValueError(
            f"{where} has shape {found.shape}; {shape} is required ({dimensions})")
    if not found.flags.f_contiguous:
        raise InputValueError(
            f"{where} is not contiguous in column-major order; numpy.asfortranarray makes such a "
            "copy"
            if len(shape) > 1 else
            f"{where} is not contiguous; numpy.ascontiguousarray makes such a copy")
    if not found.flags.aligned:
        raise InputValueError(f"{where} is not aligned in memory; give a copy")
    if argument.written:
        _writable(where, found)
    return found


def number_by_address(where: str, value: Any, argument: Argument) -> Tuple[Any, Any]:
    """What to pass, and where the result can be read."""
    c_type = C_TYPES[argument.type]
    if argument.written and isinstance(value, np.ndarray):
        value = _storage(where, value, argument.type)
        if value.size != 1:
            raise InputValueError(f"{where} has {value.size} elements; an array of 1 is required")
        _writable(where, value)
        return ctypes.c_void_p(value.ctypes.data), value
    if argument.written and value is None:
        variable = c_type(0)
    elif argument.written and not argument.read:
        raise InputTypeError(
            f"{where} is {_kind(value)}; an array of 1 {DTYPES[argument.type].name} is required, "
            "or none, since the call returns the number")
    else:
        variable = c_type(number(where, value, argument.type))
    return ctypes.byref(variable), variable


def characters(where: str, value: Any, length: int) -> bytes:
    """A key or an operation letter, padded with blanks."""
    if isinstance(value, str):
        try:
            value = value.encode("ascii")
        except UnicodeEncodeError:
            raise InputValueError(f"{where} {value!r} has characters beyond ASCII") from None
    if not isinstance(value, (bytes, bytearray)):
        raise InputTypeError(f"{where} is {_kind(value)}; a text is required")
    if len(value) > length or (length == 1 and len(value) != 1):
        raise InputValueError(
            f"{where} {bytes(value)!r} has {len(value)} characters; "
            + (f"{length} at most are required" if length > 1 else "one is required"))
    return bytes(value).ljust(length)


def mode_and_key(argument: Argument) -> int:
    """The length of the argument's text: an operation letter or a key."""
    return _KEY_LENGTH if argument.name == "key" else 1


def text_length(where: str, text: Any, given: Optional[Any]) -> int:
    """The length of a text argument; text_buffer() refuses what is not a text."""
    if given is not None:
        length: int = number(where, given, "i")
        return length
    return len(text) if isinstance(text, (str, bytes, bytearray)) else TEXT_LENGTH


def text_buffer(where: str, value: Any, length: int) -> "ctypes.Array[ctypes.c_char]":
    """``length`` characters for the library to read and to write."""
    length = max(length, 0)
    if isinstance(value, bytearray):
        if len(value) < length:
            raise InputValueError(f"{where} has {len(value)} bytes; {length} are required")
        return (ctypes.c_char * len(value)).from_buffer(value)
    if value is None:
        value = b""
    elif isinstance(value, str):
        try:
            value = value.encode("latin-1")
        except UnicodeEncodeError:
            raise InputValueError(f"{where} {value!r} has characters of more than a byte") from None
    elif not isinstance(value, bytes):
        raise InputTypeError(f"{where} is {_kind(value)}; a str, bytes or bytearray is required")
    buffer = (ctypes.c_char * max(length, 1))()
    buffer.raw = value[:length].ljust(max(length, 1))
    return buffer
