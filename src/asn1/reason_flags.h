// CReasonFlags: the revocation reasons that a CRL covers (RFC 5280, 4.2.1.13).
#pragma once

namespace Halcyon::ASN1 {

// Bit n of the number stands for bit n of the BIT STRING, whose first 16 bits are encoded.
class CReasonFlags {
public:
    enum Flag : unsigned int {
        unused = 0x1,
        keyCompromise = 0x2,
        cACompromise = 0x4,
        affiliationChanged = 0x8,
        superseded = 0x10,
        cessationOfOperation = 0x20,
        certificateHold = 0x40,
        privilegeWithdrawn = 0x80,
        aACompromise = 0x100,
    };
    // All flags in ascending order, ended by 0.
    static const Flag sequence[10];

    explicit CReasonFlags(unsigned int value) noexcept : value_(value) {}

    unsigned int get_value() const noexcept { return value_; }
    void put_value(unsigned int value) noexcept { value_ = value; }
    // The number of the bit counts modulo 32.
    bool get_bit(unsigned int n) const noexcept { return (value_ >> (n % 32) & 1u) != 0; }
    void put_bit(unsigned int n, bool on) noexcept;
    void add_flag(Flag flag) noexcept { value_ |= flag; }
    void remove_flag(Flag flag) noexcept { value_ &= ~static_cast<unsigned int>(flag); }
    // True if any bit of the mask is set.
    bool get_flag(Flag flag) const noexcept { return (value_ & flag) != 0; }

private:
    unsigned int value_;
};

inline bool operator==(const CReasonFlags& a, const CReasonFlags& b) noexcept {
    return a.get_value() == b.get_value();
}
inline bool operator!=(const CReasonFlags& a, const CReasonFlags& b) noexcept {
    return !(a == b);
}

} // namespace Halcyon::ASN1
