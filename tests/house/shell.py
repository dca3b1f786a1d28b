"""Every shell script of the house passes shellcheck; skipped where that isn't installed."""

import re
import shutil
import subprocess

from report import ROOT, end

def scripts():
    for path in sorted(ROOT.rglob("*")):
        parts = path.relative_to(ROOT).parts
        if path.is_file() and not path.is_symlink() and parts[0] not in ("build", ".git"):
            with open(path, "rb") as file:
                head = file.readline(80)
            if re.match(rb"#!.*\b(ba|da)?sh\b|# shellcheck shell=", head):
                yield path


if not shutil.which("shellcheck"):
    end([], "", "shellcheck isn't installed")
found = list(scripts())
result = subprocess.run(["shellcheck", *found], capture_output=True, text=True)
faults = ["hardly any script was found"] if len(found) < 5 else []
if result.returncode != 0:
    faults.append(result.stdout + result.stderr)
end(faults, f"{len(found)} scripts without a remark")
