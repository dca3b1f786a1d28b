"""The package against a live authority, whose address and root stand in CHRONOSEAL_TEST_URL and CHRONOSEAL_TEST_ROOT."""

import datetime
import gc
import os
import pathlib
import pickle
import resource
import signal
import socket
import stat
import threading
import time
import weakref

import chronoseal
import pytest
from conftest import ROOT, URL, word_of

DATA = b"data \0 with a null byte"


@pytest.fixture
def verifier():
    with chronoseal.Verifier(roots=ROOT) as one:
        yield one


@pytest.fixture
def file(tmp_path):
    path = tmp_path / "data ä"
    path.write_bytes(DATA)
    return path


@pytest.fixture
def silent():
    """The address of a server that takes connections and never answers."""
    with socket.create_server(("127.0.0.1", 0)) as server:
        yield f"http://127.0.0.1:{server.getsockname()[1]}/"


def test_whatever_names_the_data_is_stamped_alike(sealer, verifier, file):
    digest = chronoseal.Digest.of(DATA)
    for item in (DATA, bytearray(DATA), memoryview(DATA), file, str(file), digest):
        stamp = sealer.seal(item)
        for data in (DATA, memoryview(DATA), file, str(file), digest):
            verdict = verifier.verify(stamp, data)
            assert verdict and verdict.good and verdict.compared and verdict.error is None
        assert stamp.info.token.imprint == digest.value


def test_times_have_their_zone_and_the_parts_are_values(sealer):
    before = datetime.datetime.now(datetime.timezone.utc) - datetime.timedelta(seconds=2)
    stamp = sealer.seal(DATA)
    assert before < stamp.time < datetime.datetime.now(datetime.timezone.utc) + datetime.timedelta(seconds=2)
    info = stamp.info
    assert (info.status, info.status_name, info.address, info.attempts) == (0, "granted", URL, 1)
    assert info.token.signer in info.token.certificates
    assert info.token.signer.not_after.tzinfo is datetime.timezone.utc
    assert info.token.accuracy is None or info.token.accuracy < datetime.timedelta(minutes=1)
    assert stamp.info == info and hash(info) == hash(stamp.info)


def test_a_stored_stamp_is_read_again(sealer, verifier, tmp_path):
    stamp = sealer.seal(DATA)
    stamp.save(tmp_path / "stamp")
    with pytest.raises(FileExistsError):
        stamp.save(tmp_path / "stamp")
    stamp.save(tmp_path / "stamp", overwrite=True)
    assert chronoseal.inspect(tmp_path / "stamp").der == chronoseal.inspect(str(tmp_path / "stamp")).der == stamp.response
    assert word_of(lambda: chronoseal.inspect("no such file")) == "file_unreadable"
    for again in (chronoseal.Stamp(tmp_path / "stamp"), chronoseal.Stamp(stamp.response), chronoseal.Stamp(stamp.token),
                  tmp_path / "stamp", stamp.token):
        assert verifier.verify(again, DATA)
    found = chronoseal.inspect(stamp.token)
    assert (found.kind, found.form, found.der) == ("token", "binary", stamp.token)
    assert found.stamp.info.token == stamp.info.token
    assert chronoseal.inspect(b"").kind == "empty"
    assert (found.behind, chronoseal.inspect(stamp.token + b"more").behind) == (0, 4)
    for wanted in (False, True):
        with chronoseal.Sealer(URL, ask_for_certificates=wanted) as asking:
            assert chronoseal.inspect(asking.request(DATA)).certificates_wanted is wanted


def test_a_stamp_is_saved_whole_or_not_at_all(sealer, tmp_path):
    folder = tmp_path / "folder"
    folder.mkdir()
    stamp, old, link = sealer.seal(DATA), folder / "old", folder / "link"
    old.write_bytes(b"old")
    old.chmod(0o640)
    link.symlink_to("old")
    limits = resource.getrlimit(resource.RLIMIT_FSIZE)
    resource.setrlimit(resource.RLIMIT_FSIZE, (1000, limits[1]))
    try:
        for path, overwrite in ((folder / "new", False), (folder / "new", True), (old, True), (link, True)):
            with pytest.raises(OSError):
                stamp.save(path, overwrite=overwrite)
            assert sorted(os.listdir(folder)) == ["link", "old"] and old.read_bytes() == b"old"
    finally:
        resource.setrlimit(resource.RLIMIT_FSIZE, limits)
    stamp.save(link, overwrite=True)
    assert link.is_symlink() and old.read_bytes() == stamp.response and stat.S_IMODE(old.stat().st_mode) == 0o640
    assert sorted(os.listdir(folder)) == ["link", "old"]


def test_a_verdict_that_is_not_good_is_false_and_says_why(sealer, verifier):
    stamp = sealer.seal(DATA)
    verdict = verifier.verify(stamp, b"other")
    assert not verdict and verdict.deciding.name == "imprint" and verdict.error.word == "imprint_differs"
    assert verdict.finding("imprint").outcome is chronoseal.Outcome.FAILED
    assert len(verdict.findings) == 13
    with pytest.raises(chronoseal.Error):
        verdict.raise_unless_good()
    with pytest.raises(KeyError):
        verdict.finding("weather")
    assert not verifier.verify(stamp)
    assert verifier.verify(stamp).error.word == "data_missing"
    assert verifier.verify(stamp, without_data=True)
    assert verifier.verify(stamp, DATA, policy="1.2.3.4.5.6").error.word == "policy_differs"
    assert verifier.verify(stamp, DATA, nonce=stamp.info.token.nonce)
    assert verifier.verify(stamp, DATA, nonce=b"\1").error.word == "nonce_differs"


def test_a_request_goes_another_way(sealer, verifier, file):
    with chronoseal.Sealer(only_requests=True, hash="SHA-512") as asking:
        assert asking.hash == "SHA-512"
        request = asking.request(file)
    stamp = sealer.send(request)
    assert stamp.info.token.imprint_algorithm.name == "SHA-512"
    assert verifier.verify(stamp, request=request)
    assert verifier.verify(stamp, request=asking_for_other_data()).error.word == "imprint_differs"
    with pytest.raises(ValueError):
        verifier.verify(stamp, DATA, request=request)
    assert word_of(lambda: verifier.verify(stamp, request=b"x")) == "not_a_request"


def asking_for_other_data():
    return chronoseal.Sealer(only_requests=True, hash="SHA-512", nonce=False).request(b"other")


def test_errors_tell_and_travel(file):
    with pytest.raises(chronoseal.Error) as caught:
        chronoseal.Sealer("http://127.0.0.1:1/", attempts=1, roots=ROOT).seal(DATA)
    error = caught.value
    assert (error.word, error.category) == ("cannot_connect", chronoseal.Category.UNREACHABLE)
    assert error.code != 0 and error.text and error.advice and error.text in str(error)
    copy = pickle.loads(pickle.dumps(error))
    assert (copy.word, copy.code, copy.category, str(copy)) == (error.word, error.code, error.category, str(error))


def test_values_that_make_no_sense_are_refused(sealer, verifier, file):
    assert word_of(lambda: chronoseal.Sealer("ftp://x/")) == "address_malformed"
    assert word_of(lambda: chronoseal.Sealer(URL, hash="rot13")) == "hash_unknown"
    assert word_of(lambda: chronoseal.Stamp(b"x")) == "not_a_stamp"
    assert word_of(lambda: chronoseal.Stamp(file.parent / "missing")) == "file_unreadable"
    assert word_of(lambda: sealer.seal(chronoseal.Digest("SHA-256", b"short"))) == "digest_malformed"
    assert word_of(lambda: sealer.seal(chronoseal.Digest("SHA-256", bytes(1000)))) == "digest_malformed"
    assert word_of(lambda: chronoseal.Verifier(roots=file)) == "no_certificates"
    for nonsense in (lambda: sealer.seal("a\0b"), lambda: chronoseal.Sealer("http://x\0/"),
                     lambda: chronoseal.Verifier(as_of=datetime.datetime(2026, 1, 1)),
                     lambda: sealer.seal(chronoseal.Digest("x" * 100, b"")),
                     lambda: chronoseal.Sealer(URL, rest=-1)):
        with pytest.raises(ValueError):
            nonsense()
    with pytest.raises(TypeError):
        sealer.seal(5)


def test_what_is_closed_is_closed(sealer, verifier):
    stamp = sealer.seal(DATA)
    hasher = chronoseal.Hasher()
    for one, use in ((stamp, lambda: stamp.token), (verifier, lambda: verifier.verify(stamp, DATA)),
                     (sealer, lambda: sealer.seal(DATA)), (hasher, lambda: hasher.update(b"x"))):
        with one:
            pass
        one.close()  # twice does nothing
        assert word_of(use) == "argument_missing"


def test_a_hash_in_pieces():
    with chronoseal.Hasher("SHA-384") as hasher:
        hasher.update(DATA[:5])
        hasher.update(memoryview(DATA)[5:])
        assert hasher.finish() == chronoseal.Digest.of(DATA, "SHA-384")
        assert word_of(lambda: hasher.update(b"")) == "hash_finished"


def test_roots_from_memory_and_many(sealer):
    stamp = sealer.seal(DATA)
    for roots in (ROOT.read_bytes(), [ROOT, ROOT.read_bytes()], [str(ROOT)]):
        assert chronoseal.Verifier(roots=roots).verify(stamp, DATA)
        assert chronoseal.Verifier(roots=roots).for_one_file().verify(stamp, DATA)


def test_progress_is_told_and_what_it_raises_ends_the_call(sealer, tmp_path):
    large = tmp_path / "large"
    large.write_bytes(bytes(8 << 20))
    seen = []
    sealer.seal(large, progress=lambda done, total: seen.append((done, total)))
    assert seen[-1] == (8 << 20, 8 << 20)

    def fail(done, total):
        raise LookupError(done)

    for call in (lambda: sealer.seal(large, progress=fail), lambda: chronoseal.Digest.of(large, progress=fail)):
        with pytest.raises(LookupError):
            call()


def test_a_stop_from_another_thread(silent):
    sealer = chronoseal.Sealer(chronoseal.Authority(silent, timeout=5), roots=ROOT)
    stop = chronoseal.Stop()
    threading.Timer(0.1, stop.request).start()
    begin = time.monotonic()
    assert word_of(lambda: sealer.seal(DATA, stop=stop)) == "cancelled"
    assert time.monotonic() - begin < 20


def test_ctrl_c_ends_the_wait_for_a_server(silent):
    before = signal.signal(signal.SIGINT, signal.default_int_handler)  # a shell's background programs ignore it
    sealer = chronoseal.Sealer(chronoseal.Authority(silent, timeout=5), roots=ROOT)
    threading.Timer(0.1, lambda: os.kill(os.getpid(), signal.SIGINT)).start()
    try:
        with pytest.raises(KeyboardInterrupt):
            sealer.seal(DATA)
    finally:
        signal.signal(signal.SIGINT, before)


def test_a_batch_gives_each_item_its_result(sealer, verifier, file):
    items = [DATA, file, chronoseal.Digest.of(b"x"), file.parent / "missing", b""] * 4
    results = []
    summary = sealer.seal_all((item for item in items), results.append, connections=3)
    assert (summary.stamped, summary.failed, summary.stopped) == (16, 4, False)
    assert sorted(result.index for result in results) == list(range(20))
    for result in results:
        assert result.item is items[result.index]
        if result.error:
            assert result.error.word == "file_unreadable" and not result.stamps
        else:
            assert verifier.verify(result.stamps[0], result.item)


def test_a_batch_ends_by_a_stop_or_by_what_its_functions_raise(sealer):
    stop = chronoseal.Stop()
    summary = sealer.seal_all((b"x" for _ in iter(int, 1)), lambda result: stop.request(), connections=1, stop=stop)
    assert summary.stopped and summary.stamped == 1

    def broken():
        yield b"x"
        raise LookupError

    def fail(result):
        raise KeyError

    with pytest.raises(LookupError):
        sealer.seal_all(broken(), lambda result: None)
    with pytest.raises(KeyError):
        sealer.seal_all([b"x"] * 3, fail)
    with pytest.raises(TypeError):
        sealer.seal_all([5], lambda result: None)


def test_a_quorum_needs_as_many_authorities(sealer):
    assert len(sealer.seal_quorum(DATA)) == 1
    assert word_of(lambda: chronoseal.Sealer(URL, roots=ROOT, quorum=2)) == "quorum_impossible"


def test_nothing_is_kept_alive(sealer):
    class Bytes(bytearray):
        """Can be watched."""

    data = Bytes(DATA)
    watched = weakref.ref(data)
    sealer.seal(data)
    gc.disable()
    try:
        del data
        assert watched() is None
    finally:
        gc.enable()


def test_many_threads_use_one_of_each(sealer, verifier):
    stamp = sealer.seal(DATA)
    good = []

    def work():
        good.append(bool(verifier.verify(stamp, DATA)) and bool(verifier.verify(sealer.seal(DATA), DATA)))

    threads = [threading.Thread(target=work) for _ in range(8)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert good == [True] * 8


def test_the_machine_is_told():
    policy = chronoseal.policy()
    assert policy.usable and any(s.key == "config.cades.tsppolicy.AllowedTSPs" for s in policy.settings)
    assert all(isinstance(d.severity, chronoseal.Severity) and d.word for d in chronoseal.diagnose())
    assert chronoseal.version().count(".") == 2
