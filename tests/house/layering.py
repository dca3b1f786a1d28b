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
    "src/platform/basalt20": {"sup", "basalt10", "openssl", "curl"},
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
HOUSE = {"visibility", "sup", "basalt10", "basalt20", "asn1rt", "base", "asn1data", "atl", "asn1", "core",
         "client", "seal", "schemac", "openssl", "curl", "toml++"}


def faults():
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
