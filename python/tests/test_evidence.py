"""Records, renewals and attaching against a live authority, whose address and root stand in CHRONOSEAL_TEST_URL and
CHRONOSEAL_TEST_ROOT."""

import datetime
import hashlib
import os
import pathlib
import shutil
import subprocess

import chronoseal
import pytest
from conftest import ROOT, URL, word_of

DATA = [b"first \0", b"second", b"third"]
OFF = chronoseal.Revocation.OFF


@pytest.fixture
def verifier():
    with chronoseal.EvidenceVerifier(roots=ROOT, revocation=OFF) as one:
        yield one


@pytest.fixture
def records(sealer):
    """One for each of the data, under one stamp."""
    digests = [chronoseal.Digest.of(one) for one in DATA]
    with chronoseal.EvidenceTree() as tree:
        for digest in digests:
            tree.add(digest)
        assert tree.size == len(DATA)
        stamp = sealer.seal(tree.root)
        return [tree.record(digest, stamp) for digest in digests]


def test_one_stamp_proves_each_of_many(records, verifier, tmp_path):
    for record, data in zip(records, DATA):
        verdict = verifier.verify(record, data)
        assert verdict and verdict.compared and verdict.error is None and verdict.failed_stamp is None
        assert verdict.strength is chronoseal.EvidenceStrength.FRESH
        age = datetime.datetime.now(datetime.timezone.utc) - verdict.existed_by
        assert datetime.timedelta(minutes=-1) < age < datetime.timedelta(minutes=5)
        assert verdict.existed_by < verdict.renew_before <= verdict.stamps[0].certificates_end
        assert verdict.stamps[0].verdict.good and verdict.stamps[0].covered_by is None
    bad = verifier.verify(records[0], DATA[1])
    assert not bad and bad.error.word == "not_in_tree" and bad.existed_by is None
    with pytest.raises(chronoseal.Error):
        bad.raise_unless_good()
    (tmp_path / "data").write_bytes(DATA[0])
    records[0].save(tmp_path / "data.ers")
    with pytest.raises(FileExistsError):
        records[0].save(tmp_path / "data.ers")
    seen = []
    assert verifier.verify(tmp_path / "data.ers", tmp_path / "data", progress=lambda *told: seen.append(told))
    assert seen[-1] == (len(DATA[0]), len(DATA[0]))
    assert verifier.verify(records[0], without_data=True)
    assert verifier.verify(records[0], digests=[[chronoseal.Digest.of(DATA[0])]])
    for nonsense in (lambda: verifier.verify(records[0]),
                     lambda: verifier.verify(records[0], DATA[0], without_data=True)):
        with pytest.raises(ValueError):
            nonsense()
    assert word_of(lambda: verifier.verify(records[0], tmp_path / "missing")) == "file_unreadable"


def test_a_stamp_that_is_not_good_says_why(records):
    stranger = chronoseal.EvidenceVerifier(roots=ROOT, revocation=OFF,
                                           as_of=datetime.datetime(2001, 1, 1, tzinfo=datetime.timezone.utc))
    verdict = stranger.verify(records[0], DATA[0])
    assert not verdict and verdict.failed_stamp == 0
    assert verdict.stamps[0].verdict.error.word == verdict.error.word


def test_a_record_is_a_value(records):
    again = chronoseal.EvidenceRecord(records[0].der)
    assert again == records[0] != records[1] and hash(again) == hash(records[0])
    info = again.info
    assert [one.name for one in info.algorithms] == ["SHA-256"] and not info.encrypted
    assert info.stamps[0].lists[0] == 1 and info.stamps[0].chain == 0
    plain = chronoseal.EvidenceRecord.of_stamp(info.stamps[0].stamp)
    assert plain.info.stamps[0].lists == ()
    assert again.data_algorithms == ("SHA-256",) and again.renewal_algorithm == "SHA-256"
    assert word_of(lambda: chronoseal.EvidenceRecord(b"hello")) == "not_a_record"
    again.close()
    assert word_of(lambda: again.der) == "argument_missing"


def test_a_tree_refuses_what_does_not_belong(sealer):
    tree = chronoseal.EvidenceTree()
    assert word_of(lambda: tree.root) == "tree_empty"
    assert word_of(lambda: tree.add(chronoseal.Digest.of(b"x", "SHA-512"))) == "digest_malformed"
    group = [chronoseal.Digest.of(one) for one in DATA[:2]]
    tree.add_group(group)
    tree.add(chronoseal.Digest.of(DATA[2]))
    stamp = sealer.seal(tree.root)
    assert word_of(lambda: tree.record(group[0], stamp)) == "not_in_tree"
    assert word_of(lambda: tree.record(group, sealer.seal(b"other"))) == "imprint_differs"
    verifier = chronoseal.EvidenceVerifier(roots=ROOT, revocation=OFF)
    record = tree.record(group, stamp)
    assert verifier.verify(record, digests=[[one] for one in group])
    assert verifier.verify(record, digests=[[group[0]], [chronoseal.Digest.of(DATA[2])]]).error.word == "not_in_tree"


def test_records_are_renewed_by_a_stamp_and_by_a_hash(records, sealer, verifier):
    renewal = chronoseal.StampRenewal(records[0].renewal_algorithm)
    for record in records:
        renewal.add(record)
    stamp = sealer.seal(renewal.digest)
    renewed = [renewal.renewed(record, stamp) for record in records]
    for record, data in zip(renewed, DATA):
        verdict = verifier.verify(record, data)
        assert verdict.good and verdict.strength is chronoseal.EvidenceStrength.RENEWED
        assert [one.covered_by for one in verdict.stamps] == [1, None]
    rehash = chronoseal.HashRenewal("SHA-512")
    wide = [chronoseal.Digest.of(DATA[0], "SHA-512")]
    rehash.add(renewed[0], wide)
    last = rehash.renewed(renewed[0], wide, sealer.seal(rehash.digest))
    assert last.data_algorithms == ("SHA-256", "SHA-512")
    assert verifier.verify(last, DATA[0]) and not verifier.verify(last, DATA[1])
    assert verifier.verify(last, digests=[[chronoseal.Digest.of(DATA[0], name) for name in last.data_algorithms]])
    assert verifier.verify(last, without_data=True).error.word == "data_needed"
    assert word_of(lambda: renewal.add(last)) == "algorithms_differ"


def test_a_list_and_what_stands_in_it(sealer, verifier, tmp_path):
    path = tmp_path / "sums"
    path.write_text("".join(f"{hashlib.sha256(data).hexdigest()}  {i}\n" for i, data in enumerate(DATA)))
    tree = chronoseal.ManifestTree(path)
    assert tree.lines == 3 and tree.digest == chronoseal.Digest.of(path)
    record = tree.record(sealer.seal(tree.root))
    assert verifier.verify(record, path)
    proof = tree.prove(chronoseal.Digest.of(DATA[1]), record)
    assert verifier.verify(proof, DATA[1]) and not verifier.verify(proof, DATA[0])
    assert word_of(lambda: tree.prove(chronoseal.Digest.of(b"other"), record)) == "not_in_manifest"
    path.write_text("hello\n")
    assert word_of(lambda: chronoseal.ManifestTree(path)) == "manifest_line"


def test_a_whole_list_is_renewed_by_a_new_one(sealer, verifier, tmp_path):
    path, wide = tmp_path / "sums", tmp_path / "wide"
    for name, hash_of in ((path, hashlib.sha256), (wide, hashlib.sha512)):
        name.write_text("".join(f"{hash_of(data).hexdigest()}  {i}\n" for i, data in enumerate(DATA)))
    with chronoseal.ManifestTree(path) as tree:
        record = tree.record(sealer.seal(tree.root))
    with chronoseal.ManifestRenewal(path, record, wide) as renewal:
        stamp = sealer.seal(renewal.digest)
        renewed = renewal.renewed(stamp)
        assert verifier.verify(renewal.renewed_list(stamp), wide)
    assert verifier.verify(renewed, path)
    with chronoseal.ManifestRenewal(path, renewed, wide) as renewal:
        digests = [chronoseal.Digest.of(DATA[1], name) for name in renewed.data_algorithms]
        proof = renewal.prove(digests)
    assert verifier.verify(proof, DATA[1]) and not verifier.verify(proof, DATA[0])
    wide.write_text(wide.read_text() + "0" * 128 + "  more\n")
    assert word_of(lambda: chronoseal.ManifestRenewal(path, renewed, wide)) == "manifest_line_surplus"


def test_an_extended_stamp_holds_what_it_is_judged_by(sealer, tmp_path):
    known = [one.der for one in sealer.seal(b"x").info.token.certificates]
    with chronoseal.Sealer(URL, roots=ROOT, certificates=known, ask_for_certificates=False,
                           rate_file=tmp_path / "rates") as terse:
        stamp = terse.seal(b"data")
    available = chronoseal.Revocation.AVAILABLE
    alone = chronoseal.Verifier(roots=ROOT, revocation=available, offline=True)
    assert not alone.verify(stamp, b"data")
    extension = chronoseal.extend(stamp, roots=ROOT, certificates=known, revocation=available, offline=True)
    assert extension.changed and extension.certificates == len(extension.stamp.info.token.certificates) > 0
    assert extension.verdict.good and extension.verdict.error is None
    assert alone.verify(extension.stamp, b"data")
    again = chronoseal.extend(extension.stamp, roots=ROOT, revocation=available, offline=True)
    assert not again.changed and again.stamp.token == extension.stamp.token
    assert word_of(lambda: chronoseal.extend(stamp, roots=ROOT, revocation=OFF)) == "revocation_off"
    record = chronoseal.EvidenceRecord.of_stamp(stamp)
    extended, put = chronoseal.extend_record(record, roots=ROOT, certificates=known, revocation=available,
                                             offline=True)
    assert put.changed and len(extended.der) > len(record.der)
    renewal = chronoseal.StampRenewal()
    renewal.add(extended)
    renewed = renewal.renewed(extended, sealer.seal(renewal.digest))
    assert word_of(lambda: chronoseal.extend_record(renewed, stamp=0, roots=ROOT)) == "stamp_covered"


@pytest.mark.skipif(shutil.which("openssl") is None, reason="openssl isn't there")
def test_a_signature_gets_a_stamp(sealer, tmp_path):
    def openssl(*arguments):
        subprocess.run(["openssl", *arguments], check=True, cwd=tmp_path, capture_output=True)

    (tmp_path / "data").write_bytes(b"content")
    openssl("req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:P-256", "-nodes", "-subj", "/CN=Person",
            "-keyout", "key.pem", "-out", "person.pem")
    openssl("cms", "-sign", "-binary", "-in", "data", "-signer", "person.pem", "-inkey", "key.pem", "-outform", "DER",
            "-out", "data.p7s")
    signature = (tmp_path / "data.p7s").read_bytes()
    assert word_of(lambda: chronoseal.attach(signature, sealer, content=b"other")) == "content_differs"
    assert word_of(lambda: chronoseal.attach(signature, sealer, signer=1)) == "no_signer"
    assert word_of(lambda: chronoseal.attach(signature, chronoseal.Sealer("http://127.0.0.1:1/"), attribute="foo",
                                             content=b"content")) == "oid_malformed"  # nobody is asked
    assert word_of(lambda: chronoseal.attach(b"hello", sealer)) == "not_a_signature"
    stamped = chronoseal.attach(tmp_path / "data.p7s", sealer, content=str(tmp_path / "data"))
    (embedded,) = chronoseal.inspect(stamped).stamps
    assert embedded.attribute == "1.2.840.113549.1.9.16.2.14"
    assert chronoseal.Verifier(roots=ROOT).verify(embedded.stamp, embedded.stamped)
    signed_data = bytes.fromhex("2a864886f70d010702")
    front, _, back = stamped.rpartition(signed_data)
    (unread,) = chronoseal.inspect(front + signed_data[:-1] + b"\x09" + back).unread  # no signed message any more
    assert (unread.attribute, unread.place, unread.reason.word) == (embedded.attribute, embedded.place, "not_a_stamp")
    (tmp_path / "stamped.p7s").write_bytes(stamped)
    openssl("cms", "-verify", "-binary", "-inform", "DER", "-in", "stamped.p7s", "-content", "data", "-noverify")
