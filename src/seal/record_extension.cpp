// Evidence for the last stamp of a record, which nothing covers yet.
#include <chronoseal/evidence.hpp>

#include <chronoseal/seal/failure.h>
#include <chronoseal/seal/record_content.h>
#include <chronoseal/seal/renewal_tree.h>
#include <chronoseal/seal/token_der.h>

namespace chronoseal {

namespace {

std::size_t extendable(const EvidenceRecord& record, std::optional<std::size_t> stamp) {
    const std::size_t count = record.info().stamps.size();
    const std::size_t chosen = stamp.value_or(count - 1);
    if (chosen >= count) {
        throw Error(Category::misuse, "stamp_missing", 0,
                    "the record has no time-stamp " + std::to_string(chosen + 1) + ", only " +
                        std::to_string(count),
                    "choose another");
    }
    if (chosen + 1 != count) {
        throw Error(Category::refused, "stamp_covered", 0,
                    "time-stamp " + std::to_string(chosen + 1) + " has been renewed by the next: " +
                        "that one is over all of its octets, and wouldn't cover it any more",
                    "extend the last one; others only before they are renewed");
    }
    return chosen;
}

} // namespace

RecordExtension extend(const EvidenceRecord& record, const Trust& trust,
                       std::optional<std::size_t> stamp) {
    return guarded("extend the evidence record", [&] {
        const std::size_t last = extendable(record, stamp);
        RecordExtension result{record, extend(record.info().stamps[last].stamp, trust)};
        if (!result.extension.changed()) {
            return result;
        }
        const RecordParts& parts = RecordAccess::parts(record);
        const ArchiveStamp& old = parts.chains.back().stamps.back();
        const Bytes token = token_der(result.extension.stamp.token());
        const Bytes extended = stamp_der(old.algorithm, old.attributes, old.tree, token);
        std::vector<ByteView> stamps;
        for (const ArchiveStamp& one : parts.chains.back().stamps) {
            stamps.push_back(one.der);
        }
        stamps.back() = extended;
        const Bytes chain = chain_der(stamps);
        auto chains = chains_of(record);
        chains.back() = chain;
        result.record = RecordAccess::make(record_der(parts, chains));
        return result;
    });
}

} // namespace chronoseal
