#include <basalt/last_error.h>

#include <basalt/local_block.h>

#include <gtest/gtest.h>

#include <thread>

TEST(LastError, AnotherThreadNeitherSeesNorChangesIt) {
    SetLastError(0x80090008);
    DWORD seen = 1;
    std::thread([&seen] {
        seen = GetLastError();
        SetLastError(5);
    }).join();
    EXPECT_EQ(seen, 0U);
    EXPECT_EQ(GetLastError(), 0x80090008U);
}

TEST(LocalBlock, EmptyBlockIsNoFailureAndTooLargeOneIs) {
    HLOCAL block = LocalAlloc(0, 0);
    EXPECT_NE(block, nullptr);
    EXPECT_EQ(LocalFree(block), nullptr);
    EXPECT_EQ(LocalFree(nullptr), nullptr);
    SetLastError(0);
    volatile SIZE_T huge = SIZE_MAX / 2 + 1;
    EXPECT_EQ(LocalAlloc(LPTR, huge), nullptr);
    EXPECT_EQ(GetLastError(), 8U);
}

TEST(LocalBlock, ZeroedOnRequest) {
    auto* block = static_cast<BYTE*>(LocalAlloc(LPTR, 4096));
    for (int i = 0; i < 4096; ++i) {
        ASSERT_EQ(block[i], 0);
    }
    LocalFree(block);
}
