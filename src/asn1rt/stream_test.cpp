// The forward writers with and without a stream.
#include "asn1rt/stream.h"

#include <string>

#include <gtest/gtest.h>

#include "asn1rt/status.h"
#include "asn1rt/test_context.h"

namespace {

struct Sink {
    std::string bytes;
    int flushes = 0;
    int write_result = 0;
};

Sink sink;

int sink_write(rtStream*, const unsigned char* data, std::uint32_t count) {
    if (sink.write_result >= 0) {
        sink.bytes.append(data, data + count);
    }
    return sink.write_result;
}

int sink_flush(rtStream*) {
    return ++sink.flushes, 5;
}

const unsigned char* text(const char* s) {
    return reinterpret_cast<const unsigned char*>(s);
}

class StreamTest : public testing::Test {
protected:
    StreamTest() {
        sink = {};
        rtInitContextBuffer(&ctxt, nullptr, 8);
    }
    rtStream* open(std::uint32_t flags) {
        auto* stream = static_cast<rtStream*>(rtMemHeapAlloc(&ctxt.msgHeap, sizeof(rtStream)));
        *stream = {sink_write, sink_flush, 0, flags};
        ctxt.stream = stream;
        return stream;
    }
    int latched() {
        const int status = ctxt.errInfo.status;
        rtErrReset(&ctxt.errInfo);
        return status;
    }
    TestContext ctxt;
};

TEST_F(StreamTest, WithoutAStream) {
    EXPECT_EQ(rtStreamWrite(&ctxt, text("a"), 1), -32);
    EXPECT_EQ(latched(), -32);
    EXPECT_EQ(rtStreamFlush(&ctxt), -30);
    EXPECT_EQ(latched(), -30);
    EXPECT_EQ(rtStreamBufFlush(&ctxt), -30);
    EXPECT_EQ(rtStreamRelease(&ctxt), 0);
    EXPECT_EQ(latched(), -30);
    EXPECT_EQ(rtWriteBytes(&ctxt, text("0123456789"), 10), 0);
    EXPECT_EQ(rtWriteBytes(&ctxt, nullptr, 0), 0);
    EXPECT_EQ(ctxt.bufIndex, 10U);
    EXPECT_EQ(ctxt.bufSize, 8U + 16384);
    EXPECT_EQ(rtCheckBuffer(&ctxt, 0x7FFFFFFF), -12);
    EXPECT_EQ(latched(), -12);
    unsigned char fixed[4];
    rtInitContextBuffer(&ctxt, fixed, 4);
    EXPECT_EQ(rtWriteBytes(&ctxt, text("abcd"), 4), 0);
    EXPECT_EQ(rtWriteBytes(&ctxt, text("e"), 1), -1);
    EXPECT_EQ(latched(), -1);
}

TEST_F(StreamTest, ThroughTheBuffer) {
    rtStream* stream = open(rtStreamOutput | rtStreamBufferedOutput);
    EXPECT_EQ(rtWriteBytes(&ctxt, text("abcde"), 5), 0);
    EXPECT_EQ(sink.bytes, "");
    EXPECT_EQ(rtWriteBytes(&ctxt, text("fghi"), 4), 0);
    EXPECT_EQ(sink.bytes, "abcde");
    EXPECT_EQ(rtWriteBytes(&ctxt, text("0123456789"), 10), 0);
    EXPECT_EQ(sink.bytes, "abcdefghi0123456789")
        << "what is no smaller than the buffer goes straight";
    EXPECT_EQ(rtWriteBytes(&ctxt, text("xy"), 2), 0);
    EXPECT_EQ(rtCheckBuffer(&ctxt, 6), 0);
    EXPECT_EQ(sink.flushes, 0);
    EXPECT_EQ(rtCheckBuffer(&ctxt, 7), 0);
    EXPECT_EQ(sink.flushes, 1);
    EXPECT_EQ(ctxt.bufIndex, 0U);
    EXPECT_EQ(rtCheckBuffer(&ctxt, 9), 0) << "still short: it grows";
    EXPECT_EQ(stream->bytesWritten, 21U);
    EXPECT_EQ(rtStreamBufFlush(&ctxt), 5);
    stream->flush = nullptr;
    EXPECT_EQ(rtStreamFlush(&ctxt), 0);
}

TEST_F(StreamTest, Failures) {
    rtStream* stream = open(rtStreamBufferedOutput);
    EXPECT_EQ(rtStreamWrite(&ctxt, text("a"), 1), -32);
    EXPECT_EQ(latched(), -32);
    ctxt.bufIndex = 3;
    EXPECT_EQ(rtStreamBufFlush(&ctxt), -30) << "written, but not open for a flush";
    EXPECT_EQ(latched(), -30);
    EXPECT_EQ(stream->bytesWritten, 3U);
    stream->flags = rtStreamOutput;
    sink.write_result = -7;
    ctxt.bufIndex = 3;
    EXPECT_EQ(rtStreamBufFlush(&ctxt), -7);
    EXPECT_EQ(latched(), -7);
    EXPECT_EQ(rtCheckBuffer(&ctxt, 8), -7);
    EXPECT_EQ(rtWriteBytes(&ctxt, text("01234567"), 8), -7);
    EXPECT_EQ(stream->bytesWritten, 3U);
    stream->write = nullptr;
    EXPECT_EQ(rtStreamBufFlush(&ctxt), -32);
}

} // namespace
