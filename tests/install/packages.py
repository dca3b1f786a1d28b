"""The Debian packages, made of the tree that is built: what is in them, and whether command and Python package run from
them.

Usage: packages.py BUILD_FOLDER
"""

import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import textwrap
import unittest

SOURCE = pathlib.Path(__file__).resolve().parents[2]
BUILD = pathlib.Path(sys.argv.pop(1)).resolve()
NEEDED = ("dpkg-buildpackage", "dh", "dh_python3", "dpkg-deb", "readelf")
MODULES = "usr/lib/python3/dist-packages"
sys.path.insert(0, str(SOURCE / "tests" / "system"))
os.environ["CHRONOSEAL_BIN"] = str(BUILD / "bin")

import program  # noqa: E402


def run(*command, **keywords):
    return subprocess.run([str(part) for part in command], capture_output=True, text=True, **keywords)


@unittest.skipUnless(all(map(shutil.which, NEEDED)) and run("/usr/bin/python3", "-c", "import cffi, setuptools").returncode == 0,
                     "dpkg-dev, debhelper, dh-python, binutils, python3-cffi or python3-setuptools isn't installed")
class Packages(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory(prefix="chronoseal-packages-")
        cls.addClassCleanup(folder.cleanup)
        cls.folder = pathlib.Path(folder.name)
        made = run(SOURCE / "packaging" / "build-packages", "--tree", BUILD, "--out", cls.folder)
        if made.returncode != 0:
            raise AssertionError((made.stdout + made.stderr)[-4000:])
        cls.packages = {path.name.split("_")[0]: path for path in cls.folder.glob("*.deb")}
        cls.root = cls.folder / "root"
        for package in cls.packages.values():
            subprocess.run(["dpkg-deb", "-x", package, cls.root], check=True)
        cls.libraries = next(cls.root.glob("usr/lib/**/libchronoseal.so.1")).parent

    def test_what_is_in_them(self):
        self.assertEqual({"libchronoseal1", "libchronoseal-dev", "chronoseal", "python3-chronoseal"}, set(self.packages))
        for name in ("usr/bin/chronoseal", "usr/bin/chronoseal-tsa", "usr/include/chronoseal/chronoseal.hpp",
                     "usr/share/man/man1/chronoseal.1.gz", "usr/share/man/man1/chronoseal-tsa.1.gz",
                     "usr/share/man/man5/basalt-config.5.gz", "usr/share/bash-completion/completions/chronoseal",
                     "usr/share/fish/vendor_completions.d/chronoseal.fish", "usr/share/zsh/vendor-completions/_chronoseal",
                     "usr/share/doc/chronoseal/copyright", "usr/share/doc/libchronoseal1/copyright",
                     "lib/systemd/system/chronoseal-tsa.service", f"{MODULES}/chronoseal/py.typed",
                     f"{MODULES}/chronoseal/_native.pyi", "usr/share/doc/python3-chronoseal/copyright"):
            self.assertTrue((self.root / name).exists(), name)
        self.assertTrue(list(self.libraries.glob("pkgconfig/chronoseal.pc")))
        holds = {name: run("dpkg-deb", "-c", path).stdout for name, path in self.packages.items()}
        self.assertIn("libbasaltnet.so", holds["libchronoseal1"])
        self.assertNotIn("/include/", holds["libchronoseal1"])
        self.assertNotIn("bin/chronoseal", holds["libchronoseal-dev"])
        self.assertNotIn("dist-packages/tests", holds["python3-chronoseal"])
        self.assertRegex(run("dpkg-deb", "-f", self.packages["python3-chronoseal"], "Depends").stdout,
                         r"python3:any \(>= 3\.9.*libchronoseal1 \(>= ")

    def test_nothing_has_a_runpath(self):
        looked_at = 0
        for path in [*(self.root / "usr/bin").iterdir(), *self.libraries.glob("*.so.*"), *self.root.glob(f"{MODULES}/*/*.so")]:
            if not path.is_symlink():
                looked_at += 1
                self.assertNotRegex(run("readelf", "-d", path).stdout, r"RUNPATH|RPATH", path.name)
        self.assertGreater(looked_at, 7)

    def stage(self, **more):
        """A throw-away home and an authority; only what the packages hold is found."""
        workspace = program.Workspace()
        self.addCleanup(workspace.close)
        authority = program.Authority(workspace.path / "tsa")
        self.addCleanup(authority.close)
        return dict(workspace.environment, **more), authority, workspace.write("data", b"content")

    def test_the_command_runs_from_there(self):
        environment, authority, data = self.stage(LD_LIBRARY_PATH=str(self.libraries))
        command = self.root / "usr/bin/chronoseal"
        version = run(command, "--version", env=environment)
        wanted = re.search(r"VERSION ([0-9.]+)", (SOURCE / "CMakeLists.txt").read_text().split("project(")[1])[1]
        self.assertEqual(version.stdout.split()[-1], wanted, version.stderr)
        for words in (("stamp", data, "--url", authority.url), ("verify", f"{data}.tsr")):
            result = run(command, *words, "--roots", authority.root, env=environment)
            self.assertEqual(result.returncode, 0, result.stderr)

    def test_it_installs_by_dpkg(self):
        if os.geteuid() != 0:
            self.skipTest("dpkg --root wants root")
        root = self.folder / "installed"
        (root / "var/lib/dpkg/updates").mkdir(parents=True)
        (root / "var/lib/dpkg/info").mkdir()
        (root / "var/lib/dpkg/status").touch()
        result = run("dpkg", f"--root={root}", "--force-depends", "--force-not-root", "--force-script-chrootless", "--no-triggers",
                     "--unpack", *self.packages.values(), env={**os.environ, "DPKG_MAINTSCRIPT_DEBUG": "0"})
        self.assertEqual(result.returncode, 0, result.stderr)
        listed = run("dpkg-query", f"--admindir={root}/var/lib/dpkg", "-W", "-f", "${Package} ").stdout.split()
        self.assertEqual(sorted(listed), sorted(self.packages))

    def test_the_python_package_stamps_and_reads_from_there(self):
        modules = self.root / MODULES
        environment, authority, data = self.stage(LD_LIBRARY_PATH=str(self.libraries), PYTHONPATH=str(modules))
        source = """
            import chronoseal, pathlib, sys
            assert pathlib.Path(chronoseal.__file__).is_relative_to(sys.argv[1]), chronoseal.__file__
            stamp = chronoseal.Sealer(sys.argv[2], roots=sys.argv[3]).seal(sys.argv[4])
            print(chronoseal.version(), chronoseal.inspect(stamp.response).kind)
            sys.exit(not chronoseal.Verifier(roots=sys.argv[3]).verify(stamp, data=sys.argv[4]))
        """
        result = run("/usr/bin/python3", "-c", textwrap.dedent(source), modules, authority.url, authority.root, data, env=environment)
        self.assertEqual((result.returncode, result.stdout), (0, "1.0.0 response\n"), result.stderr)

    @unittest.skipUnless(shutil.which("lintian"), "lintian isn't installed")
    def test_lintian_finds_no_errors(self):
        result = run("lintian", "--tag-display-limit", "0", "--allow-root", "--fail-on", "error",
                     *self.packages.values())
        self.assertEqual(result.returncode, 0, result.stdout[-3000:] + result.stderr[-500:])

    @unittest.skipUnless(shutil.which("systemd-analyze"), "systemd-analyze isn't installed")
    def test_the_unit_is_tight(self):
        unit = self.root / "lib/systemd/system/chronoseal-tsa.service"
        result = run("systemd-analyze", "security", "--offline=true", "--threshold=30", unit)
        if "unknown option" in result.stderr.lower() or "unrecognized option" in result.stderr.lower():
            self.skipTest("this systemd-analyze doesn't judge units that aren't installed")
        self.assertEqual(result.returncode, 0, (result.stdout + result.stderr)[-3000:])


if __name__ == "__main__":
    program.main()
