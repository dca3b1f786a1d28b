"""Waits for a silent server until it is interrupted.

Usage: interrupted.py seal|verify caught|uncaught URL STAMP DATA ROOTS
"""

import sys

import chronoseal

action, end, url, stamp, data, roots = sys.argv[1:]
try:
    if action == "seal":
        chronoseal.Sealer(url, roots=roots, attempts=1).seal(data)
    else:
        chronoseal.Verifier(roots=roots).verify(chronoseal.Stamp(stamp), data)
except KeyboardInterrupt:
    if end == "uncaught":
        raise
    sys.exit(7)
