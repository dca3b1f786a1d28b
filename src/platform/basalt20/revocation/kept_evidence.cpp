#include <basalt/revocation/kept_evidence.h>

#include <basalt/certificate/key_bits.h>
#include <basalt/network/retrieval_cache.h>
#include <basalt/revocation/evidence_signatures.h>
#include <basalt/revocation/listing.h>

#include <algorithm>
#include <limits>
#include <tuple>
#include <utility>

namespace basalt {

namespace {

constexpr std::size_t kMostKept = 4;

// Of its key, however it is written: of its certificate anybody can make another one that holds as
// well, and its name has several forms.
std::string digest_of_authority(const X509* certificate) {
    const Bytes key = telling_bits(key_bits_of(certificate));
    Sha256 digest{};
    EVP_Digest(key.data(), key.size(), digest.data(), nullptr, EVP_sha256(), nullptr);
    return {digest.begin(), digest.end()};
}

std::string serial_number_of(const X509* certificate) {
    const ASN1_INTEGER* number = X509_get0_serialNumber(certificate);
    const std::string sign = number->type == V_ASN1_NEG_INTEGER ? "-" : "+";
    return sign + std::string(reinterpret_cast<const char*>(number->data),
                              static_cast<std::size_t>(number->length));
}

// Whether the newer one, by the same key, speaks of the same certificates for the same reasons. A
// delta leaves out what stands in its base: one with a later base knows less.
bool covers_scope(const CrlFacts& newer, const CrlFacts& older) {
    return newer.is_delta() == older.is_delta() && newer.point_bytes == older.point_bytes &&
           X509_NAME_cmp(newer.issuer(), older.issuer()) == 0 &&
           (!newer.is_delta() ||
            ASN1_INTEGER_cmp(newer.base_number.get(), older.base_number.get()) <= 0);
}

std::string word_of(const OcspFacts& answer) {
    return der_of(i2d_OCSP_RESPDATA, OCSP_resp_get0_respdata(answer.basic.get()));
}

// Whatever is written around what is signed.
bool say_the_same(const EvidenceItem& a, const EvidenceItem& b) {
    return a.list ? same_bytes(a.list->parts.signed_part, b.list->parts.signed_part)
                  : word_of(*a.answer) == word_of(*b.answer);
}

// When it was made, and until when it speaks: what of two is the newer.
using Edition = std::pair<FileTicks, FileTicks>;

Edition edition_of(FileTicks this_update, const std::optional<FileTicks>& next_update) {
    return {this_update, next_update.value_or(std::numeric_limits<FileTicks>::max())};
}

// In place of what is kept; each is one whole element.
void keep_objects(const std::string& key, const std::vector<Bytes>& objects) {
    std::vector<BYTE> bytes;
    for (const Bytes object : objects) {
        bytes.insert(bytes.end(), object.begin(), object.end());
    }
    cache_object(key, bytes);
}

} // namespace

// They lie one behind the other.
std::vector<std::vector<BYTE>> kept_objects(const std::string& key) {
    std::vector<std::vector<BYTE>> objects;
    const std::optional<CachedObject> cached = cached_object(key);
    if (!cached) {
        return objects;
    }
    try {
        for (DerReader reader(cached->bytes); !reader.at_end() && objects.size() < kMostKept;) {
            const Bytes object = reader.take().whole;
            objects.emplace_back(object.begin(), object.end());
        }
    } catch (const Fault&) {
        forget_object(key); // damaged behind the last of them, or from the beginning
    }
    return objects;
}

// An object is kept for the key that is to verify it, so that certificates which name the same
// address for different authorities don't push out each other's.
std::string EvidenceKeeper::key_of(EvidenceKind kind, const std::string& url) const {
    const std::string issuer = digest_of_authority(issuer_);
    return kind == EvidenceKind::crl
               ? "list " + url + '\n' + issuer
               : "answer " + url + '\n' + issuer + serial_number_of(certificate_);
}

// What revokes the certificate for good is kept apart as well. Lists of other scopes, or newer ones
// that don't have the entry any more, may come for the sake of others; and of two processes that
// keep something of one address at once one goes unheard.
std::string EvidenceKeeper::key_of_revocation(EvidenceKind kind, const std::string& url) const {
    return (kind == EvidenceKind::crl ? "revoking list " : "revoking answer ") + url + '\n' +
           digest_of_authority(issuer_) + serial_number_of(certificate_);
}

// Looked at anew: nothing is remembered of what isn't kept by the session.
EvidenceKeeper::Charge EvidenceKeeper::charge_of(const EvidenceItem& item) {
    Charge gravest;
    const auto add = [&](std::optional<int> why, FileTicks since) {
        gravest = std::max(gravest, Charge{gravity(why), ~since});
    };
    if (item.list) {
        for (const Revocation& entry : listing_of(item, certificate_).entries) {
            add(entry.reason, entry.at);
        }
        return gravest;
    }
    for (const Statement& said : statements_of(*item.answer, identity_)) {
        if (said.revoked) {
            add(said.reason, said.revoked_at);
        }
    }
    return gravest;
}

bool EvidenceKeeper::is_made_ahead(const EvidenceItem& item) {
    const FileTicks latest = std::max(now_, now_in_ticks()) + kClockTolerance;
    if (item.made_at() > latest || !item.answer) {
        return item.made_at() > latest;
    }
    const std::vector<Statement> said = statements_of(*item.answer, identity_);
    return std::any_of(said.begin(), said.end(),
                       [&](const Statement& one) { return one.this_update > latest; });
}

// An older one may be as authentic, and knows less; so does a list of another scope, or one that
// tells what has changed. What revokes for good gives way to nothing that voids less.
bool EvidenceKeeper::supersedes(const EvidenceItem& newer, const EvidenceItem& older) {
    const Charge old = charge_of(older);
    if (old.first > 0 && old > charge_of(newer)) {
        return false;
    }
    if (newer.list) {
        const auto edition = [](const CrlFacts& list) {
            return edition_of(list.this_update, list.next_update);
        };
        return edition(*newer.list) > edition(*older.list) &&
               covers_scope(*newer.list, *older.list);
    }
    const auto edition = [&](const OcspFacts& answer) {
        Edition newest{};
        for (const Statement& said : statements_of(answer, identity_)) {
            newest = std::max(newest, edition_of(said.this_update, said.next_update));
        }
        return newest;
    };
    return edition(*newer.answer) > edition(*older.answer);
}

bool EvidenceKeeper::is_by(const X509* signer, const EvidenceItem& list, bool untold) {
    EVP_PKEY* key = X509_get0_pubkey(signer);
    const X509_ALGOR* algorithm = nullptr;
    X509_CRL_get0_signature(list.list->head.get(), nullptr, &algorithm);
    return key != nullptr &&
           (budget_.take_kept_signature(key, list.encoded.size() * hashing_weight(algorithm))
                ? has_signed(key, *list.list)
                : untold);
}

// Beside what was kept before and isn't out of date by this. What another key has signed is never
// that: it may tell of holds of which this one's lists know nothing.
void EvidenceKeeper::keep(const EvidenceItem& item, const std::string& key, const X509* signer) {
    std::vector<EvidenceItem> kept;
    for (std::vector<BYTE>& object : kept_objects(key)) {
        EvidenceItem old =
            fetched_item(EvidenceSource::cache, item.url, item.kind(), std::move(object));
        if (!old.usable() || is_made_ahead(old)) {
            continue;
        }
        if (old.answer || is_by(signer, old, false)) {
            if (supersedes(item, old)) {
                continue;
            }
            if (say_the_same(old, item) || supersedes(old, item)) {
                return;
            }
        }
        kept.push_back(std::move(old));
    }
    // The one that says the least goes; of lists the issuer's own stay longest, since anybody's may
    // come for the sake of other certificates.
    if (kept.size() >= kMostKept) {
        const auto weight = [&](const EvidenceItem& one) {
            return std::tuple(one.list && is_by(issuer_, one, true), charge_of(one),
                              one.list && !one.list->parts.entries.empty(), one.made_at());
        };
        using Weight = decltype(weight(kept.front()));
        std::vector<Weight> weights;
        std::transform(kept.begin(), kept.end(), std::back_inserter(weights), weight);
        kept.erase(kept.begin() +
                   (std::min_element(weights.begin(), weights.end()) - weights.begin()));
    }
    std::vector<Bytes> objects{item.encoded};
    for (const EvidenceItem& old : kept) {
        objects.push_back(old.encoded);
    }
    keep_objects(key, objects);
}

bool EvidenceKeeper::revokes_for_good(const EvidenceItem& item) {
    return charge_of(item).first > 0;
}

} // namespace basalt
