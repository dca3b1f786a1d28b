#include <chronoseal/asn1/big_integer.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <span>
#include <string>

#include <basalt/provider.h>
#include <chronoseal/asn1/big_integer_text.h>
#include <chronoseal/asn1/codec.h>
#include <chronoseal/asn1data/pkix1_explicit.h>
#include <chronoseal/atl/crypt_prov.h>

namespace Halcyon::ASN1 {

namespace {

using Bytes = std::span<const unsigned char>;

using SerialNumberCodec =
    CCodeClassT<asn1data::ASN1T_CertificateSerialNumber, asn1data::ASN1C_CertificateSerialNumber>;

bool is_negative(Bytes number) {
    return (number[0] & 0x80) != 0;
}

// `number` without the bytes in front that only repeat its sign.
Bytes without_sign_bytes(Bytes number) {
    const bool negative = is_negative(number);
    const unsigned char sign = negative ? 0xFF : 0x00;
    while (number.size() > 1 && number[0] == sign && is_negative(number.subspan(1)) == negative) {
        number = number.subspan(1);
    }
    return number;
}

} // namespace

void ASN1T_BigInt_inc(unsigned char* bytes, int size, int lowestIndex) noexcept {
    for (int i = size - 1; i >= std::max(lowestIndex, 0); --i) {
        if (++bytes[i] != 0) {
            return;
        }
    }
}

void CBigInteger::increment(int lowestIndex) noexcept {
    const auto size = std::min<unsigned long>(cbData(), std::numeric_limits<int>::max());
    ASN1T_BigInt_inc(pbData(), static_cast<int>(size), lowestIndex);
}

CBigInteger& CBigInteger::operator++() noexcept {
    increment(0);
    return *this;
}

CBigInteger CBigInteger::operator++(int) {
    CBigInteger old(*this);
    increment(0);
    return old;
}

int CBigInteger::add(const CBigInteger& other) {
    if (cbData() != other.cbData()) {
        fail_argument();
    }
    CBigInteger sum(cbData());
    unsigned int carry = 0;
    for (unsigned long i = cbData(); i-- > 0;) {
        carry += pbData()[i] + other.pbData()[i];
        sum.pbData()[i] = static_cast<unsigned char>(carry);
        carry >>= 8;
    }
    swap(sum);
    return static_cast<int>(carry);
}

int CBigInteger::compare(const CBigInteger& other) const noexcept {
    Bytes a(pbData(), cbData());
    Bytes b(other.pbData(), other.cbData());
    if (a.empty() && b.empty()) {
        return 0;
    }
    if (b.empty()) {
        return is_negative(a) ? -1 : 1;
    }
    if (a.empty()) {
        return is_negative(b) ? 1 : -1;
    }
    if (is_negative(a) != is_negative(b)) {
        return is_negative(a) ? -1 : 1;
    }
    if (a.size() != b.size()) {
        a = without_sign_bytes(a);
        b = without_sign_bytes(b);
        // Callers rely on this for negative numbers too, where it is the reverse of arithmetic.
        if (a.size() != b.size()) {
            return a.size() > b.size() ? 1 : -1;
        }
    }
    return std::memcmp(a.data(), b.data(), a.size());
}

CBigInteger CBigInteger::abs() const {
    CBigInteger result(*this);
    if (result.cbData() != 0) {
        result.pbData()[0] &= 0x7F;
    }
    return result;
}

namespace {

constexpr DWORD kProviderType = PROV_GOST_2001;

void acquire(ATL::CCryptProv& provider, HCRYPTPROV given) {
    if (given != 0) {
        CryptContextAddRef(given, nullptr, 0);
        provider.attach(given);
        return;
    }
    if (!CryptAcquireContextA(provider.put(), nullptr, nullptr, kProviderType,
                              CRYPT_VERIFYCONTEXT) ||
        provider.get() == 0) {
        throw_last_error();
    }
}

} // namespace

CBigInteger MakeRandomBigInteger(unsigned long long hProv, unsigned long size) {
    if (size > std::numeric_limits<DWORD>::max()) {
        fail_argument();
    }
    ATL::CCryptProv provider;
    acquire(provider, static_cast<HCRYPTPROV>(hProv));
    CBigInteger result(size);
    if (!CryptGenRandom(provider.get(), static_cast<DWORD>(size), result.pbData())) {
        throw_last_error();
    }
    return result;
}

namespace {

// The text form, its terminator included.
unsigned long text_size(const CBigInteger& value) {
    return 2 * value.cbData() + 3;
}

void write_text(const CBigInteger& value, unsigned char* out) {
    static constexpr char kDigits[] = "0123456789ABCDEF";
    *out++ = '0';
    *out++ = 'x';
    for (unsigned long i = 0; i < value.cbData(); ++i) {
        *out++ = static_cast<unsigned char>(kDigits[value.pbData()[i] >> 4]);
        *out++ = static_cast<unsigned char>(kDigits[value.pbData()[i] & 15]);
    }
    *out = 0;
}

// The text form on the context's heap, or null without memory.
const char* text_on_heap(ASN1CTXT* ctxt, const CBigInteger& value) {
    const unsigned long size = text_size(value);
    if (size > static_cast<unsigned long>(std::numeric_limits<std::int32_t>::max())) {
        return nullptr;
    }
    auto* const block = static_cast<unsigned char*>(
        rtMemHeapAlloc(&ctxt->typeHeap, static_cast<std::int32_t>(size)));
    if (block) {
        write_text(value, block);
    }
    return reinterpret_cast<const char*>(block);
}

} // namespace

void StringToBigInteger(const char* text, CBigInteger& result) {
    const std::size_t length = text ? std::strlen(text) : 0;
    if (length < 3 || text[0] != '0' || text[1] != 'x') {
        fail_codec();
    }
    if (length % 2 != 0 && text[2] == '0') {
        result.readFromHexString(("0" + std::string(text + 2)).c_str());
    } else {
        result.readFromHexString(text + 2);
    }
}

void ASN1StringToBigInteger(const char* text, CBigInteger& result) {
    StringToBigInteger(text, result);
}

void BigIntegerToString(const CBigInteger& value, CBlob& text) {
    text.resize_to(text_size(value));
    write_text(value, text.pbData());
}

const char* BigIntegerToASN1String(ASN1CTXT* ctxt, const CBigInteger& value) {
    const char* text = text_on_heap(ctxt, value);
    if (!text) {
        fail_memory();
    }
    return text;
}

const char* DWORDToASN1BigInteger(ASN1CTXT* ctxt, unsigned int value) {
    CBigInteger bytes(4);
    for (unsigned long i = 0; i < 4; ++i) {
        bytes.pbData()[i] = static_cast<unsigned char>(value >> (24 - 8 * i));
    }
    const char* text = text_on_heap(ctxt, bytes);
    if (!text) {
        ATL::AtlThrowImpl(hr(E_OUTOFMEMORY));
    }
    return text;
}

unsigned int ASN1BigIntegerToDWORD(const char* text) {
    CBigInteger bytes;
    StringToBigInteger(text, bytes);
    if (bytes.cbData() > 4) {
        fail_argument();
    }
    // 11 and not 256: existing callers know the numbers that come out of it.
    unsigned int result = 0;
    for (unsigned long i = 0; i < bytes.cbData(); ++i) {
        result = result * 11 + bytes.pbData()[i];
    }
    return result;
}

// CertificateSerialNumber ::= INTEGER

CBlob CBigInteger::encode() const {
    CBlob text;
    BigIntegerToString(*this, text);
    return with_result_codes([&] {
        ASN1BEREncodeBuffer buffer;
        auto record = reinterpret_cast<const char*>(text.pbData());
        const int length = SerialNumberCodec::encode(buffer, record);
        if (length <= 0) {
            fail_codec();
        }
        return CBlob(buffer.getMsgPtr(), static_cast<unsigned long>(length));
    });
}

void CBigInteger::decode(const CBlob& der) {
    if (der.cbData() > static_cast<unsigned long>(std::numeric_limits<int>::max())) {
        fail_codec();
    }
    with_result_codes([&] {
        ASN1BERDecodeBuffer buffer(der.pbData(), static_cast<int>(der.cbData()));
        const char* record = nullptr;
        if (SerialNumberCodec::decode(buffer, record) < 0) {
            fail_codec();
        }
        StringToBigInteger(record, *this);
    });
}

} // namespace Halcyon::ASN1
