"""Verifiers of evidence records, and their verdicts."""

from __future__ import annotations

import dataclasses
import datetime
from typing import Any, Optional, Sequence, Tuple, Union

from ._memory import BYTES, Data, time_of
from ._native import ffi, lib
from .digest import Digest
from .error import Error, call, error_of
from .evidence_record import EvidenceRecord
from .evidence_tree import digests_in_memory
from .stamp import Remark, remarks_of
from .stop import Progress, Stop, Watch
from .verifier import EvidenceStrength, Judge, Verdict, verdict_of


@dataclasses.dataclass(frozen=True)
class JudgedStamp:
    """One time-stamp of a record as it was judged."""

    chain: int
    verdict: Verdict  #: as of the next stamp's time
    covered_by: Optional[int]  #: index of the next stamp
    certificates_end: Optional[datetime.datetime]  #: the first end in its chain
    covered_in_time: bool  #: renewed, or judged, before that


@dataclasses.dataclass(frozen=True)
class EvidenceVerdict:
    """What a verifier of records found. True only if it is good."""

    good: bool
    indeterminate: bool  #: only evidence of revocation is missing, unreachable or too old
    compared: bool  #: the record was compared with data
    error: Optional[Error]  #: the first thing that is wrong; None of a good one
    failed_stamp: Optional[int]  #: index of the stamp that it is about
    existed_by: Optional[datetime.datetime]  #: the first stamp's time; None unless the verdict is good
    strength: EvidenceStrength
    renew_before: Optional[datetime.datetime]  #: when the last stamp's outlook ends
    stamps: Tuple[JudgedStamp, ...]  #: as far as the record's own links hold
    remarks: Tuple[Remark, ...]

    def __bool__(self) -> bool:
        return self.good

    def raise_unless_good(self) -> None:
        if self.error is not None:
            raise self.error


class EvidenceVerifier(Judge):
    """Judges records: the hashes from the object up to each stamp, and each stamp as of the time of the one that
    renewed it. Doesn't change: any number of threads may use one at once."""

    _kind = "chronoseal_evidence"

    def verify(self, record: Union[EvidenceRecord, Data], data: Optional[Data] = None, *,
               digests: Optional[Sequence[Sequence[Digest]]] = None, without_data: bool = False,
               progress: Optional[Progress] = None, stop: Optional[Stop] = None) -> EvidenceVerdict:
        """Judges a record for `data`, bytes or a file by its name, or for objects by their `digests`: of each object
        one by each of the record's `data_algorithms`; of a group all of its objects. A record that isn't good is no
        exception: the verdict says so. `without_data` judges the record alone."""
        if [data is not None, digests is not None, without_data].count(True) != 1:
            raise ValueError("give data, digests, or without_data=True")
        if not isinstance(record, EvidenceRecord):
            record = EvidenceRecord(record)
        watch = Watch(progress, stop)
        arena = watch.arena
        if digests is not None:
            if len({len(one) for one in digests}) > 1:
                raise ValueError("as many digests for each object as the record has data algorithms")
            array = digests_in_memory(arena, [digest for one in digests for digest in one])
            found = self._judge(
                watch, lib.chronoseal_evidence_verify_digests, record, array, len(array), len(digests))
        elif data is None:
            found = self._judge(watch, lib.chronoseal_evidence_verify_record, record)
        elif isinstance(data, BYTES):
            view = arena.bytes(data)
            found = self._judge(watch, lib.chronoseal_evidence_verify, record, view, len(view))
        else:
            found = self._judge(
                watch, lib.chronoseal_evidence_verify_file, record, arena.path(data), watch.control)
        return evidence_verdict_of(found)


def judged_stamp_of(struct: Any) -> JudgedStamp:
    return JudgedStamp(
        struct.chain, verdict_of(struct.verdict), struct.covered_by if struct.covered else None,
        time_of(struct.certificates_end) if struct.has_certificates_end else None, struct.covered_in_time != 0)


def evidence_verdict_of(handle: Any) -> EvidenceVerdict:
    place = ffi.new("chronoseal_evidence_verdict_info**")
    call(lib.chronoseal_evidence_verdict_get_info, handle, place)
    info = place[0]
    return EvidenceVerdict(
        info.good != 0, info.indeterminate != 0, info.compared != 0,
        None if info.failure == ffi.NULL else error_of(info.failure),
        info.failed_stamp if info.has_failed_stamp else None,
        time_of(info.existed_by) if info.has_existed_by else None, EvidenceStrength(info.strength),
        time_of(info.renew_before) if info.has_renew_before else None,
        tuple(judged_stamp_of(info.stamps[i]) for i in range(info.stamp_count)), remarks_of(info))
