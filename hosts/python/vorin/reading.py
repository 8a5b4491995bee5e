"""Reads decays from the files of instruments, spreadsheets and other programs."""

from __future__ import annotations

import os
from typing import Iterator, List, Optional, Tuple, Union

import numpy as np

from .arrays import FloatArray, Numbers, equal_tuples
from .errors import InputTypeError, InputValueError
from .toolkit import Fields, Settings, job


class ReadDecay(Tuple[FloatArray, Numbers]):
    """``(t, y)`` of a file, with what the reader found there.

    Attributes
    ----------
    t, y : numpy.ndarray
        Times in s (b values in s/m2) and amplitudes, complex where there is an imaginary channel.
    column : str
        The column of many decays of one file.
    format, columns, unit, unit_origin : str
        What the file is, the columns that were taken, their unit and who says so.
    notes : list of str
        What was left out, sorted or averaged, and what looks odd.
    """

    column: str
    format: str
    columns: str
    unit: str
    unit_origin: str
    notes: List[str]

    def __new__(cls, t: FloatArray, y: Numbers) -> "ReadDecay":
        return super().__new__(cls, (t, y))  # type: ignore[arg-type]

    def __eq__(self, other: object) -> bool:
        return equal_tuples(self, other)

    def __ne__(self, other: object) -> bool:
        return not equal_tuples(self, other)

    @property
    def t(self) -> FloatArray:
        """The times."""
        return self[0]

    @property
    def y(self) -> Numbers:
        """The amplitudes."""
        return self[1]


def _decays(fields: Fields) -> Iterator[ReadDecay]:
    t, y = fields.array("time"), fields.array("amplitude")
    try:
        y = y + 1j * fields.array("imaginary")
    except KeyError:
        pass
    start = 0
    for name, size in zip(fields.texts("names"), fields.array("sizes").astype(int)):
        decay = ReadDecay(t[start:start + size], y[start:start + size])
        decay.column = name
        for text in ("format", "columns", "unit", "unit_origin"):
            setattr(decay, text, fields.text(text))
        decay.notes = fields.texts("notes")
        start += size
        yield decay


def read_all(path: Union[str, "os.PathLike[str]"], *, columns: Optional[str] = None,
             time_unit: Optional[str] = None, spacing: Optional[str] = None,
             header_lines: Optional[int] = None, kernel: str = "t2") -> List[ReadDecay]:
    """All decays that ``columns`` selects in a file, as "1,2..40" does; see :func:`read`."""
    try:
        name = os.fspath(path)
    except TypeError:
        raise InputTypeError(f"path is of type {type(path).__name__}; the name of a file is "
                             "required") from None
    settings = Settings(columns=columns, time_unit=time_unit, spacing=spacing, kernel=kernel)
    if header_lines is not None:
        settings.set("header_lines", str(header_lines))
    return list(_decays(job("vorin_read_decay", os.fsencode(name), settings.raw)))


def read(path: Union[str, "os.PathLike[str]"], *, columns: Optional[str] = None,
         time_unit: Optional[str] = None, spacing: Optional[str] = None,
         header_lines: Optional[int] = None, kernel: str = "t2") -> ReadDecay:
    """The decay in a file, as the command reads it.

    A text file has a row for each sample below a header of any length: time and amplitude, or
    more columns of which ``columns`` selects. A unit in the header is taken. Rows without a
    number are left out, times sorted, samples of one time averaged; ``notes`` of the result
    tells. docs/reading.md lists the other files that are read.

    Parameters
    ----------
    path : path-like
        ``FILE``, or ``FILE:PATH`` for an array inside a container.
    columns : str, optional
        "X,Y" or, for complex data, "X,Y,IM": numbers from 1, or names of the header.
    time_unit : str, optional
        Of the first column: "s", "ms", "us" or "ns"; for diffusion "s/m2", "s/cm2",
        "s/mm2" or "ms/um2". Overrides what the file says.
    spacing : str, optional
        "TIME" or "TIME,FIRST": from one sample to the next, where the first column numbers the
        samples or there is none; FIRST is the time of the first sample.
    header_lines : int, optional
        Lines above the rows of numbers; they are found unless it is given.
    kernel : {"t2", "t1-saturation", "t1-inversion", "diffusion"}
        "diffusion" where the first column holds b values.

    Returns
    -------
    ReadDecay
        The tuple ``(t, y)``: float64, or complex128 where there is an imaginary channel.

    Raises
    ------
    InputValueError
        With file and line, for what can't be read as a decay.
    """
    decays = read_all(path, columns=columns, time_unit=time_unit, spacing=spacing,
                      header_lines=header_lines, kernel=kernel)
    if len(decays) != 1:
        raise InputValueError(f"columns {columns!r} choose {len(decays)} decays; read_all reads "
                              "them")
    return decays[0]
