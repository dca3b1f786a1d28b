// What the control classes of all types are: a record bound to a message buffer, which codes it,
// with copies on the context that the object holds. Failures are the run-time's; a copy without
// memory throws ASN1MessageBuffer::RTLError with -12.
#pragma once

#include <concepts>
#include <memory>
#include <type_traits>

#include <chronoseal/asn1data/record_memory.h>
#include <chronoseal/asn1rt/bit_string_control.h>
#include <chronoseal/asn1rt/list_control.h>
#include <chronoseal/asn1rt/runtime.h>

namespace asn1data {

/// The three bases of control classes. Each is made on a record alone (with a context of its own),
/// on a buffer, or on what another object of its kind is on.
class PlainControl : public ASN1CType {
protected:
    template <class Record>
    explicit PlainControl(Record&) {}
    template <class Record>
    PlainControl(ASN1MessageBufferIF& buffer, Record&) : ASN1CType(buffer) {}
    template <class Record>
    PlainControl(const PlainControl& other, Record&) : ASN1CType(other) {}
};

class ListControl : public ASN1CSeqOfList {
protected:
    template <class Record>
    explicit ListControl(Record& value) : ASN1CSeqOfList(value) {}
    template <class Record>
    ListControl(ASN1MessageBufferIF& buffer, Record& value) : ASN1CSeqOfList(buffer, value) {}
    template <class Record>
    ListControl(const ListControl& other, Record& value)
        : ASN1CSeqOfList(*other.context.get(), value) {}
};

/// Bits in a dynamic string, or in a record that holds `capacity` of them in place.
class BitsControl : public ASN1CBitStr {
protected:
    explicit BitsControl(ASN1TDynBitStr& value) : ASN1CBitStr(*new ASN1Context, value) {}
    BitsControl(ASN1MessageBufferIF& buffer, ASN1TDynBitStr& value) : ASN1CBitStr(buffer, value) {}
    BitsControl(const BitsControl& other, ASN1TDynBitStr& value)
        : ASN1CBitStr(*other.context.get(), value) {}
    template <class Record>
    explicit BitsControl(Record& value)
        : ASN1CBitStr(*new ASN1Context, value.data, value.numbits, Record::capacity) {}
    template <class Record>
    BitsControl(ASN1MessageBufferIF& buffer, Record& value)
        : ASN1CBitStr(buffer, value.data, value.numbits, Record::capacity) {}
    template <class Record>
    BitsControl(const BitsControl& other, Record& value)
        : ASN1CBitStr(*other.context.get(), value.data, value.numbits, Record::capacity) {}
};

template <class Base, class Record, int (*Encode)(ASN1CTXT*, Record*, ASN1TagType),
          int (*Decode)(ASN1CTXT*, Record*, ASN1TagType, int),
          void (*Copy)(ASN1CTXT*, Record*, Record*)>
class ControlClass : public Base {
public:
    Record& msgData;

    explicit ControlClass(Record& value) : Base(value), msgData(value) {}
    ControlClass(ASN1MessageBufferIF& buffer, Record& value)
        : Base(buffer, value), msgData(value) {}

    /// On a copy of the other's value. The copy belongs to the context that both objects hold; a
    /// reference in it would keep the context alive for ever.
    ControlClass(ControlClass& other) : ControlClass(other, *required<Record>(other.getCtxtPtr())) {
        Copy(this->getCtxtPtr(), &other.msgData, &msgData);
    }

    ControlClass& operator=(ControlClass& other) requires std::derived_from<Base, ASN1CSeqOfList> {
        if (this != &other) {
            this->clear();
            Copy(this->getCtxtPtr(), &other.msgData, &msgData);
        }
        return *this;
    }

    int EncodeTo(ASN1MessageBufferIF& buffer) override {
        this->setMsgBuf(buffer);
        buffer.init();
        return Encode(buffer.getCtxtPtr(), &msgData, 1);
    }

    int DecodeFrom(ASN1MessageBufferIF& buffer) override {
        this->setMsgBuf(buffer);
        buffer.init();
        return Decode(buffer.getCtxtPtr(), &msgData, 1, 0);
    }

    /// A deep copy into `target`, or into a new record on the type heap; the record itself when it
    /// is the target.
    Record* getCopy(Record* target = nullptr) {
        if (target == &msgData) {
            return target;
        }
        ASN1CTXT* ctx = this->getCtxtPtr();
        if (target == nullptr) {
            target = required<Record>(ctx);
        }
        Copy(ctx, &msgData, target);
        if constexpr (std::is_base_of_v<ASN1TPDU, Record>) {
            adopt(*target, this->context);
        }
        return target;
    }

    /// The same into a record from `new`, which the caller deletes.
    Record* newCopy() {
        auto copy = std::make_unique<Record>();
        getCopy(copy.get());
        return copy.release();
    }

private:
    ControlClass(ControlClass& other, Record& copy) : Base(other, copy), msgData(copy) {}
};

} // namespace asn1data
