#!/usr/bin/env python3
"""Whole processes of the command beside the same work done by `openssl`, in turn, so that a busy
machine is busy for both: median of the time that they take and of processor time.

    processes.py BIN [--times N] [--instructions]

BIN is the folder of the built command. `--instructions` counts each process once by callgrind, too.
The authority, its chain of three and the stamped file are made by `openssl` in a throw-away folder.
"""

import argparse
import os
import pathlib
import re
import statistics
import subprocess
import tempfile
import time

CA_EXTENSIONS = "basicConstraints=critical,CA:TRUE\nkeyUsage=critical,keyCertSign,cRLSign\n"
SIGNER_EXTENSIONS = "extendedKeyUsage=critical,timeStamping\nkeyUsage=critical,digitalSignature\n"
TSA = """[tsa]
default_tsa = authority
[authority]
serial = {folder}/serial
signer_digest = sha256
default_policy = 1.2.3.4
digests = sha256
accuracy = secs:1
ess_cert_id_alg = sha256
"""


class Site:
    """A stamped file `document`, its stamp `document.tsr`, the root, and an environment without settings."""

    def __init__(self, folder):
        self.folder = pathlib.Path(folder)
        (self.folder / "config.toml").write_text("")
        (self.folder / "document").write_bytes(os.urandom(10000))
        (self.folder / "tsa.cnf").write_text(TSA.format(folder=folder))
        self.environment = dict(
            os.environ, HOME=folder, XDG_CACHE_HOME=f"{folder}/cache",
            BASALT_CONFIG=f"{folder}/config.toml", BASALT_USER_STORES=f"{folder}/stores",
            BASALT_MACHINE_STORES=f"{folder}/machine", BASALT_SYSTEM_ROOTS=f"{folder}/none.pem")
        self.certify("root", "root", CA_EXTENSIONS)
        self.certify("authority", "root", CA_EXTENSIONS)
        self.certify("signer", "authority", SIGNER_EXTENSIONS)
        self.openssl("ts", "-query", "-data", "document", "-sha256", "-cert", "-out", "document.tsq")
        self.openssl("ts", "-reply", "-config", "tsa.cnf", "-queryfile", "document.tsq", "-signer",
                     "signer.pem", "-inkey", "signer.key", "-chain", "authority.pem", "-out",
                     "document.tsr")

    def openssl(self, *arguments):
        subprocess.run(["openssl", *arguments], cwd=self.folder, check=True, capture_output=True)

    def certify(self, name, issuer, extensions):
        (self.folder / "extensions").write_text(extensions)
        self.openssl("req", "-newkey", "rsa:2048", "-nodes", "-keyout", f"{name}.key", "-out",
                     f"{name}.csr", "-subj", f"/C=ZZ/O=An Organization/CN=The {name}")
        by = (["-signkey", "root.key"] if name == issuer else
              ["-CA", f"{issuer}.pem", "-CAkey", f"{issuer}.key", "-CAcreateserial"])
        self.openssl("x509", "-req", "-in", f"{name}.csr", "-days", "3650", "-extfile",
                     "extensions", "-out", f"{name}.pem", *by)


class Runs:
    """What the runs of one command line have taken."""

    def __init__(self, site, words):
        self.site, self.words = site, list(map(str, words))
        self.wall, self.processor = [], []

    def once(self, null):
        actions = [(os.POSIX_SPAWN_DUP2, null, 0), (os.POSIX_SPAWN_DUP2, null, 1),
                   (os.POSIX_SPAWN_DUP2, null, 2)]
        begin = time.perf_counter()
        pid = os.posix_spawnp(self.words[0], self.words, self.site.environment,
                              file_actions=actions)
        _, status, used = os.wait4(pid, 0)
        self.wall.append(time.perf_counter() - begin)
        self.processor.append(used.ru_utime + used.ru_stime)
        if status != 0:
            raise SystemExit(f"{' '.join(self.words)} failed")

    def instructions(self):
        with tempfile.NamedTemporaryFile() as log:
            subprocess.run(["valgrind", "--tool=callgrind", "--callgrind-out-file=/dev/null",
                            f"--log-file={log.name}", *self.words], env=self.site.environment,
                           check=True, capture_output=True, cwd=self.site.folder)
            return int(re.search(rb"Collected : (\d+)", pathlib.Path(log.name).read_bytes())[1])


def pairs(command):
    """(work, our words, the peer's words); all file names are relative to the site's folder."""
    ours = [command]
    return [
        ("--version", [*ours, "--version"], ["openssl", "version"]),
        ("verify", [*ours, "verify", "document.tsr", "--data", "document", "--roots", "root.pem",
                    "--revocation", "off"],
         ["openssl", "ts", "-verify", "-data", "document", "-in", "document.tsr", "-CAfile",
          "root.pem"]),
        ("info", [*ours, "info", "document.tsr"],
         ["openssl", "ts", "-reply", "-in", "document.tsr", "-text"]),
        ("request", [*ours, "request", "document", "--out", "ours.tsq", "--force"],
         ["openssl", "ts", "-query", "-data", "document", "-sha256", "-cert", "-out", "peer.tsq"]),
    ]


def main():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("bin", type=pathlib.Path)
    parser.add_argument("--times", type=int, default=100)
    parser.add_argument("--instructions", action="store_true")
    arguments = parser.parse_args()
    with tempfile.TemporaryDirectory(prefix="bench-process-") as folder:
        site = Site(folder)
        command = arguments.bin.resolve() / "chronoseal"
        os.chdir(folder)
        null = os.open(os.devnull, os.O_RDWR)
        print(f"{'work':<10} {'program':<10} {'median, ms':>11} {'x peer':>7} {'processor, ms':>14}"
              + (f" {'instructions':>14}" if arguments.instructions else ""))
        for work, ours, peers in pairs(command):
            two = [Runs(site, ours), Runs(site, peers)]
            for _ in range(arguments.times):
                for one in two:
                    one.once(null)
            base = statistics.median(two[1].wall)
            for name, one in zip(("chronoseal", "openssl"), two):
                wall = statistics.median(one.wall)
                line = (f"{work:<10} {name:<10} {wall * 1000:>11.2f} {wall / base:>7.2f} "
                        f"{statistics.median(one.processor) * 1000:>14.2f}")
                if arguments.instructions:
                    line += f" {one.instructions():>14,}"
                print(line, flush=True)


if __name__ == "__main__":
    main()
