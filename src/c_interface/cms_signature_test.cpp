// CMS signatures and the stamps in them through the C interface. OpenSSL makes the signatures.
#include <chronoseal/c_interface/testing/caller_fixture.h>
#include <chronoseal/seal/testing/signers.h>

namespace chronoseal::testing {
namespace {

std::string detached_signature(const std::string& data) {
    return Signers(data).der(CMS_DETACHED | CMS_BINARY);
}

using CCmsSignatureTest = CInterfaceTest;

TEST_F(CCmsSignatureTest, ASignatureGetsAStampAfterItWasChecked) {
    const auto sealer = made<chronoseal_sealer_new>(options);
    const std::string message = detached_signature("content");
    unsigned char* stamped = nullptr;
    int compared = -1;
    auto how = sized<chronoseal_attach_options>();
    const auto refusal = [&](const std::string& bytes) {
        return failure<chronoseal_attach>(sealer, bytes, how, nullptr, &compared, &stamped);
    };
    how.content = "another";
    how.content_size = 7;
    EXPECT_EQ(refusal(message), "refused: content_differs");
    how.content = nullptr;
    EXPECT_EQ(refusal(message), "misuse: argument_missing");
    how.content_size = 0;
    EXPECT_EQ(refusal("hello"), "refused: not_a_signature");
    EXPECT_EQ(stamped, nullptr);
    EXPECT_EQ(authority.requests(), 0U);

    taken<chronoseal_attach>(sealer, message, how, nullptr, &compared);
    EXPECT_EQ(compared, 0);
    how.content = "content";
    how.content_size = 7;
    const std::string whole = taken<chronoseal_attach>(sealer, message, how, nullptr, &compared);
    EXPECT_EQ(compared, 1);
    EXPECT_EQ(authority.requests(), 2U);
    const auto inspection = made<chronoseal_inspect>(whole);
    const auto* found = given<chronoseal_inspection_get_info>(inspection);
    ASSERT_EQ(found->stamp_count, 1U);
    const chronoseal_embedded& one = *found->stamps[0];
    EXPECT_STREQ(one.attribute, "1.2.840.113549.1.9.16.2.14");
    EXPECT_EQ(says<chronoseal_verify>(made<chronoseal_verifier_new>(trust), one.stamp,
                                      text_of(one.stamped), nullptr),
              "");
}

// Step by step what `chronoseal_attach` does at once, for stamps that come from elsewhere.
TEST_F(CCmsSignatureTest, AStampFromElsewhereIsPutIn) {
    const std::string der = detached_signature("content");
    const auto signature = made<chronoseal_cms_signature_read>(der);
    std::size_t count = 0;
    EXPECT_EQ(given<chronoseal_cms_signature_signers>(signature, &count), 1); // detached
    EXPECT_EQ(count, 1U);
    EXPECT_EQ(taken<chronoseal_cms_signature_encoded>(signature), der);

    const unsigned char content[] = {'c', 'o', 'n', 't', 'e', 'n', 't'};
    const chronoseal_bytes all{content, 7};
    const chronoseal_bytes less{content, 6};
    const auto check = [&](const chronoseal_bytes* data) {
        return given<chronoseal_cms_signature_check>(signature, 0, nullptr, 0, data);
    };
    EXPECT_EQ(check(&all), 1);
    EXPECT_EQ(check(nullptr), 0);
    EXPECT_EQ(failure<chronoseal_cms_signature_check>(signature, 0, nullptr, 0, less),
              "refused: content_differs");
    const auto extend = [&](const Handle<chronoseal_cms_signature>& of) {
        chronoseal_cms_signature* extended = nullptr;
        const auto told = failure<chronoseal_cms_signature_extend>(of, nullptr, &extended);
        EXPECT_EQ(extended, nullptr);
        return told;
    };
    EXPECT_EQ(extend(signature), "refused: no_stamps");
    const auto stamp = made<chronoseal_stamp_read>(
        token({.digest = tsp::sha256(taken<chronoseal_cms_signature_value>(signature, 0))}));
    for (const char* const attribute : {"1.2.840.113549.1.9.16.2.14", "1.3.6.1.4.1.311.3.3.1"}) {
        const auto stamped =
            made<chronoseal_cms_signature_with_stamp>(signature, 0, stamp, attribute);
        EXPECT_EQ(extend(stamped), "refused: chain_incomplete");
        std::string bytes = taken<chronoseal_cms_signature_encoded>(stamped);
        const auto good = made<chronoseal_inspect>(bytes);
        const auto* found = given<chronoseal_inspection_get_info>(good);
        ASSERT_EQ(found->stamp_count, 1U);
        EXPECT_STREQ(found->stamps[0]->attribute, attribute);
        // The last signed message in it, the stamp, is none any more.
        bytes[bytes.rfind("\x2A\x86\x48\x86\xF7\x0D\x01\x07\x02") + 8] = 9;
        const auto broken = made<chronoseal_inspect>(bytes);
        found = given<chronoseal_inspection_get_info>(broken);
        ASSERT_EQ(found->stamp_count, 0U);
        ASSERT_EQ(found->unread_count, 1U);
        EXPECT_STREQ(found->unread[0]->attribute, attribute);
        EXPECT_STREQ(chronoseal_error_word(found->unread[0]->reason), "not_a_stamp");
    }
}

TEST_F(CCmsSignatureTest, WhatCameAsAMailGoesBackAsOne) {
    const std::string der = detached_signature("content");
    const auto message = tsp::message_of(der);
    const auto out = tsp::owned(BIO_new(BIO_s_mem()), &BIO_free_all);
    ASSERT_EQ(SMIME_write_CMS(out.get(), message.get(), nullptr, 0), 1);
    const std::string mail = text_of(out.get());
    for (const std::string& one : {mail, taken<chronoseal_rewrap>(mail, der)}) {
        const auto inspection = made<chronoseal_inspect>(one);
        const auto* found = given<chronoseal_inspection_get_info>(inspection);
        EXPECT_EQ(found->form, CHRONOSEAL_FORM_SMIME);
        EXPECT_STREQ(found->kind_name, "signed_message");
        EXPECT_EQ(text_of(found->der), der);
    }
}

TEST_F(CCmsSignatureTest, AMissingArgumentIsToldAndNeverFollowed) {
    const auto sealer = made<chronoseal_sealer_new>(options);
    const auto stamp = made<chronoseal_stamp_read>(token());
    const auto signature = made<chronoseal_cms_signature_read>(detached_signature("content"));
    needs_all<chronoseal_attach>(sealer, "x", 1, nullptr, nullptr, nullptr, kPlace, kPlace);
    needs_all<chronoseal_cms_signature_read>("x", 1, kPlace);
    needs_all<chronoseal_cms_signature_signers>(signature, kPlace, nullptr);
    needs_all<chronoseal_cms_signature_value>(signature, 0, kPlace, kPlace);
    needs_all<chronoseal_cms_signature_check>(signature, 0, nullptr, 0, nullptr, nullptr);
    EXPECT_EQ(says<chronoseal_cms_signature_check>(signature, 0, nullptr, 1, nullptr, nullptr),
              "misuse: argument_missing");
    const chronoseal_bytes nothing{nullptr, 1};
    EXPECT_EQ(says<chronoseal_cms_signature_check>(signature, 0, nullptr, 0, nothing, nullptr),
              "misuse: argument_missing");
    needs_all<chronoseal_cms_signature_with_stamp>(signature, 0, stamp, nullptr, kPlace);
    needs_all<chronoseal_cms_signature_extend>(signature, nullptr, kPlace, nullptr);
    needs_all<chronoseal_cms_signature_encoded>(signature, kPlace, kPlace);
    needs_all<chronoseal_rewrap>("x", 1, "x", 1, kPlace, kPlace);
}

} // namespace
} // namespace chronoseal::testing
