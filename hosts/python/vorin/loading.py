"""Finding the shared library and loading a private copy of it."""

from __future__ import annotations

import _ctypes
import ctypes
import functools
import os
import shutil
import tempfile
from pathlib import Path
from typing import Iterator, Optional, Union

from .errors import LibraryNotFound

#: The names under which the library is installed: for building against, and for running.
FILE_NAMES = ("libVorin01056.so", "libVorin01056.so.10")

#: The environment variable that names the library's file.
VARIABLE = "VORIN_LIBRARY"


def _candidates() -> Iterator[Path]:
    package = Path(__file__).resolve().parent
    for name in FILE_NAMES:
        yield package / name
    # hosts/python/vorin in the source tree, whose library lies in build/
    if len(package.parents) > 2 and (package.parents[2] / "include" / "vorin.h").is_file():
        yield package.parents[2] / "build" / FILE_NAMES[0]


@functools.lru_cache(maxsize=None)
def _on_search_path() -> Optional[Path]:
    """Where the system's loader finds the library, told by the loader itself."""
    for name in FILE_NAMES:
        try:
            handle = ctypes.CDLL(name)
        except OSError:
            continue
        try:
            with open("/proc/self/maps", encoding="utf-8", errors="surrogateescape") as maps:
                for line in maps:
                    fields = line.rstrip("\n").split(maxsplit=5)
                    if len(fields) == 6 and Path(fields[5]).name.startswith(FILE_NAMES[0]):
                        return Path(fields[5])
        except OSError:
            return None
        finally:
            _ctypes.dlclose(handle._handle)  # type: ignore[attr-defined]
    return None


def find_library(path: Union[str, os.PathLike, None] = None) -> Path:
    """The file of the library.

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
    if path is not None:
        given, source = Path(path), "path"
    elif os.environ.get(VARIABLE):
        given, source = Path(os.environ[VARIABLE]), VARIABLE
    else:
        for candidate in _candidates():
            if candidate.is_file():
                return candidate
        found = _on_search_path()
        if found is not None:
            return found
        raise LibraryNotFound(
            f"{FILE_NAMES[0]} is not beside this package, not in build/ of the source tree and "
            f"not on the loader's search path; build it by script/test, or give its file in the "
            f"environment variable {VARIABLE}"
        )
    if not given.is_file():
        raise LibraryNotFound(f"{source} {str(given)!r}: there is no such file; give that of "
                              f"{FILE_NAMES[0]}")
    return given


def load_private_copy(path: Path) -> ctypes.CDLL:
    """Loads a copy of ``path`` that shares no state with any other one in the process.

    The loader knows a library by its file, so a second copy of the state needs a second
    file. It is removed as soon as it is loaded; its content lives as long as it is mapped.
    """
    try:
        number, name = tempfile.mkstemp(prefix="vorin-", suffix=".so")
        os.close(number)
    except OSError as error:
        raise LibraryNotFound(f"no file for a private copy of {path} can be made ({error}); set "
                              "TMPDIR to a folder where it can") from error
    try:
        shutil.copyfile(path, name)
        return ctypes.CDLL(name)
    except OSError as error:
        raise LibraryNotFound(f"{path}: it can't be loaded ({error}); give the file of a library "
                              "built for this machine") from error
    finally:
        os.unlink(name)


def unload(handle: ctypes.CDLL) -> None:
    """Unloads a private copy. Nothing of it may be called afterwards."""
    _ctypes.dlclose(handle._handle)  # type: ignore[attr-defined]
