// The texts of a status, with their language marks: in front of a text that has a language the mark
// is written once more, and nothing else changes.
#include <cstdint>
#include <cstdlib>
#include <cwchar>
#include <string>

#include <chronoseal/asn1/status_info.h>
#include <chronoseal/base/atl_exception.h>

using namespace Halcyon;

namespace {

void compare(const ASN1::CPKIFreeTextString& before, const ASN1::CPKIFreeTextString& after) {
    const std::size_t added = std::wcslen(after.get_value()) - std::wcslen(before.get_value());
    const bool marked = before.get_language() != ASN1::CLanguageTagDefaultRead();
    if (marked != (added != 0) || after.get_language() != before.get_language() ||
        std::wcscmp(after.get_value() + added, before.get_value()) != 0) {
        std::abort();
    }
}

void run(const CBlob& input) {
    ASN1::CPKIStatusInfo info(ASN1::pkiStatusGranted);
    info.decode(input);
    ASN1::CPKIStatusInfo back(ASN1::pkiStatusGranted);
    back.decode(info.encode());
    if (back.get_pkiStatus() != info.get_pkiStatus() ||
        back.get_failureInfo() != info.get_failureInfo() ||
        back.get_statusString().size() != info.get_statusString().size()) {
        std::abort();
    }
    auto after = back.get_statusString().begin();
    for (const ASN1::CPKIFreeTextString& before : info.get_statusString()) {
        compare(before, *after++);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    try {
        run(CBlob(data, size));
    } catch (const ATL::CAtlException&) {
    }
    return 0;
}
