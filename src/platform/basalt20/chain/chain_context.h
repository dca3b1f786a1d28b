// The chain behind a CERT_CHAIN_CONTEXT: the session that judges, what it found at the time that
// the chain was asked for, and the published records over that.
#pragma once

#include <basalt/chain.h>
#include <basalt/chain/chain_session.h>

#include <array>
#include <atomic>

namespace basalt {

struct ChainRequest {
    PCCERT_CONTEXT end = nullptr;
    std::optional<FileTicks> at; // nothing: the present moment of the settings
    HCERTSTORE additional = nullptr;
    UsageQuestion usage;
    std::vector<std::string> policies;
    DWORD flags = 0;
};

class Chain : public CERT_CHAIN_CONTEXT {
public:
    // Builds and judges the chain. The references in `request` are duplicated.
    static Chain* build(ChainSettings settings, ChainRequest request);

    Chain(const Chain&) = delete;
    Chain& operator=(const Chain&) = delete;

    void add_reference() noexcept { ++references_; }
    void release() noexcept {
        if (--references_ == 0) {
            delete this;
        }
    }

    const Judgement& judgement() const { return judgement_; }

    // The same question at another moment, or for another use. May fetch.
    Judgement judge(FileTicks at, const UsageQuestion& usage) const;
    const ChainSession& session() const { return *session_; }

private:
    Chain(ChainSettings settings, const ChainRequest& request);
    ~Chain() = default;

    bool still_holds(FileTicks at, const UsageQuestion& usage) const;

    struct Record {
        CertificateReference certificate;
        CERT_CHAIN_ELEMENT element{};
        CERT_REVOCATION_INFO revocation{};
        std::vector<BASALT_REVOCATION_EVIDENCE> evidence;
        std::wstring unreached;
    };

    void fill_records();
    void fill_element(std::size_t index);
    void fill_revocation(const JudgedElement& source, Record& record);
    void fill_evidence(const StatusFinding& finding, Record& record);

    std::atomic<unsigned> references_{1};
    CertificateReference end_;
    StoreReference additional_;
    std::unique_ptr<ChainSession> session_;
    Judgement judgement_;
    FileTicks at_ = 0;  // for which that is
    FileTicks now_ = 0; // when it was made
    UsageQuestion usage_;
    mutable std::atomic<bool> judged_again_{false};

    std::vector<Record> records_;
    std::vector<CERT_CHAIN_ELEMENT*> element_pointers_;
    CERT_SIMPLE_CHAIN simple_{};
    std::array<CERT_SIMPLE_CHAIN*, 1> simple_pointers_{};
};

} // namespace basalt
