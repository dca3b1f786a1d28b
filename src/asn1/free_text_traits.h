// PKIFreeText records from lists of texts and back.
//
// A text whose language isn't "*" goes out with a prefix: U+0E01, for each byte of the tag the
// character 0x0E00 | byte, and U+0E7E. On reading the language is taken from the prefix, and the
// prefix stays in the text: who shows the text must be ready for it, and encoding it again doubles
// the prefix.
#pragma once

#include <chronoseal/asn1/free_text.h>
#include <chronoseal/asn1data/pki_status.h>

namespace Halcyon::ASN1 {

// Throws CAtlException 0x80093106 without memory and 0x80093101 for a text that has no UTF-8 form.
void CPKIFreeText_Encode(ASN1CTXT* ctxt, asn1data::ASN1T_PKIFreeText& record,
                         const CPKIFreeText& value);

// Appends to `value`. Throws 0x8009310E for a text that isn't UTF-8 and 0x80070057 for a prefix
// without its end; the elements before it stay.
void CPKIFreeText_Parse(ASN1CTXT* ctxt, CPKIFreeText& value,
                        const asn1data::ASN1T_PKIFreeText& record);

} // namespace Halcyon::ASN1
