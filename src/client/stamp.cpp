// The public face of a stamp, its getters and copies.
#include <chronoseal/client/stamp.h>

#include <memory>

#include <chronoseal/base/atl_exception.h>
#include <chronoseal/client/result_codes.h>
#include <chronoseal/client/sized_output.h>
#include <chronoseal/client/stamp_impl.h>

namespace Halcyon::PKI::TSP::Client {

namespace {

void require_status(bool hasStatus) {
    if (!hasStatus) {
        ATL::AtlThrowImpl(hr(kResultNoStamp));
    }
}

// What an authority's failure bits come to, by the lowest one.
std::int32_t code_of_failure(unsigned int bits) {
    unsigned int lowest = 0;
    while ((bits >> lowest & 1u) == 0) {
        ++lowest;
    }
    switch (lowest) {
    case 0: // badAlg
        return hr(kResultBadHashAlg);
    case 5: // badDataFormat
        return hr(kResultBadData);
    case 2:  // badRequest
    case 15: // unacceptedPolicy
    case 16: // unacceptedExtension
        return hr(kResultNotSupported);
    default:
        return hr(kResultNoStamp);
    }
}

} // namespace

CStamp::Impl::Impl() {
    open_store();
}

CStamp::Impl::Impl(const Impl& source)
    : status(source.status), statusString(source.statusString), failInfo(source.failInfo),
      hasStatus(source.hasStatus), certificates(source.certificates), policyID(source.policyID),
      nonce(source.nonce), serialNumber(source.serialNumber), time(source.time),
      accuracy(source.accuracy), defaultAccuracy(source.defaultAccuracy), ordering(source.ordering),
      version(source.version), dataHashAlg(source.dataHashAlg),
      dataHashAlgOID(source.dataHashAlgOID), signatureAlgOID(source.signatureAlgOID),
      tsa(source.tsa), tsaBlob(source.tsaBlob), dataHash(source.dataHash), token(source.token),
      signature(source.signature), decoded_(source.decoded_) {
    for (const auto& extension : source.extensions) {
        extensions.insert(extension);
    }
}

CStamp::Impl& CStamp::Impl::operator=(const Impl& source) {
    clear();
    status = source.status;
    statusString = source.statusString;
    failInfo = source.failInfo;
    policyID = source.policyID;
    nonce = source.nonce;
    serialNumber = source.serialNumber;
    time = source.time;
    accuracy = source.accuracy;
    ordering = source.ordering;
    tsaBlob = source.tsaBlob;
    tsa = source.tsa;
    defaultAccuracy = source.defaultAccuracy;
    dataHashAlg = source.dataHashAlg;
    dataHashAlgOID = source.dataHashAlgOID;
    dataHash = source.dataHash;
    token = source.token;
    hasStatus = source.hasStatus;
    signature = source.signature;
    signatureAlgOID = source.signatureAlgOID;
    version = source.version;
    decoded_ = source.decoded_;
    certificates = source.certificates;
    // The target keeps its own as well.
    for (const auto& extension : source.extensions) {
        extensions.insert(extension);
    }
    return *this;
}

void CStamp::Impl::require_token() const {
    if (token.cbData() == 0) {
        ATL::AtlThrowImpl(hr(kResultNoStamp));
    }
}

CStamp::CStamp() : impl_(new Impl) {}

CStamp::CStamp(const CStamp& other) : impl_(new Impl(*other.impl_)) {}

CStamp& CStamp::operator=(const CStamp& other) {
    *impl_ = *other.impl_;
    return *this;
}

CStamp::~CStamp() {
    delete impl_;
}

void CStamp::Export(unsigned char* out, unsigned long* size) const {
    if (impl_->failInfo != 0) {
        ATL::AtlThrowImpl(code_of_failure(impl_->failInfo));
    }
    impl_->require_token();
    deliver(impl_->token, out, size);
}

unsigned int CStamp::get_Status() const {
    require_status(impl_->hasStatus);
    return impl_->status;
}

const wchar_t* CStamp::get_StatusString() const {
    require_status(impl_->hasStatus);
    return impl_->statusString.c_str();
}

unsigned int CStamp::get_FailInfo() const {
    require_status(impl_->hasStatus);
    return impl_->failInfo;
}

void* CStamp::get_Certificates() const {
    impl_->require_token();
    return impl_->certificates.get();
}

const _CERT_CONTEXT* CStamp::get_TSACertificate(void** stores, unsigned long count) const {
    impl_->require_token();
    if (impl_->GetTSACertBySigAttr(stores, count, nullptr) < 0 &&
        impl_->GetTSACertByIssSerial(stores, count) < 0) {
        return nullptr;
    }
    return impl_->tsaCertificate.get();
}

unsigned int CStamp::get_DataHashAlg() const {
    impl_->require_token();
    return impl_->dataHashAlg;
}

const char* CStamp::get_DataHashAlgOID() const {
    impl_->require_token();
    return impl_->dataHashAlgOID.c_str();
}

void CStamp::get_DataHash(unsigned char* out, unsigned long* size) const {
    impl_->require_token();
    deliver(impl_->dataHash, out, size);
}

const char* CStamp::get_PolicyID() const {
    impl_->require_token();
    return impl_->policyID.c_str();
}

void CStamp::get_SerialNumber(unsigned char* out, unsigned long* size) const {
    impl_->require_token();
    deliver(impl_->serialNumber, out, size);
}

const CDateTime& CStamp::get_Time() const {
    impl_->require_token();
    return impl_->time;
}

long CStamp::get_Accuracy() const {
    impl_->require_token();
    return impl_->accuracy;
}

bool CStamp::get_Ordering() const {
    impl_->require_token();
    return impl_->ordering;
}

bool CStamp::get_HasNonce() const {
    impl_->require_token();
    return impl_->nonce.cbData() != 0;
}

const wchar_t* CStamp::get_TSA() const {
    impl_->require_token();
    return impl_->tsa.c_str();
}

void CStamp::get_TSABlob(unsigned char* out, unsigned long* size) const {
    impl_->require_token();
    deliver(impl_->tsaBlob, out, size);
}

void CStamp::put_DefaultAccuracy(long microseconds) {
    impl_->defaultAccuracy = microseconds;
}

long CStamp::get_DefaultAccuracy() const {
    return impl_->defaultAccuracy;
}

int CStamp::Compare(const CStamp* other) const {
    const auto& a = *impl_;
    const auto& b = *other->impl_;
    b.require_token();
    if (a.time == b.time) {
        return 0;
    }
    const int by_time = a.time < b.time ? -1 : 1;
    if (a.tsaBlob == b.tsaBlob && a.ordering && b.ordering) {
        return by_time;
    }
    a.require_token();
    auto accuracy_of = [](const Impl& stamp) {
        return static_cast<std::uint32_t>(stamp.accuracy == -1 ? stamp.defaultAccuracy
                                                               : stamp.accuracy);
    };
    const auto accuracy_a = accuracy_of(a);
    const auto accuracy_b = accuracy_of(b);
    constexpr std::uint32_t kNone = 0xFFFFFFFFu;
    if (accuracy_a == kNone || accuracy_b == kNone) {
        return 0;
    }
    const CDateTimeSpan span_a(0, accuracy_a);
    const CDateTimeSpan span_b(0, accuracy_b);
    if (!(a.time + span_a < b.time - span_b) && !(b.time + span_b < a.time - span_a)) {
        return 0;
    }
    return by_time;
}

int CStamp::Verify(const _CERT_CONTEXT* certificate, const char* extensionList) const {
    return impl_->verify(certificate, extensionList);
}

int CStamp::VerifyCertificate(const _CERT_CONTEXT* certificate, void** stores,
                              unsigned long count) const {
    return impl_->verify_certificate(certificate, stores, count);
}

} // namespace Halcyon::PKI::TSP::Client
