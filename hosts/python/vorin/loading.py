"""Finding the shared libraries: the toolkit, and the numerical library for raw calls."""

from __future__ import annotations

import _ctypes
import ctypes
import functools
import os
from pathlib import Path
from typing import Iterator, NamedTuple, Optional, Tuple, Union

from .errors import LibraryNotFound


class _Product(NamedTuple):
    """A shared library of this project."""

    names: Tuple[str, ...]  #: of its file: for building against, and for running
    variable: str  #: the environment variable that names its file


NUMERICAL = _Product(("libVorin01056.so", "libVorin01056.so.10"), "VORIN_LIBRARY")
TOOLKIT = _Product(("libvorin_toolkit.so", "libvorin_toolkit.so.1"), "VORIN_TOOLKIT")


def _candidates(product: _Product) -> Iterator[Path]:
    other = os.environ.get((TOOLKIT if product is NUMERICAL else NUMERICAL).variable)
    if other:
        yield from (Path(other).parent / name for name in product.names)
    package = Path(__file__).resolve().parent
    yield from (package / name for name in product.names)
    # hosts/python/vorin in the source tree, whose libraries are in build/
    if len(package.parents) > 2 and (package.parents[2] / "include" / "vorin.h").is_file():
        yield package.parents[2] / "build" / product.names[0]


@functools.lru_cache(maxsize=None)
def _on_search_path(names: Tuple[str, ...]) -> Optional[Path]:
    """Where the system's loader finds a library, as the list of mapped files shows it."""
    for name in names:
        try:
            handle = ctypes.CDLL(name)
        except OSError:
            continue
        try:
            with open("/proc/self/maps", encoding="utf-8", errors="surrogateescape") as maps:
                for line in maps:
                    fields = line.rstrip("\n").split(maxsplit=5)
                    if len(fields) == 6 and Path(fields[5]).name.startswith(names[0]):
                        return Path(fields[5])
        except OSError:
            return None
        finally:
            _ctypes.dlclose(handle._handle)  # type: ignore[attr-defined]
    return None


def _find(product: _Product, path: Union[str, "os.PathLike[str]", None]) -> Path:
    if path is not None:
        given, source = Path(path), "path"
    elif os.environ.get(product.variable):
        given, source = Path(os.environ[product.variable]), product.variable
    else:
        for candidate in _candidates(product):
            if candidate.is_file():
                return candidate
        found = _on_search_path(product.names)
        if found is not None:
            return found
        raise LibraryNotFound(
            f"{product.names[0]} is not beside this package, not in build/ of the source tree and "
            f"not on the loader's search path; build it by script/test, or give its file in the "
            f"environment variable {product.variable}"
        )
    if not given.is_file():
        raise LibraryNotFound(f"{source} {str(given)!r}: there is no such file; give that of "
                              f"{product.names[0]}")
    return given


def find_library(path: Union[str, "os.PathLike[str]", None] = None) -> Path:
    """The file of the numerical library, for :class:`vorin.Library`.

    Parameters
    ----------
    path : path-like, optional
        Taken as it is. Without it these places are searched in order: the file that the
        environment variable ``VORIN_LIBRARY`` names, the folder of the file that
        ``VORIN_TOOLKIT`` names, the folder of this package, ``build/`` of the source tree
        that contains the package, the search path of the system's loader.

    Returns
    -------
    pathlib.Path

    Raises
    ------
    LibraryNotFound
        When there is no file at ``path``, or in none of the places.
    """
    return _find(NUMERICAL, path)


def find_toolkit(path: Union[str, "os.PathLike[str]", None] = None) -> Path:
    """The file of the toolkit, on which all functions of this package run.

    As :func:`find_library`, with the two environment variables exchanged.
    """
    return _find(TOOLKIT, path)


def load(path: Path) -> ctypes.CDLL:
    """Loads a shared library. All users of the same file share its state."""
    try:
        return ctypes.CDLL(str(path))
    except OSError as error:
        raise LibraryNotFound(f"{path}: it can't be loaded ({error}); give the file of a library "
                              "built for this machine") from error


def unload(handle: ctypes.CDLL) -> None:
    """Releases a loaded library; it is unloaded when its last user has released it."""
    _ctypes.dlclose(handle._handle)  # type: ignore[attr-defined]
