// chronoseal: evidence records (RFC 4998): one time-stamp for any number of data objects, a proof
// for each of them, and renewals that carry proofs over decades. Part of
// <chronoseal/chronoseal.hpp>.
//
//     chronoseal::EvidenceTree tree(chronoseal::HashAlgorithm::by_name("sha256"));
//     tree.add(first);
//     tree.add(second);
//     chronoseal::Stamp stamp = sealer.seal_digest(tree.root());
//     chronoseal::EvidenceRecord record = tree.record(first, stamp);
//     ...
//     auto verdict = chronoseal::EvidenceVerifier(trust).verify_file(record, "first.pdf");
//
// All of it works on bytes; only a `Sealer` asks anybody for anything.
#pragma once

#include <chronoseal/chronoseal.hpp>

namespace chronoseal {

// ---- Records ----

// One time-stamp of a record. Nothing of it is verified.
struct ArchiveStampInfo {
    std::size_t chain = 0; // from 0; the stamps of a chain share one hash algorithm
    Stamp stamp;
    AlgorithmInfo algorithm; // of the tree
    // How many hashes each list of the reduced tree holds; empty: there is no tree, and the stamp
    // is over the object's hash itself.
    std::vector<std::size_t> lists;
};

// Nothing in it is verified.
struct EvidenceInfo {
    std::vector<AlgorithmInfo> algorithms; // those that the record says it uses
    std::vector<ArchiveStampInfo> stamps;  // oldest first
    // The object was encrypted before it was stamped: hashes are those of what came of it.
    bool encrypted = false;
};

// An RFC 4998 evidence record. Immutable; copies share their content, and any number of threads may
// read one.
class CHRONOSEAL_API EvidenceRecord {
public:
    // DER, PEM or Base64. Nothing is verified. Throws `not_a_record`, whose text says what the
    // bytes are instead; `record_malformed`; `record_too_large` for more than 256 MiB, 1,000
    // stamps, 64 lists of hashes in a tree or 1,000,000 hashes in a list; `hash_length` for a hash
    // that isn't as long as its algorithm's; `algorithms_differ`.
    static EvidenceRecord read(ByteView bytes);
    static EvidenceRecord read_file(const std::filesystem::path& path);
    // The record of what a plain stamp is over. Loses nothing. Throws `no_token`.
    static EvidenceRecord of_stamp(const Stamp& stamp);
    EvidenceRecord(const EvidenceRecord&) noexcept = default; // moving is copying
    EvidenceRecord& operator=(const EvidenceRecord&) noexcept = default;

    const EvidenceInfo& info() const noexcept;
    const Bytes& der() const noexcept;
    // By which the object's data has to be hashed for a verification: one for each chain that uses
    // another. Throws `hash_unknown`.
    std::vector<HashAlgorithm> data_algorithms() const;
    // That of the last chain, in which a renewal by a new time-stamp goes on. Throws
    // `hash_unknown`.
    HashAlgorithm renewal_algorithm() const;

    bool operator==(const EvidenceRecord& other) const noexcept;

private:
    friend struct RecordAccess;
    struct Content;
    explicit EvidenceRecord(std::shared_ptr<const Content> content)
        : content_(std::move(content)) {}
    std::shared_ptr<const Content> content_;
};

// An object by its hashes, one for each of the record's `data_algorithms`.
using DataDigests = std::vector<Digest>;

// The way from a leaf up to a root: on each level the hash that stands beside. A level on which
// nothing does isn't in it.
using HashPath = std::vector<Bytes>;

// Hashes under one root, the same for the same hashes in whatever order they are added; equal ones
// count once. Two digests' lengths of memory for each. Belongs to one thread at a time; can be
// moved.
class CHRONOSEAL_API EvidenceTree {
public:
    explicit EvidenceTree(const HashAlgorithm& algorithm);
    EvidenceTree(EvidenceTree&& other) noexcept;
    EvidenceTree& operator=(EvidenceTree&& other) noexcept;
    ~EvidenceTree();

    const HashAlgorithm& algorithm() const;
    void reserve(std::uint64_t digests);
    // Throws `digest_malformed` for one of another length or algorithm.
    void add(ByteView digest);
    void add(const Digest& digest);
    // Objects that belong together and are proved together, by one leaf.
    void add_group(const std::vector<Digest>& members);

    // Of the leaves that are different. These three throw `tree_empty`.
    std::uint64_t size();
    Digest root();
    // Throws `not_in_tree`.
    HashPath path(ByteView leaf);

    // The record of an object, or of a group, under a stamp over this tree's root, or, with what
    // stands above it, over that of a larger tree. Throws `not_in_tree`, and `imprint_differs` for
    // a stamp over something else.
    EvidenceRecord record(const Digest& object, const Stamp& stamp, const HashPath& above = {});
    EvidenceRecord record(const std::vector<Digest>& group, const Stamp& stamp,
                          const HashPath& above = {});

private:
    friend struct TreeAccess;
    class Impl;
    std::unique_ptr<Impl> impl_;
};

// ---- Lists of hashes ----

// Lasts until the callback returns.
struct ManifestLine {
    std::uint64_t number; // from 1
    const HashAlgorithm& algorithm;
    ByteView digest;
    std::string_view name; // the bytes, escapes undone; foreign
};

struct ManifestInfo {
    HashAlgorithm algorithm;
    Digest digest; // of the list's own bytes
    std::uint64_t lines = 0;
};

// A list of hashes as `sha256sum`, `sha384sum` and `sha512sum` write it, read as it comes: with two
// blanks or a star before the name, with escaped names, of -z and of --tag, in either case, with
// either line end. Which hash it is is told by its length. Throws, with the line's number,
// `manifest_line` for one that can't be read, `manifest_mixed` for hashes of different kinds, and
// `manifest_hash` for those of other algorithms (MD5, SHA-1, BLAKE2); `manifest_empty`. Memory
// doesn't grow with the list. Belongs to one thread at a time; can be moved.
class CHRONOSEAL_API ManifestReader {
public:
    using OnLine = std::function<void(const ManifestLine&)>;

    // `on_line` may be empty. What it throws is thrown on.
    explicit ManifestReader(OnLine on_line);
    ManifestReader(ManifestReader&& other) noexcept;
    ManifestReader& operator=(ManifestReader&& other) noexcept;
    ~ManifestReader();

    void feed(ByteView piece);
    ManifestInfo finish();
    // Known from the first line on; null before.
    const HashAlgorithm* algorithm() const;

private:
    class Impl;
    std::unique_ptr<Impl> impl_;
};

// Reads a whole list. The error's text names the file.
CHRONOSEAL_API ManifestInfo read_manifest(const std::filesystem::path& path,
                                          const ManifestReader::OnLine& on_line = {},
                                          const Progress& progress = {}, std::stop_token stop = {});

// A line as `sha256sum` writes it, with its line end; a name with a line end or a backslash in it
// is escaped.
CHRONOSEAL_API std::string manifest_line(const Digest& digest, std::string_view name);

// The tree of a list: its lines' hashes, and the hash of the list itself, which so proves all lines
// and their names. Belongs to one thread at a time; can be moved.
class CHRONOSEAL_API ManifestTree {
public:
    // Reads the list; throws as `read_manifest`.
    explicit ManifestTree(const std::filesystem::path& path, const Progress& progress = {},
                          std::stop_token stop = {});

    const ManifestInfo& info() const noexcept { return info_; }
    const std::filesystem::path& path() const noexcept { return path_; }
    Digest root() { return tree_.root(); }
    // The record of the list itself. `above`: what stands above this tree's root, where several
    // lists share a stamp.
    EvidenceRecord record(const Stamp& stamp, const HashPath& above = {});
    // The record of an object whose hash stands in a line, made of that of the list, however often
    // that was renewed by new time-stamps. Throws `not_in_manifest`; `manifest_changed` where the
    // record isn't that of this list's bytes; `manifest_unproved` for a record of the list alone,
    // which wasn't made with its lines; `manifest_rehashed` after a renewal by a new hash, from
    // which the list alone doesn't lead to its lines.
    EvidenceRecord prove(const Digest& object, const EvidenceRecord& record);

private:
    struct Content;
    ManifestTree(std::filesystem::path path, Content&& content);
    static Content read(const std::filesystem::path& path, const Progress& progress,
                        std::stop_token stop);

    std::filesystem::path path_;
    ManifestInfo info_;
    EvidenceTree tree_;
};

// ---- Renewal ----

// What stands between records and the next time-stamp over all of them: one stamp renews any number
// of records whose last chain uses the same hash. A plain sequence: `add` all, have `digest`
// stamped, take each record with the new stamp. Belongs to one thread at a time; can be moved.
class CHRONOSEAL_API StampRenewal {
public:
    // For the end of a certificate: a stamp over the stamps of the last chain. The object isn't
    // needed. Records that share their stamps cost one leaf.
    explicit StampRenewal(const HashAlgorithm& algorithm);
    StampRenewal(StampRenewal&& other) noexcept;
    StampRenewal& operator=(StampRenewal&& other) noexcept;
    ~StampRenewal();

    // Throws `algorithms_differ` where the record's last chain uses another hash.
    void add(const EvidenceRecord& record);
    Digest digest();
    // Throws `not_in_tree` for a record that wasn't added, `imprint_differs` and `time_goes_back`
    // for a stamp that doesn't fit.
    EvidenceRecord renewed(const EvidenceRecord& record, const Stamp& stamp);

private:
    class Impl;
    std::unique_ptr<Impl> impl_;
};

// For the end of a hash algorithm: a new chain over the objects and all that their records held.
// Whether the object is the record's is for the caller to have verified. For one thread at a time.
class CHRONOSEAL_API HashRenewal {
public:
    explicit HashRenewal(const HashAlgorithm& algorithm);
    HashRenewal(HashRenewal&& other) noexcept;
    HashRenewal& operator=(HashRenewal&& other) noexcept;
    ~HashRenewal();

    // The objects of the record by the new hash: one, or all of a group. Throws `digest_malformed`.
    void add(const EvidenceRecord& record, const std::vector<Digest>& objects);
    Digest digest();
    EvidenceRecord renewed(const EvidenceRecord& record, const std::vector<Digest>& objects,
                           const Stamp& stamp);

private:
    class Impl;
    std::unique_ptr<Impl> impl_;
};

// For the end of the hash of a whole list, whose files are hashed again by whoever has them: with a
// list of the new hashes by the same names, each line's record and the list's own get a new chain
// under one stamp. Names have to be the same octets, in whatever order. Whether both lists are of
// the same files is for the caller to have verified. The new list is itself a leaf and gets a
// record of its own. Memory grows with the lists: some 400 bytes a line. Belongs to one thread.
class CHRONOSEAL_API ManifestRenewal {
public:
    // Reads both lists. `record` is the old one's: as it is before the renewal, or, to `prove`,
    // after. Throws as `read_manifest` and `ManifestTree::prove`, and, with names and numbers of
    // lines, `manifest_line_missing` for a name that only the old list has,
    // `manifest_line_surplus` for one that only the new one has, `manifest_line_repeated` for a
    // name with different hashes, `manifest_contradicts` for files that were equal by the old hash
    // and aren't by the new one; `algorithms_differ` for a new list by a hash of the record.
    ManifestRenewal(const std::filesystem::path& list, const EvidenceRecord& record,
                    const std::filesystem::path& renewed_list, const Progress& progress = {},
                    std::stop_token stop = {});
    ManifestRenewal(ManifestRenewal&& other) noexcept;
    ManifestRenewal& operator=(ManifestRenewal&& other) noexcept;
    ~ManifestRenewal();

    const ManifestInfo& info() const;         // of the list
    const ManifestInfo& renewed_info() const; // of the new one
    Digest digest();
    // The list's record with the new chain. Throws as StampRenewal.
    EvidenceRecord renewed(const Stamp& stamp);
    // That of the new list, which begins with this stamp.
    EvidenceRecord renewed_list(const Stamp& stamp);
    // The record of an object whose hashes stand in both lists, made of the list's record after the
    // renewal. Throws as `ManifestTree::prove`, and `manifest_changed` also where the record wasn't
    // renewed with this new list.
    EvidenceRecord prove(const DataDigests& object);

private:
    class Impl;
    std::unique_ptr<Impl> impl_;
};

// ---- Extending ----

struct RecordExtension {
    EvidenceRecord record; // the same one if nothing was put in
    Extension extension;   // of its last stamp
};

// Puts evidence into the last stamp of a record, as `extend` does with a stamp. Throws
// `stamp_covered` for any other, by its index from 0: the stamp that renewed it is over all of its
// octets and wouldn't cover it any more.
CHRONOSEAL_API RecordExtension extend(const EvidenceRecord& record, const Trust& trust = {},
                                      std::optional<std::size_t> stamp = std::nullopt);

// ---- Judging ----

// One time-stamp of a record as it was judged.
struct JudgedStamp {
    std::size_t chain = 0;
    Verdict verdict;                       // `as_of` is the next stamp's time, "now" for the last
    std::optional<std::size_t> covered_by; // index of the next stamp
    std::optional<Time> certificates_end;  // the first end in its chain
    bool covered_in_time = true;           // renewed, or judged, before that
};

// What a verifier found. A plain value.
struct CHRONOSEAL_API EvidenceVerdict {
    bool good() const noexcept { return !failure.has_value(); }
    // Nothing is known to be bad, but evidence of revocation is missing, unreachable or too old.
    bool indeterminate() const noexcept { return open; }

    // The first thing that is wrong. Words of records are, beside those of stamps, `not_in_tree`,
    // `root_differs`, `renewal_uncovered`, `time_goes_back`, `algorithms_differ`, `data_needed`.
    std::optional<Error> failure;
    std::optional<std::size_t> failed_stamp; // index of the stamp that it is about
    bool open = false;
    bool compared = false;          // with data
    std::optional<Time> existed_by; // the first stamp's time; absent unless the verdict is good
    EvidenceStrength strength = EvidenceStrength::aged;
    std::optional<Time> renew_before; // that of the last stamp's outlook
    std::vector<JudgedStamp> stamps;  // as far as the record's own links hold
    // "legacy_layout", "sorted_renewal", "token_reencoded", "algorithm_unlisted",
    // "algorithm_unknown", "weak_chain", "encrypted", "renewed_late"
    std::vector<Remark> remarks;
};

CHRONOSEAL_API DataDigests digests_of_file(const EvidenceRecord& record,
                                           const std::filesystem::path& path,
                                           const Progress& progress = {},
                                           std::stop_token stop = {});

// Judges records: the hashes from the object up to each stamp and from each stamp to the next, and
// each stamp as of the time of the one that renewed it. Verdicts on stamps are kept, so that any
// number of records cost one signature where they share it. Any number of threads may use one
// verifier at once; copies share it.
class CHRONOSEAL_API EvidenceVerifier {
public:
    // Throws as Verifier.
    explicit EvidenceVerifier(Trust trust = {});
    EvidenceVerifier(const EvidenceVerifier&) noexcept = default; // moving is copying
    EvidenceVerifier& operator=(const EvidenceVerifier&) noexcept = default;

    // A record that isn't good is no failure: the verdict says so. Throws only where nothing can be
    // judged. An object that is a group is given whole.
    EvidenceVerdict verify(const EvidenceRecord& record,
                           const std::vector<DataDigests>& objects) const;
    EvidenceVerdict verify(const EvidenceRecord& record, ByteView data) const;
    EvidenceVerdict verify_file(const EvidenceRecord& record, const std::filesystem::path& path,
                                const Progress& progress = {}, std::stop_token stop = {}) const;
    // Compares with nothing. A record that was renewed by a new hash can't be judged so.
    EvidenceVerdict verify_record(const EvidenceRecord& record) const;

private:
    class Impl;
    std::shared_ptr<const Impl> impl_;
};

} // namespace chronoseal
