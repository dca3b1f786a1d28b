"""Trees of hashes under one stamp, and the renewals of the records that are made of them."""

from __future__ import annotations

from typing import Any, Iterable, Tuple, Union

from ._memory import Arena, bytes_of
from ._native import ffi, lib
from .digest import Digest, digest_of
from .error import call
from .evidence_record import EvidenceRecord, record_of
from .handle import Exclusive, made
from .stamp import Stamp


def digests_in_memory(arena: Arena, digests: Iterable[Digest]) -> Any:
    """The library's array, which holds all that it needs."""
    given = list(digests)
    array = arena.keep(ffi.new("chronoseal_digest[]", len(given)))
    for i, digest in enumerate(given):
        array[i] = digest.in_memory(arena)[0]
    return array


def bytes_in_memory(arena: Arena, all_of_them: Iterable[bytes]) -> Any:
    """The library's array; the arena keeps what it leads to."""
    given = [arena.bytes(one) for one in all_of_them]
    array = arena.keep(ffi.new("chronoseal_bytes[]", len(given)))
    for place, one in zip(array, given):
        place.data, place.size = ffi.cast("unsigned char*", one), len(one)
    return array


class Digesting(Exclusive):
    """What comes to one hash that is to be stamped."""

    def _digest(self, function: Any) -> Digest:
        out = ffi.new("chronoseal_digest*")
        self._call(function, out)
        return digest_of(out)

    def _record(self, function: Any, *arguments: Any) -> EvidenceRecord:
        return record_of(self._made("chronoseal_evidence_record", function, *arguments))


class EvidenceTree(Digesting):
    """Hashes under one root, the same for the same hashes in whatever order they are added; equal ones count once.
    Threads wait for each other."""

    def __init__(self, algorithm: str = "SHA-256") -> None:
        super().__init__(made("chronoseal_evidence_tree", lib.chronoseal_evidence_tree_new, Arena().text(algorithm)))

    def reserve(self, digests: int) -> None:
        """Makes room for so many at once, which is only faster."""
        self._call(lib.chronoseal_evidence_tree_reserve, digests)

    def add(self, digest: Digest) -> None:
        arena = Arena()
        self._call(lib.chronoseal_evidence_tree_add, digest.in_memory(arena))

    def add_group(self, members: Iterable[Digest]) -> None:
        """Adds objects that belong together and are proved together, by one leaf."""
        arena = Arena()
        array = digests_in_memory(arena, members)
        self._call(lib.chronoseal_evidence_tree_add_group, array, len(array))

    @property
    def size(self) -> int:
        """The number of leaves that are different. An `Error` with the word "tree_empty" if there is none."""
        out = ffi.new("uint64_t*")
        self._call(lib.chronoseal_evidence_tree_size, out)
        return int(out[0])

    @property
    def root(self) -> Digest:
        """What is to be stamped for all leaves."""
        return self._digest(lib.chronoseal_evidence_tree_root)

    def path(self, leaf: Union[Digest, bytes]) -> Tuple[bytes, ...]:
        """The hashes that stand beside the way from a leaf up to the root, to be kept with the leaf."""
        value = leaf.value if isinstance(leaf, Digest) else leaf
        buffer = ffi.from_buffer(value)
        handle = self._made("chronoseal_hash_path", lib.chronoseal_evidence_tree_path, buffer, len(buffer))
        hashes, count = ffi.new("chronoseal_bytes const**"), ffi.new("size_t*")
        call(lib.chronoseal_hash_path_get, handle, hashes, count)
        return tuple(bytes_of(hashes[0][i]) for i in range(count[0]))

    def record(self, objects: Union[Digest, Iterable[Digest]], stamp: Stamp,
               above: Iterable[bytes] = ()) -> EvidenceRecord:
        """That of an object, or of a group, under a stamp over the root; or, with the `path` of this root in it, under a
        stamp over a larger tree."""
        arena = Arena()
        group = digests_in_memory(arena, [objects] if isinstance(objects, Digest) else objects)
        hashes = bytes_in_memory(arena, above)
        return self._record(lib.chronoseal_evidence_tree_record_below, group, len(group), stamp._handle, hashes,
                            len(hashes))


class StampRenewal(Digesting):
    """A renewal by a new stamp over the stamps of the last chain, before a certificate ends: `add` all records, have
    `digest` stamped, take each record with the new stamp. Threads wait for each other."""

    def __init__(self, algorithm: str = "SHA-256") -> None:
        """`algorithm` is the records' `renewal_algorithm`."""
        super().__init__(made("chronoseal_stamp_renewal", lib.chronoseal_stamp_renewal_new, Arena().text(algorithm)))

    def add(self, record: EvidenceRecord) -> None:
        self._call(lib.chronoseal_stamp_renewal_add, record._handle)

    @property
    def digest(self) -> Digest:
        """What is to be stamped for all records."""
        return self._digest(lib.chronoseal_stamp_renewal_digest)

    def renewed(self, record: EvidenceRecord, stamp: Stamp) -> EvidenceRecord:
        return self._record(lib.chronoseal_stamp_renewal_renewed, record._handle, stamp._handle)


class HashRenewal(Digesting):
    """A renewal by a new hash, before the old one is broken: a new chain over the objects and all that their records
    held. Whether an object is the record's is for the caller to have verified. Threads wait for each other."""

    def __init__(self, algorithm: str) -> None:
        super().__init__(made("chronoseal_hash_renewal", lib.chronoseal_hash_renewal_new, Arena().text(algorithm)))

    def add(self, record: EvidenceRecord, objects: Iterable[Digest]) -> None:
        """Adds a record with the hashes of its objects by the new algorithm: one, or all of a group."""
        array = digests_in_memory(Arena(), objects)
        self._call(lib.chronoseal_hash_renewal_add, record._handle, array, len(array))

    @property
    def digest(self) -> Digest:
        """What is to be stamped for all records."""
        return self._digest(lib.chronoseal_hash_renewal_digest)

    def renewed(self, record: EvidenceRecord, objects: Iterable[Digest], stamp: Stamp) -> EvidenceRecord:
        array = digests_in_memory(Arena(), objects)
        return self._record(lib.chronoseal_hash_renewal_renewed, record._handle, array, len(array), stamp._handle)
