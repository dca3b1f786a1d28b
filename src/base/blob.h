// CBlob: the byte buffer in which every encoded value, hash and certificate travels. It owns its
// block. The length that it knows is the only measure of the block: there is no capacity.
#pragma once

#include <list>

#include <chronoseal/base/string_proxy.h>
#include <chronoseal/visibility.h>

namespace Halcyon {

// A plain value: copies are deep, nothing is shared, one thread at a time. Lengths are bytes.
// Allocation failures are those of the standard library.
class CHRONOSEAL_API CBlob {
public:
    CBlob() noexcept = default;
    // A copy of `size` bytes at `data`; with size 0 as `CBlob()`, and `data` isn't looked at.
    CBlob(const unsigned char* data, unsigned long size);
    CBlob(const CBlob& other);
    CBlob(CBlob&& other) noexcept;
    // `size` zero bytes. With size 0 `pbData()` is non-null all the same.
    explicit CBlob(unsigned long size);
    ~CBlob();

    unsigned long cbData() const noexcept { return cbData_; }
    unsigned char* pbData() const noexcept { return pbData_; }

    // The source may lie inside the blob itself. Size 0 gives a null block.
    void assign(const unsigned char* data, unsigned long size);
    CBlob& operator=(const CBlob& other);
    CBlob& operator=(CBlob&& other) noexcept;

    // The length becomes 0; the block stays where it is, with its content.
    void clear() noexcept { cbData_ = 0; }
    void swap(CBlob& other) noexcept;
    // Growing moves to a new block, in which the bytes behind the old length are not initialised.
    // Shrinking moves nothing.
    void resize_to(unsigned long size);
    void reverse() noexcept;
    CBlob& operator+=(const CBlob& other);

    // Bytewise, unsigned; a proper prefix orders first. The difference of the lengths is cut to 32
    // bits, so that of two blobs with a common beginning those that differ by a multiple of 4 GiB
    // in length order as equal.
    bool operator==(const CBlob& other) const noexcept;
    bool operator!=(const CBlob& other) const noexcept { return !(*this == other); }
    bool operator<(const CBlob& other) const noexcept { return compare(other) < 0; }
    bool operator<=(const CBlob& other) const noexcept { return compare(other) < 1; }
    bool operator>(const CBlob& other) const noexcept { return compare(other) > 0; }
    bool operator>=(const CBlob& other) const noexcept { return !(compare(other) < 0); }

    // The content of a file of less than 4 GiB. Throws CAtlException 0x80070002 if it can't be
    // opened, and 0x80070570 if it can't be read; the length is 0 then.
    void readFromFile(const char* path);
    // As above; a path that can't be converted to the system's code page gives the platform's code.
    void readFromFile(const wchar_t* path);
    // Throws 0x80070002 if the file can't be opened. A write that fails is not reported.
    void writeToFile(const char* path) const;
    void writeToFile(const wchar_t* path) const;

    // Reads pairs of hexadecimal digits of either case, with white space before and between pairs.
    // Stops without failure at the first thing that is no pair. A null text reads as empty.
    void readFromHexString(const char* text);
    // Upper case, two digits a byte, a blank before each group of `groupSize` bytes but the first;
    // group size 0 writes no blanks.
    CStringProxy writeToHexString(unsigned long groupSize) const;

private:
    int compare(const CBlob& other) const noexcept;

    unsigned long cbData_ = 0;
    unsigned char* pbData_ = nullptr;
};

// A list of blobs that owns its entries.
class CHRONOSEAL_API CBlobList : public std::list<CBlob> {
public:
    using std::list<CBlob>::list;
};

} // namespace Halcyon
