// A CMS message opened for reading, and its parameters.
#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include <chronoseal/atl/cert_context.h>
#include <chronoseal/atl/cert_store.h>
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

struct SignatureCheck {
    DWORD code = 0; // why it is nobody's; CRYPT_E_SIGNER_NOT_FOUND: nobody there is named so
    ATL2::CCertContext signer;
};

// Tries the certificates that the signer names, some of them if there are many: name and number are
// anybody's to write. `control` is how the signature is checked.
SignatureCheck check_signature(const ATL2::CCryptMsg& message, DWORD signer, DWORD control,
                               const ATL2::CCertStore& among);

} // namespace chronoseal
