#include "request_log.h"

#include <cstdio>
#include <ctime>

#include <unistd.h>

namespace tsa {

namespace {

constexpr std::size_t kLongest = 120;

// Visible ASCII as it is, all else as \xNN: no client writes a line of its own into the log.
std::string quoted(const std::string& text) {
    std::string result = "\"";
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (i == kLongest) {
            result += "...";
            break;
        }
        const auto c = static_cast<unsigned char>(text[i]);
        char piece[8];
        if (c < 0x20 || c > 0x7E) {
            std::snprintf(piece, sizeof piece, "\\x%02x", c);
        } else {
            std::snprintf(piece, sizeof piece, c == '"' || c == '\\' ? "\\%c" : "%c", c);
        }
        result += piece;
    }
    return result + "\"";
}

std::string now_text() {
    const std::time_t now = std::time(nullptr);
    std::tm parts{};
    gmtime_r(&now, &parts);
    char text[32];
    std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &parts);
    return text;
}

} // namespace

void log_request(const httplib::Request& request, const httplib::Response& response,
                 const std::string& outcome) {
    std::string line =
        now_text() + " " + (request.remote_addr.empty() ? "-" : request.remote_addr) + " " +
        quoted(request.method + " " + request.target) + " " + std::to_string(request.body.size()) +
        " bytes: " + std::to_string(response.status) + (outcome.empty() ? "" : " " + outcome) +
        "\n";
    // In one piece, for other threads write, too; a log that can't be written stops no stamp.
    [[maybe_unused]] const ssize_t written = ::write(STDERR_FILENO, line.data(), line.size());
}

} // namespace tsa
