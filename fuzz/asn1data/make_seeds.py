#!/usr/bin/python3
"""Fills seeds/ from the DER files of src/asn1data/testdata: whole files, and the parts that some entries take."""
import os
import shutil
import sys

HERE = os.path.dirname(os.path.abspath(__file__))
DATA = os.path.join(HERE, "..", "..", "src", "asn1data", "testdata")

# Entry: the files that begin with one of these.
WHOLE = {
    "certificate": ["certificate_"],
    "certificate_list": ["list_"],
    "certificate_list_raw": ["list_empty"],
    "content_info": ["cms_", "ts_token.der"],
    "content_info_legacy": ["cms_signed", "ts_token.der"],
    "time_stamp_req": ["ts_request"],
    "time_stamp_resp": ["ts_response.der", "ts_refusal"],
    "time_stamp_resp_raw": ["ts_response.der", "ts_refusal"],
    "tst_info": ["tst_info.der"],
    "tst_info_raw": ["tst_info.der"],
    "ocsp_response": ["ocsp_response"],
    "pki_message": ["cmp_"],
    "certification_request": ["request"],
}


def header(data, at):
    """Tag, start and end of the contents of the element at `at`."""
    length, start = data[at + 1], at + 2
    if length & 0x80:
        count = length & 0x7F
        length = int.from_bytes(data[start:start + count], "big")
        start += count
    return data[at], start, start + length


def children(data, at):
    """The elements inside of the element at `at`, as offsets."""
    _, start, end = header(data, at)
    while start < end:
        yield start
        start = header(data, start)[2]


def element(data, at):
    return data[at:header(data, at)[2]]


def signed_data(message):
    _, content = children(message, 0)
    return element(message, next(children(message, content)))


def algorithms(certificate):
    """The algorithm of the signature and that of the key."""
    parts = list(children(certificate, 0))
    fields = [at for at in children(certificate, parts[0]) if certificate[at] == 0x30]
    return element(certificate, parts[1]), element(certificate, next(children(certificate, fields[4])))


def write(entry, name, data):
    with open(os.path.join(HERE, "seeds", entry, name), "wb") as seed:
        seed.write(data)


def main():
    files = sorted(name for name in os.listdir(DATA) if name.endswith(".der"))
    entries = list(WHOLE) + ["signed_data", "algorithm_identifier"]
    for entry in entries:
        shutil.rmtree(os.path.join(HERE, "seeds", entry), ignore_errors=True)
        os.makedirs(os.path.join(HERE, "seeds", entry))
    for name in files:
        with open(os.path.join(DATA, name), "rb") as content:
            data = content.read()
        for entry, prefixes in WHOLE.items():
            if any(name.startswith(prefix) for prefix in prefixes):
                write(entry, name, data)
        if name in ("cms_signed.der", "cms_certificates_and_list.der", "cms_signed_gost2012_256.der", "ts_token.der"):
            write("signed_data", name, signed_data(data))
        if name.startswith("certificate_"):
            for part, bytes_ in zip(("signature", "key"), algorithms(data)):
                write("algorithm_identifier", name.replace(".der", f"_{part}.der"), bytes_)
    return 0


if __name__ == "__main__":
    sys.exit(main())
