// RevocationValues ::= SEQUENCE { crlVals [0] SEQUENCE OF CertificateList OPTIONAL,
//     ocspVals [1] SEQUENCE OF BasicOCSPResponse OPTIONAL, otherRevVals [2] OtherRevVals OPTIONAL
//     },
// with explicit tags.
#include <chronoseal/seal/long_term_values.h>

#include <algorithm>
#include <optional>
#include <utility>

#include <basalt/error_codes.h>
#include <chronoseal/seal/der_element.h>
#include <chronoseal/seal/der_writer.h>
#include <chronoseal/seal/ocsp_bytes.h>

namespace chronoseal {

namespace {

constexpr std::string_view kCertificateValues = "1.2.840.113549.1.9.16.2.23";
constexpr std::string_view kRevocationValues = "1.2.840.113549.1.9.16.2.24";
constexpr std::string_view kOcspInformation = "1.3.6.1.5.5.7.16.2";
constexpr unsigned kContext1 = der_tag::kContext0 + 1;

bool has(const std::vector<ByteView>& list, ByteView one) {
    return std::ranges::any_of(list,
                               [&](ByteView other) { return std::ranges::equal(other, one); });
}

[[noreturn]] void malformed() {
    throw Error(Category::refused, "malformed", CRYPT_E_ASN1_INTERNAL,
                "the evidence that the stamp holds already can't be read",
                "extend the stamp as it came from its authority");
}

// Nothing for contents that don't divide into elements.
std::optional<std::vector<ByteView>> entries_of(ByteView content) {
    std::vector<ByteView> entries;
    DerReader reader(content);
    while (!reader.done()) {
        const auto entry = reader.next();
        if (!entry) {
            return std::nullopt;
        }
        entries.push_back(entry->whole);
    }
    return entries;
}

std::vector<ByteView> entries_within(ByteView sequence) {
    const auto outer = DerReader(sequence).next(der_tag::kSequence);
    return entries_of(outer ? outer->content : ByteView{}).value_or(std::vector<ByteView>());
}

// OtherRevocationInfoFormat, [1] { OID, OCSPResponse } among the lists.
std::optional<ByteView> answer_among_lists(ByteView entry) {
    const auto other = DerReader(entry).next(kContext1);
    DerReader fields(other ? other->content : ByteView{});
    const auto type = fields.next(der_tag::kObjectIdentifier);
    const auto response = type ? fields.next(der_tag::kSequence) : std::nullopt;
    return response && dotted_oid(type->content) == kOcspInformation
               ? basic_response_of(response->whole)
               : std::nullopt;
}

} // namespace

LongTermValues::LongTermValues(SignedDataParts& parts) : parts_(parts) {
    has_certificates_ = parts.certificates();
    for (const ByteView entry : parts.revocations()) {
        if (const auto answer = answer_among_lists(entry)) {
            has_answers_.push_back(*answer);
        } else {
            has_lists_.push_back(entry);
        }
    }
    read_attributes();
}

void LongTermValues::read_attributes() {
    bool seen = false;
    for (const auto& attribute : parts_.unsigned_attributes(0)) {
        if (attribute.oid == kCertificateValues) {
            for (const ByteView one : entries_within(attribute.values)) {
                has_certificates_.push_back(one);
            }
        } else if (attribute.oid == kRevocationValues) {
            if (std::exchange(seen, true)) {
                malformed();
            }
            read_values(attribute.values);
        }
    }
}

void LongTermValues::read_values(ByteView values) {
    DerReader set(values);
    const auto outer = set.next(der_tag::kSequence);
    if (!outer || !set.done()) {
        malformed();
    }
    DerReader fields(outer->content);
    while (!fields.done()) {
        const auto field = fields.next();
        const auto list = field ? DerReader(field->content).next(der_tag::kSequence) : std::nullopt;
        const auto entries = list ? entries_of(list->content) : std::nullopt;
        if (!entries) {
            malformed();
        }
        if (field->tag == kContext1) {
            for (const ByteView answer : *entries) {
                has_answers_.push_back(answer);
                answers_.emplace_back(answer.begin(), answer.end());
            }
            continue;
        }
        if (field->tag == der_tag::kContext0) {
            has_lists_.insert(has_lists_.end(), entries->begin(), entries->end());
        }
        append(field->tag == der_tag::kContext0 ? before_ : behind_, field->whole);
    }
}

void LongTermValues::add_certificate(ByteView der) {
    if (!has(has_certificates_, der) && !has(parts_.certificates(), der)) {
        parts_.add_certificate(der);
        ++added_certificates_;
    }
}

void LongTermValues::add_list(ByteView der) {
    if (!has(has_lists_, der) && !has(parts_.revocations(), der)) {
        parts_.add_revocation_list(der);
        ++added_lists_;
    }
}

void LongTermValues::add_answer(ByteView response) {
    const auto basic = basic_response_of(response);
    const auto same = [&](const Bytes& other) { return std::ranges::equal(other, *basic); };
    if (basic && !has(has_answers_, *basic) && std::ranges::none_of(answers_, same)) {
        answers_.emplace_back(basic->begin(), basic->end());
        ++added_answers_;
    }
}

void LongTermValues::finish() {
    if (added_answers_ == 0) {
        return;
    }
    Bytes list;
    for (const Bytes& answer : answers_) {
        append(list, answer);
    }
    Bytes fields = before_;
    append(fields, der_element(kContext1, der_element(der_tag::kSequence, list)));
    append(fields, behind_);
    parts_.replace_unsigned_attribute(0, kRevocationValues,
                                      der_element(der_tag::kSequence, fields));
}

} // namespace chronoseal
