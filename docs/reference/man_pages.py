"""Writes manual pages (section 3) from the comments of <chronoseal/chronoseal.h>: one for each function, and one for
the whole. What a page says stands in the header and nowhere else.

Usage: man_pages.py HEADER VERSION OUT_FOLDER
"""

import dataclasses
import pathlib
import re
import sys

STATUS = ("\\fBCHRONOSEAL_OK\\fR if it was done, else \\fBCHRONOSEAL_REFUSED\\fR for what was found to be bad or is "
          "forbidden, \\fBCHRONOSEAL_MISUSE\\fR for values that make no sense, or \\fBCHRONOSEAL_UNREACHABLE\\fR for "
          "what could not be reached, read or judged. The error tells more: see \\fBchronoseal_error_word\\fR(3).")
COMMENTED = re.compile(r"((?:^//.*\n)+)((?!//).+(?:\n(?!//|\n).*)*)", re.M)


@dataclasses.dataclass
class Function:
    name: str
    section: str
    comment: str
    declaration: str


def words_of(comment):
    """The text of a comment without its slashes, a paragraph a line."""
    return "\n".join(line[3:] for line in comment.strip().split("\n"))


def escape(text):
    text = text.replace("\\", "\\e").replace("-", "\\-")
    return re.sub(r"^([.'])", r"\\&\1", text, flags=re.M)


def prose(text):
    """Names in backticks are bold."""
    return re.sub(r"`([^`]+)`", r"\\fB\1\\fR", escape(text))


def verbatim(text):
    return ".nf\n.RS 4\n" + escape(text.rstrip("\n")) + "\n.RE\n.fi\n"


def read(header):
    """The functions, and the definitions of the structs and enumerations, by name."""
    functions, types, section = [], {}, ""
    body = header[header.index("// ---- "):]
    for part in re.split(r"\n\n+", body):
        if part.startswith("// ---- "):
            section = part.strip("/- ")
            continue
        for comment, code in COMMENTED.findall(part + "\n"):
            if code.startswith("CHRONOSEAL_API"):
                name = re.search(r"\b(chronoseal_\w+)\(", code[len("CHRONOSEAL_API"):]).group(1)
                declaration = re.sub(r"\n +", "\n    ", code.replace("CHRONOSEAL_API ", "").rstrip("\n"))
                functions.append(Function(name, section, words_of(comment), declaration))
    for definition in re.finditer(r"^typedef (?:struct|enum) (chronoseal_\w+) \{.*?^\} \1;$", body, re.M | re.S):
        types[definition.group(1)] = definition.group(0)
    return functions, types


def title(name, version):
    return f'.TH {name.upper()} 3 "" "chronoseal {version}" "chronoseal"\n'


def summary(function):
    """The first sentence for the NAME section."""
    sentence = re.split(r"[.;:](?:\s|$)", function.comment.replace("\n", " "), maxsplit=1)[0]
    return escape((sentence[0].lower() + sentence[1:]).replace("`", ""))


def types_of(text, types):
    """What the text names, and what that names in turn, but for the status, which every page tells."""
    found = []
    waiting = [text]
    while waiting:
        for name in dict.fromkeys(re.findall(r"chronoseal_\w+", waiting.pop(0))):
            if name in types and name not in found and name != "chronoseal_status":
                found.append(name)
                waiting.append(types[name])
    return found


def page(function, functions, types, version):
    text = title(function.name, version)
    text += f".SH NAME\n{function.name} \\- {summary(function)}\n.SH SYNOPSIS\n"
    text += verbatim(f"#include <chronoseal/chronoseal.h>\n\n{function.declaration}\n\n"
                     "cc ... $(pkg-config --cflags --libs chronoseal)")
    text += f".SH DESCRIPTION\n{prose(function.comment)}\n"
    shown = types_of(function.declaration, types)
    if shown:
        text += ".SH TYPES\n" + ".PP\n".join(verbatim(types[name]) for name in shown)
    if function.declaration.startswith("chronoseal_status") and "error)" in function.declaration.split(",")[-1]:
        text += f".SH RETURN VALUE\n{STATUS}\n"
    others = [other.name for other in functions if other.section == function.section and other is not function]
    text += ".SH SEE ALSO\n" + ",\n".join(f"\\fB{name}\\fR(3)" for name in ["chronoseal", *others]) + "\n"
    return text


def overview(header, functions, version):
    head = words_of(header[:header.index("#ifndef")])
    first, rest = head.split("\n", 1)
    text = title("chronoseal", version) + f".SH NAME\nchronoseal \\- {escape(first.split(': ')[1].split('. ')[0])}\n"
    text += ".SH SYNOPSIS\n" + verbatim("#include <chronoseal/chronoseal.h>\n\ncc ... $(pkg-config --cflags --libs "
                                       "chronoseal)") + ".SH DESCRIPTION\n"
    example = re.search(r"(?:^(?: {4}.*)?\n)+", rest, re.M)
    text += verbatim(re.sub(r"^    ", "", example.group(0).strip("\n"), flags=re.M))
    for line in rest[example.end():].split("\n"):
        # Each paragraph of the head begins with what it is about.
        topic = re.match(r"([A-Z][a-z]+(?: and [a-z]+)?):? ", line)
        text += (".PP\n" if topic and (":" in topic.group(0) or line.startswith(("Text is", "Sizes"))) else "")
        text += prose(line) + "\n"
    for section in dict.fromkeys(function.section for function in functions):
        text += f".SS {escape(section)}\n"
        for function in functions:
            if function.section == section:
                text += f".TP\n\\fB{function.name}\\fR(3)\n{summary(function)}\n"
    return text + ".SH SEE ALSO\n\\fBchronoseal\\fR(1),\n\\fBbasalt-config\\fR(5)\n"


def main(header, version, out):
    text = pathlib.Path(header).read_text(encoding="utf-8")
    folder = pathlib.Path(out)
    folder.mkdir(parents=True, exist_ok=True)
    for old in folder.glob("*.3"):
        old.unlink()
    functions, types = read(text)
    (folder / "chronoseal.3").write_text(overview(text, functions, version), encoding="utf-8")
    for function in functions:
        (folder / f"{function.name}.3").write_text(page(function, functions, types, version), encoding="utf-8")


main(*sys.argv[1:])
