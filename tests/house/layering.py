"""Holds what the build can't: no OpenSSL or curl header outside the platform, includes only downward."""

import re

from report import ROOT, end

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
    "src/client": {"visibility", "core", "asn1", "asn1data", "asn1rt", "atl", "base", "sup", "basalt10", "basalt20"},
    "src/seal": {"visibility", "client", "core", "asn1", "atl", "base", "sup", "basalt10", "basalt20"},
    "src/c_interface": {"visibility", "seal"},
    "apps/option_dump": set(),
    "apps/chronoseal": {"seal"},
    "apps/chronoseal-tsa": {"openssl"},
    "tools/schemac": set(),
}

# The rooms of basalt20. Their arrows are held by the build: a room's objects see the rooms under it only.
ROOMS = ["surface", "coding", "certificate", "store", "network", "revocation", "chain", "message"]
PLATFORM = ROOT / "src/platform"


def floor_of(name):
    """The floor of ours, or the library of others, that an include leads to; nothing for the standard library's."""
    first, _, rest = name.partition("/")
    if first == "chronoseal":
        return {"visibility.h": "visibility", "chronoseal.hpp": "seal", "evidence.hpp": "seal",
                "chronoseal.h": "c_interface"}.get(rest, rest.split("/")[0])
    if first == "basalt":
        folder = rest.split("/")[0]
        if folder in ROOMS:
            return "basalt20"
        if "/" in rest:
            return folder
        return "basalt20" if (PLATFORM / "basalt20/surface" / rest).exists() else next(
            (floor for floor in ("sup", "basalt10") if (PLATFORM / floor / rest).exists()), rest)
    return first if first in ("openssl", "curl", "toml++", "schemac") and rest else ""


def sources(folder):
    for path in sorted((ROOT / folder).rglob("*")):
        if path.suffix in (".h", ".hpp", ".cpp") and not path.stem.endswith("_test") and \
                not path.name.startswith("test_") and "fixture" not in path.stem and \
                path.name != "live_responder.h" and not {"testdata", "testing"} & set(path.parts):
            yield path


def faults():
    for folder, allowed in ALLOWED.items():
        own = folder.rsplit("/", 1)[-1]
        for path in sources(folder):
            for name in INCLUDE.findall(path.read_text()):
                floor = floor_of(name)
                if floor and floor != own and floor not in allowed:
                    yield f"{path.relative_to(ROOT)} includes {name}"
                if name.startswith(".."):
                    yield f"{path.relative_to(ROOT)} includes {name}, out of its own folder"


end(faults(), "every include goes downward")
