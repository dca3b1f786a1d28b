// The asking of authorities: settings looked at before, answers judged after, and the strategy over
// several of them in between.
#include <chronoseal/seal/sealer_impl.h>

#include <algorithm>

#include <basalt/error_codes.h>
#include <chronoseal/client/result_codes.h>
#include <chronoseal/seal/armor.h>
#include <chronoseal/seal/byte_kind.h>
#include <chronoseal/seal/failure.h>
#include <chronoseal/seal/file_bytes.h>
#include <chronoseal/seal/platform_text.h>
#include <chronoseal/seal/running_hash.h>
#include <chronoseal/seal/stamp_access.h>

namespace chronoseal {

namespace {

using namespace Halcyon::PKI::TSP::Client;

constexpr unsigned kHttpOk = 200;
constexpr long kMostNonceBytes = 128;

HashAlgorithm choose_hash(const std::string& wanted, const RequestRules& rules) {
    return wanted.empty() ? default_hash(narrow(rules.DefaultHashAlg.value))
                          : HashAlgorithm::by_name(wanted);
}

std::size_t nonce_size(std::optional<bool> wanted, const RequestRules& rules) {
    const bool used = wanted.value_or(rules.UseNonceByDefault.value);
    return used ? static_cast<std::size_t>(
                      std::clamp<std::int64_t>(rules.NonceLength.value, 1, kMostNonceBytes))
                : 0;
}

// Worth another try by the same authority: it may be a matter of a moment.
bool is_passing(const Error& error) {
    static constexpr std::string_view kWords[] = {
        "time_out",          "cannot_connect", "connection_lost",   "network_failed",
        "too_many_requests", "server_failure", "time_not_available"};
    return std::ranges::find(kWords, error.word()) != std::end(kWords);
}

// A refusal of this request says nothing about the authority.
bool speaks_against(const Error& error) {
    return error.word() != "not_granted" && error.word() != "cancelled";
}

Error cancelled() {
    return error_of_code(kCancelled, "get a time-stamp");
}

Error by_authority(const Error& error, const std::string& shown) {
    return error.text().find(shown) != std::string::npos
               ? error
               : Error(error.category(), error.word(), error.code(), shown + ": " + error.text(),
                       error.advice());
}

// The machine's for this address, whoever has named it; else none.
Rate rate_of(const std::string& url, const std::vector<Authority>& configured) {
    const auto found = std::ranges::find_if(configured, [&](const Authority& authority) {
        return is_address(authority.url) && settled_address(authority.url) == url;
    });
    return found != configured.end() ? found->rate : Rate();
}

Time now() {
    return std::chrono::time_point_cast<Time::duration>(std::chrono::system_clock::now());
}

// Whoever relies on the first authority learns that another had to stand in.
Stamp with_failures(const Stamp& stamp, const std::vector<Error>& failures) {
    if (failures.empty()) {
        return stamp;
    }
    StampAccess::Content content = StampAccess::of(stamp);
    for (const Error& error : failures) {
        content.remarks.push_back({"authority_passed_over", error.text()});
    }
    return StampAccess::make(std::move(content));
}

Error quorum_impossible(const std::string& why) {
    return Error(Category::misuse, "quorum_impossible", 0,
                 "so many stamps by different authorities can't be had: " + why,
                 "name more authorities, or ask for fewer stamps");
}

} // namespace

std::optional<Error> AuthorityHealth::resting() const {
    const std::lock_guard lock(mutex_);
    if (!last_ || Clock::now() >= until_) {
        return std::nullopt;
    }
    return Error(last_->category(), last_->word(), last_->code(),
                 last_->text() + "; it has failed twice running and isn't asked for a while",
                 last_->advice());
}

void AuthorityHealth::succeeded() {
    const std::lock_guard lock(mutex_);
    failures_ = 0;
    until_ = {};
}

void AuthorityHealth::failed(const Error& error, std::chrono::milliseconds rest) {
    constexpr unsigned kMostRunning = 2;
    const std::lock_guard lock(mutex_);
    last_ = error;
    if (++failures_ >= kMostRunning) {
        until_ = Clock::now() + rest;
        failures_ = kMostRunning - 1; // one more failure after the rest begins the next one
    }
}

namespace {

void require_oid(const std::string& policy) {
    if (policy.empty() || is_object_identifier(policy)) {
        return;
    }
    throw Error(Category::misuse, "policy_malformed", 0,
                "the policy " + quote_foreign(policy) + " is not an object identifier",
                "write it as numbers with dots, 1.2.3.4");
}

} // namespace

Sealer::Impl::Impl(SealerOptions options)
    : options_(std::move(options)), rules_(settled_rules()),
      hash_(choose_hash(options_.hash, rules_)),
      policy_(options_.policy.empty() ? narrow(rules_.DefaultPolicyID.value) : options_.policy),
      nonce_bytes_(nonce_size(options_.nonce, rules_)),
      certificates_(options_.certificates.value_or(
          rules_.DefaultCertReq.value || (options_.verify && options_.trust.certificates.empty()))),
      verifier_(options_.trust), rate_(std::make_unique<RequestRate>(options_.rate_file)) {
    require_oid(policy_);
    check_shape(rules_, {hash_.oid(), policy_, nonce_bytes_ != 0});
    if (options_.only_requests) {
        return;
    }
    const auto configured = configured_authorities();
    if (options_.authorities.empty()) {
        options_.authorities = configured;
    }
    if (options_.authorities.empty()) {
        throw error_of_code(kResultNoAddress);
    }
    for (const Authority& authority : options_.authorities) {
        auto known = std::make_unique<KnownAuthority>();
        known->endpoint = make_endpoint(authority, narrow(rules_.DefaultProxy.value));
        check_endpoint(rules_, known->endpoint);
        if (known->endpoint.rate.count == 0) {
            known->endpoint.rate = rate_of(known->endpoint.url, configured);
        }
        authorities_.push_back(std::move(known));
    }
    if (options_.quorum == 0 || options_.quorum > authorities_.size()) {
        throw quorum_impossible(std::to_string(authorities_.size()) + " are named");
    }
    if (options_.quorum > 1 && !options_.verify) {
        throw quorum_impossible("without verification nothing tells them apart");
    }
}

Bytes Sealer::Impl::make(const Digest& digest) const {
    return make_request(digest, {policy_, certificates_, nonce_bytes_});
}

Question Sealer::Impl::question_of(const Digest& digest) const {
    if (digest.algorithm().oid() != hash_.oid()) {
        check_shape(rules_, {digest.algorithm().oid(), policy_, nonce_bytes_ != 0});
    }
    Question question{make(digest), {}};
    question.expected = read_request(question.request).expected;
    return question;
}

Question Sealer::Impl::question_of_request(ByteView request) const {
    Question question;
    RequestFields fields = read_request(request);
    if (!fields.expected.digest) {
        throw Error(Category::misuse, "hash_unknown", NTE_BAD_ALGID,
                    "the request's hash " + quote_foreign(algorithm_name(fields.hash_oid)) +
                        " isn't known here, or its digest has a wrong length",
                    "make the request anew");
    }
    if (!fields.certificates && options_.verify && options_.trust.certificates.empty() &&
        !is_address_book_filled()) {
        throw Error(Category::misuse, "certificates_not_asked", 0,
                    "the request doesn't ask for the authority's certificate, without which the "
                    "answer can't be verified",
                    "ask for it when the request is made, give it, or don't have the answer "
                    "verified");
    }
    check_shape(rules_,
                {fields.hash_oid, fields.expected.policy, fields.expected.nonce.has_value()});
    question.expected = std::move(fields.expected);
    question.request = unarmor(request).der;
    return question;
}

// Where no nonce binds the answer to the request, the clock has to; else a difference is worth a
// remark.
void Sealer::Impl::check_clock(const TokenInfo& token, bool nonce, Time sent,
                               std::vector<Remark>& remarks) const {
    const auto distance = token.time > sent ? token.time - sent : sent - token.time;
    if (!nonce && distance > std::chrono::milliseconds(
                                 std::max<std::int64_t>(rules_.StampAccuracy.value, 0))) {
        throw error_of_code(kResultTimeOutsideWindow);
    }
    if (distance > options_.clock_tolerance) {
        const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(distance).count();
        remarks.push_back({"clock_differs", "the stamp's time and this machine's clock differ by " +
                                                std::to_string(seconds) +
                                                " seconds: one of them is wrong"});
    }
}

Answer Sealer::Impl::judge(const KnownAuthority& authority, const Question& question, ByteView body,
                           Time sent, unsigned attempt) const {
    // What comes over the wire is DER; nobody's armor is looked through here.
    if (const Unarmored form = unarmor(body);
        form.form != Form::binary && kind_of(form.der) == Kind::response) {
        throw Error(Category::refused, "answer_armored", CRYPT_E_ASN1_INTERNAL,
                    "the authority sent its answer as " +
                        std::string(form.form == Form::pem ? "PEM" : "Base64") +
                        " and not as the bytes themselves",
                    "the authority is at fault; ask another");
    }
    StampAccess::Content content = StampAccess::read_der(body);
    if (content.response.empty()) {
        throw Error(Category::refused, "bare_token", E_FAIL,
                    "the authority sent a bare token and no response",
                    "the authority is at fault; ask another");
    }
    content.authority = authority.endpoint.shown;
    content.attempts = attempt;
    const Stamp unjudged = StampAccess::make(content);
    if ((content.info.failure_bits & (1U << 14)) != 0) {
        throw Error(Category::refused, "time_not_available", kResultNotGranted,
                    "the authority has no time at the moment", "try again later");
    }
    Verdict verdict =
        verifier_.verify(unjudged, question.expected, {!options_.verify, /*any_time=*/true});
    if (!verdict.good()) {
        throw verdict.error();
    }
    check_clock(*content.info.token, question.expected.nonce.has_value(), sent, content.remarks);
    const auto& weak = verdict.at(Check::strength).remarks;
    content.remarks.insert(content.remarks.end(), weak.begin(), weak.end());
    Bytes key = verdict.signer ? verdict.signer->key_sha256 : Bytes();
    if (options_.keep_verdict) {
        content.verdict = std::make_shared<const Verdict>(std::move(verdict));
    }
    return {StampAccess::make(std::move(content)), std::move(key)};
}

Answer Sealer::Impl::ask_once(const KnownAuthority& authority, const Question& question,
                              unsigned attempt, std::chrono::milliseconds& retry_after) const {
    const Time sent = now();
    const ExchangeAnswer answer =
        post(authority.endpoint, question.request, "application/timestamp-query");
    if (answer.status != kHttpOk) {
        retry_after = answer.retry_after;
        throw error_of_http_status(answer.status, authority.endpoint);
    }
    return judge(authority, question, answer.body, sent, attempt);
}

void Sealer::Impl::tell_wait(const KnownAuthority& authority,
                             std::chrono::microseconds wait) const {
    if (options_.on_wait) {
        options_.on_wait(authority.endpoint.shown,
                         std::chrono::ceil<std::chrono::milliseconds>(wait));
    }
}

bool Sealer::Impl::wait_before(unsigned attempt, const KnownAuthority& authority,
                               std::chrono::milliseconds retry_after,
                               const std::stop_token& stop) const {
    auto wait = options_.first_wait;
    for (unsigned i = 2; i < attempt && wait < options_.longest_wait; ++i) {
        wait *= 2;
    }
    wait = std::clamp(wait, std::chrono::milliseconds(0), options_.longest_wait);
    static thread_local std::minstd_rand random{std::random_device{}()};
    std::uniform_int_distribution<std::int64_t> jitter(wait.count() / 2, wait.count());
    const auto chosen = std::max(std::chrono::milliseconds(jitter(random)),
                                 std::min(retry_after, options_.longest_wait));
    tell_wait(authority, chosen);
    return pause_for(chosen, stop);
}

Answer Sealer::Impl::ask(KnownAuthority& authority, const Question& question,
                         const std::stop_token& stop) const {
    std::chrono::milliseconds retry_after{0};
    for (unsigned attempt = 1;; ++attempt) {
        const auto told = [&](std::chrono::microseconds wait) { tell_wait(authority, wait); };
        if (!rate_->wait(authority.endpoint.url, authority.endpoint.rate, stop, told) ||
            stop.stop_requested()) {
            throw cancelled();
        }
        try {
            Answer answer = guarded("get a time-stamp", [&] {
                return ask_once(authority, question, attempt, retry_after);
            });
            authority.health.succeeded();
            return answer;
        } catch (const Error& error) {
            const Error told = by_authority(error, authority.endpoint.shown);
            if (attempt >= options_.attempts || !is_passing(error)) {
                if (speaks_against(error)) {
                    authority.health.failed(told, options_.rest);
                }
                throw told;
            }
        }
        if (!wait_before(attempt + 1, authority, retry_after, stop)) {
            throw cancelled();
        }
    }
}

Stamp Sealer::Impl::first(const Question& question, const std::stop_token& stop) const {
    std::vector<Error> failures;
    for (const auto& authority : authorities_) {
        if (stop.stop_requested()) {
            throw cancelled();
        }
        if (const auto resting = authority->health.resting()) {
            failures.push_back(by_authority(*resting, authority->endpoint.shown));
            continue;
        }
        try {
            return with_failures(ask(*authority, question, stop).stamp, failures);
        } catch (const Error& error) {
            if (error.word() == "cancelled") {
                throw;
            }
            failures.push_back(error);
        }
    }
    throw failures.empty() ? error_of_code(kResultNoAddress) : failures.back();
}

std::vector<Stamp> Sealer::Impl::quorum(const Question& question,
                                        const std::stop_token& stop) const {
    std::vector<Stamp> stamps;
    std::vector<Bytes> keys;
    std::string why;
    for (const auto& authority : authorities_) {
        if (stop.stop_requested()) {
            throw cancelled();
        }
        std::optional<Error> failure = authority->health.resting();
        if (!failure) {
            try {
                Answer answer = ask(*authority, question, stop);
                if (std::ranges::find(keys, answer.key) == keys.end()) {
                    keys.push_back(std::move(answer.key));
                    stamps.push_back(std::move(answer.stamp));
                } else {
                    why += "; " + authority->endpoint.shown + ": its key has signed already";
                }
            } catch (const Error& error) {
                if (error.word() == "cancelled") {
                    throw;
                }
                failure = error;
            }
        }
        if (failure) {
            why += "; " + failure->text();
        }
        if (stamps.size() == options_.quorum) {
            return stamps;
        }
    }
    throw Error(Category::unreachable, "quorum_missed", 0,
                std::to_string(stamps.size()) + " of " + std::to_string(options_.quorum) +
                    " authorities gave a stamp" + why,
                "try again later, or name more authorities");
}

bool Sealer::Impl::all_rest() const {
    return std::ranges::all_of(authorities_, [](const auto& authority) {
        return authority->health.resting().has_value();
    });
}

Sealer::Sealer(SealerOptions options)
    : impl_(guarded("set up the asking",
                    [&] { return std::make_unique<Impl>(std::move(options)); })) {}

Sealer::~Sealer() = default;

Stamp Sealer::seal(ByteView data, std::stop_token stop) const {
    return seal_digest(Digest::of(data, impl_->hash()), std::move(stop));
}

Stamp Sealer::seal(const std::filesystem::path& path, const Progress& progress,
                   std::stop_token stop) const {
    return seal_digest(digest_of(path, progress, stop), stop);
}

Stamp Sealer::seal_digest(const Digest& digest, std::stop_token stop) const {
    return guarded("get a time-stamp", [&] {
        const Question question = impl_->question_of(digest);
        return impl_->options().quorum > 1 ? impl_->quorum(question, stop).front()
                                           : impl_->first(question, stop);
    });
}

std::vector<Stamp> Sealer::seal_quorum(const Digest& digest, std::stop_token stop) const {
    return guarded("get a time-stamp",
                   [&] { return impl_->quorum(impl_->question_of(digest), stop); });
}

Stamp Sealer::send(ByteView request, std::stop_token stop) const {
    return guarded("get a time-stamp",
                   [&] { return impl_->first(impl_->question_of_request(request), stop); });
}

Bytes Sealer::request(const Digest& digest) const {
    return guarded("make a request", [&] { return impl_->question_of(digest).request; });
}

const HashAlgorithm& Sealer::hash() const noexcept {
    return impl_->hash();
}

const std::vector<Authority>& Sealer::authorities() const noexcept {
    return impl_->options().authorities;
}

Digest Sealer::digest_of(const std::filesystem::path& path, const Progress& progress,
                         std::stop_token stop) const {
    return Digest::of_file(path, impl_->hash(), progress, std::move(stop));
}

} // namespace chronoseal
