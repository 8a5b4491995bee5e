"""The numerical library as it is: every export under its own name.

The methods check what the library can't: types, shapes, storage order and whether an
array may be written to. They change nothing else, and copy nothing.
"""

from __future__ import annotations

import collections
import ctypes
import inspect
import os
import threading
from pathlib import Path
from typing import Any, Callable, Dict, Mapping, Optional, Union

import numpy as np

from . import checks
from .errors import InputTypeError, InputValueError
from .exports import APART, AT_LEAST, EXPORTS, REPEATS, Argument, Export
from .loading import find_library, load, unload

#: A log's name under which no file can be opened: the library then goes on without one.
#: Texts in the store are upper-case, so that a path with small letters can't be given.
NO_LOG = "/"

_FIXED_TEXT = {"mode": 1, "key": 4}


def _python_name(name: str) -> str:
    return "lambda_" if name == "lambda" else name


def _may_be_left_out(argument: Argument) -> bool:
    return argument.written or argument.name in REPEATS or argument.name in ("len", "spare")


def _signature(export: Export) -> inspect.Signature:
    parameters = [inspect.Parameter("self", inspect.Parameter.POSITIONAL_OR_KEYWORD)]
    optional = False
    for argument in export.arguments:
        # Python allows no parameter without a default after one with a default; the
        # checks report what is missing there.
        optional = optional or _may_be_left_out(argument)
        parameters.append(
            inspect.Parameter(
                _python_name(argument.name),
                inspect.Parameter.POSITIONAL_OR_KEYWORD,
                default=None if optional else inspect.Parameter.empty,
            ))
    return inspect.Signature(parameters)


def _document(export: Export) -> str:
    kinds = {"i": "int32", "f": "float32", "d": "float64", "c": "text", "v": "address"}
    lines = [f"The export ``{export.name}``; see ``include/vorin.h``.", "",
             "Parameters", "----------"]
    for argument in export.arguments:
        flow = {(True, False): "in", (False, True): "out", (True, True): "in and out"}[
            argument.read, argument.written]
        shape = f" of shape ({', '.join(argument.shape)})" if argument.is_array else ""
        lines.append(f"{_python_name(argument.name)} : {kinds[argument.type]}{shape}, {flow}")
    if export.returns or export.results:
        names = [_python_name(argument.name) for argument in export.results]
        lines += ["", "Returns", "-------",
                  kinds[export.returns] if export.returns else ", ".join(names)]
    return "\n".join(lines)


class _Call:
    """The arguments of one call on their way in, and the results on their way out."""

    def __init__(self, export: Export, given: Dict[str, Any]):
        self._export = export
        self._given = given
        self._sizes: Dict[str, int] = {}
        self._results: Dict[str, Any] = {}
        self._kept: list = []  # what must stay alive until the call has returned

    def prepare(self) -> list:
        for argument in self._export.arguments:
            if argument.type == "i" and not argument.is_array and argument.read:
                self._read_size(argument)
        for larger, smaller in AT_LEAST.get(self._export.name, ()):
            if self._sizes[larger] < self._sizes[smaller]:
                raise InputValueError(
                    f"{self._export.name}: {larger} is {self._sizes[larger]}; at least {smaller}, "
                    f"{self._sizes[smaller]}, is required")
        passed = [self._convert(argument) for argument in self._export.arguments]
        for one, other in APART.get(self._export.name, ()):
            if np.may_share_memory(self._results[one], self._given[other]
                                   if self._given[other] is not None else self._results[other]):
                raise InputValueError(f"{self._export.name}: {one} and {other} share memory; give "
                                      "each its own")
        return passed

    def _where(self, argument: Argument) -> str:
        return f"{self._export.name}: {_python_name(argument.name)}"

    def _read_size(self, argument: Argument) -> None:
        value = self._given[argument.name]
        if argument.name in REPEATS:
            size = self._sizes[REPEATS[argument.name]]
            if value is not None and checks.number(self._where(argument), value, "i") != size:
                raise InputValueError(f"{self._where(argument)} is {value}; {size} is required, the "
                                      f"same as {REPEATS[argument.name]}")
            self._given[argument.name] = size if value is None else value
        elif argument.name == "len":
            size = checks.text_length(self._where(argument), self._given["text"], value)
            self._given["len"] = size
        elif value is None and argument.written:
            return
        else:
            size = checks.number(self._where(argument), value, "i")
        self._sizes[argument.name] = size

    def _convert(self, argument: Argument) -> Any:
        where, value = self._where(argument), self._given[argument.name]
        if argument.is_text:
            return self._text(where, value, argument)
        if argument.type == "v":
            return None
        if argument.is_array:
            held = checks.array(where, value, argument, argument.dimensions(self._sizes))
            self._kept.append(held)
            if argument.written:
                self._results[argument.name] = held
            return ctypes.c_void_p(held.ctypes.data)
        if argument.by_address:
            address, held = checks.number_by_address(where, value, argument)
            self._kept.append(held)
            if argument.written:
                self._results[argument.name] = held
            return address
        return checks.C_TYPES[argument.type](checks.number(where, value, argument.type))

    def _text(self, where: str, value: Any, argument: Argument) -> Any:
        if not argument.shape:
            return checks.characters(where, value, _FIXED_TEXT[argument.name])
        length = argument.dimensions(self._sizes)[0]
        held = checks.text_buffer(where, value, length)
        self._kept.append(held)
        self._results[argument.name] = (held, length)
        return held

    def results(self) -> Dict[str, Any]:
        """What the export wrote: arrays as they are, numbers as numbers, texts without padding."""
        values = {}
        for name, held in self._results.items():
            if isinstance(held, tuple):
                buffer, length = held
                held = buffer.raw[:length].decode("latin-1").rstrip(" ")
            elif not isinstance(held, np.ndarray):
                held = held.value
            elif isinstance(self._given[name], np.ndarray) and self._is_number(name):
                held = held.reshape(-1)[0].item()
            values[name] = held
        return values

    def _is_number(self, name: str) -> bool:
        return any(a.name == name and a.by_address for a in self._export.arguments)


def _method(export: Export) -> Callable:
    signature = _signature(export)
    names = [_python_name(argument.name) for argument in export.results]
    result_type = collections.namedtuple(f"{export.name}_result", names) if len(names) > 1 else None
    stored = [argument.name for argument in export.arguments
              if argument.read and argument.written and argument.name in ("text", "value")]

    def method(self: "Library", *args: Any, **kwargs: Any) -> Any:
        try:
            bound = signature.bind(self, *args, **kwargs)
        except TypeError as error:
            raise InputTypeError(f"{export.name}: {error}; its arguments are "
                                 f"{', '.join(list(signature.parameters)[1:])}") from None
        given = {argument.name: bound.arguments.get(_python_name(argument.name))
                 for argument in export.arguments}
        if given.get("mode") in ("S", "s", b"S", b"s") and stored and all(
                given[name] is None for name in stored):
            raise InputTypeError(f"{export.name}: {stored[-1]} is missing; mode S stores it")
        call = _Call(export, given)
        passed = call.prepare()
        with self.lock:
            returned = self._function(export.name)(*passed)
        if export.returns:
            return returned
        results = call.results()
        if result_type is None:
            return next(iter(results.values()))
        return result_type(*(results[argument.name] for argument in export.results))

    method.__name__ = export.name
    method.__qualname__ = f"Library.{export.name}"
    method.__doc__ = _document(export)
    method.__signature__ = signature  # type: ignore[attr-defined]
    return method


_locks: Dict[Path, threading.RLock] = {}
_guard = threading.Lock()


def _lock_of(path: Path) -> threading.RLock:
    """The lock of a file, whichever of its names it is loaded by."""
    with _guard:
        return _locks.setdefault(path.resolve(), threading.RLock())


class Library:
    """The numerical library, loaded from its file, for raw calls.

    Every export of ``include/vorin.h`` is a method under its own name with the arguments
    in the order of the header. Arrays are numpy arrays of exactly the type, shape and
    storage order that the header states (matrices column-major: ``numpy.asfortranarray``);
    they are passed without a copy. Arguments that are only outputs may be omitted and are
    then allocated. The call returns its outputs: one as it is, several as a named tuple;
    numbers as Python numbers, texts as ``str`` without the padding.

    The library keeps its parameters and its log for the whole process: all instances of one
    file share them, and only one call at a time runs in any of them. Hold ``lock`` around a
    sequence of calls that belong together. The functions of this package do not use this
    library: each of their jobs has its own state.

    Parameters
    ----------
    path : path-like, optional
        The library's file; see :func:`vorin.find_library` for where it is looked for.
    log : bool
        Whether inversions leave their log in the working directory, by the key ``FLOG``.
        Without it ``FLOG`` holds a name under which no file can be opened. The operation
        ``I`` brings its reset value back, ``Vorin``, and with it the log.

    Attributes
    ----------
    path : pathlib.Path
        The file that is loaded.
    lock : threading.RLock
        Held during each call; the same for all instances of one file.

    Raises
    ------
    LibraryNotFound
        When the file is not there or can't be loaded.
    """

    def __init__(self, path: Union[str, os.PathLike, None] = None, *, log: bool = False):
        self.path = find_library(path)
        self.lock = _lock_of(self.path)
        self._handle: Optional[ctypes.CDLL] = load(self.path)
        self._functions: Dict[str, Callable] = {}
        try:
            for name, export in EXPORTS.items():
                function = getattr(self._handle, name)
                function.restype = checks.C_TYPES[export.returns] if export.returns else None
                self._functions[name] = function
        except AttributeError:
            self.close()
            raise InputValueError(f"{self.path}: it has no function {name}; give the file of "
                                  "libVorin01056.so") from None
        if not log:
            self.set("FLOG", NO_LOG)

    def _function(self, name: str) -> Callable:
        if self._handle is None:
            raise InputValueError(f"{name}: this library has been closed; make another one")
        return self._functions[name]

    def close(self) -> None:
        """Lets go of the library. The methods raise afterwards."""
        with self.lock:
            handle, self._handle = self._handle, None
            self._functions = {}
        if handle is not None:
            unload(handle)

    def __enter__(self) -> "Library":
        return self

    def __exit__(self, *exception: Any) -> None:
        self.close()

    def __repr__(self) -> str:
        return f"<vorin.Library {str(self.path)!r}{'' if self._handle else ', closed'}>"

    def get(self, key: str) -> Union[float, str]:
        """The value of a key: a text where it is a text or a choice, otherwise a number.

        Parameters
        ----------
        key : str
            Four characters at most, in any case.

        Returns
        -------
        float or str

        Raises
        ------
        InputValueError
            When the library has no such key.
        """
        answer = self.vorinSQC99("Q", key, value=float("nan"))
        choice_or_text = key.upper().ljust(4)[:4].strip() in TEXT_KEYS
        if choice_or_text:
            return answer.text
        if np.isnan(answer.value) and not answer.text:
            raise InputValueError(f"{key!r}: the library has no such key; docs/keys.md lists them")
        return answer.value

    def set(self, key: str, value: Union[float, str]) -> None:
        """Sets a key to a number or a text. Read-only keys stay as they are.

        Parameters
        ----------
        key : str
            Four characters at most, in any case.
        value : float or str
            A text for the keys that hold a text or a choice.
        """
        self.get(key)
        if isinstance(value, str):
            self.VorinSQC("S", key, value)
        else:
            self.VorinSQR("S", key, checks.number(f"the value of {key}", value, "f"))


#: The keys that hold a text or a choice.
TEXT_KEYS = ("FLOG", "VERS", "PRAV", "PRMO", "NALG", "TARG")

for _export in EXPORTS.values():
    setattr(Library, _export.name, _method(_export))
