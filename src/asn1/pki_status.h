// The status of an answer (RFC 3161, 2.4.2).
#pragma once

namespace Halcyon::ASN1 {

// A number outside of these is carried over as it is.
enum PKIStatusEnum : unsigned int {
    pkiStatusGranted = 0,
    pkiStatusGrantedWithMods = 1,
    pkiStatusRejection = 2,
    pkiStatusWaiting = 3,
    pkiStatusRevocationWarning = 4,
    pkiStatusRevocationNotification = 5,
};

} // namespace Halcyon::ASN1
