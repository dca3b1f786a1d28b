"""What holds a handle of the library."""

from __future__ import annotations

import threading
from types import TracebackType
from typing import Any, Dict, NoReturn, Optional, Type, TypeVar

from ._native import ffi, lib
from .error import call

Own = TypeVar("Own", bound="Handle")
Same = TypeVar("Same", bound="Unchanging")


def owned(kind: str, pointer: Any) -> Any:
    """The pointer to a `kind`, which is freed when nothing refers to it any more: a call that another thread is in
    does, for as long as it lasts."""
    free, new, place = getattr(lib, kind + "_free"), ffi.new, kind + "**"
    return ffi.gc(pointer, lambda handle: free(new(place, handle)))


def made(kind: str, function: Any, *arguments: Any) -> Any:
    """What the function makes, behind its last argument but the error's, as `owned` has it."""
    place = ffi.new(kind + "**")
    call(function, *arguments, place)
    return owned(kind, place[0])


def bytes_made(function: Any, *arguments: Any) -> bytes:
    """The bytes that the function of the library makes for its caller."""
    place, size = ffi.new("unsigned char**"), ffi.new("size_t*")
    call(function, *arguments, place, size)
    try:
        return bytes(ffi.buffer(place[0], size[0]))
    finally:
        lib.chronoseal_free(place[0])


class Handle:
    """Gives back what it holds when nothing refers to it any more, at `close`, or at the end of a `with`. Whatever is
    asked of it then is an `Error` with the word "argument_missing"; calls under way end as they would have."""

    _handle: Any = ffi.NULL

    def close(self) -> None:
        self._handle = ffi.NULL

    def __enter__(self: Own) -> Own:
        return self

    def __exit__(self, kind: Optional[Type[BaseException]], value: Optional[BaseException],
                 traceback: Optional[TracebackType]) -> None:
        self.close()

    def __reduce__(self) -> Any:
        self._refuse_to_travel()

    def _refuse_to_travel(self) -> NoReturn:
        raise TypeError(f"a {type(self).__name__} can't be copied or pickled: make another one of the same values")


class Unchanging(Handle):
    """One that doesn't change: a copy shares what it holds."""

    def __copy__(self: Same) -> Same:
        copy = type(self).__new__(type(self))
        copy.__dict__.update(self.__dict__)
        return copy

    def __deepcopy__(self: Same, memo: Dict[int, Any]) -> Same:
        return self.__copy__()


class Exclusive(Handle):
    """One that changes: threads wait for each other."""

    def __init__(self, handle: Any) -> None:
        self._handle = handle
        self._lock = threading.RLock()

    def _call(self, function: Any, *arguments: Any) -> None:
        with self._lock:
            call(function, self._handle, *arguments)

    def _made(self, kind: str, function: Any, *arguments: Any) -> Any:
        with self._lock:
            return made(kind, function, self._handle, *arguments)
