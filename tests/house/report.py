"""How a test of the house ends: with its faults, or a line that says what is well, and the counts for ctest's reader."""

import pathlib
import sys

ROOT = pathlib.Path(__file__).resolve().parents[2]
SKIPPED = 77  # what ctest takes for a test that could not run


def end(faults, well, skipped=""):
    faults = list(faults)
    print("\n".join(faults) or well)
    if skipped:
        print(f"SKIPPED: {skipped}")
    print(f"{int(not faults)} passed, {int(bool(faults))} failed")
    sys.exit(1 if faults else SKIPPED if skipped else 0)
