// Stamps of a list's record over the list's lines.
#include <chronoseal/seal/list_proof.h>

#include <algorithm>

#include <chronoseal/seal/der_element.h>
#include <chronoseal/seal/der_writer.h>
#include <chronoseal/seal/platform_text.h>

namespace chronoseal {

namespace {

std::string line_count(const ManifestInfo& info) {
    return std::to_string(info.lines) + (info.lines == 1 ? " line" : " lines");
}

} // namespace

bool leads_up(const ArchiveStamp& stamp, ByteView leaf, const HashPath& way) {
    const auto holds = [](const HashList& list, ByteView hash) {
        return list.size() == 1 && same(list.front(), hash);
    };
    if (stamp.tree.size() <= way.size() || !holds(stamp.tree.front(), leaf)) {
        return false;
    }
    for (std::size_t i = 0; i < way.size(); ++i) {
        if (!holds(stamp.tree[i + 1], way[i])) {
            return false;
        }
    }
    return true;
}

Bytes stamp_of_other_leaf(const ArchiveStamp& stamp, const HashPath& way, ByteView leaf,
                          const HashPath& its_way) {
    std::vector<HashList> lists{{leaf}};
    for (const Bytes& sibling : its_way) {
        lists.push_back({sibling});
    }
    lists.insert(lists.end(), stamp.tree.begin() + 1 + static_cast<std::ptrdiff_t>(way.size()),
                 stamp.tree.end());
    return stamp_der(stamp.algorithm, stamp.attributes, lists, stamp.token);
}

ListProof::ListProof(HashTree& tree, const ManifestInfo& info, const std::filesystem::path& path,
                     const EvidenceRecord& record)
    : tree_(tree), path_(path), chain_(RecordAccess::parts(record).chains.front()),
      token_size_(chain_.stamps.front().token.size()) {
    const ArchiveStamp& stamp = chain_.stamps.front();
    const HashPath way = *tree.path(info.digest.value());
    if (record.info().stamps.front().algorithm.oid != info.algorithm.oid() || stamp.tree.empty() ||
        stamp.tree.front().size() != 1 || !same(stamp.tree.front().front(), info.digest.value())) {
        throw Error(Category::refused, "manifest_changed", 0,
                    "the record isn't that of the list " + quote_foreign(path.string()) +
                        " as it is now, with " + line_count(info),
                    "get the list as it was when it was stamped");
    }
    if (!leads_up(stamp, info.digest.value(), way)) {
        throw Error(Category::refused, "manifest_unproved", 0,
                    "the record is of the list " + quote_foreign(path.string()) +
                        " as a file: it wasn't made with the list's lines",
                    "hand out the list with its record");
    }
    for (std::size_t i = way.size() + 1; i < stamp.tree.size(); ++i) {
        append_list(above_, stamp.tree[i]);
    }
    append(rest_, stamp.token);
    for (std::size_t i = 1; i < chain_.stamps.size(); ++i) {
        append(rest_, chain_.stamps[i].der);
    }
}

// From the inside out: each length is that of what it holds.
void ListProof::write(ByteView object, bool as_sequence) {
    const ArchiveStamp& stamp = chain_.stamps.front();
    lists_.clear();
    append_list(lists_, {&object, 1});
    if (!tree_.each_beside(object, [&](ByteView hash) { append_list(lists_, {&hash, 1}); })) {
        throw Error(Category::refused, "not_in_manifest", 0,
                    "no line of the list " + quote_foreign(path_.string()) + " has the data's hash",
                    "the data was changed since, or was never in the list");
    }
    const std::size_t lists = lists_.size() + above_.size();
    const std::size_t algorithm = stamp.algorithm.empty() ? 0 : der_size(stamp.algorithm.size());
    const std::size_t content = algorithm + stamp.attributes.size() + der_size(lists) + token_size_;
    const std::size_t chain = der_size(content) + rest_.size() - token_size_;
    front_.clear();
    if (as_sequence) {
        append_head(front_, der_tag::kSequence, der_size(chain));
    }
    append_head(front_, der_tag::kSequence, chain);
    append_head(front_, der_tag::kSequence, content);
    if (algorithm != 0) {
        append_element(front_, der_tag::kContext0, stamp.algorithm);
    }
    append(front_, stamp.attributes);
    append_head(front_, der_tag::kContext0 + 2, lists);
}

Bytes ListProof::chain_of(ByteView object) {
    write(object, false);
    Bytes chain;
    chain.reserve(front_.size() + lists_.size() + above_.size() + rest_.size());
    for (const Bytes* piece : {&front_, &lists_, &above_, &rest_}) {
        append(chain, *piece);
    }
    return chain;
}

void ListProof::hash_sequence(ByteView object, RepeatedHash& hash, std::byte* target) {
    write(object, true);
    hash.into(target, {front_, lists_, above_, rest_});
}

} // namespace chronoseal
