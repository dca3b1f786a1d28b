"""Chains judged through the library's exported functions, for tests: certificates, lists and anchors in, verdict out."""
import ctypes
from ctypes import POINTER, Structure, byref, c_char_p, c_int32, c_uint32, c_void_p, sizeof

MEMORY_PROVIDER = c_void_p(2)
X509_ASN_ENCODING = 1
ADD_ALWAYS = 4
CACHE_ONLY = 0x00000004
CHECK_REVOCATION = 0x40000000
REVOCATION_REQUIRE, REVOCATION_OFF = 1, 3
UNIX_EPOCH_SECONDS = 11644473600


class FileTime(Structure):
    _fields_ = [("low", c_uint32), ("high", c_uint32)]

    @classmethod
    def of(cls, unix_seconds):
        ticks = (int(unix_seconds) + UNIX_EPOCH_SECONDS) * 10_000_000
        return cls(ticks & 0xFFFFFFFF, ticks >> 32)


class EngineConfig(Structure):
    _fields_ = [("cbSize", c_uint32), ("hRestrictedRoot", c_void_p), ("hRestrictedTrust", c_void_p),
                ("hRestrictedOther", c_void_p), ("cAdditionalStore", c_uint32), ("rghAdditionalStore", c_void_p),
                ("dwFlags", c_uint32), ("dwUrlRetrievalTimeout", c_uint32), ("MaximumCachedCertificates", c_uint32),
                ("CycleDetectionModulus", c_uint32), ("hExclusiveRoot", c_void_p),
                ("hExclusiveTrustedPeople", c_void_p), ("dwExclusiveFlags", c_uint32)]


class OwnEngineConfig(Structure):
    _fields_ = [("base", EngineConfig), ("dwRevocationMode", c_uint32), ("dwStrength", c_uint32),
                ("pNow", POINTER(FileTime))]


class UsageList(Structure):
    _fields_ = [("count", c_uint32), ("identifiers", POINTER(c_char_p))]


class UsageMatch(Structure):
    _fields_ = [("dwType", c_uint32), ("usage", UsageList)]

    @classmethod
    def of(cls, oids):
        if not oids:
            return cls()
        identifiers = (c_char_p * len(oids))(*[oid.encode() for oid in oids])
        return cls(0, UsageList(len(oids), identifiers))


class ChainPara(Structure):
    _fields_ = [("cbSize", c_uint32), ("requested_usage", UsageMatch), ("requested_policy", UsageMatch)]


class TrustStatus(Structure):
    _fields_ = [("errors", c_uint32), ("info", c_uint32)]


class RevocationInfo(Structure):
    _fields_ = [("cbSize", c_uint32), ("result", c_uint32)]


class Element(Structure):
    _fields_ = [("cbSize", c_uint32), ("pCertContext", c_void_p), ("status", TrustStatus),
                ("revocation", POINTER(RevocationInfo))]


class SimpleChain(Structure):
    _fields_ = [("cbSize", c_uint32), ("status", TrustStatus), ("count", c_uint32),
                ("elements", POINTER(POINTER(Element)))]


class Chain(Structure):
    _fields_ = [("cbSize", c_uint32), ("status", TrustStatus), ("count", c_uint32),
                ("chains", POINTER(POINTER(SimpleChain)))]


class Surface:
    def __init__(self, library):
        self.lib = ctypes.CDLL(library)
        for name, result, arguments in (
                ("CertOpenStore", c_void_p, [c_void_p, c_uint32, c_void_p, c_uint32, c_void_p]),
                ("CertCloseStore", c_int32, [c_void_p, c_uint32]),
                ("CertAddEncodedCertificateToStore", c_int32,
                 [c_void_p, c_uint32, c_char_p, c_uint32, c_uint32, c_void_p]),
                ("CertAddEncodedCRLToStore", c_int32, [c_void_p, c_uint32, c_char_p, c_uint32, c_uint32, c_void_p]),
                ("CertCreateCertificateContext", c_void_p, [c_uint32, c_char_p, c_uint32]),
                ("CertFreeCertificateContext", c_int32, [c_void_p]),
                ("CertCreateCertificateChainEngine", c_int32, [c_void_p, POINTER(c_void_p)]),
                ("CertFreeCertificateChainEngine", None, [c_void_p]),
                ("CertGetCertificateChain", c_int32,
                 [c_void_p, c_void_p, c_void_p, c_void_p, c_void_p, c_uint32, c_void_p, POINTER(POINTER(Chain))]),
                ("CertFreeCertificateChain", None, [c_void_p])):
            function = getattr(self.lib, name)
            function.restype = result
            function.argtypes = arguments

    def store(self, certificates=(), lists=()):
        store = self.lib.CertOpenStore(MEMORY_PROVIDER, 0, None, 0, None)
        for der in certificates:
            self.lib.CertAddEncodedCertificateToStore(store, X509_ASN_ENCODING, der, len(der), ADD_ALWAYS, None)
        for der in lists:
            self.lib.CertAddEncodedCRLToStore(store, X509_ASN_ENCODING, der, len(der), ADD_ALWAYS, None)
        return store

    def judge(self, end, candidates, anchors, at, lists=None, usages=(), policies=()):
        """0 for a good chain, else the error bits; -1 when the certificate can't be read, -2 when the chain passes but a
        certificate on it has no source of revocation. With `lists` (which may be empty) revocation is looked at."""
        context = self.lib.CertCreateCertificateContext(X509_ASN_ENCODING, end, len(end))
        if not context:
            return -1
        root, nothing, given = self.store(anchors), self.store(), self.store(candidates, lists or ())
        moment = FileTime.of(at)
        config = OwnEngineConfig()
        config.base.cbSize = sizeof(config)
        config.base.hExclusiveRoot = root
        config.base.hRestrictedOther = nothing
        config.base.dwFlags = CACHE_ONLY
        config.dwRevocationMode = REVOCATION_REQUIRE if lists is not None else REVOCATION_OFF
        config.pNow = ctypes.pointer(moment)
        engine = c_void_p()
        if not self.lib.CertCreateCertificateChainEngine(byref(config), byref(engine)):
            raise RuntimeError("the engine was refused")
        para = ChainPara(sizeof(ChainPara), UsageMatch.of(usages), UsageMatch.of(policies))
        chain = POINTER(Chain)()
        built = self.lib.CertGetCertificateChain(engine, context, None, given, byref(para), CHECK_REVOCATION, None,
                                                 byref(chain))
        result = self.result_of(chain.contents, lists is not None) if built else -1
        if built:
            self.lib.CertFreeCertificateChain(chain)
        self.lib.CertFreeCertificateChainEngine(engine)
        self.lib.CertFreeCertificateContext(context)
        for store in (root, nothing, given):
            self.lib.CertCloseStore(store, 0)
        return result

    @staticmethod
    def result_of(chain, with_revocation):
        if chain.status.errors:
            return chain.status.errors
        simple = chain.chains[0].contents
        for index in range(simple.count - 1):
            information = simple.elements[index].contents.revocation
            if with_revocation and (not information or information.contents.result):
                return -2
        return 0
