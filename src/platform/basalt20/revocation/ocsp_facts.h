// What an OCSP answer says, read once, and the request that asks for one. Nothing here is authentic
// yet.
#pragma once

#include <basalt/certificate/certificate_body.h>
#include <basalt/coding/der_reader.h>
#include <basalt/coding/file_ticks.h>
#include <basalt/coding/openssl_owner.h>
#include <basalt/revocation/rule.h>
#include <basalt/revocation/signer_paths.h>

#include <openssl/ocsp.h>

#include <map>
#include <memory>
#include <vector>

namespace basalt {

using BasicOwner = OpensslOwner<OCSP_BASICRESP, OCSP_BASICRESP_free>;

struct OcspFacts {
    BasicOwner basic; // without the certificates
    FileTicks produced_at = 0;
    // What came with it and could be its signer's by name or key hash: candidates, which OpenSSL
    // hasn't read yet.
    std::vector<std::shared_ptr<const CertificateBody>> responders;

    // True when the responder's name or key hash is that certificate's.
    bool names_responder(const X509* certificate) const;
    bool names_responder(const CertificateBody& certificate) const;
};

// Null for what can't be used: no successful basic answer, bytes behind it, an unknown critical
// extension of the whole.
std::shared_ptr<const OcspFacts> read_ocsp(Bytes encoded);

// The octets that are read for it by OpenSSL; 0 of what isn't an answer.
std::size_t size_beside_certificates(Bytes encoded);

// A certificate as answers name it: by digests of its issuer's name and key, whichever the
// responder has taken. Each digest is computed once, however many entries there are. The
// certificates must outlive the object.
class OcspIdentity {
public:
    OcspIdentity(X509* certificate, X509* issuer) : certificate_(certificate), issuer_(issuer) {}

    bool is_of(const OCSP_SINGLERESP* entry);

private:
    using IdOwner = OpensslOwner<OCSP_CERTID, OCSP_CERTID_free>;

    const OCSP_CERTID* identifier(int digest_nid);

    X509* certificate_;
    X509* issuer_;
    std::map<int, IdOwner> identifiers_;
};

// True when one entry at least is about the certificate.
bool is_about(const OcspFacts& answer, OcspIdentity& identity);

// What the entries about the certificate come to: those that say "revoked"; or else the newest that
// says "good", unless one that is as new says "unknown". Entries with an unknown critical extension
// are passed over.
std::vector<Statement> statements_of(const OcspFacts& answer, OcspIdentity& identity);

// Whether an entry about the certificate says "revoked", understood or not; and whether one does
// that statements_of() has passed over.
bool revokes(const OcspFacts& answer, OcspIdentity& identity);
bool revokes_in_other_words(const OcspFacts& answer, OcspIdentity& identity);

// What that takes at most, in the budget's comparisons.
std::size_t comparisons_for_statements(const OcspFacts& answer);

// The DER of a request for one certificate, without nonce, so that answers made in advance can
// serve. Empty for a certificate that can't be asked about: one whose serial number is over 20
// octets.
std::vector<BYTE> make_ocsp_request(X509* certificate, X509* issuer);

} // namespace basalt
