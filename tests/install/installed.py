"""Installs the library into an empty folder and uses it as a stranger would: examples by find_package, every
installed header compiled by itself and beside other libraries' headers, all that they declare found in the library.

Usage: installed.py BUILD_FOLDER
"""

import os
import pathlib
import re
import subprocess
import sys
import unittest

SOURCE = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(SOURCE / "tests" / "system"))
os.environ["CHRONOSEAL_BIN"] = str(pathlib.Path(sys.argv[1]) / "bin")
BUILD = pathlib.Path(sys.argv.pop(1))

import program  # noqa: E402
from program import GOOD, run_tool as run  # noqa: E402

CLASS = re.compile(r"^(?:class|struct) (?:CHRONOSEAL_API )?(\w+)[^;{]*\{(.*?)^\};", re.M | re.S)


def functions(header):
    """What it declares and doesn't define itself."""
    text = re.sub("//.*", "", header)
    for name, inner in CLASS.findall(text):
        outside = re.sub(r"\{[^{}]*\}", "@", re.sub(r"\{[^{}]*\}", "@", inner))
        for method in re.findall(r"^    (?!using|friend|operator|static_assert)[^\n;(@]*?(~?\w+|operator\W+)\(([^;@]*);", outside, re.M):
            if not re.search("= *(?:0|default|delete)$", method[1]):
                yield f"{name}::{method[0]}"
    yield from re.findall(r"^(?!using|inline|typedef|template)\w[^;{(#]*?\b(\w+)\([^;{]*;", CLASS.sub("", text), re.M)


class Installed(program.SystemTest):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.prefix = cls.workspace.path / "prefix"
        run("cmake", "--install", BUILD, "--prefix", cls.prefix)
        cls.authority = program.Authority(cls.workspace.path / "tsa")
        cls.addClassCleanup(cls.authority.close)
        # The library is found where it was installed, and nowhere else.
        libraries = next(cls.prefix.glob("lib*/**/libchronoseal.so")).parent
        cls.environment = dict(cls.workspace.environment, LD_LIBRARY_PATH=str(libraries),
                               BASALT_SYSTEM_ROOTS=str(cls.authority.root))

    def test_examples_by_find_package(self):
        folder = self.workspace.path / "by-cmake"
        run("cmake", "-G", "Ninja", "-S", SOURCE / "examples", "-B", folder,
            f"-DCMAKE_PREFIX_PATH={self.prefix}")
        run("cmake", "--build", folder)
        data = self.workspace.write("data", b"example data")
        token = self.workspace.path / "example.tst"
        run(folder / "stamp_file", data, self.authority.url, token, env=self.environment)
        for verify in ("verify_token", "verify_stamp"):
            self.assertIn("good", run(folder / verify, data, token, self.authority.root,
                                      env=self.environment))
        run(folder / "stamp_in_c", data, self.authority.url, token, self.authority.root, env=self.environment)
        documents = self.workspace.path / "documents"
        documents.mkdir()
        (documents / "a").write_bytes(b"a")
        (documents / "b").write_bytes(b"b")
        shown = run(folder / "stamp_folder", documents, "http://127.0.0.1:1/", self.authority.url,
                    self.authority.root, env=self.environment)
        self.assertIn("2 stamped, 0 failed", shown)
        shown = run(folder / "read_token", token, env=self.environment)
        self.assertIn("2.16.840.1.101.3.4.2.1", shown)
        self.expect(self.workspace.run("verify", token, "--data", data, "--roots",
                                       self.authority.root), GOOD)

    def headers(self, *folders):
        include = self.prefix / "include"
        found = [path.relative_to(include) for folder in folders for path in sorted((include / folder).rglob("*.h*"))]
        self.assertGreater(len(found), 20)
        return found

    def compiled(self, headers, *flags):
        """The compiler's complaint about a file that includes these; empty: none."""
        text = "".join(f"#include <{header}>\n" for header in headers)
        result = subprocess.run(["c++", "-std=c++20", "-fsyntax-only", f"-I{self.prefix / 'include'}", *flags,
                                 "-x", "c++", "-"], input=text, text=True, capture_output=True)
        return "" if result.returncode == 0 else text[:100] + result.stderr[:1000]

    def test_every_header_stands_alone(self):
        all_of_them = self.headers("chronoseal", "basalt")
        for headers in [all_of_them] + [[header] for header in all_of_them]:
            self.assertEqual(self.compiled(headers), "")

    def beside(self, headers, others, packages):
        """Compiled in front of and behind others' headers."""
        found = subprocess.run(["pkg-config", "--cflags", *packages], capture_output=True, text=True)
        if found.returncode != 0:
            raise unittest.SkipTest("not installed: one of " + ", ".join(packages))
        flags = found.stdout.split()
        for order in (headers + others, others + headers):
            self.assertEqual(self.compiled(order, *flags), "")
        return flags

    def test_headers_stand_beside_those_of_others(self):
        self.beside(self.headers("chronoseal", "basalt"), ["glib.h", "openssl/x509.h", "curl/curl.h"],
                    ["glib-2.0", "openssl", "libcurl"])

    def test_the_librarys_headers_stand_beside_smart_card_ones(self):
        others = ["winscard.h", "glib.h", "openssl/x509.h", "curl/curl.h"]
        flags = self.beside(self.headers("chronoseal"), others, ["libpcsclite", "glib-2.0", "openssl", "libcurl"])
        # The platform's can't: there DWORD and LONG have 64 bits. Whoever tries is told so.
        self.assertIn("no file can include both", self.compiled(["winscard.h", "basalt/types.h"], *flags))

    def test_all_that_the_headers_declare_is_exported(self):
        library = next(self.prefix.glob("lib*/**/libchronoseal.so"))
        exported = re.sub(r"<\w+>(?=::)|\[abi:\w+\]|@@.*", "(", run("nm", "-DC", "--defined-only", library)).replace("(::", "::")
        headers = self.headers("chronoseal")
        declared = {name for header in headers for name in functions((self.prefix / "include" / header).read_text())}
        self.assertGreater(len(declared), 700)
        self.assertEqual([name for name in sorted(declared) if not re.search(rf"\b{re.escape(name)}\(", exported)], [])
        # And what is written out there calls nothing else.
        everything = self.workspace.write("everything.cpp", "".join(
            [f"#include <{header}>\n" for header in headers] + ["int main() {}\n"]).encode())
        result = subprocess.run(
            ["c++", "-std=c++20", "-fkeep-inline-functions", f"-I{self.prefix / 'include'}", everything, library, "-o",
             self.workspace.path / "everything", f"-Wl,-rpath-link,{library.parent}"], capture_output=True, text=True)
        self.assertEqual(re.findall("undefined reference to `(?!std::).*", result.stderr), [])

    def test_no_run_path_leads_to_the_current_directory(self):
        run(sys.executable, SOURCE / "tests" / "house" / "runpath.py", self.prefix)

    def test_installed_programs_run(self):
        out = run(self.prefix / "bin" / "chronoseal", "--version")
        self.assertIn("chronoseal 1.0.0", out)


if __name__ == "__main__":
    program.main()
