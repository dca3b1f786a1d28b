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

chronoseal_status chronoseal_evidence_tree_new(const char* algorithm,
                                               chronoseal_evidence_tree** tree,
                                               chronoseal_error** error) {
    return call(error, [&] {
        auto*& place = emptied(tree, "tree");
        place = new chronoseal_evidence_tree{EvidenceTree(algorithm_of(algorithm))};
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
    return call(error, [&] {
        auto& place = emptied(leaves, "leaves");
        place = needed(tree, "tree").tree.size();
        return CHRONOSEAL_OK;
    });
}

chronoseal_status chronoseal_evidence_tree_root(chronoseal_evidence_tree* tree,
                                                chronoseal_digest* root, chronoseal_error** error) {
    return call(error, [&] {
        auto& place = emptied(root, "root");
        place = digest_of(needed(tree, "tree").tree.root());
        return CHRONOSEAL_OK;
    });
}

chronoseal_status chronoseal_evidence_tree_record(chronoseal_evidence_tree* tree,
                                                  const chronoseal_digest* objects, size_t count,
                                                  const chronoseal_stamp* stamp,
                                                  chronoseal_evidence_record** record,
                                                  chronoseal_error** error) {
    return call(error, [&] {
        auto*& place = emptied(record, "record");
        needed(objects, "objects");
        EvidenceTree& own = needed(tree, "tree").tree;
        const Stamp& over = needed(stamp, "stamp").stamp;
        const std::vector<Digest> group = digests_of(objects, count, "objects");
        place = new chronoseal_evidence_record(group.size() == 1 ? own.record(group[0], over)
                                                                 : own.record(group, over));
        return CHRONOSEAL_OK;
    });
}

void chronoseal_evidence_tree_free(chronoseal_evidence_tree** tree) {
    release(tree);
}

chronoseal_status chronoseal_manifest_tree_new(const char* path, const chronoseal_control* control,
                                               chronoseal_manifest_tree** tree,
                                               chronoseal_error** error) {
    return call(error, [&] {
        auto*& place = emptied(tree, "tree");
        Watch watch(control);
        place = new chronoseal_manifest_tree{
            ManifestTree(needed_text(path, "path"), watch.progress(), watch.stop())};
        return CHRONOSEAL_OK;
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
    return call(error, [&] {
        auto& place = emptied(root, "root");
        place = digest_of(needed(tree, "tree").tree.root());
        return CHRONOSEAL_OK;
    });
}

chronoseal_status chronoseal_manifest_tree_record(chronoseal_manifest_tree* tree,
                                                  const chronoseal_stamp* stamp,
                                                  chronoseal_evidence_record** record,
                                                  chronoseal_error** error) {
    return call(error, [&] {
        auto*& place = emptied(record, "record");
        place = new chronoseal_evidence_record(
            needed(tree, "tree").tree.record(needed(stamp, "stamp").stamp));
        return CHRONOSEAL_OK;
    });
}

chronoseal_status chronoseal_manifest_tree_prove(chronoseal_manifest_tree* tree,
                                                 const chronoseal_digest* object,
                                                 const chronoseal_evidence_record* record,
                                                 chronoseal_evidence_record** proof,
                                                 chronoseal_error** error) {
    return call(error, [&] {
        auto*& place = emptied(proof, "proof");
        place = new chronoseal_evidence_record(
            needed(tree, "tree").tree.prove(digest_of(object), needed(record, "record").record));
        return CHRONOSEAL_OK;
    });
}

void chronoseal_manifest_tree_free(chronoseal_manifest_tree** tree) {
    release(tree);
}
