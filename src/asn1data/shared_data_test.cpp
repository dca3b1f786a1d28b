// Real certificates, lists, answers, requests and messages that no one here made. What OpenSSL
// reads decodes here, or stands below with the reason why it doesn't; and what is in DER comes back
// byte for byte, or stands below as well.
#include <algorithm>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include <chronoseal/asn1data/test_value.h>

using namespace test_coding;

namespace {

struct Entry {
    std::string file;
    std::string kind;
    std::string encoding;
    std::string openssl;
    std::string expected;
};

std::vector<Entry> manifest() {
    std::ifstream table(std::string(CHRONOSEAL_SHARED_DATA) + "/codec/MANIFEST.tsv");
    std::vector<Entry> entries;
    for (std::string line; std::getline(table, line);) {
        std::vector<std::string> columns;
        std::istringstream fields(line);
        for (std::string field; std::getline(fields, field, '\t');) {
            columns.push_back(field);
        }
        if (columns.size() > 8 && columns[0] != "file") {
            entries.push_back({columns[0], columns[3], columns[5], columns[7], columns[8]});
        }
    }
    return entries;
}

std::vector<std::string> types_of(const std::string& kind) {
    static const std::map<std::string, std::vector<std::string>> types = {
        {"cert", {"Certificate"}},
        {"crl", {"CertificateListLegacy", "CertificateList"}},
        {"ocsp_req", {"OCSPRequest"}},
        {"ocsp_resp", {"OCSPResponse"}},
        {"p10", {"CertificationRequest"}},
        {"cms", {"ContentInfo", "ContentInfoLegacy"}},
        {"authenticode", {"ContentInfo", "ContentInfoLegacy"}},
    };
    const auto found = types.find(kind);
    return found == types.end() ? std::vector<std::string>{} : found->second;
}

const char* const kOtherType = "a registered value is of another type than its standard says";
const char* const kTextWithZero = "a text with a zero byte ends there";
const char* const kWrittenDefault = "a written default is left out";
const char* const kMalformed = "malformed on purpose";
const char* const kBehindTheEnd = "bytes behind the end are dropped";

// By the last part of the file's name.
const std::map<std::string, const char*> kReasons = {
    {"b114566d.cer", kOtherType}, // country and mail address in UTF8String
    {"eaa0e1b0.cer", kOtherType}, // the same
    {"672503cc.cer", kOtherType}, // the same
    {"7a12ebd8.cer", kOtherType}, // the same
    {"cff6c82f.cer", kOtherType}, // dnQualifier in UTF8String
    {"ff5512f5.cer", kOtherType}, // the same
    {"567ebef7.cer", kOtherType},
    {"28a0f3a6.cer", kOtherType},
    {"4884b7bd.cer", kOtherType},
    {"d128344a.p7", kOtherType}, // key wrap parameters behind a key's identifier
    {"f897d64f.p7", kOtherType}, // the same
    {"a7a9b771.p7", kOtherType}, // a damaged signing certificate attribute
    {"38d64d11.cer", kTextWithZero},
    {"af23a9fc.cer", kTextWithZero},
    {"5cc03239.cer", kTextWithZero},
    {"80903e39.ors", kWrittenDefault},
    {"c6f0abc2.ors", kWrittenDefault},
    {"cf62e7d0.p7", kBehindTheEnd},
    {"586bdd58.p7", kBehindTheEnd},
};

const char* reason_of(const Entry& entry) {
    const auto found = kReasons.find(entry.file.substr(entry.file.rfind('_') + 1));
    if (found != kReasons.end()) {
        return found->second;
    }
    return entry.expected.find("malformed") != std::string::npos ? kMalformed : nullptr;
}

bool same_but_sorted(Bytes one, Bytes other) {
    std::sort(one.begin(), one.end());
    std::sort(other.begin(), other.end());
    return one == other;
}

TEST(SharedData, WhatOpensslReadsDecodesAndDerComesBack) {
    const std::vector<Entry> entries = manifest();
    if (entries.empty()) {
        GTEST_SKIP() << "the folder of real data is not beside this checkout";
    }
    std::map<std::string, std::size_t> counts;
    for (const Entry& entry : entries) {
        if (entry.openssl != "ok") {
            continue;
        }
        const std::string path = std::string(CHRONOSEAL_SHARED_DATA) + "/codec/" + entry.file;
        for (const std::string& type : types_of(entry.kind)) {
            const Bytes bytes = read_file(path);
            const char* reason = reason_of(entry);
            Value value(*find_type(type));
            const int status = value.decode(bytes);
            ++counts[status == 0 ? "decoded" : "refused with a reason"];
            EXPECT_TRUE(status == 0 || reason != nullptr)
                << entry.file << " as " << type << ": " << status;
            if (status != 0) {
                continue;
            }
            const Bytes again = value.encode().bytes;
            const bool same = again == bytes;
            // Other software often leaves sets unsorted; then nothing but the order changes.
            const bool told = same || reason != nullptr || entry.encoding != "DER-lengths" ||
                              same_but_sorted(again, bytes);
            EXPECT_TRUE(told) << entry.file << " as " << type << " came back changed";
            ++counts[same ? "unchanged" : "in another form with a reason"];
        }
    }
    for (const auto& [what, count] : counts) {
        std::printf("%4zu %s\n", count, what.c_str());
    }
    EXPECT_GT(counts["unchanged"], 300U);
}

} // namespace
