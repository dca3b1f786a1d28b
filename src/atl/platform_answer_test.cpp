// The platform's decoder and its last error are made up here, as long as a test holds them.
#include <chronoseal/atl/platform_answer.h>

#include <cstring>
#include <vector>

#include <gtest/gtest.h>

#include <basalt/error_codes.h>
#include <basalt/last_error.h>
#include <chronoseal/atl/crypt_msg.h>
#include <chronoseal/base/test_seam.h>

namespace {

struct FakeDecoder {
    FakeDecoder() { current = this; }
    ~FakeDecoder() { current = nullptr; }

    int failing_call = 0;      // 1 or 2; 0 for none
    std::vector<DWORD> errors; // what each reading of the last error gives, the last one for ever
    std::size_t readings = 0;
    int calls = 0;

    static FakeDecoder* current;
};

FakeDecoder* FakeDecoder::current = nullptr;

} // namespace

extern "C" {

DWORD GetLastError(void) noexcept {
    if (auto* const fake = FakeDecoder::current) {
        const std::size_t reading = std::min(fake->readings++, fake->errors.size() - 1);
        return fake->errors[reading];
    }
    return REAL(GetLastError)();
}

BOOL CryptDecodeObject(DWORD encoding, LPCSTR type, const BYTE* data, DWORD length, DWORD flags,
                       void* out, DWORD* size) {
    auto* const fake = FakeDecoder::current;
    if (!fake) {
        return REAL(CryptDecodeObject)(encoding, type, data, length, flags, out, size);
    }
    if (++fake->calls == fake->failing_call) {
        return FALSE;
    }
    if (out) {
        std::memset(out, 'x', 4);
    }
    *size = 4;
    return TRUE;
}
}

namespace ATL2 {
namespace {

TEST(CryptDecodeObject, MapsAFailureByTheRuleOfItsCall) {
    using Row = std::tuple<int, std::vector<DWORD>, std::uint32_t>;
    for (const auto& [failing_call, errors, code] :
         {// The first call by the common rule, under which no last error is no failure.
          Row{1, {ERROR_ACCESS_DENIED}, 0x80070005u}, Row{1, {ERROR_ACCESS_DENIED, 0}, 0x80070005u},
          Row{1, {0}, 0},
          // The second call never reads as success.
          Row{2, {ERROR_ACCESS_DENIED}, 0x80070005u}, Row{2, {ERROR_ACCESS_DENIED, 0}, 0x80074005u},
          Row{2, {0x10005}, 0x80070005u}, Row{2, {CRYPT_E_ASN1_BADTAG}, 0x8009310Bu},
          Row{2, {0}, 0x80004005u}, Row{0, {0}, 0}}) {
        FakeDecoder fake;
        fake.failing_call = failing_call;
        fake.errors = errors;
        ATL::CStringA value;
        const auto result =
            static_cast<std::uint32_t>(CryptDecodeObject("type", nullptr, 0, value));
        EXPECT_EQ(result, code) << failing_call << ' ' << errors[0];
        EXPECT_EQ(fake.calls, failing_call == 0 ? 2 : failing_call);
        EXPECT_STREQ(value.GetString(), failing_call == 0 ? "xxxx" : "");
    }
}

} // namespace
} // namespace ATL2
