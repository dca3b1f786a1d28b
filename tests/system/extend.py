"""Stamps that outlive their sources: extended ones, aged ones, and those on signatures; OpenSSL and BouncyCastle agree."""

import base64
import json
import shutil
import signal
import socket
import stat
import subprocess
import time

from asn1crypto import cms, core

import bouncycastle
import program
from page_server import PageServer, passed_on
from program import GOOD, REFUSED, UNREACHABLE, USAGE


def free_port():
    with socket.create_server(("127.0.0.1", 0)) as listener:
        return listener.getsockname()[1]


class WithRevocation(program.SystemTest):
    """An authority whose certificate of 30 days names a list on the same server."""

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        port = free_port()
        cls.authority = program.Authority(
            cls.workspace.path / "tsa", "--port", str(port),
            init=("--crl-url", f"http://127.0.0.1:{port}/root.crl", "--days", "30"))
        cls.running = True
        cls.addClassCleanup(cls.stop)
        cls.roots = ("--roots", cls.authority.root)
        cls.data = cls.workspace.write("data.txt", b"what was stamped\n")

    @classmethod
    def stop(cls):
        if cls.running:
            cls.running = False
            cls.authority.close()

    @classmethod
    def publish(cls, days=7):
        """A list made now, in the place of the one before."""
        folder = cls.authority.folder
        (folder / "index").write_bytes(b"")
        (folder / "number").write_text("10\n")
        (folder / "ca.cnf").write_text(f"[ca]\ndefault_ca = c\n[c]\ndatabase = {folder}/index\n"
                                       f"crlnumber = {folder}/number\ndefault_md = sha256\n")
        program.openssl("ca", "-gencrl", "-config", folder / "ca.cnf", "-cert", folder / "root.pem", "-keyfile",
                        folder / "root.key", "-crldays", days, "-out", folder / "new.pem").check_returncode()
        program.openssl("crl", "-in", folder / "new.pem", "-outform", "DER", "-out", folder / "root.crl")

    def publish_anew(self):
        """The list before isn't kept."""
        self.publish()
        self.forget()

    def publish_later(self):
        """Lists have whole seconds, and are to be made after the stamp."""
        time.sleep(1.1)
        self.publish_anew()

    def forget(self):
        shutil.rmtree(self.workspace.path / "cache", ignore_errors=True)

    def stamp(self, name, *options):
        path = self.workspace.path / name
        self.expect(self.workspace.run("stamp", self.data, "--url", self.authority.url, *self.roots, "--out", path,
                                       "--force", *options), GOOD)
        return path


class Extending(WithRevocation):
    def extended(self, name):
        path = self.stamp(name)
        self.publish_later()
        status, shown = self.workspace.run_json("extend", path, *self.roots)
        self.assertEqual(status, GOOD)
        self.assertEqual(shown["remarks"], [])
        return path, shown

    def test_what_else_stands_in_the_text_stays(self):
        path = self.stamp("mixed.tsr")
        token = program.openssl("ts", "-reply", "-in", path, "-token_out").stdout
        key = program.openssl("genpkey", "-algorithm", "ED25519").stdout
        self.publish_later()
        headed = key.replace(b"KEY-----\n", b"KEY-----\nProc-Type: 4,ENCRYPTED\n\n", 1)
        for headers, behind in ((b"", key), (b"Comment: first\n\n", key), (b"Comment: first\n\n", headed)):
            with self.subTest((headers, behind is key)):
                text = self.workspace.write("mixed.pem", b"-----BEGIN PKCS7-----\n" + headers +
                                            base64.encodebytes(token) + b"-----END PKCS7-----\n" + behind)
                told = self.workspace.run("extend", text, *self.roots)
                self.assertTrue(text.read_bytes().endswith(behind), told.stderr)
                self.assertTrue(text.read_bytes().startswith(b"-----BEGIN PKCS7-----\n" + headers + b"MI"), told.stderr)
                self.assertEqual(told.returncode, GOOD, told.stderr)

    def test_others_go_on_taking_it(self):
        path, shown = self.extended("others.tsr")
        self.assertEqual((shown["certificates"], shown["revocationLists"], shown["ocspAnswers"]), (0, 1, 0))
        check = program.openssl("ts", "-verify", "-data", self.data, "-in", path, "-CAfile", self.authority.root)
        self.assertIn(b"Verification: OK", check.stdout + check.stderr)
        token = self.workspace.path / "others.der"
        program.openssl("ts", "-reply", "-in", path, "-token_out", "-out", token).check_returncode()
        check = program.openssl("cms", "-verify", "-inform", "DER", "-in", token, "-CAfile", self.authority.root,
                                "-purpose", "timestampsign", "-crl_check", "-out", "/dev/null")
        self.assertEqual(check.returncode, 0, check.stderr)  # by the list in the token: none else is named
        if bouncycastle.MISSING[0]:
            self.skipTest(bouncycastle.MISSING[1])
        self.assertEqual(bouncycastle.run(self.workspace, "StampCheck", "token", token), "token 1 lists, 2 certificates\n")

    def test_the_last_stamp_of_a_record_is_extended(self):
        """And the record goes on proving what it did, renewed or not."""
        folder = self.workspace.path / "record"
        shutil.rmtree(folder, ignore_errors=True)
        folder.mkdir()
        data = folder / "data"
        shutil.copy(self.data, data)
        ask = ("--url", self.authority.url, *self.roots)
        self.expect(self.workspace.run("stamp", data, *ask), GOOD)
        record, beside = folder / "data.ers", folder / "beside.ers"
        self.publish()
        self.expect(self.workspace.run("renew", "--convert-only", f"{data}.tsr", *self.roots), GOOD)
        shutil.copy(record, beside)
        sizes = []
        for step in ("extend", "renew", "extend"):
            self.publish_anew()
            status, shown = self.workspace.run_json(step, record, *(ask if step == "renew" else self.roots))
            self.assertEqual((status, shown.get("leftBehind", [str(beside)])), (GOOD, [str(beside)]))
            self.expect(self.workspace.run("verify", record, *self.roots), GOOD)
            sizes.append(record.stat().st_size)
            if not bouncycastle.MISSING[0]:
                judged = bouncycastle.run(self.workspace, "Records", "check", stdin=f"{record}\t{data}\n")
                self.assertEqual(judged, "ok\n")
        self.assertEqual(sizes, sorted(sizes))
        again = record.read_bytes()
        status, shown = self.workspace.run_json("extend", record, *self.roots)
        self.assertEqual((status, shown["changed"], record.read_bytes()), (GOOD, False, again))
        data.write_bytes(b"something else")
        self.publish_anew()
        self.expect(self.workspace.run("renew", record, *ask), REFUSED)
        self.assertEqual(record.read_bytes(), again)
        if bouncycastle.MISSING[0]:
            self.skipTest(bouncycastle.MISSING[1])

    def test_once_is_enough(self):
        path, _ = self.extended("twice.tsr")
        first, inode = path.read_bytes(), path.stat().st_ino
        status, shown = self.workspace.run_json("extend", path, *self.roots)
        self.assertEqual((status, shown["changed"]), (GOOD, False))
        for files in ((path,), (path, self.data)):
            result = self.workspace.run("extend", *files, *self.roots, "--json-lines")
            last = json.loads(result.stdout.splitlines()[-1])
            self.assertEqual((len(result.stdout.splitlines()), last["summary"]),
                             (len(files) + 1, {"extended": 0, "unchanged": 1, "failed": len(files) - 1}))
        self.assertEqual((path.read_bytes(), path.stat().st_ino), (first, inode))

    def test_a_list_from_before_the_stamp_is_told(self):
        self.publish_anew()
        time.sleep(1.1)
        path = self.stamp("early.tsr")
        result = self.workspace.run("extend", path, *self.roots)
        self.expect(result, GOOD)
        self.assertIn(b"asked again after", result.stdout)

    def test_written_elsewhere_in_place_and_in_its_form(self):
        path = self.stamp("place.tsr")
        plain = path.read_bytes()
        path.chmod(0o640)
        out = self.workspace.path / "elsewhere.tsr"
        self.expect(self.workspace.run("extend", path, *self.roots, "--out", out), GOOD)
        self.assertEqual(path.read_bytes(), plain)
        self.expect(self.workspace.run("extend", path, *self.roots, "--out", out), UNREACHABLE, "--force")
        self.expect(self.workspace.run("extend", path, *self.roots), GOOD)
        self.assertEqual(path.read_bytes(), out.read_bytes())
        self.assertEqual(stat.S_IMODE(path.stat().st_mode), 0o640)
        token = self.workspace.path / "token.der"
        program.openssl("ts", "-reply", "-in", self.stamp("pem.tsr"), "-token_out", "-out", token)
        text = self.workspace.path / "token.pem"
        program.openssl("pkcs7", "-inform", "DER", "-in", token, "-out", text)
        text.write_bytes(b"kept in front\n" + text.read_bytes())
        self.expect(self.workspace.run("extend", text, *self.roots), GOOD)
        self.assertTrue(text.read_bytes().startswith(b"kept in front\n-----BEGIN PKCS7-----\n"))
        self.expect(self.workspace.run("verify", text, "--data", self.data, *self.roots), GOOD)

    def test_what_is_refused_leaves_the_file(self):
        path = self.stamp("kept.tsr")
        plain = path.read_bytes()
        other = program.Authority(self.workspace.path / "other")
        self.addCleanup(other.close)
        self.expect(self.workspace.run("extend", path, "--roots", other.root), REFUSED)
        self.expect(self.workspace.run("extend", path, *self.roots, "--revocation", "off"), USAGE)
        self.expect(self.workspace.run("extend", self.data, *self.roots), REFUSED, "plain text")
        self.expect(self.workspace.run("extend", path, path, "--out", "x"), USAGE)
        self.assertEqual(path.read_bytes(), plain)
        two = self.workspace.write("two.tsr", plain + plain)
        for words in (("extend", two), ("renew", "--convert-only", two)):
            self.expect(self.workspace.run(*words, *self.roots), REFUSED, "put each stamp into a file of its own")
        self.assertEqual(two.read_bytes(), plain + plain)
        for words in (("verify", two, "--data", self.data, *self.roots), ("info", two)):
            self.assertIn(f"remark: {len(plain):,} bytes behind the stamp".encode(), self.workspace.run(*words).stdout)
            self.assertEqual(self.workspace.run_json(*words)[1]["bytesBehind"], len(plain))


class Aging(WithRevocation):
    """In the order of time: extended, the authority gone, the far future."""

    def verify(self, path, *options):
        return self.workspace.run("verify", path, "--data", self.data, *self.roots, *options)

    def test_a_stamp_grows_old(self):
        plain, path = self.stamp("plain.tsr"), self.stamp("old.tsr")
        self.publish_later()
        self.expect(self.workspace.run("extend", path, *self.roots), GOOD)
        self.stop()
        self.forget()
        self.expect(self.verify(plain), UNREACHABLE, "indeterminate")
        result = self.verify(path)
        self.expect(result, GOOD)
        self.assertIn(b"its evidence speaks until", result.stdout)
        self.assertIn(b"renew before", result.stdout)
        far = ("--at", "2099-01-01")
        self.expect(self.verify(path, *far), GOOD)
        self.expect(self.verify(path, *far, "--strict"), REFUSED, "ended at")
        self.expect(self.verify(plain, *far), UNREACHABLE, "indeterminate")
        soon = ("--at", time.strftime("%Y-%m-%d", time.gmtime(time.time() + 15 * 86400)))
        self.expect(self.verify(path, *soon), UNREACHABLE, "spoke until")
        shown = json.loads(self.verify(path, *far, "--json").stdout)
        self.assertEqual((shown["strength"], shown["evidenceUntil"]), ("aged", None))
        for mode in ("available", "off"):
            self.expect(self.verify(plain, *far, "--revocation", mode), GOOD)
            self.expect(self.verify(plain, *far, "--revocation", mode, "--strict"), REFUSED)


class Signatures(WithRevocation):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        folder = cls.workspace.path
        for name in ("one", "two", "three"):
            program.openssl("req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:P-256", "-nodes", "-keyout",
                            folder / f"{name}.key", "-out", folder / f"{name}.pem", "-subj", f"/CN={name}", "-days", "9")

    def sign(self, name, *options, signers=("one",)):
        path = self.workspace.path / name
        people = [word for who in signers
                  for word in ("-signer", self.workspace.path / f"{who}.pem", "-inkey",
                               self.workspace.path / f"{who}.key")]
        program.openssl("cms", "-sign", "-binary", "-in", self.data, *people, "-out", path, *options).check_returncode()
        return path

    def attach(self, path, *options):
        return self.workspace.run("attach", path, "--url", self.authority.url, *self.roots, *options)

    def test_a_signed_message_is_nobodys_stamp(self):
        """Its own stamps tell nothing of the file that its name names."""
        path = self.sign("message.p7s", "-outform", "DER", "-nodetach")
        self.expect(self.attach(path, "--force"), GOOD)
        report = self.workspace.write("report.pdf", b"nobody has stamped it")
        for suffix in ("tsr", "2.tsr", "tst", "tsa"):
            stamp = self.workspace.write(f"report.pdf.{suffix}", path.read_bytes())
            for options in ((), ("--quiet",), ("--data", report)):
                with self.subTest(suffix, options=options):
                    self.expect(self.workspace.run("verify", stamp, *self.roots, *options), USAGE, "signed message")
            self.expect(self.workspace.run("verify", stamp, *self.roots, "--no-data"), GOOD)
        self.expect(self.workspace.run("verify", path, stamp, *self.roots), USAGE)

    def test_openssl_and_bouncycastle_take_what_was_stamped(self):
        folder = self.workspace.path
        rows = [("detached", ("-outform", "DER"), ("one",), ("--data", self.data)),
                ("attached", ("-outform", "DER", "-nodetach"), ("one",), ()),
                ("bare", ("-outform", "DER", "-noattr"), ("one",), ("--data", self.data)),
                ("streamed", ("-outform", "DER", "-nodetach", "-stream"), ("one",), ()),
                ("both", ("-outform", "DER", "-nodetach"), ("one", "two"), ("--all",)),
                ("code", ("-outform", "DER", "-nodetach"), ("one",), ("--attribute", "1.3.6.1.4.1.311.3.3.1"))]
        for name, signing, signers, options in rows:
            with self.subTest(name):
                path, out = self.sign(name + ".p7s", *signing, signers=signers), folder / (name + ".out")
                self.expect(self.attach(path, *options, "--out", out), GOOD)
                status, shown = self.workspace.run_json("verify", out, *self.roots)
                self.assertEqual(status, GOOD, shown)
                self.assertEqual(len(shown["stamps"]), len(signers))
                content = ("-content", self.data) if name in ("detached", "bare") else ()
                check = program.openssl("cms", "-verify", "-binary", "-inform", "DER", "-in", out, "-noverify", *content)
                self.assertEqual((check.returncode, check.stdout), (0, self.data.read_bytes()), check.stderr)
                if not bouncycastle.MISSING[0]:
                    judged = bouncycastle.run(self.workspace, "StampCheck", "signature", out, *content[1:])
                    self.assertEqual(judged, f"signature with {len(signers)} stamps\n")
        if bouncycastle.MISSING[0]:
            self.skipTest(bouncycastle.MISSING[1])

    def test_the_form_is_kept_and_what_else_stands_in_the_text(self):
        key = program.openssl("genpkey", "-algorithm", "ED25519").stdout
        for name, signing, front, begin, end in (
                ("pem", ("-outform", "PEM"), b"in front\n", b"-----BEGIN CMS-----\n", key),
                ("smime", (), b"", b"MIME-Version: 1.0\n", b"")):
            with self.subTest(name):
                path = self.sign(name, *signing)
                path.write_bytes(front + path.read_bytes() + end)
                before = path.read_bytes()
                self.expect(self.attach(path), UNREACHABLE, "--force")
                self.assertEqual(path.read_bytes(), before)
                self.expect(self.attach(path, "--force"), GOOD)
                self.assertTrue(path.read_bytes().startswith(front + begin) and path.read_bytes().endswith(end))
                content = ("-content", self.data) if name == "pem" else ()
                check = program.openssl("cms", "-verify", "-binary", "-inform", name.upper(), "-in", path, "-noverify",
                                        *content)
                self.assertEqual(check.returncode, 0, check.stderr)
                self.expect(self.workspace.run("verify", path, *self.roots), GOOD)

    def test_each_message_of_a_text_is_written_in_its_own_place(self):
        """Whatever stands before the Base64 of the first one; the second one is another's, and nobody else has it."""
        block = self.sign("first.pem", "-outform", "PEM", "-nodetach").read_bytes()
        other = self.sign("second.pem", "-outform", "PEM", "-nodetach", signers=("two",)).read_bytes()
        begin = b"-----BEGIN CMS-----\n"
        for name, headers in (("plain", b""), ("headers", b"Comment: first\n\n")):
            with self.subTest(name):
                path = self.workspace.write("both.x", block.replace(begin, begin + headers) + other)
                self.expect(self.attach(path, "--force"), GOOD)
                self.publish_later()
                status, shown = self.workspace.run_json("extend", path, *self.roots, "--revocation", "require")
                self.assertEqual((status, shown["changed"]), (GOOD, True), shown)
                self.assertTrue(path.read_bytes().startswith(begin + headers + b"MI"))
                self.assertTrue(path.read_bytes().endswith(other))
                self.expect(self.workspace.run("verify", path, *self.roots, "--revocation", "require"), GOOD)

    def test_stamps_behind_a_message_are_told(self):
        for form in ("DER", "PEM"):
            with self.subTest(form):
                path = self.sign("one.x", "-outform", form, "-nodetach")
                self.expect(self.attach(path, "--force"), GOOD)
                self.assertEqual(self.workspace.run_json("verify", path, *self.roots)[1]["bytesBehind"], 0)
                content = path.read_bytes()
                size = len(content if form == "DER" else base64.b64decode(b"".join(content.splitlines()[1:-1])))
                two = self.workspace.write("two.x", content * 2)
                for words in (("verify", two, *self.roots), ("info", two)):
                    result = self.workspace.run(*words)
                    self.expect(result, GOOD)
                    self.assertIn(f"remark: {size:,} bytes behind the signed message, not looked at".encode(), result.stdout)
                    self.assertEqual(self.workspace.run_json(*words)[1]["bytesBehind"], size)
                self.expect(self.workspace.run("extend", two, *self.roots), REFUSED, "bytes stand behind the signed message",
                            "put each message into a file of its own")
                self.assertEqual(two.read_bytes(), content * 2)

    def failing_authority(self, good, ending):
        """Passes the first `good` requests on to the authority, and calls `ending` for the others."""
        asked = []

        def answer(body):
            asked.append(body)
            if len(asked) > good:
                ending()
                return 403, {}, b""
            return passed_on(self.authority.url, body)

        server = PageServer({"": answer})
        self.addCleanup(server.close)
        return server, asked

    def test_stamps_that_were_had_are_kept_when_a_later_one_fails(self):
        server, asked = self.failing_authority(1, lambda: None)
        words = ("--all", "--force", "--url", server.url, *self.roots)
        path = self.sign("paid.p7s", "-outform", "PEM", "-nodetach", signers=("one", "two", "three"))
        before = path.read_bytes()
        result = self.workspace.run("attach", path, *words)
        self.expect(result, UNREACHABLE, f"can't attach a stamp to {path}: ", "(at signer 2 of 3)",
                    f"{path} holds the stamps had until then: go on there by --signer 2 and so on to 3")
        self.assertIn(b"signer 1 stamped", result.stdout)
        for signer in (2, 3):
            self.expect(self.attach(path, "--signer", signer, "--force"), GOOD)
        status, shown = self.workspace.run_json("verify", path, *self.roots)
        self.assertEqual((status, len(shown["stamps"])), (GOOD, 3), shown)
        asked.clear()
        path.write_bytes(before)
        status, shown = self.workspace.run_json("attach", path, *words)
        self.assertEqual((status, [one["signer"] for one in shown["stamps"]], shown["error"]["word"]),
                         (UNREACHABLE, [1], "forbidden"))
        path.write_bytes(before)
        self.expect(self.workspace.run("attach", path, *words), UNREACHABLE)  # nothing was had, nothing is written
        self.assertEqual(path.read_bytes(), before)

    def test_an_interruption_keeps_what_was_had(self):
        path = self.sign("interrupted.p7s", "-outform", "DER", "-nodetach", signers=("one", "two", "three"))
        waiting = []  # a second signal would end it at once, should the request be sent once more
        server, _ = self.failing_authority(1, lambda: waiting and waiting.pop().send_signal(signal.SIGINT))
        process = subprocess.Popen(
            [program.BIN / "chronoseal", "attach", path, "--all", "--force", "--url", server.url, *map(str, self.roots)],
            env=self.workspace.environment, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE)
        waiting.append(process)
        with process:
            told = process.communicate(timeout=60)[1].decode()
            self.assertEqual(process.returncode, UNREACHABLE, told)
        self.assertEqual(len(self.workspace.run_json("verify", path, *self.roots)[1]["stamps"]), 1, told)

    def parts(self, path):
        """What extending must not touch: everything but the tokens."""
        info = cms.ContentInfo.load(path.read_bytes())["content"]
        signers = [(signer["signed_attrs"].dump(), signer["signature"].native,
                    [attribute["type"].native for attribute in signer["unsigned_attrs"]]) for signer in info["signer_infos"]]
        return info["encap_content_info"].dump(), info["certificates"].dump(), signers

    def test_stamps_within_a_signature_are_extended_in_their_place(self):
        rows = [("two.x", ("-outform", "DER", "-nodetach"), ("one", "two"), ("--all",)),
                ("pem.x", ("-outform", "PEM", "-nodetach"), ("one",), ()),
                ("code.x", ("-outform", "DER", "-nodetach"), ("one",), ("--attribute", "1.3.6.1.4.1.311.3.3.1"))]
        for name, signing, signers, options in rows:
            with self.subTest(name):
                path = self.sign(name, *signing, signers=signers)
                self.expect(self.workspace.run("extend", path, *self.roots), REFUSED, "no time-stamp", "attach")
                self.expect(self.attach(path, *options, "--force"), GOOD)
                self.expect(self.workspace.run("renew", path, *self.roots), REFUSED,
                            f"it is a signed message with {len(signers)} time-stamp", "chronoseal extend")
                self.publish_later()
                der = "DER" in signing
                before = self.parts(path) if der else path.read_bytes()[:20]
                status, shown = self.workspace.run_json("extend", path, *self.roots, "--revocation", "require")
                self.assertEqual((status, [one["revocationLists"] for one in shown["stamps"]]), (GOOD, [1] * len(signers)))
                self.assertEqual(self.parts(path) if der else path.read_bytes()[:20], before)
                self.forget()
                status, shown = self.workspace.run_json("verify", path, *self.roots, "--offline", "--revocation", "require")
                self.assertEqual((status, len(shown["stamps"])), (GOOD, len(signers)), shown)
                for stamp in shown["stamps"]:
                    self.assertEqual(stamp["checks"][-2]["outcome"], "passed")
                check = program.openssl("cms", "-verify", "-binary", "-inform", "DER" if der else "PEM", "-in", path, "-noverify")
                self.assertEqual((check.returncode, check.stdout), (0, self.data.read_bytes()), check.stderr)
                content = path.read_bytes()
                status, shown = self.workspace.run_json("extend", path, *self.roots)
                self.assertEqual((status, shown["changed"], path.read_bytes()), (GOOD, False, content))

    def test_what_stands_in_a_stamps_place_is_not_passed_over(self):
        """Garbage, and an answer that refuses."""
        head = core.ObjectIdentifier("1.3.6.1.4.1.311.3.3.1").dump()
        for value, word in (("3003020105", "not_a_stamp"), ("30053003020102", "not_granted")):
            value = bytes.fromhex(value)
            attribute = head + bytes([0x31, len(value)]) + value
            with self.subTest(word):
                path = self.sign("other.x", "-outform", "DER", "-nodetach")
                self.expect(self.attach(path, "--force"), GOOD)
                info = cms.ContentInfo.load(path.read_bytes())
                info["content"]["signer_infos"][0]["unsigned_attrs"].append(
                    cms.CMSAttribute.load(bytes([0x30, len(attribute)]) + attribute))
                path.write_bytes(info.dump())
                status, shown = self.workspace.run_json("verify", path, *self.roots)
                self.assertEqual((status, len(shown["stamps"])), (REFUSED, 2), shown)
                self.assertEqual([one["error"]["word"] for one in shown["stamps"] if not one["ok"]], [word])
                status, shown = self.workspace.run_json("info", path)
                self.assertEqual(status, GOOD)
                self.assertEqual([one["error"]["word"] for one in shown["unread"]], [word] if word == "not_a_stamp" else [])
                self.expect(self.workspace.run("extend", path, *self.roots), REFUSED)

    def test_a_stamp_that_another_is_over_stays_as_it_is(self):
        for oid in ("1.2.840.113549.1.9.16.2.48", "0.4.0.1733.2.4"):
            path = self.sign("covered.x", "-outform", "DER", "-nodetach")
            self.expect(self.attach(path, "--force"), GOOD)
            self.expect(self.attach(path, "--force", "--attribute", oid), GOOD)
            content = path.read_bytes()
            self.expect(self.workspace.run("extend", path, *self.roots), REFUSED, "a later time-stamp")
            self.assertEqual(path.read_bytes(), content)

    def test_nobody_is_asked_about_a_signature_that_does_not_fit(self):
        listener, url = self.listener()
        good, two = self.sign("good.p7s", "-outform", "DER"), self.sign("two.p7s", "-outform", "DER",
                                                                        signers=("one", "two"))
        forged = bytearray(good.read_bytes())
        forged[-1] ^= 1
        bad = self.workspace.write("bad.p7s", bytes(forged))
        other = self.workspace.write("other.txt", b"something else")
        out = self.workspace.path / "never"
        for words, status, fragment in (((bad,), REFUSED, "isn't that of the certificate"),
                                        ((good, "--data", other), REFUSED, "isn't the one"),
                                        ((two,), USAGE, "2 signers"), ((two, "--signer", "3"), USAGE, "no signer 3"),
                                        ((two, "--signer", "1", "--all"), USAGE, "exclude"),
                                        ((good, "--attribute", "foo"), USAGE, "no object identifier"),
                                        ((other,), REFUSED, "plain text")):
            with self.subTest(words):
                result = self.workspace.run("attach", *words, "--url", url, *self.roots, "--out", out)
                self.expect(result, status, fragment)
        self.assertRaises(TimeoutError, listener.accept)
        self.assertFalse(out.exists())


if __name__ == "__main__":
    program.main()
