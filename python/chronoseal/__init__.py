"""Time-stamps (RFC 3161): get, judge and read them.

    stamp = chronoseal.Sealer("https://tsa.example/").seal("report.pdf")
    verdict = chronoseal.Verifier(roots="root.pem").verify(stamp, data="report.pdf")

One stamp for many, and a proof for each:

    tree = chronoseal.EvidenceTree()
    tree.add(chronoseal.Digest.of("report.pdf"))
    tree.add(chronoseal.Digest.of("annex.pdf"))
    record = tree.record(chronoseal.Digest.of("report.pdf"), sealer.seal(tree.root))

A `str` or `os.PathLike` names a file, `bytes` are data themselves. Times are in UTC. Whatever fails raises `Error`.
"""

from ._memory import Data, Sources
from .digest import Digest, Hasher, Item
from .error import Category, Error
from .evidence_record import ArchiveStamp, EvidenceInfo, EvidenceRecord
from .evidence_tree import EvidenceTree, HashRenewal, ManifestTree, StampRenewal
from .evidence_verifier import EvidenceStrength, EvidenceVerdict, EvidenceVerifier, JudgedStamp
from .extension import Extension, attach, extend
from .inspection import Embedded, Inspection, inspect
from .machine import Diagnosis, MachinePolicy, Setting, Severity, diagnose, policy, version
from .sealer import Authority, BatchResult, BatchSummary, Sealer
from .stamp import Algorithm, Certificate, Remark, Stamp, StampInfo, TokenInfo
from .stop import Progress, Stop
from .verifier import (ChainLink, Evidence, Finding, Outcome, Revocation, RevocationState, Strength, Verdict,
                       Verifier)

__all__ = [
    "Algorithm", "ArchiveStamp", "Authority", "BatchResult", "BatchSummary", "Category", "Certificate", "ChainLink",
    "Data", "Diagnosis", "Digest", "Embedded", "Error", "Evidence", "EvidenceInfo", "EvidenceRecord",
    "EvidenceStrength", "EvidenceTree", "EvidenceVerdict", "EvidenceVerifier", "Extension", "Finding", "HashRenewal",
    "Hasher", "Inspection", "Item", "JudgedStamp", "MachinePolicy", "ManifestTree", "Outcome", "Progress", "Remark",
    "Revocation", "RevocationState", "Sealer", "Setting", "Severity", "Sources", "Stamp", "StampInfo", "StampRenewal",
    "Stop", "Strength", "TokenInfo", "Verdict", "Verifier", "attach", "diagnose", "extend", "inspect", "policy",
    "version",
]
