#include "stamp_report.h"

#include <fmt/format.h>

#include "basalt20/coding/name_text.h"
#include "base/atl_exception.h"
#include "base/date_time.h"
#include "hash_names.h"
#include "narrow_text.h"
#include "store_handle.h"
#include "sup/time_conversion.h"

namespace cli {

namespace {

using Halcyon::CDateTime;
using Halcyon::PKI::TSP::Client::CStamp;
using Bytes = std::vector<unsigned char>;

struct BitName {
    unsigned bit;
    const char* name;
};

// PKIFailureInfo (RFC 3161, 2.4.2, and RFC 4210, 5.2.3).
constexpr BitName kFailureNames[] = {
    {0, "badAlg"},
    {1, "badMessageCheck"},
    {2, "badRequest"},
    {3, "badTime"},
    {4, "badCertId"},
    {5, "badDataFormat"},
    {6, "wrongAuthority"},
    {7, "incorrectData"},
    {8, "missingTimeStamp"},
    {9, "badPOP"},
    {14, "timeNotAvailable"},
    {15, "unacceptedPolicy"},
    {16, "unacceptedExtension"},
    {17, "addInfoNotAvailable"},
    {25, "systemFailure"},
};

std::vector<std::string> failure_names(unsigned bits) {
    std::vector<std::string> names;
    for (unsigned bit = 0; bit < 32; ++bit) {
        if (((bits >> bit) & 1U) == 0) {
            continue;
        }
        std::string name = fmt::format("bit {}", bit);
        for (const BitName& known : kFailureNames) {
            if (known.bit == bit) {
                name = known.name;
            }
        }
        names.push_back(name);
    }
    return names;
}

std::string time_text(const CDateTime& time) {
    std::string text = fmt::format("{:04}-{:02}-{:02}T{:02}:{:02}:{:02}", time.year(), time.month(),
                                   time.day(), time.hour(), time.minute(), time.second());
    const unsigned micros = time.millisecond() * 1000 + time.microsecond();
    if (micros != 0) {
        text += fmt::format(".{:06}", micros);
        text.erase(text.find_last_not_of('0') + 1);
    }
    return text + "Z";
}

using ByteGetter = void (CStamp::*)(unsigned char*, unsigned long*) const;

Bytes get_bytes(const CStamp& stamp, ByteGetter getter) {
    unsigned long size = 0;
    (stamp.*getter)(nullptr, &size);
    Bytes bytes(size);
    if (size != 0) {
        (stamp.*getter)(bytes.data(), &size);
    }
    return bytes;
}

std::string name_text(CERT_NAME_BLOB name) {
    const DWORD flags = CERT_X500_NAME_STR;
    const DWORD size = CertNameToStrA(X509_ASN_ENCODING, &name, flags, nullptr, 0);
    std::string text(size, '\0');
    CertNameToStrA(X509_ASN_ENCODING, &name, flags, text.data(), size);
    text.resize(size == 0 ? 0 : size - 1);
    return text;
}

std::string little_endian_hex(const CRYPT_INTEGER_BLOB& number) {
    const Bytes reversed(std::make_reverse_iterator(number.pbData + number.cbData),
                         std::make_reverse_iterator(number.pbData));
    return to_hex(reversed.data(), reversed.size());
}

SignerReport read_signer(PCCERT_CONTEXT certificate) {
    const CERT_INFO& info = *certificate->pCertInfo;
    SignerReport signer;
    signer.subject = name_text(info.Subject);
    signer.issuer = name_text(info.Issuer);
    signer.serial_number = little_endian_hex(info.SerialNumber);
    signer.not_before = time_text(CDateTime(info.NotBefore));
    signer.not_after = time_text(CDateTime(info.NotAfter));
    BYTE digest[32];
    DWORD size = sizeof digest;
    if (CertGetCertificateContextProperty(certificate, CERT_SHA256_HASH_PROP_ID, digest, &size) !=
        0) {
        signer.sha256 = to_hex(digest, size);
    }
    return signer;
}

std::size_t count_certificates(HCERTSTORE store) {
    std::size_t count = 0;
    PCCERT_CONTEXT certificate = nullptr;
    while ((certificate = CertEnumCertificatesInStore(store, certificate)) != nullptr) {
        ++count;
    }
    return count;
}

TokenReport read_token(const CStamp& stamp, void** stores, unsigned long count) {
    TokenReport token;
    token.time = time_text(stamp.get_Time());
    if (const long accuracy = stamp.get_Accuracy(); accuracy != -1) {
        token.accuracy_microseconds = accuracy;
    }
    const Bytes serial = get_bytes(stamp, &CStamp::get_SerialNumber);
    token.serial_number = to_hex(serial.data(), serial.size());
    token.policy = stamp.get_PolicyID();
    token.hash_oid = stamp.get_DataHashAlgOID();
    const Bytes digest = get_bytes(stamp, &CStamp::get_DataHash);
    token.digest = to_hex(digest.data(), digest.size());
    token.nonce = stamp.get_HasNonce();
    token.ordering = stamp.get_Ordering();
    if (const std::string tsa = narrow(stamp.get_TSA()); !tsa.empty()) {
        token.tsa = tsa;
    }
    token.certificates = count_certificates(stamp.get_Certificates());
    if (PCCERT_CONTEXT signer = stamp.get_TSACertificate(stores, count)) {
        token.signer = read_signer(signer);
    }
    return token;
}

// Whether there is a status or a token is told by whether the getters throw.
template <class Read>
bool has(Read&& read) {
    try {
        read();
        return true;
    } catch (const ATL::CAtlException&) {
        return false;
    }
}

void add_line(std::string& text, const char* label, const std::string& value) {
    text += fmt::format("{:<15}{}\n", label, value);
}

std::string accuracy_text(std::int64_t microseconds) {
    constexpr std::int64_t kPerSecond = 1'000'000;
    if (microseconds % kPerSecond == 0) {
        return fmt::format("{} s", microseconds / kPerSecond);
    }
    return microseconds % 1000 == 0 ? fmt::format("{} ms", microseconds / 1000)
                                    : fmt::format("{} us", microseconds);
}

void add_token(std::string& text, const TokenReport& token) {
    add_line(text, "time", token.time);
    add_line(text, "accuracy",
             token.accuracy_microseconds ? accuracy_text(*token.accuracy_microseconds)
                                         : "not told");
    add_line(text, "serial number", token.serial_number);
    add_line(text, "policy", token.policy);
    add_line(text, "hash", hash_name(token.hash_oid));
    add_line(text, "digest", token.digest);
    add_line(text, "nonce", token.nonce ? "yes" : "no");
    add_line(text, "ordering", token.ordering ? "yes" : "no");
    add_line(text, "authority", token.tsa.value_or("not told"));
    add_line(text, "certificates", fmt::format("{} in the token", token.certificates));
    if (!token.signer) {
        add_line(text, "signer", "its certificate was not found");
        return;
    }
    add_line(text, "signer", token.signer->subject);
    add_line(text, "  issued by", token.signer->issuer);
    add_line(text, "  serial", token.signer->serial_number);
    add_line(text, "  valid", token.signer->not_before + " to " + token.signer->not_after);
    add_line(text, "  sha-256", token.signer->sha256);
}

nlohmann::ordered_json signer_json(const TokenReport& token) {
    if (!token.signer) {
        return nullptr;
    }
    const SignerReport& signer = *token.signer;
    return {{"subject", signer.subject},
            {"issuer", signer.issuer},
            {"serialNumber", signer.serial_number},
            {"notBefore", signer.not_before},
            {"notAfter", signer.not_after},
            {"sha256", signer.sha256}};
}

nlohmann::ordered_json token_json(const TokenReport& token) {
    nlohmann::ordered_json json;
    json["time"] = token.time;
    json["accuracyMicroseconds"] = nullptr;
    if (token.accuracy_microseconds) {
        json["accuracyMicroseconds"] = *token.accuracy_microseconds;
    }
    json["serialNumber"] = token.serial_number;
    json["policy"] = token.policy;
    json["imprint"] = {{"algorithm", hash_name(token.hash_oid)},
                       {"oid", token.hash_oid},
                       {"digest", token.digest}};
    json["nonce"] = token.nonce;
    json["ordering"] = token.ordering;
    json["tsa"] = nullptr;
    if (token.tsa) {
        json["tsa"] = *token.tsa;
    }
    json["certificates"] = token.certificates;
    json["signer"] = signer_json(token);
    return json;
}

} // namespace

std::string to_hex(const unsigned char* data, std::size_t size) {
    std::string text;
    text.reserve(2 * size);
    for (std::size_t i = 0; i < size; ++i) {
        text += fmt::format("{:02x}", data[i]);
    }
    return text;
}

std::string status_name(unsigned status) {
    constexpr const char* kNames[] = {
        "granted",           "grantedWithMods",        "rejection",       "waiting",
        "revocationWarning", "revocationNotification", "keyUpdateWarning"};
    return status < std::size(kNames) ? kNames[status] : fmt::format("status {}", status);
}

StampReport read_report(const CStamp& stamp, void** stores, unsigned long count) {
    StampReport report;
    if (has([&] { stamp.get_Status(); })) {
        report.status = stamp.get_Status();
        report.status_text = narrow(stamp.get_StatusString());
        report.failure_info = failure_names(stamp.get_FailInfo());
    }
    if (has([&] { stamp.get_Time(); })) {
        report.token = read_token(stamp, stores, count);
    }
    return report;
}

std::string to_text(const StampReport& report) {
    std::string text;
    add_line(text, "kind", report.status ? "response" : "bare token");
    if (report.status) {
        add_line(text, "status", status_name(*report.status));
        if (!report.status_text.empty()) {
            add_line(text, "  text", report.status_text);
        }
        for (const std::string& name : report.failure_info) {
            add_line(text, "  failure", name);
        }
    }
    if (report.token) {
        add_token(text, *report.token);
    }
    return text;
}

nlohmann::ordered_json to_json(const StampReport& report) {
    nlohmann::ordered_json json;
    json["status"] = nullptr;
    if (report.status) {
        json["status"] = {{"number", *report.status},
                          {"name", status_name(*report.status)},
                          {"text", report.status_text},
                          {"failInfo", report.failure_info}};
    }
    json["token"] = nullptr;
    if (report.token) {
        json["token"] = token_json(*report.token);
    }
    return json;
}

} // namespace cli
