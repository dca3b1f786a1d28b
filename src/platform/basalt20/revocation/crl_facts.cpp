#include <basalt/revocation/crl_facts.h>

#include <openssl/err.h>

namespace basalt {

namespace {

std::string octets_of_extension(X509_EXTENSION* extension) {
    const ASN1_OCTET_STRING* data = X509_EXTENSION_get_data(extension);
    return {reinterpret_cast<const char*>(ASN1_STRING_get0_data(data)),
            static_cast<std::size_t>(ASN1_STRING_length(data))};
}

// False when the extension is there more than once or can't be read.
template <class Owner>
bool take_extension(X509_CRL* list, int nid, Owner& value) {
    int critical = 0;
    value.reset(
        static_cast<typename Owner::pointer>(X509_CRL_get_ext_d2i(list, nid, &critical, nullptr)));
    return value != nullptr || critical == -1;
}

std::string bytes_of(X509_CRL* list, int nid) {
    const int where = X509_CRL_get_ext_by_NID(list, nid, -1);
    return where < 0 ? std::string() : octets_of_extension(X509_CRL_get_ext(list, where));
}

bool is_expired_certs_extension(const ASN1_OBJECT* object) {
    char text[32];
    return OBJ_obj2txt(text, sizeof text, object, 1) > 0 && std::string_view(text) == "2.5.29.60";
}

bool is_known(const ASN1_OBJECT* object) {
    switch (OBJ_obj2nid(object)) {
    case NID_issuing_distribution_point:
    case NID_delta_crl:
    case NID_crl_number:
    case NID_authority_key_identifier:
        return true;
    default:
        return is_expired_certs_extension(object);
    }
}

bool is_known_of_entry(const ASN1_OBJECT* object) {
    switch (OBJ_obj2nid(object)) {
    case NID_crl_reason:
    case NID_invalidity_date:
    case NID_certificate_issuer:
    case NID_hold_instruction_code:
        return true;
    default:
        return false;
    }
}

bool extensions_are_known(X509_CRL* list) {
    for (int i = 0; i < X509_CRL_get_ext_count(list); ++i) {
        X509_EXTENSION* extension = X509_CRL_get_ext(list, i);
        if (X509_EXTENSION_get_critical(extension) != 0 &&
            !is_known(X509_EXTENSION_get_object(extension))) {
            return false;
        }
    }
    return true;
}

// One entry that isn't understood makes the list useless: it may say more than its own fate (RFC
// 5280, 5.3).
bool entries_are_known(X509_CRL* list) {
    STACK_OF(X509_REVOKED)* entries = X509_CRL_get_REVOKED(list);
    for (int i = 0; i < sk_X509_REVOKED_num(entries); ++i) {
        const X509_REVOKED* entry = sk_X509_REVOKED_value(entries, i);
        for (int j = 0; j < X509_REVOKED_get_ext_count(entry); ++j) {
            X509_EXTENSION* extension = X509_REVOKED_get_ext(entry, j);
            if (X509_EXTENSION_get_critical(extension) != 0 &&
                !is_known_of_entry(X509_EXTENSION_get_object(extension))) {
                return false;
            }
        }
    }
    return true;
}

// The extension's GeneralizedTime; true as well when there is none.
bool take_expired_certs(X509_CRL* list, std::optional<FileTicks>& reaches_back_to) {
    for (int i = 0; i < X509_CRL_get_ext_count(list); ++i) {
        X509_EXTENSION* extension = X509_CRL_get_ext(list, i);
        if (!is_expired_certs_extension(X509_EXTENSION_get_object(extension))) {
            continue;
        }
        const ASN1_OCTET_STRING* data = X509_EXTENSION_get_data(extension);
        const unsigned char* cursor = ASN1_STRING_get0_data(data);
        const OpensslOwner<ASN1_GENERALIZEDTIME, ASN1_GENERALIZEDTIME_free> time(
            d2i_ASN1_GENERALIZEDTIME(nullptr, &cursor, ASN1_STRING_length(data)));
        reaches_back_to = ticks_of(time.get());
        return reaches_back_to.has_value();
    }
    return true;
}

// What OpenSSL doesn't look at: the algorithm inside the signed part against the one outside it,
// byte for byte, and that a version, where one is written, is 2.
bool frame_is_right(Bytes encoded) {
    try {
        DerReader list(sole_element(encoded, tag::kSequence).contents);
        DerReader tbs(list.take(tag::kSequence).contents);
        if (const Element version = tbs.take_if(tag::kInteger);
            version.tag != 0 && small_integer(version.contents) != X509_CRL_VERSION_2) {
            return false;
        }
        return same_bytes(tbs.take(tag::kSequence).whole, list.take(tag::kSequence).whole);
    } catch (const Fault&) {
        return false;
    }
}

// Numbers are not negative, and a point is for one kind of certificate.
bool goes_together(const CrlFacts& facts) {
    if (X509_CRL_get_version(facts.list.get()) > X509_CRL_VERSION_2 ||
        (X509_CRL_get_version(facts.list.get()) < X509_CRL_VERSION_2 &&
         X509_CRL_get_ext_count(facts.list.get()) > 0)) {
        return false;
    }
    for (const IntegerOwner* number : {&facts.number, &facts.base_number}) {
        if (*number && ASN1_STRING_type(number->get()) == V_ASN1_NEG_INTEGER) {
            return false;
        }
    }
    if (facts.is_delta() && !facts.number) {
        return false;
    }
    if (!facts.point) {
        return true;
    }
    const ISSUING_DIST_POINT& point = *facts.point;
    return (point.onlyuser > 0) + (point.onlyCA > 0) + (point.onlyattr > 0) <= 1;
}

std::shared_ptr<const CrlFacts> read_owned(CrlOwner owned, Bytes encoded) {
    X509_CRL* list = owned.get();
    if (list == nullptr) {
        ERR_clear_error();
        return nullptr;
    }
    auto facts = std::make_shared<CrlFacts>();
    facts->list = std::move(owned);
    const std::optional<FileTicks> made = ticks_of(X509_CRL_get0_lastUpdate(list));
    const ASN1_TIME* next = X509_CRL_get0_nextUpdate(list);
    facts->next_update = ticks_of(next);
    const bool good = made && (next == nullptr || facts->next_update) && frame_is_right(encoded) &&
                      take_extension(list, NID_issuing_distribution_point, facts->point) &&
                      take_extension(list, NID_crl_number, facts->number) &&
                      take_extension(list, NID_delta_crl, facts->base_number) &&
                      take_expired_certs(list, facts->reaches_back_to) && goes_together(*facts) &&
                      extensions_are_known(list) && entries_are_known(list);
    ERR_clear_error();
    if (!good) {
        return nullptr;
    }
    facts->this_update = *made;
    if (facts->names_its_point()) {
        facts->point_names = PointNames(*facts->point->distpoint, facts->issuer());
    }
    facts->point_bytes = bytes_of(list, NID_issuing_distribution_point);
    facts->key_identifier_bytes = bytes_of(list, NID_authority_key_identifier);
    return facts;
}

} // namespace

std::shared_ptr<const CrlFacts> read_crl(Bytes encoded) {
    const unsigned char* cursor = encoded.data();
    CrlOwner list(d2i_X509_CRL(nullptr, &cursor, static_cast<long>(encoded.size())));
    if (list && cursor != encoded.data() + encoded.size()) {
        list.reset();
    }
    return read_owned(std::move(list), encoded);
}

std::shared_ptr<const CrlFacts> read_crl(X509_CRL* list, Bytes encoded) {
    X509_CRL_up_ref(list);
    return read_owned(CrlOwner(list), encoded);
}

bool continues(const CrlFacts& delta, const CrlFacts& base) {
    return delta.is_delta() && !base.is_delta() && base.number &&
           X509_NAME_cmp(delta.issuer(), base.issuer()) == 0 &&
           delta.point_bytes == base.point_bytes &&
           delta.key_identifier_bytes == base.key_identifier_bytes &&
           ASN1_INTEGER_cmp(delta.base_number.get(), base.number.get()) <= 0 &&
           ASN1_INTEGER_cmp(base.number.get(), delta.number.get()) < 0;
}

} // namespace basalt
