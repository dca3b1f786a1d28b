// Putting evidence into the stamps of a signature. Each is extended as one that stands alone, and
// goes back to its place; what stands around it stays octet for octet.
#include <algorithm>
#include <array>
#include <map>

#include <basalt/error_codes.h>
#include <chronoseal/client/result_codes.h>
#include <chronoseal/seal/byte_kind.h>
#include <chronoseal/seal/cms_content.h>
#include <chronoseal/seal/der_element.h>
#include <chronoseal/seal/der_writer.h>
#include <chronoseal/seal/extension.h>
#include <chronoseal/seal/failure.h>
#include <chronoseal/seal/signed_data_parts.h>

namespace chronoseal {

namespace {

// Attributes with stamps or records over the unsigned attributes before them: they would be over
// something else once those are changed (RFC 5126, 6.3.5 and 6.4; ETSI EN 319 122-1, 5.5.3).
constexpr std::array<std::string_view, 6> kCovering{
    "1.2.840.113549.1.9.16.2.25", "1.2.840.113549.1.9.16.2.27", "1.2.840.113549.1.9.16.2.48",
    "1.2.840.113549.1.9.16.2.49", "1.2.840.113549.1.9.16.2.50", "0.4.0.1733.2.4"};
constexpr std::string_view kNestedSignature = "1.3.6.1.4.1.311.2.4.1";

constexpr std::string_view kCountersignature = "1.2.840.113549.1.9.6";

bool is_stamp(const SignedDataParts::Attribute& attribute) {
    return attribute.oid == kSignatureTimeStamp || attribute.oid == kAuthenticodeTimeStamp;
}

bool is_covering(const SignedDataParts::Attribute& attribute) {
    return std::ranges::find(kCovering, attribute.oid) != kCovering.end();
}

Error about_signer(std::size_t signer, const Error& error) {
    return Error(error.category(), error.word(), error.code(),
                 "the stamp of signer " + std::to_string(signer + 1) + ": " + error.text(),
                 error.advice());
}

// What there is in place of a stamp: the older Authenticode protocol's can't hold what is to be put
// in.
Error no_stamps(ByteView der, SignedDataParts& parts, std::size_t signers) {
    const bool answer = is_authenticode_answer(der);
    bool countersigned = false;
    for (std::size_t signer = 0; signer < signers; ++signer) {
        for (const auto& attribute : parts.unsigned_attributes(signer)) {
            countersigned |= attribute.oid == kCountersignature;
        }
    }
    if (answer || countersigned) {
        return Error(Category::refused, "no_stamps", 0,
                     countersigned ? "the signature's stamp is one of the older Authenticode "
                                     "protocol, which can't be extended"
                                   : "it is an answer of the older Authenticode protocol, which "
                                     "can't be extended",
                     "where the signature has to last, attach an RFC 3161 time-stamp to it");
    }
    return Error(Category::refused, "no_stamps", 0, "the signature carries no time-stamp",
                 "attach one first");
}

// One signer's stamps, extended.
class SignerStamps {
public:
    SignerStamps(std::size_t signer, Bytes value, SignedDataParts& parts, const Trust& trust,
                 const SharedFetching& together)
        : signer_(signer), value_(std::move(value)), parts_(parts), trust_(trust),
          together_(together) {}

    void extend_into(SignatureExtension& result) {
        const auto attributes = parts_.unsigned_attributes(signer_);
        if (std::ranges::any_of(attributes, is_stamp) &&
            std::ranges::any_of(attributes, is_covering)) {
            throw Error(Category::refused, "stamp_covered", 0,
                        "a later time-stamp in the signature is over this one as it is",
                        "leave both: the later one carries the signature on");
        }
        std::map<std::size_t, Bytes> changed;
        for (std::size_t i = 0; i < attributes.size(); ++i) {
            if (is_stamp(attributes[i])) {
                const std::size_t before = changes_;
                Bytes values = extended(attributes[i].values, result);
                if (changes_ != before) {
                    changed.emplace(i, std::move(values));
                }
            } else if (attributes[i].oid == kNestedSignature) {
                result.remarks.push_back(
                    {"nested_signature", "the signature inside that of signer " +
                                             std::to_string(signer_ + 1) + " stays as it is"});
            }
        }
        if (!changed.empty()) {
            parts_.replace_unsigned_values(signer_, changed);
        }
    }

private:
    Bytes extended(ByteView values, SignatureExtension& result) {
        Bytes whole;
        for (DerReader set(values); !set.done();) {
            const auto token = set.next();
            if (!token) {
                throw error_of_code(CRYPT_E_ASN1_INTERNAL);
            }
            Extension one = extended(Stamp::read(token->whole));
            append(whole, one.changed() ? ByteView(one.stamp.token()) : token->whole);
            changes_ += one.changed() ? 1 : 0;
            result.stamps.push_back(std::move(one));
        }
        return whole;
    }

    Extension extended(const Stamp& stamp) const {
        if (!stamp.has_token()) { // an answer that refuses, in the place of a stamp
            throw error_of_code(Halcyon::PKI::TSP::Client::kResultNoStamp);
        }
        const TokenInfo& token = *stamp.info().token;
        const auto algorithm = HashAlgorithm::by_name(token.imprint_algorithm.oid);
        if (Digest::of(value_, algorithm).value() != token.imprint) {
            throw Error(Category::refused, "imprint_differs", CRYPT_E_HASH_VALUE,
                        "it isn't over this signature", "don't rely on it");
        }
        return extend_together(stamp, trust_, together_);
    }

    std::size_t signer_;
    Bytes value_;
    SignedDataParts& parts_;
    const Trust& trust_;
    const SharedFetching& together_;
    std::size_t changes_ = 0;
};

} // namespace

SignatureExtension CmsSignature::extended(const Trust& trust) const {
    return guarded("extend the signature's time-stamps", [&] {
        SignedDataParts parts(content_->der);
        SignatureExtension result{.signature = *this};
        const SharedFetching together;
        for (std::size_t signer = 0; signer < signers(); ++signer) {
            try {
                SignerStamps(signer, value(signer), parts, trust, together).extend_into(result);
            } catch (const Error& error) {
                throw about_signer(signer, error);
            }
        }
        if (result.stamps.empty()) {
            throw no_stamps(content_->der, parts, signers());
        }
        if (result.changed()) {
            auto changed = std::make_shared<Content>(*content_);
            changed->der = parts.encode();
            result.signature = CmsSignature(std::move(changed));
        }
        return result;
    });
}

} // namespace chronoseal
