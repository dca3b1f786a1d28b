// Whose lists and answers count for a certificate, and for which reasons: made ones of every kind,
// given in a store.
#include <basalt/revocation/status_check.h>
#include <basalt/revocation/test_authority.h>
#include <basalt/store/certificate_reference.h>

#include <gtest/gtest.h>

namespace basalt::test {
namespace {

constexpr int kNow = 100;
constexpr int kMade = 90;
constexpr int kNext = 110;

constexpr Standing kGood = Standing::good;
constexpr Standing kRevoked = Standing::revoked;
constexpr Standing kUnknown = Standing::unknown;

const char kPoint[] = "crlDistributionPoints=point\n[point]\n";

class EvidenceTest : public testing::Test {
protected:
    EvidenceTest() { paths_.add(*root_); }

    using PartyOwner = std::unique_ptr<Party>;

    PartyOwner leaf(const std::string& extensions = "") const {
        return make_party({.name = "stamps", .issuer = ca_.get(), .extensions = extensions});
    }

    void give_list(const ListSpec& spec) {
        const std::string list = make_list(spec);
        ASSERT_TRUE(CertAddEncodedCRLToStore(
            store_.get(), X509_ASN_ENCODING, reinterpret_cast<const BYTE*>(list.data()),
            static_cast<DWORD>(list.size()), CERT_STORE_ADD_ALWAYS, nullptr));
    }

    void give_answer(const AnswerSpec& spec) {
        const std::string answer = make_answer(spec);
        ASSERT_TRUE(BasaltAddOcspResponseToStore(store_.get(),
                                                 reinterpret_cast<const BYTE*>(answer.data()),
                                                 static_cast<DWORD>(answer.size())));
    }

    // A list of the certificate's issuer, in force, with this point.
    ListSpec list(const std::string& extensions = "") const {
        return {.signer = ca_.get(),
                .made = kMade,
                .next = kNext,
                .entries = {},
                .extensions = extensions};
    }

    ListSpec revoking(const Party& certificate, ListSpec spec, int reason = 1) const {
        spec.entries.push_back({&certificate, -10, reason});
        return spec;
    }

    AnswerSpec answer(const Party& certificate, const Party& signer) const {
        return {
            .signer = &signer,
            .entries = {
                {.certificate = &certificate, .issuer = ca_.get(), .made = kMade, .next = kNext}}};
    }

    Standing judge(const Party& certificate, RevocationMode mode = RevocationMode::require) {
        return judge({certificate.entry, ca_->entry, root_->entry}, 0, mode);
    }

    Standing judge(const CertificatePath& path, std::size_t index, RevocationMode mode) {
        Budget budget;
        Retrieval retrieval(budget);
        StatusCheck check(budget, retrieval, paths_, {own_.get()}, {nullptr, store_.get()});
        StatusQuestion question;
        question.stamp_time = ticks_at(0);
        question.now = ticks_at(kNow);
        question.mode = mode;
        question.strength = strength_;
        question.is_signer = index == 0;
        finding_ = check.judge(path, index, question);
        signatures_ = budget.evidence_signatures();
        return finding_.standing;
    }

    void forget() {
        store_.reset(new_store());
        own_.reset(new_store());
    }

    static HCERTSTORE new_store() {
        return CertOpenStore(CERT_STORE_PROV_MEMORY, 0, 0, 0, nullptr);
    }

    PartyOwner root_ = make_party({.name = "root", .extensions = kAuthority});
    PartyOwner ca_ = make_party({.name = "ca", .issuer = root_.get(), .extensions = kAuthority});
    StoreReference store_{new_store()}; // of what came with the question
    StoreReference own_{new_store()};   // the machine's and its user's
    FewPaths paths_;
    StatusFinding finding_;
    unsigned signatures_ = 0;
    StrengthLevel strength_ = StrengthLevel::floor;
};

TEST_F(EvidenceTest, AListCountsForWhatItIsFor) {
    constexpr char kIdp[] = "issuingDistributionPoint=critical,@point\n[point]\n";
    const std::string idp(kIdp);
    const std::string here = std::string(kPoint) + "fullname=URI:http://a/1";
    const std::string by_other = std::string(kPoint) + "fullname=URI:http://a/1\n"
                                                       "CRLissuer=dirName:other\n[other]\nCN=other";
    const struct {
        const char* name;
        std::string of_certificate;
        std::string of_list;
        Standing expected;
    } cases[] = {
        {"no points at all", "", "", kGood},
        {"any list of the issuer for a certificate with a point", here, "", kGood},
        {"the list of its point", here, idp + "fullname=URI:http://a/1", kGood},
        {"the list of another point", here, idp + "fullname=URI:http://a/2", kUnknown},
        {"a part's list for a certificate without points", "", idp + "fullname=URI:http://a/1",
         kUnknown},
        {"a part's list under the issuer's name", "", idp + "fullname=dirName:n\n[n]\nCN=ca",
         kGood},
        {"relative to the issuer", std::string(kPoint) + "relativename=n\n[n]\nOU=1",
         idp + "relativename=n\n[n]\nOU=1", kGood},
        {"relative here, in full there", std::string(kPoint) + "relativename=n\n[n]\nOU=1",
         idp + "fullname=dirName:n\n[n]\nCN=ca\nOU=1", kGood},
        {"relative, another one", std::string(kPoint) + "relativename=n\n[n]\nOU=1",
         idp + "relativename=n\n[n]\nOU=2", kUnknown},
        {"for end certificates", "", idp + "onlyuser=TRUE", kGood},
        {"for authorities", "", idp + "onlyCA=TRUE", kUnknown},
        {"for attribute certificates", "", idp + "onlyAA=TRUE", kUnknown},
        {"for two kinds at once", "", idp + "onlyCA=TRUE\nonlyuser=TRUE", kUnknown},
        {"for some reasons", "", idp + "onlysomereasons=keyCompromise,CACompromise", kUnknown},
        {"the point is for some reasons", here + "\nreasons=keyCompromise", "", kUnknown},
        {"a point of another issuer's lists, and the issuer's own", by_other, "", kGood},
        {"indirect, of the issuer itself", "", idp + "indirectCRL=TRUE", kGood},
        {"an unknown critical extension", "", std::string(kUnknownOid) + "=critical,DER:0500",
         kUnknown},
        {"an unknown extension", "", std::string(kUnknownOid) + "=DER:0500", kGood},
        {"a delta alone", "", "2.5.29.20=ASN1:INTEGER:7\n2.5.29.27=critical,ASN1:INTEGER:5",
         kUnknown},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const PartyOwner certificate = leaf(c.of_certificate);
        forget();
        give_list(list(c.of_list));
        EXPECT_EQ(judge(*certificate), c.expected);
        EXPECT_EQ(finding_.cause == UnknownCause::no_source, false)
            << "something was at hand, and under `require` that doesn't pass";
        forget();
        give_list(revoking(*certificate, list(c.of_list)));
        const bool counts = c.expected == kGood || signatures_ > 0;
        EXPECT_EQ(judge(*certificate), counts ? kRevoked : kUnknown);
    }
}

TEST_F(EvidenceTest, AListForOneKindOfCertificateIsForNoOther) {
    const std::string idp = "issuingDistributionPoint=critical,@point\n[point]\n";
    const PartyOwner certificate = leaf();
    const CertificatePath path{certificate->entry, ca_->entry, root_->entry};
    const struct {
        const char* kind;
        Standing of_authority;
    } cases[] = {{"onlyCA=TRUE", kGood}, {"onlyuser=TRUE", kUnknown}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.kind);
        forget();
        ListSpec spec = list(idp + c.kind);
        spec.signer = root_.get();
        give_list(spec);
        EXPECT_EQ(judge(path, 1, RevocationMode::require), c.of_authority);
        EXPECT_EQ(judge(path, 0, RevocationMode::require), kUnknown) << "another issuer's";
        EXPECT_EQ(judge(path, 2, RevocationMode::require), kUnknown) << "the anchor isn't asked";
        EXPECT_EQ(finding_.cause, UnknownCause::no_source);
    }
}

TEST_F(EvidenceTest, ListsForSomeReasonsAddUp) {
    const std::string idp = "issuingDistributionPoint=critical,@point\n[point]\n";
    const PartyOwner certificate = leaf();
    give_list(list(idp + "onlysomereasons=keyCompromise,CACompromise,superseded"));
    EXPECT_EQ(judge(*certificate), kUnknown);
    EXPECT_EQ(finding_.cause, UnknownCause::not_covered);
    give_list(list(idp + "onlysomereasons=affiliationChanged,cessationOfOperation,certificateHold,"
                         "privilegeWithdrawn,AACompromise"));
    EXPECT_EQ(judge(*certificate), kGood);
    EXPECT_EQ(finding_.evidence.size(), 2u);
}

TEST_F(EvidenceTest, ADeltaIsReadWithItsBase) {
    const PartyOwner certificate = leaf();
    const auto base = [&](int number, std::optional<int> reason) {
        ListSpec spec = list("2.5.29.20=ASN1:INTEGER:" + std::to_string(number));
        spec.made = 10;
        spec.next = 20; // has run out
        if (reason) {
            spec.entries.push_back({certificate.get(), -10, reason});
        }
        return spec;
    };
    const auto of_this_hour = [](ListSpec spec) {
        spec.made = kMade;
        spec.next = kNext;
        return spec;
    };
    const auto of_yesterday = [](ListSpec spec) {
        spec.made = 70;
        spec.next = 80;
        return spec;
    };
    const auto delta = [&](int number, int built_on, std::optional<int> reason) {
        ListSpec spec = list("2.5.29.20=ASN1:INTEGER:" + std::to_string(number) +
                             "\n2.5.29.27=critical,ASN1:INTEGER:" + std::to_string(built_on));
        if (reason) {
            spec.entries.push_back({certificate.get(), -10, reason});
        }
        return spec;
    };
    const auto with = [](ListSpec spec, const char* more) {
        spec.extensions += more;
        return spec;
    };
    constexpr char kPointed[] = "\nissuingDistributionPoint=critical,@p\n[p]\nonlyuser=TRUE";
    constexpr char kKeyed[] = "\nauthorityKeyIdentifier=keyid:always";
    const struct {
        const char* name;
        std::vector<ListSpec> lists;
        Standing expected;
    } cases[] = {
        {"an old base alone", {base(5, {})}, kUnknown},
        {"brought up to date", {base(5, {}), delta(7, 5, {})}, kGood},
        {"a base newer than the one built on", {base(6, {}), delta(7, 5, {})}, kGood},
        {"built on a later base", {base(4, {}), delta(7, 5, {})}, kUnknown},
        {"older than the base", {base(8, {}), delta(7, 5, {})}, kUnknown},
        {"of the base's number", {base(7, {}), delta(7, 5, {})}, kUnknown},
        {"revoked since", {base(5, {}), delta(7, 5, 4)}, kRevoked},
        {"on hold since", {base(5, {}), delta(7, 5, 6)}, kRevoked},
        {"hold lifted", {base(5, 6), delta(7, 5, 8)}, kGood},
        {"hold lifted in a delta of the base's own hour",
         {of_this_hour(base(5, 6)), delta(7, 5, 8)},
         kGood},
        {"hold lifted in a delta that has run out",
         {of_this_hour(base(5, 6)), of_yesterday(delta(7, 5, 8))},
         kRevoked},
        {"hold not spoken of", {base(5, 6), delta(7, 5, {})}, kRevoked},
        {"hold lifted, then on hold again", {base(5, 6), delta(7, 5, 8), delta(9, 5, 6)}, kRevoked},
        {"a revocation is never lifted", {base(5, 4), delta(7, 5, 8)}, kRevoked},
        {"revoked in a delta whose base is missing", {delta(7, 5, 4)}, kRevoked},
        {"both of one point",
         {with(base(5, {}), kPointed), with(delta(7, 5, {}), kPointed)},
         kGood},
        {"a delta of another point", {base(5, {}), with(delta(7, 5, {}), kPointed)}, kUnknown},
        {"both by one key", {with(base(5, {}), kKeyed), with(delta(7, 5, {}), kKeyed)}, kGood},
        {"a delta by another key", {base(5, {}), with(delta(7, 5, {}), kKeyed)}, kUnknown},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        forget();
        for (const ListSpec& spec : c.lists) {
            give_list(spec);
        }
        EXPECT_EQ(judge(*certificate), c.expected);
    }
}

TEST_F(EvidenceTest, AnotherIssuersListCountsOnlyWhereTheCertificateSaysSo) {
    const PartyOwner other = make_party(
        {.name = "lists", .issuer = root_.get(), .extensions = "keyUsage=critical,cRLSign"});
    paths_.add(*other);
    const std::string point = std::string(kPoint) + "CRLissuer=dirName:n\n[n]\nCN=lists";
    const PartyOwner pointing = leaf(point);
    const PartyOwner silent = leaf();
    const std::string indirect = "issuingDistributionPoint=critical,@p\n[p]\nindirectCRL=TRUE\n";
    ListSpec spec = list(indirect);
    spec.signer = other.get();
    give_list(spec);
    give_list({.signer = root_.get(), .made = kMade, .next = kNext}); // about who signs lists
    EXPECT_EQ(judge(*pointing), kGood);
    EXPECT_EQ(judge(*silent), kUnknown);

    forget();
    spec.entries = {{pointing.get(), -10, 1, ca_.get()}, {silent.get(), -10, 1, ca_.get()}};
    give_list(spec);
    give_list({.signer = root_.get(), .made = kMade, .next = kNext});
    EXPECT_EQ(judge(*pointing), kRevoked);
    EXPECT_EQ(judge(*silent), kUnknown);

    // The same serial number of another issuer isn't meant.
    forget();
    spec.entries = {{pointing.get(), -10, 1, root_.get()}};
    give_list(spec);
    give_list({.signer = root_.get(), .made = kMade, .next = kNext});
    EXPECT_EQ(judge(*pointing), kGood);

    // The list isn't indirect: then it is its own issuer's business.
    forget();
    ListSpec direct = list();
    direct.signer = other.get();
    give_list(direct);
    EXPECT_EQ(judge(*pointing), kUnknown);

    // Who signs lists is revoked itself.
    forget();
    spec.entries.clear();
    give_list(spec);
    give_list(
        {.signer = root_.get(), .made = kMade, .next = kNext, .entries = {{other.get(), -10, 1}}});
    EXPECT_EQ(judge(*pointing), kUnknown);
}

TEST_F(EvidenceTest, AKeyBesideThePathNeedsAPathOfItsOwn) {
    const PartyOwner certificate = leaf();
    const PartyOwner rekeyed =
        make_party({.name = "ca", .issuer = root_.get(), .extensions = kAuthority});
    const PartyOwner rogue = make_party({.name = "rogue", .extensions = kAuthority});
    const PartyOwner impostor =
        make_party({.name = "ca", .issuer = rogue.get(), .extensions = kAuthority});
    const PartyOwner no_lists = make_party({.name = "ca",
                                            .issuer = root_.get(),
                                            .extensions = "basicConstraints=critical,CA:TRUE\n"
                                                          "keyUsage=critical,keyCertSign"});
    const PartyOwner silent = make_party(
        {.name = "ca", .issuer = root_.get(), .extensions = "extendedKeyUsage=serverAuth"});
    const PartyOwner over = make_party(
        {.name = "ca", .issuer = root_.get(), .extensions = kAuthority, .end = kNow - 1});
    for (const Party* party :
         {rekeyed.get(), rogue.get(), impostor.get(), no_lists.get(), silent.get(), over.get()}) {
        paths_.add(*party);
    }
    const struct {
        const char* name;
        const Party* signer;
        Standing expected;
    } cases[] = {
        {"the authority's other key", rekeyed.get(), kGood},
        {"a like-named one under another root", impostor.get(), kUnknown},
        {"one that may not sign lists", no_lists.get(), kUnknown},
        {"one that doesn't say that it signs lists", silent.get(), kUnknown},
        {"one that has ended, whenever it says that the list was made", over.get(), kUnknown},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        forget();
        ListSpec spec = list();
        spec.signer = c.signer;
        give_list(spec);
        give_list({.signer = root_.get(), .made = kMade, .next = kNext});
        EXPECT_EQ(judge(*certificate), c.expected);
    }
    forget();
    give_list(list());
    ListSpec later = revoking(*certificate, list());
    later.signer = rekeyed.get();
    give_list(later);
    give_list({.signer = root_.get(), .made = kMade, .next = kNext});
    EXPECT_EQ(judge(*certificate), kRevoked) << "an older list by the path's own key hides nothing";
}

TEST_F(EvidenceTest, JunkThatCameAlongBuriesNothingOfOnesOwn) {
    const PartyOwner certificate = leaf();
    const PartyOwner rogue = make_party({.name = "ca", .extensions = kAuthority});
    give_list(list());
    for (int i = 0; i < 200; ++i) {
        ListSpec junk = list("2.5.29.20=ASN1:INTEGER:" + std::to_string(i));
        junk.signer = rogue.get();
        give_list(junk);
    }
    std::swap(store_, own_);
    for (int i = 0; i < 80; ++i) { // nor does what is kept at hand, as far as a verdict may cost
        ListSpec junk = list("2.5.29.20=ASN1:INTEGER:" + std::to_string(1000 + i));
        junk.signer = rogue.get();
        give_list(junk);
    }
    give_list(revoking(*certificate, list()));
    std::swap(store_, own_);
    EXPECT_EQ(judge(*certificate), kRevoked);
}

TEST_F(EvidenceTest, OfAnEntryThatIsRepeatedEachCounts) {
    const PartyOwner certificate = leaf();
    constexpr int kCompromise = 1, kClosed = 5, kRemoved = 8;
    using Entry = ListEntry;
    const Entry stolen{certificate.get(), -10, kCompromise};
    const std::vector<Entry> others{{certificate.get(), 5, kClosed},
                                    {certificate.get(), -10, kRemoved}};
    for (const Entry& other : others) {
        for (const bool first : {true, false}) {
            forget();
            ListSpec spec = list();
            spec.entries = first ? std::vector{stolen, other} : std::vector{other, stolen};
            give_list(spec);
            EXPECT_EQ(judge(*certificate), kRevoked) << *other.reason << first;
        }
    }
}

// The issuer that an entry names is that of the entries behind it, too. The numbers ascend, so that
// nothing but the entries' own order counts.
TEST_F(EvidenceTest, OfAnEntryThatIsRepeatedInAListForSeveralIssuersEachCounts) {
    const PartyOwner before = make_party({.name = "x", .issuer = root_.get(), .serial = "01"});
    const PartyOwner certificate = make_party({.name = "s", .issuer = ca_.get(), .serial = "02"});
    constexpr int kCompromise = 1, kClosed = 5;
    const ListEntry of_others{before.get(), -10, kClosed, root_.get()};
    const ListEntry closed{certificate.get(), 5, kClosed};
    const ListEntry stolen{certificate.get(), -10, kCompromise};
    const auto under = [](ListEntry entry, const Party& issuer) {
        entry.issuer = &issuer;
        return entry;
    };
    const struct {
        const char* name;
        std::vector<ListEntry> entries;
        Standing expected;
    } cases[] = {
        {"the list's own issuer, hard last", {closed, stolen}, kRevoked},
        {"the list's own issuer, hard first", {stolen, closed}, kRevoked},
        {"not hard", {closed, closed}, kGood},
        {"another issuer, which goes on", {of_others, closed, stolen}, kGood},
        {"another issuer, and back", {of_others, under(closed, *ca_), stolen}, kRevoked},
        {"and back for the first alone",
         {of_others, under(closed, *ca_), under(stolen, *root_)},
         kGood},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        forget();
        ListSpec spec = list("issuingDistributionPoint=critical,@p\n[p]\nindirectCRL=TRUE\n");
        spec.entries = c.entries;
        give_list(spec);
        EXPECT_EQ(judge(*certificate), c.expected);
    }
}

// A certificate may be listed with a date that is yet to come, and one that names a source that
// can't be read names one.
TEST_F(EvidenceTest, WhatIsOddlySaidIsSaid) {
    const PartyOwner certificate = leaf();
    ListSpec spec = list();
    spec.entries = {{certificate.get(), kNow + 3, 1}};
    give_list(spec);
    EXPECT_EQ(judge(*certificate), kRevoked);
    for (const char* const source : {"1.3.6.1.5.5.7.1.1=DER:0500", "2.5.29.46=DER:0500"}) {
        forget();
        EXPECT_EQ(judge(*leaf(source)), kUnknown);
        EXPECT_EQ(finding_.cause, UnknownCause::unreachable) << source;
    }
}

TEST_F(EvidenceTest, ACircleOfListsProvesNothing) {
    // Two that sign lists about each other alone.
    const auto pointing_to = [](const char* name) {
        return "keyUsage=critical,cRLSign\n" + std::string(kPoint) +
               "CRLissuer=dirName:n\n[n]\nCN=" + name;
    };
    const PartyOwner a =
        make_party({.name = "a", .issuer = root_.get(), .extensions = pointing_to("b")});
    const PartyOwner b =
        make_party({.name = "b", .issuer = root_.get(), .extensions = pointing_to("a")});
    const PartyOwner alone =
        make_party({.name = "alone", .issuer = root_.get(), .extensions = pointing_to("alone")});
    for (const Party* party : {a.get(), b.get(), alone.get()}) {
        paths_.add(*party);
    }
    const std::string indirect = "issuingDistributionPoint=critical,@p\n[p]\nindirectCRL=TRUE\n";
    for (const Party* signer : {a.get(), b.get(), alone.get()}) {
        ListSpec spec = list(indirect);
        spec.signer = signer;
        give_list(spec);
    }
    EXPECT_EQ(judge(*leaf(std::string(kPoint) + "CRLissuer=dirName:n\n[n]\nCN=a")), kUnknown);
    EXPECT_EQ(judge(*leaf(std::string(kPoint) + "CRLissuer=dirName:n\n[n]\nCN=alone")), kGood)
        << "one that points to itself may speak of itself";
}

// Whose certificate comes from the authority in question can't clear it, in no mode.
TEST_F(EvidenceTest, AnAuthorityIsNotClearedByItsOwnCreatures) {
    const PartyOwner authority =
        make_party({.name = "authority",
                    .issuer = root_.get(),
                    .extensions = std::string("basicConstraints=critical,CA:TRUE\n") + kPoint +
                                  "CRLissuer=dirName:n\n[n]\nCN=creature"});
    const PartyOwner creature = make_party(
        {.name = "creature", .issuer = authority.get(), .extensions = "keyUsage=critical,cRLSign"});
    const PartyOwner certificate = make_party({.name = "stamps", .issuer = authority.get()});
    for (const Party* party : {authority.get(), creature.get()}) {
        paths_.add(*party);
    }
    ListSpec spec = list("issuingDistributionPoint=critical,@p\n[p]\nindirectCRL=TRUE\n");
    spec.signer = creature.get();
    give_list(spec);
    const CertificatePath path{certificate->entry, authority->entry, root_->entry};
    for (const RevocationMode mode : {RevocationMode::require, RevocationMode::available}) {
        EXPECT_EQ(judge(path, 1, mode), kUnknown);
    }
}

// Of a certificate that has ended, those may have spoken who have ended since, but not those whose
// key was in doubt by then.
TEST_F(EvidenceTest, OfWhatHasEndedAnEndedResponderMaySpeak) {
    constexpr int kEnd = kMade + 5;
    const PartyOwner ended = make_party({.name = "stamps", .issuer = ca_.get(), .end = kEnd});
    const PartyOwner valid = leaf();
    const PartyOwner past = make_party({.name = "responder",
                                        .issuer = ca_.get(),
                                        .extensions = "extendedKeyUsage=OCSPSigning\n"
                                                      "noCheck=ignored",
                                        .end = kEnd});
    give_answer(answer(*ended, *past));
    give_answer(answer(*valid, *past));
    EXPECT_EQ(judge(*ended), kGood);
    EXPECT_EQ(judge(*valid), kUnknown);

    forget();
    const PartyOwner doubtful = make_party(
        {.name = "responder", .issuer = ca_.get(), .extensions = "extendedKeyUsage=OCSPSigning"});
    give_answer(answer(*ended, *doubtful));
    EXPECT_EQ(judge(*ended, RevocationMode::available), kGood);
    ListSpec later = list(); // made after the certificate's end, and so silent about it
    later.made = kEnd + 1;
    later.entries = {{doubtful.get(), kMade + 2}};
    give_list(later);
    EXPECT_EQ(judge(*ended, RevocationMode::available), kUnknown);

    // The same of an authority, for which a revocation without a reason is no doubt of its key.
    forget();
    const PartyOwner ended_ca =
        make_party({.name = "ca", .issuer = root_.get(), .extensions = kAuthority, .end = kEnd});
    const PartyOwner of_root = make_party(
        {.name = "responder", .issuer = root_.get(), .extensions = "extendedKeyUsage=OCSPSigning"});
    AnswerSpec about_ca = answer(*ended_ca, *of_root);
    about_ca.entries[0].issuer = root_.get();
    give_answer(about_ca);
    const CertificatePath path{valid->entry, ended_ca->entry, root_->entry};
    EXPECT_EQ(judge(path, 1, RevocationMode::available), kGood);
    later.signer = root_.get();
    later.entries = {{of_root.get(), kMade + 2}};
    give_list(later);
    EXPECT_EQ(judge(path, 1, RevocationMode::available), kUnknown);
}

TEST_F(EvidenceTest, AnswersCountByWhoSignedThem) {
    const PartyOwner certificate = leaf();
    const char* kResponder = "extendedKeyUsage=OCSPSigning\nnoCheck=ignored";
    const auto responder = [&](const std::string& extensions, const Party& issuer, int end = 1000) {
        return make_party(
            {.name = "responder", .issuer = &issuer, .extensions = extensions, .end = end});
    };
    const PartyOwner rogue = make_party({.name = "ca", .extensions = kAuthority});
    const PartyOwner rekeyed =
        make_party({.name = "ca", .issuer = root_.get(), .extensions = kAuthority});
    const auto like_named = [&] {
        return make_party(
            {.name = "ca", .issuer = root_.get(), .extensions = "extendedKeyUsage=serverAuth"});
    };
    paths_.add(*rekeyed);
    const PartyOwner renamed = make_party(
        {.name = "other", .issuer = root_.get(), .extensions = kAuthority, .same_key = ca_.get()});
    const struct {
        const char* name;
        PartyOwner signer;
        Standing expected;
    } cases[] = {
        {"delegated", responder(kResponder, *ca_), kGood},
        {"delegated, its own standing unknown", responder("extendedKeyUsage=OCSPSigning", *ca_),
         kGood},
        {"not meant for it", responder("noCheck=ignored", *ca_), kUnknown},
        {"meant for something else", responder("extendedKeyUsage=timeStamping", *ca_), kUnknown},
        {"of another authority on the path", responder(kResponder, *root_), kUnknown},
        {"of a like-named authority", responder(kResponder, *rogue), kUnknown},
        {"of the authority's other key", responder(kResponder, *rekeyed), kUnknown},
        {"of the same name", like_named(), kUnknown},
        {"by its key in another's name", responder(kResponder, *renamed), kUnknown},
        {"has ended, whenever it says that it was made", responder(kResponder, *ca_, kNow - 1),
         kUnknown},
        {"key usage for lists alone",
         responder(std::string(kResponder) + "\nkeyUsage=critical,cRLSign", *ca_), kUnknown},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        forget();
        paths_.add(*c.signer);
        give_answer(answer(*certificate, *c.signer));
        EXPECT_EQ(judge(*certificate), c.expected);
    }
    forget();
    give_answer(answer(*certificate, *ca_));
    EXPECT_EQ(judge(*certificate), kGood) << "the authority itself";

    // A responder without "no check" has a standing of its own.
    const PartyOwner checked = responder("extendedKeyUsage=OCSPSigning", *ca_);
    forget();
    give_answer(answer(*certificate, *checked));
    give_list(revoking(*checked, list()));
    EXPECT_EQ(judge(*certificate), kGood) << "the list says so itself";
    ListSpec of_the_responder = revoking(*checked, list());
    of_the_responder.next = kMade; // tells nothing good any more
    forget();
    give_answer(answer(*certificate, *checked));
    give_list(of_the_responder);
    EXPECT_EQ(judge(*certificate), kUnknown);
}

TEST_F(EvidenceTest, EntriesOfAnAnswerAreWeighed) {
    const PartyOwner certificate = leaf();
    const PartyOwner neighbour = leaf();
    const auto entry = [&](int status, int made, int since = -10, int reason = 4) {
        return AnswerEntry{.certificate = certificate.get(),
                           .issuer = ca_.get(),
                           .status = status,
                           .made = made,
                           .next = kNext,
                           .since = since,
                           .reason = reason};
    };
    constexpr int kSaysGood = V_OCSP_CERTSTATUS_GOOD;
    constexpr int kSaysRevoked = V_OCSP_CERTSTATUS_REVOKED;
    constexpr int kSaysUnknown = V_OCSP_CERTSTATUS_UNKNOWN;
    AnswerEntry of_neighbour = entry(kSaysGood, 95);
    of_neighbour.certificate = neighbour.get();
    AnswerEntry of_other_issuer = entry(kSaysGood, 95);
    of_other_issuer.issuer = root_.get();
    AnswerEntry not_understood = entry(kSaysGood, 95);
    not_understood.critical_unknown = true;
    const struct {
        const char* name;
        std::vector<AnswerEntry> entries;
        bool critical_unknown;
        Standing expected;
    } cases[] = {
        {"good, then revoked", {entry(kSaysGood, 95), entry(kSaysRevoked, 90)}, false, kRevoked},
        {"revoked, then good", {entry(kSaysRevoked, 90), entry(kSaysGood, 95)}, false, kRevoked},
        {"an older unknown", {entry(kSaysGood, 95), entry(kSaysUnknown, 90)}, false, kGood},
        {"an unknown as new", {entry(kSaysGood, 95), entry(kSaysUnknown, 95)}, false, kUnknown},
        {"a newer unknown first", {entry(kSaysUnknown, 96), entry(kSaysGood, 95)}, false, kUnknown},
        {"of the neighbour", {of_neighbour}, false, kUnknown},
        {"behind the neighbour's", {of_neighbour, entry(kSaysGood, 95)}, false, kGood},
        {"the same serial number, another issuer", {of_other_issuer}, false, kUnknown},
        {"an entry that isn't understood", {not_understood}, false, kUnknown},
        {"an answer that isn't understood", {entry(kSaysGood, 95)}, true, kUnknown},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        forget();
        give_answer(
            {.signer = ca_.get(), .entries = c.entries, .critical_unknown = c.critical_unknown});
        EXPECT_EQ(judge(*certificate), c.expected);
    }
}

TEST_F(EvidenceTest, AnEntryThatIsNotUnderstoodMakesTheListUseless) {
    const PartyOwner certificate = leaf();
    const PartyOwner neighbour = leaf();
    ListSpec spec = list();
    spec.entries = {{neighbour.get(), -10, 1, nullptr, true}};
    give_list(spec);
    EXPECT_EQ(judge(*certificate), kUnknown);
}

TEST_F(EvidenceTest, TheAlgorithmInsideAListIsTheOneOutside) {
    const PartyOwner certificate = leaf();
    std::string bytes = make_list(list());
    // ecdsa-with-SHA256 behind the signed part becomes ecdsa-with-SHA384; the signature stays.
    const std::string oid = "\x2A\x86\x48\xCE\x3D\x04\x03\x02";
    bytes[bytes.rfind(oid) + 7] = 3;
    EXPECT_EQ(read_crl(bytes_of(bytes)), nullptr);
    EXPECT_NE(read_crl(bytes_of(make_list(list()))), nullptr);
}

TEST_F(EvidenceTest, BytesBehindAnObjectMakeItUseless) {
    const PartyOwner certificate = leaf();
    AnswerSpec spec = answer(*certificate, *ca_);
    EXPECT_NE(read_ocsp(bytes_of(make_answer(spec))), nullptr);
    spec.behind = "!";
    EXPECT_EQ(read_ocsp(bytes_of(make_answer(spec))), nullptr);
    spec.behind.clear();
    for (std::string AnswerSpec::*place :
         {&AnswerSpec::behind_inside, &AnswerSpec::behind_octets, &AnswerSpec::behind_fields}) {
        for (const char* junk : {"!", "\x05\x00"}) {
            spec.*place = std::string(junk, *junk == '!' ? 1 : 2);
            EXPECT_EQ(read_ocsp(bytes_of(make_answer(spec))), nullptr);
        }
        (spec.*place).clear();
    }
    EXPECT_EQ(read_crl(bytes_of(make_list(list()) + "!")), nullptr);
}

// What signs lists and answers is held to what certificates are held to.
TEST_F(EvidenceTest, WeakSignaturesOfListsAndAnswersDoNotCount) {
    const EvpKey rsa(EVP_RSA_gen(2048));
    const EvpKey rsa1024(EVP_RSA_gen(1024));
    const EvpKey rsa512(EVP_RSA_gen(512));
    const struct {
        const char* name;
        EVP_PKEY* key;
        const EVP_MD* digest;
        Standing by_floor;
        Standing by_current;
    } cases[] = {
        {"SHA-256", rsa.get(), EVP_sha256(), kGood, kGood},
        {"SHA-1", rsa.get(), EVP_sha1(), kGood, kUnknown},
        {"MD5", rsa.get(), EVP_md5(), kUnknown, kUnknown},
        {"RIPEMD-160", rsa.get(), EVP_ripemd160(), kUnknown, kUnknown},
        {"RSA-1024", rsa1024.get(), EVP_sha256(), kGood, kUnknown},
        {"RSA-512", rsa512.get(), EVP_sha256(), kUnknown, kUnknown},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const PartyOwner authority = make_party(
            {.name = "ca", .issuer = root_.get(), .extensions = kAuthority, .key = c.key});
        const PartyOwner certificate = make_party({.name = "stamps", .issuer = authority.get()});
        const CertificatePath path{certificate->entry, authority->entry, root_->entry};
        for (const bool is_list : {true, false}) {
            forget();
            if (is_list) {
                give_list(
                    {.signer = authority.get(), .made = kMade, .next = kNext, .digest = c.digest});
            } else {
                AnswerSpec spec = answer(*certificate, *authority);
                spec.entries[0].issuer = authority.get();
                spec.digest = c.digest;
                give_answer(spec);
            }
            strength_ = StrengthLevel::floor;
            EXPECT_EQ(judge(path, 0, RevocationMode::require), c.by_floor) << is_list;
            strength_ = StrengthLevel::current;
            EXPECT_EQ(judge(path, 0, RevocationMode::require), c.by_current) << is_list;
        }
    }
}

// The cost of junk adds up, and isn't that of each object times each certificate of the name.
TEST_F(EvidenceTest, LikeNamedCertificatesAreNotTriedOnEveryAnswerAndList) {
    const PartyOwner certificate = leaf();
    const PartyOwner impostor = make_party({.name = "ca", .extensions = kAuthority});
    constexpr unsigned kObjects = 60;
    constexpr unsigned kNamesakes = 40;
    for (unsigned i = 0; i < kNamesakes; ++i) {
        paths_.add(*make_party({.name = "ca", .extensions = kAuthority}));
    }
    for (unsigned i = 0; i < kObjects; ++i) {
        AnswerSpec junk = answer(*certificate, *impostor);
        junk.produced = kMade - static_cast<int>(i);
        give_answer(junk);
    }
    EXPECT_EQ(judge(*certificate), kUnknown);
    EXPECT_EQ(paths_.lookups(), 0U) << "only the issuer's key and its delegates sign answers";
    EXPECT_EQ(signatures_, kObjects);

    forget();
    for (unsigned i = 0; i < kObjects; ++i) {
        ListSpec junk = list();
        junk.signer = impostor.get();
        junk.made = static_cast<int>(i);
        give_list(junk);
    }
    EXPECT_EQ(judge(*certificate), kUnknown);
    EXPECT_LE(paths_.lookups(), kObjects);
    EXPECT_EQ(paths_.searches(), 0U) << "nobody's path is looked for who hasn't signed";
    EXPECT_EQ(signatures_, BudgetLimits().given_evidence_signatures);
}

TEST_F(EvidenceTest, TheFindingTellsWhatDecided) {
    const PartyOwner certificate = leaf();
    ListSpec spec = list();
    spec.entries = {{certificate.get(), 50, 1}};
    give_list(spec);
    ASSERT_EQ(judge(*certificate), kRevoked);
    EXPECT_TRUE(finding_.revoked_later);
    EXPECT_TRUE(finding_.key_is_compromised);
    EXPECT_EQ(finding_.reason, 1);
    EXPECT_EQ(finding_.revoked_at, ticks_at(50));
    ASSERT_EQ(finding_.evidence.size(), 1u);
    const DecidingEvidence& evidence = finding_.evidence[0];
    EXPECT_EQ(evidence.kind, EvidenceKind::crl);
    EXPECT_EQ(evidence.source, EvidenceSource::given);
    EXPECT_EQ(evidence.this_update, ticks_at(kMade));
    EXPECT_EQ(evidence.next_update, ticks_at(kNext));
    EXPECT_NE(read_crl(evidence.encoded), nullptr);
    EXPECT_TRUE(evidence.url.empty());
}

} // namespace
} // namespace basalt::test
