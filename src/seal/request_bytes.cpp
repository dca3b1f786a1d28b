// Requests by the client's message object.
#include <chronoseal/seal/request_bytes.h>

#include <basalt/error_codes.h>
#include <chronoseal/asn1/big_integer.h>
#include <chronoseal/core/request.h>
#include <chronoseal/seal/armor.h>
#include <chronoseal/seal/byte_kind.h>
#include <chronoseal/seal/failure.h>
#include <chronoseal/seal/platform_text.h>
#include <chronoseal/seal/running_hash.h>

namespace chronoseal {

namespace {

using Message = Halcyon::PKI::TSP::CRequest;

} // namespace

RequestFields read_request(ByteView bytes) {
    const Unarmored form = unarmor(bytes);
    Message message;
    try {
        message.decode(blob_of(form.der));
    } catch (const ATL::CAtlException&) {
        throw Error(Category::refused, "not_a_request", CRYPT_E_ASN1_INTERNAL,
                    "the bytes are not a request for a time-stamp but " + describe_bytes(bytes),
                    "check the file");
    }
    RequestFields fields;
    fields.hash_oid = message.get_hashAlgorithm().get_algorithm();
    fields.imprint = copy_of(message.get_hashedMessage());
    fields.certificates = message.get_certReq();
    const auto algorithm = HashAlgorithmAccess::find(fields.hash_oid);
    if (algorithm && algorithm->size() == fields.imprint.size()) {
        fields.expected.digest = Digest(*algorithm, fields.imprint);
    }
    fields.expected.nonce_known = true;
    if (message.get_nonce() != nullptr) {
        fields.expected.nonce = copy_of(*message.get_nonce());
    }
    if (message.get_reqPolicy() != nullptr) {
        fields.expected.policy = message.get_reqPolicy();
    }
    return fields;
}

bool is_object_identifier(const std::string& text) {
    try {
        const Digest digest(HashAlgorithm::by_name("SHA-256"), Bytes(32));
        return !text.empty() &&
               read_request(make_request(digest, {text, false, 0})).expected.policy == text;
    } catch (const std::bad_alloc&) {
        throw;
    } catch (...) { // the value layer refuses what it can't write
        return false;
    }
}

Bytes make_request(const Digest& digest, const RequestWishes& wishes) {
    Halcyon::ASN1::CAlgorithmIdentifierEx algorithm;
    algorithm.put_algorithm(digest.algorithm().oid().c_str());
    Message message(algorithm, blob_of(digest.value()), wishes.certificates);
    if (!wishes.policy.empty()) {
        message.put_reqPolicy(wishes.policy.c_str());
    }
    if (wishes.nonce_bytes != 0) {
        const auto nonce = Halcyon::ASN1::MakeRandomBigInteger(0, wishes.nonce_bytes).abs();
        message.put_nonce(&nonce);
    }
    return copy_of(message.encode());
}

} // namespace chronoseal
