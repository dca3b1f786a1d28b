"""The older Authenticode protocol: `chronoseal authenticode` and chronoseal-tsa, against another signing tool."""

import base64
import datetime
import re
import shutil
import struct
import subprocess
import unittest

import forge
import program
from asn1crypto import cms, core, x509
from end_to_end import WithAuthority
from page_server import PageServer
from program import GOOD, REFUSED, UNREACHABLE, USAGE

COUNTERSIGNATURE_TYPE = "1.3.6.1.4.1.311.3.2.1"
DATA = "1.2.840.113549.1.7.1"
SIGNATURE = bytes(range(256))


class CounterSignatureRequest(core.Sequence):
    _fields = [("type", core.ObjectIdentifier),
               ("attributes", core.SetOf, {"spec": cms.CMSAttribute, "implicit": 0, "optional": True}),
               ("content", cms.ContentInfo)]


def tiny_program():
    """A PE file with one section that returns at once."""
    headers, code = 512, b"\xc3".ljust(512, b"\0")
    dos = b"MZ".ljust(60, b"\0") + struct.pack("<I", 64)
    coff = struct.pack("<4sHHIIIHH", b"PE\0\0", 0x14C, 1, 0, 0, 0, 224, 0x102)
    optional = struct.pack(
        "<HBBIIIIII" "IIIHHHHHHIIIIHHIIIIII", 0x10B, 1, 0, len(code), 0, 0, 0x1000, 0x1000, 0x2000,
        0x400000, 0x1000, 512, 4, 0, 0, 0, 4, 0, 0, 0x2000, headers, 0, 3, 0, 0x100000, 0x1000,
        0x100000, 0x1000, 0, 16) + bytes(16 * 8)
    section = struct.pack("<8sIIIIIIHHI", b".text", len(code), 0x1000, len(code), headers, 0, 0, 0, 0,
                          0x60000020)
    return (dos + coff + optional + section).ljust(headers, b"\0") + code


class Server(PageServer):
    """Keeps the bodies that came, and answers by a list of answers; the last one stays."""

    def __init__(self):
        super().__init__({"": self.answer})
        self.seen, self.answers = [], [(500, b"")]

    def answer(self, body):
        self.seen.append(body)
        status, content = self.answers.pop(0) if len(self.answers) > 1 else self.answers[0]
        return status, {"Content-Type": "application/octet-stream"}, content


def request_of(body):
    """The DER within a body."""
    return base64.b64decode(body.split(b"\0")[0], validate=False)


class AuthenticodeTest(WithAuthority):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.server = Server()
        cls.addClassCleanup(cls.server.close)
        cls.content = cls.workspace.write("signature", SIGNATURE)

    def setUp(self):
        super().setUp()
        self.server.seen.clear()
        self.server.answers = [(500, b"")]
        self.out = self.workspace.path / "stamp"
        self.out.unlink(missing_ok=True)

    def stamp(self, *options, file=None):
        return self.workspace.run("authenticode", file or self.content, "--out", self.out, "--force", *options)

    def policy(self, text):
        self.workspace.configure("[config.cades.tsppolicy]\n" + text)


@unittest.skipUnless(shutil.which("osslsigncode"), "osslsigncode isn't installed")
class AgainstAnotherTool(AuthenticodeTest):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        folder = cls.workspace.path
        cls.key, cls.certificate = folder / "code.key", folder / "code.pem"
        made = program.openssl(
            "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-days", "30", "-subj", "/CN=Code Signer",
            "-addext", "extendedKeyUsage=codeSigning", "-keyout", cls.key, "-out", cls.certificate)
        assert made.returncode == 0, made.stderr
        cls.program = cls.workspace.write("tiny.exe", tiny_program())

    def sign(self, url):
        signed = self.workspace.path / "signed.exe"
        signed.unlink(missing_ok=True)
        result = subprocess.run(
            ["osslsigncode", "sign", "-certs", self.certificate, "-key", self.key, "-h", "sha256", "-t",
             url, "-in", self.program, "-out", signed], capture_output=True, text=True)
        return result, signed

    def verify(self, signed, root):
        return subprocess.run(
            ["osslsigncode", "verify", "-CAfile", self.certificate, "-TSA-CAfile", root, "-in", signed],
            capture_output=True, text=True)

    def test_it_takes_and_verifies_the_small_authority_s_stamps(self):
        result, signed = self.sign(self.authority.url)
        self.assertEqual(result.returncode, 0, result.stdout + result.stderr)
        checked = self.verify(signed, self.authority.root)
        self.assertEqual(checked.returncode, 0, checked.stdout + checked.stderr)
        self.assertIn("Timestamp Server Signature verification: ok", checked.stdout)
        # Versions of osslsigncode word it differently.
        self.assertRegex(checked.stdout, "Timestamp time|The signature is timestamped")
        # The stamp is judged, not just carried along.
        checked = self.verify(signed, self.certificate)
        self.assertNotIn("Timestamp Server Signature verification: ok", checked.stdout)

    def test_both_ask_in_the_same_bytes(self):
        self.server.answers = [(404, b"no")]
        self.sign(self.server.url)
        theirs = request_of(self.server.seen[0])
        content = CounterSignatureRequest.load(theirs, strict=True)["content"]["content"].native
        self.assertGreaterEqual(len(content), 256)

        self.server.seen.clear()
        self.stamp("--url", self.server.url, file=self.workspace.write("value", content))
        self.assertEqual(len(self.server.seen), 1)
        self.assertEqual(request_of(self.server.seen[0]), theirs)
        self.assertEqual(self.server.headers["user-agent"], "chronoseal/1.0")
        self.assertNotIn("content-type", self.server.headers)


class TheRequest(AuthenticodeTest):
    def test_lines(self):
        for size in (0, 1, 2, 3, 55, 56, 57, 1000):
            with self.subTest(size):
                self.server.seen.clear()
                self.stamp("--url", self.server.url, file=self.workspace.write("sized", bytes(size)))
                body = self.server.seen[0]
                text = body.rstrip(b"\0")
                self.assertNotIn(b"\0", text)
                lines = text.split(b"\r\n")
                self.assertTrue(all(len(line) == 76 for line in lines[:-2]))
                self.assertLessEqual(max(map(len, lines)), 76)
                request = CounterSignatureRequest.load(request_of(body), strict=True)
                self.assertEqual(request["type"].native, COUNTERSIGNATURE_TYPE)
                self.assertNotIn("attributes", [name for name, value in request.native.items() if value])
                self.assertEqual(request["content"]["content_type"].native, "data")
                self.assertEqual(request["content"]["content"].native, bytes(size))


class TheAnswer(AuthenticodeTest):
    def test_openssl_verifies_it_over_the_content(self):
        self.expect(self.stamp(*self.trust), GOOD)
        back = self.workspace.path / "back"
        for command in ("cms", "smime"):
            checked = program.openssl(command, "-verify", "-inform", "DER", "-in", self.out, "-CAfile",
                                      self.authority.root, "-purpose", "any", "-binary", "-out", back)
            self.assertEqual(checked.returncode, 0, checked.stderr)
            self.assertEqual(back.read_bytes(), SIGNATURE)
        signed = cms.ContentInfo.load(self.out.read_bytes(), strict=True)["content"]
        attributes = {a["type"].native: a["values"].native for a in signed["signer_infos"][0]["signed_attrs"]}
        age = datetime.datetime.now(datetime.timezone.utc) - attributes["signing_time"][0]
        self.assertLess(abs(age), datetime.timedelta(minutes=5))
        self.assertEqual(len(signed["certificates"]), 2, "the signer and the root")

    def test_any_size_of_content(self):
        for size in (0, 1, 100000):
            with self.subTest(size):
                self.expect(self.stamp(*self.trust, file=self.workspace.write("sized", b"x" * size)), GOOD)
                signed = cms.ContentInfo.load(self.out.read_bytes())["content"]
                self.assertEqual(signed["encap_content_info"]["content"].native or b"", b"x" * size)

    def test_what_is_no_stamp_is_refused(self):
        for answer in (b"AAEC/w==", b"QQ", b"<html>no</html>", base64.b64encode(b"<html>no</html>"), b""):
            with self.subTest(answer):
                self.server.answers = [(200, answer)]
                self.expect(self.stamp("--url", self.server.url), REFUSED, "not an Authenticode stamp" if answer else "empty")
                self.assertFalse(self.out.exists())

    @unittest.skipIf(*program.NO_OTHER_CLOCK)
    def test_one_of_another_time_may_be_an_old_answer(self):
        """By this machine's clock, since no nonce binds the answer."""
        self.addCleanup(setattr, self.workspace, "environment", dict(self.workspace.environment))
        for clock, status, words in (("+9m", GOOD, ()), ("+11m", REFUSED, ("0xC2100122", "too far")),
                                     ("-11m", REFUSED, ("0xC2100122", "too far"))):
            with self.subTest(clock):
                self.workspace.environment.update(program.by_clock(clock))
                self.expect(self.stamp(*self.trust), status, *words)
                self.assertEqual(self.out.exists(), status == GOOD)
                self.out.unlink(missing_ok=True)

    def test_an_unknown_root_is_refused(self):
        line = self.expect(self.stamp("--url", self.authority.url), REFUSED, "0x800B0109", "Throw-away root")
        self.assertFalse(self.out.exists())
        call = re.search(r"trust it: chronoseal trust add ROOT.pem (--sha256 [0-9a-f]{64})$", line)[1].split()
        self.addCleanup(self.workspace.run, "trust", "remove", call[-1])
        self.expect(self.workspace.run("trust", "add", self.authority.root, *call), GOOD)
        self.expect(self.stamp("--url", self.authority.url), GOOD)

    def test_it_is_told_as_what_it_is(self):
        """And so is a signature that holds one, in the place of a stamp that could be extended."""
        self.expect(self.stamp(*self.trust), GOOD)
        self.expect(self.workspace.run("extend", self.out, *self.roots), REFUSED, "an answer of the older Authenticode protocol",
                    "attach an RFC 3161 time-stamp")
        info = cms.ContentInfo.load(self.out.read_bytes())
        signer = info["content"]["signer_infos"][0]
        signer["unsigned_attrs"] = [cms.CMSAttribute({"type": "1.2.840.113549.1.9.6", "values": [signer.copy()]})]
        signed = self.workspace.write("countersigned", info.dump(force=True))
        self.expect(self.workspace.run("extend", signed, *self.roots), REFUSED,
                    "the signature's stamp is one of the older Authenticode protocol", "attach an RFC 3161 time-stamp")

    def test_the_small_authority_refuses_what_is_no_request(self):
        wrong_type = CounterSignatureRequest({
            "type": "1.2.3", "content": {"content_type": "data", "content": SIGNATURE}}).dump()
        good = CounterSignatureRequest({
            "type": COUNTERSIGNATURE_TYPE, "content": {"content_type": "data", "content": SIGNATURE}}).dump()
        bodies = [b"", b"MA==", b"!", base64.b64encode(wrong_type)]
        bodies += [base64.b64encode(good[:size]) for size in range(1, len(good), 17)]
        for body in bodies:
            with self.subTest(body):
                self.assertEqual(self.post(body), b"400")
        self.assertEqual(self.post(base64.b64encode(good)), b"200")

    def post(self, body):
        path = self.workspace.write("body", body)
        return subprocess.run(["curl", "-s", "-o", "/dev/null", "-w", "%{http_code}", "-H", "Content-Type:",
                               "--noproxy", "*", "--data-binary", f"@{path}", self.authority.url],
                              capture_output=True).stdout


class ForgedAnswers(AuthenticodeTest):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.root, cls.tsa, cls.trusted = forge.authority(cls.workspace.path)

    def judged(self, attributes, certificates, *options):
        info = forge.signer_info(self.tsa, SIGNATURE, attributes)
        answer = forge.signed_data(SIGNATURE, [info], [one.der for one in certificates], content_oid=DATA)
        self.server.answers = [(200, base64.b64encode(answer))]
        return self.stamp("--url", self.server.url, "--roots", self.trusted, *options)

    @staticmethod
    def attributes(*times):
        """With an attribute for each list of values."""
        return [forge.content_type_attribute(DATA), forge.message_digest_attribute(SIGNATURE),
                *(forge.attribute("1.2.840.113549.1.9.5", *values) for values in times)]

    def test_one_without_a_time_may_be_an_old_answer(self):
        """Nothing else tells how old it is."""
        now = forge.now()
        certificates = (self.tsa, self.root)

        def generalized(text):
            return forge.element(0x18, text.encode())

        good = x509.Time({"utc_time": now}).dump()
        spelled = generalized(f"{now:%Y%m%d%H%M%S}Z")
        for value in (good, spelled):
            self.expect(self.judged(self.attributes([value]), certificates), GOOD)
            self.out.unlink()
        yesterday, hour, minute = (now - datetime.timedelta(**{unit: 1}) for unit in ("days", "hours", "minutes"))
        rows = {"no attributes": None, "no time": self.attributes(), "no value": self.attributes([]),
                "two values": self.attributes([good, spelled]), "two times": self.attributes([good], [spelled])}
        for odd in (f"{yesterday:%Y%m%d}{24 + now.hour}{now:%M%S}Z", f"{hour:%Y%m%d%H}{60 + now.minute % 40}{now:%S}Z",
                    f"{minute:%Y%m%d%H%M}60Z", f"{now:%Y}13{now:%d%H%M%S}Z", f"{now:%Y%m%d%H%M}Z",
                    f"{now:%Y%m%d%H%M%S}.5Z", f"{now:%Y%m%d%H%M%S}+"):
            rows[odd] = self.attributes([generalized(odd)])
        rows["no type of time"] = self.attributes([forge.element(0x0C, spelled[2:])])
        for name, attributes in rows.items():
            with self.subTest(name):
                self.expect(self.judged(attributes, certificates), REFUSED, "tells no time that can be read", "ask another")
                self.assertFalse(self.out.exists())
                result = self.judged(attributes, certificates, "--no-verify")
                self.expect(result, GOOD)
                self.assertIn(b"at a time that isn't told", result.stdout)
                self.out.unlink()

    def test_a_namesake_does_not_stand_in_the_signers_way(self):
        """By name and number it can't be told from the signer."""
        attributes = self.attributes([x509.Time({"utc_time": forge.now()}).dump()])
        namesake = forge.issue(self.workspace.path, "another", self.root, serial=self.tsa.serial)
        for certificates in ((namesake, self.tsa, self.root), (self.tsa, namesake, self.root)):
            result = self.judged(attributes, certificates)
            self.expect(result, GOOD)
            self.assertIn(b'by "the tsa"', result.stdout)
        self.expect(self.judged(attributes, (namesake, self.root)), REFUSED, "the signature of the answer is bad")
        self.expect(self.judged(attributes, (self.root,)), REFUSED, "certificate is not in the answer")


class Policy(AuthenticodeTest):
    def setUp(self):
        super().setUp()
        self.server.answers = [(200, base64.b64encode(b"stamp"))]

    def test_servers_that_are_not_on_the_list(self):
        named, default = ("--url", self.server.url), ()
        for text, options in (('AllowedMSTSPs = ["http://elsewhere/", "http://other/"]\n', named),
                              ("AllowedMSTSPs = []\n", named),  # in force, too
                              (f'AllowedMSTSPs = ["http://elsewhere/"]\nDefaultMSTSPURL = "{self.server.url}"\n', default)):
            with self.subTest(text):
                self.policy(text)
                self.expect(self.stamp(*options), REFUSED, "(1260)", "AllowedMSTSPs")
                self.assertEqual(self.server.seen, [])
                self.assertFalse(self.out.exists())

    def test_no_server_at_all(self):
        self.expect(self.stamp(), USAGE, "no Authenticode server's address")


if __name__ == "__main__":
    program.main()
