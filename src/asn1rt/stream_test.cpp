// The forward writers with and without a stream.
#include <chronoseal/asn1rt/stream.h>

#include <string>
#include <utility>

#include <gtest/gtest.h>

#include <chronoseal/asn1rt/status.h>
#include <chronoseal/asn1rt/test_context.h>

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
    int write(const std::string& text) {
        return rtWriteBytes(&ctxt, reinterpret_cast<const unsigned char*>(text.data()),
                            static_cast<std::uint32_t>(text.size()));
    }
    // The status, which must have been latched.
    int failed(int status) {
        EXPECT_EQ(std::exchange(ctxt.errInfo.status, 0), status);
        return status;
    }
    TestContext ctxt;
};

TEST_F(StreamTest, WithoutAStream) {
    const unsigned char byte = 0;
    EXPECT_EQ(failed(rtStreamWrite(&ctxt, &byte, 1)), -32);
    EXPECT_EQ(failed(rtStreamFlush(&ctxt)), -30);
    EXPECT_EQ(failed(rtStreamBufFlush(&ctxt)), -30);
    EXPECT_EQ(rtStreamRelease(&ctxt), 0);
    EXPECT_EQ(write("0123456789") | write(""), 0);
    EXPECT_EQ(ctxt.bufIndex, 10U);
    EXPECT_EQ(ctxt.bufSize, 8U + 16384);
    EXPECT_EQ(failed(rtCheckBuffer(&ctxt, 0x7FFFFFFF)), -12);
    unsigned char fixed[4];
    rtInitContextBuffer(&ctxt, fixed, 4);
    EXPECT_EQ(write("abcd"), 0);
    EXPECT_EQ(failed(write("e")), -1);
}

TEST_F(StreamTest, ThroughTheBuffer) {
    rtStream* stream = open(rtStreamOutput | rtStreamBufferedOutput);
    for (const auto& [text, sunk] : std::initializer_list<std::pair<const char*, const char*>>{
             {"abcde", ""},
             {"fghi", "abcde"},                           // the buffer goes first
             {"0123456789", "abcdefghi0123456789"},       // larger than the buffer: straight
             {"01234567", "abcdefghi012345678901234567"}, // and so is what is as large
             {"xy", "abcdefghi012345678901234567"}}) {
        EXPECT_EQ(write(text), 0);
        EXPECT_EQ(sink.bytes, sunk);
    }
    EXPECT_EQ(rtCheckBuffer(&ctxt, 6), 0);
    EXPECT_EQ(sink.flushes, 0);
    EXPECT_EQ(rtCheckBuffer(&ctxt, 7), 0);
    EXPECT_EQ(sink.flushes, 1);
    EXPECT_EQ(ctxt.bufIndex, 0U);
    EXPECT_EQ(rtCheckBuffer(&ctxt, 9), 0) << "still short: it grows";
    EXPECT_EQ(stream->bytesWritten, 29U);
    EXPECT_EQ(rtStreamBufFlush(&ctxt), 5);
    stream->flush = nullptr;
    EXPECT_EQ(rtStreamFlush(&ctxt), 0);
}

TEST_F(StreamTest, Failures) {
    rtStream* stream = open(rtStreamBufferedOutput);
    EXPECT_EQ(failed(rtStreamWrite(&ctxt, ctxt.bufData, 1)), -32);
    ctxt.bufIndex = 3;
    EXPECT_EQ(failed(rtStreamBufFlush(&ctxt)), -30) << "written, but not open for a flush";
    EXPECT_EQ(stream->bytesWritten, 3U);
    stream->flags = rtStreamOutput;
    sink.write_result = -7;
    ctxt.bufIndex = 3;
    EXPECT_EQ(failed(rtStreamBufFlush(&ctxt)), -7);
    EXPECT_EQ(rtCheckBuffer(&ctxt, 8), -7);
    EXPECT_EQ(write("01234567"), -7);
    EXPECT_EQ(stream->bytesWritten, 3U);
    stream->write = nullptr;
    EXPECT_EQ(rtStreamBufFlush(&ctxt), -32);
}

} // namespace
