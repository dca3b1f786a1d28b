// Advice by whole phrases. One that the library words anew stays as it is, without its option.
#include "option_advice.h"

namespace cli {

namespace {

struct Phrase {
    std::string_view plain, with_option;
};

constexpr Phrase kPhrases[] = {
    {"ask for it when the request is made, give it, or don't have the answer verified",
     "make the request with --cert, give the certificate by --certs, or leave the answer "
     "unverified by --no-verify"},
    {"give it, or ask for it when stamping",
     "give it by --certs, or ask for it by --cert when stamping"},
    {"give the revocation list, choose to take what is available, or",
     "give the revocation list by --crls, choose --revocation available, or"},
    {"give an archived revocation list, or choose to take what is available",
     "give an archived revocation list by --crls, or choose --revocation available"},
    {"give one, or set DefaultTSPURL", "give one by --url, or set DefaultTSPURL"},
    {"give the list of the new hash, too, if",
     "give the list of the new hash, too, by --rehashed, if"},
};

} // namespace

chronoseal::Error with_options(const chronoseal::Error& error) {
    std::string advice = error.advice();
    for (const Phrase& phrase : kPhrases) {
        if (const std::size_t at = advice.find(phrase.plain); at != std::string::npos) {
            advice.replace(at, phrase.plain.size(), phrase.with_option);
        }
    }
    return {error.category(), error.word(), error.code(), error.text(), advice};
}

} // namespace cli
