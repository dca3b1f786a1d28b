#include <chronoseal/client/stamp.h>

#include <cwchar>
#include <map>

#include <basalt/store.h>
#include <chronoseal/client/testing/suite.h>

namespace Halcyon::PKI::TSP::Client {
namespace {

using namespace testing;

constexpr std::uint32_t kNoStamp = 0x8007139F;

class Stamp : public ::testing::Test {
protected:
    Stamp() { Configuration::instance().set(""); }

    std::string token(const TstInfo& info = {}) { return authority_.token(info); }
    CStamp imported(const TstInfo& info) {
        CStamp stamp;
        import(stamp, token(info));
        return stamp;
    }

    Authority authority_;
};

// All that can be asked for, by name; what there isn't as its code.
std::map<std::string, std::string> told(const CStamp& stamp) {
    std::map<std::string, std::string> all;
    const auto tell = [&](const char* name, const auto& get) {
        const auto code = code_of([&] { all[name] = get(); });
        if (code != 0) {
            all[name] = std::to_string(code);
        }
    };
    const auto narrow = [](const wchar_t* wide) {
        return std::string(wide, wide + std::wcslen(wide));
    };
    tell("DataHash", [&] { return delivered(stamp, &CStamp::get_DataHash); });
    tell("SerialNumber", [&] { return delivered(stamp, &CStamp::get_SerialNumber); });
    tell("TSABlob", [&] { return delivered(stamp, &CStamp::get_TSABlob); });
    tell("Export", [&] { return delivered(stamp, &CStamp::Export); });
    tell("Status", [&] { return std::to_string(stamp.get_Status()); });
    tell("StatusString", [&] { return narrow(stamp.get_StatusString()); });
    tell("FailInfo", [&] { return std::to_string(stamp.get_FailInfo()); });
    tell("DataHashAlg", [&] { return std::to_string(stamp.get_DataHashAlg()); });
    tell("DataHashAlgOID", [&] { return stamp.get_DataHashAlgOID(); });
    tell("PolicyID", [&] { return stamp.get_PolicyID(); });
    tell("Time", [&] { return std::to_string(stamp.get_Time().ticks()); });
    tell("Accuracy", [&] { return std::to_string(stamp.get_Accuracy()); });
    tell("Ordering", [&] { return std::to_string(stamp.get_Ordering()); });
    tell("HasNonce", [&] { return std::to_string(stamp.get_HasNonce()); });
    tell("TSA", [&] { return narrow(stamp.get_TSA()); });
    tell("DefaultAccuracy", [&] { return std::to_string(stamp.get_DefaultAccuracy()); });
    tell("Certificates", [&] {
        PCCERT_CONTEXT found = nullptr;
        int count = 0;
        while ((found = CertEnumCertificatesInStore(stamp.get_Certificates(), found))) {
            ++count;
        }
        return std::to_string(count);
    });
    return all;
}

TstInfo full() {
    return {.digest = sha256("other"),
            .policy = "1.2.5",
            .serial = "\x56",
            .genTime = "20240601120000.25Z",
            .accuracy = sequence(integer("\x02") + element(0x80, "\x03") + element(0x81, "\x04")),
            .ordering = true,
            .nonce = std::string("\0\xFF", 2)};
}

void expect_untold(const CStamp& stamp, std::initializer_list<const char*> names) {
    const auto all = told(stamp);
    for (const auto* name : names) {
        EXPECT_EQ(all.at(name), std::to_string(kNoStamp)) << name;
    }
}

void expect_no_stamp(CStamp& stamp) {
    expect_untold(stamp,
                  {"DataHash", "SerialNumber", "TSABlob", "Certificates", "DataHashAlg", "Time",
                   "DataHashAlgOID", "PolicyID", "Accuracy", "Ordering", "HasNonce", "TSA"});
    EXPECT_CODE(kNoStamp, stamp.get_TSACertificate(nullptr, 0));
}

TEST_F(Stamp, IsEmptyAtFirstAndAfterAFailedImport) {
    CStamp stamp;
    const auto expect_empty = [&] {
        expect_no_stamp(stamp);
        expect_untold(stamp, {"Status", "StatusString", "FailInfo", "Export"});
    };
    expect_empty();
    for (const auto& bytes : {std::string(), std::string("\x30"), token().substr(0, 40)}) {
        import(stamp, token());
        EXPECT_CODE(0x80093101u, import(stamp, bytes));
        expect_empty();
    }
}

TEST_F(Stamp, ReadsEveryFieldOfABareToken) {
    auto info = full();
    info.tsa = authority_.name();
    const auto der = token(info);
    CStamp stamp;
    import(stamp, der);
    EXPECT_CODE(kNoStamp, stamp.get_Status());
    EXPECT_EQ(delivered(stamp, &CStamp::Export), der);
    EXPECT_EQ(delivered(stamp, &CStamp::get_DataHash), info.digest);
    EXPECT_EQ(delivered(stamp, &CStamp::get_SerialNumber), info.serial);
    EXPECT_EQ(delivered(stamp, &CStamp::get_TSABlob), info.tsa);
    EXPECT_NE(std::wstring(stamp.get_TSA()).find(L"Test Authority"), std::wstring::npos);
    EXPECT_EQ(stamp.get_DataHashAlg(), 0x800Cu);
    EXPECT_STREQ(stamp.get_DataHashAlgOID(), kSha256Oid);
    EXPECT_STREQ(stamp.get_PolicyID(), "1.2.5");
    EXPECT_STREQ(stamp.get_Time().getGeneralizedTime().c_str(), "20240601120000.25Z");
    EXPECT_EQ(stamp.get_Accuracy(), 2003004);
    EXPECT_TRUE(stamp.get_Ordering());
    EXPECT_TRUE(stamp.get_HasNonce());
}

TEST_F(Stamp, ReadsATokenWithoutOptionalFieldsAndWithOddOnes) {
    const auto stamp = imported({});
    EXPECT_EQ(stamp.get_Accuracy(), -1);
    EXPECT_FALSE(stamp.get_Ordering());
    EXPECT_FALSE(stamp.get_HasNonce());
    EXPECT_STREQ(stamp.get_TSA(), L"");
    EXPECT_EQ(delivered(stamp, &CStamp::get_TSABlob), "");
    TstInfo odd;
    odd.accuracy = sequence(integer("\x10\xC7")); // 4295 seconds, which are counted in 32 bits
    odd.tsa = element(0xA0, oid("1.2.3") + element(0xA0, element(0x0C, "x")));
    EXPECT_EQ(imported(odd).get_Accuracy(), 4295000000l - 4294967296l);
    EXPECT_STREQ(imported(odd).get_TSA(), L"") << "a kind of name that isn't supported";
    odd.hash_oid = "1.2.3.4.5";
    CStamp unknown;
    EXPECT_CODE(0x80090008u, import(unknown, token(odd)));
    expect_no_stamp(unknown);
}

TEST_F(Stamp, KeepsTheExactBytesOfAnAnswersToken) {
    const auto der = token();
    for (const int status : {0, 1}) {
        CStamp stamp;
        import(stamp, response(status, der, element(0x0C, "one") + element(0x0C, "two")));
        EXPECT_EQ(stamp.get_Status(), static_cast<unsigned>(status));
        EXPECT_STREQ(stamp.get_StatusString(), L"onetwo");
        EXPECT_EQ(delivered(stamp, &CStamp::Export), der);
    }
}

TEST_F(Stamp, RefusalHasAStatusAndNoToken) {
    CStamp stamp;
    for (const int status : {2, 3, 5, 6}) {
        import(stamp, response(status, ""));
        EXPECT_EQ(stamp.get_Status(), static_cast<unsigned>(status));
        expect_no_stamp(stamp);
    }
    EXPECT_CODE(0x80004005u, import(stamp, response(7, "")));
    EXPECT_CODE(kNoStamp, stamp.get_Status());
    import(stamp, response(0, ""));
    EXPECT_EQ(stamp.get_Status(), 0u);
    expect_no_stamp(stamp);
}

TEST_F(Stamp, ExportTellsTheLowestFailureBit) {
    const auto der = token();
    using Case = std::pair<unsigned int, std::uint32_t>;
    for (const auto& [bits, code] :
         {Case{1u << 0, 0x80090008}, Case{1u << 2, 0x80090029}, Case{1u << 5, 0x80090005},
          Case{1u << 15, 0x80090029}, Case{1u << 16, 0x80090029}, Case{1u << 17, kNoStamp},
          Case{1u << 25, kNoStamp}, Case{1u << 1 | 1u << 2, kNoStamp},
          Case{1u << 2 | 1u << 5, 0x80090029}}) {
        CStamp stamp;
        unsigned long size = 0;
        import(stamp, response(2, "", "", fail_info_bits(bits)));
        EXPECT_EQ(stamp.get_FailInfo(), bits);
        EXPECT_CODE(code, stamp.Export(nullptr, &size)) << bits;
        import(stamp, response(0, der, "", fail_info_bits(bits)));
        EXPECT_EQ(stamp.get_DataHashAlg(), 0x800Cu) << "the token is readable all the same";
        EXPECT_CODE(code, stamp.Export(nullptr, &size));
    }
}

TEST_F(Stamp, DeliversBySizeAndBuffer) {
    const auto stamp = imported({});
    unsigned char buffer[32] = {};
    unsigned long size = 31;
    EXPECT_CODE(0x800700EAu, stamp.get_DataHash(buffer, &size));
    EXPECT_EQ(size, 32u);
    EXPECT_EQ(buffer[0], 0);
    stamp.get_DataHash(buffer, &size);
    EXPECT_EQ(std::string(reinterpret_cast<char*>(buffer), 32), sha256("data"));
}

TEST_F(Stamp, ComparesAsFarAsTheAccuraciesAllow) {
    auto at = [&](const char* time, int seconds, bool ordering = false, bool named = false) {
        const std::string second(1, static_cast<char>(seconds));
        return imported({.genTime = time,
                         .accuracy = seconds < 0 ? "" : sequence(integer(second)),
                         .ordering = ordering,
                         .tsa = named ? authority_.name() : ""});
    };
    constexpr char kEarly[] = "20240601120000Z";
    constexpr char kLate[] = "20240601120010Z";
    auto compare = [](const CStamp& a, const CStamp& b) {
        EXPECT_EQ(a.Compare(&b), -b.Compare(&a));
        return a.Compare(&b);
    };
    EXPECT_EQ(compare(at(kEarly, 1), at(kLate, 1)), -1);
    EXPECT_EQ(compare(at(kEarly, 5), at(kLate, 5)), 0) << "touching intervals can't be told apart";
    EXPECT_EQ(compare(at(kEarly, 5), at(kLate, 4)), -1);
    EXPECT_EQ(compare(at(kEarly, 60), at(kLate, 1)), 0);
    EXPECT_EQ(compare(at(kEarly, 1), at(kEarly, 2)), 0);
    EXPECT_EQ(compare(at(kEarly, -1), at(kLate, 1)), 0) << "no accuracy, no comparing";
    EXPECT_EQ(compare(at(kEarly, 60, true), at(kLate, 60, true)), -1) << "ordering is believed";
    EXPECT_EQ(compare(at(kEarly, 60, true), at(kLate, 60, false)), 0);
    EXPECT_EQ(compare(at(kEarly, 60, true, true), at(kLate, 60, true)), 0) << "two authorities";
    auto a = at(kEarly, -1);
    a.put_DefaultAccuracy(1000000);
    EXPECT_EQ(compare(a, at(kLate, 1)), -1);
    EXPECT_EQ(a.get_Accuracy(), -1);
    import(a, token());
    EXPECT_EQ(a.get_DefaultAccuracy(), -1);
    const CStamp empty;
    EXPECT_CODE(kNoStamp, a.Compare(&empty));
    EXPECT_CODE(kNoStamp, empty.Compare(&a));
}

TEST_F(Stamp, NothingOfAnEarlierImportIsLeft) {
    auto info = full();
    info.tsa = authority_.name();
    const auto texts = element(0x0C, "text");
    const std::string later[] = {Parts().token(), token(), response(0, token()),
                                 response(2, "", "", fail_info_bits(4)), response(1, "", texts)};
    const std::string before[] = {token(info), response(1, token(info), texts),
                                  response(3, "", texts, fail_info_bits(1))};
    for (const auto& first : before) {
        for (const auto& second : later) {
            CStamp used;
            import(used, first);
            used.put_DefaultAccuracy(7);
            import(used, second);
            CStamp fresh;
            import(fresh, second);
            EXPECT_EQ(told(used), told(fresh));
        }
    }
}

TEST_F(Stamp, CopiesAndAssignmentsTellAllThatTheOriginalTells) {
    auto info = full();
    info.tsa = authority_.name();
    info.hash_oid = "2.16.840.1.101.3.4.2.3";
    for (const auto& bytes : {token(info), response(1, token(info), element(0x0C, "text")),
                              response(2, "", element(0x0C, "no"), fail_info_bits(4)),
                              response(0, token(info), "", fail_info_bits(1))}) {
        CStamp original;
        import(original, bytes);
        original.put_DefaultAccuracy(7);
        const CStamp copy(original);
        CStamp assigned;
        import(assigned, token());
        assigned = original;
        EXPECT_EQ(told(copy), told(original));
        EXPECT_EQ(told(assigned), told(original));
    }
}

TEST_F(Stamp, OfAnotherRequestIsNoStamp) {
    CRequest request;
    request.put_UseNonce(false);
    request.put_DataHashAlg(kSha256Oid);
    auto hash = sha256("data");
    const auto code = [&](const TstInfo& info) {
        CStamp stamp;
        request.put_DataHash(bytes(hash), hash.size());
        const auto der = token(info);
        const auto result = code_of([&] { stamp.Import(bytes(der), der.size(), &request); });
        if (result != 0) {
            expect_no_stamp(stamp);
        }
        return result;
    };
    TstInfo info;
    EXPECT_EQ(code(info), 0u);
    info.nonce = "\x05";
    EXPECT_EQ(code(info), 0xC2100120u);
    hash = sha256("other");
    EXPECT_EQ(code(info), 0x80091007u) << "the hash first";
}

TEST_F(Stamp, CopiesShareTheStoreAndOutliveTheOriginal) {
    auto original = std::make_unique<CStamp>();
    import(*original, token());
    CStamp copy(*original);
    EXPECT_EQ(copy.get_Certificates(), original->get_Certificates());
    CStamp assigned;
    assigned = *original;
    original.reset();
    EXPECT_NE(copy.get_TSACertificate(nullptr, 0), nullptr);
    EXPECT_EQ(assigned.Verify(nullptr, nullptr), 0);
    auto& self = assigned;
    assigned = self; // empties it
    expect_no_stamp(assigned);
}

TEST_F(Stamp, TakesCertificatesOfALongTermSignature) {
    constexpr char kValues[] = "1.2.840.113549.1.9.16.2.23";
    const auto der = authority_.signed_with({.with_certificates = false});
    CStamp stamp;
    import(stamp, der);
    EXPECT_EQ(stamp.get_TSACertificate(nullptr, 0), nullptr);
    CStamp extended;
    import(extended, with_unsigned(der, kValues, sequence(authority_.signer_der())));
    EXPECT_NE(extended.get_TSACertificate(nullptr, 0), nullptr);
    EXPECT_EQ(extended.Verify(nullptr, nullptr), 0);
    CStamp damaged;
    EXPECT_CODE(0x80093101u, import(damaged, with_unsigned(der, kValues, sequence("\x04\x00"))));
    EXPECT_EQ(damaged.get_DataHashAlg(), 0x800Cu) << "it counts as a stamp all the same";
}

TEST_F(Stamp, ReusedObjectKeepsTheOpenedMessage) {
    const auto first = authority_.token();
    const auto second = authority_.signed_with({.flags = 0}); // names no certificate
    CStamp stamp;
    import(stamp, second);
    EXPECT_EQ(static_cast<std::uint32_t>(stamp.Verify(nullptr, nullptr)), 0x80092004u);
    import(stamp, first);
    EXPECT_EQ(static_cast<std::uint32_t>(stamp.Verify(nullptr, nullptr)), 0x80092004u)
        << "the signed attributes are those of the earlier token";
}

TEST_F(Stamp, EarlierTokenNeverAnswersForALaterOne) {
    const auto good = token();
    auto forged = good;
    forged[forged.find("20240601120000") + 3] = '5';
    CStamp stamp;
    import(stamp, good);
    EXPECT_EQ(stamp.Verify(nullptr, nullptr), 0);
    import(stamp, forged);
    EXPECT_EQ(static_cast<std::uint32_t>(stamp.Verify(nullptr, nullptr)), 0x80090006u);
    import(stamp, good);
    EXPECT_EQ(stamp.Verify(nullptr, nullptr), 0);
    EXPECT_CODE(0x80093101u, import(stamp, "noise"));
    const auto signer = certificate_of(authority_.signer_der());
    EXPECT_CODE(0x80093101u, stamp.Verify(signer.get(), nullptr));
}

} // namespace
} // namespace Halcyon::PKI::TSP::Client
