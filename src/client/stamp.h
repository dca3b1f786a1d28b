// CStamp: a time-stamp, taken from the answer of an authority or from stored bytes (RFC 3161), with
// its fields and its verification.
//
//     CStamp stamp;
//     stamp.Import(bytes, size, nullptr);
//     if (hash_of_data == data_hash(stamp) && stamp.Verify(nullptr, nullptr) == 0 &&
//         stamp.VerifyCertificate(nullptr, nullptr, 0) == 0) {
//         show(stamp.get_Time());
//     }
//
// Nothing is trusted because it was imported: `Verify` settles signer and signature,
// `VerifyCertificate` the signer's chain, at the stamp's own time. Call both. Neither knows what
// was stamped: a stored stamp is about your data only if the data's hash, by the algorithm that
// `get_DataHashAlgOID` names, equals the bytes of `get_DataHash`. Compare them yourself.
// Ownership: the stamp owns all that it gives out pointers and references to; they live until its
// next change. Copies are deep, but share the store of certificates.
// Threads: a stamp belongs to one thread at a time, its const operations included.
// Failures: ATL::CAtlException with a result code, unless an operation says that it returns one.
// Without a token every operation that needs one throws 0x8007139F.
#pragma once

#include <chronoseal/base/atl_exception.h>
#include <chronoseal/base/date_time.h>
#include <chronoseal/visibility.h>

struct _CERT_CONTEXT;

namespace Halcyon::PKI::TSP::Client {

class CRequest;

class CHRONOSEAL_API CStamp {
public:
    CStamp();
    CStamp(const CStamp& other);
    // A stamp that is assigned to itself becomes empty.
    CStamp& operator=(const CStamp& other);
    ~CStamp();

    // Reads a TimeStampResp, or else a bare token. With a request the hash and the nonce have to be
    // its own: 0x80091007 and 0xC2100120. That is for the request that was sent, with its nonce; a
    // stored stamp can't be held against a request made anew, whose nonce is another: give null,
    // and compare `get_DataHash`. A refusal by the authority is no failure here: the stamp then has
    // a status and no token. Throws 0x80093101 for bytes that are neither, for an OBJECT IDENTIFIER
    // with an arc of 2^32 or more, and for more certificates, extensions, attributes, names or
    // texts than any honest token holds; 0x8007076D for a time that isn't YYYYMMDDhhmmss[.f+]Z (RFC
    // 3161, 2.4.2; of an answer this, too, gives 0x80093101); 0x80004005 for an unknown status; and
    // the platform's code, or 0x80090008, for a hash algorithm that it doesn't know. If it fails,
    // the stamp that was there before is gone. The signer found and the message opened for an
    // earlier token are kept: use a new object for bytes that have nothing to do with the earlier
    // ones.
    void Import(const unsigned char* data, unsigned long size, const CRequest* request);
    // The token's DER, for an application to store. `*size` is the room at `out` and gets the
    // length; a null `out` asks for the length alone; too little room throws 0x800700EA. Failure
    // bits of the answer throw instead: 0x80090008 (bad algorithm), 0x80090029, 0x80090005 (bad
    // data), 0x8007139F, by the lowest one.
    void Export(unsigned char* out, unsigned long* size) const;

    // -- The answer's status. Throw 0x8007139F for a bare token.

    // PKIStatus: 0 granted, 1 granted with changes, 2 to 5 refused.
    unsigned int get_Status() const;
    // The authority's words, all of them joined.
    const wchar_t* get_StatusString() const;
    // PKIFailureInfo, bit n as 1 << n.
    unsigned int get_FailInfo() const;

    // -- Certificates. Handles are borrowed.

    // The store of the certificates that came with the token.
    void* get_Certificates() const;
    // The signer's certificate: looked for in that store, in those given (null entries are passed
    // over), and in the user's store "AddressBook". Null when it isn't found.
    const _CERT_CONTEXT* get_TSACertificate(void** stores, unsigned long count) const;

    // -- The token's fields. Sizes and buffers as in Export.

    // The hash algorithm as the platform's number and as dotted text, and the hash that was
    // stamped.
    unsigned int get_DataHashAlg() const;
    const char* get_DataHashAlgOID() const;
    void get_DataHash(unsigned char* out, unsigned long* size) const;
    // The authority's policy as dotted text.
    const char* get_PolicyID() const;
    // Big-endian two's complement.
    void get_SerialNumber(unsigned char* out, unsigned long* size) const;
    // The time of the stamp, UTC.
    const CDateTime& get_Time() const;
    // Microseconds modulo 2^32, -1 if the token has none.
    long get_Accuracy() const;
    // Whether the authority promises that its stamps can be ordered by their times alone.
    bool get_Ordering() const;
    bool get_HasNonce() const;
    // The authority's name as text, and as the DER of a GeneralName; empty if the token has none.
    const wchar_t* get_TSA() const;
    void get_TSABlob(unsigned char* out, unsigned long* size) const;

    // What `Compare` takes for the accuracy of a token that has none, in microseconds; -1: nothing.
    // Each import resets it.
    void put_DefaultAccuracy(long microseconds);
    long get_DefaultAccuracy() const;
    // -1 if this stamp is earlier than the other, 1 if it is later, 0 if their accuracies don't
    // allow to say.
    int Compare(const CStamp* other) const;

    // -- Verification.

    // Returns 0 if the token is good in itself: there is a certificate that its signed attributes
    // name, its content is a time-stamp, the signature verifies, and no critical extension is
    // refused. Otherwise returns 0x80092004 (no signing-certificate attribute, or no such
    // certificate), 0x8007000B (attributes that may not stand together), 0x80004005 (other
    // content), 0x80090006 (bad signature), 0x800B0105 (critical extension), or the platform's
    // code. `certificate` is tried first; it isn't trusted by being given. `extensionList`: null
    // refuses every critical extension, "*" none; else OIDs joined by ";", which are the ones to
    // refuse.
    int Verify(const _CERT_CONTEXT* certificate, const char* extensionList) const;
    // Returns 0 if the chain of the certificate (null: the signer's) was good at the stamp's time,
    // else the platform's verdict. `stores` are open stores in which to look for the signer and for
    // its issuers; null entries are passed over. Throws where there is nothing to judge:
    // 0x8007139F, 0x80092004 for a signer that isn't found, and the platform's code where it can't
    // judge.
    int VerifyCertificate(const _CERT_CONTEXT* certificate, void** stores,
                          unsigned long count) const;

private:
    class Impl;

    Impl* impl_;
};

} // namespace Halcyon::PKI::TSP::Client
