// Walking and searching stores.
#include <basalt/coding/flat_block.h>
#include <basalt/store/record.h>

#include <functional>

namespace {

using namespace basalt;

template <class RecordType>
struct Release {
    template <class Context>
    void operator()(const Context* context) const {
        RecordType::of(context).release();
    }
};

// Where a walk goes on: behind the previous context, or at the top when there is none.
template <class RecordType>
Place<typename RecordType::ItemType> next_place(std::shared_ptr<StoreObject> store,
                                                const RecordType* previous) {
    using Item = typename RecordType::ItemType;
    if (previous != nullptr && previous->place().walk && previous->place().store == store) {
        Place<Item> place = previous->place();
        ++place.index;
        return place;
    }
    Place<Item> place{std::move(store), nullptr, 0};
    place.walk = snapshot_of<Item>(*place.store);
    if (previous == nullptr) {
        return place;
    }
    for (std::size_t i = 0; i < place.walk->size(); ++i) {
        if (same_bytes((*place.walk)[i]->encoded(), previous->item().encoded())) {
            place.index = i + 1;
            return place;
        }
    }
    fail(E_INVALIDARG);
}

/// The next context that `fits`. The previous one is freed whatever happens.
template <class RecordType, class Context, class Fits>
const Context* next_in_store(HCERTSTORE handle, const Context* previous, Fits&& fits) {
    const std::unique_ptr<const Context, Release<RecordType>> held(previous);
    return guarded<const Context*>(nullptr, [&]() -> const Context* {
        const RecordType* record = previous == nullptr ? nullptr : &RecordType::of(previous);
        auto place = next_place<RecordType>(store_of(handle), record);
        for (; place.index < place.walk->size(); ++place.index) {
            auto item = (*place.walk)[place.index];
            if (fits(*item)) {
                return RecordType::make(std::move(item), std::move(place));
            }
        }
        // Every walk ends here, which is too often for an exception.
        SetLastError(CRYPT_E_NOT_FOUND);
        return nullptr;
    });
}

using Fits = std::function<bool(const CertificateItem&)>;

const CRYPT_DATA_BLOB& blob_parameter(const void* para) {
    require(para != nullptr);
    return *static_cast<const CRYPT_DATA_BLOB*>(para);
}

// Compares a property, computed or set, with the wanted bytes.
Fits fits_property(DWORD id, const CRYPT_DATA_BLOB& wanted) {
    return [id, wanted](const CertificateItem& item) {
        // A context of its own: the search must not show in the store's count of contexts.
        const std::unique_ptr<const CERT_CONTEXT, Release<CertificateRecord>> context(
            CertificateRecord::make(std::make_shared<CertificateItem>(item)));
        BYTE value[64];
        DWORD size = sizeof(value);
        return CertGetCertificateContextProperty(context.get(), id, value, &size) != FALSE &&
               same_bytes({value, size}, bytes_of(wanted));
    };
}

Fits fits_name(CERT_NAME_BLOB CERT_INFO::*field, const void* para) {
    return [field, wanted = blob_parameter(para)](const CertificateItem& item) {
        return same_bytes(bytes_of(item.body->info().*field), bytes_of(wanted));
    };
}

Fits fits_issuer_and_serial(const CERT_NAME_BLOB& issuer, const CRYPT_INTEGER_BLOB& serial) {
    return [issuer, serial](const CertificateItem& item) {
        CERT_INFO wanted{};
        wanted.Issuer = issuer;
        wanted.SerialNumber = serial;
        return CertCompareCertificate(X509_ASN_ENCODING, &item.body->info(), &wanted) != FALSE;
    };
}

Fits fits_certificate_id(const CERT_ID& id) {
    switch (id.dwIdChoice) {
    case CERT_ID_ISSUER_SERIAL_NUMBER:
        return fits_issuer_and_serial(id.IssuerSerialNumber.Issuer,
                                      id.IssuerSerialNumber.SerialNumber);
    case CERT_ID_KEY_IDENTIFIER:
        return fits_property(CERT_KEY_IDENTIFIER_PROP_ID, id.KeyId);
    case CERT_ID_SHA1_HASH:
        return fits_property(CERT_SHA1_HASH_PROP_ID, id.HashId);
    default:
        fail(E_INVALIDARG);
    }
}

Fits fits_public_key(const void* para) {
    require(para != nullptr);
    return [wanted = *static_cast<const CERT_PUBLIC_KEY_INFO*>(para)](const CertificateItem& item) {
        CERT_PUBLIC_KEY_INFO copy = wanted;
        return CertComparePublicKeyInfo(X509_ASN_ENCODING, &item.body->info().SubjectPublicKeyInfo,
                                        &copy) != FALSE;
    };
}

Fits fits_set_property(const void* para) {
    require(para != nullptr);
    return [id = *static_cast<const DWORD*>(para)](const CertificateItem& item) {
        return item.properties.find(id).has_value();
    };
}

Fits fits_existing(const void* para) {
    require(para != nullptr);
    const auto* context = static_cast<PCCERT_CONTEXT>(para);
    const Bytes wanted{context->pbCertEncoded, context->cbCertEncoded};
    return [wanted](const CertificateItem& item) { return same_bytes(item.encoded(), wanted); };
}

Fits fits_subject_certificate(const void* para) {
    require(para != nullptr);
    const auto* info = static_cast<const CERT_INFO*>(para);
    return fits_issuer_and_serial(info->Issuer, info->SerialNumber);
}

Fits certificate_test(DWORD find_type, const void* para) {
    switch (find_type) {
    case CERT_FIND_ANY:
        return [](const CertificateItem&) { return true; };
    case CERT_FIND_SHA1_HASH:
        return fits_property(CERT_SHA1_HASH_PROP_ID, blob_parameter(para));
    case CERT_FIND_MD5_HASH:
        return fits_property(CERT_MD5_HASH_PROP_ID, blob_parameter(para));
    case CERT_FIND_KEY_IDENTIFIER:
        return fits_property(CERT_KEY_IDENTIFIER_PROP_ID, blob_parameter(para));
    case CERT_FIND_PUBKEY_MD5_HASH:
        return fits_property(CERT_SUBJECT_PUBLIC_KEY_MD5_HASH_PROP_ID, blob_parameter(para));
    case CERT_FIND_PROPERTY:
        return fits_set_property(para);
    case CERT_FIND_PUBLIC_KEY:
        return fits_public_key(para);
    case CERT_FIND_ISSUER_NAME:
        return fits_name(&CERT_INFO::Issuer, para);
    case CERT_FIND_SUBJECT_NAME:
        return fits_name(&CERT_INFO::Subject, para);
    case CERT_FIND_SUBJECT_CERT:
        return fits_subject_certificate(para);
    case CERT_FIND_EXISTING:
        return fits_existing(para);
    case CERT_FIND_CERT_ID:
        require(para != nullptr);
        return fits_certificate_id(*static_cast<const CERT_ID*>(para));
    default:
        fail(E_INVALIDARG);
    }
}

bool crl_fits(const CrlItem& item, DWORD find_type, const void* para) {
    switch (find_type) {
    case CRL_FIND_ANY:
        return true;
    case CRL_FIND_ISSUED_BY: {
        const auto* issuer = static_cast<PCCERT_CONTEXT>(para);
        return issuer == nullptr ||
               same_bytes(bytes_of(item.body->info().Issuer), bytes_of(issuer->pCertInfo->Subject));
    }
    case CRL_FIND_EXISTING: {
        require(para != nullptr);
        const auto* wanted = static_cast<PCCRL_CONTEXT>(para);
        return same_bytes(item.encoded(), {wanted->pbCrlEncoded, wanted->cbCrlEncoded});
    }
    default:
        fail(E_INVALIDARG);
    }
}

} // namespace

PCCERT_CONTEXT CertEnumCertificatesInStore(HCERTSTORE hCertStore, PCCERT_CONTEXT pPrevCertContext) {
    return next_in_store<CertificateRecord>(hCertStore, pPrevCertContext,
                                            [](const CertificateItem&) { return true; });
}

PCCERT_CONTEXT CertFindCertificateInStore(HCERTSTORE hCertStore, DWORD, DWORD, DWORD dwFindType,
                                          const void* pvFindPara, PCCERT_CONTEXT pPrevCertContext) {
    Fits test;
    const bool known = guarded(false, [&] {
        test = certificate_test(dwFindType, pvFindPara);
        return true;
    });
    if (!known) {
        CertFreeCertificateContext(pPrevCertContext);
        return nullptr;
    }
    return next_in_store<CertificateRecord>(hCertStore, pPrevCertContext, test);
}

PCCERT_CONTEXT CertGetSubjectCertificateFromStore(HCERTSTORE hCertStore, DWORD dwCertEncodingType,
                                                  CERT_INFO* pCertId) {
    return CertFindCertificateInStore(hCertStore, dwCertEncodingType, 0, CERT_FIND_SUBJECT_CERT,
                                      pCertId, nullptr);
}

PCCRL_CONTEXT CertEnumCRLsInStore(HCERTSTORE hCertStore, PCCRL_CONTEXT pPrevCrlContext) {
    return next_in_store<CrlRecord>(hCertStore, pPrevCrlContext,
                                    [](const CrlItem&) { return true; });
}

PCCRL_CONTEXT CertFindCRLInStore(HCERTSTORE hCertStore, DWORD, DWORD, DWORD dwFindType,
                                 const void* pvFindPara, PCCRL_CONTEXT pPrevCrlContext) {
    return next_in_store<CrlRecord>(hCertStore, pPrevCrlContext, [&](const CrlItem& item) {
        return crl_fits(item, dwFindType, pvFindPara);
    });
}

PCBASALT_OCSP_CONTEXT BasaltEnumOcspResponsesInStore(HCERTSTORE hCertStore,
                                                     PCBASALT_OCSP_CONTEXT pPrev) {
    return next_in_store<OcspRecord>(hCertStore, pPrev, [](const OcspItem&) { return true; });
}

BOOL BasaltFreeOcspContext(PCBASALT_OCSP_CONTEXT pContext) {
    if (pContext != nullptr) {
        OcspRecord::of(pContext).release();
    }
    return TRUE;
}
