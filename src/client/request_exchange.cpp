// A request's dealings with the world: hashing by a provider, the client certificate, the exchange.
#include "asn1/text_width.h"
#include "atl/cert_store.h"
#include "atl/default_csp.h"
#include "atl/platform_answer.h"
#include "basalt20/surface/certificate.h"
#include "basalt20/surface/store.h"
#include "base/atl_exception.h"
#include "client/request_impl.h"
#include "client/result_codes.h"
#include "client/send_request.h"
#include "client/trace.h"
#include "sup/last_error.h"
#include "sup/web_address.h"

namespace Halcyon::PKI::TSP::Client {

namespace {

constexpr DWORD userStoreReadOnly = CERT_SYSTEM_STORE_CURRENT_USER | CERT_STORE_READONLY_FLAG;

// The copy of a certificate in the user's store "My", which may know its key; empty where there is
// none.
ATL2::CCertContext copyWithKey(const _CERT_CONTEXT* certificate) {
    try {
        ATL2::CCertStore my;
        my.Open(CERT_STORE_PROV_SYSTEM_W, 0, 0, userStoreReadOnly, L"My");
        ATL2::CCertContext copy(CertFindCertificateInStore(
            my.get(), ATL2::anyEncoding, 0, CERT_FIND_EXISTING, certificate, nullptr));
        if (copy.DetachFromStore() >= 0) {
            return copy;
        }
    } catch (const ATL::CAtlException&) {
        // The certificate as given will do.
    }
    return {};
}

} // namespace

void CRequest::Impl::addData(const unsigned char* data, unsigned long size) {
    if (dataHash.cbData() != 0) {
        ATL::AtlThrowImpl(hr(0x80092005u));
    }
    if (hHash.get() == 0) {
        beginHash();
    }
    if (!CryptHashData(hHash.get(), data, static_cast<DWORD>(size), 0)) {
        throwLastError();
    }
}

void CRequest::Impl::beginHash() {
    if (!provider.release() && GetLastError() != 0) {
        throwLastError();
    }
    *provider.put() = HYGetDefaultCSPThrow(dataHashAlg, 0);
    if (provider.get() == 0 || !CryptCreateHash(provider.get(), dataHashAlg, 0, 0, hHash.put())) {
        throwLastError();
    }
}

void CRequest::Impl::setClientCertificate(const _CERT_CONTEXT* certificate) {
    clientCertificate.attach(CertDuplicateCertificateContext(certificate));
    ATL::CStringA scratch;
    if (clientCertificate && clientCertificate.GetKeyProvInfo(scratch) < 0) {
        if (auto copy = copyWithKey(certificate)) {
            clientCertificate = std::move(copy);
        }
    }
    httpParams.certificate = clientCertificate.get();
}

CStamp& CRequest::Impl::send(const CRequest& owner, bool verify) {
    CheckPolicies();
    MakeRequest();
    if (httpParams.address.empty()) {
        ATL::AtlThrowImpl(hr(resultNoAddress));
    }
    if (tracing()) {
        trace("Send", "Sending request to \"%s\"...\n",
              basalt::masked_address(ASN1::tostring(httpParams.address.c_str())).c_str());
    }
    const auto sent = CDateTime::Now(); // before the exchange: its duration is within the allowance
    exchange();
    stamp.Import(response.pbData(), response.cbData(), &owner);
    if (stamp.get_Status() >= 2) {
        if (verify) {
            ATL::AtlThrowImpl(hr(resultNotGranted));
        }
        return stamp;
    }
    checkTime(sent);
    if (verify) {
        verifyStamp();
    }
    return stamp;
}

void CRequest::Impl::exchange() {
    auto answer = SendRequest(&httpParams, L"Halcyon chronoseal.dll",
                              L"Content-type: application/timestamp-query", &encodedRequest,
                              (flags & 1) != 0, false, nullptr, false);
    if (httpParams.httpStatus != 200) {
        const auto code = resultFromLastError(hr(resultHttpStatus));
        trace("Send", "HTTP STATUS: %lu\n", static_cast<unsigned long>(httpParams.httpStatus));
        ATL::AtlThrowImpl(code);
    }
    response.swap(answer);
}

// Where no nonce binds the answer to the request, the clock has to.
void CRequest::Impl::checkTime(const CDateTime& sent) const {
    if (stamp.get_HasNonce() || nonce.cbData() != 0) {
        return;
    }
    // In 32 bits, and so wrapping from 429497 milliseconds on.
    const CDateTimeSpan span(0, static_cast<unsigned int>(policy->StampAccuracy.value) * 1000u);
    if (stamp.get_Time() < sent - span || stamp.get_Time() > sent + span) {
        ATL::AtlThrowImpl(hr(resultTimeOutsideWindow));
    }
}

void CRequest::Impl::verifyStamp() const {
    if (const auto code = stamp.Verify(nullptr, nullptr); code < 0) {
        ATL::AtlThrowImpl(code);
    }
    if (const auto code = stamp.VerifyCertificate(nullptr, nullptr, 0); code < 0) {
        ATL::AtlThrowImpl(code);
    }
}

} // namespace Halcyon::PKI::TSP::Client
