// Trees of hashes, and those of lists of hashes, as handles.
#include <chronoseal/c_interface/call.h>
#include <chronoseal/c_interface/evidence_record.h>
#include <chronoseal/c_interface/watch.h>

using namespace chronoseal;
using namespace chronoseal::c_interface;

struct chronoseal_evidence_tree {
    EvidenceTree tree;
};

struct chronoseal_manifest_tree {
    ManifestTree tree;
};

struct chronoseal_hash_path {
    explicit chronoseal_hash_path(HashPath found) : path(std::move(found)) {
        for (const Bytes& hash : path) {
            hashes.push_back(c_interface::view_of(hash));
        }
    }

    const HashPath path;
    std::vector<chronoseal_bytes> hashes;
};

namespace {

HashPath path_of(const chronoseal_bytes* above, size_t count) {
    HashPath path;
    if (count != 0) {
        needed(above, "above");
    }
    for (size_t i = 0; i < count; ++i) {
        const ByteView hash = needed_bytes(above[i].data, above[i].size, "above");
        path.emplace_back(hash.begin(), hash.end());
    }
    return path;
}

chronoseal_evidence_record* record_of(chronoseal_evidence_tree* tree,
                                      const chronoseal_digest* objects, size_t count,
                                      const chronoseal_stamp* stamp, const HashPath& above) {
    needed(objects, "objects");
    EvidenceTree& own = needed(tree, "tree").tree;
    const Stamp& over = needed(stamp, "stamp").stamp;
    const std::vector<Digest> group = digests_of(objects, count, "objects");
    return new chronoseal_evidence_record(own.record(group, over, above));
}

} // namespace

chronoseal_status chronoseal_evidence_tree_new(const char* algorithm,
                                               chronoseal_evidence_tree** tree,
                                               chronoseal_error** error) {
    return give_new(tree, "tree", error, [&] { return EvidenceTree(algorithm_of(algorithm)); });
}

chronoseal_status chronoseal_evidence_tree_reserve(chronoseal_evidence_tree* tree, uint64_t digests,
                                                   chronoseal_error** error) {
    return call(error, [&] {
        needed(tree, "tree").tree.reserve(digests);
        return CHRONOSEAL_OK;
    });
}

chronoseal_status chronoseal_evidence_tree_add(chronoseal_evidence_tree* tree,
                                               const chronoseal_digest* digest,
                                               chronoseal_error** error) {
    return call(error, [&] {
        needed(tree, "tree").tree.add(digest_of(digest));
        return CHRONOSEAL_OK;
    });
}

chronoseal_status chronoseal_evidence_tree_add_group(chronoseal_evidence_tree* tree,
                                                     const chronoseal_digest* members, size_t count,
                                                     chronoseal_error** error) {
    return call(error, [&] {
        needed(members, "members");
        needed(tree, "tree").tree.add_group(digests_of(members, count, "members"));
        return CHRONOSEAL_OK;
    });
}

chronoseal_status chronoseal_evidence_tree_size(chronoseal_evidence_tree* tree, uint64_t* leaves,
                                                chronoseal_error** error) {
    return give(leaves, "leaves", error, [&] { return needed(tree, "tree").tree.size(); });
}

chronoseal_status chronoseal_evidence_tree_root(chronoseal_evidence_tree* tree,
                                                chronoseal_digest* root, chronoseal_error** error) {
    return give(root, "root", error, [&] { return digest_of(needed(tree, "tree").tree.root()); });
}

chronoseal_status chronoseal_evidence_tree_record(chronoseal_evidence_tree* tree,
                                                  const chronoseal_digest* objects, size_t count,
                                                  const chronoseal_stamp* stamp,
                                                  chronoseal_evidence_record** record,
                                                  chronoseal_error** error) {
    return call(error, [&] {
        auto*& place = emptied(record, "record");
        place = record_of(tree, objects, count, stamp, {});
        return CHRONOSEAL_OK;
    });
}

chronoseal_status chronoseal_evidence_tree_record_below(
    chronoseal_evidence_tree* tree, const chronoseal_digest* objects, size_t count,
    const chronoseal_stamp* stamp, const chronoseal_bytes* above, size_t above_count,
    chronoseal_evidence_record** record, chronoseal_error** error) {
    return call(error, [&] {
        auto*& place = emptied(record, "record");
        place = record_of(tree, objects, count, stamp, path_of(above, above_count));
        return CHRONOSEAL_OK;
    });
}

chronoseal_status chronoseal_evidence_tree_path(chronoseal_evidence_tree* tree, const void* leaf,
                                                size_t size, chronoseal_hash_path** path,
                                                chronoseal_error** error) {
    return give_new(path, "path", error, [&] {
        EvidenceTree& own = needed(tree, "tree").tree;
        return own.path(needed_bytes(leaf, size, "leaf"));
    });
}

chronoseal_status chronoseal_hash_path_get(const chronoseal_hash_path* path,
                                           const chronoseal_bytes** hashes, size_t* count,
                                           chronoseal_error** error) {
    return call(error, [&] {
        auto& place = emptied(hashes, "hashes");
        auto& number = emptied(count, "count");
        const chronoseal_hash_path& handle = needed(path, "path");
        place = handle.hashes.empty() ? nullptr : handle.hashes.data();
        number = handle.hashes.size();
        return CHRONOSEAL_OK;
    });
}

void chronoseal_hash_path_free(chronoseal_hash_path** path) {
    release(path);
}

void chronoseal_evidence_tree_free(chronoseal_evidence_tree** tree) {
    release(tree);
}

chronoseal_status chronoseal_manifest_tree_new(const char* path, const chronoseal_control* control,
                                               chronoseal_manifest_tree** tree,
                                               chronoseal_error** error) {
    return give_new(tree, "tree", error, [&] {
        Watch watch(control);
        return ManifestTree(needed_text(path, "path"), watch.progress(), watch.stop());
    });
}

chronoseal_status chronoseal_manifest_tree_get_info(const chronoseal_manifest_tree* tree,
                                                    chronoseal_digest* list, uint64_t* lines,
                                                    chronoseal_error** error) {
    return call(error, [&] {
        auto& digest = emptied(list, "list");
        auto& count = emptied(lines, "lines");
        const ManifestInfo& info = needed(tree, "tree").tree.info();
        digest = digest_of(info.digest);
        count = info.lines;
        return CHRONOSEAL_OK;
    });
}

chronoseal_status chronoseal_manifest_tree_root(chronoseal_manifest_tree* tree,
                                                chronoseal_digest* root, chronoseal_error** error) {
    return give(root, "root", error, [&] { return digest_of(needed(tree, "tree").tree.root()); });
}

chronoseal_status chronoseal_manifest_tree_record(chronoseal_manifest_tree* tree,
                                                  const chronoseal_stamp* stamp,
                                                  chronoseal_evidence_record** record,
                                                  chronoseal_error** error) {
    return give_new(record, "record", error,
                    [&] { return needed(tree, "tree").tree.record(needed(stamp, "stamp").stamp); });
}

chronoseal_status chronoseal_manifest_tree_record_below(
    chronoseal_manifest_tree* tree, const chronoseal_stamp* stamp, const chronoseal_bytes* above,
    size_t above_count, chronoseal_evidence_record** record, chronoseal_error** error) {
    return give_new(record, "record", error, [&] {
        return needed(tree, "tree")
            .tree.record(needed(stamp, "stamp").stamp, path_of(above, above_count));
    });
}

chronoseal_status chronoseal_manifest_tree_prove(chronoseal_manifest_tree* tree,
                                                 const chronoseal_digest* object,
                                                 const chronoseal_evidence_record* record,
                                                 chronoseal_evidence_record** proof,
                                                 chronoseal_error** error) {
    return give_new(proof, "proof", error, [&] {
        return needed(tree, "tree").tree.prove(digest_of(object), needed(record, "record").record);
    });
}

void chronoseal_manifest_tree_free(chronoseal_manifest_tree** tree) {
    release(tree);
}
