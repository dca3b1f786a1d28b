// The byte buffer: storage and comparison. Every block is made by array new and exact in size.
#include <chronoseal/base/blob.h>

#include <algorithm>
#include <cstring>
#include <utility>

namespace Halcyon {

namespace {

// Uninitialised; null for size 0.
unsigned char* copy_of(const unsigned char* data, unsigned long size) {
    if (size == 0) {
        return nullptr;
    }
    auto* block = new unsigned char[size];
    std::memcpy(block, data, size);
    return block;
}

} // namespace

CBlob::CBlob(const unsigned char* data, unsigned long size)
    : cbData_(size), pbData_(copy_of(data, size)) {}

CBlob::CBlob(const CBlob& other) : CBlob(other.pbData_, other.cbData_) {}

CBlob::CBlob(CBlob&& other) noexcept {
    swap(other);
}

CBlob::CBlob(unsigned long size) : cbData_(size), pbData_(new unsigned char[size]()) {}

CBlob::~CBlob() {
    delete[] pbData_;
}

void CBlob::assign(const unsigned char* data, unsigned long size) {
    auto* block = copy_of(data, size); // before the old block goes: `data` may lie in it
    delete[] pbData_;
    pbData_ = block;
    cbData_ = size;
}

CBlob& CBlob::operator=(const CBlob& other) {
    assign(other.pbData_, other.cbData_);
    return *this;
}

CBlob& CBlob::operator=(CBlob&& other) noexcept {
    swap(other);
    return *this;
}

void CBlob::swap(CBlob& other) noexcept {
    std::swap(cbData_, other.cbData_);
    std::swap(pbData_, other.pbData_);
}

void CBlob::resize_to(unsigned long size) {
    if (size > cbData_) {
        auto* block = new unsigned char[size];
        if (cbData_ != 0) {
            std::memcpy(block, pbData_, cbData_);
        }
        delete[] pbData_;
        pbData_ = block;
    }
    cbData_ = size;
}

void CBlob::reverse() noexcept {
    std::reverse(pbData_, pbData_ + cbData_);
}

CBlob& CBlob::operator+=(const CBlob& other) {
    const auto head = cbData_;
    const auto tail = other.cbData_; // taken first: `other` may be this blob
    if (tail != 0) {
        resize_to(head + tail);
        std::memcpy(pbData_ + head, other.pbData_, tail);
    }
    return *this;
}

bool CBlob::operator==(const CBlob& other) const noexcept {
    return cbData_ == other.cbData_ &&
           (cbData_ == 0 || std::memcmp(pbData_, other.pbData_, cbData_) == 0);
}

int CBlob::compare(const CBlob& other) const noexcept {
    const auto common = std::min(cbData_, other.cbData_);
    const int order = common == 0 ? 0 : std::memcmp(pbData_, other.pbData_, common);
    return order != 0 ? order : static_cast<int>(cbData_ - other.cbData_);
}

} // namespace Halcyon
