"""Runs the built programs in a throw-away environment, and counts the tests for ctest's reader."""

import json
import os
import pathlib
import signal
import socket
import subprocess
import sys
import tempfile
import time
import unittest

BIN = pathlib.Path(os.environ.get("CHRONOSEAL_BIN", "build/bin")).resolve()
GOOD, REFUSED, USAGE, UNREACHABLE = 0, 1, 2, 3
SCHEMA = pathlib.Path(__file__).resolve().parents[2] / "docs" / "chronoseal.schema.json"
SKIPPED = 77  # what ctest takes for a test that could not run
try:
    import jsonschema
    validator = jsonschema.Draft202012Validator(json.loads(SCHEMA.read_text()))
except ImportError:  # said by the test of the schema itself
    validator = None
FAKETIME = sorted(pathlib.Path("/usr/lib").glob("*/faketime/libfaketime.so.1"))
NO_OTHER_CLOCK = (not FAKETIME or "CHRONOSEAL_SANITIZED" in os.environ,
                  "libfaketime is not here, or can't go with the sanitizers")
os.umask(0o022)  # configuration that others may write to is refused


def check_json(text):
    """Whatever a test has the command print is held against the schema that its users rely on."""
    if validator is not None:
        error = jsonschema.exceptions.best_match(validator.iter_errors(json.loads(text)))
        if error is not None:
            raise AssertionError(f"not as the schema says: {error.message[:300]} at {error.json_path}\n{text[:2000]!r}")


def by_clock(when):
    """What the environment of a process that lives at another time has besides. The program `faketime` does the same,
    but for a name that it takes from its process number, which may be taken."""
    return {"LD_PRELOAD": str(FAKETIME[0]), "FAKETIME": when, "NO_FAKE_STAT": "1"}


class Workspace:
    """A folder of its own for files, configuration, home and caches; gone with the object."""

    def __init__(self):
        self._folder = tempfile.TemporaryDirectory(prefix="chronoseal-test-")
        self.path = pathlib.Path(self._folder.name)
        self.environment = dict(
            os.environ, HOME=str(self.path / "home"), XDG_CACHE_HOME=str(self.path / "cache"),
            XDG_DATA_HOME=str(self.path / "data"), XDG_CONFIG_HOME=str(self.path / "xdg"),
            BASALT_CONFIG=str(self.path / "config.toml"),
            BASALT_USER_STORES=str(self.path / "stores"),
            BASALT_MACHINE_STORES=str(self.path / "machine-stores"),
            BASALT_SYSTEM_ROOTS=str(self.path / "no-roots.pem"))
        self.configure("")
        (self.path / "home").mkdir()

    def close(self):
        self._folder.cleanup()

    def configure(self, text):
        (self.path / "config.toml").write_text(text)

    def write(self, name, content):
        path = self.path / name
        path.write_bytes(content)
        return path

    def run(self, *arguments, stdin=None, timeout=120, **keywords):
        """`stdin` is what stands there, or a descriptor."""
        streams = {"stdin" if isinstance(stdin, int) else "input": stdin, "capture_output": True, "env": self.environment, **keywords}
        result = subprocess.run([BIN / "chronoseal", *map(str, arguments)], timeout=timeout, **streams)
        if "--json" in arguments:
            check_json(result.stdout)
        elif "--json-lines" in arguments:
            for line in result.stdout.splitlines():
                check_json(line)
        return result

    def run_json(self, *arguments, **keywords):
        result = self.run(*arguments, "--json", **keywords)
        return result.returncode, json.loads(result.stdout)

    def interrupted(self, *arguments, **keywords):
        """Ended by the keyboard's signal while it waits, with standard input still open."""
        process = subprocess.Popen([BIN / "chronoseal", *map(str, arguments)], env=self.environment, stdin=subprocess.PIPE,
                                   stdout=subprocess.PIPE, stderr=subprocess.PIPE, **keywords)
        try:
            # It waits for signals in a thread of its own from here on.
            wait_until(lambda: len(os.listdir(f"/proc/{process.pid}/task")) > 1)
            time.sleep(0.2)
            process.send_signal(signal.SIGINT)
            process.wait(5)
        finally:
            process.kill()
            shown = process.communicate()
        return subprocess.CompletedProcess(process.args, process.returncode, *shown)


def openssl(*arguments, stdin=None):
    return subprocess.run(["openssl", *map(str, arguments)], input=stdin, capture_output=True)


def run_tool(*command, expected=0, **keywords):
    """What it printed; the test fails if it ends otherwise."""
    result = subprocess.run([str(part) for part in command], capture_output=True, text=True, **keywords)
    if result.returncode != expected:
        raise AssertionError(f"{command[:4]}: {result.returncode}\n{result.stdout[-3000:]}{result.stderr[-3000:]}")
    return result.stdout


class Authority:
    """A running chronoseal-tsa."""

    def __init__(self, folder, *options, init=(), stderr=subprocess.DEVNULL):
        self.folder = pathlib.Path(folder)
        subprocess.run([BIN / "chronoseal-tsa", "--init", self.folder, *init], check=True,
                       capture_output=True)
        self.process = subprocess.Popen(
            [BIN / "chronoseal-tsa", "--dir", self.folder, *options],
            stdout=subprocess.PIPE, stderr=stderr, text=True)
        line = self.process.stdout.readline()
        self.url = line.split()[-1]
        self.root = self.folder / "root.pem"

    def close(self):
        self.process.terminate()
        self.process.wait(timeout=20)
        self.process.stdout.close()


class SystemTest(unittest.TestCase):
    """Base of the tests: a workspace for each class, and assertions over exit status and message."""

    @classmethod
    def setUpClass(cls):
        cls.workspace = Workspace()
        cls.addClassCleanup(cls.workspace.close)

    def setUp(self):
        self.workspace.configure("")

    def listener(self):
        """In a server's place, with its address: who connects would be seen by `accept`, which else ends in TimeoutError."""
        listener = socket.create_server(("127.0.0.1", 0))
        self.addCleanup(listener.close)
        listener.settimeout(0.2)
        return listener, f"http://127.0.0.1:{listener.getsockname()[1]}/"

    def stays_small(self, most, status, *arguments):
        """The command ends with this status, and had never more than so many mebibytes at once."""
        code = ("import resource, subprocess, sys\n"
                "done = subprocess.run(sys.argv[1:])\n"
                "print(resource.getrusage(resource.RUSAGE_CHILDREN).ru_maxrss)\n"
                "sys.exit(done.returncode)\n")
        result = subprocess.run(["python3", "-c", code, BIN / "chronoseal", *map(str, arguments)],
                                env=self.workspace.environment, capture_output=True, text=True)
        self.assertEqual(result.returncode, status, result.stderr)
        if "CHRONOSEAL_SANITIZED" not in os.environ:
            self.assertLess(int(result.stdout.split()[-1]), most * 1024, "kilobytes resident")

    def expect(self, result, status, *fragments):
        line = result.stderr.decode(errors="replace").strip()
        self.assertEqual(result.returncode, status, f"{line}\n{result.stdout[:400]!r}")
        if status != GOOD:
            self.assertEqual(len(line.splitlines()), 1, f"not one line: {line}")
        for fragment in fragments:
            self.assertIn(fragment, line)
        return line


def main():
    program = unittest.main(exit=False, verbosity=1)
    result = program.result
    failed = len(result.failures) + len(result.errors)
    passed = result.testsRun - failed - len(result.skipped)
    print(f"{passed} passed, {failed} failed, {len(result.skipped)} skipped")
    if result.wasSuccessful() and passed == 0:
        sys.exit(SKIPPED)
    sys.exit(0 if result.wasSuccessful() else 1)


def wait_until(condition, seconds=10):
    end = time.monotonic() + seconds
    while not condition():
        if time.monotonic() > end:
            raise TimeoutError
        time.sleep(0.02)
