// What would make a stamp or a verification fail on this machine.
#include <algorithm>

#include <chronoseal/seal/failure.h>

namespace chronoseal {

namespace {

std::string counted(std::size_t number, const char* noun) {
    return std::to_string(number) + " " + noun + (number == 1 ? "" : "s");
}

using Result = std::vector<Diagnosis>;

constexpr char kConfiguration[] = "configuration";
constexpr char kRoots[] = "roots";
constexpr char kClock[] = "clock";
constexpr char kAuthority[] = "authority";

Diagnosis of_error(const char* area, const Error& error) {
    return {area, Severity::fault, error.word(), error.text(), error.advice()};
}

void look_at_configuration(const MachinePolicy& policy, Result& result) {
    const std::size_t before = result.size();
    for (const std::string& problem : policy.problems) {
        result.push_back({kConfiguration, Severity::fault, "policy_unreadable", problem,
                          "correct the file; until then nothing can be asked"});
    }
    for (const Setting& setting : policy.settings) {
        if (setting.problem.empty()) {
            continue;
        }
        result.push_back({kConfiguration, setting.fatal ? Severity::fault : Severity::warning,
                          setting.fatal                            ? "setting_invalid"
                          : setting.state == SettingState::unknown ? "setting_unknown"
                                                                   : "setting_not_allowed",
                          quote_foreign(setting.key) + " in " + quote_foreign(setting.source) +
                              ": " + setting.problem,
                          "correct the file"});
    }
    if (result.size() == before) {
        result.push_back({kConfiguration, Severity::good, "passed",
                          "the configuration can be read and means what it says", ""});
    }
}

void look_at_stores(const MachinePolicy& policy, const Trust& trust, Result& result) {
    for (const StoreInfo& store : policy.stores) {
        const bool roots = store.name == "Root";
        const char* area = roots ? kRoots : "stores";
        if (!store.problem.empty()) {
            result.push_back({area, Severity::fault, "store_unreadable",
                              "the store " + store.name + ": " + store.problem,
                              "check its folder's owner and mode"});
        } else if (roots && store.certificates == 0 && trust.roots.empty()) {
            result.push_back({area, Severity::fault, "no_roots",
                              "there is no trusted root, so no stamp can be verified",
                              "add the authority's root to the store Root, or give it"});
        } else {
            result.push_back({area, Severity::good, "passed",
                              "the store " + store.name + " holds " +
                                  counted(store.certificates, "certificate") + " and " +
                                  counted(store.revocation_lists, "revocation list"),
                              ""});
        }
    }
}

// When this version was made; a clock before that is wrong.
constexpr std::chrono::sys_days kMade{std::chrono::year{2026} / 11 / 1};

void look_at_clock(Result& result) {
    const auto now = std::chrono::time_point_cast<Time::duration>(std::chrono::system_clock::now());
    if (now < kMade) {
        result.push_back({kClock, Severity::fault, "clock_wrong",
                          "the clock says " + utc_text(now) + ", which is past already",
                          "set the clock"});
    } else {
        result.push_back({kClock, Severity::good, "passed", "the clock says " + utc_text(now), ""});
    }
}

void tell_certificate(const CertificateInfo& signer, Time now, const std::string& name,
                      Result& result) {
    constexpr int kSoon = 30;
    const auto days = std::chrono::floor<std::chrono::days>(signer.not_after - now).count();
    const std::string text =
        signer.not_after < now
            ? " ended " + counted(static_cast<std::size_t>(-days - 1), "day") + " ago"
            : " ends in " + counted(static_cast<std::size_t>(days), "day");
    result.push_back({kAuthority, days < kSoon ? Severity::warning : Severity::good,
                      days < kSoon ? "certificate_ends_soon" : "passed",
                      name + ": its certificate" + text, days < kSoon ? "tell the authority" : ""});
}

void ask_authority(const Sealer& sealer, const std::string& name, Result& result) {
    using Clock = std::chrono::steady_clock;
    const auto start = Clock::now();
    const Stamp stamp =
        sealer.seal(bytes_of("diagnosis at " + std::to_string(start.time_since_epoch().count())));
    const auto taken =
        std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start).count();
    const TokenInfo& token = *stamp.info().token;
    const auto now = std::chrono::time_point_cast<Time::duration>(std::chrono::system_clock::now());
    const auto distance =
        std::chrono::duration_cast<std::chrono::milliseconds>(token.time - now).count();
    result.push_back({kAuthority, Severity::good, "passed",
                      name + ": a stamp came and was verified within " + std::to_string(taken) +
                          " ms; its clock differs by " + std::to_string(distance) + " ms; " +
                          quote_foreign(token.imprint_algorithm.name) + ", " +
                          quote_foreign(token.signature.signature_algorithm.name),
                      ""});
    for (const Remark& remark : stamp.remarks()) {
        result.push_back({remark.word == "clock_differs" ? kClock : kAuthority, Severity::warning,
                          remark.word, name + ": " + remark.text, "see to it"});
    }
    if (token.signer) {
        tell_certificate(*token.signer, now, name, result);
    }
}

void look_at_authority(const SealerOptions& options, const Authority& authority, bool ask,
                       Result& result) {
    SealerOptions one = options;
    one.authorities = {authority};
    one.quorum = 1;
    one.attempts = 1;
    const std::string name = quote_address(authority.url);
    try {
        const Sealer sealer(std::move(one));
        if (ask) {
            ask_authority(sealer, name, result);
        } else {
            result.push_back({kAuthority, Severity::good, "passed",
                              name + ": the policy allows it (it wasn't asked)", ""});
        }
    } catch (const Error& error) {
        Diagnosis told = of_error(kAuthority, error);
        if (told.text.find(name) == std::string::npos) {
            told.text = name + ": " + told.text;
        }
        result.push_back(std::move(told));
    }
}

} // namespace

std::vector<Diagnosis> diagnose(const SealerOptions& options, bool ask) {
    return guarded("look at this machine", [&] {
        Result result;
        const MachinePolicy in_force = policy();
        look_at_configuration(in_force, result);
        look_at_stores(in_force, options.trust, result);
        look_at_clock(result);
        std::vector<Authority> authorities = options.authorities;
        if (authorities.empty() && in_force.usable) {
            authorities = configured_authorities();
        }
        if (authorities.empty()) {
            result.push_back({kAuthority, Severity::warning, "no_address",
                              "no authority's address is set",
                              "give one, or set DefaultTSPURL in the machine's policy"});
        }
        for (const Authority& authority : authorities) {
            look_at_authority(options, authority, ask, result);
        }
        return result;
    });
}

} // namespace chronoseal
