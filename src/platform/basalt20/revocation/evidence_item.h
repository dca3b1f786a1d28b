// One list or answer that lies at hand or was fetched, with where it came from.
#pragma once

#include <basalt/revocation/crl_facts.h>
#include <basalt/revocation/ocsp_facts.h>

#include <memory>
#include <string>
#include <vector>

namespace basalt {

enum class EvidenceKind { crl, ocsp };
enum class EvidenceSource { given, cache, network };

struct EvidenceItem {
    EvidenceSource source = EvidenceSource::given;
    std::string url;                      // empty for what was given
    std::shared_ptr<const CrlFacts> list; // one of the two, or neither for what can't be used
    std::shared_ptr<const OcspFacts> answer;
    Bytes encoded;
    std::shared_ptr<const void> keeper; // of the encoded bytes

    bool usable() const { return list != nullptr || answer != nullptr; }
    // Not usable, since it takes more to be read or kept than is spent on what nobody may have
    // signed.
    bool too_large = false;
    void leave_unread() {
        too_large = true;
        drop();
    }
    // Not usable, though it is a list or an answer as far as can be told.
    bool is_garbled = false;
    // All that is needed of a useless one is that it was asked for.
    void drop() {
        list.reset();
        answer.reset();
        encoded = {};
        keeper.reset();
    }
    bool own = false; // given, and by this machine or its user: it can't be junk of the message's
    bool given() const { return source == EvidenceSource::given && !own; }
    // To be hashed for whoever asks; one's own list is as long as one wants it.
    std::size_t octets_to_pay() const { return own ? 0 : encoded.size(); }
    FileTicks made_at() const { return list ? list->this_update : answer->produced_at; } // usable
    EvidenceKind kind() const { return list != nullptr ? EvidenceKind::crl : EvidenceKind::ocsp; }
};

// Whether bytes that aren't usable are a list or an answer all the same, as far as can be told. A
// page that a server shows in place of a list isn't, nor an issuer's certificate, and an answer
// that tells of an error has told nothing.
bool looks_like(EvidenceKind kind, Bytes bytes);

// From the network or the cache. What isn't usable keeps its address alone.
EvidenceItem fetched_item(EvidenceSource source, const std::string& url, EvidenceKind kind,
                          std::vector<BYTE> bytes);

} // namespace basalt
