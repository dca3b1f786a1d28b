"""Trees under others, lists of hashes, CMS signatures, and the machine, against a live authority."""

import hashlib
import os
import pathlib
import subprocess

import chronoseal
import pytest
from conftest import ROOT, URL, word_of


def tree_of(*data):
    tree = chronoseal.EvidenceTree()
    tree.reserve(len(data))
    for one in data:
        tree.add(one if isinstance(one, chronoseal.Digest) else chronoseal.Digest.of(one))
    return tree


def test_trees_and_lists_share_a_stamp(sealer, tmp_path):
    listed = tmp_path / "list"
    listed.write_bytes(chronoseal.manifest_line(chronoseal.Digest.of(b"c"), "c"))
    left, right = tree_of(b"a", b"b"), chronoseal.ManifestTree(listed)
    whole = tree_of(left.root, right.root)
    stamp = sealer.seal(whole.root)
    with chronoseal.EvidenceVerifier(roots=ROOT) as verifier:
        record = left.record(chronoseal.Digest.of(b"a"), stamp, above=whole.path(left.root))
        assert verifier.verify(record, b"a") and not verifier.verify(record, b"c")
        of_list = right.record(stamp, above=(one for one in whole.path(right.root.value)))
        assert verifier.verify(of_list, listed)
        assert verifier.verify(right.prove(chronoseal.Digest.of(b"c"), of_list), b"c")
    assert word_of(lambda: left.record(chronoseal.Digest.of(b"a"), stamp)) == "imprint_differs"
    assert word_of(lambda: whole.path(b"x")) == "not_in_tree"
    assert record.renewal_algorithm == "SHA-256"
    assert record.digests_of(listed) == (chronoseal.Digest.of(listed),)


def test_a_list_is_read_line_by_line(tmp_path):
    names = [b"a", b"line\nend", b"no utf-8 \xff"]
    text = b"".join(chronoseal.manifest_line(chronoseal.Digest.of(name), name) for name in names)
    (tmp_path / "list").write_bytes(text)
    seen = []
    info = chronoseal.read_manifest(tmp_path / "list", seen.append)
    assert info == chronoseal.ManifestInfo(chronoseal.Digest.of(text), 3)
    assert [(line.number, line.name, line.digest) for line in seen] == [
        (i + 1, name, chronoseal.Digest.of(name)) for i, name in enumerate(names)]
    again = []
    with chronoseal.ManifestReader(again.append) as reader:
        for i in range(len(text)):
            reader.feed(text[i:i + 1])
        assert reader.finish() == info and again == seen
        assert word_of(lambda: reader.feed(b"")) == "manifest_finished"

    def fail(line):
        raise LookupError(line.number)

    with pytest.raises(LookupError):
        chronoseal.read_manifest(tmp_path / "list", fail)
    reader = chronoseal.ManifestReader(fail)
    with pytest.raises(LookupError):
        reader.feed(text * 1000)
    assert word_of(reader.finish) == "manifest_finished"
    (tmp_path / "list").write_bytes(b"hello\n")
    assert word_of(lambda: chronoseal.read_manifest(tmp_path / "list")) == "manifest_line"


@pytest.fixture
def message(tmp_path):
    """A mail that somebody has signed, its content and the signer's certificate."""
    def run(*command):
        subprocess.run(["openssl", *command], check=True, cwd=tmp_path, capture_output=True)

    run("req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:P-256", "-nodes", "-keyout", "key", "-out",
        "certificate", "-subj", "/CN=Person", "-days", "9")
    (tmp_path / "content").write_bytes(b"content\r\n")
    run("cms", "-sign", "-binary", "-in", "content", "-signer", "certificate", "-inkey", "key", "-out", "mail",
        "-nocerts")
    return (tmp_path / "mail").read_bytes(), tmp_path / "certificate"


def test_a_signature_is_read_checked_and_stamped(sealer, message):
    mail, certificate = message
    signature = chronoseal.CmsSignature(mail)
    assert (signature.signers, signature.detached) == (1, False)
    assert signature.encoded == mail
    assert word_of(lambda: signature.check(0)) == "signer_not_found"
    assert signature.check(0, certificates=certificate)
    assert word_of(lambda: signature.check(0, certificates=[certificate], content=b"x")) == "content_differs"
    assert word_of(lambda: signature.value(1)) == "no_signer"
    with pytest.raises(OverflowError):
        signature.value(-1)
    stamp = sealer.seal(signature.value(0))
    stamped = signature.with_stamp(0, stamp)
    found = chronoseal.inspect(stamped.encoded)
    assert (found.kind, found.form) == ("signed_message", "smime")
    assert found.stamps[0].attribute == chronoseal.SIGNATURE_TIME_STAMP
    assert found.stamps[0].stamped == signature.value(0)
    assert word_of(lambda: signature.extended(roots=ROOT)) == "no_stamps"
    assert word_of(lambda: stamped.extended()) == "root_untrusted"
    assert word_of(lambda: stamped.extended(roots=ROOT, revocation=chronoseal.Revocation.OFF)) == "revocation_off"
    assert chronoseal.inspect(chronoseal.rewrap(mail, found.der)).der == found.der
    assert word_of(lambda: signature.with_stamp(0, sealer.seal(b"x"))) == "imprint_differs"
    assert word_of(lambda: chronoseal.CmsSignature(stamp.token)) == "is_a_stamp"


def test_roots_of_the_machine_come_and_go(sealer, tmp_path):
    der = subprocess.run(["openssl", "x509", "-in", ROOT, "-outform", "DER"], check=True, capture_output=True).stdout
    hash_of_root = hashlib.sha256(der).digest()
    before = chronoseal.trusted_roots()
    stamp = sealer.seal(b"x")
    assert word_of(lambda: chronoseal.trust_root(ROOT, bytes(32))) == "root_differs"
    chronoseal.trust_root(ROOT, hash_of_root)
    try:
        added = [one for one in chronoseal.trusted_roots() if one not in before]
        assert [(one.place, one.certificate.sha256, one.certificate.der) for one in added] == [
            ("user", hash_of_root, der)]
    finally:
        chronoseal.distrust_root(hash_of_root)
    assert chronoseal.trusted_roots() == before
    assert word_of(lambda: chronoseal.distrust_root(hash_of_root)) == "root_not_found"
    assert chronoseal.Verifier().verify(stamp, b"x").error.word in ("chain_incomplete", "root_untrusted")


def test_the_machine_tells_all_that_it_tells_in_cpp(sealer):
    assert {"SHA-256", "SHA3-512"} <= {one.name for one in chronoseal.hash_algorithms()}
    assert [one.weak for one in chronoseal.hash_algorithms() if one.name == "SHA-1"] == [True]
    policy = chronoseal.policy()
    assert [store.name for store in policy.stores] == ["Root", "CA", "My", "AddressBook"] and policy.problems == ()
    assert {setting.state for setting in policy.settings} == {chronoseal.SettingState.BY_DEFAULT}
    assert chronoseal.configured_authorities() == ()
    given = chronoseal.Authority(URL, rate=(7, 2), proxy="", timeout=3)
    with chronoseal.Sealer([given], roots=ROOT) as other:
        assert other.authorities == (chronoseal.Authority(
            URL, rate=(7, other.authorities[0].rate[1]), proxy="", timeout=other.authorities[0].timeout),)
        assert [part.total_seconds() for part in (other.authorities[0].rate[1], other.authorities[0].timeout)] == [2, 3]
    words = [one.word for one in chronoseal.diagnose(URL, roots=ROOT, ask=True) if one.area == "authority"]
    assert words and "cannot_connect" not in words
    assert any(one.word == "cannot_connect" for one in chronoseal.diagnose("http://127.0.0.1:1/", roots=ROOT, ask=True))
    assert word_of(lambda: chronoseal.authenticode(b"x", "http://127.0.0.1:1/")) == "cannot_connect"
    assert word_of(lambda: chronoseal.authenticode(b"x")) == "no_address"


def test_a_token_and_a_verdict_tell_all_that_they_tell_in_cpp(sealer):
    stamp = sealer.seal(b"x")
    token = stamp.info.token
    assert token.signature.signature_algorithm == token.signature_algorithm and len(token.signature.value) > 60
    assert "1.2.840.113549.1.9.16.2.47" in [one.oid for one in token.signature.signed_attributes]
    assert token.signature.unsigned_attributes == ()
    signer = token.signer
    assert signer.extended_usages == ("1.3.6.1.5.5.7.3.8",) and len(signer.key_sha256) == 32
    assert [one.critical for one in signer.extensions if one.oid == "2.5.29.37"] == [True]
    assert stamp.received == stamp.response and chronoseal.Stamp(stamp.token).received == b""
    outlook = chronoseal.Verifier(roots=ROOT).verify(stamp, b"x").outlook
    assert outlook.strength is chronoseal.EvidenceStrength.FRESH and outlook.aged_since is None and outlook.renew_before >= stamp.time
    assert chronoseal.Verifier(roots=ROOT).verify(stamp, b"y").outlook is not None
