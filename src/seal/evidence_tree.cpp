// Trees for callers: groups beside single digests, and records of what is in a tree.
#include <chronoseal/evidence.hpp>

#include <algorithm>

#include <chronoseal/seal/der_element.h>
#include <chronoseal/seal/der_writer.h>
#include <chronoseal/seal/failure.h>
#include <chronoseal/seal/hash_tree.h>
#include <chronoseal/seal/platform_text.h>
#include <chronoseal/seal/record_content.h>
#include <chronoseal/seal/tree_stamp.h>

namespace chronoseal {

class EvidenceTree::Impl {
public:
    explicit Impl(const HashAlgorithm& algorithm) : tree(algorithm) {}

    void check(ByteView digest) const {
        if (digest.size() != tree.algorithm().size()) {
            throw Error(Category::misuse, "digest_malformed", 0,
                        "the tree is of digests by " + tree.algorithm().name() + " of " +
                            std::to_string(tree.algorithm().size()) + " bytes, and this one has " +
                            std::to_string(digest.size()),
                        "give digests by the tree's algorithm");
        }
    }

    void check(const Digest& digest) const {
        if (digest.algorithm() != tree.algorithm()) {
            throw Error(Category::misuse, "digest_malformed", 0,
                        "a digest by " + digest.algorithm().name() +
                            " can't stand in a tree of digests by " + tree.algorithm().name(),
                        "give digests by the tree's algorithm");
        }
    }

    void check_filled() {
        if (tree.size() == 0) {
            throw Error(Category::misuse, "tree_empty", 0, "the tree is empty", "add digests");
        }
    }

    HashPath path(ByteView leaf) {
        check_filled();
        if (auto path = tree.path(leaf)) {
            return *std::move(path);
        }
        throw Error(Category::refused, "not_in_tree", 0, "the digest is none of the tree's",
                    "add it before the tree is stamped");
    }

    EvidenceRecord record(const HashList& members, const Stamp& stamp, const HashPath& above) {
        const Bytes leaf = tree.hash().of_sorted(members);
        HashPath whole = path(leaf);
        whole.insert(whole.end(), above.begin(), above.end());
        const Bytes one = tree_stamp_der(tree.hash(), members, whole, stamp);
        const Bytes algorithms =
            der_element(der_tag::kSequence, {hash_identifier(tree.algorithm().oid())});
        return RecordAccess::make(record_der({algorithms, {}, {}, {}}, {chain_der({one})}));
    }

    HashTree tree;
};

namespace {

HashList views_of(const std::vector<Digest>& digests) {
    HashList views;
    for (const Digest& digest : digests) {
        views.emplace_back(digest.value());
    }
    std::ranges::sort(views, less);
    views.erase(std::unique(views.begin(), views.end(), same), views.end());
    return views;
}

} // namespace

HashTree& TreeAccess::of(EvidenceTree& tree) {
    return held_by(tree.impl_).tree;
}

EvidenceTree::EvidenceTree(const HashAlgorithm& algorithm)
    : impl_(guarded("make a tree", [&] { return std::make_unique<Impl>(algorithm); })) {}
EvidenceTree::EvidenceTree(EvidenceTree&& other) noexcept = default;
EvidenceTree& EvidenceTree::operator=(EvidenceTree&& other) noexcept = default;
EvidenceTree::~EvidenceTree() = default;

const HashAlgorithm& EvidenceTree::algorithm() const {
    return held_by(impl_).tree.algorithm();
}

void EvidenceTree::reserve(std::uint64_t digests) {
    guarded("make a tree", [&] { held_by(impl_).tree.reserve(digests); });
}

void EvidenceTree::add(ByteView digest) {
    held_by(impl_).check(digest);
    guarded("make a tree", [&] { held_by(impl_).tree.add(digest); });
}

void EvidenceTree::add(const Digest& digest) {
    held_by(impl_).check(digest);
    add(ByteView(digest.value()));
}

void EvidenceTree::add_group(const std::vector<Digest>& members) {
    if (members.empty()) {
        throw Error(Category::misuse, "tree_empty", 0, "the group is empty", "give its digests");
    }
    for (const Digest& member : members) {
        held_by(impl_).check(member);
    }
    guarded("make a tree", [&] {
        held_by(impl_).tree.add(held_by(impl_).tree.hash().of_sorted(views_of(members)));
    });
}

std::uint64_t EvidenceTree::size() {
    return guarded("make a tree", [&] {
        held_by(impl_).check_filled();
        return held_by(impl_).tree.size();
    });
}

Digest EvidenceTree::root() {
    return guarded("make a tree", [&] {
        held_by(impl_).check_filled();
        return Digest(algorithm(), copy_of(held_by(impl_).tree.root()));
    });
}

HashPath EvidenceTree::path(ByteView leaf) {
    return guarded("find the way up a tree", [&] { return held_by(impl_).path(leaf); });
}

EvidenceRecord EvidenceTree::record(const Digest& object, const Stamp& stamp,
                                    const HashPath& above) {
    return guarded("make an evidence record",
                   [&] { return record(std::vector{object}, stamp, above); });
}

EvidenceRecord EvidenceTree::record(const std::vector<Digest>& group, const Stamp& stamp,
                                    const HashPath& above) {
    return guarded("make an evidence record", [&] {
        for (const Digest& member : group) {
            held_by(impl_).check(member);
        }
        if (group.empty()) {
            held_by(impl_).path({});
        }
        return held_by(impl_).record(views_of(group), stamp, above);
    });
}

} // namespace chronoseal
