// Evidence records as text and JSON.
#include "record_text.h"

#include <fmt/format.h>

#include "output.h"
#include "short_name.h"
#include "stamp_json.h"
#include "stamp_text.h"

namespace cli {

namespace {

using chronoseal::quote_foreign;
using chronoseal::utc_text;
using Json = nlohmann::ordered_json;

std::string grouped(std::uint64_t number) {
    std::string digits = std::to_string(number);
    for (std::size_t at = digits.size(); at > 3; at -= 3) {
        digits.insert(at - 3, ",");
    }
    return digits;
}

std::string day(chronoseal::Time time) {
    return utc_text(time).substr(0, 10);
}

std::string who(const chronoseal::Verdict& verdict) {
    std::string text = authority_text(verdict);
    if (verdict.signer) {
        text += fmt::format(" ({} {})", quote_foreign(verdict.signer->key_algorithm.name),
                            verdict.signer->key_bits);
    }
    return text;
}

std::string standing(const chronoseal::JudgedStamp& stamp) {
    if (!stamp.verdict.good()) {
        return stamp.verdict.indeterminate() ? "indeterminate" : "not good";
    }
    if (stamp.covered_by) {
        return fmt::format("covered by {} {} its certificate ended", *stamp.covered_by + 1,
                           stamp.covered_in_time ? "before" : "only after");
    }
    if (stamp.certificates_end && !stamp.covered_in_time) {
        return fmt::format("good, but its certificate ended on {}: a key stolen later could "
                           "forge it",
                           day(*stamp.certificates_end));
    }
    return "good" + outlook_text(stamp.verdict);
}

const char* verdict_word(const chronoseal::EvidenceVerdict& verdict) {
    return verdict.good() ? "good" : verdict.indeterminate() ? "indeterminate" : "bad";
}

} // namespace

std::string counted(std::uint64_t number, const char* noun) {
    return fmt::format("{} {}{}", grouped(number), noun, number == 1 ? "" : "s");
}

std::string info_text(const chronoseal::EvidenceInfo& info, std::size_t bytes) {
    std::string text = fmt::format("{:<14} evidence record, {}\n", "kind", counted(bytes, "byte"));
    for (const chronoseal::AlgorithmInfo& algorithm : info.algorithms) {
        text += fmt::format("{:<14} {}\n", "hash", quote_foreign(algorithm.name));
    }
    if (info.encrypted) {
        text += fmt::format("{:<14} before it was stamped\n", "encrypted");
    }
    for (std::size_t i = 0; i < info.stamps.size(); ++i) {
        const chronoseal::ArchiveStampInfo& stamp = info.stamps[i];
        std::string lists;
        for (const std::size_t size : stamp.lists) {
            lists += (lists.empty() ? "" : " ") + std::to_string(size);
        }
        text += fmt::format("\n{:<14} {}, chain {}, {}, {}\n{}", "stamp", i + 1, stamp.chain + 1,
                            quote_foreign(stamp.algorithm.name),
                            lists.empty() ? "no tree" : "lists of hashes: " + lists,
                            info_text(stamp.stamp.info()));
    }
    return text;
}

Json to_json(const chronoseal::EvidenceInfo& info) {
    Json algorithms = Json::array();
    for (const chronoseal::AlgorithmInfo& algorithm : info.algorithms) {
        algorithms.push_back({{"name", algorithm.name}, {"oid", algorithm.oid}});
    }
    Json stamps = Json::array();
    for (const chronoseal::ArchiveStampInfo& stamp : info.stamps) {
        Json json = {
            {"chain", stamp.chain}, {"algorithm", stamp.algorithm.name}, {"lists", stamp.lists}};
        json.update(to_json(stamp.stamp.info(), stamp.stamp.info().token->signer));
        stamps.push_back(std::move(json));
    }
    return {{"algorithms", algorithms}, {"encrypted", info.encrypted}, {"stamps", stamps}};
}

std::string stamps_text(const chronoseal::EvidenceVerdict& verdict, const Output& output) {
    std::string text;
    for (std::size_t i = 0; i < verdict.stamps.size(); ++i) {
        const chronoseal::JudgedStamp& stamp = verdict.stamps[i];
        text +=
            fmt::format("  {:>3}  {}  {}  {}  {}\n", i + 1, day(stamp.verdict.stamp.token->time),
                        quote_foreign(stamp.verdict.stamp.token->imprint_algorithm.name),
                        who(stamp.verdict), standing(stamp));
        if (output.verbose()) {
            text += verdict_text(stamp.verdict, output);
        }
        text += remarks_text(stamp.verdict);
    }
    return text + remarks_text(verdict.remarks);
}

Json to_json(const chronoseal::EvidenceVerdict& verdict) {
    Json stamps = Json::array();
    for (const chronoseal::JudgedStamp& stamp : verdict.stamps) {
        Json json = to_json(stamp.verdict);
        json["chainNumber"] = stamp.chain;
        json["judgedAsOf"] = utc_text(stamp.verdict.as_of);
        json["coveredBy"] = stamp.covered_by ? Json(*stamp.covered_by) : Json(nullptr);
        json["coveredInTime"] = stamp.covered_in_time;
        json["certificatesEnd"] = time_or_null(stamp.certificates_end);
        stamps.push_back(std::move(json));
    }
    return {{"verdict", verdict_word(verdict)},
            {"provenTime", time_or_null(verdict.existed_by)},
            {"stamps", std::move(stamps)},
            {"failedStamp", verdict.failed_stamp ? Json(*verdict.failed_stamp) : Json(nullptr)},
            {"strength",
             verdict.good() ? Json(chronoseal::strength_name(verdict.strength)) : Json(nullptr)},
            {"renewBefore", time_or_null(verdict.renew_before)},
            {"notes", to_json(verdict.remarks)}};
}

} // namespace cli
