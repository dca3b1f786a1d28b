// The process-wide caches of prepared certificates and keys.
#include <basalt/certificate/x509_cache.h>

#include <basalt/basalt10/digest.h>
#include <basalt/coding/der_writer.h>
#include <basalt/coding/signature_algorithm.h>

#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/objects.h>

#include <algorithm>
#include <cstring>
#include <list>
#include <optional>
#include <unordered_map>

namespace basalt {
namespace {

constexpr std::size_t kMaxEntries = 512;
// Encoded bytes. Taken apart, a certificate needs some ten times as much.
constexpr std::size_t kMaxBytes = std::size_t{1} << 20;
constexpr std::size_t kMaxBytesOfOne = std::size_t{16} << 10;
constexpr std::size_t kMaxBytesOfKey = std::size_t{2} << 10;
constexpr std::size_t kMaxKnownIssuers = 4; // an issuer has one certificate, or a few of them

struct DigestHash {
    std::size_t operator()(const Sha256& digest) const {
        std::size_t value = 0;
        std::memcpy(&value, digest.data(), sizeof(value));
        return value;
    }
};

// The least recently used entries go when a new one comes and the cache is full.
template <class Value>
class DigestCache {
public:
    explicit DigestCache(std::size_t max_bytes_of_one) : max_bytes_of_one_(max_bytes_of_one) {}

    std::shared_ptr<const Value> find(const Sha256& digest) {
        const std::lock_guard lock(mutex_);
        const auto found = index_.find(digest);
        if (found == index_.end()) {
            return nullptr;
        }
        entries_.splice(entries_.begin(), entries_, found->second);
        return found->second->value;
    }

    /// Keeps `value` if it isn't too large, or gives what another thread has put there meanwhile.
    std::shared_ptr<const Value> keep(const Sha256& digest, std::shared_ptr<const Value> value,
                                      std::size_t bytes) {
        const std::lock_guard lock(mutex_);
        if (const auto found = index_.find(digest); found != index_.end()) {
            return found->second->value;
        }
        if (bytes > max_bytes_of_one_) {
            return value;
        }
        entries_.push_front({digest, value, bytes});
        index_[digest] = entries_.begin();
        bytes_ += bytes;
        while (entries_.size() > kMaxEntries || bytes_ > kMaxBytes) {
            bytes_ -= entries_.back().bytes;
            index_.erase(entries_.back().digest);
            entries_.pop_back();
        }
        return value;
    }

    std::size_t bytes() {
        const std::lock_guard lock(mutex_);
        return bytes_;
    }

private:
    struct Entry {
        Sha256 digest;
        std::shared_ptr<const Value> value;
        std::size_t bytes;
    };
    using Entries = std::list<Entry>;

    const std::size_t max_bytes_of_one_;
    std::mutex mutex_;
    std::size_t bytes_ = 0;
    Entries entries_;
    std::unordered_map<Sha256, typename Entries::iterator, DigestHash> index_;
};

// Never destroyed: OpenSSL's own end of process may run before or behind ours.
DigestCache<X509Entry>& certificates() {
    static auto* cache = new DigestCache<X509Entry>(kMaxBytesOfOne);
    return *cache;
}

DigestCache<PublicKey>& keys() {
    static auto* cache = new DigestCache<PublicKey>(kMaxBytesOfKey);
    return *cache;
}

bool is_gost(std::string_view oid) {
    return oid.starts_with("1.2.643.");
}

std::unique_ptr<X509, X509Deleter> parse(Bytes encoded) {
    const unsigned char* at = encoded.data();
    std::unique_ptr<X509, X509Deleter> certificate(
        d2i_X509(nullptr, &at, static_cast<long>(encoded.size())));
    if (at != encoded.data() + encoded.size()) {
        certificate.reset();
    }
    ERR_clear_error();
    return certificate;
}

// The certificate with the shortest form of its serial number, and what was signed; nothing when
// the number has that form.
struct Mended {
    std::string certificate;
    Bytes signed_bytes;
};

std::optional<Mended> mend_serial_number(Bytes encoded) {
    DerReader certificate(sole_element(encoded, tag::kSequence).contents);
    const Element tbs = certificate.take(tag::kSequence);
    DerReader fields(tbs.contents);
    const Element version = fields.take_if(tag::context_constructed(0));
    const Bytes number = fields.take(tag::kInteger).contents;
    const Bytes shortest = minimal_integer(number);
    if (shortest.size() == number.size()) {
        return std::nullopt;
    }
    std::string mended(text_of(version.whole));
    append_element(mended, tag::kInteger, shortest);
    mended += text_of(fields.rest());
    std::string whole = element(tag::kSequence, mended);
    whole += text_of(certificate.rest());
    return Mended{element(tag::kSequence, whole), tbs.whole};
}

std::shared_ptr<const X509Entry> make_entry(Bytes encoded) {
    auto entry = std::make_shared<X509Entry>();
    entry->encoded_size = encoded.size();
    entry->certificate = parse(encoded);
    if (!entry->certificate) {
        if (const std::optional<Mended> mended = mend_serial_number(encoded)) {
            entry->certificate = parse(bytes_of(mended->certificate));
            entry->signed_bytes.assign(mended->signed_bytes.begin(), mended->signed_bytes.end());
        }
    }
    require(entry->certificate != nullptr, CRYPT_E_ASN1_CORRUPT);
    if (EVP_PKEY* key = X509_get_pubkey(entry->certificate.get()); key != nullptr) {
        entry->key = std::make_shared<PublicKey>(EvpKey(key));
    }
    ERR_clear_error();
    return entry;
}

bool has_one_algorithm(const X509* certificate) {
    const X509_ALGOR* outer = nullptr;
    X509_get0_signature(nullptr, &outer, certificate);
    return X509_ALGOR_cmp(outer, X509_get0_tbs_sigalg(certificate)) == 0;
}

// As X509_verify does it, but for algorithms with parameters.
bool is_signed_bytewise(const X509Entry& entry, EVP_PKEY* key) {
    int digest = NID_undef;
    const X509* certificate = entry.certificate.get();
    if (!has_one_algorithm(certificate) ||
        OBJ_find_sigid_algs(X509_get_signature_nid(certificate), &digest, nullptr) != 1 ||
        X509_get_signature_nid(certificate) == NID_rsassaPss) {
        return false;
    }
    const ASN1_BIT_STRING* signature = nullptr;
    X509_get0_signature(&signature, nullptr, certificate);
    const std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> context(EVP_MD_CTX_new(),
                                                                          EVP_MD_CTX_free);
    return context &&
           EVP_DigestVerifyInit(context.get(), nullptr, EVP_get_digestbynid(digest), nullptr,
                                key) == 1 &&
           EVP_DigestVerify(context.get(), ASN1_STRING_get0_data(signature),
                            static_cast<std::size_t>(ASN1_STRING_length(signature)),
                            entry.signed_bytes.data(), entry.signed_bytes.size()) == 1;
}

// GOST keys can be read only once the engine is there.
void load_engine_for(Bytes encoded) {
    DerReader certificate(sole_element(encoded).contents);
    DerReader tbs(certificate.take(tag::kSequence).contents);
    tbs.take_if(tag::context_constructed(0));
    for (int i = 0; i < 5; ++i) {
        tbs.take();
    }
    DerReader key(tbs.take(tag::kSequence).contents);
    DerReader algorithm(key.take(tag::kSequence).contents);
    if (is_gost(oid_text(algorithm.take(tag::kOid).contents))) {
        gost_available();
    }
}

} // namespace

bool KnownIssuers::contains(const std::shared_ptr<const X509Entry>& issuer) const {
    const std::lock_guard lock(mutex_);
    return std::any_of(issuers_.begin(), issuers_.end(), [&](const auto& known) {
        return !known.owner_before(issuer) && !issuer.owner_before(known);
    });
}

void KnownIssuers::add(const std::shared_ptr<const X509Entry>& issuer) {
    if (contains(issuer)) {
        return;
    }
    const std::lock_guard lock(mutex_);
    if (issuers_.size() >= kMaxKnownIssuers) {
        issuers_.erase(issuers_.begin());
    }
    issuers_.push_back(issuer);
}

Sha256 sha256(Bytes bytes) {
    const std::string value = basalt::digest(EVP_sha256(), bytes);
    Sha256 result;
    std::copy_n(value.begin(), result.size(), result.begin());
    return result;
}

std::shared_ptr<const X509Entry> x509_by_digest(const Sha256& digest, Bytes encoded) {
    if (auto found = certificates().find(digest)) {
        return found;
    }
    load_engine_for(encoded);
    return make_entry(encoded);
}

bool is_signed_with(const X509Entry& entry, EVP_PKEY* key) {
    const bool good = entry.signed_bytes.empty() ? X509_verify(entry.certificate.get(), key) == 1
                                                 : is_signed_bytewise(entry, key);
    ERR_clear_error();
    return good;
}

void keep_x509(const Sha256& digest, const std::shared_ptr<const X509Entry>& entry) {
    certificates().keep(digest, entry, entry->encoded_size);
}

std::size_t kept_x509_bytes() {
    return certificates().bytes();
}

std::shared_ptr<const PublicKey> public_key_of(const CERT_PUBLIC_KEY_INFO& info) {
    const std::string encoded = encode_public_key_info(info);
    const Bytes bytes{reinterpret_cast<const BYTE*>(encoded.data()), encoded.size()};
    const Sha256 digest = sha256(bytes);
    if (auto found = keys().find(digest)) {
        return found;
    }
    if (is_gost(info.Algorithm.pszObjId)) {
        gost_available();
    }
    const unsigned char* at = bytes.data();
    EvpKey key(d2i_PUBKEY(nullptr, &at, static_cast<long>(bytes.size())));
    ERR_clear_error();
    require(key && at == bytes.data() + bytes.size(), NTE_BAD_PUBLIC_KEY);
    return keys().keep(digest, std::make_shared<PublicKey>(std::move(key)), bytes.size());
}

} // namespace basalt
