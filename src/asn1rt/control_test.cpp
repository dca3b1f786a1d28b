// Message buffers, control objects and value records together, on a type written by hand in the
// shape of the generated ones.
#include "asn1rt/control.h"

#include <cstring>
#include <memory>

#include <gtest/gtest.h>

#include "asn1rt/decode_buffer.h"
#include "asn1rt/encode_buffer.h"
#include "asn1rt/pdu.h"
#include "asn1rt/status.h"
#include "asn1rt/test_context.h"

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

TEST(ControlTest, EncodeAndDecode) {
    Note note;
    note.text = "hello";
    ASN1BEREncodeBuffer buffer;
    EXPECT_TRUE(buffer.isA(ASN1MessageBufferIF::BEREncode));
    EXPECT_FALSE(buffer.isA(ASN1MessageBufferIF::BERDecode));
    NoteControl control(buffer, note);
    ASSERT_EQ(control.Encode(), 7);
    const Bytes message(buffer.getMsgPtr(), buffer.getMsgPtr() + 7);
    EXPECT_EQ(message, bytes_of("16 05 68 65 6C 6C 6F"));
    EXPECT_EQ(control.Encode(), 7) << "each encode starts anew";
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
    EXPECT_EQ(read.context->getRefCount(), 1);
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
    EXPECT_EQ(bound.EncodeTo(source), 0);
    EXPECT_EQ(bound.DecodeFrom(source), 0);
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

TEST(DecodeBufferTest, WithoutData) {
    Note note;
    ASN1BERDecodeBuffer buffer;
    const auto thrown_status = [](auto call) {
        try {
            call();
        } catch (const ASN1MessageBuffer::RTLError& error) {
            return error.getStatus();
        }
        return 0;
    };
    EXPECT_EQ(thrown_status([&] { buffer.init(); }), -99);
    NoteControl control(buffer, note);
    EXPECT_EQ(control.Decode(), -99);
    const Bytes bytes = bytes_of("16 05 41");
    ASN1BERDecodeBuffer broken(bytes.data(), 3);
    EXPECT_EQ(thrown_status([&] { broken.init(); }), -5);
    ASN1BERDecodeBuffer empty(bytes.data(), 0);
    EXPECT_EQ(thrown_status([&] { empty.init(); }), -99);
    EXPECT_EQ(empty.setBuffer(nullptr, 3), -99);
    unsigned char one = 0;
    ASN1MemBuf memory{};
    rtMemBufInit(empty.getCtxtPtr(), &memory, 8);
    ASSERT_EQ(rtMemBufAppend(&memory, bytes.data(), 3), 0);
    EXPECT_EQ(empty.initBuffer(memory), 0);
    EXPECT_EQ(empty.getCtxtPtr()->bufSize, 3U);
    EXPECT_EQ(*empty.getMsgPtr(), 0x16);
    for (const std::uint32_t start : {3U, 4U}) {
        memory.startIndex = start;
        EXPECT_EQ(empty.initBuffer(memory), 0);
        EXPECT_EQ(empty.getCtxtPtr()->bufSize, 0U);
    }
    rtMemBufInit(empty.getCtxtPtr(), &memory, 8);
    EXPECT_EQ(empty.initBuffer(memory), 0);
    EXPECT_EQ(xd_peek(empty.getCtxtPtr()), -1) << "nothing, not 16384 bytes of anything";
    EXPECT_EQ(empty.initBuffer(reinterpret_cast<char*>(&one)), -99);
    unsigned short wide = 0;
    EXPECT_EQ(empty.initBuffer(&wide), -99);
}

TEST(DecodeBufferTest, SetBufferKeepsOrStartsAnew) {
    const Bytes bytes = bytes_of("16 01 41");
    ASN1BERDecodeBuffer buffer;
    ASN1BERDecodeBuffer unread(bytes.data(), 3);
    EXPECT_EQ(unread.setBuffer(bytes.data(), 3, 1), 0);
    EXPECT_EQ(*unread.getMsgPtr(), 0x16) << "not ready before: there is nothing to keep";
    EXPECT_EQ(buffer.setBuffer(bytes.data(), 3), 0);
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

TEST(MessageBufferTest, OperatorsThrowUnlessTheResultIsZero) {
    Note note;
    note.text = "A";
    ASN1BEREncodeBuffer out;
    NoteControl control(out, note);
    try {
        out << control;
        FAIL() << "a length isn't 0, so a good encode throws it";
    } catch (const ASN1RTLException& error) {
        EXPECT_EQ(error.status, 3);
    }
    struct Thrower : ASN1CType {
        using ASN1CType::ASN1CType;
        int EncodeTo(ASN1MessageBufferIF&) override { throw ASN1MessageBuffer::RTLError(-7); }
        int DecodeFrom(ASN1MessageBufferIF&) override { throw ASN1RTLException(-8); }
    };
    Thrower thrower(out);
    EXPECT_EQ(thrower.Encode(), -7) << "a status like any other";
    EXPECT_THROW(thrower.Decode(), ASN1RTLException) << "only RTLError is caught";
    ASN1CType nothing(out);
    EXPECT_NO_THROW(out << nothing);
    const Bytes bytes = bytes_of("16 01 41 16 01 42");
    ASN1BERDecodeBuffer in(bytes.data(), 6);
    EXPECT_NO_THROW(in >> control);
    EXPECT_THROW(in >> control, ASN1RTLException);
}

void* no_memory(void*, std::size_t) {
    return nullptr;
}

TEST(MessageBufferTest, ConstructorsThrowWithoutMemory) {
    g_malloc_func = no_memory;
    int status = 0;
    try {
        ASN1BEREncodeBuffer buffer;
    } catch (const ASN1MessageBuffer::RTLError& error) {
        status = error.status;
    }
    g_malloc_func = [](void* arg, std::size_t size) {
        return size > 16000 ? nullptr : rtDefaultMalloc(arg, size);
    };
    EXPECT_THROW(ASN1BEREncodeBuffer(), ASN1MessageBuffer::RTLError);
    g_malloc_func = rtDefaultMalloc;
    EXPECT_EQ(status, -12);
}

TEST(ContextPointerTest, References) {
    auto* context = new ASN1Context;
    ASN1CtxtPtr first(context);
    {
        ASN1CtxtPtr second(first);
        EXPECT_EQ(context->getRefCount(), 2);
        ASN1CtxtPtr third;
        EXPECT_EQ(third.get(), nullptr);
        third = second;
        third = std::move(second);
        EXPECT_EQ(context->getRefCount(), 2);
        EXPECT_EQ(&*third, context);
    }
    Note note;
    note.setContext(first);
    note.setContext(first);
    EXPECT_EQ(first->getRefCount(), 2);
    note.setContext(nullptr);
    EXPECT_EQ(first->getRefCount(), 1);
}

} // namespace
