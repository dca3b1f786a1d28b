"""What is told when something is wrong: each fault of a server, an answer or a token by words and advice of its own."""

import base64
import hashlib
import os
import re

import forge
import program
from asn1crypto import core, x509
from page_server import PageServer
from program import GOOD, REFUSED, UNREACHABLE, USAGE

BAD_NAME = forge.element(0x30, forge.element(0x31, forge.element(0x30, b"\x06\x03\x55\x04\x03\x0c\x20x")))
JUNK = b"\x02\x01\x05"


class Explanations(program.SystemTest):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.root, cls.tsa, cls.roots = forge.authority(cls.workspace.path)
        cls.file = cls.workspace.write("file", b"content")

    def serve(self, pages, *identity):
        server = PageServer(pages, *identity)
        self.addCleanup(server.close)
        self.server = server
        return server.url

    def stamp(self, url, *options):
        return self.workspace.run("stamp", self.file, "--url", url, "--roots", self.roots, "--force", "--out",
                                  self.workspace.path / "out", "--attempts", 1, *options)

    def expect_line(self, result, status, url, *fragments):
        line = self.expect(result, status, *fragments)
        self.assertLessEqual(line.count(url), 1, "the address stands there twice")
        return line

    def test_how_much_is_known_of_revocation(self):
        folder = self.workspace.path
        middle = forge.issue(folder, "the middle", self.root, ca=True)
        signer = forge.issue(folder, "a signer", middle)
        info = forge.tst_info(hashlib.sha256(b"content").digest())
        token = self.workspace.write("known.tsr", forge.make_token(signer, info, certificates=[signer.der, middle.der]))
        lists = [("--crls", self.workspace.write(f"{i}.crl", forge.make_crl(one))) for i, one in enumerate((middle, self.root))]
        verify = ("verify", token, "--data", self.file, "--roots", self.roots, "-v")
        for given, told, unknown in (((), "nothing is known of a revocation", ["a signer", "the middle"]),
                                     (lists[0], "none was revoked of those that something speaks of", ["the middle"]),
                                     (lists[0] + lists[1], "none of the certificates was revoked", [])):
            with self.subTest(told):
                result = self.workspace.run(*verify, *given)
                self.expect(result, GOOD)
                shown = result.stdout.decode()
                self.assertRegex(shown, f"revocation +passed: {told}\n")
                self.assertEqual(re.findall("nothing speaks of the revocation of .*CN=(.*)", shown), unknown)

    def test_http_statuses(self):
        rows = {301: ("redirects elsewhere", "0x80072F7C", "give the address"),
                302: ("redirects elsewhere", "0x80072F7C", "give the address"),
                400: ("HTTP status 400", "check the address"), 401: ("asks for a login", "0x80072EEF", "login in a file"),
                403: ("forbids", "ask the authority for access"), 404: ("nothing at this address", "check the address"),
                407: ("proxy asks for a login", "0x80072F9B", "proxy's login"), 408: ("in time", "try again"),
                429: ("too often", "set a rate"), 500: ("has failed", "another authority"),
                502: ("has failed", "another authority"), 503: ("has failed", "try again later"),
                204: ("HTTP status 204",)}
        pages = {str(status): (lambda body, status=status: (status, {"Location": "https://x.example/"}, b""))
                 for status in rows}
        url = self.serve(pages)
        advice = set()
        for status, fragments in rows.items():
            with self.subTest(status):
                line = self.expect_line(self.stamp(f"{url}{status}"), UNREACHABLE, f"{url}{status}", *fragments)
                advice.add(line.rsplit("; ", 1)[-1])
        self.assertGreaterEqual(len(advice), 8)

    def test_logins_and_proxies_that_fail_are_told_as_such(self):
        url = self.serve({"401": lambda body: (401, {}, b""), "407": lambda body: (407, {}, b"")})
        login = self.workspace.write("login", b"user:secret")
        login.chmod(0o600)
        proxy = url.rstrip("/")
        for page, words, fragments in (
                ("401", ("--user-file", login), ("refuses the login", "check its name and password")),
                ("407", ("--proxy", proxy), (f"proxy {proxy} asks for a login", "give the proxy's login in a file")),
                ("407", ("--proxy", proxy, "--proxy-user-file", login), (f"proxy {proxy} refuses the login", "check its")),
                ("401", ("--proxy", "http://127.0.0.1:1"), ("the proxy http://127.0.0.1:1 can't be connected to",
                                                            "check the proxy's address")),
                ("401", ("--proxy", "no-such-proxy.invalid"), ("the proxy no-such-proxy.invalid was not found",))):
            with self.subTest(words=words):
                self.expect_line(self.stamp(url + page, *words), UNREACHABLE, url + page, *fragments)

    def test_tls_faults(self):
        folder = self.workspace.path
        trusted, other = (forge.issue(folder, name, ca=True) for name in ("tls root", "other tls root"))
        roots = trusted.write_pem(folder / "tls-root.pem")
        def good(_):
            return 200, {}, b""
        for name, issuer, address, begin, end, code, fragment in (
                ("unknown issuer", other, "127.0.0.1", -5, 5, "0x80072F0D", "unknown authority"),
                ("wrong name", trusted, "127.0.0.9", -5, 5, "0x80072F06", "another name"),
                ("expired", trusted, "127.0.0.1", -5, -2, "0x80072F05", "isn't valid now"),
                ("not yet", trusted, "127.0.0.1", 2, 5, "0x80072F05", "isn't valid now"),
                ("fine", trusted, "127.0.0.1", -5, 5, "not a time-stamp", "empty")):
            with self.subTest(name):
                names = {"extn_id": "subject_alt_name", "critical": False,
                         "extn_value": [x509.GeneralName("ip_address", address)]}
                leaf = forge.issue(folder, name, issuer, usage=("server_auth",), usage_critical=False,
                                   begin=forge.now() + forge.days(begin), end=forge.now() + forge.days(end),
                                   extra_extensions=(names,))
                url = self.serve({"": good}, leaf, leaf.write_pem(folder / f"{name}.pem"))
                self.expect_line(self.stamp(url, "--cacert", roots), REFUSED if name == "fine" else UNREACHABLE, url,
                                 code, fragment)
        plain = self.serve({"": good}).replace("http:", "https:")
        self.expect_line(self.stamp(plain), UNREACHABLE, plain, "0x80072F7D", "TLS")
        for file, fragment in ((self.file, "holds no certificate"), (folder / "none.pem", "No such file")):
            self.expect(self.stamp(plain, "--cacert", file), UNREACHABLE, str(file), fragment)
            self.workspace.configure(f'[config.network]\nCaFile = "{file}"\n')
            self.expect(self.stamp(plain), UNREACHABLE, str(file), fragment)
            self.workspace.configure("")

    def test_who_asks_shows_the_login_and_the_certificate_that_were_named(self):
        folder = self.workspace.path
        def issue(name, usage, *extra):
            return forge.issue(folder, name, issuer, usage=(usage,), usage_critical=False, extra_extensions=extra)
        issuer = forge.issue(folder, "tls issuer", ca=True)
        roots = issuer.write_pem(folder / "tls-issuer.pem")
        leaf = issue("server", "server_auth", {"extn_id": "subject_alt_name", "critical": False,
                                               "extn_value": [x509.GeneralName("ip_address", "127.0.0.1")]})
        client, other = issue("client", "client_auth"), issue("other client", "client_auth")
        shown = client.write_pem(folder / "client.pem")
        both = self.workspace.write("both.pem", shown.read_bytes() + client.key.path.read_bytes())
        both.chmod(0o600)
        def answer(request):
            return 200, {}, forge.answer(self.tsa, request)
        url = self.serve({"": answer}, leaf, leaf.write_pem(folder / "server.pem"), roots)
        for options, status in (((), UNREACHABLE), (("--client-cert", shown, "--client-key", client.key.path), GOOD),
                                (("--client-cert", both), GOOD), (("--client-cert", shown), None),
                                (("--client-cert", shown, "--client-key", other.key.path), None),
                                (("--client-cert", folder / "none"), None), (("--client-key", client.key.path), USAGE)):
            with self.subTest(options):
                result = self.stamp(url, "--cacert", roots, *options)
                if status is None:
                    self.assertNotEqual(result.returncode, GOOD)
                    self.expect(result, result.returncode)
                else:
                    self.expect(result, status)
        url = self.serve({"": answer})
        wanted = "Basic " + base64.b64encode(b"user:p:w").decode()
        login = self.workspace.write("login", b"user:p:w\n")
        netrc = self.workspace.write("netrc", b"machine 127.0.0.1 login user password p:w\n")
        foreign = self.workspace.write("foreign", b"machine elsewhere login user password p:w\n")
        for path in (login, netrc, foreign):
            path.chmod(0o600)
        for options, seen in (((), None), (("--user-file", login), wanted), (("--netrc", netrc), wanted),
                              (("--netrc", foreign), None)):
            with self.subTest(options):
                self.expect(self.stamp(url, *options), GOOD)
                self.assertEqual(self.server.headers["Authorization"], seen)
        self.workspace.configure("[config.cades.tsppolicy]\nAuthDenyBasic = true\n")
        self.expect(self.stamp(url, "--user-file", login), REFUSED, "0xC21001")

    def test_bytes_that_are_no_stamp_are_named(self):
        attributes = forge.signed_attributes(self.tsa, b"hello")
        signed = forge.signed_data(b"hello", [forge.signer_info(self.tsa, b"hello", attributes[1:])], [self.root.der],
                                   content_oid="1.2.840.113549.1.7.1")
        time = forge.attribute("1.2.840.113549.1.9.5", core.UTCTime(forge.now()).dump())
        data = forge.content_type_attribute("1.2.840.113549.1.7.1")
        legacy = forge.signed_data(
            b"hello", [forge.signer_info(self.tsa, b"hello", [data, time, forge.message_digest_attribute(b"hello")])],
            [self.tsa.der], content_oid="1.2.840.113549.1.7.1")
        query = self.workspace.path / "q.tsq"
        self.expect(self.workspace.run("request", self.file, "--out", query, "--force"), GOOD)
        whole = forge.answer(self.tsa, query.read_bytes())
        rows = (("HTML page", b"<!DOCTYPE html><html>Log in</html>"), ("request for a time-stamp", query.read_bytes()),
                ("X.509 certificate", self.root.der), ("X.509 certificate in PEM", forge.pem("CERTIFICATE", self.root.der)),
                ("revocation list", forge.make_crl(self.root)), ("signed message without a time-stamp", signed),
                ("older Authenticode protocol", legacy), ("empty", b""), ("JSON", b'{"error": 1}'),
                ("plain text", b"Service unavailable\n"), ("plain text", b"0a" + b"b" * 62 + b"  a file\n"), ("end in the middle", whole[:-9]), ("end in the middle", whole[:3]),
                ("unknown kind", os.urandom(16).replace(b"0", b"1") + b"\0\xff"),
                ("request for a time-stamp in Base64", base64.encodebytes(query.read_bytes())))
        pages = {str(i): (lambda _, content=content: (200, {}, content)) for i, (_, content) in enumerate(rows)}
        url = self.serve(pages)
        for i, (fragment, content) in enumerate(rows):
            with self.subTest(fragment):
                self.expect_line(self.stamp(f"{url}{i}"), REFUSED, f"{url}{i}", fragment)
                path = self.workspace.write("bytes.bin", content)
                self.expect(self.workspace.run("verify", path, "--data", self.file), REFUSED, fragment)
                if "request" not in fragment:
                    self.expect(self.workspace.run("info", path), REFUSED, f"can't read {path}: ", fragment)
                    self.assertEqual(self.workspace.run_json("info", path)[1]["file"], str(path))

    def test_answers_with_a_fault_of_their_own(self):
        def token(body, **fields):
            return forge.make_token(self.tsa, forge.info_for(body), **fields)
        rows = (("as PEM", lambda b: forge.pem("TIMESTAMP RESPONSE", forge.make_response(token(b)))),
                ("as Base64", lambda b: base64.encodebytes(forge.make_response(token(b)))),
                ("bare token", token), ("holds no token", lambda b: forge.make_response(None)),
                ("no signed attributes (0x8009100F)", lambda b: forge.make_response(token(b, no_attributes=True))),
                ("unacceptedPolicy: \"not today\"", lambda b: forge.make_response(None, 2, "not today", 15)),
                ("unknown status 9", lambda b: forge.make_response(None, 9)))
        url = self.serve({str(i): (lambda body, page=page: (200, {}, page(body))) for i, (_, page) in enumerate(rows)})
        for i, (fragment, _) in enumerate(rows):
            with self.subTest(fragment):
                self.expect_line(self.stamp(f"{url}{i}"), REFUSED, f"{url}{i}", fragment)

    def test_what_is_malformed_or_missing_in_a_token_is_told(self):
        info = forge.tst_info(b"\0" * 32)
        def signed(attributes, **fields):
            return forge.make_response(forge.make_token(self.tsa, info, attributes=attributes, **fields))
        def attributes(**fields):
            return forge.signed_attributes(self.tsa, info, **fields)
        def with_name(name):
            content = core.Sequence.load(info).contents
            return forge.make_response(forge.make_token(self.tsa, forge.element(0x30, content + forge.element(0xA0, name))))
        serial = core.Integer(self.tsa.serial).dump()
        bad_name = forge.element(0xA4, BAD_NAME)
        cases = (
            ("a signed attribute", signed(attributes() + [forge.element(0x30, JUNK)])),
            ("a signed attribute", signed(attributes() + [forge.element(0x30, b"\x06\x03\x2a\x03\x04")])),
            ("names the signer's certificate is malformed", signed(attributes(ess=[forge.attribute("1.2.840.113549.1.9.16.2.47", JUNK)]))),
            ("contentType is malformed", signed([forge.attribute("1.2.840.113549.1.9.3", JUNK)] + attributes(drop=("contentType",)))),
            ("no signed attribute contentType (0x8009100F)", signed(attributes(drop=("contentType",)))),
            ("messageDigest", signed(attributes(drop=("messageDigest",)))),
            ("names its signer's certificate (0x80092004)", signed(attributes(drop=("ess",)))),
            ("the signer's name", signed(attributes(), sid=forge.element(0x30, serial))),
            ("the tsa name in the TSTInfo", with_name(bad_name)), ("the tsa name in the TSTInfo", with_name(JUNK)),
            ("the policy in the TSTInfo", forge.make_response(forge.make_token(self.tsa, forge.element(0x30, JUNK)))),
            ("which is no TSTInfo", forge.make_response(forge.signed_data(b"x", [], [], content_oid="1.2.840.113549.1.7.1"))),
            ("which is no signed message", forge.make_response(forge.element(0x30, b"\x06\x03\x2a\x03\x04"))), ("of whom there is none", signed(None, infos=[])),
            ("what follows the status", forge.element(0x30, forge.element(0x30, JUNK + JUNK))),
            ("the time-stamp token is malformed: a signed attribute",
             forge.make_token(self.tsa, info, attributes=attributes() + [forge.element(0x30, JUNK)])))
        for fragment, content in cases:
            with self.subTest(fragment):
                path = self.workspace.write("bad.tsr", content)
                self.expect(self.workspace.run("verify", path, "--no-data", "--roots", self.roots), REFUSED, fragment)

    def test_an_unknown_root_is_named_with_the_line_to_type(self):
        body = self.workspace.path / "root.tsq"
        self.expect(self.workspace.run("request", self.file, "--out", body, "--force", "--cert"), GOOD)
        def answer(certificates):
            return lambda request: (200, {}, forge.make_response(
                forge.make_token(self.tsa, forge.info_for(request), certificates=certificates)))
        url = self.serve({"": answer([self.tsa.der, self.root.der])})
        out = self.workspace.path / "unknown.tsr"
        stamp = ("stamp", self.file, "--url", url, "--out", out, "--force")
        line = self.expect(self.workspace.run(*stamp), REFUSED, "CN=the root", self.root.certificate.sha256.hex())
        self.assertRegex(line, r"chronoseal trust add ROOT.pem --sha256 [0-9a-f]{64}$")
        self.assertFalse(out.exists())
        self.expect(self.workspace.run(*stamp, "--no-verify"), GOOD)
        verify = ("verify", out, "--data", self.file)
        self.expect(self.workspace.run(*verify), REFUSED, self.root.certificate.sha256.hex())
        short = self.workspace.write("short.tsr", answer([self.tsa.der])(body.read_bytes())[2])
        self.expect(self.workspace.run("verify", short, "--data", self.file), REFUSED,
                    "the certificate of O=Forge, CN=the root isn't at hand")


if __name__ == "__main__":
    program.main()
