"""Stamps, and what they hold."""

from __future__ import annotations

import dataclasses
import datetime
import os
import stat
import threading
from typing import Any, Optional, Tuple, Union

from ._memory import BYTES, Arena, Data, bytes_of, text_of, time_of
from ._native import ffi, lib
from .error import call
from .handle import Unchanging, bytes_made, made, owned


@dataclasses.dataclass(frozen=True)
class Algorithm:
    oid: str
    name: str  #: the OID where none is known
    parameters: bytes  #: DER; empty: absent
    weakness: str  #: empty, or why it counts as weak


@dataclasses.dataclass(frozen=True)
class Field:
    """An extension of a certificate or a token."""

    oid: str
    name: str  #: the OID where none is known
    critical: bool
    value: bytes


@dataclasses.dataclass(frozen=True)
class Attribute:
    """An attribute of a signature."""

    oid: str
    name: str  #: the OID where none is known
    values: Tuple[bytes, ...]  #: DER each


@dataclasses.dataclass(frozen=True)
class Signature:
    """The signature of a token; of the first signer where there are several."""

    digest_algorithm: Algorithm
    signature_algorithm: Algorithm
    issuer: str  #: of the signer's certificate, others' text, quoted
    serial_number: bytes  #: of that certificate, big-endian
    value: bytes
    signed_attributes: Tuple[Attribute, ...]
    unsigned_attributes: Tuple[Attribute, ...]


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
    key_sha256: bytes  #: of the public key's bits
    extensions: Tuple[Field, ...]
    extended_usages: Tuple[str, ...]  #: OIDs


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
    authority_der: bytes  #: the authority's name as a GeneralName; empty: none
    extensions: Tuple[Field, ...]
    signature: Signature


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
    failure_bits: int  #: bit n as 1 << n
    token: Optional[TokenInfo]  #: None: the authority refused
    address: str  #: of a stamp that a sealer got: the authority's, masked
    attempts: int
    remarks: Tuple[Remark, ...]


class Stamp(Unchanging):
    """A time-stamp: an authority's answer, or a bare token. Doesn't change; any thread may use it. What is pickled are
    its bytes, without what a sealer told beside them."""

    def __init__(self, data: Data) -> None:
        """Reads a response or a bare token, DER, PEM or Base64: bytes, or a file by its name. Nothing is verified."""
        self._handle = read_or_load("chronoseal_stamp", data)

    @property
    def info(self) -> StampInfo:
        handle = self._handle  # owns what is read below, whatever another thread closes
        place = ffi.new("chronoseal_stamp_info**")
        call(lib.chronoseal_stamp_get_info, handle, place)
        info = place[0]
        return StampInfo(
            None if info.status < 0 else info.status, text_of(info.status_name), text_of(info.status_text),
            tuple(text_of(info.failure_names[i]) for i in range(info.failure_count)), info.failure_bits,
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
        return self._bytes(lib.chronoseal_stamp_token)

    @property
    def response(self) -> bytes:
        """A TimeStampResp in any case, made of the token where none came: what to store."""
        return bytes_made(lib.chronoseal_stamp_as_response, self._handle)

    @property
    def received(self) -> bytes:
        """The TimeStampResp as it came; empty of a bare token."""
        return self._bytes(lib.chronoseal_stamp_response)

    def save(self, path: Union[str, "os.PathLike[str]"], *, overwrite: bool = False) -> None:
        """Writes the response to a file. `FileExistsError` if it is there already, unless that is to be overwritten. A
        file that can't be written to its end isn't there, and one that was to be overwritten stays as it was."""
        content = self.response
        if overwrite and os.path.isfile(path):
            place = os.path.realpath(path)
            beside = f"{os.fsdecode(place)}.{os.getpid()}-{threading.get_ident()}.part"
            _write_new(beside, content, stat.S_IMODE(os.stat(place).st_mode))
            try:
                os.replace(beside, place)
            except OSError:
                os.unlink(beside)
                raise
        elif overwrite and os.path.exists(path):  # a device or a pipe
            with open(path, "wb") as out:
                out.write(content)
        else:
            _write_new(os.path.realpath(path) if overwrite else path, content)  # a link may lead to where nothing is yet

    def _bytes(self, function: Any) -> bytes:
        handle, view = self._handle, ffi.new("chronoseal_bytes*")
        call(function, handle, view)
        return bytes_of(view)

    def __reduce__(self) -> Any:
        return Stamp, (self.received or self.token,)


def _write_new(path: Union[str, "os.PathLike[str]"], content: bytes, mode: Optional[int] = None) -> None:
    """A file that wasn't there before; with the mode, or else as new files are."""
    with open(path, "xb", buffering=0) as out:
        try:
            if mode is not None:
                os.fchmod(out.fileno(), mode)
            view = memoryview(content)
            while view:
                view = view[out.write(view):]
            os.fsync(out.fileno())
        except BaseException:
            os.unlink(path)
            raise


def read_or_load(kind: str, data: Data) -> Any:
    """A `kind` read from bytes, or from a file by its name."""
    arena = Arena()
    if isinstance(data, BYTES):
        buffer = arena.bytes(data)
        return made(kind, getattr(lib, kind + "_read"), buffer, len(buffer))
    return made(kind, getattr(lib, kind + "_read_file"), arena.path(data))


def stamp_of(handle: Any) -> Stamp:
    """The stamp behind a handle, which becomes its own."""
    stamp = Stamp.__new__(Stamp)
    stamp._handle = owned("chronoseal_stamp", handle)
    return stamp


def copy_of(handle: Any) -> Stamp:
    """The stamp behind a handle of somebody else's."""
    stamp = Stamp.__new__(Stamp)
    stamp._handle = made("chronoseal_stamp", lib.chronoseal_stamp_copy, handle)
    return stamp


def remarks_of(struct: Any) -> Tuple[Remark, ...]:
    return tuple(Remark(text_of(struct.remarks[i].word), text_of(struct.remarks[i].text))
                 for i in range(struct.remark_count))


def algorithm_of(struct: Any) -> Algorithm:
    return Algorithm(text_of(struct.oid), text_of(struct.name), bytes_of(struct.parameters), text_of(struct.weakness))


def fields_of(struct: Any) -> Tuple[Field, ...]:
    all_of_them = (struct.extensions[i] for i in range(struct.extension_count))
    return tuple(Field(text_of(one.oid), text_of(one.name), one.critical != 0, bytes_of(one.value))
                 for one in all_of_them)


def attributes_of(pointers: Any, count: int) -> Tuple[Attribute, ...]:
    all_of_them = (pointers[i] for i in range(count))
    return tuple(Attribute(text_of(one.oid), text_of(one.name),
                           tuple(bytes_of(one.values[i]) for i in range(one.value_count))) for one in all_of_them)


def signature_of(struct: Any) -> Signature:
    return Signature(
        algorithm_of(struct.digest_algorithm), algorithm_of(struct.signature_algorithm), text_of(struct.issuer),
        bytes_of(struct.serial_number), bytes_of(struct.value),
        attributes_of(struct.signed_attributes, struct.signed_count),
        attributes_of(struct.unsigned_attributes, struct.unsigned_count))


def certificate_of(pointer: Any) -> Optional[Certificate]:
    return None if pointer == ffi.NULL else certain(pointer)


def certain(pointer: Any) -> Certificate:
    """The certificate behind a pointer that isn't null."""
    return Certificate(
        text_of(pointer.subject), text_of(pointer.issuer), bytes_of(pointer.serial_number), time_of(pointer.not_before),
        time_of(pointer.not_after), bytes_of(pointer.sha256), algorithm_of(pointer.signature_algorithm),
        algorithm_of(pointer.key_algorithm), pointer.key_bits, bytes_of(pointer.der), bytes_of(pointer.key_sha256),
        fields_of(pointer), tuple(text_of(pointer.extended_usages[i]) for i in range(pointer.usage_count)))


def token_of(pointer: Any) -> TokenInfo:
    certificates = tuple(certain(pointer.certificates[i]) for i in range(pointer.certificate_count))
    return TokenInfo(
        pointer.version, time_of(pointer.time),
        None if pointer.accuracy < 0 else datetime.timedelta(microseconds=pointer.accuracy), pointer.ordering != 0,
        text_of(pointer.policy), algorithm_of(pointer.imprint_algorithm), bytes_of(pointer.imprint),
        bytes_of(pointer.serial_number), bytes_of(pointer.nonce) or None, text_of(pointer.authority),
        algorithm_of(pointer.signature_algorithm), pointer.signers,
        certificates, certificate_of(pointer.signer),
        pointer.revocation_lists, bytes_of(pointer.authority_der), fields_of(pointer), signature_of(pointer.signature))
