// The search for the certificate of a token's signer, by two keys over one sequence of stores: the
// stamp's own, those of the caller, and the user's address book.
#include <basalt/last_error.h>
#include <basalt/store.h>
#include <chronoseal/asn1/certificate_identification.h>
#include <chronoseal/atl/crypt_prov.h>
#include <chronoseal/atl/platform_answer.h>
#include <chronoseal/atl/string.h>
#include <chronoseal/client/result_codes.h>
#include <chronoseal/client/signing_certificate_attributes.h>
#include <chronoseal/client/stamp_impl.h>

namespace Halcyon::PKI::TSP::Client {

namespace {

constexpr DWORD kUserStoreReadOnly = CERT_SYSTEM_STORE_CURRENT_USER | CERT_STORE_READONLY_FLAG;

CBlob encoded_bytes(const _CERT_CONTEXT* certificate) {
    return CBlob(certificate->pbCertEncoded, certificate->cbCertEncoded);
}

// Runs `search(store, result)` over the stores in their order until it returns true. A store that
// can't be had is passed over.
template <class Search>
bool search_stores(const ATL2::CCertStore& own, void** stores, unsigned long count, Search search) {
    if (search(own)) {
        return true;
    }
    for (unsigned long i = 0; i < count; ++i) {
        ATL2::CCertStore store;
        if (stores[i] && store.AttachWeak(stores[i]) >= 0 && search(store)) {
            return true;
        }
    }
    ATL2::CCertStore address_book;
    try {
        address_book.Open(CERT_STORE_PROV_SYSTEM_W, 0, ATL2::EmptyProv.get(), kUserStoreReadOnly,
                          L"AddressBook");
    } catch (const ATL::CAtlException&) {
        return false;
    }
    return search(address_book);
}

// The first certificate of the store that the identifier names, free of the store; empty if there
// is none.
ATL2::CCertContext find_match(const ATL2::CCertStore& store, const ASN1::COtherCertID& id) {
    ATL2::CCertContext current;
    for (;;) {
        current.attach(CertEnumCertificatesInStore(store.get(), current.detach()));
        if (!current) {
            return {};
        }
        if (ASN1::OtherCertIDMatches(id, encoded_bytes(current.get()))) {
            auto match = current;
            if (match.DetachFromStore() >= 0) {
                return match;
            }
        }
    }
}

// A lookup's failure is its result. What has no code that says so becomes one that does.
template <class Lookup>
HRESULT as_result(Lookup lookup) {
    try {
        return lookup();
    } catch (const ATL::CAtlException& failure) {
        return failure.m_hr < 0 ? failure.m_hr : hr(kResultFailed);
    } catch (...) {
        return hr(kResultFailed);
    }
}

} // namespace

HRESULT CStamp::Impl::GetTSAOtherCertID(ASN1::COtherCertID& id) {
    if (const auto result = open_message_on_demand(); result < 0) {
        return result;
    }
    if (!cryptMsg) {
        return hr(kResultFailed);
    }
    DWORD size = 0;
    if (!CryptMsgGetParam(cryptMsg.get(), CMSG_SIGNER_AUTH_ATTR_PARAM, 0, nullptr, &size)) {
        return result_from_last_error();
    }
    if (size < sizeof(CRYPT_ATTRIBUTES)) {
        return hr(kResultFailed);
    }
    CBlob attributes(size);
    if (!CryptMsgGetParam(cryptMsg.get(), CMSG_SIGNER_AUTH_ATTR_PARAM, 0, attributes.pbData(),
                          &size)) {
        return result_from_last_error();
    }
    const auto result = as_result([&] {
        id =
            GetSignerCertIdEx(reinterpret_cast<const CRYPT_ATTRIBUTES*>(attributes.pbData()), true);
        return HRESULT{0};
    });
    if (result < 0) {
        return result;
    }
    return id.get_otherCertHash().get_otherHash() ? 0 : hr(kResultNotFound);
}

HRESULT CStamp::Impl::GetTSACertBySigAttr(void** stores, unsigned long count,
                                          const _CERT_CONTEXT* hint) {
    return as_result([&]() -> HRESULT {
        ASN1::COtherCertID id;
        if (const auto result = GetTSAOtherCertID(id); result < 0) {
            return result;
        }
        if (hint && ASN1::OtherCertIDMatches(id, encoded_bytes(hint))) {
            const bool same =
                tsaCertificate && CertCompareCertificate(ATL2::kAnyEncoding, hint->pCertInfo,
                                                         tsaCertificate->pCertInfo);
            if (!same) {
                tsaCertificate.attach(CertDuplicateCertificateContext(hint));
            }
            return 0;
        }
        const bool found =
            search_stores(certificates, stores, count, [&](const ATL2::CCertStore& store) {
                auto match = find_match(store, id);
                if (!match) {
                    return false;
                }
                tsaCertificate = std::move(match);
                return true;
            });
        return found ? 0 : hr(kResultNotFound);
    });
}

HRESULT CStamp::Impl::GetTSACertByIssSerial(void** stores, unsigned long count) {
    return as_result([&]() -> HRESULT {
        if (const auto result = open_message_on_demand(); result < 0) {
            return result;
        }
        ATL::CStringA buffer;
        if (const auto result = cryptMsg.GetParam(CMSG_SIGNER_CERT_ID_PARAM, 0, buffer);
            result < 0) {
            return result;
        }
        const char* const cert_id = buffer.PrepareWrite(buffer.GetLength());
        HRESULT result = hr(kResultNotFound);
        // The certificate that is held is where the search goes on from, and is used up by it.
        auto search = [&](const ATL2::CCertStore& store) {
            tsaCertificate.attach(CertFindCertificateInStore(store.get(), ATL2::kAnyEncoding, 0,
                                                             CERT_FIND_CERT_ID, cert_id,
                                                             tsaCertificate.detach()));
            if (!tsaCertificate && GetLastError() != 0) {
                return false;
            }
            result = tsaCertificate.DetachFromStore();
            return true;
        };
        search_stores(certificates, stores, count, search);
        return result < 0 ? result : 0;
    });
}

} // namespace Halcyon::PKI::TSP::Client
