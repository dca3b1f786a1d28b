"""The one exception."""

from __future__ import annotations

import enum
from typing import Any, Tuple

from ._native import ffi, lib


class Category(enum.Enum):
    """What kind of answer an error is."""

    REFUSED = 1  #: found to be bad, or forbidden
    MISUSE = 2  #: the caller's own values make no sense
    UNREACHABLE = 3  #: could not be reached, read or judged


class Error(Exception):
    """A call that failed. `str` of it is one line that is safe to print."""

    def __init__(self, category: Category, word: str, code: int, text: str, advice: str, message: str) -> None:
        super().__init__(message)
        self.category = category
        #: A stable word of small letters and underscores, "imprint_differs": programs decide by this.
        self.word = word
        #: The result code of the library or the platform beneath; 0 where none applies.
        self.code = code
        #: What failed, and what to do: one sentence each.
        self.text = text
        self.advice = advice

    def __reduce__(self) -> Tuple[Any, ...]:
        return type(self), (self.category, self.word, self.code, self.text, self.advice, str(self))


def error_of(handle: Any) -> Error:
    """The error behind a handle of the library's, which stays as it is."""

    def text(pointer: Any) -> str:
        return str(ffi.string(pointer).decode("utf-8", "replace"))

    return Error(Category(lib.chronoseal_error_status(handle)), text(lib.chronoseal_error_word(handle)),
                 lib.chronoseal_error_code(handle), text(lib.chronoseal_error_text(handle)),
                 text(lib.chronoseal_error_advice(handle)), text(lib.chronoseal_error_message(handle)))


def call(function: Any, *arguments: Any) -> None:
    """Calls a function that returns a status and takes the place of an error last; raises the error."""
    place = ffi.new("chronoseal_error**")
    try:
        if function(*arguments, place) != lib.CHRONOSEAL_OK:
            raise error_of(place[0])
    finally:
        lib.chronoseal_error_free(place)
