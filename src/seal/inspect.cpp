// What bytes are, and the stamps inside signed messages.
#include <chronoseal/seal/byte_kind.h>
#include <chronoseal/seal/failure.h>
#include <chronoseal/seal/platform_text.h>
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

class StampSearch {
public:
    explicit StampSearch(Inspection& result) : result_(result) {}

    void search(ByteView bytes, const std::string& place, unsigned depth) {
        const auto message = open_message(bytes);
        const DWORD signers =
            std::min(message_number(message, CMSG_SIGNER_COUNT_PARAM), kMostSigners);
        for (DWORD i = 0; i < signers; ++i) {
            const auto signature = signature_info(message, i);
            if (signature) {
                search_signer(*signature, place + "signer " + std::to_string(i + 1), depth);
            }
        }
    }

private:
    void search_signer(const SignatureInfo& signature, const std::string& place, unsigned depth) {
        for (const AttributeInfo& attribute : signature.unsigned_attributes) {
            const std::string here = place + ", attribute " + attribute.oid;
            result_.countersignature |= attribute.oid == kCountersignature;
            for (const Bytes& value : attribute.values) {
                if (attribute.oid == kSignatureTimeStamp ||
                    attribute.oid == kAuthenticodeTimeStamp) {
                    add(value, signature.value, attribute.oid, here, depth);
                } else if (attribute.oid == kNestedSignature && depth < kMostDepth) {
                    search(value, here + ", ", depth + 1);
                }
            }
        }
    }

    void add(const Bytes& token, const Bytes& stamped, const std::string& oid,
             const std::string& place, unsigned depth) {
        if (result_.stamps.size() >= kMostStamps) {
            return;
        }
        try {
            result_.stamps.push_back({Stamp::read(token), oid, place, stamped});
        } catch (const Error&) {
            return; // named as a stamp, but none
        }
        if (depth < kMostDepth) {
            search(token, place + ", ", depth + 1);
        }
    }

    Inspection& result_;
};

void read_stamp(Inspection& result) {
    try {
        result.stamp = Stamp::read(result.der);
    } catch (const Error& error) {
        result.description += "; it can't be read: " + error.text();
    }
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
        if (result.kind == Kind::response || result.kind == Kind::token) {
            read_stamp(result);
        }
        const bool is_signature =
            result.kind == Kind::signed_message || result.kind == Kind::authenticode_signature;
        if (is_signature || result.kind == Kind::token) {
            StampSearch(result).search(result.der, "", 0);
        }
        if (is_signature && !result.stamps.empty()) {
            result.description =
                (result.kind == Kind::signed_message ? "a signed message with "
                                                     : "an Authenticode signature with ") +
                std::to_string(result.stamps.size()) +
                (result.stamps.size() == 1 ? " time-stamp" : " time-stamps");
        }
        return result;
    });
}

} // namespace chronoseal
