// ASN1CBitStr, the object view on a bit string in a value record, or on one of its own. Bit 0 is
// the most significant bit of the first byte. Operations answer 0 or a latched status: -5 the
// storage can't grow, -24 a range that ends before it begins, -29 an index beyond the limit, -30 a
// null operand, -1 a buffer too small. Without memory ASN1MessageBuffer::RTLError with -12 is
// thrown.
#pragma once

#include <cstdint>

#include <chronoseal/asn1rt/control.h>
#include <chronoseal/asn1rt/value_record.h>
#include <chronoseal/visibility.h>

class CHRONOSEAL_API ASN1CBitStr : public ASN1CType {
public:
    static constexpr std::uint32_t kUnlimited = 0xFFFFFFFF;

    // An empty string of the object's own on the type heap: dynamic for a maximum of 0, else with
    // fixed storage of that many bits.
    explicit ASN1CBitStr(ASN1MessageBufferIF& buffer, std::uint32_t maxNumBits = 0);
    explicit ASN1CBitStr(ASN1Context& sharedContext, std::uint32_t maxNumBits = 0);

    // On the caller's array with room for `maxNumBits` bits, and on the caller's count. With a
    // maximum of 0 the string is dynamic, and leaves the array, which holds `count` bits, when it
    // grows.
    ASN1CBitStr(ASN1MessageBufferIF& buffer, unsigned char* bytes, std::uint32_t& count,
                std::uint32_t maxNumBits);
    ASN1CBitStr(ASN1Context& sharedContext, unsigned char* bytes, std::uint32_t& count,
                std::uint32_t maxNumBits);

    // On a value record, whose bytes are changed in place until the string grows. Without limit.
    ASN1CBitStr(ASN1MessageBufferIF& buffer, ASN1TDynBitStr& record);
    ASN1CBitStr(ASN1Context& sharedContext, ASN1TDynBitStr& record);

    // A copy of the bits in storage of its own; with `extendable` without limit.
    ASN1CBitStr(const ASN1CBitStr& other);
    ASN1CBitStr(const ASN1CBitStr& other, unsigned char extendable);
    ASN1CBitStr& operator=(const ASN1CBitStr& other) = delete;

    // An index equal to the limit passes the test of the index. In fixed storage it then fails with
    // -5, unless the last byte has room for it. Ranges are [from, to).
    int set(std::uint32_t index);
    int set(std::uint32_t from, std::uint32_t to);
    int clear(std::uint32_t index);
    int clear(std::uint32_t from, std::uint32_t to);
    void clear();
    int invert(std::uint32_t index);
    int invert(std::uint32_t from, std::uint32_t to);

    // False also for indices beyond the limit or the bytes in use.
    bool get(std::uint32_t index) const;
    // The bits of the range, from the buffer's first bit on; the rest of the last byte is cleared.
    int get(std::uint32_t from, std::uint32_t to, unsigned char* out, int size);
    // The bytes in use; their count, or -1.
    int getBytes(unsigned char* out, int size);

    int size() const { return unitsUsed; } // bytes up to the last that isn't 0
    // Bits up to the last that is set, and bits that are set: at most INT_MAX.
    int length() const;
    int cardinality() const;
    int unusedBitsInLastUnit() const; // bits behind the last that is set, in its byte

    // With the first `count` bits of `bytes`. What lies behind the operand is cleared by doAnd and
    // left by the others; doOr and doXor extend the string to the operand's length.
    int doAnd(const unsigned char* bytes, std::uint32_t count);
    int doOr(const unsigned char* bytes, std::uint32_t count);
    int doXor(const unsigned char* bytes, std::uint32_t count);
    int doAndNot(const unsigned char* bytes, std::uint32_t count);

    // Move all bits toward, or away from, bit 0. The count of bits follows, at most to the limit;
    // bits beyond it are dropped.
    int shiftLeft(std::uint32_t n);
    int shiftRight(std::uint32_t n);

    // The string as a record that shares the bytes; the pointer form makes a record on the type
    // heap.
    operator ASN1TDynBitStr() const;
    operator ASN1TDynBitStr*() const;

protected:
    unsigned char** units; // in the value record, or own_units_
    std::uint32_t maxBits;
    std::uint32_t* numBits; // in the value record, or own_num_bits_
    int unitsUsed = 0;
    int unitsAllocated = 0;
    bool isDynamic = false; // the bytes are a block of the type heap that this object made

private:
    using BitOperation = unsigned char (*)(unsigned char own, unsigned char other);

    void on_own(std::uint32_t maxNumBits);
    void on_array(unsigned char* bytes, std::uint32_t& count, std::uint32_t maxNumBits);
    void on_record(ASN1TDynBitStr& record);
    void copy_from(const ASN1CBitStr& other);

    int fail(int status) const;
    int check_index(std::uint32_t index) const;
    int check_range(std::uint32_t from, std::uint32_t to) const;
    // Makes `bytes` bytes usable: the only way in which the storage grows.
    int checkCapacity(std::uint32_t bytes);
    void allocate(std::uint32_t bytes);
    void shrink();
    void cut_count();
    std::uint64_t bits_in_use() const;
    int combine(const unsigned char* bytes, std::uint32_t count, BitOperation operation);
    int extend(const unsigned char* bytes, std::uint32_t count, BitOperation operation);

    unsigned char* own_units_ = nullptr;
    std::uint32_t own_num_bits_ = 0;
};
