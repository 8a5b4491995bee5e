#!/usr/bin/env python3
"""Writes vorin/library.pyi, the types of the methods that are made from the table of exports.

A test compares the file with what this writes.
"""

import sys
from pathlib import Path

HERE = Path(__file__).resolve().parent.parent
sys.path.insert(0, str(HERE))

from vorin.exports import EXPORTS, Argument  # noqa: E402
from vorin.library import _may_be_left_out, _python_name  # noqa: E402

HEAD = '''"""Types of library.py; written by tools/write_stub.py from the table of exports."""

import os
import threading
from pathlib import Path
from types import TracebackType
from typing import Mapping, NamedTuple, Optional, Tuple, Type, Union

import numpy as np
import numpy.typing as npt

Float32Array = npt.NDArray[np.float32]
Float64Array = npt.NDArray[np.float64]
Int32Array = npt.NDArray[np.int32]
Text = Union[str, bytes]

NO_LOG: str
TEXT_KEYS: Tuple[str, ...]
'''

CLASS = '''

class Library:
    path: Path
    lock: threading.RLock
    def __init__(self, path: Union[str, os.PathLike[str], None] = None, *,
                 log: bool = False) -> None: ...
    def close(self) -> None: ...
    def __enter__(self) -> Library: ...
    def __exit__(self, kind: Optional[Type[BaseException]], value: Optional[BaseException],
                 trace: Optional[TracebackType]) -> None: ...
    def get(self, key: str) -> Union[float, str]: ...
    def set(self, key: str, value: Union[float, str]) -> None: ...
'''

ARRAYS = {"f": "Float32Array", "d": "Float64Array", "i": "Int32Array"}
NUMBERS = {"f": "float", "d": "float", "i": "int"}


def given(argument: Argument) -> str:
    if argument.is_text:
        return "Union[Text, bytearray]" if argument.written else "Text"
    if argument.type == "v":
        return "object"
    if argument.is_array:
        return ARRAYS[argument.type]
    if argument.written:
        held = ARRAYS[argument.type]
        return f"Union[{NUMBERS[argument.type]}, {held}]" if argument.read else held
    return NUMBERS[argument.type]


def answered(argument: Argument) -> str:
    if argument.is_text:
        return "str"
    return ARRAYS[argument.type] if argument.is_array else NUMBERS[argument.type]


def stub() -> str:
    classes, methods = [], []
    for export in EXPORTS.values():
        optional = False
        parameters = ["self"]
        for argument in export.arguments:
            optional = optional or _may_be_left_out(argument)
            kind = given(argument)
            parameters.append(f"{_python_name(argument.name)}: "
                              + (f"Optional[{kind}] = ..." if optional else kind))
        results = export.results
        if export.returns:
            answer = NUMBERS[export.returns]
        elif len(results) == 1:
            answer = answered(results[0])
        else:
            answer = f"{export.name}_result"
            classes.append(f"\n\nclass {answer}(NamedTuple):\n" + "\n".join(
                f"    {_python_name(argument.name)}: {answered(argument)}"
                # a tuple has a method of that name, which the field hides
                + ("  # type: ignore[assignment]" if argument.name == "count" else "")
                for argument in results))
        separator = ",\n" + " " * (len(export.name) + 9)
        methods.append(f"    def {export.name}({separator.join(parameters)}) -> {answer}: ...")
    return HEAD + "".join(classes) + "\n" + CLASS + "\n".join(methods) + "\n"


if __name__ == "__main__":
    (HERE / "vorin" / "library.pyi").write_text(stub(), encoding="utf-8")
