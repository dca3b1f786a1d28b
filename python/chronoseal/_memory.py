"""Values of Python in the library's memory, and back."""

from __future__ import annotations

import datetime
import os
from typing import Any, Iterable, List, Optional, Union

from ._native import ffi
from .error import Category, Error

#: A file by its name, or bytes.
Data = Union[str, "os.PathLike[str]", bytes, bytearray, memoryview]
#: One or several files or bytes with certificates, revocation lists or answers.
Sources = Union[Data, Iterable[Data]]

_EPOCH = datetime.datetime(1970, 1, 1, tzinfo=datetime.timezone.utc)
_MICROSECOND = datetime.timedelta(microseconds=1)
#: For `isinstance`: data, in place of the name of a file.
BYTES = (bytes, bytearray, memoryview)


class Arena:
    """Keeps what a call points to for as long as the call lasts."""

    def __init__(self) -> None:
        self._kept: List[Any] = []

    def keep(self, value: Any) -> Any:
        self._kept.append(value)
        return value

    def text(self, text: Optional[str]) -> Any:
        """UTF-8 with its end; null for None."""
        if text is None:
            return ffi.NULL
        return self._terminated(text.encode("utf-8"))

    def path(self, path: Union[str, "os.PathLike[str]"]) -> Any:
        return self._terminated(os.fsencode(path))

    def path_if_any(self, path: Union[str, "os.PathLike[str]", None]) -> Any:
        return ffi.NULL if path is None else self.path(path)

    def _terminated(self, encoded: bytes) -> Any:
        if b"\0" in encoded:
            raise ValueError("embedded null byte")
        return self.keep(ffi.new("char[]", encoded))

    def bytes(self, data: Union[bytes, bytearray, memoryview]) -> Any:
        return self.keep(ffi.from_buffer(data))

    def struct(self, kind: str, **members: Any) -> Any:
        """A struct that begins with its size."""
        struct = self.keep(ffi.new(kind + "*", members))
        struct.size = ffi.sizeof(kind)
        return struct

    def sources(self, sources: Sources) -> Any:
        all_of_them = [sources] if isinstance(sources, (*BYTES, str, os.PathLike)) else list(sources)
        array = self.keep(ffi.new("chronoseal_source[]", len(all_of_them)))
        for place, source in zip(array, all_of_them):
            if isinstance(source, BYTES):
                data = self.bytes(source)
                place.data, place.size = data, len(data)
            else:
                place.path = self.path(source)
        return array


def content_of(data: Data) -> Union[bytes, bytearray, memoryview]:
    """The bytes, or what a file of that name holds."""
    if isinstance(data, BYTES):
        return data
    try:
        with open(data, "rb") as file:
            return file.read()
    except OSError as error:
        text = f"can't read {os.fsdecode(data)!r}: {error.strerror}"
        advice = "check the file's name and mode"
        raise Error(Category.UNREACHABLE, "file_unreadable", 0, text, advice, f"{text}; {advice}") from None


def text_of(pointer: Any) -> str:
    return "" if pointer == ffi.NULL else str(ffi.string(pointer).decode("utf-8", "replace"))


def bytes_of(view: Any) -> bytes:
    return b"" if view.size == 0 else bytes(ffi.buffer(view.data, view.size))


def time_of(microseconds: int) -> datetime.datetime:
    """In UTC; what Python's calendar can't hold becomes its end."""
    try:
        return _EPOCH + microseconds * _MICROSECOND
    except OverflowError:
        end = datetime.datetime.max if microseconds > 0 else datetime.datetime.min
        return end.replace(tzinfo=datetime.timezone.utc)


def microseconds_of(time: datetime.datetime) -> int:
    if time.tzinfo is None:
        raise ValueError("a time without a zone")
    return (time - _EPOCH) // _MICROSECOND


def milliseconds_of(duration: Union[datetime.timedelta, float, None]) -> int:
    """Of a duration or of seconds; 0, the default, for None."""
    if duration is None:
        return 0
    if not isinstance(duration, datetime.timedelta):
        duration = datetime.timedelta(seconds=duration)
    if duration < datetime.timedelta(0):
        raise ValueError("a duration below zero")
    return max(1, duration // datetime.timedelta(milliseconds=1))
