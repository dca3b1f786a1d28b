"""Holds the binary interface of <chronoseal/chronoseal.h>: compares it with the description that is committed beside
this file, and the library's symbols with the header's functions.

A description changes only together with a line in CHANGELOG.md that names its fingerprint, so that nobody changes what
compiled programs rely on without telling them.

The header says all there is to the interface of C functions, and the compiler holds their definitions to it. So the
description is made of a library of empty functions with these declarations, which any build can be held against.

Usage: c_abi.py LIBRARY     --write in place of the library makes the description anew
"""

import contextlib
import hashlib
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

from report import ROOT, end

HEADER = ROOT / "src/c_interface/chronoseal.h"
DESCRIPTION = pathlib.Path(__file__).with_name("c_interface.abi")
FUNCTION = re.compile(r"^CHRONOSEAL_API\s+([^;]*?\b(chronoseal_\w+)\([^;]*\));", re.M)
# What has to compile the header: everybody's compiler, as strict as it goes.
DIALECTS = [("cc", "c", "c99"), ("cc", "c", "c17"), ("c++", "c++", "c++11"), ("c++", "c++", "c++20")]


def declarations():
    """The functions of the header by name."""
    text = re.sub(r"//.*", "", HEADER.read_text())
    return {name: " ".join(declaration.split()) for declaration, name in FUNCTION.findall(text)}


@contextlib.contextmanager
def workspace():
    """A folder with the header, and what it includes, where users find them."""
    with tempfile.TemporaryDirectory(prefix="chronoseal-abi-") as name:
        folder = pathlib.Path(name)
        (folder / "chronoseal").mkdir()
        for header in (HEADER, ROOT / "src/visibility/visibility.h"):
            (folder / "chronoseal" / header.name).symlink_to(header)
        yield folder


def dialect_faults(folder):
    for compiler, language, standard in DIALECTS:
        result = subprocess.run(
            [compiler, "-x", language, f"-std={standard}", "-Wall", "-Wextra", "-pedantic", "-Werror", "-fsyntax-only",
             "-I", folder, "-"], input="#include <chronoseal/chronoseal.h>\n", capture_output=True, text=True)
        if result.returncode != 0:
            yield f"chronoseal.h doesn't compile as {standard}: {result.stderr[:1000]}"


def symbol_faults(library):
    """Each function of the header is exported under a version of the C interface, and nothing else is."""
    lines = subprocess.run(["nm", "-D", "--defined-only", library], check=True, capture_output=True, text=True).stdout
    exported = dict(re.findall(r" T (chronoseal_\w+)@@(\S+)$", lines, re.M))
    named = set(re.findall(r" [A-Z] (chronoseal_\w+)", lines))
    for name in sorted(declarations().keys() - named):
        yield f"{name} is declared and not exported"
    for name in sorted(named - declarations().keys()):
        yield f"{name} is exported and not declared"
    for name in sorted(named):
        if not re.fullmatch(r"CHRONOSEAL_1\.\d+", exported.get(name, "")):
            yield f"{name} has the version {exported.get(name)!r}: give it a node in src/library/exports.map"


def describe(folder, out):
    source = "#include <stdlib.h>\n#include <chronoseal/chronoseal.h>\n"
    for declaration in declarations().values():
        source += declaration + " { abort(); }\n"
    (folder / "functions.c").write_text(source)
    subprocess.run(["cc", "-std=c99", "-g", "-O0", "-w", "-fPIC", "-shared", "-Wl,-soname,libchronoseal.so.1",
                    f"-Wl,--version-script={ROOT / 'src/library/exports.map'}", "-I.",
                    "functions.c", "-o", "functions.so"], check=True, cwd=folder)
    subprocess.run(["abidw", "--no-corpus-path", "--no-comp-dir-path", "--no-show-locs", "--no-architecture",
                    "--type-id-style", "hash", "--out-file", out, "functions.so"], check=True, cwd=folder)


def fingerprint():
    return hashlib.sha256(DESCRIPTION.read_bytes()).hexdigest()[:12]


def description_faults(folder):
    fresh = folder / "fresh.abi"
    describe(folder, fresh)
    result = subprocess.run(["abidiff", DESCRIPTION, fresh], capture_output=True, text=True)
    if result.returncode != 0:
        yield (f"{result.stdout}{result.stderr}The C interface is another one than {DESCRIPTION.name} describes. If "
               "programs that are compiled may see that, run\n    python3 tests/house/c_abi.py --write\nand tell of "
               "it in CHANGELOG.md.")
    if fingerprint() not in (ROOT / "CHANGELOG.md").read_text():
        yield ("CHANGELOG.md doesn't name the C interface of now: add a line that says what has changed in it, with "
               f"`{fingerprint()}`.")


def main():
    library = sys.argv[1]
    with workspace() as folder:
        if library == "--write":
            describe(folder, DESCRIPTION)
            print(f"wrote {DESCRIPTION}; its line in CHANGELOG.md has to name `{fingerprint()}`")
            return
        faults = [*dialect_faults(folder), *symbol_faults(library)]
        described = shutil.which("abidw") is not None
        if described:
            faults += description_faults(folder)
    end(faults, f"{len(declarations())} functions as described",
        "" if described else "abidw isn't there (package abigail-tools): the description was not compared")


main()
