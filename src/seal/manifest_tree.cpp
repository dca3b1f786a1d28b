// The tree of a list, and the records of its lines, which the list and its record together make.
#include <chronoseal/evidence.hpp>

#include <chronoseal/seal/failure.h>
#include <chronoseal/seal/list_proof.h>
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
    : ManifestTree(guarded("read the list", [&] { return std::filesystem::path(path); }),
                   read(path, progress, std::move(stop))) {}

EvidenceRecord ManifestTree::record(const Stamp& stamp, const HashPath& above) {
    return tree_.record(info_.digest, stamp, above);
}

EvidenceRecord ManifestTree::prove(const Digest& object, const EvidenceRecord& record) {
    return guarded("make an evidence record", [&] {
        ListProof list(TreeAccess::of(tree_), info_, path_, record);
        const RecordParts& parts = RecordAccess::parts(record);
        if (parts.chains.size() > 1) {
            throw Error(Category::refused, "manifest_rehashed", 0,
                        "the list's record was renewed by a new hash, from which the list alone "
                        "doesn't lead to its lines",
                        "give the list of the new hash, too, if it was renewed with one; else hand "
                        "out the list with its record");
        }
        if (object == info_.digest) {
            throw Error(Category::refused, "not_in_manifest", 0,
                        "this is the list itself, whose record is there already", "hand that out");
        }
        const Bytes chain = list.chain_of(object.value());
        EvidenceRecord proof = RecordAccess::make(record_der(parts, {chain}));
        if (const auto failure = check_links(proof, {{object}}).failure) {
            throw Error(*failure); // the list's record was no good either
        }
        return proof;
    });
}

} // namespace chronoseal
