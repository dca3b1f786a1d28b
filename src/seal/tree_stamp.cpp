// Leaf, way and stamp put together.
#include <chronoseal/seal/tree_stamp.h>

#include <chronoseal/client/result_codes.h>
#include <chronoseal/seal/der_element.h>
#include <chronoseal/seal/hash_tree.h>
#include <chronoseal/seal/token_der.h>

namespace chronoseal {

namespace {

void check_over(const Stamp& stamp, const HashAlgorithm& algorithm, ByteView root) {
    if (!stamp.has_token()) {
        throw error_of_code(Halcyon::PKI::TSP::Client::kResultNoStamp, "make an evidence record");
    }
    const TokenInfo& token = *stamp.info().token;
    if (token.imprint_algorithm.oid != algorithm.oid() || !same(token.imprint, root)) {
        throw Error(Category::misuse, "imprint_differs", 0,
                    "the time-stamp isn't over the root of this tree",
                    "have the root stamped, by the tree's algorithm");
    }
}

} // namespace

Bytes tree_stamp_der(RepeatedHash& hash, const HashList& members, const HashPath& path,
                     const Stamp& stamp) {
    check_over(stamp, hash.algorithm(), root_of(hash, hash.of_sorted(members), path));
    std::vector<HashList> lists{members};
    for (const Bytes& sibling : path) {
        lists.push_back({sibling});
    }
    const Bytes identifier = hash_identifier(hash.algorithm().oid());
    const auto algorithm = DerReader(identifier).next(der_tag::kSequence);
    return stamp_der(algorithm->content, {}, lists, token_der(stamp.token()));
}

} // namespace chronoseal
