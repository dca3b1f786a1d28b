"""Stamps that hold what they are judged by, and stamps on signatures."""

from __future__ import annotations

import dataclasses
import datetime
from typing import Any, Optional, Tuple, Union

from ._memory import Arena, Data, Sources, content_of
from ._native import ffi, lib
from .error import call
from .evidence_record import EvidenceRecord, record_of
from .handle import made, owned
from .sealer import Sealer
from .stamp import Remark, Stamp, copy_of, remarks_of
from .stop import Stop, Watch
from .verifier import Revocation, Strength, Verdict, trust_of, verdict_of


@dataclasses.dataclass(frozen=True)
class Extension:
    """What became of a stamp that was extended."""

    stamp: Stamp  #: the same one if nothing was put in
    verdict: Verdict  #: by what the stamp holds alone, and the trusted roots
    certificates: int  #: how many were put in, and so with the next ones
    revocation_lists: int
    ocsp_answers: int
    remarks: Tuple[Remark, ...]

    @property
    def changed(self) -> bool:
        return self.certificates + self.revocation_lists + self.ocsp_answers != 0


def extend(stamp: Union[Stamp, Data], *, roots: Optional[Sources] = None, certificates: Sources = (), evidence: Sources = (),
           revocation: Revocation = Revocation.AS_CONFIGURED, strength: Strength = Strength.AS_CONFIGURED,
           as_of: Optional[datetime.datetime] = None, offline: bool = False) -> Extension:
    """Judges the stamp, fetching what that takes, and puts certificates, revocation lists and OCSP answers on which
    that rests into the unsigned parts of its token. Raises the error of the verdict on a stamp that isn't good. To be
    done while the authority's certificate is valid, and before the stamp is renewed."""
    if not isinstance(stamp, Stamp):
        stamp = Stamp(stamp)
    arena = Arena()
    trust = trust_of(arena, roots, certificates, evidence, revocation, strength, as_of, offline)
    return _taken(made("chronoseal_extension", lib.chronoseal_extend, stamp._handle, trust))


def extend_record(record: EvidenceRecord, *, stamp: Optional[int] = None, roots: Optional[Sources] = None,
                  certificates: Sources = (), evidence: Sources = (),
                  revocation: Revocation = Revocation.AS_CONFIGURED, strength: Strength = Strength.AS_CONFIGURED,
                  as_of: Optional[datetime.datetime] = None, offline: bool = False) -> Tuple[EvidenceRecord, Extension]:
    """Extends the last stamp of a record, as `extend` does. `stamp` is its index; any but the last is an `Error` with
    the word "stamp_covered": the next one is over all of its octets."""
    if stamp is not None and stamp < 0:
        raise ValueError("a stamp's index is 0 or more")
    arena = Arena()
    handle, place = record._handle, ffi.new("chronoseal_extension**")
    index = ffi.NULL if stamp is None else ffi.new("size_t*", stamp)
    trust = trust_of(arena, roots, certificates, evidence, revocation, strength, as_of, offline)
    extended = ffi.new("chronoseal_evidence_record**")
    call(lib.chronoseal_extend_record, handle, trust, index, extended, place)
    return record_of(owned("chronoseal_evidence_record", extended[0])), _taken(owned("chronoseal_extension", place[0]))


def _taken(handle: Any) -> Extension:
    out = ffi.new("chronoseal_extension_info**")
    call(lib.chronoseal_extension_get_info, handle, out)
    info = out[0]
    return Extension(copy_of(info.stamp), verdict_of(info.verdict), info.certificates, info.revocation_lists,
                     info.ocsp_answers, remarks_of(info))


def attach(signature: Data, sealer: Sealer, *, signer: Optional[int] = None,
           content: Optional[Data] = None, certificates: Sources = (),
           attribute: Optional[str] = None, stop: Optional[Stop] = None) -> bytes:
    """A CMS signature with a time-stamp over the octets of a signer's signature, in the form in which it came: DER,
    PEM, Base64 or S/MIME. `signer` counts from 0; None: each one, up to 64. The arithmetic of the signatures is checked
    before anybody is asked; `content` is what was signed, where it isn't in the message. `certificates` are for signers
    whose own isn't. `attribute` is the OID, None: RFC 3161's."""
    if signer is not None and signer < 0:
        raise ValueError("a signer's number is 0 or more")
    watch = Watch(None, stop)
    arena = watch.arena
    sources = arena.sources(certificates)
    options = arena.struct(
        "chronoseal_attach_options", signer=0 if signer is None else signer + 1, certificates=sources,
        certificate_count=len(sources), attribute=arena.text(attribute))
    if content is not None:
        view = arena.bytes(content_of(content))
        options.content, options.content_size = view, len(view)
    message = arena.bytes(content_of(signature))
    place, size = ffi.new("unsigned char**"), ffi.new("size_t*")
    handle = sealer._handle
    watch.run(lambda: call(lib.chronoseal_attach, handle, message, len(message), options, watch.control, ffi.NULL,
                           place, size))
    try:
        return bytes(ffi.buffer(place[0], size[0]))
    finally:
        lib.chronoseal_free(place[0])
