// The message objects over foreign bytes: nothing but a result code comes out of them; a token
// gives back the very bytes it was read from; a request that is read and written is the same when
// that is done again; and where OpenSSL reads the same token, it reads the same serial number and
// hash.
#include <cstdlib>
#include <memory>

#include <openssl/cms.h>
#include <openssl/err.h>
#include <openssl/ts.h>

#include "base/atl_exception.h"
#include "core/request.h"
#include "core/response.h"
#include "core/token.h"

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
opensslInfo(CBlob const& bytes) {
    auto const* place = const_cast<unsigned char const*>(bytes.pbData());
    std::unique_ptr<CMS_ContentInfo, Release<CMS_ContentInfo, &CMS_ContentInfo_free>> const message(
        d2i_CMS_ContentInfo(nullptr, &place, static_cast<long>(bytes.cbData())));
    if (!message || OBJ_obj2nid(CMS_get0_type(message.get())) != NID_pkcs7_signed) {
        return nullptr;
    }
    ASN1_OCTET_STRING** const content = CMS_get0_content(message.get());
    if (!content || !*content) {
        return nullptr;
    }
    auto const* inner = ASN1_STRING_get0_data(*content);
    return decltype(opensslInfo(bytes))(
        d2i_TS_TST_INFO(nullptr, &inner, ASN1_STRING_length(*content)));
}

void compareWithOpenssl(CToken const& token) {
    auto const info = opensslInfo(token.encode());
    if (info) {
        auto* const hash = TS_MSG_IMPRINT_get_msg(TS_TST_INFO_get_msg_imprint(info.get()));
        require(token.get_hashedMessage() ==
                CBlob(ASN1_STRING_get0_data(hash),
                      static_cast<unsigned long>(ASN1_STRING_length(hash))));
        std::unique_ptr<BIGNUM, Release<BIGNUM, &BN_free>> const theirs(
            ASN1_INTEGER_to_BN(TS_TST_INFO_get_serial(info.get()), nullptr));
        auto const& serial = token.get_serialNumber();
        if (serial.cbData() != 0 && (serial.pbData()[0] & 0x80) == 0) {
            std::unique_ptr<BIGNUM, Release<BIGNUM, &BN_free>> const ours(
                BN_bin2bn(serial.pbData(), static_cast<int>(serial.cbData()), nullptr));
            require(BN_cmp(ours.get(), theirs.get()) == 0);
        }
    }
    ERR_clear_error();
}

void readToken(CBlob const& bytes) {
    CToken token;
    token.decode(bytes);
    require(token.encode() == bytes);
    compareWithOpenssl(token);
    if (token.get_certificates() && !token.get_certificates()->empty()) {
        token.verify(token.get_certificates()->front());
    }
}

void readRequest(CBlob const& bytes) {
    CRequest request;
    request.decode(bytes);
    auto const first = request.encode();
    request.decode(first);
    require(request.encode() == first);
}

template <class Read>
void attempt(Read read, CBlob const& bytes) {
    try {
        read(bytes);
    } catch (ATL::CAtlException const& failure) {
        require(failure.m_hr < 0);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(unsigned char const* data, std::size_t size) {
    CBlob const bytes(data, size);
    attempt(&readToken, bytes);
    attempt(&readRequest, bytes);
    attempt([](CBlob const& input) { CResponse().decode(input); }, bytes);
    return 0;
}
