"""The front door in C++, C and Python, used as strangers use it: installed into an empty folder, found by pkg-config or
add_subdirectory. All languages give the same answers to one table of cases, and the README's programs
do what it says.

Usage: languages.py BUILD_FOLDER
"""

import hashlib
import importlib.util
import os
import pathlib
import re
import shutil
import signal
import socket
import subprocess
import sys
import time
import unittest

HERE = pathlib.Path(__file__).resolve().parent
SOURCE = HERE.parents[1]
sys.path.insert(0, str(SOURCE / "tests" / "system"))
BUILD = pathlib.Path(sys.argv.pop(1)).resolve()
os.environ["CHRONOSEAL_BIN"] = str(BUILD / "bin")

import forge  # noqa: E402
import program  # noqa: E402
from program import run_tool as run  # noqa: E402
from asn1crypto import cms  # noqa: E402
from page_server import PageServer  # noqa: E402

PYTHON = "/usr/bin/python3"
DATA = b"the data that is stamped\n"
README = (SOURCE / "README.md").read_text()


def missing_modules():
    """What the Python package's build and tests need and this machine hasn't got."""
    return [name for name in ("cffi", "setuptools", "venv", "pip", "pytest", "mypy") if
            importlib.util.find_spec(name) is None]


class Stage:
    """Everything that the cases name: files, stamps, authorities."""

    def __init__(self, workspace, live):
        self.folder = workspace.path
        root = forge.issue(self.folder, "root", ca=True)
        self.signer = forge.issue(self.folder, "signer", root)
        revoked = forge.issue(self.folder, "revoked", root)
        self.files = {
            "data": workspace.write("data", DATA), "other": workspace.write("other", b"other data\n"),
            "missing": self.folder / "missing", "text": workspace.write("text", b"hello\n"), "live": live.root,
            "forge": root.write_pem(self.folder / "forge.pem"),
            "list": workspace.write("list", forge.make_crl(root, [(revoked.serial, forge.now() - forge.days(2), None)]))}
        good = self.token(self.signer)
        expired = forge.issue(self.folder, "expired", root, end=forge.now() - forge.days(1))
        usage = forge.issue(self.folder, "usage", root, usage=("time_stamping", "code_signing"))
        unsourced = forge.issue(self.folder, "unsourced", root, crl_url="http://127.0.0.1:1/list")
        stamps = {
            "good": good, "forged": good[:-1] + bytes([good[-1] ^ 1]), "revoked": self.token(revoked),
            "expired": self.token(expired), "usage": self.token(usage), "unsourced": self.token(unsourced),
            "refusal": forge.make_response(None, status=2, text="not today"), "cut": good[:-9]}
        signed = self.sign()
        value = cms.ContentInfo.load(signed)["content"]["signer_infos"][0]["signature"].native
        line = hashlib.sha256(DATA).hexdigest().encode() + b"  data\n"
        others = {
            "signed": signed, "tampered": signed[:-1] + bytes([signed[-1] ^ 1]), "of_signed": self.token(self.signer, value),
            "empty": b"", "lines": line * 3, "no_lines": line + b"hello\n", "md5": b"0" * 32 + b"  data\n",
            "mixed": line + b"0" * 96 + b"  data\n"}
        self.files.update((name, workspace.write(name, content)) for name, content in {**stamps, **others}.items())
        refusal = forge.make_response(None, status=2, text="not today", failure_bit=15)
        self.server = PageServer({  # what authorities shouldn't do
            "broken": lambda _: (500, {}, b""), "refusing": lambda _: (200, {}, refusal),
            "substituting": lambda body: (200, {}, forge.answer(self.signer, body, digest=bytes(32)))})
        self.urls = {"live": live.url, "unreachable": "http://127.0.0.1:1/", "malformed": "gopher://x/",
                     **{name: self.server.url + name for name in self.server.pages}}

    @staticmethod
    def token(signer, data=DATA):
        return forge.make_token(signer, forge.tst_info(hashlib.sha256(data).digest()))

    def sign(self):
        """A CMS signature by OpenSSL, with its content and its signer's certificate in it."""
        def openssl(*command):
            run("openssl", *command, cwd=self.folder)

        openssl("req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:P-256", "-nodes", "-keyout", "person.key",
                "-out", "person.pem", "-subj", "/CN=Person", "-days", "9")
        openssl("cms", "-sign", "-binary", "-nodetach", "-in", "data", "-signer", "person.pem", "-inkey", "person.key",
                "-outform", "DER", "-out", "person.p7s")
        return (self.folder / "person.p7s").read_bytes()


def cases():
    for line in (HERE / "cases.tsv").read_text().splitlines():
        if not line.startswith("#"):
            columns = line.split("\t")
            yield columns + [""] * (10 - len(columns))


class Languages(program.SystemTest):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.folder = cls.workspace.path
        cls.prefix = cls.folder / "prefix"
        run("cmake", "--install", BUILD, "--prefix", cls.prefix)
        cls.authority = program.Authority(cls.folder / "tsa")
        cls.addClassCleanup(cls.authority.close)
        cls.stage = Stage(cls.workspace, cls.authority)
        cls.addClassCleanup(cls.stage.server.close)
        libraries = next(cls.prefix.glob("lib*/**/libchronoseal.so")).parent
        packages = next(cls.prefix.glob("lib*/**/pkgconfig"))
        cls.environment = dict(cls.workspace.environment, LD_LIBRARY_PATH=str(libraries), PYTHONDONTWRITEBYTECODE="1",
                               PKG_CONFIG_PATH=str(packages), CHRONOSEAL_TEST_URL=cls.authority.url,
                               CHRONOSEAL_TEST_ROOT=str(cls.authority.root))
        cls.flags = run("pkg-config", "--cflags", "--libs", "chronoseal", env=cls.environment).split()
        cls.python = None if missing_modules() else cls.make_python()

    @classmethod
    def make_python(cls):
        """An environment with the package in it, made without a network."""
        environment = cls.folder / "venv"
        run(PYTHON, "-m", "venv", "--system-site-packages", environment)
        package = shutil.copytree(SOURCE / "python", cls.folder / "python")  # building leaves files behind
        python = environment / "bin" / "python"
        run(python, "-m", "pip", "install", "--no-index", "--no-build-isolation", package, env=cls.environment)
        return python

    def compile(self, source, out):
        language = {".c": ["cc", "-std=c99", "-pedantic"], ".cpp": ["c++", "-std=c++20"]}[source.suffix]
        run(*language, "-Wall", "-Wextra", "-Werror", "-Wno-missing-field-initializers", source, "-o", out, *self.flags)
        return out

    def need_python(self):
        if self.python is None:
            self.skipTest(f"Python has no {', '.join(missing_modules())} here")
        return self.python

    def check_cases(self, *runner):
        answers = []
        for name, action, of, data, roots, evidence, status, word, check, policy in cases():
            with self.subTest(name):
                self.workspace.configure(f"[config.cades.tsppolicy]\n{policy}\n" if policy else "")
                places = self.stage.urls if action in ("seal", "authenticode") else self.stage.files
                arguments = [action, places[of],
                             self.stage.files[data], self.stage.files[roots]]
                arguments += [self.stage.files[evidence]] if evidence != "-" else []
                first, *findings = run(*runner, *arguments, env=self.environment).splitlines()
                self.assertEqual(first, f"{status} {word}")
                self.assertIn(len(findings), (0, 13))
                failed = [line.split()[0] for line in findings if line.split()[1] == "failed"]
                self.assertEqual(failed[:1], [check] if check != "-" else [])
                answers.append((name, first, findings))
        return answers

    def test_all_languages_give_the_same_answers(self):
        by_language = {}
        for suffix in (".cpp", ".c"):
            runner = self.compile(HERE / f"case_runner{suffix}", self.folder / f"case{suffix[1:]}")
            by_language[suffix] = self.check_cases(runner)
        if self.python is not None:
            by_language[".py"] = self.check_cases(self.python, HERE / "case_runner.py")
        for answers in by_language.values():
            self.assertEqual(answers, by_language[".cpp"])
        if self.python is None:
            self.need_python()

    def test_python_package(self):
        python = self.need_python()
        out = run(python, "-m", "pytest", "-q", "-p", "no:cacheprovider", self.folder / "python" / "tests",
                  env=self.environment)
        self.assertRegex(out, r"\b\d+ passed")

    def test_an_interruption_in_python_does_not_wait_for_a_silent_server(self):
        """Neither does the end of the program, whether or not it catches the interruption."""
        python = self.need_python()
        with socket.create_server(("127.0.0.1", 0)) as server:
            url = f"http://127.0.0.1:{server.getsockname()[1]}/"
            root = forge.issue(self.folder, "silent root", ca=True)
            token = self.stage.token(forge.issue(self.folder, "silent", root, crl_url=url, ocsp_url=url + "ocsp"))
            stamp, roots = self.workspace.write("silent.tsr", token), root.write_pem(self.folder / "silent.pem")
            for action, end in (("seal", "caught"), ("verify", "caught"), ("verify", "uncaught"), ("seal", "uncaught")):
                with self.subTest(action=action, end=end), subprocess.Popen(
                        [python, HERE / "interrupted.py", action, end, url, stamp, self.stage.files["data"], roots],
                        env=self.environment, stderr=subprocess.PIPE, text=True) as process:
                    with server.accept()[0]:  # it waits now
                        began = time.monotonic()
                        process.send_signal(signal.SIGINT)
                        told = process.communicate(timeout=60)[1]
                        self.assertLess(time.monotonic() - began, 10)
                        server.settimeout(0)
                        self.assertRaises(BlockingIOError, server.accept)  # nobody was asked after that
                        server.settimeout(None)
                    self.assertEqual(process.returncode, 7 if end == "caught" else -signal.SIGINT, told)

    def test_example_in_python(self):
        documents = self.folder / "documents"
        documents.mkdir()
        for name in ("a", "b"):
            (documents / name).write_bytes(name.encode())
        shown = run(self.need_python(), SOURCE / "examples" / "stamp_in_python.py", documents, "http://127.0.0.1:1/",
                    self.authority.url, self.authority.root, env=self.environment)
        self.assertIn("2 stamped, 0 failed", shown)
        for name in ("a", "b"):
            run("openssl", "ts", "-verify", "-data", documents / name, "-in", documents / f"{name}.tsr", "-CAfile",
                self.authority.root)

    def test_python_package_is_typed(self):
        python = self.need_python()
        installed = next((self.folder / "venv").glob("lib/python*/site-packages/chronoseal"))
        run(python, "-m", "mypy", "--strict", "--cache-dir", self.folder / "mypy", installed)
        use = self.workspace.write("use.py", b"import chronoseal\nstamp: int = chronoseal.Sealer('x').seal('y')\n")
        shown = run(python, "-m", "mypy", "--strict", "--cache-dir", self.folder / "mypy", use, expected=1)
        self.assertIn('variable has type "int"', shown)  # users see the types

    def readme(self, language):
        """The README's program in this language, asking the live authority."""
        blocks = re.findall(rf"^```{language}\n(.*?)^```$", README, re.M | re.S)
        self.assertEqual(len(blocks), 1, f"README has {len(blocks)} programs in {language}")
        self.assertIn("https://tsa.example/", blocks[0])
        return blocks[0].replace("https://tsa.example/", self.authority.url)

    def expect_readme_program(self, *command):
        place = self.folder / "readme"
        place.mkdir(exist_ok=True)
        (place / "report.pdf").write_bytes(DATA)
        shutil.copy(self.authority.root, place / "tsa-root.pem")
        shown = run(*command, cwd=place, env=self.environment)
        self.assertEqual(len(re.findall(r"^(?:status|imprint|chain|strength)\b", shown, re.M)), 4, shown)
        run("openssl", "ts", "-verify", "-data", place / "report.pdf", "-in", place / "report.pdf.tsr", "-CAfile",
            place / "tsa-root.pem")
        (place / "report.pdf.tsr").unlink()
        (place / "tsa-root.pem").write_bytes(self.stage.files["forge"].read_bytes())  # nobody's here
        result = subprocess.run([str(part) for part in command], cwd=place, env=self.environment, capture_output=True)
        self.assertNotEqual(result.returncode, 0)
        self.assertFalse((place / "report.pdf.tsr").exists())

    def test_readme_programs(self):
        for language, suffix in (("cpp", ".cpp"), ("c", ".c")):
            source = self.workspace.write(f"readme{suffix}", self.readme(language).encode())
            self.expect_readme_program(self.compile(source, self.folder / f"readme-{language}"))

    def test_readme_program_in_python(self):
        source = self.workspace.write("readme.py", self.readme("python").encode())
        self.expect_readme_program(self.need_python(), source)

    def test_an_outsider_by_add_subdirectory(self):
        """A project of somebody else's around the README's program. Building the library once more takes minutes: the
        outsider's own source is compiled as the project says, and linked with the libraries that are there already."""
        # Their names may be those of our floors and tools.
        own = "core seal client base atl asn1 asn1rt asn1data sup visibility schemac httplib loopback reference man_pages docs"
        folder, build = self.folder / "outsider", self.folder / "outsider" / "build"
        folder.mkdir()
        (folder / "main.cpp").write_text(self.readme("cpp"))
        (folder / "CMakeLists.txt").write_text(
            "cmake_minimum_required(VERSION 3.25)\nproject(outsider LANGUAGES C CXX)\n"
            f'foreach(name {own} uninstall)\n  add_custom_target(${{name}})\nendforeach()\n'
            f'add_subdirectory("{SOURCE}" chronoseal EXCLUDE_FROM_ALL)\n'
            "add_executable(outsider main.cpp)\ntarget_link_libraries(outsider PRIVATE chronoseal::chronoseal)\n")
        hidden = [f"-DCMAKE_DISABLE_FIND_PACKAGE_{package}=ON" for package in
                  ("GTest", "benchmark", "CLI11", "nlohmann_json", "fmt")]
        run("cmake", "-G", "Ninja", "-S", folder, "-B", build, *hidden)
        targets = run("ninja", "-C", build, "-t", "targets", "all")
        self.assertIn("libchronoseal.so", targets)
        self.assertNotRegex(targets, r"\w+_test:|chronoseal_(tsa|cli):|bench_\w+:")
        commands = run("ninja", "-C", build, "-t", "commands", "CMakeFiles/outsider.dir/main.cpp.o").splitlines()
        own = [line for line in commands if " -o CMakeFiles/outsider.dir/main.cpp.o " in line]
        self.assertEqual(len(own), 1)
        (build / "CMakeFiles" / "outsider.dir").mkdir(parents=True, exist_ok=True)
        run("sh", "-c", own[0], cwd=build)
        linked = [line for line in run("ninja", "-C", build, "-t", "commands", "outsider").splitlines()
                  if "-o outsider" in line]
        self.assertIn("libchronoseal.so", linked[-1])
        run("c++", build / "CMakeFiles/outsider.dir/main.cpp.o", "-o", build / "outsider",
            *[flag for flag in self.flags if not flag.startswith("-I")])
        self.expect_readme_program(build / "outsider")


if __name__ == "__main__":
    program.main()
