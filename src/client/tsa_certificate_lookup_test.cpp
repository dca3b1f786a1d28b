// The search for the signer's certificate when memory runs out. The program's operator new fails
// where a test wants it.
#include <cstdlib>
#include <new>

#include <chronoseal/client/testing/suite.h>

namespace {

thread_local long allocations_left = -1; // none fails below 0

} // namespace

void* operator new(std::size_t size) {
    if (allocations_left == 0) {
        throw std::bad_alloc();
    }
    allocations_left -= allocations_left > 0 ? 1 : 0;
    void* const block = std::malloc(size == 0 ? 1 : size);
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    return block;
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return std::malloc(size == 0 ? 1 : size);
}
void operator delete(void* block) noexcept {
    std::free(block);
}
void operator delete(void* block, const std::nothrow_t&) noexcept {
    std::free(block);
}
void operator delete(void* block, std::size_t) noexcept {
    std::free(block);
}

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
