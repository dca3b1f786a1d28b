// CGeneralName and CGeneralNames: the CHOICE GeneralName, as far as this system meets it, and the
// list of such (RFC 5280, 4.2.1.6).
#pragma once

#include <list>
#include <string>

#include <chronoseal/asn1/choice.h>
#include <chronoseal/asn1/encodable.h>
#include <chronoseal/base/blob.h>
#include <chronoseal/base/string_proxy.h>

namespace Halcyon::ASN1 {

struct ASN1T_GeneralName_traits;
struct ASN1T_GeneralNames_traits;

// Text is wide, a registeredID dotted; a directoryName is the DER of a Name, an iPAddress the
// octets. otherName, x400Address and ediPartyName (1, 4, 6) can't be held: their encodings are
// refused with 0x80070057.
inline constexpr Alternative<std::wstring, 2> kRfc822Name;
inline constexpr Alternative<std::wstring, 3> kDNSName;
inline constexpr Alternative<CBlob, 5> kDirectoryName;
inline constexpr Alternative<std::wstring, 7> kUniformResourceIdentifier;
inline constexpr Alternative<CBlob, 8> kIPAddress;
inline constexpr Alternative<std::wstring, 9> kRegisteredID;

class CGeneralNameImpl final
    : public ChoiceOf<kRfc822Name, kDNSName, kDirectoryName, kUniformResourceIdentifier, kIPAddress,
                      kRegisteredID> {};

// Kind 0 is nothing.
class CGeneralName : public ChoiceValue<CGeneralNameImpl>,
                     public Encodable<CGeneralName, ASN1T_GeneralName_traits> {
public:
    // Null for another kind.
    const wchar_t* get_rfc822Name() const noexcept { return text(kRfc822Name); }
    const wchar_t* get_dNSName() const noexcept { return text(kDNSName); }
    const CBlob* get_directoryName() const noexcept { return get(kDirectoryName); }
    const wchar_t* get_uniformResourceIdentifier() const noexcept {
        return text(kUniformResourceIdentifier);
    }
    const CBlob* get_iPAddress() const noexcept { return get(kIPAddress); }
    const wchar_t* get_registeredID() const noexcept { return text(kRegisteredID); }

    void put_rfc822Name(const wchar_t* name) { put(kRfc822Name, name); }
    void put_dNSName(const wchar_t* name) { put(kDNSName, name); }
    void put_directoryName(const CBlob& der) { put(kDirectoryName, der); }
    void put_uniformResourceIdentifier(const wchar_t* uri) { put(kUniformResourceIdentifier, uri); }
    void put_iPAddress(const CBlob& octets) { put(kIPAddress, octets); }
    void put_registeredID(const wchar_t* oid) { put(kRegisteredID, oid); }

    // The DER. Throws 0x80070057 for kind 0 and for a registeredID that is no identifier, and
    // 0x80093101 for a directoryName that is no Name.
    using Encodable::encode;
    // Throws 0x80070057 for a kind that isn't supported, 0x80093101 for all else.
    using Encodable::decode;

    // The kind, a colon, a blank and the value; the octets of an address aren't shown. The empty
    // text for kind 0. Throws 0x80093101 for a directoryName that can't be read.
    CWStringProxy toString() const;

private:
    template <class Of>
    const wchar_t* text(Of alternative) const noexcept {
        const std::wstring* const value = get(alternative);
        return value ? value->c_str() : nullptr;
    }
};

// Kinds, then: blobs byte for byte; of texts only the first character. Two dNSName values axy and
// abc are equal.
bool operator==(const CGeneralName& a, const CGeneralName& b) noexcept;

// In the order of the encoding. Equal if the counts are and the names pairwise.
class CGeneralNames : public std::list<CGeneralName>,
                      public Encodable<CGeneralNames, ASN1T_GeneralNames_traits> {
public:
    using std::list<CGeneralName>::list;

    // The DER. Throws as `CGeneralName`.
    using Encodable::encode;
};

} // namespace Halcyon::ASN1
