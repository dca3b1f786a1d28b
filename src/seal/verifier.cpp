// Verdicts, and who gives them.
#include <chronoseal/seal/out_of_memory.h>
#include <chronoseal/seal/platform_text.h>
#include <chronoseal/seal/request_bytes.h>
#include <chronoseal/seal/verification.h>
#include <chronoseal/seal/verifier_impl.h>

#include <algorithm>

namespace chronoseal {

namespace {

// What follows from nothing that has failed follows from something that is open.
bool may_stay_open(const Finding& one) {
    return one.check == Check::revocation || one.code == kTooCostly ||
           one.word == kEarlierFailure || one.word == kUnsignedDamaged;
}

} // namespace

bool Verdict::good() const noexcept {
    return findings.size() == kChecks && std::ranges::none_of(findings, [](const Finding& one) {
               return one.outcome == Outcome::failed ||
                      (one.outcome == Outcome::not_done && one.required);
           });
}

bool Verdict::indeterminate() const noexcept {
    bool missing = false;
    for (const Finding& one : findings) {
        const bool open = one.outcome == Outcome::not_done && one.required;
        if (one.outcome == Outcome::failed || (open && !may_stay_open(one))) {
            return false;
        }
        missing |= open;
    }
    return missing;
}

bool Verdict::compared() const noexcept {
    return std::ranges::any_of(findings, [](const Finding& one) {
        return one.check == Check::imprint && one.outcome != Outcome::not_done;
    });
}

const Finding& Verdict::at(Check check) const {
    const auto index = static_cast<std::size_t>(check);
    if (index >= findings.size()) {
        throw Error(Category::misuse, "no_finding", 0, "the verdict has no such finding",
                    "use one that a verifier gave");
    }
    return findings[index];
}

const Finding& Verdict::deciding() const {
    for (const Finding& one : findings) {
        if (one.outcome == Outcome::failed) {
            return one;
        }
    }
    for (const Finding& one : findings) {
        if (one.outcome == Outcome::not_done && one.required) {
            return one;
        }
    }
    return at(Check::strength);
}

Error Verdict::error() const {
    return within_memory("tell of the verdict", [&] {
        const Finding& one = deciding();
        const Category category = one.outcome == Outcome::failed ? Category::refused
                                  : may_stay_open(one)           ? Category::unreachable
                                                                 : Category::misuse;
        return Error(category, one.word, one.code, one.text, one.advice);
    });
}

Verifier::Verifier(Trust trust)
    : impl_(guarded("set up the verification",
                    [&] { return std::make_shared<const Impl>(std::move(trust)); })) {}

Verdict Verifier::Impl::verify(const Stamp& stamp, const Expected& expected,
                               Leniency leniency) const {
    return guarded("verify the time-stamp", [&] {
        return Verification(*trust_, stamp, expected, together_.get()).run(leniency);
    });
}

Verdict Verifier::Impl::verify(Stamp&& stamp, const Expected& expected, Leniency leniency) const {
    return guarded("verify the time-stamp", [&] {
        Verdict verdict =
            Verification(*trust_, stamp, expected, together_.get()).run_for_rest(leniency);
        verdict.stamp = StampAccess::take_info(std::move(stamp));
        return verdict;
    });
}

std::shared_ptr<const Verifier::Impl> Verifier::Impl::for_one_file() const {
    const auto bound = std::make_shared<Impl>(*this);
    bound->together_ = std::make_shared<const SharedFetching>();
    return bound;
}

Verifier Verifier::for_one_file() const {
    return guarded("set up the verification", [&] {
        Verifier bound(*this);
        bound.impl_ = impl_->for_one_file();
        return bound;
    });
}

Verdict Verifier::verify(const Stamp& stamp, const Expected& expected) const {
    return impl_->verify(stamp, expected, {});
}

Verdict Verifier::verify(Stamp&& stamp, const Expected& expected) const {
    return impl_->verify(std::move(stamp), expected, {});
}

Verdict Verifier::verify(const Stamp& stamp, const Digest& digest) const {
    return within_memory("verify the time-stamp", [&] {
        Expected expected;
        expected.digest = digest;
        return verify(stamp, expected);
    });
}

namespace {

// Without a token, or with a hash that isn't known here, there is nothing to hash by; the verdict
// tells the first, the exception the second.
std::optional<HashAlgorithm> hash_of(const Stamp& stamp) {
    return stamp.has_token()
               ? std::optional(HashAlgorithm::by_name(stamp.info().token->imprint_algorithm.oid))
               : std::nullopt;
}

} // namespace

Verdict Verifier::verify(const Stamp& stamp, ByteView data) const {
    return within_memory("verify the time-stamp", [&] {
        Expected expected;
        if (const auto algorithm = hash_of(stamp)) {
            expected.digest = Digest::of(data, *algorithm);
        }
        return verify(stamp, expected);
    });
}

Verdict Verifier::verify_file(const Stamp& stamp, const std::filesystem::path& path,
                              const Progress& progress, std::stop_token stop) const {
    return within_memory("verify the time-stamp", [&] {
        Expected expected;
        if (const auto algorithm = hash_of(stamp)) {
            expected.digest = Digest::of_file(path, *algorithm, progress, std::move(stop));
        }
        return verify(stamp, expected);
    });
}

Verdict Verifier::verify_token(const Stamp& stamp) const {
    return within_memory("verify the time-stamp", [&] {
        Expected expected;
        expected.without_data = true;
        return verify(stamp, expected);
    });
}

Expected Expected::of_request(ByteView request) {
    return guarded("read the request", [&] { return read_request(request).expected; });
}

} // namespace chronoseal
