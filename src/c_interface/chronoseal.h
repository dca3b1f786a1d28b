// chronoseal in C: time-stamps (RFC 3161) to ask for, to judge and to look into. C99, and C++.
//
//     chronoseal_error* error = NULL;
//     chronoseal_sealer_options options = {.size = sizeof options, .url = "http://tsa.example/"};
//     chronoseal_sealer* sealer = NULL;
//     chronoseal_stamp* stamp = NULL;
//     if (chronoseal_sealer_new(&options, &sealer, &error) != CHRONOSEAL_OK ||
//         chronoseal_seal_file(sealer, "report.pdf", NULL, &stamp, &error) != CHRONOSEAL_OK) {
//         fprintf(stderr, "%s\n", chronoseal_error_message(error));
//     }
//     chronoseal_stamp_free(&stamp);
//     chronoseal_sealer_free(&sealer);
//     chronoseal_error_free(&error);
//
// Status and errors: whatever can fail returns a `chronoseal_status`; no function throws or ends
// the program. The last argument of such a function tells more: null for a caller who doesn't want
// to know, else the address of a pointer that is null or holds an earlier error, which is released.
// After CHRONOSEAL_OK it is null, else it holds an error that the caller owns.
// Results: a pointer for a result must not be null; what it leads to is overwritten, with null or
// zero where the call fails. A null handle, or another argument that is missing, is
// CHRONOSEAL_MISUSE with the word "argument_missing".
// Ownership: what ends in `_new`, `_read` and so on gives a handle, which the caller gives back by
// the `_free` of its type. That takes the address of the handle and sets it to null; a null is
// passed over. Structs that a function gives through a pointer to const belong to the handle that
// they were asked from, with all that they point to, and live as long.
// Text is UTF-8 and ends in a null byte. Text that others have written (names in certificates, an
// authority's words, addresses) is quoted: control characters, line ends, invisible characters and
// broken UTF-8 stand as "\x1b" or "\u{202e}", a backslash as "\\". It is safe to print.
// Sizes are in bytes.
// Growth: structs that a caller fills begin with `size`, which is to be the size of the struct as
// the caller was compiled; all else may be zero and then means the default. Structs that the
// library fills may get members at their end, enumerations further values.
// Threads: functions may be called from any thread. Sealers, verifiers, stamps, records, verdicts,
// extensions, signatures, paths and inspections don't change: any number of threads may use one at
// once, until one of them frees it. Hashers, trees, readers and renewals belong to one thread at a
// time.
// A thread can't be cancelled (pthread_cancel) while it is in a function. A function of the
// caller's that the library calls has to return: it must not leave by `longjmp` or `pthread_exit`.
// An exception of C++ that it lets out ends the call with the word "callback_threw". After `fork`
// the child may go on with what it has, if no other thread was in a function then.
#ifndef CHRONOSEAL_CHRONOSEAL_H
#define CHRONOSEAL_CHRONOSEAL_H

#include <stddef.h>
#include <stdint.h>

#include <chronoseal/visibility.h>

#ifdef __cplusplus
extern "C" {
#endif

// ---- Status and errors ----

// What became of a call.
typedef enum chronoseal_status {
    CHRONOSEAL_OK = 0,         // it was done; of a verification: the stamp is good
    CHRONOSEAL_REFUSED = 1,    // found to be bad, or forbidden
    CHRONOSEAL_MISUSE = 2,     // the caller's own values make no sense
    CHRONOSEAL_UNREACHABLE = 3 // could not be reached, read or judged
} chronoseal_status;

// Why a call failed. Immutable.
typedef struct chronoseal_error chronoseal_error;

// Gives the status that the call returned; CHRONOSEAL_OK of null.
CHRONOSEAL_API chronoseal_status chronoseal_error_status(const chronoseal_error* error);
// Gives a stable word of small letters and underscores, "imprint_differs": programs decide by this.
// Empty of null, and so with the texts.
CHRONOSEAL_API const char* chronoseal_error_word(const chronoseal_error* error);
// Gives the result code of the library or the platform beneath; 0 where none applies.
CHRONOSEAL_API uint32_t chronoseal_error_code(const chronoseal_error* error);
// Tells what failed, for people: one sentence without a full stop.
CHRONOSEAL_API const char* chronoseal_error_text(const chronoseal_error* error);
// Tells what to do about an error: one sentence without a full stop.
CHRONOSEAL_API const char* chronoseal_error_advice(const chronoseal_error* error);
// Gives text, code and advice of an error in one line that is safe to print.
CHRONOSEAL_API const char* chronoseal_error_message(const chronoseal_error* error);
// Releases an error and sets the pointer to null.
CHRONOSEAL_API void chronoseal_error_free(chronoseal_error** error);

// ---- Bytes, times, digests ----

// Bytes that belong to something else; a null `data` has the size 0.
typedef struct chronoseal_bytes {
    const unsigned char* data; // the first one
    size_t size;               // how many
} chronoseal_bytes;

// Microseconds since 1970-01-01T00:00:00Z.
typedef int64_t chronoseal_time;

// Room enough for every text of `chronoseal_time_text`.
#define CHRONOSEAL_TIME_ROOM 64

// Releases bytes that a function gave to the caller; null is passed over.
CHRONOSEAL_API void chronoseal_free(void* data);

// Writes the time as RFC 3339 has it, "2026-11-21T14:06:37.5Z", into `out`, which has room for
// `room` bytes; `local` other than 0: by the machine's zone, "2026-11-21T15:06:37.5+01:00".
// CHRONOSEAL_MISUSE with the word "buffer_too_small" where it doesn't fit.
CHRONOSEAL_API chronoseal_status chronoseal_time_text(chronoseal_time time, int local, char* out,
                                                      size_t room, chronoseal_error** error);

// A finished hash. May be filled by the caller: name or OID of the algorithm, and its bytes.
typedef struct chronoseal_digest {
    char algorithm[64];      // "SHA-256", ends in a null byte
    unsigned char value[64]; // of which `size` count
    size_t size;             // must be the algorithm's
} chronoseal_digest;

// Cancels calls from another thread: each that was given this object ends with the word
// "cancelled", at the latest when its exchange in flight ends. Must outlive these calls.
typedef struct chronoseal_stop chronoseal_stop;

// Makes a stop that has not been requested.
CHRONOSEAL_API chronoseal_status chronoseal_stop_new(chronoseal_stop** stop,
                                                     chronoseal_error** error);
// Requests a stop, for good. May be called from any thread, but from no signal handler.
CHRONOSEAL_API chronoseal_status chronoseal_stop_request(chronoseal_stop* stop,
                                                         chronoseal_error** error);
// Releases a stop and sets the pointer to null.
CHRONOSEAL_API void chronoseal_stop_free(chronoseal_stop** stop);

// How a long call is watched and ended.
typedef struct chronoseal_control {
    size_t size;           // of this struct
    chronoseal_stop* stop; // may be null
    // Called on the calling thread while a file is hashed, with the bytes done and all of them (0:
    // not known). Anything but 0 ends the call with the word "cancelled". May be null.
    int (*progress)(void* user, uint64_t done, uint64_t total);
    void* user; // handed to `progress`
} chronoseal_control;

// Hashes bytes. `algorithm` is a name ("SHA-256", "sha256") or a dotted OID; null: SHA-256. An
// unknown one is "hash_unknown".
CHRONOSEAL_API chronoseal_status chronoseal_hash(const char* algorithm, const void* data,
                                                 size_t size, chronoseal_digest* digest,
                                                 chronoseal_error** error);
// Hashes a file in constant memory. `control` may be null.
CHRONOSEAL_API chronoseal_status chronoseal_hash_file(const char* algorithm, const char* path,
                                                      const chronoseal_control* control,
                                                      chronoseal_digest* digest,
                                                      chronoseal_error** error);

// A hash algorithm that this machine can compute.
typedef struct chronoseal_hash_algorithm {
    const char* name; // "SHA-256"
    const char* oid;  // dotted
    size_t size;      // of a digest
    int weak;         // 1: collisions can be made, so a new stamp proves little
} chronoseal_hash_algorithm;

// Tells all hash algorithms that this machine can compute, strongest use first, by calls of `each`.
// Anything but 0 from `each` ends it.
CHRONOSEAL_API chronoseal_status
chronoseal_hash_algorithms(int (*each)(void* user, const chronoseal_hash_algorithm* algorithm),
                           void* user, chronoseal_error** error);

// A running hash, for data that comes in pieces. Belongs to one thread at a time.
typedef struct chronoseal_hasher chronoseal_hasher;

// Begins a hash, by an algorithm as in `chronoseal_hash`.
CHRONOSEAL_API chronoseal_status chronoseal_hasher_new(const char* algorithm,
                                                       chronoseal_hasher** hasher,
                                                       chronoseal_error** error);
// Adds a piece of any size to a running hash. After `chronoseal_hasher_finish` it is
// "hash_finished".
CHRONOSEAL_API chronoseal_status chronoseal_hasher_update(chronoseal_hasher* hasher,
                                                          const void* data, size_t size,
                                                          chronoseal_error** error);
// Ends a running hash and gives it. The hasher can only be released then.
CHRONOSEAL_API chronoseal_status chronoseal_hasher_finish(chronoseal_hasher* hasher,
                                                          chronoseal_digest* digest,
                                                          chronoseal_error** error);
// Releases a hasher and sets the pointer to null.
CHRONOSEAL_API void chronoseal_hasher_free(chronoseal_hasher** hasher);

// ---- What a stamp holds ----

// An algorithm as it stands in a token or a certificate.
typedef struct chronoseal_algorithm {
    const char* oid;             // dotted
    const char* name;            // the OID where none is known
    chronoseal_bytes parameters; // DER; empty: absent
    const char* weakness;        // empty, or why it counts as weak
} chronoseal_algorithm;

// An extension of a certificate or a token.
typedef struct chronoseal_field {
    const char* oid;        // dotted
    const char* name;       // the OID where none is known
    int critical;           // 1: who doesn't understand it must refuse the whole
    chronoseal_bytes value; // its octets
} chronoseal_field;

// An attribute of a signature.
typedef struct chronoseal_attribute {
    const char* oid;                // dotted
    const char* name;               // the OID where none is known
    const chronoseal_bytes* values; // DER each
    size_t value_count;             // how many
} chronoseal_attribute;

// The signature of a token; of the first signer where there are several.
typedef struct chronoseal_signature {
    chronoseal_algorithm digest_algorithm;    // by which the signed attributes hash
    chronoseal_algorithm signature_algorithm; // of the signature itself
    const char* issuer;                       // of the signer's certificate, others' text
    chronoseal_bytes serial_number;           // of that certificate, big-endian
    chronoseal_bytes value;                   // the signature's octets
    const chronoseal_attribute* const* signed_attributes;   // what it is over
    size_t signed_count;                                    // how many
    const chronoseal_attribute* const* unsigned_attributes; // what was put in later
    size_t unsigned_count;                                  // how many
} chronoseal_signature;

// A certificate, taken apart.
typedef struct chronoseal_certificate {
    const char* subject;                       // others' text
    const char* issuer;                        // others' text
    chronoseal_bytes serial_number;            // big-endian
    chronoseal_time not_before;                // first moment of its validity
    chronoseal_time not_after;                 // the last one
    chronoseal_bytes sha256;                   // of the DER
    chronoseal_algorithm signature_algorithm;  // by which the issuer signed
    chronoseal_algorithm key_algorithm;        // of its key
    size_t key_bits;                           // 0: not known
    chronoseal_bytes der;                      // the whole certificate
    chronoseal_bytes key_sha256;               // of the public key's bits
    const chronoseal_field* const* extensions; // in their order
    size_t extension_count;                    // how many
    const char* const* extended_usages;        // OIDs
    size_t usage_count;                        // how many
} chronoseal_certificate;

// What a token says. Nothing in it is verified.
typedef struct chronoseal_token_info {
    int version;                                       // 1
    chronoseal_time time;                              // of the stamp
    const char* time_text;                             // the same, "2026-11-21T14:06:37.5Z"
    int64_t accuracy;                                  // microseconds; -1: the token names none
    int ordering;                                      // 0 or 1
    const char* policy;                                // dotted OID
    chronoseal_algorithm imprint_algorithm;            // by which the data was hashed
    chronoseal_bytes imprint;                          // the hash that was stamped
    chronoseal_bytes serial_number;                    // big-endian
    chronoseal_bytes nonce;                            // big-endian; empty: none
    const char* authority;                             // its name, others' text; empty: none
    chronoseal_algorithm signature_algorithm;          // of the first signer
    size_t signers;                                    // a good token has one
    const chronoseal_certificate* const* certificates; // those in the token, in its order
    size_t certificate_count;                          // how many
    const chronoseal_certificate* signer;      // that of them which is named; null: not there
    size_t revocation_lists;                   // how many the token carries
    chronoseal_bytes authority_der;            // the authority's name as a GeneralName; empty: none
    const chronoseal_field* const* extensions; // of the TSTInfo
    size_t extension_count;                    // how many
    const chronoseal_signature* signature;     // of the first signer
} chronoseal_token_info;

// Something noticed that fails no check.
typedef struct chronoseal_remark {
    const char* word; // "weak_hash", "clock_differs"
    const char* text; // one sentence
} chronoseal_remark;

// What a stamp holds. Nothing in it is verified.
typedef struct chronoseal_stamp_info {
    int status;                         // PKIStatus of a response; -1 of a bare token
    const char* status_name;            // "granted", "rejection"; empty of a bare token
    const char* status_text;            // the authority's words, others' text
    uint32_t failure_bits;              // bit n as 1 << n
    const char* const* failure_names;   // "badAlg"
    size_t failure_count;               // how many
    const chronoseal_token_info* token; // null: the authority refused
    // Of a stamp that a sealer got; else empty and 0.
    const char* address;                     // the authority's, masked
    unsigned attempts;                       // how many times it was asked
    const chronoseal_remark* const* remarks; // what was noticed beside the checks
    size_t remark_count;                     // how many
} chronoseal_stamp_info;

// A time-stamp: an authority's answer, or a bare token.
typedef struct chronoseal_stamp chronoseal_stamp;

// Reads a response or a bare token as DER or BER, PEM or Base64. A refusal is read too, and has no
// token. Nothing is verified. "not_a_stamp" tells in its text what the bytes are instead;
// "unsigned_too_many": more that isn't signed came with it than is looked at; "unsigned_damaged":
// what isn't signed can't be read.
CHRONOSEAL_API chronoseal_status chronoseal_stamp_read(const void* data, size_t size,
                                                       chronoseal_stamp** stamp,
                                                       chronoseal_error** error);
// Reads a stamp from a file, as `chronoseal_stamp_read` does from bytes.
CHRONOSEAL_API chronoseal_status chronoseal_stamp_read_file(const char* path,
                                                            chronoseal_stamp** stamp,
                                                            chronoseal_error** error);
// Makes a second handle for a stamp, with a life of its own.
CHRONOSEAL_API chronoseal_status chronoseal_stamp_copy(const chronoseal_stamp* stamp,
                                                       chronoseal_stamp** copy,
                                                       chronoseal_error** error);
// Gives everything that a stamp holds.
CHRONOSEAL_API chronoseal_status chronoseal_stamp_get_info(const chronoseal_stamp* stamp,
                                                           const chronoseal_stamp_info** info,
                                                           chronoseal_error** error);
// Gives the token of a stamp, a CMS SignedData as DER; empty for a refusal.
CHRONOSEAL_API chronoseal_status chronoseal_stamp_token(const chronoseal_stamp* stamp,
                                                        chronoseal_bytes* token,
                                                        chronoseal_error** error);
// Gives the TimeStampResp of a stamp as it came; empty for a bare token.
CHRONOSEAL_API chronoseal_status chronoseal_stamp_response(const chronoseal_stamp* stamp,
                                                           chronoseal_bytes* response,
                                                           chronoseal_error** error);
// Makes a TimeStampResp in any case, of the token where none came: what to store. The bytes are the
// caller's, to be released by `chronoseal_free`. "no_token" where there is neither.
CHRONOSEAL_API chronoseal_status chronoseal_stamp_as_response(const chronoseal_stamp* stamp,
                                                              unsigned char** data, size_t* size,
                                                              chronoseal_error** error);
// Releases a stamp and sets the pointer to null.
CHRONOSEAL_API void chronoseal_stamp_free(chronoseal_stamp** stamp);

// ---- Judging ----

// A file or bytes with one or many certificates, revocation lists or answers, PEM or DER. Won't
// grow.
typedef struct chronoseal_source {
    const char* path; // of the file; null: bytes
    const void* data; // the bytes
    size_t size;      // how many
} chronoseal_source;

// How revocation is looked at.
typedef enum chronoseal_revocation {
    CHRONOSEAL_REVOCATION_AS_CONFIGURED = 0, // as the machine's policy has it
    CHRONOSEAL_REVOCATION_REQUIRE = 1,       // evidence is needed for each certificate
    CHRONOSEAL_REVOCATION_AVAILABLE = 2,     // what can't be had is passed over
    CHRONOSEAL_REVOCATION_OFF = 3            // none is looked at
} chronoseal_revocation;

// Which algorithms and keys are refused.
typedef enum chronoseal_strength {
    CHRONOSEAL_STRENGTH_AS_CONFIGURED = 0, // as the machine's policy has it
    CHRONOSEAL_STRENGTH_FLOOR = 1,         // what is broken in practice
    CHRONOSEAL_STRENGTH_CURRENT = 2        // SHA-1 and RSA below 2048 bits as well
} chronoseal_strength;

// Whom a verifier trusts, and what it may use.
typedef struct chronoseal_trust {
    size_t size;                           // of this struct
    const chronoseal_source* roots;        // trusted, in place of the machine's roots
    size_t root_count;                     // 0: the machine's
    const chronoseal_source* certificates; // may be needed for a chain; none is trusted for it
    size_t certificate_count;              // how many
    const chronoseal_source* evidence; // lists and OCSP answers, looked at before any is fetched
    size_t evidence_count;             // how many
    chronoseal_revocation revocation;  // how it is looked at
    chronoseal_strength strength;      // what is refused as too weak
    chronoseal_time as_of;             // "now" for the age of evidence; 0: the clock
    int offline;                       // 1: nothing is fetched from the network
} chronoseal_trust;

// The checks, in the order in which they are made.
typedef enum chronoseal_check {
    CHRONOSEAL_CHECK_STATUS = 0,       // the authority granted it
    CHRONOSEAL_CHECK_IMPRINT = 1,      // algorithm, length and hash are those of the data
    CHRONOSEAL_CHECK_NONCE = 2,        // that of the request
    CHRONOSEAL_CHECK_POLICY = 3,       // the policy asked for
    CHRONOSEAL_CHECK_TIME = 4,         // not after "now"
    CHRONOSEAL_CHECK_CONTENT_TYPE = 5, // the token signs a TSTInfo, and its attribute says so
    CHRONOSEAL_CHECK_SIGNER = 6,       // the certificate that the signed attributes name is there
    CHRONOSEAL_CHECK_SIGNATURE = 7,    // one signer, the digest and the signature fit
    CHRONOSEAL_CHECK_EXTENSIONS = 8,   // no critical extension that isn't understood
    CHRONOSEAL_CHECK_CHAIN = 9,        // each certificate up to a trusted root
    CHRONOSEAL_CHECK_USAGE = 10,       // the signer's certificate is for time-stamping alone
    CHRONOSEAL_CHECK_REVOCATION = 11,  // none of them was revoked
    CHRONOSEAL_CHECK_STRENGTH = 12     // hashes and keys are strong enough
} chronoseal_check;

// How many checks there are, and findings in a verdict.
#define CHRONOSEAL_CHECKS 13

// What a check came to.
typedef enum chronoseal_outcome {
    CHRONOSEAL_PASSED = 0,  //
    CHRONOSEAL_FAILED = 1,  //
    CHRONOSEAL_NOT_DONE = 2 // the word says why
} chronoseal_outcome;

// What one check found.
typedef struct chronoseal_finding {
    chronoseal_check check;     // which check
    const char* name;           // of the check: "content_type"
    chronoseal_outcome outcome; // what it came to
    int required;               // 1: without it no verdict is good
    // "passed"; of a failure the word of the error; of what was not done "not_asked",
    // "switched_off", "earlier_failure", or the word for what is missing.
    const char* word;
    uint32_t code;                           // result code; 0: none applies
    const char* text;                        // one sentence
    const char* advice;                      // what to do
    const chronoseal_remark* const* remarks; // what was noticed beside it
    size_t remark_count;                     // how many
} chronoseal_finding;

// Whether a certificate of the chain was revoked.
typedef enum chronoseal_revocation_state {
    CHRONOSEAL_NOT_CHECKED = 0, //
    CHRONOSEAL_NOT_REVOKED = 1, //
    CHRONOSEAL_REVOKED = 2,     //
    CHRONOSEAL_UNKNOWN = 3      // there was no evidence that counts
} chronoseal_revocation_state;

// What a statement about revocation is.
typedef enum chronoseal_evidence_kind {
    CHRONOSEAL_EVIDENCE_LIST = 0,       // a certificate revocation list
    CHRONOSEAL_EVIDENCE_OCSP_ANSWER = 1 // an OCSP response
} chronoseal_evidence_kind;

// Where a statement about revocation came from.
typedef enum chronoseal_evidence_source {
    CHRONOSEAL_EVIDENCE_GIVEN = 0,  // by the caller, or in the token
    CHRONOSEAL_EVIDENCE_CACHE = 1,  // fetched earlier
    CHRONOSEAL_EVIDENCE_NETWORK = 2 // fetched for this judgement
} chronoseal_evidence_source;

// A statement about a certificate's revocation, on which the judgement rests.
typedef struct chronoseal_evidence {
    chronoseal_evidence_kind kind;     // list or answer
    chronoseal_evidence_source source; // where it came from
    chronoseal_time this_update;       // when it was made
    int has_next_update;               // 1: it says when the next one is due
    chronoseal_time next_update;       // when
    int revoked;                       // 1: it says that the certificate was revoked
    chronoseal_time revoked_at;        // since when
    const char* reason;                // "keyCompromise"; empty: none given
    const char* url;                   // where it was fetched, others' text; else empty
    chronoseal_bytes der;              // the whole statement, to be kept with the stamp
} chronoseal_evidence;

// One certificate of the chain that was judged.
typedef struct chronoseal_chain_link {
    const chronoseal_certificate* certificate;  // the certificate itself
    int anchor;                                 // 1: the trusted root
    const char* const* faults;                  // what is wrong with it, "certificate_expired"
    size_t fault_count;                         // how many
    chronoseal_revocation_state revocation;     // whether it was revoked
    const chronoseal_evidence* const* evidence; // on which that rests
    size_t evidence_count;                      // how many
} chronoseal_chain_link;

// What a good verdict on a stamp or a record rests on at the time by which it is judged.
typedef enum chronoseal_evidence_strength {
    CHRONOSEAL_EVIDENCE_FRESH = 0,   // one stamp, whose certificates are valid
    CHRONOSEAL_EVIDENCE_RENEWED = 1, // of a record: each was renewed before its certificates ended
    CHRONOSEAL_EVIDENCE_AGED = 2     // certificates had ended: a stolen key could forge it
} chronoseal_evidence_strength;

// How long a verdict holds, as far as that can be told.
typedef struct chronoseal_outlook {
    chronoseal_evidence_strength strength; // on what it rests
    int has_aged_since;                    // 1: a certificate of the chain has ended
    chronoseal_time aged_since;            // when the first one did
    int has_renew_before;                  // 1: it is known until when it holds
    chronoseal_time renew_before;   // the first end of a certificate or an algorithm; may be past
    const char* renew_reason;       // what ends then, in words
    int has_evidence_until;         // 1: the evidence of revocation speaks for a while only
    chronoseal_time evidence_until; // until when
    int has_evidence_again;         // 1: it speaks again, later
    chronoseal_time evidence_again; // from when on
    int evidence_stored;            // 1: all of it was at hand: in the stamp, or given
} chronoseal_outlook;

// A verdict as a whole.
typedef struct chronoseal_verdict_info {
    int good;          // nothing failed, and all that was required was done
    int indeterminate; // only evidence of revocation is missing, unreachable or too old
    int compared;      // the imprint was compared with data
    const chronoseal_finding* deciding;        // on which it rests; of a good one the last
    const chronoseal_token_info* token;        // null: there is none
    const chronoseal_certificate* signer;      // null: it was not found
    const chronoseal_chain_link* const* chain; // from the signer to the root, as far as it goes
    size_t chain_count;                        // how many
    chronoseal_time judged_at;                 // the time at which the chain was judged
    chronoseal_time as_of;                     // "now" of the judgement
    const chronoseal_error* error;             // that of `deciding`; null of a good verdict
    const chronoseal_outlook* outlook;         // null: no chain was found
} chronoseal_verdict_info;

// What a stamp is compared with, where a digest alone doesn't do.
typedef struct chronoseal_expected {
    size_t size;                     // of this struct
    const chronoseal_digest* digest; // of the data; null: not compared
    int without_data;                // 1: a verdict without a digest may be good
    chronoseal_bytes nonce;          // that of the request, big-endian
    int nonce_known;                 // 1: `nonce` is what the request had, its absence included
    const char* policy;              // dotted OID; null: any
} chronoseal_expected;

// Judges stamps.
typedef struct chronoseal_verifier chronoseal_verifier;
// What a verifier found.
typedef struct chronoseal_verdict chronoseal_verdict;

// Makes a verifier; a null `trust` is that of the machine. "file_unreadable" and "no_certificates"
// for its sources.
CHRONOSEAL_API chronoseal_status chronoseal_verifier_new(const chronoseal_trust* trust,
                                                         chronoseal_verifier** verifier,
                                                         chronoseal_error** error);
// Makes a verifier of the same trust for the stamps of one file: to fetch what they need takes all
// of them together no longer than one, 15 seconds from the first fetching on, and what has failed
// isn't asked for again. What their signatures cost the processor beyond some 1.5 seconds can't be
// told ("chain_too_costly").
CHRONOSEAL_API chronoseal_status chronoseal_verifier_for_one_file(
    const chronoseal_verifier* verifier, chronoseal_verifier** bound, chronoseal_error** error);
// Judges a stamp for bytes, which are hashed by the stamp's algorithm. CHRONOSEAL_OK stands
// for a good stamp and nothing else: for any other the error is that of the finding on which the
// verdict rests, CHRONOSEAL_UNREACHABLE where nothing is known to be bad, and the verdict is given,
// too. It stays null where nothing could be judged. `verdict` itself may be null.
CHRONOSEAL_API chronoseal_status chronoseal_verify(const chronoseal_verifier* verifier,
                                                   const chronoseal_stamp* stamp, const void* data,
                                                   size_t size, chronoseal_verdict** verdict,
                                                   chronoseal_error** error);
// Judges a stamp for a file, as `chronoseal_verify` does. `control` may be null.
CHRONOSEAL_API chronoseal_status chronoseal_verify_file(
    const chronoseal_verifier* verifier, const chronoseal_stamp* stamp, const char* path,
    const chronoseal_control* control, chronoseal_verdict** verdict, chronoseal_error** error);
// Judges a stamp for a finished hash, as `chronoseal_verify` does.
CHRONOSEAL_API chronoseal_status chronoseal_verify_digest(const chronoseal_verifier* verifier,
                                                          const chronoseal_stamp* stamp,
                                                          const chronoseal_digest* digest,
                                                          chronoseal_verdict** verdict,
                                                          chronoseal_error** error);
// Judges a stamp for all that a TimeStampReq asks for, as `chronoseal_verify` does. Bytes that
// aren't one are "not_a_request".
CHRONOSEAL_API chronoseal_status chronoseal_verify_request(const chronoseal_verifier* verifier,
                                                           const chronoseal_stamp* stamp,
                                                           const void* request, size_t size,
                                                           chronoseal_verdict** verdict,
                                                           chronoseal_error** error);
// Judges a stamp for what the caller expects, as `chronoseal_verify` does.
CHRONOSEAL_API chronoseal_status chronoseal_verify_expected(const chronoseal_verifier* verifier,
                                                            const chronoseal_stamp* stamp,
                                                            const chronoseal_expected* expected,
                                                            chronoseal_verdict** verdict,
                                                            chronoseal_error** error);
// Judges a token alone, as `chronoseal_verify` does: what it stamps is not compared with anything.
CHRONOSEAL_API chronoseal_status chronoseal_verify_token(const chronoseal_verifier* verifier,
                                                         const chronoseal_stamp* stamp,
                                                         chronoseal_verdict** verdict,
                                                         chronoseal_error** error);
// Releases a verifier and sets the pointer to null.
CHRONOSEAL_API void chronoseal_verifier_free(chronoseal_verifier** verifier);

// Gives a verdict as a whole.
CHRONOSEAL_API chronoseal_status chronoseal_verdict_get_info(const chronoseal_verdict* verdict,
                                                             const chronoseal_verdict_info** info,
                                                             chronoseal_error** error);
// Gives the finding of one check, from 0 to CHRONOSEAL_CHECKS - 1; "index_too_large" beyond.
CHRONOSEAL_API chronoseal_status chronoseal_verdict_finding(const chronoseal_verdict* verdict,
                                                            size_t check,
                                                            const chronoseal_finding** finding,
                                                            chronoseal_error** error);
// Releases a verdict and sets the pointer to null.
CHRONOSEAL_API void chronoseal_verdict_free(chronoseal_verdict** verdict);

// ---- Asking ----

// How one time-stamp authority is reached. What the machine's policy denies is refused before
// anything is sent.
typedef struct chronoseal_authority {
    size_t size;            // of this struct
    const char* url;        // http or https, without user-info
    const char* user;       // a login by basic authentication; null: none
    const char* password;   // its password
    const char* login_file; // in its place: a file "USER:PASSWORD" that only its owner can read
    const char* netrc;      // or a netrc file
    const char* client_certificate; // PEM file for TLS
    const char* client_key;         // null: it stands in the certificate's file
    const char* ca_file;            // roots for TLS in place of the system's
    const char* proxy;              // null: the policy's; empty: a direct connection
    const char* proxy_user;         // null: none
    const char* proxy_password;     // its password
    unsigned rate_count;            // so many requests at most ...
    int64_t rate_period_ms;         // ... in so many milliseconds; 0: a second
    int64_t timeout_ms;             // for one exchange; 0: the configured one
    const char* proxy_login_file;   // in the place of proxy_user and proxy_password
} chronoseal_authority;

// What is asked for or not.
typedef enum chronoseal_choice {
    CHRONOSEAL_BY_DEFAULT = 0, //
    CHRONOSEAL_YES = 1,        //
    CHRONOSEAL_NO = 2          //
} chronoseal_choice;

// How stamps are got.
typedef struct chronoseal_sealer_options {
    size_t size;     // of this struct
    const char* url; // of the one authority; null: those below
    // In the order in which they are asked. None at all: those of the machine's configuration.
    const chronoseal_authority* const* authorities;
    size_t authority_count;         // how many
    const char* hash;               // name or OID; null: the policy's, else SHA-256
    const char* policy;             // dotted OID to ask for; null: the policy's default, else none
    chronoseal_choice nonce;        // whether the request has one
    chronoseal_choice certificates; // whether the authority's are asked for
    unsigned quorum;                // stamps by so many authorities, or none; 0: 1
    unsigned attempts;              // how often one authority is asked in all; 0: 3
    int64_t first_wait_ms;          // between attempts, doubled each time; 0: 500
    int64_t longest_wait_ms;        // 0: 30,000
    int64_t rest_ms;                // how long one that failed twice isn't asked; 0: 30,000
    int64_t clock_tolerance_ms;     // beyond which a remark is made; 0: ten minutes
    const chronoseal_trust* trust;  // by which answers are judged; null: the machine's
    int without_verification;       // 1: only the answer itself is checked, not who signed it
    int only_requests;              // 1: nobody is asked, `chronoseal_request` alone may be called
    const char* rate_file;          // where requests are counted; null: in the user's cache folder
} chronoseal_sealer_options;

// Gets time-stamps.
typedef struct chronoseal_sealer chronoseal_sealer;

// Makes a sealer; null `options` are the machine's. Everything that can be checked without an
// authority is checked here: "no_address", "address_denied", "hash_denied", "policy_unreadable" ...
CHRONOSEAL_API chronoseal_status chronoseal_sealer_new(const chronoseal_sealer_options* options,
                                                       chronoseal_sealer** sealer,
                                                       chronoseal_error** error);
// Gets a stamp for bytes. It is given only after every check has passed, by the first authority
// that gives one. Blocks. `control` may be null. The error is that of the last authority asked, or
// "cancelled".
CHRONOSEAL_API chronoseal_status chronoseal_seal(const chronoseal_sealer* sealer, const void* data,
                                                 size_t size, const chronoseal_control* control,
                                                 chronoseal_stamp** stamp,
                                                 chronoseal_error** error);
// Gets a stamp for a file, as `chronoseal_seal` does for bytes. It is read in constant memory.
CHRONOSEAL_API chronoseal_status chronoseal_seal_file(const chronoseal_sealer* sealer,
                                                      const char* path,
                                                      const chronoseal_control* control,
                                                      chronoseal_stamp** stamp,
                                                      chronoseal_error** error);
// Gets a stamp for a finished hash, as `chronoseal_seal` does for bytes.
CHRONOSEAL_API chronoseal_status chronoseal_seal_digest(const chronoseal_sealer* sealer,
                                                        const chronoseal_digest* digest,
                                                        const chronoseal_control* control,
                                                        chronoseal_stamp** stamp,
                                                        chronoseal_error** error);
// Gets as many stamps as the option `quorum` says, by authorities with different keys, or
// "quorum_missed" and none. `stamps` has room for `room` handles, all of which are set; "count" is
// how many there are. "buffer_too_small" is told before anybody is asked.
CHRONOSEAL_API chronoseal_status chronoseal_seal_quorum(const chronoseal_sealer* sealer,
                                                        const chronoseal_digest* digest,
                                                        const chronoseal_control* control,
                                                        chronoseal_stamp** stamps, size_t room,
                                                        size_t* count, chronoseal_error** error);
// Sends a finished TimeStampReq as it is, and judges the answer by it. Else as `chronoseal_seal`.
CHRONOSEAL_API chronoseal_status chronoseal_send(const chronoseal_sealer* sealer,
                                                 const void* request, size_t size,
                                                 const chronoseal_control* control,
                                                 chronoseal_stamp** stamp,
                                                 chronoseal_error** error);
// Makes a TimeStampReq as the options have it, for another way to the authority. The DER is the
// caller's, to be released by `chronoseal_free`.
CHRONOSEAL_API chronoseal_status chronoseal_request(const chronoseal_sealer* sealer,
                                                    const chronoseal_digest* digest,
                                                    unsigned char** data, size_t* size,
                                                    chronoseal_error** error);
// Gives the name of the algorithm by which a sealer hashes, "SHA-256". It belongs to the sealer.
CHRONOSEAL_API chronoseal_status chronoseal_sealer_hash(const chronoseal_sealer* sealer,
                                                        const char** algorithm,
                                                        chronoseal_error** error);
// Hashes a file by a sealer's own algorithm. `control` may be null.
CHRONOSEAL_API chronoseal_status chronoseal_sealer_hash_file(const chronoseal_sealer* sealer,
                                                             const char* path,
                                                             const chronoseal_control* control,
                                                             chronoseal_digest* digest,
                                                             chronoseal_error** error);
// Tells the authorities of a sealer in the order in which they are asked, by calls of `each`.
// Anything but 0 from `each` ends it.
CHRONOSEAL_API chronoseal_status chronoseal_sealer_authorities(
    const chronoseal_sealer* sealer, int (*each)(void* user, const chronoseal_authority* authority),
    void* user, chronoseal_error** error);
// Tells the authorities that the machine's configuration names, or else the policy's default
// address, by calls of `each`; none if there is none. "policy_unreadable" and "setting_invalid".
// Anything but 0 from `each` ends it.
CHRONOSEAL_API chronoseal_status
chronoseal_configured_authorities(int (*each)(void* user, const chronoseal_authority* authority),
                                  void* user, chronoseal_error** error);
// Releases a sealer and sets the pointer to null.
CHRONOSEAL_API void chronoseal_sealer_free(chronoseal_sealer** sealer);

// ---- Many ----

// What one item of a batch is: the first of the three that isn't null. Copied at once. Won't grow.
typedef struct chronoseal_item {
    const char* path;                // a file
    const chronoseal_digest* digest; // a finished hash
    const void* data;                // bytes; of size 0 they may be null, too
    size_t size;                     // how many
} chronoseal_item;

// What became of one item. Belongs to the batch, and lives as long as the call of `done`.
typedef struct chronoseal_batch_result {
    uint64_t index;                        // of the item, from 0
    const char* path;                      // the item's, as it was given; null: it was no file
    const chronoseal_stamp* const* stamps; // `chronoseal_stamp_copy` keeps one for longer
    size_t stamp_count;                    // as the quorum says, or 0
    const chronoseal_error* error;         // null: it was stamped
} chronoseal_batch_result;

// What became of a batch.
typedef struct chronoseal_batch_summary {
    uint64_t stamped; // items
    uint64_t failed;  // items
    int stopped;      // 1: it was ended by a stop; items may be left
} chronoseal_batch_summary;

// What a function gives back, as an int, to the batch that called it.
typedef enum chronoseal_batch_step {
    CHRONOSEAL_GO_ON = 0, // of `next`: the item was filled in
    CHRONOSEAL_END = 1,   // of `next`: there is none left. Of `done`: take no further items
    CHRONOSEAL_ABORT = 2  // the same, and what is under way is cancelled
} chronoseal_batch_step;

// What a batch calls, on one thread at a time, which may each time be another.
typedef struct chronoseal_batch {
    size_t size;          // of this struct
    unsigned connections; // how many at once; 0: 4
    // Fills in an item, which is zero before. Must not be null.
    int (*next)(void* user, chronoseal_item* item);
    // Gets each result, in no given order. Must not be null.
    int (*done)(void* user, const chronoseal_batch_result* result);
    void* user;            // handed to both
    chronoseal_stop* stop; // may be null
} chronoseal_batch;

// Stamps all that `next` gives. Memory doesn't grow with the number of items. CHRONOSEAL_OK if the
// batch was gone through, whatever became of its items, and also if it was stopped: see `summary`,
// which may be null.
CHRONOSEAL_API chronoseal_status chronoseal_seal_all(const chronoseal_sealer* sealer,
                                                     const chronoseal_batch* batch,
                                                     chronoseal_batch_summary* summary,
                                                     chronoseal_error** error);

// ---- Evidence records ----

// One time-stamp of a record. Nothing of it is verified.
typedef struct chronoseal_archive_stamp {
    size_t chain;                   // from 0; the stamps of a chain share one hash algorithm
    const chronoseal_stamp* stamp;  // belongs to the record
    chronoseal_algorithm algorithm; // of the tree
    const size_t* lists;            // how many hashes each list of the reduced tree holds
    size_t list_count;              // how many; 0: no tree, the stamp is over the object's hash
} chronoseal_archive_stamp;

// What a record holds. Nothing in it is verified.
typedef struct chronoseal_evidence_record_info {
    const chronoseal_algorithm* const* algorithms; // those that the record says it uses
    size_t algorithm_count;                        // how many
    const chronoseal_archive_stamp* const* stamps; // oldest first
    size_t stamp_count;                            // how many
    int encrypted;                                 // 1: the object was encrypted before
} chronoseal_evidence_record_info;

// An RFC 4998 evidence record: time-stamps, each over the one before, and the way from an object's
// hash to the first of them. Doesn't change; any number of threads may use one.
typedef struct chronoseal_evidence_record chronoseal_evidence_record;

// Reads a record as DER, PEM or Base64. Nothing is verified. "not_a_record" tells in its text what
// the bytes are instead; "record_malformed", "record_too_large", "hash_length" and
// "algorithms_differ" are told of what can't be one.
CHRONOSEAL_API chronoseal_status chronoseal_evidence_record_read(
    const void* data, size_t size, chronoseal_evidence_record** record, chronoseal_error** error);
// Reads a record from a file, as `chronoseal_evidence_record_read` does from bytes.
CHRONOSEAL_API chronoseal_status chronoseal_evidence_record_read_file(
    const char* path, chronoseal_evidence_record** record, chronoseal_error** error);
// Makes the record of what a plain stamp is over. "no_token" for a refusal.
CHRONOSEAL_API chronoseal_status chronoseal_evidence_record_of_stamp(
    const chronoseal_stamp* stamp, chronoseal_evidence_record** record, chronoseal_error** error);
// Makes a second handle for a record, with a life of its own.
CHRONOSEAL_API chronoseal_status
chronoseal_evidence_record_copy(const chronoseal_evidence_record* record,
                                chronoseal_evidence_record** copy, chronoseal_error** error);
// Gives everything that a record holds.
CHRONOSEAL_API chronoseal_status chronoseal_evidence_record_get_info(
    const chronoseal_evidence_record* record, const chronoseal_evidence_record_info** info,
    chronoseal_error** error);
// Gives the DER of a record: what to store.
CHRONOSEAL_API chronoseal_status chronoseal_evidence_record_der(
    const chronoseal_evidence_record* record, chronoseal_bytes* der, chronoseal_error** error);
// Gives the names of the algorithms by which an object has to be hashed for a verification: one for
// each chain that uses another. They belong to the record. "hash_unknown" for what can't be
// computed here.
CHRONOSEAL_API chronoseal_status chronoseal_evidence_record_data_algorithms(
    const chronoseal_evidence_record* record, const char* const** algorithms, size_t* count,
    chronoseal_error** error);
// Gives the name of the algorithm of the last chain, in which a renewal by a new stamp goes on. It
// belongs to the record. "hash_unknown" for what can't be computed here.
CHRONOSEAL_API chronoseal_status chronoseal_evidence_record_renewal_algorithm(
    const chronoseal_evidence_record* record, const char** algorithm, chronoseal_error** error);
// Hashes a file, which is read once, by all data algorithms of a record. `digests` has room for
// `room` of them, and "count" is how many there are. `control` may be null.
CHRONOSEAL_API chronoseal_status chronoseal_evidence_record_hash_file(
    const chronoseal_evidence_record* record, const char* path, const chronoseal_control* control,
    chronoseal_digest* digests, size_t room, size_t* count, chronoseal_error** error);
// Releases a record and sets the pointer to null.
CHRONOSEAL_API void chronoseal_evidence_record_free(chronoseal_evidence_record** record);

// Hashes under one root, the same for the same hashes in whatever order they are added; equal ones
// count once. Belongs to one thread at a time.
typedef struct chronoseal_evidence_tree chronoseal_evidence_tree;

// Makes an empty tree, by an algorithm as in `chronoseal_hash`.
CHRONOSEAL_API chronoseal_status chronoseal_evidence_tree_new(const char* algorithm,
                                                              chronoseal_evidence_tree** tree,
                                                              chronoseal_error** error);
// Makes room for so many digests at once, which is only faster. "out_of_memory" for more than there
// is memory for.
CHRONOSEAL_API chronoseal_status chronoseal_evidence_tree_reserve(chronoseal_evidence_tree* tree,
                                                                  uint64_t digests,
                                                                  chronoseal_error** error);
// Adds an object by its hash. "digest_malformed" for one of another algorithm.
CHRONOSEAL_API chronoseal_status chronoseal_evidence_tree_add(chronoseal_evidence_tree* tree,
                                                              const chronoseal_digest* digest,
                                                              chronoseal_error** error);
// Adds objects that belong together and are proved together, by one leaf.
CHRONOSEAL_API chronoseal_status
chronoseal_evidence_tree_add_group(chronoseal_evidence_tree* tree, const chronoseal_digest* members,
                                   size_t count, chronoseal_error** error);
// Gives the number of leaves that are different; "tree_empty" if there is none.
CHRONOSEAL_API chronoseal_status chronoseal_evidence_tree_size(chronoseal_evidence_tree* tree,
                                                               uint64_t* leaves,
                                                               chronoseal_error** error);
// Gives the hash that is to be stamped for all leaves; "tree_empty" if there is none.
CHRONOSEAL_API chronoseal_status chronoseal_evidence_tree_root(chronoseal_evidence_tree* tree,
                                                               chronoseal_digest* root,
                                                               chronoseal_error** error);
// Makes the record of an object, or of a group of `count`, under a stamp over the tree's root.
// "not_in_tree" for what wasn't added, "imprint_differs" for a stamp over something else.
CHRONOSEAL_API chronoseal_status chronoseal_evidence_tree_record(
    chronoseal_evidence_tree* tree, const chronoseal_digest* objects, size_t count,
    const chronoseal_stamp* stamp, chronoseal_evidence_record** record, chronoseal_error** error);

// The way from a leaf up to the root of a tree, to be kept with the leaf. Doesn't change.
typedef struct chronoseal_hash_path chronoseal_hash_path;

// Finds the way from a leaf, the hash of `size` bytes, up to the root. "not_in_tree".
CHRONOSEAL_API chronoseal_status chronoseal_evidence_tree_path(chronoseal_evidence_tree* tree,
                                                               const void* leaf, size_t size,
                                                               chronoseal_hash_path** path,
                                                               chronoseal_error** error);
// Gives the hashes that stand beside the way, from the leaf upwards. They belong to the path.
CHRONOSEAL_API chronoseal_status chronoseal_hash_path_get(const chronoseal_hash_path* path,
                                                          const chronoseal_bytes** hashes,
                                                          size_t* count, chronoseal_error** error);
// Releases a path and sets the pointer to null.
CHRONOSEAL_API void chronoseal_hash_path_free(chronoseal_hash_path** path);

// Makes the record of an object, or of a group, as `chronoseal_evidence_tree_record` does, under a
// stamp over a larger tree in which this tree's root is a leaf: `above` are the `above_count`
// hashes of the way from there up.
CHRONOSEAL_API chronoseal_status chronoseal_evidence_tree_record_below(
    chronoseal_evidence_tree* tree, const chronoseal_digest* objects, size_t count,
    const chronoseal_stamp* stamp, const chronoseal_bytes* above, size_t above_count,
    chronoseal_evidence_record** record, chronoseal_error** error);
// Releases a tree and sets the pointer to null.
CHRONOSEAL_API void chronoseal_evidence_tree_free(chronoseal_evidence_tree** tree);

// A line of a list of hashes. Lasts until the function that was called with it returns.
typedef struct chronoseal_manifest_line {
    uint64_t number;         // from 1
    const char* algorithm;   // "SHA-256"
    chronoseal_bytes digest; // the hash
    chronoseal_bytes name;   // the file's as it is, escapes undone
    const char* shown_name;  // the same, quoted: others' text
} chronoseal_manifest_line;

// Reads a list of hashes as `sha256sum`, `sha384sum` and `sha512sum` write it, and calls `each`,
// which may be null, for each line: anything but 0 from it ends the call with the word "cancelled".
// Memory doesn't grow with the list. Gives the hash of the list's own bytes, by the algorithm of
// its lines, and how many lines it has. "manifest_line" is a line that can't be read,
// "manifest_mixed" hashes of different kinds, "manifest_hash" those of other algorithms (MD5,
// SHA-1, BLAKE2); the text has the line's number. "manifest_empty". `control` may be null.
CHRONOSEAL_API chronoseal_status chronoseal_manifest_read(
    const char* path, int (*each)(void* user, const chronoseal_manifest_line* line), void* user,
    const chronoseal_control* control, chronoseal_digest* list, uint64_t* lines,
    chronoseal_error** error);

// A list of hashes that comes in pieces. Belongs to one thread at a time.
typedef struct chronoseal_manifest_reader chronoseal_manifest_reader;

// Begins to read a list; `each` as in `chronoseal_manifest_read`.
CHRONOSEAL_API chronoseal_status chronoseal_manifest_reader_new(
    int (*each)(void* user, const chronoseal_manifest_line* line), void* user,
    chronoseal_manifest_reader** reader, chronoseal_error** error);
// Reads a piece of any size. Its lines are told now or later, at the latest when the list ends.
// Fails as `chronoseal_manifest_read`; after that, and after `chronoseal_manifest_reader_finish`,
// the reader can only be released: "manifest_finished".
CHRONOSEAL_API chronoseal_status chronoseal_manifest_reader_feed(chronoseal_manifest_reader* reader,
                                                                 const void* data, size_t size,
                                                                 chronoseal_error** error);
// Ends a list, and gives what `chronoseal_manifest_read` does.
CHRONOSEAL_API chronoseal_status
chronoseal_manifest_reader_finish(chronoseal_manifest_reader* reader, chronoseal_digest* list,
                                  uint64_t* lines, chronoseal_error** error);
// Releases a reader and sets the pointer to null.
CHRONOSEAL_API void chronoseal_manifest_reader_free(chronoseal_manifest_reader** reader);

// Makes the line of a file as `sha256sum` writes it, with its line end; `name` has `name_size`
// bytes, and is escaped where it has to be. The `size` bytes are the caller's, to be released by
// `chronoseal_free`.
CHRONOSEAL_API chronoseal_status chronoseal_manifest_write_line(const chronoseal_digest* digest,
                                                                const void* name, size_t name_size,
                                                                unsigned char** line, size_t* size,
                                                                chronoseal_error** error);

// The tree of a list of hashes as `sha256sum` writes it: its lines' hashes, and that of the list
// itself, which so proves all lines and their names. Belongs to one thread at a time.
typedef struct chronoseal_manifest_tree chronoseal_manifest_tree;

// Reads a list and makes its tree. "manifest_line", "manifest_mixed" and "manifest_hash" name a
// line; "manifest_empty". `control` may be null.
CHRONOSEAL_API chronoseal_status chronoseal_manifest_tree_new(const char* path,
                                                              const chronoseal_control* control,
                                                              chronoseal_manifest_tree** tree,
                                                              chronoseal_error** error);
// Gives the hash of a list's own bytes, and how many lines it has.
CHRONOSEAL_API chronoseal_status
chronoseal_manifest_tree_get_info(const chronoseal_manifest_tree* tree, chronoseal_digest* list,
                                  uint64_t* lines, chronoseal_error** error);
// Gives the hash that is to be stamped for a list.
CHRONOSEAL_API chronoseal_status chronoseal_manifest_tree_root(chronoseal_manifest_tree* tree,
                                                               chronoseal_digest* root,
                                                               chronoseal_error** error);
// Makes the record of a list under a stamp over its tree's root. "imprint_differs" for a stamp over
// something else.
CHRONOSEAL_API chronoseal_status
chronoseal_manifest_tree_record(chronoseal_manifest_tree* tree, const chronoseal_stamp* stamp,
                                chronoseal_evidence_record** record, chronoseal_error** error);
// Makes the record of a list as `chronoseal_manifest_tree_record` does, under a stamp over a larger
// tree, as `chronoseal_evidence_tree_record_below`: so several lists share a stamp.
CHRONOSEAL_API chronoseal_status chronoseal_manifest_tree_record_below(
    chronoseal_manifest_tree* tree, const chronoseal_stamp* stamp, const chronoseal_bytes* above,
    size_t above_count, chronoseal_evidence_record** record, chronoseal_error** error);
// Makes the record of an object whose hash stands in a line, of that of the list, however often
// that was renewed by new stamps. "not_in_manifest"; "manifest_changed" where the record isn't that
// of these bytes; "manifest_unproved" for a record that wasn't made with the lines;
// "manifest_rehashed" after a renewal by a new hash.
CHRONOSEAL_API chronoseal_status
chronoseal_manifest_tree_prove(chronoseal_manifest_tree* tree, const chronoseal_digest* object,
                               const chronoseal_evidence_record* record,
                               chronoseal_evidence_record** proof, chronoseal_error** error);
// Releases a list's tree and sets the pointer to null.
CHRONOSEAL_API void chronoseal_manifest_tree_free(chronoseal_manifest_tree** tree);

// A renewal by a new stamp over the stamps of the last chain, before a certificate ends: `add` all
// records, have `digest` stamped, take each record with the new stamp. Belongs to one thread at a
// time.
typedef struct chronoseal_stamp_renewal chronoseal_stamp_renewal;

// Begins a renewal by new stamps. `algorithm` is that of the records' last stamps, else as in
// `chronoseal_hash`.
CHRONOSEAL_API chronoseal_status chronoseal_stamp_renewal_new(const char* algorithm,
                                                              chronoseal_stamp_renewal** renewal,
                                                              chronoseal_error** error);
// Adds a record to those that one stamp is to renew. "algorithms_differ" where its last chain uses
// another hash.
CHRONOSEAL_API chronoseal_status
chronoseal_stamp_renewal_add(chronoseal_stamp_renewal* renewal,
                             const chronoseal_evidence_record* record, chronoseal_error** error);
// Gives the hash that is to be stamped for all records; "tree_empty" if there is none.
CHRONOSEAL_API chronoseal_status chronoseal_stamp_renewal_digest(chronoseal_stamp_renewal* renewal,
                                                                 chronoseal_digest* digest,
                                                                 chronoseal_error** error);
// Makes the record with the new stamp. "not_in_tree" for one that wasn't added; "imprint_differs"
// and "time_goes_back" for a stamp that doesn't fit.
CHRONOSEAL_API chronoseal_status chronoseal_stamp_renewal_renewed(
    chronoseal_stamp_renewal* renewal, const chronoseal_evidence_record* record,
    const chronoseal_stamp* stamp, chronoseal_evidence_record** renewed, chronoseal_error** error);
// Releases a renewal and sets the pointer to null.
CHRONOSEAL_API void chronoseal_stamp_renewal_free(chronoseal_stamp_renewal** renewal);

// A renewal by a new hash, before the old one is broken: a new chain over the objects and all that
// their records held. Whether an object is the record's is for the caller to have verified. Belongs
// to one thread at a time.
typedef struct chronoseal_hash_renewal chronoseal_hash_renewal;

// Begins a renewal by a new hash, by an algorithm as in `chronoseal_hash`.
CHRONOSEAL_API chronoseal_status chronoseal_hash_renewal_new(const char* algorithm,
                                                             chronoseal_hash_renewal** renewal,
                                                             chronoseal_error** error);
// Adds a record with the hashes of its objects by the new algorithm: one, or all of a group.
CHRONOSEAL_API chronoseal_status chronoseal_hash_renewal_add(
    chronoseal_hash_renewal* renewal, const chronoseal_evidence_record* record,
    const chronoseal_digest* objects, size_t count, chronoseal_error** error);
// Gives the hash that is to be stamped for all records; "tree_empty" if there is none.
CHRONOSEAL_API chronoseal_status chronoseal_hash_renewal_digest(chronoseal_hash_renewal* renewal,
                                                                chronoseal_digest* digest,
                                                                chronoseal_error** error);
// Makes the record with the new chain, as `chronoseal_stamp_renewal_renewed` does with a stamp.
CHRONOSEAL_API chronoseal_status chronoseal_hash_renewal_renewed(
    chronoseal_hash_renewal* renewal, const chronoseal_evidence_record* record,
    const chronoseal_digest* objects, size_t count, const chronoseal_stamp* stamp,
    chronoseal_evidence_record** renewed, chronoseal_error** error);
// Releases a renewal and sets the pointer to null.
CHRONOSEAL_API void chronoseal_hash_renewal_free(chronoseal_hash_renewal** renewal);

// A renewal of a whole list by a new hash of its files, which is brought in another list: each
// line's record and the list's own get a new chain under one stamp.
typedef struct chronoseal_manifest_renewal chronoseal_manifest_renewal;

// Reads both lists and joins them by their names. `record` is that of `list`: before the renewal,
// or, to prove lines, after it. "manifest_line_missing" and "manifest_line_surplus" name the line
// that has no partner; "manifest_line_repeated" tells of two hashes for one name,
// "manifest_contradicts" of files that were equal by the old hash and aren't by the new one,
// "algorithms_differ" of a new list by the old hash. Others as of `chronoseal_manifest_tree_new`
// and `chronoseal_manifest_tree_prove`. `control` may be null.
CHRONOSEAL_API chronoseal_status
chronoseal_manifest_renewal_new(const char* list, const chronoseal_evidence_record* record,
                                const char* renewed_list, const chronoseal_control* control,
                                chronoseal_manifest_renewal** renewal, chronoseal_error** error);
// Gives what is to be stamped.
CHRONOSEAL_API chronoseal_status chronoseal_manifest_renewal_digest(
    chronoseal_manifest_renewal* renewal, chronoseal_digest* digest, chronoseal_error** error);
// Makes the list's record with the new chain, as `chronoseal_stamp_renewal_renewed` does with a
// stamp.
CHRONOSEAL_API chronoseal_status chronoseal_manifest_renewal_renewed(
    chronoseal_manifest_renewal* renewal, const chronoseal_stamp* stamp,
    chronoseal_evidence_record** renewed, chronoseal_error** error);
// Makes the record of the new list itself, which begins with this stamp.
CHRONOSEAL_API chronoseal_status chronoseal_manifest_renewal_renewed_list(
    chronoseal_manifest_renewal* renewal, const chronoseal_stamp* stamp,
    chronoseal_evidence_record** record, chronoseal_error** error);
// Makes the record of an object by its hashes in both lists, out of the list's record as it is
// after the renewal. "not_in_manifest", "manifest_changed", "data_needed".
CHRONOSEAL_API chronoseal_status chronoseal_manifest_renewal_prove(
    chronoseal_manifest_renewal* renewal, const chronoseal_digest* digests, size_t count,
    chronoseal_evidence_record** proof, chronoseal_error** error);
// Releases a renewal and sets the pointer to null.
CHRONOSEAL_API void chronoseal_manifest_renewal_free(chronoseal_manifest_renewal** renewal);

// One time-stamp of a record as it was judged.
typedef struct chronoseal_judged_stamp {
    size_t chain;                      // from 0
    const chronoseal_verdict* verdict; // as of the next stamp's time; belongs to the whole
    int covered;                       // 1: another stamp of the record is over this one
    size_t covered_by;                 // which, from 0
    int has_certificates_end;          // 1: its chain of certificates was found
    chronoseal_time certificates_end;  // the first end in it
    int covered_in_time;               // 1: renewed, or judged, before that
} chronoseal_judged_stamp;

// A verdict on a record as a whole.
typedef struct chronoseal_evidence_verdict_info {
    int good;                                     // nothing is wrong
    int indeterminate;                            // only evidence of revocation is missing
    int compared;                                 // the record was compared with data
    const chronoseal_error* failure;              // the first thing that is wrong; null: nothing
    int has_failed_stamp;                         // 1: that is about one of the stamps
    size_t failed_stamp;                          // which, from 0
    int has_existed_by;                           // 1 only of a good verdict
    chronoseal_time existed_by;                   // the first stamp's time
    chronoseal_evidence_strength strength;        // on what it rests
    const char* strength_name;                    // "aged"
    int has_renew_before;                         // 1: it is known until when it holds
    chronoseal_time renew_before;                 // when the last stamp's outlook ends
    const chronoseal_judged_stamp* const* stamps; // as far as the record's own links hold
    size_t stamp_count;                           // how many
    const chronoseal_remark* const* remarks;      // "legacy_layout", "renewed_late"
    size_t remark_count;                          // how many
} chronoseal_evidence_verdict_info;

// Judges records: the hashes from the object up to each stamp, and each stamp as of the time of the
// one that renewed it. Doesn't change; records that share a stamp cost one signature.
typedef struct chronoseal_evidence_verifier chronoseal_evidence_verifier;
// What a verifier of records found. Doesn't change.
typedef struct chronoseal_evidence_verdict chronoseal_evidence_verdict;

// Makes a verifier of records; a null `trust` is that of the machine. Fails as
// `chronoseal_verifier_new`.
CHRONOSEAL_API chronoseal_status
chronoseal_evidence_verifier_new(const chronoseal_trust* trust,
                                 chronoseal_evidence_verifier** verifier, chronoseal_error** error);
// Judges a record for bytes. CHRONOSEAL_OK stands for a good record and nothing else: for any other
// the error is the verdict's, and the verdict is given, too. It stays null where nothing could be
// judged. `verdict` itself may be null. Words of records are, beside those of stamps,
// "not_in_tree", "root_differs", "renewal_uncovered", "time_goes_back", "algorithms_differ" and
// "data_needed".
CHRONOSEAL_API chronoseal_status chronoseal_evidence_verify(
    const chronoseal_evidence_verifier* verifier, const chronoseal_evidence_record* record,
    const void* data, size_t size, chronoseal_evidence_verdict** verdict, chronoseal_error** error);
// Judges a record for a file, as `chronoseal_evidence_verify` does. `control` may be null.
CHRONOSEAL_API chronoseal_status chronoseal_evidence_verify_file(
    const chronoseal_evidence_verifier* verifier, const chronoseal_evidence_record* record,
    const char* path, const chronoseal_control* control, chronoseal_evidence_verdict** verdict,
    chronoseal_error** error);
// Judges a record for one object, or for all of a group, by hashes, as `chronoseal_evidence_verify`
// does. For each object there is one by each of the record's data algorithms, then those of the
// next one follow; `count` are all of them.
CHRONOSEAL_API chronoseal_status chronoseal_evidence_verify_digests(
    const chronoseal_evidence_verifier* verifier, const chronoseal_evidence_record* record,
    const chronoseal_digest* digests, size_t count, size_t objects,
    chronoseal_evidence_verdict** verdict, chronoseal_error** error);
// Judges a record alone, as `chronoseal_evidence_verify` does: it is compared with nothing. One
// that was renewed by a new hash can't be judged so.
CHRONOSEAL_API chronoseal_status chronoseal_evidence_verify_record(
    const chronoseal_evidence_verifier* verifier, const chronoseal_evidence_record* record,
    chronoseal_evidence_verdict** verdict, chronoseal_error** error);
// Releases a verifier of records and sets the pointer to null.
CHRONOSEAL_API void chronoseal_evidence_verifier_free(chronoseal_evidence_verifier** verifier);

// Gives a verdict on a record as a whole.
CHRONOSEAL_API chronoseal_status chronoseal_evidence_verdict_get_info(
    const chronoseal_evidence_verdict* verdict, const chronoseal_evidence_verdict_info** info,
    chronoseal_error** error);
// Releases a verdict on a record and sets the pointer to null.
CHRONOSEAL_API void chronoseal_evidence_verdict_free(chronoseal_evidence_verdict** verdict);

// ---- Extending and attaching ----

// What became of a stamp that was extended.
typedef struct chronoseal_extension_info {
    int changed;                             // 1: something was put in
    const chronoseal_stamp* stamp;           // the extended one; belongs to the extension
    const chronoseal_verdict* verdict;       // by what it holds, and the trusted roots; belongs too
    size_t certificates;                     // put in
    size_t revocation_lists;                 // put in
    size_t ocsp_answers;                     // put in
    const chronoseal_remark* const* remarks; // "evidence_early", "no_evidence"
    size_t remark_count;                     // how many
} chronoseal_extension_info;

// A stamp with the evidence in it by which it can be judged offline. Doesn't change.
typedef struct chronoseal_extension chronoseal_extension;

// Extends a stamp: judges it, fetching what that takes, and puts the certificates, revocation lists
// and OCSP answers on which that rests into the unsigned parts of its token. The error is that of
// the verdict for a stamp that isn't good; "revocation_off" where revocation isn't looked at, and
// "extension_insufficient" if the result can't be judged by what it holds and the roots alone. To
// be done while the authority's certificate is valid, and before the stamp is renewed.
CHRONOSEAL_API chronoseal_status chronoseal_extend(const chronoseal_stamp* stamp,
                                                   const chronoseal_trust* trust,
                                                   chronoseal_extension** extension,
                                                   chronoseal_error** error);
// Extends the last stamp of a record, as `chronoseal_extend` does with a stamp; the record then has
// the extended one in its place. `stamp` is its index from 0, null for the last; any other is
// refused: "stamp_covered", for the next stamp is over all of its octets.
CHRONOSEAL_API chronoseal_status chronoseal_extend_record(const chronoseal_evidence_record* record,
                                                          const chronoseal_trust* trust,
                                                          const size_t* stamp,
                                                          chronoseal_evidence_record** extended,
                                                          chronoseal_extension** extension,
                                                          chronoseal_error** error);
// Gives everything about a stamp that was extended.
CHRONOSEAL_API chronoseal_status
chronoseal_extension_get_info(const chronoseal_extension* extension,
                              const chronoseal_extension_info** info, chronoseal_error** error);
// Releases an extension and sets the pointer to null.
CHRONOSEAL_API void chronoseal_extension_free(chronoseal_extension** extension);

// How a signature is stamped.
typedef struct chronoseal_attach_options {
    size_t size;                           // of this struct
    size_t signer;                         // whose, from 1; 0: each one's, up to 64
    const void* content;                   // what was signed, where it isn't in the message
    size_t content_size;                   // how many bytes
    const chronoseal_source* certificates; // for signers whose own isn't in the message
    size_t certificate_count;              // how many
    const char* attribute; // OID of the unsigned attribute; null: RFC 3161's, for CMS signatures
} chronoseal_attach_options;

// Puts a stamp on a CMS signature: over the octets of a signer's signature, in an unsigned
// attribute; all else stays as it is. The signature is DER, BER, PEM, Base64 or S/MIME, and so is
// the one that was stamped, which is the caller's, to be released by `chronoseal_free`. Nobody is
// asked before the arithmetic of all these signatures was checked: "signature_bad",
// "content_differs", "signer_not_found", "content_missing". "not_a_signature", "no_signer" and
// "oid_malformed" are told, too. `compared`, which may be null, is set to 1 if what was signed was
// compared, and to 0 if it isn't there. `options` and `control` may be null.
CHRONOSEAL_API chronoseal_status chronoseal_attach(const chronoseal_sealer* sealer,
                                                   const void* signature, size_t size,
                                                   const chronoseal_attach_options* options,
                                                   const chronoseal_control* control, int* compared,
                                                   unsigned char** stamped, size_t* stamped_size,
                                                   chronoseal_error** error);

// A CMS signature (RFC 5652) by one or several signers, each of whom can have a stamp. Doesn't
// change.
typedef struct chronoseal_cms_signature chronoseal_cms_signature;

// Reads a CMS signature as DER, BER, PEM, Base64 or S/MIME. "not_a_signature", "is_a_stamp",
// "no_signers" and "malformed".
CHRONOSEAL_API chronoseal_status chronoseal_cms_signature_read(const void* data, size_t size,
                                                               chronoseal_cms_signature** signature,
                                                               chronoseal_error** error);
// Gives the number of signers. `detached`, which may be null, is set to 1 if what was signed is
// neither in the message nor in the mail around it, else to 0.
CHRONOSEAL_API chronoseal_status
chronoseal_cms_signature_signers(const chronoseal_cms_signature* signature, size_t* count,
                                 int* detached, chronoseal_error** error);
// Gives what a stamp for a signer, who counts from 0, has to be over: the signature's octets, which
// are the caller's, to be released by `chronoseal_free`. "no_signer".
CHRONOSEAL_API chronoseal_status
chronoseal_cms_signature_value(const chronoseal_cms_signature* signature, size_t signer,
                               unsigned char** value, size_t* size, chronoseal_error** error);
// Checks a signature's arithmetic by the certificate that the signer names, which is looked for in
// the message and among `certificates`; no chain is judged. `content` is what was signed, null
// where it is in the message or not at hand. `compared`, which may be null, is set to 1 if it was
// compared, and to 0 if it isn't there. "signature_bad", "content_differs", "signer_not_found",
// "content_missing" and "content_twice".
CHRONOSEAL_API chronoseal_status chronoseal_cms_signature_check(
    const chronoseal_cms_signature* signature, size_t signer, const chronoseal_source* certificates,
    size_t certificate_count, const chronoseal_bytes* content, int* compared,
    chronoseal_error** error);
// Makes the signature with a stamp in it, in the unsigned attribute of that OID, null: RFC 3161's;
// all else stays as it is. "imprint_differs" for a stamp over something else.
CHRONOSEAL_API chronoseal_status chronoseal_cms_signature_with_stamp(
    const chronoseal_cms_signature* signature, size_t signer, const chronoseal_stamp* stamp,
    const char* attribute, chronoseal_cms_signature** stamped, chronoseal_error** error);
// Makes the signature with each stamp that its signers' own attributes hold extended as
// chronoseal_extend does; all else stays octet for octet, and the same bytes come where nothing was
// put in. The error is that of the stamp that can't be; "no_stamps" where there is none, and
// "stamp_covered" where a later stamp or record in the signature is over those that would change.
// `changed`, which may be null, is 1 where something was put in.
CHRONOSEAL_API chronoseal_status chronoseal_cms_signature_extend(
    const chronoseal_cms_signature* signature, const chronoseal_trust* trust,
    chronoseal_cms_signature** extended, int* changed, chronoseal_error** error);
// Gives a signature in the form in which it was read. The bytes are the caller's, to be released by
// `chronoseal_free`.
CHRONOSEAL_API chronoseal_status
chronoseal_cms_signature_encoded(const chronoseal_cms_signature* signature, unsigned char** data,
                                 size_t* size, chronoseal_error** error);
// Releases a signature and sets the pointer to null.
CHRONOSEAL_API void chronoseal_cms_signature_free(chronoseal_cms_signature** signature);

// ---- What is this? ----

// What bytes are.
typedef enum chronoseal_kind {
    CHRONOSEAL_KIND_EMPTY = 0,                  //
    CHRONOSEAL_KIND_RESPONSE = 1,               // TimeStampResp
    CHRONOSEAL_KIND_TOKEN = 2,                  // a CMS message over a TSTInfo
    CHRONOSEAL_KIND_REQUEST = 3,                // TimeStampReq
    CHRONOSEAL_KIND_SIGNED_MESSAGE = 4,         // CMS or PKCS#7 with a signature
    CHRONOSEAL_KIND_AUTHENTICODE_SIGNATURE = 5, // a signature over a program or a script
    CHRONOSEAL_KIND_OTHER_MESSAGE = 6,          // CMS of another type
    CHRONOSEAL_KIND_CERTIFICATE = 7,            //
    CHRONOSEAL_KIND_REVOCATION_LIST = 8,        //
    CHRONOSEAL_KIND_OCSP_ANSWER = 9,            //
    CHRONOSEAL_KIND_AUTHENTICODE_REQUEST = 10,  // of the older Authenticode protocol
    CHRONOSEAL_KIND_CERTIFICATE_REQUEST = 11,   // PKCS#10
    CHRONOSEAL_KIND_PRIVATE_KEY = 12,           // PKCS#8 and the like
    CHRONOSEAL_KIND_KEY_STORE = 13,             // PKCS#12
    CHRONOSEAL_KIND_EVIDENCE_RECORD = 14,       // RFC 4998
    CHRONOSEAL_KIND_HTML = 15,                  //
    CHRONOSEAL_KIND_XML = 16,                   //
    CHRONOSEAL_KIND_JSON = 17,                  //
    CHRONOSEAL_KIND_PDF = 18,                   //
    CHRONOSEAL_KIND_ARCHIVE = 19,               // ZIP
    CHRONOSEAL_KIND_EXECUTABLE = 20,            // ELF or PE
    CHRONOSEAL_KIND_TEXT = 21,                  //
    CHRONOSEAL_KIND_UNKNOWN_DER = 22,           // well-formed BER of no kind above
    CHRONOSEAL_KIND_UNKNOWN = 23                //
} chronoseal_kind;

// How bytes are wrapped.
typedef enum chronoseal_form {
    CHRONOSEAL_FORM_BINARY = 0, //
    CHRONOSEAL_FORM_PEM = 1,    //
    CHRONOSEAL_FORM_BASE64 = 2, //
    CHRONOSEAL_FORM_SMIME = 3   // a mail
} chronoseal_form;

// A stamp inside something else.
typedef struct chronoseal_embedded {
    const chronoseal_stamp* stamp; // belongs to the inspection
    const char* attribute;         // OID of the attribute that holds it
    const char* place;             // "signer 1, attribute 1.2.840.113549.1.9.16.2.14"
    chronoseal_bytes stamped;      // what it stamps: the octets of a signature value
} chronoseal_embedded;

// What stands where a stamp or a signature with stamps would, and wasn't looked into.
typedef struct chronoseal_unread_stamp {
    const char* attribute;          // OID; empty: a whole signer
    const char* place;              // as in chronoseal_embedded
    const chronoseal_error* reason; // "not_a_stamp", "malformed"; "too_many_stamps": this and all
                                    // behind it is beyond what is looked for
} chronoseal_unread_stamp;

// What was found out about bytes.
typedef struct chronoseal_inspection_info {
    chronoseal_kind kind;                     // what it is
    const char* kind_name;                    // "revocation_list"
    chronoseal_form form;                     // how it is wrapped
    const char* description;                  // for people: "an X.509 certificate, PEM"
    const chronoseal_stamp* stamp;            // of a token or a response; else null
    const chronoseal_embedded* const* stamps; // of a signed message
    size_t stamp_count;                       // how many
    int countersignature;                     // 1: an older Authenticode countersignature is there
    chronoseal_bytes der;                     // without PEM or Base64
    const chronoseal_unread_stamp* const* unread; // whoever judges `stamps` hasn't judged these
    size_t unread_count;                          // how many
    size_t behind;           // bytes behind the stamp or the signed message, no part of it
    int certificates_wanted; // 1: of a request: it asks for the authority's certificates
} chronoseal_inspection_info;

// What was found out, with the stamps in it.
typedef struct chronoseal_inspection chronoseal_inspection;

// Tells what the bytes are, by their content alone. Never fails for what they are.
CHRONOSEAL_API chronoseal_status chronoseal_inspect(const void* data, size_t size,
                                                    chronoseal_inspection** inspection,
                                                    chronoseal_error** error);
// Gives everything that was found out about bytes.
CHRONOSEAL_API chronoseal_status
chronoseal_inspection_get_info(const chronoseal_inspection* inspection,
                               const chronoseal_inspection_info** info, chronoseal_error** error);
// Releases an inspection and sets the pointer to null.
CHRONOSEAL_API void chronoseal_inspection_free(chronoseal_inspection** inspection);

// Puts other DER into the form in which `original` came: PEM with its label and what stands around
// it, Base64, the mail, or as it is. The bytes are the caller's, to be released by
// `chronoseal_free`.
CHRONOSEAL_API chronoseal_status chronoseal_rewrap(const void* original, size_t original_size,
                                                   const void* der, size_t der_size,
                                                   unsigned char** data, size_t* size,
                                                   chronoseal_error** error);

// ---- The machine ----

// What is with a key of the configuration.
typedef enum chronoseal_setting_state {
    CHRONOSEAL_SETTING_BY_DEFAULT = 0,  // it is absent
    CHRONOSEAL_SETTING_SET = 1,         //
    CHRONOSEAL_SETTING_UNREADABLE = 2,  // of the wrong type
    CHRONOSEAL_SETTING_NOT_ALLOWED = 3, // a value that isn't one of those that mean something
    CHRONOSEAL_SETTING_UNKNOWN = 4      // means nothing: a slip of the pen, mostly
} chronoseal_setting_state;

// One key of the configuration.
typedef struct chronoseal_setting {
    const char* key;                // as in TOML: "config.cades.tsppolicy.AllowedTSPs"
    const char* value;              // as in TOML; empty: none
    const char* source;             // the file; empty: built in
    const char* problem;            // what is wrong with it, in words; empty: nothing
    int fatal;                      // 1: no request can be made until it is put right
    chronoseal_setting_state state; // what is with it
} chronoseal_setting;

// Tells the policy of the machine: calls `each` for each key that is known, with its value and
// where it comes from, and then for each that is set but means nothing. Anything but 0 from `each`
// ends it. `usable`, which may be null, is set to 1 if requests are possible, else to 0.
CHRONOSEAL_API chronoseal_status chronoseal_policy(int (*each)(void* user,
                                                               const chronoseal_setting* setting),
                                                   void* user, int* usable,
                                                   chronoseal_error** error);

// Tells what is wrong with the configuration as a whole, files that can't be read mostly, by calls
// of `each` with a sentence. Anything but 0 from `each` ends it.
CHRONOSEAL_API chronoseal_status chronoseal_policy_problems(int (*each)(void* user,
                                                                        const char* problem),
                                                            void* user, chronoseal_error** error);

// A certificate store of this user and machine.
typedef struct chronoseal_store {
    const char* name;        // "Root", "CA", "My", "AddressBook"
    size_t certificates;     // how many are in it
    size_t revocation_lists; // how many are in it
    const char* problem;     // empty: it could be read
} chronoseal_store;

// Tells the certificate stores of this user and machine by calls of `each`. Anything but 0 from
// `each` ends it.
CHRONOSEAL_API chronoseal_status chronoseal_stores(int (*each)(void* user,
                                                               const chronoseal_store* store),
                                                   void* user, chronoseal_error** error);

// A root that counts where a `chronoseal_trust` names none.
typedef struct chronoseal_trusted_root {
    const chronoseal_certificate* certificate; // the root itself
    const char* place;                         // "user", "machine" or "system"
} chronoseal_trusted_root;

// Whose store is meant.
typedef enum chronoseal_place {
    CHRONOSEAL_PLACE_USER = 0,   // the user's own
    CHRONOSEAL_PLACE_MACHINE = 1 // the machine's, which needs the rights for it
} chronoseal_place;

// Tells the roots that are trusted on this machine, those of the operating system included, by
// calls of `each`. Anything but 0 from `each` ends it.
CHRONOSEAL_API chronoseal_status
chronoseal_trusted_roots(int (*each)(void* user, const chronoseal_trusted_root* root), void* user,
                         chronoseal_error** error);
// Puts the one certificate of `root` among the trusted ones, if its SHA-256 is the one given: a
// root is trusted by what one knows of it, not by where it came from. A process that has judged
// before notices within ten seconds. "root_differs", "not_a_root" for a certificate that isn't
// self-issued, "no_certificates" and "access_denied".
CHRONOSEAL_API chronoseal_status chronoseal_trust_root(const chronoseal_source* root,
                                                       const void* sha256, size_t size,
                                                       chronoseal_place place,
                                                       chronoseal_error** error);
// Takes a root away from the trusted ones. "root_not_found" where the store hasn't got it, and
// "access_denied" for one that lies elsewhere, such as those of the operating system.
CHRONOSEAL_API chronoseal_status chronoseal_distrust_root(const void* sha256, size_t size,
                                                          chronoseal_place place,
                                                          chronoseal_error** error);

// How grave something is.
typedef enum chronoseal_severity {
    CHRONOSEAL_GOOD = 0,    //
    CHRONOSEAL_NOTE = 1,    //
    CHRONOSEAL_WARNING = 2, //
    CHRONOSEAL_FAULT = 3    //
} chronoseal_severity;

// One thing about this machine that matters to stamps.
typedef struct chronoseal_diagnosis {
    const char* area;             // "configuration", "roots", "stores", "clock", "authority"
    chronoseal_severity severity; // how grave it is
    const char* word;             // stable
    const char* text;             // one sentence
    const char* advice;           // what to do
} chronoseal_diagnosis;

// Tells what would make a stamp or a verification fail on this machine, and what is well, by calls
// of `each`. With `ask` other than 0 one stamp is asked of each authority. Anything but 0 from
// `each` ends it. `options` may be null.
CHRONOSEAL_API chronoseal_status
chronoseal_diagnose(const chronoseal_sealer_options* options, int ask,
                    int (*each)(void* user, const chronoseal_diagnosis* diagnosis), void* user,
                    chronoseal_error** error);

// ---- Authenticode ----

// How a stamp of the older Authenticode protocol is got.
typedef struct chronoseal_authenticode_options {
    size_t size;                   // of this struct
    const char* url;               // null: the policy's DefaultMSTSPURL
    const chronoseal_trust* trust; // by which the answer is judged; null: the machine's
    int without_verification;      // 1: the answer's chain isn't judged
} chronoseal_authenticode_options;

// What a stamp of the older Authenticode protocol holds.
typedef struct chronoseal_authenticode_info {
    chronoseal_bytes der;                 // the PKCS#7 message: what to store
    int has_time;                         // 1: it has a signing time
    chronoseal_time time;                 // its signing time
    const chronoseal_certificate* signer; // whose certificate is in it
} chronoseal_authenticode_info;

// A stamp of the older Authenticode protocol. Doesn't change.
typedef struct chronoseal_authenticode_stamp chronoseal_authenticode_stamp;

// Gets a stamp by the older Authenticode protocol over `content`, mostly a signature value. It is
// given only if it is a signed message over this content whose signature fits. "server_denied"
// where policy doesn't allow the server; "time_missing" for an answer to be judged that doesn't
// tell its time. `options` may be null.
CHRONOSEAL_API chronoseal_status chronoseal_authenticode(
    const void* content, size_t size, const chronoseal_authenticode_options* options,
    chronoseal_authenticode_stamp** stamp, chronoseal_error** error);
// Gives everything that a stamp of the older Authenticode protocol holds.
CHRONOSEAL_API chronoseal_status chronoseal_authenticode_stamp_get_info(
    const chronoseal_authenticode_stamp* stamp, const chronoseal_authenticode_info** info,
    chronoseal_error** error);
// Releases a stamp of the older Authenticode protocol and sets the pointer to null.
CHRONOSEAL_API void chronoseal_authenticode_stamp_free(chronoseal_authenticode_stamp** stamp);

// Gives the version of the library in use, "1.0.0".
CHRONOSEAL_API const char* chronoseal_version(void);

#ifdef __cplusplus
}
#endif

#endif
