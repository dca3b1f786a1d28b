"""What a stranger to the package does to it."""

import atexit
import copy
import datetime
import gc
import os
import pathlib
import pickle
import signal
import socket
import subprocess
import sys
import threading
import time

import chronoseal
import pytest
from conftest import ROOT, URL, word_of

DATA = b"data"


def test_nothing_isnt_data(sealer):
    """None must not pass as the empty bytes: a batch would stamp them."""
    for call in (lambda: sealer.seal(None), lambda: chronoseal.Digest.of(None), lambda: chronoseal.Stamp(None),
                 lambda: sealer.seal_all([None], print), lambda: chronoseal.Verifier(roots=[None]),
                 lambda: sealer.seal(iter([b"x"])), lambda: sealer.seal(5), lambda: chronoseal.Hasher().update("x"),
                 lambda: chronoseal.inspect(None), lambda: chronoseal.EvidenceRecord(object())):
        with pytest.raises(TypeError):
            call()


def test_no_roots_arent_those_of_the_machine():
    """A pattern that matched no file must not lead to the trust of somebody else's roots."""
    for nothing in ([], (), iter(())):
        with pytest.raises(ValueError):
            chronoseal.Verifier(roots=nothing)
        with pytest.raises(ValueError):
            chronoseal.Sealer(URL, roots=nothing)


class BytesPath:
    def __init__(self, path):
        self._path = os.fsencode(path)

    def __fspath__(self):
        return self._path


def test_paths_of_any_kind(sealer, tmp_path):
    odd = os.fsencode(tmp_path) + b"/\xff\x1b[2J"
    pathlib.Path(os.fsdecode(odd)).write_bytes(DATA)
    for path in (BytesPath(odd), os.fsdecode(odd), pathlib.Path(os.fsdecode(odd))):
        assert chronoseal.Digest.of(path) == chronoseal.Digest.of(DATA)
    with pytest.raises(chronoseal.Error) as caught:
        sealer.seal(BytesPath(odd + b"x"))
    assert "\\xff\\x1b[2Jx" in str(caught.value) and "\x1b" not in str(caught.value)
    for call in (lambda: sealer.seal("a\0b"), lambda: chronoseal.Sealer("http://\udcff/"),
                 lambda: sealer.seal(chronoseal.Digest("\udcff", b""))):
        with pytest.raises(ValueError):
            call()


def test_numbers_and_times_out_of_range(sealer):
    zone = datetime.timezone.utc
    for call in (lambda: sealer.seal_all([], print, connections=2**40), lambda: chronoseal.Sealer(URL, quorum=-1),
                 lambda: chronoseal.Sealer(URL, attempts=2**33), lambda: chronoseal.EvidenceTree().reserve(2**65),
                 lambda: chronoseal.Sealer(URL, rest=float("inf")),
                 lambda: chronoseal.Authority(URL, rate=(2**70, 1)).in_memory(chronoseal._memory.Arena())):
        with pytest.raises(OverflowError):
            call()
    assert word_of(lambda: chronoseal.EvidenceTree().reserve(2**63)) == "out_of_memory"
    assert word_of(lambda: chronoseal.Sealer(URL, rest=1e10)) == "value_unknown"
    with pytest.raises(ValueError):
        chronoseal.Sealer(URL, rest=float("nan"))
    with pytest.raises(ValueError):
        chronoseal.Verifier(as_of=datetime.datetime(2026, 1, 1))
    epoch = datetime.datetime(1970, 1, 1, tzinfo=zone)
    verdict = chronoseal.Verifier(roots=ROOT, as_of=epoch).verify(sealer.seal(DATA), DATA)
    assert verdict.as_of - epoch < datetime.timedelta(seconds=1)  # and not the clock
    late = datetime.datetime.max.replace(tzinfo=zone)
    assert word_of(lambda: chronoseal.Verifier(roots=ROOT, as_of=late)) == "value_unknown"


def test_copies_and_pickles(sealer):
    stamp = sealer.seal(DATA)
    record = chronoseal.EvidenceRecord.of_stamp(stamp)
    for again in (copy.copy(stamp), copy.deepcopy([stamp])[0], pickle.loads(pickle.dumps(stamp))):
        assert (again.token, again.received) == (stamp.token, stamp.received)
        again.close()
    assert stamp.token  # closing a copy leaves the others
    assert pickle.loads(pickle.dumps(record)) == record
    verdict = chronoseal.Verifier(roots=ROOT).verify(stamp, DATA)
    assert pickle.loads(pickle.dumps(verdict)) == verdict
    for one in (sealer, chronoseal.Verifier(roots=ROOT), chronoseal.Hasher(), chronoseal.EvidenceTree()):
        with pytest.raises(TypeError, match=type(one).__name__):
            pickle.dumps(one)


def test_what_was_never_made_is_closed():
    class Own(chronoseal.Stamp):
        def __init__(self):
            pass

    own = Own()
    assert word_of(lambda: own.token) == "argument_missing"
    own.close()
    with pytest.raises(chronoseal.Error):
        chronoseal.Stamp(b"x")
    gc.collect()


def test_closing_while_other_threads_are_at_it(sealer):
    """What a call in flight works on stays until it ends."""
    stamp = sealer.seal(DATA)
    seen = []

    def work(one):
        try:
            for _ in range(50):
                assert one.info.token.imprint
        except chronoseal.Error as error:
            seen.append(error.word)

    for _ in range(20):
        one = copy.copy(stamp)
        threads = [threading.Thread(target=work, args=(one,)) for _ in range(3)]
        for thread in threads:
            thread.start()
        one.close()
        for thread in threads:
            thread.join()
    assert set(seen) <= {"argument_missing"}
    silent = socket.create_server(("127.0.0.1", 0))
    waiting = chronoseal.Sealer(
        chronoseal.Authority(f"http://127.0.0.1:{silent.getsockname()[1]}/", timeout=0.5), roots=ROOT, attempts=1)
    words = []
    thread = threading.Thread(target=lambda: words.append(word_of(lambda: waiting.seal(DATA))))
    thread.start()
    time.sleep(0.1)
    waiting.close()
    thread.join()
    silent.close()
    assert words == ["time_out"]


def test_threads_that_share_what_changes_wait_for_each_other():
    hasher, tree = chronoseal.Hasher(), chronoseal.EvidenceTree()
    digests = [chronoseal.Digest.of(bytes([i])) for i in range(256)]

    def work():
        for digest in digests:
            hasher.update(bytes(5000))
            tree.add(digest)

    threads = [threading.Thread(target=work) for _ in range(4)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert hasher.finish() == chronoseal.Digest.of(bytes(5000 * 256 * 4))
    assert tree.size == 256


def test_ctrl_c_ends_a_batch_and_a_hash_of_a_pipe(tmp_path, sealer):
    before = signal.signal(signal.SIGINT, signal.default_int_handler)
    os.mkfifo(tmp_path / "pipe")
    end = os.open(tmp_path / "pipe", os.O_RDWR)  # there is a writer, and it says nothing
    try:
        for call in (lambda: chronoseal.Digest.of(tmp_path / "pipe"),
                     lambda: sealer.seal_all((b"x" for _ in iter(int, 1)), lambda result: None)):
            threading.Timer(0.2, lambda: os.kill(os.getpid(), signal.SIGINT)).start()
            with pytest.raises(KeyboardInterrupt):
                call()
            gc.collect()  # whatever was still under way would meet garbage now
            time.sleep(0.1)
    finally:
        signal.signal(signal.SIGINT, before)
        os.close(end)


PROGRAM = """
import atexit, os, queue, sys, threading, time
import chronoseal
sealer = chronoseal.Sealer(os.environ["CHRONOSEAL_TEST_URL"], roots=os.environ["CHRONOSEAL_TEST_ROOT"])
def start(function):
    threading.Thread(target=function, daemon=True).start()
"""


@pytest.mark.parametrize("body", [
    # A batch without end, whose functions are called until the last moment.
    "start(lambda: sealer.seal_all((b'x' for _ in iter(int, 1)), lambda result: None))\ntime.sleep(0.3)",
    # One that waits for items that never come.
    "waiting = queue.Queue()\nstart(lambda: sealer.seal_all(iter(waiting.get, None), print))\ntime.sleep(0.2)",
    # Progress that is told until the last moment.
    "start(lambda: [chronoseal.Digest.of('/dev/zero', progress=lambda done, total: None)])\ntime.sleep(0.2)",
    # Calls without end on many threads.
    "def work():\n    while True: sealer.seal(b'x')\nfor _ in range(4): start(work)\ntime.sleep(0.3)",
    # Whatever is left to the end of the program still works there.
    "atexit.register(lambda: sealer.seal(b'x'))",
    # An exit that is none.
    "start(lambda: sealer.seal_all((b'x' for _ in iter(int, 1)), lambda result: None))\ntime.sleep(0.2)\nraise LookupError",
])
def test_the_program_ends_while_threads_are_at_it(body):
    for _ in range(3):
        result = subprocess.run([sys.executable, "-c", PROGRAM + body], capture_output=True, text=True, timeout=60)
        assert result.returncode == (1 if "LookupError" in body else 0), result.stderr
        assert "Fatal" not in result.stderr and "FATAL" not in result.stderr, result.stderr


def test_a_forked_child_goes_on(sealer):
    stamp = sealer.seal(DATA)
    child = os.fork()
    if child == 0:
        code = 1
        try:
            ok = chronoseal.Verifier(roots=ROOT).verify(sealer.seal(DATA), DATA) and stamp.token
            code = 0 if ok else 2
        finally:
            os._exit(code)
    for _ in range(5):  # on its own connection
        assert chronoseal.Verifier(roots=ROOT).verify(sealer.seal(DATA), DATA)
    assert os.waitstatus_to_exitcode(os.waitpid(child, 0)[1]) == 0


def resident():
    return int(pathlib.Path("/proc/self/statm").read_text().split()[1]) * os.sysconf("SC_PAGE_SIZE")


def test_memory_stays_level(sealer):
    stamp = sealer.seal(DATA)
    verifier = chronoseal.Verifier(roots=ROOT)

    def many(count):
        for i in range(count):
            assert verifier.verify(stamp, DATA).good
            if i % 10 == 0:
                assert not chronoseal.inspect(stamp.token).stamp.info.remarks
                with pytest.raises(chronoseal.Error):
                    chronoseal.Stamp(b"x")

    many(1000)
    before = resident()
    many(9000)
    assert resident() - before < 4 << 20
