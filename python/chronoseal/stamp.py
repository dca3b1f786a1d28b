"""Stamps, and what they hold."""

from __future__ import annotations

import dataclasses
import datetime
import os
from typing import Any, Optional, Tuple, Union

from ._memory import BYTES, Arena, Data, bytes_of, text_of, time_of
from ._native import ffi, lib
from .error import call
from .handle import Handle


@dataclasses.dataclass(frozen=True)
class Algorithm:
    oid: str
    name: str  #: the OID where none is known
    parameters: bytes  #: DER; empty: absent
    weakness: str  #: empty, or why it counts as weak


@dataclasses.dataclass(frozen=True)
class Certificate:
    """A certificate, taken apart. Names are others' text, quoted."""

    subject: str
    issuer: str
    serial_number: bytes  #: big-endian
    not_before: datetime.datetime
    not_after: datetime.datetime
    sha256: bytes  #: of the DER
    signature_algorithm: Algorithm
    key_algorithm: Algorithm
    key_bits: int  #: 0: not known
    der: bytes


@dataclasses.dataclass(frozen=True)
class TokenInfo:
    """What a token says. Nothing in it is verified."""

    version: int
    time: datetime.datetime
    accuracy: Optional[datetime.timedelta]
    ordering: bool
    policy: str
    imprint_algorithm: Algorithm
    imprint: bytes
    serial_number: bytes  #: big-endian
    nonce: Optional[bytes]  #: big-endian
    authority: str  #: others' text, quoted; empty: none
    signature_algorithm: Algorithm
    signers: int
    certificates: Tuple[Certificate, ...]
    signer: Optional[Certificate]
    revocation_lists: int


@dataclasses.dataclass(frozen=True)
class Remark:
    """Something noticed that fails no check."""

    word: str
    text: str


@dataclasses.dataclass(frozen=True)
class StampInfo:
    """What a stamp holds. Nothing in it is verified."""

    status: Optional[int]  #: PKIStatus of a response; None of a bare token
    status_name: str
    status_text: str  #: the authority's words, quoted
    failure_names: Tuple[str, ...]
    token: Optional[TokenInfo]  #: None: the authority refused
    address: str  #: of a stamp that a sealer got: the authority's, masked
    attempts: int
    remarks: Tuple[Remark, ...]


class Stamp(Handle):
    """A time-stamp: an authority's answer, or a bare token. Doesn't change; any thread may use it."""

    def __init__(self, data: Data) -> None:
        """Reads a response or a bare token, DER, PEM or Base64: bytes, or a file by its name. Nothing is verified."""
        arena = Arena()
        place = ffi.new("chronoseal_stamp**")
        if isinstance(data, BYTES):
            buffer = arena.bytes(data)
            call(lib.chronoseal_stamp_read, buffer, len(buffer), place)
        else:
            call(lib.chronoseal_stamp_read_file, arena.path(data), place)
        self._handle = ffi.gc(place[0], _free)

    @property
    def info(self) -> StampInfo:
        place = ffi.new("chronoseal_stamp_info**")
        call(lib.chronoseal_stamp_get_info, self._handle, place)
        info = place[0]
        return StampInfo(
            None if info.status < 0 else info.status, text_of(info.status_name), text_of(info.status_text),
            tuple(text_of(info.failure_names[i]) for i in range(info.failure_count)),
            None if info.token == ffi.NULL else token_of(info.token), text_of(info.address), info.attempts,
            remarks_of(info))

    @property
    def time(self) -> datetime.datetime:
        """The time of the stamp, in UTC. `ValueError` for a refusal, which has none."""
        token = self.info.token
        if token is None:
            raise ValueError("the authority refused: there is no time")
        return token.time

    @property
    def token(self) -> bytes:
        """The token, a CMS SignedData as DER; empty for a refusal."""
        view = ffi.new("chronoseal_bytes*")
        call(lib.chronoseal_stamp_token, self._handle, view)
        return bytes_of(view)

    @property
    def response(self) -> bytes:
        """A TimeStampResp in any case, made of the token where none came: what to store."""
        place, size = ffi.new("unsigned char**"), ffi.new("size_t*")
        call(lib.chronoseal_stamp_as_response, self._handle, place, size)
        try:
            return bytes(ffi.buffer(place[0], size[0]))
        finally:
            lib.chronoseal_free(place[0])

    def save(self, path: Union[str, "os.PathLike[str]"]) -> None:
        """Writes the response to a file, which must not be there yet."""
        with open(path, "xb") as out:
            out.write(self.response)


def _free(handle: Any) -> None:
    lib.chronoseal_stamp_free(ffi.new("chronoseal_stamp**", handle))


def stamp_of(handle: Any) -> Stamp:
    """The stamp behind a handle, which becomes its own."""
    stamp = Stamp.__new__(Stamp)
    stamp._handle = ffi.gc(handle, _free)
    return stamp


def copy_of(handle: Any) -> Stamp:
    """The stamp behind a handle of somebody else's."""
    place = ffi.new("chronoseal_stamp**")
    call(lib.chronoseal_stamp_copy, handle, place)
    return stamp_of(place[0])


def remarks_of(struct: Any) -> Tuple[Remark, ...]:
    return tuple(Remark(text_of(struct.remarks[i].word), text_of(struct.remarks[i].text))
                 for i in range(struct.remark_count))


def algorithm_of(struct: Any) -> Algorithm:
    return Algorithm(text_of(struct.oid), text_of(struct.name), bytes_of(struct.parameters), text_of(struct.weakness))


def certificate_of(pointer: Any) -> Optional[Certificate]:
    if pointer == ffi.NULL:
        return None
    return Certificate(
        text_of(pointer.subject), text_of(pointer.issuer), bytes_of(pointer.serial_number), time_of(pointer.not_before),
        time_of(pointer.not_after), bytes_of(pointer.sha256), algorithm_of(pointer.signature_algorithm),
        algorithm_of(pointer.key_algorithm), pointer.key_bits, bytes_of(pointer.der))


def token_of(pointer: Any) -> TokenInfo:
    certificates = (certificate_of(pointer.certificates[i]) for i in range(pointer.certificate_count))
    return TokenInfo(
        pointer.version, time_of(pointer.time),
        None if pointer.accuracy < 0 else datetime.timedelta(microseconds=pointer.accuracy), pointer.ordering != 0,
        text_of(pointer.policy), algorithm_of(pointer.imprint_algorithm), bytes_of(pointer.imprint),
        bytes_of(pointer.serial_number), bytes_of(pointer.nonce) or None, text_of(pointer.authority),
        algorithm_of(pointer.signature_algorithm), pointer.signers,
        tuple(one for one in certificates if one is not None), certificate_of(pointer.signer),
        pointer.revocation_lists)
