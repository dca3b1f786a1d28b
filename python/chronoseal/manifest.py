"""Lists of hashes: read line by line, and as trees under one stamp."""

from __future__ import annotations

import dataclasses
import os
from typing import Any, Callable, Iterable, List, Optional, Union

from ._memory import Arena, bytes_of, text_of
from ._native import ffi, lib
from .digest import Digest, digest_of
from .error import call
from .evidence_record import EvidenceRecord
from .evidence_tree import Digesting, bytes_in_memory
from .handle import Exclusive, bytes_made, made
from .stamp import Stamp
from .stop import Collector, Progress, Stop, Watch


@dataclasses.dataclass(frozen=True)
class ManifestLine:
    """A line of a list of hashes."""

    number: int  #: from 1
    digest: Digest
    name: bytes  #: as it is, escapes undone; `os.fsdecode` makes a path of it


@dataclasses.dataclass(frozen=True)
class ManifestInfo:
    digest: Digest  #: of the list's own bytes, by the algorithm of its lines
    lines: int


#: Gets each line of a list of hashes; on one thread, which may not be the caller's.
OnLine = Callable[[ManifestLine], object]


class ManifestReader(Exclusive):
    """A list of hashes as `sha256sum`, `sha384sum` and `sha512sum` write it, read as it comes. What `on_line` raises
    ends it, and is raised. Threads wait for each other."""

    def __init__(self, on_line: Optional[OnLine] = None) -> None:
        self._listener = Collector(lambda line: None if on_line is None else on_line(line_of(line)))
        self._user = ffi.new_handle(self._listener)
        callback = ffi.NULL if on_line is None else lib.chronoseal_python_line
        super().__init__(made("chronoseal_manifest_reader", lib.chronoseal_manifest_reader_new, callback, self._user))

    def feed(self, data: Union[bytes, bytearray, memoryview]) -> None:
        """Reads a piece of any size."""
        buffer = ffi.from_buffer(data)
        self._listener.run(Stop(), lambda: self._call(lib.chronoseal_manifest_reader_feed, buffer, len(buffer)))

    def finish(self) -> ManifestInfo:
        """Ends the list."""
        out = ManifestOut()
        self._listener.run(Stop(), lambda: self._call(lib.chronoseal_manifest_reader_finish, *out.places))
        return out.info


class ManifestOut:
    """Where the library puts what it tells of a list."""

    def __init__(self) -> None:
        self.places = ffi.new("chronoseal_digest*"), ffi.new("uint64_t*")

    @property
    def info(self) -> ManifestInfo:
        return ManifestInfo(digest_of(self.places[0]), int(self.places[1][0]))


def line_of(struct: Any) -> ManifestLine:
    return ManifestLine(int(struct.number), Digest(text_of(struct.algorithm), bytes_of(struct.digest)),
                        bytes_of(struct.name))


def read_manifest(path: Union[str, "os.PathLike[str]"], on_line: Optional[OnLine] = None, *,
                  progress: Optional[Progress] = None, stop: Optional[Stop] = None) -> ManifestInfo:
    """Reads a whole list, and calls for each line; what that raises is raised. Memory doesn't grow with the list."""
    watch, out = Watch(progress, stop), ManifestOut()
    lines = Collector(lambda line: None if on_line is None else on_line(line_of(line)))
    user = ffi.new_handle(lines)
    callback = ffi.NULL if on_line is None else lib.chronoseal_python_line
    name = watch.arena.path(path)

    def work() -> None:
        lines.run(watch.stop, lambda: call(
            lib.chronoseal_manifest_read, name, callback, user, watch.control, *out.places))

    watch.run(work)
    return out.info


def manifest_line(digest: Digest, name: Union[str, bytes, "os.PathLike[str]"]) -> bytes:
    """The line of a file as `sha256sum` writes it, with its line end."""
    arena = Arena()
    encoded = arena.bytes(os.fsencode(name))
    return bytes_made(lib.chronoseal_manifest_write_line, digest.in_memory(arena), encoded, len(encoded))


class ManifestTree(Digesting):
    """The tree of a list of hashes as `sha256sum` writes it: its lines' hashes, and that of the list itself, which so
    proves all lines and their names. Threads wait for each other."""

    def __init__(self, path: Union[str, "os.PathLike[str]"], *, progress: Optional[Progress] = None,
                 stop: Optional[Stop] = None) -> None:
        """Reads the list."""
        watch, out = Watch(progress, stop), ManifestOut()
        name = watch.arena.path(path)
        handles: List[Any] = []
        watch.run(lambda: handles.append(
            made("chronoseal_manifest_tree", lib.chronoseal_manifest_tree_new, name, watch.control)))
        super().__init__(handles[0])
        self._call(lib.chronoseal_manifest_tree_get_info, *out.places)
        self.digest = out.info.digest  #: of the list's own bytes
        self.lines = out.info.lines

    @property
    def root(self) -> Digest:
        """What is to be stamped for the list."""
        return self._digest(lib.chronoseal_manifest_tree_root)

    def record(self, stamp: Stamp, above: Iterable[bytes] = ()) -> EvidenceRecord:
        """That of the list, under a stamp over the root; `above` as in `EvidenceTree.record`, where several lists share
        a stamp."""
        arena = Arena()
        hashes = bytes_in_memory(arena, above)
        return self._record(lib.chronoseal_manifest_tree_record_below, stamp._handle, hashes, len(hashes))

    def prove(self, digest: Digest, record: EvidenceRecord) -> EvidenceRecord:
        """The record of an object whose hash stands in a line, made of that of the list."""
        arena = Arena()
        return self._record(lib.chronoseal_manifest_tree_prove, digest.in_memory(arena), record._handle)
