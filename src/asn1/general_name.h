// CGeneralName: the CHOICE GeneralName (RFC 5280, 4.2.1.6), as far as this system meets it.
#pragma once

#include <memory>

#include "base/blob.h"
#include "base/string_proxy.h"

namespace Halcyon::ASN1 {

class CGeneralNameImpl;

// The kinds: 0 nothing, 2 rfc822Name, 3 dNSName, 5 directoryName, 7 uniformResourceIdentifier, 8
// iPAddress, 9 registeredID. otherName, x400Address and ediPartyName (1, 4, 6) can't be held: their
// encodings are refused with 0x80070057.
class CGeneralName {
public:
    CGeneralName();
    CGeneralName(const CGeneralName& other);
    CGeneralName& operator=(const CGeneralName& other);
    ~CGeneralName();
    // Gives up the value. After that the object may only be assigned to or destroyed.
    void clear() noexcept;

    unsigned int get_type() const noexcept;

    // Null for another kind.
    const wchar_t* get_rfc822Name() const noexcept;
    const wchar_t* get_dNSName() const noexcept;
    // The DER of a Name.
    const CBlob* get_directoryName() const noexcept;
    const wchar_t* get_uniformResourceIdentifier() const noexcept;
    // The octets.
    const CBlob* get_iPAddress() const noexcept;
    // Dotted text.
    const wchar_t* get_registeredID() const noexcept;

    void put_rfc822Name(const wchar_t* name);
    void put_dNSName(const wchar_t* name);
    void put_directoryName(const CBlob& der);
    void put_uniformResourceIdentifier(const wchar_t* uri);
    void put_iPAddress(const CBlob& octets);
    void put_registeredID(const wchar_t* oid);

    // The DER. Throws 0x80070057 for kind 0 and for a registeredID that is no identifier, and
    // 0x80093101 for a directoryName that is no Name.
    CBlob encode() const;
    // Throws 0x80070057 for a kind that isn't supported, 0x80093101 for all else.
    void decode(const CBlob& der);

    // The kind, a colon, a blank and the value; the octets of an address aren't shown. The empty
    // text for kind 0. Throws 0x80093101 for a directoryName that can't be read.
    CWStringProxy toString() const;

private:
    std::unique_ptr<CGeneralNameImpl> impl_;
};

// Kinds, then: blobs byte for byte; of texts only the first character. Two dNSName values axy and
// abc are equal.
bool operator==(const CGeneralName& a, const CGeneralName& b) noexcept;
inline bool operator!=(const CGeneralName& a, const CGeneralName& b) noexcept {
    return !(a == b);
}

} // namespace Halcyon::ASN1
