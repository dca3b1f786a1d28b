// Stamps by the older Authenticode protocol, whose answer is judged before it is given out.
#include <algorithm>

#include <basalt/error_codes.h>
#include <basalt/last_error.h>
#include <basalt/object_coding.h>
#include <chronoseal/atl/cert_context.h>
#include <chronoseal/atl/platform_answer.h>
#include <chronoseal/client/result_codes.h>
#include <chronoseal/seal/armor.h>
#include <chronoseal/seal/byte_kind.h>
#include <chronoseal/seal/certificate_info.h>
#include <chronoseal/seal/configuration_value.h>
#include <chronoseal/seal/der_element.h>
#include <chronoseal/seal/endpoint.h>
#include <chronoseal/seal/failure.h>
#include <chronoseal/seal/platform_text.h>
#include <chronoseal/seal/request_rules.h>
#include <chronoseal/seal/signed_bytes.h>
#include <chronoseal/seal/verification.h>

namespace chronoseal {

namespace {

// Lines of 76 characters, as the servers of this protocol are used to.
std::string in_lines(const std::string& text) {
    constexpr std::size_t kLine = 76;
    std::string lines;
    for (std::size_t at = 0; at < text.size(); at += kLine) {
        lines += text.substr(at, kLine) + "\r\n";
    }
    return lines;
}

constexpr char kDoing[] = "get an Authenticode stamp";
constexpr unsigned kHttpOk = 200;
constexpr std::string_view kSigningTime = "1.2.840.113549.1.9.5";

// The server to ask, if policy allows it.
Endpoint choose_server(const std::string& wanted) {
    std::string url =
        wanted.empty() ? configured_text("\\config\\cades\\tsppolicy\\DefaultMSTSPURL").value_or("")
                       : wanted;
    if (url.empty()) {
        throw Error(Category::misuse, "no_address", Halcyon::PKI::TSP::Client::kResultNoAddress,
                    "no Authenticode server's address is set",
                    "give one, or set DefaultMSTSPURL in the machine's policy");
    }
    Endpoint endpoint = make_endpoint({.url = url}, "");
    static_cast<void>(settled_rules()); // a policy that can't be read allows nothing
    const auto allowed = configured_list("\\config\\cades\\tsppolicy\\AllowedMSTSPs");
    if (allowed && std::ranges::find(*allowed, endpoint.url) == allowed->end()) {
        throw error_of_code(ERROR_ACCESS_DISABLED_BY_POLICY, kDoing);
    }
    return endpoint;
}

Bytes encode_request(ByteView content) {
    char algorithm[] = "1.3.6.1.4.1.311.3.2.1";
    char type[] = "1.2.840.113549.1.7.1";
    const Halcyon::CBlob copy = blob_of(content);
    CRYPT_TIME_STAMP_REQUEST_INFO info{};
    info.pszTimeStampAlgorithm = algorithm;
    info.pszContentType = type;
    info.Content = {static_cast<DWORD>(copy.cbData()), copy.pbData()};
    DWORD size = 0;
    if (CryptEncodeObject(ATL2::kAnyEncoding, PKCS_TIME_REQUEST, &info, nullptr, &size) == 0) {
        throw error_of_last(kDoing);
    }
    Bytes der(size);
    if (CryptEncodeObject(ATL2::kAnyEncoding, PKCS_TIME_REQUEST, &info,
                          reinterpret_cast<BYTE*>(der.data()), &size) == 0) {
        throw error_of_last(kDoing);
    }
    der.resize(size);
    return der;
}

Bytes ask(ByteView content, const Endpoint& server) {
    const std::string body = in_lines(encode_base64(encode_request(content)));
    const ExchangeAnswer answer = post(server, bytes_of(body), "");
    if (answer.status != kHttpOk) {
        throw error_of_http_status(answer.status, server);
    }
    const std::string_view text(reinterpret_cast<const char*>(answer.body.data()),
                                answer.body.size());
    // Some servers end their text by a zero.
    auto decoded = decode_base64(text.substr(0, text.find('\0')));
    if (!decoded) {
        throw Error(Category::refused, "answer_malformed", 0,
                    "the answer of " + server.shown + " is not an Authenticode stamp but " +
                        describe_bytes(answer.body),
                    "check the address");
    }
    return *std::move(decoded);
}

unsigned two_digits(std::string_view text, std::size_t at) {
    return static_cast<unsigned>((text[at] - '0') * 10 + (text[at + 1] - '0'));
}

// UTCTime and GeneralizedTime with seconds and "Z".
std::optional<Time> time_of_der(ByteView der) {
    const auto element = DerReader(der).next();
    if (!element) {
        return std::nullopt;
    }
    std::string text(reinterpret_cast<const char*>(element->content.data()),
                     element->content.size());
    if (element->tag == der_tag::kUtcTime && text.size() == 13) {
        text = (text[0] < '5' ? "20" : "19") + text;
    } else if (element->tag != der_tag::kGeneralizedTime) {
        return std::nullopt;
    }
    if (text.size() != 15 || text.back() != 'Z' ||
        text.find_first_not_of("0123456789") != text.size() - 1) {
        return std::nullopt;
    }
    using namespace std::chrono;
    const year_month_day date{
        year(static_cast<int>(two_digits(text, 0) * 100 + two_digits(text, 2))),
        month(two_digits(text, 4)), day(two_digits(text, 6))};
    const hours hour(two_digits(text, 8));
    const minutes minute(two_digits(text, 10));
    const seconds second(two_digits(text, 12));
    if (!date.ok() || hour >= days(1) || minute >= hours(1) || second >= minutes(1)) {
        return std::nullopt;
    }
    return Time(sys_days(date)) + hour + minute + second;
}

// Of several none is the time.
std::optional<Time> signing_time(const SignatureInfo& signature) {
    std::vector<Bytes> values;
    for (const AttributeInfo& attribute : signature.signed_attributes) {
        if (attribute.oid == kSigningTime) {
            values.insert(values.end(), attribute.values.begin(), attribute.values.end());
        }
    }
    return values.size() == 1 ? time_of_der(values.front()) : std::nullopt;
}

// No nonce binds the answer to the question: the clock has to.
Time require_near(const std::optional<Time>& time, Time now) {
    constexpr std::chrono::minutes kFarthest{10};
    if (!time) {
        throw Error(Category::refused, "time_missing", 0,
                    "the answer tells no time that can be read: it may be an old one",
                    "the server is at fault; ask another");
    }
    if (*time > now + kFarthest || *time < now - kFarthest) {
        throw Error(Category::refused, "time_differs",
                    Halcyon::PKI::TSP::Client::kResultTimeOutsideWindow,
                    "the stamp's time " + utc_text(*time) + " is too far from this machine's",
                    "check this machine's clock; if that is right, ask another server");
    }
    return *time;
}

Error signer_missing() {
    return Error(Category::refused, "signer_not_found", CRYPT_E_NOT_FOUND,
                 "the signer's certificate is not in the answer",
                 "the server is at fault; ask another");
}

// The certificate by whose key the answer is signed.
ATL2::CCertContext signer_of(const ATL2::CCryptMsg& message, const ATL2::CCertStore& store) {
    SignatureCheck check = check_signature(message, 0, CMSG_CTRL_VERIFY_SIGNATURE_EX, store);
    if (check.code == CRYPT_E_SIGNER_NOT_FOUND) {
        throw signer_missing();
    }
    if (check.code != 0) {
        throw Error(Category::refused, "signature_bad", check.code,
                    "the signature of the answer is bad", "don't use it");
    }
    return std::move(check.signer);
}

// The word of the code, with the root that nobody trusts.
Error untrusted_root(const ChainJudgement& judgement) {
    const Error error = error_of_code(judgement.code, kDoing);
    const CertificateInfo& root = judgement.links.back().certificate;
    return Error(error.category(), error.word(), error.code(),
                 error.text() + ": " + quote_foreign(root.subject),
                 "if you know it to be the authority's root, trust it; its SHA-256 is " +
                     to_hex(root.sha256));
}

void require_chain(const TrustInForce& trust, const ATL2::CCertStore& store, PCCERT_CONTEXT signer,
                   Time at) {
    const ChainJudgement judgement = trust.engine.judge(signer, at, store.get());
    if (judgement.code == CERT_E_UNTRUSTEDROOT && !judgement.links.empty()) {
        throw untrusted_root(judgement);
    }
    if (judgement.code != 0) {
        throw error_of_code(judgement.code, kDoing);
    }
}

AuthenticodeStamp judge(Bytes answer, ByteView content, const AuthenticodeOptions& options) {
    const auto message = open_message(answer);
    if (message_number(message, CMSG_TYPE_PARAM) != CMSG_SIGNED ||
        message_number(message, CMSG_SIGNER_COUNT_PARAM) != 1) {
        throw Error(Category::refused, "not_a_stamp", CRYPT_E_INVALID_MSG_TYPE,
                    "the answer is not an Authenticode stamp but " + describe_bytes(answer),
                    "check the address");
    }
    const auto stamped = message_bytes(message, CMSG_CONTENT_PARAM);
    if (!stamped || !std::ranges::equal(*stamped, content)) {
        throw Error(Category::refused, "imprint_differs", CRYPT_E_HASH_VALUE,
                    "the answer is over other content", "the server is at fault; ask another");
    }
    ATL2::CCertStore store;
    store.Open(CERT_STORE_PROV_MSG, ATL2::kAnyEncoding, 0, 0, message.get());
    const auto signature = signature_info(message, 0);
    if (!signature) {
        throw signer_missing();
    }
    const auto signer = signer_of(message, store);
    AuthenticodeStamp stamp;
    stamp.time = signing_time(*signature);
    stamp.signer = certificate_info(signer.get());
    if (options.verify) {
        const auto now =
            std::chrono::time_point_cast<Time::duration>(std::chrono::system_clock::now());
        const Time time = require_near(stamp.time, now);
        require_chain(TrustInForce(options.trust), store, signer.get(), time);
    }
    stamp.der = std::move(answer);
    return stamp;
}

} // namespace

AuthenticodeStamp authenticode(ByteView content, const AuthenticodeOptions& options) {
    return guarded(
        kDoing, [&] { return judge(ask(content, choose_server(options.url)), content, options); });
}

} // namespace chronoseal
