// What the judgement of evidence asks of the search for paths: a list may be signed by a key that
// isn't on the path that is judged, and such a key needs a path of its own to the same anchor.
#pragma once

#include <basalt/certificate/x509_cache.h>
#include <basalt/coding/file_ticks.h>

#include <functional>
#include <memory>
#include <span>
#include <vector>

namespace basalt {

using CertificateEntry = std::shared_ptr<const X509Entry>;

// Leaf first, anchor last.
using CertificatePath = std::vector<CertificateEntry>;
using CertificatePathView = std::span<const CertificateEntry>;

using PathJudge = std::function<bool(CertificatePathView)>; // true takes the path

class SignerPaths {
public:
    virtual ~SignerPaths() = default;

    // The certificates at hand with that subject, an anchor among them too; never fetches.
    virtual std::vector<CertificateEntry> named(const X509_NAME* subject) = 0;

    // Whether the judge takes one of the paths from `signer` to exactly this anchor, whose
    // signatures, constraints and validity at `at` are good (of the anchor's validity nothing is
    // asked); any usage, since the caller asks for that. Nothing is fetched.
    virtual bool any_path(const CertificateEntry& signer, const CertificateEntry& anchor,
                          FileTicks at, const PathJudge& judge) = 0;
};

} // namespace basalt
