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

constexpr std::string_view kBegin = "-----BEGIN ";
constexpr std::string_view kEnd = "-----END ";

// The body of the first block that is whole and well-formed.
std::string_view pem_body(std::string_view text) {
    while (true) {
        const std::size_t begin = text.find(kBegin);
        const std::size_t label_end =
            begin == std::string_view::npos ? begin : text.find('\n', begin);
        const std::size_t end =
            label_end == std::string_view::npos ? label_end : text.find(kEnd, label_end);
        if (end == std::string_view::npos) {
            return {};
        }
        const std::string_view body = text.substr(label_end + 1, end - label_end - 1);
        if (decode_base64(body)) {
            return body;
        }
        text.remove_prefix(end + kEnd.size());
    }
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
    const std::size_t line = core.find_first_of("\r\n");
    envelope.line_end = core.find("\r\n") != std::string_view::npos ? "\r\n" : "\n";
    envelope.width = line == std::string_view::npos ? std::max<std::size_t>(core.size(), 64) : line;
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
    switch (envelope.form) {
    case Form::binary:
        break;
    case Form::pem:
        keep_around(text, pem_body(text), envelope);
        if (envelope.before
                .empty()) { // headers of an older PEM stand in it: DER is the better form
            if (text.find(kBegin) != text.rfind(kBegin)) {
                throw not_alone();
            }
            envelope.form = Form::binary;
        }
        break;
    case Form::base64:
        keep_around(text, text, envelope);
        break;
    case Form::smime: {
        auto mail = find_smime(text);
        keep_around(text, mail->base64, envelope);
        envelope.contents = std::move(mail->contents);
        break;
    }
    }
    return envelope;
}

Bytes Envelope::close(ByteView changed) const {
    if (form == Form::binary) {
        return copy_of(changed);
    }
    const std::string base64 = encode_base64(changed);
    std::string text = before;
    for (std::size_t at = 0; at < base64.size(); at += width) {
        text += (at == 0 ? "" : line_end) + base64.substr(at, width);
    }
    text += behind;
    return copy_of(text.data(), text.size());
}

Bytes rewrap(ByteView original, ByteView der) {
    return guarded("write the message", [&] {
        const Envelope envelope = Envelope::open(original);
        if (!stands_alone(envelope.der)) {
            throw not_alone();
        }
        Bytes text = envelope.close(der);
        // Whatever else stands in the text, it is this message that has been changed.
        if (!std::ranges::equal(unarmor(text).der, der)) {
            throw not_alone();
        }
        return text;
    });
}

} // namespace chronoseal
