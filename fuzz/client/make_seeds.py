#!/usr/bin/python3
"""Fills seeds/ with forged tokens, answers and requests, and with what OpenSSL's authority makes of GOST keys."""
import hashlib
import pathlib
import subprocess
import sys
import tempfile

HERE = pathlib.Path(__file__).resolve().parent
sys.path.insert(0, str(HERE.parent.parent / "tests" / "system"))

import forge  # noqa: E402
import gost  # noqa: E402
from asn1crypto import core, tsp  # noqa: E402

DIGEST = hashlib.sha256(b"data").digest()
CERTIFICATE_VALUES = "1.2.840.113549.1.9.16.2.23"


def children(data, start, end):
    while start < end:
        tag, inner, stop = forge.read_header(data, start)
        yield tag, data[start:stop], data[inner:stop]
        start = stop


def indefinite(tag, *parts):
    return bytes([tag, 0x80]) + b"".join(parts) + b"\0\0"


def to_ber(token):
    """The same token with indefinite lengths outside, and the content in pieces."""
    _, start, end = forge.read_header(token, 0)
    (_, oid, _), (_, _, explicit) = children(token, start, end)
    _, start, end = forge.read_header(explicit, 0)
    parts = []
    for tag, whole, contents in children(explicit, start, end):
        if tag == 0x30:  # EncapsulatedContentInfo
            (_, inner_oid, _), (_, _, octets) = children(contents, 0, len(contents))
            _, begin, stop = forge.read_header(octets, 0)
            content = octets[begin:stop]
            half = len(content) // 2
            pieces = indefinite(0x24, forge.element(4, content[:half]), forge.element(4, content[half:]))
            parts.append(indefinite(0x30, inner_oid, indefinite(0xA0, pieces)))
        elif tag == 0xA0:
            parts.append(indefinite(0xA0, contents))
        else:
            parts.append(whole)
    return indefinite(0x30, oid, indefinite(0xA0, indefinite(0x30, *parts)))


def with_unsigned_attribute(signer, info, attribute, place=None):
    """`place` counts from the end of the signer's fields; the right one is behind them all."""
    signed = forge.signer_info(signer, info, forge.signed_attributes(signer, info))
    _, start, end = forge.read_header(signed, 0)
    fields = [whole for _, whole, _ in children(signed, start, end)]
    fields.insert(len(fields) if place is None else place, forge.element(0xA1, attribute))
    signed = forge.element(0x30, b"".join(fields))
    return forge.make_token(signer, info, infos=[signed], certificates=[])


def stamps(folder):
    root = forge.issue(folder, "root", ca=True)
    tsa = forge.issue(folder, "tsa", root)
    plain = forge.tst_info(DIGEST)
    accuracy = {"seconds": 1, "millis": 2, "micros": 3}
    rich = forge.tst_info(DIGEST, nonce=0xD1E2F3, accuracy=accuracy, ordering=True, tsa=tsa.name, serial_number=-5,
                          extensions=[{"extn_id": "1.2.3", "critical": True, "extn_value": b"\x05\0"}])
    token = forge.make_token(tsa, plain)
    v1 = forge.signing_certificate(forge.ess_cert_id(tsa))
    values = forge.attribute(CERTIFICATE_VALUES, forge.element(0x30, tsa.der + root.der))
    odd = [forge.element(0xA1, b"\x02\x01\x01"), tsa.der,
           forge.element(0xA3, core.ObjectIdentifier("1.2.3.4").dump() + b"\x05\x00")]
    yield "token", token
    yield "token_all_fields", forge.make_token(tsa, rich, certificates=[tsa.der, root.der])
    yield "token_without_certificate", forge.make_token(tsa, rich, certificates=[])
    yield "token_in_pieces", to_ber(token)
    yield "token_ess_v1", forge.make_token(
        tsa, plain, attributes=forge.signed_attributes(tsa, plain, ess=[v1]))
    yield "token_odd_certificates", forge.make_token(tsa, plain, certificates=odd)
    yield "token_certificate_values", with_unsigned_attribute(tsa, plain, values)
    yield "token_unsigned_attributes_misplaced", with_unsigned_attribute(tsa, plain, values, place=-2)
    yield "token_no_attributes", forge.make_token(tsa, plain, no_attributes=True)
    yield "token_two_signers", forge.make_token(tsa, plain, infos=[
        forge.signer_info(tsa, plain, forge.signed_attributes(tsa, plain))] * 2)
    sha512 = {"hash_algorithm": {"algorithm": "sha512"}, "hashed_message": hashlib.sha512(b"data").digest()}
    yield "token_sha512", forge.make_token(tsa, forge.tst_info(DIGEST, message_imprint=sha512))
    yield "answer", forge.make_response(token)
    yield "answer_with_changes", forge.make_response(token, status=1, text="changed")
    yield "answer_token_and_failure", forge.make_response(token, text="odd", failure_bit=0)
    yield "refusal", forge.make_response(None, status=2, text="not today", failure_bit=15)
    yield "granted_without_token", forge.make_response(None)
    if gost.HAS_ENGINE:
        data = folder / "data"
        data.write_bytes(b"data")
        for key, (_, digest) in gost.KEYS.items():
            yield key, gost.GostAuthority(folder / key, key).stamp(data, digest)


def requests():
    imprint = {"hash_algorithm": {"algorithm": "sha256"}, "hashed_message": DIGEST}
    bare = {"version": "v1", "message_imprint": imprint}
    yield "bare", bare
    yield "nonce_and_certificate", {**bare, "nonce": 0xFF00FF00FF, "cert_req": True}
    yield "all", {**bare, "req_policy": "1.2.3.4", "nonce": -1, "cert_req": True, "extensions": [
        {"extn_id": "1.2.3", "critical": False, "extn_value": b"\x05\0"}]}
    yield "unknown_hash", {**bare, "message_imprint": {
        "hash_algorithm": {"algorithm": "1.2.3.4"}, "hashed_message": b""}}


def write(entry, name, content):
    folder = HERE / "seeds" / entry
    folder.mkdir(parents=True, exist_ok=True)
    (folder / name).write_bytes(content)


with tempfile.TemporaryDirectory() as made:
    for seed, der in stamps(pathlib.Path(made)):
        write("import", seed, der)
for seed, fields in requests():
    write("request_import", seed, tsp.TimeStampReq(fields).dump())
