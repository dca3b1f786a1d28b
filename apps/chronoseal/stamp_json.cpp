// Stamps and verdicts as JSON. Foreign text stands in it as it came; the output
// escapes what a terminal would obey.
#include "stamp_json.h"

namespace cli {

nlohmann::ordered_json time_or_null(const std::optional<chronoseal::Time>& time) {
    return time ? nlohmann::ordered_json(chronoseal::utc_text(*time)) : nullptr;
}

nlohmann::ordered_json attribute_json(const std::string& oid) {
    return oid.empty() ? nullptr : nlohmann::ordered_json(oid);
}

namespace {

using Json = nlohmann::ordered_json;
using chronoseal::to_hex;

Json optional_text(const std::string& text) {
    return text.empty() ? Json(nullptr) : Json(text);
}

Json certificate_json(const chronoseal::CertificateInfo& certificate) {
    return {{"subject", certificate.subject},
            {"issuer", certificate.issuer},
            {"serialNumber", to_hex(certificate.serial_number)},
            {"notBefore", chronoseal::utc_text(certificate.not_before)},
            {"notAfter", chronoseal::utc_text(certificate.not_after)},
            {"sha256", to_hex(certificate.sha256)},
            {"keyAlgorithm", certificate.key_algorithm.name},
            {"keyBits", certificate.key_bits},
            {"signatureAlgorithm", certificate.signature_algorithm.name}};
}

Json status_json(const chronoseal::StampInfo& info) {
    if (!info.status) {
        return nullptr;
    }
    return {{"number", *info.status},
            {"name", info.status_name},
            {"text", info.status_text},
            {"failInfo", info.failure_names}};
}

Json extensions_json(const std::vector<chronoseal::ExtensionInfo>& extensions) {
    Json list = Json::array();
    for (const chronoseal::ExtensionInfo& extension : extensions) {
        list.push_back({{"oid", extension.oid},
                        {"name", extension.name},
                        {"critical", extension.critical},
                        {"value", to_hex(extension.value)}});
    }
    return list;
}

Json token_json(const chronoseal::TokenInfo& token,
                const std::optional<chronoseal::CertificateInfo>& signer) {
    Json json;
    json["time"] = chronoseal::utc_text(token.time);
    json["localTime"] = chronoseal::local_text(token.time);
    json["accuracyMicroseconds"] = token.accuracy ? Json(token.accuracy->count()) : Json(nullptr);
    json["serialNumber"] = to_hex(token.serial_number);
    json["policy"] = token.policy;
    json["imprint"] = {{"algorithm", token.imprint_algorithm.name},
                       {"oid", token.imprint_algorithm.oid},
                       {"digest", to_hex(token.imprint)},
                       {"weakness", optional_text(token.imprint_algorithm.weakness)}};
    json["nonce"] = token.nonce.has_value();
    json["nonceValue"] = token.nonce ? Json(to_hex(*token.nonce)) : Json(nullptr);
    json["ordering"] = token.ordering;
    json["tsa"] = optional_text(token.authority);
    json["extensions"] = extensions_json(token.extensions);
    json["signature"] = {{"digestAlgorithm", token.signature.digest_algorithm.name},
                         {"algorithm", token.signature.signature_algorithm.name},
                         {"weakness", optional_text(token.signature.signature_algorithm.weakness)},
                         {"signers", token.signature.signers}};
    json["certificates"] = token.certificates.size();
    json["revocationLists"] = token.revocation_lists;
    json["signer"] = signer ? certificate_json(*signer) : Json(nullptr);
    return json;
}

Json finding_json(const chronoseal::Finding& finding) {
    constexpr const char* kOutcomes[] = {"passed", "failed", "notDone"};
    Json json = {
        {"check", chronoseal::check_name(finding.check)},
        {"outcome", kOutcomes[static_cast<std::size_t>(finding.outcome)]},
        {"required", finding.required},
        {"word", finding.word},
        {"code", finding.code == 0 ? Json(nullptr) : Json(chronoseal::code_text(finding.code))},
        {"text", finding.text},
        {"advice", finding.advice}};
    json["remarks"] = to_json(finding.remarks);
    return json;
}

Json evidence_json(const chronoseal::Evidence& evidence) {
    constexpr const char* kSources[] = {"given", "cache", "network"};
    return {{"kind", evidence.kind == chronoseal::EvidenceKind::ocsp_answer ? "ocsp" : "crl"},
            {"source", kSources[static_cast<std::size_t>(evidence.source)]},
            {"thisUpdate", chronoseal::utc_text(evidence.this_update)},
            {"nextUpdate", time_or_null(evidence.next_update)},
            {"revoked", time_or_null(evidence.revoked)},
            {"reason", optional_text(evidence.reason)},
            {"url", optional_text(evidence.url)},
            {"sha256", to_hex(evidence.sha256)}};
}

Json link_json(const chronoseal::ChainLink& link) {
    constexpr const char* kStates[] = {"notChecked", "good", "revoked", "unknown"};
    Json json = certificate_json(link.certificate);
    json["anchor"] = link.anchor;
    json["faults"] = link.faults;
    json["revocation"] = kStates[static_cast<std::size_t>(link.revocation)];
    json["evidence"] = Json::array();
    for (const chronoseal::Evidence& evidence : link.evidence) {
        json["evidence"].push_back(evidence_json(evidence));
    }
    return json;
}

Json outlook_json(const chronoseal::Verdict& verdict) {
    const chronoseal::Outlook& outlook = verdict.outlook;
    const bool known = verdict.at(chronoseal::Check::chain).outcome == chronoseal::Outcome::passed;
    return {{"strength", known ? Json(chronoseal::strength_name(outlook.strength)) : Json(nullptr)},
            {"agedSince", time_or_null(outlook.aged_since)},
            {"renewBefore", time_or_null(outlook.renew_before)},
            {"renewReason", optional_text(outlook.renew_reason)},
            {"evidenceUntil", time_or_null(outlook.evidence_until)},
            {"evidenceAgain", time_or_null(outlook.evidence_again)},
            {"evidenceStored", outlook.evidence_stored}};
}

} // namespace

Json to_json(const chronoseal::Stamp& stamp, bool verified) {
    Json json = {
        {"url", stamp.authority()}, {"verified", verified}, {"remarks", to_json(stamp.remarks())}};
    json.update(to_json(stamp.info(), stamp.info().token->signer));
    return json;
}

Json to_json(const std::vector<chronoseal::Remark>& remarks) {
    Json list = Json::array();
    for (const chronoseal::Remark& remark : remarks) {
        list.push_back({{"word", remark.word}, {"text", remark.text}});
    }
    return list;
}

Json to_json(const chronoseal::StampInfo& info,
             const std::optional<chronoseal::CertificateInfo>& signer) {
    Json json;
    json["status"] = status_json(info);
    json["token"] = info.token ? token_json(*info.token, signer) : Json(nullptr);
    return json;
}

Json to_json(const chronoseal::Verdict& verdict) {
    Json json = to_json(verdict.stamp, verdict.signer);
    json["verdict"] = verdict.good() ? "good" : verdict.indeterminate() ? "indeterminate" : "bad";
    json["checks"] = Json::array();
    for (const chronoseal::Finding& finding : verdict.findings) {
        json["checks"].push_back(finding_json(finding));
    }
    json["chain"] = Json::array();
    for (const chronoseal::ChainLink& link : verdict.chain) {
        json["chain"].push_back(link_json(link));
    }
    json["judgedAt"] =
        verdict.stamp.token ? Json(chronoseal::utc_text(verdict.judged_at)) : Json(nullptr);
    json["asOf"] = chronoseal::utc_text(verdict.as_of);
    json.update(outlook_json(verdict));
    return json;
}

} // namespace cli
