#include "asn1/big_integer.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <span>

#include "asn1/big_integer_text.h"
#include "asn1/code_class.h"
#include "asn1/failure.h"
#include "asn1data/pkix1_explicit.h"

namespace Halcyon::ASN1 {

namespace {

using Bytes = std::span<const unsigned char>;

using SerialNumberCodec =
    CCodeClassT<asn1data::ASN1T_CertificateSerialNumber, asn1data::ASN1C_CertificateSerialNumber>;

bool isNegative(Bytes number) {
    return (number[0] & 0x80) != 0;
}

// `number` without the bytes in front that only repeat its sign.
Bytes withoutSignBytes(Bytes number) {
    const bool negative = isNegative(number);
    const unsigned char sign = negative ? 0xFF : 0x00;
    while (number.size() > 1 && number[0] == sign && isNegative(number.subspan(1)) == negative)
        number = number.subspan(1);
    return number;
}

} // namespace

void ASN1T_BigInt_inc(unsigned char* bytes, int size, int lowestIndex) noexcept {
    for (int i = size - 1; i >= std::max(lowestIndex, 0); --i)
        if (++bytes[i] != 0)
            return;
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
    if (cbData() != other.cbData())
        failArgument();
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
    if (a.empty() && b.empty())
        return 0;
    if (b.empty())
        return isNegative(a) ? -1 : 1;
    if (a.empty())
        return isNegative(b) ? 1 : -1;
    if (isNegative(a) != isNegative(b))
        return isNegative(a) ? -1 : 1;
    if (a.size() != b.size()) {
        a = withoutSignBytes(a);
        b = withoutSignBytes(b);
        // Callers rely on this for negative numbers too, where it is the reverse of arithmetic.
        if (a.size() != b.size())
            return a.size() > b.size() ? 1 : -1;
    }
    return std::memcmp(a.data(), b.data(), a.size());
}

CBigInteger CBigInteger::abs() const {
    CBigInteger result(*this);
    if (result.cbData() != 0)
        result.pbData()[0] &= 0x7F;
    return result;
}

// CertificateSerialNumber ::= INTEGER

CBlob CBigInteger::encode() const {
    CBlob text;
    BigIntegerToString(*this, text);
    return withResultCodes([&] {
        ASN1BEREncodeBuffer buffer;
        auto record = reinterpret_cast<const char*>(text.pbData());
        const int length = SerialNumberCodec::encode(buffer, record);
        if (length <= 0)
            failCodec();
        return CBlob(buffer.getMsgPtr(), static_cast<unsigned long>(length));
    });
}

void CBigInteger::decode(const CBlob& der) {
    if (der.cbData() > static_cast<unsigned long>(std::numeric_limits<int>::max()))
        failCodec();
    withResultCodes([&] {
        ASN1BERDecodeBuffer buffer(der.pbData(), static_cast<int>(der.cbData()));
        const char* record = nullptr;
        if (SerialNumberCodec::decode(buffer, record) < 0)
            failCodec();
        StringToBigInteger(record, *this);
    });
}

} // namespace Halcyon::ASN1
