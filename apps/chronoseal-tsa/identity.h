// The identity that the authority signs with: the TSA's key and certificate, and the root above it,
// kept as PEM files in one folder. Nothing here is meant to guard a real key.
#pragma once

#include <filesystem>
#include <string>

#include "openssl_handles.h"

namespace tsa {

enum class KeyKind { rsa2048, p256 };

struct Identity {
    KeyPtr key;                 // tsa.key
    CertificatePtr certificate; // tsa.pem
    CertificatePtr root;        // root.pem
};

struct IdentityOptions {
    KeyKind key = KeyKind::rsa2048;
    int days = 3650;
    // Put into the TSA's certificate as its CRL distribution point; with an empty text it names
    // none.
    std::string crl_url;
};

// Makes root.key, root.pem, tsa.key, tsa.pem and root.crl (DER, with nothing revoked) in `folder`,
// which is made if absent. The TSA's certificate has the sole, critical extended key usage
// timeStamping (RFC 3161, 2.3). Throws OpenSslError, or std::runtime_error when the folder already
// holds an authority.
void make_identity(const std::filesystem::path& folder, const IdentityOptions& options);

// Reads what make_identity wrote. Throws OpenSslError with the name of the file that can't be read.
Identity load_identity(const std::filesystem::path& folder);

} // namespace tsa
