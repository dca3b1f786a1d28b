"""`chronoseal stamp` against servers that misbehave: a clear line each time, no hang. What each fault of HTTP and TLS
costs and how it ends is tested beside the network functions."""

import hashlib
import shutil
import socket
import subprocess
import time

import forge
import program
from asn1crypto import tsp
from page_server import PageServer
from program import BIN, GOOD, REFUSED, UNREACHABLE, USAGE

TIME_OUT_MILLISECONDS = 3000
LOOK_UP_SECONDS = 90
# In the place of the C library's: no name server answers.
SILENT_NAMES = b"""#include <netdb.h>
#include <unistd.h>
int getaddrinfo(const char* node, const char* service, const struct addrinfo* hints,
                struct addrinfo** found) {
    (void)node, (void)service, (void)hints, (void)found;
    sleep(%d);
    return EAI_AGAIN;
}
""" % LOOK_UP_SECONDS


def slow(_):
    yield b"HTTP/1.1 200 OK\r\nContent-Length: 1000\r\n\r\n"
    for _ in range(100):
        yield b"0"
        time.sleep(0.1)


class ServerTest(program.SystemTest):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        _, cls.tsa, cls.roots = forge.authority(cls.workspace.path)
        cls.server = PageServer({
            "good": lambda body: (200, {"Content-Type": "application/timestamp-reply"}, forge.answer(cls.tsa, body)),
            "html": lambda body: (200, {"Content-Type": "text/html"}, forge.answer(cls.tsa, body)),
            "cut": lambda body: [b"HTTP/1.1 200 OK\r\nContent-Length: 9999\r\n\r\n" + forge.answer(cls.tsa, body)],
            "slow": slow})
        cls.addClassCleanup(cls.server.close)
        cls.file = cls.workspace.write("file", b"content")
        cls.out = cls.workspace.path / "out"

    def setUp(self):
        self.server.headers = None
        self.out.unlink(missing_ok=True)
        self.workspace.configure(
            f"[config.network]\nTotalTimeoutMilliseconds = {TIME_OUT_MILLISECONDS}\n")

    def stamp(self, page, *options, url=None):
        return self.workspace.run("stamp", self.file, "--url", url or self.server.url + page,
                                  "--roots", self.roots, "--force", "--out", self.out, *options)

    def test_good_one_and_wrong_content_type(self):
        self.expect(self.stamp("good"), GOOD)
        self.assertEqual(self.server.headers["content-type"], "application/timestamp-query")
        self.assertEqual(self.server.headers["user-agent"], "chronoseal/1.0")
        # The bytes are judged, not what the server calls them.
        self.expect(self.stamp("html"), GOOD)

    def test_nothing_there(self):
        with socket.socket() as free:
            free.bind(("127.0.0.1", 0))
            port = free.getsockname()[1]
        for url, status, code in ((f"http://127.0.0.1:{port}/", UNREACHABLE, "0x80072EFD"),
                                  ("http://no-such-host.invalid/", UNREACHABLE, "0x80072EE7"),
                                  ("ftp://127.0.0.1/", USAGE, ""), ("not an address", USAGE, "")):
            with self.subTest(url):
                self.expect(self.stamp("", url=url), status, code)

    def test_a_slow_server_is_left_in_time(self):
        begin = time.monotonic()
        self.expect(self.stamp("slow", "--attempts", 1), UNREACHABLE, "0x80072EE2")
        self.assertLess(time.monotonic() - begin, TIME_OUT_MILLISECONDS / 1000 + 6)

    def test_silent_name_servers_are_not_waited_for(self):
        """Neither by the exchange nor when it is over: a look-up can't be broken off."""
        compiler = shutil.which("cc")
        if compiler is None or b"libasan" in (BIN / "chronoseal").read_bytes():
            self.skipTest("needs cc, and a program that takes preloaded libraries")
        source = self.workspace.write("silent_names.c", SILENT_NAMES)
        library = source.with_suffix(".so")
        subprocess.run([compiler, "-shared", "-fPIC", "-o", library, source], check=True)
        self.workspace.environment["LD_PRELOAD"] = str(library)
        self.addCleanup(self.workspace.environment.pop, "LD_PRELOAD")
        begin = time.monotonic()
        self.expect(self.stamp("", "--attempts", 1, url="http://slow.example/"), UNREACHABLE, "0x80072EE2")
        self.assertLess(time.monotonic() - begin, LOOK_UP_SECONDS / 2)

    def test_an_answer_that_is_cut_off_leaves_no_file(self):
        self.expect(self.stamp("cut"), UNREACHABLE)
        self.assertFalse(self.out.exists())

    def test_credentials_in_an_address_are_never_sent_told_nor_traced(self):
        self.workspace.environment["BASALT_TRACE"] = "all"
        self.addCleanup(self.workspace.environment.pop, "BASALT_TRACE")
        url = self.server.url.replace("://", "://somebody:secret@")
        for result in (self.stamp("", url=url + "good"), self.stamp("good", "--proxy", url),
                       self.stamp("good", "--proxy", url, "--json")):
            self.assertEqual(result.returncode, USAGE, result.stderr)
            self.assertIn(b"***@", result.stdout + result.stderr)
            self.assertNotIn(b"secret", result.stdout + result.stderr)
        self.assertIsNone(self.server.headers)

    def test_policy_defaults_are_taken(self):
        self.workspace.configure(
            f'[config.cades.tsppolicy]\nDefaultTSPURL = "{self.server.url}good"\n'
            'DefaultHashAlg = "2.16.840.1.101.3.4.2.3 the long one"\n')
        result = self.workspace.run("stamp", self.file, "--roots", self.roots, "--force", "--out", self.out, "--no-verify")
        # The forged answer names SHA-256 for whatever it is asked.
        request = self.workspace.path / "request.tsq"
        self.expect(self.workspace.run("request", self.file, "--out", request), GOOD)
        imprint = tsp.TimeStampReq.load(request.read_bytes())["message_imprint"]
        self.assertEqual(imprint["hash_algorithm"]["algorithm"].native, "sha512")
        self.assertEqual(imprint["hashed_message"].native, hashlib.sha512(b"content").digest())
        self.expect(result, REFUSED, "SHA-256, not by SHA-512")


if __name__ == "__main__":
    program.main()
