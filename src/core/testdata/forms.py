#!/usr/bin/env python3
"""Other forms of token.der: indefinite lengths with the content in pieces, a certificate set with entries that
are no certificates, an empty set of unsigned attributes, and no signer."""


def parse(data, at=0):
    """One element: tag byte, contents, offset behind it."""
    tag, length, at = data[at], data[at + 1], at + 2
    if length & 0x80:
        count = length & 0x7F
        length = int.from_bytes(data[at:at + count], "big")
        at += count
    return tag, data[at:at + length], at + length


def children(contents):
    result, at = [], 0
    while at < len(contents):
        start = at
        at = parse(contents, at)[2]
        result.append(contents[start:at])
    return result


def element(tag, contents):
    size = len(contents)
    if size < 0x80:
        head = bytes([size])
    else:
        count = (size.bit_length() + 7) // 8
        head = bytes([0x80 | count]) + size.to_bytes(count, "big")
    return bytes([tag]) + head + contents


def indefinite(tag, contents):
    return bytes([tag, 0x80]) + contents + b"\0\0"


def message(fields, wrap):
    return wrap(0x30, oid + wrap(0xA0, wrap(0x30, b"".join(fields))))


token = open("token.der", "rb").read()
oid, wrapper = children(parse(token)[1])
signed_data = children(parse(parse(wrapper)[1])[1])
version, digests, content, certificates, signers = signed_data

content_type, octets = children(parse(content)[1])
inner = parse(parse(octets)[1])[1]
pieces = indefinite(0x24, element(4, inner[:50]) + element(4, inner[50:]))
ber_content = indefinite(0x30, content_type + indefinite(0xA0, pieces))
ber_certificates = indefinite(0xA0, parse(certificates)[1])
open("token-indefinite.ber", "wb").write(
    message([version, digests, ber_content, ber_certificates, signers], indefinite))

odd = element(0xA1, b"\x02\x01\x01") + open("tsa.cer", "rb").read() + element(0xA3, b"\x06\x01\x2a")
open("token-odd-certificates.der", "wb").write(
    message([version, digests, content, element(0xA0, odd), signers], element))
signer = children(parse(signers)[1])[0]
unsigned = element(0x30, parse(signer)[1] + element(0xA1, b""))
open("token-empty-unsigned.der", "wb").write(
    message([version, digests, content, certificates, element(0x31, unsigned)], element))
open("no-signer.der", "wb").write(
    message([version, digests, content, certificates, element(0x31, b"")], element))
