// Decode and re-encode of certificates, lists and signed messages, each beside OpenSSL and libtasn1
// in the same run. At the end the ratios are printed, and how much memory a decoded value of ours
// holds.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <malloc.h>
#include <openssl/cms.h>
#include <openssl/x509.h>

#include "samples.h"
#include "tasn1_codec.h"
#include <chronoseal/asn1data/cryptographic_message_syntax.h>
#include <chronoseal/asn1data/pkix1_explicit.h>
#include <chronoseal/asn1rt/runtime.h>

namespace {

using samples::Bytes;

void require(bool good, const char* what) {
    if (!good) {
        std::fprintf(stderr, "bench: %s failed\n", what);
        std::abort();
    }
}

template <class Record, class Control>
void ours(benchmark::State& state, const Bytes& bytes) {
    for (auto _ : state) {
        ASN1BERDecodeBuffer source(bytes.data(), static_cast<int>(bytes.size()));
        Record record{};
        Control control(source, record);
        require(control.Decode() == 0, "decode");
        ASN1BEREncodeBuffer target;
        require(control.EncodeTo(target) == static_cast<int>(bytes.size()), "encode");
        benchmark::DoNotOptimize(target.getMsgPtr());
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(bytes.size()));
}

template <class T>
void openssl(benchmark::State& state, const Bytes& bytes,
             T* (*read)(T**, const unsigned char**, long), int (*write)(const T*, unsigned char**),
             void (*release)(T*)) {
    for (auto _ : state) {
        const unsigned char* at = bytes.data();
        T* object = read(nullptr, &at, static_cast<long>(bytes.size()));
        require(object != nullptr, "d2i");
        unsigned char* out = nullptr;
        require(write(object, &out) > 0, "i2d");
        OPENSSL_free(out);
        release(object);
    }
}

void tasn1(benchmark::State& state, const Bytes& bytes, const char* type) {
    Bytes scratch;
    for (auto _ : state)
        require(tasn1_codec::recode(type, bytes, scratch) > 0, type);
}

/// The bytes of heap that a decoded value of ours holds, context and buffer included.
template <class Record, class Control>
std::size_t held(const Bytes& bytes) {
    const std::size_t before = mallinfo2().uordblks + mallinfo2().hblkhd;
    ASN1BERDecodeBuffer source(bytes.data(), static_cast<int>(bytes.size()));
    Record record{};
    Control control(source, record);
    require(control.Decode() == 0, "decode");
    return mallinfo2().uordblks + mallinfo2().hblkhd - before;
}

/// Prints as usual and keeps the least time of each case.
class Collector : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override {
        ConsoleReporter::ReportRuns(runs);
        for (const Run& run : runs) {
            const std::string name = run.run_name.function_name;
            const double time = run.GetAdjustedCPUTime();
            const auto [slot, fresh] = times_.emplace(name, time);
            slot->second = fresh ? time : std::min(slot->second, time);
        }
    }

    void print_ratios(const std::vector<std::string>& rows) const {
        std::printf("\n%-24s %14s %14s\n", "times ours", "openssl", "libtasn1");
        for (const std::string& row : rows)
            std::printf("%-24s %14.2f %14.2f\n", row.c_str(), ratio(row, "openssl"),
                        ratio(row, "libtasn1"));
    }

private:
    double ratio(const std::string& row, const char* other) const {
        const auto mine = times_.find(row + "/ours");
        const auto theirs = times_.find(row + "/" + other);
        return mine == times_.end() || theirs == times_.end() ? 0 : theirs->second / mine->second;
    }

    std::map<std::string, double> times_;
};

void register_list(const std::string& name, const Bytes& bytes) {
    using namespace asn1data;
    benchmark::RegisterBenchmark((name + "/ours").c_str(), [bytes](benchmark::State& state) {
        ours<ASN1T_CertificateListLegacy, ASN1C_CertificateListLegacy>(state, bytes);
    });
    benchmark::RegisterBenchmark((name + "/openssl").c_str(), [bytes](benchmark::State& state) {
        openssl<X509_CRL>(state, bytes, d2i_X509_CRL, i2d_X509_CRL, X509_CRL_free);
    });
    benchmark::RegisterBenchmark((name + "/libtasn1").c_str(), [bytes](benchmark::State& state) {
        tasn1(state, bytes, "PKIX.CertificateList");
    });
}

void register_certificate(const Bytes& bytes) {
    using namespace asn1data;
    benchmark::RegisterBenchmark("certificate/ours", [&bytes](benchmark::State& state) {
        ours<ASN1T_Certificate, ASN1C_Certificate>(state, bytes);
    });
    benchmark::RegisterBenchmark("certificate/openssl", [&bytes](benchmark::State& state) {
        openssl<X509>(state, bytes, d2i_X509, i2d_X509, X509_free);
    });
    benchmark::RegisterBenchmark("certificate/libtasn1", [&bytes](benchmark::State& state) {
        tasn1(state, bytes, "PKIX.Certificate");
    });
}

void register_message(const Bytes& bytes) {
    using namespace asn1data;
    benchmark::RegisterBenchmark("signed_message/ours", [&bytes](benchmark::State& state) {
        ours<ASN1T_ContentInfo, ASN1C_ContentInfo>(state, bytes);
    });
    benchmark::RegisterBenchmark("signed_message_legacy/ours", [&bytes](benchmark::State& state) {
        ours<ASN1T_ContentInfoLegacy, ASN1C_ContentInfoLegacy>(state, bytes);
    });
    benchmark::RegisterBenchmark("signed_message/openssl", [&bytes](benchmark::State& state) {
        openssl<CMS_ContentInfo>(state, bytes, d2i_CMS_ContentInfo, i2d_CMS_ContentInfo,
                                 CMS_ContentInfo_free);
    });
    benchmark::RegisterBenchmark("signed_message/libtasn1", [&bytes](benchmark::State& state) {
        tasn1(state, bytes, "PKIX.SignedMessage");
    });
}

template <class Record, class Control>
void print_held(const char* name, const Bytes& bytes) {
    const std::size_t memory = held<Record, Control>(bytes);
    std::printf("%-24s %10zu bytes, held decoded %12zu (%.1f times)\n", name, bytes.size(), memory,
                static_cast<double>(memory) / static_cast<double>(bytes.size()));
}

} // namespace

int main(int argc, char** argv) {
    using namespace asn1data;
    benchmark::Initialize(&argc, argv);
    const Bytes list_100 = samples::certificate_list(100);
    const Bytes list_10000 = samples::certificate_list(10000);
    register_certificate(samples::certificate());
    register_list("list_100", list_100);
    register_list("list_10000", list_10000);
    register_message(samples::signed_message());

    Collector collector;
    benchmark::RunSpecifiedBenchmarks(&collector);
    collector.print_ratios({"certificate", "list_100", "list_10000", "signed_message"});
    std::printf("\n");
    print_held<ASN1T_Certificate, ASN1C_Certificate>("certificate", samples::certificate());
    print_held<ASN1T_CertificateListLegacy, ASN1C_CertificateListLegacy>("list_100", list_100);
    print_held<ASN1T_CertificateListLegacy, ASN1C_CertificateListLegacy>("list_10000", list_10000);
    print_held<ASN1T_ContentInfo, ASN1C_ContentInfo>("signed_message", samples::signed_message());
    return 0;
}
