// Where in a text the Base64 stands, and putting other Base64 there.
#include <chronoseal/seal/envelope.h>

#include <algorithm>

#include <chronoseal/seal/armor.h>
#include <chronoseal/seal/definite_form.h>
#include <chronoseal/seal/der_element.h>
#include <chronoseal/seal/failure.h>
#include <chronoseal/seal/platform_text.h>
#include <chronoseal/seal/smime.h>

namespace chronoseal {

namespace {

// What stands between two lines, with the blanks in front of the second: no more than there is text
// in a line, since it is written again and again.
std::string line_end_of(std::string_view lines, std::size_t width) {
    const std::size_t end = lines.find_first_of("\r\n");
    const std::string_view behind = lines.substr(std::min(end, lines.size()));
    const std::string_view blanks = behind.substr(0, behind.find_first_not_of(" \t\r\n"));
    return blanks.empty() || blanks.size() > width ? "\n" : std::string(blanks);
}

void keep_around(std::string_view text, std::string_view base64, Envelope& envelope) {
    const std::size_t first = base64.find_first_not_of(" \t\r\n");
    const std::size_t last = base64.find_last_not_of(" \t\r\n");
    if (first == std::string_view::npos) {
        return;
    }
    const std::string_view core = base64.substr(first, last - first + 1);
    const auto at = static_cast<std::size_t>(core.data() - text.data());
    envelope.before = text.substr(0, at);
    envelope.behind = text.substr(at + core.size());
    constexpr std::size_t kLeastWidth = 16;
    const std::size_t line = core.find_first_of("\r\n");
    envelope.width = line == std::string_view::npos ? std::max<std::size_t>(core.size(), 64)
                                                    : std::max(line, kLeastWidth);
    envelope.line_end = line_end_of(core, envelope.width);
}

Error not_alone() {
    return Error(Category::refused, "malformed", 0,
                 "there is more than the message, and it can't be changed without harm to that",
                 "put the message into a file of its own");
}

// Whether nothing stands behind the message, which would be lost with another in its place.
bool stands_alone(ByteView der) {
    if (der.empty() || std::to_integer<unsigned>(der[0]) != der_tag::kSequence) {
        return true;
    }
    const auto element = DerReader(der).next();
    return element ? element->whole.size() == der.size() : with_definite_lengths(der).has_value();
}

} // namespace

Envelope Envelope::open(ByteView bytes) {
    Unarmored found = unarmor(bytes);
    Envelope envelope;
    envelope.form = found.form;
    envelope.der = std::move(found.der);
    const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    if (envelope.form != Form::binary) {
        keep_around(text, text.substr(found.base64.begin, found.base64.size), envelope);
    }
    if (envelope.form == Form::smime) {
        envelope.contents = find_smime(text)->contents;
    }
    return envelope;
}

Bytes Envelope::close(ByteView changed) const {
    Bytes whole;
    if (form == Form::binary) {
        whole = copy_of(changed);
    } else {
        const std::string base64 = encode_base64(changed);
        std::string text = before;
        for (std::size_t at = 0; at < base64.size(); at += width) {
            text += (at == 0 ? "" : line_end) + base64.substr(at, width);
        }
        text += behind;
        whole = copy_of(text.data(), text.size());
    }
    // Whatever else stands in the text, it is this message that has been changed.
    if (!std::ranges::equal(unarmor(whole).der, changed)) {
        throw not_alone();
    }
    return whole;
}

Bytes rewrap(ByteView original, ByteView der) {
    return guarded("write the message", [&] {
        const Envelope envelope = Envelope::open(original);
        if (!stands_alone(envelope.der)) {
            throw not_alone();
        }
        return envelope.close(der);
    });
}

} // namespace chronoseal
