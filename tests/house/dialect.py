"""Holds what the formatter and clang-tidy can't: const on the left, names for result codes, one noun a file.

Usage: dialect.py
"""

import re
import subprocess

from report import ROOT, end

# `T const&`, `T const*`, `T const name`: the formatter takes types in capitals for macros and leaves them.
EAST = re.compile(r"(?:\b(?!return|static|inline|constexpr|extern|typename|else|virtual|friend|mutable|new|operator|"
                  r"thread_local|[A-Z]+_API\b|noexcept|override|final|volatile|consteval|constinit)[A-Za-z_]\w*|(?<!-)>) const\b(?=\s*[&*]|"
                  r"\s+[A-Za-z_])")
# A result code in figures, or the facility that one is made with: only where it gets its name (`kNoStamp = 0x8007139F`)
# and in the table of words (`{0x8007139F, ...`).
CODE = r"0x(?:800[0479B](?!0000)|C210)[0-9A-Fa-f]{4}[uUlL]*\b"
BARE_CODE = re.compile(r"\bhr\([^)]*0x|" + CODE)
NAMED_CODE = re.compile(r"\w = (?:static_cast<std::int32_t>\()?" + CODE + r"|^\s*\{" + CODE)
SHAPELESS = {"utils", "util", "helpers", "helper", "common", "misc"}


def code_of(line):
    """The line without what stands in quotes or behind `//`."""
    line = re.sub(r'"(?:[^"\\]|\\.)*"', '""', line)
    return line.split("//")[0]


def tracked():
    names = subprocess.run(["git", "-C", ROOT, "ls-files"], capture_output=True, text=True)
    if names.returncode == 0:
        return [ROOT / name for name in names.stdout.split("\n") if name]
    return [p for folder in ("src", "apps", "tools", "fuzz", "bench", "tests", "examples")
            for p in (ROOT / folder).rglob("*")]


def faults():
    for path in tracked():
        if "seeds" not in path.parts and SHAPELESS & set(re.split(r"[_.]", path.stem)):
            yield f"{path.relative_to(ROOT)} is named after nothing"
        if path.suffix not in (".h", ".hpp", ".cpp") or not path.is_file() or "testdata" in path.parts:
            continue
        for number, line in enumerate(path.read_text().split("\n"), 1):
            code = code_of(line)
            if EAST.search(code):
                yield f"{path.relative_to(ROOT)}:{number}: const belongs on the left: {line.strip()}"
            if path.relative_to(ROOT).parts[0] in ("src", "apps") and not path.stem.endswith("_test") and \
                    "testing" not in path.parts and BARE_CODE.search(NAMED_CODE.sub("", code)):
                yield f"{path.relative_to(ROOT)}:{number}: a result code without a name: {line.strip()}"


end(faults(), "one dialect")
