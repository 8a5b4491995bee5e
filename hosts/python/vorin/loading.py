"""Finds the shared libraries (the toolkit, and the numerical library for raw calls) and the
command."""

from __future__ import annotations

import _ctypes
import ctypes
import functools
import os
import shutil
from pathlib import Path
from typing import Dict, Iterator, Mapping, NamedTuple, Optional, Tuple, Union

from .errors import LibraryNotFound


class _Product(NamedTuple):
    """A shared library of this project."""

    names: Tuple[str, ...]  #: of its file: for building against, and for running
    variable: str  #: the environment variable that names its file


NUMERICAL = _Product(("libVorin01056.so", "libVorin01056.so.10"), "VORIN_LIBRARY")
TOOLKIT = _Product(("libvorin_toolkit.so", "libvorin_toolkit.so.1"), "VORIN_TOOLKIT")


_PACKAGE = Path(__file__).resolve().parent
_RUNTIME = "runtime"  #: a wheel's folder of the command and the Fortran run-time libraries


def _source_tree() -> Optional[Path]:
    """The source tree, when this package is its hosts/python/vorin."""
    if len(_PACKAGE.parents) > 2 and (_PACKAGE.parents[2] / "include" / "vorin.h").is_file():
        return _PACKAGE.parents[2]
    return None


def _candidates(product: _Product) -> Iterator[Path]:
    other = os.environ.get((TOOLKIT if product is NUMERICAL else NUMERICAL).variable)
    if other:
        yield from (Path(other).parent / name for name in product.names)
    yield from (_PACKAGE / name for name in product.names)
    tree = _source_tree()
    if tree is not None:
        yield tree / "build" / product.names[0]


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

    Parameters
    ----------
    path : path-like, optional
        As for :func:`find_library`, with the two environment variables exchanged.

    Returns
    -------
    pathlib.Path

    Raises
    ------
    LibraryNotFound
        When there is no file at ``path``, or in none of the places.
    """
    return _find(TOOLKIT, path)


def find_program() -> Path:
    """The file of the command ``vorin``, which ``python -m vorin`` runs.

    It is searched in the folder of this package, in ``build/`` of the source tree that
    contains the package, and on the search path of the shell.

    Raises
    ------
    LibraryNotFound
        When it is in none of these places.
    """
    places = [_PACKAGE / _RUNTIME / "vorin"]
    tree = _source_tree()
    if tree is not None:
        places.append(tree / "build" / "release" / "bin" / "vorin")
    for place in places:
        if place.is_file():
            return place
    found = shutil.which("vorin")
    if found is None:
        raise LibraryNotFound("the command vorin is not in this package, not in build/ of the "
                              "source tree and not on the search path of the shell; build it by "
                              "script/test, or install the Debian package")
    return Path(found)


def with_runtime(environment: Mapping[str, str]) -> Dict[str, str]:
    """``environment`` in which a program finds the run-time libraries of a wheel."""
    result = dict(environment)
    if (_PACKAGE / _RUNTIME).is_dir():
        before = result.get("LD_LIBRARY_PATH")
        result["LD_LIBRARY_PATH"] = os.pathsep.join(
            [str(_PACKAGE / _RUNTIME), *([before] if before else [])])
    return result


@functools.lru_cache(maxsize=None)
def _load_runtime() -> None:
    """Loads the Fortran run-time libraries that a wheel contains, for systems without them."""
    for name in ("libquadmath.so.0", "libgfortran.so.5"):
        if (_PACKAGE / _RUNTIME / name).is_file():
            try:
                ctypes.CDLL(name)  # that of the system, where there is one
            except OSError:
                ctypes.CDLL(str(_PACKAGE / _RUNTIME / name))


def load(path: Path) -> ctypes.CDLL:
    """Loads a shared library. All users of the same file share its state."""
    try:
        _load_runtime()
        return ctypes.CDLL(str(path))
    except OSError as error:
        advice = forbids_programs(path) or "give the file of a library built for this machine"
        raise LibraryNotFound(f"{path}: it can't be loaded ({error}); {advice}") from error


def forbids_programs(path: Path) -> Optional[str]:
    """What to do where no program or library may run from the file system of a file."""
    flag: int = getattr(os, "ST_NOEXEC", 0)
    try:
        forbidden = os.statvfs(path).f_flag & flag
    except (OSError, AttributeError):  # not on every system
        return None
    if not forbidden:
        return None
    return ("its file system is mounted with noexec, from which nothing may run; install the "
            "package elsewhere")


def unload(handle: ctypes.CDLL) -> None:
    """Releases a loaded library; it is unloaded when its last user has released it."""
    _ctypes.dlclose(handle._handle)  # type: ignore[attr-defined]
