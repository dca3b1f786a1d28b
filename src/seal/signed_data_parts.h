// A CMS SignedData (RFC 5652, 5.1) in parts, for putting certificates, evidence and unsigned
// attributes into it while all else stays octet for octet: what is signed, and what others have put
// there in whatever order. Only the lengths around what is added are written anew.
#pragma once

#include <deque>
#include <map>

#include <chronoseal/chronoseal.hpp>

namespace chronoseal {

class SignedDataParts {
public:
    // A ContentInfo; indefinite lengths become definite. Throws `malformed` (0x80093101).
    explicit SignedDataParts(ByteView message);
    SignedDataParts(const SignedDataParts&) = delete;
    SignedDataParts& operator=(const SignedDataParts&) = delete;

    // The entries of the sets, whole elements; of other kinds than certificates and lists, too.
    const std::vector<ByteView>& certificates() const { return certificates_; }
    const std::vector<ByteView>& revocations() const { return revocations_; }
    std::size_t signers() const { return signers_.size(); }
    bool has_content() const { return has_content_; }

    struct Attribute {
        std::string oid;
        ByteView values; // contents of the SET
    };
    // Throws `malformed`.
    std::vector<Attribute> unsigned_attributes(std::size_t signer) const;

    // Each at its place where the set is in DER's order, else behind the others.
    void add_certificate(ByteView der);
    void add_revocation_list(ByteView der);
    // `value`: one element.
    void add_unsigned_attribute(std::size_t signer, std::string_view oid, ByteView value);
    // In the place of all values of the first attribute of that type.
    void replace_unsigned_attribute(std::size_t signer, std::string_view oid, ByteView value);
    // Other contents for the SETs of the attributes at these places of their list.
    void replace_unsigned_values(std::size_t signer, const std::map<std::size_t, Bytes>& values);

    Bytes encode() const;

private:
    struct Signer {
        ByteView whole;   // as it is, or as it was written anew
        ByteView signed_; // contents up to the unsigned attributes
        std::vector<ByteView> attributes;
    };

    static Signer read_signer(ByteView whole);
    void write(Signer& signer, std::vector<ByteView> attributes);
    ByteView keep(Bytes bytes) { return made_.emplace_back(std::move(bytes)); }

    std::deque<Bytes> made_; // what the views look into
    ByteView type_;          // the OID of SignedData
    ByteView head_;          // version, digest algorithms, content
    std::vector<ByteView> certificates_;
    std::vector<ByteView> revocations_;
    bool has_content_ = false, has_certificates_ = false, has_revocations_ = false;
    std::vector<ByteView> signers_;
};

} // namespace chronoseal
