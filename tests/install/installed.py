"""Installs the library into an empty folder and uses it as a stranger would: examples by find_package and by
pkg-config, every installed header compiled by itself.

Usage: installed.py BUILD_FOLDER
"""

import os
import pathlib
import subprocess
import sys

SOURCE = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(SOURCE / "tests" / "system"))
os.environ["CHRONOSEAL_BIN"] = str(pathlib.Path(sys.argv[1]) / "bin")
BUILD = pathlib.Path(sys.argv.pop(1))

import program  # noqa: E402
from program import GOOD  # noqa: E402

EXAMPLES = ("stamp_file", "stamp_folder", "verify_stamp", "verify_token", "read_token")


def run(*command, **keywords):
    result = subprocess.run([str(part) for part in command], capture_output=True, text=True, **keywords)
    if result.returncode != 0:
        raise AssertionError(f"{command[:3]}: {result.stdout[-2000:]}{result.stderr[-2000:]}")
    return result.stdout


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

    def use(self, folder):
        data = self.workspace.write("data", b"example data")
        token = self.workspace.path / "example.tst"
        run(folder / "stamp_file", data, self.authority.url, token, env=self.environment)
        for verify in ("verify_token", "verify_stamp"):
            self.assertIn("good", run(folder / verify, data, token, self.authority.root,
                                      env=self.environment))
        run(folder / "stamp_in_c", data, self.authority.url, token, self.authority.root, env=self.environment)
        documents = self.workspace.path / "documents"
        documents.mkdir(exist_ok=True)
        (documents / "a").write_bytes(b"a")
        (documents / "b").write_bytes(b"b")
        shown = run(folder / "stamp_folder", documents, "http://127.0.0.1:1/", self.authority.url,
                    self.authority.root, env=self.environment)
        self.assertIn("2 stamped, 0 failed", shown)
        for path in documents.iterdir():
            path.unlink()
        shown = run(folder / "read_token", token, env=self.environment)
        self.assertIn("2.16.840.1.101.3.4.2.1", shown)
        self.expect(self.workspace.run("verify", token, "--data", data, "--roots",
                                       self.authority.root), GOOD)

    def test_examples_by_find_package(self):
        build = self.workspace.path / "by-cmake"
        run("cmake", "-G", "Ninja", "-S", SOURCE / "examples", "-B", build,
            f"-DCMAKE_PREFIX_PATH={self.prefix}")
        run("cmake", "--build", build)
        self.use(build)

    def test_examples_by_pkg_config(self):
        build = self.workspace.path / "by-pkg-config"
        build.mkdir()
        folder = next(self.prefix.glob("lib*/**/pkgconfig"))
        flags = run("pkg-config", "--cflags", "--libs", "chronoseal",
                    env=dict(os.environ, PKG_CONFIG_PATH=str(folder))).split()
        for example in EXAMPLES:
            run("c++", "-std=c++20", SOURCE / "examples" / f"{example}.cpp", "-o", build / example, *flags)
        run("cc", "-std=c99", "-Wall", "-Wextra", "-pedantic", "-Werror", SOURCE / "examples" / "stamp_in_c.c", "-o",
            build / "stamp_in_c", *flags)
        self.use(build)

    def test_every_header_stands_alone(self):
        include = self.prefix / "include"
        headers = sorted(path for folder in ("chronoseal", "basalt") for path in (include / folder).rglob("*.h*"))
        self.assertGreater(len(headers), 20)
        all_of_them = "".join(f"#include <{h.relative_to(include)}>\n" for h in headers)
        for text in [all_of_them] + [f"#include <{h.relative_to(include)}>\n" for h in headers]:
            result = subprocess.run(["c++", "-std=c++20", "-fsyntax-only", f"-I{include}", "-x", "c++", "-"],
                                    input=text, text=True, capture_output=True)
            self.assertEqual(result.returncode, 0, text[:100] + result.stderr[:1000])

    def test_no_run_path_leads_to_the_current_directory(self):
        run(sys.executable, SOURCE / "tests" / "house" / "runpath.py", self.prefix)

    def test_installed_programs_run(self):
        out = run(self.prefix / "bin" / "chronoseal", "--version")
        self.assertIn("chronoseal 1.0.0", out)


if __name__ == "__main__":
    program.main()
