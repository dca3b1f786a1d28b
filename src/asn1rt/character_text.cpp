// Text conversions. Every UTF-8 sequence is read by rtUTF8DecodeChar, which is told how far it may
// look.
#include <chronoseal/asn1rt/character_text.h>

#include <climits>
#include <cstring>
#include <cwchar>

#include <chronoseal/asn1rt/allocation.h>
#include <chronoseal/asn1rt/context.h>
#include <chronoseal/asn1rt/status.h>

namespace {

constexpr std::uint32_t kMaxCharacter = 0x7FFFFFFF;

bool is_allowed(const ASN1TUniversalTextSet& set, std::uint32_t character) {
    if (character < set.firstChar || character > set.lastChar) {
        return false;
    }
    for (std::uint32_t i = 0; i < set.nchars; ++i) {
        if (set.data[i] == character) {
            return true;
        }
    }
    return set.nchars == 0;
}

std::uint32_t widen(char c) {
    return static_cast<unsigned char>(c);
}
std::uint32_t widen(wchar_t c) {
    return static_cast<std::uint32_t>(c);
}

template <typename Char>
ASN1TUniversalText* to_record(ASN1CTXT* ctxt, const Char* text, std::size_t length,
                              ASN1TUniversalText* target, const ASN1TUniversalTextSet* set) {
    auto* characters = asn1rt::alloc_latched<std::uint32_t>(ctxt, length);
    if (characters == nullptr) {
        return nullptr;
    }
    std::uint32_t count = 0;
    for (std::size_t i = 0; i < length; ++i) {
        const std::uint32_t character = widen(text[i]);
        if (set == nullptr || is_allowed(*set, character)) {
            characters[count++] = character;
        }
    }
    target->nchars = count;
    target->data = characters;
    return target;
}

// Bytes of the sequence that this byte leads, or 0.
int sequence_length(unsigned char lead) {
    if (lead < 0x80) {
        return 1;
    }
    if ((lead & 0xE0) == 0xC0) {
        return 2;
    }
    if ((lead & 0xF0) == 0xE0) {
        return 3;
    }
    if ((lead & 0xF8) == 0xF0) {
        return 4;
    }
    if ((lead & 0xFC) == 0xF8) {
        return 5;
    }
    return (lead & 0xFE) == 0xFC ? 6 : 0;
}

} // namespace

ASN1TUniversalText* rtCToUCSString(ASN1CTXT* ctxt, const char* text, ASN1TUniversalText* target,
                                   const ASN1TUniversalTextSet* char_set) {
    if (text == nullptr || target == nullptr) {
        return nullptr;
    }
    return to_record(ctxt, text, std::strlen(text), target, char_set);
}

ASN1TUniversalText* rtWCSToUCSString(ASN1CTXT* ctxt, const wchar_t* text,
                                     ASN1TUniversalText* target,
                                     const ASN1TUniversalTextSet* char_set) {
    if (text == nullptr || target == nullptr) {
        return nullptr;
    }
    return to_record(ctxt, text, std::wcslen(text), target, char_set);
}

wchar_t* rtUCSToWCSString(const ASN1TUniversalText* record, wchar_t* out, std::size_t capacity) {
    std::size_t written = 0;
    for (std::uint32_t i = 0; i < record->nchars && written < capacity; ++i) {
        // Callers were promised 16-bit characters once; those beyond are left out to this day.
        if (record->data[i] < 0x10000) {
            out[written++] = static_cast<wchar_t>(record->data[i]);
        }
    }
    if (written < capacity) {
        out[written] = L'\0';
    }
    return out;
}

int rtUTF8ToWCS(ASN1CTXT* ctxt, const char* text, wchar_t* out, std::size_t capacity) {
    std::size_t left = rtUTF8LenBytes(text);
    std::size_t count = 0;
    while (left > 0) {
        std::size_t used = left;
        const std::int32_t character = rtUTF8DecodeChar(ctxt, text, &used);
        if (character < 0) {
            return rtErrSetData(&ctxt->errInfo, rtStatusInvalidUTF8);
        }
        if (count >= capacity || count >= static_cast<std::size_t>(INT_MAX)) {
            return rtStatusBufferOverflow;
        }
        out[count++] = static_cast<wchar_t>(character);
        text += used;
        left -= used;
    }
    if (count < capacity) {
        out[count] = L'\0';
    }
    return static_cast<int>(count);
}

int rtWCSToUTF8(ASN1CTXT* ctxt, const wchar_t* text, std::size_t count, char* out,
                std::size_t capacity) {
    const std::size_t limit = capacity < INT_MAX ? capacity : INT_MAX;
    std::size_t written = 0;
    for (std::size_t i = 0; i < count; ++i) {
        const std::uint32_t character = widen(text[i]);
        if (character > kMaxCharacter) {
            return rtErrSetData(&ctxt->errInfo, rtStatusInvalidUTF8);
        }
        const int size = rtUTF8EncodeChar(character, out + written, limit - written);
        if (size < 0) {
            return rtErrSetData(&ctxt->errInfo, rtStatusBufferOverflow);
        }
        written += static_cast<std::size_t>(size);
    }
    return static_cast<int>(written);
}

int rtUTF8Len(const char* text) {
    const std::size_t bytes = rtUTF8LenBytes(text);
    std::size_t count = 0;
    // The bytes behind a lead byte are stepped over unseen, and a sequence that is cut off by the
    // end of the text counts as one character. rtUTF8ToWCS is where such texts are refused.
    for (std::size_t at = 0; at < bytes; ++count) {
        const int size = sequence_length(static_cast<unsigned char>(text[at]));
        if (size == 0) {
            return rtStatusInvalidUTF8;
        }
        at += static_cast<std::size_t>(size);
    }
    return count < INT_MAX ? static_cast<int>(count) : INT_MAX;
}

std::size_t rtUTF8LenBytes(const char* text) {
    return text == nullptr ? 0 : std::strlen(text);
}

int rtUTF8CharSize(std::uint32_t character) {
    if (character < 0x80) {
        return 1;
    }
    if (character < 0x800) {
        return 2;
    }
    if (character < 0x10000) {
        return 3;
    }
    if (character < 0x200000) {
        return 4;
    }
    return character < 0x4000000 ? 5 : 6;
}

int rtUTF8EncodeChar(std::uint32_t character, char* out, std::size_t capacity) {
    static constexpr unsigned char kLeadBits[] = {0x00, 0xC0, 0xE0, 0xF0, 0xF8, 0xFC};
    const int size = rtUTF8CharSize(character);
    if (capacity < static_cast<std::size_t>(size) || character > kMaxCharacter) {
        return rtStatusBufferOverflow;
    }
    for (int i = size - 1; i > 0; --i) {
        out[i] = static_cast<char>(0x80 | (character & 0x3F));
        character >>= 6;
    }
    out[0] = static_cast<char>(kLeadBits[size - 1] | character);
    return size;
}

std::int32_t rtUTF8DecodeChar(ASN1CTXT*, const char* text, std::size_t* size) {
    if (text == nullptr || size == nullptr || *size == 0) {
        return rtStatusInvalidUTF8;
    }
    const auto lead = static_cast<unsigned char>(*text);
    const int length = sequence_length(lead);
    if (length == 0 || *size < static_cast<std::size_t>(length)) {
        return rtStatusInvalidUTF8;
    }
    std::uint32_t character = length == 1 ? lead : lead & (0x7FU >> length);
    for (int i = 1; i < length; ++i) {
        const auto octet = static_cast<unsigned char>(text[i]);
        if ((octet & 0xC0) != 0x80) {
            return rtStatusInvalidUTF8;
        }
        character = (character << 6) | (octet & 0x3FU);
    }
    *size = static_cast<std::size_t>(length);
    return static_cast<std::int32_t>(character);
}

char* rtUTF8Strdup(ASN1CTXT* ctxt, const char* text) {
    const std::size_t size = rtUTF8LenBytes(text) + 1;
    char* copy = text == nullptr ? nullptr : asn1rt::alloc<char>(ctxt, size);
    if (copy != nullptr) {
        std::memcpy(copy, text, size);
    }
    return copy;
}
