// What a token is extended by, and the places in it where that goes: certificates and revocation
// lists into the sets of the SignedData, OCSP answers into the unsigned attribute revocationValues
// (RFC 5126, 6.3.4). There other software reads them, too; an answer among the lists would be more
// than some can parse.
#pragma once

#include <chronoseal/chronoseal.hpp>
#include <chronoseal/seal/signed_data_parts.h>

namespace chronoseal {

class LongTermValues {
public:
    // Reads what the message has already, wherever it stands. Throws `malformed` for an attribute
    // revocationValues that can't be read and so can't be added to.
    explicit LongTermValues(SignedDataParts& parts);

    // What is there already isn't put in again.
    void add_certificate(ByteView der);
    void add_list(ByteView der);
    void add_answer(ByteView response); // an OCSPResponse
    // To be called once, at the end: writes what was added to the attribute.
    void finish();

    std::size_t certificates() const { return added_certificates_; }
    std::size_t lists() const { return added_lists_; }
    std::size_t answers() const { return added_answers_; }
    bool any() const { return certificates() + lists() + answers() != 0; }

private:
    void read_attributes();
    void read_values(ByteView value);

    SignedDataParts& parts_;
    std::vector<ByteView> has_certificates_, has_lists_, has_answers_; // of what was there
    // The attribute's fields: crlVals [0], what becomes ocspVals [1], and what stands behind.
    Bytes before_, behind_;
    std::vector<Bytes> answers_;
    std::size_t added_certificates_ = 0, added_lists_ = 0, added_answers_ = 0;
};

} // namespace chronoseal
