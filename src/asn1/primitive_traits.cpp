#include "asn1/primitive_traits.h"

#include "asn1/ctxt_handle.h"
#include "asn1/heap_copy.h"
#include "asn1/utf8_text.h"

namespace Halcyon::ASN1 {

namespace {

CBlob octets(const unsigned char* data, std::uint32_t count) {
    return CBlob(data, data ? count : 0);
}

} // namespace

void ASN1TDynOctStr_traits::set(ASN1CTXT* ctxt, ASN1_T& record, const CBlob& value) {
    heapOctets(ctxt, record, value);
}

void ASN1TDynOctStr_traits::get(const ASN1_T& record, CBlob& value) {
    value = octets(record.data, record.numocts);
}

void ASN1TDynOctStr_traits::copy(ASN1CTXT* ctxt, const ASN1_T& from, ASN1_T& to) {
    heapOctets(ctxt, to, octets(from.data, from.numocts));
}

void ASN1TOpenType_traits::set(ASN1CTXT* ctxt, ASN1_T& record, const CBlob& value) {
    heapOctets(ctxt, record, value);
}

void ASN1TOpenType_traits::get(const ASN1_T& record, CBlob& value) {
    value = octets(record.data, record.numocts);
}

void ASN1TOpenType_traits::copy(ASN1CTXT* ctxt, const ASN1_T& from, ASN1_T& to) {
    heapOctets(ctxt, to, octets(from.data, from.numocts));
}

void Asn1TObject_traits::set(ASN1CTXT* ctxt, ASN1_T& record, const CBlob& value) {
    heapOctets(ctxt, record, value);
    record.decoded = nullptr;
}

void Asn1TObject_traits::get(const ASN1_T& record, CBlob& value) {
    value = octets(record.data, record.numocts);
}

void Asn1TObject_traits::copy(ASN1CTXT* ctxt, const ASN1_T& from, ASN1_T& to) {
    const ASN1TOpenType source{from.numocts, from.data};
    ASN1TOpenType target{};
    if (rtCopyOpenType(ctxt, &source, &target) == 0)
        failMemory();
    to = {{target.numocts, target.data}, nullptr};
}

void ASN1TDynBitStr_traits::set(ASN1CTXT* ctxt, ASN1_T& record, const CBlob& value) {
    if (value.cbData() > UINT32_MAX / 8)
        failMemory();
    record.data = static_cast<const unsigned char*>(heapCopy(ctxt, value.pbData(), value.cbData()));
    record.numbits = static_cast<std::uint32_t>(8 * value.cbData());
}

void ASN1TDynBitStr_traits::get(const ASN1_T& record, CBlob& value) {
    value = octets(record.data, record.numbits / 8 + (record.numbits % 8 != 0));
}

void ASN1TDynBitStr_traits::copy(ASN1CTXT* ctxt, const ASN1_T& from, ASN1_T& to) {
    if (rtCopyDynBitStr(ctxt, &from, &to) == 0)
        failMemory();
}

void ASN1IA5String_traits::set(ASN1CTXT* ctxt, ASN1_T& record, const char* value) {
    record = heapText(ctxt, value);
}

void ASN1IA5String_traits::get(const ASN1_T& record, CStringProxy& value) {
    value = CStringProxy(record);
}

void ASN1IA5String_traits::copy(ASN1CTXT*, const ASN1_T& from, ASN1_T& to) {
    to = from;
}

void ASN1UTF8String_traits::set(ASN1CTXT* ctxt, ASN1_T& record, const wchar_t* value) {
    const char* const utf8 = utf8FromWide(ctxt, value);
    if (!utf8)
        failArgument();
    record = utf8;
}

void ASN1UTF8String_traits::get(const ASN1_T& record, CWStringProxy& value) {
    ctxt_handle context;
    if (!context.init())
        failMemory();
    const auto wide = wideFromUtf8(context.get(), record ? record : "");
    if (!wide)
        failCodec();
    value = CWStringProxy(wide->c_str());
}

void ASN1UTF8String_traits::copy(ASN1CTXT* ctxt, const ASN1_T& from, ASN1_T& to) {
    if (rtCopyCharStr(ctxt, from, &to) == 0)
        failMemory();
}

} // namespace Halcyon::ASN1
