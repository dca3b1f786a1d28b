"""Runs clang-tidy over the sources that aren't tests, by the settings in .clang-tidy: names, braces, clang's own
warnings, and the checks that are quick.

Usage: tidy.py BUILD-FOLDER [--all] [PATH...]    paths, relative to the project, narrow what is looked at
--all takes every check that is set, the analyzer too: six times as long. Ends with 77 where clang-tidy isn't there.
"""

import concurrent.futures
import json
import os
import pathlib
import re
import shutil
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parents[2]
TOOL = shutil.which("clang-tidy") or shutil.which("clang-tidy-14")
OURS = re.compile(r"^(src|apps|tools)/")
LEFT_OUT = re.compile(r"_test\.cpp$|(^|/)(test_|testing/|testdata/)|/golden/")

QUICK = ("-*,clang-diagnostic-*,readability-identifier-naming,readability-braces-around-statements,"
         "bugprone-use-after-move,bugprone-dangling-handle,bugprone-string-*,misc-unused-alias-decls,"
         "misc-unused-using-decls,performance-for-range-copy,performance-no-automatic-move,readability-redundant-string-*")


def sources(build, only):
    found = set()
    for entry in json.loads((build / "compile_commands.json").read_text()):
        path = pathlib.Path(os.path.normpath(pathlib.Path(entry["directory"], entry["file"])))
        if not path.is_relative_to(ROOT) or path.is_relative_to(build):
            continue
        name = str(path.relative_to(ROOT))
        if OURS.search(name) and not LEFT_OUT.search(name) and \
                (not only or any(name.startswith(part) for part in only)):
            found.add(name)
    return sorted(found)


def faults_of(build, name, checks):
    run = subprocess.run([TOOL, "-p", build, "--quiet", *checks, name], cwd=ROOT, capture_output=True, text=True)
    found = re.findall(r"^(\S+:\d+:\d+: (?:warning|error): .*)$", run.stdout, re.M)
    if run.returncode and not found:
        found = [f"{name}: clang-tidy ended with {run.returncode}: {run.stderr.strip()[-300:]}"]
    return found


def main():
    if TOOL is None:
        print("skipped: clang-tidy isn't installed")
        return 77
    build = pathlib.Path(sys.argv[1]).resolve()
    checks = [] if "--all" in sys.argv else [f"--checks={QUICK}"]
    names = sources(build, [word for word in sys.argv[2:] if word != "--all"])
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        found = sorted({fault for faults in pool.map(lambda name: faults_of(build, name, checks), names)
                        for fault in faults})
    for fault in found:
        print(fault.replace(f"{ROOT}/", ""))
    print(f"{len(names)} sources, {len(found)} faults")
    return 1 if found or not names else 0


sys.exit(main())
