"""What holds a handle of the library."""

from __future__ import annotations

from types import TracebackType
from typing import Any, Optional, Type, TypeVar

from ._native import ffi

Own = TypeVar("Own", bound="Handle")


class Handle:
    """Frees what it holds when nothing refers to it any more, at `close`, or at the end of a `with`. Whatever is asked
    of it then is an `Error` with the word "argument_missing"."""

    _handle: Any

    def close(self) -> None:
        if self._handle != ffi.NULL:
            ffi.release(self._handle)
            self._handle = ffi.NULL

    def __enter__(self: Own) -> Own:
        return self

    def __exit__(self, kind: Optional[Type[BaseException]], value: Optional[BaseException],
                 traceback: Optional[TracebackType]) -> None:
        self.close()
