"""Refuses RUNPATH entries of programs and libraries that are empty or relative: the loader would look in the current
directory, and take a library that somebody has put there. Nor may an entry be a folder that isn't made for libraries
(an empty variable of CMake makes "$ORIGIN/../"), or one of our libraries look elsewhere than beside itself: it looks
for each of those that it needs in each folder, whenever a program starts.

Usage: runpath.py FOLDER...
"""

import pathlib
import re
import subprocess
import sys

from report import end

faults = []
looked_at = 0
for folder in sys.argv[1:]:
    for path in sorted(pathlib.Path(folder).rglob("*")):
        if not path.is_file() or path.is_symlink() or path.open("rb").read(4) != b"\x7fELF":
            continue
        looked_at += 1
        dynamic = subprocess.run(["readelf", "-d", path], check=True, capture_output=True, text=True).stdout
        for entries in re.findall(r"\((?:RUNPATH|RPATH)\).*\[(.*)\]", dynamic):
            faults += [f"{path}: '{entry}' in {entries!r}" for entry in entries.split(":")
                       if not (entry == "$ORIGIN" or entry.startswith(("/", "$ORIGIN/"))) or entry.endswith(("/", ".."))]
            if re.match(r"lib(chronoseal|basalt\w+)\.so", path.name) and entries != "$ORIGIN":
                faults.append(f"{path}: {entries!r}, not '$ORIGIN'")
            if ".so" not in path.name and "$ORIGIN" in entries.split(":"):
                faults.append(f"{path}: {entries!r}, though no library lies beside a program")
if not looked_at:
    faults.append("nothing to look at")
end(faults, f"{looked_at} files, every entry absolute or beside the file")
