// Mails taken apart.
#include <chronoseal/seal/smime.h>

#include <algorithm>
#include <cctype>
#include <string>
#include <vector>

#include <chronoseal/seal/platform_text.h>

namespace chronoseal {

namespace {

constexpr std::size_t kMostHeader = std::size_t{64} << 10;

std::string small_letters(std::string_view text) {
    std::string result(text);
    std::ranges::transform(result, result.begin(), [](char c) {
        return static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    });
    return result;
}

std::string_view line_of(std::string_view& text) {
    const std::size_t end = text.find('\n');
    std::string_view line = text.substr(0, end);
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    if (line.ends_with('\r')) {
        line.remove_suffix(1);
    }
    return line;
}

// Headers with folded lines joined, and what stands behind the empty line.
struct Entity {
    std::string content_type; // as written
    std::string encoding;     // in small letters
    std::string_view body;
};

void read_header(const std::string& line, Entity& entity) {
    const std::size_t colon = line.find(':');
    const std::string name = small_letters(line.substr(0, colon));
    std::string value = colon == std::string::npos ? "" : line.substr(colon + 1);
    value.erase(0, value.find_first_not_of(" \t"));
    if (name == "content-type") {
        entity.content_type = value;
    } else if (name == "content-transfer-encoding") {
        entity.encoding = small_letters(value);
    }
}

std::optional<Entity> read_entity(std::string_view text) {
    Entity entity;
    std::string header;
    for (std::string_view rest = text.substr(0, kMostHeader); !rest.empty();) {
        const std::string_view line = line_of(rest);
        if (!line.empty() && (line[0] == ' ' || line[0] == '\t')) {
            header += line;
            continue;
        }
        read_header(header, entity);
        if (line.empty()) {
            entity.body = text.substr(static_cast<std::size_t>(rest.data() - text.data()));
            return entity;
        }
        header = line;
    }
    return std::nullopt;
}

std::string parameter_of(const std::string& content_type, std::string_view name) {
    const std::size_t at = small_letters(content_type).find(name);
    if (at == std::string::npos) {
        return {};
    }
    std::string_view value = std::string_view(content_type).substr(at + name.size());
    if (value.starts_with('"')) {
        value.remove_prefix(1);
        return std::string(value.substr(0, value.find('"')));
    }
    return std::string(value.substr(0, value.find_first_of("; \t")));
}

// The parts between delimiter lines, without the line end in front of each delimiter.
std::vector<std::string_view> parts_of(std::string_view body, const std::string& boundary) {
    const std::string mark = "--" + boundary;
    std::vector<std::string_view> parts;
    const char* begin = nullptr;
    for (std::string_view rest = body; !rest.empty() && parts.size() < 2;) {
        const char* at = rest.data();
        const std::string_view line = line_of(rest);
        if (!line.starts_with(mark)) {
            continue;
        }
        if (begin != nullptr) {
            std::string_view part(begin, static_cast<std::size_t>(at - begin));
            part.remove_suffix(part.ends_with("\r\n") ? 2 : part.ends_with('\n') ? 1 : 0);
            parts.push_back(part);
        }
        begin = rest.data();
    }
    return parts;
}

Bytes with_mail_lines(std::string_view text) {
    std::string lines;
    lines.reserve(text.size());
    char last = 0;
    for (const char c : text) {
        if (c == '\n' && last != '\r') {
            lines += '\r';
        }
        lines += c;
        last = c;
    }
    return copy_of(lines.data(), lines.size());
}

bool is_signature(const Entity& entity) {
    const std::string type = small_letters(entity.content_type);
    return entity.encoding.starts_with("base64") &&
           (type.starts_with("application/pkcs7-") || type.starts_with("application/x-pkcs7-"));
}

} // namespace

std::optional<SmimeMessage> find_smime(std::string_view text) {
    const auto mail = read_entity(text);
    if (!mail) {
        return std::nullopt;
    }
    if (is_signature(*mail)) {
        return SmimeMessage{mail->body, {}};
    }
    const std::string boundary = parameter_of(mail->content_type, "boundary=");
    if (!small_letters(mail->content_type).starts_with("multipart/signed") || boundary.empty()) {
        return std::nullopt;
    }
    const auto parts = parts_of(mail->body, boundary);
    const auto signature = parts.size() == 2 ? read_entity(parts[1]) : std::nullopt;
    return signature && is_signature(*signature)
               ? std::optional(SmimeMessage{
                     signature->body,
                     {with_mail_lines(parts[0]), copy_of(parts[0].data(), parts[0].size())}})
               : std::nullopt;
}

} // namespace chronoseal
