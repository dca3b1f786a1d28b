"""Time-stamps (RFC 3161): get, judge and read them.

    stamp = chronoseal.Sealer("https://tsa.example/").seal("report.pdf")
    verdict = chronoseal.Verifier(roots="root.pem").verify(stamp, data="report.pdf")

A `str` or `os.PathLike` names a file, `bytes` are data themselves. Times are in UTC. Whatever fails raises `Error`.
"""

from ._memory import Data, Sources
from .digest import Digest, Hasher, Item
from .error import Category, Error
from .inspection import Embedded, Inspection, inspect
from .machine import Diagnosis, MachinePolicy, Setting, Severity, diagnose, policy, version
from .sealer import Authority, BatchResult, BatchSummary, Sealer
from .stamp import Algorithm, Certificate, Remark, Stamp, StampInfo, TokenInfo
from .stop import Progress, Stop
from .verifier import (ChainLink, Evidence, Finding, Outcome, Revocation, RevocationState, Strength, Verdict,
                       Verifier)

__all__ = [
    "Algorithm", "Authority", "BatchResult", "BatchSummary", "Category", "Certificate", "ChainLink", "Data",
    "Diagnosis", "Digest", "Embedded", "Error", "Evidence", "Finding", "Hasher", "Inspection", "Item", "MachinePolicy",
    "Outcome", "Progress", "Remark", "Revocation", "RevocationState", "Sealer", "Setting", "Severity", "Sources",
    "Stamp", "StampInfo", "Stop", "Strength", "TokenInfo", "Verdict", "Verifier", "diagnose", "inspect", "policy",
    "version",
]
