// DER that OpenSSL made decodes and comes back byte for byte; copies do as well; and damage is
// refused, never followed.
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include <chronoseal/asn1data/pkix_cmp.h>
#include <chronoseal/asn1data/test_value.h>

using namespace test_coding;

namespace {

struct OracleFile {
    std::string file;
    std::string type;
};

std::vector<OracleFile> oracle_files() {
    std::ifstream table(std::string(CHRONOSEAL_TESTDATA) + "/oracles.tsv");
    std::vector<OracleFile> files;
    for (OracleFile one; table >> one.file >> one.type;) {
        files.push_back(one);
    }
    return files;
}

// The same elements in another form of length: every constructed one indefinite, or every one
// definite again.
class Rewriter {
public:
    explicit Rewriter(const Bytes& bytes) : bytes_(bytes) {}

    Bytes indefinite() { return elements(bytes_.size(), true); }
    Bytes definite() { return elements(bytes_.size(), false); }

private:
    static constexpr std::size_t kOpenEnd = static_cast<std::size_t>(-1);

    Bytes elements(std::size_t end, bool indefinite) {
        Bytes result;
        while (end == kOpenEnd ? bytes_.at(at_) != 0 || bytes_.at(at_ + 1) != 0 : at_ < end) {
            result = result + element(indefinite);
        }
        if (end == kOpenEnd) {
            at_ += 2;
        }
        return result;
    }

    Bytes element(bool indefinite) {
        const unsigned char tag = bytes_.at(at_++);
        const std::size_t end = content_end();
        if ((tag & 0x20) == 0) {
            const Bytes value(bytes_.begin() + static_cast<std::ptrdiff_t>(at_),
                              bytes_.begin() + static_cast<std::ptrdiff_t>(end));
            at_ = end;
            return tlv(tag, value);
        }
        const Bytes contents = elements(end, indefinite);
        return indefinite ? Bytes{tag, 0x80} + contents + Bytes{0, 0} : tlv(tag, contents);
    }

    std::size_t content_end() {
        std::size_t length = bytes_.at(at_++);
        if (length == 0x80) {
            return kOpenEnd;
        }
        if (length > 0x80) {
            std::size_t count = length & 0x7F;
            for (length = 0; count > 0; --count) {
                length = length << 8 | bytes_.at(at_++);
            }
        }
        return at_ + length;
    }

    const Bytes& bytes_;
    std::size_t at_ = 0;
};

class OracleFiles : public testing::TestWithParam<OracleFile> {};

TEST_P(OracleFiles, ComesBackUnchanged) {
    const Bytes bytes = test_file(GetParam().file);
    EXPECT_EQ(recode(GetParam().type, bytes), to_hex(bytes));
}

TEST_P(OracleFiles, ACopyInAnotherContextEncodesTheSame) {
    const Bytes bytes = test_file(GetParam().file);
    const asn1data::TypeEntry& type = *find_type(GetParam().type);
    Value copy(type);
    {
        Value original(type);
        ASSERT_EQ(original.decode(bytes), 0);
        type.copy(copy.context(), original.record(), copy.record());
    }
    EXPECT_EQ(copy.encode().hex(), to_hex(bytes));
}

// What is kept raw comes back in the form that it came in, everything else in the definite one.
TEST_P(OracleFiles, IndefiniteLengthsAreReadTheSame) {
    const Bytes bytes = test_file(GetParam().file);
    const Bytes loose = Rewriter(bytes).indefinite();
    ASSERT_EQ(Rewriter(loose).definite(), bytes);
    Value value(*find_type(GetParam().type));
    ASSERT_EQ(value.decode(loose), 0);
    const Encoded encoded = value.encode();
    ASSERT_GE(encoded.status, 0);
    EXPECT_EQ(to_hex(Rewriter(encoded.bytes).definite()), to_hex(bytes));
}

// Every prefix whose outer length is put right, so that the damage is met inside.
TEST_P(OracleFiles, TruncatedContentsStayInBounds) {
    const Bytes bytes = test_file(GetParam().file);
    const std::size_t header = bytes[1] < 0x80 ? 2 : 2 + (bytes[1] & 0x7F);
    const std::size_t step = bytes.size() / 150 + 1;
    for (std::size_t size = header; size < bytes.size(); size += step) {
        const Bytes contents(bytes.begin() + static_cast<std::ptrdiff_t>(header),
                             bytes.begin() + static_cast<std::ptrdiff_t>(size));
        const Bytes damaged = tlv(bytes[0], contents);
        Value value(*find_type(GetParam().type));
        if (value.decode(damaged) == 0) {
            EXPECT_GE(value.encode().status, 0) << size;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Openssl, OracleFiles, testing::ValuesIn(oracle_files()),
                         [](const auto& info) {
                             return info.param.file.substr(0, info.param.file.find('.'));
                         });

TEST(OracleFiles, AllOfThemAreThere) {
    EXPECT_GE(oracle_files().size(), 50U);
}

// The certificate request inside of a management message is one of the same bytes by itself.
TEST(OracleFiles, CertificateRequestMessagesAreCutOutUnchanged) {
    const Bytes message = test_file("cmp_ir.der");
    Decoded<asn1data::ASN1T_PKIMessage> decoded(asn1data::asn1D_PKIMessage, message);
    ASSERT_EQ(decoded.status, 0);
    ASSERT_EQ(decoded.value.body.t, 1U);
    const std::string part =
        encode(asn1data::asn1E_CertReqMessages, *decoded.value.body.u.ir).hex();
    EXPECT_GT(part.size(), 200U);
    EXPECT_NE(to_hex(message).find(part), std::string::npos);
    EXPECT_EQ(recode("CertReqMessages", from_hex(part)), part);
}

} // namespace
