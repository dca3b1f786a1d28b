// The inside of a stamp, for the parts of this floor that make and judge stamps.
#pragma once

#include <memory>

#include <chronoseal/chronoseal.hpp>
#include <chronoseal/core/token.h>
#include <chronoseal/seal/token_signer.h>

namespace chronoseal {

struct Stamp::Content {
    StampInfo info;
    Bytes token;
    Bytes response;
    std::shared_ptr<const Halcyon::PKI::TSP::CToken> decoded; // null without a token
    SignerName signer_name;                                   // of the token
    std::string authority;
    std::vector<Remark> remarks;
    unsigned attempts = 0;
    std::shared_ptr<const Verdict> verdict; // null: not kept
};

struct StampAccess {
    using Content = Stamp::Content;

    // Of one that was moved from: what an answer without anything would have.
    static const Content& of(const Stamp& stamp);
    static Stamp make(Content content) {
        return Stamp(std::make_shared<Content>(std::move(content)));
    }
    // What the stamp holds: moved out where nobody else has a share in it, else a copy.
    static StampInfo take_info(Stamp stamp);
    // Reads DER or BER, a response or a bare token. Throws as Stamp::read.
    static Content read_der(ByteView der);
};

} // namespace chronoseal
