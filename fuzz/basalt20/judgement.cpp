// A bag of certificates, lists and OCSP answers, one DER element behind the other, against the
// whole judgement: the first certificate is asked about, the last one is the anchor, nothing is
// fetched. The verdict is the same with the bag the other way round, and comes in time.
#include <basalt/chain.h>

#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <memory>
#include <vector>

namespace {

constexpr std::size_t kMostElements = 24; // beyond that the budgets may end a search
constexpr double kMostSeconds = 20;       // of processor time, sanitizers included

struct Release {
    void operator()(PCCERT_CONTEXT context) const { CertFreeCertificateContext(context); }
    void operator()(PCCERT_CHAIN_CONTEXT chain) const { CertFreeCertificateChain(chain); }
    void operator()(void* store) const { CertCloseStore(store, 0); }
};
using Certificate = std::unique_ptr<const CERT_CONTEXT, Release>;
using Store = std::unique_ptr<void, Release>;

struct Element {
    const BYTE* data;
    DWORD size;
};

void check(bool condition) {
    if (!condition) {
        std::abort();
    }
}

Store new_store() {
    return Store(CertOpenStore(CERT_STORE_PROV_MEMORY, 0, 0, 0, nullptr));
}

// Cut by the outer lengths alone.
std::vector<Element> elements_of(const BYTE* data, std::size_t size) {
    std::vector<Element> elements;
    while (size >= 2 && elements.size() < kMostElements) {
        std::size_t header = 2;
        std::size_t length = data[1];
        if (length > 0x80) {
            const std::size_t count = length & 0x7F;
            if (count > 4 || size < 2 + count) {
                break;
            }
            length = 0;
            for (std::size_t i = 0; i < count; ++i) {
                length = length << 8 | data[2 + i];
            }
            header += count;
        }
        if (length > size - header) {
            break;
        }
        elements.push_back({data, static_cast<DWORD>(header + length)});
        data += header + length;
        size -= header + length;
    }
    return elements;
}

void add(HCERTSTORE store, const Element& element) {
    const DWORD always = CERT_STORE_ADD_ALWAYS;
    if (!CertAddEncodedCertificateToStore(store, X509_ASN_ENCODING, element.data, element.size,
                                          always, nullptr) &&
        !CertAddEncodedCRLToStore(store, X509_ASN_ENCODING, element.data, element.size, always,
                                  nullptr)) {
        BasaltAddOcspResponseToStore(store, element.data, element.size);
    }
}

DWORD verdict(PCCERT_CONTEXT end, HCERTSTORE bag) {
    CERT_CHAIN_PARA para{};
    para.cbSize = sizeof para;
    constexpr DWORD kFlags =
        CERT_CHAIN_REVOCATION_CHECK_CHAIN_EXCLUDE_ROOT | CERT_CHAIN_CACHE_ONLY_URL_RETRIEVAL;
    FILETIME at = end->pCertInfo->NotBefore;
    PCCERT_CHAIN_CONTEXT chain = nullptr;
    if (!CertGetCertificateChain(nullptr, end, &at, bag, &para, kFlags, nullptr, &chain)) {
        return 0xFFFFFFFF;
    }
    const std::unique_ptr<const CERT_CHAIN_CONTEXT, Release> owner(chain);
    check(chain->cChain == 1 && chain->rgpChain[0]->cElement > 0);
    BASALT_TIME_STAMP_POLICY_PARA extra{sizeof extra, &at};
    CERT_CHAIN_POLICY_PARA policy{sizeof policy, 0, &extra};
    CERT_CHAIN_POLICY_STATUS status{};
    status.cbSize = sizeof status;
    check(CertVerifyCertificateChainPolicy(CERT_CHAIN_POLICY_TIME_STAMP, chain, &policy, &status));
    return status.dwError;
}

DWORD judge(PCCERT_CONTEXT end, const std::vector<Element>& elements, bool backwards) {
    const Store bag = new_store();
    for (std::size_t i = 0; i < elements.size(); ++i) {
        add(bag.get(), elements[backwards ? elements.size() - 1 - i : i]);
    }
    return verdict(end, bag.get());
}

// Neither the machine's stores nor a user's cache have a say.
bool stand_alone() {
    setenv("XDG_CACHE_HOME", "/nonexistent", 1);
    setenv("BASALT_USER_STORES", "/nonexistent", 1);
    setenv("BASALT_MACHINE_STORES", "/nonexistent", 1);
    return true;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const bool alone = stand_alone();
    check(alone);
    const std::clock_t begin = std::clock();
    const std::vector<Element> elements = elements_of(data, size);
    std::vector<Certificate> certificates;
    for (const Element& element : elements) {
        if (Certificate certificate{
                CertCreateCertificateContext(X509_ASN_ENCODING, element.data, element.size)}) {
            certificates.push_back(std::move(certificate));
        }
    }
    if (certificates.empty()) {
        return 0;
    }
    const Store anchors = new_store();
    CertAddCertificateContextToStore(anchors.get(), certificates.back().get(),
                                     CERT_STORE_ADD_ALWAYS, nullptr);
    check(BasaltSetTrustAnchors(anchors.get()));
    const PCCERT_CONTEXT end = certificates.front().get();
    check(judge(end, elements, false) == judge(end, elements, true));
    check(static_cast<double>(std::clock() - begin) / CLOCKS_PER_SEC < kMostSeconds);
    return 0;
}
