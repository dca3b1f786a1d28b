"""Options are written once: man pages, completions and the schema agree with the programs."""

import json
import os
import pathlib
import pty
import shutil
import subprocess
import time
import unittest

import program
from end_to_end import WithAuthority
from page_server import PageServer, passed_on
from program import GOOD, REFUSED, UNREACHABLE

HOUSE = pathlib.Path(__file__).resolve().parents[2]
COMPLETION = HOUSE / "completion"


def have(tool):
    return unittest.skipUnless(shutil.which(tool), f"{tool} isn't installed")


class Lists(program.SystemTest):
    def test_man_pages_and_completions_are_up_to_date(self):
        result = subprocess.run(["/usr/bin/python3", HOUSE / "tools" / "option-lists", "--check", program.BIN],
                                capture_output=True, text=True)
        self.assertEqual(result.returncode, 0, result.stdout + result.stderr)

    def test_every_key_of_the_configuration_is_in_its_man_page(self):
        page = (HOUSE / "docs" / "man" / "basalt-config.5").read_text().replace("\\-", "-")
        keys = [row["key"] for row in self.workspace.run_json("policy", "show")[1]["keys"]]
        self.assertGreater(len(keys), 40)
        for key in keys:
            self.assertIn(key.rsplit(".", 1)[-1], page)

    def complete(self, *words):
        """What bash offers for the last of the words."""
        script = (f'source {COMPLETION}/chronoseal.bash; COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); compopt() {{ :; }}; '
                  '_chronoseal; printf "%s\\n" "${COMPREPLY[@]}"')
        result = subprocess.run(["bash", "-c", script, "bash", "chronoseal", *words], capture_output=True, text=True)
        self.assertEqual(result.stderr, "")
        return result.stdout.split()

    def test_bash_completes(self):
        self.assertEqual(self.complete("sta"), ["stamp"])
        self.assertIn("--skip-existing", self.complete("stamp", "--sk"))
        self.assertEqual(self.complete("verify", "--revocation", "a"), ["available"])
        self.assertEqual(self.complete("--json", "trust", "a"), ["add"])
        self.assertIn("--sha256", self.complete("trust", "add", "--s"))
        self.assertEqual(self.complete("stamp", "--url", "h"), [])

    @have("zsh")
    def test_zsh_reads_it(self):
        for name in ("_chronoseal", "_chronoseal-tsa"):
            result = subprocess.run(["zsh", "-n", COMPLETION / name], capture_output=True)
            self.assertEqual((result.returncode, result.stderr), (0, b""))

    @have("fish")
    def test_fish_completes(self):
        result = subprocess.run(["fish", "-c", f"source {COMPLETION}/chronoseal.fish; complete -C 'chronoseal verify --revocation '"],
                                capture_output=True, text=True)
        self.assertEqual(sorted(line.split()[0] for line in result.stdout.splitlines()), ["available", "off", "require"])

    @have("groff")
    def test_man_pages_have_no_slips(self):
        for page in (HOUSE / "docs" / "man").glob("*.[15]"):
            result = subprocess.run(["groff", "-man", "-ww", "-z", "-Tutf8", page], capture_output=True, text=True)
            self.assertEqual((result.returncode, result.stderr), (0, ""), page.name)

    def test_every_command_has_help_with_what_it_ends_with(self):
        tree = json.loads(self.workspace.run("help", "--dump").stdout)
        for command in tree["commands"]:
            shown = self.workspace.run("help", command["name"]).stdout.decode()
            self.assertIn(command["help"], shown.replace("\n", " "))
            shown = [shown, *(self.workspace.run("help", command["name"], inner["name"]).stdout.decode()
                              for inner in command["commands"])]
            for one in shown:
                self.assertIn("Exit status", one)
                self.assertIn("Example", one)


class Colour(WithAuthority):
    def on_a_terminal(self, *words, **environment):
        leader, follower = pty.openpty()
        process = subprocess.Popen([program.BIN / "chronoseal", *words], stdout=follower, stderr=follower,
                                   env={**self.workspace.environment, **environment})
        os.close(follower)
        shown = b""
        try:
            while piece := os.read(leader, 4096):
                shown += piece
        except OSError:  # how a terminal ends
            pass
        os.close(leader)
        process.wait(30)
        return shown

    def test_good_and_bad_are_coloured_unless_that_is_not_wanted(self):
        data = self.workspace.write("coloured", b"content")
        self.expect(self.workspace.run("stamp", data, *self.trust), GOOD)
        verify = ("verify", f"{data}.tsr", "-v")
        self.assertIn(b"\x1b[32m", self.on_a_terminal(*verify, *self.roots, NO_COLOR="", TERM="xterm"))
        self.assertIn(b"\x1b[31m", self.on_a_terminal(*verify, NO_COLOR="", TERM="xterm"))
        self.assertNotIn(b"\x1b[3", self.on_a_terminal(*verify, NO_COLOR="", TERM="dumb"))
        self.assertNotIn(b"\x1b[3", self.on_a_terminal(*verify, NO_COLOR="1"))
        self.assertNotIn(b"\x1b[3", self.workspace.run(*verify, *self.roots).stdout)

    def test_progress_is_shown_to_whoever_sits_there(self):
        def slow(body):
            time.sleep(0.1)  # ten a second over each of the four connections, on whatever machine
            return passed_on(self.authority.url, body)

        server = PageServer({"": slow})
        self.addCleanup(server.close)
        files = [self.workspace.write(f"one-of-many-{i}", b"x") for i in range(60)]
        stamp = ("stamp", *files, "--url", server.url, *self.roots)
        self.assertRegex(self.on_a_terminal(*stamp), rb"\d+ of 60, \d+ a second, \d+ s left")
        self.assertNotIn(b"second", self.on_a_terminal(*stamp, "--force", "-q"))


class Schema(WithAuthority):
    def members(self, value):
        if isinstance(value, dict):
            for name, one in value.items():
                yield name
                yield from self.members(one)
        elif isinstance(value, list):
            for one in value:
                yield from self.members(one)

    def told_in(self, schema):
        if isinstance(schema, dict):
            yield from schema.get("properties", {}) if isinstance(schema.get("properties"), dict) else ()
            for one in schema.values():
                yield from self.told_in(one)
        elif isinstance(schema, list):
            for one in schema:
                yield from self.told_in(one)

    def test_every_member_is_told(self):
        if program.validator is None:
            self.skipTest("python3-jsonschema isn't installed: nothing that the tests print is held against the schema")
        told = set(self.told_in(program.validator.schema))
        data = self.workspace.write("data", b"content")
        self.workspace.configure('[config.cades.tsppolicy]\nRequireNonse = true\n')
        trust = self.trust
        stamp, query = self.workspace.path / "data.tsr", self.workspace.path / "data.tsq"
        for words, status in ((("stamp", data, *trust), GOOD), (("stamp", data, *trust), UNREACHABLE),
                              (("stamp", data, *trust, "--skip-existing"), GOOD),
                              (("verify", stamp, *self.roots), GOOD), (("verify", stamp), REFUSED),
                              (("verify", stamp, stamp, "/no/such"), UNREACHABLE), (("info", stamp), GOOD),
                              (("request", data, "--out", query, "--cert"), GOOD), (("info", query), GOOD),
                              (("send", query, "--out", stamp, "--force", *trust), GOOD), (("policy", "show"), GOOD),
                              (("doctor", *trust), None), (("trust", "list"), GOOD),
                              (("trust", "remove", "00" * 32), None), (("nonsense",), program.USAGE)):
            with self.subTest(words):
                result = self.workspace.run(*words, "--json")
                self.assertIn(result.returncode, (status,) if status is not None else (0, 1, 2, 3), result.stderr)
                shown = json.loads(result.stdout)
                self.assertEqual(set(self.members(shown)) - told, set())
                self.assertEqual("error" in json.dumps(shown), result.returncode != GOOD)

    def test_the_validator_would_find_something(self):
        if program.validator is None:
            self.skipTest("python3-jsonschema isn't installed")
        for wrong in ({"command": "info", "ok": True}, {"command": "verify", "ok": False, "file": "x", "data": None},
                      {"command": "policy show", "ok": False, "keys": [], "unknown": [], "problems": [], "usable": False},
                      {"command": None, "ok": True}, {"ok": True},
                      {"command": "trust remove", "ok": True, "sha256": "XY"}):
            with self.subTest(wrong), self.assertRaises(AssertionError):
                program.check_json(json.dumps(wrong))


if __name__ == "__main__":
    program.main()
