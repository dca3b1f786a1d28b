// Reads the table [config.network].
#include <basalt/network/network_settings.h>

#include <basalt/configuration.h>

namespace basalt {

namespace {

constexpr long kLongestMilliseconds = 24L * 60 * 60 * 1000;
constexpr long kMostBytes = 1L << 30;

long number(const char* path, long most, long otherwise) {
    long value = 0;
    const bool good = support_registry_get_long(path, &value) == 0 && value > 0 && value <= most;
    return good ? value : otherwise;
}

std::string text(const char* path) {
    std::size_t size = 0;
    if (support_registry_get_string(path, &size, nullptr) != 0) {
        return {};
    }
    std::string value(size + 1, '\0');
    if (support_registry_get_string(path, &size, value.data()) != 0) {
        return {};
    }
    value.resize(size);
    return value;
}

// What isn't understood asks nobody.
IssuerReach issuer_reach(const std::string& value) {
    if (value.empty() || value == "outside") {
        return IssuerReach::outside;
    }
    return value == "anywhere" ? IssuerReach::anywhere : IssuerReach::none;
}

NetworkSettings read_settings() {
    using std::chrono::milliseconds;
    NetworkSettings settings;
    HttpLimits& limits = settings.limits;
    limits.connect_timeout =
        milliseconds(number("\\config\\network\\ConnectTimeoutMilliseconds", kLongestMilliseconds,
                            limits.connect_timeout.count()));
    limits.total_timeout = milliseconds(number("\\config\\network\\TotalTimeoutMilliseconds",
                                               kLongestMilliseconds, limits.total_timeout.count()));
    limits.answer_bytes = static_cast<std::size_t>(number(
        "\\config\\network\\MaxAnswerBytes", kMostBytes, static_cast<long>(limits.answer_bytes)));
    settings.ca_file = text("\\config\\network\\CaFile");
    settings.fetching_proxy = text("\\config\\network\\FetchProxy");
    settings.issuers = issuer_reach(text("\\config\\network\\FetchIssuers"));
    return settings;
}

} // namespace

const NetworkSettings& network_settings() {
    static const NetworkSettings settings = read_settings();
    return settings;
}

} // namespace basalt
