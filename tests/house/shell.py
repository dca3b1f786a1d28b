"""Every shell script of the house passes shellcheck; skipped where that isn't installed."""

import pathlib
import re
import shutil
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parents[2]
SKIPPED = 77


def scripts():
    for path in sorted(ROOT.rglob("*")):
        parts = path.relative_to(ROOT).parts
        if path.is_file() and not path.is_symlink() and parts[0] not in ("build", ".git"):
            with open(path, "rb") as file:
                head = file.readline(80)
            if re.match(rb"#!.*\b(ba|da)?sh\b|# shellcheck shell=", head):
                yield path


if not shutil.which("shellcheck"):
    print("shellcheck isn't installed")
    sys.exit(SKIPPED)
found = list(scripts())
result = subprocess.run(["shellcheck", *found], capture_output=True, text=True)
print(result.stdout or f"{len(found)} scripts without a remark")
print(f"{int(result.returncode == 0)} passed, {int(result.returncode != 0)} failed")
sys.exit(result.returncode or len(found) < 5)
