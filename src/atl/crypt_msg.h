// Owner of one reference on a cryptographic message, and the fetching of its parameters.
#pragma once

#include <utility>

#include <basalt/message.h>
#include <basalt/object_coding.h>
#include <chronoseal/atl/platform_answer.h>
#include <chronoseal/atl/string.h>

namespace ATL2 {

// Belongs to one thread. Copies hold a reference of their own.
class CCryptMsg {
public:
    CCryptMsg() noexcept = default;
    // Takes over the caller's reference.
    explicit CCryptMsg(HCRYPTMSG handle) noexcept : handle_(handle) {}
    CCryptMsg(const CCryptMsg& other) noexcept
        : handle_(other.handle_ ? CryptMsgDuplicate(other.handle_) : nullptr) {}
    CCryptMsg(CCryptMsg&& other) noexcept : handle_(std::exchange(other.handle_, nullptr)) {}
    CCryptMsg& operator=(CCryptMsg other) noexcept {
        std::swap(handle_, other.handle_);
        return *this;
    }
    ~CCryptMsg() { close(); }

    HCRYPTMSG get() const noexcept { return handle_; }
    explicit operator bool() const noexcept { return handle_ != nullptr; }
    void close() noexcept {
        if (handle_) {
            CryptMsgClose(std::exchange(handle_, nullptr));
        }
    }

    // Fetches a parameter. A null handle gives 0x80004005; any other failure is the last error's
    // code. A size beyond the buffer throws CAtlException 0x80070057.
    HRESULT GetParam(unsigned type, unsigned index, ATL::CStringA& value) const;
    // Takes signer `index` apart. `*info` leads into `value`, which is locked in its place for
    // that.
    HRESULT GetAndDecodeCmsSignerInfo(unsigned index, ATL::CStringA& value,
                                      const CMSG_CMS_SIGNER_INFO** info, unsigned flags = 0,
                                      unsigned encoding = kAnyEncoding) const;

private:
    HCRYPTMSG handle_ = nullptr;
};

// Decodes a structure into `value` by size and data. Failures are codes; one of the second call is
// never 0. A size beyond the buffer throws CAtlException 0x80070057.
HRESULT CryptDecodeObject(const char* structType, const unsigned char* data, unsigned size,
                          ATL::CStringA& value, unsigned flags = 0,
                          unsigned encoding = kAnyEncoding);

} // namespace ATL2
