// A stamp of any bytes: import, every getter, both verdicts. What is taken as a token OpenSSL's
// readers take too, with the same fields, or there is a reason that openssl_view.h names; what
// verifies here verifies there; and no chain is good where no root is trusted.
#include <algorithm>
#include <cstring>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <openssl/cms.h>
#include <openssl/cmserr.h>
#include <openssl/err.h>
#include <openssl/ts.h>

#include "openssl_view.h"
#include "surroundings.h"
#include <basalt/message.h>
#include <chronoseal/client/request.h>
#include <chronoseal/client/stamp.h>

namespace {

using namespace Halcyon::PKI::TSP::Client;
using fuzzing::code_of;
using fuzzing::require;
using Octets = std::vector<unsigned char>;

constexpr std::uint32_t kOtherNonce = 0xC2100120;

template <class T, void (*release)(T*)>
struct Release {
    void operator()(T* object) const { release(object); }
};
using TheirMessage =
    std::unique_ptr<CMS_ContentInfo, Release<CMS_ContentInfo, &CMS_ContentInfo_free>>;
using TheirInfo = std::unique_ptr<TS_TST_INFO, Release<TS_TST_INFO, &TS_TST_INFO_free>>;
using TheirAnswer = std::unique_ptr<TS_RESP, Release<TS_RESP, &TS_RESP_free>>;
using Number = std::unique_ptr<BIGNUM, Release<BIGNUM, &BN_free>>;
using Certificate = std::unique_ptr<X509, Release<X509, &X509_free>>;
struct FreeStack {
    void operator()(STACK_OF(X509) * stack) const { sk_X509_free(stack); }
};
using Stack = std::unique_ptr<STACK_OF(X509), FreeStack>;
using Bio = std::unique_ptr<BIO, Release<BIO, &BIO_free_all>>;

Octets octets(const CStamp& stamp, void (CStamp::*getter)(unsigned char*, unsigned long*) const) {
    unsigned long size = 0;
    (stamp.*getter)(nullptr, &size);
    Octets out(size + 1);
    (stamp.*getter)(out.data(), &size);
    out.resize(size);
    return out;
}

struct Fields {
    explicit Fields(const CStamp& stamp)
        : token(octets(stamp, &CStamp::Export)), hash(octets(stamp, &CStamp::get_DataHash)),
          serial(octets(stamp, &CStamp::get_SerialNumber)),
          tsa(octets(stamp, &CStamp::get_TSABlob)), ticks(stamp.get_Time().ticks()),
          accuracy(stamp.get_Accuracy()), ordering(stamp.get_Ordering()),
          has_nonce(stamp.get_HasNonce()), algorithm(stamp.get_DataHashAlgOID()),
          policy(stamp.get_PolicyID()), name(stamp.get_TSA()) {
        require(stamp.get_DataHashAlg() != 0 && stamp.get_Certificates() != nullptr);
    }
    bool operator==(const Fields&) const = default;

    Octets token, hash, serial, tsa;
    std::uint64_t ticks;
    long accuracy;
    bool ordering, has_nonce;
    std::string algorithm, policy;
    std::wstring name;
};

// -- OpenSSL's view of a field.

Octets bytes_of(const ASN1_STRING* string) {
    const auto* data = ASN1_STRING_get0_data(string);
    return Octets(data, data + ASN1_STRING_length(string));
}

// The time in ticks since 1601, fraction cut to microseconds; nothing when the text isn't DER's
// form, where OpenSSL and this system read what lies between the lines differently.
std::optional<std::uint64_t> ticks_of(const ASN1_GENERALIZEDTIME* time) {
    const auto bytes = bytes_of(time);
    const std::string text(bytes.begin(), bytes.end());
    const std::size_t digits = text.find_first_not_of("0123456789");
    tm fields{};
    if (digits != 14 || ASN1_TIME_to_tm(time, &fields) != 1) {
        return std::nullopt;
    }
    std::uint64_t microseconds = 0;
    std::size_t at = digits;
    if (text[at] == '.') {
        ++at;
        for (std::uint64_t unit = 100000; at < text.size() && text[at] != 'Z'; ++at, unit /= 10) {
            microseconds += unit * static_cast<std::uint64_t>(text[at] - '0');
        }
    }
    if (text.substr(at) != "Z" || fields.tm_year < 1601 - 1900) {
        return std::nullopt;
    }
    constexpr std::int64_t kFrom1601To1970 = 11644473600;
    const auto seconds = static_cast<std::uint64_t>(timegm(&fields) + kFrom1601To1970);
    return (seconds * 1000000 + microseconds) * 10;
}

// A big-endian two's complement.
Number number_of(const Octets& bytes) {
    Number number(BN_bin2bn(bytes.data(), static_cast<int>(bytes.size()), nullptr));
    if (!bytes.empty() && (bytes[0] & 0x80) != 0) {
        const Number span(BN_new());
        BN_set_bit(span.get(), static_cast<int>(8 * bytes.size()));
        BN_sub(number.get(), number.get(), span.get());
    }
    return number;
}

// Microseconds in 32 bits; nothing for parts that are no numbers of 32 bits.
std::optional<long> accuracy_of(const TS_ACCURACY* accuracy) {
    if (accuracy == nullptr) {
        return -1;
    }
    std::uint32_t total = 0;
    std::uint32_t unit = 1000000;
    for (const auto* part : {TS_ACCURACY_get_seconds(accuracy), TS_ACCURACY_get_millis(accuracy),
                             TS_ACCURACY_get_micros(accuracy)}) {
        std::uint64_t value = 0;
        if (part != nullptr && (ASN1_INTEGER_get_uint64(&value, part) != 1 || value > UINT32_MAX)) {
            return std::nullopt;
        }
        total += static_cast<std::uint32_t>(value) * unit;
        unit /= 1000;
    }
    return static_cast<long>(total);
}

void compare_fields(const Fields& ours, TS_TST_INFO* theirs) {
    auto* const imprint = TS_TST_INFO_get_msg_imprint(theirs);
    const ASN1_OBJECT* algorithm = nullptr;
    X509_ALGOR_get0(&algorithm, nullptr, nullptr, TS_MSG_IMPRINT_get_algo(imprint));
    require(fuzzing::is_same(ours.algorithm, algorithm));
    require(ours.hash == bytes_of(TS_MSG_IMPRINT_get_msg(imprint)));
    require(fuzzing::is_same(ours.policy, TS_TST_INFO_get_policy_id(theirs)));
    const Number serial(ASN1_INTEGER_to_BN(TS_TST_INFO_get_serial(theirs), nullptr));
    require(BN_cmp(number_of(ours.serial).get(), serial.get()) == 0);
    if (const auto ticks = ticks_of(TS_TST_INFO_get_time(theirs))) {
        require(ours.ticks == *ticks);
    }
    if (const auto accuracy = accuracy_of(TS_TST_INFO_get_accuracy(theirs))) {
        require(ours.accuracy == *accuracy);
    }
    require(ours.ordering == (TS_TST_INFO_get_ordering(theirs) != 0));
    require(ours.has_nonce == (TS_TST_INFO_get_nonce(theirs) != nullptr));
}

TheirMessage read_message(const Octets& token) {
    const auto* at = token.data();
    return TheirMessage(d2i_CMS_ContentInfo(nullptr, &at, static_cast<long>(token.size())));
}

TheirInfo read_info(CMS_ContentInfo* message) {
    auto** const content = CMS_get0_content(message);
    require(content != nullptr && *content != nullptr);
    const auto* at = ASN1_STRING_get0_data(*content);
    return TheirInfo(d2i_TS_TST_INFO(nullptr, &at, ASN1_STRING_length(*content)));
}

// The signer's certificate is given along: OpenSSL doesn't look for it in attributes. It also wants
// the digests of the signers to be announced in front of the content, which isn't looked at here.
bool verifies_there(CMS_ContentInfo* message, const Octets& certificate) {
    const auto* at = certificate.data();
    const Certificate signer(d2i_X509(nullptr, &at, static_cast<long>(certificate.size())));
    const Stack signers(sk_X509_new_null());
    sk_X509_push(signers.get(), signer.get());
    const Bio nowhere(BIO_new(BIO_s_null()));
    if (CMS_verify(message, signers.get(), nullptr, nullptr, nowhere.get(),
                   CMS_NO_SIGNER_CERT_VERIFY | CMS_BINARY) == 1) {
        return true;
    }
    bool unannounced = false;
    while (const auto error = ERR_get_error()) {
        const int reason = ERR_GET_LIB(error) == ERR_LIB_CMS ? ERR_GET_REASON(error) : 0;
        unannounced = unannounced || reason == CMS_R_UNKNOWN_DIGEST_ALGORITHM ||
                      reason == CMS_R_NO_MATCHING_DIGEST;
    }
    return unannounced;
}

DWORD signers_of(const Octets& token) {
    const HCRYPTMSG message = CryptMsgOpenToDecode(0x10001, 0, 0, 0, nullptr, nullptr);
    DWORD count = 0;
    DWORD size = sizeof(count);
    if (CryptMsgUpdate(message, token.data(), static_cast<DWORD>(token.size()), TRUE)) {
        CryptMsgGetParam(message, CMSG_SIGNER_COUNT_PARAM, 0, &count, &size);
    }
    CryptMsgClose(message);
    return count;
}

// `signer` is null when the token wasn't found good.
void compare_with_openssl(const Fields& fields, const Octets* signer) {
    ERR_clear_error();
    const auto message = read_message(fields.token);
    const auto info = message ? read_info(message.get()) : nullptr;
    if (!info) {
        // Of several signers the first alone is read here; none of them verifies.
        require(signers_of(fields.token) > 1 || fuzzing::is_named_reason());
    } else {
        compare_fields(fields, info.get());
        require(!signer || verifies_there(message.get(), *signer));
    }
    ERR_clear_error();
}

void compare_status(const CStamp& stamp, const unsigned char* data, std::size_t size) {
    const TheirAnswer theirs(d2i_TS_RESP(nullptr, &data, static_cast<long>(size)));
    if (theirs) {
        const auto* status = TS_STATUS_INFO_get0_status(TS_RESP_get_status_info(theirs.get()));
        require(stamp.get_Status() == static_cast<unsigned int>(ASN1_INTEGER_get(status)));
    }
    ERR_clear_error();
}

// -- What has to hold whatever came in.

void import_again(const CStamp& stamp, const Fields& fields) {
    require(Fields(CStamp(stamp)) == fields);
    CStamp again;
    again.Import(fields.token.data(), fields.token.size(), nullptr);
    require(Fields(again) == fields);
    require(stamp.Compare(&again) == 0);

    if (!fields.hash.empty()) {
        CRequest request;
        request.put_UseNonce(false);
        request.put_DataHashAlg(fields.algorithm.c_str());
        request.put_DataHash(fields.hash.data(), fields.hash.size());
        const auto code =
            code_of([&] { again.Import(fields.token.data(), fields.token.size(), &request); });
        require(code == (fields.has_nonce ? kOtherNonce : 0));
    }
}

// The signer's certificate, if the token is found good in itself.
std::optional<Octets> judge(const CStamp& stamp) {
    std::optional<Octets> signer;
    code_of([&] {
        if (stamp.Verify(nullptr, "*") == 0) {
            const auto* certificate = stamp.get_TSACertificate(nullptr, 0);
            signer.emplace(certificate->pbCertEncoded,
                           certificate->pbCertEncoded + certificate->cbCertEncoded);
        }
    });
    code_of([&] { stamp.Verify(stamp.get_TSACertificate(nullptr, 0), "1.2.3;2.5.29.15"); });
    code_of([&] {
        void* stores[] = {nullptr, stamp.get_Certificates()};
        require(stamp.VerifyCertificate(nullptr, stores, 2) != 0);
    });
    return signer;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    fuzzing::isolate();
    CStamp stamp;
    if (code_of([&] { stamp.Import(data, size, nullptr); }) != 0) {
        return 0;
    }
    const bool is_answer = code_of([&] { stamp.get_Status(); }) == 0;
    if (is_answer) {
        stamp.get_StatusString();
        compare_status(stamp, data, size);
    }
    const unsigned int failure = is_answer ? stamp.get_FailInfo() : 0;
    unsigned long length = 0;
    if (failure != 0) {
        require(code_of([&] { stamp.Export(nullptr, &length); }) != 0);
        return 0;
    }
    if (code_of([&] { stamp.Export(nullptr, &length); }) == 0) {
        const Fields fields(stamp);
        import_again(stamp, fields);
        const auto signer = judge(stamp);
        compare_with_openssl(fields, signer ? &*signer : nullptr);
    }
    return 0;
}
