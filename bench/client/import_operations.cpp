// Import: from the bytes of an answer to all fields of a stamp.
#include <cstring>

#include "authority.h"
#include "client/stamp.h"
#include "operation.h"
#include "tasn1_definitions.h"

namespace bench {

namespace {

using Halcyon::PKI::TSP::Client::CStamp;

Authority const& rsa() {
    return authority(Authority::Kind::rsa);
}

std::string const& withCertificates() {
    static std::string const& der = rsa().first().response;
    return der;
}

std::string const& bare() {
    static std::string const der = rsa().bareResponse();
    return der;
}

void import(std::string const& der) {
    CStamp stamp;
    stamp.Import(bytes(der), der.size(), nullptr);
    require(stamp.get_Status() == 0 && stamp.get_HasNonce(), "import");
}

// The fields that a stamp has, taken out of OpenSSL's records.
void importWithOpenssl(std::string const& der) {
    auto const* place = bytes(der);
    Response const response(d2i_TS_RESP(nullptr, &place, static_cast<long>(der.size())));
    require(response != nullptr, "answer");
    auto* const info = TS_RESP_get_tst_info(response.get());
    require(info && TS_TST_INFO_get_nonce(info), "token");
    char policy[64];
    OBJ_obj2txt(policy, sizeof(policy), TS_TST_INFO_get_policy_id(info), 1);
    Owner<BIGNUM, BN_free> const serial(ASN1_INTEGER_to_BN(TS_TST_INFO_get_serial(info), nullptr));
    struct tm time {};
    ASN1_TIME_to_tm(TS_TST_INFO_get_time(info), &time);
    require(serial && time.tm_year > 100 && TS_TST_INFO_get_accuracy(info), "fields");
}

void importWithTasn1(std::string const& der) {
    auto const response = tasn1::decode("TSP.TimeStampResp", der.data(), der.size());
    auto const content = tasn1::read(response, "timeStampToken.content.encapContentInfo.eContent");
    auto const info = tasn1::decode("TSP.TSTInfo", content.data(), content.size());
    for (auto const* field :
         {"policy", "messageImprint.hashAlgorithm.algorithm", "messageImprint.hashedMessage",
          "serialNumber", "genTime", "accuracy.seconds", "accuracy.millis", "ordering", "nonce"}) {
        require(!tasn1::read(info, field).empty(), field);
    }
}

// One walk over all elements, content octets included: less can't be read.
std::size_t walk(unsigned char const* at, unsigned char const* end) {
    std::size_t count = 0;
    while (end - at >= 2) {
        unsigned char const tag = *at++;
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
        bool const entered = (tag & 0x20) != 0 || (tag == 4 && length > 32 && *at == 0x30);
        count += 1 + (entered ? walk(at, at + length) : 0);
        at += length;
    }
    return count;
}

void walkAlone() {
    auto const& der = withCertificates();
    require(walk(bytes(der), bytes(der) + der.size()) > 100, "walk");
}

} // namespace

void addImportOperations(Operations& operations) {
    operations.push_back(
        {"import_2_certificates", "chronoseal", [] { import(withCertificates()); }});
    operations.push_back(
        {"import_2_certificates", "openssl", [] { importWithOpenssl(withCertificates()); }});
    operations.push_back(
        {"import_2_certificates", "libtasn1", [] { importWithTasn1(withCertificates()); }});
    operations.push_back({"import_2_certificates", "bare_walk", &walkAlone});
    operations.push_back({"import_bare", "chronoseal", [] { import(bare()); }});
    operations.push_back({"import_bare", "openssl", [] { importWithOpenssl(bare()); }});
    operations.push_back({"import_bare", "libtasn1", [] { importWithTasn1(bare()); }});
}

} // namespace bench
