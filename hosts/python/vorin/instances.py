"""The private copies of the library that inversions run on, one for each that runs."""

from __future__ import annotations

import contextlib
import os
import threading
from pathlib import Path
from typing import Dict, Iterator, List, Tuple

from .library import Library
from .loading import find_library
from .settings import load_values, restore

_guard = threading.Lock()
_idle: Dict[Path, List[Tuple[Library, Dict[str, float]]]] = {}


def _after_fork() -> None:
    """A thread that held the guard does not live on in a forked process."""
    global _guard
    _guard = threading.Lock()


if hasattr(os, "register_at_fork"):  # not on every system
    os.register_at_fork(after_in_child=_after_fork)


@contextlib.contextmanager
def borrowed() -> Iterator[Library]:
    """An instance that nobody else uses meanwhile, with every key at its load value.

    As many instances come into being as inversions ever run at once; they are kept.
    """
    path = find_library()
    with _guard:
        waiting = _idle.setdefault(path, [])
        pair = waiting.pop() if waiting else None
    if pair is None:
        library = Library(path)
        pair = library, load_values(library)
    library, values = pair
    try:
        restore(library, values)
        yield library
    finally:
        with _guard:
            waiting.append(pair)
