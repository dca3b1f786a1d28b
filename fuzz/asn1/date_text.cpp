// Times as UTCTime and GeneralizedTime contents. A time that is read and can be written is read
// back the same.
#include <cstdint>
#include <cstdlib>
#include <string>

#include <chronoseal/asn1/typed_attribute.h>
#include <chronoseal/asn1/typed_extension.h>
#include <chronoseal/base/atl_exception.h>

using namespace Halcyon;

namespace {

CBlob element(unsigned char tag, const std::string& text) {
    std::string der{static_cast<char>(tag), static_cast<char>(text.size())};
    der += text;
    return CBlob(reinterpret_cast<const unsigned char*>(der.data()), der.size());
}

void run_time(const CBlob& der) {
    try {
        const ASN1::CAttrSigningTime time(der);
        const ASN1::CAttrSigningTime written(time.get_time());
        if (ASN1::CAttrSigningTime(written.get_value()).get_time() != time.get_time()) {
            std::abort();
        }
    } catch (const ATL::CAtlException&) {
    }
}

void run_date(const CBlob& der) {
    try {
        const ASN1::CExtInvalidityDate date(der);
        const ASN1::CExtInvalidityDate written(date.get_invalidityDate());
        const ASN1::CExtInvalidityDate back(written.get_value());
        if (back.get_invalidityDate() > date.get_invalidityDate() ||
            back.get_value() != written.get_value()) {
            std::abort();
        }
    } catch (const ATL::CAtlException&) {
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size < 127 ? size : 127);
    run_time(element(23, text));
    run_time(element(24, text));
    run_date(element(24, text));
    return 0;
}
