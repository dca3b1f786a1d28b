"""Stamps of the older Authenticode protocol."""

from __future__ import annotations

import dataclasses
import datetime
from typing import Optional, Union

from ._memory import Sources, bytes_of, time_of
from ._native import ffi, lib
from .error import call
from .handle import owned
from .stamp import Certificate, certificate_of
from .stop import Watch
from .verifier import Revocation, Strength, trust_of


@dataclasses.dataclass(frozen=True)
class AuthenticodeStamp:
    """A stamp of the older Authenticode protocol."""

    der: bytes  #: the PKCS#7 message: what to store
    time: Optional[datetime.datetime]  #: its signing time
    signer: Optional[Certificate]


def authenticode(content: Union[bytes, bytearray, memoryview], url: Optional[str] = None, *,
                 roots: Optional[Sources] = None, certificates: Sources = (), evidence: Sources = (),
                 revocation: Revocation = Revocation.AS_CONFIGURED, strength: Strength = Strength.AS_CONFIGURED,
                 offline: bool = False, verify: bool = True) -> AuthenticodeStamp:
    """Has `content`, mostly a signature value, stamped by the older Authenticode protocol. The answer is returned only
    if it is a signed message over this content whose signature fits; its chain is judged by `roots` to `offline`, as in
    `Verifier`. Without an address the policy's DefaultMSTSPURL is asked."""
    watch = Watch()
    arena = watch.arena
    data = arena.bytes(content)
    options = arena.struct(
        "chronoseal_authenticode_options", url=arena.text(url), without_verification=not verify,
        trust=trust_of(arena, roots, certificates, evidence, revocation, strength, None, offline))
    place = ffi.new("chronoseal_authenticode_stamp**")
    watch.run(lambda: call(lib.chronoseal_authenticode, data, len(data), options, place))
    handle = owned("chronoseal_authenticode_stamp", place[0])
    out = ffi.new("chronoseal_authenticode_info**")
    call(lib.chronoseal_authenticode_stamp_get_info, handle, out)
    info = out[0]
    return AuthenticodeStamp(bytes_of(info.der), time_of(info.time) if info.has_time else None,
                             certificate_of(info.signer))
