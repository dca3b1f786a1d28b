"""Holds what the build can't: no OpenSSL or curl header outside the platform, includes only downward."""

import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parents[2]
INCLUDE = re.compile(r'^\s*#\s*include\s*[<"]([^>"]+)[>"]', re.M)

# What each floor may include, beside itself and the standard library.
ALLOWED = {
    "src/visibility": set(),
    "src/platform/sup": {"toml++"},
    "src/platform/basalt10": {"sup", "openssl"},
    "src/platform/basaltnet": {"sup", "curl"},
    "src/platform/basalt20": {"sup", "basaltnet", "basalt10", "openssl"},
    "src/asn1rt": {"visibility"},
    "src/base": {"visibility", "sup"},
    "src/asn1data": {"visibility", "asn1rt"},
    "src/atl": {"visibility", "base", "sup", "basalt10", "basalt20"},
    "src/asn1": {"visibility", "asn1data", "asn1rt", "atl", "base", "sup", "basalt10", "basalt20"},
    "src/core": {"visibility", "asn1", "asn1data", "asn1rt", "atl", "base", "sup", "basalt10", "basalt20"},
    "src/client": {"visibility", "core", "asn1", "asn1data", "asn1rt", "atl", "base", "sup", "basalt10",
                   "basalt20"},
    "src/seal": {"visibility", "client", "core", "asn1", "atl", "base", "sup", "basalt10", "basalt20"},
    "tools/schemac": set(),
}
HOUSE = {"visibility", "sup", "basaltnet", "basalt10", "basalt20", "asn1rt", "base", "asn1data", "atl", "asn1", "core",
         "client", "seal", "schemac", "openssl", "curl", "toml++"}

# The rooms of basalt20, from the ground up; each sees those before it, but for what stands beside it.
ROOMS = ["surface", "coding", "certificate", "store", "network", "revocation", "chain", "message"]
BESIDE = {("network", "store"), ("network", "certificate"), ("message", "chain")}
# The prepared certificate of a context is found by the context's record.
UPWARD = {("certificate/x509_cache.cpp", "basalt20/store/record.h")}


def is_test(path):
    return path.stem.endswith("_test") or path.name.startswith("test_") or "fixture" in path.stem


def room_faults():
    folder = ROOT / "src/platform/basalt20"
    for path in sorted(folder.rglob("*")):
        if path.suffix not in (".h", ".cpp") or is_test(path):
            continue
        inside = path.relative_to(folder)
        own = inside.parts[0]
        for name in INCLUDE.findall(path.read_text()):
            room = name.split("/")[1] if name.startswith("basalt20/") else own
            upward = ROOMS.index(room) > ROOMS.index(own) or (own, room) in BESIDE
            if upward and (str(inside), name) not in UPWARD:
                yield f"{path.relative_to(ROOT)} includes {name}"


def faults():
    yield from room_faults()
    for folder, allowed in ALLOWED.items():
        own = folder.rsplit("/", 1)[-1]
        for path in sorted((ROOT / folder).rglob("*")):
            if path.suffix not in (".h", ".cpp") or path.stem.endswith("_test") or \
                        path.name.startswith("test_") or \
                        {"testdata", "testing"} & set(path.parts):
                continue
            for name in INCLUDE.findall(path.read_text()):
                floor = name.split("/")[0] if "/" in name else ""
                if floor in HOUSE and floor != own and floor not in allowed:
                    yield f"{path.relative_to(ROOT)} includes {name}"


found = list(faults())
print("\n".join(found) or "every include goes downward")
print(f"{int(not found)} passed, {int(bool(found))} failed")
sys.exit(1 if found else 0)
