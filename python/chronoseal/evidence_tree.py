"""Trees of hashes under one stamp, and the renewals of the records that are made of them."""

from __future__ import annotations

import os
from typing import Any, Optional, Sequence, Union

from ._memory import Arena
from ._native import ffi, lib
from .digest import Digest, digest_of
from .error import call
from .evidence_record import EvidenceRecord, made_by
from .handle import Handle
from .stamp import Stamp
from .stop import Progress, Stop, Watch


def digests_in_memory(arena: Arena, digests: Sequence[Digest]) -> Any:
    """The library's array."""
    array = arena.keep(ffi.new("chronoseal_digest[]", len(digests)))
    for i, digest in enumerate(digests):
        array[i] = digest.in_memory(arena)[0]
    return array


def given_digest(function: Any, handle: Any) -> Digest:
    """The digest that the function of the library gives."""
    out = ffi.new("chronoseal_digest*")
    call(function, handle, out)
    return digest_of(out)


class EvidenceTree(Handle):
    """Hashes under one root, the same for the same hashes in whatever order they are added; equal ones count once.
    Belongs to one thread at a time."""

    def __init__(self, algorithm: str = "SHA-256") -> None:
        arena = Arena()
        place = ffi.new("chronoseal_evidence_tree**")
        call(lib.chronoseal_evidence_tree_new, arena.text(algorithm), place)
        self._handle = ffi.gc(place[0], _free_tree)

    def add(self, digest: Digest) -> None:
        arena = Arena()
        call(lib.chronoseal_evidence_tree_add, self._handle, digest.in_memory(arena))

    def add_group(self, members: Sequence[Digest]) -> None:
        """Adds objects that belong together and are proved together, by one leaf."""
        arena = Arena()
        call(lib.chronoseal_evidence_tree_add_group, self._handle, digests_in_memory(arena, members), len(members))

    @property
    def size(self) -> int:
        """The number of leaves that are different. An `Error` with the word "tree_empty" if there is none."""
        out = ffi.new("uint64_t*")
        call(lib.chronoseal_evidence_tree_size, self._handle, out)
        return int(out[0])

    @property
    def root(self) -> Digest:
        """What is to be stamped for all leaves."""
        return given_digest(lib.chronoseal_evidence_tree_root, self._handle)

    def record(self, objects: Union[Digest, Sequence[Digest]], stamp: Stamp) -> EvidenceRecord:
        """That of an object, or of a group, under a stamp over the root."""
        arena = Arena()
        group = [objects] if isinstance(objects, Digest) else objects
        return made_by(lib.chronoseal_evidence_tree_record, self._handle, digests_in_memory(arena, group), len(group),
                       stamp._handle)


class ManifestTree(Handle):
    """The tree of a list of hashes as `sha256sum` writes it: its lines' hashes, and that of the list itself, which so
    proves all lines and their names. Belongs to one thread at a time."""

    def __init__(self, path: Union[str, "os.PathLike[str]"], *, progress: Optional[Progress] = None,
                 stop: Optional[Stop] = None) -> None:
        """Reads the list."""
        watch = Watch(progress, stop)
        place = ffi.new("chronoseal_manifest_tree**")
        name = watch.arena.path(path)
        watch.run(lambda: call(lib.chronoseal_manifest_tree_new, name, watch.control, place))
        self._handle = ffi.gc(place[0], _free_manifest)
        digest, lines = ffi.new("chronoseal_digest*"), ffi.new("uint64_t*")
        call(lib.chronoseal_manifest_tree_get_info, self._handle, digest, lines)
        self.digest = digest_of(digest)  #: of the list's own bytes
        self.lines = int(lines[0])

    @property
    def root(self) -> Digest:
        """What is to be stamped for the list."""
        return given_digest(lib.chronoseal_manifest_tree_root, self._handle)

    def record(self, stamp: Stamp) -> EvidenceRecord:
        """That of the list, under a stamp over the root."""
        return made_by(lib.chronoseal_manifest_tree_record, self._handle, stamp._handle)

    def prove(self, digest: Digest, record: EvidenceRecord) -> EvidenceRecord:
        """The record of an object whose hash stands in a line, made of that of the list."""
        arena = Arena()
        return made_by(lib.chronoseal_manifest_tree_prove, self._handle, digest.in_memory(arena), record._handle)


class StampRenewal(Handle):
    """A renewal by a new stamp over the stamps of the last chain, before a certificate ends: `add` all records, have
    `digest` stamped, take each record with the new stamp. Belongs to one thread at a time."""

    def __init__(self, algorithm: str = "SHA-256") -> None:
        """`algorithm` is the records' `renewal_algorithm`."""
        arena = Arena()
        place = ffi.new("chronoseal_stamp_renewal**")
        call(lib.chronoseal_stamp_renewal_new, arena.text(algorithm), place)
        self._handle = ffi.gc(place[0], _free_stamp_renewal)

    def add(self, record: EvidenceRecord) -> None:
        call(lib.chronoseal_stamp_renewal_add, self._handle, record._handle)

    @property
    def digest(self) -> Digest:
        """What is to be stamped for all records."""
        return given_digest(lib.chronoseal_stamp_renewal_digest, self._handle)

    def renewed(self, record: EvidenceRecord, stamp: Stamp) -> EvidenceRecord:
        return made_by(lib.chronoseal_stamp_renewal_renewed, self._handle, record._handle, stamp._handle)


class HashRenewal(Handle):
    """A renewal by a new hash, before the old one is broken: a new chain over the objects and all that their records
    held. Whether an object is the record's is for the caller to have verified. Belongs to one thread at a time."""

    def __init__(self, algorithm: str) -> None:
        arena = Arena()
        place = ffi.new("chronoseal_hash_renewal**")
        call(lib.chronoseal_hash_renewal_new, arena.text(algorithm), place)
        self._handle = ffi.gc(place[0], _free_hash_renewal)

    def add(self, record: EvidenceRecord, objects: Sequence[Digest]) -> None:
        """Adds a record with the hashes of its objects by the new algorithm: one, or all of a group."""
        arena = Arena()
        call(lib.chronoseal_hash_renewal_add, self._handle, record._handle, digests_in_memory(arena, objects),
             len(objects))

    @property
    def digest(self) -> Digest:
        """What is to be stamped for all records."""
        return given_digest(lib.chronoseal_hash_renewal_digest, self._handle)

    def renewed(self, record: EvidenceRecord, objects: Sequence[Digest], stamp: Stamp) -> EvidenceRecord:
        arena = Arena()
        return made_by(lib.chronoseal_hash_renewal_renewed, self._handle, record._handle,
                       digests_in_memory(arena, objects), len(objects), stamp._handle)


def _free_tree(handle: Any) -> None:
    lib.chronoseal_evidence_tree_free(ffi.new("chronoseal_evidence_tree**", handle))


def _free_manifest(handle: Any) -> None:
    lib.chronoseal_manifest_tree_free(ffi.new("chronoseal_manifest_tree**", handle))


def _free_stamp_renewal(handle: Any) -> None:
    lib.chronoseal_stamp_renewal_free(ffi.new("chronoseal_stamp_renewal**", handle))


def _free_hash_renewal(handle: Any) -> None:
    lib.chronoseal_hash_renewal_free(ffi.new("chronoseal_hash_renewal**", handle))
