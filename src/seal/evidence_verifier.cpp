// Verdicts on records: the links first, then each stamp by a verifier whose "now" is the time of
// the stamp that renewed it.
#include <chronoseal/evidence.hpp>

#include <algorithm>
#include <map>
#include <mutex>

#include <chronoseal/seal/certificate_info.h>
#include <chronoseal/seal/failure.h>
#include <chronoseal/seal/out_of_memory.h>
#include <chronoseal/seal/record_links.h>
#include <chronoseal/seal/running_hash.h>
#include <chronoseal/seal/verification.h>

namespace chronoseal {

namespace {

// What is kept of one verifier's work; more is forgotten all at once.
constexpr std::size_t kMostVerdicts = 4096;
constexpr std::size_t kMostMoments = 64;

// The first end of a certificate below the anchor.
std::optional<Time> first_end(const Verdict& verdict) {
    std::optional<Time> end;
    for (const ChainLink& link : verdict.chain) {
        if (!link.anchor && (!end || link.certificate.not_after < *end)) {
            end = link.certificate.not_after;
        }
    }
    return end;
}

} // namespace

class EvidenceVerifier::Impl {
public:
    explicit Impl(Trust trust)
        : trust_(std::move(trust)), now_(std::make_shared<const TrustInForce>(trust_)) {}

    EvidenceVerdict verify(const EvidenceRecord& record,
                           const std::vector<DataDigests>& objects) const {
        EvidenceVerdict verdict;
        LinkReport links = check_links(record, objects);
        verdict.failure = std::move(links.failure);
        verdict.failed_stamp = links.failed_stamp;
        verdict.remarks = std::move(links.remarks);
        verdict.compared = !objects.empty();
        const auto& stamps = record.info().stamps;
        const std::vector<Verdict> verdicts = verdicts_on(stamps, links.roots);
        for (std::size_t i = 0; i < links.roots.size(); ++i) {
            verdict.stamps.push_back(judged(stamps, i, verdicts[i], verdict));
        }
        conclude(record, verdict);
        return verdict;
    }

private:
    struct OneFile {
        SharedFetching fetching;
        bool used = false; // by some stamp
    };

    // The newest first: what is asked for its sake may tell of those that it renewed.
    std::vector<Verdict> verdicts_on(const std::vector<ArchiveStampInfo>& stamps,
                                     const std::vector<Digest>& roots) const {
        std::vector<Verdict> verdicts(roots.size());
        OneFile file;
        for (std::size_t i = roots.size(); i-- > 0;) {
            const bool last = i + 1 == stamps.size();
            verdicts[i] =
                verdict_on(stamps[i].stamp, roots[i],
                           last ? trust_.as_of : std::optional(stamps[i + 1].stamp.time()), file);
        }
        return verdicts;
    }

    static JudgedStamp judged(const std::vector<ArchiveStampInfo>& stamps, std::size_t index,
                              const Verdict& verdict, EvidenceVerdict& whole) {
        JudgedStamp one;
        one.chain = stamps[index].chain;
        one.verdict = verdict;
        one.certificates_end = first_end(one.verdict);
        if (index + 1 < stamps.size()) {
            one.covered_by = index + 1;
        }
        one.covered_in_time = one.certificates_end && one.verdict.as_of <= *one.certificates_end;
        const bool earlier_open = whole.open && !one.verdict.indeterminate();
        if (!one.verdict.good() && (!whole.failure || earlier_open)) {
            whole.failure = failure_of(one.verdict, index);
            whole.failed_stamp = index;
            whole.open = one.verdict.indeterminate();
        }
        return one;
    }

    static Error failure_of(const Verdict& verdict, std::size_t index) {
        const Error error = verdict.error();
        return Error(error.category(), error.word(), error.code(),
                     "time-stamp " + std::to_string(index + 1) + ": " + error.text(),
                     error.advice());
    }

    // The same stamp comes in many records. That something couldn't be fetched is kept only of one
    // that had the whole time for it: others of the same record can't have used it up.
    Verdict verdict_on(const Stamp& stamp, const Digest& root, std::optional<Time> as_of,
                       OneFile& file) const {
        const std::pair key{sha256_of(stamp.token()), as_of};
        {
            const std::lock_guard lock(mutex_);
            if (const auto known = verdicts_.find(key); known != verdicts_.end()) {
                return *known->second;
            }
        }
        const bool had_the_time = !std::exchange(file.used, true);
        Expected expected;
        expected.digest = root;
        auto verdict = std::make_shared<const Verdict>(
            Verification(*trust_at(as_of), stamp, expected, &file.fetching).run({}));
        if (verdict->indeterminate() && !had_the_time) {
            return *verdict;
        }
        const std::lock_guard lock(mutex_);
        if (verdicts_.size() >= kMostVerdicts) {
            verdicts_.clear();
        }
        verdicts_.emplace(key, verdict);
        return *verdict;
    }

    std::shared_ptr<const TrustInForce> trust_at(std::optional<Time> as_of) const {
        if (as_of == trust_.as_of) {
            return now_;
        }
        const std::lock_guard lock(mutex_);
        if (const auto known = earlier_.find(*as_of); known != earlier_.end()) {
            return known->second;
        }
        if (earlier_.size() >= kMostMoments) {
            earlier_.clear();
        }
        return earlier_.emplace(*as_of, std::make_shared<const TrustInForce>(*now_, trust_, as_of))
            .first->second;
    }

    static void conclude(const EvidenceRecord& record, EvidenceVerdict& verdict) {
        if (verdict.stamps.size() == record.info().stamps.size()) {
            verdict.renew_before = verdict.stamps.back().verdict.outlook.renew_before;
        }
        const auto late = std::ranges::find(verdict.stamps, false, &JudgedStamp::covered_in_time);
        if (late != verdict.stamps.end() && late->covered_by && late->certificates_end) {
            verdict.remarks.push_back(
                {"renewed_late", "time-stamp " + std::to_string(*late->covered_by) +
                                     " was renewed after its certificates had ended on " +
                                     utc_text(*late->certificates_end) +
                                     ": a key that was stolen in between could forge it"});
        }
        if (!verdict.good()) {
            return;
        }
        verdict.existed_by = record.info().stamps.front().stamp.time();
        verdict.strength = late != verdict.stamps.end() ? EvidenceStrength::aged
                           : verdict.stamps.size() > 1  ? EvidenceStrength::renewed
                                                        : EvidenceStrength::fresh;
    }

    Trust trust_;
    std::shared_ptr<const TrustInForce> now_;
    mutable std::mutex mutex_;
    mutable std::map<std::pair<Bytes, std::optional<Time>>, std::shared_ptr<const Verdict>>
        verdicts_;
    mutable std::map<Time, std::shared_ptr<const TrustInForce>> earlier_;
};

DataDigests digests_of_file(const EvidenceRecord& record, const std::filesystem::path& path,
                            const Progress& progress, std::stop_token stop) {
    return within_memory("hash the file", [&] {
        std::vector<Hasher> hashers;
        for (const HashAlgorithm& algorithm : record.data_algorithms()) {
            hashers.emplace_back(algorithm);
        }
        hash_file(path, hashers, progress, std::move(stop));
        DataDigests digests;
        for (Hasher& hasher : hashers) {
            digests.push_back(hasher.finish());
        }
        return digests;
    });
}

EvidenceVerifier::EvidenceVerifier(Trust trust)
    : impl_(guarded("set up the verification",
                    [&] { return std::make_shared<const Impl>(std::move(trust)); })) {}

EvidenceVerdict EvidenceVerifier::verify(const EvidenceRecord& record,
                                         const std::vector<DataDigests>& objects) const {
    return guarded("verify the evidence record", [&] { return impl_->verify(record, objects); });
}

EvidenceVerdict EvidenceVerifier::verify(const EvidenceRecord& record, ByteView data) const {
    return guarded("verify the evidence record", [&] {
        DataDigests digests;
        for (const HashAlgorithm& algorithm : record.data_algorithms()) {
            digests.push_back(Digest::of(data, algorithm));
        }
        return verify(record, std::vector<DataDigests>{std::move(digests)});
    });
}

EvidenceVerdict EvidenceVerifier::verify_file(const EvidenceRecord& record,
                                              const std::filesystem::path& path,
                                              const Progress& progress,
                                              std::stop_token stop) const {
    return verify(
        record, std::vector<DataDigests>{digests_of_file(record, path, progress, std::move(stop))});
}

EvidenceVerdict EvidenceVerifier::verify_record(const EvidenceRecord& record) const {
    return verify(record, std::vector<DataDigests>{});
}

} // namespace chronoseal
