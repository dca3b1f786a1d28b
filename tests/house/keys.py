"""Holds the lists of configuration keys against each other: the table that `policy show` and `doctor` go by
(known_keys.cpp), the policy that requests read (request_policy.cpp), the literals by which the rest of the code
reads, docs/configuration.md and the man page basalt-config.5. A key that one of them lacks, a type or a default that
differs, is a failure.

Usage: keys.py
"""

import re

from report import ROOT, end

POLICY = "config.cades.tsppolicy"
# How the documents name the types of the table.
WORDS = {"number": "number", "scheme": "number", "flag": "switch", "text": "string", "list": "list"}
# The types of the policy's fields that read a key of that kind.
FIELDS = {"number": "CGPLong", "scheme": "CGPLong", "flag": "CGPBool", "text": "CGPString", "list": "CGPStrings"}


def text(path):
    return (ROOT / path).read_text()


def known():
    """{key: (kind, default)}; a `*` in a key stands for any name."""
    keys = {}
    for kind, path, rest in re.findall(r'^    (number|scheme|flag|text|list)\("((?:\\\\[\w*-]+)+)"(.*)\),$',
                                       text("src/platform/sup/known_keys.cpp"), re.M):
        default = re.match(r', "([^"]*)"', rest)
        implied = {"scheme": "0", "flag": "false"}.get(kind, "")
        keys[path.replace("\\\\", ".")[1:]] = (kind, default.group(1) if default else implied)
    return keys


def read_by_requests():
    """{key: (field's type, default)}."""
    declared = re.findall(r"^    (CGP\w+) (\w+);", text("src/client/request_policy.h"), re.M)
    fields = {name: kind for kind, name in declared}
    loaded = re.findall(r'load\((\w+), L"(\w+)"(?:, ([^)]*))?\);', text("src/client/request_policy.cpp"))
    result = {}
    for field, name, arguments in loaded:
        default = arguments.rstrip("L") if arguments and not arguments.startswith('L"') else ""
        result[f"{POLICY}.{name}"] = (fields.pop(field, "no field"), default)
        if field != name:
            yield f"request_policy.cpp: the field {field} reads {name}"
    for field in fields:
        yield f"request_policy.h: nothing loads {field}"
    yield result


def expanded(cell, keys):
    """The keys that a cell names; `A`, ... `B` are all known ones between the two."""
    names = re.findall(r"`([\w.-]+)`", cell)
    if "..." not in cell:
        return names
    ordered = [key.rsplit(".", 1)[1] for key in keys if key.startswith(POLICY)]
    return ordered[ordered.index(names[0]):ordered.index(names[1]) + 1]


def table_of(title):
    return re.search(r"\[+([\w.]+)\]+", title).group(1)


def in_document(keys):
    """(key, type, default) of each row of docs/configuration.md."""
    table, columns = None, []
    for line in text("docs/configuration.md").split("\n"):
        if line.startswith("## "):
            table = table_of(line) if "[" in line else None
        cells = [cell.strip() for cell in line.strip("|").split("|")]
        if table and line.startswith("| key"):
            columns = cells
        elif table and line.startswith("| `"):
            row = dict(zip(columns, cells))
            names = expanded(row["key"], keys)
            defaults = row["default"].split(", ")
            for place, name in enumerate(names):
                yield f"{table}.{name}", row["type"], defaults[place if len(defaults) == len(names) else 0]


def in_manual():
    """(key, type, default) of each entry of the man page; the default is None where none is told."""
    table, entry = None, False
    for line in text("docs/man/basalt-config.5").split("\n"):
        if line.startswith((".SS", ".SH")):
            table = table_of(line) if "[" in line else None
        elif table and entry and line.startswith((".BR", ".BI", ".B ")):
            line = re.sub(r"(\w+\.) (?=[A-Z]+ )", r"\1", line[4:])
            told = re.findall(r'([\w.-]+) (?:", " )?(?="|$)|\((\w+)(?:, ([^)]*))?\)', line)
            names = [name for name, _, _ in told if name]
            types = [(kind, default) for _, kind, default in told if kind]
            for place, name in enumerate(names):
                yield (f"{table}.{name}", *types[place if len(types) == len(names) else 0])
        entry = line == ".TP"


def general(key):
    """As the table has it: the places where a name of the user's choice stands."""
    key = re.sub(r"^(config\.chronoseal\.authority)\.", r"\1.*.", key)
    return re.sub(r"^(config\.trace\.levels)\.\w+$", r"\1.*", key)


def plain(default):
    default = default.replace("\\(dq", "").strip('`"')
    return "" if default in ("none", "empty", "the policy's") else default


def faults():
    keys = known()
    if len(keys) < 60:
        yield "known_keys.cpp: most keys aren't found by this test"
    *wrong, read = read_by_requests()
    yield from wrong
    for key, (field, default) in read.items():
        kind, told = keys.get(key, ("none", ""))
        if FIELDS.get(kind) != field:
            yield f"{key}: known as {kind}, read as {field}"
        elif told != default:
            yield f"{key}: known with the default {told!r}, read with {default!r}"
    code = "".join(path.read_text() for path in sorted((ROOT / "src").rglob("*.cpp"))
                   if path.name != "known_keys.cpp" and not path.name.endswith("_test.cpp"))
    for key in keys:
        if key not in read and "*" not in key.rsplit(".", 1)[1] and f'{key.rsplit(".", 1)[1]}"' not in code:
            yield f"{key}: nothing reads it"
    for path in re.findall(r'"((?:\\\\[\w]+){3,})"', code):
        key = general(path.replace("\\\\", ".")[1:])
        if key.startswith("config.") and key not in keys and not any(one.startswith(key + ".") for one in keys):
            yield f"{key}: read, but not known"
    for where, rows in (("configuration.md", list(in_document(keys))), ("basalt-config.5", list(in_manual()))):
        told = set()
        for key, kind, default in rows:
            told.add(general(key))
            if general(key) not in keys:
                yield f"{where}: {key} isn't known"
                continue
            real, preset = keys[general(key)]
            if WORDS[real] != kind:
                yield f"{where}: {key} is a {WORDS[real]}, not a {kind}"
            if default and plain(default) != preset:
                yield f"{where}: the default of {key} is {preset!r}, not {default!r}"
        for key in keys:
            if key not in told:
                yield f"{where}: {key} is missing"


end(faults(), "one list of keys")
