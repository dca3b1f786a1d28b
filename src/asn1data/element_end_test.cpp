// Elements that end elsewhere than their lengths say. Another parser of the same bytes would see
// another value, so none of them decodes.
#include <string>

#include <gtest/gtest.h>

#include <chronoseal/asn1data/test_value.h>

namespace {

using test_coding::Bytes;

const std::string kInteger = "020101";
const std::string kAlgorithm = "3003 06012A";
const std::string kName = "300D 310B 3009 0603550403 0C026162";
const std::string kTime = "170D 3234303130313030303030305A";

std::string element(const std::string& tag, const std::string& contents) {
    const std::size_t size = test_coding::from_hex(contents).size();
    char header[16];
    std::snprintf(header, sizeof header, size < 128 ? "%02zX" : "81%02zX", size);
    return tag + header + contents;
}

// A tbsCertificate whose version, issuer and extensions are these bytes.
std::string certificate(const std::string& version, const std::string& issuer = kName,
                        const std::string& extensions = "") {
    const std::string key = element("30", kAlgorithm + "030200FF");
    return element("30", version + kInteger + kAlgorithm + issuer + element("30", kTime + kTime) +
                             kName + key + extensions);
}

TEST(ElementEndTest, LengthsHoldAgainstTheirContents) {
    const std::string extension = "3009 06012A 0404 01020304";
    struct Row {
        const char* name;
        const char* type;
        std::string bytes;
        int status;
    };
    for (const Row& row : {
             Row{"good", "TBSCertificate",
                 certificate("A003 020102", kName, element("A3", element("30", extension))), 0},
             Row{"good, indefinite", "TBSCertificate",
                 certificate("A080 020102 0000",
                             "3080 3180 3080 0603550403 0C026162 0000 0000 0000",
                             "A380 3080" + extension + "0000 0000"),
                 0},
             Row{"[0] shorter than its INTEGER", "TBSCertificate", certificate("A001 020102"), -5},
             Row{"[0] around the serial number, too", "TBSCertificate", certificate("A006 020102"),
                 -5},
             Row{"[0] around nothing", "TBSCertificate", certificate("A000 020102"), -5},
             Row{"issuer longer than its SEQUENCE", "TBSCertificate",
                 certificate("A003 020102", "3002 310B 3009 0603550403 0C026162"), -5},
             Row{"SET shorter than its element", "TBSCertificate",
                 certificate("A003 020102", "300D 3102 3009 0603550403 0C026162"), -5},
             Row{"[3] of no length in front of the extensions", "TBSCertificate",
                 certificate("A003 020102", kName, "A300" + element("30", extension)), -5},
             Row{"one name, not two", "GeneralNames", "300A A408 3000 8204 6576696C", -5},
             Row{"a directory name alone", "GeneralNames", "3004 A402 3000", 0},
             Row{"good with contents", "CertStatus", "8002 0500", -5},
             Row{"good", "CertStatus", "8000", 0},
         }) {
        SCOPED_TRACE(row.name);
        const Bytes bytes = test_coding::from_hex(row.bytes);
        test_coding::Value value(*test_coding::find_type(row.type));
        EXPECT_EQ(value.decode(bytes), row.status);
        EXPECT_EQ(value.context()->errInfo.status, row.status);
    }
}

} // namespace
