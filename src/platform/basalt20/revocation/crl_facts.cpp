#include <basalt/revocation/crl_facts.h>

#include <basalt/coding/der_writer.h>

#include <openssl/err.h>

#include <algorithm>
#include <array>

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

std::string octets_of_extension(X509_CRL* list, int nid) {
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

bool is_number(Bytes number) {
    const bool is_padded = number.size() > 1 && ((number[0] == 0x00 && number[1] < 0x80) ||
                                                 (number[0] == 0xFF && number[1] >= 0x80));
    return !number.empty() && !is_padded;
}

// It names one, or says nothing of it: of whom the entries behind it speak hangs on that.
bool has_known_issuer(const X509_REVOKED* entry) {
    int critical = 0;
    const OpensslOwner<GENERAL_NAMES, GENERAL_NAMES_free> issuer(static_cast<GENERAL_NAMES*>(
        X509_REVOKED_get_ext_d2i(entry, NID_certificate_issuer, &critical, nullptr)));
    return issuer ? sk_GENERAL_NAME_num(issuer.get()) > 0 : critical == -1;
}

bool is_known_entry(Bytes encoded) {
    const unsigned char* cursor = encoded.data();
    const OpensslOwner<X509_REVOKED, X509_REVOKED_free> entry(
        d2i_X509_REVOKED(nullptr, &cursor, static_cast<long>(encoded.size())));
    if (!entry || !has_known_issuer(entry.get())) {
        return false;
    }
    for (int i = 0; i < X509_REVOKED_get_ext_count(entry.get()); ++i) {
        X509_EXTENSION* extension = X509_REVOKED_get_ext(entry.get(), i);
        if (X509_EXTENSION_get_critical(extension) != 0 &&
            !is_known_of_entry(X509_EXTENSION_get_object(extension))) {
            return false;
        }
    }
    return true;
}

// Of thousands most have the same extensions, or none.
class KnownExtensions {
public:
    bool contains(Bytes extensions) const {
        return std::any_of(known_.begin(), known_.end(),
                           [&](Bytes known) { return same_bytes(known, extensions); });
    }
    void add(Bytes extensions) { known_[next_++ % known_.size()] = extensions; }

private:
    std::array<Bytes, 8> known_;
    std::size_t next_ = 0;
};

// One entry that isn't understood makes the list useless: it may say more than its own fate (RFC
// 5280, 5.3). What is made of all of them by OpenSSL takes ten times the memory of the bytes.
bool are_known(Bytes entries) try {
    KnownExtensions known;
    for (DerReader rest(entries); !rest.at_end();) {
        const Element entry = rest.take(tag::kSequence);
        DerReader fields(entry.contents);
        if (!is_number(fields.take(tag::kInteger).contents)) {
            return false;
        }
        if (const BYTE date = fields.take().tag;
            date != tag::kUtcTime && date != tag::kGeneralizedTime) {
            return false;
        }
        if (fields.at_end() || known.contains(fields.rest())) {
            continue;
        }
        if (!is_known_entry(entry.whole)) {
            ERR_clear_error();
            return false;
        }
        known.add(fields.rest());
    }
    return true;
} catch (const Fault&) {
    return false;
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

// Nothing when it isn't a list, or by what OpenSSL doesn't look at: the algorithm inside the signed
// part against the one outside it, byte for byte, and that a version, where one is written, is 2.
std::optional<CrlParts> parts_of(Bytes encoded) try {
    CrlParts parts;
    DerReader list(sole_element(encoded, tag::kSequence).contents);
    const Element tbs = list.take(tag::kSequence);
    parts.signed_part = tbs.whole;
    parts.outside = list.rest();
    DerReader fields(tbs.contents);
    if (const Element version = fields.take_if(tag::kInteger);
        version.tag != 0 && small_integer(version.contents) != X509_CRL_VERSION_2) {
        return std::nullopt;
    }
    if (!same_bytes(fields.take(tag::kSequence).whole, list.take(tag::kSequence).whole)) {
        return std::nullopt;
    }
    fields.take(tag::kSequence); // the issuer
    fields.take();               // the dates
    fields.take_if(tag::kUtcTime);
    fields.take_if(tag::kGeneralizedTime);
    parts.before_entries = tbs.contents.first(tbs.contents.size() - fields.rest().size());
    parts.entries = fields.take_if(tag::kSequence).contents;
    parts.behind_entries = fields.rest();
    fields.take_if(tag::context_constructed(0));
    fields.expect_end(); // OpenSSL finds entries behind what isn't written as it should be
    return parts;
} catch (const Fault&) {
    return std::nullopt;
}

CrlOwner decoded(Bytes encoded) {
    const unsigned char* cursor = encoded.data();
    CrlOwner list(d2i_X509_CRL(nullptr, &cursor, static_cast<long>(encoded.size())));
    if (list && cursor != encoded.data() + encoded.size()) {
        list.reset();
    }
    ERR_clear_error();
    return list;
}

CrlOwner without_entries(const CrlParts& parts) {
    std::string content(text_of(parts.before_entries));
    content += text_of(parts.behind_entries);
    content = element(tag::kSequence, content);
    content += text_of(parts.outside);
    const std::string list = element(tag::kSequence, content);
    return decoded(bytes_of(list));
}

// Numbers are not negative, and a point is for one kind of certificate.
bool goes_together(const CrlFacts& facts) {
    if (X509_CRL_get_version(facts.head.get()) > X509_CRL_VERSION_2 ||
        (X509_CRL_get_version(facts.head.get()) < X509_CRL_VERSION_2 &&
         X509_CRL_get_ext_count(facts.head.get()) > 0)) {
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

// Null when it can't be used, whatever its entries are.
std::shared_ptr<CrlFacts> read_head(const CrlParts& parts, CrlOwner head) {
    X509_CRL* list = head.get();
    if (list == nullptr) {
        return nullptr;
    }
    auto facts = std::make_shared<CrlFacts>();
    facts->parts = parts;
    facts->head = std::move(head);
    const std::optional<FileTicks> made = ticks_of(X509_CRL_get0_lastUpdate(list));
    const ASN1_TIME* next = X509_CRL_get0_nextUpdate(list);
    facts->next_update = ticks_of(next);
    const bool good = made && (next == nullptr || facts->next_update) &&
                      take_extension(list, NID_issuing_distribution_point, facts->point) &&
                      take_extension(list, NID_crl_number, facts->number) &&
                      take_extension(list, NID_delta_crl, facts->base_number) &&
                      take_expired_certs(list, facts->reaches_back_to) && goes_together(*facts) &&
                      extensions_are_known(list);
    ERR_clear_error();
    if (!good) {
        return nullptr;
    }
    facts->this_update = *made;
    if (facts->names_its_point()) {
        facts->point_names = PointNames(*facts->point->distpoint, facts->issuer());
    }
    facts->point_bytes = octets_of_extension(list, NID_issuing_distribution_point);
    facts->key_identifier_bytes = octets_of_extension(list, NID_authority_key_identifier);
    return facts;
}

} // namespace

bool CrlFacts::has_known_entries() const {
    if (!has_known_entries_) {
        has_known_entries_ = are_known(parts.entries);
    }
    return *has_known_entries_;
}

std::shared_ptr<const CrlFacts> read_crl(Bytes encoded) {
    const std::optional<CrlParts> parts = parts_of(encoded);
    return parts ? read_head(*parts, without_entries(*parts)) : nullptr;
}

std::size_t size_beside_entries(Bytes encoded) {
    const std::optional<CrlParts> parts = parts_of(encoded);
    return parts
               ? parts->before_entries.size() + parts->behind_entries.size() + parts->outside.size()
               : 0;
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
