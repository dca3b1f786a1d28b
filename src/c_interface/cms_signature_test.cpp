// CMS signatures and the stamps in them through the C interface. OpenSSL makes the signatures.
#include <memory>

#include <chronoseal/c_interface/testing/caller_fixture.h>

namespace chronoseal::testing {
namespace {

// By OpenSSL, and by somebody whose certificate is in the message.
std::string detached_signature(const std::string& data) {
    const auto key = tsp::owned(EVP_EC_gen("P-256"), &EVP_PKEY_free);
    const auto certificate = tsp::owned(X509_new(), &X509_free);
    ASN1_INTEGER_set(X509_get_serialNumber(certificate.get()), 5);
    X509_gmtime_adj(X509_getm_notBefore(certificate.get()), 0);
    X509_gmtime_adj(X509_getm_notAfter(certificate.get()), 86400);
    X509_NAME_add_entry_by_txt(X509_get_subject_name(certificate.get()), "CN", MBSTRING_UTF8,
                               reinterpret_cast<const unsigned char*>("Person"), -1, -1, 0);
    X509_set_issuer_name(certificate.get(), X509_get_subject_name(certificate.get()));
    X509_set_pubkey(certificate.get(), key.get());
    X509_sign(certificate.get(), key.get(), EVP_sha256());
    const auto content =
        tsp::owned(BIO_new_mem_buf(data.data(), static_cast<int>(data.size())), &BIO_free_all);
    const auto message = tsp::owned(
        CMS_sign(certificate.get(), key.get(), nullptr, content.get(), CMS_DETACHED | CMS_BINARY),
        &CMS_ContentInfo_free);
    return tsp::der(message.get(), &i2d_CMS_ContentInfo);
}

using SignatureHandle =
    std::unique_ptr<chronoseal_cms_signature, FreeBy<chronoseal_cms_signature_free>>;

class CCmsSignatureTest : public CInterfaceTest {
protected:
    SignatureHandle signature_of(const std::string& bytes) {
        chronoseal_cms_signature* made = nullptr;
        chronoseal_cms_signature_read(bytes.data(), bytes.size(), &made, &error);
        return SignatureHandle(made);
    }
    std::string encoded(const SignatureHandle& signature) {
        unsigned char* data = nullptr;
        std::size_t size = 0;
        EXPECT_EQ(chronoseal_cms_signature_encoded(signature.get(), &data, &size, &error),
                  CHRONOSEAL_OK);
        return taken(data, size);
    }
};

TEST_F(CCmsSignatureTest, ASignatureGetsAStampAfterItWasChecked) {
    const auto sealer = make_sealer();
    const std::string message = detached_signature("content");
    unsigned char* stamped = nullptr;
    std::size_t size = 0;
    int compared = -1;
    chronoseal_attach_options how{};
    how.size = sizeof how;
    const auto attach = [&](const std::string& bytes) {
        chronoseal_free(stamped);
        chronoseal_attach(sealer.get(), bytes.data(), bytes.size(), &how, nullptr, &compared,
                          &stamped, &size, &error);
        return word();
    };
    how.content = "another";
    how.content_size = 7;
    EXPECT_EQ(attach(message), "content_differs");
    how.signer = 2;
    EXPECT_EQ(attach(message), "no_signer");
    how.signer = 0;
    how.content = nullptr;
    EXPECT_EQ(attach(message), "argument_missing");
    how.content_size = 0;
    std::string broken = message;
    broken.back() ^= 1;
    EXPECT_EQ(attach(broken), "signature_bad");
    EXPECT_EQ(attach("hello"), "not_a_signature");
    EXPECT_EQ(stamped, nullptr);
    EXPECT_EQ(authority.requests(), 0U);

    EXPECT_EQ(attach(message), "");
    EXPECT_EQ(compared, 0);
    how.content = "content";
    how.content_size = 7;
    EXPECT_EQ(attach(message), "") << why();
    EXPECT_EQ(compared, 1);
    EXPECT_EQ(authority.requests(), 2U);
    chronoseal_inspection* inspection = nullptr;
    ASSERT_EQ(chronoseal_inspect(stamped, size, &inspection, &error), CHRONOSEAL_OK);
    const Handle<chronoseal_inspection> seen(inspection);
    const chronoseal_inspection_info* found = nullptr;
    ASSERT_EQ(chronoseal_inspection_get_info(inspection, &found, &error), CHRONOSEAL_OK);
    ASSERT_EQ(found->stamp_count, 1U);
    EXPECT_STREQ(found->stamps[0]->attribute, "1.2.840.113549.1.9.16.2.14");
    const auto verifier = make_verifier();
    EXPECT_EQ(chronoseal_verify(verifier.get(), found->stamps[0]->stamp,
                                found->stamps[0]->stamped.data, found->stamps[0]->stamped.size,
                                nullptr, &error),
              CHRONOSEAL_OK)
        << why();
    chronoseal_free(stamped);
}

// Step by step what `chronoseal_attach` does at once, for stamps that come from elsewhere.
TEST_F(CCmsSignatureTest, AStampFromElsewhereIsPutIn) {
    const std::string der = detached_signature("content");
    const auto signature = signature_of(der);
    std::size_t count = 0;
    int detached = 0;
    ASSERT_EQ(chronoseal_cms_signature_signers(signature.get(), &count, &detached, &error),
              CHRONOSEAL_OK)
        << why();
    EXPECT_EQ(count, 1U);
    EXPECT_EQ(detached, 1);
    EXPECT_EQ(encoded(signature), der);

    const std::string content = "content";
    const std::string other = "other";
    struct Row {
        const std::string* content;
        const char* word;
        int compared;
    };
    for (const Row& row :
         {Row{&content, "", 1}, Row{nullptr, "", 0}, Row{&other, "content_differs", 0}}) {
        chronoseal_bytes view{};
        if (row.content != nullptr) {
            view = {reinterpret_cast<const unsigned char*>(row.content->data()),
                    row.content->size()};
        }
        int compared = -1;
        chronoseal_cms_signature_check(signature.get(), 0, nullptr, 0,
                                       row.content != nullptr ? &view : nullptr, &compared, &error);
        EXPECT_EQ(word(), row.word);
        EXPECT_EQ(compared, row.compared) << row.word;
    }
    unsigned char* data = nullptr;
    std::size_t size = 0;
    EXPECT_EQ(
        chronoseal_cms_signature_value(signature.get(), ~std::size_t{0}, &data, &size, &error),
        CHRONOSEAL_MISUSE);
    EXPECT_EQ(word(), "no_signer");
    ASSERT_EQ(chronoseal_cms_signature_value(signature.get(), 0, &data, &size, &error),
              CHRONOSEAL_OK);
    const std::string value = taken(data, size);
    const auto put = [&](const std::string& stamped, const char* attribute) {
        tsp::TstInfo info;
        info.digest = tsp::sha256(stamped);
        const auto stamp = read(token(info));
        chronoseal_cms_signature* made = nullptr;
        chronoseal_cms_signature_with_stamp(signature.get(), 0, stamp.get(), attribute, &made,
                                            &error);
        return SignatureHandle(made);
    };
    const auto extend = [&](const SignatureHandle& of) {
        chronoseal_cms_signature* made = nullptr;
        int changed = -1;
        chronoseal_cms_signature_extend(of.get(), nullptr, &made, &changed, &error);
        EXPECT_EQ(changed, 0);
        EXPECT_EQ(made, nullptr);
        return word();
    };
    EXPECT_EQ(extend(signature), "no_stamps");
    EXPECT_EQ(put("other", nullptr), nullptr);
    EXPECT_EQ(word(), "imprint_differs");
    for (const char* const attribute : {"1.2.840.113549.1.9.16.2.14", "1.3.6.1.4.1.311.3.3.1"}) {
        const auto stamped = put(value, attribute);
        ASSERT_NE(stamped, nullptr) << why();
        EXPECT_EQ(extend(stamped), "chain_incomplete");
        std::string bytes = encoded(stamped);
        for (const std::size_t good : {1U, 0U}) {
            chronoseal_inspection* inspection = nullptr;
            ASSERT_EQ(chronoseal_inspect(bytes.data(), bytes.size(), &inspection, &error),
                      CHRONOSEAL_OK);
            const chronoseal_inspection_info* found = nullptr;
            ASSERT_EQ(chronoseal_inspection_get_info(inspection, &found, &error), CHRONOSEAL_OK);
            ASSERT_EQ(found->stamp_count, good);
            ASSERT_EQ(found->unread_count, 1 - good);
            EXPECT_STREQ(good != 0 ? found->stamps[0]->attribute : found->unread[0]->attribute,
                         attribute);
            if (good == 0) {
                EXPECT_STREQ(chronoseal_error_word(found->unread[0]->reason), "not_a_stamp");
            }
            chronoseal_inspection_free(&inspection);
            bytes[bytes.find("\x10\x01\x04") + 2] = 5; // its content is no TSTInfo any more
        }
    }
}

TEST_F(CCmsSignatureTest, WhatCameAsAMailGoesBackAsOne) {
    const std::string der = detached_signature("content");
    const auto message = tsp::owned(
        [&] {
            const auto* place = reinterpret_cast<const unsigned char*>(der.data());
            return d2i_CMS_ContentInfo(nullptr, &place, static_cast<long>(der.size()));
        }(),
        &CMS_ContentInfo_free);
    const auto out = tsp::owned(BIO_new(BIO_s_mem()), &BIO_free_all);
    ASSERT_EQ(SMIME_write_CMS(out.get(), message.get(), nullptr, 0), 1);
    char* text = nullptr;
    const long length = BIO_get_mem_data(out.get(), &text);
    const std::string mail(text, static_cast<std::size_t>(length));
    chronoseal_inspection* inspection = nullptr;
    ASSERT_EQ(chronoseal_inspect(mail.data(), mail.size(), &inspection, &error), CHRONOSEAL_OK);
    const chronoseal_inspection_info* found = nullptr;
    ASSERT_EQ(chronoseal_inspection_get_info(inspection, &found, &error), CHRONOSEAL_OK);
    EXPECT_EQ(found->form, CHRONOSEAL_FORM_SMIME);
    EXPECT_STREQ(found->kind_name, "signed_message");
    unsigned char* data = nullptr;
    std::size_t size = 0;
    ASSERT_EQ(chronoseal_rewrap(mail.data(), mail.size(), found->der.data, found->der.size, &data,
                                &size, &error),
              CHRONOSEAL_OK)
        << why();
    const std::string again = taken(data, size);
    chronoseal_inspection_free(&inspection);
    ASSERT_EQ(chronoseal_inspect(again.data(), again.size(), &inspection, &error), CHRONOSEAL_OK);
    ASSERT_EQ(chronoseal_inspection_get_info(inspection, &found, &error), CHRONOSEAL_OK);
    EXPECT_EQ(found->form, CHRONOSEAL_FORM_SMIME);
    EXPECT_EQ(text_of(found->der), der);
    chronoseal_inspection_free(&inspection);
}

TEST_F(CCmsSignatureTest, AMissingArgumentIsToldAndNeverFollowed) {
    const auto signature = signature_of(detached_signature("content"));
    chronoseal_cms_signature* out = nullptr;
    unsigned char* data = nullptr;
    std::size_t size = 0;
    const chronoseal_bytes nothing{nullptr, 1};
    const auto* s = signature.get();
    expect_argument_missing({
        ROW(chronoseal_attach(nullptr, "x", 1, nullptr, nullptr, nullptr, &data, &size, e)),
        ROW(chronoseal_cms_signature_read(nullptr, 1, &out, e)),
        ROW(chronoseal_cms_signature_read("x", 1, nullptr, e)),
        ROW(chronoseal_cms_signature_signers(nullptr, &size, nullptr, e)),
        ROW(chronoseal_cms_signature_signers(s, nullptr, nullptr, e)),
        ROW(chronoseal_cms_signature_value(nullptr, 0, &data, &size, e)),
        ROW(chronoseal_cms_signature_value(s, 0, nullptr, &size, e)),
        ROW(chronoseal_cms_signature_value(s, 0, &data, nullptr, e)),
        ROW(chronoseal_cms_signature_check(nullptr, 0, nullptr, 0, nullptr, nullptr, e)),
        ROW(chronoseal_cms_signature_check(s, 0, nullptr, 1, nullptr, nullptr, e)),
        ROW(chronoseal_cms_signature_check(s, 0, nullptr, 0, &nothing, nullptr, e)),
        ROW(chronoseal_cms_signature_with_stamp(s, 0, nullptr, nullptr, &out, e)),
        ROW(chronoseal_cms_signature_extend(nullptr, nullptr, &out, nullptr, e)),
        ROW(chronoseal_cms_signature_extend(s, nullptr, nullptr, nullptr, e)),
        ROW(chronoseal_cms_signature_encoded(nullptr, &data, &size, e)),
        ROW(chronoseal_rewrap(nullptr, 1, "x", 1, &data, &size, e)),
        ROW(chronoseal_rewrap("x", 1, nullptr, 1, &data, &size, e)),
        ROW(chronoseal_rewrap("x", 1, "x", 1, nullptr, &size, e)),
    });
    chronoseal_cms_signature_free(nullptr);
}

} // namespace
} // namespace chronoseal::testing
