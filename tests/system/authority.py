"""chronoseal-tsa: what it writes, whom it hangs up on, what it logs, and which hashes it stamps."""

import re
import socket
import stat
import subprocess
import time

import program
from program import GOOD, UNREACHABLE, USAGE


def tsa(*words):
    return subprocess.run([program.BIN / "chronoseal-tsa", *map(str, words)], capture_output=True, timeout=60)


class Making(program.SystemTest):
    def test_keys_are_the_owner_s_alone(self):
        folder = self.workspace.path / "own"
        self.assertEqual(tsa("--init", folder).returncode, GOOD)
        for name, mode in (("root.key", 0o600), ("tsa.key", 0o600), ("root.pem", 0o644)):
            self.assertEqual(stat.S_IMODE((folder / name).stat().st_mode), mode, name)
        result = tsa("--init", folder)
        self.assertEqual((result.returncode, len(result.stderr.splitlines())), (UNREACHABLE, 1))

    def test_what_cannot_be_served_is_told(self):
        result = tsa("--dir", self.workspace.path / "none")
        self.assertEqual(result.returncode, UNREACHABLE)
        self.assertIn(b"No such file or directory; --init DIR", result.stderr)
        authority = program.Authority(self.workspace.path / "first")
        self.addCleanup(authority.close)
        result = tsa("--dir", self.workspace.path / "first", "--port", authority.url.rsplit(":", 1)[1].strip("/"))
        self.assertEqual(result.returncode, UNREACHABLE, result.stdout)

    def test_no_key_is_written_through_a_link_or_over_a_file(self):
        for name in ("root.key", "tsa.key", "tsa.pem", "root.crl"):
            with self.subTest(name):
                folder = self.workspace.path / f"planted-{name}"
                folder.mkdir()
                (folder / name).symlink_to(self.workspace.path / f"victim-{name}")
                self.assertEqual(tsa("--init", folder).returncode, UNREACHABLE)
                self.assertFalse((self.workspace.path / f"victim-{name}").exists())
                self.assertEqual([path.name for path in folder.iterdir()], [name], "nothing was begun")


class Words(program.SystemTest):
    def test_version_and_help(self):
        version = tsa("--version")
        self.assertRegex(version.stdout.decode(), r"^chronoseal-tsa \d+\.\d+\.\d+\n$")
        shown = tsa("--help").stdout.decode()
        for fragment in ("Examples:", "Exit status:", "--init DIR", "never for production"):
            self.assertIn(fragment, shown)

    def test_wrong_usage_is_one_line(self):
        for words in ((), ("--init", "a", "--dir", "b"), ("--port", "x", "--dir", "a"), ("--dir", "a", "--imprint", "crc32"),
                      ("--key", "dsa", "--init", "a"), ("--frob",), ("--dir", "a", "--accuracy", "1", "-2", "3"),
                      ("--init", "a", "--port", "1"), ("--dir", "a", "--days", "3"), ("--dir", "a", "--policy", "x"),
                      ("--init", "a", "--crl-url", "http://a/,DNS:b")):
            with self.subTest(words):
                result = tsa(*words)
                self.assertEqual(result.returncode, USAGE)
                self.assertRegex(result.stderr.decode(), r"^chronoseal-tsa: [^\n]+\n$")


class Serving(program.SystemTest):
    def authority(self, *options):
        folder = self.workspace.path / self.id().rsplit(".", 1)[-1]
        log = open(self.workspace.path / f"{folder.name}.log", "w+b")
        self.addCleanup(log.close)
        authority = program.Authority(folder, *options, stderr=log)
        self.addCleanup(authority.close)
        authority.address = ("127.0.0.1", int(authority.url.rsplit(":", 1)[1].strip("/")))
        authority.log = log.name
        return authority

    def stamp(self, authority, name, *words):
        data = self.workspace.write(name, b"content")
        return self.workspace.run("stamp", data, "--url", authority.url, "--roots", authority.root, "--force", *words)

    def assert_hung_up(self, connection, within):
        begin = time.monotonic()
        connection.settimeout(within)
        while connection.recv(4096):
            pass
        self.assertLess(time.monotonic() - begin, within)

    def test_a_signal_ends_it_however_early_it_comes(self):
        folder = self.workspace.path / "early"
        tsa("--init", folder)
        for _ in range(30):
            with subprocess.Popen([program.BIN / "chronoseal-tsa", "--dir", folder], stdout=subprocess.PIPE) as process:
                process.stdout.readline()
                process.terminate()
                self.assertEqual(process.wait(timeout=20), GOOD)

    def test_idle_connections_are_hung_up_on_and_keep_nobody_out(self):
        authority = self.authority("--idle", "1")
        idle = [socket.create_connection(authority.address) for _ in range(150)]
        for connection in idle:
            self.addCleanup(connection.close)
        self.expect(self.stamp(authority, "behind-idle"), GOOD)
        for connection in idle[::30]:
            self.assert_hung_up(connection, 5)

    def test_a_hash_that_it_does_not_stamp_is_refused(self):
        self.expect(self.stamp(self.authority(), "weak", "--hash", "SHA-1"), program.REFUSED, "badAlg")

    def test_a_request_has_a_time_of_its_own(self):
        authority = self.authority("--idle", "1", "--limit", "2")
        connection = socket.create_connection(authority.address)
        self.addCleanup(connection.close)
        connection.sendall(b"POST / HTTP/1.1\r\n")
        begin = time.monotonic()
        with self.assertRaises(OSError):
            for _ in range(100):  # each byte comes in good time; the whole never
                connection.sendall(b"x")
                time.sleep(0.2)
        self.assertLess(time.monotonic() - begin, 8)

    def test_a_line_for_each_request_with_foreign_text_quoted(self):
        authority = self.authority()
        self.expect(self.stamp(authority, "logged"), GOOD)
        self.expect(self.stamp(authority, "refused", "--policy", "1.2.3"), program.REFUSED, "unacceptedPolicy")
        for path in (b"/\x1b[2J\xe2\x80\xae", b"/" + b"a" * 4000):
            with socket.create_connection(authority.address) as connection:
                connection.sendall(b"GET " + path + b" HTTP/1.1\r\nConnection: close\r\n\r\n")
                while connection.recv(4096):
                    pass
        with open(authority.log, "rb") as log:
            lines = log.read().splitlines()[1:]
        self.assertEqual(len(lines), 4, lines)
        for line, pattern in zip(lines, (rb'127\.0\.0\.1 "POST /" \d+ bytes: 200 granted 0x[0-9A-F]+$',
                                         rb'200 rejection unacceptedPolicy$', rb'"GET /\\x1b\[2J\\xe2\\x80\\xae".* 404$',
                                         rb'"GET /a{100,130}\.\.\.".* 404$')):
            self.assertRegex(line, rb"^\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ " if pattern.startswith(b"127") else pattern)
            self.assertTrue(re.search(pattern, line), line)

    def test_every_hash_it_offers_is_one_that_the_client_reads(self):
        offered = tsa("--dir", "x", "--imprint", "none").stderr.decode()
        names = re.search("choose of (.*);", offered)[1].split(", ")
        self.assertGreater(len(names), 10)
        authority = self.authority("--imprint", *names)
        for name in names:
            with self.subTest(name):
                self.expect(self.stamp(authority, "hashed", "--hash", name), GOOD)
                shown = self.workspace.run_json("info", self.workspace.path / "hashed.tsr")[1]
                self.assertEqual(shown["token"]["imprint"]["algorithm"], name)


if __name__ == "__main__":
    program.main()
