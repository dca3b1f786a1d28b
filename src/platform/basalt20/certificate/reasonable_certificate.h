// What is known of a certificate before OpenSSL is asked: whether an honest authority could have
// made it, or somebody who wants its reader to work for long. Pure, and cheap beside what it keeps
// off.
#pragma once

#include <basalt/certificate/certificate_body.h>

namespace basalt {

inline constexpr int kMaxKeyBits = 8192;

// False for one whose extensions take OpenSSL too long to look at even once: it expands all
// relative names of distribution points, each by the whole name of the issuer, so that 60 KiB of
// them take seconds and hundreds of megabytes. Nobody honest has over 16 KiB of them in full. And
// it holds each policy against all others of the certificate and of those around it: kMostPolicies
// of them, and as many mappings, are the most. Of names, numbers and whatever else there are
// kMostElements at most.
bool is_affordable(const CertificateBody& certificate);

// False for a key that isn't written in the one form that DER has for it, though OpenSSL reads it:
// one that may be written in many couldn't be told from others, and what is said of it not be
// heard. Points have three forms, all of which count as that.
bool has_canonical_key(const CertificateBody& certificate);

// False for one that isn't affordable, or has no canonical key, for one over 64 KiB, with a name
// over 4 KiB, an RSA modulus over kMaxKeyBits or an exponent over 64 bits, and for a curve that is
// written out where its name should stand (RFC 5480, 2.1.1): points on curves of one's own making
// can take OpenSSL tens of milliseconds to read.
bool is_reasonable(const CertificateBody& certificate);

} // namespace basalt
