// CRequest: gathers what a time-stamp request needs, sends it to a time-stamp authority and holds
// the answer (RFC 3161). The chief object of the library, with CStamp (client/stamp.h).
//
//     CRequest request;
//     request.put_DataHashAlg("2.16.840.1.101.3.4.2.1");
//     request.put_TSAAddress(L"http://tsa.example/");
//     request.AddData(data, size);
//     CStamp& stamp = request.Send(true);
//
// Ownership: the request owns all that it gives out pointers and references to; they live until its
// next change, the stamp until the next Send. Copies are deep, but for the stamp and the answer,
// which aren't copied.
// Threads: a request belongs to one thread at a time; different requests may be used on different
// threads.
// Failures: every operation throws ATL::CAtlException with a result code (client/result_codes.h, or
// the platform's), and what the standard library throws out of memory.
// Policy: defaults come from the machine's policy when the object is made; what it forbids can be
// set, and is refused by Send.
#pragma once

#include <chronoseal/base/atl_exception.h>
#include <chronoseal/base/blob.h>
#include <chronoseal/client/auth_type.h>
#include <chronoseal/visibility.h>

struct _CERT_CONTEXT;

namespace Halcyon::PKI::TSP::Client {

class CStamp;

class CHRONOSEAL_API CRequest {
public:
    // Throws 0x8007045A if the machine's policy can't be read.
    CRequest();
    CRequest(const CRequest& other);
    // The policy's defaults are read afresh and then overwritten by the other's values.
    CRequest& operator=(const CRequest& other);
    ~CRequest();

    // -- The data to be stamped: fed in portions, or given as a finished hash.

    // Hashes a portion by the algorithm set, which can't be changed from then on. The platform
    // counts in 32 bits: of a larger `size` only the remainder of its division by 4 GiB is hashed,
    // and nothing says so. Give 4 GiB and more in several portions. Throws 0x80092005 once the hash
    // is final or was given.
    void AddData(const unsigned char* data, unsigned long size);
    // Takes a finished hash, whose length isn't compared with the algorithm's. Throws 0x8009000C
    // while data is being hashed.
    void put_DataHash(const unsigned char* hash, unsigned long size);
    // Ends the hashing, makes the request and gives the hash. `*size` is the room at `out` and gets
    // the length; a null `out` asks for the length alone; too little room throws 0x800700EA. Throws
    // 0xC2100123 without data.
    void get_DataHash(unsigned char* out, unsigned long* size) const;
    // Forgets data, hash and encoded request.
    void ResetData();

    // -- The request as bytes.

    // The DER of the TimeStampReq, made if it has to be; size and buffer as in get_DataHash. As
    // long as nothing changes it stays the same, nonce included.
    void Export(unsigned char* out, unsigned long* size);
    // Takes over a finished TimeStampReq. Throws 0x80093101 for bytes that aren't one, for an
    // OBJECT IDENTIFIER with an arc of 2^32 or more, and for more extensions than any honest
    // request has.
    void Import(unsigned char* data, unsigned long size);

    // -- Values of the request. A change of one throws the encoded request away.

    // Whether the authority is to put its certificate into the token.
    void put_CertReq(bool certReq);
    bool get_CertReq() const;
    void put_UseNonce(bool useNonce);
    bool get_UseNonce() const;
    // The authority's policy as dotted text; the empty text asks for none.
    void put_PolicyID(const char* oid);
    void put_PolicyID(const wchar_t* oid);
    const char* get_PolicyID() const;
    // The hash algorithm, by the platform's number or as dotted text. Throws 0x8009000C while data
    // is being hashed; a number that the platform doesn't know throws its code, or 0x80090008. Text
    // that it doesn't know is kept with the number 0: such a request takes a finished hash, but no
    // data.
    void put_DataHashAlg(unsigned int algId);
    void put_DataHashAlg(const char* oid);
    void put_DataHashAlg(const wchar_t* oid);
    unsigned int get_DataHashAlg() const;
    const char* get_DataHashAlgOID() const;
    // Kept for the caller; nothing hangs on them.
    void put_Flags(unsigned int flags);
    unsigned int get_Flags() const;

    // -- The way to the authority. Null texts count as empty.

    void put_TSAAddress(const wchar_t* url);
    const wchar_t* get_TSAAddress() const;
    // Scheme, user and password of the authority, and the client certificate, are seen by policy
    // and the getters, but don't go out: the transport has no place for them.
    void put_TSAAuthType(enumAuthTypes type);
    enumAuthTypes get_TSAAuthType() const;
    void put_TSAUserName(const wchar_t* name);
    const wchar_t* get_TSAUserName() const;
    void put_TSAPassword(const wchar_t* password);
    const wchar_t* get_TSAPassword() const;
    // The context is referenced. If it has no link to a private key, a copy of the certificate in
    // the user's store "My" takes its place. Null takes the certificate away.
    void put_ClientCertificate(const _CERT_CONTEXT* certificate);
    const _CERT_CONTEXT* get_ClientCertificate() const;
    // The empty address means a direct connection.
    void put_ProxyAddress(const wchar_t* url);
    const wchar_t* get_ProxyAddress() const;
    void put_ProxyAuthType(enumAuthTypes type);
    enumAuthTypes get_ProxyAuthType() const;
    void put_ProxyUserName(const wchar_t* name);
    const wchar_t* get_ProxyUserName() const;
    void put_ProxyPassword(const wchar_t* password);
    const wchar_t* get_ProxyPassword() const;

    // -- The exchange.

    // Checks policy, makes the request if it has to be made, posts it, and reads the answer into
    // the request's stamp, which is compared with the request. With `verify` the stamp must also
    // have been granted, and its signature and the authority's chain must be good. Throws the codes
    // of client/result_codes.h; for a failure of the network, the platform's code, or 0xC2100100;
    // and what CStamp's operations throw or return. Blocks for the whole exchange.
    CStamp& Send(bool verify);
    // The last answer that came with status 200, as it came.
    CBlob get_Response() const;
    // Of the last exchange; 0 since the request has changed.
    unsigned long get_HTTPStatus() const;

private:
    friend class CStamp;
    class Impl;

    Impl* impl_;
};

} // namespace Halcyon::PKI::TSP::Client
