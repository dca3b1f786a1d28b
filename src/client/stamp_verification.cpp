// The two verdicts on a stamp: of the token in itself, and of its signer's chain.
#include <cstring>
#include <string>

#include <basalt/chain.h>
#include <basalt/last_error.h>
#include <basalt/store.h>
#include <chronoseal/atl/cert_chain_context.h>
#include <chronoseal/atl/crypt_prov.h>
#include <chronoseal/atl/platform_answer.h>
#include <chronoseal/client/result_codes.h>
#include <chronoseal/client/signed_attributes.h>
#include <chronoseal/client/signing_certificate_attributes.h>
#include <chronoseal/client/stamp_impl.h>
#include <chronoseal/client/trace.h>
#include <chronoseal/core/token.h>

namespace Halcyon::PKI::TSP::Client {

namespace {

constexpr char kTstInfoOid[] = "1.2.840.113549.1.9.16.1.4";
constexpr char kFunction[] = "VerifyCertificate";

CBlob encoded_bytes(const _CERT_CONTEXT* certificate) {
    return CBlob(certificate->pbCertEncoded, certificate->cbCertEncoded);
}

// The list names the critical extensions to refuse; without one all of them are.
HRESULT judge_extensions(const ASN1::CExtensions& extensions, const char* list) {
    if (list && std::strcmp(list, "*") == 0) {
        return 0;
    }
    const auto bracketed = list ? ";" + std::string(list) + ";" : std::string();
    for (const auto& extension : extensions) {
        if (!extension.get_critical()) {
            continue;
        }
        const auto needle = ";" + std::string(extension.get_extnID()) + ";";
        if (!list || bracketed.find(needle) != std::string::npos) {
            return hr(kResultCriticalExtension);
        }
    }
    return 0;
}

ATL2::CCertChainContext build_chain(const _CERT_CONTEXT* certificate,
                                    const ATL2::CCertStore& stores) {
    const ATL2::CCertContext held(CertDuplicateCertificateContext(certificate));
    if (!held) {
        ATL::AtlThrowImpl(hr(kResultFailed));
    }
    CERT_CHAIN_PARA parameter{};
    parameter.cbSize = sizeof(parameter);
    ATL2::CCertChainContext chain;
    if (!CertGetCertificateChain(nullptr, held.get(), nullptr, stores.get(), &parameter,
                                 CERT_CHAIN_REVOCATION_CHECK_CHAIN_EXCLUDE_ROOT |
                                     CERT_CHAIN_DISABLE_AUTH_ROOT_AUTO_UPDATE,
                                 nullptr, chain.put())) {
        if (const auto result = result_from_last_error(); result < 0) {
            ATL::AtlThrowImpl(result);
        }
    }
    return chain;
}

// The platform's verdict on the chain at the time given.
HRESULT judge_at(const ATL2::CCertChainContext& chain, const FILETIME& time) {
    BASALT_TIME_STAMP_POLICY_PARA extra{};
    extra.cbSize = sizeof(extra);
    extra.pCheckTime = &time;
    CERT_CHAIN_POLICY_PARA parameter{};
    parameter.cbSize = sizeof(parameter);
    parameter.dwFlags = CERT_CHAIN_POLICY_TIME_STAMP_CLIENT_FLAG;
    parameter.pvExtraPolicyPara = &extra;
    CERT_CHAIN_POLICY_STATUS status{};
    status.cbSize = sizeof(status);
    if (!CertVerifyCertificateChainPolicy(CERT_CHAIN_POLICY_TIME_STAMP, chain.get(), &parameter,
                                          &status)) {
        trace(kFunction, "CertVerifyCertificateChainPolicy failed: 0x%X\n", GetLastError());
        throw_last_error();
    }
    if (status.dwError != 0) {
        trace(kFunction, "CertVerifyCertificateChainPolicy returned status.dwError = 0x%X\n",
              status.dwError);
    }
    return static_cast<HRESULT>(status.dwError);
}

} // namespace

HRESULT CStamp::Impl::InitializeCryptMsg() {
    if (cryptMsg) {
        return hr(kResultFailed);
    }
    cryptMsg = ATL2::CCryptMsg(CryptMsgOpenToDecode(ATL2::kAnyEncoding, 0, 0, 0, nullptr, nullptr));
    if (!cryptMsg) {
        if (const auto result = result_from_last_error(); result != 0) {
            return result;
        }
    }
    if (!CryptMsgUpdate(cryptMsg.get(), token.pbData(), static_cast<DWORD>(token.cbData()), TRUE)) {
        return result_from_last_error();
    }
    message_is_current_ = true;
    return 0;
}

HRESULT CStamp::Impl::open_message_on_demand() {
    return cryptMsg ? 0 : InitializeCryptMsg();
}

HRESULT CStamp::Impl::IsContentTypeMatch() {
    if (const auto result = open_message_on_demand(); result < 0) {
        return result;
    }
    return MatchEContentType(cryptMsg.get(), 0, kTstInfoOid, false) ? 0 : hr(kResultFailed);
}

const CToken& CStamp::Impl::decoded_token() {
    if (!decoded_) {
        auto fresh = std::make_shared<CToken>();
        fresh->decode(token);
        decoded_ = std::move(fresh);
    }
    return *decoded_;
}

HRESULT CStamp::Impl::verify(const _CERT_CONTEXT* certificate, const char* extensionList) {
    if (const auto result = GetTSACertBySigAttr(nullptr, 0, certificate); result < 0) {
        return result;
    }
    if (IsContentTypeMatch() < 0) {
        return hr(kResultFailed);
    }
    const auto& source = decoded_token();
    // A message of an earlier token would answer for that one.
    const HCRYPTMSG message = message_is_current_ ? cryptMsg.get() : nullptr;
    if (!source.verify(tsaCertificate.get(), message)) {
        return hr(kResultBadSignature);
    }
    return source.get_extensions() ? judge_extensions(*source.get_extensions(), extensionList) : 0;
}

const _CERT_CONTEXT* CStamp::Impl::certificate_to_judge(const _CERT_CONTEXT* given, void** stores,
                                                        unsigned long count) {
    if (given) {
        return given;
    }
    if (!tsaCertificate) {
        require_token();
        if (GetTSACertBySigAttr(stores, count, nullptr) < 0 &&
            GetTSACertByIssSerial(stores, count) < 0) {
            ATL::AtlThrowImpl(hr(kResultNotFound));
        }
        if (!tsaCertificate) {
            ATL::AtlThrowImpl(hr(kResultNotFound));
        }
    }
    return tsaCertificate.get();
}

ATL2::CCertStore CStamp::Impl::collect_stores(void** stores, unsigned long count) const {
    auto require = [](HRESULT result) {
        if (result < 0) {
            ATL::AtlThrowImpl(result);
        }
    };
    ATL2::CCertStore collection;
    collection.Open(CERT_STORE_PROV_COLLECTION, 0, ATL2::EmptyProv.get(), 0, nullptr);
    require(collection.AddStoreToCollection(certificates, 0, 0));
    for (unsigned long i = 0; i < count; ++i) {
        if (stores[i]) {
            ATL2::CCertStore store;
            require(store.AttachWeak(stores[i]));
            require(collection.AddStoreToCollection(store, 0, 0));
        }
    }
    return collection;
}

HRESULT CStamp::Impl::verify_certificate(const _CERT_CONTEXT* certificate, void** stores,
                                         unsigned long count) {
    const auto* const judged = certificate_to_judge(certificate, stores, count);
    // Told, but not held against the certificate: what it is for, the chain decides.
    if (!CheckSignerCertId(cryptMsg.get(), 0, encoded_bytes(judged), true, true)) {
        trace(kFunction, "Signer certificate does not match authenticated attributes\n");
    }
    return judge_chain(judged, collect_stores(stores, count));
}

HRESULT CStamp::Impl::judge_chain(const _CERT_CONTEXT* certificate,
                                  const ATL2::CCertStore& stores) const {
    const auto chain = build_chain(certificate, stores);
    require_token();
    return judge_at(chain, time.getFileTime());
}

} // namespace Halcyon::PKI::TSP::Client
