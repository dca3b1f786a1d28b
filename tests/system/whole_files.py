"""Written files are whole or absent: through kill -9, a full disk, and two stamps for one place."""

import fcntl
import os
import random
import resource
import signal
import subprocess
import unittest

import program
from end_to_end import WithFolder
from program import GOOD, UNREACHABLE, USAGE

HALF = 1000  # bytes: less than a stamp has


class WholeFiles(WithFolder):
    def names(self):
        return sorted(path.name for path in self.folder.iterdir())

    def test_kill_9_leaves_nothing_half_written(self):
        files = [self.file(f"f{i:03}", b"%d" % i) for i in range(300)]
        draw = random.Random(9)
        killed = 0
        for force in ((), ("--force",)) * 4:
            before = len(list(self.folder.glob("*.tsr")))
            process = subprocess.Popen(
                [program.BIN / "chronoseal", "stamp", *files, *self.trust, "--no-verify", "--cert", *(force or ("--skip-existing",))],
                env=self.workspace.environment, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
            for _ in range(draw.randrange(1, 12)):
                process.stdout.readline()
            process.kill()
            killed += process.wait() == -signal.SIGKILL
            process.stdout.close()
            self.assertGreaterEqual(len(list(self.folder.glob("*.tsr"))), before)
        self.assertGreater(killed, 4, "it was over before it could be killed")
        stamps = [path for path in self.folder.iterdir() if path not in files]
        whole = sorted(path for path in stamps if path.suffix == ".tsr")
        self.assertTrue(whole)
        self.expect(self.workspace.run("verify", *whole, *self.roots, "-q"), GOOD)
        for path in stamps:  # one that was on its way to another's place is whole, too
            self.expect(self.workspace.run("verify", path, *self.roots, "--no-data"), GOOD)
        self.assertEqual(self.workspace.run("stamp", *files, *self.trust).returncode, UNREACHABLE)
        self.assertEqual([path for path in self.folder.iterdir() if path not in files and path.suffix != ".tsr"], [])

    @unittest.skipIf(os.environ.get("CHRONOSEAL_SANITIZED"), "a sanitizer wants to be loaded first")
    def test_what_is_left_between_link_and_rename_is_taken_away_by_the_next_run(self):
        source, shim = self.folder / "shim.c", self.folder / "shim.so"
        source.write_text("#include <signal.h>\nint rename(const char *a, const char *b) { return raise(SIGKILL); }\n")
        subprocess.run(["cc", "-shared", "-fPIC", "-o", shim, source], check=True)
        source.unlink()
        data = self.file("x" * 251)
        self.expect(self.workspace.run("stamp", data, *self.trust), GOOD)
        first, before = (self.folder / f"{data.name}.tsr").read_bytes(), self.names()
        other = self.file(".chronoseal-0000000000000000.part", b"somebody else's")
        preloaded = dict(self.workspace.environment, LD_PRELOAD=str(shim))
        result = self.workspace.run("stamp", data, *self.trust, "--force", env=preloaded)
        self.assertEqual(result.returncode, -signal.SIGKILL)
        left = self.folder.joinpath(*set(self.names()) - set(before) - {other.name})
        self.expect(self.workspace.run("verify", left, "--data", data, *self.roots), GOOD)
        with open(left, "rb") as alive:  # as whoever writes at this moment holds it
            fcntl.flock(alive, fcntl.LOCK_EX)
            self.expect(self.workspace.run("stamp", data, *self.trust), UNREACHABLE, "there already")
            self.assertTrue(left.exists())
        self.expect(self.workspace.run("stamp", data, *self.trust), UNREACHABLE, "there already")
        self.assertEqual(self.names(), sorted([*before, other.name]))
        self.assertEqual((self.folder / f"{data.name}.tsr").read_bytes(), first)
        self.expect(self.workspace.run("stamp", data, *self.trust, "--force"), GOOD)
        self.assertEqual(self.names(), sorted([*before, other.name]))

    def limited(self, *words, ignore):
        """A file can't grow past HALF: the write comes back short, and the next kills, or fails if that is ignored."""
        def limit():
            resource.setrlimit(resource.RLIMIT_FSIZE, (HALF, HALF))
            resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
            signal.signal(signal.SIGXFSZ, signal.SIG_IGN if ignore else signal.SIG_DFL)
        return self.workspace.run(*words, preexec_fn=limit, restore_signals=False)

    def test_ended_or_failing_in_the_middle_of_a_write(self):
        data = self.file("a")
        for old in (None, b"the old one"):
            for ignore in (True, False):
                with self.subTest(old=old, ignore=ignore):
                    if old:
                        (self.folder / "a.tsr").write_bytes(old)
                    before = self.names()
                    result = self.limited("stamp", data, *self.trust, "--force", ignore=ignore)
                    if ignore:
                        self.expect(result, UNREACHABLE, "can't write", "a.tsr")
                    else:
                        self.assertEqual(result.returncode, -signal.SIGXFSZ)
                    self.assertEqual(self.names(), before)
                    self.assertEqual(old, (self.folder / "a.tsr").read_bytes() if old else None)

    def test_nothing_is_asked_for_what_a_full_disk_has_no_room_for(self):
        data = self.file("a")
        listener, url = self.listener()
        small = self.folder / "small"
        small.mkdir()
        for options, filler in (("size=128k", 120_000), ("size=1m,nr_inodes=2", 1)):
            with self.subTest(options):
                script = (f'mount -t tmpfs -o {options} none "$0" && head -c {filler} /dev/zero > "$0/filler" || exit 77\n'
                          '"$@"; status=$?; ls "$0"; exit $status')
                result = subprocess.run(
                    ["unshare", "--user", "--map-root-user", "--mount", "sh", "-c", script, small, program.BIN / "chronoseal",
                     "stamp", data, "--url", url, "--out", small / "a.tsr", "--attempts", "1", "--timeout", "2"],
                    env=self.workspace.environment, capture_output=True)
                if result.returncode in (1, 77) and b"chronoseal:" not in result.stderr:
                    self.skipTest("no small file system can be mounted here: " + result.stderr.decode().strip())
                self.expect(result, UNREACHABLE, "can't write", "No space left")
                self.assertEqual(result.stdout, b"filler\n")
        self.assertRaises(TimeoutError, listener.accept)

    def test_one_place_for_two_stamps_is_found_before_anything_is_asked(self):
        data, other = self.file("a"), self.file("a.2")
        (self.folder / "link.tsr").symlink_to(self.folder / "a.tsr")
        link = self.file("link")
        listener, url = self.listener()
        dotted = f"{self.folder}/./a"
        for words in ((data, data), (data, dotted), (data, other, "--quorum", "2", "--url", url), (dotted, other, data)):
            for force in ((), ("--force",), ("--skip-existing",)):
                with self.subTest(words=words, force=force):
                    self.expect(self.workspace.run("stamp", *words, *force, "--url", url), USAGE, "two stamps", ".tsr")
        self.file("a.tsr", b"old")
        self.expect(self.workspace.run("stamp", data, link, "--force", "--url", url), USAGE, "two stamps")
        self.assertRaises(TimeoutError, listener.accept)

    def test_a_quorum_that_is_not_whole_is_told_and_not_left_out(self):
        second = program.Authority(self.folder / "second")
        self.addCleanup(second.close)
        data = self.file("a")
        roots = self.folder / "roots.pem"
        roots.write_bytes(self.authority.root.read_bytes() + second.root.read_bytes())
        both = ("--url", self.authority.url, "--url", second.url, "--roots", roots, "--quorum", "2", "--skip-existing")
        self.expect(self.workspace.run("stamp", data, *both), GOOD)
        kept = {name: (self.folder / name).read_bytes() for name in ("a.tsr", "a.2.tsr")}
        status, shown = self.workspace.run_json("stamp", data, *both)
        self.assertEqual((status, shown["summary"]["skipped"]), (GOOD, 1))
        for missing in kept:
            with self.subTest(missing):
                (self.folder / missing).unlink()
                self.expect(self.workspace.run("stamp", data, *both), UNREACHABLE, "quorum")
                self.assertFalse((self.folder / missing).exists())
                (self.folder / missing).write_bytes(kept[missing])


if __name__ == "__main__":
    program.main()
