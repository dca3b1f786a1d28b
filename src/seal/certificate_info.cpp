// Certificates taken apart for people and programs.
#include <chronoseal/seal/certificate_info.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <list>
#include <memory>
#include <mutex>

#include <basalt/name_text.h>
#include <chronoseal/atl/cert_context.h>
#include <chronoseal/atl/platform_answer.h>
#include <chronoseal/seal/der_element.h>
#include <chronoseal/seal/failure.h>
#include <chronoseal/seal/platform_text.h>

namespace chronoseal {

namespace {

// 100 nanoseconds from 1601 to 1970.
constexpr std::int64_t kEpoch = 116444736000000000;

struct OidName {
    std::string_view oid, name;
};

constexpr OidName kNames[] = {
    {"0.4.0.1862.1.1", "qualified-statement"},
    {"1.2.840.113549.1.9.3", "contentType"},
    {"1.2.840.113549.1.9.4", "messageDigest"},
    {"1.2.840.113549.1.9.5", "signingTime"},
    {"1.2.840.113549.1.9.6", "countersignature"},
    {"1.2.840.113549.1.9.16.1.4", "tstInfo"},
    {"1.2.840.113549.1.9.16.2.12", "signingCertificate"},
    {"1.2.840.113549.1.9.16.2.14", "timeStampToken"},
    {"1.2.840.113549.1.9.16.2.19", "otherSigningCertificate"},
    {"1.2.840.113549.1.9.16.2.21", "certificateRefs"},
    {"1.2.840.113549.1.9.16.2.22", "revocationRefs"},
    {"1.2.840.113549.1.9.16.2.23", "certificateValues"},
    {"1.2.840.113549.1.9.16.2.24", "revocationValues"},
    {"1.2.840.113549.1.9.16.2.27", "archiveTimestampV2"},
    {"1.2.840.113549.1.9.16.2.47", "signingCertificateV2"},
    {"1.2.840.113549.1.9.16.2.49", "evidenceRecord"},
    {"1.2.840.113549.1.9.52", "algorithmProtection"},
    {"1.3.6.1.4.1.311.2.4.1", "nestedSignature"},
    {"1.3.6.1.4.1.311.3.3.1", "authenticodeTimeStamp"},
    {"1.3.6.1.5.5.7.1.1", "authorityInfoAccess"},
    {"1.3.6.1.5.5.7.1.3", "qcStatements"},
    {"1.3.6.1.5.5.7.3.8", "timeStamping"},
    {"1.3.6.1.5.5.7.3.9", "ocspSigning"},
    {"2.5.29.9", "subjectDirectoryAttributes"},
    {"2.5.29.14", "subjectKeyIdentifier"},
    {"2.5.29.15", "keyUsage"},
    {"2.5.29.16", "privateKeyUsagePeriod"},
    {"2.5.29.17", "subjectAltName"},
    {"2.5.29.18", "issuerAltName"},
    {"2.5.29.19", "basicConstraints"},
    {"2.5.29.30", "nameConstraints"},
    {"2.5.29.31", "cRLDistributionPoints"},
    {"2.5.29.32", "certificatePolicies"},
    {"2.5.29.35", "authorityKeyIdentifier"},
    {"2.5.29.37", "extKeyUsage"},
};

constexpr std::string_view kRsa = "1.2.840.113549.1.1.1";
constexpr std::string_view kDsa = "1.2.840.10040.4.1";
constexpr std::string_view kEc = "1.2.840.10045.2.1";

// Of signatures as well as of hashes.
struct Weakness {
    std::string_view oid, why;
};

constexpr std::string_view kSha1 = "SHA-1 is broken for collisions";
constexpr std::string_view kMd5 = "MD5 is broken";
constexpr std::string_view kMd4 = "MD4 is broken";
constexpr std::string_view kMdc2 = "MDC-2 is too short";
constexpr std::string_view kSha0 = "SHA-0 is broken";
constexpr std::string_view kRipemd160 = "RIPEMD-160 is too short";
constexpr Weakness kWeak[] = {
    {"1.3.14.3.2.26", kSha1},
    {"1.3.14.3.2.29", kSha1},
    {"1.2.840.113549.1.1.5", kSha1},
    {"1.2.840.10045.4.1", kSha1},
    {"1.2.840.10040.4.3", kSha1},
    {"1.2.840.113549.2.5", kMd5},
    {"1.2.840.113549.1.1.4", kMd5},
    {"1.2.840.113549.2.2", "MD2 is broken"},
    {"1.2.840.113549.1.1.2", "MD2 is broken"},
    {"1.2.840.113549.2.4", kMd4},
    {"1.2.840.113549.1.1.3", kMd4},
    {"2.5.8.3.101", kMdc2},
    {"2.5.8.3.100", kMdc2},
    {"1.3.14.3.2.18", kSha0},
    {"1.3.14.3.2.15", kSha0},
    {"1.3.36.3.2.2", "RIPEMD-128 is too short"},
    {"1.3.36.3.2.1", kRipemd160},
    {"1.3.36.3.3.1.2", kRipemd160},
};

std::size_t bits_of_number(ByteView content) {
    while (!content.empty() && content[0] == std::byte{0}) {
        content = content.subspan(1);
    }
    if (content.empty()) {
        return 0;
    }
    std::size_t bits = content.size() * 8;
    for (auto top = std::to_integer<unsigned>(content[0]); (top & 0x80) == 0; top <<= 1) {
        --bits;
    }
    return bits;
}

// Of a point with both coordinates, or compressed with one.
std::size_t curve_bits(ByteView point) {
    const bool is_compressed = (std::to_integer<unsigned>(point[0]) & ~1U) == 2;
    const std::size_t field = is_compressed ? point.size() - 1 : (point.size() - 1) / 2;
    return field == 66 ? 521 : field * 8;
}

// RSAPublicKey ::= SEQUENCE { modulus INTEGER, ... }; the modulus of DSA stands in its parameters.
std::size_t key_bits_of(const CERT_PUBLIC_KEY_INFO& key) {
    const std::string_view oid = key.Algorithm.pszObjId;
    const ByteView bits = view_of(key.PublicKey.pbData, key.PublicKey.cbData);
    if (oid == kRsa || oid == kDsa) {
        const ByteView record =
            oid == kRsa ? bits
                        : view_of(key.Algorithm.Parameters.pbData, key.Algorithm.Parameters.cbData);
        const auto outer = DerReader(record).next(der_tag::kSequence);
        const auto number =
            outer ? DerReader(outer->content).next(der_tag::kInteger) : std::nullopt;
        return number ? bits_of_number(number->content) : 0;
    }
    if (oid == kEc) {
        return bits.size() > 2 ? curve_bits(bits) : 0;
    }
    if (oid == "1.3.101.112") {
        return 256;
    }
    return oid == "1.3.101.113" ? 456 : 0;
}

std::vector<std::string> usages_of(ByteView value) {
    std::vector<std::string> usages;
    if (const auto outer = DerReader(value).next(der_tag::kSequence)) {
        DerReader list(outer->content);
        while (const auto usage = list.next(der_tag::kObjectIdentifier)) {
            usages.push_back(dotted_oid(usage->content));
        }
    }
    return usages;
}

} // namespace

Time time_of(FILETIME time) {
    const auto ticks =
        static_cast<std::int64_t>(std::uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime);
    return Time(std::chrono::microseconds((ticks - kEpoch) / 10));
}

FILETIME file_time_of(Time time) {
    const auto ticks = static_cast<std::uint64_t>(time.time_since_epoch().count() * 10 + kEpoch);
    return {static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
}

Bytes big_endian(const CRYPT_INTEGER_BLOB& number) {
    Bytes bytes = copy_of(number.pbData, number.cbData);
    std::ranges::reverse(bytes);
    return bytes;
}

namespace {

// Names that were made into text lately, by their bytes: an authority's stands in each of its
// stamps, several times. Bounded in number and in bytes; for any number of threads.
class KnownNames {
public:
    std::optional<std::string> find(ByteView der) {
        const std::scoped_lock lock(mutex_);
        const auto found = std::ranges::find_if(
            entries_, [&](const Entry& entry) { return std::ranges::equal(entry.der, der); });
        if (found == entries_.end()) {
            return std::nullopt;
        }
        std::rotate(entries_.begin(), found, found + 1);
        return entries_.front().text;
    }

    void keep(ByteView der, const std::string& text) {
        constexpr std::size_t kMostEntries = 16;
        constexpr std::size_t kMostBytes = 1024;
        if (der.size() > kMostBytes || text.size() > kMostBytes) {
            return;
        }
        const std::scoped_lock lock(mutex_);
        entries_.insert(entries_.begin(), {copy_of(der), text});
        if (entries_.size() > kMostEntries) {
            entries_.pop_back();
        }
    }

private:
    struct Entry {
        Bytes der;
        std::string text;
    };
    std::mutex mutex_;
    std::vector<Entry> entries_; // the last used first
};

KnownNames& known_names() {
    static auto* const kept = new KnownNames; // threads may outlive the objects of the process
    return *kept;
}

} // namespace

std::string name_text(const CERT_NAME_BLOB& name) {
    const ByteView der = view_of(name.pbData, name.cbData);
    if (auto known = known_names().find(der)) {
        return *std::move(known);
    }
    CERT_NAME_BLOB copy = name;
    const DWORD size = CertNameToStrA(ATL2::kAnyEncoding, &copy, CERT_X500_NAME_STR, nullptr, 0);
    std::string text(size, '\0');
    CertNameToStrA(ATL2::kAnyEncoding, &copy, CERT_X500_NAME_STR, text.data(), size);
    text.resize(size == 0 ? 0 : size - 1);
    known_names().keep(der, text);
    return text;
}

std::string key_weakness(std::string_view oid, std::size_t bits) {
    const std::string size = std::to_string(bits);
    if ((oid == kRsa || oid == kDsa) && bits != 0 && bits < 2048) {
        return (oid == kRsa ? "an RSA key of " : "a DSA key of ") + size + " bits is short";
    }
    return oid == kEc && bits != 0 && bits < 224 ? "a curve of " + size + " bits is short" : "";
}

AlgorithmInfo algorithm_info(std::string_view oid, ByteView parameters) {
    AlgorithmInfo info{std::string(oid), algorithm_name(oid), copy_of(parameters), {}};
    for (const Weakness& weak : kWeak) {
        if (weak.oid == oid) {
            info.weakness = weak.why;
        }
    }
    return info;
}

AlgorithmInfo algorithm_info(const CRYPT_ALGORITHM_IDENTIFIER& algorithm) {
    return algorithm_info(algorithm.pszObjId,
                          view_of(algorithm.Parameters.pbData, algorithm.Parameters.cbData));
}

namespace {

CertificateInfo describe(PCCERT_CONTEXT certificate) {
    const CERT_INFO& fields = *certificate->pCertInfo;
    CertificateInfo info;
    info.subject = name_text(fields.Subject);
    info.issuer = name_text(fields.Issuer);
    info.serial_number = big_endian(fields.SerialNumber);
    info.not_before = time_of(fields.NotBefore);
    info.not_after = time_of(fields.NotAfter);
    info.signature_algorithm = algorithm_info(fields.SignatureAlgorithm);
    info.key_algorithm = algorithm_info(fields.SubjectPublicKeyInfo.Algorithm);
    info.key_bits = key_bits_of(fields.SubjectPublicKeyInfo);
    info.key_sha256 = sha256_of(view_of(fields.SubjectPublicKeyInfo.PublicKey.pbData,
                                        fields.SubjectPublicKeyInfo.PublicKey.cbData));
    info.key_algorithm.weakness = key_weakness(info.key_algorithm.oid, info.key_bits);
    for (DWORD i = 0; i < fields.cExtension; ++i) {
        const CERT_EXTENSION& extension = fields.rgExtension[i];
        const Bytes value = copy_of(extension.Value.pbData, extension.Value.cbData);
        if (std::string_view(extension.pszObjId) == "2.5.29.37") {
            info.extended_usages = usages_of(value);
        }
        info.extensions.push_back(
            {extension.pszObjId, oid_name(extension.pszObjId), extension.fCritical != 0, value});
    }
    info.der = copy_of(certificate->pbCertEncoded, certificate->cbCertEncoded);
    info.sha256 = sha256_of(info.der);
    return info;
}

// Certificates that were described lately, by their bytes: those of one authority come with each of
// its stamps, and several times with each. Says nothing of trust. Bounded in number and in bytes;
// for any number of threads.
class Described {
public:
    std::shared_ptr<const CertificateInfo> find(ByteView der) {
        const std::scoped_lock lock(mutex_);
        const auto found = std::ranges::find_if(entries_, [&](const auto& entry) {
            return entry->der.size() == der.size() &&
                   std::memcmp(entry->der.data(), der.data(), der.size()) == 0;
        });
        if (found == entries_.end()) {
            return nullptr;
        }
        entries_.splice(entries_.begin(), entries_, found);
        return entries_.front();
    }

    void keep(std::shared_ptr<const CertificateInfo> entry) {
        constexpr std::size_t kMostEntries = 32;
        constexpr std::size_t kMostBytes = 8192; // of one; what is read from it may take ten times
        if (entry->der.size() > kMostBytes) {
            return;
        }
        const std::scoped_lock lock(mutex_);
        entries_.push_front(std::move(entry));
        if (entries_.size() > kMostEntries) {
            entries_.pop_back();
        }
    }

private:
    std::mutex mutex_;
    std::list<std::shared_ptr<const CertificateInfo>> entries_;
};

Described& described() {
    static auto* const kept = new Described; // threads may outlive the objects of the process
    return *kept;
}

} // namespace

std::shared_ptr<const CertificateInfo> shared_certificate_info(PCCERT_CONTEXT certificate) {
    if (auto known =
            described().find(view_of(certificate->pbCertEncoded, certificate->cbCertEncoded))) {
        return known;
    }
    auto info = std::make_shared<const CertificateInfo>(describe(certificate));
    described().keep(info);
    return info;
}

CertificateInfo certificate_info(PCCERT_CONTEXT certificate) {
    return *shared_certificate_info(certificate);
}

std::optional<CertificateInfo> certificate_info(ByteView der) {
    if (const auto known = described().find(der)) {
        return *known;
    }
    const ATL2::CCertContext context(CertCreateCertificateContext(ATL2::kAnyEncoding, octets(der),
                                                                  static_cast<DWORD>(der.size())));
    return context ? std::optional(certificate_info(context.get())) : std::nullopt;
}

std::string oid_name(std::string_view oid) {
    for (const OidName& known : kNames) {
        if (known.oid == oid) {
            return std::string(known.name);
        }
    }
    return std::string(oid);
}

Bytes sha256_of(ByteView bytes) {
    static const HashAlgorithm kAlgorithm = HashAlgorithm::by_name("SHA-256");
    return Digest::of(bytes, kAlgorithm).value();
}

} // namespace chronoseal
