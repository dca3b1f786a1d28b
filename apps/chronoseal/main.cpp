// chronoseal: stamps, verifies and shows time-stamps. Exit statuses are in exit_status.h.
#include <cstdio>
#include <functional>

#include <CLI/CLI.hpp>

#include "authenticode_command.h"
#include "info_command.h"
#include "policy_command.h"
#include "request_command.h"
#include "stamp_command.h"
#include "verify_command.h"

namespace {

using cli::ExitStatus;
using cli::Output;

// What is to be run once the arguments have been read.
struct Chosen {
    std::string command;
    std::string doing;
    std::function<ExitStatus(const Output&)> run;
};

// A subcommand whose options are kept in `Options` and that runs `run` with them.
template <class Options, class Describe, class Doing>
void add_command(CLI::App& app, Chosen& chosen, const char* name, const char* help,
                 ExitStatus (*run)(const Options&, const Output&), Describe&& describe,
                 Doing doing) {
    CLI::App* command = app.add_subcommand(name, help)->fallthrough();
    auto options = std::make_shared<Options>();
    describe(*command, *options);
    command->callback([&chosen, name, options, run, doing] {
        chosen = {name, doing(*options),
                  [options, run](const Output& output) { return run(*options, output); }};
    });
}

void add_stamp(CLI::App& app, Chosen& chosen) {
    add_command<cli::StampOptions>(
        app, chosen, "stamp", "get a time-stamp for each file", cli::run_stamp,
        [](CLI::App& command, cli::StampOptions& options) {
            command.add_option("file", options.files, "files to stamp; - is standard input")
                ->required()
                ->type_name("FILE");
            command.add_option("--url", options.url, "address of the authority");
            command
                .add_option("--out", options.out, "where to write the stamp (default: FILE.tsr)")
                ->type_name("F");
            command.add_flag("--no-verify", options.no_verify,
                             "only compare the answer with the request");
            cli::add_request_options(command, options.request);
            cli::add_trust_options(command, options.trust);
        },
        [](const cli::StampOptions&) { return std::string("stamp"); });
}

void add_verify(CLI::App& app, Chosen& chosen) {
    add_command<cli::VerifyOptions>(
        app, chosen, "verify", "judge a stored stamp", cli::run_verify,
        [](CLI::App& command, cli::VerifyOptions& options) {
            command.add_option("stamp", options.stamp, "response or token; - is standard input")
                ->required()
                ->type_name("STAMP");
            auto* data = command.add_option("--data", options.data, "the file that was stamped")
                             ->type_name("FILE");
            command.add_option("--digest", options.digest, "its hash")
                ->type_name("HEX")
                ->excludes(data);
            cli::add_trust_options(command, options.trust);
        },
        [](const cli::VerifyOptions& options) { return "verify " + options.stamp; });
}

void add_info(CLI::App& app, Chosen& chosen) {
    add_command<cli::InfoOptions>(
        app, chosen, "info", "show what a stamp holds, and verify nothing", cli::run_info,
        [](CLI::App& command, cli::InfoOptions& options) {
            command.add_option("stamp", options.stamp, "response or token; - is standard input")
                ->required()
                ->type_name("STAMP");
            command.add_option("--certs", options.certs, "where else the signer may be found")
                ->type_name("FILE");
        },
        [](const cli::InfoOptions& options) { return "read " + options.stamp; });
}

void add_request(CLI::App& app, Chosen& chosen) {
    add_command<cli::MakeRequestOptions>(
        app, chosen, "request", "write a request and send nothing", cli::run_request,
        [](CLI::App& command, cli::MakeRequestOptions& options) {
            command.add_option("file", options.file, "file to hash; - is standard input")
                ->required()
                ->type_name("FILE");
            command.add_option("--out", options.out, "where to write the request")
                ->required()
                ->type_name("F.tsq");
            cli::add_request_options(command, options.request);
        },
        [](const cli::MakeRequestOptions& options) {
            return "make a request for " + options.file;
        });
}

void add_authenticode(CLI::App& app, Chosen& chosen) {
    add_command<cli::AuthenticodeOptions>(
        app, chosen, "authenticode", "stamp a signature by the older Authenticode protocol",
        cli::run_authenticode,
        [](CLI::App& command, cli::AuthenticodeOptions& options) {
            command.add_option("file", options.file, "signature or digest to stamp")
                ->required()
                ->type_name("DIGEST-OR-SIGNATURE");
            command.add_option("--url", options.url,
                               "address of the server (default: the policy's)");
            command.add_option("--out", options.out, "where to write the answer")
                ->required()
                ->type_name("F");
        },
        [](const cli::AuthenticodeOptions& options) { return "stamp " + options.file; });
}

void add_policy(CLI::App& app, Chosen& chosen) {
    CLI::App* policy = app.add_subcommand("policy", "the machine's policy")->fallthrough();
    policy->require_subcommand(1);
    policy->add_subcommand("show", "every key, its value, and where it comes from")
        ->fallthrough()
        ->callback([&chosen] {
            chosen = {"policy show", "show the policy", cli::run_policy_show};
        });
}

int run(const Chosen& chosen, bool json) {
    const Output output(chosen.command, json);
    try {
        const ExitStatus status = chosen.run(output);
        if (std::fflush(stdout) != 0) {
            throw cli::Failure(ExitStatus::unreachable, "can't write to standard output");
        }
        return static_cast<int>(status);
    } catch (...) {
        const cli::Failure failure = cli::failure_in_flight(chosen.doing);
        output.line(failure);
        output.object(false, {{"error", cli::error_json(failure)}});
        return static_cast<int>(failure.status());
    }
}

} // namespace

int main(int argc, char** argv) {
    CLI::App app("Time-stamps after RFC 3161: get them, judge them, look at them.", "chronoseal");
    bool json = false;
    Chosen chosen;
    app.add_flag("--json", json, "print one JSON object to standard output");
    app.set_version_flag("--version", "chronoseal 1.0.0");
    app.require_subcommand(1);
    add_stamp(app, chosen);
    add_verify(app, chosen);
    add_info(app, chosen);
    add_request(app, chosen);
    add_policy(app, chosen);
    add_authenticode(app, chosen);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : static_cast<int>(ExitStatus::usage);
    }
    return run(chosen, json);
}
