// The search for the signer's certificate.
#include <chronoseal/seal/token_signer.h>

#include <algorithm>
#include <mutex>

#include <chronoseal/asn1/certificate_identification.h>
#include <chronoseal/atl/platform_answer.h>
#include <chronoseal/client/signed_attributes.h>
#include <chronoseal/client/signing_certificate_attributes.h>
#include <chronoseal/seal/certificate_info.h>
#include <chronoseal/seal/platform_text.h>

namespace chronoseal {

namespace {

using Halcyon::ASN1::COtherCertID;

// SigningCertificate, OtherSigningCertificate and SigningCertificateV2.
constexpr std::string_view kNaming[] = {"1.2.840.113549.1.9.16.2.12", "1.2.840.113549.1.9.16.2.19",
                                        "1.2.840.113549.1.9.16.2.47"};

COtherCertID identifier_of(const ATL2::CCryptMsg& message, const SignerRecord& record) {
    if (record.get() != nullptr) {
        return Halcyon::PKI::GetSignerCertIdEx(&record.get()->AuthAttrs, true);
    }
    ATL::CStringA buffer;
    return Halcyon::PKI::GetSignerCertIdEx(
        Halcyon::ExtractSignedAttributes(message.get(), 0, buffer), true);
}

// The digest in the identifier if that is a SHA-256 and all there is, as in most tokens: it can be
// compared with the one that is known of each certificate. Else null.
const Halcyon::CBlob* sole_sha256(const COtherCertID& id) {
    const auto* hash = id.get_otherCertHash().get_otherHash();
    return hash != nullptr && id.get_issuerSerial() == nullptr &&
                   std::string_view(hash->get_hashAlgorithm().get_algorithm()) ==
                       Halcyon::ASN1::kSha256
               ? &hash->get_hashValue()
               : nullptr;
}

// The attributes that name a certificate, with what makes them differ: of one authority they are
// the same in each stamp.
Bytes naming_part(const CRYPT_ATTRIBUTES& attributes) {
    Bytes part;
    const auto append = [&](const void* data, std::size_t size) {
        const auto* bytes = static_cast<const std::byte*>(data);
        part.insert(part.end(), bytes, bytes + size);
    };
    for (DWORD i = 0; i < attributes.cAttr; ++i) {
        const CRYPT_ATTRIBUTE& attribute = attributes.rgAttr[i];
        const std::string_view oid = attribute.pszObjId;
        if (std::ranges::find(kNaming, oid) == std::end(kNaming)) {
            continue;
        }
        append(oid.data(), oid.size() + 1);
        append(&attribute.cValue, sizeof attribute.cValue);
        for (DWORD j = 0; j < attribute.cValue; ++j) {
            append(&attribute.rgValue[j].cbData, sizeof attribute.rgValue[j].cbData);
            append(attribute.rgValue[j].pbData, attribute.rgValue[j].cbData);
        }
    }
    return part;
}

// The digests that were read from such attributes lately. Says nothing of trust. Bounded in number
// and in bytes; for any number of threads.
class KnownDigests {
public:
    std::shared_ptr<const Bytes> find(const Bytes& part) {
        const std::scoped_lock lock(mutex_);
        const auto found = std::ranges::find(entries_, part, &Entry::part);
        if (found == entries_.end()) {
            return nullptr;
        }
        std::rotate(entries_.begin(), found, found + 1);
        return entries_.front().digest;
    }

    void keep(Bytes part, std::shared_ptr<const Bytes> digest) {
        constexpr std::size_t kMostEntries = 16;
        constexpr std::size_t kMostBytes = 1024;
        if (part.size() > kMostBytes) {
            return;
        }
        const std::scoped_lock lock(mutex_);
        entries_.insert(entries_.begin(), {std::move(part), std::move(digest)});
        if (entries_.size() > kMostEntries) {
            entries_.pop_back();
        }
    }

private:
    struct Entry {
        Bytes part;
        std::shared_ptr<const Bytes> digest;
    };
    std::mutex mutex_;
    std::vector<Entry> entries_; // the last used first
};

KnownDigests& known_digests() {
    static auto* const kept = new KnownDigests; // threads may outlive the objects of the process
    return *kept;
}

ATL2::CCertContext find_in(HCERTSTORE store, const SignerName& name) {
    ATL2::CCertContext current;
    for (;;) {
        current.attach(CertEnumCertificatesInStore(store, current.detach()));
        if (!current || name.matches(*shared_certificate_info(current.get()))) {
            return current;
        }
    }
}

} // namespace

SignerName::SignerName(const ATL2::CCryptMsg& message, const SignerRecord& record) {
    Bytes part;
    if (record.get() != nullptr) {
        part = naming_part(record.get()->AuthAttrs);
        sha256_ = known_digests().find(part);
        if (sha256_ != nullptr) {
            code_ = 0;
            return;
        }
    }
    try {
        auto id = std::make_shared<const COtherCertID>(identifier_of(message, record));
        code_ = 0;
        const auto* digest = sole_sha256(*id);
        if (digest == nullptr) {
            id_ = std::move(id);
            return;
        }
        sha256_ = std::make_shared<const Bytes>(copy_of(digest->pbData(), digest->cbData()));
        if (!part.empty()) {
            known_digests().keep(std::move(part), sha256_);
        }
    } catch (const ATL::CAtlException& failure) {
        code_ = static_cast<std::uint32_t>(failure.m_hr);
        if (code_ == CRYPT_E_ASN1_INTERNAL && record.get() != nullptr) {
            namings_ = signer_namings(record.get()->AuthAttrs);
            code_ = namings_.empty() ? code_ : 0;
        }
    }
}

bool SignerName::matches(const CertificateInfo& certificate) const {
    if (!namings_.empty()) {
        return std::ranges::all_of(
            namings_, [&](const SignerNaming& naming) { return names(naming, certificate); });
    }
    if (sha256_ != nullptr) {
        return *sha256_ == certificate.sha256;
    }
    return id_ != nullptr && Halcyon::ASN1::OtherCertIDMatches(*id_, blob_of(certificate.der));
}

bool SignerName::is(const CertificateInfo& certificate) const {
    try {
        return matches(certificate);
    } catch (const ATL::CAtlException&) {
        return false;
    }
}

std::string_view SignerName::hash_oid() const {
    if (!namings_.empty()) {
        return namings_.back().hash_oid;
    }
    if (sha256_ != nullptr) {
        return Halcyon::ASN1::kSha256;
    }
    const auto* hash = id_ != nullptr ? id_->get_otherCertHash().get_otherHash() : nullptr;
    return hash != nullptr ? std::string_view(hash->get_hashAlgorithm().get_algorithm())
                           : std::string_view();
}

SignerSearch find_signer(const SignerName& name, const std::vector<const ATL2::CCertStore*>& stores,
                         const std::function<ATL2::CCertStore()>& last_store) {
    if (name.code() != 0) {
        return {{}, name.code()};
    }
    try {
        for (const ATL2::CCertStore* store : stores) {
            if (auto found = find_in(store->get(), name)) {
                return {std::move(found), 0};
            }
        }
        if (last_store) {
            if (auto found = find_in(last_store().get(), name)) {
                return {std::move(found), 0};
            }
        }
        return {{}, CRYPT_E_NOT_FOUND};
    } catch (const ATL::CAtlException& failure) {
        return {{}, static_cast<std::uint32_t>(failure.m_hr)};
    }
}

} // namespace chronoseal
