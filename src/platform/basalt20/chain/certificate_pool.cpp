#include <basalt/chain/certificate_pool.h>

#include <basalt/certificate/key_bits.h>
#include <basalt/certificate/reasonable_certificate.h>
#include <basalt/chain/name_key.h>
#include <basalt/coding/der_reader.h>
#include <basalt/coding/flat_block.h>

#include <openssl/err.h>
#include <openssl/evp.h>

#include <algorithm>

namespace basalt {

namespace {

constexpr std::size_t kFewCertificates = 8;
constexpr std::size_t kMaxPreparedFromGiven = 100;
// Of what is left out and smaller hardly anything is honest, and anybody's few octets would leave
// open what is refused.
constexpr std::size_t kLarge = 4096;

using ParsedName = OpensslOwner<X509_NAME, X509_NAME_free>;

const X509_NAME* parsed(ParsedName& kept, Bytes encoded) {
    if (!kept) {
        const unsigned char* cursor = encoded.data();
        kept.reset(d2i_X509_NAME(nullptr, &cursor, static_cast<long>(encoded.size())));
    }
    return kept.get();
}

bool is_same(const X509_NAME* a, const X509_NAME* b) {
    return a != nullptr && b != nullptr && X509_NAME_cmp(a, b) == 0;
}

std::shared_ptr<CertificateItem> item_of(const CertificateEntry& entry) {
    unsigned char* der = nullptr;
    const int size = i2d_X509(entry->certificate.get(), &der);
    require(size > 0, CRYPT_E_ASN1_CORRUPT);
    const std::unique_ptr<unsigned char, void (*)(unsigned char*)> held(
        der, [](unsigned char* bytes) { OPENSSL_free(bytes); });
    auto item = std::make_shared<CertificateItem>();
    item->body = std::make_shared<CertificateBody>(Bytes(der, static_cast<std::size_t>(size)));
    return item;
}

} // namespace

Bytes PoolCertificate::subject() const {
    return bytes_of(info().Subject);
}

Bytes PoolCertificate::issuer() const {
    return bytes_of(info().Issuer);
}

Bytes PoolCertificate::key_bits() const {
    const CRYPT_BIT_BLOB& bits = info().SubjectPublicKeyInfo.PublicKey;
    return {bits.pbData, bits.cbData};
}

Bytes PoolCertificate::signed_part() const {
    return DerReader(sole_element(item->encoded(), tag::kSequence).contents).take().whole;
}

bool PoolCertificate::has_key_of(const PoolCertificate& other) const {
    const CRYPT_ALGORITHM_IDENTIFIER& own = info().SubjectPublicKeyInfo.Algorithm;
    const CRYPT_ALGORITHM_IDENTIFIER& its = other.info().SubjectPublicKeyInfo.Algorithm;
    return std::string_view(own.pszObjId) == its.pszObjId &&
           same_bytes(bytes_of(own.Parameters), bytes_of(its.Parameters)) &&
           same_bytes(key_bits(), other.key_bits());
}

bool PoolCertificate::is_valid_at(FileTicks at) const {
    return basalt::is_valid_at(info(), at);
}

bool is_valid_at(const CERT_INFO& info, FileTicks at) {
    return ticks_of(info.NotBefore) <= at && at < ticks_of(info.NotAfter) + kTicksPerSecond;
}

void CertificatePool::add_store(HCERTSTORE store, PoolSource source) {
    if (store == nullptr) {
        return;
    }
    const Snapshot<CertificateItem> certificates = store_of(store)->certificates();
    for (const auto& item : *certificates) {
        add(item, source);
    }
}

void CertificatePool::add(std::shared_ptr<CertificateItem> item, PoolSource source) {
    const std::uint64_t key = key_of(bytes_of(item->body->info().Subject));
    if (is_reasonable(*item->body)) {
        waiting_.emplace(key, Waiting{std::move(item), source});
    } else if (item->encoded().size() >= kLarge) {
        left_out_.insert(key);
    }
}

bool CertificatePool::has_left_out(Bytes subject) {
    return !left_out_.empty() && left_out_.contains(key_of(subject));
}

PoolCertificate& CertificatePool::place(std::shared_ptr<CertificateItem> item) {
    const std::uint64_t key = key_of(bytes_of(item->body->info().Subject));
    settle(key);
    PoolCertificate* known = find(key, *item);
    return known != nullptr ? *known : insert(key, {std::move(item), PoolSource::given});
}

PoolCertificate& CertificatePool::start(std::shared_ptr<CertificateItem> item) {
    PoolCertificate& certificate = place(std::move(item));
    if (!certificate.entry) {
        certificate.entry = certificate.item->body->x509();
    }
    return certificate;
}

PoolCertificate& CertificatePool::start(const CertificateEntry& entry) {
    PoolCertificate& certificate = place(item_of(entry));
    if (!certificate.entry) {
        certificate.entry = entry;
    }
    return certificate;
}

// The names of a path come again and again.
std::uint64_t CertificatePool::key_of(Bytes name) {
    for (const auto& [known, key] : keys_) {
        if (same_bytes(known, name)) {
            return key;
        }
    }
    return name_key(name);
}

// By digest only where there are many, since that costs more than all else here.
PoolCertificate* CertificatePool::find(std::uint64_t key, const CertificateItem& item) {
    const std::vector<PoolCertificate*>& same_key = by_key_[key];
    if (same_key.size() > kFewCertificates) {
        const auto found = by_digest_.find(item.body->digest());
        return found == by_digest_.end() ? nullptr : found->second;
    }
    const auto found = std::find_if(same_key.begin(), same_key.end(), [&](PoolCertificate* known) {
        return same_bytes(known->item->encoded(), item.encoded());
    });
    return found == same_key.end() ? nullptr : *found;
}

PoolCertificate& CertificatePool::insert(std::uint64_t key, Waiting waiting) {
    PoolCertificate& certificate = certificates_.emplace_back();
    certificate.item = std::move(waiting.item);
    certificate.source = waiting.source;
    std::vector<PoolCertificate*>& same_key = by_key_[key];
    same_key.push_back(&certificate);
    if (same_key.size() > kFewCertificates) {
        const bool is_first_time = same_key.size() == kFewCertificates + 1;
        for (auto it = is_first_time ? same_key.begin() : same_key.end() - 1; it != same_key.end();
             ++it) {
            by_digest_[(*it)->digest()] = *it;
        }
    }
    if (keys_.size() < kFewCertificates) {
        keys_.emplace_back(certificate.subject(), key);
    }
    return certificate;
}

// Moves what waits under that key, and the anchors of that key, into place.
void CertificatePool::settle(std::uint64_t key) {
    if (by_key_.find(key) == by_key_.end()) {
        by_key_[key]; // the anchors come once
        for (const TrustAnchors::Item& anchor : anchors_->by_key(key)) {
            if (find(key, *anchor) == nullptr) {
                insert(key, {anchor, PoolSource::machine}).is_anchor = true;
            }
        }
    }
    const auto [first, last] = waiting_.equal_range(key);
    for (auto it = first; it != last; ++it) {
        PoolCertificate* same = find(key, *it->second.item);
        if (same == nullptr) {
            insert(key, it->second);
        } else if (it->second.source == PoolSource::machine) {
            same->source = PoolSource::machine;
        }
    }
    waiting_.erase(first, last);
}

std::size_t CertificatePool::count_like_named(Bytes subject) {
    const std::uint64_t key = key_of(subject);
    settle(key);
    return by_key_[key].size();
}

std::vector<PoolCertificate*> CertificatePool::by_subject(Bytes subject) {
    const std::uint64_t key = key_of(subject);
    settle(key);
    ParsedName wanted;
    std::vector<PoolCertificate*> found;
    for (PoolCertificate* certificate : by_key_[key]) {
        if (same_bytes(certificate->subject(), subject) ||
            is_same(parsed(wanted, subject),
                    parsed(certificate->parsed_subject, certificate->subject()))) {
            found.push_back(certificate);
        }
    }
    ERR_clear_error();
    return found;
}

std::vector<PoolCertificate*> CertificatePool::like_keyed(Bytes bits) {
    std::vector<std::uint64_t> names;
    for (const auto& [name, waiting] : waiting_) {
        const CRYPT_BIT_BLOB& key = waiting.item->body->info().SubjectPublicKeyInfo.PublicKey;
        if (same_key_bits({key.pbData, key.cbData}, bits)) {
            names.push_back(name);
        }
    }
    for (const std::uint64_t name : names) {
        settle(name);
    }
    std::vector<PoolCertificate*> found;
    for (PoolCertificate& other : certificates_) {
        if (same_key_bits(other.key_bits(), bits)) {
            found.push_back(&other);
        }
    }
    if (found.size() > 1) {
        std::sort(found.begin(), found.end(), [](const auto* a, const auto* b) {
            return std::pair(!a->is_own(), a->digest()) < std::pair(!b->is_own(), b->digest());
        });
    }
    return found;
}

const PoolCertificate& CertificatePool::first_copy(PoolCertificate& certificate) {
    if (certificate.first_copy == nullptr) {
        const bool is_alone = by_key_[key_of(certificate.subject())].size() == 1;
        certificate.first_copy =
            is_alone ? &certificate
                     : first_copies_.try_emplace(sha256(certificate.signed_part()), &certificate)
                           .first->second;
    }
    return *certificate.first_copy;
}

bool CertificatePool::is_full() const {
    return prepared_from_given_ >= kMaxPreparedFromGiven;
}

Prepared CertificatePool::prepare(PoolCertificate& certificate, Budget& budget) {
    if (certificate.entry || certificate.left_out) {
        return certificate.left_out ? Prepared::no : Prepared::yes;
    }
    if (!certificate.is_own()) {
        if (is_full() || !budget.take_reading(certificate.info())) {
            return Prepared::refused;
        }
        ++prepared_from_given_;
    }
    try {
        certificate.entry = certificate.item->body->x509();
        const EVP_PKEY* key = certificate.entry->key ? certificate.entry->key->get() : nullptr;
        certificate.left_out = key == nullptr || EVP_PKEY_get_bits(key) > kMaxKeyBits;
    } catch (const Fault&) {
        certificate.left_out = true; // one that OpenSSL can't read is no candidate
    }
    return certificate.left_out ? Prepared::no : Prepared::yes;
}

} // namespace basalt
