// A request's dealings with the world: hashing by a provider, the client certificate, the exchange.
#include <basalt/certificate.h>
#include <basalt/last_error.h>
#include <basalt/store.h>
#include <basalt/sup/web_address.h>
#include <chronoseal/asn1/text_width.h>
#include <chronoseal/atl/cert_store.h>
#include <chronoseal/atl/default_csp.h>
#include <chronoseal/atl/platform_answer.h>
#include <chronoseal/base/atl_exception.h>
#include <chronoseal/client/request_impl.h>
#include <chronoseal/client/result_codes.h>
#include <chronoseal/client/send_request.h>
#include <chronoseal/client/trace.h>

namespace Halcyon::PKI::TSP::Client {

namespace {

constexpr DWORD kUserStoreReadOnly = CERT_SYSTEM_STORE_CURRENT_USER | CERT_STORE_READONLY_FLAG;

// The copy of a certificate in the user's store "My", which may know its key; empty where there is
// none.
ATL2::CCertContext copy_with_key(const _CERT_CONTEXT* certificate) {
    try {
        ATL2::CCertStore my;
        my.Open(CERT_STORE_PROV_SYSTEM_W, 0, 0, kUserStoreReadOnly, L"My");
        ATL2::CCertContext copy(CertFindCertificateInStore(
            my.get(), ATL2::kAnyEncoding, 0, CERT_FIND_EXISTING, certificate, nullptr));
        if (copy.DetachFromStore() >= 0) {
            return copy;
        }
    } catch (const ATL::CAtlException&) {
        // The certificate as given will do.
    }
    return {};
}

} // namespace

void CRequest::Impl::add_data(const unsigned char* data, unsigned long size) {
    if (dataHash.cbData() != 0) {
        ATL::AtlThrowImpl(hr(kResultDataHashSet));
    }
    if (hHash.get() == 0) {
        begin_hash();
    }
    if (!CryptHashData(hHash.get(), data, static_cast<DWORD>(size), 0)) {
        throw_last_error();
    }
}

void CRequest::Impl::begin_hash() {
    if (!provider.release() && GetLastError() != 0) {
        throw_last_error();
    }
    *provider.put() = HYGetDefaultCSPThrow(dataHashAlg, 0);
    if (provider.get() == 0 || !CryptCreateHash(provider.get(), dataHashAlg, 0, 0, hHash.put())) {
        throw_last_error();
    }
}

void CRequest::Impl::set_client_certificate(const _CERT_CONTEXT* certificate) {
    clientCertificate.attach(CertDuplicateCertificateContext(certificate));
    ATL::CStringA scratch;
    if (clientCertificate && clientCertificate.GetKeyProvInfo(scratch) < 0) {
        if (auto copy = copy_with_key(certificate)) {
            clientCertificate = std::move(copy);
        }
    }
    httpParams.certificate = clientCertificate.get();
}

CStamp& CRequest::Impl::send(const CRequest& owner, bool verify) {
    CheckPolicies();
    MakeRequest();
    if (httpParams.address.empty()) {
        ATL::AtlThrowImpl(hr(kResultNoAddress));
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
            ATL::AtlThrowImpl(hr(kResultNotGranted));
        }
        return stamp;
    }
    check_time(sent);
    if (verify) {
        verify_stamp();
    }
    return stamp;
}

void CRequest::Impl::exchange() {
    auto answer = SendRequest(&httpParams, L"Halcyon chronoseal.dll",
                              L"Content-type: application/timestamp-query", &encodedRequest,
                              (flags & 1) != 0, false, nullptr, false);
    if (httpParams.httpStatus != 200) {
        const auto code = result_from_last_error(hr(kResultHttpStatus));
        trace("Send", "HTTP STATUS: %lu\n", static_cast<unsigned long>(httpParams.httpStatus));
        ATL::AtlThrowImpl(code);
    }
    response.swap(answer);
}

// Where no nonce binds the answer to the request, the clock has to.
void CRequest::Impl::check_time(const CDateTime& sent) const {
    if (stamp.get_HasNonce() || nonce.cbData() != 0) {
        return;
    }
    // In 32 bits, and so wrapping from 429497 milliseconds on.
    const CDateTimeSpan span(0, static_cast<unsigned int>(policy->StampAccuracy.value) * 1000u);
    if (stamp.get_Time() < sent - span || stamp.get_Time() > sent + span) {
        ATL::AtlThrowImpl(hr(kResultTimeOutsideWindow));
    }
}

void CRequest::Impl::verify_stamp() const {
    if (const auto code = stamp.Verify(nullptr, nullptr); code < 0) {
        ATL::AtlThrowImpl(code);
    }
    if (const auto code = stamp.VerifyCertificate(nullptr, nullptr, 0); code < 0) {
        ATL::AtlThrowImpl(code);
    }
}

} // namespace Halcyon::PKI::TSP::Client
