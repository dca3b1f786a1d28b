#include <basalt/revocation/revocation_mode.h>

#include <basalt/coding/fault.h>
#include <basalt/configuration.h>

#include <atomic>
#include <string_view>

namespace basalt {

namespace {

constexpr char kKey[] = "\\config\\basalt\\Revocation";

std::atomic<DWORD> process_mode{BASALT_REVOCATION_CONFIGURED};

RevocationMode configured_mode() {
    char text[16];
    std::size_t size = sizeof text - 1;
    if (support_registry_get_string(kKey, &size, text) != 0) {
        return RevocationMode::require;
    }
    const std::string_view value(text, size);
    if (value == "available") {
        return RevocationMode::available;
    }
    return value == "off" ? RevocationMode::off : RevocationMode::require;
}

} // namespace

std::optional<RevocationMode> mode_of(DWORD number) {
    switch (number) {
    case BASALT_REVOCATION_CONFIGURED:
        return std::nullopt;
    case BASALT_REVOCATION_REQUIRE:
        return RevocationMode::require;
    case BASALT_REVOCATION_AVAILABLE:
        return RevocationMode::available;
    case BASALT_REVOCATION_OFF:
        return RevocationMode::off;
    default:
        fail(E_INVALIDARG);
    }
}

RevocationMode revocation_mode() {
    const std::optional<RevocationMode> mode = mode_of(process_mode.load());
    return mode ? *mode : configured_mode();
}

void set_revocation_mode(DWORD mode) {
    mode_of(mode);
    process_mode.store(mode);
}

} // namespace basalt
