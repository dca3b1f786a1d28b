"""Makes chronoseal._native, the module in C: its declarations are those of the installed <chronoseal/chronoseal.h>.

Fails where pkg-config doesn't find the library; PKG_CONFIG_PATH names the folder of its chronoseal.pc.
"""

import pathlib
import re
import subprocess

from cffi import FFI

# What the library tells of one by one, and the type of it.
TOLD = {
    "algorithm": "chronoseal_hash_algorithm", "authority": "chronoseal_authority",
    "diagnosis": "chronoseal_diagnosis", "line": "chronoseal_manifest_line", "problem": "char",
    "root": "chronoseal_trusted_root", "setting": "chronoseal_setting", "store": "chronoseal_store",
}
# Functions of Python that the library calls.
CALLBACKS = """
extern "Python" int chronoseal_python_progress(void* user, uint64_t done, uint64_t total);
extern "Python" int chronoseal_python_next(void* user, chronoseal_item* item);
extern "Python" int chronoseal_python_done(void* user, const chronoseal_batch_result* result);
""" + "".join(f'extern "Python" int chronoseal_python_{name}(void* user, const {kind}* {name});\n'
              for name, kind in TOLD.items())


def pkg_config(*arguments: str) -> "list[str]":
    result = subprocess.run(["pkg-config", *arguments, "chronoseal"], check=True, stdout=subprocess.PIPE, text=True)
    return result.stdout.split()


def declarations(header: pathlib.Path) -> str:
    """The header without what only a compiler understands."""
    text = re.sub(r"//.*", "", header.read_text(encoding="utf-8"))
    text = re.sub(r"#ifdef __cplusplus.*?#endif", "", text, flags=re.S)
    constants = re.findall(r"^#define CHRONOSEAL_\w+ \d+$", text, flags=re.M)
    text = re.sub(r"^\s*#.*$", "", text, flags=re.M)
    return "\n".join([*constants, text.replace("CHRONOSEAL_API", "")])


folders = [flag[2:] for flag in pkg_config("--cflags-only-I", "--keep-system-cflags")]
found = [header for folder in folders if (header := pathlib.Path(folder, "chronoseal/chronoseal.h")).exists()]
if not found:
    raise SystemExit("chronoseal/chronoseal.h isn't where pkg-config says: install the library's headers")
builder = FFI()
builder.cdef(declarations(found[0]) + CALLBACKS)
builder.set_source(
    "chronoseal._native", "#include <chronoseal/chronoseal.h>", libraries=["chronoseal"], include_dirs=folders,
    library_dirs=[flag[2:] for flag in pkg_config("--libs-only-L")])
