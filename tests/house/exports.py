"""Looks at the finished library from outside: what it links, and that it exports what it should and no more.

Usage: exports.py LIBRARY
"""

import re
import subprocess
import sys

from report import end

NEEDED = re.compile(r"lib(basalt20|basalt10|basaltsup|stdc\+\+|m|gcc_s|c)\.so|ld-linux|lib(asan|ubsan)\.so")

# Demangled names, from their beginning.
ALLOWED = re.compile(
    r"^(?:(?:typeinfo|typeinfo name|vtable|guard variable|VTT) for )?(?:"
    r"chronoseal::(?!testing)|"
    r"Halcyon::(?:CBlob|CBlobList|CStringProxy|CWStringProxy|CDateTime|CDateTimeSpan)\b|"
    r"Halcyon::(?:operator|DateAdd[AW]|fromXsdDateTimeString|toXsdDateTimeString)|"
    r"Halcyon::PKI::TSP::Client::(?:CRequest|CStamp|CRequestPolicy)\b|"
    r"Halcyon::(?:ASN1::|PKI::)?CAlgorithmIdentifierEx\b|"
    r"Halcyon::ASN1::(?:CAlgorithmIdentifier\b|operator==\(Halcyon::ASN1::CAlgorithmIdentifier const&)|"
    r"Halcyon::(?:throw_last_error|result_from_last_error)\b|ATL::AtlThrowImpl\b|"
    # What the search for a provider stands on.
    r"ATL::(?:CCryptProv|CCRTHeap|IAtlMemMgr)\b|ATL2::(?:CCryptProvider(?:Types|s)EnumT<char>|EmptyProv\b)|"
    r"Halcyon::PKI::CGP(?:Bool|Long|String|Strings)\b|"  # the types of CRequestPolicy's fields
    r"(?:Halcyon::)?(?:ATL2?::)?CFind[A-Za-z]*|ATL::CAtlException|ATL::CFixedStringMgr::s_pLog$|"
    r"ASN1[A-Z]\w*|operator==\(ASN1OBJID const&|asn1rt|"
    r"(?:rt|xe_|xd_|xu_)\w+|"
    r"(?:GetMSStamp|FreeMSStamp|HY_(?:malloc|calloc|realloc|free)|DateAdd[AW]|(?:from|to)XsdDateTimeString)\b|"
    r"(?:g_defBlkSize|g_malloc_func|g_realloc_func|g_free_func|rtCtypeTable|OS_daysInMonth)$|"
    r"chronoseal_[a-z_]+$|"  # the C interface; c_abi.py compares it with its header
    r"CHRONOSEAL_1(?:\.0)?$)")

# At least these must be there, and the functions of the headers, which the test of the installed library holds.
REQUIRED = ["typeinfo for chronoseal::Error", "typeinfo for ATL::CAtlException", "g_defBlkSize", "g_malloc_func",
            "g_realloc_func", "g_free_func", "rtCtypeTable", "OS_daysInMonth"]


def output(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


library = sys.argv[1]
faults = []
for name in re.findall(r"NEEDED.*\[(.*)\]", output("readelf", "-d", library)):
    if not NEEDED.match(name):
        faults.append(f"links {name}")

symbols = set()
for line in output("nm", "-D", "--defined-only", "-C", library).splitlines():
    symbols.add(line.split(" ", 2)[2].split("@@")[0])
faults += [f"exports {s}" for s in sorted(symbols) if not ALLOWED.match(s)]
names = {s.split("(")[0] for s in symbols} | symbols
faults += [f"doesn't export {r}" for r in REQUIRED if r not in names]

end(faults, f"{len(symbols)} exported symbols, all of them meant")
