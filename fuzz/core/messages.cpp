// The message objects over foreign bytes: nothing but a result code comes out of them; a token
// gives back the very bytes it was read from; a request that is read and written is the same when
// that is done again; and where OpenSSL reads the same token, it reads the same serial number and
// hash.
#include <cstdlib>
#include <memory>

#include <openssl/cms.h>
#include <openssl/err.h>
#include <openssl/ts.h>

#include <chronoseal/base/atl_exception.h>
#include <chronoseal/core/request.h>
#include <chronoseal/core/response.h>
#include <chronoseal/core/token.h>

namespace {

using namespace Halcyon;
using namespace Halcyon::PKI::TSP;

template <class T, void (*release)(T*)>
struct Release {
    void operator()(T* object) const { release(object); }
};

void require(bool holds) {
    if (!holds) {
        std::abort();
    }
}

std::unique_ptr<TS_TST_INFO, Release<TS_TST_INFO, &TS_TST_INFO_free>>
openssl_info(const CBlob& bytes) {
    const auto* place = const_cast<const unsigned char*>(bytes.pbData());
    const std::unique_ptr<CMS_ContentInfo, Release<CMS_ContentInfo, &CMS_ContentInfo_free>> message(
        d2i_CMS_ContentInfo(nullptr, &place, static_cast<long>(bytes.cbData())));
    if (!message || OBJ_obj2nid(CMS_get0_type(message.get())) != NID_pkcs7_signed) {
        return nullptr;
    }
    ASN1_OCTET_STRING** const content = CMS_get0_content(message.get());
    if (!content || !*content) {
        return nullptr;
    }
    const auto* inner = ASN1_STRING_get0_data(*content);
    return decltype(openssl_info(bytes))(
        d2i_TS_TST_INFO(nullptr, &inner, ASN1_STRING_length(*content)));
}

void compare_with_openssl(const CToken& token) {
    const auto info = openssl_info(token.encode());
    if (info) {
        auto* const hash = TS_MSG_IMPRINT_get_msg(TS_TST_INFO_get_msg_imprint(info.get()));
        require(token.get_hashedMessage() ==
                CBlob(ASN1_STRING_get0_data(hash),
                      static_cast<unsigned long>(ASN1_STRING_length(hash))));
        const std::unique_ptr<BIGNUM, Release<BIGNUM, &BN_free>> theirs(
            ASN1_INTEGER_to_BN(TS_TST_INFO_get_serial(info.get()), nullptr));
        const auto& serial = token.get_serialNumber();
        if (serial.cbData() != 0 && (serial.pbData()[0] & 0x80) == 0) {
            const std::unique_ptr<BIGNUM, Release<BIGNUM, &BN_free>> ours(
                BN_bin2bn(serial.pbData(), static_cast<int>(serial.cbData()), nullptr));
            require(BN_cmp(ours.get(), theirs.get()) == 0);
        }
    }
    ERR_clear_error();
}

void read_token(const CBlob& bytes) {
    CToken token;
    token.decode(bytes);
    require(token.encode() == bytes);
    compare_with_openssl(token);
    if (token.get_certificates() && !token.get_certificates()->empty()) {
        token.verify(token.get_certificates()->front());
    }
}

void read_request(const CBlob& bytes) {
    CRequest request;
    request.decode(bytes);
    const auto first = request.encode();
    request.decode(first);
    require(request.encode() == first);
}

template <class Read>
void attempt(Read read, const CBlob& bytes) {
    try {
        read(bytes);
    } catch (const ATL::CAtlException& failure) {
        require(failure.m_hr < 0);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    const CBlob bytes(data, size);
    attempt(&read_token, bytes);
    attempt(&read_request, bytes);
    attempt([](const CBlob& input) { CResponse().decode(input); }, bytes);
    return 0;
}
