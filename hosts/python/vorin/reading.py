"""Reads decays from the text files of instruments and spreadsheets."""

from __future__ import annotations

import os
from typing import Optional, Tuple, Union

import numpy as np

from .errors import InputTypeError
from .toolkit import Settings, job


def read(path: Union[str, "os.PathLike[str]"], *, columns: Optional[str] = None,
         time_unit: Optional[str] = None, kernel: str = "t2") -> Tuple[np.ndarray, np.ndarray]:
    """The decay in a text file of columns, as the command reads it.

    Two columns hold time in s and amplitude; ``columns`` selects them where there are
    more. Comma, semicolon, tab or blanks separate the fields, decimals take a point or,
    where no comma separates, a comma. Lines that begin with ``#`` and empty lines are
    ignored, and one header line of words may come first.

    Parameters
    ----------
    path : path-like
    columns : str, optional
        "X,Y" or, for complex data, "X,Y,IM": numbers from 1, or names of the header line.
    time_unit : str, optional
        Of the first column: "s", "ms", "us" or "ns"; for diffusion "s/m2", "s/cm2",
        "s/mm2" or "ms/um2".
    kernel : {"t2", "t1-saturation", "t1-inversion", "diffusion"}
        "diffusion" where the first column holds b values.

    Returns
    -------
    t : numpy.ndarray of shape (nf,)
    y : numpy.ndarray of shape (nf,)
        float64, or complex128 where ``columns`` names an imaginary channel.

    Raises
    ------
    InputValueError
        With file and line, for what can't be read as a decay.
    """
    try:
        name = os.fspath(path)
    except TypeError:
        raise InputTypeError(f"path is of type {type(path).__name__}; the name of a file is "
                             "required") from None
    settings = Settings(columns=columns, time_unit=time_unit, kernel=kernel)
    fields = job("vorin_read_decay", os.fsencode(name), settings.raw)
    t, y = fields.array("time"), fields.array("amplitude")
    try:
        return t, y + 1j * fields.array("imaginary")
    except KeyError:
        return t, y
