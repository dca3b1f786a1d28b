// The tree of hashes of an evidence record (RFC 4998, 4.2), in the one shape that can be built
// again from its leaves: these in ascending order, equal ones once; neighbours are joined in pairs,
// the lesser first; a last one without a neighbour goes up as it is. Owns packed digests, two
// lengths of one for each leaf.
#pragma once

#include <new>
#include <optional>

#include <chronoseal/seal/repeated_hash.h>

namespace chronoseal {

class HashTree {
public:
    explicit HashTree(const HashAlgorithm& algorithm) : hash_(algorithm) {}

    const HashAlgorithm& algorithm() const noexcept { return hash_.algorithm(); }
    RepeatedHash& hash() noexcept { return hash_; }
    void reserve(std::uint64_t digests) {
        if (digests > leaves_.max_size() / width()) {
            throw std::bad_alloc();
        }
        leaves_.reserve(digests * width());
    }
    // The size must be the algorithm's.
    void add(ByteView digest);

    // The first of these after an `add` builds the tree.
    std::uint64_t size();
    ByteView root(); // the tree must not be empty
    std::optional<HashPath> path(ByteView leaf);
    // Calls `use` for each hash of that way, from below, without keeping them. False for what is no
    // leaf.
    template <class Use>
    bool each_beside(ByteView leaf, Use&& use) {
        build();
        auto place = find(leaf);
        if (!place) {
            return false;
        }
        const Bytes* level = &leaves_;
        for (const Bytes& above : levels_) {
            const std::size_t beside = *place ^ 1U;
            if (beside < level->size() / width()) {
                use(at(*level, beside));
            }
            *place /= 2;
            level = &above;
        }
        return true;
    }

private:
    std::size_t width() const noexcept { return algorithm().size(); }
    ByteView at(const Bytes& level, std::size_t index) const {
        return ByteView(level).subspan(index * width(), width());
    }
    void build();
    Bytes level_above(const Bytes& level);
    std::optional<std::size_t> find(ByteView leaf);

    RepeatedHash hash_;
    Bytes leaves_;
    std::vector<Bytes> levels_; // above the leaves
    bool built_ = false;
    std::size_t next_ = 0; // behind the leaf found last
};

// The tree behind that of a caller.
struct TreeAccess {
    static HashTree& of(EvidenceTree& tree);
};

// Up the path from a leaf.
Bytes root_of(RepeatedHash& hash, ByteView leaf, const HashPath& path);

} // namespace chronoseal
