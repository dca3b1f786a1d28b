// --hash, --policy, --no-nonce, --cert; --url and how an authority is reached.
#include "request_options.h"

#include <memory>

#include "progress.h"
#include "trust_options.h"

namespace cli {

void add_request_options(CLI::App& command, RequestOptions& options) {
    const OptionGroup group(command, "Request options");
    add_value(command, "--hash", options.hash, "hash algorithm (default: the policy's, or SHA-256)",
              "NAME|OID");
    add_value(command, "--policy", options.policy,
              "ask for a stamp under this policy (default: the machine's, or the authority's)",
              "OID");
    command.add_flag("--no-nonce", options.no_nonce, "send no nonce");
    command.add_flag("--cert", options.cert, "ask for the authority's certificate in the token");
}

void add_authority_options(CLI::App& command, AuthorityOptions& options) {
    const OptionGroup group(command, "Authority options");
    options.quiet = command.get_parent()->get_option("--quiet");
    add_repeated(command, "--url", options.urls,
                 "address of an authority; of several the next is asked when one fails", "URL");
    add_value(command, "--proxy", options.proxy, "proxy, or \"none\" (default: the policy's)",
              "URL");
    add_value(command, "--proxy-user-file", options.proxy_login_file,
              "login for the proxy: USER:PASSWORD in a file that only you can read", "FILE");
    add_value(command, "--cacert", options.ca_file, "roots for TLS, in place of the system's",
              "FILE");
    add_value(command, "--user-file", options.login_file,
              "login for the authority: USER:PASSWORD in a file that only you can read", "FILE");
    add_value(command, "--netrc", options.netrc, "login by the address's host, from a netrc file",
              "FILE")
        ->excludes("--user-file");
    add_value(command, "--client-cert", options.client_certificate,
              "certificate to show to the authority, PEM", "FILE");
    add_value(command, "--client-key", options.client_key,
              "its key, PEM (default: in the certificate's file)", "FILE")
        ->needs("--client-cert");
    command.add_option("--timeout", options.timeout_seconds, "limit of one exchange, 1 to 3600")
        ->type_name("SECONDS")
        ->check(CLI::Range(1U, 3600U).description(""));
    command
        .add_option("--attempts", options.attempts,
                    "how often one authority is asked, 1 to 10 (default: 3)")
        ->type_name("N")
        ->check(CLI::Range(1U, 10U).description(""));
}

void add_quorum_option(CLI::App& command, AuthorityOptions& options) {
    command
        .add_option("--quorum", options.quorum,
                    "stamps by so many different authorities, 1 to 16, or none")
        ->type_name("N")
        ->check(CLI::Range(1U, 16U).description(""));
}

std::vector<std::string> files_of(const AuthorityOptions& options, std::vector<std::string> files) {
    files.insert(files.end(), {options.ca_file, options.login_file, options.proxy_login_file,
                               options.netrc, options.client_certificate, options.client_key});
    return files;
}

void apply(const RequestOptions& options, chronoseal::SealerOptions& sealer) {
    sealer.hash = options.hash;
    sealer.policy = options.policy;
    if (options.no_nonce) {
        sealer.nonce = false;
    }
    if (options.cert) {
        sealer.certificates = true;
    }
}

void apply(const AuthorityOptions& options, chronoseal::SealerOptions& sealer) {
    const bool own = !options.urls.empty();
    if (own) {
        for (const std::string& url : options.urls) {
            sealer.authorities.push_back({.url = url});
        }
    } else {
        sealer.authorities = chronoseal::configured_authorities();
    }
    for (chronoseal::Authority& authority : sealer.authorities) {
        if (!options.proxy.empty()) {
            authority.proxy = options.proxy == "none" ? "" : options.proxy;
        }
        if (!options.ca_file.empty()) {
            authority.ca_file = options.ca_file;
        }
        if (!options.login_file.empty()) {
            authority.login_file = options.login_file;
        }
        if (!options.proxy_login_file.empty()) {
            authority.proxy_login_file = options.proxy_login_file;
        }
        if (!options.netrc.empty()) {
            authority.netrc = options.netrc;
        }
        if (!options.client_certificate.empty()) {
            authority.client_certificate = options.client_certificate;
            authority.client_key = options.client_key;
        }
        if (options.timeout_seconds != 0) {
            authority.timeout = std::chrono::seconds(options.timeout_seconds);
        }
    }
    if (options.quiet == nullptr || options.quiet->count() == 0) {
        sealer.on_wait = [note = std::make_shared<WaitNote>()](const std::string& authority,
                                                               std::chrono::milliseconds wait) {
            note->tell(authority, wait);
        };
    }
    sealer.quorum = options.quorum;
    sealer.attempts = options.attempts;
}

} // namespace cli
