// Stamps of a list's record over the list's lines.
#include <chronoseal/seal/list_proof.h>

#include <algorithm>

#include <chronoseal/seal/platform_text.h>
#include <chronoseal/seal/repeated_hash.h>

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

ListProof::ListProof(EvidenceTree& tree, const ManifestInfo& info,
                     const std::filesystem::path& path, const EvidenceRecord& record)
    : tree_(tree), path_(path), chain_(RecordAccess::parts(record).chains.front()),
      way_(tree.path(info.digest.value())) {
    const ArchiveStamp& stamp = chain_.stamps.front();
    if (record.info().stamps.front().algorithm.oid != info.algorithm.oid() || stamp.tree.empty() ||
        stamp.tree.front().size() != 1 || !same(stamp.tree.front().front(), info.digest.value())) {
        throw Error(Category::refused, "manifest_changed", 0,
                    "the record isn't that of the list " + quote_foreign(path.string()) +
                        " as it is now, with " + line_count(info),
                    "get the list as it was when it was stamped");
    }
    if (!leads_up(stamp, info.digest.value(), way_)) {
        throw Error(Category::refused, "manifest_unproved", 0,
                    "the record is of the list " + quote_foreign(path.string()) +
                        " as a file: it wasn't made with the list's lines",
                    "hand out the list with its record");
    }
}

Bytes ListProof::chain_of(ByteView object) {
    HashPath way;
    try {
        way = tree_.path(object);
    } catch (const Error& error) {
        throw error.word() != "not_in_tree"
            ? error
            : Error(Category::refused, "not_in_manifest", 0,
                    "no line of the list " + quote_foreign(path_.string()) + " has the data's hash",
                    "the data was changed since, or was never in the list");
    }
    const Bytes first = stamp_of_other_leaf(chain_.stamps.front(), way_, object, way);
    std::vector<ByteView> stamps{first};
    for (std::size_t i = 1; i < chain_.stamps.size(); ++i) {
        stamps.push_back(chain_.stamps[i].der);
    }
    return chain_der(stamps);
}

} // namespace chronoseal
