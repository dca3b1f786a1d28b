"""Real tokens that others made: each imports with the fields that its manifest tells; those whose chain is at hand
verify; those marked as bad don't.

The data lies beside the checkout, in ../shared/data; where it doesn't, the tests are skipped.
"""

import csv
import pathlib
import re
import unittest

import program
from program import GOOD, REFUSED, UNREACHABLE

DATA = pathlib.Path(__file__).resolve().parents[3] / "shared" / "data"
CERTS = DATA / "tokens" / "certs"

# Where OpenSSL's tool refuses and the standard doesn't.
OPENSSL_LIMITS = (
    ("Field=cert", "OpenSSL's TS reader refuses attribute certificates in the set"),
    ("Field=crl", "OpenSSL's TS reader refuses other revocation information"),
)

# What the library reads otherwise, on purpose.
OWN_RULES = {
    "peer_TimeStampTokenWithSignerVersion2.p7s_648b6c1d.tst":
        "the version number of SignerInfo isn't judged, as OpenSSL doesn't",
    "xx_Test-TSA-Timestamping_20221103_cb42c5b2.tsr": "its genTime has a zone, which the protocol doesn't allow",
}

# Read, and refused for a hash that is broken.
WEAK = {
    "au_Eric-H-Echidna_20220824_832c0bc4.tst": "its content is hashed by MD5",
    "au_Eric-H-Echidna_20220824_451e1f3b.tst": "its content is hashed by MD5",
}


def read_manifest(folder):
    with open(DATA / folder / "MANIFEST.tsv", newline="") as file:
        rows = list(csv.DictReader(file, delimiter="\t", quoting=csv.QUOTE_NONE))
    for row in rows:
        row["path"] = DATA / folder / row["file"]
    return [row for row in rows if row["path"].exists()]


def chain_of(row):
    paths = [CERTS / f"{part}.der" for part in row["chain_sha16"].split(",") if part]
    return [path for path in paths if path.exists()]


class Judgement:
    """What the command says of one row."""

    def __init__(self, workspace, row):
        self.status, self.shown = workspace.run_json("info", row["path"])
        chain = chain_of(row)
        self.has_chain = bool(chain)
        self.verdict = None
        self.line = ""
        token = self.shown.get("token")
        if token and chain:
            arguments = ["verify", row["path"], "--offline", "--revocation", "off", "--digest",
                         row["digest"] or token["imprint"]["digest"], "--roots", chain[-1]]
            for path in chain:
                arguments += ["--certs", path]
            result = workspace.run(*arguments)
            self.verdict = result.returncode
            self.line = result.stderr.decode(errors="replace").strip()


def openssl_verdict(row):
    return row["openssl_partial_chain"] or row["openssl_ts_verify"]


def reason_of_difference(row, ours):
    theirs = openssl_verdict(row)
    if row["file"] in OWN_RULES:
        return OWN_RULES[row["file"]]
    if row["file"] in WEAK:
        return WEAK[row["file"]]
    if (ours == GOOD) == (theirs == "ok"):
        return ""
    for fragment, reason in OPENSSL_LIMITS:
        if ours == GOOD and fragment in theirs:
            return reason
    if ours == GOOD and theirs == "no-root":
        return "the last certificate at hand is trusted here, and is no root"
    return ""


@unittest.skipUnless(DATA.exists(), "no real data beside the checkout")
class RealTokens(program.SystemTest):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.judged = [(row, Judgement(cls.workspace, row)) for row in read_manifest("tokens")
                      if row["kind"] != "req"]

    def test_all_import_with_their_fields(self):
        for row, judgement in self.judged:
            with self.subTest(row["file"]):
                if row["file"] in OWN_RULES:
                    self.assertEqual(judgement.status, REFUSED)
                    continue
                self.assertEqual(judgement.status, GOOD)
                token = judgement.shown["token"]
                self.assertEqual(token["imprint"]["digest"], row["digest"])
                self.assertEqual(token["policy"], row["policy"])
                if row["genTime"].endswith("Z"):  # another zone is taken as UTC, digits and all
                    self.assertEqual(re.sub(r"[-:TZ]", "", token["time"]),
                                     re.sub(r"(\.\d*?)0*Z$", r"\1", row["genTime"]).rstrip("Z."))
                self.assertEqual(token["nonce"], bool(row["nonce"]))

    def test_those_with_their_chain_verify(self):
        count = 0
        for row, judgement in self.judged:
            if judgement.has_chain and openssl_verdict(row) == "ok" and row["file"] not in OWN_RULES | WEAK:
                count += 1
                with self.subTest(row["file"]):
                    self.assertEqual(judgement.verdict, GOOD, judgement.line)
        self.assertGreater(count, 100)

    def test_every_difference_has_its_reason(self):
        for row, judgement in self.judged:
            if judgement.has_chain and (judgement.verdict == GOOD) != (openssl_verdict(row) == "ok"):
                with self.subTest(row["file"]):
                    self.assertTrue(reason_of_difference(row, judgement.verdict),
                                    f"{judgement.line} / {openssl_verdict(row)}")


@unittest.skipUnless(DATA.exists(), "no real data beside the checkout")
class Attacks(program.SystemTest):
    def test_marked_as_bad_are_refused(self):
        for row in read_manifest("attack"):
            expected = row["expected_by_peer"].lower()
            if not expected.startswith("invalid") and not expected.startswith("parse error"):
                continue
            # What only the caller's own policy or another's file refuses isn't told by the token.
            if any(words in expected for words in (
                    "peer refuses sha-1", "unless the certificate", "not in the trusted root")):
                continue
            if row["file"] in OWN_RULES:
                continue
            with self.subTest(row["file"]):
                judgement = Judgement(self.workspace, row)
                self.assertIn(judgement.status, (GOOD, REFUSED))
                self.assertNotEqual(judgement.verdict, GOOD, row["why"])

    def test_rejections_tell_their_reason(self):
        for row in read_manifest("attack"):
            if row["category"] == "rejection":
                status, shown = self.workspace.run_json("info", row["path"])
                self.assertEqual(status, GOOD)
                self.assertEqual(shown["status"]["name"], "rejection")
                self.assertIsNone(shown["token"])


if __name__ == "__main__":
    program.main()
