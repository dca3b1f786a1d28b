"""Evidence records (RFC 4998), and what they hold."""

from __future__ import annotations

import dataclasses
import os
from typing import Any, Optional, Tuple, Union

from ._memory import Data, bytes_of, text_of
from ._native import ffi, lib
from .digest import Digest, digest_of
from .error import call
from .handle import Unchanging, made
from .stamp import Algorithm, Stamp, algorithm_of, copy_of, read_or_load
from .stop import Progress, Stop, Watch


@dataclasses.dataclass(frozen=True)
class ArchiveStamp:
    """One time-stamp of a record. Nothing of it is verified."""

    chain: int  #: from 0; the stamps of a chain share one hash algorithm
    stamp: Stamp
    algorithm: Algorithm  #: of the tree
    lists: Tuple[int, ...]  #: how many hashes each list of the reduced tree holds; empty: there is no tree


@dataclasses.dataclass(frozen=True)
class EvidenceInfo:
    """What a record holds. Nothing in it is verified."""

    algorithms: Tuple[Algorithm, ...]  #: those that the record says it uses
    stamps: Tuple[ArchiveStamp, ...]  #: oldest first
    encrypted: bool  #: the object was encrypted before it was stamped


class EvidenceRecord(Unchanging):
    """Time-stamps, each over the one before, and the way from an object's hash to the first of them. Doesn't change;
    any thread may use it."""

    def __init__(self, data: Data) -> None:
        """Reads a record, DER, PEM or Base64: bytes, or a file by its name. Nothing is verified."""
        self._handle = read_or_load("chronoseal_evidence_record", data)

    @staticmethod
    def of_stamp(stamp: Stamp) -> EvidenceRecord:
        """The record of what a plain stamp is over."""
        return made_by(lib.chronoseal_evidence_record_of_stamp, stamp._handle)

    @property
    def info(self) -> EvidenceInfo:
        handle = self._handle  # owns what is read below, whatever another thread closes
        place = ffi.new("chronoseal_evidence_record_info**")
        call(lib.chronoseal_evidence_record_get_info, handle, place)
        info = place[0]
        stamps = (info.stamps[i] for i in range(info.stamp_count))
        return EvidenceInfo(
            tuple(algorithm_of(info.algorithms[i]) for i in range(info.algorithm_count)),
            tuple(ArchiveStamp(one.chain, copy_of(one.stamp), algorithm_of(one.algorithm),
                               tuple(one.lists[i] for i in range(one.list_count))) for one in stamps),
            info.encrypted != 0)

    @property
    def der(self) -> bytes:
        """What to store."""
        handle, view = self._handle, ffi.new("chronoseal_bytes*")
        call(lib.chronoseal_evidence_record_der, handle, view)
        return bytes_of(view)

    @property
    def data_algorithms(self) -> Tuple[str, ...]:
        """By which an object has to be hashed for a verification: one for each chain that uses another."""
        handle, names, count = self._handle, ffi.new("char const* const**"), ffi.new("size_t*")
        call(lib.chronoseal_evidence_record_data_algorithms, handle, names, count)
        return tuple(text_of(names[0][i]) for i in range(count[0]))

    @property
    def renewal_algorithm(self) -> str:
        """That of the last chain, in which a renewal by a new stamp goes on."""
        handle, name = self._handle, ffi.new("char const**")
        call(lib.chronoseal_evidence_record_renewal_algorithm, handle, name)
        return text_of(name[0])

    def digests_of(self, path: Union[str, "os.PathLike[str]"], *, progress: Optional[Progress] = None,
                   stop: Optional[Stop] = None) -> Tuple[Digest, ...]:
        """A file's hashes by all `data_algorithms`. It is read once."""
        watch = Watch(progress, stop)
        room = len(self.data_algorithms)
        out, count = ffi.new("chronoseal_digest[]", room), ffi.new("size_t*")
        name, handle = watch.arena.path(path), self._handle
        watch.run(lambda: call(lib.chronoseal_evidence_record_hash_file, handle, name, watch.control, out, room, count))
        return tuple(digest_of(out[i]) for i in range(count[0]))

    def save(self, path: Union[str, "os.PathLike[str]"], *, overwrite: bool = False) -> None:
        """Writes the record to a file. `FileExistsError` if it is there already, unless that is to be overwritten."""
        with open(path, "wb" if overwrite else "xb") as out:
            out.write(self.der)

    def __eq__(self, other: object) -> bool:
        return isinstance(other, EvidenceRecord) and self.der == other.der

    def __hash__(self) -> int:
        return hash(self.der)

    def __reduce__(self) -> Any:
        return EvidenceRecord, (self.der,)


def made_by(function: Any, *arguments: Any) -> EvidenceRecord:
    """The record that the function of the library makes."""
    return record_of(made("chronoseal_evidence_record", function, *arguments))


def record_of(handle: Any) -> EvidenceRecord:
    """The record behind an owned handle."""
    record = EvidenceRecord.__new__(EvidenceRecord)
    record._handle = handle
    return record
