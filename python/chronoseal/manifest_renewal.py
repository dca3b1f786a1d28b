"""Renewals of whole lists by new hashes of their files."""

from __future__ import annotations

import os
from typing import Any, List, Optional, Sequence, Union

from ._memory import Arena
from ._native import lib
from .digest import Digest
from .evidence_record import EvidenceRecord
from .evidence_tree import Digesting, digests_in_memory
from .handle import made
from .stamp import Stamp
from .stop import Progress, Stop, Watch

Path = Union[str, "os.PathLike[str]"]


class ManifestRenewal(Digesting):
    """A renewal of a whole list by a new hash of its files, which is brought in another list by the same names: each
    line's record and the list's own get a new chain under one stamp. Whether both lists are of the same files is for
    the caller to have verified. Threads wait for each other."""

    def __init__(self, path: Path, record: EvidenceRecord, renewed_path: Path, *, progress: Optional[Progress] = None,
                 stop: Optional[Stop] = None) -> None:
        """Reads both lists. `record` is that of the one at `path`: before the renewal, or, to prove lines, after."""
        watch = Watch(progress, stop)
        before, after, handle = watch.arena.path(path), watch.arena.path(renewed_path), record._handle
        handles: List[Any] = []
        watch.run(lambda: handles.append(made("chronoseal_manifest_renewal", lib.chronoseal_manifest_renewal_new,
                                              before, handle, after, watch.control)))
        super().__init__(handles[0])

    @property
    def digest(self) -> Digest:
        """What is to be stamped."""
        return self._digest(lib.chronoseal_manifest_renewal_digest)

    def renewed(self, stamp: Stamp) -> EvidenceRecord:
        """The list's record with the new chain."""
        return self._record(lib.chronoseal_manifest_renewal_renewed, stamp._handle)

    def renewed_list(self, stamp: Stamp) -> EvidenceRecord:
        """The record of the new list itself, which begins with this stamp."""
        return self._record(lib.chronoseal_manifest_renewal_renewed_list, stamp._handle)

    def prove(self, digests: Sequence[Digest]) -> EvidenceRecord:
        """The record of an object by its hashes in both lists, made of the list's record after the renewal."""
        array = digests_in_memory(Arena(), digests)
        return self._record(lib.chronoseal_manifest_renewal_prove, array, len(digests))
