// What the judgement of evidence asks of the search for paths: a list may be signed by a key that
// isn't on the path that is judged, and such a key needs a path of its own to the same anchor.
#pragma once

#include <basalt/certificate/x509_cache.h>
#include <basalt/coding/der_reader.h>
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

struct NamedCertificate {
    CertificateEntry entry;
    bool own = false; // an anchor, or of the machine or its user
};

struct NamedCertificates {
    std::vector<NamedCertificate> found;
    bool complete = true; // else there are more than may be looked at
};

// Who signed a list, as the list tells.
struct ListMaker {
    const X509_NAME* subject = nullptr;
    Bytes authority_key_identifier;
    bool own = false;   // the list lies on this machine
    bool given = false; // it came with the question
};

// Who signed a list, as far as a search for its path has to know.
struct EvidenceMaker {
    const CertificateEntry& signer;
    const CertificateEntry& anchor;
    FileTicks at = 0;
    bool own = false; // what was signed isn't foreign: foreign certificates can't stop the search
};

enum class PathFound {
    taken,
    none,
    untold, // the search had to end early
};

// What other certificates of a key tell of it.
enum class KeyHeard {
    nothing,
    compromised,
    untold, // more lay at hand than could be looked at
};

class SignerPaths {
public:
    virtual ~SignerPaths() = default;

    // The certificates at hand with that subject, an anchor among them too; never fetches. Those
    // that fit the value of an authority key identifier (which may be empty) come first. Lists that
    // aren't `own` pay for that.
    virtual std::shared_ptr<const NamedCertificates> named(const ListMaker& maker) = 0;

    // Whether the judge takes one of the paths from the signer to exactly this anchor, whose
    // signatures, constraints and validity at `at` are good (of the anchor's validity nothing is
    // asked), and whose authorities may be used for what is asked. Nothing is fetched.
    virtual PathFound any_path(const EvidenceMaker& maker, const PathJudge& judge) = 0;

    // Whether the key is in strange hands, by what is said under that anchor of whichever
    // certificate at hand it is in. Once the network is asked for the path that is judged, those
    // who say so may be asked about there, too.
    virtual KeyHeard hear_of_key(const CertificateEntry& of, const CertificateEntry& anchor) = 0;
};

} // namespace basalt
