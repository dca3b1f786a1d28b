// The links of a record, chain by chain.
#include <chronoseal/seal/record_links.h>

#include <algorithm>

#include <chronoseal/seal/failure.h>
#include <chronoseal/seal/platform_text.h>
#include <chronoseal/seal/running_hash.h>
#include <chronoseal/seal/token_der.h>

namespace chronoseal {

namespace {

constexpr char kNoTrust[] = "don't trust this record";
// Of octets, whatever the record's size; of a large one four times as many as it has.
constexpr std::uint64_t kAlwaysHashed = std::uint64_t{64} << 20;

// By digests of which only an engine knows: 17 and 70 MB/s where SHA-3 has 200.
std::uint64_t hashing_weight(std::string_view oid) {
    if (oid == "1.2.643.2.2.9") {
        return 12;
    }
    return oid.starts_with("1.2.643.7.1.1.2.") ? 3 : 1;
}

struct Broken {
    std::size_t stamp;
    Error error;
};

std::string number(std::size_t index) {
    return "time-stamp " + std::to_string(index + 1);
}

[[noreturn]] void break_at(std::size_t stamp, std::string_view word, std::string text,
                           std::string_view advice = kNoTrust) {
    throw Broken{stamp, Error(Category::refused, word, 0, std::move(text), std::string(advice))};
}

bool contains(const HashList& list, ByteView hash) {
    return std::ranges::any_of(list, [&](ByteView one) { return same(one, hash); });
}

// The same hashes, however often each comes.
bool are_equal(HashList a, HashList b) {
    for (HashList* list : {&a, &b}) {
        std::ranges::sort(*list, less);
        list->erase(std::unique(list->begin(), list->end(), same), list->end());
    }
    return std::ranges::equal(a, b, same);
}

class LinkCheck {
public:
    LinkCheck(const EvidenceRecord& record, const std::vector<DataDigests>& objects,
              LinkReport& report)
        : record_(RecordAccess::of(record)), objects_(objects), report_(report) {}

    void run() {
        remark_algorithms();
        std::size_t index = 0;
        for (std::size_t chain = 0; chain < record_.parts.chains.size(); ++chain) {
            const auto& stamps = record_.parts.chains[chain].stamps;
            RepeatedHash hash(algorithm_of(index));
            for (std::size_t i = 0; i < stamps.size(); ++i, ++index) {
                check_time(index);
                if (i != 0) {
                    check_renewal(hash, stamps[i], stamps[i - 1], index);
                } else if (chain == 0) {
                    check_object(hash, stamps[i], index);
                } else {
                    check_rehashed(hash, chain, stamps[i], index);
                }
                check_root(hash, stamps[i], index);
            }
        }
    }

private:
    HashAlgorithm algorithm_of(std::size_t index) const {
        const AlgorithmInfo& algorithm = record_.info.stamps[index].algorithm;
        if (!std::ranges::any_of(record_.info.algorithms, [&](const AlgorithmInfo& one) {
                return one.oid == algorithm.oid;
            })) {
            remark("algorithm_unlisted", "the record uses " + quote_foreign(algorithm.name) +
                                             " without saying so in its list");
        }
        if (auto known = HashAlgorithmAccess::find(algorithm.oid)) {
            return *std::move(known);
        }
        throw Broken{index, Error(Category::unreachable, "hash_unknown", 0,
                                  "the hash algorithm " + quote_foreign(algorithm.name) + " of " +
                                      number(index) + " isn't known here",
                                  "judge the record where it is known")};
    }

    void remark_algorithms() const {
        for (const AlgorithmInfo& algorithm : record_.info.algorithms) {
            if (!HashAlgorithmAccess::find(algorithm.oid)) {
                remark("algorithm_unknown", "the record lists a hash algorithm that isn't known "
                                            "here, " +
                                                quote_foreign(algorithm.name));
            }
        }
        const AlgorithmInfo& last = record_.info.stamps.back().algorithm;
        if (!last.weakness.empty()) {
            remark("weak_chain", "the record's last chain, in which a renewal goes on, is weak: " +
                                     last.weakness +
                                     "; renew it by a new hash while the data is at hand");
        }
    }

    void remark(const char* word, std::string text) const {
        if (std::ranges::none_of(report_.remarks,
                                 [&](const Remark& one) { return one.word == word; })) {
            report_.remarks.push_back({word, std::move(text)});
        }
    }

    const TokenInfo& token(std::size_t index) const {
        return *record_.info.stamps[index].stamp.info().token;
    }

    void check_time(std::size_t index) const {
        if (index != 0 && token(index).time < token(index - 1).time) {
            break_at(index, "time_goes_back",
                     number(index) + " of " + utc_text(token(index).time) +
                         " is older than the one before it, which it is said to renew");
        }
    }

    // The object's own hashes; nothing where none was given.
    std::vector<Bytes> object_hashes(const HashAlgorithm& algorithm) const {
        std::vector<Bytes> result;
        for (const DataDigests& object : objects_) {
            const auto found = std::ranges::find_if(
                object, [&](const Digest& one) { return one.algorithm() == algorithm; });
            if (found == object.end()) {
                throw Error(Category::misuse, "data_needed", 0,
                            "the data's hash by " + algorithm.name() + " isn't given",
                            "give one for each algorithm of the record");
            }
            result.push_back(found->value());
        }
        return result;
    }

    // Whether these are what the stamp's tree begins with: one of its first hashes, or, of a group,
    // exactly them.
    bool begins_with(const ArchiveStamp& stamp, std::size_t index,
                     const std::vector<Bytes>& hashes) const {
        if (stamp.tree.empty()) {
            return hashes.size() == 1 && same(hashes.front(), token(index).imprint);
        }
        const HashList& first = stamp.tree.front();
        return hashes.size() == 1 ? contains(first, hashes.front())
                                  : are_equal(first, {hashes.begin(), hashes.end()});
    }

    void note_layout(const ArchiveStamp& stamp, std::size_t objects) const {
        if (objects == 1 && !stamp.tree.empty() && stamp.tree.front().size() > 1) {
            remark("legacy_layout", "the tree's first list holds other hashes beside the object's: "
                                    "it is one of a group, or the tree is of an older layout");
        }
    }

    void check_object(RepeatedHash& hash, const ArchiveStamp& stamp, std::size_t index) const {
        const auto hashes = object_hashes(hash.algorithm());
        if (hashes.empty()) {
            return;
        }
        if (!begins_with(stamp, index, hashes)) {
            break_at(index, "not_in_tree",
                     hashes.size() == 1
                         ? "the data isn't what the record is of"
                         : "these data aren't exactly the group that the record is of",
                     "the record belongs to other data, or the data was changed");
        }
        note_layout(stamp, hashes.size());
    }

    std::vector<Bytes> rehashed(RepeatedHash& hash, const std::vector<Bytes>& objects,
                                const Bytes& sequence, bool sorted) const {
        std::vector<Bytes> result;
        for (const Bytes& object : objects) {
            result.push_back(sorted ? hash.of_sorted({object, sequence})
                                    : rehashed_object(hash, object, sequence));
        }
        return result;
    }

    void check_rehashed(RepeatedHash& hash, std::size_t chain, const ArchiveStamp& stamp,
                        std::size_t index) {
        const auto objects = object_hashes(hash.algorithm());
        if (objects.empty()) {
            throw Broken{index,
                         Error(Category::misuse, "data_needed", 0,
                               number(index) + " is over the data by a new hash: without the data "
                                               "nothing shows that it renews the one before it",
                               "give the data")};
        }
        for (const bool reencoded : {false, true}) {
            const auto sequence = sequence_hash(hash, chain, index, reencoded);
            for (const bool sorted : {false, true}) {
                if (sequence &&
                    begins_with(stamp, index, rehashed(hash, objects, *sequence, sorted))) {
                    note_rehash(sorted, reencoded);
                    return;
                }
            }
        }
        break_at(index, "renewal_uncovered",
                 number(index) + " covers other data, or other time-stamps, than those before it");
    }

    void note_rehash(bool sorted, bool reencoded) const {
        if (sorted) {
            remark("sorted_renewal", "a renewal by a new hash joins its two hashes in their order, "
                                     "which other software may refuse");
        }
        if (reencoded) {
            note_reencoding();
        }
    }

    void note_reencoding() const {
        remark("token_reencoded", "a time-stamp isn't stored as it was when it was renewed: its "
                                  "encoding has been changed, its content hasn't");
    }

    // A chain with its tokens as DER; empty if that changes nothing. Made once: each later chain is
    // over it.
    const Bytes& reencoded_chain(std::size_t chain) {
        while (reencoded_.size() <= chain) {
            const ArchiveChain& next = record_.parts.chains[reencoded_.size()];
            std::vector<Bytes> stamps;
            for (const ArchiveStamp& stamp : next.stamps) {
                stamps.push_back(stamp_der(stamp.algorithm, stamp.attributes, stamp.tree,
                                           token_der(stamp.token)));
            }
            Bytes der = chain_der({stamps.begin(), stamps.end()});
            reencoded_.push_back(same(der, next.der) ? Bytes() : std::move(der));
        }
        return reencoded_[chain];
    }

    std::uint64_t size() const {
        std::uint64_t size = 0;
        for (const ArchiveChain& chain : record_.parts.chains) {
            size += chain.der.size();
        }
        return size;
    }

    // Of all chains before this one; nothing if encoding their tokens again changes nothing. Each
    // chain is over all before it: what that comes to together is bounded.
    std::optional<Bytes> sequence_hash(RepeatedHash& hash, std::size_t chains, std::size_t index,
                                       bool reencoded) {
        const std::uint64_t weight = hashing_weight(record_.info.stamps[index].algorithm.oid);
        std::vector<ByteView> encoded;
        bool differs = false;
        for (std::size_t i = 0; i < chains; ++i) {
            const bool other = reencoded && !reencoded_chain(i).empty();
            encoded.push_back(other ? ByteView(reencoded_[i]) : record_.parts.chains[i].der);
            differs |= other;
            hashed_ += encoded.back().size();
            work_ += encoded.back().size() * weight;
        }
        if (reencoded && !differs) {
            return std::nullopt;
        }
        if (work_ > kAlwaysHashed && hashed_ > 4 * size()) {
            break_at(index, "record_too_large",
                     "the evidence record has so many chains that to follow them takes too much "
                     "hashing",
                     "don't use it: honest records have far fewer");
        }
        return hash.of({sequence_der(encoded)});
    }

    void check_renewal(RepeatedHash& hash, const ArchiveStamp& stamp, const ArchiveStamp& before,
                       std::size_t index) const {
        if (begins_with(stamp, index, {hash.of({before.token})})) {
            return;
        }
        if (begins_with(stamp, index, {hash.of({token_der(before.token)})})) {
            note_reencoding();
            return;
        }
        break_at(index, "renewal_uncovered",
                 number(index) + " doesn't cover the one before it, which it is said to renew");
    }

    void check_root(RepeatedHash& hash, const ArchiveStamp& stamp, std::size_t index) {
        const TokenInfo& info = token(index);
        if (info.imprint_algorithm.oid != hash.algorithm().oid()) {
            break_at(index, "algorithms_differ",
                     number(index) + " is over a hash by " +
                         quote_foreign(info.imprint_algorithm.name) + ", and its tree is by " +
                         hash.algorithm().name());
        }
        if (info.imprint.size() != hash.algorithm().size()) {
            break_at(index, "hash_length", number(index) + " is over a hash of a wrong length");
        }
        const Bytes root = stamp.tree.empty() ? info.imprint : root_of_lists(hash, stamp.tree);
        if (!same(root, info.imprint)) {
            break_at(index, "root_differs",
                     "the hashes of the tree don't lead to what " + number(index) + " is over");
        }
        report_.roots.emplace_back(hash.algorithm(), root);
    }

    const RecordAccess::Content& record_;
    const std::vector<DataDigests>& objects_;
    LinkReport& report_;
    std::vector<Bytes> reencoded_;
    std::uint64_t hashed_ = 0; // for chains by new hashes
    std::uint64_t work_ = 0;   // the same, by its weight
};

} // namespace

LinkReport check_links(const EvidenceRecord& record, const std::vector<DataDigests>& objects) {
    LinkReport report;
    try {
        LinkCheck(record, objects, report).run();
    } catch (const Broken& broken) {
        report.failure = broken.error;
        report.failed_stamp = broken.stamp;
    }
    if (record.info().encrypted) {
        report.remarks.push_back(
            {"encrypted",
             "the data was encrypted before it was stamped: the record is of what came "
             "of that"});
    }
    return report;
}

Bytes root_of_lists(RepeatedHash& hash, const std::vector<HashList>& lists) {
    Bytes node;
    for (const HashList& list : lists) {
        std::vector<ByteView> hashes(list.begin(), list.end());
        if (!node.empty()) {
            hashes.emplace_back(node);
        }
        node = hash.of_sorted(std::move(hashes));
    }
    return node;
}

Bytes rehashed_object(RepeatedHash& hash, ByteView object, ByteView sequence_hash) {
    return hash.of({object, sequence_hash});
}

} // namespace chronoseal
