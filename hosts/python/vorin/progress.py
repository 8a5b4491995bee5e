"""How far many inversions are: a callable of the caller, or a bar where tqdm is installed."""

from __future__ import annotations

import threading
from typing import Any, Callable, Optional, Union

from .errors import InputTypeError

Progress = Union[bool, Callable[[int], None], None]


class Counter:
    """Tells how many inversions are done, from any thread."""

    def __init__(self, progress: Progress, total: int, unit: str):
        if not (progress is None or isinstance(progress, bool) or callable(progress)):
            raise InputTypeError(f"progress is of type {type(progress).__name__}; True or a "
                                 "callable that takes a count is required")
        self._call: Optional[Callable[[int], None]] = progress if callable(progress) else None
        self._bar: Any = None
        self._done = 0
        self._lock = threading.Lock()
        if progress is True:
            try:
                from tqdm.auto import tqdm
            except ImportError:
                return
            self._bar = tqdm(total=total, unit=unit)

    def __enter__(self) -> "Counter":
        return self

    def __exit__(self, *_: object) -> None:
        if self._bar is not None:
            self._bar.close()

    def add(self, count: int) -> None:
        """So many more are done."""
        with self._lock:
            self._done += count
            if self._call is not None:
                self._call(self._done)
            if self._bar is not None:
                self._bar.update(count)

    def beyond(self, before: int) -> Callable[[int, int], None]:
        """Tells of a job that has so many before it; for one thread at a time."""
        return lambda done, _total: self.add(before + done - self._done)
