#include <chronoseal/seal/signer_naming.h>

#include <algorithm>
#include <string_view>

#include <chronoseal/seal/der_element.h>
#include <chronoseal/seal/platform_text.h>
#include <chronoseal/seal/running_hash.h>

namespace chronoseal {

namespace {

constexpr std::string_view kVersion1 = "1.2.840.113549.1.9.16.2.12";
constexpr std::string_view kVersion2 = "1.2.840.113549.1.9.16.2.47";
constexpr std::string_view kOther = "1.2.840.113549.1.9.16.2.19";
constexpr std::string_view kSha1 = "1.3.14.3.2.26";
constexpr std::string_view kSha256 = "2.16.840.1.101.3.4.2.1";

constexpr unsigned kDirectoryName = 0xA4;

// The contents of the only element of that tag; nothing where there is more.
std::optional<ByteView> only(ByteView bytes, unsigned tag) {
    DerReader reader(bytes);
    const auto element = reader.next(tag);
    return element && reader.done() ? std::optional(element->content) : std::nullopt;
}

ByteView without_zeros(ByteView number) {
    while (number.size() > 1 && number[0] == std::byte{0}) {
        number = number.subspan(1);
    }
    return number;
}

// IssuerSerial, of one directoryName.
bool read_issuer(ByteView fields, SignerNaming& naming) {
    DerReader reader(fields);
    const auto names = reader.next(der_tag::kSequence);
    const auto serial = reader.next(der_tag::kInteger);
    const auto name = names ? only(names->content, kDirectoryName) : std::nullopt;
    if (!name || !serial || !reader.done() || !only(*name, der_tag::kSequence)) {
        return false;
    }
    naming.issuer = copy_of(*name);
    naming.serial = copy_of(serial->content);
    return true;
}

std::optional<SignerNaming> read(ByteView attribute, bool has_algorithm) {
    const auto outer = DerReader(attribute).next(der_tag::kSequence);
    const auto list = outer ? DerReader(outer->content).next(der_tag::kSequence) : std::nullopt;
    const auto first = list ? DerReader(list->content).next(der_tag::kSequence) : std::nullopt;
    if (!first) {
        return std::nullopt;
    }
    SignerNaming naming;
    naming.hash_oid = has_algorithm ? kSha256 : kSha1;
    DerReader fields(first->content);
    if (has_algorithm && fields.peek() == der_tag::kSequence) {
        const auto algorithm = DerReader(fields.next()->content).next(der_tag::kObjectIdentifier);
        naming.hash_oid = algorithm ? dotted_oid(algorithm->content) : std::string();
    }
    const auto hash = fields.next(der_tag::kOctetString);
    if (!hash || naming.hash_oid.empty()) {
        return std::nullopt;
    }
    naming.hash = copy_of(hash->content);
    if (!fields.done()) {
        const auto issuer = fields.next(der_tag::kSequence);
        if (!issuer || !fields.done() || !read_issuer(issuer->content, naming)) {
            return std::nullopt;
        }
    }
    return naming;
}

struct Issued {
    ByteView issuer;
    ByteView serial;
};

std::optional<Issued> issued(ByteView certificate) {
    const auto outer = DerReader(certificate).next(der_tag::kSequence);
    const auto body = outer ? DerReader(outer->content).next(der_tag::kSequence) : std::nullopt;
    if (!body) {
        return std::nullopt;
    }
    DerReader fields(body->content);
    fields.next(der_tag::kContext0); // the version
    const auto serial = fields.next(der_tag::kInteger);
    const auto algorithm = fields.next(der_tag::kSequence);
    const auto issuer = fields.next(der_tag::kSequence);
    return serial && algorithm && issuer
               ? std::optional(Issued{issuer->whole, without_zeros(serial->content)})
               : std::nullopt;
}

} // namespace

std::vector<SignerNaming> signer_namings(const CRYPT_ATTRIBUTES& attributes) {
    std::vector<SignerNaming> namings;
    std::string_view read_before;
    for (DWORD i = 0; i < attributes.cAttr; ++i) {
        const CRYPT_ATTRIBUTE& attribute = attributes.rgAttr[i];
        const std::string_view oid = attribute.pszObjId;
        if (oid != kVersion1 && oid != kVersion2) {
            if (oid == kOther) {
                return {};
            }
            continue;
        }
        auto naming = attribute.cValue == 1 && oid != read_before
                          ? read(view_of(attribute.rgValue[0].pbData, attribute.rgValue[0].cbData),
                                 oid == kVersion2)
                          : std::nullopt;
        if (!naming) {
            return {};
        }
        namings.push_back(*std::move(naming));
        read_before = oid;
    }
    return namings.size() <= 2 ? namings : std::vector<SignerNaming>();
}

bool names(const SignerNaming& naming, const CertificateInfo& certificate) {
    const auto algorithm = HashAlgorithmAccess::find(naming.hash_oid);
    if (!algorithm || Digest::of(certificate.der, *algorithm).value() != naming.hash) {
        return false;
    }
    if (naming.issuer.empty()) {
        return true;
    }
    const auto found = issued(certificate.der);
    return found && std::ranges::equal(found->issuer, naming.issuer) &&
           std::ranges::equal(found->serial, without_zeros(naming.serial));
}

} // namespace chronoseal
