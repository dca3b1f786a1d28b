// Value classes from DER and back, each beside the same work by OpenSSL. A case is named
// <case>/<library>, and at the end stands how many times our time OpenSSL takes.
#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>

#include <benchmark/benchmark.h>
#include <openssl/ess.h>
#include <openssl/x509v3.h>

#include <chronoseal/asn1/extension.h>
#include <chronoseal/asn1/name.h>
#include <chronoseal/asn1/signing_certificate.h>

namespace {

using namespace Halcyon;
using namespace Halcyon::ASN1;

CBlob name_der() {
    return CName(L"C=RU,L=Moscow,O=Organization,OU=Unit,CN=Authority").encode();
}

CBlob signing_certificate_der() {
    CGeneralNames issuer(1);
    issuer.front().put_directoryName(name_der());
    const CIssuerSerial issuerSerial(issuer, CBigInteger(16));
    CESSCertIDv2List certs(1, CESSCertIDv2(CBlob(32ul)));
    certs.front().put_issuerSerial(&issuerSerial);
    return CAttrSigningCertificateV2(certs).get_value();
}

CBlob extensions_der() {
    static const unsigned char usage[] = {3, 2, 7, 0x80};
    static const unsigned char purpose[] = {0x30, 10, 6, 8, 0x2B, 6, 1, 5, 5, 7, 3, 8};
    CExtensions list;
    list.insert(CExtension(CExtValue("2.5.29.15", CBlob(usage, sizeof usage)), true));
    list.insert(CExtension(CExtValue("2.5.29.37", CBlob(purpose, sizeof purpose)), true));
    return list.encode();
}

template <class Value>
void ours(benchmark::State& state, const CBlob& der) {
    for (auto _ : state) {
        Value value;
        value.decode(der);
        benchmark::DoNotOptimize(value.encode().pbData());
    }
}

void our_attribute(benchmark::State& state, const CBlob& der) {
    for (auto _ : state) {
        CAttrSigningCertificateV2 value(der);
        value.encode();
        benchmark::DoNotOptimize(value.get_value().pbData());
    }
}

template <class T>
void theirs(benchmark::State& state, const CBlob& der, T* (*read)(T**, const unsigned char**, long),
            int (*write)(const T*, unsigned char**), void (*release)(T*)) {
    for (auto _ : state) {
        const unsigned char* input = der.pbData();
        T* const value = read(nullptr, &input, static_cast<long>(der.cbData()));
        unsigned char* output = nullptr;
        if (write(value, &output) <= 0) {
            std::abort();
        }
        benchmark::DoNotOptimize(output);
        OPENSSL_free(output);
        release(value);
    }
}

void free_extensions(X509_EXTENSIONS* list) {
    sk_X509_EXTENSION_pop_free(list, X509_EXTENSION_free);
}

class RatioReporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            const std::string name = run.benchmark_name();
            const std::size_t library = name.rfind('/');
            times_[name.substr(0, library)][name.substr(library + 1)] = run.GetAdjustedCPUTime();
        }
        ConsoleReporter::ReportRuns(runs);
    }

    void Finalize() override {
        for (const auto& [name, times] : times_) {
            if (times.size() == 2) {
                std::printf("%-24s OpenSSL takes %.2f times our time\n", name.c_str(),
                            times.at("openssl") / times.at("chronoseal"));
            }
        }
    }

private:
    std::map<std::string, std::map<std::string, double>> times_;
};

} // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    const CBlob name = name_der();
    const CBlob attribute = signing_certificate_der();
    const CBlob extensions = extensions_der();
    benchmark::RegisterBenchmark("name/chronoseal", ours<CName>, name);
    benchmark::RegisterBenchmark("name/openssl", theirs<X509_NAME>, name, d2i_X509_NAME,
                                 i2d_X509_NAME, X509_NAME_free);
    benchmark::RegisterBenchmark("signing_certificate/chronoseal", our_attribute, attribute);
    benchmark::RegisterBenchmark("signing_certificate/openssl", theirs<ESS_SIGNING_CERT_V2>,
                                 attribute, d2i_ESS_SIGNING_CERT_V2, i2d_ESS_SIGNING_CERT_V2,
                                 ESS_SIGNING_CERT_V2_free);
    benchmark::RegisterBenchmark("extensions/chronoseal", ours<CExtensions>, extensions);
    benchmark::RegisterBenchmark("extensions/openssl", theirs<X509_EXTENSIONS>, extensions,
                                 d2i_X509_EXTENSIONS, i2d_X509_EXTENSIONS, free_extensions);
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    return 0;
}
