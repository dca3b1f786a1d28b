// The search for the signer's certificate when memory runs out.
#include <chronoseal/client/testing/failing_new.h>
#include <chronoseal/client/testing/suite.h>

namespace Halcyon::PKI::TSP::Client {
namespace {

using namespace testing;

TEST(TsaCertificateLookup, ThrowsNothingWhicheverAllocationFails) {
    Configuration::instance().set("");
    const Authority authority;
    // By the signed attributes, by issuer and serial number, and not at all.
    for (const auto& [signing, found] :
         {std::pair{Signing{}, true}, std::pair{Signing{.flags = 0}, true},
          std::pair{Signing{.with_certificates = false}, false}}) {
        const auto token = authority.signed_with(signing);
        long failing = 0;
        for (bool more = true; more; ++failing) {
            CStamp stamp;
            import(stamp, token);
            const _CERT_CONTEXT* certificate = nullptr;
            bool thrown = false;
            allocations_left = failing;
            try {
                certificate = stamp.get_TSACertificate(nullptr, 0);
            } catch (...) {
                thrown = true;
            }
            more = allocations_left == 0;
            allocations_left = -1;
            ASSERT_FALSE(thrown) << failing;
            if (!more) {
                EXPECT_EQ(certificate != nullptr, found);
            }
        }
        EXPECT_GT(failing, 20);
    }
}

} // namespace
} // namespace Halcyon::PKI::TSP::Client
