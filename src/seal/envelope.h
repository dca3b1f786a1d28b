// The form in which a message came, kept so that what was changed in it goes back into the same
// one: the text around PEM's Base64, or the rest of a mail.
#pragma once

#include <string>

#include <chronoseal/chronoseal.hpp>

namespace chronoseal {

struct Envelope {
    // The same message as `unarmor` finds, S/MIME included.
    static Envelope open(ByteView bytes);
    // Another message in the same form. Throws `malformed` where that wouldn't be read as the
    // message of the text, and something else would be harmed.
    Bytes close(ByteView der) const;

    Form form = Form::binary;
    Bytes der;
    std::vector<Bytes> contents; // of a mail whose signature is detached: see smime.h
    std::string before, behind;  // the Base64
    std::string line_end;
    std::size_t width = 64; // of its lines
};

} // namespace chronoseal
