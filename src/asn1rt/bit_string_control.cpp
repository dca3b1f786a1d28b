// ASN1CBitStr. checkCapacity is the only way in which the storage grows, and it clears what it
// adds.
#include <chronoseal/asn1rt/bit_string_control.h>

#include <algorithm>
#include <bit>
#include <climits>
#include <cstring>

#include <chronoseal/asn1rt/allocation.h>
#include <chronoseal/asn1rt/bit_string_value.h>
#include <chronoseal/asn1rt/status.h>

namespace {

constexpr std::uint32_t kGrowth = 1024;

std::uint32_t bytes_for(std::uint32_t bits) {
    return bits / 8 + (bits % 8 != 0 ? 1 : 0);
}

// As many as can be counted: the last bit of 2^29 bytes can't.
std::uint32_t bits_for(int bytes) {
    const std::uint64_t bits = static_cast<std::uint64_t>(bytes) * 8;
    return static_cast<std::uint32_t>(std::min<std::uint64_t>(bits, UINT32_MAX));
}

// The byte at `index` of a string of `count` bits, without the bits behind them.
unsigned char operand_byte(const unsigned char* bytes, std::uint32_t count, std::uint32_t index) {
    const std::uint32_t bits = count - index * 8;
    return static_cast<unsigned char>(bits >= 8 ? bytes[index] : bytes[index] & (0xFF00U >> bits));
}

int at_most_int(std::uint64_t count) {
    return static_cast<int>(std::min<std::uint64_t>(count, INT_MAX));
}

template <typename T>
T* required(ASN1CTXT* ctxt, std::uint64_t count) {
    T* const block = asn1rt::alloc_latched<T>(ctxt, count);
    if (block == nullptr) {
        throw ASN1MessageBuffer::RTLError(rtStatusNoMemory);
    }
    return block;
}

} // namespace

ASN1CBitStr::ASN1CBitStr(ASN1MessageBufferIF& buffer, std::uint32_t maxNumBits)
    : ASN1CType(buffer) {
    on_own(maxNumBits);
}

ASN1CBitStr::ASN1CBitStr(ASN1Context& sharedContext, std::uint32_t maxNumBits)
    : ASN1CType(sharedContext) {
    on_own(maxNumBits);
}

ASN1CBitStr::ASN1CBitStr(ASN1MessageBufferIF& buffer, unsigned char* bytes, std::uint32_t& count,
                         std::uint32_t maxNumBits)
    : ASN1CType(buffer) {
    on_array(bytes, count, maxNumBits);
}

ASN1CBitStr::ASN1CBitStr(ASN1Context& sharedContext, unsigned char* bytes, std::uint32_t& count,
                         std::uint32_t maxNumBits)
    : ASN1CType(sharedContext) {
    on_array(bytes, count, maxNumBits);
}

ASN1CBitStr::ASN1CBitStr(ASN1MessageBufferIF& buffer, ASN1TDynBitStr& record) : ASN1CType(buffer) {
    on_record(record);
}

ASN1CBitStr::ASN1CBitStr(ASN1Context& sharedContext, ASN1TDynBitStr& record)
    : ASN1CType(sharedContext) {
    on_record(record);
}

ASN1CBitStr::ASN1CBitStr(const ASN1CBitStr& other) : ASN1CType(other) {
    on_own(other.maxBits == kUnlimited ? 0 : other.maxBits);
    copy_from(other);
}

ASN1CBitStr::ASN1CBitStr(const ASN1CBitStr& other, unsigned char extendable) : ASN1CType(other) {
    on_own(extendable != 0 || other.maxBits == kUnlimited ? 0 : other.maxBits);
    copy_from(other);
}

void ASN1CBitStr::on_own(std::uint32_t maxNumBits) {
    units = &own_units_;
    numBits = &own_num_bits_;
    maxBits = maxNumBits == 0 ? kUnlimited : maxNumBits;
    if (maxBits != kUnlimited) {
        allocate((maxNumBits - 1) / 8 + 1);
    }
}

void ASN1CBitStr::on_array(unsigned char* bytes, std::uint32_t& count, std::uint32_t maxNumBits) {
    own_units_ = bytes;
    units = &own_units_;
    numBits = &count;
    maxBits = maxNumBits == 0 ? kUnlimited : maxNumBits;
    unitsAllocated = static_cast<int>(bytes_for(maxNumBits == 0 ? count : maxNumBits));
    unitsUsed = std::min(static_cast<int>(bytes_for(count)), unitsAllocated);
    shrink();
}

void ASN1CBitStr::on_record(ASN1TDynBitStr& record) {
    units = const_cast<unsigned char**>(&record.data);
    numBits = &record.numbits;
    maxBits = kUnlimited;
    unitsAllocated = record.data != nullptr ? static_cast<int>(bytes_for(record.numbits)) : 0;
    unitsUsed = unitsAllocated;
    shrink();
}

void ASN1CBitStr::copy_from(const ASN1CBitStr& other) {
    const std::uint32_t wanted =
        std::max(bytes_for(*other.numBits), static_cast<std::uint32_t>(other.unitsUsed));
    if (maxBits == kUnlimited && wanted > 0) {
        allocate(wanted);
    }
    if (other.unitsUsed > 0) {
        std::memcpy(*units, *other.units, static_cast<std::size_t>(other.unitsUsed));
    }
    unitsUsed = other.unitsUsed;
    // A count that goes beyond its limit isn't copied in full.
    *numBits = std::min(*other.numBits, bits_for(unitsAllocated));
}

int ASN1CBitStr::fail(int status) const {
    return rtErrSetData(&getCtxtPtr()->errInfo, status);
}

int ASN1CBitStr::check_index(std::uint32_t index) const {
    // The highest index can't be counted.
    return index > maxBits || index == kUnlimited ? fail(rtStatusBitIndex) : rtStatusOk;
}

int ASN1CBitStr::check_range(std::uint32_t from, std::uint32_t to) const {
    if (from > to) {
        return fail(rtStatusBitRange);
    }
    return check_index(to);
}

void ASN1CBitStr::allocate(std::uint32_t bytes) {
    auto* block = required<unsigned char>(getCtxtPtr(), bytes);
    std::memset(block, 0, bytes);
    *units = block;
    unitsAllocated = static_cast<int>(bytes);
    isDynamic = true;
}

int ASN1CBitStr::checkCapacity(std::uint32_t bytes) {
    const auto used = static_cast<std::size_t>(unitsUsed);
    if (bytes > static_cast<std::uint32_t>(unitsAllocated)) {
        if (maxBits != kUnlimited) {
            return fail(rtStatusInvalidLength);
        }
        unsigned char* const old = *units;
        const bool had_block = isDynamic;
        allocate(bytes + kGrowth);
        if (used > 0) {
            std::memcpy(*units, old, used);
        }
        if (had_block) {
            rtMemHeapFreePtr(&getCtxtPtr()->typeHeap, old);
        }
    }
    if (bytes > used) {
        // An array of the caller's may hold anything behind its bits.
        std::memset(*units + used, 0, bytes - used);
        unitsUsed = static_cast<int>(bytes);
    }
    return rtStatusOk;
}

void ASN1CBitStr::shrink() {
    while (unitsUsed > 0 && (*units)[unitsUsed - 1] == 0) {
        --unitsUsed;
    }
}

void ASN1CBitStr::cut_count() {
    shrink();
    *numBits = static_cast<std::uint32_t>(std::min<std::uint64_t>(bits_in_use(), UINT32_MAX));
}

int ASN1CBitStr::set(std::uint32_t index) {
    int status = check_index(index);
    if (status == rtStatusOk) {
        status = checkCapacity(index / 8 + 1);
    }
    if (status == rtStatusOk) {
        rtSetBit(*units, index + 1, index);
        *numBits = std::max(*numBits, index + 1);
    }
    return status;
}

int ASN1CBitStr::set(std::uint32_t from, std::uint32_t to) {
    int status = check_range(from, to);
    // The last one first, so that the storage grows once, and a failure changes nothing.
    for (std::uint32_t index = to; status == rtStatusOk && index > from; --index) {
        status = set(index - 1);
    }
    return status;
}

int ASN1CBitStr::clear(std::uint32_t index) {
    const int status = check_index(index);
    if (status != rtStatusOk || index / 8 >= static_cast<std::uint32_t>(unitsUsed)) {
        return status;
    }
    rtClearBit(*units, index + 1, index);
    cut_count();
    return rtStatusOk;
}

int ASN1CBitStr::clear(std::uint32_t from, std::uint32_t to) {
    const int status = check_range(from, to);
    const std::uint32_t end = std::min(to, bits_for(unitsUsed));
    if (status != rtStatusOk || from >= end) {
        return status;
    }
    for (std::uint32_t index = from; index < end; ++index) {
        rtClearBit(*units, end, index);
    }
    cut_count();
    return rtStatusOk;
}

void ASN1CBitStr::clear() {
    if (unitsUsed > 0) {
        std::memset(*units, 0, static_cast<std::size_t>(unitsUsed));
    }
    unitsUsed = 0;
    *numBits = 0;
}

int ASN1CBitStr::invert(std::uint32_t index) {
    return get(index) ? clear(index) : set(index);
}

int ASN1CBitStr::invert(std::uint32_t from, std::uint32_t to) {
    int status = check_range(from, to);
    if (status != rtStatusOk || from == to) {
        return status;
    }
    status = checkCapacity(bytes_for(to));
    if (status != rtStatusOk) {
        return status;
    }
    for (std::uint32_t index = from; index < to; ++index) {
        const bool was_set = rtTestBit(*units, to, index) != 0;
        was_set ? rtClearBit(*units, to, index) : rtSetBit(*units, to, index);
    }
    cut_count();
    return rtStatusOk;
}

bool ASN1CBitStr::get(std::uint32_t index) const {
    return index <= maxBits && rtTestBit(*units, bits_for(unitsUsed), index);
}

int ASN1CBitStr::get(std::uint32_t from, std::uint32_t to, unsigned char* out, int size) {
    const int status = check_range(from, to);
    if (status != rtStatusOk) {
        return status;
    }
    const std::uint32_t bytes = bytes_for(to - from);
    if (size < 0 || bytes > static_cast<std::uint32_t>(size)) {
        return fail(rtStatusBufferOverflow);
    }
    std::fill_n(out, bytes, static_cast<unsigned char>(0));
    const std::uint32_t end = std::min(to, bits_for(unitsUsed));
    for (std::uint32_t index = from; index < end; ++index) {
        if (get(index)) {
            rtSetBit(out, to - from, index - from);
        }
    }
    return rtStatusOk;
}

int ASN1CBitStr::getBytes(unsigned char* out, int size) {
    if (size < unitsUsed) {
        return fail(rtStatusBufferOverflow);
    }
    std::copy_n(*units, unitsUsed, out);
    return unitsUsed;
}

// As many as a string of 2^29 bytes has: more than an int holds.
std::uint64_t ASN1CBitStr::bits_in_use() const {
    if (unitsUsed == 0) {
        return 0;
    }
    const auto whole = static_cast<std::uint64_t>(unitsUsed - 1);
    return whole * 8 + static_cast<std::uint64_t>(rtOctetBitLen((*units)[whole]));
}

int ASN1CBitStr::length() const {
    return at_most_int(bits_in_use());
}

int ASN1CBitStr::cardinality() const {
    std::uint64_t count = 0;
    for (int i = 0; i < unitsUsed; ++i) {
        count += static_cast<std::uint64_t>(std::popcount((*units)[i]));
    }
    return at_most_int(count);
}

int ASN1CBitStr::unusedBitsInLastUnit() const {
    return unitsUsed == 0 ? 0 : 8 - rtOctetBitLen((*units)[unitsUsed - 1]);
}

int ASN1CBitStr::combine(const unsigned char* bytes, std::uint32_t count, BitOperation operation) {
    if (bytes == nullptr && count != 0) {
        return fail(rtStatusNullArgument);
    }
    const std::uint32_t theirs = bytes_for(count);
    for (std::uint32_t i = 0; i < static_cast<std::uint32_t>(unitsUsed); ++i) {
        const unsigned char other = i < theirs ? operand_byte(bytes, count, i) : 0;
        (*units)[i] = operation((*units)[i], other);
    }
    shrink();
    return rtStatusOk;
}

int ASN1CBitStr::extend(const unsigned char* bytes, std::uint32_t count, BitOperation operation) {
    if (bytes != nullptr && count != 0) {
        int status = count > maxBits ? fail(rtStatusBitIndex) : rtStatusOk;
        if (status == rtStatusOk) {
            status = checkCapacity(bytes_for(count));
        }
        if (status != rtStatusOk) {
            return status;
        }
        *numBits = std::max(*numBits, count);
    }
    return combine(bytes, count, operation);
}

int ASN1CBitStr::doAnd(const unsigned char* bytes, std::uint32_t count) {
    const int status = combine(bytes, count, [](unsigned char own, unsigned char other) {
        return static_cast<unsigned char>(own & other);
    });
    if (status == rtStatusOk) {
        cut_count();
    }
    return status;
}

int ASN1CBitStr::doAndNot(const unsigned char* bytes, std::uint32_t count) {
    const int status = combine(bytes, count, [](unsigned char own, unsigned char other) {
        return static_cast<unsigned char>(own & ~other);
    });
    if (status == rtStatusOk) {
        cut_count();
    }
    return status;
}

int ASN1CBitStr::doOr(const unsigned char* bytes, std::uint32_t count) {
    return extend(bytes, count, [](unsigned char own, unsigned char other) {
        return static_cast<unsigned char>(own | other);
    });
}

int ASN1CBitStr::doXor(const unsigned char* bytes, std::uint32_t count) {
    return extend(bytes, count, [](unsigned char own, unsigned char other) {
        return static_cast<unsigned char>(own ^ other);
    });
}

int ASN1CBitStr::shiftLeft(std::uint32_t n) {
    const auto used = static_cast<std::uint32_t>(unitsUsed);
    const std::uint32_t skipped = n / 8;
    const std::uint32_t bits = n % 8;
    for (std::uint32_t i = 0; i < used; ++i) {
        const auto at = [&](std::uint64_t from) -> unsigned {
            return from < used ? (*units)[from] : 0U;
        };
        const std::uint64_t from = std::uint64_t{i} + skipped;
        const unsigned pair = at(from) << 8 | at(from + 1);
        (*units)[i] = static_cast<unsigned char>(pair >> (8 - bits));
    }
    *numBits -= std::min(*numBits, n);
    shrink();
    return rtStatusOk;
}

int ASN1CBitStr::shiftRight(std::uint32_t n) {
    const std::uint64_t wanted = std::uint64_t{*numBits} + n;
    if (maxBits == kUnlimited && wanted >= kUnlimited) {
        return fail(rtStatusBitIndex);
    }
    const auto count = static_cast<std::uint32_t>(std::min<std::uint64_t>(wanted, maxBits));
    const int status = checkCapacity(bytes_for(count));
    if (status != rtStatusOk) {
        return status;
    }
    const std::uint32_t skipped = n / 8;
    const std::uint32_t bits = n % 8;
    for (auto i = static_cast<std::uint32_t>(unitsUsed); i-- > 0;) {
        const unsigned low = i >= skipped ? (*units)[i - skipped] : 0U;
        const unsigned high = i >= skipped + 1 ? (*units)[i - skipped - 1] : 0U;
        (*units)[i] = static_cast<unsigned char>((high << 8 | low) >> bits);
    }
    if (wanted > maxBits && count % 8 != 0) {
        (*units)[count / 8] &= static_cast<unsigned char>(0xFF00U >> (count % 8));
    }
    *numBits = count;
    shrink();
    return rtStatusOk;
}

ASN1CBitStr::operator ASN1TDynBitStr() const {
    return {*numBits, *units};
}

ASN1CBitStr::operator ASN1TDynBitStr*() const {
    auto* record = required<ASN1TDynBitStr>(getCtxtPtr(), 1);
    *record = *this;
    return record;
}
