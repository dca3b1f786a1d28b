// What a stamp holds, as structs.
#include <chronoseal/c_interface/view.h>

#include <chronoseal/c_interface/call.h>

namespace chronoseal::c_interface {

const char* const* Kept::words(const std::vector<std::string>& texts) {
    std::vector<const char*> all;
    for (const std::string& one : texts) {
        all.push_back(text(one));
    }
    return array(std::move(all));
}

chronoseal_bytes view_of(const Bytes& bytes) noexcept {
    return {bytes.empty() ? nullptr : reinterpret_cast<const unsigned char*>(bytes.data()),
            bytes.size()};
}

chronoseal_algorithm view_of(Kept& kept, const AlgorithmInfo& algorithm) {
    return {kept.text(algorithm.oid), kept.text(algorithm.name), view_of(algorithm.parameters),
            kept.text(algorithm.weakness)};
}

namespace {

const chronoseal_field* const* view_of(Kept& kept, const std::vector<ExtensionInfo>& extensions) {
    std::vector<const chronoseal_field*> all;
    for (const ExtensionInfo& one : extensions) {
        all.push_back(
            kept.value(chronoseal_field{kept.text(one.oid), kept.text(one.name),
                                        one.critical ? 1 : 0, c_interface::view_of(one.value)}));
    }
    return kept.array(std::move(all));
}

const chronoseal_attribute* const* view_of(Kept& kept,
                                           const std::vector<AttributeInfo>& attributes) {
    std::vector<const chronoseal_attribute*> all;
    for (const AttributeInfo& one : attributes) {
        std::vector<chronoseal_bytes> values;
        for (const Bytes& value : one.values) {
            values.push_back(c_interface::view_of(value));
        }
        const auto* const kept_values = kept.value(std::move(values));
        all.push_back(kept.value(chronoseal_attribute{kept.text(one.oid), kept.text(one.name),
                                                      kept_values->data(), kept_values->size()}));
    }
    return kept.array(std::move(all));
}

const chronoseal_signature* view_of(Kept& kept, const SignatureInfo& signature) {
    chronoseal_signature view{};
    view.digest_algorithm = c_interface::view_of(kept, signature.digest_algorithm);
    view.signature_algorithm = c_interface::view_of(kept, signature.signature_algorithm);
    view.issuer = kept.foreign(signature.issuer);
    view.serial_number = c_interface::view_of(signature.serial_number);
    view.value = c_interface::view_of(signature.value);
    view.signed_attributes = view_of(kept, signature.signed_attributes);
    view.signed_count = signature.signed_attributes.size();
    view.unsigned_attributes = view_of(kept, signature.unsigned_attributes);
    view.unsigned_count = signature.unsigned_attributes.size();
    return kept.value(view);
}

} // namespace

const chronoseal_certificate* view_of(Kept& kept, const CertificateInfo& certificate) {
    chronoseal_certificate view{};
    view.subject = kept.foreign(certificate.subject);
    view.issuer = kept.foreign(certificate.issuer);
    view.serial_number = view_of(certificate.serial_number);
    view.not_before = time_of(certificate.not_before);
    view.not_after = time_of(certificate.not_after);
    view.sha256 = view_of(certificate.sha256);
    view.signature_algorithm = view_of(kept, certificate.signature_algorithm);
    view.key_algorithm = view_of(kept, certificate.key_algorithm);
    view.key_bits = certificate.key_bits;
    view.der = view_of(certificate.der);
    view.key_sha256 = view_of(certificate.key_sha256);
    view.extensions = view_of(kept, certificate.extensions);
    view.extension_count = certificate.extensions.size();
    view.extended_usages = kept.words(certificate.extended_usages);
    view.usage_count = certificate.extended_usages.size();
    return kept.value(view);
}

const chronoseal_remark* const* view_of(Kept& kept, const std::vector<Remark>& remarks) {
    std::vector<const chronoseal_remark*> all;
    for (const Remark& remark : remarks) {
        all.push_back(
            kept.value(chronoseal_remark{kept.text(remark.word), kept.text(remark.text)}));
    }
    return kept.array(std::move(all));
}

const chronoseal_token_info* view_of(Kept& kept, const TokenInfo& token) {
    chronoseal_token_info view{};
    view.version = token.version;
    view.time = time_of(token.time);
    view.time_text = kept.text(utc_text(token.time));
    view.accuracy = token.accuracy ? token.accuracy->count() : -1;
    view.ordering = token.ordering ? 1 : 0;
    view.policy = kept.text(token.policy);
    view.imprint_algorithm = view_of(kept, token.imprint_algorithm);
    view.imprint = view_of(token.imprint);
    view.serial_number = view_of(token.serial_number);
    view.nonce = token.nonce ? view_of(*token.nonce) : chronoseal_bytes{};
    view.authority = kept.foreign(token.authority);
    view.signature_algorithm = view_of(kept, token.signature.signature_algorithm);
    view.signers = token.signature.signers;
    std::vector<const chronoseal_certificate*> certificates;
    for (const CertificateInfo& certificate : token.certificates) {
        certificates.push_back(view_of(kept, certificate));
    }
    view.certificate_count = certificates.size();
    view.certificates = kept.array(std::move(certificates));
    view.signer = token.signer ? view_of(kept, *token.signer) : nullptr;
    view.revocation_lists = token.revocation_lists;
    view.authority_der = view_of(token.authority_der);
    view.extensions = view_of(kept, token.extensions);
    view.extension_count = token.extensions.size();
    view.signature = view_of(kept, token.signature);
    return kept.value(view);
}

const chronoseal_stamp_info* view_of(Kept& kept, const Stamp& stamp) {
    const StampInfo& info = stamp.info();
    chronoseal_stamp_info view{};
    view.status = info.status ? static_cast<int>(*info.status) : -1;
    view.status_name = kept.text(info.status_name);
    view.status_text = kept.foreign(info.status_text);
    view.failure_bits = info.failure_bits;
    view.failure_names = kept.words(info.failure_names);
    view.failure_count = info.failure_names.size();
    view.token = info.token ? view_of(kept, *info.token) : nullptr;
    view.address = kept.text(stamp.authority());
    view.attempts = stamp.attempts();
    view.remarks = view_of(kept, stamp.remarks());
    view.remark_count = stamp.remarks().size();
    return kept.value(view);
}

} // namespace chronoseal::c_interface
