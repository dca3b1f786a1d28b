#include "stamp_command.h"

#include <optional>

#include <fmt/format.h>

#include "base/atl_exception.h"
#include "base/blob.h"
#include "byte_files.h"
#include "narrow_text.h"
#include "stamp_report.h"
#include "stamp_verification.h"

namespace cli {

namespace {

using Halcyon::CBlob;
using Halcyon::PKI::TSP::Client::CRequest;
using Halcyon::PKI::TSP::Client::CStamp;

constexpr std::uint32_t kHttpFailure = 0xC2100100;
constexpr unsigned long kHttpOk = 200;

std::string output_path(const StampOptions& options, const std::string& file) {
    if (!options.out.empty()) {
        return options.out;
    }
    return file == "-" ? "-" : file + ".tsr";
}

void check_usage(const StampOptions& options, const Output& output) {
    if (options.files.size() > 1 && !options.out.empty()) {
        throw Failure(ExitStatus::usage, "--out goes with one file only",
                      "leave it out: each stamp is then written to FILE.tsr");
    }
    if (output.json() && output_path(options, options.files.front()) == "-") {
        throw Failure(ExitStatus::usage, "--json and the stamp can't both go to standard output",
                      "name a file by --out");
    }
}

void prepare(const StampOptions& options, CRequest& request) {
    if (!options.url.empty()) {
        request.put_TSAAddress(wide(options.url).c_str());
    }
    apply(options.request, request);
    // Without the authority's certificate there is nothing to verify the stamp with.
    if (!options.no_verify && options.trust.certs.empty()) {
        request.put_CertReq(true);
    }
}

CStamp& send(const std::string& doing, CRequest& request) {
    try {
        return request.Send(false);
    } catch (const ATL::CAtlException& exception) {
        const auto code = static_cast<std::uint32_t>(exception.m_hr);
        const unsigned long status = request.get_HTTPStatus();
        if (status != 0 && status != kHttpOk) {
            throw Failure(
                ExitStatus::unreachable,
                fmt::format("can't {}: the server answered with HTTP status {}", doing, status),
                "check the address", code == 0 ? kHttpFailure : code);
        }
        throw failure_of_code(doing, code);
    }
}

nlohmann::ordered_json stamp_file(const std::string& file, const StampOptions& options,
                                  std::optional<Trust>& trust, const Output& output) {
    const std::string doing = "stamp " + file;
    const std::string out = output_path(options, file);
    CRequest request;
    prepare(options, request);
    add_file(file, request);
    const CStamp& stamp = send(doing, request);
    require_granted(doing, stamp);
    if (!options.no_verify) {
        if (!trust) {
            trust.emplace(options.trust);
        }
        verify_stamp(doing, stamp, *trust);
    }
    const CBlob response = request.get_Response();
    write_file(out, response.pbData(), response.cbData());

    const StampReport report = read_report(stamp, nullptr, 0);
    if (out != "-") {
        output.text(
            fmt::format("{}: {} {}, {} -> {}\n", file,
                        options.no_verify ? "stamped (not verified)" : "stamped and verified",
                        report.token->time, narrow(request.get_TSAAddress()), out));
    }
    nlohmann::ordered_json json = {{"file", file},
                                   {"ok", true},
                                   {"out", out},
                                   {"url", narrow(request.get_TSAAddress())},
                                   {"verified", !options.no_verify}};
    json.update(to_json(report));
    return json;
}

} // namespace

ExitStatus run_stamp(const StampOptions& options, const Output& output) {
    check_usage(options, output);
    ExitStatus status = ExitStatus::good;
    std::optional<Trust> trust;
    nlohmann::ordered_json results = nlohmann::ordered_json::array();
    for (const std::string& file : options.files) {
        try {
            results.push_back(stamp_file(file, options, trust, output));
        } catch (...) {
            const Failure failure = failure_in_flight("stamp " + file);
            output.line(failure);
            results.push_back({{"file", file}, {"ok", false}, {"error", error_json(failure)}});
            status = worse(status, failure.status());
        }
    }
    output.object(status == ExitStatus::good, {{"files", results}});
    return status;
}

} // namespace cli
