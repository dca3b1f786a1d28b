#include <basalt/revocation/ocsp_facts.h>

#include <basalt/certificate/reasonable_certificate.h>
#include <basalt/coding/der_writer.h>

#include <openssl/err.h>
#include <openssl/sha.h>

#include <algorithm>
#include <array>
#include <cstring>

namespace basalt {

namespace {

constexpr int kMaxSerialOctets = 20; // RFC 5280, 4.1.2.2
constexpr std::size_t kMaxCertificates = 16;
constexpr BYTE kSuccessful = 0;

// The octets of the BasicOCSPResponse, or none when the answer isn't a successful one of that kind.
Bytes basic_octets(Bytes encoded) {
    DerReader fields(sole_element(encoded, tag::kSequence).contents);
    const Bytes status = fields.take(tag::kEnumerated).contents;
    if (status.size() != 1 || status[0] != kSuccessful) {
        return {};
    }
    const Bytes explicit_tag = fields.take(tag::context_constructed(0)).contents;
    fields.expect_end();
    DerReader response(sole_element(explicit_tag, tag::kSequence).contents);
    if (oid_text(response.take(tag::kOid).contents) != "1.3.6.1.5.5.7.48.1.1") {
        return {};
    }
    const Bytes octets = response.take(tag::kOctetString).contents;
    response.expect_end();
    return octets;
}

// BasicOCSPResponse (RFC 6960, 4.2.1) in its parts.
struct BasicParts {
    std::string without_certificates;
    Bytes certificates;
};

BasicParts parts_of(Bytes basic) {
    DerReader fields(sole_element(basic, tag::kSequence).contents);
    std::string signed_part(text_of(fields.take(tag::kSequence).whole));
    signed_part += text_of(fields.take(tag::kSequence).whole);
    signed_part += text_of(fields.take(tag::kBitString).whole);
    BasicParts parts{element(tag::kSequence, signed_part), {}};
    if (const Element outer = fields.take_if(tag::context_constructed(0)); outer.tag != 0) {
        parts.certificates = sole_element(outer.contents, tag::kSequence).contents;
    }
    fields.expect_end();
    return parts;
}

// OpenSSL would read the certificates and their keys at once, all of them, which can take it a
// millisecond each.
BasicOwner parse(const std::string& encoded) {
    const auto* cursor = reinterpret_cast<const unsigned char*>(encoded.data());
    const unsigned char* const end = cursor + encoded.size();
    BasicOwner basic(d2i_OCSP_BASICRESP(nullptr, &cursor, static_cast<long>(encoded.size())));
    if (basic && cursor != end) {
        basic.reset();
    }
    ERR_clear_error();
    return basic;
}

bool is_known(const ASN1_OBJECT* object) {
    switch (OBJ_obj2nid(object)) {
    case NID_id_pkix_OCSP_Nonce:
    case NID_id_pkix_OCSP_CrlID:
    case NID_id_pkix_OCSP_archiveCutoff:
    case NID_ct_cert_scts:
        return true;
    default:
        return false;
    }
}

bool is_understood(X509_EXTENSION* extension) {
    return X509_EXTENSION_get_critical(extension) == 0 ||
           is_known(X509_EXTENSION_get_object(extension));
}

bool is_understood(OCSP_BASICRESP* basic) {
    for (int i = 0; i < OCSP_BASICRESP_get_ext_count(basic); ++i) {
        if (!is_understood(OCSP_BASICRESP_get_ext(basic, i))) {
            return false;
        }
    }
    return true;
}

bool is_understood(OCSP_SINGLERESP* entry) {
    for (int i = 0; i < OCSP_SINGLERESP_get_ext_count(entry); ++i) {
        if (!is_understood(OCSP_SINGLERESP_get_ext(entry, i))) {
            return false;
        }
    }
    return true;
}

struct Entry {
    int status = V_OCSP_CERTSTATUS_UNKNOWN;
    Statement statement;
};

std::optional<FileTicks> archive_cutoff(OCSP_SINGLERESP* entry) {
    const OpensslOwner<ASN1_GENERALIZEDTIME, ASN1_GENERALIZEDTIME_free> time(
        static_cast<ASN1_GENERALIZEDTIME*>(
            OCSP_SINGLERESP_get1_ext_d2i(entry, NID_id_pkix_OCSP_archiveCutoff, nullptr, nullptr)));
    return ticks_of(time.get());
}

// Nothing when the entry's dates can't be read.
std::optional<Entry> read_entry(OCSP_SINGLERESP* single) {
    int why = -1;
    ASN1_GENERALIZEDTIME* revoked_at = nullptr;
    ASN1_GENERALIZEDTIME* this_update = nullptr;
    ASN1_GENERALIZEDTIME* next_update = nullptr;
    Entry entry;
    entry.status = OCSP_single_get0_status(single, &why, &revoked_at, &this_update, &next_update);
    const std::optional<FileTicks> made = ticks_of(this_update);
    Statement& statement = entry.statement;
    statement.next_update = ticks_of(next_update);
    if (!made || (next_update != nullptr && !statement.next_update)) {
        return std::nullopt;
    }
    statement.this_update = *made;
    statement.reaches_back_to = archive_cutoff(single);
    if (entry.status == V_OCSP_CERTSTATUS_REVOKED) {
        statement.revoked = true;
        statement.revoked_at = ticks_of(revoked_at).value_or(0);
        if (why >= 0) {
            statement.reason = why;
        }
    }
    return entry;
}

bool names(const OCSP_BASICRESP& basic, const X509_NAME* subject, Bytes key) {
    const ASN1_OCTET_STRING* key_hash = nullptr;
    const X509_NAME* name = nullptr;
    if (OCSP_resp_get0_id(&basic, &key_hash, &name) != 1) {
        return false;
    }
    if (name != nullptr) {
        return X509_NAME_cmp(name, subject) == 0;
    }
    std::array<unsigned char, SHA_DIGEST_LENGTH> digest{};
    unsigned size = 0;
    return ASN1_STRING_length(key_hash) == SHA_DIGEST_LENGTH &&
           EVP_Digest(key.data(), key.size(), digest.data(), &size, EVP_sha1(), nullptr) == 1 &&
           std::memcmp(digest.data(), ASN1_STRING_get0_data(key_hash), digest.size()) == 0;
}

// What can't be read, or nobody honest makes, is passed over.
void add_responders(Bytes certificates, OcspFacts& facts) {
    DerReader list(certificates);
    for (std::size_t i = 0; i < kMaxCertificates && !list.at_end(); ++i) {
        const Bytes encoded = list.take().whole;
        try {
            auto body = std::make_shared<const CertificateBody>(encoded);
            if (is_reasonable(*body) && facts.names_responder(*body)) {
                facts.responders.push_back(std::move(body));
            }
        } catch (const Fault&) {
            continue;
        }
    }
    ERR_clear_error();
}

} // namespace

bool OcspFacts::names_responder(const X509* certificate) const {
    const ASN1_BIT_STRING* key = X509_get0_pubkey_bitstr(certificate);
    return key != nullptr &&
           names(*basic, X509_get_subject_name(certificate),
                 {ASN1_STRING_get0_data(key), static_cast<std::size_t>(ASN1_STRING_length(key))});
}

bool OcspFacts::names_responder(const CertificateBody& certificate) const {
    const CERT_INFO& info = certificate.info();
    const unsigned char* cursor = info.Subject.pbData;
    const OpensslOwner<X509_NAME, X509_NAME_free> subject(
        d2i_X509_NAME(nullptr, &cursor, static_cast<long>(info.Subject.cbData)));
    const CRYPT_BIT_BLOB& key = info.SubjectPublicKeyInfo.PublicKey;
    return subject && names(*basic, subject.get(), {key.pbData, key.cbData});
}

std::size_t size_beside_certificates(Bytes encoded) try {
    const Bytes octets = basic_octets(encoded);
    return octets.empty() ? 0 : parts_of(octets).without_certificates.size();
} catch (const Fault&) {
    return 0;
}

std::shared_ptr<const OcspFacts> read_ocsp(Bytes encoded) try {
    const Bytes octets = basic_octets(encoded);
    if (octets.empty()) {
        return nullptr;
    }
    const BasicParts parts = parts_of(octets);
    BasicOwner basic = parse(parts.without_certificates);
    const std::optional<FileTicks> made =
        basic ? ticks_of(OCSP_resp_get0_produced_at(basic.get())) : std::nullopt;
    if (!made || !is_understood(basic.get())) {
        return nullptr;
    }
    auto facts = std::make_shared<OcspFacts>();
    facts->produced_at = *made;
    facts->basic = std::move(basic);
    add_responders(parts.certificates, *facts);
    return facts;
} catch (const Fault&) {
    return nullptr;
}

bool OcspIdentity::is_of(const OCSP_SINGLERESP* entry) {
    const OCSP_CERTID* id = OCSP_SINGLERESP_get0_id(entry);
    ASN1_OBJECT* algorithm = nullptr;
    ASN1_INTEGER* serial = nullptr;
    OCSP_id_get0_info(nullptr, &algorithm, nullptr, &serial, const_cast<OCSP_CERTID*>(id));
    if (ASN1_INTEGER_cmp(serial, X509_get0_serialNumber(certificate_)) != 0) {
        return false;
    }
    const OCSP_CERTID* wanted = identifier(OBJ_obj2nid(algorithm));
    return wanted != nullptr && OCSP_id_cmp(id, wanted) == 0;
}

const OCSP_CERTID* OcspIdentity::identifier(int digest_nid) {
    const auto known = identifiers_.find(digest_nid);
    if (known != identifiers_.end()) {
        return known->second.get();
    }
    const EVP_MD* digest = EVP_get_digestbynid(digest_nid);
    IdOwner id(digest != nullptr ? OCSP_cert_to_id(digest, certificate_, issuer_) : nullptr);
    return identifiers_.emplace(digest_nid, std::move(id)).first->second.get();
}

bool is_about(const OcspFacts& answer, OcspIdentity& identity) {
    for (int i = 0; i < OCSP_resp_count(answer.basic.get()); ++i) {
        if (identity.is_of(OCSP_resp_get0(answer.basic.get(), i))) {
            return true;
        }
    }
    return false;
}

std::size_t comparisons_for_statements(const OcspFacts& answer) {
    constexpr std::size_t kReadingOfAnEntry =
        20; // two microseconds, if it is about the certificate
    return kReadingOfAnEntry *
           static_cast<std::size_t>(std::max(OCSP_resp_count(answer.basic.get()), 1));
}

namespace {

template <class Counts>
bool any_revoking(const OcspFacts& answer, OcspIdentity& identity, const Counts& counts) {
    bool any = false;
    for (int i = 0; !any && i < OCSP_resp_count(answer.basic.get()); ++i) {
        OCSP_SINGLERESP* single = OCSP_resp_get0(answer.basic.get(), i);
        any = identity.is_of(single) &&
              OCSP_single_get0_status(single, nullptr, nullptr, nullptr, nullptr) ==
                  V_OCSP_CERTSTATUS_REVOKED &&
              counts(single);
    }
    ERR_clear_error();
    return any;
}

} // namespace

std::vector<Statement> statements_of(const OcspFacts& answer, OcspIdentity& identity) {
    std::vector<Statement> revoked;
    std::optional<Statement> good;
    std::optional<FileTicks> unknown;
    for (int i = 0; i < OCSP_resp_count(answer.basic.get()); ++i) {
        OCSP_SINGLERESP* single = OCSP_resp_get0(answer.basic.get(), i);
        const std::optional<Entry> entry =
            identity.is_of(single) && is_understood(single) ? read_entry(single) : std::nullopt;
        if (!entry) {
            continue;
        }
        const FileTicks made = entry->statement.this_update;
        if (entry->status == V_OCSP_CERTSTATUS_REVOKED) {
            revoked.push_back(entry->statement);
        } else if (entry->status == V_OCSP_CERTSTATUS_GOOD) {
            good = good && good->this_update >= made ? good : entry->statement;
        } else {
            unknown = std::max(unknown.value_or(0), made);
        }
    }
    ERR_clear_error();
    for (Statement& statement : revoked) {
        statement.signed_at = answer.produced_at;
    }
    if (!revoked.empty()) {
        return revoked;
    }
    if (!good || (unknown && *unknown >= good->this_update)) {
        return {};
    }
    good->signed_at = answer.produced_at;
    return {*good};
}

bool revokes(const OcspFacts& answer, OcspIdentity& identity) {
    return any_revoking(answer, identity, [](OCSP_SINGLERESP*) { return true; });
}

bool revokes_in_other_words(const OcspFacts& answer, OcspIdentity& identity) {
    return any_revoking(answer, identity, [](OCSP_SINGLERESP* single) {
        return !is_understood(single) || !read_entry(single);
    });
}

std::vector<BYTE> make_ocsp_request(X509* certificate, X509* issuer) {
    if (ASN1_STRING_length(X509_get0_serialNumber(certificate)) > kMaxSerialOctets) {
        return {};
    }
    const OpensslOwner<OCSP_REQUEST, OCSP_REQUEST_free> request(OCSP_REQUEST_new());
    // SHA-1 as the identifier's hash is what every responder knows (RFC 5019, 2.1.1).
    OpensslOwner<OCSP_CERTID, OCSP_CERTID_free> id(
        OCSP_cert_to_id(EVP_sha1(), certificate, issuer));
    if (!request || !id || OCSP_request_add0_id(request.get(), id.get()) == nullptr) {
        ERR_clear_error();
        return {};
    }
    static_cast<void>(id.release()); // the request's now
    const std::string encoded = der_of<OCSP_REQUEST>(i2d_OCSP_REQUEST, request.get());
    return {encoded.begin(), encoded.end()};
}

} // namespace basalt
