"""What bytes are."""

from __future__ import annotations

import dataclasses
from typing import Optional, Tuple, Union

from ._memory import Arena, Data, bytes_of, content_of, text_of
from ._native import ffi, lib
from .error import Error, call, error_of
from .handle import bytes_made, made
from .stamp import Stamp, copy_of


@dataclasses.dataclass(frozen=True)
class Embedded:
    """A stamp inside something else."""

    stamp: Stamp
    attribute: str  #: OID of the attribute that holds it
    place: str
    stamped: bytes  #: what it stamps: the octets of a signature value


@dataclasses.dataclass(frozen=True)
class UnreadStamp:
    """What stands where a stamp or a signature with stamps would, and wasn't looked into."""

    attribute: str  #: OID; empty: a whole signer
    place: str
    reason: Error  #: "not_a_stamp", "malformed"; "too_many_stamps": this and all behind it is beyond what is looked for


@dataclasses.dataclass(frozen=True)
class Inspection:
    kind: str  #: "revocation_list"
    form: str  #: "binary", "pem", "base64" or "smime"
    description: str
    stamp: Optional[Stamp]  #: of a token or a response
    stamps: Tuple[Embedded, ...]  #: of a signed message
    countersignature: bool  #: an older Authenticode countersignature is there
    der: bytes  #: without PEM or Base64
    unread: Tuple[UnreadStamp, ...] = ()  #: whoever judges `stamps` hasn't judged these
    behind: int = 0  #: bytes behind the stamp or the signed message that are no part of it
    certificates_wanted: bool = False  #: of a request: it asks for the authority's certificates


_FORMS = ("binary", "pem", "base64", "smime")


def inspect(data: Data) -> Inspection:
    """Tells what bytes, or a file by its name, are by their content alone."""
    arena = Arena()
    buffer = arena.bytes(content_of(data))
    handle = made("chronoseal_inspection", lib.chronoseal_inspect, buffer, len(buffer))
    out = ffi.new("chronoseal_inspection_info**")
    call(lib.chronoseal_inspection_get_info, handle, out)
    info = out[0]
    embedded = (info.stamps[i] for i in range(info.stamp_count))
    unread = (info.unread[i] for i in range(info.unread_count))
    return Inspection(
        text_of(info.kind_name), _FORMS[info.form], text_of(info.description),
        None if info.stamp == ffi.NULL else copy_of(info.stamp),
        tuple(Embedded(copy_of(one.stamp), text_of(one.attribute), text_of(one.place), bytes_of(one.stamped))
              for one in embedded),
        info.countersignature != 0, bytes_of(info.der),
        tuple(UnreadStamp(text_of(one.attribute), text_of(one.place), error_of(one.reason)) for one in unread),
        info.behind, info.certificates_wanted != 0)


def rewrap(original: Union[bytes, bytearray, memoryview], der: Union[bytes, bytearray, memoryview]) -> bytes:
    """Other DER in the form in which `original` came: PEM with its label and what stands around it, Base64, the mail,
    or as it is."""
    arena = Arena()
    first, second = arena.bytes(original), arena.bytes(der)
    return bytes_made(lib.chronoseal_rewrap, first, len(first), second, len(second))
