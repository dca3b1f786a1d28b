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
from .authenticode_stamp import AuthenticodeStamp, authenticode
from .cms_signature import AUTHENTICODE_TIME_STAMP, SIGNATURE_TIME_STAMP, CmsSignature
from .digest import Digest, HashAlgorithm, Hasher, Item, hash_algorithms
from .error import Category, Error
from .evidence_record import ArchiveStamp, EvidenceInfo, EvidenceRecord
from .evidence_tree import EvidenceTree, HashRenewal, StampRenewal
from .evidence_verifier import EvidenceVerdict, EvidenceVerifier, JudgedStamp
from .extension import Extension, attach, extend, extend_record
from .inspection import Embedded, Inspection, UnreadStamp, inspect, rewrap
from .machine import (Diagnosis, MachinePolicy, Place, Setting, SettingState, Severity, Store, TrustedRoot, diagnose,
                      distrust_root, policy, trust_root, trusted_roots, version)
from .manifest import ManifestInfo, ManifestLine, ManifestReader, ManifestTree, OnLine, manifest_line, read_manifest
from .manifest_renewal import ManifestRenewal
from .sealer import Authorities, Authority, BatchResult, BatchSummary, Sealer, configured_authorities
from .stamp import Algorithm, Attribute, Certificate, Field, Remark, Signature, Stamp, StampInfo, TokenInfo
from .stop import Progress, Stop
from .verifier import (ChainLink, Evidence, EvidenceStrength, Finding, Outcome, Outlook, Revocation, RevocationState,
                       Strength, Verdict, Verifier)

__all__ = [
    "AUTHENTICODE_TIME_STAMP", "Algorithm", "ArchiveStamp", "Attribute", "AuthenticodeStamp", "Authorities",
    "Authority", "BatchResult", "BatchSummary", "Category", "Certificate", "ChainLink", "CmsSignature", "Data",
    "Diagnosis", "Digest", "Embedded", "Error", "Evidence", "EvidenceInfo", "EvidenceRecord", "EvidenceStrength",
    "EvidenceTree", "EvidenceVerdict", "EvidenceVerifier", "Extension", "Field", "Finding", "HashAlgorithm",
    "HashRenewal", "Hasher", "Inspection", "Item", "JudgedStamp", "MachinePolicy", "ManifestInfo", "ManifestLine",
    "ManifestReader", "ManifestRenewal", "ManifestTree", "OnLine", "Outcome", "Outlook", "Place", "Progress", "Remark", "Revocation",
    "RevocationState", "SIGNATURE_TIME_STAMP", "Sealer", "Setting", "SettingState", "Severity", "Signature",
    "Sources", "Stamp", "StampInfo", "StampRenewal", "Stop", "Store", "Strength", "TokenInfo", "TrustedRoot",
    "UnreadStamp", "Verdict", "Verifier", "attach", "authenticode", "configured_authorities", "diagnose", "distrust_root",
    "extend", "extend_record", "hash_algorithms", "inspect", "manifest_line", "policy", "read_manifest", "rewrap", "trust_root",
    "trusted_roots", "version",
]
