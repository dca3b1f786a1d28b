#include <basalt/chain/path_usage.h>

#include <basalt/certificate/extended_key_usage.h>
#include <basalt/certificate/extension_value.h>
#include <basalt/coding/openssl_owner.h>

#include <openssl/x509v3.h>

#include <algorithm>

namespace basalt {

namespace {

constexpr char kAnyUsage[] = "2.5.29.37.0";
constexpr char kTimeStamping[] = "1.3.6.1.5.5.7.3.8";

using Usages = OpensslOwner<EXTENDED_KEY_USAGE, EXTENDED_KEY_USAGE_free>;

// The content of the identifier; empty for text that is none.
std::vector<BYTE> identifier_of(const std::string& text) {
    const OpensslOwner<ASN1_OBJECT, ASN1_OBJECT_free> object(OBJ_txt2obj(text.c_str(), 1));
    if (!object) {
        return {};
    }
    const unsigned char* octets = OBJ_get0_data(object.get());
    return {octets, octets + OBJ_length(object.get())};
}

bool has_usage(Bytes usages, const std::string& wanted) {
    static const std::vector<BYTE> any = identifier_of(kAnyUsage);
    return names_usage(usages, identifier_of(wanted)) || names_usage(usages, any);
}

Usages usages_of(X509* certificate) {
    return Usages(static_cast<EXTENDED_KEY_USAGE*>(
        X509_get_ext_d2i(certificate, NID_ext_key_usage, nullptr, nullptr)));
}

bool allows(X509* certificate, const UsageQuestion& question) {
    if (question.usages.empty() || (X509_get_extension_flags(certificate) & EXFLAG_XKUSAGE) == 0) {
        return true;
    }
    const Bytes usages = extension_value(certificate, NID_ext_key_usage);
    const auto allowed = [&](const std::string& wanted) { return has_usage(usages, wanted); };
    return question.any_of_them
               ? std::any_of(question.usages.begin(), question.usages.end(), allowed)
               : std::all_of(question.usages.begin(), question.usages.end(), allowed);
}

// RFC 3161, 2.3: time stamping as the sole extended usage, critical. OpenSSL's purpose test asks
// for that as far as it knows the usages, and lets a CA pass.
bool is_time_stamp_signer(X509* certificate) {
    const Usages usages = usages_of(certificate);
    const bool is_ca = (X509_get_extension_flags(certificate) & EXFLAG_CA) != 0;
    return !is_ca && usages && sk_ASN1_OBJECT_num(usages.get()) == 1 &&
           X509_check_purpose(certificate, X509_PURPOSE_TIMESTAMP_SIGN, 0) == 1;
}

std::size_t comparisons_for_usages(const PoolCertificate& certificate) {
    constexpr std::size_t kOctetsForOne = 16;
    return extension_value(certificate.openssl(), NID_ext_key_usage).size() / kOctetsForOne;
}

bool may_sign_certificates(X509* certificate) {
    return X509_check_ca(certificate) == 1 &&
           (X509_get_key_usage(certificate) & KU_KEY_CERT_SIGN) != 0;
}

} // namespace

UsageQuestion asked_of_authorities(const UsageQuestion& question) {
    return question.is_time_stamp ? UsageQuestion{{kTimeStamping}} : question;
}

bool asks_the_same_of_authorities(const UsageQuestion& one, const UsageQuestion& other) {
    const UsageQuestion a = asked_of_authorities(one);
    const UsageQuestion b = asked_of_authorities(other);
    return a.usages == b.usages && (a.usages.size() < 2 || a.any_of_them == b.any_of_them);
}

bool implies(const UsageQuestion& one, const UsageQuestion& other) {
    const bool asks_for_nothing = other.usages.empty() && !other.is_time_stamp;
    const bool asks_for_part = one.is_time_stamp && !other.is_time_stamp &&
                               other.usages == std::vector<std::string>{kTimeStamping};
    return asks_for_nothing || asks_for_part;
}

std::size_t comparisons_for_usages(const Path& path) {
    std::size_t comparisons = 0;
    for (const PoolCertificate* each : path) {
        comparisons += comparisons_for_usages(*each);
    }
    return comparisons;
}

PathSearch::Bar bar_for(const UsageQuestion& question, Budget& budget) {
    return [usages = asked_of_authorities(question), &budget](const PoolCertificate& authority) {
        X509* certificate = authority.openssl();
        if (!may_sign_certificates(certificate)) {
            return Barred::yes;
        }
        if (!budget.take_comparisons(comparisons_for_usages(authority), !authority.is_own())) {
            return Barred::untold;
        }
        return allows(certificate, usages) ? Barred::no : Barred::yes;
    };
}

std::vector<bool> misused(const Path& path, const UsageQuestion& question) {
    std::vector<bool> found(path.size(), false);
    const UsageQuestion usages = asked_of_authorities(question);
    if (question.is_time_stamp) {
        found[0] = !is_time_stamp_signer(path.front()->openssl());
    }
    for (std::size_t i = 0; i < path.size(); ++i) {
        const bool is_trusted = i + 1 == path.size() && path[i]->is_anchor && i > 0;
        found[i] = found[i] || (!is_trusted && !allows(path[i]->openssl(), usages));
    }
    return found;
}

} // namespace basalt
