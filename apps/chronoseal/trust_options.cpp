#include "trust_options.h"

#include <fmt/format.h>

#include "basalt20/surface/chain.h"
#include "failure.h"
#include "sup/last_error.h"

namespace cli {

namespace {

StoreHandle open_memory_store() {
    StoreHandle store(CertOpenStore(CERT_STORE_PROV_MEMORY, 0, 0, 0, nullptr));
    if (!store) {
        throw failure_of_code("open a store", GetLastError());
    }
    return store;
}

// Copies all that a file holds: certificates, CRLs and OCSP answers, PEM or DER.
std::size_t copy_objects(HCERTSTORE from, HCERTSTORE to) {
    std::size_t count = 0;
    PCCERT_CONTEXT certificate = nullptr;
    while ((certificate = CertEnumCertificatesInStore(from, certificate)) != nullptr) {
        count += CertAddCertificateContextToStore(to, certificate, CERT_STORE_ADD_USE_EXISTING,
                                                  nullptr) != 0;
    }
    PCCRL_CONTEXT crl = nullptr;
    while ((crl = CertEnumCRLsInStore(from, crl)) != nullptr) {
        count += CertAddCRLContextToStore(to, crl, CERT_STORE_ADD_USE_EXISTING, nullptr) != 0;
    }
    PCBASALT_OCSP_CONTEXT answer = nullptr;
    while ((answer = BasaltEnumOcspResponsesInStore(from, answer)) != nullptr) {
        count += BasaltAddOcspResponseToStore(to, answer->pbEncoded, answer->cbEncoded) != 0;
    }
    return count;
}

void load_files(const std::vector<std::string>& paths, HCERTSTORE store) {
    for (const std::string& path : paths) {
        const StoreHandle file(CertOpenStore(CERT_STORE_PROV_FILENAME_A,
                                             X509_ASN_ENCODING | PKCS_7_ASN_ENCODING, 0,
                                             CERT_STORE_READONLY_FLAG, path.c_str()));
        if (!file || copy_objects(file.get(), store) == 0) {
            throw Failure(ExitStatus::unreachable,
                          fmt::format("can't read certificates or CRLs from {}", path),
                          "give a PEM or DER file", file ? 0 : GetLastError());
        }
    }
}

DWORD revocation_number(const std::string& name) {
    if (name == "require") {
        return BASALT_REVOCATION_REQUIRE;
    }
    return name == "available" ? BASALT_REVOCATION_AVAILABLE : BASALT_REVOCATION_OFF;
}

} // namespace

void add_trust_options(CLI::App& command, TrustOptions& options) {
    command
        .add_option("--certs", options.certs,
                    "certificates that may be needed (PEM or DER); none is trusted for it")
        ->type_name("FILE");
    command.add_option("--crls", options.crls, "CRLs or OCSP answers to use (PEM or DER)")
        ->type_name("FILE");
    command
        .add_option("--roots", options.roots, "trust these certificates, and none of the machine's")
        ->type_name("FILE");
    command
        .add_option(
            "--revocation", options.revocation,
            "require: a source that a certificate names must answer; available: what can be had "
            "counts; off: look at none (default: the machine's setting)")
        ->check(CLI::IsMember({"require", "available", "off"}));
}

Trust::Trust(const TrustOptions& options) : store_(open_memory_store()), extra_(store_.get()) {
    load_files(options.certs, store_.get());
    load_files(options.crls, store_.get());
    if (!options.roots.empty()) {
        const StoreHandle roots = open_memory_store();
        load_files(options.roots, roots.get());
        if (BasaltSetTrustAnchors(roots.get()) == 0) {
            throw failure_of_code("set the trusted roots", GetLastError());
        }
    }
    if (!options.revocation.empty()) {
        BasaltSetRevocationMode(revocation_number(options.revocation));
    }
}

} // namespace cli
