// Both time parsers: against a plain reading by sscanf, against OpenSSL for what it takes, back to
// text and read again; then the classes over the same text, with setters driven by the input.
// Aborts on a difference.
#include <cctype>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>
#include <vector>

#include <openssl/asn1.h>

#include <chronoseal/asn1rt/generalized_time_control.h>
#include <chronoseal/asn1rt/time_value.h>
#include <chronoseal/asn1rt/utc_time_control.h>

namespace {

void require(bool condition) {
    if (!condition) {
        std::abort();
    }
}

int days_of(int year, int month) {
    static constexpr int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    const bool leap = year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
    return kDays[month - 1] + (month == 2 && leap ? 1 : 0);
}

// The text with zeros behind it, so that fixed places can be read whatever its length.
struct Padded {
    explicit Padded(const std::string& text) : chars(text.begin(), text.end()) {
        chars.resize(text.size() + 32);
    }
    bool digit(std::size_t at) const {
        return std::isdigit(static_cast<unsigned char>(chars[at])) != 0;
    }
    int two(std::size_t at) const {
        int value = -1;
        return std::sscanf(chars.data() + at, "%2d", &value) == 1 ? value : -1;
    }
    std::vector<char> chars;
};

bool reference_zone(const Padded& text, std::size_t at, ASN1DateTime& time) {
    const char sign = text.chars[at];
    if (sign == 'Z') {
        time.utc = 1;
        return text.chars[at + 1] == '\0';
    }
    if (sign != '+' && sign != '-') {
        return true;
    }
    if (!text.digit(at + 1)) {
        return false;
    }
    int hours = text.two(at + 1);
    int minutes = 0;
    at += text.digit(at + 2) ? 3 : 2;
    if (text.digit(at)) {
        minutes = text.two(at);
    }
    time.diffHour = static_cast<short>(sign == '-' ? -hours : hours);
    time.diffMinute = static_cast<short>(sign == '-' ? -minutes : minutes);
    return hours < 13 && minutes < 60;
}

bool reference(const std::string& given, bool generalized, ASN1DateTime& time) {
    const Padded text(given);
    int year = -1;
    int month = 0;
    int day = 0;
    const char* format = generalized ? "%4d%2d%2d" : "%2d%2d%2d";
    if (std::sscanf(text.chars.data(), format, &year, &month, &day) != 3 || year < 0) {
        return false;
    }
    year += generalized ? 0 : year < 50 ? 2000 : 1900;
    if (month < 1 || month > 12 || day < 1 || day > days_of(year, month)) {
        return false;
    }
    std::size_t at = generalized ? 8 : 6;
    int parts[3] = {0, 0, 0};
    int count = 0;
    // Padding may not make up for a text that ends early.
    while (count < 3 && at < given.size() && text.digit(at)) {
        parts[count++] = text.two(at);
        at += 2;
    }
    if (count < (generalized ? 1 : 2) || parts[0] > 23 || parts[1] > 59 || parts[2] > 59) {
        return false;
    }
    time = ASN1DateTime{};
    time.year = static_cast<short>(year);
    time.month = static_cast<short>(month);
    time.day = static_cast<short>(day);
    time.hour = static_cast<short>(parts[0]);
    time.minute = static_cast<short>(parts[1]);
    time.second = static_cast<short>(parts[2]);
    if (generalized && (text.chars[at] == '.' || text.chars[at] == ',')) {
        if (count < 3 || !text.digit(at + 1)) {
            return false;
        }
        std::size_t kept = 0;
        for (++at; text.digit(at); ++at) {
            if (kept < 20) {
                time.fraction[kept++] = text.chars[at];
            }
        }
    }
    return reference_zone(text, at, time);
}

bool same(const ASN1DateTime& a, const ASN1DateTime& b) {
    return a.year == b.year && a.month == b.month && a.day == b.day && a.hour == b.hour &&
           a.minute == b.minute && a.second == b.second && a.diffHour == b.diffHour &&
           a.diffMinute == b.diffMinute && a.utc == b.utc &&
           std::strcmp(a.fraction, b.fraction) == 0;
}

void check_openssl(const std::string& text, bool generalized, bool taken,
                   const ASN1DateTime& time) {
    ASN1_TIME* reference = ASN1_TIME_new();
    const int read = generalized ? ASN1_GENERALIZEDTIME_set_string(reference, text.c_str())
                                 : ASN1_UTCTIME_set_string(reference, text.c_str());
    std::tm tm{};
    if (read == 1 && ASN1_TIME_to_tm(reference, &tm) == 1) {
        require(taken);
        if (time.utc != 0) {
            require(tm.tm_year + 1900 == time.year && tm.tm_mon + 1 == time.month &&
                    tm.tm_mday == time.day && tm.tm_hour == time.hour && tm.tm_min == time.minute &&
                    tm.tm_sec == time.second);
        }
    }
    ASN1_TIME_free(reference);
}

template <typename Control>
void check_control(const std::string& text, bool taken, const ASN1DateTime& time) {
    for (const unsigned char der : {std::uint8_t{0}, std::uint8_t{1}}) {
        const char* value = text.c_str();
        Control control(value, der);
        const int year = control.getYear();
        require(taken ? year == time.year : year == -31);
        if (!taken) {
            continue;
        }
        require(control.getDiff() == time.diffHour * 60 + time.diffMinute);
        require(control == control);
        // Compiled without a change it is the same point in time.
        if (control.compileString() == 0) {
            Control again(value, 0);
            require(again.equals(control) && again.getSecond() == time.second);
        }
        for (const char c : text) {
            const int number = c % 64;
            control.setDay(number);
            control.setMonth(number % 16);
            control.setHour(number % 32);
            control.setDiff(number * 7);
            control.setUTC(static_cast<unsigned char>(number & 1));
            if (control.setFraction(number) == 0) {
                require(control.getTimeStringLen() < 40);
            }
        }
    }
}

template <typename Control>
void check(const std::string& text, bool generalized) {
    ASN1CTXT ctxt;
    require(rtInitContext(&ctxt, nullptr) == 0);
    const std::vector<char> exact(text.c_str(), text.c_str() + text.size() + 1);
    ASN1DateTime time{};
    ASN1DateTime wanted{};
    const auto parse = generalized ? rtParseGeneralizedTime : rtParseUTCTime;
    const bool taken = parse(&ctxt, exact.data(), &time) == 0;
    require(ctxt.errInfo.status == (taken ? 0 : -31));
    require(taken == reference(text, generalized, wanted) && (!taken || same(time, wanted)));
    check_openssl(text, generalized, taken, time);
    if (taken) {
        char* made = nullptr;
        ASN1DateTime again{};
        require(rtMakeGeneralizedTime(&ctxt, &time, &made, 0) == 0);
        require(rtParseGeneralizedTime(&ctxt, made, &again) == 0 && same(time, again));
    }
    if (text.size() <= 64) {
        check_control<Control>(text, taken, time);
    }
    rtFreeContext(&ctxt);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    const std::string input(reinterpret_cast<const char*>(data), size);
    const std::string text = input.c_str();
    check<ASN1CGeneralizedTime>(text, true);
    check<ASN1CUTCTime>(text, false);
    return 0;
}
