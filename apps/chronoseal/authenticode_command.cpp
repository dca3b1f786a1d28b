// Stamping a signature by the older Authenticode protocol.
#include "authenticode_command.h"

#include <fmt/format.h>

#include "input_file.h"
#include "output_file.h"
#include "short_name.h"
#include "trust_command.h"

namespace cli {

namespace {

chronoseal::AuthenticodeStamp stamped(const AuthenticodeOptions& options,
                                      const chronoseal::AuthenticodeOptions& wanted) {
    try {
        return chronoseal::authenticode(read_file(options.file), wanted);
    } catch (const chronoseal::Error& error) {
        throw with_trust_call(error, "ROOT.pem");
    }
}

} // namespace

ExitStatus run_authenticode(const AuthenticodeOptions& options, const Output& output) {
    const OutputFile out(options.out, existing_of(options.force));
    refuse_json_beside(out, output, "the stamp");
    out.check(files_of(options.trust, {options.file}));
    chronoseal::AuthenticodeOptions wanted;
    wanted.url = options.url;
    wanted.trust = trust_of(options.trust);
    wanted.verify = !options.no_verify;
    const chronoseal::AuthenticodeStamp stamp = stamped(options, wanted);
    out.write(stamp.der);
    if (!out.is_standard_output()) {
        output.text(fmt::format(
            "{}: stamped{} {} by {} -> {}\n", chronoseal::quote_foreign(options.file),
            options.no_verify ? " (chain not verified)" : " and verified",
            stamp.time ? chronoseal::utc_text(*stamp.time) : "at a time that isn't told",
            stamp.signer ? short_name(stamp.signer->subject) : "an unknown signer",
            chronoseal::quote_foreign(out.path())));
    }
    nlohmann::ordered_json time = nullptr;
    if (stamp.time) {
        time = chronoseal::utc_text(*stamp.time);
    }
    output.object(true, {{"file", options.file},
                         {"out", out.path()},
                         {"bytes", stamp.der.size()},
                         {"time", time},
                         {"verified", wanted.verify}});
    return ExitStatus::good;
}

} // namespace cli
