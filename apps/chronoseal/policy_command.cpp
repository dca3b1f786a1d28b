// The machine's settings, and what is wrong with them.
#include "policy_command.h"

#include <optional>

#include <fmt/format.h>

namespace cli {

namespace {

using chronoseal::quote_foreign;
using chronoseal::SettingState;
using Json = nlohmann::ordered_json;

constexpr std::uint32_t kPolicyUnreadable = 0x8007045A;

const char* state_name(SettingState state) {
    constexpr const char* kNames[] = {"default", "set", "unreadable", "notAllowed", "unknown"};
    return kNames[static_cast<std::size_t>(state)];
}

std::string shown_value(const chronoseal::Setting& setting) {
    std::string value = setting.value.empty() ? "(none)" : quote_foreign(setting.value);
    switch (setting.state) {
    case SettingState::unreadable:
        return setting.problem.empty() ? "UNREADABLE" : "UNREADABLE: " + setting.problem;
    case SettingState::not_allowed:
        return fmt::format("{} NOT ALLOWED: {}", value, setting.problem);
    case SettingState::unknown:
        return fmt::format("UNKNOWN KEY: {}", setting.problem);
    default:
        return value;
    }
}

// Switches, numbers, texts and lists are written alike in TOML and in JSON; what isn't is kept as
// text.
Json value_json(const chronoseal::Setting& setting) {
    if (setting.value.empty() || setting.source.empty()) {
        return nullptr;
    }
    Json value = Json::parse(setting.value, nullptr, false);
    return value.is_discarded() ? Json(setting.value) : value;
}

Json setting_json(const chronoseal::Setting& setting) {
    return {{"key", setting.key},
            {"value", value_json(setting)},
            {"shown", shown_value(setting)},
            {"origin", setting.source.empty() ? Json(nullptr) : Json(setting.source)},
            {"state", state_name(setting.state)},
            {"problem", setting.problem.empty() ? Json(nullptr) : Json(setting.problem)},
            {"fatal", setting.fatal}};
}

const char* severity_name(chronoseal::Severity severity) {
    constexpr const char* kNames[] = {"good", "note", "warning", "fault"};
    return kNames[static_cast<std::size_t>(severity)];
}

// What makes requests impossible.
std::optional<chronoseal::Error> fault_of(const chronoseal::MachinePolicy& policy) {
    if (!policy.problems.empty()) {
        std::string problems;
        for (const std::string& problem : policy.problems) {
            problems += (problems.empty() ? "" : "; ") + problem;
        }
        return chronoseal::Error(chronoseal::Category::unreachable, "policy_unreadable",
                                 kPolicyUnreadable, "can't read the configuration: " + problems,
                                 "correct the file; until then no request can be made");
    }
    if (!policy.usable) {
        return chronoseal::Error(chronoseal::Category::refused, "policy_unusable", 0,
                                 "no request can be made under this configuration",
                                 "correct what is marked above");
    }
    return std::nullopt;
}

ExitStatus finish(const Output& output, Json members,
                  const std::optional<chronoseal::Error>& error) {
    if (error) {
        members["error"] = error_json(*error);
    }
    output.object(!error, members);
    if (error) {
        output.failure(*error);
    }
    return error ? status_of(error->category()) : ExitStatus::good;
}

} // namespace

ExitStatus run_policy_show(const Output& output) {
    const chronoseal::MachinePolicy policy = chronoseal::policy();
    Json keys = Json::array();
    Json unknown = Json::array();
    for (const chronoseal::Setting& setting : policy.settings) {
        if (policy.problems.empty()) { // else nobody knows what is in force
            output.text(
                fmt::format("{:<54} {:<28} {}\n", quote_foreign(setting.key), shown_value(setting),
                            setting.source.empty() ? "default" : quote_foreign(setting.source)));
        }
        if (setting.state == SettingState::unknown) {
            unknown.push_back(setting.key);
        }
        keys.push_back(setting_json(setting));
    }
    const std::optional<chronoseal::Error> fault = fault_of(policy);
    Json members = {{"keys", std::move(keys)},
                    {"unknown", std::move(unknown)},
                    {"problems", policy.problems},
                    {"usable", policy.usable}};
    return finish(output, std::move(members), fault);
}

ExitStatus run_doctor(const DoctorOptions& options, const Output& output) {
    chronoseal::SealerOptions sealer;
    try {
        apply(options.authority, sealer);
    } catch (const chronoseal::Error&) {
        sealer.authorities.clear(); // a configuration that can't be read is among the findings
    }
    apply(options.request, sealer);
    sealer.trust = trust_of(options.trust);
    bool faulty = false;
    Json findings = Json::array();
    for (const chronoseal::Diagnosis& one :
         chronoseal::diagnose(sealer, !options.authority.urls.empty())) {
        const bool fault = one.severity == chronoseal::Severity::fault;
        faulty |= fault;
        const std::string name = severity_name(one.severity);
        output.text(fmt::format(
            "{:<14} {:<8} {}\n{}", one.area,
            fault                                        ? output.bad(name)
            : one.severity == chronoseal::Severity::good ? output.good(name)
                                                         : name,
            one.text, one.advice.empty() ? "" : fmt::format("{:<23} {}\n", "", one.advice)));
        findings.push_back({{"area", one.area},
                            {"severity", name},
                            {"word", one.word},
                            {"text", one.text},
                            {"advice", one.advice}});
    }
    std::optional<chronoseal::Error> error;
    if (faulty) {
        error.emplace(chronoseal::Category::refused, "machine_not_ready", 0U,
                      "this machine isn't ready to stamp and verify", "correct the faults above");
    }
    return finish(output, {{"findings", std::move(findings)}}, error);
}

} // namespace cli
