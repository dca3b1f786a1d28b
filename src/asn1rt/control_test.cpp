// Message buffers, control objects and value records together, on a type written by hand in the
// shape of the generated ones.
#include <chronoseal/asn1rt/control.h>

#include <cstring>
#include <memory>

#include <gtest/gtest.h>

#include <chronoseal/asn1rt/decode_buffer.h>
#include <chronoseal/asn1rt/encode_buffer.h>
#include <chronoseal/asn1rt/pdu.h>
#include <chronoseal/asn1rt/status.h>
#include <chronoseal/asn1rt/test_allocator.h>
#include <chronoseal/asn1rt/test_context.h>

namespace {

struct Note : ASN1TPDU {
    const char* text = nullptr;
};

class NoteControl : public ASN1CType {
public:
    NoteControl(ASN1MessageBufferIF& buffer, Note& note) : ASN1CType(buffer), note_(note) {}
    explicit NoteControl(Note& note) : note_(note) {}
    using ASN1CType::msgBuf;

    int EncodeTo(ASN1MessageBufferIF& buffer) override {
        setMsgBuf(buffer);
        buffer.init();
        return xe_charstr(buffer.getCtxtPtr(), note_.text, 1, 22);
    }
    int DecodeFrom(ASN1MessageBufferIF& buffer) override {
        setMsgBuf(buffer);
        buffer.init();
        const int status = xd_charstr(buffer.getCtxtPtr(), &note_.text, 1, 22, 0);
        if (status == 0) {
            note_.setContext(buffer.getContext());
        }
        return status;
    }

private:
    Note& note_;
};

// The status of what the call throws, or 0.
template <typename Error = ASN1MessageBuffer::RTLError, typename Call>
int thrown_status(Call call) {
    try {
        call();
    } catch (const Error& error) {
        return error.getStatus();
    }
    return 0;
}

TEST(ControlTest, EncodeAndDecode) {
    Note note;
    note.text = "hello";
    ASN1BEREncodeBuffer buffer;
    EXPECT_TRUE(buffer.isA(ASN1MessageBufferIF::BEREncode));
    EXPECT_FALSE(buffer.isA(ASN1MessageBufferIF::BERDecode));
    NoteControl control(buffer, note);
    ASSERT_EQ(control.Encode(), 7);
    EXPECT_EQ(control.Encode(), 7) << "each encode starts anew";
    const Bytes message(buffer.getMsgPtr(), buffer.getMsgPtr() + 7);
    EXPECT_EQ(message, bytes_of("16 05 68 65 6C 6C 6F"));
    const std::unique_ptr<unsigned char[]> copy(buffer.getMsgCopy());
    EXPECT_EQ(std::memcmp(copy.get(), message.data(), 7), 0);
    EXPECT_EQ(copy[7], 0) << "the unused top byte is part of the copy";
    Note read;
    {
        ASN1BERDecodeBuffer source(message.data(), 7);
        EXPECT_TRUE(source.isA(ASN1MessageBufferIF::BERDecode));
        EXPECT_FALSE(source.isA(ASN1MessageBufferIF::BEREncode));
        NoteControl reader(source, read);
        ASSERT_EQ(reader.Decode(), 0);
        EXPECT_EQ(reader.Decode(), -2) << "a second decode goes on from the cursor";
        EXPECT_EQ(source.getMsgPtr(), message.data());
        EXPECT_EQ(source.getMsgCopy(), nullptr);
    }
    EXPECT_STREQ(read.text, "hello") << "the record outlives its buffer";
    read.setContext(read.context);
    EXPECT_EQ(read.context->getRefCount(), 1);
    ASN1CtxtPtr first(read.context);
    ASN1CtxtPtr second;
    second = first;
    second = std::move(first);
    EXPECT_EQ(read.context->getRefCount(), 2);
}

TEST(ControlTest, ControlWithAContextOfItsOwn) {
    Note note;
    NoteControl control(note);
    EXPECT_EQ(control.Encode(), -99) << "no buffer is bound";
    EXPECT_EQ(control.Decode(), -99);
    const Bytes message = bytes_of("16 01 41");
    ASN1BERDecodeBuffer source(message.data(), 3);
    EXPECT_EQ(control.DecodeFrom(source), 0);
    EXPECT_EQ(control.msgBuf, &source);
    EXPECT_NE(control.getCtxtPtr(), source.getCtxtPtr());
    EXPECT_EQ(control.getCtxtPtr()->typeHeap, source.getCtxtPtr()->typeHeap) << "values are shared";
    const NoteControl copy(control);
    EXPECT_EQ(copy.getCtxtPtr(), control.getCtxtPtr());
    EXPECT_EQ(control.getContext()->getRefCount(), 3);
    auto* shared = new ASN1Context;
    ASN1CType bound(*shared);
    EXPECT_EQ(shared->getRefCount(), 1);
    EXPECT_EQ(bound.EncodeTo(source) | bound.DecodeFrom(source), 0);
    testing::internal::CaptureStdout();
    shared->PrintErrorInfo();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "ASN.1 ERROR: Status 0\n");
}

TEST(ControlTest, FixedBuffer) {
    Note note;
    note.text = "hello";
    unsigned char storage[8];
    ASN1BEREncodeBuffer buffer(storage, 7);
    NoteControl control(buffer, note);
    EXPECT_EQ(control.Encode(), -1);
    note.text = "hell";
    EXPECT_EQ(control.Encode(), 6) << "still of use";
    EXPECT_EQ(buffer.setBuffer(storage, 8), 0);
    EXPECT_EQ(control.Encode(), 6);
    ASN1BEREncodeBuffer none(storage, 0);
    EXPECT_EQ(none.getMsgCopy(), nullptr);
    none.init();
    EXPECT_EQ(control.EncodeTo(none), -1);
}

TEST(ControlTest, WhatIsThrownAndWhatIsCaught) {
    struct Thrower : ASN1CType {
        using ASN1CType::ASN1CType;
        int EncodeTo(ASN1MessageBufferIF&) override { throw ASN1MessageBuffer::RTLError(-7); }
        int DecodeFrom(ASN1MessageBufferIF&) override { throw ASN1RTLException(-8); }
    };
    ASN1BEREncodeBuffer out;
    Thrower thrower(out);
    EXPECT_EQ(thrower.Encode(), -7) << "a status like any other";
    EXPECT_THROW(thrower.Decode(), ASN1RTLException) << "only RTLError is caught";
    Note note;
    note.text = "A";
    NoteControl control(out, note);
    EXPECT_EQ(thrown_status<ASN1RTLException>([&] { out << control; }), 3)
        << "a length isn't 0, so a good encode throws it";
    ASN1CType nothing(out);
    EXPECT_NO_THROW(out << nothing);
    const Bytes bytes = bytes_of("16 01 41 16 01 42");
    ASN1BERDecodeBuffer in(bytes.data(), 6);
    EXPECT_NO_THROW(in >> control);
    EXPECT_THROW(in >> control, ASN1RTLException);
    {
        const FailingAllocator none(0);
        EXPECT_EQ(thrown_status([] { ASN1BEREncodeBuffer buffer; }), -12);
    }
    const FailingAllocator heap_only(1);
    EXPECT_EQ(thrown_status([] { ASN1BEREncodeBuffer buffer; }), -12);
}

TEST(DecodeBufferTest, WithoutData) {
    Note note;
    ASN1BERDecodeBuffer buffer;
    EXPECT_EQ(thrown_status([&] { buffer.init(); }), -99);
    EXPECT_EQ(NoteControl(buffer, note).Decode(), -99);
    const Bytes bytes = bytes_of("16 05 41");
    ASN1BERDecodeBuffer broken(bytes.data(), 3);
    EXPECT_EQ(thrown_status([&] { broken.init(); }), -5);
    ASN1BERDecodeBuffer empty(bytes.data(), 0);
    EXPECT_EQ(thrown_status([&] { empty.init(); }), -99);
    EXPECT_EQ(empty.setBuffer(nullptr, 3), -99);
    unsigned short wide = 0;
    EXPECT_EQ(empty.initBuffer(reinterpret_cast<char*>(&wide)), -99);
    EXPECT_EQ(empty.initBuffer(&wide), -99);
}

TEST(DecodeBufferTest, OnAMemoryBuffer) {
    const Bytes bytes = bytes_of("16 05 41");
    ASN1BERDecodeBuffer buffer;
    ASN1MemBuf memory{};
    rtMemBufInit(buffer.getCtxtPtr(), &memory, 8);
    EXPECT_EQ(buffer.initBuffer(memory), 0);
    EXPECT_EQ(xd_peek(buffer.getCtxtPtr()), -1) << "nothing, not 16384 bytes of anything";
    ASSERT_EQ(rtMemBufAppend(&memory, bytes.data(), 3), 0);
    for (const std::uint32_t start : {0U, 2U, 3U, 4U}) {
        memory.startIndex = start;
        EXPECT_EQ(buffer.initBuffer(memory), 0);
        EXPECT_EQ(buffer.getCtxtPtr()->bufSize, start < 3 ? 3 - start : 0);
        EXPECT_EQ(xd_peek(buffer.getCtxtPtr()), start < 3 ? bytes[start] : -1);
    }
}

TEST(DecodeBufferTest, SetBufferKeepsOrStartsAnew) {
    const Bytes bytes = bytes_of("16 01 41");
    ASN1BERDecodeBuffer buffer(bytes.data(), 3);
    EXPECT_EQ(buffer.setBuffer(bytes.data(), 3, 1), 0);
    EXPECT_EQ(buffer.getMsgPtr(), bytes.data()) << "not ready before: there is nothing to keep";
    buffer.getCtxtPtr()->bufIndex = 3;
    EXPECT_EQ(buffer.setBuffer(bytes.data(), 3, 1), 0);
    EXPECT_EQ(buffer.getCtxtPtr()->bufIndex, 3U);
    EXPECT_EQ(buffer.setBuffer(bytes.data(), 3), 0);
    EXPECT_EQ(buffer.getCtxtPtr()->bufIndex, 0U);
}

TEST(DecodeBufferTest, FindElement) {
    const Bytes bytes = bytes_of("30 0A A0 03 02 01 01 A1 03 02 01 02");
    ASN1BERDecodeBuffer buffer(bytes.data(), 12);
    int length = 0;
    EXPECT_EQ(buffer.findElement(2, length), bytes.data() + 4);
    EXPECT_EQ(length, 1);
    EXPECT_EQ(buffer.findElement(2, length, 0), bytes.data() + 9);
    EXPECT_EQ(buffer.findElement(2, length, 0), nullptr);
    EXPECT_EQ(buffer.findElement(0xA0000001, length, 1), bytes.data() + 7);
    EXPECT_EQ(length, 3);
    ASN1BERDecodeBuffer none;
    EXPECT_EQ(none.findElement(2, length), nullptr);
    const Bytes broken = bytes_of("30 05 02");
    ASN1BERDecodeBuffer bad(broken.data(), 3);
    EXPECT_EQ(bad.findElement(2, length), nullptr);
}

} // namespace
