"""Holds what the documents say of places: each file of ours that they name is there, and where docs/changing.md says
that a name stands in a file, it does."""

import re

from report import ROOT, end

FOLDERS = r"(?:apps|bench|cmake|docs|examples|fuzz|packaging|python|src|tests|tools)"
NAMED = re.compile(rf"`({FOLDERS}/[\w./-]*\w)`")
ROW = re.compile(rf"^\| [^|]+ \| `({FOLDERS}/[^`]+)` \| `([^`]+)` \|$", re.M)


def faults():
    for document in [*ROOT.glob("*.md"), *ROOT.glob("docs/*.md"), *ROOT.glob("src/**/CMakeLists.txt")]:
        for name in NAMED.findall(document.read_text()):
            stands_for_any = re.search(r"\b[A-Z]{3,}\.(h|cpp)$", name)
            if not stands_for_any and not (ROOT / name).exists():
                yield f"{document.relative_to(ROOT)} names {name}, which isn't there"
    rows = ROW.findall((ROOT / "docs/changing.md").read_text())
    for path, name in rows:
        if not re.search(rf"\b{re.escape(name)}\b", (ROOT / path).read_text()):
            yield f"docs/changing.md: {name} doesn't stand in {path}"
    if not rows:
        yield "docs/changing.md has no table of places"


end(faults(), "every place is there")
