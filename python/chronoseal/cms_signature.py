"""CMS signatures, and the stamps that they carry."""

from __future__ import annotations

import datetime
from typing import Any, Optional, Union

from ._memory import Arena, Sources
from ._native import ffi, lib
from .error import call
from .handle import Unchanging, bytes_made, made, owned
from .stamp import Stamp
from .verifier import Revocation, Strength, trust_of

Octets = Union[bytes, bytearray, memoryview]
#: The OIDs of the attributes by which a signature carries a stamp: RFC 3161's, and that of Authenticode.
SIGNATURE_TIME_STAMP = "1.2.840.113549.1.9.16.2.14"
AUTHENTICODE_TIME_STAMP = "1.3.6.1.4.1.311.3.3.1"


class CmsSignature(Unchanging):
    """A CMS signature (RFC 5652) by one or several signers, who count from 0 and each of whom can have a stamp. Doesn't
    change; any thread may use it."""

    def __init__(self, data: Octets) -> None:
        """Reads DER, BER, PEM, Base64 or S/MIME."""
        buffer = ffi.from_buffer(data)
        self._handle = made("chronoseal_cms_signature", lib.chronoseal_cms_signature_read, buffer, len(buffer))

    @property
    def signers(self) -> int:
        """How many there are."""
        count = ffi.new("size_t*")
        call(lib.chronoseal_cms_signature_signers, self._handle, count, ffi.NULL)
        return int(count[0])

    @property
    def detached(self) -> bool:
        """What was signed is neither in the message nor in the mail around it."""
        count, detached = ffi.new("size_t*"), ffi.new("int*")
        call(lib.chronoseal_cms_signature_signers, self._handle, count, detached)
        return bool(detached[0])

    def value(self, signer: int) -> bytes:
        """What a stamp for this signer has to be over: the signature's octets."""
        return bytes_made(lib.chronoseal_cms_signature_value, self._handle, signer)

    def check(self, signer: int, *, certificates: Sources = (), content: Optional[Octets] = None) -> bool:
        """Checks the signature's arithmetic by the certificate that the signer names, which is looked for in the
        message and among `certificates`; no chain is judged. True if the content was compared; False if it isn't
        there, and the signature over the signed attributes fits. Raises the error of one that is bad."""
        arena = Arena()
        sources, compared = arena.sources(certificates), ffi.new("int*")
        view: Any = ffi.NULL
        if content is not None:
            buffer = arena.bytes(content)
            view = arena.keep(ffi.new("chronoseal_bytes*", (ffi.cast("unsigned char*", buffer), len(buffer))))
        call(lib.chronoseal_cms_signature_check, self._handle, signer, sources, len(sources), view, compared)
        return bool(compared[0])

    def with_stamp(self, signer: int, stamp: Stamp, attribute: str = SIGNATURE_TIME_STAMP) -> CmsSignature:
        """The signature with the stamp in the unsigned attribute of this OID; all else stays as it is."""
        name = Arena().text(attribute)
        signature = CmsSignature.__new__(CmsSignature)
        signature._handle = made("chronoseal_cms_signature", lib.chronoseal_cms_signature_with_stamp, self._handle,
                                 signer, stamp._handle, name)
        return signature

    def extended(self, *, roots: Optional[Sources] = None, certificates: Sources = (), evidence: Sources = (),
                 revocation: Revocation = Revocation.AS_CONFIGURED, strength: Strength = Strength.AS_CONFIGURED,
                 as_of: Optional[datetime.datetime] = None, offline: bool = False) -> CmsSignature:
        """The signature with each stamp that its signers' own attributes hold extended as `extend` does; all else stays
        octet for octet, and the same bytes come where nothing was put in. Raises the error of a stamp that can't be,
        "no_stamps" where there is none, and "stamp_covered" where a later one in the signature is over it."""
        arena = Arena()
        trust = trust_of(arena, roots, certificates, evidence, revocation, strength, as_of, offline)
        place, handle = ffi.new("chronoseal_cms_signature**"), self._handle
        call(lib.chronoseal_cms_signature_extend, handle, trust, place, ffi.NULL)
        signature = CmsSignature.__new__(CmsSignature)
        signature._handle = owned("chronoseal_cms_signature", place[0])
        return signature

    @property
    def encoded(self) -> bytes:
        """In the form that was read."""
        return bytes_made(lib.chronoseal_cms_signature_encoded, self._handle)

    def __reduce__(self) -> Any:
        return CmsSignature, (self.encoded,)
