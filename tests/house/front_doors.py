"""Holds the three front doors against each other: each public name of C++ is in front_doors.tsv with what it is in C and
in Python, or with the reason why it is nothing there; and nothing in the table is made up.

Usage: front_doors.py
"""

import ast
import pathlib
import re

from report import ROOT, end

TABLE = pathlib.Path(__file__).with_name("front_doors.tsv")
DECLARATION = re.compile(
    r"^(?:(?:class|struct) (?:CHRONOSEAL_API )?(?P<class>\w+)[^;{]*\{(?P<inner>.*?)^\};"
    r"|enum class (?P<enum>\w+) \{|CHRONOSEAL_API [^;]*?\b(?P<function>\w+)\("
    r"|inline constexpr [\w:]+ (?P<constant>\w+)|inline (?!constexpr)[^;{]*?\b(?P<inline>\w+)\(|using (?P<alias>\w+) =)",
    re.M | re.S)


def without_comments(path):
    return re.sub(r"//.*|^#.*", "", path.read_text(), flags=re.M)


def methods(inner):
    """The names of what can be called of a class."""
    flat = re.sub(r"\{[^{}]*\}", ";", re.sub(r"\{[^{}]*\}", ";", inner.split("private:")[0]))
    for line in re.findall(r"^    (?!using|friend)(?:[^\n;(]*?\s)?(\w+)\(", flat, re.M):
        yield line


def names_in_cpp():
    for header in ("chronoseal.hpp", "evidence.hpp"):
        for found in DECLARATION.finditer(without_comments(ROOT / "src/seal" / header)):
            name = next(found[kind] for kind in ("class", "enum", "function", "constant", "inline", "alias") if found[kind])
            yield name
            if found["class"]:
                yield from (f"{name}::{one}" for one in methods(found["inner"]) if one not in (name, "operator"))


def names_in_c():
    text = without_comments(ROOT / "src/c_interface/chronoseal.h")
    return {*re.findall(r"^CHRONOSEAL_API[^;]*?\b(chronoseal_\w+)\(", text, re.M),
            *re.findall(r"^typedef (?:struct|enum) (chronoseal_\w+)", text, re.M), "chronoseal_time"}


def names_in_python():
    """What `__all__` has, and the members of its classes."""
    members, exported = {}, []
    for path in sorted((ROOT / "python/chronoseal").glob("*.py")):
        for node in ast.parse(path.read_text()).body:
            if isinstance(node, ast.ClassDef):
                own = {part.name for part in node.body if isinstance(part, ast.FunctionDef)}
                own |= {part.target.id for part in node.body if isinstance(part, ast.AnnAssign)}
                own |= set(re.findall(r"self\.(\w+) = ", ast.unparse(node)))
                members[node.name] = own
            if isinstance(node, ast.Assign) and ast.unparse(node.targets[0]) == "__all__":
                exported = ast.literal_eval(node.value)
    return {*exported, *(f"{name}.{one}" for name in exported for one in members.get(name, ()))}, set(exported)


def rows():
    for line in TABLE.read_text().splitlines():
        if not line.startswith("#"):
            columns = line.split("\t")
            yield [[name for name in column.split(", ") if name != "-"] for column in columns[:3]], columns[3]


def faults():
    told = [set(), set(), set()]
    for names, reason in rows():
        if (reason == "") != all(names):
            yield f"{names[0][0]}: a reason stands where C or Python has nothing, and nowhere else"
        for column, own in zip(told, names):
            column.update(own)
    python, exported = names_in_python()
    for language, there, table, all_of_them in (
            ("C++", set(names_in_cpp()), told[0], None), ("C", names_in_c(), told[1], None),
            ("Python", python, told[2], exported)):
        for name in sorted((there if all_of_them is None else all_of_them) - table):
            yield f"{name} of {language} isn't in {TABLE.name}"
        for name in sorted(table - there):
            yield f"{TABLE.name} tells of {name}, which {language} hasn't got"


end(faults(), "three doors into one house")
