// Fixed-width reader of generalized time.
#include <chronoseal/base/generalized_time.h>

#include <chronoseal/base/atl_exception.h>

namespace Halcyon {

namespace {

// The number in the digits at [offset, offset + length), or 0 if the text ends before that range
// does.
int readIntField(const std::string& text, std::size_t offset, std::size_t length) {
    if (text.size() <= offset || text.size() < offset + length) {
        return 0;
    }
    int value = 0;
    for (std::size_t i = offset; i < offset + length; ++i) {
        if (text[i] < '0' || text[i] > '9') {
            ATL::AtlThrowImpl(hr(kInvalidTimeText));
        }
        value = value * 10 + (text[i] - '0');
    }
    return value;
}

int read_fraction(const std::string& text) {
    if (text.size() < 16) {
        return 0;
    }
    auto fraction = text.substr(15); // the character at 14 may be anything
    if (fraction.ends_with('Z')) {
        fraction.pop_back();
    }
    if (fraction.size() < 6) {
        fraction.append(6 - fraction.size(), '0');
    }
    return readIntField(fraction, 0, 6);
}

} // namespace

std::tm GeneralizedTimeToTm(const std::string& text, int& microseconds, bool asSpan) {
    std::tm tm{};
    const int year = readIntField(text, 0, 4);
    const int month = readIntField(text, 4, 2);
    tm.tm_mday = readIntField(text, 6, 2);
    tm.tm_hour = readIntField(text, 8, 2);
    tm.tm_min = readIntField(text, 10, 2);
    tm.tm_sec = readIntField(text, 12, 2);
    tm.tm_year = asSpan ? year : year - 1900;
    tm.tm_mon = asSpan ? month : month - 1;
    microseconds = read_fraction(text);
    return tm;
}

} // namespace Halcyon
