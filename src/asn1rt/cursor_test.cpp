// The readers that only move the cursor or copy bytes from it.
#include <gtest/gtest.h>

#include "asn1rt/decode.h"
#include "asn1rt/status.h"
#include "asn1rt/test_context.h"

namespace {

TEST(CursorTest, MovesPastTheEndOfTheCurrentLevelOnly) {
    TestContext ctxt;
    ctxt.read(bytes_of("05 00 30 80 04 01 41 00 00 24 00 00 00 05 00 00 00"));
    EXPECT_EQ(xd_MovePastEOC(&ctxt), 0);
    EXPECT_EQ(ctxt.bufIndex, 13U) << "behind the first end-of-contents of this level";
    EXPECT_EQ(xd_MovePastEOC(&ctxt), 0);
    EXPECT_EQ(ctxt.bufIndex, 17U);
    EXPECT_EQ(xd_MovePastEOC(&ctxt), rtStatusEndOfBuffer);
    ctxt.read(bytes_of("04 05 41"));
    EXPECT_EQ(xd_MovePastEOC(&ctxt), rtStatusEndOfBuffer) << "no step beyond the buffer";
    ctxt.read(bytes_of("04 80 00 00"));
    EXPECT_EQ(xd_MovePastEOC(&ctxt), rtStatusInvalidLength);
    EXPECT_EQ(ctxt.errInfo.status, 0);
}

TEST(CursorTest, CopiesAllOrNothing) {
    TestContext ctxt;
    ctxt.read(bytes_of("01 02 03"));
    unsigned char out[3] = {9, 9, 9};
    EXPECT_EQ(xd_memcpy(&ctxt, out, 2), 0);
    EXPECT_EQ(out[1], 2);
    EXPECT_EQ(xd_memcpy(&ctxt, out, 2), rtStatusEndOfBuffer);
    EXPECT_EQ(ctxt.bufIndex, 2U);
    EXPECT_EQ(out[0], 1) << "untouched";
    EXPECT_EQ(xd_memcpy(&ctxt, nullptr, 0), 0);
    EXPECT_EQ(xd_memcpy(&ctxt, out, 0xFFFFFFFF), rtStatusEndOfBuffer);
    EXPECT_EQ(xd_memcpy(&ctxt, out, 1), 0);
    ctxt.flags = ctxFlagIndefMessage;
    EXPECT_EQ(xd_memcpy(&ctxt, out, 1), rtStatusEndOfBuffer)
        << "not beyond the buffer in a message of indefinite length either";
    EXPECT_EQ(ctxt.errInfo.status, 0);
}

} // namespace
