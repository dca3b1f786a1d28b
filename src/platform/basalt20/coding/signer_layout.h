// Signers and attributes laid out as the published records.
#pragma once

#include <basalt/coding/flat_block.h>
#include <basalt/coding/signed_message.h>
#include <basalt/object_coding.h>

namespace basalt {

// Each lays out what the record points to and gives the filled record itself, whose pointers are
// null while the block only counts.
CRYPT_ALGORITHM_IDENTIFIER lay_out(FlatBlock& block, const Algorithm& algorithm);
CRYPT_ATTRIBUTE lay_out(FlatBlock& block, const Attribute& attribute);
CERT_ID lay_out_identifier(FlatBlock& block, const SignerInfo& signer);

/// `set` is the attributes field of a signer; tag 0 gives an empty list.
CRYPT_ATTRIBUTES lay_out_attributes(FlatBlock& block, const Element& set);
CRYPT_ATTRIBUTES lay_out_attributes(FlatBlock& block, const std::vector<Attribute>& attributes);

/// The record at the front of the block, then what `fill(block)` lays out behind it.
template <class Record, class Fill>
void lay_out_record(FlatBlock& block, Fill&& fill) {
    Record* record = block.place<Record>();
    const Record filled = fill(block);
    if (record != nullptr) {
        *record = filled;
    }
}

/// What both records of a signer have beside their name for it.
template <class Info>
void lay_out_rest(Info& info, FlatBlock& block, const SignerInfo& signer) {
    info.dwVersion = signer.version;
    info.HashAlgorithm = lay_out(block, signer.digest_algorithm);
    info.HashEncryptionAlgorithm = lay_out(block, signer.signature_algorithm);
    info.EncryptedHash = block.blob(signer.signature);
    info.AuthAttrs = lay_out_attributes(block, signer.signed_attributes);
    info.UnauthAttrs = lay_out_attributes(block, signer.unsigned_attributes);
}

/// A CMSG_CMS_SIGNER_INFO, answered by size and data.
void give_cms_signer_info(const SignerInfo& signer, void* data, DWORD* size);

} // namespace basalt
