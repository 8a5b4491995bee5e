"""Reading decays as instruments and spreadsheets leave them."""

from __future__ import annotations

import os
from pathlib import Path
from typing import List, Optional, Tuple, Union

import numpy as np

from .errors import InputValueError

_SEPARATORS = (";", "\t", ",")


def read(path: Union[str, "os.PathLike[str]"]) -> Tuple[np.ndarray, np.ndarray]:
    """The decay in a text file of columns.

    Time in s and amplitude stand in two columns; with three the samples are complex, real
    and imaginary. Comma, semicolon, tab or blanks separate the fields, decimals take a
    point. Lines that begin with ``#`` and empty lines are passed over, and one header line
    of words may come first.

    Parameters
    ----------
    path : path-like

    Returns
    -------
    t : numpy.ndarray of shape (nf,)
    y : numpy.ndarray of shape (nf,)
        float64, or complex128 for three columns.

    Raises
    ------
    InputValueError
        With file and line, for a row that is not two or three finite numbers.
    """
    name = Path(path)
    rows: List[List[float]] = []
    separator: Optional[str] = None
    header = False
    for number, line in enumerate(_lines(name), start=1):
        text = line.strip(" \t\r\n")
        if not text or text.startswith("#"):
            continue
        used = separator if separator is not None else _separator(text)
        fields = _fields(text, used)
        if not rows and not header and all(field and _number(field) is None for field in fields):
            header = True
            continue
        separator = used
        width = len(rows[0]) if rows else None
        rows.append(_row(f"{name}, line {number}", fields, width))
    if not rows:
        raise InputValueError(
            f"{name}: there are no rows of numbers; give one row a sample, time,amplitude")
    table = np.array(rows)
    if table.shape[1] == 2:
        return table[:, 0].copy(), table[:, 1].copy()
    return table[:, 0].copy(), table[:, 1] + 1j * table[:, 2]


def _lines(path: Path) -> List[str]:
    if not path.exists():
        raise InputValueError(f"{path}: there is no such file; give the name of a CSV file")
    if path.is_dir():
        raise InputValueError(f"{path}: this is a folder; give the name of a CSV file in it")
    try:
        content = path.read_text(encoding="utf-8-sig", errors="replace")
    except OSError as error:
        raise InputValueError(f"{path}: the file can't be read ({error.strerror})") from None
    return content.split("\n")


def _separator(row: str) -> str:
    """The separator of a file, told from its first row; " " stands for any run of blanks."""
    return next((candidate for candidate in _SEPARATORS if candidate in row), " ")


def _fields(row: str, separator: str) -> List[str]:
    return row.split() if separator == " " else [field.strip() for field in row.split(separator)]


def _number(field: str) -> Optional[float]:
    try:
        return float(field) if "_" not in field else None
    except ValueError:
        return None


def _row(where: str, fields: List[str], width: Optional[int]) -> List[float]:
    wanted = (width,) if width else (2, 3)
    if len(fields) not in wanted:
        raise InputValueError(
            f"{where}: this row has {len(fields)} field{'' if len(fields) == 1 else 's'}; "
            + (f"{width} are wanted, as in the rows before" if width else
               "2 are wanted, time and amplitude, or 3 with an imaginary channel"))
    values = []
    for field in fields:
        value = _number(field)
        if value is None:
            raise InputValueError(f"{where}: {field!r} is not a number; write one such as 0.0012 "
                                  "or 1.2e-3")
        if not np.isfinite(value):
            raise InputValueError(f"{where}: {field!r} is not a finite number; leave out samples "
                                  "without a value")
        values.append(value)
    return values
