// Building of the tree: sorting in place, and each level from the one below.
#include <chronoseal/seal/hash_tree.h>

#include <algorithm>
#include <cstring>

#include <chronoseal/seal/platform_text.h>

namespace chronoseal {

namespace {

template <std::size_t width>
struct Packed {
    std::byte bytes[width];

    std::uint64_t head() const {
        std::uint64_t value = 0;
        for (std::size_t i = 0; i < sizeof value; ++i) {
            value = value << 8 | std::to_integer<std::uint64_t>(bytes[i]);
        }
        return value;
    }
    // Two digests hardly ever share their first bytes.
    bool operator<(const Packed& other) const {
        const std::uint64_t mine = head(), its = other.head();
        return mine != its ? mine < its : std::memcmp(bytes, other.bytes, width) < 0;
    }
    bool operator==(const Packed& other) const {
        return std::memcmp(bytes, other.bytes, width) == 0;
    }
};

template <std::size_t width>
void sort_packed(Bytes& digests) {
    static_assert(sizeof(Packed<width>) == width && alignof(Packed<width>) == 1);
    auto* first = reinterpret_cast<Packed<width>*>(digests.data());
    auto* last = first + digests.size() / width;
    std::sort(first, last);
    digests.resize(static_cast<std::size_t>(std::unique(first, last) - first) * width);
}

// For digests of uncommon sizes.
void sort_any(Bytes& digests, std::size_t width) {
    std::vector<ByteView> views;
    for (std::size_t i = 0; i < digests.size(); i += width) {
        views.push_back(ByteView(digests).subspan(i, width));
    }
    std::ranges::sort(views, less);
    const auto rest = std::unique(views.begin(), views.end(), same);
    Bytes sorted;
    for (auto view = views.begin(); view != rest; ++view) {
        sorted.insert(sorted.end(), view->begin(), view->end());
    }
    digests = std::move(sorted);
}

} // namespace

void HashTree::add(ByteView digest) {
    leaves_.insert(leaves_.end(), digest.begin(), digest.end());
    built_ = false;
}

void HashTree::build() {
    if (built_) {
        return;
    }
    switch (width()) {
    case 32:
        sort_packed<32>(leaves_);
        break;
    case 48:
        sort_packed<48>(leaves_);
        break;
    case 64:
        sort_packed<64>(leaves_);
        break;
    default:
        sort_any(leaves_, width());
    }
    levels_.clear();
    for (const Bytes* level = &leaves_; level->size() > width(); level = &levels_.back()) {
        levels_.push_back(level_above(*level));
    }
    built_ = true;
}

Bytes HashTree::level_above(const Bytes& level) {
    const std::size_t count = level.size() / width();
    Bytes above((count + 1) / 2 * width());
    std::byte* target = above.data();
    for (std::size_t i = 0; i + 1 < count; i += 2, target += width()) {
        const ByteView left = at(level, i), right = at(level, i + 1);
        if (less(right, left)) {
            hash_.into(target, {right, left});
        } else {
            hash_.into(target, {left, right});
        }
    }
    if (count % 2 != 0) {
        std::ranges::copy(at(level, count - 1), target);
    }
    return above;
}

std::uint64_t HashTree::size() {
    build();
    return leaves_.size() / width();
}

ByteView HashTree::root() {
    build();
    return levels_.empty() ? ByteView(leaves_) : ByteView(levels_.back());
}

// Whoever asks for many leaves asks in their order, and mostly for the one behind the last.
std::optional<std::size_t> HashTree::find(ByteView leaf) {
    std::size_t low = 0, high = leaves_.size() / width();
    if (next_ < high && same(at(leaves_, next_), leaf)) {
        return next_++;
    }
    while (low < high) {
        const std::size_t middle = (low + high) / 2;
        if (less(at(leaves_, middle), leaf)) {
            low = middle + 1;
        } else {
            high = middle;
        }
    }
    const bool found = low < leaves_.size() / width() && same(at(leaves_, low), leaf);
    next_ = low + 1;
    return found ? std::optional(low) : std::nullopt;
}

std::optional<HashPath> HashTree::path(ByteView leaf) {
    HashPath path;
    const bool found = each_beside(leaf, [&](ByteView beside) { path.push_back(copy_of(beside)); });
    return found ? std::optional(std::move(path)) : std::nullopt;
}

Bytes root_of(RepeatedHash& hash, ByteView leaf, const HashPath& path) {
    Bytes node = copy_of(leaf);
    for (const Bytes& sibling : path) {
        node = hash.of_sorted({node, sibling});
    }
    return node;
}

} // namespace chronoseal
