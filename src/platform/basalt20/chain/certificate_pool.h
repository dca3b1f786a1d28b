// What the search for paths may choose from: each certificate once, found by subject and taken
// apart only when it is tried. Anchors are marked. Certificates that hardly anybody makes are left
// out: over 64 KiB, names over 4 KiB, keys over 8192 bits, RSA exponents over 64, over 16 KiB of
// names of distribution points when they are expanded, very many elements. The names of the large
// ones are kept, since what they might decide isn't known. Of what came with the question a hundred
// at most are tried, so that whoever asks puts the likeliest first. One object a session, for one
// thread; a certificate that can't be read is no candidate, nothing fails but for lack of memory.
#pragma once

#include <basalt/chain/trust_anchors.h>
#include <basalt/coding/file_ticks.h>
#include <basalt/coding/openssl_owner.h>
#include <basalt/revocation/budget.h>
#include <basalt/revocation/signer_paths.h>

#include <deque>
#include <map>
#include <unordered_set>

namespace basalt {

enum class PoolSource { machine, given };

enum class Prepared {
    yes,
    no,     // it can't be used
    refused // too many have been tried: nothing is known of it
};

struct PoolCertificate {
    std::shared_ptr<CertificateItem> item;
    PoolSource source = PoolSource::machine;
    bool is_anchor = false;
    bool left_out = false;
    CertificateEntry entry; // null until it is tried

    // What the search remembers: whose keys it has tried, and whether they made this certificate's
    // signature.
    std::vector<std::pair<const PoolCertificate*, bool>> tried_keys;

    // The subject taken apart, for comparing with names written otherwise.
    OpensslOwner<X509_NAME, X509_NAME_free> parsed_subject;

    const PoolCertificate* first_copy = nullptr; // see CertificatePool::first_copy

    const CERT_INFO& info() const { return item->body->info(); }
    const Sha256& digest() const { return item->body->digest(); }
    X509* openssl() const { return entry->certificate.get(); }
    Bytes subject() const;
    Bytes issuer() const;
    Bytes key_bits() const;
    Bytes signed_part() const;
    // Nobody could have put it into a stamp's bag to mislead.
    bool is_own() const { return is_anchor || source == PoolSource::machine; }
    // With its algorithm and parameters: under others the same bits are another key.
    bool has_key_of(const PoolCertificate& other) const;
    bool is_valid_at(FileTicks at) const;
};

// notAfter names a whole second: a moment within it is still inside.
bool is_valid_at(const CERT_INFO& info, FileTicks at);

class CertificatePool {
public:
    explicit CertificatePool(std::shared_ptr<const TrustAnchors> anchors)
        : anchors_(std::move(anchors)) {}
    CertificatePool(const CertificatePool&) = delete;
    CertificatePool& operator=(const CertificatePool&) = delete;

    // Null is passed over.
    void add_store(HCERTSTORE store, PoolSource source);
    void add(std::shared_ptr<CertificateItem> item, PoolSource source);

    // A certificate that a path begins with. Fault CRYPT_E_ASN1_CORRUPT when OpenSSL can't read it.
    PoolCertificate& start(std::shared_ptr<CertificateItem> item);
    PoolCertificate& start(const CertificateEntry& entry);

    // Whether a large one that may have that subject was left out.
    bool has_left_out(Bytes subject);

    // At least as many as by_subject() will give, without looking at each.
    std::size_t count_like_named(Bytes subject);

    // All with that subject. Those with `entry` null haven't been tried yet: see prepare.
    std::vector<PoolCertificate*> by_subject(Bytes subject);

    // All of that key, whatever their names: the likeliest to be honest first.
    std::vector<PoolCertificate*> like_keyed(Bytes bits);

    // The one that stands for all whose signed part is the same: anybody can make further copies of
    // a certificate, which differ in how the signature is written. Whether a copy's holds is no
    // matter here.
    const PoolCertificate& first_copy(PoolCertificate& certificate);

    // Makes `entry`.
    Prepared prepare(PoolCertificate& certificate, Budget& budget);

    // No more of what came with the question is prepared.
    bool is_full() const;

    std::size_t prepared_from_given() const { return prepared_from_given_; }

private:
    struct Waiting {
        std::shared_ptr<CertificateItem> item;
        PoolSource source;
    };

    std::uint64_t key_of(Bytes name);
    PoolCertificate* find(std::uint64_t key, const CertificateItem& item);
    PoolCertificate& insert(std::uint64_t key, Waiting waiting);
    PoolCertificate& place(std::shared_ptr<CertificateItem> item);
    void settle(std::uint64_t key);

    std::shared_ptr<const TrustAnchors> anchors_;
    std::unordered_multimap<std::uint64_t, Waiting> waiting_;
    std::unordered_set<std::uint64_t> left_out_;
    std::unordered_map<std::uint64_t, std::vector<PoolCertificate*>> by_key_;
    std::map<Sha256, PoolCertificate*> by_digest_;      // of names with many certificates
    std::map<Sha256, PoolCertificate*> first_copies_;   // by their signed parts
    std::vector<std::pair<Bytes, std::uint64_t>> keys_; // of the first few names
    std::deque<PoolCertificate> certificates_;
    std::size_t prepared_from_given_ = 0;
};

} // namespace basalt
