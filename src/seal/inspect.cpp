// What bytes are, and the stamps inside signed messages.
#include <algorithm>
#include <array>

#include <basalt/error_codes.h>
#include <chronoseal/seal/armor.h>
#include <chronoseal/seal/byte_kind.h>
#include <chronoseal/seal/der_element.h>
#include <chronoseal/seal/der_writer.h>
#include <chronoseal/seal/failure.h>
#include <chronoseal/seal/platform_text.h>
#include <chronoseal/seal/request_bytes.h>
#include <chronoseal/seal/signed_bytes.h>
#include <chronoseal/seal/stamp_access.h>

namespace chronoseal {

namespace {

constexpr std::string_view kNestedSignature = "1.3.6.1.4.1.311.2.4.1";
constexpr std::string_view kCountersignature = "1.2.840.113549.1.9.6";

// A hostile message may nest without end, or hold thousands of stamps.
constexpr unsigned kMostDepth = 4;
constexpr std::size_t kMostStamps = 256;
constexpr DWORD kMostSigners = 64;
constexpr unsigned kMostNested = 64;

std::string counted(std::size_t count, const char* noun) {
    return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

bool is_signature(Kind kind) {
    return kind == Kind::signed_message || kind == Kind::authenticode_signature;
}

// Whether an attribute for stamps is named in the bytes, at whatever depth, and however its length
// is written.
bool names_stamps(ByteView bytes) {
    return std::ranges::any_of(std::array{kSignatureTimeStamp, kAuthenticodeTimeStamp},
                               [&](std::string_view attribute) {
                                   const Bytes oid = der_oid(attribute);
                                   return std::search(bytes.begin(), bytes.end(), oid.begin() + 2,
                                                      oid.end()) != bytes.end();
                               });
}

// A countersignature is a signer without a message: here is one around it.
Bytes message_around(ByteView signer) {
    constexpr std::byte kVersion{1};
    const Bytes data = der_element(
        der_tag::kSequence, {der_element(der_tag::kInteger, ByteView(&kVersion, 1)),
                             der_element(der_tag::kSet, ByteView()),
                             der_element(der_tag::kSequence, der_oid("1.2.840.113549.1.7.1")),
                             der_element(der_tag::kSet, signer)});
    return der_element(der_tag::kSequence,
                       {der_oid("1.2.840.113549.1.7.2"), der_element(der_tag::kContext0, data)});
}

class StampSearch {
public:
    explicit StampSearch(Inspection& result) : result_(result) {}

    void search(ByteView bytes) { search_signers(open_message(bytes), "", 0); }

private:
    void search_signers(const ATL2::CCryptMsg& message, const std::string& place, unsigned depth) {
        const DWORD signers = message_number(message, CMSG_SIGNER_COUNT_PARAM);
        for (DWORD i = 0; i < signers; ++i) {
            const std::string here = place + "signer " + std::to_string(i + 1);
            if (i == kMostSigners) {
                leave_out(here, {});
                return;
            }
            if (const auto signature = signature_info(message, i)) {
                search_signer(*signature, here, depth);
            } else {
                unread(here, {}, "a signer that can't be read");
            }
        }
    }

    void search_signer(const SignatureInfo& signature, const std::string& place, unsigned depth) {
        for (const AttributeInfo& attribute : signature.unsigned_attributes) {
            const std::string here = place + ", attribute " + attribute.oid;
            result_.countersignature |= attribute.oid == kCountersignature;
            for (const Bytes& value : attribute.values) {
                if (is_stamp_attribute(attribute)) {
                    add(value, signature.value, attribute.oid, here, depth);
                } else if (attribute.oid == kNestedSignature) {
                    search_nested(value, attribute.oid, here, depth);
                } else if (attribute.oid == kCountersignature && names_stamps(value)) {
                    search_nested(message_around(value), attribute.oid, here, depth);
                }
            }
        }
    }

    void search_nested(const Bytes& signature, const std::string& oid, const std::string& place,
                       unsigned depth) {
        if (depth == kMostDepth || nested_ == kMostNested) {
            leave_out(place, oid);
            return;
        }
        ++nested_;
        const auto message = open_message(signature);
        if (message) {
            search_signers(message, place + ", ", depth + 1);
        } else {
            unread(place, oid, "a signature that can't be read");
        }
    }

    void add(const Bytes& token, const Bytes& stamped, const std::string& oid,
             const std::string& place, unsigned depth) {
        if (result_.stamps.size() + result_.unread.size() >= kMostStamps) {
            leave_out(place, oid);
            return;
        }
        try {
            result_.stamps.push_back({Stamp::read(token), oid, place, stamped});
        } catch (const Error& error) {
            result_.unread.push_back({oid, place, error});
            return;
        }
        const Stamp stamp = result_.stamps.back().stamp;
        if (!stamp.has_token()) {
            return;
        }
        if (depth < kMostDepth) { // the value may be an answer, whose token it is
            search_signers(open_message(stamp.token()), place + ", ", depth + 1);
        } else if (may_be_stamped(stamp)) {
            leave_out(place, oid);
        }
    }

    static bool may_be_stamped(const Stamp& stamp) {
        return std::ranges::any_of(stamp.info().token->signature.unsigned_attributes,
                                   [](const AttributeInfo& attribute) {
                                       return is_stamp_attribute(attribute) ||
                                              std::ranges::any_of(attribute.values, names_stamps);
                                   });
    }

    void unread(const std::string& place, std::string oid, const std::string& what) {
        if (result_.unread.size() >= kMostStamps) {
            leave_out(place, std::move(oid));
            return;
        }
        result_.unread.push_back({std::move(oid), place,
                                  Error(Category::refused, "malformed", CRYPT_E_ASN1_INTERNAL,
                                        "it is " + what, "get the signature again")});
    }

    // Told once: of the first of those that aren't looked at.
    void leave_out(const std::string& place, std::string oid) {
        if (!std::exchange(left_out_, true)) {
            result_.unread.push_back(
                {std::move(oid), place,
                 Error(Category::unreachable, "too_many_stamps", 0,
                       "this and what follows isn't looked at: there are more time-stamps, signers "
                       "or signatures within each other than anybody makes",
                       "look at it with another tool")});
        }
    }

    Inspection& result_;
    unsigned nested_ = 0;
    bool left_out_ = false;
};

void read_stamp(Inspection& result) {
    try {
        result.stamp = Stamp::read(result.der);
    } catch (const Error& error) {
        result.description += "; it can't be read: " + error.text();
    }
}

bool wants_certificates(ByteView request) {
    try {
        return read_request(request).certificates;
    } catch (const Error&) {
        return false;
    }
}

bool is_stamp(Kind kind) {
    return kind == Kind::response || kind == Kind::token;
}

// The message without what stands behind it.
ByteView first_of(ByteView der) {
    const auto first = DerReader(der).next();
    return first ? first->whole : der;
}

bool may_hold_stamps(ByteView der) {
    const Kind kind = kind_of(der);
    return is_stamp(kind) || (is_signature(kind) && names_stamps(der));
}

// By its label in PEM: keys and the like lie beside stamps, too.
bool may_be_stamp(std::string_view label) {
    return std::ranges::any_of(
        std::array{"CMS", "PKCS7", "PKCS #7", "TIME", "TST", "TSP", "EVIDENCE"},
        [&](std::string_view part) { return label.find(part) != std::string_view::npos; });
}

// The bytes behind a stamp or a message; of PEM, which holds certificates and the like besides,
// those of stamps, of messages with stamps in them, and of what is damaged, wherever it stands.
std::size_t bytes_behind(ByteView bytes, const Inspection& found) {
    std::size_t behind = found.der.size() - first_of(found.der).size();
    if (found.form == Form::pem) {
        bool is_found = false;
        PemBlocks blocks(bytes);
        while (const auto block = blocks.next()) {
            const bool is_other = std::exchange(is_found, is_found || !block->is_damaged());
            if (block->is_damaged()) {
                behind += may_be_stamp(block->label) ? block->size : 0;
            } else if (is_other && may_hold_stamps(block->der)) {
                behind += block->der.size();
            }
        }
    }
    return behind;
}

} // namespace

Inspection inspect(ByteView bytes) {
    return guarded("inspect the bytes", [&] {
        Inspection result;
        Unarmored form = unarmor(bytes);
        result.form = form.form;
        result.der = std::move(form.der);
        result.kind = kind_of(result.der);
        result.description = describe(result.kind, result.form);
        if (result.kind == Kind::signed_message) {
            result.description = describe_bytes(result.der);
        }
        if (is_stamp(result.kind)) {
            read_stamp(result);
        }
        if (result.kind == Kind::request) {
            result.certificates_wanted = wants_certificates(result.der);
        }
        if (is_stamp(result.kind) || is_signature(result.kind)) {
            result.behind = bytes_behind(bytes, result);
        }
        if (is_signature(result.kind) || result.kind == Kind::token) {
            StampSearch(result).search(first_of(result.der));
        }
        if (is_signature(result.kind) && !(result.stamps.empty() && result.unread.empty())) {
            result.description =
                (result.kind == Kind::signed_message ? "a signed message with "
                                                     : "an Authenticode signature with ") +
                counted(result.stamps.size(), "time-stamp");
            if (!result.unread.empty()) {
                result.description += " that can be read, and others";
            }
        }
        return result;
    });
}

} // namespace chronoseal
