// chronoseal-tsa: a small time-stamp authority for trying things and for tests. Never for
// production. Exit status: 0 good, 2 wrong usage, 3 could not read, make or listen.
#include <algorithm>
#include <cstdio>
#include <memory>

#include <CLI/CLI.hpp>
#include <openssl/err.h>
#include <openssl/objects.h>

#include "option_dump.h"
#include "server.h"

namespace {

constexpr int kExitUsage = 2;
constexpr int kExitUnreachable = 3;

constexpr char kMaking[] = "Making an authority";
constexpr char kServing[] = "Serving";
constexpr char kStamps[] = "Its stamps";

constexpr char kFooter[] =
    "Examples:\n"
    "  chronoseal-tsa --init /tmp/authority\n"
    "  chronoseal-tsa --dir /tmp/authority --port 8080 &\n"
    "  chronoseal stamp a.txt --url http://127.0.0.1:8080/ --roots /tmp/authority/root.pem\n\n"
    "It answers time-stamp requests and Authenticode requests at every path, and the revocation\n"
    "list at /root.crl, until SIGTERM or SIGINT.\n\n"
    "Exit status: 0 good; 2 wrong usage; 3 a file or an address can't be used.";

struct Arguments {
    std::string init_folder;
    std::string folder;
    tsa::IdentityOptions identity;
    tsa::ResponderOptions responder;
    tsa::ServerOptions server;
    std::vector<int> accuracy;
    std::string key = "rsa2048";
    int idle_seconds = 5;
    int limit_seconds = 10;
    bool quiet = false;
    bool dump = false;
    bool no_tsa_name = false;
};

std::string known_hash(const std::string& name) {
    if (!tsa::openssl_name(name).empty()) {
        return "";
    }
    std::string names;
    for (const std::string& one : tsa::all_hashes()) {
        names += (names.empty() ? "" : ", ") + one;
    }
    return "no hash of this authority: choose of " + names;
}

std::string object_identifier(const std::string& text) {
    const std::unique_ptr<ASN1_OBJECT, tsa::Releaser<ASN1_OBJECT_free>> object(
        OBJ_txt2obj(text.c_str(), 1));
    ERR_clear_error();
    return object != nullptr ? "" : "--policy wants an object identifier: numbers with dots, 1.2.3";
}

// It stands among names with commas between when the certificate is made.
std::string list_address(const std::string& text) {
    const bool http = text.starts_with("http://") || text.starts_with("https://");
    const bool plain = std::ranges::all_of(
        text, [](unsigned char c) { return c > ' ' && c < 0x7F && c != ',' && c != ';'; });
    return http && plain && !text.ends_with("://")
               ? ""
               : "--crl-url wants an http:// or https:// address";
}

// Options that say nothing there are refused, so that nobody takes them for heard.
void keep_apart(CLI::App& app) {
    const auto exclude = [&](const char* name, const char* group) {
        for (CLI::Option* option : app.get_options()) {
            if (option->get_group() == group && option->get_lnames() != CLI::results_t{name}) {
                app.get_option("--" + std::string(name))->excludes(option);
            }
        }
    };
    exclude("init", kServing);
    exclude("init", kStamps);
    exclude("dir", kMaking);
}

void describe_making(CLI::App& app, Arguments& arguments) {
    app.add_option("--init", arguments.init_folder,
                   "make a throw-away authority (root, its own certificate, revocation list) in "
                   "this folder, and end")
        ->type_name("DIR")
        ->group(kMaking);
    app.add_option("--key", arguments.key, "kind of the keys")
        ->type_name("rsa2048|p256")
        ->check(CLI::IsMember({"rsa2048", "p256"}).description(""))
        ->capture_default_str()
        ->group(kMaking);
    app.add_option("--days", arguments.identity.days, "validity of the certificates")
        ->type_name("N")
        ->check(CLI::Range(1, 36500).description(""))
        ->capture_default_str()
        ->group(kMaking);
    app.add_option("--crl-url", arguments.identity.crl_url,
                   "address of a revocation list to name in the authority's certificate")
        ->type_name("URL")
        ->check(list_address, "")
        ->group(kMaking);
}

void describe_serving(CLI::App& app, Arguments& arguments) {
    app.add_option("--dir", arguments.folder, "serve with the authority in this folder")
        ->type_name("DIR")
        ->group(kServing);
    app.add_option("--host", arguments.server.host, "address to listen on")
        ->type_name("ADDRESS")
        ->capture_default_str()
        ->group(kServing);
    app.add_option("--port", arguments.server.port, "port to listen on; 0 is any free one")
        ->type_name("N")
        ->check(CLI::Range(0, 65535).description(""))
        ->capture_default_str()
        ->group(kServing);
    app.add_option("--idle", arguments.idle_seconds, "hang up on who begins no request for so long")
        ->type_name("SECONDS")
        ->check(CLI::Range(1, 3600).description(""))
        ->capture_default_str()
        ->group(kServing);
    app.add_option("--limit", arguments.limit_seconds,
                   "hang up on who takes longer for one request and its answer")
        ->type_name("SECONDS")
        ->check(CLI::Range(1, 3600).description(""))
        ->capture_default_str()
        ->group(kServing);
    app.add_flag("-q,--quiet", arguments.quiet, "write no line for each request")->group(kServing);
}

void describe_stamps(CLI::App& app, Arguments& arguments) {
    app.add_option("--policy", arguments.responder.policies,
                   "accepted policies, the one of a request that names none first")
        ->type_name("OID")
        ->check(object_identifier, "")
        ->capture_default_str()
        ->group(kStamps);
    app.add_option("--imprint", arguments.responder.imprints,
                   "accepted hashes (default: all but SHA-1)")
        ->type_name("NAME")
        ->check(known_hash, "")
        ->group(kStamps);
    app.add_option("--accuracy", arguments.accuracy,
                   "accuracy to tell: seconds, milliseconds, microseconds (default: 1 0 0; three "
                   "zeros: none)")
        ->type_name("S MS US")
        ->expected(3)
        ->check(CLI::Range(0, 1000000).description(""))
        ->group(kStamps);
    app.add_flag("--ordering", arguments.responder.ordering, "set ordering in every token")
        ->group(kStamps);
    app.add_flag("--no-tsa-name", arguments.no_tsa_name, "leave the tsa field out")->group(kStamps);
    app.add_flag("--ess-v1", arguments.responder.ess_v1,
                 "name the signer by ESSCertID (SHA-1) in place of ESSCertIDv2")
        ->group(kStamps);
}

int run(Arguments& arguments) {
    if (!arguments.init_folder.empty()) {
        arguments.identity.key =
            arguments.key == "p256" ? tsa::KeyKind::p256 : tsa::KeyKind::rsa2048;
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
    arguments.responder.tsa_name = !arguments.no_tsa_name;
    const tsa::Identity identity = tsa::load_identity(arguments.folder);
    tsa::TimeStampResponder responder(identity, arguments.responder);
    arguments.server.folder = arguments.folder;
    arguments.server.idle = std::chrono::seconds(arguments.idle_seconds);
    arguments.server.request = std::chrono::seconds(arguments.limit_seconds);
    arguments.server.log = !arguments.quiet;
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
        "A small time-stamp authority for trying things and for tests; never for production: its\n"
        "keys lie open in a folder and its stamps prove nothing.",
        "chronoseal-tsa");
    Arguments arguments;
    app.set_version_flag("--version", std::string("chronoseal-tsa ") + CHRONOSEAL_VERSION);
    app.get_formatter()->column_width(28);
    app.footer(kFooter);
    describe_making(app, arguments);
    describe_serving(app, arguments);
    describe_stamps(app, arguments);
    keep_apart(app);
    app.add_flag("--dump", arguments.dump, "all options as JSON")->group("");
    try {
        app.parse(argc, argv);
        if (arguments.dump) {
            std::fputs(cli::dump_options(app).c_str(), stdout);
            return 0;
        }
        if (arguments.init_folder.empty() == arguments.folder.empty()) {
            throw CLI::ValidationError("give either --init DIR or --dir DIR");
        }
    } catch (const CLI::Success& asked) {
        return app.exit(asked);
    } catch (const CLI::ParseError& error) {
        std::string text = error.what();
        std::ranges::replace(text, '\n', ' ');
        std::fprintf(stderr, "chronoseal-tsa: %s; see chronoseal-tsa --help\n", text.c_str());
        return kExitUsage;
    }
    try {
        return run(arguments);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "chronoseal-tsa: %s\n", error.what());
        return kExitUnreachable;
    }
}
