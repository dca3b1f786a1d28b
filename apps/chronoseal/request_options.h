// What is asked for and of whom, as options: shared by `stamp`, `send`, `request` and `doctor`.
#pragma once

#include <string>
#include <vector>

#include <CLI/App.hpp>

#include <chronoseal/chronoseal.hpp>

namespace cli {

struct RequestOptions {
    std::string hash;
    std::string policy;
    bool no_nonce = false;
    bool cert = false;
};

struct AuthorityOptions {
    std::vector<std::string> urls;
    std::string proxy;
    std::string ca_file;
    std::string login_file;
    std::string proxy_login_file;
    std::string netrc;
    std::string client_certificate;
    std::string client_key;
    unsigned timeout_seconds = 0;
    unsigned quorum = 1;
    unsigned attempts = 3;
    const CLI::Option* quiet = nullptr; // of the whole command: waits aren't told
};

void add_request_options(CLI::App& command, RequestOptions& options);
void add_authority_options(CLI::App& command, AuthorityOptions& options);
void add_quorum_option(CLI::App& command, AuthorityOptions& options);

// The files that are read for it, and `others`: no result is written over one of them.
std::vector<std::string> files_of(const AuthorityOptions& options,
                                  std::vector<std::string> others = {});

void apply(const RequestOptions& options, chronoseal::SealerOptions& sealer);
void apply(const AuthorityOptions& options, chronoseal::SealerOptions& sealer);

} // namespace cli
