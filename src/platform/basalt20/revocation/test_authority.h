// For tests: certificates, lists and answers with any content and any date. Times are hours from
// the moment of a stamp in 2030, so that nothing hangs on today's date.
#pragma once

#include <basalt/certificate/x509_cache.h>
#include <basalt/coding/file_ticks.h>
#include <basalt/coding/openssl_owner.h>
#include <basalt/revocation/signer_paths.h>

#include <openssl/conf.h>
#include <openssl/ocsp.h>
#include <openssl/x509v3.h>

#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace basalt::test {

inline constexpr int kNever = -1'000'000; // no such time

inline constexpr std::time_t kStampSeconds = 1'900'000'000;

inline std::time_t unix_hours(int hours) {
    return kStampSeconds + std::time_t{3600} * hours;
}

inline FileTicks ticks_at(int hours) {
    return static_cast<FileTicks>(unix_hours(hours) + kUnixEpochSeconds) * kTicksPerSecond;
}

// Who has a key and a certificate.
struct Party {
    std::string name;
    CertificateEntry entry;
    EvpKey private_key;

    X509* certificate() const { return entry->certificate.get(); }
};

struct CertificateSpec {
    std::string name{};
    const Party* issuer = nullptr; // null: itself
    std::string extensions{};      // of OpenSSL's configuration, sections behind them
    int begin = -10'000;
    int end = 10'000;
    std::string serial{}; // hexadecimal; empty: the next number
    const Party* same_key = nullptr;
    EVP_PKEY* key = nullptr; // null: a new one on P-256
};

// Of any length: as MBSTRING_UTF8 OpenSSL would refuse names of more than 64 characters.
inline void set_name(X509_NAME* to, const std::string& name) {
    X509_NAME_add_entry_by_txt(to, "CN", V_ASN1_UTF8STRING,
                               reinterpret_cast<const unsigned char*>(name.c_str()), -1, -1, 0);
}

using ConfigOwner = OpensslOwner<CONF, NCONF_free>;

inline ConfigOwner config_of(const std::string& extensions) {
    ConfigOwner config(NCONF_new(nullptr));
    const std::string text = "[extensions]\n" + extensions + "\n";
    const OpensslOwner<BIO, BIO_free> bio(
        BIO_new_mem_buf(text.data(), static_cast<int>(text.size())));
    long line = 0;
    if (NCONF_load_bio(config.get(), bio.get(), &line) != 1) {
        throw std::logic_error("extensions that can't be read: " + extensions);
    }
    return config;
}

inline std::unique_ptr<Party> make_party(const CertificateSpec& spec) {
    static long last_serial = 100;
    auto party = std::make_unique<Party>();
    party->name = spec.name;
    if (spec.same_key != nullptr) {
        EVP_PKEY_up_ref(spec.same_key->private_key.get());
        party->private_key.reset(spec.same_key->private_key.get());
    } else if (spec.key != nullptr) {
        EVP_PKEY_up_ref(spec.key);
        party->private_key.reset(spec.key);
    } else {
        party->private_key.reset(EVP_EC_gen("P-256"));
    }
    OpensslOwner<X509, X509_free> x(X509_new());
    X509_set_version(x.get(), X509_VERSION_3);
    if (spec.serial.empty()) {
        ASN1_INTEGER_set(X509_get_serialNumber(x.get()), ++last_serial);
    } else {
        BIGNUM* number = nullptr;
        BN_hex2bn(&number, spec.serial.c_str());
        BN_to_ASN1_INTEGER(number, X509_get_serialNumber(x.get()));
        BN_free(number);
    }
    set_name(X509_get_subject_name(x.get()), spec.name);
    set_name(X509_get_issuer_name(x.get()), spec.issuer != nullptr ? spec.issuer->name : spec.name);
    ASN1_TIME_set(X509_getm_notBefore(x.get()), unix_hours(spec.begin));
    ASN1_TIME_set(X509_getm_notAfter(x.get()), unix_hours(spec.end));
    X509_set_pubkey(x.get(), party->private_key.get());
    const ConfigOwner config = config_of(spec.extensions);
    X509V3_CTX context;
    X509V3_set_ctx(&context, spec.issuer != nullptr ? spec.issuer->certificate() : x.get(), x.get(),
                   nullptr, nullptr, 0);
    X509V3_set_nconf(&context, config.get());
    if (X509V3_EXT_add_nconf(config.get(), &context, "extensions", x.get()) != 1) {
        throw std::logic_error("extensions that can't be made: " + spec.extensions);
    }
    X509_sign(x.get(), (spec.issuer != nullptr ? *spec.issuer : *party).private_key.get(),
              EVP_sha256());
    // Through its encoding, so that it is like one that came in.
    unsigned char* der = nullptr;
    const int size = i2d_X509(x.get(), &der);
    const unsigned char* cursor = der;
    auto entry = std::make_shared<X509Entry>();
    entry->certificate.reset(d2i_X509(nullptr, &cursor, size));
    OPENSSL_free(der);
    entry->key = std::make_shared<PublicKey>(EvpKey(X509_get_pubkey(entry->certificate.get())));
    party->entry = std::move(entry);
    return party;
}

// Another certificate for the key of that party.
inline std::unique_ptr<Party> make_twin(const Party& party, CertificateSpec spec) {
    spec.same_key = &party;
    return make_party(spec);
}

inline const char kAuthority[] = "basicConstraints=critical,CA:TRUE\n"
                                 "keyUsage=critical,keyCertSign,cRLSign\n"
                                 "subjectKeyIdentifier=hash";

// An authority of which only the name tells who issued what.
inline const char kPlainAuthority[] = "basicConstraints=critical,CA:TRUE\n";

inline const char kStamper[] = "basicConstraints=critical,CA:FALSE\n"
                               "extendedKeyUsage=critical,timeStamping\n";

inline std::string encoded(const X509* certificate) {
    unsigned char* der = nullptr;
    const int size = i2d_X509(certificate, &der);
    std::string bytes(reinterpret_cast<char*>(der), static_cast<std::size_t>(size));
    OPENSSL_free(der);
    return bytes;
}

inline std::string encoded(const Party* party) {
    return encoded(party->certificate());
}

struct ListEntry {
    const Party* certificate;
    int since;
    std::optional<int> reason{};
    const Party* issuer = nullptr; // for indirect lists
    bool critical_unknown = false;
};

struct ListSpec {
    const Party* signer = nullptr;
    int made = 0;
    int next = kNever;
    std::vector<ListEntry> entries{};
    std::string extensions{};
    int reaches = kNever;        // expiredCertsOnCRL
    const Party* name = nullptr; // of the issuer, when it isn't the signer's
    const EVP_MD* digest = EVP_sha256();
    int strangers = 0; // entries about certificates that nobody has
};

inline std::string der_of_generalized_time(int hours) {
    const OpensslOwner<ASN1_GENERALIZEDTIME, ASN1_GENERALIZEDTIME_free> time(
        ASN1_GENERALIZEDTIME_set(nullptr, unix_hours(hours)));
    unsigned char* der = nullptr;
    const int size = i2d_ASN1_GENERALIZEDTIME(time.get(), &der);
    std::string bytes(reinterpret_cast<char*>(der), static_cast<std::size_t>(size));
    OPENSSL_free(der);
    return bytes;
}

inline OpensslOwner<X509_EXTENSION, X509_EXTENSION_free>
make_extension(const char* oid, bool critical, const std::string& content) {
    const OpensslOwner<ASN1_OBJECT, ASN1_OBJECT_free> object(OBJ_txt2obj(oid, 1));
    const OpensslOwner<ASN1_OCTET_STRING, ASN1_OCTET_STRING_free> octets(ASN1_OCTET_STRING_new());
    ASN1_OCTET_STRING_set(octets.get(), reinterpret_cast<const unsigned char*>(content.data()),
                          static_cast<int>(content.size()));
    return OpensslOwner<X509_EXTENSION, X509_EXTENSION_free>(
        X509_EXTENSION_create_by_OBJ(nullptr, object.get(), critical ? 1 : 0, octets.get()));
}

inline const char kUnknownOid[] = "1.2.3.4.5";

inline void add_entry(X509_CRL* list, const ListEntry& spec) {
    X509_REVOKED* entry = X509_REVOKED_new();
    X509_REVOKED_set_serialNumber(entry, X509_get_serialNumber(spec.certificate->certificate()));
    const OpensslOwner<ASN1_TIME, ASN1_TIME_free> since(
        ASN1_TIME_set(nullptr, unix_hours(spec.since)));
    X509_REVOKED_set_revocationDate(entry, since.get());
    if (spec.reason) {
        const OpensslOwner<ASN1_ENUMERATED, ASN1_ENUMERATED_free> reason(ASN1_ENUMERATED_new());
        ASN1_ENUMERATED_set(reason.get(), *spec.reason);
        X509_REVOKED_add1_ext_i2d(entry, NID_crl_reason, reason.get(), 0, 0);
    }
    if (spec.issuer != nullptr) {
        const OpensslOwner<GENERAL_NAMES, GENERAL_NAMES_free> names(GENERAL_NAMES_new());
        GENERAL_NAME* name = GENERAL_NAME_new();
        GENERAL_NAME_set0_value(name, GEN_DIRNAME,
                                X509_NAME_dup(X509_get_subject_name(spec.issuer->certificate())));
        sk_GENERAL_NAME_push(names.get(), name);
        X509_REVOKED_add1_ext_i2d(entry, NID_certificate_issuer, names.get(), 1, 0);
    }
    if (spec.critical_unknown) {
        X509_REVOKED_add_ext(entry, make_extension(kUnknownOid, true, "x").get(), -1);
    }
    X509_CRL_add0_revoked(list, entry);
}

inline void add_strangers(X509_CRL* list, int count) {
    const OpensslOwner<ASN1_TIME, ASN1_TIME_free> since(ASN1_TIME_set(nullptr, unix_hours(-5)));
    const OpensslOwner<ASN1_INTEGER, ASN1_INTEGER_free> number(ASN1_INTEGER_new());
    for (int i = 0; i < count; ++i) {
        X509_REVOKED* entry = X509_REVOKED_new();
        ASN1_INTEGER_set(number.get(), 1'000'000 + i);
        X509_REVOKED_set_serialNumber(entry, number.get());
        X509_REVOKED_set_revocationDate(entry, since.get());
        X509_CRL_add0_revoked(list, entry);
    }
}

inline std::string make_list(const ListSpec& spec) {
    const OpensslOwner<X509_CRL, X509_CRL_free> list(X509_CRL_new());
    X509_CRL_set_version(list.get(), X509_CRL_VERSION_2);
    const Party& named = spec.name != nullptr ? *spec.name : *spec.signer;
    X509_CRL_set_issuer_name(list.get(), X509_get_subject_name(named.certificate()));
    const OpensslOwner<ASN1_TIME, ASN1_TIME_free> made(
        ASN1_TIME_set(nullptr, unix_hours(spec.made)));
    X509_CRL_set1_lastUpdate(list.get(), made.get());
    if (spec.next != kNever) {
        const OpensslOwner<ASN1_TIME, ASN1_TIME_free> next(
            ASN1_TIME_set(nullptr, unix_hours(spec.next)));
        X509_CRL_set1_nextUpdate(list.get(), next.get());
    }
    for (const ListEntry& entry : spec.entries) {
        add_entry(list.get(), entry);
    }
    add_strangers(list.get(), spec.strangers);
    X509_CRL_sort(list.get());
    const ConfigOwner config = config_of(spec.extensions);
    X509V3_CTX context;
    X509V3_set_ctx(&context, spec.signer->certificate(), nullptr, nullptr, list.get(), 0);
    X509V3_set_nconf(&context, config.get());
    if (X509V3_EXT_CRL_add_nconf(config.get(), &context, "extensions", list.get()) != 1) {
        throw std::logic_error("extensions that can't be made: " + spec.extensions);
    }
    if (spec.reaches != kNever) {
        X509_CRL_add_ext(
            list.get(),
            make_extension("2.5.29.60", false, der_of_generalized_time(spec.reaches)).get(), -1);
    }
    X509_CRL_sign(list.get(), spec.signer->private_key.get(), spec.digest);
    unsigned char* der = nullptr;
    const int size = i2d_X509_CRL(list.get(), &der);
    std::string bytes(reinterpret_cast<char*>(der), static_cast<std::size_t>(size));
    OPENSSL_free(der);
    return bytes;
}

struct AnswerEntry {
    const Party* certificate;
    const Party* issuer;
    int status = V_OCSP_CERTSTATUS_GOOD;
    int made = 0;
    int next = kNever;
    int since = 0; // of a revoked one
    int reason = -1;
    int reaches = kNever; // archiveCutoff
    bool critical_unknown = false;
};

struct AnswerSpec {
    const Party* signer = nullptr;
    std::vector<AnswerEntry> entries{};
    int produced = kNever; // kNever: as the first entry
    bool critical_unknown = false;
    std::vector<const Party*> certificates{}; // beside the signer's
    std::string behind_inside{};              // bytes behind the basic answer
    std::string behind_octets{};              // behind the octets that hold it
    std::string behind_fields{};              // behind the last field of the whole
    std::string behind{};                     // bytes behind the answer
    const EVP_MD* digest = EVP_sha256();
};

inline void add_entry(OCSP_BASICRESP* basic, const AnswerEntry& spec) {
    const auto time = [](int hours) {
        return OpensslOwner<ASN1_TIME, ASN1_TIME_free>(
            hours == kNever ? nullptr : ASN1_GENERALIZEDTIME_set(nullptr, unix_hours(hours)));
    };
    OCSP_CERTID* id =
        OCSP_cert_to_id(EVP_sha1(), spec.certificate->certificate(), spec.issuer->certificate());
    OCSP_SINGLERESP* entry =
        OCSP_basic_add1_status(basic, id, spec.status, spec.reason, time(spec.since).get(),
                               time(spec.made).get(), time(spec.next).get());
    OCSP_CERTID_free(id);
    if (spec.reaches != kNever) {
        OCSP_SINGLERESP_add_ext(
            entry,
            make_extension("1.3.6.1.5.5.7.48.1.6", false, der_of_generalized_time(spec.reaches))
                .get(),
            -1);
    }
    if (spec.critical_unknown) {
        OCSP_SINGLERESP_add_ext(entry, make_extension(kUnknownOid, true, "x").get(), -1);
    }
}

inline std::string der_element(int tag, const std::string& content) {
    const auto octet = [](std::size_t value) { return static_cast<char>(value); };
    return std::string{octet(static_cast<std::size_t>(tag)), '\x83', octet(content.size() >> 16),
                       octet(content.size() >> 8), octet(content.size() & 0xFF)} +
           content;
}

inline std::string make_answer(const AnswerSpec& spec) {
    const OpensslOwner<OCSP_BASICRESP, OCSP_BASICRESP_free> basic(OCSP_BASICRESP_new());
    for (const AnswerEntry& entry : spec.entries) {
        add_entry(basic.get(), entry);
    }
    if (spec.critical_unknown) {
        OCSP_BASICRESP_add_ext(basic.get(), make_extension(kUnknownOid, true, "x").get(), -1);
    }
    const int produced = spec.produced != kNever ? spec.produced : spec.entries.at(0).made;
    ASN1_GENERALIZEDTIME_set(
        const_cast<ASN1_GENERALIZEDTIME*>(OCSP_resp_get0_produced_at(basic.get())),
        unix_hours(produced));
    STACK_OF(X509)* others = sk_X509_new_null();
    for (const Party* party : spec.certificates) {
        sk_X509_push(others, party->certificate());
    }
    OCSP_basic_sign(basic.get(), spec.signer->certificate(), spec.signer->private_key.get(),
                    spec.digest, others, OCSP_NOTIME);
    sk_X509_free(others);
    unsigned char* der = nullptr;
    const int size = i2d_OCSP_BASICRESP(basic.get(), &der);
    const std::string inner(reinterpret_cast<char*>(der), static_cast<std::size_t>(size));
    OPENSSL_free(der);
    const std::string type = "\x06\x09\x2B\x06\x01\x05\x05\x07\x30\x01\x01";
    const std::string octets = der_element(0x04, inner + spec.behind_inside);
    const std::string status("\x0A\x01\x00", 3); // successful
    const std::string response = der_element(0x30, type + octets + spec.behind_octets);
    return der_element(0x30, status + der_element(0xA0, response) + spec.behind_fields) +
           spec.behind;
}

inline Bytes bytes_of(const std::string& text) {
    return {reinterpret_cast<const BYTE*>(text.data()), text.size()};
}

// Paths among a few certificates, by names and signatures alone.
class FewPaths : public SignerPaths {
public:
    void add(const Party& party) { add(party.entry); }
    void add(const CertificateEntry& entry) { entries_.push_back(entry); }

    // How often somebody has looked for certificates, and for paths.
    unsigned lookups() const { return lookups_; }
    unsigned searches() const { return searches_; }

    std::shared_ptr<const NamedCertificates> named(const ListMaker& maker) override {
        ++lookups_;
        auto named = std::make_shared<NamedCertificates>();
        for (const CertificateEntry& entry : entries_) {
            if (X509_NAME_cmp(X509_get_subject_name(entry->certificate.get()), maker.subject) ==
                0) {
                named->found.push_back({entry, false});
            }
        }
        return named;
    }

    PathFound any_path(const EvidenceMaker& maker, const PathJudge& judge) override {
        return has_path(maker, judge) ? PathFound::taken : PathFound::none;
    }

    KeyHeard hear_of_key(const CertificateEntry&, const CertificateEntry&) override {
        return KeyHeard::nothing;
    }

private:
    bool has_path(const EvidenceMaker& maker, const PathJudge& judge) {
        ++searches_;
        CertificatePath path{maker.signer};
        for (std::size_t i = 0; i < entries_.size() && path.back() != maker.anchor; ++i) {
            X509* child = path.back()->certificate.get();
            const auto above =
                std::find_if(entries_.begin(), entries_.end(), [&](const CertificateEntry& e) {
                    return e != path.back() &&
                           X509_verify(child, X509_get0_pubkey(e->certificate.get())) == 1;
                });
            if (above == entries_.end() || *ticks_of(X509_get0_notBefore(child)) > maker.at ||
                *ticks_of(X509_get0_notAfter(child)) < maker.at) {
                return false;
            }
            path.push_back(*above);
        }
        return path.back() == maker.anchor && judge(path);
    }

    std::vector<CertificateEntry> entries_;
    unsigned lookups_ = 0;
    unsigned searches_ = 0;
};

} // namespace basalt::test
