// Renewal of a whole list by a new hash of its files: the two lists are joined by their names, and
// each line's record so far, which is made of the list's, becomes a leaf with the line's new hash.
#include <chronoseal/evidence.hpp>

#include <algorithm>
#include <array>
#include <tuple>

#include <chronoseal/seal/failure.h>
#include <chronoseal/seal/file_bytes.h>
#include <chronoseal/seal/list_proof.h>
#include <chronoseal/seal/platform_text.h>
#include <chronoseal/seal/record_links.h>
#include <chronoseal/seal/renewal_tree.h>
#include <chronoseal/seal/tree_stamp.h>

namespace chronoseal {

namespace {

Error refused(std::string_view word, std::string text, std::string_view advice) {
    return Error(Category::refused, word, 0, std::move(text), std::string(advice));
}

// Lines of the new list by name, with what the old list has there.
class JoinedLines {
public:
    explicit JoinedLines(std::filesystem::path path)
        : path_(std::move(path)), name_hash_(HashAlgorithm::by_name("sha256")) {}

    ManifestInfo read(const Progress& progress, const std::stop_token& stop) {
        ManifestInfo info = read_manifest(
            path_,
            [&](const ManifestLine& line) {
                width_ = line.digest.size();
                names_.push_back({name_of(line.name), line.number, names_.size()});
                digests_.insert(digests_.end(), line.digest.begin(), line.digest.end());
            },
            progress, stop);
        std::ranges::sort(names_, [](const Name& a, const Name& b) {
            return std::tie(a.hash, a.number) < std::tie(b.hash, b.number);
        });
        drop_repeated();
        return info;
    }

    // A line of the old list `path`.
    void match(const ManifestLine& line, const std::filesystem::path& path) {
        const NameHash hash = name_of(line.name);
        const auto found = std::ranges::lower_bound(names_, hash, {}, &Name::hash);
        if (found == names_.end() || found->hash != hash) {
            throw refused("manifest_line_missing",
                          quote_foreign(path_.string()) + " has no line for " +
                              quote_foreign(line.name) + ", line " + std::to_string(line.number) +
                              " of " + quote_foreign(path.string()),
                          "hash all files of the list, by the same names");
        }
        if (old_.empty()) {
            old_width_ = line.digest.size();
            old_.resize(names_.size() * old_width_);
            old_numbers_.resize(names_.size());
        }
        const auto at = static_cast<std::size_t>(found - names_.begin());
        std::byte* place = old_.data() + at * old_width_;
        if (old_numbers_[at] != 0 && !std::equal(line.digest.begin(), line.digest.end(), place)) {
            throw repeated(path, line.name, old_numbers_[at], line.number);
        }
        std::ranges::copy(line.digest, place);
        old_numbers_[at] = line.number;
    }

    // After all lines of the old list: none of the new one is left, and what was equal is equal.
    void finish() {
        std::uint64_t surplus = 0;
        for (std::size_t i = 0; i < names_.size(); ++i) {
            if (old_numbers_[i] == 0 && (surplus == 0 || names_[i].number < surplus)) {
                surplus = names_[i].number;
            }
        }
        if (surplus != 0) {
            throw refused("manifest_line_surplus",
                          "line " + std::to_string(surplus) + " of " +
                              quote_foreign(path_.string()) + ", " +
                              quote_foreign(name_in_line(surplus)) + ", isn't in the list",
                          "leave out files that the list doesn't have; stamp them by themselves");
        }
        sort_by_old();
        const auto equal = [&](std::size_t a, std::size_t b) { return same(old(a), old(b)); };
        for (std::size_t i = 1; i < order_.size(); ++i) {
            if (equal(order_[i - 1], order_[i]) && !same(now(order_[i - 1]), now(order_[i]))) {
                throw contradiction(names_[order_[i - 1]].number, names_[order_[i]].number);
            }
        }
        order_.erase(std::unique(order_.begin(), order_.end(), equal), order_.end());
    }

    // Old and new hash of each file, equal files once.
    template <class Use>
    void each(Use&& use) const {
        for (const std::size_t i : order_) {
            use(old(i), now(i));
        }
    }
    std::uint64_t size() const { return order_.size(); }

    // The new hash of what had this old one; empty: no line has.
    ByteView now_of(ByteView object) const {
        const auto found =
            std::ranges::lower_bound(order_, object, less, [&](std::size_t i) { return old(i); });
        return found != order_.end() && same(old(*found), object) ? now(*found) : ByteView{};
    }

private:
    using NameHash = std::array<std::uint64_t, 4>; // in words, which compare quickly
    struct Name {
        NameHash hash;
        std::uint64_t number; // of the line
        std::uint64_t index;  // of its digest
    };

    NameHash name_of(std::string_view name) {
        NameHash hash;
        name_hash_.into(std::as_writable_bytes(std::span(hash)).data(), {bytes_of(name)});
        return hash;
    }
    ByteView old(std::size_t at) const {
        return ByteView(old_).subspan(at * old_width_, old_width_);
    }
    ByteView now(std::size_t at) const {
        return ByteView(digests_).subspan(names_[at].index * width_, width_);
    }

    // Two digests hardly ever share their first bytes, which are compared where they are sorted.
    void sort_by_old() {
        struct Head {
            std::uint64_t value;
            std::size_t at;
        };
        std::vector<Head> heads(names_.size());
        for (std::size_t i = 0; i < heads.size(); ++i) {
            heads[i] = {head_of(old(i)), i};
        }
        std::ranges::sort(heads, [&](const Head& a, const Head& b) {
            return a.value != b.value ? a.value < b.value : less(old(a.at), old(b.at));
        });
        order_.resize(heads.size());
        std::ranges::transform(heads, order_.begin(), &Head::at);
    }

    static std::uint64_t head_of(ByteView digest) {
        std::uint64_t value = 0;
        for (const std::byte one : digest.first(sizeof value)) {
            value = value << 8 | std::to_integer<std::uint64_t>(one);
        }
        return value;
    }

    void drop_repeated() {
        std::size_t kept = 0;
        for (std::size_t i = 1; i < names_.size(); ++i) {
            if (names_[i].hash != names_[kept].hash) {
                names_[++kept] = names_[i];
            } else if (!same(now(i), now(kept))) {
                throw repeated(path_, name_in_line(names_[i].number), names_[kept].number,
                               names_[i].number);
            }
        }
        names_.resize(kept + 1);
    }

    static Error repeated(const std::filesystem::path& path, std::string_view name,
                          std::uint64_t first, std::uint64_t second) {
        return refused("manifest_line_repeated",
                       "the lines " + std::to_string(first) + " and " + std::to_string(second) +
                           " of " + quote_foreign(path.string()) +
                           " have different hashes for the same name, " + quote_foreign(name),
                       "a list that tells two things of one file can't be matched by names");
    }

    static Error contradiction(std::uint64_t first, std::uint64_t second) {
        return refused("manifest_contradicts",
                       "the files of the lines " + std::to_string(std::min(first, second)) +
                           " and " + std::to_string(std::max(first, second)) +
                           " of the new list are different, and were equal by the old one",
                       "one of them was changed since: check the files by the old list");
    }

    // For messages only: names aren't kept.
    std::string name_in_line(std::uint64_t number) const {
        std::string name;
        read_manifest(path_, [&](const ManifestLine& line) {
            if (line.number == number) {
                name = line.name;
            }
        });
        return name;
    }

    std::filesystem::path path_;
    RepeatedHash name_hash_;
    std::vector<Name> names_; // in the order of their hashes
    Bytes digests_;           // in that of the lines
    std::size_t width_ = 0, old_width_ = 0;
    Bytes old_; // those of the old list, as `names_`
    std::vector<std::uint64_t> old_numbers_;
    std::vector<std::size_t> order_; // by old digest
};

} // namespace

class ManifestRenewal::Impl {
public:
    Impl(const std::filesystem::path& list, EvidenceRecord record,
         const std::filesystem::path& renewed_list, const Progress& progress,
         const std::stop_token& stop)
        : path_(list), record_(std::move(record)), lines_(renewed_list),
          renewed_info_(lines_.read(progress, stop)),
          info_(read_manifest(
              list, [&](const ManifestLine& line) { lines_.match(line, list); }, progress, stop)),
          old_(info_.algorithm), tree_(renewed_info_.algorithm) {
        lines_.finish();
        old_.reserve(lines_.size() + 1);
        lines_.each([&](ByteView digest, ByteView) { old_.add(digest); });
        old_.add(info_.digest.value());
        check_record();
        fill(stop);
    }

    const ManifestInfo& info() const { return info_; }
    const ManifestInfo& renewed_info() const { return renewed_info_; }
    Digest digest() { return tree_.digest(); }

    EvidenceRecord renewed(const Stamp& stamp) {
        if (parts().chains.size() > 1) {
            throw Error(Category::misuse, "manifest_rehashed", 0,
                        "the list's record was renewed by a new hash already",
                        "renew it by a new time-stamp");
        }
        const Bytes chain = chain_der({tree_.stamp_for(record_, {leaf_}, stamp)});
        auto chains = chains_of(record_);
        chains.emplace_back(chain);
        return with_chains(record_, tree_.algorithm(), chains);
    }

    EvidenceRecord renewed_list(const Stamp& stamp) {
        const Bytes& digest = renewed_info_.digest.value();
        const Bytes one = tree_stamp_der(tree_.hash(), {digest}, tree_.path({digest}), stamp);
        const Bytes algorithm = hash_identifier(tree_.algorithm().oid());
        const Bytes algorithms = sequence_der({algorithm});
        return RecordAccess::make(record_der({algorithms, {}, {}, {}}, {chain_der({one})}));
    }

    EvidenceRecord prove(const DataDigests& object) {
        if (parts().chains.size() < 2) {
            throw Error(Category::misuse, "manifest_changed", 0,
                        "the list's record hasn't been renewed by a new hash yet",
                        "prove the file by the list alone");
        }
        const ArchiveChain& chain = parts().chains.back();
        const HashPath way = tree_.path({leaf_});
        if (!leads_up(chain.stamps.front(), leaf_, way)) {
            throw refused("manifest_changed",
                          "the record wasn't renewed with this list of new hashes",
                          "get the new list as it was when the record was renewed");
        }
        const Digest& before = digest_by(info_.algorithm, object);
        const Digest& now = digest_by(renewed_info_.algorithm, object);
        const ByteView known = lines_.now_of(before.value());
        if (known.empty() || !same(known, now.value())) {
            throw refused("not_in_manifest",
                          known.empty() ? "no line of the list " + quote_foreign(path_.string()) +
                                              " has the data's hash"
                                        : "the data's hash isn't that of the new list",
                          "the data was changed since, or was never in the list");
        }
        const Bytes first = ListProof(old_, info_, path_, record_).chain_of(before.value());
        const Bytes leaf = leaf_of(first, now.value());
        const Bytes begin =
            stamp_of_other_leaf(chain.stamps.front(), way, leaf, tree_.path({leaf}));
        std::vector<ByteView> stamps{begin};
        for (std::size_t i = 1; i < chain.stamps.size(); ++i) {
            stamps.push_back(chain.stamps[i].der);
        }
        EvidenceRecord proof = RecordAccess::make(record_der(parts(), {first, chain_der(stamps)}));
        if (const auto failure = check_links(proof, {object}).failure) {
            throw Error(*failure); // the list's record was no good either
        }
        return proof;
    }

private:
    const RecordParts& parts() const { return RecordAccess::parts(record_); }

    static const Digest& digest_by(const HashAlgorithm& algorithm, const DataDigests& object) {
        for (const Digest& digest : object) {
            if (digest.algorithm() == algorithm) {
                return digest;
            }
        }
        throw Error(Category::misuse, "data_needed", 0,
                    "the data's hash by " + algorithm.name() + " isn't given",
                    "give one by the algorithm of each list");
    }

    // What is wrong with the record as it was before the new hash shows before it is renewed.
    void check_record() const {
        const std::size_t chains = parts().chains.size();
        if (chains > 2) {
            throw refused("manifest_rehashed",
                          "the list's record was renewed by new hashes more than once, from which "
                          "two lists don't lead to their lines",
                          "hand out the list with its record");
        }
        const AlgorithmInfo& last = record_.info().stamps.back().algorithm;
        if (renewed_info_.algorithm == info_.algorithm ||
            (chains == 2 && last.oid != renewed_info_.algorithm.oid())) {
            throw refused("algorithms_differ",
                          chains == 2
                              ? "the record was renewed by " + quote_foreign(last.name) +
                                    ", and the new list is by " + renewed_info_.algorithm.name()
                              : "both lists are by " + info_.algorithm.name(),
                          "give the list of the new hash");
        }
    }

    void fill(const std::stop_token& stop) {
        ListProof proof(old_, info_, path_, record_);
        Bytes sequence(tree_.algorithm().size()), leaf(tree_.algorithm().size());
        const EvidenceRecord before =
            RecordAccess::make(record_der(parts(), {parts().chains.front().der}));
        if (const auto failure = check_links(before, {{info_.digest}}).failure) {
            throw Error(*failure);
        }
        tree_.reserve(lines_.size() + 2);
        lines_.each([&](ByteView digest, ByteView now) {
            if (stop.stop_requested()) {
                throw error_of_code(kCancelled, "renew the list's record");
            }
            proof.hash_sequence(digest, tree_.hash(), sequence.data());
            tree_.hash().into(leaf.data(), {now, sequence}); // as `leaf_of` has it
            tree_.add(leaf);
        });
        const Digest own = Digest::of_file(path_, tree_.algorithm(), {}, stop);
        leaf_ = leaf_of(copy_of(parts().chains.front().der), own.value());
        tree_.add(leaf_);
        tree_.add(renewed_info_.digest.value());
    }

    // What stands for an object with this record of one chain.
    Bytes leaf_of(const Bytes& chain, ByteView object) {
        return rehashed_object(tree_.hash(), object, tree_.hash().of({sequence_der({chain})}));
    }

    std::filesystem::path path_;
    EvidenceRecord record_;
    JoinedLines lines_;
    ManifestInfo renewed_info_, info_;
    HashTree old_;
    RenewalTree tree_;
    Bytes leaf_; // of the old list
};

ManifestRenewal::ManifestRenewal(const std::filesystem::path& list, const EvidenceRecord& record,
                                 const std::filesystem::path& renewed_list,
                                 const Progress& progress, std::stop_token stop)
    : impl_(guarded("renew the list's record", [&] {
          return std::make_unique<Impl>(list, record, renewed_list, progress, stop);
      })) {}
ManifestRenewal::ManifestRenewal(ManifestRenewal&& other) noexcept = default;
ManifestRenewal& ManifestRenewal::operator=(ManifestRenewal&& other) noexcept = default;
ManifestRenewal::~ManifestRenewal() = default;

const ManifestInfo& ManifestRenewal::info() const {
    return held_by(impl_).info();
}

const ManifestInfo& ManifestRenewal::renewed_info() const {
    return held_by(impl_).renewed_info();
}

Digest ManifestRenewal::digest() {
    return guarded("renew the list's record", [&] { return held_by(impl_).digest(); });
}

EvidenceRecord ManifestRenewal::renewed(const Stamp& stamp) {
    return guarded("renew the list's record", [&] { return held_by(impl_).renewed(stamp); });
}

EvidenceRecord ManifestRenewal::renewed_list(const Stamp& stamp) {
    return guarded("make an evidence record", [&] { return held_by(impl_).renewed_list(stamp); });
}

EvidenceRecord ManifestRenewal::prove(const DataDigests& object) {
    return guarded("make an evidence record", [&] { return held_by(impl_).prove(object); });
}

} // namespace chronoseal
