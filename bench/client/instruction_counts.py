#!/usr/bin/env python3
"""Instructions of the operations of bench_client, counted by callgrind: the mean of 8 times, behind a
first one that isn't counted. Steady on a busy machine, unlike times. What the kernel does, and the
server's thread, isn't in it.

    instruction_counts.py BENCH_CLIENT [PATTERN...]   operations that match any; all without one
    instruction_counts.py BENCH_CLIENT --hold FILE    those of the file, against the counts there

Which instructions libcrypto and the C library choose hangs on the processor. To hold a count on any
x86-64, both are told to see one without AVX.
"""

import argparse
import collections
import fnmatch
import os
import pathlib
import platform
import shutil
import subprocess
import sys
import tempfile

TIMES = 8
SKIPPED = 77  # what ctest takes for a test that could not run
ROOM = 0.05
PLAIN_PROCESSOR = {
    # FXSR, SSE to SSE4.2, AES and PCLMULQDQ, and none of the extended features
    "OPENSSL_ia32cap": "0x0218020307000000:0x0",
    "GLIBC_TUNABLES": "glibc.cpu.hwcaps=-AVX,-AVX2,-AVX512F,-ERMS,-FSRM,-BMI1,-BMI2,-LZCNT,-MOVBE",
}


def self_cost(path):
    """Instructions of a callgrind file by object: the costs of its own lines, not those of calls."""
    costs = collections.Counter()
    names, current, is_call = {}, "", False
    for line in path.read_text().splitlines():
        if line.startswith("ob="):
            number, _, name = line[3:].partition(" ")
            current = names.setdefault(number, name)
        elif line.startswith("cob="):
            number, _, name = line[4:].partition(" ")
            names.setdefault(number, name)
        elif line.startswith("calls="):
            is_call = True
        elif line[:1].isdigit() or (line[:1] in "+-*" and " " in line):
            if not is_call:
                costs[pathlib.Path(current).name] += int(line.split()[1])
            is_call = False
    return costs


def count(bench, names, environment=None):
    """Maps each name to its instructions by object."""
    with tempfile.TemporaryDirectory(prefix="instruction-counts-") as folder:
        work = pathlib.Path(folder)
        command = [bench, "--repeat", str(TIMES), str(work / "keys.pem"), *names]
        # The keys are made at full speed.
        subprocess.run([bench, "--repeat", "1", str(work / "keys.pem"), "verify_rsa_warm/chronoseal"],
                       check=True)
        subprocess.run(["valgrind", "--tool=callgrind", f"--callgrind-out-file={work / 'out'}",
                        f"--log-file={work / 'log'}", "--collect-atstart=no",
                        "--compress-pos=no", *command],
                       check=True, env=dict(os.environ, **(environment or {})))
        if not (work / "out.1").exists():
            sys.exit("bench_client was built without the headers of valgrind: build it again")
        dumps = [work / f"out.{i + 1}" for i in range(len(names))]
        return {name: {ob: cost / TIMES for ob, cost in self_cost(dump).items()}
                for name, dump in zip(names, dumps)}


def show(bench, patterns):
    listed = subprocess.run([bench, "--list"], check=True, capture_output=True, text=True).stdout
    names = [name for name in listed.split()
             if not patterns or any(fnmatch.fnmatch(name, f"*{one}*") for one in patterns)]
    print(f"{'work':<26} {'library':<12} {'instructions':>14} {'in libcrypto':>14} {'x ours':>8}")
    ours = {}
    for name, costs in count(bench, names).items():
        work, library = name.split("/")
        total = sum(costs.values())
        crypto = sum(cost for ob, cost in costs.items() if ob.startswith("libcrypto"))
        ours.setdefault(work, total)
        print(f"{work:<26} {library:<12} {total:>14,.0f} {crypto:>14,.0f} "
              f"{total / ours[work]:>8.2f}")


def hold(bench, path):
    """Whether no count is more than ROOM above what the file has for it; less is told, too."""
    limits = {}
    for line in path.read_text().splitlines():
        if line and not line.startswith("#"):
            name, number = line.split("\t")
            limits[name] = int(number)
    held = True
    for name, costs in count(bench, list(limits), PLAIN_PROCESSOR).items():
        total, limit = sum(costs.values()), limits[name]
        if total > limit * (1 + ROOM):
            verdict, held = "TOO MANY", False
        elif total < limit * (1 - ROOM):
            verdict = f"held, and fewer by more than the room: write it into {path.name}"
        else:
            verdict = "held"
        print(f"{name:<40} {total:>12,.0f} of {limit:>12,}  {verdict}")
        if total > limit * (1 + ROOM):
            for ob, cost in sorted(costs.items(), key=lambda one: -one[1]):
                print(f"    {ob:<36} {cost:>12,.0f}")
    return held


def main():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("bench", type=pathlib.Path)
    parser.add_argument("patterns", nargs="*")
    parser.add_argument("--hold", type=pathlib.Path)
    arguments = parser.parse_args()
    if shutil.which("valgrind") is None or platform.machine() != "x86_64":
        print("skipped: counting needs valgrind on x86-64")
        return SKIPPED
    if arguments.hold:
        return 0 if hold(arguments.bench, arguments.hold) else 1
    show(arguments.bench, arguments.patterns)
    return 0


if __name__ == "__main__":
    sys.exit(main())
