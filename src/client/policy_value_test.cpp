#include <chronoseal/client/policy_value.h>

#include <chronoseal/client/request_policy.h>
#include <chronoseal/client/testing/suite.h>

namespace Halcyon::PKI {
namespace {

using namespace TSP::Client::testing;

using TSP::Client::CRequestPolicy;

class PolicyValue : public testing::Test {
protected:
    template <class Value, class... Args>
    void load(Value& value, const wchar_t* name, Args... args) {
        value.Load(unused_, folder_, name, args...);
    }
    void set(const std::string& policy) { Configuration::instance().set(policy); }

private:
    wchar_t folder_name_[10] = L"tsppolicy";
    wchar_t* folder_ = folder_name_;
    wchar_t* unused_ = nullptr;
};

TEST_F(PolicyValue, NumbersAndSwitchesFallBackOnTheDefault) {
    set("N = 42\nT = 'text'\nOn = true\nNumber = 7\nOff = 0");
    CGPLong number;
    load(number, L"N", 5L);
    EXPECT_EQ(number.value, 42);
    load(number, L"T", 5L); // of another type
    EXPECT_EQ(number.value, 5);
    load(number, L"Missing", 6L);
    EXPECT_EQ(number.value, 6);
    CGPBool flag;
    for (const auto& [name, preset, expected] :
         {std::tuple{L"On", false, true}, std::tuple{L"Number", false, true},
          std::tuple{L"Off", true, false}, std::tuple{L"T", true, true},
          std::tuple{L"Missing", true, true}}) {
        load(flag, name, preset);
        EXPECT_EQ(flag.value, expected) << name;
    }
}

TEST_F(PolicyValue, TextIsUtf8AndAbsentTextLeavesTheValue) {
    set("S = 'h\xC3\xA9'\nWrong = 3");
    CGPString text;
    load(text, L"S");
    EXPECT_EQ(text.value, L"h\u00e9");
    load(text, L"Missing");
    EXPECT_EQ(text.value, L"h\u00e9");
    EXPECT_CODE(1629u, load(text, L"Wrong")); // raw, not 0x8007065D
}

TEST_F(PolicyValue, ListIsInForceWhenItsKeyExists) {
    set("Empty = []\nTwo = ['b', '\xC3\xA9', 'a', 'b']\nWrong = 3\nMissingSetted = true");
    CGPStrings list;
    load(list, L"Empty", L"", false);
    EXPECT_TRUE(list.isSet);
    EXPECT_TRUE(list.values.empty());
    load(list, L"Two", L"", false);
    EXPECT_EQ(list.values, (std::set<std::wstring>{L"a", L"b", L"\u00e9"}));
    EXPECT_TRUE(list.Find(L"a"));
    EXPECT_FALSE(list.Find(L"A"));
    load(list, L"Missing", L"MissingSetted", false);
    EXPECT_FALSE(list.isSet);
    EXPECT_FALSE(list.Find(L"a"));
    EXPECT_CODE(1629u, load(list, L"Wrong", L"", false));
}

TEST_F(PolicyValue, NormalizesEntriesButNotWhatIsLookedFor) {
    set("L = ['http://a b', ' x ']");
    CGPStrings list;
    load(list, L"L", L"", true);
    EXPECT_EQ(list.values, (std::set<std::wstring>{L"HTTP://AB", L"X"}));
    EXPECT_FALSE(list.Find(L"http://a b"));
}

TEST_F(PolicyValue, PathBeyondItsRoomThrowsTheRawLastError) {
    CGPLong number;
    const std::wstring longest(99 - std::string("\\config\\cades\\tsppolicy\\").size(), L'n');
    load(number, longest.c_str(), 3L);
    EXPECT_EQ(number.value, 3);
    EXPECT_EQ(code_of([&] { load(number, (longest + L'n').c_str(), 3L); }), 122u);
}

TEST_F(PolicyValue, EmptyTreeGivesTheDefaults) {
    set("");
    const CRequestPolicy policy;
    EXPECT_EQ(policy.StampAccuracy.value, 180000);
    EXPECT_EQ(policy.NonceLength.value, 8);
    EXPECT_TRUE(policy.UseNonceByDefault.value);
    EXPECT_FALSE(policy.DefaultCertReq.value);
    EXPECT_FALSE(policy.AllowedTSPs.isSet);
    EXPECT_FALSE(policy.HashAlgsDenied.isSet);
    EXPECT_TRUE(policy.DefaultTSPURL.value.empty());
}

} // namespace
} // namespace Halcyon::PKI
