// The tree of a list, and the records of its lines, which the list and its record together make.
#include <chronoseal/evidence.hpp>

#include <algorithm>

#include <chronoseal/seal/failure.h>
#include <chronoseal/seal/record_links.h>

namespace chronoseal {

struct ManifestTree::Content {
    ManifestInfo info;
    EvidenceTree tree;
};

namespace {

// So many lines at most: each has two digits a byte, two blanks, a name and a line end.
std::uint64_t most_lines(const std::filesystem::path& path, std::size_t digest_size) {
    std::error_code problem;
    const auto size = std::filesystem::file_size(path, problem);
    return problem ? 0 : size / (2 * digest_size + 4) + 2;
}

std::string line_count(const ManifestInfo& info) {
    return std::to_string(info.lines) + (info.lines == 1 ? " line" : " lines");
}

Error unproved(const std::filesystem::path& path) {
    return Error(Category::refused, "manifest_unproved", 0,
                 "the record is of the list " + quote_foreign(path.string()) +
                     " as a file: it wasn't made with the list's lines",
                 "hand out the list with its record");
}

} // namespace

ManifestTree::Content ManifestTree::read(const std::filesystem::path& path,
                                         const Progress& progress, std::stop_token stop) {
    return guarded("read the list", [&] {
        std::optional<EvidenceTree> tree;
        ManifestInfo info = read_manifest(
            path,
            [&](const ManifestLine& line) {
                if (!tree) {
                    tree.emplace(line.algorithm);
                    tree->reserve(most_lines(path, line.digest.size()));
                }
                tree->add(line.digest);
            },
            progress, std::move(stop));
        tree->add(info.digest);
        return Content{std::move(info), *std::move(tree)};
    });
}

ManifestTree::ManifestTree(std::filesystem::path path, Content&& content)
    : path_(std::move(path)), info_(std::move(content.info)), tree_(std::move(content.tree)) {}

ManifestTree::ManifestTree(const std::filesystem::path& path, const Progress& progress,
                           std::stop_token stop)
    : ManifestTree(path, read(path, progress, std::move(stop))) {}

EvidenceRecord ManifestTree::record(const Stamp& stamp, const HashPath& above) {
    return tree_.record(info_.digest, stamp, above);
}

EvidenceRecord ManifestTree::prove(const Digest& object, const EvidenceRecord& record) {
    return guarded("make an evidence record", [&] {
        const RecordParts& parts = RecordAccess::parts(record);
        const ArchiveStamp& old = parts.chains.front().stamps.front();
        if (record.info().stamps.front().algorithm.oid != info_.algorithm.oid() ||
            old.tree.empty() || old.tree.front().size() != 1 ||
            !same(old.tree.front().front(), info_.digest.value())) {
            throw Error(Category::refused, "manifest_changed", 0,
                        "the record isn't that of the list " + quote_foreign(path_.string()) +
                            " as it is now, with " + line_count(info_),
                        "get the list as it was when it was stamped");
        }
        if (parts.chains.size() > 1) {
            throw Error(Category::refused, "manifest_rehashed", 0,
                        "the list's record was renewed by a new hash, from which the list alone "
                        "doesn't lead to its lines",
                        "hand out the list with its record");
        }
        if (object == info_.digest) {
            throw Error(Category::refused, "not_in_manifest", 0,
                        "this is the list itself, whose record is there already", "hand that out");
        }
        const HashPath own = tree_.path(info_.digest.value());
        const bool ours =
            old.tree.size() > own.size() &&
            std::ranges::equal(own, std::span(old.tree).subspan(1, own.size()),
                               [](const Bytes& sibling, const HashList& list) {
                                   return list.size() == 1 && same(sibling, list.front());
                               });
        if (!ours) {
            throw unproved(path_);
        }
        HashPath path;
        try {
            path = tree_.path(object.value());
        } catch (const Error& error) {
            throw error.word() != "not_in_tree"
                ? error
                : Error(Category::refused, "not_in_manifest", 0,
                        "no line of the list " + quote_foreign(path_.string()) +
                            " has the data's hash",
                        "the data was changed since, or was never in the list");
        }
        std::vector<HashList> lists{{object.value()}};
        for (const Bytes& sibling : path) {
            lists.push_back({sibling});
        }
        lists.insert(lists.end(), old.tree.begin() + 1 + static_cast<std::ptrdiff_t>(own.size()),
                     old.tree.end());
        const Bytes first = stamp_der(old.algorithm, old.attributes, lists, old.token);
        std::vector<ByteView> stamps{first};
        for (const ArchiveStamp& later : std::span(parts.chains.front().stamps).subspan(1)) {
            stamps.push_back(later.der);
        }
        EvidenceRecord proof = RecordAccess::make(record_der(parts, {chain_der(stamps)}));
        if (const auto failure = check_links(proof, {{object}}).failure) {
            throw Error(*failure); // the list's record was no good either
        }
        return proof;
    });
}

} // namespace chronoseal
