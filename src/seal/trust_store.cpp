// Filling of memory stores from files and bytes.
#include <chronoseal/seal/trust_store.h>

#include <algorithm>
#include <array>
#include <string_view>

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
    std::size_t unread = 0; // what may be evidence

    Added& operator+=(const Added& other) {
        certificates += other.certificates;
        evidence += other.evidence;
        unread += other.unread;
        return *this;
    }
};

// By its label in PEM. Keys, parameters and requests lie beside lists as well.
bool may_be_evidence(std::string_view label) {
    return std::ranges::any_of(
        std::array{"CRL", "OCSP RESPONSE", "PKCS7", "PKCS #7", "CMS"},
        [&](std::string_view part) { return label.find(part) != std::string_view::npos; });
}

Added add_list(ByteView der, HCERTSTORE store) {
    const bool added = CertAddEncodedCRLToStore(store, ATL2::kAnyEncoding, octets(der),
                                                static_cast<DWORD>(der.size()),
                                                CERT_STORE_ADD_ALWAYS, nullptr) != 0;
    return added ? Added{.evidence = 1} : Added{.unread = 1};
}

// The answers of a message, and the lists and answers that its signers carry.
Added add_carried(ByteView der, HCERTSTORE store) {
    const CRYPT_DATA_BLOB blob{static_cast<DWORD>(der.size()), const_cast<BYTE*>(octets(der))};
    ATL2::CCertStore message;
    message.Open(CERT_STORE_PROV_PKCS7, ATL2::kAnyEncoding, 0, 0, &blob);
    Added added;
    PCCRL_CONTEXT list = nullptr;
    while ((list = CertEnumCRLsInStore(message.get(), list)) != nullptr) {
        added += add_list(view_of(list->pbCrlEncoded, list->cbCrlEncoded), store);
    }
    PCBASALT_OCSP_CONTEXT answer = nullptr;
    while ((answer = BasaltEnumOcspResponsesInStore(message.get(), answer)) != nullptr) {
        added.evidence +=
            BasaltAddOcspResponseToStore(store, answer->pbEncoded, answer->cbEncoded) != 0;
    }
    return added;
}

// The certificates, lists and answers of a message, such as a PKCS#7 bag.
Added add_message(ByteView der, HCERTSTORE store) {
    const auto message = open_message(der);
    if (!message) {
        return {.unread = 1};
    }
    Added added = add_carried(der, store);
    for (DWORD i = 0; i < message_number(message, CMSG_CERT_COUNT_PARAM); ++i) {
        const Bytes one = message_bytes(message, CMSG_CERT_PARAM, i).value_or(Bytes());
        added.certificates += CertAddEncodedCertificateToStore(
                                  store, ATL2::kAnyEncoding, octets(one),
                                  static_cast<DWORD>(one.size()), kUseExisting, nullptr) != 0;
    }
    for (DWORD i = 0; i < message_number(message, CMSG_CRL_COUNT_PARAM); ++i) {
        const Bytes one = message_bytes(message, CMSG_CRL_PARAM, i).value_or(Bytes());
        added.unread += add_list(one, memory_store().get()).unread;
    }
    return added;
}

// Lists are added whatever lies there: several of one issuer may each speak of another time.
Added add_der(ByteView der, HCERTSTORE store) {
    const auto size = static_cast<DWORD>(der.size());
    if (der.size() > kMostBytes || der.empty()) {
        return {.unread = 1};
    }
    if (CertAddEncodedCertificateToStore(store, ATL2::kAnyEncoding, octets(der), size, kUseExisting,
                                         nullptr) != 0) {
        return {.certificates = 1};
    }
    const Added list = add_list(der, store);
    if (list.evidence != 0 || BasaltAddOcspResponseToStore(store, octets(der), size) != 0) {
        return {.evidence = 1};
    }
    return add_message(der, store);
}

// Of a mail that is signed it is the PEM in its text that is meant, if there is any: whoever passes
// it on may add certificates to its signature.
Added add_bytes(ByteView bytes, HCERTSTORE store) {
    Added added;
    bool any = false;
    PemBlocks blocks(bytes);
    while (const auto block = blocks.next()) {
        Added of_one = add_der(block->der, store);
        of_one.unread = may_be_evidence(block->label) ? of_one.unread : 0;
        added += of_one;
        any = any || !block->is_damaged();
    }
    return any ? added : add_der(unarmor(bytes).der, store);
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
                    "can't read all lists and answers of " + name +
                        ": what is damaged may tell of a revocation",
                    "get the file again, or leave out what is neither a list nor an answer");
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
