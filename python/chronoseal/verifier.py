"""Verifiers and their verdicts."""

from __future__ import annotations

import dataclasses
import datetime
import enum
from typing import Any, List, Optional, Tuple, Union

from ._memory import BYTES, Arena, Data, Sources, bytes_of, microseconds_of, text_of, time_of
from ._native import ffi, lib
from .digest import Digest, Item
from .error import Error, call, error_of
from .handle import Unchanging, made, owned
from .stamp import Certificate, Remark, Stamp, TokenInfo, certain, certificate_of, remarks_of, token_of
from .stop import Progress, Stop, Watch


class Revocation(enum.Enum):
    """How revocation is looked at."""

    AS_CONFIGURED = 0
    REQUIRE = 1
    AVAILABLE = 2
    OFF = 3


class Strength(enum.Enum):
    """Which algorithms and keys are refused."""

    AS_CONFIGURED = 0
    FLOOR = 1
    CURRENT = 2


class Outcome(enum.Enum):
    PASSED = 0
    FAILED = 1
    NOT_DONE = 2


class RevocationState(enum.Enum):
    NOT_CHECKED = 0
    NOT_REVOKED = 1
    REVOKED = 2
    UNKNOWN = 3


@dataclasses.dataclass(frozen=True)
class Finding:
    """What one check found."""

    name: str  #: of the check: "content_type"
    outcome: Outcome
    required: bool  #: without it no verdict is good
    word: str  #: "passed", the word of the failure, or why it was not done
    code: int
    text: str
    advice: str
    remarks: Tuple[Remark, ...]


@dataclasses.dataclass(frozen=True)
class Evidence:
    """A statement about a certificate's revocation, on which the judgement rests."""

    kind: str  #: "list" or "ocsp_answer"
    source: str  #: "given", "cache" or "network"
    this_update: datetime.datetime
    next_update: Optional[datetime.datetime]
    revoked_at: Optional[datetime.datetime]  #: None: not revoked
    reason: str  #: "keyCompromise"; empty: none given
    url: str  #: where it was fetched, others' text, quoted; else empty
    der: bytes  #: to be kept with the stamp


@dataclasses.dataclass(frozen=True)
class ChainLink:
    """One certificate of the chain that was judged."""

    certificate: Certificate
    anchor: bool
    faults: Tuple[str, ...]
    revocation: RevocationState
    evidence: Tuple[Evidence, ...]


class EvidenceStrength(enum.Enum):
    """What a good verdict on a stamp or a record rests on at the time by which it is judged."""

    FRESH = 0  #: one stamp, whose certificates are valid
    RENEWED = 1  #: of a record: each stamp was renewed before its certificates ended
    AGED = 2  #: somewhere certificates had ended: a key that was stolen later could forge it


@dataclasses.dataclass(frozen=True)
class Outlook:
    """How long a verdict holds, as far as that can be told."""

    strength: EvidenceStrength
    aged_since: Optional[datetime.datetime]  #: when the first certificate of the chain ended
    renew_before: Optional[datetime.datetime]  #: the first end of a certificate or an algorithm; may be past
    renew_reason: str  #: what ends then
    evidence_until: Optional[datetime.datetime]  #: until when the evidence of revocation speaks; None: for good
    evidence_again: Optional[datetime.datetime]  #: from when on it speaks again; None: never
    evidence_stored: bool  #: all of it was at hand: in the stamp, or given


@dataclasses.dataclass(frozen=True)
class Verdict:
    """What a verifier found. True only if it is good."""

    good: bool
    indeterminate: bool  #: only evidence of revocation is missing, unreachable or too old
    compared: bool  #: the imprint was compared with data
    findings: Tuple[Finding, ...]  #: one for each check, in their order
    deciding: Finding  #: on which the verdict rests
    token: Optional[TokenInfo]
    signer: Optional[Certificate]
    chain: Tuple[ChainLink, ...]
    judged_at: datetime.datetime
    as_of: datetime.datetime
    error: Optional[Error]  #: None of a good one
    outlook: Optional[Outlook]  #: None: no chain was found

    def __bool__(self) -> bool:
        return self.good

    def finding(self, name: str) -> Finding:
        """That of the check of this name; `KeyError` if there is none."""
        for finding in self.findings:
            if finding.name == name:
                return finding
        raise KeyError(name)

    def raise_unless_good(self) -> None:
        if self.error is not None:
            raise self.error


class Judge(Unchanging):
    """What all verifiers share."""

    _kind: str

    def __init__(self, *, roots: Optional[Sources] = None, certificates: Sources = (), evidence: Sources = (),
                 revocation: Revocation = Revocation.AS_CONFIGURED, strength: Strength = Strength.AS_CONFIGURED,
                 as_of: Optional[datetime.datetime] = None, offline: bool = False) -> None:
        """`roots` are trusted in place of the machine's; `certificates` may be needed for a chain and aren't trusted;
        `evidence` are revocation lists and OCSP answers. Each is one or several: a file by its name, or bytes, PEM or
        DER. `as_of` is "now" for the age of evidence."""
        arena = Arena()
        trust = trust_of(arena, roots, certificates, evidence, revocation, strength, as_of, offline)
        self._handle = made(self._kind + "_verifier", getattr(lib, self._kind + "_verifier_new"), trust)

    def _judge(self, watch: Watch, function: Any, of: Any, *arguments: Any) -> Any:
        """The library's verdict, given beside a status; raises the function's error where there is none."""
        kind, handle, of_handle = self._kind + "_verdict", self._handle, of._handle
        place, error = ffi.new(kind + "**"), ffi.new("chronoseal_error**")

        def work() -> Any:
            try:
                function(handle, of_handle, *arguments, place, error)
                if place[0] == ffi.NULL:
                    raise error_of(error[0])
                return owned(kind, place[0])
            finally:
                lib.chronoseal_error_free(error)

        return watch.run(work)


class Verifier(Judge):
    """Judges stamps. Doesn't change: any number of threads may use one at once."""

    _kind = "chronoseal"

    def for_one_file(self) -> Verifier:
        """The same, for the stamps of one file: to fetch what they need takes all of them together no longer than
        one, 15 seconds from the first fetching on, and what has failed isn't asked for again. What their signatures
        cost the processor beyond some 1.5 seconds can't be told ("chain_too_costly")."""
        bound = self.__copy__()
        bound._handle = made("chronoseal_verifier", lib.chronoseal_verifier_for_one_file, self._handle)
        return bound

    def verify(self, stamp: Union[Stamp, Data], data: Optional[Item] = None, *, request: Optional[bytes] = None,
               nonce: Optional[bytes] = None, policy: Optional[str] = None, without_data: bool = False,
               progress: Optional[Progress] = None, stop: Optional[Stop] = None) -> Verdict:
        """Judges a stamp for `data` (bytes, a file by its name, or a `Digest`), or for all that a TimeStampReq asks
        for. A stamp that isn't good is no exception: the verdict says so. Without anything to compare the stamp with
        no verdict is good, unless `without_data` says that signature and chain alone are to be judged."""
        if not isinstance(stamp, Stamp):
            stamp = Stamp(stamp)
        watch = Watch(progress, stop)
        arena = watch.arena
        if request is not None:
            if data is not None or nonce is not None or policy is not None:
                raise ValueError("a request says what is expected: give nothing beside it")
            buffer = arena.bytes(request)
            return verdict_of(self._judge(watch, lib.chronoseal_verify_request, stamp, buffer, len(buffer)))
        if nonce is None and policy is None and data is not None and not isinstance(data, Digest):
            if isinstance(data, BYTES):
                view = arena.bytes(data)
                return verdict_of(self._judge(watch, lib.chronoseal_verify, stamp, view, len(view)))
            path = arena.path(data)
            return verdict_of(self._judge(watch, lib.chronoseal_verify_file, stamp, path, watch.control))
        expected = arena.struct("chronoseal_expected", without_data=without_data, policy=arena.text(policy),
                                nonce_known=nonce is not None)
        if data is not None:
            expected.digest = digest_for(stamp, data, progress, watch.stop).in_memory(arena)
        if nonce is not None:
            buffer = arena.bytes(nonce)
            expected.nonce.data, expected.nonce.size = ffi.cast("unsigned char*", buffer), len(buffer)
        return verdict_of(self._judge(watch, lib.chronoseal_verify_expected, stamp, expected))


def trust_of(arena: Arena, roots: Optional[Sources], certificates: Sources, evidence: Sources, revocation: Revocation,
             strength: Strength, as_of: Optional[datetime.datetime], offline: bool) -> Any:
    given = [arena.sources(sources) for sources in (() if roots is None else roots, certificates, evidence)]
    if roots is not None and len(given[0]) == 0:
        raise ValueError("no roots: leave them out to trust those of the machine")
    return arena.struct(
        "chronoseal_trust", roots=given[0], root_count=len(given[0]), certificates=given[1],
        certificate_count=len(given[1]), evidence=given[2], evidence_count=len(given[2]), revocation=revocation.value,
        strength=strength.value, as_of=0 if as_of is None else microseconds_of(as_of) or 1,  # 0 stands for the clock
        offline=offline)


def digest_for(stamp: Stamp, data: Item, progress: Optional[Progress], stop: Optional[Stop]) -> Digest:
    """The data's hash by the algorithm of the stamp."""
    if isinstance(data, Digest):
        return data
    token = stamp.info.token
    return Digest.of(data, token.imprint_algorithm.oid if token else "SHA-256", progress=progress, stop=stop)


def finding_of(struct: Any) -> Finding:
    return Finding(text_of(struct.name), Outcome(struct.outcome), struct.required != 0, text_of(struct.word),
                   struct.code, text_of(struct.text), text_of(struct.advice), remarks_of(struct))


def evidence_of(struct: Any) -> Evidence:
    return Evidence(
        ("list", "ocsp_answer")[struct.kind], ("given", "cache", "network")[struct.source], time_of(struct.this_update),
        time_of(struct.next_update) if struct.has_next_update else None,
        time_of(struct.revoked_at) if struct.revoked else None, text_of(struct.reason), text_of(struct.url),
        bytes_of(struct.der))


def outlook_of(struct: Any) -> Outlook:
    return Outlook(
        EvidenceStrength(struct.strength), time_of(struct.aged_since) if struct.has_aged_since else None,
        time_of(struct.renew_before) if struct.has_renew_before else None, text_of(struct.renew_reason),
        time_of(struct.evidence_until) if struct.has_evidence_until else None,
        time_of(struct.evidence_again) if struct.has_evidence_again else None, struct.evidence_stored != 0)


def verdict_of(handle: Any) -> Verdict:
    place = ffi.new("chronoseal_verdict_info**")
    call(lib.chronoseal_verdict_get_info, handle, place)
    info = place[0]
    findings: List[Finding] = []
    one = ffi.new("chronoseal_finding**")
    for check in range(lib.CHRONOSEAL_CHECKS):
        call(lib.chronoseal_verdict_finding, handle, check, one)
        findings.append(finding_of(one[0]))
    chain: List[ChainLink] = []
    for i in range(info.chain_count):
        link = info.chain[i]
        chain.append(ChainLink(certain(link.certificate), link.anchor != 0,
                               tuple(text_of(link.faults[j]) for j in range(link.fault_count)),
                               RevocationState(link.revocation),
                               tuple(evidence_of(link.evidence[j]) for j in range(link.evidence_count))))
    return Verdict(info.good != 0, info.indeterminate != 0, info.compared != 0, tuple(findings),
                   finding_of(info.deciding), None if info.token == ffi.NULL else token_of(info.token),
                   certificate_of(info.signer), tuple(chain), time_of(info.judged_at), time_of(info.as_of),
                   None if info.error == ffi.NULL else error_of(info.error),
                   None if info.outlook == ffi.NULL else outlook_of(info.outlook))
