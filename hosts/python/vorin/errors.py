"""What the package raises: the built-in kinds, under one roof."""

from __future__ import annotations


class VorinError(Exception):
    """Any error of this package."""


class InputValueError(VorinError, ValueError):
    """An argument has the right type and a value that can't be used."""


class InputTypeError(VorinError, TypeError):
    """An argument is not of the type that is required."""


class LibraryNotFound(VorinError, OSError):
    """The shared library is nowhere to be found, or can't be loaded."""
