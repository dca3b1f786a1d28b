// Tells whether bytes are one complete element of BER, with every element inside complete as well.
// The run-time lets an open value pass that the end of its surroundings cuts off, and such a value
// can't be encoded again; so what is promised of a round trip is promised for complete input only.
#pragma once

#include <cstdint>
#include <vector>

namespace roundtrip {

class WellFormed {
public:
    explicit WellFormed(const std::vector<std::uint8_t>& bytes) : bytes_(bytes) {}

    /// The first element, which may be followed by anything.
    bool first() {
        at_ = 0;
        return element(bytes_.size(), 0);
    }

private:
    static constexpr std::size_t deepest = 200;

    bool element(std::size_t end, std::size_t depth) {
        if (depth > deepest || end - at_ < 2)
            return false;
        const std::uint8_t tag = bytes_[at_++];
        if ((tag & 0x1F) == 0x1F && !long_tag(end))
            return false;
        if (at_ == end)
            return false;
        const std::uint8_t form = bytes_[at_++];
        if (form == 0x80)
            return (tag & 0x20) != 0 && indefinite(end, depth);
        std::size_t length = form;
        if (form > 0x80 && !long_length(form & 0x7FU, end, length))
            return false;
        if (length > end - at_)
            return false;
        return contents(tag, at_ + length, depth);
    }

    bool long_tag(std::size_t end) {
        while (at_ < end && (bytes_[at_] & 0x80) != 0)
            ++at_;
        return at_++ < end;
    }

    bool long_length(std::size_t count, std::size_t end, std::size_t& length) {
        if (count > 4 || count > end - at_)
            return false;
        for (length = 0; count > 0; --count)
            length = length << 8 | bytes_[at_++];
        return true;
    }

    bool indefinite(std::size_t end, std::size_t depth) {
        while (end - at_ >= 2) {
            if (bytes_[at_] == 0 && bytes_[at_ + 1] == 0) {
                at_ += 2;
                return true;
            }
            if (!element(end, depth + 1))
                return false;
        }
        return false;
    }

    /// Constructed types are read in primitive form too, and octets may be decoded as an element.
    /// So whatever may be an element has to be a complete one.
    bool contents(std::uint8_t tag, std::size_t end, std::size_t depth) {
        const bool tagged = (tag & 0xC0) == 0x80;
        if ((tag & 0x20) != 0 || tag == 0x10 || tag == 0x11 || (tagged && may_be_element(end)))
            return elements(end, depth);
        if (tag == 0x04 && may_be_element(end) && !element(end, depth + 1))
            return false;
        at_ = end;
        return true;
    }

    bool elements(std::size_t end, std::size_t depth) {
        while (at_ < end)
            if (!element(end, depth + 1))
                return false;
        return true;
    }

    /// Plain text isn't: it has neither a tag below 0x40 or above 0x7F nor a long length.
    bool may_be_element(std::size_t end) const {
        const auto plain = [this, end](std::size_t at) {
            return at >= end || (bytes_[at] >= 0x20 && bytes_[at] < 0x80);
        };
        return !plain(at_) || !plain(at_ + 1) || (at_ < end && bytes_[at_] < 0x40);
    }

    const std::vector<std::uint8_t>& bytes_;
    std::size_t at_ = 0;
};

} // namespace roundtrip
