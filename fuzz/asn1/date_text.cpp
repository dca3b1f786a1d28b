// Times as UTCTime and GeneralizedTime contents. A time that is read and can be written is read
// back the same.
#include <cstdint>
#include <cstdlib>
#include <string>

#include "asn1/invalidity_date.h"
#include "asn1/signing_time.h"
#include "base/atl_exception.h"

using namespace Halcyon;

namespace {

CBlob element(unsigned char tag, std::string const& text) {
    std::string der{static_cast<char>(tag), static_cast<char>(text.size())};
    der += text;
    return CBlob(reinterpret_cast<unsigned char const*>(der.data()), der.size());
}

void runTime(CBlob const& der) {
    try {
        ASN1::CAttrSigningTime const time(der);
        ASN1::CAttrSigningTime const written(time.get_time());
        if (ASN1::CAttrSigningTime(written.get_value()).get_time() != time.get_time())
            std::abort();
    } catch (ATL::CAtlException const&) {
    }
}

void runDate(CBlob const& der) {
    try {
        ASN1::CExtInvalidityDate const date(der);
        ASN1::CExtInvalidityDate const written(date.get_invalidityDate());
        ASN1::CExtInvalidityDate const back(written.get_value());
        if (back.get_invalidityDate() > date.get_invalidityDate() ||
            back.get_value() != written.get_value())
            std::abort();
    } catch (ATL::CAtlException const&) {
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    std::string const text(reinterpret_cast<char const*>(data), size < 127 ? size : 127);
    runTime(element(23, text));
    runTime(element(24, text));
    runDate(element(24, text));
    return 0;
}
