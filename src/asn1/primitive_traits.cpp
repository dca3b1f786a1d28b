#include "asn1/primitive_traits.h"

#include "asn1/ctxt_handle.h"
#include "asn1/heap_copy.h"
#include "asn1/utf8_text.h"

namespace Halcyon::ASN1 {

namespace {

CBlob octets(unsigned char const* data, std::uint32_t count) {
    return CBlob(data, data ? count : 0);
}

} // namespace

void ASN1TDynOctStr_traits::set(ASN1CTXT* ctxt, ASN1_T& record, CBlob const& value) {
    heapOctets(ctxt, record, value);
}

void ASN1TDynOctStr_traits::get(ASN1_T const& record, CBlob& value) {
    value = octets(record.data, record.numocts);
}

void ASN1TDynOctStr_traits::copy(ASN1CTXT* ctxt, ASN1_T const& from, ASN1_T& to) {
    heapOctets(ctxt, to, octets(from.data, from.numocts));
}

void ASN1TOpenType_traits::set(ASN1CTXT* ctxt, ASN1_T& record, CBlob const& value) {
    heapOctets(ctxt, record, value);
}

void ASN1TOpenType_traits::get(ASN1_T const& record, CBlob& value) {
    value = octets(record.data, record.numocts);
}

void ASN1TOpenType_traits::copy(ASN1CTXT* ctxt, ASN1_T const& from, ASN1_T& to) {
    heapOctets(ctxt, to, octets(from.data, from.numocts));
}

void Asn1TObject_traits::set(ASN1CTXT* ctxt, ASN1_T& record, CBlob const& value) {
    heapOctets(ctxt, record, value);
    record.decoded = nullptr;
}

void Asn1TObject_traits::get(ASN1_T const& record, CBlob& value) {
    value = octets(record.data, record.numocts);
}

void Asn1TObject_traits::copy(ASN1CTXT* ctxt, ASN1_T const& from, ASN1_T& to) {
    ASN1TOpenType const source{from.numocts, from.data};
    ASN1TOpenType target{};
    if (rtCopyOpenType(ctxt, &source, &target) == 0)
        failMemory();
    to = {{target.numocts, target.data}, nullptr};
}

void ASN1TDynBitStr_traits::set(ASN1CTXT* ctxt, ASN1_T& record, CBlob const& value) {
    if (value.cbData() > UINT32_MAX / 8)
        failMemory();
    record.data = static_cast<unsigned char const*>(heapCopy(ctxt, value.pbData(), value.cbData()));
    record.numbits = static_cast<std::uint32_t>(8 * value.cbData());
}

void ASN1TDynBitStr_traits::get(ASN1_T const& record, CBlob& value) {
    value = octets(record.data, record.numbits / 8 + (record.numbits % 8 != 0));
}

void ASN1TDynBitStr_traits::copy(ASN1CTXT* ctxt, ASN1_T const& from, ASN1_T& to) {
    if (rtCopyDynBitStr(ctxt, &from, &to) == 0)
        failMemory();
}

void ASN1IA5String_traits::set(ASN1CTXT* ctxt, ASN1_T& record, char const* value) {
    record = heapText(ctxt, value);
}

void ASN1IA5String_traits::get(ASN1_T const& record, CStringProxy& value) {
    value = CStringProxy(record);
}

void ASN1IA5String_traits::copy(ASN1CTXT*, ASN1_T const& from, ASN1_T& to) {
    to = from;
}

void ASN1UTF8String_traits::set(ASN1CTXT* ctxt, ASN1_T& record, wchar_t const* value) {
    char const* const utf8 = utf8FromWide(ctxt, value);
    if (!utf8)
        failArgument();
    record = utf8;
}

void ASN1UTF8String_traits::get(ASN1_T const& record, CWStringProxy& value) {
    ctxt_handle context;
    if (!context.init())
        failMemory();
    auto const wide = wideFromUtf8(context.get(), record ? record : "");
    if (!wide)
        failCodec();
    value = CWStringProxy(wide->c_str());
}

void ASN1UTF8String_traits::copy(ASN1CTXT* ctxt, ASN1_T const& from, ASN1_T& to) {
    if (rtCopyCharStr(ctxt, from, &to) == 0)
        failMemory();
}

} // namespace Halcyon::ASN1
