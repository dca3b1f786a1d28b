"""Evidence records (RFC 4998), and what they hold."""

from __future__ import annotations

import dataclasses
import os
from typing import Any, Tuple, Union

from ._memory import BYTES, Arena, Data, bytes_of, text_of
from ._native import ffi, lib
from .error import call
from .handle import Handle
from .stamp import Algorithm, Stamp, algorithm_of, copy_of


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


class EvidenceRecord(Handle):
    """Time-stamps, each over the one before, and the way from an object's hash to the first of them. Doesn't change;
    any thread may use it."""

    def __init__(self, data: Data) -> None:
        """Reads a record, DER, PEM or Base64: bytes, or a file by its name. Nothing is verified."""
        arena = Arena()
        place = ffi.new("chronoseal_evidence_record**")
        if isinstance(data, BYTES):
            buffer = arena.bytes(data)
            call(lib.chronoseal_evidence_record_read, buffer, len(buffer), place)
        else:
            call(lib.chronoseal_evidence_record_read_file, arena.path(data), place)
        self._handle = ffi.gc(place[0], _free)

    @staticmethod
    def of_stamp(stamp: Stamp) -> EvidenceRecord:
        """The record of what a plain stamp is over."""
        return made_by(lib.chronoseal_evidence_record_of_stamp, stamp._handle)

    @property
    def info(self) -> EvidenceInfo:
        place = ffi.new("chronoseal_evidence_record_info**")
        call(lib.chronoseal_evidence_record_get_info, self._handle, place)
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
        view = ffi.new("chronoseal_bytes*")
        call(lib.chronoseal_evidence_record_der, self._handle, view)
        return bytes_of(view)

    @property
    def data_algorithms(self) -> Tuple[str, ...]:
        """By which an object has to be hashed for a verification: one for each chain that uses another."""
        names, count = ffi.new("char const* const**"), ffi.new("size_t*")
        call(lib.chronoseal_evidence_record_data_algorithms, self._handle, names, count)
        return tuple(text_of(names[0][i]) for i in range(count[0]))

    @property
    def renewal_algorithm(self) -> str:
        """That of the last chain, in which a renewal by a new stamp goes on."""
        return self.info.stamps[-1].algorithm.name

    def save(self, path: Union[str, "os.PathLike[str]"]) -> None:
        """Writes the record to a file, which must not be there yet."""
        with open(path, "xb") as out:
            out.write(self.der)

    def __eq__(self, other: object) -> bool:
        return isinstance(other, EvidenceRecord) and self.der == other.der

    def __hash__(self) -> int:
        return hash(self.der)


def _free(handle: Any) -> None:
    lib.chronoseal_evidence_record_free(ffi.new("chronoseal_evidence_record**", handle))


def made_by(function: Any, *arguments: Any) -> EvidenceRecord:
    """The record that the function of the library makes."""
    place = ffi.new("chronoseal_evidence_record**")
    call(function, *arguments, place)
    record = EvidenceRecord.__new__(EvidenceRecord)
    record._handle = ffi.gc(place[0], _free)
    return record
