#!/usr/bin/python3
"""Compares the schema's types with other software that has the same types, and prints a table: type, oracle, cases,
differences, and the reasons of those that are meant.

A case is an encoding: random values of ours, and DER files made by OpenSSL. The oracle decodes it as its own type and
encodes it again; the bytes have to be the same. Oracles are OpenSSL's library (through its d2i_ and i2d_ functions) and
Debian's python3-pyasn1-modules. What they call a type stands in type_oracle_names.tsv beside this program, and what
differs in type_oracles.tsv: type, oracle, how often, why. Exit status 1 when a difference has no reason, or comes up
more or less often than told there.

Usage: type_oracles.py RECODE_PROGRAM TESTDATA_FOLDER [--write]
  --write makes type_oracles.tsv anew; read the difference before committing it.
"""
import ctypes
import ctypes.util
import importlib
import os
import re
import subprocess
import sys
from collections import Counter

HERE = os.path.dirname(os.path.abspath(__file__))
MEANT = os.path.join(HERE, "type_oracles.tsv")
with open(os.path.join(HERE, "type_oracle_names.tsv"), encoding="ascii") as rows:
    TYPES = {name: oracles for name, *oracles in (row.split() for row in rows if not row.startswith("#"))}
CASES = 40  # random values of each type, always the same

# How differences are called. First by what the oracle says when it refuses a case.
REFUSALS = [
    (r"Constraint", "the oracle has narrower bounds"),
    (r"(CertificateList|TBSCertificate|TimeStampToken|AttributeCertificateInfo|AttributeCertificateInfoV1|ExtendedCertificateInfo) has uninitialized", "a raw part of a random value is empty"),
    (r"PolicyQualifierInfo has uninitialized", "qualifier is optional, as in X.509"),
    (r"ServiceLocator has uninitialized", "locator is optional, as in RFC 2560"),
    (r"tagSet <TagSet object, tags 0:0:4>, encoding iso-8859-1", "the oracle's module imports another type of that name"),
    (r"Short octet stream on tag decoding|IssuerSerial has uninitialized", "an empty list of names passes here"),
    (r"SubsequentMessage schema object", "the oracle's module imports the older RFC 2511"),
    (r"not in asn1Spec", "content of PKCS #7 that is no OCTET STRING"),
]
# Then by type, where the oracle encodes in another way than its own standard, or we do on purpose.
TYPES_MEANT = {
    "Clearance": "the oracle puts an implicit tag on an open value",
    "ESSSecurityLabel": "members of a SET are written in the order of the definition",
    "EquivalentLabels": "members of a SET are written in the order of the definition",
}
# The same for OpenSSL, by its innermost error text.
REFUSED_BY_OPENSSL = {
    "mstring wrong tag": "OpenSSL takes only strings in names",
    "too large": "OpenSSL takes only numbers of 32 or 64 bits there",
    "field missing": "a raw part of a random value is empty",
    "no matching choice type": "a raw part of a random value is empty",
    "sequence length mismatch": "IssuerSerial has the issuerUID of attribute certificates",
    "token present": "OpenSSL compares status and token",
    "token not present": "OpenSSL compares status and token",
    "wrong tag": "OpenSSL looks into the token",
    "bad pkcs7 type": "OpenSSL looks into the token",
    "type not primitive": "OpenSSL's agreeMAC is a NULL",
    "no error text": "OpenSSL takes no negative numbers there",
}
DEFAULT = "a default that is present stays present"
LEAST_NUMBER = "the oracle writes the least number of a length a byte too long"


class Recoder:
    """The program that decodes and encodes with our types."""

    def __init__(self, program):
        self.process = subprocess.Popen([program], stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)

    def ask(self, *words):
        self.process.stdin.write(" ".join(words) + "\n")
        self.process.stdin.flush()
        return self.process.stdout.readline().split()

    def names(self):
        return set(self.ask("list"))

    def random(self, name, seed):
        """The encoding of a random value, or None when a value can't be encoded."""
        answer = self.ask("random", name, str(seed))
        return bytes.fromhex(answer[1]) if len(answer) == 2 and answer[0] == "0" else None

    def decode(self, name, data):
        answer = self.ask("decode", name, data.hex())
        return bytes.fromhex(answer[1]) if len(answer) == 2 else int(answer[0])


class OpenSSL:
    """d2i_X and i2d_X of libcrypto."""

    def __init__(self):
        self.library = ctypes.CDLL(ctypes.util.find_library("crypto"))
        self.library.ERR_get_error.restype = ctypes.c_ulong
        self.library.CRYPTO_free.argtypes = [ctypes.c_void_p, ctypes.c_char_p, ctypes.c_int]

    def errors(self):
        """The innermost error text."""
        texts = []
        while code := self.library.ERR_get_error():
            buffer = ctypes.create_string_buffer(256)
            self.library.ERR_error_string_n(ctypes.c_ulong(code), buffer, 256)
            texts.append(buffer.value.decode().split(":")[-1])
        return texts[0] if texts else "no error text"

    def has(self, name):
        return hasattr(self.library, "d2i_" + name) and hasattr(self.library, "i2d_" + name)

    def recode(self, name, data):
        read = getattr(self.library, "d2i_" + name)
        write = getattr(self.library, "i2d_" + name)
        read.restype = ctypes.c_void_p
        write.argtypes = [ctypes.c_void_p, ctypes.c_void_p]
        buffer = ctypes.create_string_buffer(data, len(data))
        at = ctypes.c_void_p(ctypes.addressof(buffer))
        value = read(None, ctypes.byref(at), ctypes.c_long(len(data)))
        if not value:
            raise ValueError(self.errors())
        out = ctypes.c_void_p()
        size = write(value, ctypes.byref(out))
        encoded = ctypes.string_at(out, size) if size > 0 else b""
        free = getattr(self.library, name + "_free", None)
        if free is not None:
            free.argtypes = [ctypes.c_void_p]
            free.restype = None
            free(value)
        self.library.CRYPTO_free(out, b"", 0)
        return encoded


class PyAsn1:
    """A class of pyasn1_modules, with pyasn1's DER codec."""

    def __init__(self):
        from pyasn1.codec.ber import decoder
        from pyasn1.codec.der import encoder
        self.decode, self.encode = decoder.decode, encoder.encode

    def schema(self, name):
        module, _, attribute = name.partition(".")
        found = getattr(importlib.import_module("pyasn1_modules." + module), attribute, None)
        return None if found is None else found()

    def recode(self, name, data):
        value, rest = self.decode(data, asn1Spec=self.schema(name))
        if rest:
            raise ValueError("trailing bytes")
        return self.encode(value)


def reason(oracle, kind, error, data, result):
    """Why a difference is meant; None when it isn't."""
    if error is not None:
        if oracle == "openssl":
            return REFUSED_BY_OPENSSL.get(str(error))
        text = f"{type(error).__name__} {error}"
        return next((why for pattern, why in REFUSALS if re.search(pattern, text)), None)
    if oracle == "pyasn1" and kind in TYPES_MEANT:
        return TYPES_MEANT[kind]
    too_long = [bytes([2, size + 1, 0xFF, 0x80]) + bytes(size - 1) for size in range(1, 16)]
    if any(number in result and number not in data for number in too_long):
        return LEAST_NUMBER
    return DEFAULT if len(result) < len(data) else None


def compare(recode, oracle, kind, name, cases):
    """Counts of differences by reason (None: not explained), with one example of those."""
    differences, example = Counter(), None
    for data in cases:
        error = result = None
        try:
            result = recode(name, data)
        except Exception as caught:  # whatever a foreign decoder raises is its verdict
            error = caught
        if result == data:
            continue
        why = reason(oracle, kind, error, data, result)
        differences[why] += 1
        if why is None and example is None:
            example = f"{data.hex()[:240]} -> {str(error)[:240] if error is not None else result.hex()[:240]}"
    return differences, example


def oracle_files(folder, name):
    """The DER files of testdata that are of this type."""
    with open(os.path.join(folder, "oracles.tsv"), encoding="ascii") as table:
        rows = [line.rstrip("\n").split("\t") for line in table]
    for file, kind in rows:
        if kind == name:
            with open(os.path.join(folder, file), "rb") as content:
                yield content.read()


def read_meant():
    """The differences that are meant: {(type, oracle): {reason: count}}."""
    meant = {}
    with open(MEANT, encoding="utf-8") as table:
        for line in table:
            if not line.startswith("#"):
                name, oracle, count, why = line.rstrip("\n").split("\t")
                meant.setdefault((name, oracle), Counter())[why] = int(count)
    return meant


def write_meant(differences):
    with open(MEANT, "w", encoding="utf-8") as table:
        table.write("# type, oracle, how many of its cases differ, why; made by type_oracles.py --write\n")
        for (name, oracle), reasons in differences.items():
            for why, count in sorted(reasons.items()):
                table.write(f"{name}\t{oracle}\t{count}\t{why}\n")


def main():
    program, folder = sys.argv[1], sys.argv[2]
    rewrite = "--write" in sys.argv[3:]
    ours, openssl, unexplained, missing = Recoder(program), OpenSSL(), 0, []
    meant, found = {} if rewrite else read_meant(), {}
    try:
        pyasn1 = PyAsn1()
    except ImportError:
        pyasn1 = None
        print("python3-pyasn1 is not installed: only OpenSSL is compared")
    known = ours.names()
    print(f"{'type':44} {'oracle':40} {'cases':>5} {'differ':>6}  meant")
    for name, oracles in TYPES.items():
        if name not in known:
            print(f"{name:44} NOT IN THE SCHEMA")
            unexplained += 1
            continue
        files = list(oracle_files(folder, name))
        for data in files:
            if ours.decode(name, data) != data:
                print(f"{name}: a file of OpenSSL's does not come back unchanged")
                unexplained += 1
        randoms = [data for data in (ours.random(name, seed) for seed in range(CASES)) if data is not None]
        for entry in oracles:
            kind, _, there = entry.partition(":")
            if kind == "o" and openssl.has(there):
                recode, oracle = openssl.recode, "openssl"
            elif kind == "p" and pyasn1 is not None and pyasn1.schema(there) is not None:
                recode, oracle = pyasn1.recode, "pyasn1"
            else:
                missing.append(f"{name} ({there})")
                continue
            differences, example = compare(recode, oracle, name, there, files + randoms)
            bad = differences.pop(None, 0)
            key = (name, f"{oracle} {there}")
            found[key] = differences
            told = differences if rewrite else meant.pop(key, Counter())
            for why in sorted(set(differences) | set(told)):
                if differences[why] != told[why]:
                    bad += 1
                    print(f"{name}: {why}: {differences[why]}, not {told[why]} as told")
            unexplained += bad
            cases = len(files) + len(randoms)
            reasons = "; ".join(f"{why}: {number}" for why, number in differences.items())
            print(f"{name:44} {key[1]:40} {cases:5} {bad:6}  {reasons}")
            if example is not None:
                print(f"    {example}")
    if missing:
        print("not in the oracle here: " + ", ".join(missing))
    if rewrite:
        write_meant(found)
    elif pyasn1 is not None:
        for name, oracle in meant:
            unexplained += 1
            print(f"{name}: {oracle} is told, but wasn't compared")
    print(f"{unexplained} unexplained differences")
    return 1 if unexplained else 0


if __name__ == "__main__":
    sys.exit(main())
