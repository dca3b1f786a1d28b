#include "request_options.h"

#include <fmt/format.h>

#include "byte_files.h"
#include "failure.h"
#include "hash_names.h"
#include "sup/configuration.h"

namespace cli {

namespace {

using Halcyon::PKI::TSP::Client::CRequest;

bool policy_names_a_hash() {
    std::size_t size = 0;
    return support_registry_get_string("\\config\\cades\\tsppolicy\\DefaultHashAlg", &size,
                                       nullptr) == 0 &&
           size != 0;
}

void apply_hash(const std::string& name, CRequest& request) {
    if (name.empty() && policy_names_a_hash()) {
        return;
    }
    const std::optional<std::string> oid = hash_oid(name.empty() ? "SHA-256" : name);
    if (!oid) {
        throw Failure(ExitStatus::usage, fmt::format("the hash \"{}\" isn't known", name),
                      "choose one of " + known_hash_names() + ", or give an OID");
    }
    request.put_DataHashAlg(oid->c_str());
    if (request.get_DataHashAlg() == 0) {
        throw failure_of_code(fmt::format("hash with {}", name), 0x80090008);
    }
}

} // namespace

void add_request_options(CLI::App& command, RequestOptions& options) {
    command
        .add_option("--hash", options.hash,
                    "hash algorithm by name or OID (default: the policy's, or SHA-256)")
        ->type_name("NAME|OID");
    command
        .add_option(
            "--policy", options.policy,
            "ask for a stamp under this policy (default: the machine's, or the authority's)")
        ->type_name("OID");
    command.add_flag("--no-nonce", options.no_nonce, "send no nonce");
    command.add_flag("--cert", options.cert, "ask for the authority's certificate in the token");
}

void apply(const RequestOptions& options, CRequest& request) {
    apply_hash(options.hash, request);
    if (!options.policy.empty()) {
        request.put_PolicyID(options.policy.c_str());
    }
    if (options.no_nonce) {
        request.put_UseNonce(false);
    }
    if (options.cert) {
        request.put_CertReq(true);
    }
}

void add_file(const std::string& path, CRequest& request) {
    // An empty file has a hash as well, which the first portion starts.
    const unsigned char nothing = 0;
    request.AddData(&nothing, 0);
    stream_file(path, true, [&request](const unsigned char* data, std::size_t size) {
        request.AddData(data, size);
    });
}

} // namespace cli
