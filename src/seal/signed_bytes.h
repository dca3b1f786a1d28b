// A CMS message opened for reading, and its parameters.
#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include <chronoseal/atl/crypt_msg.h>
#include <chronoseal/chronoseal.hpp>

namespace chronoseal {

// Empty for bytes that aren't a message; the last error then says why.
ATL2::CCryptMsg open_message(ByteView bytes);

// A parameter's bytes; nothing where the message hasn't got it.
std::optional<Bytes> message_bytes(const ATL2::CCryptMsg& message, DWORD type, DWORD index = 0);
// A count or a type; 0 where the message hasn't got it.
DWORD message_number(const ATL2::CCryptMsg& message, DWORD type);
// The type of the content as dotted text; empty where there is none.
std::string content_type(const ATL2::CCryptMsg& message);

std::vector<AttributeInfo> attributes_of(const CRYPT_ATTRIBUTES& attributes);

// The platform's record of one signer.
class SignerRecord {
public:
    SignerRecord(const ATL2::CCryptMsg& message, DWORD index);

    // Null where there is none or it can't be read.
    const CMSG_CMS_SIGNER_INFO* get() const {
        return block_ ? reinterpret_cast<const CMSG_CMS_SIGNER_INFO*>(block_->data()) : nullptr;
    }

private:
    std::optional<std::vector<std::max_align_t>> block_;
};

// One signer by its index; nothing where there is none or it can't be read.
std::optional<SignatureInfo> signature_info(const ATL2::CCryptMsg& message, DWORD index);
std::optional<SignatureInfo> signature_info(const ATL2::CCryptMsg& message,
                                            const SignerRecord& record);

} // namespace chronoseal
