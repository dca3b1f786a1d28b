// Published records of signers.
#include <basalt/coding/signer_layout.h>

namespace basalt {

CRYPT_ALGORITHM_IDENTIFIER lay_out(FlatBlock& block, const Algorithm& algorithm) {
    CRYPT_ALGORITHM_IDENTIFIER result{};
    result.pszObjId = block.oid(algorithm.oid);
    result.Parameters = block.blob(algorithm.parameters);
    return result;
}

CRYPT_ATTRIBUTE lay_out(FlatBlock& block, const Attribute& attribute) {
    CRYPT_ATTRIBUTE result{};
    result.cValue = static_cast<DWORD>(attribute.values.size());
    result.rgValue = block.place<CRYPT_ATTR_BLOB>(attribute.values.size());
    result.pszObjId = block.oid(attribute.oid);
    for (std::size_t i = 0; i < attribute.values.size(); ++i) {
        const CRYPT_ATTR_BLOB value = block.blob(attribute.values[i]);
        if (result.rgValue != nullptr) {
            result.rgValue[i] = value;
        }
    }
    return result;
}

CRYPT_ATTRIBUTES lay_out_attributes(FlatBlock& block, const Element& set) {
    return lay_out_attributes(block, read_attributes(set.contents));
}

CRYPT_ATTRIBUTES lay_out_attributes(FlatBlock& block, const std::vector<Attribute>& attributes) {
    CRYPT_ATTRIBUTES result{};
    result.cAttr = static_cast<DWORD>(attributes.size());
    result.rgAttr = block.place<CRYPT_ATTRIBUTE>(attributes.size());
    for (std::size_t i = 0; i < attributes.size(); ++i) {
        const CRYPT_ATTRIBUTE attribute = lay_out(block, attributes[i]);
        if (result.rgAttr != nullptr) {
            result.rgAttr[i] = attribute;
        }
    }
    return result;
}

CERT_ID lay_out_identifier(FlatBlock& block, const SignerInfo& signer) {
    CERT_ID result{};
    if (signer.by_key_identifier) {
        result.dwIdChoice = CERT_ID_KEY_IDENTIFIER;
        result.KeyId = block.blob(signer.key_identifier);
        return result;
    }
    result.dwIdChoice = CERT_ID_ISSUER_SERIAL_NUMBER;
    result.IssuerSerialNumber.Issuer = block.blob(signer.issuer);
    result.IssuerSerialNumber.SerialNumber = block.reversed(signer.serial_number);
    return result;
}

void give_cms_signer_info(const SignerInfo& signer, void* data, DWORD* size) {
    const auto fill = [&](FlatBlock& block) {
        CMSG_CMS_SIGNER_INFO info{};
        info.SignerId = lay_out_identifier(block, signer);
        lay_out_rest(info, block, signer);
        return info;
    };
    give_block([&](FlatBlock& block) { lay_out_record<CMSG_CMS_SIGNER_INFO>(block, fill); }, data,
               size);
}

} // namespace basalt
