// Showing what a file is and holds, and writing requests.
#include "info_command.h"

#include <fmt/format.h>

#include "input_file.h"
#include "named_failure.h"
#include "output_file.h"
#include "record_text.h"
#include "stamp_json.h"
#include "stamp_text.h"

namespace cli {

namespace {

using chronoseal::Inspection;
using chronoseal::Kind;
using chronoseal::quote_foreign;
using chronoseal::to_hex;
using Json = nlohmann::ordered_json;

ExitStatus show_request(const InfoOptions& options, const Inspection& found, const Output& output) {
    const chronoseal::Expected expected = chronoseal::Expected::of_request(found.der);
    if (!expected.digest) {
        throw chronoseal::Error(
            chronoseal::Category::unreachable, "hash_unknown", 0,
            "the request's hash algorithm isn't known here, or its digest has another length",
            "look at it with another tool");
    }
    const chronoseal::Digest& digest = *expected.digest;
    output.text(fmt::format("{:<14} {}\n{:<14} {}\n{:<14} {}\n{:<14} {}\n{:<14} {}\n{:<14} {}\n",
                            "kind", "request", "hash", digest.algorithm().name(), "digest",
                            to_hex(digest.value()), "nonce",
                            expected.nonce ? to_hex(*expected.nonce) : "no", "certificates",
                            found.certificates_wanted ? "asked for" : "not asked for", "policy",
                            expected.policy.empty() ? "any" : expected.policy));
    output.object(true,
                  {{"file", options.file},
                   {"kind", "request"},
                   {"imprint",
                    {{"algorithm", digest.algorithm().name()},
                     {"oid", digest.algorithm().oid()},
                     {"digest", to_hex(digest.value())}}},
                   {"nonceValue", expected.nonce ? Json(to_hex(*expected.nonce)) : Json(nullptr)},
                   {"certReq", found.certificates_wanted},
                   {"policy", expected.policy}});
    return ExitStatus::good;
}

ExitStatus show_embedded(const InfoOptions& options, const Inspection& found,
                         const Output& output) {
    Json list = Json::array();
    output.text(fmt::format("{:<14} {}\n", "kind", found.description));
    for (const chronoseal::Embedded& one : found.stamps) {
        output.text(fmt::format("\n{:<14} {}\n{}", "stamp at", quote_foreign(one.place),
                                info_text(one.stamp.info())));
        const auto& token = one.stamp.info().token;
        Json json = {{"place", one.place}, {"attribute", one.attribute}};
        json.update(to_json(one.stamp.info(), token ? token->signer : std::nullopt));
        list.push_back(std::move(json));
    }
    Json unread = Json::array();
    for (const chronoseal::UnreadStamp& one : found.unread) {
        output.text(fmt::format("\n{:<14} {}\n{:<14} {}\n", "stamp at", quote_foreign(one.place),
                                "not read", one.reason.text()));
        unread.push_back({{"place", one.place},
                          {"attribute", attribute_json(one.attribute)},
                          {"error", error_json(one.reason)}});
    }
    output.text(behind_text(found));
    output.object(true, {{"file", options.file},
                         {"kind", chronoseal::kind_name(found.kind)},
                         {"countersignature", found.countersignature},
                         {"stamps", list},
                         {"unread", unread},
                         {"bytesBehind", found.behind}});
    return ExitStatus::good;
}

ExitStatus show(const InfoOptions& options, const Output& output) {
    const chronoseal::Bytes bytes = read_file(options.file);
    const Inspection found = chronoseal::inspect(bytes);
    if (found.kind == Kind::request) {
        return show_request(options, found, output);
    }
    if (found.kind == Kind::evidence_record) {
        const auto record = chronoseal::EvidenceRecord::read(found.der);
        output.text(info_text(record.info(), record.der().size()));
        Json json = {{"file", options.file}, {"kind", chronoseal::kind_name(found.kind)}};
        json.update(to_json(record.info()));
        output.object(true, json);
        return ExitStatus::good;
    }
    if (found.kind != Kind::token && !(found.stamps.empty() && found.unread.empty())) {
        return show_embedded(options, found, output);
    }
    // Throws and says what the bytes are, if they are no stamp.
    const chronoseal::Stamp stamp = found.stamp ? *found.stamp : chronoseal::Stamp::read(bytes);
    output.text(info_text(stamp.info()) + behind_text(found));
    const auto& token = stamp.info().token;
    Json json = {{"file", options.file}, {"kind", chronoseal::kind_name(found.kind)}};
    json.update(to_json(stamp.info(), token ? token->signer : std::nullopt));
    json["bytesBehind"] = found.behind;
    output.object(true, json);
    return ExitStatus::good;
}

} // namespace

ExitStatus run_info(const InfoOptions& options, const Output& output) {
    try {
        return show(options, output);
    } catch (const chronoseal::Error& error) {
        const chronoseal::Error told = about_file(options.file, "read", error);
        output.failure(told);
        output.object(false, {{"file", options.file}, {"error", error_json(told)}});
        return status_of(told.category());
    }
}

ExitStatus run_request(const MakeRequestOptions& options, const Output& output) {
    const OutputFile out(options.out, existing_of(options.force));
    refuse_json_beside(out, output, "the request");
    out.check({options.file});
    chronoseal::SealerOptions sealer_options;
    apply(options.request, sealer_options);
    sealer_options.only_requests = true;
    sealer_options.certificates = options.request.cert;
    const chronoseal::Sealer sealer(sealer_options);
    const chronoseal::Digest digest = digest_of(options.file, sealer.hash(), !output.quiet());
    const chronoseal::Bytes request = sealer.request(digest);
    out.write(request);
    const chronoseal::Expected made = chronoseal::Expected::of_request(request);
    if (!out.is_standard_output()) {
        output.text(fmt::format("{}: {} {} -> {}\n", quote_foreign(options.file),
                                digest.algorithm().name(), to_hex(digest.value()),
                                quote_foreign(out.path())));
    }
    output.object(true, {{"file", options.file},
                         {"out", out.path()},
                         {"imprint",
                          {{"algorithm", digest.algorithm().name()},
                           {"oid", digest.algorithm().oid()},
                           {"digest", to_hex(digest.value())}}},
                         {"nonce", made.nonce.has_value()},
                         {"certReq", options.request.cert},
                         {"policy", made.policy}});
    return ExitStatus::good;
}

} // namespace cli
