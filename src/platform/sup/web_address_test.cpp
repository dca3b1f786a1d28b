// Addresses with and without credentials.
#include <basalt/sup/web_address.h>

#include <gtest/gtest.h>

namespace {

using basalt::WebScheme;

TEST(WebAddress, SchemesAndCredentials) {
    struct Case {
        const char* address;
        WebScheme scheme;
        const char* shown; // null: as it is, for it has no credentials
    };
    const Case cases[] = {
        {"http://tsa.example/a@b?c@d#e@f", WebScheme::kHttp, nullptr},
        {"HTTPS://tsa.example:8443", WebScheme::kHttps, nullptr},
        {"http://user:pw@tsa.example/x", WebScheme::kHttp, "http://***@tsa.example/x"},
        {"http://user@tsa.example", WebScheme::kHttp, "http://***@tsa.example"},
        {"https://a@b@tsa.example/", WebScheme::kHttps, "https://***@tsa.example/"},
        {"http://@tsa.example/", WebScheme::kHttp, "http://***@tsa.example/"},
        {"http:///user:pw@tsa.example/", WebScheme::kNone, "http:///***@tsa.example/"},
        {"http://\\user:pw@tsa.example/", WebScheme::kNone, "http://\\***@tsa.example/"},
        {"user:pw@proxy.example:3128", WebScheme::kNone, "***@proxy.example:3128"},
        {"ftp://user:pw@host/", WebScheme::kOther, "ftp://***@host/"},
        {"http://", WebScheme::kNone, nullptr},
        {"tsa.example/x", WebScheme::kNone, nullptr},
        {"", WebScheme::kNone, nullptr},
    };
    for (const Case& each : cases) {
        EXPECT_EQ(basalt::scheme_of(each.address), each.scheme) << each.address;
        EXPECT_EQ(basalt::has_user_info(each.address), each.shown != nullptr) << each.address;
        EXPECT_EQ(basalt::masked_address(each.address),
                  each.shown != nullptr ? each.shown : each.address);
    }
}

} // namespace
