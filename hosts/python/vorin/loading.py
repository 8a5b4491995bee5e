"""Finding the shared libraries: the toolkit, and the numerical library for raw calls."""

from __future__ import annotations

import _ctypes
import ctypes
import functools
import os
from pathlib import Path
from typing import Iterator, Optional, Tuple, Union

from .errors import LibraryNotFound

#: The names under which the numerical library is installed: for building against, and for
#: running; and the environment variable that names its file.
FILE_NAMES = ("libVorin01056.so", "libVorin01056.so.10")
VARIABLE = "VORIN_LIBRARY"

#: The same of the toolkit.
TOOLKIT_NAMES = ("libvorin_toolkit.so", "libvorin_toolkit.so.1")
TOOLKIT_VARIABLE = "VORIN_TOOLKIT"


def _candidates(names: Tuple[str, ...]) -> Iterator[Path]:
    package = Path(__file__).resolve().parent
    for name in names:
        yield package / name
    # hosts/python/vorin in the source tree, whose libraries lie in build/
    if len(package.parents) > 2 and (package.parents[2] / "include" / "vorin.h").is_file():
        yield package.parents[2] / "build" / names[0]


@functools.lru_cache(maxsize=None)
def _on_search_path(names: Tuple[str, ...]) -> Optional[Path]:
    """Where the system's loader finds a library, told by the loader itself."""
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


def _find(path: Union[str, "os.PathLike[str]", None], names: Tuple[str, ...], variable: str,
          more: Tuple[Path, ...] = ()) -> Path:
    if path is not None:
        given, source = Path(path), "path"
    elif os.environ.get(variable):
        given, source = Path(os.environ[variable]), variable
    else:
        for candidate in (*more, *_candidates(names)):
            if candidate.is_file():
                return candidate
        found = _on_search_path(names)
        if found is not None:
            return found
        raise LibraryNotFound(
            f"{names[0]} is not beside this package, not in build/ of the source tree and "
            f"not on the loader's search path; build it by script/test, or give its file in the "
            f"environment variable {variable}"
        )
    if not given.is_file():
        raise LibraryNotFound(f"{source} {str(given)!r}: there is no such file; give that of "
                              f"{names[0]}")
    return given


def find_library(path: Union[str, "os.PathLike[str]", None] = None) -> Path:
    """The file of the numerical library, for :class:`vorin.Library`.

    Parameters
    ----------
    path : path-like, optional
        Taken as it is. Without it these places are looked at in order: the environment
        variable ``VORIN_LIBRARY``, the folder of this package, ``build/`` of the source
        tree that the package stands in, the search path of the system's loader.

    Returns
    -------
    pathlib.Path

    Raises
    ------
    LibraryNotFound
        When there is no file at ``path``, or in none of the places.
    """
    return _find(path, FILE_NAMES, VARIABLE)


def find_toolkit(path: Union[str, "os.PathLike[str]", None] = None) -> Path:
    """The file of the toolkit, on which all functions of this package run.

    It is looked for as :func:`find_library` looks for the numerical library, with the
    environment variable ``VORIN_TOOLKIT``, and also beside the file that ``VORIN_LIBRARY``
    names.

    Returns
    -------
    pathlib.Path

    Raises
    ------
    LibraryNotFound
        When there is no file at ``path``, or in none of the places.
    """
    other = os.environ.get(VARIABLE)
    beside = tuple(Path(other).parent / name for name in TOOLKIT_NAMES) if other else ()
    return _find(path, TOOLKIT_NAMES, TOOLKIT_VARIABLE, beside)


def load(path: Path) -> ctypes.CDLL:
    """Loads the numerical library. Whoever loads the same file shares its state."""
    try:
        return ctypes.CDLL(str(path))
    except OSError as error:
        raise LibraryNotFound(f"{path}: it can't be loaded ({error}); give the file of a library "
                              "built for this machine") from error


def unload(handle: ctypes.CDLL) -> None:
    """Lets go of a loaded library; it is unloaded with the last that lets go."""
    _ctypes.dlclose(handle._handle)  # type: ignore[attr-defined]
