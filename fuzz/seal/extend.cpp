// Evidence put into tokens of any bytes: twice is once, what was there stays there, and OpenSSL
// reads what it has read before.
#include <cstdint>
#include <cstdlib>

#include <chronoseal/chronoseal.hpp>
#include <chronoseal/seal/long_term_values.h>
#include <chronoseal/seal/signed_data_parts.h>

#include "cms_reader.h"

namespace {

using namespace chronoseal;
using fuzzing::require;

// A certificate, a list and an answer by their outside alone; nothing here looks into them.
constexpr std::string_view kList("\x30\x03\x02\x01\x07", 5);
constexpr std::string_view
    kAnswer("\x30\x17\x0A\x01\x00\xA0\x12\x30\x10\x06\x09\x2B\x06\x01\x05\x05"
            "\x07\x30\x01\x01\x04\x03\x30\x01\x00",
            25);

Bytes extended(ByteView der, std::size_t& added) {
    SignedDataParts parts(der);
    LongTermValues values(parts);
    values.add_list(bytes_of(kList));
    values.add_answer(bytes_of(kAnswer));
    values.finish();
    added = values.lists() + values.answers();
    return values.any() ? parts.encode() : Bytes(der.begin(), der.end());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const ByteView bytes = std::as_bytes(std::span(data, size));
    try {
        const SignedDataParts before(bytes);
        if (before.signers() == 0) {
            return 0;
        }
        std::size_t added = 0;
        const Bytes once = extended(bytes, added);
        const SignedDataParts after(once);
        require(after.signers() == before.signers());
        require(after.certificates().size() == before.certificates().size());
        require(after.revocations().size() <= before.revocations().size() + 1);
        if (const auto read = fuzzing::signatures_by_openssl(bytes)) {
            require(fuzzing::signatures_by_openssl(once) == read);
        }
        std::size_t again = 0;
        require(extended(once, again) == once && again == 0);
    } catch (const Error& error) {
        require(error.word() == "malformed");
    }
    return 0;
}
