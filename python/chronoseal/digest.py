"""Hashes."""

from __future__ import annotations

import dataclasses
import os
from typing import Any, Optional, Tuple, Union

from ._memory import BYTES, Arena, Data, text_of
from ._native import ffi, lib
from .error import call
from .handle import Exclusive, made
from .stop import Progress, Stop, Watch, collected


@dataclasses.dataclass(frozen=True)
class Digest:
    """A finished hash with the name or OID of its algorithm."""

    algorithm: str
    value: bytes

    @staticmethod
    def of(data: Data, algorithm: str = "SHA-256", *, progress: Optional[Progress] = None,
           stop: Optional[Stop] = None) -> Digest:
        """Of bytes, or of a file by its name, which is read in constant memory."""
        watch = Watch(progress, stop)
        out = ffi.new("chronoseal_digest*")
        name = watch.arena.text(algorithm)
        if isinstance(data, BYTES):
            buffer = watch.arena.bytes(data)
            call(lib.chronoseal_hash, name, buffer, len(buffer), out)
        else:
            path = watch.arena.path(data)
            watch.run(lambda: call(lib.chronoseal_hash_file, name, path, watch.control, out))
        return digest_of(out)

    def in_memory(self, arena: Arena) -> Any:
        """The library's struct."""
        out = arena.keep(ffi.new("chronoseal_digest*"))
        name = self.algorithm.encode("utf-8")
        if b"\0" in name or len(name) >= ffi.sizeof(out.algorithm):
            raise ValueError("no algorithm has this name")
        ffi.memmove(out.algorithm, name, len(name))
        ffi.memmove(out.value, self.value, min(len(self.value), ffi.sizeof(out.value)))
        out.size = len(self.value)
        return out


def digest_of(struct: Any) -> Digest:
    return Digest(text_of(struct.algorithm), bytes(ffi.buffer(struct.value, struct.size)))


class Hasher(Exclusive):
    """A running hash, for data that comes in pieces. Threads wait for each other."""

    def __init__(self, algorithm: str = "SHA-256") -> None:
        super().__init__(made("chronoseal_hasher", lib.chronoseal_hasher_new, Arena().text(algorithm)))

    def update(self, data: Union[bytes, bytearray, memoryview]) -> None:
        buffer = ffi.from_buffer(data)
        self._call(lib.chronoseal_hasher_update, buffer, len(buffer))

    def finish(self) -> Digest:
        """Ends the hash."""
        out = ffi.new("chronoseal_digest*")
        self._call(lib.chronoseal_hasher_finish, out)
        return digest_of(out)


@dataclasses.dataclass(frozen=True)
class HashAlgorithm:
    """A hash algorithm that this machine can compute."""

    name: str  #: "SHA-256"
    oid: str
    size: int  #: of a digest, in bytes
    weak: bool  #: collisions can be made, so a new stamp proves little


def hash_algorithms() -> Tuple[HashAlgorithm, ...]:
    """All that this machine can compute, strongest use first."""
    return tuple(collected(
        lambda one: HashAlgorithm(text_of(one.name), text_of(one.oid), one.size, one.weak != 0),
        lib.chronoseal_hash_algorithms, lib.chronoseal_python_algorithm))


#: What a stamp is asked for or compared with.
Item = Union[str, "os.PathLike[str]", bytes, bytearray, memoryview, Digest]
