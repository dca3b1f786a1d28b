"""The command as people, scripts and attackers use it: nothing lost, nothing forged on the screen, many files."""

import base64
import hashlib
import json
import os
import signal
import stat
import subprocess
import time
import unittest

from asn1crypto import cms, core

import forge
import program
from end_to_end import WithAuthority, WithFolder
from program import GOOD, REFUSED, UNREACHABLE, USAGE

# What must never reach a terminal raw: C0, DEL, C1, bidirectional controls, line ends, broken UTF-8.
HOSTILE = b"a\x1b[2J\x07\x7f\xc2\x9b\xe2\x80\xae\r\nchronoseal: good\xe2\x81\xa6\xff z"
RAW = [b"\x1b", b"\x07", b"\x7f", b"\xc2\x9b", b"\xe2\x80\xae", b"\r", b"\xe2\x81\xa6", b"\xff"]


class Files(WithFolder):
    """Written files, overwriting, and what is told from what."""

    def test_empty_values_are_wrong_usage(self):
        data, stamp = self.stamped()
        for words in (("verify", stamp, "--data", ""), ("verify", stamp, "--digest", ""),
                      ("verify", stamp, "--request", ""), ("verify", stamp, "--roots", ""),
                      ("verify", ""), ("info", ""), ("stamp", ""), ("stamp", data, "--out", ""),
                      ("stamp", data, "--url", ""), ("stamp", data, "--hash", ""),
                      ("stamp", data, "--policy", ""), ("verify", "--roots=", stamp), ("stamp", "--roots=", data, data), ("verify", stamp, "--revocation", "")):
            with self.subTest(words):
                self.expect(self.workspace.run(*words), USAGE)

    def test_an_option_takes_one_value_an_occurrence(self):
        root, victim, data = self.authority.root, self.file("victim.pem"), self.file("a.txt")
        self.expect(self.workspace.run("stamp", "--url", self.authority.url, "--roots", root, victim, data), GOOD)
        self.assertTrue((self.folder / "victim.pem.tsr").exists())
        self.assertTrue((self.folder / "a.txt.tsr").exists())
        self.expect(self.workspace.run("verify", "--roots", root, "--roots", root, self.folder / "a.txt.tsr"), GOOD)

    def test_nothing_is_overwritten(self):
        data, stamp = self.stamped()
        first = stamp.read_bytes()
        self.expect(self.workspace.run("stamp", data, *self.trust), UNREACHABLE, "--force")
        self.assertEqual(stamp.read_bytes(), first)
        self.expect(self.workspace.run("stamp", data, *self.trust, "--skip-existing"), GOOD)
        self.expect(self.workspace.run("stamp", data, *self.trust, "--skip-existing", "--force"), USAGE, "--force")
        self.assertEqual(stamp.read_bytes(), first)
        stamp.chmod(0o640)
        self.expect(self.workspace.run("stamp", data, *self.trust, "--force"), GOOD)
        self.assertNotEqual(stamp.read_bytes(), first)
        self.assertEqual(stat.S_IMODE(stamp.stat().st_mode), 0o640)
        self.assertEqual(sorted(p.name for p in self.folder.iterdir()), ["a", "a.tsr"], "nothing left behind")

    def test_never_onto_an_input_and_only_onto_files(self):
        data = self.file("a")
        link, other = self.folder / "link", self.folder / "hard"
        link.symlink_to(data)
        os.link(data, other)
        pipe = self.folder / "pipe"
        os.mkfifo(pipe)
        listener, url = self.listener()
        for out in (data, link, other, pipe, self.folder, self.folder / "none" / "x", "/dev/null"):
            for force in ((), ("--force",)):
                with self.subTest(out=out, force=force):
                    self.expect(self.workspace.run("stamp", data, "--url", url, "--out", out, *force), UNREACHABLE,
                                "can't write")
        self.assertRaises(TimeoutError, listener.accept)
        self.assertEqual(data.read_bytes(), b"content")

    def test_stamps_are_left_out_of_a_batch(self):
        for name in ("a", "b"):
            self.file(name)
        self.expect(self.workspace.run("stamp", *self.folder.iterdir(), *self.trust), GOOD)
        names = sorted(self.folder.iterdir())
        result = self.workspace.run("stamp", *names, *self.trust, "--skip-existing")
        self.expect(result, GOOD)
        self.assertEqual(sorted(p.name for p in self.folder.iterdir()), ["a", "a.tsr", "b", "b.tsr"])
        self.expect(self.workspace.run("stamp", self.folder / "a.tsr", *self.trust), GOOD)
        self.assertTrue((self.folder / "a.tsr.tsr").exists())

    def test_no_result_is_written_over_what_is_read_or_over_another_result(self):
        data, stamp = self.stamped()
        root = self.folder / "own-root.pem"
        root.write_bytes(self.authority.root.read_bytes())
        kept = {path: path.read_bytes() for path in (data, stamp, root)}
        verify = ("verify", stamp, "--roots", root, "--force", "--report")
        for words, status in ((verify + (data,), UNREACHABLE), (verify + (root,), UNREACHABLE), (verify + ("-",), USAGE),
                              (("stamp", data, stamp, *self.trust, "--force"), UNREACHABLE),
                              (("stamp", data, *self.trust, "--force", "--certs-out", self.authority.root), UNREACHABLE),
                              (("stamp", data, *self.trust, "--force", "--token-out", stamp), USAGE),
                              (("stamp", data, *self.trust, "--out", self.folder / "new", "--certs-out",
                                f"{self.folder}/./new"), USAGE),
                              (("stamp", data, *self.trust, "--force", "--token-out", "-"), USAGE)):
            with self.subTest(words):
                self.expect(self.workspace.run(*words), status)
                self.assertEqual({path: path.read_bytes() for path in kept}, kept)

    def test_no_command_writes_over_what_it_is_told_to_read(self):
        (data, stamp), login = self.stamped(), self.file("login", b"user:word")
        login.chmod(0o600)
        root = self.file("own-root.pem", self.authority.root.read_bytes())
        query, signature = self.folder / "a.tsq", self.folder / "a.p7s"
        self.expect(self.workspace.run("request", data, "--out", query), GOOD)
        program.openssl("cms", "-sign", "-in", data, "-signer", self.authority.root, "-inkey", self.authority.folder / "root.key",
                        "-outform", "DER", "-out", signature).check_returncode()
        listener, url = self.listener()
        asking = ("--url", url, "--roots", root, "--user-file", login)
        kept = {path: path.read_bytes() for path in (data, login, root, stamp, query, signature)}
        for words in (("stamp", data, *asking), ("send", query, *asking), ("attach", signature, *asking),
                      ("extend", stamp, "--roots", root), ("authenticode", data, "--url", url, "--roots", root),
                      ("renew", stamp, *asking), ("request", query)):
            for out in {login, root, query}.intersection(words):
                with self.subTest(words[0], out=out.name):
                    self.expect(self.workspace.run(*words, "--out", out, "--force"), UNREACHABLE, "the same file as the input")
        self.assertEqual({path: path.read_bytes() for path in kept}, kept)
        self.assertRaises(TimeoutError, listener.accept)

    def test_a_second_run_over_a_whole_folder_says_what_stood_in_its_way(self):
        for name in ("a", "b"):
            self.file(name)
        (self.folder / "sub").mkdir()
        os.mkfifo(self.folder / "pipe")
        for options in ((), ("--skip-existing",), ()):
            result = self.workspace.run("stamp", *sorted(self.folder.iterdir()), *self.trust, *options, timeout=60)
            self.assertEqual(result.returncode, UNREACHABLE)
            shown = result.stderr.decode()
            self.assertRegex(shown, "can't stamp .*/sub: it is a folder; .*--together")
            self.assertRegex(shown, "can't stamp .*/pipe: it is a pipe")
            self.assertNotIn("input", shown)
        self.expect(self.workspace.run("stamp", self.folder / "sub", *self.trust), UNREACHABLE,
                    "sub: it is a folder; ", "--together")
        self.assertRegex(shown, "can't write .*/a.tsr: it is there already; take it away, or overwrite it by --force")
        self.assertRegex(shown, ".*/a.tsr is left out: it is a stamp itself")
        result = self.workspace.run("stamp", self.folder / "a", *self.trust, "--skip-existing")
        self.expect(result, GOOD, "a is left out: ", "a.tsr is there already")

    def test_a_failure_names_its_file_whatever_the_name(self):
        for name in ("a", "the", "not a time-stamp"):
            path = self.file(name, b"words")
            result = self.workspace.run("verify", name, "--no-data", cwd=self.folder)
            self.expect(result, REFUSED, f"can't verify {path.name}: ", "; check the file")
        (self.folder / "a.tsr").write_bytes(b"")
        self.expect(self.workspace.run("verify", self.folder / "a"), REFUSED, f"verify {self.folder}/a.tsr")

    def test_a_name_in_brackets_is_one_file(self):
        self.file("a", b"not this one")
        odd = self.file("[a]", b"this one")
        self.expect(self.workspace.run("stamp", odd, *self.trust), GOOD)
        self.assertTrue((self.folder / "[a].tsr").exists())
        self.assertFalse((self.folder / "a.tsr").exists())

    def test_what_can_be_checked_is_checked_before_the_authority_is_asked(self):
        data = self.file("a")
        listener, url = self.listener()
        not_a_root = self.file("not-a-root")
        calls = [(("--roots", "/no/such/root"), UNREACHABLE), (("--roots", not_a_root), UNREACHABLE),
                 (("--out", "/no/such/folder/x"), UNREACHABLE), (("--hash", "crc32"), USAGE),
                 (("--out", self.folder / ("x" * 256)), UNREACHABLE), (("--policy", "bla"), USAGE),
                 (("--policy", "1..2"), USAGE), (("--policy", "3.1"), USAGE), (("--at", "2020-01-01"), USAGE),
                 (("--crls", self.authority.root), UNREACHABLE)]
        for words, status in calls:
            with self.subTest(words):
                self.expect(self.workspace.run("stamp", data, "--url", url, *words), status)
        query = self.folder / "a.tsq"
        self.expect(self.workspace.run("request", data, "--out", query), GOOD)
        self.assertIn(b"certificates   not asked for", self.workspace.run("info", query).stdout)
        self.expect(self.workspace.run("send", query, "--out", self.folder / "x", "--url", url), USAGE, "can't send ",
                    "--cert,", "--certs,", "--no-verify")
        self.workspace.configure('[config.cades.tsppolicy]\nAllowedTSPs = ["http://other/"]\n')
        huge = self.folder / "huge"
        with open(huge, "wb") as file:
            file.truncate(8 << 30)
        begin = time.monotonic()
        self.expect(self.workspace.run("stamp", huge, "--url", url), REFUSED, "0xC2100103")
        self.assertLess(time.monotonic() - begin, 3, "it was hashed before the policy was asked")
        self.workspace.configure("")
        self.expect(self.workspace.run("stamp", data), USAGE, "address", "--url")
        self.assertRaises(TimeoutError, listener.accept)

    def test_side_files(self):
        data = self.file("a")
        token, certs, lists = self.folder / "a.token", self.folder / "a.pem", self.folder / "a.crl"
        self.expect(self.workspace.run("stamp", data, *self.trust, "--token-out", token, "--certs-out", certs, "--crls-out",
                                       lists), GOOD, "no revocation list was used", "a.crl is empty")
        shown = program.openssl("ts", "-verify", "-data", data, "-token_in", "-in", token, "-CAfile",
                                self.authority.root, "-untrusted", certs)
        self.assertIn(b"Verification: OK", shown.stdout)
        self.expect(self.workspace.run("stamp", data, "--url", self.authority.url, "--no-verify", "--force", "--certs-out",
                                       self.folder / "none.pem"), GOOD, "none.pem is empty")
        written = certs.read_bytes()
        self.assertEqual(written.count(b"BEGIN CERTIFICATE"), 2)  # the chain, as OpenSSL would write it
        first = program.openssl("x509", "-in", certs).stdout
        self.assertTrue(first and written.startswith(first), written)

    def test_digest_and_finished_request(self):
        data = self.file("a")
        digest = hashlib.sha512(b"content").hexdigest()
        out = self.folder / "by-digest.tsr"
        self.expect(self.workspace.run("stamp", "--digest", digest, "--hash", "sha512", *self.trust, "--out", out), GOOD)
        self.expect(self.verify(out, data), GOOD)
        self.assertIn(b"authority\", standard input", self.verify(out, "-", stdin=b"content").stdout)
        self.expect(self.workspace.run("stamp", "--digest", "00", *self.trust, "--out", out, "--force"), USAGE)
        query, sent = self.folder / "a.tsq", self.folder / "sent.tsr"
        program.openssl("ts", "-query", "-data", data, "-sha256", "-cert", "-out", query)
        self.expect(self.workspace.run("send", query, "--out", sent, *self.trust), GOOD)
        check = program.openssl("ts", "-verify", "-queryfile", query, "-in", sent, "-CAfile", self.authority.root)
        self.assertIn(b"Verification: OK", check.stdout)
        self.expect(self.workspace.run("verify", sent, "--request", query, *self.roots), GOOD)
        other = self.folder / "b.tsq"
        program.openssl("ts", "-query", "-data", data, "-sha256", "-cert", "-out", other)
        verify = ("verify", sent, *self.roots, "--request")
        self.expect(self.workspace.run(*verify, other), REFUSED, "the answer to another request")
        self.expect(self.workspace.run(*verify, query, "--at", "2020-01-01"), REFUSED, "name a time by --at")
        self.expect(self.workspace.run(*verify, data), REFUSED, f"can't read {data}: ")

    def test_what_a_stamp_is_compared_with(self):
        (data, stamp), roots = self.stamped(), self.roots
        result = self.workspace.run("verify", stamp, *roots)
        self.expect(result, GOOD)
        self.assertIn(str(data).encode(), result.stdout)
        self.assertIn(b"Throw-away", result.stdout)
        data.write_bytes(b"other")
        self.expect(self.workspace.run("verify", stamp, *roots), REFUSED, "0x80091007")
        data.unlink()
        self.expect(self.workspace.run("verify", stamp, *roots), USAGE, "--data", "--digest", "--no-data")
        result = self.workspace.run("verify", stamp, *roots, "--no-data")
        self.expect(result, GOOD)
        self.assertIn(b"compared with nothing", result.stdout)
        data.write_bytes(b"content")
        second = self.file("a.2.tsr", stamp.read_bytes())  # of a quorum, unless a file is named so
        self.expect(self.workspace.run("verify", second, *roots), GOOD)
        self.expect(self.workspace.run("renew", "--convert-only", second, *roots), GOOD)
        self.expect(self.workspace.run("verify", self.folder / "a.2.ers", *roots), GOOD)
        self.file("a.2", b"other")
        self.expect(self.workspace.run("verify", second, *roots), REFUSED, "0x80091007")
        self.expect(self.workspace.run("verify", stamp, *roots, "--no-data", "-q"), GOOD)
        self.assertEqual(self.workspace.run("verify", stamp, *roots, "--no-data", "-q").stdout, b"")

    def test_verbose_tells_every_check(self):
        data, stamp = self.stamped()
        for words in (("verify", stamp, *self.roots), ("stamp", data, *self.trust, "--force")):
            shown = self.workspace.run(*words, "-v").stdout
            for check in (b"status", b"imprint", b"nonce", b"policy", b"time", b"content_type", b"signer", b"signature",
                          b"extensions", b"chain", b"usage", b"revocation", b"strength"):
                self.assertIn(check, shown)

    def test_what_can_be_read_once_only_is_enough(self):
        """Roots by a pipe, as the shell makes one: nothing is judged a second time for being told, or kept."""
        data = self.file("a")
        for i, words in enumerate((("-v",), ("--certs-out", self.folder / "chain.pem"))):
            call = ("stamp", data, "--out", self.folder / f"{i}.tsr", "--url", self.authority.url, *words)
            result = subprocess.run(["bash", "-c", 'root=$1; shift; "$@" --roots <(cat "$root")', "bash", self.authority.root,
                                     program.BIN / "chronoseal", *map(str, call)],
                                    env=self.workspace.environment, capture_output=True, timeout=60)
            self.expect(result, GOOD)
        self.assertEqual((self.folder / "chain.pem").read_bytes().count(b"BEGIN CERTIFICATE"), 2)

    def test_forms_that_are_read(self):
        data, stamp = self.stamped()
        der = stamp.read_bytes()
        text = base64.encodebytes(der)
        forms = {"b64": text, "flat": base64.b64encode(der),
                 "pem": b"-----BEGIN TIMESTAMP RESPONSE-----\n" + text + b"-----END TIMESTAMP RESPONSE-----\n"}
        for name, content in forms.items():
            with self.subTest(name):
                path = self.file(name, content)
                self.expect(self.verify(path, data), GOOD)
                self.expect(self.workspace.run("info", path), GOOD)

    def test_the_page_stands_alone_and_escapes(self):
        _, stamp = self.stamped("a<b>.txt")
        page = self.folder / "case.html"
        verify = ("verify", stamp, *self.roots, "--report", page)
        self.expect(self.workspace.run(*verify), GOOD)
        text = page.read_text()
        self.assertIn("Good.", text)
        self.assertIn("a&lt;b&gt;.txt", text)
        self.assertIn(hashlib.sha256(stamp.read_bytes()).hexdigest(), text)
        self.assertNotIn("<b>", text)
        self.assertRegex(text, r"<th>Renew before</th><td>\d{4}-.*: ")
        self.assertNotIn("http://", text.split("</style>")[1].split("<body>")[0])
        self.expect(self.workspace.run(*verify), UNREACHABLE, "name another by --report, or overwrite it by --force")


class ManyFiles(WithAuthority):
    def many(self, name, count):
        folder = self.workspace.path / name
        folder.mkdir()
        return folder, [self.workspace.write(f"{name}/f{i:04}", b"x" * i) for i in range(count)]  # the first one empty

    def test_a_batch_stamped_verified_and_gone_on_with(self):
        folder, files = self.many("many", 60)
        result = self.workspace.run("stamp", *files, *self.trust, "--jobs", 8, "--json-lines")
        self.expect(result, GOOD)
        lines = [json.loads(line) for line in result.stdout.splitlines()]
        self.assertEqual(sorted(line["file"] for line in lines[:-1]), [str(f) for f in files])
        self.assertEqual(lines[-1]["summary"]["stamped"], 60)
        (folder / "f0007.tsr").unlink()
        status, shown = self.workspace.run_json("stamp", *files, *self.trust, "--skip-existing")
        self.assertEqual((status, shown["summary"]["stamped"], shown["summary"]["skipped"]), (GOOD, 1, 59))
        stamps = [file.with_name(file.name + ".tsr") for file in files]
        status, shown = self.workspace.run_json("verify", *stamps, *self.roots)
        self.assertEqual((status, shown["summary"]["good"], len(shown["files"])), (GOOD, 60, 60))
        files[3].write_bytes(b"changed")
        result = self.workspace.run("verify", *stamps, *self.roots)
        self.expect(result, REFUSED, "f0003.tsr", "0x80091007")
        self.assertIn(b"59 good, 1 not", result.stdout)

    def test_an_interrupted_batch_leaves_whole_files_and_a_true_summary(self):
        folder, files = self.many("interrupted", 2000)
        process = subprocess.Popen(
            [program.BIN / "chronoseal", "stamp", *files, *self.trust, "--json"], env=self.workspace.environment, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
        program.wait_until(lambda: len(list(folder.glob("*.tsr"))) > 5)
        process.send_signal(signal.SIGINT)
        shown = json.loads(process.communicate(timeout=60)[0])
        self.assertEqual(process.returncode, UNREACHABLE)
        stamps = list(folder.glob("*.tsr"))
        self.assertTrue(shown["summary"]["interrupted"])
        self.assertEqual(shown["summary"]["stamped"], len(stamps))
        self.assertLess(len(stamps), len(files))
        self.expect(self.workspace.run("verify", *stamps, *self.roots), GOOD)
        self.assertEqual(len(list(folder.iterdir())), len(files) + len(stamps), "half a file was left")

    def test_a_dead_authority_is_not_asked_file_by_file(self):
        _, files = self.many("dead", 40)
        _, url = self.listener()
        begin = time.monotonic()
        result = self.workspace.run("stamp", *files, "--url", url, "--timeout", 1, "--attempts", 1, "--no-verify",
                                    "--jobs", 2)
        self.assertEqual(result.returncode, UNREACHABLE)
        self.assertLess(time.monotonic() - begin, 15)
        self.assertEqual(len(result.stderr.splitlines()), 40)


class TheMachinesWord(WithAuthority):
    def test_revocation_is_looked_at_as_strictly_as_the_machine_says(self):
        data = self.workspace.write("strict", b"content")
        self.expect(self.workspace.run("stamp", data, *self.trust), GOOD)
        stamp = self.workspace.path / "strict.tsr"
        calls = [("verify", stamp, *self.roots), ("stamp", data, *self.trust, "--force")]
        for own, mode, status in (("", "available", REFUSED), ("", "require", GOOD), ('Revocation = "available"', "off", REFUSED),
                                  ('Revocation = "available"', "available", GOOD)):
            self.workspace.configure(f"[config.basalt]\nWeakerRevocation = false\n{own}\n")
            for words in calls:
                with self.subTest(own=own, mode=mode, words=words[0]):
                    line = self.expect(self.workspace.run(*words, "--revocation", mode), status)
                    self.assertIn("" if status == GOOD else "WeakerRevocation", line)


class Screen(program.SystemTest):
    """Foreign text on its way to a terminal."""

    def assert_clean(self, result):
        for stream in (result.stdout, result.stderr):
            for raw in RAW:
                self.assertNotIn(raw, stream)
            self.assertFalse([line for line in stream.split(b"\n") if line.startswith(b"chronoseal: good")])

    def test_status_text_of_a_refusal(self):
        text = HOSTILE.replace(b"\xff", b"").decode() * 20
        path = self.workspace.write("refusal.tsr", forge.make_response(None, status=2, text=text, failure_bit=0))
        result = self.workspace.run("info", path)
        self.expect(result, GOOD)
        self.assert_clean(result)
        result = self.workspace.run("verify", path, "--no-data")
        self.expect(result, REFUSED, "badAlg")
        self.assert_clean(result)
        self.assertLess(len(result.stderr), 1500, "the text is cut")
        shown = json.loads(self.workspace.run("verify", path, "--no-data", "--json").stdout)
        self.assertEqual(shown["status"]["failInfo"], ["badAlg"])

    def test_file_names(self):
        name = os.fsdecode(HOSTILE.replace(b"/", b""))
        path = self.workspace.path / name
        path.write_bytes(b"no stamp")
        for words in (("info", path), ("verify", path, "--no-data"), ("stamp", path, "--url", "http://127.0.0.1:9/"),
                      ("verify", path), ("info", self.workspace.path / (name + "missing"))):
            result = self.workspace.run(*words)
            self.assertNotEqual(result.returncode, GOOD)
            self.assert_clean(result)
            self.assertEqual(len(result.stderr.strip().splitlines()), 1)

    def test_names_in_a_token(self):
        folder = self.workspace.path
        evil = HOSTILE.replace(b"\xff", b"").decode()[:60]
        root = forge.issue(folder, evil, ca=True)
        tsa = forge.issue(folder, evil + " tsa", root)
        info = forge.tst_info(hashlib.sha256(b"data").digest())
        stamp = self.workspace.write("evil.tsr", forge.make_token(tsa, info))
        data = self.workspace.write("data", b"data")
        roots = root.write_pem(folder / "evil.pem")
        for words in (("info", stamp), ("verify", stamp, "--data", data, "--roots", roots, "-v"),
                      ("verify", stamp, "--data", data)):
            with self.subTest(words):
                result = self.workspace.run(*words)
                self.assert_clean(result)
        page = folder / "evil.html"
        self.expect(self.workspace.run("verify", stamp, "--data", data, "--roots", roots, "--report", page), GOOD)
        for raw in RAW:
            self.assertNotIn(raw, page.read_bytes())
        sha256 = hashlib.sha256(root.certificate.dump()).hexdigest()
        for words in (("trust", "add", roots, "--sha256", "00" * 32), ("trust", "add", roots, "--sha256", sha256),
                      ("trust", "list"), ("verify", stamp, "--data", data, "-v"), ("trust", "remove", sha256)):
            self.assert_clean(self.workspace.run(*words))

    def test_what_an_authority_is_called_and_where_it_sends_one(self):
        folder = self.workspace.path
        evil = HOSTILE.replace(b"\xff", b"").decode()
        root = forge.issue(folder, "root", ca=True)
        place = "http://127.0.0.1:9/" + evil.encode("ascii", "ignore").decode()
        tsa = forge.issue(folder, "tsa", root, extra_extensions=[
            {"extn_id": "crl_distribution_points", "critical": False, "extn_value": core.ParsableOctetString(forge.element(
                0x30, forge.element(0x30, forge.element(0xA0, forge.element(0xA0, forge.element(0x86, place.encode()))))))}])
        info = forge.tst_info(hashlib.sha256(b"data").digest(), tsa=forge.name_of(evil[:60]))
        stamp = self.workspace.write("called.tsr", forge.make_token(tsa, info))
        data, roots = self.workspace.write("data", b"data"), root.write_pem(folder / "called.pem")
        for words in (("info", stamp), ("verify", stamp, "--data", data, "--roots", roots, "-v"),
                      ("verify", stamp, "--data", data, "--roots", roots, "--revocation", "require")):
            self.assert_clean(self.workspace.run(*words))
        self.assertIn(b"\\x1b[2J", self.workspace.run("info", stamp).stdout)

    def test_addresses_and_settings(self):
        evil = HOSTILE.replace(b"\xff", b"").decode()
        data = self.workspace.write("data", b"data")
        for words in (("--url", "http://127.0.0.1:9/" + evil), ("--url", evil), ("--hash", evil), ("--policy", evil),
                      ("--url", "http://127.0.0.1:9/", "--proxy", evil), (evil,), ("--" + evil,), ("--roots", evil)):
            result = self.workspace.run("stamp", data, "--out", self.workspace.path / "never", "--attempts", "1", *words)
            self.assertNotEqual(result.returncode, GOOD)
            self.assert_clean(result)
        quoted = json.dumps(evil)
        for text in (f"[config.cades.tsppolicy]\n{quoted} = 1\nDefaultTSPURL = {quoted}\nAllowedTSPs = [{quoted}]\n",
                     f"[config.{quoted}]\na = {quoted}\n", f"[config.trace.levels]\n{quoted} = {quoted}\n",
                     f"[[config.chronoseal.authority]]\nUrl = {quoted}\nURL = {quoted}\n", f"x = {evil}\n"):
            self.workspace.configure(text)
            for words in (("policy", "show"), ("doctor",), ("stamp", data), ("stamp", data, "--url", "http://127.0.0.1:9/")):
                with self.subTest(text=text, words=words):
                    self.assert_clean(self.workspace.run(*words))


class CarriedStamps(program.SystemTest):
    def test_a_stamp_carried_by_a_forged_token_makes_it_no_better(self):
        folder = self.workspace.path
        root = forge.issue(folder, "honest root", ca=True)
        honest = forge.issue(folder, "honest tsa", root)
        evil = forge.issue(folder, "evil", forge.issue(folder, "evil root", ca=True))
        data = self.workspace.write("data", b"data")
        content = forge.tst_info(hashlib.sha256(b"data").digest())
        info = forge.signer_info(evil, content, forge.signed_attributes(evil, content))
        signature = cms.SignerInfo.load(info)["signature"].native
        carried = forge.make_token(honest, forge.tst_info(hashlib.sha256(signature).digest()))
        _, begin, end = forge.read_header(info, 0)
        info = forge.element(0x30, info[begin:end] + forge.element(0xA1, forge.attribute("1.2.840.113549.1.9.16.2.14", carried)))
        stamp = self.workspace.write("forged.tst", forge.signed_data(content, [info], [evil.der]))
        result = self.workspace.run("verify", stamp, "--data", data, "--roots", root.write_pem(folder / "honest.pem"))
        self.expect(result, REFUSED, "0x800B01")


class Interrupting(WithAuthority):
    def test_the_first_interruption_ends_waiting_for_a_silent_pipe(self):
        pipe = self.workspace.path / "pipe"
        os.mkfifo(pipe)
        out = self.workspace.path / "silent.tsr"
        stamp = ("stamp", *self.trust, "--out", out)
        for words in (("verify", "-", "--no-data"), ("verify", pipe, "--no-data"), (*stamp, "-"), (*stamp, pipe)):
            with self.subTest(words=[str(word) for word in words]):
                self.expect(self.workspace.interrupted(*words), UNREACHABLE, "cancelled")
        self.assertFalse(out.exists())

    def test_a_pipe_is_read_to_its_end(self):
        pipe = self.workspace.path / "full-pipe"
        os.mkfifo(pipe)
        out = self.workspace.path / "full.tsr"
        process = subprocess.Popen([program.BIN / "chronoseal", "stamp", pipe, *self.trust, "--out", out, "-q"],
                                   env=self.workspace.environment)
        with open(pipe, "wb") as writer:
            writer.write(b"first")
            writer.flush()
            time.sleep(0.3)
            writer.write(b" and last")
        self.assertEqual(process.wait(60), GOOD)
        self.expect(self.verify(out, self.workspace.write("full", b"first and last")), GOOD)


class AtAShell(WithAuthority):
    """What a shell makes of the streams, and what is copied from the screen into it."""

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.data = cls.workspace.write("shell", b"content")
        assert cls.workspace.run("stamp", cls.data, *cls.trust).returncode == GOOD
        cls.stamp = cls.workspace.path / "shell.tsr"

    def shell(self, script, *words):
        return subprocess.run(["sh", "-c", script, program.BIN / "chronoseal", *map(str, words)], cwd=self.workspace.path,
                              env=dict(self.workspace.environment, PATH=f"{program.BIN}:/usr/bin:/bin"), capture_output=True)

    def test_what_could_not_be_told_is_no_success(self):
        verify = ("verify", self.stamp, *self.roots)
        for words in (("--version",), ("--help",), ("help", "verify"), ("help", "--dump"), ("info", self.stamp), verify,
                      (*verify, "--json"), (*verify, "--json-lines"), ("policy", "show"), ("trust", "list", "--json"),
                      ("stamp", self.data, "--out", "-", *self.trust), ("request", self.data, "--out", "-")):
            for where in ("> /dev/full", ">&-"):
                with self.subTest(words[0], where=where):
                    self.expect(self.shell('"$0" "$@" ' + where, *words), UNREACHABLE, "can't write")
        self.expect(self.shell('"$0" "$@" >&-', *verify, "-q"), GOOD)
        self.assertEqual(self.shell('"$0" "$@" 2>&-', "verify", "nothing").returncode, UNREACHABLE)

    def test_a_reader_that_goes_away_leaves_whole_stamps(self):
        for i in range(40):
            self.workspace.write(f"pipe{i}", b"x")
        self.shell('"$0" stamp pipe? pipe?? "$@" --json-lines | head -n 1', *self.trust)
        stamps = [path for path in self.workspace.path.glob("pipe*") if path.name.endswith(".tsr")]
        self.expect(self.workspace.run("verify", *stamps, *self.roots), GOOD)
        self.assertFalse(list(self.workspace.path.glob("**/.chronoseal-*")))

    def test_nothing_is_stamped_in_the_place_of_data_that_are_missing(self):
        for words in (("stamp", "-", *self.trust, "--out", "nothing.tsr"), ("verify", "-", "--no-data"), ("info", "-"),
                      ("verify", self.stamp, "--data", "-"), ("request", "-", "--out", "nothing.tsq")):
            with self.subTest(words[0]):
                self.expect(self.shell('"$0" "$@" <&-', *words), UNREACHABLE, "can't read standard input")
        self.assertFalse(list(self.workspace.path.glob("nothing.*")))

    def test_no_stamp_is_shown_to_a_terminal(self):
        for words in (("stamp", self.data, *self.trust), ("request", self.data), ("extend", self.stamp)):
            with self.subTest(words[0]):
                reader, terminal = os.openpty()
                result = subprocess.run([program.BIN / "chronoseal", *words, "--out", "-"], env=self.workspace.environment,
                                        stdin=subprocess.DEVNULL, stdout=terminal, stderr=subprocess.PIPE)
                os.close(terminal)
                result.stdout = b""
                self.expect(result, UNREACHABLE, "terminal")
                os.set_blocking(reader, False)
                self.assertRaises(OSError, os.read, reader, 1)
                os.close(reader)

    def test_the_line_to_type_is_one_word_for_each_value(self):
        for name in ("two words.tsr", "it's; touch pwned $(touch pwned) `touch pwned`.tsr", "-q.tsr", "\u00fc&\u6587.tsr"):
            with self.subTest(name):
                (self.workspace.path / name).write_bytes(self.stamp.read_bytes())
                result = self.shell('"$0" "$@"', "verify", "--data", "shell", "--", name)
                line = self.expect(result, REFUSED, "trust it: ")
                call = line.split("trust it: ")[1]
                self.expect(self.shell(call), GOOD)
                self.expect(self.shell('"$0" "$@"', "verify", "--data", "shell", "--", name), GOOD)
                self.expect(self.workspace.run("trust", "remove", call.split()[-1]), GOOD)
        self.assertFalse((self.workspace.path / "pwned").exists())
        odd = self.workspace.write("odd\n.tsr", self.stamp.read_bytes())
        self.expect(self.workspace.run("verify", odd, "--data", self.data), REFUSED, "trust add FILE --sha256")

    def test_a_root_is_trusted_by_the_hash_as_other_tools_print_it(self):
        shown = program.openssl("x509", "-in", self.authority.root, "-noout", "-fingerprint", "-sha256").stdout.decode()
        colons = shown.strip().split("=")[1]
        for value, status in ((colons, GOOD), (colons.replace(":", "").lower(), GOOD), (colons[:32 * 2], USAGE),
                              (colons[:-3], USAGE), ("00" * 32, REFUSED)):
            self.expect(self.workspace.run("trust", "add", self.authority.root, "--sha256", value), status)
        for path, status in ((self.authority.root, REFUSED), (self.data, UNREACHABLE), ("none.pem", UNREACHABLE)):
            self.expect(self.workspace.run("trust", "add", path, "--sha256", "00" * 32), status, str(path))
        self.expect(self.workspace.run("trust", "remove", "00"), USAGE, "64 hexadecimal digits")
        self.expect(self.workspace.run("trust", "remove", colons), GOOD)

    @unittest.skipIf(*program.NO_OTHER_CLOCK)
    def test_doctor_counts_the_days(self):
        for date, wanted in (("2040-01-01", r"its certificate ended \d{3,4} days ago"), ("2027-01-01", r"ends in \d{4} days")):
            result = subprocess.run([program.BIN / "chronoseal", "doctor", *self.trust], capture_output=True, text=True,
                                    env={**self.workspace.environment, **program.by_clock(f"@{date} 00:00:00")})
            self.assertRegex(result.stdout, wanted, (result.returncode, result.stderr))


class WordsOfACall(program.SystemTest):
    def test_usage_errors_are_one_line_that_names_the_word(self):
        for words, fragments in ((("frobnicate",), ("frobnicate",)), (("verfy", "x"), ("verfy", "verify")),
                                 (("stamp", "x", "--ulr", "y"), ("--ulr", "--url")),
                                 (("stamp", "x", "--rots=y"), ("--rots", "--roots")), ((), ("no command",)),
                                 (("verify", "a", "--data", "b", "--digest", "00"), ("--data",))):
            with self.subTest(words):
                result = self.workspace.run(*words)
                line = self.expect(result, USAGE, *fragments)
                self.assertTrue(line.startswith("chronoseal: "), line)
                shown = json.loads(self.workspace.run(*words, "--json").stdout)
                self.assertEqual((shown["ok"], shown["error"]["word"]), (False, "usage"))

    def test_nothing_far_fetched_is_proposed(self):
        for words in (("frob",), ("stamp", "-x"), ("verify", "a", "-z")):
            self.assertNotIn("did you mean", self.expect(self.workspace.run(*words), USAGE))
        (self.workspace.path / "-x").write_bytes(b"")
        self.expect(self.workspace.run("stamp", "-x", cwd=self.workspace.path), USAGE, "./ in front")

    def test_help(self):
        for words in (("--help",), ("help",), ("help", "verify"), ("verify", "--help")):
            result = self.workspace.run(*words)
            self.expect(result, GOOD)
            self.assertIn(b"Exit status", result.stdout)
            self.assertIn(b"Usage: chronoseal " + (b"verify" if "verify" in words else b"["), result.stdout)

    def test_a_slip_below_a_command_points_to_help_that_is_there(self):
        for words, told in ((("policy", "sho"), "did you mean show?"), (("policy",), "policy wants one of: show"),
                            (("policy", "show", "--frob"), "--frob"), (("trust", "add", "x"), "--sha256"),
                            (("trust", "list", "x"), "too much of list"), (("renew", "x", "--quorum", "2"), "no option of renew"),
                            (("doctor", "--at", "2035-01-01"), "no option of doctor")):
            line = self.expect(self.workspace.run(*words), USAGE, "see chronoseal ", told)
            call = line.rsplit("see chronoseal ", 1)[1].split()
            self.expect(self.workspace.run(*call), GOOD)
        self.expect(self.workspace.run("help", "trust", "nonsense"), USAGE, "nonsense")

    def test_failures_of_policy_and_doctor_are_errors_in_json(self):
        for text, word in (("[config.cades.tsppolicy]\nRequireNonce = 'x'\n", "policy_unusable"), ("no toml [", "policy_unreadable")):
            self.workspace.configure(text)
            status, shown = self.workspace.run_json("policy", "show")
            self.assertNotEqual(status, GOOD)
            self.assertEqual((shown["ok"], shown["error"]["word"]), (False, word))
            status, shown = self.workspace.run_json("doctor")
            self.assertEqual((status, shown["ok"], shown["error"]["word"]), (REFUSED, False, "machine_not_ready"))

    def test_wrong_stream_for_two_things(self):
        for words in (("verify", "-", "--data", "-"), ("verify", "-", "-"), ("help", "nonsense"),("stamp", "-", "-"), ("stamp", "-", "a"), ("stamp", "a", "b", "--out", "c")):
            self.expect(self.workspace.run(*words, "--url", "http://127.0.0.1:9/"), USAGE)


if __name__ == "__main__":
    program.main()
