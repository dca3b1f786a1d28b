"""How long calls are watched and ended, and what the library calls back."""

from __future__ import annotations

import atexit
import os
import threading
import time
from typing import Any, Callable, List, Optional, Tuple, TypeVar

from ._memory import Arena
from ._native import ffi, lib
from .error import call
from .handle import made

Result = TypeVar("Result")
#: Gets the bytes done and all of them (0: not known) while a file is hashed; on one thread, which may not be the
#: caller's.
Progress = Callable[[int, int], object]


class Stop:
    """Ends calls that were given it, from another thread: they raise an `Error` with the word "cancelled"."""

    def __init__(self) -> None:
        self._handle = made("chronoseal_stop", lib.chronoseal_stop_new)

    def request(self) -> None:
        """Requests the stop, for good."""
        call(lib.chronoseal_stop_request, self._handle)


class _Call:
    """One that takes long or calls back."""

    def __init__(self, stop: Optional[Stop]) -> None:
        self.stop = stop
        self.in_library = False


#: What a call that was stopped has to end by itself, in seconds. Waiting for a server's answer may take longer.
_PATIENCE = 0.5


class _UnderWay:
    """The calls that take long or call back. At the end of the program they are ended and waited for: a thread that the
    interpreter has given up would take the process down with it once it comes back from the library, or from a function of
    the caller's into it. For the latter there is some patience, since nobody knows how long they take; one that was left
    to itself isn't waited for."""

    def __init__(self) -> None:
        self._changed = threading.Condition()
        self._calls: List[_Call] = []
        self._closed = False

    def run(self, call: _Call, function: Callable[[], Result]) -> Result:
        with self._changed:
            self._refuse_when_closed()
            self._calls.append(call)
            call.in_library = True
        try:
            return function()
        finally:
            self.leave(call)

    def outside(self, call: _Call, function: Callable[[], object]) -> None:
        """Calls a function of the caller's."""
        with self._changed:
            self._refuse_when_closed()
            call.in_library = False
            self._changed.notify_all()
        try:
            function()
        finally:
            with self._changed:
                call.in_library = True

    def leave(self, call: _Call) -> None:
        """Waits for it no longer."""
        with self._changed:
            if call in self._calls:
                self._calls.remove(call)
            self._changed.notify_all()

    def close(self) -> None:
        with self._changed:
            self._closed = True
            for call in self._calls:
                if call.stop is not None:
                    call.stop.request()
            until = time.monotonic() + _PATIENCE
            while any(call.in_library for call in self._calls) or (self._calls and time.monotonic() < until):
                self._changed.wait(_PATIENCE)

    def _refuse_when_closed(self) -> None:
        if self._closed and threading.current_thread() is not threading.main_thread():
            raise SystemExit


_under_way = _UnderWay()
atexit.register(_under_way.close)


def _forget_threads() -> None:
    """In a child process, which has only the one that forked."""
    global _under_way
    atexit.unregister(_under_way.close)
    _under_way = _UnderWay()
    atexit.register(_under_way.close)


os.register_at_fork(after_in_child=_forget_threads)


class Listener:
    """What the library calls back: what a function of the caller's raises ends the call, and is raised behind it."""

    def __init__(self) -> None:
        self._raised: List[BaseException] = []
        self._call = _Call(None)

    def guarded(self, function: Callable[[], object]) -> bool:
        """Whether the function returned; what it raises is kept."""
        try:
            _under_way.outside(self._call, function)
            return True
        except BaseException as raised:  # a KeyboardInterrupt above all
            self._raised.append(raised)
            return False

    def run(self, stop: Stop, function: Callable[[], Result]) -> Result:
        """Calls the function, which calls the library."""
        self._call = _Call(stop)
        try:
            return _under_way.run(self._call, function)
        finally:
            if self._raised:
                first = self._raised[0]
                self._raised.clear()
                raise first

    def leave(self) -> None:
        """Leaves the call to itself: it ends some time, and nobody waits for it."""
        _under_way.leave(self._call)


class ProgressListener(Listener):
    def __init__(self, progress: Progress) -> None:
        super().__init__()
        self._progress = progress

    def told(self, done: int, total: int) -> bool:
        """Whether to go on."""
        return self.guarded(lambda: self._progress(done, total))


class Collector(Listener):
    """Takes all that a function of the library tells one by one."""

    def __init__(self, take: Callable[[Any], object]) -> None:
        super().__init__()
        self._take = take

    def told(self, item: Any) -> bool:
        """Whether to go on."""
        return self.guarded(lambda: self._take(item))


def collected(convert: Callable[[Any], Result], function: Any, *arguments: Any,
              rest: Tuple[Any, ...] = ()) -> List[Result]:
    """All that the function of the library tells a callback, the last of the arguments, converted. `rest` are those
    that follow the callback and what is handed to it."""
    found: List[Result] = []
    collector = Collector(lambda item: found.append(convert(item)))
    user = ffi.new_handle(collector)
    collector.run(Stop(), lambda: call(function, *arguments, user, *rest))
    return found


class Watch:
    """One call that may take long. Keeps what the call points to."""

    def __init__(self, progress: Optional[Progress] = None, stop: Optional[Stop] = None) -> None:
        self.arena = Arena()
        self.stop = stop or Stop()
        self._listener = Listener() if progress is None else ProgressListener(progress)
        self.control = self.arena.struct("chronoseal_control")
        self.control.stop = self.arena.keep(self.stop._handle)
        if progress is not None:
            self.control.progress = lib.chronoseal_python_progress
            self.control.user = self.arena.keep(ffi.new_handle(self._listener))

    def run(self, function: Callable[[], Result]) -> Result:
        return interruptible(self.stop, lambda: self._listener.run(self.stop, function), self._listener.leave)


def interruptible(stop: Stop, function: Callable[[], Result], leave: Optional[Callable[[], None]] = None) -> Result:
    """Calls what may wait for a server or a pipe. The main thread gets its signals only while it runs Python: so another
    one waits in its place, and Ctrl-C requests the stop. Who doesn't wait for that, and interrupts again, leaves the
    other thread to itself: so the function has to hold all that the library works on. With `leave` nobody has to
    interrupt again: it is called where the stop doesn't end the call at once."""
    if threading.current_thread() is not threading.main_thread():
        return function()
    results: List[Result] = []
    raised: List[BaseException] = []
    done = threading.Event()  # `Thread.join` that is interrupted takes the thread for ended

    def work() -> None:
        try:
            results.append(function())
        except BaseException as error:
            raised.append(error)
        finally:
            done.set()

    # The end of the program waits for what is under way, and not for what was left.
    thread = threading.Thread(target=work, name="chronoseal", daemon=True)
    try:
        thread.start()
        done.wait()
    except BaseException as error:
        if thread.ident is None and isinstance(error, RuntimeError):
            return function()  # there is no thread to be had: at the end of the program, above all
        stop.request()
        if thread.ident is not None and not done.wait(None if leave is None else _PATIENCE) and leave is not None:
            leave()
        raise
    if raised:
        raise raised[0]
    return results[0]


@ffi.def_extern(error=1)  # type: ignore[misc]
def chronoseal_python_progress(user: Any, done: int, total: int) -> int:
    listener: ProgressListener = ffi.from_handle(user)
    return 0 if listener.told(done, total) else 1


def _told(user: Any, item: Any) -> int:
    collector: Collector = ffi.from_handle(user)
    return 0 if collector.told(item) else 1


# One for each type that the library tells of.
for _kind in ("algorithm", "authority", "diagnosis", "line", "problem", "root", "setting", "store"):
    ffi.def_extern(name=f"chronoseal_python_{_kind}", error=1)(_told)
