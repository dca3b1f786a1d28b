#include <chronoseal/client/signing_certificate_attributes.h>

#include <vector>

#include <chronoseal/asn1/certificate_identification.h>
#include <chronoseal/asn1/signing_certificate.h>
#include <chronoseal/client/signed_attributes.h>
#include <chronoseal/client/testing/suite.h>

namespace Halcyon::PKI {
namespace {

using namespace TSP::Client::testing;

using ASN1::CAlgorithmIdentifier;
using ASN1::CAttrValue;

constexpr char kSha1Oid[] = "1.3.14.3.2.26";
constexpr char kSha256Oid[] = "2.16.840.1.101.3.4.2.1";

// Attributes in the platform's record, each with the values given.
class AttributeList {
public:
    void add(const CAttrValue& value) { add(value.get_oid(), {value.get_value()}); }
    void add(const std::string& oid, const std::vector<CBlob>& values) {
        oids_.push_back(std::make_unique<std::string>(oid));
        values_.push_back(std::make_unique<std::vector<CBlob>>(values));
        auto& blobs = *blobs_.emplace_back(std::make_unique<std::vector<CRYPT_ATTR_BLOB>>());
        for (const auto& value : *values_.back()) {
            blobs.push_back({static_cast<DWORD>(value.cbData()), value.pbData()});
        }
        records_.push_back({oids_.back()->data(), static_cast<DWORD>(blobs.size()), blobs.data()});
        list_ = {static_cast<DWORD>(records_.size()), records_.data()};
    }
    const CRYPT_ATTRIBUTES* get() const { return &list_; }

private:
    std::vector<std::unique_ptr<std::string>> oids_;
    std::vector<std::unique_ptr<std::vector<CBlob>>> values_;
    std::vector<std::unique_ptr<std::vector<CRYPT_ATTR_BLOB>>> blobs_;
    std::vector<CRYPT_ATTRIBUTE> records_;
    CRYPT_ATTRIBUTES list_{};
};

class SigningCertificateAttributes : public testing::Test {
protected:
    static CBlob blob_of(const std::string& der) { return CBlob(bytes(der), der.size()); }
    static CBlob hash_of(const CBlob& certificate, const char* algorithm) {
        return ASN1::CalculateCertificateHash(
            certificate.pbData(), static_cast<unsigned>(certificate.cbData()), algorithm);
    }

    static ASN1::CAttrSigningCertificate v1(const CBlob& certificate) {
        ASN1::CESSCertIDList certificates;
        certificates.push_back(ASN1::CESSCertID(hash_of(certificate, kSha1Oid)));
        return ASN1::CAttrSigningCertificate(certificates);
    }
    static ASN1::CAttrOtherSigningCertificate other(const CBlob& certificate) {
        ASN1::COtherCertIDList certificates;
        certificates.push_back(
            ASN1::COtherCertID(hash_of(certificate, kSha256Oid), CAlgorithmIdentifier(kSha256Oid)));
        return ASN1::CAttrOtherSigningCertificate(certificates);
    }
    static ASN1::CAttrSigningCertificateV2 v2(const CBlob& certificate) {
        ASN1::CESSCertIDv2List certificates;
        certificates.push_back(ASN1::CESSCertIDv2(hash_of(certificate, kSha256Oid)));
        return ASN1::CAttrSigningCertificateV2(certificates);
    }

    // One attribute of each kind for which there is a certificate.
    static AttributeList naming(const CBlob* first, const CBlob* any, const CBlob* second) {
        AttributeList list;
        if (first) {
            list.add(v1(*first));
        }
        if (any) {
            list.add(other(*any));
        }
        if (second) {
            list.add(v2(*second));
        }
        return list;
    }
    bool check(const AttributeList& list, bool timestamp, bool required = true) {
        return CheckSignerCertIdEx(list.get(), mine_, required, timestamp);
    }

    Authority authority_;
    CBlob mine_ = blob_of(authority_.signer_der());
    CBlob foreign_ = blob_of(authority_.root_der());
};

TEST_F(SigningCertificateAttributes, StandTogetherByOneTable) {
    struct Case {
        bool v1, other, v2;
        bool plain, timestamp;
    };
    for (const auto& test :
         {Case{true, false, false, true, true}, Case{false, true, false, true, false},
          Case{false, false, true, true, true}, Case{true, true, false, false, false},
          Case{true, false, true, false, true}, Case{false, true, true, true, true},
          Case{true, true, true, false, false}}) {
        const auto list = naming(test.v1 ? &mine_ : nullptr, test.other ? &mine_ : nullptr,
                                 test.v2 ? &mine_ : nullptr);
        for (const bool timestamp : {false, true}) {
            const bool accepted = timestamp ? test.timestamp : test.plain;
            EXPECT_EQ(check(list, timestamp), accepted);
            EXPECT_CODE(accepted ? 0u : 0x8007000Bu, GetSignerCertIdEx(list.get(), timestamp))
                << test.v1 << test.other << test.v2 << timestamp;
        }
    }
}

TEST_F(SigningCertificateAttributes, NoneIsLeftToTheCaller) {
    const AttributeList none;
    EXPECT_FALSE(check(none, true, true));
    EXPECT_TRUE(check(none, true, false));
    EXPECT_CODE(0x80092004u, GetSignerCertIdEx(none.get(), true));
    EXPECT_FALSE(CheckSignerCertId(nullptr, 0, mine_, false, true));
}

TEST_F(SigningCertificateAttributes, EachHasToNameTheCertificate) {
    for (const auto& list :
         {naming(&mine_, nullptr, &foreign_), naming(nullptr, &mine_, &foreign_)}) {
        EXPECT_FALSE(check(list, true));
        const auto winner = GetSignerCertIdEx(list.get(), true);
        EXPECT_TRUE(ASN1::OtherCertIDMatches(winner, foreign_)) << "the second version counts";
    }
    EXPECT_FALSE(check(naming(nullptr, &foreign_, &mine_), true));
    EXPECT_FALSE(check(naming(&foreign_, nullptr, &mine_), true));
}

TEST_F(SigningCertificateAttributes, OnlyTheFirstCertificateCounts) {
    ASN1::CESSCertIDv2List certificates;
    certificates.push_back(ASN1::CESSCertIDv2(hash_of(mine_, kSha256Oid)));
    certificates.push_back(ASN1::CESSCertIDv2(hash_of(foreign_, kSha256Oid)));
    AttributeList list;
    list.add(ASN1::CAttrSigningCertificateV2(certificates));
    EXPECT_TRUE(check(list, true));
}

TEST_F(SigningCertificateAttributes, IssuerAndSerialNumberCountWhereTheyStand) {
    auto id_with = [&](const CBlob& source) {
        const auto issuerSerial = ASN1::GetIssuerSerialFromCertificate(source);
        ASN1::CESSCertIDv2 id(hash_of(mine_, kSha256Oid));
        id.put_issuerSerial(&issuerSerial);
        ASN1::CESSCertIDv2List certificates;
        certificates.push_back(id);
        AttributeList list;
        list.add(ASN1::CAttrSigningCertificateV2(certificates));
        return check(list, true);
    };
    EXPECT_TRUE(id_with(mine_));
    EXPECT_FALSE(id_with(foreign_));
}

TEST_F(SigningCertificateAttributes, MalformedOnesAreFailures) {
    const auto good = v1(mine_);
    AttributeList doubled;
    doubled.add(good);
    doubled.add(good);
    EXPECT_CODE(0x8007000Bu, check(doubled, true));
    AttributeList two_values;
    two_values.add(good.get_oid(), {good.get_value(), good.get_value()});
    EXPECT_CODE(0x8007000Bu, check(two_values, true));
    AttributeList noise;
    noise.add(good.get_oid(), {blob_of("noise")});
    EXPECT_CODE(0x80093101u, check(noise, true));
    AttributeList empty;
    empty.add(good.get_oid(), {blob_of(std::string("\x30\x02\x30\x00", 4))});
    EXPECT_CODE(0x8007000Bu, check(empty, true)) << "no certificate at all";
}

TEST(SignedAttributes, FindOneOfAType) {
    AttributeList list;
    list.add("1.2.3", {CBlob(1ul)});
    list.add("1.2.34", {});
    EXPECT_EQ(FindOneInstanceSingleValueAttr(list.get(), "1.2.3"), &list.get()->rgAttr[0]);
    EXPECT_EQ(FindOneInstanceSingleValueAttr(list.get(), "1.2"), nullptr);
    EXPECT_CODE(0x8007000Bu, FindOneInstanceSingleValueAttr(list.get(), "1.2.34"));
    EXPECT_EQ(FindOneInstanceSingleValueAttr(AttributeList().get(), "1.2.3"), nullptr);
}

} // namespace
} // namespace Halcyon::PKI
