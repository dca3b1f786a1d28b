// Import: from the bytes of an answer to all fields of a stamp.
#include <cstring>

#include "authority.h"
#include "operation.h"
#include "tasn1_definitions.h"
#include <chronoseal/client/stamp.h>

namespace bench {

namespace {

using Halcyon::PKI::TSP::Client::CStamp;

const Authority& rsa() {
    return authority(Authority::Kind::rsa);
}

const std::string& with_certificates() {
    static const std::string& der = rsa().first().response;
    return der;
}

const std::string& bare() {
    static const std::string der = rsa().bare_response();
    return der;
}

void import(const std::string& der) {
    CStamp stamp;
    stamp.Import(bytes(der), der.size(), nullptr);
    require(stamp.get_Status() == 0 && stamp.get_HasNonce(), "import");
}

// The fields that a stamp has, taken out of OpenSSL's records.
void import_with_openssl(const std::string& der) {
    const auto* place = bytes(der);
    const Response response(d2i_TS_RESP(nullptr, &place, static_cast<long>(der.size())));
    require(response != nullptr, "answer");
    auto* const info = TS_RESP_get_tst_info(response.get());
    require(info && TS_TST_INFO_get_nonce(info), "token");
    char policy[64];
    OBJ_obj2txt(policy, sizeof(policy), TS_TST_INFO_get_policy_id(info), 1);
    const Owner<BIGNUM, BN_free> serial(ASN1_INTEGER_to_BN(TS_TST_INFO_get_serial(info), nullptr));
    struct tm time {};
    ASN1_TIME_to_tm(TS_TST_INFO_get_time(info), &time);
    require(serial && time.tm_year > 100 && TS_TST_INFO_get_accuracy(info), "fields");
}

void import_with_tasn1(const std::string& der) {
    const auto response = tasn1::decode("TSP.TimeStampResp", der.data(), der.size());
    const auto content = tasn1::read(response, "timeStampToken.content.encapContentInfo.eContent");
    const auto info = tasn1::decode("TSP.TSTInfo", content.data(), content.size());
    for (const auto* field :
         {"policy", "messageImprint.hashAlgorithm.algorithm", "messageImprint.hashedMessage",
          "serialNumber", "genTime", "accuracy.seconds", "accuracy.millis", "ordering", "nonce"}) {
        require(!tasn1::read(info, field).empty(), field);
    }
}

// One walk over all elements, content octets included: less can't be read.
std::size_t walk(const unsigned char* at, const unsigned char* end) {
    std::size_t count = 0;
    while (end - at >= 2) {
        const unsigned char tag = *at++;
        std::size_t length = *at++;
        if (length > 0x80) {
            std::size_t octets = length & 0x7F;
            length = 0;
            for (; octets != 0 && at < end; --octets) {
                length = length << 8 | *at++;
            }
        }
        if (length > static_cast<std::size_t>(end - at)) {
            return 0;
        }
        const bool entered = (tag & 0x20) != 0 || (tag == 4 && length > 32 && *at == 0x30);
        count += 1 + (entered ? walk(at, at + length) : 0);
        at += length;
    }
    return count;
}

void walk_alone() {
    const auto& der = with_certificates();
    require(walk(bytes(der), bytes(der) + der.size()) > 100, "walk");
}

} // namespace

void add_import_operations(Operations& operations) {
    operations.push_back(
        {"import_2_certificates", "chronoseal", [] { import(with_certificates()); }});
    operations.push_back(
        {"import_2_certificates", "openssl", [] { import_with_openssl(with_certificates()); }});
    operations.push_back(
        {"import_2_certificates", "libtasn1", [] { import_with_tasn1(with_certificates()); }});
    operations.push_back({"import_2_certificates", "bare_walk", &walk_alone});
    operations.push_back({"import_bare", "chronoseal", [] { import(bare()); }});
    operations.push_back({"import_bare", "openssl", [] { import_with_openssl(bare()); }});
    operations.push_back({"import_bare", "libtasn1", [] { import_with_tasn1(bare()); }});
}

} // namespace bench
