"""`chronoseal stamp` against servers that misbehave: a clear line each time, no hang, bounded memory."""

import hashlib
import resource
import shutil
import socket
import socketserver
import subprocess
import threading
import time

import forge
import program
from asn1crypto import tsp
from program import BIN, GOOD, REFUSED, UNREACHABLE, USAGE

HTTP_OK = "HTTP/1.1 200 OK\r\nContent-Type: application/timestamp-reply\r\nConnection: close\r\n"
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
# Pages that stamp, and what is odd about each of their answers.
ANSWERS = {
    "good": {},
    "nononce": {"nonce": None},
    "zerononce": {"nonce": 0},
    "othernonce": {"nonce": 12345},
    "negativenonce": {"nonce": lambda n: -n},
    "shortimprint": {"cut": -1},
    "longimprint": {"pad": b"\0"},
    "emptyimprint": {"cut": 0},
    "lateclock": {"time": forge.now() - forge.days(1)},
}
# Bodies that are no stamps, and what is written in the place of a whole answer.
BODIES = {
    "noise": bytes(range(256)) * 8,
    "empty": b"",
    "refusal": forge.make_response(None, status=2, text="not today", failure_bit=15),
}
RAW = {
    "cutchunks": f"{HTTP_OK}Transfer-Encoding: chunked\r\n\r\n10\r\nabc".encode(),
    "nohttp": b"SSH-2.0-whatever\r\n",
    "hangup": b"",
}


class Handler(socketserver.StreamRequestHandler):
    def handle(self):
        request = self.rfile.readline().decode()
        size = 0
        while (line := self.rfile.readline().decode().strip()):
            name, _, value = line.partition(":")
            if name.lower() == "content-length":
                size = int(value)
            self.server.headers[name.lower()] = value.strip()
        body = self.rfile.read(size)
        self.server.hits += 1
        page = request.split()[1].strip("/")
        try:
            if page in ANSWERS:
                self.send(self.server.answer(body, **ANSWERS[page]))
            elif page in BODIES:
                self.send(BODIES[page])
            elif page in RAW:
                self.wfile.write(RAW[page])
            else:
                getattr(self, "do_" + page)(body)
        except (BrokenPipeError, ConnectionResetError):
            pass

    def send(self, body, head=HTTP_OK):
        self.wfile.write(f"{head}Content-Length: {len(body)}\r\n\r\n".encode() + body)

    def do_silent(self, _):
        time.sleep(TIME_OUT_MILLISECONDS / 1000 * 3)

    def do_slow(self, _):
        self.wfile.write(f"{HTTP_OK}Content-Length: 1000\r\n\r\n".encode())
        for _ in range(100):
            self.wfile.write(b"0")
            self.wfile.flush()
            time.sleep(0.1)

    def do_cut(self, body):
        answer = self.server.answer(body)
        self.wfile.write(f"{HTTP_OK}Content-Length: {len(answer)}\r\n\r\n".encode() +
                         answer[:len(answer) // 2])

    def do_huge(self, _):
        self.wfile.write(f"{HTTP_OK}Content-Length: {100 << 20}\r\n\r\n".encode())
        for _ in range(100):
            self.wfile.write(b"\x30" * (1 << 20))

    def do_endless(self, _):
        self.wfile.write(f"{HTTP_OK}\r\n".encode())
        for _ in range(100):
            self.wfile.write(b"\x30" * (1 << 20))

    def do_endlessextension(self, _):
        self.wfile.write(f"{HTTP_OK}Transfer-Encoding: chunked\r\n\r\n4;".encode())
        while True:
            self.wfile.write(b"x" * 4096)

    def do_html(self, body):
        head = HTTP_OK.replace("application/timestamp-reply", "text/html")
        self.send(self.server.answer(body), head)

    def do_leadingzeros(self, body):
        self.send_padded_nonce(body, 0)

    def do_otherleadingzeros(self, body):
        self.send_padded_nonce(body, 1)

    def send_padded_nonce(self, body, change):
        nonce = tsp.TimeStampReq.load(body)["nonce"].native ^ change
        self.send(self.server.answer(body, nonce=None, raw_nonce=b"\0\0" + nonce.to_bytes(9, "big")))


class Server(socketserver.ThreadingTCPServer):
    allow_reuse_address = True
    daemon_threads = True

    def __init__(self, tsa):
        super().__init__(("127.0.0.1", 0), Handler)
        self.tsa = tsa
        self.hits = 0
        self.headers = {}
        self.url = f"http://127.0.0.1:{self.server_address[1]}/"
        threading.Thread(target=self.serve_forever, daemon=True).start()

    def answer(self, body, *, nonce=lambda n: n, cut=None, pad=b"", **fields):
        request = tsp.TimeStampReq.load(body)
        sent = request["nonce"].native
        digest = request["message_imprint"]["hashed_message"].native[:cut] + pad
        info = forge.tst_info(
            digest, nonce=nonce(sent) if callable(nonce) and sent is not None else
            None if callable(nonce) else nonce, **fields)
        return forge.make_response(forge.make_token(self.tsa, info))


class ServerTest(program.SystemTest):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        folder = cls.workspace.path
        root = forge.issue(folder, "root", ca=True)
        cls.roots = root.write_pem(folder / "root.pem")
        cls.server = Server(forge.issue(folder, "tsa", root))
        cls.addClassCleanup(cls.server.server_close)
        cls.addClassCleanup(cls.server.shutdown)
        cls.file = cls.workspace.write("file", b"content")

    def setUp(self):
        self.workspace.configure(
            f"[config.network]\nTotalTimeoutMilliseconds = {TIME_OUT_MILLISECONDS}\n")

    def stamp(self, page, *options, url=None):
        return self.workspace.run("stamp", self.file, "--url", url or self.server.url + page,
                                  "--roots", self.roots, "--force", "--out", self.workspace.path / "out",
                                  *options)

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
        self.expect(self.stamp("", url=f"http://127.0.0.1:{port}/"), UNREACHABLE, "0x80072EFD")
        self.expect(self.stamp("", url="http://no-such-host.invalid/"), UNREACHABLE, "0x80072EE7")
        self.expect(self.stamp("", url="ftp://127.0.0.1/"), USAGE)
        self.expect(self.stamp("", url="not an address"), USAGE)

    def test_time_outs_end_in_time(self):
        for page in ("silent", "slow"):
            begin = time.monotonic()
            self.expect(self.stamp(page, "--attempts", 1), UNREACHABLE, "0x80072EE2")
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

    def test_broken_transport(self):
        for page in ("cut", "cutchunks", "nohttp", "hangup"):
            with self.subTest(page):
                self.expect(self.stamp(page), UNREACHABLE)

    def test_chunk_extensions_without_end_are_not_waited_for(self):
        begin = time.monotonic()
        self.expect(self.stamp("endlessextension"), UNREACHABLE, "0x80072F78")
        self.assertLess(time.monotonic() - begin, TIME_OUT_MILLISECONDS / 1000)

    def test_credentials_in_the_address_are_never_sent_nor_traced(self):
        hits = self.server.hits
        self.workspace.environment["BASALT_TRACE"] = "all"
        try:
            url = self.server.url.replace("://", "://somebody:secret@")
            result = self.stamp("", url=url + "good")
        finally:
            del self.workspace.environment["BASALT_TRACE"]
        self.assertEqual(result.returncode, USAGE)
        self.assertEqual(self.server.hits, hits)
        self.assertIn(b"***@", result.stderr)
        self.assertNotIn(b"secret", result.stderr)

    def test_huge_answers_are_bounded(self):
        before = resource.getrusage(resource.RUSAGE_CHILDREN).ru_maxrss
        for page in ("huge", "endless"):
            self.expect(self.stamp(page), UNREACHABLE)
        after = resource.getrusage(resource.RUSAGE_CHILDREN).ru_maxrss
        self.assertLess(after, max(before, 300 * 1024), "kilobytes resident")

    def test_answers_that_are_no_stamps(self):
        for page in ("noise", "empty"):
            self.expect(self.stamp(page), REFUSED)
        self.expect(self.stamp("refusal"), REFUSED, "unacceptedPolicy", "not today")

    def test_nonces(self):
        for page in ("nononce", "zerononce", "othernonce", "negativenonce"):
            with self.subTest(page):
                self.expect(self.stamp(page), REFUSED, "0xC2100120")
        # Nonces are compared as numbers: the same one in a longer form is the same.
        self.expect(self.stamp("leadingzeros"), GOOD)
        self.expect(self.stamp("otherleadingzeros"), REFUSED, "0xC2100120")
        # Without a nonce on either side the clock binds the answer.
        self.expect(self.stamp("nononce", "--no-nonce"), GOOD)
        self.expect(self.stamp("lateclock", "--no-nonce"), REFUSED, "0xC2100122")
        self.expect(self.stamp("lateclock"), GOOD)

    def test_imprints(self):
        for page in ("shortimprint", "longimprint", "emptyimprint"):
            with self.subTest(page):
                self.expect(self.stamp(page), REFUSED, "0x80091007")

    def test_policy_refuses_before_any_packet(self):
        self.workspace.configure('[config.cades.tsppolicy]\nAllowedTSPs = ["http://elsewhere/"]\n')
        hits = self.server.hits
        self.expect(self.stamp("good"), REFUSED, "0xC2100103")
        self.assertEqual(self.server.hits, hits)

    def test_policy_defaults_are_taken(self):
        self.workspace.configure(
            f'[config.cades.tsppolicy]\nDefaultTSPURL = "{self.server.url}good"\n'
            'DefaultHashAlg = "2.16.840.1.101.3.4.2.3 the long one"\n')
        out = self.workspace.path / "out"
        result = self.workspace.run("stamp", self.file, "--roots", self.roots, "--force", "--out", out,
                                    "--no-verify")
        # The forged answer names SHA-256 for whatever it is asked.
        request = self.workspace.path / "request.tsq"
        self.expect(self.workspace.run("request", self.file, "--out", request), GOOD)
        imprint = tsp.TimeStampReq.load(request.read_bytes())["message_imprint"]
        self.assertEqual(imprint["hash_algorithm"]["algorithm"].native, "sha512")
        self.assertEqual(imprint["hashed_message"].native, hashlib.sha512(b"content").digest())
        self.expect(result, REFUSED, "SHA-256, not by SHA-512")

    def test_the_output_appears_whole_or_not_at_all(self):
        out = self.workspace.path / "fresh"
        self.workspace.run("stamp", self.file, "--url", self.server.url + "cut", "--force", "--out", out)
        self.assertFalse(out.exists())


if __name__ == "__main__":
    program.main()
