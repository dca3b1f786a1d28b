// TsaName: the name of the authority as a token tells it (RFC 3161, 2.4.2, tsa). A hint, on which
// no check rests. A plain value that owns its data.
#pragma once

#include <optional>
#include <string>

#include <chronoseal/asn1/general_name.h>
#include <chronoseal/base/blob.h>
#include <chronoseal/core/element_reader.h>

namespace Halcyon::PKI::TSP {

class TsaName {
public:
    // From the encoded GeneralName. Throws CAtlException 0x80093101 for anything else, and
    // 0x80070057 for a kind that CGeneralName can't hold.
    explicit TsaName(const CBlob& encoded);

    // The number of CGeneralName.
    unsigned int get_type() const noexcept;
    // The DER, and the text, of the CGeneralName. Throw as that does.
    CBlob encode() const;
    std::wstring toString() const;

private:
    // A directoryName whose encoding was DER already, which is nearly every one: its encoding and
    // text, made with one decoding. Else the value.
    struct Directory {
        CBlob encoded;
        std::wstring text;
    };
    std::optional<Directory> directory_;
    ASN1::CGeneralName name_;
};

// Whether it is a directoryName in DER, whatever the values of its attributes are: not all of them
// have the type that an attribute has, and such a name can't be made into a TsaName.
bool is_directory_name(Element general_name);

} // namespace Halcyon::PKI::TSP
