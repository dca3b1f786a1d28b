#include <chronoseal/asn1/primitive_traits.h>

#include <chronoseal/asn1/codec.h>
#include <chronoseal/asn1/heap_copy.h>
#include <chronoseal/asn1/text_width.h>

namespace Halcyon::ASN1 {

namespace {

CBlob octets(const unsigned char* data, std::uint32_t count) {
    return CBlob(data, data ? count : 0);
}

} // namespace

template <class Record>
void OctetsTraits<Record>::set(ASN1CTXT* ctxt, Record& record, const CBlob& value) {
    heap_octets(ctxt, record, value);
}

template <class Record>
void OctetsTraits<Record>::get(const Record& record, CBlob& value) {
    value = octets(record.data, record.numocts);
}

template <class Record>
void OctetsTraits<Record>::copy(ASN1CTXT* ctxt, const Record& from, Record& to) {
    heap_octets(ctxt, to, octets(from.data, from.numocts));
}

template struct OctetsTraits<ASN1TDynOctStr>;
template struct OctetsTraits<ASN1TOpenType>;

void Asn1TObject_traits::set(ASN1CTXT* ctxt, ASN1_T& record, const CBlob& value) {
    heap_octets(ctxt, record, value);
    record.decoded = nullptr;
}

void Asn1TObject_traits::get(const ASN1_T& record, CBlob& value) {
    value = octets(record.data, record.numocts);
}

void Asn1TObject_traits::copy(ASN1CTXT* ctxt, const ASN1_T& from, ASN1_T& to) {
    const ASN1TOpenType source{from.numocts, from.data};
    ASN1TOpenType target{};
    if (rtCopyOpenType(ctxt, &source, &target) == 0) {
        fail_memory();
    }
    to = {{target.numocts, target.data}, nullptr};
}

void ASN1TDynBitStr_traits::set(ASN1CTXT* ctxt, ASN1_T& record, const CBlob& value) {
    if (value.cbData() > UINT32_MAX / 8) {
        fail_memory();
    }
    record.data =
        static_cast<const unsigned char*>(heap_copy(ctxt, value.pbData(), value.cbData()));
    record.numbits = static_cast<std::uint32_t>(8 * value.cbData());
}

void ASN1TDynBitStr_traits::get(const ASN1_T& record, CBlob& value) {
    value = octets(record.data, record.numbits / 8 + (record.numbits % 8 != 0));
}

void ASN1TDynBitStr_traits::copy(ASN1CTXT* ctxt, const ASN1_T& from, ASN1_T& to) {
    if (rtCopyDynBitStr(ctxt, &from, &to) == 0) {
        fail_memory();
    }
}

void ASN1IA5String_traits::set(ASN1CTXT* ctxt, ASN1_T& record, const char* value) {
    record = heap_text(ctxt, value);
}

void ASN1IA5String_traits::get(const ASN1_T& record, CStringProxy& value) {
    value = CStringProxy(record);
}

void ASN1IA5String_traits::copy(ASN1CTXT*, const ASN1_T& from, ASN1_T& to) {
    to = from;
}

void ASN1UTF8String_traits::set(ASN1CTXT* ctxt, ASN1_T& record, const wchar_t* value) {
    const char* const utf8 = utf8_from_wide(ctxt, value);
    if (!utf8) {
        fail_argument();
    }
    record = utf8;
}

void ASN1UTF8String_traits::get(const ASN1_T& record, CWStringProxy& value) {
    ctxt_handle context;
    if (!context.init()) {
        fail_memory();
    }
    const auto wide = wide_from_utf8(context.get(), record ? record : "");
    if (!wide) {
        fail_codec();
    }
    value = CWStringProxy(wide->c_str());
}

void ASN1UTF8String_traits::copy(ASN1CTXT* ctxt, const ASN1_T& from, ASN1_T& to) {
    if (rtCopyCharStr(ctxt, from, &to) == 0) {
        fail_memory();
    }
}

CBlob toOctetString(const CBlob& content) {
    const int size = message_length(content);
    ctxt_handle context;
    if (!context.init()) {
        fail_memory();
    }
    if (xe_setp(context.get(), nullptr, 0) != 0) {
        fail_codec();
    }
    const int length =
        xe_octstr(context.get(), content.pbData(), static_cast<std::uint32_t>(size), 1);
    if (length < 0) {
        fail_codec();
    }
    return CBlob(xe_getp(context.get()), static_cast<unsigned long>(length));
}

CBlob fromOctetString(const CBlob& der) {
    const int size = message_length(der);
    if (size == 0) {
        fail_codec();
    }
    ctxt_handle context;
    if (!context.init()) {
        fail_memory();
    }
    if (xd_setp(context.get(), der.pbData(), size, nullptr, nullptr) != 0) {
        fail_codec();
    }
    CBlob content(der.cbData());
    auto count = static_cast<std::uint32_t>(size);
    if (xd_octstr_s(context.get(), content.pbData(), &count, 1, 0) != 0) {
        fail_codec();
    }
    content.resize_to(count);
    return content;
}

} // namespace Halcyon::ASN1
