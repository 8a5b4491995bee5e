"""The functions of ``toolkit/vorin_toolkit.h`` through ctypes.

Nothing is computed here. Arrays go in by address and come out as numpy arrays over the
memory of the result, which lives as long as one of them does. ctypes lets go of the
interpreter's lock during a call, so that jobs in threads run side by side.
"""

from __future__ import annotations

import contextlib
import ctypes
import functools
import os
import threading
from pathlib import Path
from typing import Any, Callable, Dict, Iterator, List, Optional, Sequence

import numpy as np

from .arrays import FloatArray, Numbers
from .errors import InputValueError, LibraryNotFound, VorinError
from .loading import NUMERICAL, TOOLKIT, find_toolkit, load

_OK, _BAD_INPUT, _NO_MEMORY, _CANCELLED, _NO_FIELD = range(5)
_MESSAGE_SIZE = 4096

_PROGRESS = ctypes.CFUNCTYPE(ctypes.c_int32, ctypes.c_void_p, ctypes.c_int64, ctypes.c_int64)

_P, _I, _D, _S = ctypes.c_void_p, ctypes.c_int64, ctypes.c_double, ctypes.c_char_p
_N = ctypes.c_int32
#: The arguments of each function but for the message and its size, which come last.
_FUNCTIONS: Dict[str, Sequence[Any]] = {
    "vorin_settings_create": (_P,),
    "vorin_settings_set_text": (_P, _S, _S),
    "vorin_settings_set_number": (_P, _S, _D),
    "vorin_settings_set_array": (_P, _S, _P, _I),
    "vorin_settings_set_matrix": (_P, _S, _P, _I, _I),
    "vorin_setting_names": (_P,),
    "vorin_result_numbers": (_P, _P, _I, _P),
    "vorin_result_text": (_P, _S, _P),
    "vorin_result_text_at": (_P, _S, _I, _P),
    "vorin_result_array": (_P, _S, _P, _P),
    "vorin_invert": (_P, _P, _P, _P, _I, _P),
    "vorin_bootstrap": (_P, _P, _PROGRESS, _P, _P),
    "vorin_lcurve": (_P, _P),
    "vorin_write_report": (_P, _P, _P, _S),
    "vorin_map_create": (_P, _P, _I, _P),
    "vorin_map_describe": (_P, _P),
    "vorin_map_invert": (_P, _P, _N, _I, _P, _P, _P, _PROGRESS, _P, _P),
    "vorin_map_add_to_mean": (_P, _P, _N, _I, _P, _P, _P),
    "vorin_map_shared_weight": (_P, _P, _P, _I, _P),
    "vorin_kernel_matrix": (_S, _P, _I, _P, _I, _P),
    "vorin_picture_axes": (_S, _D, _D, _P),
    "vorin_log_grid": (_D, _D, _I, _P),
    "vorin_default_grid": (_S, _P, _I, _P),
    "vorin_difference_noise": (_P, _P, _I, _P),
    "vorin_simulate": (_P, _P, _I, _P, _I, _P),
    "vorin_measures": (_P, _P, _I, _D, _P),
    "vorin_report_measures": (_P, _P, _I, _P, _I, _P, _I, _P, _I, _D, _P),
    "vorin_read_decay": (_S, _P, _P),
    "vorin_keys": (_P,),
    "vorin_invert2d": (_P, _P, _I, _P, _I, _P, _P, _PROGRESS, _P, _P),
    "vorin_fit2d": (_P, _P),
    "vorin_bootstrap2d": (_P, _P, _P, _I, _PROGRESS, _P, _P),
    "vorin_measures2d": (_P, _I, _P, _I, _P, _D, _P),
    "vorin_share2d": (_P, _I, _P, _I, _P, _P, _P),
    "vorin_simulate2d": (_P, _P, _I, _P, _I, _P, _I, _P),
    "vorin_read2d": (_S, _P, _P),
}

_local = threading.local()


@functools.lru_cache(maxsize=None)
def _load(path: Path) -> ctypes.CDLL:
    library = load(path)
    try:
        for name, arguments in _FUNCTIONS.items():
            function = getattr(library, name)
            function.argtypes = (*arguments, ctypes.c_void_p, ctypes.c_int64)
            function.restype = ctypes.c_int32
        for name in ("vorin_settings_free", "vorin_result_free", "vorin_map_free"):
            getattr(library, name).argtypes = (ctypes.c_void_p,)
            getattr(library, name).restype = None
    except AttributeError as error:
        raise LibraryNotFound(f"{path}: it is not a libvorin_toolkit.so of this "
                              f"version ({error})") from None
    return library


@functools.lru_cache(maxsize=None)
def _found(*_variables: Optional[str]) -> ctypes.CDLL:
    return _load(find_toolkit())


def _library() -> ctypes.CDLL:
    # The search takes longer than a small job, so its result is kept.
    return _found(os.environ.get(TOOLKIT.variable), os.environ.get(NUMERICAL.variable))


def call(name: str, *arguments: Any) -> None:
    """Calls a function and raises what its status says, with its sentence."""
    message = getattr(_local, "message", None)
    if message is None:
        message = _local.message = ctypes.create_string_buffer(_MESSAGE_SIZE)
    status = getattr(_library(), name)(*arguments, message, _MESSAGE_SIZE)
    if status == _OK:
        return
    sentence = message.value.decode("utf-8", errors="replace")
    if status == _BAD_INPUT:
        raise InputValueError(sentence)
    if status == _NO_MEMORY:
        raise MemoryError(sentence)
    if status == _NO_FIELD:
        raise KeyError(sentence)
    raise VorinError(sentence)


def address(array: Numbers) -> ctypes.c_void_p:
    """Where the numbers of a contiguous array stand, float64 unless a function says otherwise."""
    return ctypes.c_void_p(array.ctypes.data)


class _Handle:
    """A handle that is freed with the object."""

    free = ""

    def __init__(self, raw: ctypes.c_void_p):
        self.raw = raw
        self._free: Callable[[Any], None] = getattr(_library(), self.free)

    def __del__(self) -> None:
        if hasattr(self, "_free"):
            self._free(self.raw)


class Settings(_Handle):
    """How a job is to be done, by name."""

    free = "vorin_settings_free"

    def __init__(self, **values: Any):
        raw = ctypes.c_void_p()
        call("vorin_settings_create", ctypes.byref(raw))
        super().__init__(raw)
        for name, value in values.items():
            self.set(name, value)

    def set(self, name: str, value: Any) -> None:
        """A text, a number, a list of numbers or a matrix; None leaves the default."""
        key = name.encode("utf-8")
        if value is None:
            return
        if isinstance(value, str):
            # A zero byte would end the text before the toolkit sees the rest.
            text = value.replace("\0", "\ufffd").encode("utf-8", errors="surrogateescape")
            call("vorin_settings_set_text", self.raw, key, text)
        elif isinstance(value, np.ndarray) and value.ndim == 2:
            matrix = np.ascontiguousarray(value, dtype=float)
            call("vorin_settings_set_matrix", self.raw, key, address(matrix), *matrix.shape)
        elif isinstance(value, np.ndarray):
            values = np.ascontiguousarray(value, dtype=float)
            call("vorin_settings_set_array", self.raw, key, address(values), values.size)
        else:
            call("vorin_settings_set_number", self.raw, key, float(value))


class Map(_Handle):
    """What inverts blocks of voxels."""

    free = "vorin_map_free"

    def __init__(self, settings: Settings, times: FloatArray):
        raw = ctypes.c_void_p()
        call("vorin_map_create", settings.raw, address(times), times.size, ctypes.byref(raw))
        super().__init__(raw)


class Fields(_Handle):
    """What a job gave, by name."""

    free = "vorin_result_free"

    def numbers(self, *names: str) -> List[float]:
        """Several numbers."""
        keys = (ctypes.c_char_p * len(names))(*(name.encode() for name in names))
        values = (ctypes.c_double * len(names))()
        call("vorin_result_numbers", self.raw, keys, len(names), values)
        return list(values)

    def number(self, name: str) -> float:
        """One number."""
        return self.numbers(name)[0]

    def text(self, name: str) -> str:
        """A text."""
        found = ctypes.c_char_p()
        call("vorin_result_text", self.raw, name.encode(), ctypes.byref(found))
        return (found.value or b"").decode("utf-8", errors="replace")

    def texts(self, name: str) -> List[str]:
        """All texts of a list."""
        found = ctypes.c_char_p()
        result: List[str] = []
        try:
            while True:
                call("vorin_result_text_at", self.raw, name.encode(), len(result),
                     ctypes.byref(found))
                result.append((found.value or b"").decode("utf-8", errors="replace"))
        except KeyError:
            return result

    def array(self, name: str) -> FloatArray:
        """Numbers, over the memory of the result."""
        start, count = ctypes.c_void_p(), ctypes.c_int64()
        call("vorin_result_array", self.raw, name.encode(), ctypes.byref(start),
             ctypes.byref(count))
        if count.value == 0 or start.value is None:
            return np.empty(0)
        memory = (ctypes.c_double * count.value).from_address(start.value)
        memory._owner = self  # type: ignore[attr-defined]
        return np.frombuffer(memoryview(memory), dtype=np.float64)


def job(name: str, *arguments: Any) -> Fields:
    """Calls a function whose last argument is the address of the result's handle."""
    raw = ctypes.c_void_p()
    call(name, *arguments, ctypes.byref(raw))
    return Fields(raw)


@contextlib.contextmanager
def named(setting: str, argument: str) -> Iterator[None]:
    """Puts the name of an argument for that of the setting that it became into sentences."""
    try:
        yield
    except InputValueError as error:
        head, rest = str(error)[:len(setting)], str(error)[len(setting):]
        raise InputValueError((argument if head == setting else head) + rest) from None


def watched_job(name: str, progress: Optional[Callable[[int, int], None]],
                *arguments: Any) -> Fields:
    """As :func:`job`, for a function that takes a callback and its pointer before the result.

    ``progress`` is told how much is done of the total; what it raises ends the job and is
    raised again.
    """
    raised: List[BaseException] = []

    def tell(_user: Any, done: int, total: int) -> int:
        try:
            if progress is not None:
                progress(done, total)
        except BaseException as error:  # KeyboardInterrupt too: it ends the job
            raised.append(error)
            return 1
        return 0

    try:
        return job(name, *arguments, _PROGRESS(tell), None)
    except VorinError:
        if raised:
            raise raised[0] from None
        raise


def bootstrap(inversion: Fields, settings: Settings,
              progress: Optional[Callable[[int], None]]) -> Fields:
    """``vorin_bootstrap``; what ``progress`` raises ends the job and is raised again."""
    told = None if progress is None else lambda done, _total: progress(done)
    return watched_job("vorin_bootstrap", told, inversion.raw, settings.raw)
