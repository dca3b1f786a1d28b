// chronoseal: time-stamps (RFC 3161) to ask for, to judge and to look into. The one header of the
// C++ front door.
//
//     chronoseal::Sealer sealer({.authorities = {{.url = "http://tsa.example/"}}});
//     chronoseal::Stamp stamp = sealer.seal(std::filesystem::path("report.pdf"));
//     ...
//     chronoseal::Verifier verifier({.roots = {std::filesystem::path("roots.pem")}});
//     chronoseal::Verdict verdict = verifier.verify(stamp, sealer.digest_of("report.pdf"));
//     if (!verdict.good()) { std::cerr << verdict.deciding().text; }
//
// Bytes are spans and vectors, text is UTF-8, time is std::chrono in UTC.
// Ownership: all types are values that own what they hold; nothing that is returned is borrowed.
// What was moved from is empty, or as it was; a call for which that isn't enough throws
// `moved_from` (misuse), or what it throws for the empty one.
// Errors: every function may throw `Error`, and nothing else leaves the library but what a
// callback of the caller throws. What a token, a server or a file says is foreign text: it is given
// as it came in fields that say so, and quoted (`quote_foreign`) within `text` and `advice`.
// Threads: any may call any function; plain values have many readers or one writer.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <stop_token>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include <chronoseal/visibility.h>

namespace chronoseal {

using Bytes = std::vector<std::byte>;
using ByteView = std::span<const std::byte>;
// A point in UTC.
using Time = std::chrono::sys_time<std::chrono::microseconds>;

// ---- Errors ----

// What kind of answer an error is; the command's exit status follows it.
enum class Category {
    refused,    // found to be bad, or forbidden (1)
    misuse,     // the caller's own values make no sense (2)
    unreachable // could not be reached, read or judged (3)
};

// The one exception. Immutable; copies share their texts, and any number of threads may read one.
class CHRONOSEAL_API Error : public std::exception {
public:
    Error(Category category, std::string_view word, std::uint32_t code, std::string text,
          std::string advice);
    Error(const Error&) noexcept = default; // moving is copying
    Error& operator=(const Error&) noexcept = default;

    // `text`, the number in brackets, and `advice` in one line that is safe to print.
    const char* what() const noexcept override;
    Category category() const noexcept;
    // A stable word of small letters and underscores, "imprint_differs": programs decide by this.
    const std::string& word() const noexcept;
    // The result code of the library or the platform beneath; 0 where none applies.
    std::uint32_t code() const noexcept;
    // What failed, and what to do, for people: one sentence each, without a full stop.
    const std::string& text() const noexcept;
    const std::string& advice() const noexcept;

private:
    struct Content;
    std::shared_ptr<const Content> content_;
};

// Word, text and advice for a result code; an unknown one is told by its number. `doing` ("stamp
// report.pdf") stands in front of the text, unless it is empty.
CHRONOSEAL_API Error error_of_code(std::uint32_t code, std::string_view doing = {});
// "0xC2100103", or "1260" for a plain system error.
CHRONOSEAL_API std::string code_text(std::uint32_t code);
// One row for each code that has words of its own: for documents and completeness tests.
struct ErrorWords {
    std::uint32_t code;
    Category category;
    std::string_view word, text, advice;
};
CHRONOSEAL_API std::span<const ErrorWords> error_table();

// ---- Text ----

// Makes foreign text safe to print: control characters (C0, DEL, C1), line ends, bidirectional
// controls, other invisible format characters and bytes that aren't UTF-8 become "\x1b" or
// "\u{202e}", a backslash becomes "\\". Text with more than `limit` characters is cut and ends in
// "..."; 0 cuts nothing.
CHRONOSEAL_API std::string quote_foreign(std::string_view text, std::size_t limit = 0);
// The address with a password in it replaced by "***", quoted as above.
CHRONOSEAL_API std::string quote_address(std::string_view url);
// Small hexadecimal digits without separators, and back, from digits of any size with a colon
// between all octets or none: the latter throws `digest_malformed` for anything else.
CHRONOSEAL_API std::string to_hex(ByteView bytes);
CHRONOSEAL_API Bytes from_hex(std::string_view digits);
// RFC 3339 with the fraction that the time has: "2026-11-21T14:06:37.5Z", and by the machine's zone
// at that time, "2026-11-21T15:06:37.5+01:00".
CHRONOSEAL_API std::string utc_text(Time time);
CHRONOSEAL_API std::string local_text(Time time);

inline ByteView bytes_of(std::string_view text) {
    return std::as_bytes(std::span(text));
}

// ---- Hashing ----

// A hash algorithm that the platform knows. An immutable value; any number of threads may use it.
class CHRONOSEAL_API HashAlgorithm {
public:
    // By name ("SHA-256", "sha256", "gost-2012-256") or dotted OID. Throws `hash_unknown` (misuse,
    // 0x80090008) for what the platform can't compute.
    static HashAlgorithm by_name(std::string_view name_or_oid);
    // All that this machine can compute, strongest use first.
    static std::vector<HashAlgorithm> all();

    const std::string& name() const noexcept { return name_; } // "SHA-256"
    const std::string& oid() const noexcept { return oid_; }   // dotted
    std::size_t size() const noexcept { return size_; }        // bytes of a digest
    // MD5 and SHA-1: collisions can be made, so a new stamp proves little.
    bool weak() const noexcept { return weak_; }

    bool operator==(const HashAlgorithm& other) const noexcept { return oid_ == other.oid_; }

private:
    friend class Hasher;
    friend struct HashAlgorithmAccess;
    HashAlgorithm() = default;

    std::string name_;
    std::string oid_;
    std::size_t size_ = 0;
    std::uint32_t number_ = 0;
    bool weak_ = false;
};

// "SHA-256" for its OID; the OID itself where no name is known.
CHRONOSEAL_API std::string algorithm_name(std::string_view oid);

// Bytes done so far, and all of them (0: not known). Called on the thread that hashes.
using Progress = std::function<void(std::uint64_t done, std::uint64_t total)>;

// A finished hash with its algorithm. A plain value.
class CHRONOSEAL_API Digest {
public:
    // Throws `digest_malformed` (misuse) if the size isn't the algorithm's.
    Digest(HashAlgorithm algorithm, Bytes value);
    static Digest from_hex(const HashAlgorithm& algorithm, std::string_view digits);
    static Digest of(ByteView data, const HashAlgorithm& algorithm);
    // Reads the file in constant memory. Throws `file_unreadable`, and `cancelled` on a stop.
    static Digest of_file(const std::filesystem::path& path, const HashAlgorithm& algorithm,
                          const Progress& progress = {}, std::stop_token stop = {});

    const HashAlgorithm& algorithm() const noexcept { return algorithm_; }
    const Bytes& value() const noexcept { return value_; }
    bool operator==(const Digest& other) const noexcept = default;

private:
    HashAlgorithm algorithm_;
    Bytes value_;
};

// A running hash, for data that comes in pieces. Belongs to one thread at a time; can be moved.
class CHRONOSEAL_API Hasher {
public:
    explicit Hasher(const HashAlgorithm& algorithm);
    Hasher(Hasher&& other) noexcept;
    Hasher& operator=(Hasher&& other) noexcept;
    ~Hasher();

    void update(ByteView data); // of any size
    // Ends the hash; the object may only be assigned to or destroyed then.
    Digest finish();

private:
    struct Running;
    std::unique_ptr<Running> running_;
};

// ---- What a stamp holds ----

struct AlgorithmInfo {
    std::string oid;
    std::string name;          // the OID where none is known
    Bytes parameters;          // DER; empty: absent
    std::string weakness = {}; // empty, or why it counts as weak: "SHA-1 is broken for collisions"
};

struct ExtensionInfo {
    std::string oid;
    std::string name; // the OID where none is known
    bool critical = false;
    Bytes value; // the octets
};

struct AttributeInfo {
    std::string oid;
    std::string name;
    std::vector<Bytes> values; // DER each
};

struct CertificateInfo {
    std::string subject, issuer; // RFC 4514-like text, foreign
    Bytes serial_number;         // big-endian
    Time not_before{}, not_after{};
    Bytes sha256; // of the DER
    AlgorithmInfo signature_algorithm;
    AlgorithmInfo key_algorithm;
    std::size_t key_bits = 0; // 0: not known
    Bytes key_sha256;         // of the public key's bits
    std::vector<ExtensionInfo> extensions;
    std::vector<std::string> extended_usages; // OIDs
    Bytes der;
};

// The signature of the token; of the first signer where there are several.
struct SignatureInfo {
    AlgorithmInfo digest_algorithm;
    AlgorithmInfo signature_algorithm;
    std::string issuer;  // of the signer's certificate as the token names it, foreign
    Bytes serial_number; // big-endian
    Bytes value;
    std::vector<AttributeInfo> signed_attributes;
    std::vector<AttributeInfo> unsigned_attributes;
    std::size_t signers = 0; // how many there are; a good token has one
};

struct TokenInfo {
    int version = 0;
    Time time{};
    std::optional<std::chrono::microseconds> accuracy;
    bool ordering = false;
    std::string policy; // dotted OID
    AlgorithmInfo imprint_algorithm;
    Bytes imprint;
    Bytes serial_number;        // big-endian, as written
    std::optional<Bytes> nonce; // big-endian, as written
    std::string authority;      // the name in the token, foreign; empty: none
    Bytes authority_der;        // the GeneralName
    std::vector<ExtensionInfo> extensions;
    SignatureInfo signature;
    std::vector<CertificateInfo> certificates; // in the order of the token
    std::size_t revocation_lists = 0;          // CRLs that the token carries
    // That of `certificates` which the token's signed attributes name; none if it isn't there.
    std::optional<CertificateInfo> signer;
};

// Nothing in it is verified.
struct StampInfo {
    // Of a response; absent for a bare token.
    std::optional<unsigned> status;         // PKIStatus
    std::string status_name;                // "granted", "rejection"
    std::string status_text;                // the authority's words, foreign
    std::uint32_t failure_bits = 0;         // bit n as 1 << n
    std::vector<std::string> failure_names; // RFC 3161 names, "badAlg"
    // Absent when the authority refused.
    std::optional<TokenInfo> token;
};

struct Remark {
    std::string word; // "weak_hash", "clock_differs", ...
    std::string text;
};

struct Verdict;

// A time-stamp: an authority's answer, or a bare token. Immutable; copies share their content, and
// any number of threads may read one.
class CHRONOSEAL_API Stamp {
public:
    // Reads a response or a bare token as DER or BER, PEM or Base64. A refusal is read too, and has
    // no token. Nothing is verified. Throws `not_a_stamp` (0x80093101), whose text says what the
    // bytes are instead, and the words for a response that is malformed. What isn't signed makes no
    // stamp bad: `unsigned_too_many` (0x80096001), unreachable, for more certificates, lists or
    // unsigned attributes than are looked at; `unsigned_damaged` where they can't be read.
    static Stamp read(ByteView bytes);
    static Stamp read_file(const std::filesystem::path& path);

    const StampInfo& info() const noexcept;
    bool has_token() const noexcept;
    // The time of the stamp. Throws `no_token` for a refusal.
    Time time() const;
    // The token's bytes (a CMS SignedData), and the TimeStampResp; empty where there is none. A
    // response made of a bare token is what some readers want: `as_response` makes one. Throws
    // `no_token` where there is neither.
    const Bytes& token() const noexcept;
    const Bytes& response() const noexcept;
    Bytes as_response() const;

    // Of a stamp that a Sealer got: the authority's address, masked; what it noticed beside the
    // checks (a clock that differs, a weak hash); how many times it asked. Empty and 0 else.
    const std::string& authority() const noexcept;
    const std::vector<Remark>& remarks() const noexcept;
    unsigned attempts() const noexcept;
    // And by what it was taken, if `SealerOptions::keep_verdict` asked for it; else null. Lives as
    // long as the stamp.
    const Verdict* verdict() const noexcept;

private:
    friend struct StampAccess;
    struct Content;
    explicit Stamp(std::shared_ptr<const Content> content) : content_(std::move(content)) {}
    std::shared_ptr<const Content> content_;
};

// ---- Judging ----

// Certificates, revocation lists or OCSP answers, PEM or DER, one or many: a file or bytes.
using Source = std::variant<std::filesystem::path, Bytes>;

enum class Revocation { as_configured, require, available, off };
enum class Strength {
    as_configured,
    floor,  // what is broken in practice is refused; SHA-1 and RSA-1024 pass with a remark
    current // these are refused as well
};

// Whom a verifier trusts, and what it may use. A plain value.
struct Trust {
    // Trusted, in place of the machine's roots. Empty: the machine's.
    std::vector<Source> roots = {};
    // May be needed for a chain; none is trusted for it.
    std::vector<Source> certificates = {};
    // Revocation lists and OCSP answers, looked at before any is fetched.
    std::vector<Source> evidence = {};
    Revocation revocation = Revocation::as_configured;
    Strength strength = Strength::as_configured;
    // What "now" is for the age of revocation evidence; absent: the clock.
    std::optional<Time> as_of = std::nullopt;
    // Nothing is fetched from the network; what lies in the cache counts.
    bool offline = false;
};

// In the order in which they are made. Each needs what stands before it only where its finding
// would make no sense without: then it is `not_done`, and its text says why.
enum class Check {
    status,       // the authority granted it
    imprint,      // algorithm, length and hash are those of the data
    nonce,        // that of the request
    policy,       // the policy asked for
    time,         // close enough to the clock, or not after `as_of`
    content_type, // the token signs a TSTInfo, and its attribute says so
    signer,       // the certificate that the signed attributes name is there
    signature,    // one signer, the digest and the signature fit
    extensions,   // no critical extension that isn't understood
    chain,        // each certificate up to a trusted root, at the stamp's time
    usage,        // the signer's certificate is one for time-stamping alone
    revocation,   // none of them was revoked
    strength      // hashes and keys are strong enough
};
inline constexpr std::size_t kChecks = 13;
CHRONOSEAL_API std::string_view check_name(Check check) noexcept; // "content_type"

enum class Outcome { passed, failed, not_done };

struct Finding {
    Check check{};
    Outcome outcome = Outcome::not_done;
    // Whether a verdict without it can be good.
    bool required = true;
    // "passed"; of a failure the stable word (`Error::word`); of what was not done "not_asked",
    // "switched_off", "earlier_failure", or the word for what is missing ("revocation_unknown").
    std::string word;
    std::uint32_t code = 0; // of the library or the platform, 0: none applies
    std::string text, advice;
    std::vector<Remark> remarks;
};

enum class EvidenceKind { revocation_list, ocsp_answer };
enum class EvidenceSource { given, cache, network };

// A statement about a certificate's revocation, on which the judgement rests.
struct Evidence {
    EvidenceKind kind{};
    EvidenceSource source{};
    Time this_update{};
    std::optional<Time> next_update;
    std::optional<Time> revoked; // since when
    std::string reason;          // "keyCompromise"; empty: not revoked, or none given
    std::string url;             // where it was fetched, foreign; empty else
    Bytes sha256;                // of `der`
    Bytes der;
};

enum class RevocationState { not_checked, good, revoked, unknown };

struct ChainLink {
    CertificateInfo certificate;
    bool anchor = false; // the trusted root
    // What is wrong with this certificate, as words ("certificate_expired"); empty: nothing.
    std::vector<std::string> faults;
    RevocationState revocation = RevocationState::not_checked;
    std::vector<Evidence> evidence;
};

// What a good verdict rests on at the time by which it is judged.
enum class EvidenceStrength {
    fresh,   // one stamp, whose certificates are valid
    renewed, // of a record: each stamp was renewed before its certificates ended, and those of the
             // last are valid
    aged     // somewhere certificates had ended: a key that was stolen later could forge it
};
CHRONOSEAL_API std::string_view strength_name(EvidenceStrength strength) noexcept; // "aged"

// How long a verdict holds, as far as that can be told. A plain value.
struct Outlook {
    EvidenceStrength strength = EvidenceStrength::fresh;
    std::optional<Time> aged_since; // when the first certificate of the chain ended
    // When the first certificate below the root ends, or an algorithm in use is no longer to be
    // relied on ([config.chronoseal.sunset]), whichever comes first; it may be past.
    std::optional<Time> renew_before;
    std::string renew_reason;
    // Until when the evidence of revocation that was used speaks, absent: for good, or there is
    // none; and from when it speaks again, absent: never. In between newer evidence is needed.
    std::optional<Time> evidence_until, evidence_again;
    bool evidence_stored = false; // all of it was at hand: in the stamp, or given
};

// What a verifier found. A plain value.
struct CHRONOSEAL_API Verdict {
    // Nothing failed, and all that was required was done.
    bool good() const noexcept;
    // Nothing is known to be bad, but the evidence of revocation is missing, unreachable or too
    // old, or so much came with the stamp that not all of it was looked at ("chain_too_costly").
    bool indeterminate() const noexcept;
    // Whether the imprint was compared with data.
    bool compared() const noexcept;
    const Finding& at(Check check) const;
    // The finding on which a verdict that isn't good rests: the first failure, else the first
    // required one that wasn't done. Of a good verdict the last one.
    const Finding& deciding() const;
    // That finding as an error, for callers who want to throw.
    Error error() const;

    std::vector<Finding> findings; // kChecks of them, in their order
    StampInfo stamp;
    std::optional<CertificateInfo> signer; // the one found, be it in the token or elsewhere
    std::vector<ChainLink> chain;          // from the signer to the root, as far as it was built
    Time judged_at{};                      // the stamp's time, at which the chain is judged
    Time as_of{};                          // "now" of the judgement
    Outlook outlook;                       // of a verdict for which a chain was found
};

// What a stamp is compared with. A plain value.
struct CHRONOSEAL_API Expected {
    std::optional<Digest> digest;
    // A verdict without a digest is good only if this says that it may be.
    bool without_data = false;
    std::optional<Bytes> nonce; // big-endian, as in TokenInfo; a request without one: absent
    bool nonce_known = false;   // `nonce` is what the request had, its absence included
    std::string policy;         // dotted OID; empty: any

    // All that a TimeStampReq asks for. Throws `not_a_request`.
    static Expected of_request(ByteView request);
};

// Judges stamps. Immutable: any number of threads may use one verifier at once. Copies share it.
class CHRONOSEAL_API Verifier {
public:
    // Reads the files of `trust`: throws `file_unreadable`, `no_certificates`.
    explicit Verifier(Trust trust = {});
    Verifier(const Verifier&) noexcept = default; // moving is copying
    Verifier& operator=(const Verifier&) noexcept = default;

    // A stamp that isn't good is no failure: the verdict says so. Throws only where nothing can be
    // judged: no memory, a policy that can't be read.
    Verdict verify(const Stamp& stamp, const Expected& expected) const;
    // The same for a stamp that isn't needed any more: what it holds goes into the verdict.
    Verdict verify(Stamp&& stamp, const Expected& expected) const;
    Verdict verify(const Stamp& stamp, const Digest& digest) const;
    // Hashes the data by the stamp's algorithm.
    Verdict verify(const Stamp& stamp, ByteView data) const;
    Verdict verify_file(const Stamp& stamp, const std::filesystem::path& path,
                        const Progress& progress = {}, std::stop_token stop = {}) const;
    // The token alone: what it stamps is not compared with anything.
    Verdict verify_token(const Stamp& stamp) const;

    // The same, for the stamps of one file: to fetch what they need takes all of them together no
    // longer than one, and what has failed isn't asked for again. The time, 15 seconds, begins with
    // the first fetching. Their signatures take the processor some 1.5 seconds at most, which is
    // enough for 256 stamps by usual keys; what is beyond it can't be told. Make another for the
    // next file.
    Verifier for_one_file() const;

private:
    friend class Sealer;
    class Impl;
    std::shared_ptr<const Impl> impl_;
};

// ---- Extending ----

// A stamp with the evidence in it by which it can be judged offline.
struct Extension {
    Stamp stamp;     // response or token, as the one before; the same one if nothing was put in
    Verdict verdict; // by what the stamp holds alone, the trusted roots given
    std::size_t certificates = 0, revocation_lists = 0, ocsp_answers = 0; // put in
    // "evidence_early": a list or an answer was made before the stamp, and so says less about it
    // than one that is asked for later; "no_evidence": nothing speaks of a certificate.
    std::vector<Remark> remarks = {};

    bool changed() const { return certificates + revocation_lists + ocsp_answers != 0; }
};

// Judges the stamp, fetching what that takes, and puts the chain's certificates, revocation lists
// and OCSP answers on which the judgement rests into the unsigned parts of its token; all else
// stays octet for octet. Throws the verdict's error for a stamp that isn't good,
// `revocation_off` (misuse) where revocation isn't looked at, and `extension_insufficient` if the
// result can't be judged good by what it holds and the trusted roots alone. To be done while the
// authority's certificate is valid, and before the stamp is renewed: whoever has stamped the token
// has stamped its unsigned parts, too.
CHRONOSEAL_API Extension extend(const Stamp& stamp, const Trust& trust = {});

// ---- Asking ----

struct Login {
    std::string user, password;
};

// At most `count` requests in `period`; 0: no limit.
struct Rate {
    unsigned count = 0;
    std::chrono::milliseconds period{std::chrono::seconds(1)};
};

// How one time-stamp authority is reached. A plain value. What the machine's policy denies
// (AllowedTSPs, AuthDeny..., AllowedProxies) is refused before anything is sent.
struct Authority {
    std::string url; // http or https, without user-info
    // A login by basic authentication, from one of: memory; a file "USER:PASSWORD" that only its
    // owner can read; a netrc file (by the address's host). At most one may be set.
    std::optional<Login> login = std::nullopt;
    std::filesystem::path login_file = {};
    std::filesystem::path netrc = {};
    // PEM files for TLS. An empty key stands for the certificate's file.
    std::filesystem::path client_certificate = {};
    std::filesystem::path client_key = {};
    // Roots for TLS in place of the system's.
    std::filesystem::path ca_file = {};
    // Absent: the policy's. Empty: a direct connection.
    std::optional<std::string> proxy = std::nullopt;
    std::optional<Login> proxy_login = std::nullopt;
    // None: that of the machine's configuration for this address, if it has one.
    Rate rate = {};
    // For one exchange; 0: the configured one.
    std::chrono::milliseconds timeout{0};
    // In the place of `proxy_login`: a file "USER:PASSWORD" that only its owner can read.
    std::filesystem::path proxy_login_file = {};
};

// The authorities of the machine's configuration ([[config.chronoseal.authority]]), or else the
// policy's default address; empty if there is none. Throws `policy_unreadable`, `setting_invalid`.
CHRONOSEAL_API std::vector<Authority> configured_authorities();

struct SealerOptions {
    // In the order in which they are asked. Empty: `configured_authorities()`.
    std::vector<Authority> authorities = {};
    std::string hash = {};   // name or OID; empty: the policy's, else SHA-256
    std::string policy = {}; // dotted OID to ask for; empty: the policy's default, else none
    std::optional<bool> nonce = std::nullopt;        // absent: the policy's default
    std::optional<bool> certificates = std::nullopt; // whether asked for; absent: when verifying
    // Stamps by so many authorities with different keys, or none.
    unsigned quorum = 1;
    // How often one authority is asked in all before the next one is, and the wait in between,
    // doubled each time, with jitter; Retry-After counts up to `longest_wait`.
    unsigned attempts = 3;
    std::chrono::milliseconds first_wait{500};
    std::chrono::milliseconds longest_wait{30000};
    // An authority that failed twice running isn't asked for so long.
    std::chrono::milliseconds rest{30000};
    // How far the stamp's time may lie from the clock before a remark is made.
    std::chrono::milliseconds clock_tolerance{std::chrono::minutes(10)};
    // By which answers are judged.
    Trust trust = {};
    // Without it only the answer itself is checked: status, imprint, nonce, policy, time.
    bool verify = true;
    // Nobody is asked: `request` alone may be called, and no authority has to be known.
    bool only_requests = false;
    // Where requests are counted for `Rate`, shared by all processes of the user. Empty: the
    // user's cache folder.
    std::filesystem::path rate_file = {};
    // Told before each wait, for a rate or between two attempts: the authority's address for
    // people, and how long. By any thread, several at once.
    std::function<void(const std::string& authority, std::chrono::milliseconds wait)> on_wait = {};
    // Stamps keep the verdict that they were taken by (`Stamp::verdict`), with the evidence under
    // it: of a revocation list that may be megabytes.
    bool keep_verdict = false;
};

// What one item of a batch is: a file, a finished hash, or bytes.
using Item = std::variant<std::filesystem::path, Digest, Bytes>;

struct BatchResult {
    std::uint64_t index = 0; // of the item, from 0
    Item item;
    std::vector<Stamp> stamps; // `quorum` of them, or none
    std::optional<Error> error;
};

struct BatchSummary {
    std::uint64_t stamped = 0, failed = 0;
    bool stopped = false; // items were left because of the stop
};

// Gets time-stamps. Immutable but for what it learns about its authorities: any number of threads
// may use one sealer at once. Can't be copied.
class CHRONOSEAL_API Sealer {
public:
    // Everything that can be checked without an authority is checked here: throws `no_address`,
    // `address_malformed`, `address_has_login`, `address_denied`, `auth_denied`, `hash_unknown`,
    // `hash_denied`, `policy_denied`, `nonce_denied`, `policy_unreadable`, `setting_invalid`,
    // `quorum_impossible`, `policy_malformed`, and what Verifier throws.
    explicit Sealer(SealerOptions options = {});
    Sealer(const Sealer&) = delete;
    Sealer& operator=(const Sealer&) = delete;
    ~Sealer();

    // A stamp for which every check has passed, by the first authority that gives one. Blocks.
    // With a quorum the first of the stamps. Throws the error of the last authority asked;
    // `cancelled` on a stop, at the latest when the exchange in flight ends.
    Stamp seal(ByteView data, std::stop_token stop = {}) const;
    Stamp seal(const std::filesystem::path& path, const Progress& progress = {},
               std::stop_token stop = {}) const;
    Stamp seal_digest(const Digest& digest, std::stop_token stop = {}) const;
    // `quorum` stamps by authorities with different keys, or `quorum_missed` and none.
    std::vector<Stamp> seal_quorum(const Digest& digest, std::stop_token stop = {}) const;
    // Sends a finished TimeStampReq as it is, and judges the answer by it.
    Stamp send(ByteView request, std::stop_token stop = {}) const;

    // The DER of a TimeStampReq as these options make it, for another way to the authority.
    Bytes request(const Digest& digest) const;

    // Stamps all that `next` gives, until it gives nothing, over so many connections. `next` and
    // `done` are called by one thread at a time, in no given order; memory doesn't grow with the
    // number of items. Once all authorities rest, the remaining items fail at once with the last
    // error. What `next` or `done` throws ends the batch and is thrown on.
    BatchSummary seal_all(const std::function<std::optional<Item>()>& next,
                          const std::function<void(const BatchResult&)>& done,
                          unsigned connections = 4, std::stop_token stop = {}) const;
    template <class Range>
    BatchSummary seal_range(const Range& items, const std::function<void(const BatchResult&)>& done,
                            unsigned connections = 4, std::stop_token stop = {}) const {
        auto place = std::begin(items);
        const auto end = std::end(items);
        return seal_all(
            [&]() -> std::optional<Item> {
                return place == end ? std::nullopt : std::optional<Item>(Item(*place++));
            },
            done, connections, std::move(stop));
    }

    const HashAlgorithm& hash() const noexcept;
    const std::vector<Authority>& authorities() const noexcept;
    Digest digest_of(const std::filesystem::path& path, const Progress& progress = {},
                     std::stop_token stop = {}) const;

private:
    class Impl;
    std::unique_ptr<Impl> impl_;
};

// ---- Stamps on signatures ----

// The attributes by which a signature carries a stamp: RFC 3161's, and that of Authenticode.
inline constexpr std::string_view kSignatureTimeStamp = "1.2.840.113549.1.9.16.2.14";
inline constexpr std::string_view kAuthenticodeTimeStamp = "1.3.6.1.4.1.311.3.3.1";

struct SignatureExtension;

// A CMS signature (RFC 5652) by one or several signers, each of whom can have a stamp: over the
// octets of the signature, in an unsigned attribute. What was signed, certificates, and the order
// of signers stay octet for octet; countersignatures aren't stamped. Immutable; copies share their
// content, and any number of threads may read one.
class CHRONOSEAL_API CmsSignature {
public:
    // DER, BER, PEM, Base64 or S/MIME; indefinite lengths become definite. Throws
    // `not_a_signature`, `is_a_stamp`, `no_signers`, `malformed`.
    static CmsSignature read(ByteView bytes);
    CmsSignature(const CmsSignature&) noexcept = default; // moving is copying
    CmsSignature& operator=(const CmsSignature&) noexcept = default;

    std::size_t signers() const noexcept;
    // The content isn't there: neither in the message nor in the mail around it.
    bool detached() const noexcept;
    // What a stamp for this signer is over; signers count from 0. Throws `no_signer` (misuse).
    Bytes value(std::size_t signer) const;
    // The signature's arithmetic by the certificate that the signer names, which is looked for in
    // the message and in `certificates`; no chain is judged. True if the content was compared;
    // false if it isn't there, and the signature over the signed attributes fits. Throws
    // `signature_bad`, `content_differs`, `signer_not_found`, `content_missing` where without the
    // content nothing can be checked, and `content_twice`.
    bool check(std::size_t signer, std::span<const Source> certificates = {},
               std::optional<ByteView> content = std::nullopt) const;
    // Whether a stamp for this signer could be put in, but for the stamp itself: before anybody is
    // asked for one. Throws `oid_malformed` (misuse), `no_signer`, `malformed`.
    void check_place(std::size_t signer, std::string_view attribute = kSignatureTimeStamp) const;
    // Throws `imprint_differs` if the stamp isn't over this signer's value.
    CmsSignature with_stamp(std::size_t signer, const Stamp& stamp,
                            std::string_view attribute = kSignatureTimeStamp) const;
    // Each stamp that the signers' own attributes hold, extended as `extend` does; all else stays
    // octet for octet. Throws what `extend` does, `imprint_differs`, `no_stamps`, and
    // `stamp_covered` where a later stamp or record is over the ones that would be changed.
    SignatureExtension extended(const Trust& trust = {}) const;
    // In the form that was read.
    Bytes encoded() const;

private:
    struct Content;
    explicit CmsSignature(std::shared_ptr<const Content> content) : content_(std::move(content)) {}
    std::shared_ptr<const Content> content_;
};

// A signature whose stamps can be judged offline.
struct SignatureExtension {
    CmsSignature signature;
    std::vector<Extension> stamps = {}; // signer by signer, in the order of their attributes
    // "nested_signature": a signature within this one keeps its stamps as they are.
    std::vector<Remark> remarks = {};

    bool changed() const {
        for (const Extension& stamp : stamps) {
            if (stamp.changed()) {
                return true;
            }
        }
        return false;
    }
};

// ---- What is this? ----

enum class Kind {
    empty,
    response,               // TimeStampResp
    token,                  // a CMS message over a TSTInfo
    request,                // TimeStampReq
    signed_message,         // CMS or PKCS#7 with a signature; `stamps` tells of those inside
    authenticode_signature, // a signature over a program or a script; its `stamps` likewise
    other_message,          // CMS of another type
    certificate,            //
    revocation_list,        //
    ocsp_answer,            //
    authenticode_request,   // a request of the older Authenticode protocol
    certificate_request,    // PKCS#10
    private_key,            // PKCS#8 and the like
    key_store,              // PKCS#12
    evidence_record,        // RFC 4998
    html,                   //
    xml,                    //
    json,                   //
    pdf,                    //
    archive,                // ZIP
    executable,             // ELF or PE
    text,                   //
    unknown_der,            // well-formed BER of no kind above
    unknown                 //
};
CHRONOSEAL_API std::string_view kind_name(Kind kind) noexcept; // "revocation_list"

enum class Form { binary, pem, base64, smime };

// A stamp inside something else.
struct Embedded {
    Stamp stamp;
    std::string attribute; // OID of the attribute that holds it
    std::string place;     // "signer 1, attribute 1.2.840.113549.1.9.16.2.14"
    // What it stamps: the octets of the signature value. The imprint has to be their hash.
    Bytes stamped;
};

// What stands where a stamp or a signature with stamps would, and wasn't looked into.
struct UnreadStamp {
    std::string attribute; // OID; empty: a whole signer
    std::string place;     // as in Embedded
    // With the words of `Stamp::read`: it can't be read as a stamp. `too_many_stamps`, unreachable:
    // this and all behind it is beyond the 256 stamps, 64 signers a signature or 4 signatures
    // within each other that are looked for.
    Error reason;
};

struct Inspection {
    Kind kind = Kind::unknown;
    Form form = Form::binary;
    std::string description; // one sentence for people: "an X.509 certificate, PEM"
    // Of a signed message: RFC 3161's attribute and Authenticode's, those within stamps, nested
    // signatures and countersignatures included.
    std::vector<Embedded> stamps;
    // An older Authenticode countersignature (PKCS#9) is there; it isn't an RFC 3161 stamp.
    bool countersignature = false;
    // Of a token or a response the stamp itself.
    std::optional<Stamp> stamp;
    // Without PEM or Base64.
    Bytes der;
    // Whoever judges `stamps` hasn't judged these.
    std::vector<UnreadStamp> unread = {};
    // So many bytes stand behind a token, a response or a signed message, and were not looked at;
    // in PEM, those of further stamps, and of further messages with stamps in them.
    std::size_t behind = 0;
    // Of a request: the authority is to put its certificate into the token.
    bool certificates_wanted = false;
};

// Tells what the bytes are, by their content alone. Never throws for what they are.
CHRONOSEAL_API Inspection inspect(ByteView bytes);

// Other DER in the form in which `original` came: PEM with its label and what stands around it,
// Base64, the mail, or as it is.
CHRONOSEAL_API Bytes rewrap(ByteView original, ByteView der);

// ---- The machine ----

enum class SettingState {
    by_default,  // the key is absent
    set,         //
    unreadable,  // of the wrong type: see `problem`; all keys, where a file can't be read
    not_allowed, // a value that means nothing, or that other settings refuse
    unknown      // a key or table that means nothing: a slip of the pen, mostly
};

struct Setting {
    std::string key;    // as it stands in TOML: "config.cades.tsppolicy.AllowedTSPs"
    std::string value;  // as in TOML, addresses without passwords; empty: none, or an unknown key's
    std::string source; // the file; empty: built in
    SettingState state = SettingState::by_default;
    std::string problem; // what is wrong, in words
    bool fatal = false;  // no request can be made by these settings until it is put right
};

// A certificate store of this user and machine: "Root", "CA", "My", "AddressBook".
struct StoreInfo {
    std::string name;
    std::size_t certificates = 0, revocation_lists = 0;
    std::string problem; // empty: it could be read
};

// What is in force on this machine for this user.
struct MachinePolicy {
    std::vector<StoreInfo> stores;
    std::vector<Setting> settings;     // all known keys, then the unknown ones
    std::vector<std::string> problems; // files that can't be read
    bool usable = true;                // requests are possible
};
CHRONOSEAL_API MachinePolicy policy();

enum class Severity { good, note, warning, fault };

struct Diagnosis {
    std::string area; // "configuration", "roots", "stores", "clock", "authority"
    Severity severity = Severity::good;
    std::string word;
    std::string text, advice;
};

// Whose store: the user's own, or the machine's, which needs the rights for it.
enum class StorePlace { user, machine };

struct TrustedRoot {
    CertificateInfo certificate;
    // "user", "machine", or "system" for those that come with the operating system.
    std::string place;
};

// The roots that count where a Trust names none.
CHRONOSEAL_API std::vector<TrustedRoot> trusted_roots();
// Puts the one certificate of the source among them, if its SHA-256 is this one: a root is trusted
// by what one knows of it, not by where it came from. A process that has judged before notices
// within ten seconds. Throws `root_differs`, `not_a_root` for a
// certificate that isn't self-issued, `no_certificates`, `access_denied`.
CHRONOSEAL_API CertificateInfo trust_root(const Source& root, ByteView sha256,
                                          StorePlace place = StorePlace::user);
// Takes it away again. Throws `root_not_found` where the store hasn't got it, and for one that lies
// elsewhere `root_of_machine`, `root_of_system`, `access_denied`.
CHRONOSEAL_API void distrust_root(ByteView sha256, StorePlace place = StorePlace::user);

// What would make a stamp or a verification fail on this machine. With `ask` one stamp is asked of
// each authority and told apart: round trip, clock, algorithms, days until its certificate ends.
CHRONOSEAL_API std::vector<Diagnosis> diagnose(const SealerOptions& options, bool ask = false);

// ---- Authenticode ----

struct AuthenticodeOptions {
    std::string url = {}; // empty: the policy's DefaultMSTSPURL
    Trust trust = {};
    bool verify = true; // the answer's chain and time
};

struct AuthenticodeStamp {
    Bytes der;                // the PKCS#7 message
    std::optional<Time> time; // its signing time
    std::optional<CertificateInfo> signer;
};

// Has `content`, mostly a signature value, stamped by the older Authenticode protocol. The answer
// is returned only if it is a signed message over this content whose signature fits. Throws
// `server_denied` (1260) where policy doesn't allow the server, and `time_differs` (0xC2100122)
// where `verify` is set and the signing time is over ten minutes from this machine's;
// `time_missing` where there is none, or none that can be read.
CHRONOSEAL_API AuthenticodeStamp authenticode(ByteView content,
                                              const AuthenticodeOptions& options = {});

// "1.0.0"
CHRONOSEAL_API std::string_view version() noexcept;

} // namespace chronoseal

#include <chronoseal/evidence.hpp>
