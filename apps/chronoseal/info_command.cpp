#include "info_command.h"

#include "byte_files.h"
#include "stamp_report.h"
#include "trust_options.h"

namespace cli {

ExitStatus run_info(const InfoOptions& options, const Output& output) {
    const Bytes bytes = read_file(options.stamp);
    TrustOptions extra;
    extra.certs = options.certs;
    Trust trust(extra);
    Halcyon::PKI::TSP::Client::CStamp stamp;
    stamp.Import(bytes.data(), bytes.size(), nullptr);
    const StampReport report = read_report(stamp, trust.stores(), trust.store_count());
    output.text(to_text(report));
    nlohmann::ordered_json json = {{"file", options.stamp}};
    json.update(to_json(report));
    output.object(true, json);
    return ExitStatus::good;
}

} // namespace cli
