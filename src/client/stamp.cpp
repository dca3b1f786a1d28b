// The public face of a stamp, its getters and copies.
#include "client/stamp.h"

#include <memory>

#include "base/atl_exception.h"
#include "client/sized_output.h"
#include "client/stamp_impl.h"

namespace Halcyon::PKI::TSP::Client {

namespace {

constexpr std::int32_t invalidState = hr(0x8007139Fu);

void requireStatus(bool hasStatus) {
    if (!hasStatus) {
        ATL::AtlThrowImpl(invalidState);
    }
}

// What an authority's failure bits come to, by the lowest one.
std::int32_t codeOfFailure(unsigned int bits) {
    unsigned int lowest = 0;
    while ((bits >> lowest & 1u) == 0) {
        ++lowest;
    }
    switch (lowest) {
    case 0: // badAlg
        return hr(0x80090008u);
    case 5: // badDataFormat
        return hr(0x80090005u);
    case 2:  // badRequest
    case 15: // unacceptedPolicy
    case 16: // unacceptedExtension
        return hr(0x80090029u);
    default:
        return invalidState;
    }
}

} // namespace

CStamp::Impl::Impl() {
    openStore();
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

void CStamp::Impl::requireToken() const {
    if (token.cbData() == 0) {
        ATL::AtlThrowImpl(invalidState);
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
        ATL::AtlThrowImpl(codeOfFailure(impl_->failInfo));
    }
    impl_->requireToken();
    deliver(impl_->token, out, size);
}

unsigned int CStamp::get_Status() const {
    requireStatus(impl_->hasStatus);
    return impl_->status;
}

const wchar_t* CStamp::get_StatusString() const {
    requireStatus(impl_->hasStatus);
    return impl_->statusString.c_str();
}

unsigned int CStamp::get_FailInfo() const {
    requireStatus(impl_->hasStatus);
    return impl_->failInfo;
}

void* CStamp::get_Certificates() const {
    impl_->requireToken();
    return impl_->certificates.get();
}

const _CERT_CONTEXT* CStamp::get_TSACertificate(void** stores, unsigned long count) const {
    impl_->requireToken();
    if (impl_->GetTSACertBySigAttr(stores, count, nullptr) < 0 &&
        impl_->GetTSACertByIssSerial(stores, count) < 0) {
        return nullptr;
    }
    return impl_->tsaCertificate.get();
}

unsigned int CStamp::get_DataHashAlg() const {
    impl_->requireToken();
    return impl_->dataHashAlg;
}

const char* CStamp::get_DataHashAlgOID() const {
    impl_->requireToken();
    return impl_->dataHashAlgOID.c_str();
}

void CStamp::get_DataHash(unsigned char* out, unsigned long* size) const {
    impl_->requireToken();
    deliver(impl_->dataHash, out, size);
}

const char* CStamp::get_PolicyID() const {
    impl_->requireToken();
    return impl_->policyID.c_str();
}

void CStamp::get_SerialNumber(unsigned char* out, unsigned long* size) const {
    impl_->requireToken();
    deliver(impl_->serialNumber, out, size);
}

const CDateTime& CStamp::get_Time() const {
    impl_->requireToken();
    return impl_->time;
}

long CStamp::get_Accuracy() const {
    impl_->requireToken();
    return impl_->accuracy;
}

bool CStamp::get_Ordering() const {
    impl_->requireToken();
    return impl_->ordering;
}

bool CStamp::get_HasNonce() const {
    impl_->requireToken();
    return impl_->nonce.cbData() != 0;
}

const wchar_t* CStamp::get_TSA() const {
    impl_->requireToken();
    return impl_->tsa.c_str();
}

void CStamp::get_TSABlob(unsigned char* out, unsigned long* size) const {
    impl_->requireToken();
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
    b.requireToken();
    if (a.time == b.time) {
        return 0;
    }
    const int byTime = a.time < b.time ? -1 : 1;
    if (a.tsaBlob == b.tsaBlob && a.ordering && b.ordering) {
        return byTime;
    }
    a.requireToken();
    auto accuracyOf = [](const Impl& stamp) {
        return static_cast<std::uint32_t>(stamp.accuracy == -1 ? stamp.defaultAccuracy
                                                               : stamp.accuracy);
    };
    const auto accuracyA = accuracyOf(a);
    const auto accuracyB = accuracyOf(b);
    constexpr std::uint32_t none = 0xFFFFFFFFu;
    if (accuracyA == none || accuracyB == none) {
        return 0;
    }
    const CDateTimeSpan spanA(0, accuracyA);
    const CDateTimeSpan spanB(0, accuracyB);
    if (!(a.time + spanA < b.time - spanB) && !(b.time + spanB < a.time - spanA)) {
        return 0;
    }
    return byTime;
}

int CStamp::Verify(const _CERT_CONTEXT* certificate, const char* extensionList) const {
    return impl_->verify(certificate, extensionList);
}

int CStamp::VerifyCertificate(const _CERT_CONTEXT* certificate, void** stores,
                              unsigned long count) const {
    return impl_->verifyCertificate(certificate, stores, count);
}

} // namespace Halcyon::PKI::TSP::Client
