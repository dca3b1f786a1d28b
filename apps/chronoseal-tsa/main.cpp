// chronoseal-tsa: a small time-stamp authority for trying things and for tests. Never for
// production. Exit status: 0 good, 2 wrong usage, 3 could not read, make or listen.
#include <cstdio>

#include <CLI/CLI.hpp>

#include "server.h"

namespace {

constexpr int kExitUnreachable = 3;

const std::map<std::string, tsa::KeyKind> kKeyKinds{{"rsa2048", tsa::KeyKind::rsa2048},
                                                    {"p256", tsa::KeyKind::p256}};

struct Arguments {
    std::string init_folder;
    std::string folder;
    tsa::IdentityOptions identity;
    tsa::ResponderOptions responder;
    tsa::ServerOptions server;
    std::vector<int> accuracy;
};

void describe(CLI::App& app, Arguments& arguments) {
    app.add_option(
           "--init", arguments.init_folder,
           "make a throw-away authority (root, TSA certificate, CRL) in this folder, and end")
        ->type_name("DIR");
    app.add_option("--key", arguments.identity.key, "with --init: rsa2048 (default) or p256")
        ->transform(CLI::CheckedTransformer(kKeyKinds, CLI::ignore_case));
    app.add_option("--days", arguments.identity.days, "with --init: validity of the certificates")
        ->check(CLI::Range(1, 36500))
        ->capture_default_str();
    app.add_option("--crl-url", arguments.identity.crl_url,
                   "with --init: CRL address to name in the TSA certificate");
    app.add_option("--dir", arguments.folder, "serve with the authority in this folder")
        ->type_name("DIR");
    app.add_option("--host", arguments.server.host, "address to listen on")->capture_default_str();
    app.add_option("--port", arguments.server.port, "port to listen on; 0 is any free one")
        ->check(CLI::Range(0, 65535))
        ->capture_default_str();
    app.add_option("--policy", arguments.responder.policies,
                   "accepted policy OIDs, the default one first")
        ->capture_default_str();
    app.add_option("--imprint", arguments.responder.imprints, "accepted imprint algorithms")
        ->capture_default_str();
    app.add_option("--accuracy", arguments.accuracy,
                   "seconds, milliseconds and microseconds; three zeros: none")
        ->expected(3);
    app.add_flag("--ordering", arguments.responder.ordering, "set ordering in every token");
    app.add_flag("!--no-tsa-name", arguments.responder.tsa_name, "leave the tsa field out");
    app.add_flag("--ess-v1", arguments.responder.ess_v1,
                 "identify the signer by ESSCertID (SHA-1)");
}

int run(Arguments& arguments) {
    if (!arguments.init_folder.empty()) {
        tsa::make_identity(arguments.init_folder, arguments.identity);
        std::printf("made a throw-away authority in %s (never use it for anything real)\n",
                    arguments.init_folder.c_str());
        return 0;
    }
    if (arguments.accuracy.size() == 3) {
        const bool none = arguments.accuracy == std::vector<int>{0, 0, 0};
        arguments.responder.accuracy.reset();
        if (!none) {
            arguments.responder.accuracy =
                tsa::Accuracy{arguments.accuracy[0], arguments.accuracy[1], arguments.accuracy[2]};
        }
    }
    const tsa::Identity identity = tsa::load_identity(arguments.folder);
    tsa::TimeStampResponder responder(identity, arguments.responder);
    arguments.server.folder = arguments.folder;
    std::fprintf(stderr, "chronoseal-tsa is for trying things: its stamps prove nothing.\n");
    if (!tsa::serve(identity, responder, arguments.server)) {
        std::fprintf(stderr, "chronoseal-tsa: can't listen on %s port %d\n",
                     arguments.server.host.c_str(), arguments.server.port);
        return kExitUnreachable;
    }
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    CLI::App app(
        "A small time-stamp authority for trying things and for tests; never for production.");
    Arguments arguments;
    describe(app, arguments);
    try {
        app.parse(argc, argv);
        if (arguments.init_folder.empty() == arguments.folder.empty()) {
            throw CLI::ValidationError("give either --init DIR or --dir DIR");
        }
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : 2;
    }
    try {
        return run(arguments);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "chronoseal-tsa: %s\n", error.what());
        return kExitUnreachable;
    }
}
