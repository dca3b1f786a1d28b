#include <basalt/revocation/status_check.h>

#include <basalt/certificate/key_bits.h>
#include <basalt/revocation/evidence_session.h>
#include <basalt/revocation/inquiry.h>

#include <algorithm>
#include <utility>

namespace basalt {

namespace {

// A signer of evidence, its signer, and that one's.
constexpr std::size_t kMostUnderWay = 4;

} // namespace

StatusFinding EvidenceSession::judge(CertificatePathView path, std::size_t index,
                                     const StatusQuestion& question) {
    const CertificateEntry& certificate = path[index];
    const auto key_when = [&](bool may_fetch) {
        return Key{certificate.get(),
                   path[index + 1].get(),
                   path.back().get(),
                   question.stamp_time,
                   question.now,
                   question.is_signer,
                   may_fetch,
                   !may_fetch && question.may_ask_later,
                   question.is_about_key};
    };
    const Key key = key_when(question.may_fetch);
    good_but_for_foreign = false;
    if (under_way_.empty() && std::exchange(judged_with_, taken_in_) != taken_in_) {
        // What has come since may revoke. Whoever was asked isn't asked again.
        std::erase_if(findings_, [](const auto& finding) {
            return finding.second.standing != Standing::revoked || !finding.second.stands();
        });
    }
    // What was found when the sources were asked holds for whoever may not ask them, too, and goes
    // before what was found without them.
    for (const Key& wanted : {key_when(true), key}) {
        if (const auto known = findings_.find(wanted); known != findings_.end()) {
            if (known->second.cause == UnknownCause::exhausted) {
                signatures.note_left_out();
            }
            return known->second;
        }
    }
    const bool is_too_deep = under_way_.size() >= kMostUnderWay;
    if (is_too_deep || is_under_way(*certificate)) {
        circles_ += is_too_deep ? 1 : 0;
        StatusFinding finding;
        finding.cause = UnknownCause::unreachable;
        finding.not_heard = is_too_deep; // not even what is at hand
        return finding;
    }
    under_way_.push_back(certificate.get());
    StatusFinding finding = Inquiry(*this, path, index, question).run();
    under_way_.pop_back();
    // An answer that was cut short by a circle holds for this question only.
    if (under_way_.empty()) {
        findings_[key] = finding;
    }
    return finding;
}

const EvidenceItem* EvidenceSession::take_in(const std::string& key, EvidenceItem item) {
    ++taken_in_;
    if (item.source == EvidenceSource::network) {
        if (item.encoded.size() > budget.limits().fetched_octets - octets_fetched_) {
            item.leave_unread();
        }
        octets_fetched_ += item.encoded.size();
    }
    return &fetched[key].emplace_back(std::move(item));
}

const CertificateSources& EvidenceSession::sources_of(X509* certificate) {
    const auto known = sources_.find(certificate);
    if (known != sources_.end()) {
        return known->second;
    }
    CertificateSources& sources =
        sources_.try_emplace(certificate, CertificateSources{CertificateScope(certificate), {}})
            .first->second;
    sources.addresses = source_addresses(certificate, sources.scope, budget.limits().addresses);
    return sources;
}

bool EvidenceSession::affords(const EvidenceItem& item, std::size_t comparisons) {
    const bool affordable = item.own || budget.take_comparisons(comparisons, item.given());
    if (!affordable) {
        signatures.note_left_out();
    }
    return affordable;
}

const Listing* EvidenceSession::listing_of(const EvidenceItem& list, X509* certificate) {
    const auto known = listings_.find({&list, certificate});
    if (known != listings_.end()) {
        return &known->second;
    }
    if (!affords(list, comparisons_for_listing(list))) {
        return nullptr;
    }
    return &listings_.try_emplace({&list, certificate}, basalt::listing_of(list, certificate))
                .first->second;
}

bool EvidenceSession::has_entry(const EvidenceItem& list, X509* certificate) {
    const auto [known, is_new] = entries_.try_emplace({&list, certificate}, false);
    if (is_new) {
        known->second = has_number(list, certificate);
    }
    return known->second;
}

bool EvidenceSession::comes_back_to(const X509Entry& certificate,
                                    bool (*is_same)(const X509*, const X509*)) {
    const bool is_circle =
        std::any_of(under_way_.begin(), under_way_.end(), [&](const X509Entry* other) {
            return is_same(other->certificate.get(), certificate.certificate.get());
        });
    circles_ += is_circle ? 1 : 0;
    return is_circle;
}

bool EvidenceSession::is_under_way(const X509Entry& certificate) {
    return comes_back_to(certificate,
                         [](const X509* a, const X509* b) { return X509_cmp(a, b) == 0; });
}

bool EvidenceSession::is_key_under_way(const X509Entry& certificate) {
    return comes_back_to(certificate, [](const X509* a, const X509* b) {
        return same_key_bits(key_bits_of(a), key_bits_of(b));
    });
}

void add_unknown(std::vector<DecidingEvidence>& known, const std::vector<DecidingEvidence>& more) {
    for (const DecidingEvidence& one : more) {
        const auto is_same = [&](const DecidingEvidence& other) {
            return other.encoded.data() == one.encoded.data();
        };
        if (std::none_of(known.begin(), known.end(), is_same)) {
            known.push_back(one);
        }
    }
}

bool passes(const StatusFinding& finding, RevocationMode mode) {
    if (mode == RevocationMode::off || finding.standing == Standing::good) {
        return true;
    }
    if (finding.standing == Standing::revoked || finding.cause == UnknownCause::exhausted ||
        finding.not_heard) {
        return false;
    }
    return mode == RevocationMode::available || finding.cause == UnknownCause::no_source;
}

class StatusCheck::Session : public EvidenceSession {
public:
    using EvidenceSession::EvidenceSession;
};

StatusCheck::StatusCheck(Budget& budget, Retrieval& retrieval, SignerPaths& paths,
                         const std::vector<HCERTSTORE>& own, const std::vector<HCERTSTORE>& foreign)
    : session_(std::make_unique<Session>(budget, retrieval, paths, own, foreign)) {}

StatusCheck::~StatusCheck() = default;

void StatusCheck::forget_findings() {
    session_->forget_findings();
}

std::size_t StatusCheck::taken_in() const {
    return session_->taken_in();
}

unsigned StatusCheck::circles() const {
    return session_->circles();
}

StatusFinding StatusCheck::judge(CertificatePathView path, std::size_t index,
                                 const StatusQuestion& question) {
    if (question.mode == RevocationMode::off || index + 1 >= path.size()) {
        return {};
    }
    return session_->judge(path, index, question);
}

} // namespace basalt
