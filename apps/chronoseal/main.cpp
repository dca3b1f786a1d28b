// chronoseal: stamps, verifies and shows time-stamps. Exit statuses are in exit_status.h.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <iostream>

#include <fcntl.h>

#include <CLI/CLI.hpp>

#include "attach_command.h"
#include "authenticode_command.h"
#include "extend_command.h"
#include "info_command.h"
#include "option_dump.h"
#include "policy_command.h"
#include "renew_command.h"
#include "stamp_command.h"
#include "together_command.h"
#include "trust_command.h"
#include "verify_command.h"
#include "wrong_usage.h"

namespace {

using cli::ExitStatus;
using cli::Output;

constexpr char kStatuses[] = "Exit status: 0 good; 1 found to be bad, or refused; 2 wrong usage; 3 "
                             "could not be reached, read\n"
                             "or judged (evidence of revocation is missing).";

// What is to be run once the words of the call have been read.
struct Chosen {
    // Commands that the call can't mean get no options: to describe all of them takes half as long
    // as to verify a stamp.
    bool may_be(std::string_view name) const {
        return std::ranges::any_of(
            words, [&](const std::string& word) { return word == name || word == "--dump"; });
    }

    std::vector<std::string> words;
    std::string command;
    std::function<ExitStatus(const Output&)> run;
};

std::string with_statuses(const std::string& examples) {
    return examples + "\n\n" + kStatuses;
}

// A subcommand whose options are kept in `Options` and that runs `run` with them.
template <class Options, class Describe>
void add_command(CLI::App& app, Chosen& chosen, const char* name, const char* help,
                 const char* examples, ExitStatus (*run)(const Options&, const Output&),
                 Describe&& describe) {
    CLI::App* command = app.add_subcommand(name, help)->fallthrough();
    command->footer(with_statuses(examples));
    if (!chosen.may_be(name)) {
        return;
    }
    auto options = std::make_shared<Options>();
    describe(*command, *options);
    command->callback([&chosen, name, options, run] {
        chosen.command = name;
        chosen.run = [options, run](const Output& output) { return run(*options, output); };
    });
}

CLI::Option* add_files(CLI::App& command, std::vector<std::string>& files, const char* help,
                       const char* value_name) {
    return command.add_option("file", files, help)
        ->type_name(value_name)
        ->check([](const std::string& name) { return name.empty() ? "a name is empty" : ""; }, "");
}

void add_stamp(CLI::App& app, Chosen& chosen) {
    add_command<cli::StampOptions>(
        app, chosen, "stamp", "get a time-stamp for each file",
        "Examples:\n"
        "  chronoseal stamp report.pdf --url http://tsa.example/       writes report.pdf.tsr\n"
        "  chronoseal stamp *.pdf --skip-existing --jobs 8\n"
        "  chronoseal stamp --together folder --out case        case.sha256 and case.sha256.ers\n"
        "  chronoseal stamp --manifest sums-*.sha256            one stamp for lists of hashes\n"
        "  chronoseal stamp --digest HEX --hash sha256 --out a.tsr",
        cli::run_stamp, [](CLI::App& command, cli::StampOptions& options) {
            add_files(command, options.files, "files to stamp; - is standard input", "FILE");
            cli::add_value(command, "--digest", options.digest,
                           "stamp this hash in place of a file; by --hash, SHA-256 else", "HEX");
            cli::add_value(command, "--out", options.out,
                           "where to write the stamp (default: FILE.tsr)", "FILE");
            cli::add_value(command, "--token-out", options.token_out, "write the bare token, too",
                           "FILE");
            cli::add_value(command, "--certs-out", options.certs_out,
                           "write the chain's certificates, too, PEM", "FILE");
            cli::add_value(command, "--crls-out", options.crls_out,
                           "write the revocation lists that were used, too, PEM", "FILE");
            auto* together = command.add_flag("--together", options.together,
                                              "one stamp for all files, those in folders "
                                              "included, by a list of their hashes");
            command
                .add_flag("--manifest", options.manifest,
                          "one stamp for lists of hashes, as sha256sum writes them")
                ->excludes(together);
            auto* force = command.add_flag("--force", options.force, "overwrite what is there");
            command
                .add_flag("--skip-existing", options.skip_existing,
                          "leave out files that have a stamp")
                ->excludes(force);
            command.add_flag("--no-verify", options.no_verify,
                             "only compare the answer with the request");
            command.add_option("--jobs", options.jobs, "connections for many files, 1 to 64")
                ->type_name("N")
                ->check(CLI::Range(1U, 64U).description(""))
                ->capture_default_str();
            cli::add_quorum_option(command, options.authority);
            cli::add_request_options(command, options.request);
            cli::add_authority_options(command, options.authority);
            cli::add_trust_options(command, options.trust);
        });
}

void add_send(CLI::App& app, Chosen& chosen) {
    add_command<cli::SendOptions>(
        app, chosen, "send", "send a finished request, as `request` or another tool wrote it",
        "Example:\n"
        "  chronoseal request report.pdf --cert --out report.tsq\n"
        "  chronoseal send report.tsq --out report.pdf.tsr --url http://tsa.example/",
        cli::run_send, [](CLI::App& command, cli::SendOptions& options) {
            cli::add_value(command, "request", options.request, "the request", "FILE.tsq")
                ->required();
            cli::add_value(command, "--out", options.out, "where to write the stamp", "FILE")
                ->required();
            command.add_flag("--force", options.force, "overwrite what is there");
            command.add_flag("--no-verify", options.no_verify,
                             "only compare the answer with the request");
            cli::add_authority_options(command, options.authority);
            cli::add_trust_options(command, options.trust);
        });
}

void add_verify(CLI::App& app, Chosen& chosen) {
    add_command<cli::VerifyOptions>(
        app, chosen, "verify", "judge stored stamps, or those inside a signed message",
        "Examples:\n"
        "  chronoseal verify report.pdf.tsr                  compares with report.pdf beside it\n"
        "  chronoseal verify old.tsr --data report.pdf -v    tells each check\n"
        "  chronoseal verify *.tsr --json-lines\n"
        "  chronoseal verify report.pdf.tsr --report case.html",
        cli::run_verify, [](CLI::App& command, cli::VerifyOptions& options) {
            add_files(
                command, options.stamps,
                "responses, tokens or signed messages, DER, PEM or Base64; - is standard input",
                "STAMP")
                ->required();
            auto* data =
                cli::add_value(command, "--data", options.data,
                               "the file that was stamped (default: FILE for FILE.tsr)", "FILE");
            auto* digest = cli::add_value(command, "--digest", options.digest, "its hash", "HEX");
            auto* request = cli::add_value(command, "--request", options.request,
                                           "the request, nonce and policy included", "FILE.tsq");
            auto* none = command.add_flag("--no-data", options.no_data,
                                          "compare with nothing: signature and chain alone");
            digest->excludes(data);
            request->excludes(data)->excludes(digest);
            none->excludes(data)->excludes(digest)->excludes(request);
            command
                .add_option("--jobs", options.jobs, "threads, 1 to 256 (default: one a processor)")
                ->type_name("N")
                ->check(CLI::Range(1U, 256U).description(""));
            cli::add_value(command, "--report", options.report,
                           "write the verdict as a page to print and keep", "FILE.html");
            command.add_flag("--force", options.force, "overwrite the report");
            command.add_flag("--manifest", options.manifest,
                             "what an evidence record is of is a list of hashes");
            command.add_flag("--files", options.files,
                             "compare the files of that list, too, as sha256sum -c does");
            command.add_flag("--strict", options.strict,
                             "refuse what rests on a certificate that has ended");
            cli::add_time_option(command, options.trust);
            cli::add_trust_options(command, options.trust);
        });
}

void add_prove(CLI::App& app, Chosen& chosen) {
    add_command<cli::ProveOptions>(
        app, chosen, "prove", "make the evidence record of a file out of that of a list",
        "Asks nobody: the list, its record and the file are all it takes.\n\n"
        "Example:\n"
        "  chronoseal prove a/report.pdf --manifest case.sha256    writes a/report.pdf.ers",
        cli::run_prove, [](CLI::App& command, cli::ProveOptions& options) {
            add_files(command, options.files, "files whose hashes are in the list", "FILE")
                ->required();
            cli::add_value(command, "--manifest", options.manifest, "the list of hashes", "SUMS")
                ->required();
            cli::add_value(command, "--record", options.record,
                           "the list's evidence record (default: SUMS.ers)", "FILE.ers");
            cli::add_value(command, "--rehashed", options.rehashed,
                           "the list of new hashes by which that was renewed", "SUMS");
            cli::add_value(command, "--out", options.out,
                           "where to write the record (default: FILE.ers)", "FILE");
            command.add_flag("--force", options.force, "overwrite what is there");
        });
}

void add_renew(CLI::App& app, Chosen& chosen) {
    add_command<cli::RenewOptions>(
        app, chosen, "renew", "carry evidence records on, before a certificate or a hash ends",
        "One stamp renews all records that are named together. A record is replaced in its place,\n"
        "once its new form has been verified.\n\n"
        "Examples:\n"
        "  chronoseal renew *.ers                       by a new time-stamp\n"
        "  chronoseal renew --hash sha512 case.sha256.ers    by a new hash over the data beside "
        "it\n"
        "  chronoseal renew --hash sha512 case.sha256.ers --manifest case.sha512    for all files "
        "of the list\n"
        "  chronoseal renew old.pdf.tsr                 writes old.pdf.ers",
        cli::run_renew, [](CLI::App& command, cli::RenewOptions& options) {
            add_files(command, options.files, "evidence records, or stamps that become records",
                      "RECORD")
                ->required();
            cli::add_value(command, "--hash", options.hash,
                           "begin a new chain by this hash, over the data again", "NAME|OID");
            cli::add_value(command, "--data", options.data,
                           "what the record is of (default: the file beside it)", "FILE");
            cli::add_value(command, "--manifest", options.manifest,
                           "of a list's record: the list of the new hashes of its files, which "
                           "are not hashed here",
                           "SUMS");
            cli::add_value(command, "--out", options.out,
                           "where to write the record (default: in its place)", "FILE");
            command.add_flag("--convert-only", options.convert_only,
                             "make records of stamps, and ask nobody");
            command.add_flag("--force", options.force, "overwrite what is there");
            cli::add_authority_options(command, options.authority);
            cli::add_trust_options(command, options.trust);
        });
}

void add_info(CLI::App& app, Chosen& chosen) {
    add_command<cli::InfoOptions>(
        app, chosen, "info", "show what a stamp or request holds, and verify nothing",
        "Example:\n  chronoseal info report.pdf.tsr", cli::run_info,
        [](CLI::App& command, cli::InfoOptions& options) {
            cli::add_value(command, "file", options.file,
                           "stamp, request or signed message; - is standard input", "FILE")
                ->required();
        });
}

void add_request(CLI::App& app, Chosen& chosen) {
    add_command<cli::MakeRequestOptions>(
        app, chosen, "request", "write a request and send nothing",
        "Example:\n  chronoseal request report.pdf --cert --out report.tsq", cli::run_request,
        [](CLI::App& command, cli::MakeRequestOptions& options) {
            cli::add_value(command, "file", options.file, "file to hash; - is standard input",
                           "FILE")
                ->required();
            cli::add_value(command, "--out", options.out, "where to write the request", "FILE.tsq")
                ->required();
            command.add_flag("--force", options.force, "overwrite what is there");
            cli::add_request_options(command, options.request);
        });
}

void add_authenticode(CLI::App& app, Chosen& chosen) {
    add_command<cli::AuthenticodeOptions>(
        app, chosen, "authenticode", "stamp a signature by the older Authenticode protocol",
        "Example:\n  chronoseal authenticode signature.bin --url http://tsa.example/ --out "
        "answer.p7",
        cli::run_authenticode, [](CLI::App& command, cli::AuthenticodeOptions& options) {
            cli::add_value(command, "file", options.file, "the signature to stamp", "SIGNATURE")
                ->required();
            cli::add_value(command, "--url", options.url,
                           "address of the server (default: the policy's)", "URL");
            cli::add_value(command, "--out", options.out, "where to write the answer", "FILE")
                ->required();
            command.add_flag("--force", options.force, "overwrite what is there");
            command.add_flag("--no-verify", options.no_verify, "don't judge the server's chain");
            cli::add_trust_options(command, options.trust);
        });
}

void add_extend(CLI::App& app, Chosen& chosen) {
    add_command<cli::ExtendOptions>(
        app, chosen, "extend", "put chain, revocation lists and OCSP answers into stored stamps",
        "Examples:\n"
        "  chronoseal extend *.tsr                           in place; while their authority's "
        "certificate is valid\n"
        "  chronoseal verify report.pdf.tsr --offline        needs nothing else from then on",
        cli::run_extend, [](CLI::App& command, cli::ExtendOptions& options) {
            add_files(command, options.stamps,
                      "responses, tokens, signed messages with stamps or evidence records (their "
                      "last stamp), DER, PEM or Base64; - is standard input",
                      "STAMP")
                ->required();
            cli::add_value(command, "--out", options.out,
                           "where to write the stamp (default: in place)", "FILE");
            command.add_flag("--force", options.force, "overwrite what is at --out");
            cli::add_time_option(command, options.trust);
            cli::add_trust_options(command, options.trust);
        });
}

void add_attach(CLI::App& app, Chosen& chosen) {
    add_command<cli::AttachOptions>(
        app, chosen, "attach", "stamp a CMS signature, and put the stamp into it",
        "Examples:\n"
        "  chronoseal attach contract.p7s --data contract.pdf --out stamped.p7s\n"
        "  chronoseal attach contract.p7m --all --force        in place",
        cli::run_attach, [](CLI::App& command, cli::AttachOptions& options) {
            cli::add_value(command, "signature", options.file,
                           "the signed message: DER, BER, PEM or S/MIME; - is standard input",
                           "SIGNATURE")
                ->required();
            cli::add_value(command, "--out", options.out,
                           "where to write the message (default: in place, by --force)", "FILE");
            command.add_flag("--force", options.force, "overwrite what is there");
            cli::add_value(command, "--data", options.data,
                           "what a detached signature is over, to check it", "FILE");
            command.add_option("--signer", options.signer, "stamp this signer, counted from 1")
                ->type_name("N")
                ->check(CLI::Range(1U, 1000000U).description(""));
            command.add_flag("--all", options.all, "stamp each signer");
            cli::add_value(command, "--attribute", options.attribute,
                           "the unsigned attribute for the stamp (default: "
                           "1.2.840.113549.1.9.16.2.14; Authenticode: 1.3.6.1.4.1.311.3.3.1)",
                           "OID");
            cli::add_request_options(command, options.request);
            cli::add_authority_options(command, options.authority);
            cli::add_trust_options(command, options.trust);
        });
}

void add_doctor(CLI::App& app, Chosen& chosen) {
    add_command<cli::DoctorOptions>(
        app, chosen, "doctor", "what of this machine would make a stamp or a verification fail",
        "Examples:\n  chronoseal doctor\n  chronoseal doctor --url http://tsa.example/    asks for "
        "one "
        "stamp, too",
        cli::run_doctor, [](CLI::App& command, cli::DoctorOptions& options) {
            cli::add_request_options(command, options.request);
            cli::add_authority_options(command, options.authority);
            cli::add_trust_options(command, options.trust);
        });
}

void add_policy(CLI::App& app, Chosen& chosen) {
    CLI::App* policy = app.add_subcommand("policy", "the machine's policy")->fallthrough();
    policy->require_subcommand(1);
    policy->footer(with_statuses("Example:\n  chronoseal policy show"));
    policy->add_subcommand("show", "every key, its value, and where it comes from")
        ->fallthrough()
        ->callback([&chosen] {
            chosen.command = "policy show";
            chosen.run = cli::run_policy_show;
        });
}

// A subcommand of `trust` that changes the store.
void add_trust_change(CLI::App& trust, Chosen& chosen, const char* name, const char* help,
                      ExitStatus (*run)(const cli::TrustChange&, const Output&)) {
    CLI::App* command = trust.add_subcommand(name, help)->fallthrough();
    auto change = std::make_shared<cli::TrustChange>();
    if (run == cli::run_trust_add) {
        cli::add_value(*command, "root", change->root,
                       "the certificate, or a stamp that carries it", "FILE")
            ->required();
        cli::add_value(*command, "--sha256", change->sha256,
                       "its SHA-256, as its owner tells it: what makes it trusted", "HEX")
            ->required();
    } else {
        cli::add_value(*command, "sha256", change->sha256, "the certificate's SHA-256", "HEX")
            ->required();
    }
    command->add_flag("--machine", change->machine, "in the machine's store, not the user's");
    command->callback([&chosen, change, run, whole = std::string("trust ") + name] {
        chosen.command = whole;
        chosen.run = [change, run](const Output& output) { return run(*change, output); };
    });
}

void add_trust(CLI::App& app, Chosen& chosen) {
    CLI::App* trust = app.add_subcommand("trust", "the trusted roots")->fallthrough();
    if (!chosen.may_be("trust")) {
        return;
    }
    trust->require_subcommand(1);
    trust->footer(with_statuses(
        "Examples:\n"
        "  chronoseal trust add root.pem --sha256 HEX    once its owner has told the SHA-256\n"
        "  chronoseal trust list\n"
        "  chronoseal trust remove HEX"));
    trust->add_subcommand("list", "those that count where none are named")
        ->fallthrough()
        ->callback([&chosen] {
            chosen.command = "trust list";
            chosen.run = cli::run_trust_list;
        });
    add_trust_change(*trust, chosen, "add", "trust a root", cli::run_trust_add);
    add_trust_change(*trust, chosen, "remove", "trust it no longer", cli::run_trust_remove);
}

struct HelpOptions {
    std::vector<std::string> topic;
    bool dump = false;
};

void add_help(CLI::App& app, HelpOptions& options) {
    CLI::App* help = app.add_subcommand("help", "help on a command")->fallthrough();
    help->footer(with_statuses("Examples:\n  chronoseal help verify\n"
                               "  chronoseal help trust add"));
    help->add_option("command", options.topic, "the command, or none for all")
        ->type_name("COMMAND");
    help->add_flag("--dump", options.dump, "all commands and options as JSON")->group("");
}

int run(const Chosen& chosen, cli::Format format, cli::Detail detail) {
    const Output output(chosen.command, format, detail);
    const auto told = [&](const chronoseal::Error& error) {
        output.failure(error);
        output.object(false, {{"error", cli::error_json(error)}});
        return static_cast<int>(cli::status_of(error.category()));
    };
    try {
        const ExitStatus status = chosen.run(output);
        if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
            throw cli::unwritable_output();
        }
        return static_cast<int>(status);
    } catch (const chronoseal::Error& error) {
        return told(error);
    } catch (const std::exception& exception) {
        return told({chronoseal::Category::unreachable, "system_failed", 0,
                     chronoseal::quote_foreign(exception.what()), "try again"});
    }
}

// Whether a word of the call asks for JSON, for the case that the call as a whole can't be read.
cli::Format format_asked(int argc, const char* const* argv) {
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--json") == 0) {
            return cli::Format::json;
        }
        if (std::strcmp(argv[i], "--json-lines") == 0) {
            return cli::Format::json_lines;
        }
    }
    return cli::Format::text;
}

int show_help(const CLI::App& app, const HelpOptions& options) {
    if (options.dump) {
        std::cout << cli::dump_options(app);
        return 0;
    }
    const CLI::App* command = &app;
    std::string name_of_call = app.get_name();
    for (const std::string& name : options.topic) {
        const auto found =
            command->get_subcommands([&](const CLI::App* one) { return one->get_name() == name; });
        if (found.empty()) {
            throw cli::usage_error("\"" + chronoseal::quote_foreign(name, 80) + "\" is no command",
                                   "see chronoseal --help");
        }
        command = found.front();
        name_of_call += " " + command->get_name();
    }
    std::cout << command->get_formatter()->make_help(command, name_of_call,
                                                     CLI::AppFormatMode::Normal);
    return 0;
}

// "--name=" with an unset variable behind it would take the next word for its value.
void refuse_empty_values(int argc, const char* const* argv) {
    for (int i = 1; i < argc && std::strcmp(argv[i], "--") != 0; ++i) {
        const std::string_view word(argv[i]);
        if (word.starts_with("--") && word.find('=') == word.size() - 1) {
            throw cli::usage_error(chronoseal::quote_foreign(word) + " has an empty value",
                                   "give it one, or leave it out");
        }
    }
}

// The words of the call. One in brackets is a file's name, which the reader of options would take
// for a list.
std::vector<std::string> words_of(int argc, const char* const* argv) {
    std::vector<std::string> words(argv, argv + argc);
    for (std::string& word : words) {
        word = (word.starts_with("[") ? "./" : "") + word;
    }
    return words;
}

int tell_wrong_usage(const chronoseal::Error& error, int argc, const char* const* argv) {
    const Output output("", format_asked(argc, argv), cli::Detail::usual);
    output.failure(error);
    output.object(false, {{"error", cli::error_json(error)}});
    return static_cast<int>(ExitStatus::usage);
}

// The status of help that was asked for, if it could be written.
int written(int status) {
    std::cout.flush();
    if (std::cout && std::fflush(stdout) == 0) {
        return status;
    }
    const Output output("", cli::Format::text, cli::Detail::usual);
    const chronoseal::Error error = cli::unwritable_output();
    output.failure(error);
    return static_cast<int>(cli::status_of(error.category()));
}

// A standard stream that is closed would lend its number to the next file that is opened, and text
// meant for it would end there. What is opened in its place can't be used the way it was meant:
// nothing is read for data that are missing, and no result vanishes.
void open_missing_streams() {
    constexpr int kModes[] = {O_WRONLY, O_RDONLY, O_RDWR};
    for (int stream = 0; stream <= 2; ++stream) {
        if (::fcntl(stream, F_GETFD) < 0) {
            ::open("/dev/null", kModes[stream]);
        }
    }
}

int call(int argc, const char* const* argv) {
    const std::vector<std::string> words = words_of(argc, argv);
    std::vector<const char*> pointers;
    for (const std::string& word : words) {
        pointers.push_back(word.c_str());
    }
    argv = pointers.data();
    CLI::App app("Time-stamps after RFC 3161: get them, judge them, look at them.", "chronoseal");
    bool json = false, json_lines = false, quiet = false, verbose = false;
    HelpOptions help;
    Chosen chosen{words, {}, {}};
    auto* whole = app.add_flag("--json", json, "print one JSON object to standard output");
    app.add_flag("--json-lines", json_lines, "print a JSON object a line, as results come")
        ->excludes(whole);
    auto* silent = app.add_flag("-q,--quiet", quiet, "print nothing but failures");
    app.add_flag("-v,--verbose", verbose, "print verdicts check by check")->excludes(silent);
    app.set_version_flag("--version", "chronoseal " + std::string(chronoseal::version()));
    app.require_subcommand(1);
    app.footer(std::string("chronoseal help COMMAND tells the rest, with examples.\n\n") +
               kStatuses);
    app.get_formatter()->column_width(32);
    add_stamp(app, chosen);
    add_verify(app, chosen);
    add_prove(app, chosen);
    add_renew(app, chosen);
    add_info(app, chosen);
    add_request(app, chosen);
    add_send(app, chosen);
    add_policy(app, chosen);
    add_trust(app, chosen);
    add_doctor(app, chosen);
    add_authenticode(app, chosen);
    add_extend(app, chosen);
    add_attach(app, chosen);
    add_help(app, help);
    try {
        refuse_empty_values(argc, argv);
        app.parse(argc, argv);
        if (app.got_subcommand("help")) {
            return written(show_help(app, help));
        }
    } catch (const CLI::Success& asked) {
        return written(app.exit(asked));
    } catch (const CLI::ParseError& error) {
        return tell_wrong_usage(cli::wrong_usage(error, app, argc, argv), argc, argv);
    } catch (const chronoseal::Error& error) {
        return tell_wrong_usage(error, argc, argv);
    }
    const cli::Format format = json         ? cli::Format::json
                               : json_lines ? cli::Format::json_lines
                                            : cli::Format::text;
    return run(chosen, format,
               quiet     ? cli::Detail::quiet
               : verbose ? cli::Detail::verbose
                         : cli::Detail::usual);
}

} // namespace

int main(int argc, char** argv) {
    open_missing_streams();
    const int status = call(argc, argv);
#ifndef CHRONOSEAL_WHOLE_EXIT
    // What the system takes back anyway isn't taken apart piece by piece before.
    std::fflush(nullptr);
    std::_Exit(status);
#else
    return status;
#endif
}
