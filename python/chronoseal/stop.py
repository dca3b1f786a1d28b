"""How long calls are watched and ended."""

from __future__ import annotations

import threading
from typing import Any, Callable, List, Optional, TypeVar

from ._memory import Arena
from ._native import ffi, lib
from .error import call

Result = TypeVar("Result")
#: Gets the bytes done and all of them (0: not known) while a file is hashed.
Progress = Callable[[int, int], object]


class Stop:
    """Ends calls that were given it, from another thread: they raise an `Error` with the word "cancelled"."""

    def __init__(self) -> None:
        place = ffi.new("chronoseal_stop**")
        call(lib.chronoseal_stop_new, place)
        self._handle = ffi.gc(place[0], _free)

    def request(self) -> None:
        """Requests the stop, for good."""
        call(lib.chronoseal_stop_request, self._handle)


def _free(handle: Any) -> None:
    lib.chronoseal_stop_free(ffi.new("chronoseal_stop**", handle))


class Listener:
    """What the library calls back: what a function of the caller's raises ends the call, and is raised behind it."""

    def __init__(self) -> None:
        self._raised: List[BaseException] = []

    def guarded(self, function: Callable[[], object]) -> bool:
        """Whether the function returned; what it raises is kept."""
        try:
            function()
            return True
        except BaseException as raised:  # a KeyboardInterrupt above all
            self._raised.append(raised)
            return False

    def run(self, function: Callable[[], Result]) -> Result:
        """Calls the function, which calls the library."""
        try:
            return function()
        finally:
            if self._raised:
                raise self._raised[0]


class ProgressListener(Listener):
    def __init__(self, progress: Progress) -> None:
        super().__init__()
        self._progress = progress

    def told(self, done: int, total: int) -> bool:
        """Whether to go on."""
        return self.guarded(lambda: self._progress(done, total))


class Watch:
    """One call that may hash a file for long. Keeps what the call points to."""

    def __init__(self, progress: Optional[Progress] = None, stop: Optional[Stop] = None) -> None:
        self.arena = Arena()
        self._listener = Listener() if progress is None else ProgressListener(progress)
        self.control = self.arena.struct("chronoseal_control")
        if stop is not None:
            self.control.stop = self.arena.keep(stop._handle)
        if progress is not None:
            self.control.progress = lib.chronoseal_python_progress
            self.control.user = self.arena.keep(ffi.new_handle(self._listener))

    def run(self, function: Callable[[], Result]) -> Result:
        return self._listener.run(function)


def interruptible(stop: Stop, function: Callable[[], Result]) -> Result:
    """Calls what may wait for a server. The main thread gets its signals only while it runs Python: so another one
    waits in its place, and Ctrl-C requests the stop."""
    if threading.current_thread() is not threading.main_thread():
        return function()
    results: List[Result] = []
    raised: List[BaseException] = []

    def work() -> None:
        try:
            results.append(function())
        except BaseException as error:
            raised.append(error)

    thread = threading.Thread(target=work, name="chronoseal")
    thread.start()
    try:
        thread.join()
    except BaseException:
        stop.request()
        thread.join()
        raise
    if raised:
        raise raised[0]
    return results[0]


@ffi.def_extern(error=1)  # type: ignore[misc]
def chronoseal_python_progress(user: Any, done: int, total: int) -> int:
    listener: ProgressListener = ffi.from_handle(user)
    return 0 if listener.told(done, total) else 1
