"""GOST algorithms, where OpenSSL has the engine for them; and everything else where it hasn't."""

import functools
import hashlib
import os
import subprocess
import unittest

import program
from asn1crypto import tsp
from page_server import PageServer
from program import GOOD, REFUSED, USAGE

DATA = b"stamped by other rules\n" * 1000
HAS_ENGINE = b"[ available ]" in program.openssl("engine", "-t", "gost").stdout
HASHES = {"GOST-94": ("md_gost94", "1.2.643.2.2.9"),
          "GOST-2012-256": ("md_gost12_256", "1.2.643.7.1.1.2.2"),
          "GOST-2012-512": ("md_gost12_512", "1.2.643.7.1.1.2.3")}
# Key types of the engine, a parameter set of each, and the hash that goes with it.
KEYS = {"gost2001": ("A", "md_gost94"), "gost2012_256": ("TCB", "md_gost12_256"),
        "gost2012_512": ("A", "md_gost12_512")}

ENGINE_CONFIGURATION = """
openssl_conf = init
[init]
engines = engines
[engines]
gost = gost
[gost]
default_algorithms = ALL
[req]
distinguished_name = name
[name]
[root]
basicConstraints = critical,CA:TRUE
keyUsage = critical,keyCertSign,cRLSign
subjectKeyIdentifier = hash
[tsa]
keyUsage = critical,digitalSignature
extendedKeyUsage = critical,timeStamping
[ca]
default_ca = one_ca
[one_ca]
default_md = {hash}
database = {folder}/index.txt
default_crl_days = 30
default_days = 30
[ts]
default_tsa = one
[one]
serial = {folder}/serial
signer_digest = {hash}
default_policy = 1.2.3.4.1
digests = md_gost94, md_gost12_256, md_gost12_512, sha256
ess_cert_id_alg = {ess}
tsa_name = yes
accuracy = secs:1
"""


class GostAuthority:
    """A root and an authority with keys of one kind; what it does is done by the openssl command."""

    def __init__(self, folder, key, ess="sha256"):
        folder.mkdir()
        self.folder, self.root, self.certificate = folder, folder / "root.pem", folder / "tsa.pem"
        self.parameters, self.hash = KEYS[key]
        self.key, self.configuration = key, folder / "openssl.cnf"
        self.configure(ess)
        (folder / "serial").write_text("1000")
        (folder / "index.txt").touch()
        self.run("req", "-x509", *self.new_key("root"), "-subj", f"/CN={key} root", "-days", "30",
                 "-extensions", "root", "-out", self.root)
        self.run("req", *self.new_key("tsa"), "-new", "-subj", f"/CN={key} authority", "-out",
                 folder / "tsa.csr")
        self.run("x509", "-req", "-in", folder / "tsa.csr", "-CA", self.root, "-CAkey",
                 folder / "root.key", "-set_serial", "7", "-days", "30", "-extfile",
                 self.configuration, "-extensions", "tsa", "-out", self.certificate)

    def configure(self, ess):
        self.configuration.write_text(
            ENGINE_CONFIGURATION.format(folder=self.folder, hash=self.hash, ess=ess))

    def new_key(self, name):
        return ("-newkey", self.key, "-pkeyopt", f"paramset:{self.parameters}", "-nodes", "-keyout",
                self.folder / f"{name}.key")

    def run(self, *arguments, stdin=None):
        result = subprocess.run(["openssl", *map(str, arguments)], input=stdin, capture_output=True,
                                env=dict(os.environ, OPENSSL_CONF=str(self.configuration)))
        if result.returncode != 0:
            raise AssertionError(f"openssl {arguments}: {result.stderr.decode()}")
        return result.stdout

    def answer(self, query):
        path = self.folder / "query"
        path.write_bytes(query)
        reply = self.folder / "reply"
        self.run("ts", "-reply", "-config", self.configuration, "-section", "one", "-queryfile", path,
                 "-inkey", self.folder / "tsa.key", "-signer", self.certificate, "-out", reply)
        return reply.read_bytes()

    def stamp(self, data, hash_name):
        return self.answer(self.run("ts", "-query", "-data", data, "-" + hash_name, "-cert"))

    def crl(self):
        path = self.folder / "root.crl"
        self.run("ca", "-config", self.configuration, "-name", "one_ca", "-gencrl", "-cert",
                 self.root, "-keyfile", self.folder / "root.key", "-out", path)
        return path

    def revoke(self):
        self.run("ca", "-config", self.configuration, "-name", "one_ca", "-revoke",
                 self.certificate, "-cert", self.root, "-keyfile", self.folder / "root.key")

    def ocsp_answer(self, path):
        der = self.folder / "ocsp.req"
        self.run("ocsp", "-issuer", self.root, "-cert", self.certificate, "-no_nonce", "-reqout", der)
        self.run("ocsp", "-index", self.folder / "index.txt", "-CA", self.root, "-rsigner", self.root,
                 "-rkey", self.folder / "root.key", "-reqin", der, "-respout", path, "-ndays", "1")
        return path


class GostTest(program.SystemTest):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.data = cls.workspace.write("data", DATA)

    @classmethod
    @functools.cache
    def authority(cls, key):
        return GostAuthority(cls.workspace.path / key, key)

    def run_bare(self, *arguments):
        """Where OpenSSL finds no engines."""
        empty = self.workspace.path / "no-engines"
        empty.mkdir(exist_ok=True)
        return self.workspace.run(*arguments, env=dict(self.workspace.environment, OPENSSL_ENGINES=str(empty)))

    def stored(self, content, name="stamp.tsr"):
        return self.workspace.write(name, content)

    def verify(self, stamp, authority, *options, data=None):
        return self.workspace.run("verify", stamp, "--data", data or self.data, "--roots",
                                  authority.root, *options)


@unittest.skipUnless(HAS_ENGINE, "OpenSSL has no GOST engine here")
class WithTheEngine(GostTest):
    def test_hashes_are_those_of_openssl(self):
        for name, (openssl_name, oid) in HASHES.items():
            for content in (b"", b"x", DATA):
                with self.subTest(name=name, size=len(content)):
                    file = self.workspace.write("hashed", content)
                    query = self.workspace.path / "q"
                    self.expect(self.workspace.run("request", file, "--hash", name, "--force", "--out", query), GOOD)
                    imprint = tsp.TimeStampReq.load(query.read_bytes())["message_imprint"]
                    self.assertEqual(imprint["hash_algorithm"]["algorithm"].dotted, oid)
                    theirs = program.openssl("dgst", "-engine", "gost", "-" + openssl_name, "-r", file)
                    self.assertEqual(imprint["hashed_message"].native.hex(),
                                     theirs.stdout.split()[0].decode())

    def test_stamps_under_every_kind_of_key_and_hash(self):
        other = self.workspace.write("other", b"other data")
        for key in KEYS:
            authority = self.authority(key)
            for hash_name in [*(name for name, _ in HASHES.values()), "sha256"]:
                with self.subTest(key=key, hash=hash_name):
                    stamp = self.stored(authority.stamp(self.data, hash_name))
                    self.expect(self.verify(stamp, authority), GOOD)
                    self.expect(self.verify(stamp, authority, data=other), REFUSED, "0x80091007")
                    status, shown = self.workspace.run_json("info", stamp)
                    self.assertEqual(status, GOOD)
                    self.assertIn(f"{key} authority", shown["token"]["signer"]["subject"])

    def test_certificate_identifiers_by_gost_hashes(self):
        authority = self.authority("gost2012_256")
        self.addCleanup(authority.configure, "sha256")
        for ess in ("md_gost94", "md_gost12_256", "md_gost12_512", "sha1"):
            with self.subTest(ess):
                authority.configure(ess)
                self.expect(self.verify(self.stored(authority.stamp(self.data, "sha256")), authority),
                            GOOD)

    def test_a_changed_signature_and_a_changed_certificate(self):
        for key in KEYS:
            authority = self.authority(key)
            stamp = authority.stamp(self.data, authority.hash)
            changed = bytearray(stamp)
            changed[-1] ^= 1
            self.expect(self.verify(self.stored(bytes(changed)), authority), REFUSED, "0x80090006")
            # The same names and another root's key.
            with self.subTest(key):
                twin = GostAuthority(self.workspace.path / f"{key}-twin", key)
                self.expect(self.verify(self.stored(stamp), twin), REFUSED)

    def test_revocation_lists_and_ocsp_answers(self):
        for key in KEYS:
            with self.subTest(key):
                authority = GostAuthority(self.workspace.path / f"{key}-revoked", key)
                database = authority.folder / "index.txt"
                database.write_text(f"V\t401231235959Z\t\t07\tunknown\t/CN={key} authority\n")
                clean, answer = authority.crl(), authority.ocsp_answer(authority.folder / "good.ocsp")
                authority.revoke()
                revoked = authority.ocsp_answer(authority.folder / "revoked.ocsp")
                stamp = self.stored(authority.stamp(self.data, authority.hash))
                for evidence in (clean, answer):
                    self.expect(self.verify(stamp, authority, "--crls", evidence, "--revocation",
                                            "require"), GOOD)
                for evidence in (authority.crl(), revoked):
                    self.expect(self.verify(stamp, authority, "--crls", evidence), REFUSED, "revoked")

    def test_an_exchange_from_end_to_end(self):
        authority = self.authority("gost2012_512")
        server = PageServer({"": lambda body: (200, {}, authority.answer(body))})
        self.addCleanup(server.close)
        for hash_name in HASHES:
            with self.subTest(hash_name):
                out = self.workspace.path / "exchanged"
                self.expect(self.workspace.run(
                    "stamp", self.data, "--hash", hash_name, "--cert", "--roots", authority.root,
                    "--url", server.url, "--force", "--out", out), GOOD)
                self.expect(self.verify(out, authority), GOOD)

    def test_a_machine_without_the_engine_takes_no_gost(self):
        """Tokens made here with the engine, and read as on a machine that hasn't got it."""
        authority = self.authority("gost2012_256")
        by_gost = self.stored(authority.stamp(self.data, "md_gost12_256"), "gost.tsr")
        by_sha = self.stored(authority.stamp(self.data, "sha256"), "sha.tsr")
        self.expect(self.run_bare("verify", by_gost, "--data", self.data, "--roots", authority.root),
                    REFUSED, "0x80090015")
        self.expect(self.run_bare("info", by_gost), GOOD)
        # A GOST signature over another hash: it can be read, but not verified.
        self.expect(self.run_bare("info", by_sha), GOOD)
        self.expect(self.run_bare("verify", by_sha, "--data", self.data, "--roots", authority.root), REFUSED)


class WithoutTheEngine(GostTest):
    def test_gost_hashes_are_unknown_and_the_rest_works(self):
        query = self.workspace.path / "q"
        for name in HASHES:
            self.expect(self.run_bare("request", self.data, "--hash", name, "--force", "--out", query), USAGE,
                        "0x80090008")
        for name in ("SHA-1", "SHA-256", "SHA-384", "SHA-512"):
            self.expect(self.run_bare("request", self.data, "--hash", name, "--force", "--out", query), GOOD)
            digest = hashlib.new(name.replace("-", ""), DATA).digest()
            imprint = tsp.TimeStampReq.load(query.read_bytes())["message_imprint"]
            self.assertEqual(imprint["hashed_message"].native, digest)

    def test_other_authorities_stamp_and_verify(self):
        authority = program.Authority(self.workspace.path / "plain")
        self.addCleanup(authority.close)
        stamp = self.workspace.path / "plain.tsr"
        self.expect(self.run_bare("stamp", self.data, "--url", authority.url, "--roots", authority.root,
                             "--force", "--out", stamp), GOOD)
        self.expect(self.run_bare("verify", stamp, "--data", self.data, "--roots", authority.root), GOOD)


if __name__ == "__main__":
    program.main()
