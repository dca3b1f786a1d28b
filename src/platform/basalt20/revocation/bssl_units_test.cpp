// Lists and answers of BoringSSL's tests of CRLs and OCSP, each with the certificate it is about.
// The data isn't part of this repository; where it is absent the test is skipped. What differs from
// its expectation stands in a table with the reason.
#include <basalt/revocation/status_check.h>
#include <basalt/revocation/test_authority.h>
#include <basalt/store/certificate_reference.h>

#include <gtest/gtest.h>
#include <openssl/pem.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <sstream>

namespace basalt::test {
namespace {

namespace fs = std::filesystem;

constexpr std::time_t kTimeOfLists = 1'489'019'289;   // 9 March 2017
constexpr std::time_t kTimeOfAnswers = 1'488'412'800; // 2 March 2017

FileTicks ticks_of_unix(std::time_t time) {
    return static_cast<FileTicks>(time + kUnixEpochSeconds) * kTicksPerSecond;
}

// The blocks of a file by their labels.
std::map<std::string, std::string> blocks_of(const fs::path& file) {
    std::map<std::string, std::string> blocks;
    const OpensslOwner<BIO, BIO_free> bio(BIO_new_file(file.c_str(), "r"));
    char* name = nullptr;
    char* header = nullptr;
    unsigned char* data = nullptr;
    long size = 0;
    while (PEM_read_bio(bio.get(), &name, &header, &data, &size) == 1) {
        blocks[name].assign(reinterpret_cast<char*>(data), static_cast<std::size_t>(size));
        OPENSSL_free(name);
        OPENSSL_free(header);
        OPENSSL_free(data);
    }
    return blocks;
}

CertificateEntry entry_of(const std::string& der) {
    return x509_by_digest(sha256(bytes_of(der)), bytes_of(der));
}

// A certificate that can't be read has no standing.
char standing_of(const fs::path& file, bool is_list) try {
    const std::map<std::string, std::string> blocks = blocks_of(file);
    CertificatePath path{entry_of(blocks.at("CERTIFICATE")), entry_of(blocks.at("CA CERTIFICATE"))};
    if (const auto second = blocks.find("CA CERTIFICATE 2"); second != blocks.end()) {
        path.push_back(entry_of(second->second));
    }
    const StoreReference store(CertOpenStore(CERT_STORE_PROV_MEMORY, 0, 0, 0, nullptr));
    const std::string& object = blocks.at(is_list ? "CRL" : "OCSP RESPONSE");
    const auto* data = reinterpret_cast<const BYTE*>(object.data());
    const auto size = static_cast<DWORD>(object.size());
    if (is_list) {
        CertAddEncodedCRLToStore(store.get(), X509_ASN_ENCODING, data, size, CERT_STORE_ADD_ALWAYS,
                                 nullptr);
    } else {
        BasaltAddOcspResponseToStore(store.get(), data, size);
    }
    Budget budget;
    Retrieval retrieval(budget);
    FewPaths paths;
    std::for_each(path.begin() + 1, path.end(), [&](const auto& above) { paths.add(above); });
    StatusCheck check(budget, retrieval, paths, {}, {store.get()});
    StatusQuestion question;
    question.now = ticks_of_unix(is_list ? kTimeOfLists : kTimeOfAnswers);
    question.stamp_time = question.now;
    switch (check.judge(path, 0, question).standing) {
    case Standing::good:
        return 'G';
    case Standing::revoked:
        return 'R';
    case Standing::unknown:
        return 'U';
    }
    return '?';
} catch (const Fault&) {
    return 'U';
}

struct Difference {
    const char* file;
    char ours;
    const char* reason;
};

const Difference kDifferences[] = {
    {"bad_crldp_has_crlissuer.pem", 'G',
     "a list that none of the points names still counts if it is the issuer's own and for all"},
    {"bad_idp_indirectcrl.pem", 'G',
     "an indirect list of the certificate's own issuer speaks of its certificates, too"},
    {"bad_thisupdate_too_old.pem", 'G', "no age is too great while the next list isn't due"},
    {"good_response_invalid_serial.pem", 'U',
     "OpenSSL reads no answer in which a serial number has superfluous zeros"},
    {"good_no_nextupdate.pem", 'U', "a list that doesn't tell when the next comes lives a day"},
};

char expected_of(const std::string& text) {
    return text.find("GOOD") != std::string::npos      ? 'G'
           : text.find("REVOKED") != std::string::npos ? 'R'
                                                       : 'U';
}

TEST(BsslUnitsTest, ListsAndAnswersGiveWhatIsExpectedButForTheTable) {
    const fs::path root = fs::path(CHRONOSEAL_SHARED_DATA) / "pathval";
    std::ifstream manifest(root / "MANIFEST.tsv");
    if (!manifest) {
        GTEST_SKIP() << "no data in " << root;
    }
    int right = 0;
    int all = 0;
    std::string line;
    while (std::getline(manifest, line)) {
        std::vector<std::string> fields;
        std::istringstream parts(line);
        for (std::string field; std::getline(parts, field, '\t');) {
            fields.push_back(field);
        }
        if (fields.size() < 7 || (!fields[0].starts_with("bssl_crl_unittest/") &&
                                  !fields[0].starts_with("bssl_ocsp_unittest/"))) {
            continue;
        }
        const bool is_list = fields[0].starts_with("bssl_crl");
        const char wanted = expected_of(fields[6]);
        const char found = standing_of(root / fields[0], is_list);
        const std::string name = fs::path(fields[0]).filename();
        const auto* known =
            std::find_if(std::begin(kDifferences), std::end(kDifferences),
                         [&](const Difference& difference) { return name == difference.file; });
        ++all;
        right += wanted == found ? 1 : 0;
        if (known != std::end(kDifferences)) {
            EXPECT_EQ(found, known->ours) << name;
            EXPECT_NE(found, wanted) << name << " needn't stand in the table";
        } else {
            EXPECT_EQ(found, wanted) << name;
        }
    }
    std::printf("[   COUNT  ] %d of %d as expected\n", right, all);
    EXPECT_GE(right * 102, 88 * all);
}

std::string content_of(const fs::path& file) {
    std::ifstream in(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

// What authorities of time-stamps publish today.
TEST(RealEvidenceTest, ListsAndAnswersOfAuthoritiesCanBeRead) {
    const fs::path root = fs::path(CHRONOSEAL_SHARED_DATA) / "pathval";
    if (!fs::exists(root / "tsa_crl")) {
        GTEST_SKIP() << "no data in " << root;
    }
    for (const auto& file : fs::directory_iterator(root / "tsa_crl")) {
        EXPECT_NE(read_crl(bytes_of(content_of(file))), nullptr) << file;
    }
    for (const auto& file : fs::directory_iterator(root / "tsa_ocsp")) {
        EXPECT_NE(read_ocsp(bytes_of(content_of(file))), nullptr) << file;
    }
}

} // namespace
} // namespace basalt::test
