"""Makes the reference of the public headers, which must go without a warning, and the manual pages of the C functions.

Usage: reference.py BUILD_FOLDER
"""

import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

from report import ROOT, end

BUILD = pathlib.Path(sys.argv[1])
HEADER = ROOT / "src/c_interface/chronoseal.h"


def man_faults(folder):
    subprocess.run([sys.executable, ROOT / "docs/reference/man_pages.py", HEADER, "1.0.0", folder], check=True)
    pages = {path.stem: path for path in folder.glob("*.3")}
    functions = set(re.findall(r"\b(chronoseal_\w+)\(", re.sub(r"//.*|\(\*\w+\)\(.*", "", HEADER.read_text())))
    for name in sorted(functions ^ (pages.keys() - {"chronoseal"})):
        yield f"{name} has a page or a declaration, and not both"
    for name, path in sorted(pages.items()):
        text = path.read_text()
        summary = re.search(r"^.SH NAME\n\S+ \\- (.*)$", text, re.M)
        if summary is None or not re.match(r"[a-z]+s |time", summary.group(1)):
            yield f"{path.name} doesn't say in its first sentence what the function does"
        if shutil.which("groff"):
            said = subprocess.run(["groff", "-man", "-Tutf8", "-ww", "-z", path], capture_output=True, text=True).stderr
            if said:
                yield f"{path.name}: {said[:500]}"


def thread_faults():
    """Each class of the front door says in the comment above it what threads may do with it."""
    for header in ("chronoseal.hpp", "evidence.hpp"):
        text = (ROOT / "src/seal" / header).read_text()
        found = re.findall(r"((?:^//.*\n)+)(?:class|struct) CHRONOSEAL_API (\w+)", text, re.M)
        names = re.findall(r"^(?:class|struct) CHRONOSEAL_API (\w+)", text, re.M)
        for name in names:
            comment = "".join(one for one, of in found if of == name)
            if not re.search(r"\bthreads?\b|\bplain value\b", comment):
                yield f"{name} in {header} doesn't say what threads may do with it"


def reference_faults():
    for doxyfile in ("Doxyfile", "Doxyfile.strict"):
        result = subprocess.run(["doxygen", BUILD / "reference" / doxyfile], capture_output=True, text=True, cwd=ROOT)
        if result.returncode != 0 or "warning" in result.stderr:
            yield f"{doxyfile}: {result.stderr[:2000]}"
    # The front page leads to what it names: a name that is gone is left as plain text, without a warning.
    front = (ROOT / "docs/reference/front.md").read_text()
    page = (BUILD / "reference/html/index.html").read_text()
    for name in re.findall(r"(?<![\w:])(?:::chronoseal_\w+|(?:chronoseal|Halcyon)::[\w:]+)", front):
        if not re.search(rf'<a class="el" href="[^"]+"[^>]*>(?:::)?{name.removeprefix("::")}(?:\(\))?</a>', page):
            yield f"the front page doesn't lead to {name}"


with tempfile.TemporaryDirectory(prefix="chronoseal-man-") as name:
    faults = [*man_faults(pathlib.Path(name)), *thread_faults()]
doxygen = shutil.which("doxygen") is not None
if doxygen:
    faults += reference_faults()
end(faults, "told in full", "" if doxygen else "doxygen isn't there: the reference was not made")
