// Certificates taken apart, kept for the next message that brings the same bytes: those of one
// authority come with each of its stamps. Only what a chain that ended in an anchor was made of is
// kept, and it says nothing of trust. Bounded in number and in bytes. Any thread may call.
#pragma once

#include <basalt/certificate/certificate_body.h>

#include <memory>

namespace basalt {

/// A kept body over these bytes, or else a new one. Faults as CertificateBody does.
std::shared_ptr<const CertificateBody> body_of(Bytes encoded);

/// Keeps a body for body_of unless it is large; the one used least recently goes for it.
void keep_body(const std::shared_ptr<const CertificateBody>& body);

} // namespace basalt
