"""The road of a real stamp: the command against chronoseal-tsa and against OpenSSL's own tool, both ways."""

import hashlib
import pathlib
import subprocess

import program
from program import GOOD, REFUSED, UNREACHABLE, USAGE

README = pathlib.Path(__file__).resolve().parents[2] / "README.md"

OPENSSL_TSA = """
[tsa]
default_tsa = one
[one]
serial = {folder}/serial
signer_digest = sha256
default_policy = 1.2.3.4.1
other_policies = 1.2.3.4.5
digests = sha256, sha384, sha512
accuracy = secs:1, millisecs:500, microsecs:100
ordering = yes
tsa_name = yes
ess_cert_id_chain = {chain}
ess_cert_id_alg = {ess}
"""


class WithAuthority(program.SystemTest):
    init = ()
    options = ()

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.authority = program.Authority(cls.workspace.path / "tsa", *cls.options, init=cls.init)
        cls.addClassCleanup(cls.authority.close)
        cls.roots = ("--roots", cls.authority.root)
        cls.trust = ("--url", cls.authority.url, *cls.roots)

    def stamp(self, *options):
        path = self.workspace.path / "r.tsr"
        return self.workspace.run("stamp", README, *self.trust, "--out", path, "--force", *options), path

    def verify(self, stamp, data, **keywords):
        return self.workspace.run("verify", stamp, "--data", data, *self.roots, **keywords)


class WithFolder(WithAuthority):
    """Beside the authority, a folder of each test's own."""

    def setUp(self):
        super().setUp()
        self.folder = self.workspace.path / self.id().rsplit(".", 1)[-1]
        self.folder.mkdir()

    def file(self, name, content=b"content"):
        path = self.folder / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(content)
        return path

    def stamped(self, name="a"):
        data = self.file(name)
        self.expect(self.workspace.run("stamp", data, *self.trust), GOOD)
        return data, self.folder / f"{name}.tsr"


class StampAndVerify(WithAuthority):
    def test_openssl_accepts_what_we_got_and_so_do_we(self):
        for options in ((), ("--hash", "sha384"), ("--hash", "SHA-512"), ("--no-nonce",),
                        ("--hash", "2.16.840.1.101.3.4.2.1")):
            with self.subTest(options):
                result, path = self.stamp("--cert", *options)
                self.expect(result, GOOD)
                check = program.openssl("ts", "-verify", "-data", README, "-in", path, "-CAfile",
                                        self.authority.root)
                self.assertIn(b"Verification: OK", check.stdout)
                self.expect(self.verify(path, README), GOOD)

    def test_info_tells_all_fields(self):
        _, path = self.stamp("--cert")
        status, shown = self.workspace.run_json("info", path)
        self.assertEqual(status, GOOD)
        token = shown["token"]
        self.assertEqual(shown["status"]["name"], "granted")
        self.assertEqual(token["imprint"]["algorithm"], "SHA-256")
        self.assertEqual(token["imprint"]["digest"], hashlib.sha256(README.read_bytes()).hexdigest())
        self.assertEqual(token["accuracyMicroseconds"], 1000000)
        self.assertEqual(token["policy"], "1.3.6.1.4.1.13762.3")
        self.assertTrue(token["nonce"])
        self.assertFalse(token["ordering"])
        self.assertIn("Throw-away time-stamp authority", token["tsa"])
        self.assertIn("Throw-away time-stamp authority", token["signer"]["subject"])
        text = program.openssl("ts", "-reply", "-in", path, "-text").stdout.decode()
        self.assertIn("0x" + token["serialNumber"].lstrip("0").upper(), text.upper().replace("0X", "0x"))
        self.assertRegex(token["time"], r"^\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d(\.\d+)?Z$")

    def test_digest_in_place_of_data(self):
        _, path = self.stamp()
        digest = hashlib.sha256(README.read_bytes()).hexdigest()
        verify = ("verify", path, *self.roots, "--digest")
        self.expect(self.workspace.run(*verify, digest.upper()), GOOD)
        self.expect(self.workspace.run(*verify, digest[:-1] + "x"), USAGE)
        wrong = "0" * 64
        self.expect(self.workspace.run(*verify, wrong), REFUSED, "0x80091007", "SHA-256", wrong, digest)

    def test_bare_token_and_standard_streams(self):
        _, path = self.stamp()
        token = self.workspace.path / "token"
        program.openssl("ts", "-reply", "-in", path, "-token_out", "-out", token)
        self.expect(self.verify(token, README), GOOD)
        self.expect(self.verify("-", README, stdin=path.read_bytes()), GOOD)
        result = self.workspace.run("stamp", "-", *self.trust, stdin=b"piped")
        self.expect(result, GOOD)
        piped = self.workspace.write("piped.tsr", result.stdout)
        data = self.workspace.write("piped", b"piped")
        self.expect(self.verify(piped, data), GOOD)

    def test_of_several_files_the_worst_status_counts(self):
        file, missing = self.workspace.write("there", b"content"), self.workspace.path / "missing"
        status, shown = self.workspace.run_json("stamp", file, missing, *self.trust)
        self.assertEqual(status, UNREACHABLE)
        self.assertEqual(sorted((entry["file"], entry["ok"]) for entry in shown["files"]),
                         [(str(missing), False), (str(file), True)])

    def test_large_file_in_little_memory(self):
        large = self.workspace.path / "large"
        with open(large, "wb") as file:
            file.truncate(256 << 20)
        self.stays_small(32, GOOD, "request", large, "--out", self.workspace.path / "large.tsq")


class OtherKinds(program.SystemTest):
    def test_p256_v1_ordering_and_no_accuracy(self):
        authority = program.Authority(
            self.workspace.path / "p256", "--ess-v1", "--ordering", "--no-tsa-name", "--accuracy",
            "0", "0", "0", "--policy", "1.2.3", "1.2.4", init=("--key", "p256"))
        self.addCleanup(authority.close)
        path = self.workspace.path / "p256.tsr"
        self.expect(self.workspace.run(
            "stamp", README, "--url", authority.url, "--policy", "1.2.4", "--roots", authority.root,
            "--out", path), GOOD)
        check = program.openssl("ts", "-verify", "-data", README, "-in", path, "-CAfile",
                                authority.root)
        self.assertIn(b"Verification: OK", check.stdout)
        _, shown = self.workspace.run_json("info", path)
        self.assertTrue(shown["token"]["ordering"])
        self.assertIsNone(shown["token"]["accuracyMicroseconds"])
        self.assertIsNone(shown["token"]["tsa"])
        self.assertEqual(shown["token"]["policy"], "1.2.4")


class Requests(program.SystemTest):
    def test_openssl_prints_our_request(self):
        path = self.workspace.path / "r.tsq"
        self.expect(self.workspace.run("request", README, "--out", path, "--cert", "--policy",
                                       "1.2.3.4"), GOOD)
        text = program.openssl("ts", "-query", "-in", path, "-text").stdout.decode()
        self.assertIn("Hash Algorithm: sha256", text)
        self.assertIn("Certificate required: yes", text)
        self.assertIn("Policy OID: 1.2.3.4", text)
        self.assertIn("Nonce: 0x", text)
        printed = "".join(line.split("-", 1)[1].split("   ")[0] for line in text.splitlines()
                          if line.strip().startswith("00"))
        digits = "".join(c for c in printed if c in "0123456789abcdef")
        self.assertEqual(digits, hashlib.sha256(README.read_bytes()).hexdigest())

    def test_nonces_differ_and_can_be_left_out(self):
        first, second, none = (self.workspace.path / name for name in ("a", "b", "c"))
        for path, options in ((first, ()), (second, ()), (none, ("--no-nonce",))):
            self.expect(self.workspace.run("request", README, "--out", path, "--force", *options), GOOD)
        self.assertNotEqual(first.read_bytes(), second.read_bytes())
        text = program.openssl("ts", "-query", "-in", none, "-text").stdout
        self.assertIn(b"Nonce: unspecified", text)


class TokensByOpenssl(program.SystemTest):
    def make(self, key, ess, chain, *options):
        folder = self.workspace.path / f"{key}-{ess}-{chain}"
        subprocess.run([program.BIN / "chronoseal-tsa", "--init", folder, "--key", key], check=True,
                       capture_output=True)
        (folder / "serial").write_text("1000")
        (folder / "conf").write_text(OPENSSL_TSA.format(folder=folder, ess=ess, chain=chain))
        query, reply = folder / "q", folder / "r"
        program.openssl("ts", "-query", "-data", README, "-sha256", "-cert", "-out", query)
        made = program.openssl("ts", "-reply", "-config", folder / "conf", "-queryfile", query,
                               "-inkey", folder / "tsa.key", "-signer", folder / "tsa.pem",
                               "-chain", folder / "root.pem", "-out", reply, *options)
        self.assertEqual(made.returncode, 0, made.stderr)
        return folder, reply

    def test_all_kinds_verify_here(self):
        for key in ("rsa2048", "p256"):
            for ess in ("sha1", "sha256"):
                for chain, options in (("no", ()), ("yes", ()), ("no", ("-token_out",))):
                    with self.subTest(key=key, ess=ess, chain=chain, options=options):
                        folder = self.workspace.path / f"{key}-{ess}-{chain}"
                        if folder.exists():
                            subprocess.run(["rm", "-rf", folder], check=True)
                        folder, reply = self.make(key, ess, chain, *options)
                        self.expect(self.workspace.run(
                            "verify", reply, "--data", README, "--roots", folder / "root.pem"), GOOD)


class PolicyShow(program.SystemTest):
    def test_values_and_where_they_come_from(self):
        self.workspace.configure('[config.cades.tsppolicy]\nRequireNonce = true\n'
                                 'AllowedTSPs = ["http://a/", "http://b/"]\nRequireNonse = 1\n')
        status, shown = self.workspace.run_json("policy", "show")
        self.assertEqual(status, GOOD)
        keys = {row["key"]: row for row in shown["keys"]}
        prefix = "config.cades.tsppolicy."
        self.assertIs(keys[prefix + "RequireNonce"]["value"], True)
        self.assertTrue(keys[prefix + "RequireNonce"]["origin"].endswith("config.toml"))
        self.assertEqual(keys[prefix + "AllowedTSPs"]["value"], ["http://a/", "http://b/"])
        self.assertIsNone(keys[prefix + "DisableNonce"]["origin"])
        self.assertEqual(shown["unknown"], [prefix + "RequireNonse"])

    def test_broken_file_stops_everything(self):
        self.workspace.configure("[config.cades.tsppolicy\n")
        self.expect(self.workspace.run("policy", "show"), UNREACHABLE, "config.toml")
        states = {row["state"] for row in self.workspace.run_json("policy", "show")[1]["keys"]}
        self.assertEqual(states, {"unreadable"})
        self.expect(self.workspace.run("trust", "list"), UNREACHABLE, "config.toml")
        result = self.workspace.run("request", README, "--out", self.workspace.path / "q")
        self.expect(result, UNREACHABLE, "0x8007045A")

    def test_file_that_others_may_write_stops_everything(self):
        for mode in (0o664, 0o646):
            self.workspace.configure("[config.cades.tsppolicy]\n")
            (self.workspace.path / "config.toml").chmod(mode)
            self.expect(self.workspace.run("policy", "show"), UNREACHABLE, "config.toml")
            for words in (("request", README), ("stamp", README, "--url", "http://127.0.0.1:9/"),
                          ("authenticode", README, "--url", "http://127.0.0.1:9/")):
                result = self.workspace.run(*words, "--out", self.workspace.path / "q")
                self.expect(result, UNREACHABLE, "0x8007045A", "config.toml", "chmod")
        (self.workspace.path / "config.toml").chmod(0o644)

    def test_failures_stand_behind_the_results_that_they_are_about(self):
        result = self.workspace.run("doctor", capture_output=False, stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        self.assertRegex(result.stdout.decode().splitlines()[-1], "^chronoseal: .*the faults above")

    def test_a_root_of_the_system_is_not_taken_away(self):
        authority = program.Authority(self.workspace.path / "system")
        authority.close()
        (self.workspace.path / "no-roots.pem").write_bytes(authority.root.read_bytes())
        (root,) = self.workspace.run_json("trust", "list")[1]["roots"]
        self.assertEqual(root["place"], "system")
        for place in ((), ("--machine",)):
            self.expect(self.workspace.run("trust", "remove", root["sha256"], *place), REFUSED, "it comes with the system",
                        "SystemRoots = false")
        (self.workspace.path / "no-roots.pem").unlink()


if __name__ == "__main__":
    program.main()
