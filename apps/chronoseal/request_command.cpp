#include "request_command.h"

#include <fmt/format.h>

#include "byte_files.h"
#include "hash_names.h"
#include "stamp_report.h"

namespace cli {

namespace {

using Halcyon::PKI::TSP::Client::CRequest;

Bytes export_request(CRequest& request) {
    unsigned long size = 0;
    request.Export(nullptr, &size);
    Bytes bytes(size);
    request.Export(bytes.data(), &size);
    return bytes;
}

Bytes data_hash(const CRequest& request) {
    unsigned long size = 0;
    request.get_DataHash(nullptr, &size);
    Bytes bytes(size);
    request.get_DataHash(bytes.data(), &size);
    return bytes;
}

} // namespace

ExitStatus run_request(const MakeRequestOptions& options, const Output& output) {
    if (output.json() && options.out == "-") {
        throw Failure(ExitStatus::usage, "--json and the request can't both go to standard output",
                      "name a file by --out");
    }
    CRequest request;
    apply(options.request, request);
    add_file(options.file, request);
    const Bytes bytes = export_request(request);
    write_file(options.out, bytes.data(), bytes.size());

    const Bytes digest = data_hash(request);
    const std::string oid = request.get_DataHashAlgOID();
    if (options.out != "-") {
        output.text(fmt::format("{}: {} {} -> {}\n", options.file, hash_name(oid),
                                to_hex(digest.data(), digest.size()), options.out));
    }
    output.object(true, {{"file", options.file},
                         {"out", options.out},
                         {"imprint",
                          {{"algorithm", hash_name(oid)},
                           {"oid", oid},
                           {"digest", to_hex(digest.data(), digest.size())}}},
                         {"nonce", request.get_UseNonce()},
                         {"certReq", request.get_CertReq()},
                         {"policy", request.get_PolicyID()}});
    return ExitStatus::good;
}

} // namespace cli
