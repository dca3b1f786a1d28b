// Filling of memory stores from files and bytes.
#include <chronoseal/seal/trust_store.h>

#include <chronoseal/atl/platform_answer.h>
#include <chronoseal/seal/armor.h>
#include <chronoseal/seal/failure.h>
#include <chronoseal/seal/file_bytes.h>
#include <chronoseal/seal/platform_text.h>
#include <chronoseal/seal/signed_bytes.h>

namespace chronoseal {

namespace {

constexpr DWORD kUseExisting = CERT_STORE_ADD_USE_EXISTING;

struct Added {
    std::size_t certificates = 0;
    std::size_t evidence = 0;
    std::size_t unread = 0; // blocks

    Added& operator+=(const Added& other) {
        certificates += other.certificates;
        evidence += other.evidence;
        unread += other.certificates + other.evidence == 0;
        return *this;
    }
};

// The certificates and lists of a message, such as a PKCS#7 bag.
Added add_message(ByteView der, HCERTSTORE store) {
    const auto message = open_message(der);
    Added added;
    for (DWORD i = 0; i < message_number(message, CMSG_CERT_COUNT_PARAM); ++i) {
        const Bytes one = message_bytes(message, CMSG_CERT_PARAM, i).value_or(Bytes());
        added.certificates += CertAddEncodedCertificateToStore(
                                  store, ATL2::kAnyEncoding, octets(one),
                                  static_cast<DWORD>(one.size()), kUseExisting, nullptr) != 0;
    }
    for (DWORD i = 0; i < message_number(message, CMSG_CRL_COUNT_PARAM); ++i) {
        const Bytes one = message_bytes(message, CMSG_CRL_PARAM, i).value_or(Bytes());
        added.evidence += CertAddEncodedCRLToStore(store, ATL2::kAnyEncoding, octets(one),
                                                   static_cast<DWORD>(one.size()),
                                                   CERT_STORE_ADD_ALWAYS, nullptr) != 0;
    }
    return added;
}

// Lists are added whatever lies there: several of one issuer may each speak of another time.
Added add_der(ByteView der, HCERTSTORE store) {
    const auto size = static_cast<DWORD>(der.size());
    if (der.size() > kMostBytes || der.empty()) {
        return {};
    }
    if (CertAddEncodedCertificateToStore(store, ATL2::kAnyEncoding, octets(der), size, kUseExisting,
                                         nullptr) != 0) {
        return {.certificates = 1};
    }
    const bool evidence = CertAddEncodedCRLToStore(store, ATL2::kAnyEncoding, octets(der), size,
                                                   CERT_STORE_ADD_ALWAYS, nullptr) != 0 ||
                          BasaltAddOcspResponseToStore(store, octets(der), size) != 0;
    return evidence ? Added{.evidence = 1} : add_message(der, store);
}

Added add_bytes(ByteView bytes, HCERTSTORE store) {
    const Unarmored first = unarmor(bytes);
    if (first.form != Form::pem) {
        return add_der(first.der, store);
    }
    Added added;
    for (const PemBlock& block : pem_blocks(bytes)) {
        added += add_der(block.der, store);
    }
    return added;
}

} // namespace

ATL2::CCertStore memory_store() {
    ATL2::CCertStore store;
    store.Open(CERT_STORE_PROV_MEMORY, 0, 0, 0, nullptr);
    return store;
}

void add_source(const Source& source, const ATL2::CCertStore& store, Wanted wanted) {
    const auto* path = std::get_if<std::filesystem::path>(&source);
    const Bytes read = path != nullptr ? read_file(*path) : std::get<Bytes>(source);
    const Added added = add_bytes(read, store.get());
    const std::string name = path != nullptr ? quote_foreign(path->string()) : "the bytes";
    if (added.certificates + added.evidence == 0) {
        throw Error(Category::unreachable, "no_certificates", 0,
                    "can't read certificates, revocation lists or OCSP answers from " + name,
                    "give a PEM or DER file");
    }
    if (wanted == Wanted::certificates && added.certificates == 0) {
        throw Error(Category::unreachable, "no_certificates", 0,
                    "can't read a certificate from " + name + ", which holds lists or answers",
                    "give a file with certificates");
    }
    if (wanted == Wanted::evidence && added.evidence == 0) {
        throw Error(Category::unreachable, "no_evidence", 0,
                    "can't read revocation lists or OCSP answers from " + name +
                        ", which holds certificates",
                    "give a file with lists or answers");
    }
    if (wanted == Wanted::evidence && added.unread != 0) {
        throw Error(Category::unreachable, "evidence_unreadable", 0,
                    "can't read " + std::to_string(added.unread) + " of the PEM blocks of " + name +
                        ", which may tell of a revocation",
                    "get the file again, or leave out what is neither a list nor an answer nor a "
                    "certificate");
    }
}

void add_sources(std::span<const Source> sources, const ATL2::CCertStore& store, Wanted wanted) {
    for (const Source& source : sources) {
        add_source(source, store, wanted);
    }
}

ATL2::CCertStore collection_of(const std::vector<const ATL2::CCertStore*>& stores) {
    ATL2::CCertStore collection;
    collection.Open(CERT_STORE_PROV_COLLECTION, 0, 0, 0, nullptr);
    for (const ATL2::CCertStore* store : stores) {
        if (const HRESULT result = collection.AddStoreToCollection(*store); result < 0) {
            ATL::AtlThrowImpl(result);
        }
    }
    return collection;
}

} // namespace chronoseal
