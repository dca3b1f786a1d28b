// Renewals: a tree over what stands for each record, and the new stamp appended to the record.
#include <chronoseal/evidence.hpp>

#include <algorithm>

#include <chronoseal/seal/failure.h>
#include <chronoseal/seal/platform_text.h>
#include <chronoseal/seal/record_content.h>
#include <chronoseal/seal/record_links.h>
#include <chronoseal/seal/renewal_tree.h>

namespace chronoseal {

namespace {

// The members of a leaf in their order, equal ones once.
std::vector<Bytes> distinct(std::vector<Bytes> members) {
    std::ranges::sort(members, [](const Bytes& a, const Bytes& b) { return less(a, b); });
    members.erase(std::unique(members.begin(), members.end()), members.end());
    return members;
}

} // namespace

class StampRenewal::Impl : public RenewalTree {
public:
    using RenewalTree::RenewalTree;

    // All stamps of the chain, though the last would do: there is software that wants them all.
    std::vector<Bytes> members_of(const EvidenceRecord& record) {
        if (record.info().stamps.back().algorithm.oid != algorithm().oid()) {
            throw Error(Category::misuse, "algorithms_differ", 0,
                        "the record's last chain is by " +
                            quote_foreign(record.info().stamps.back().algorithm.name) +
                            " and can't go on by " + algorithm().name(),
                        "renew it by its own hash, or begin a new chain");
        }
        std::vector<Bytes> members;
        for (const ArchiveStamp& stamp : RecordAccess::parts(record).chains.back().stamps) {
            members.push_back(hash().of({stamp.token}));
        }
        return distinct(std::move(members));
    }
};

StampRenewal::StampRenewal(const HashAlgorithm& algorithm)
    : impl_(guarded("renew records", [&] { return std::make_unique<Impl>(algorithm); })) {}
StampRenewal::StampRenewal(StampRenewal&& other) noexcept = default;
StampRenewal& StampRenewal::operator=(StampRenewal&& other) noexcept = default;
StampRenewal::~StampRenewal() = default;

void StampRenewal::add(const EvidenceRecord& record) {
    guarded("renew records", [&] { held_by(impl_).add(held_by(impl_).members_of(record)); });
}

Digest StampRenewal::digest() {
    return guarded("renew records", [&] { return held_by(impl_).digest(); });
}

EvidenceRecord StampRenewal::renewed(const EvidenceRecord& record, const Stamp& stamp) {
    return guarded("renew a record", [&] {
        const Bytes added =
            held_by(impl_).stamp_for(record, held_by(impl_).members_of(record), stamp);
        std::vector<ByteView> stamps;
        for (const ArchiveStamp& one : RecordAccess::parts(record).chains.back().stamps) {
            stamps.push_back(one.der);
        }
        stamps.emplace_back(added);
        const Bytes chain = chain_der(stamps);
        auto chains = chains_of(record);
        chains.back() = chain;
        return with_chains(record, held_by(impl_).algorithm(), chains);
    });
}

class HashRenewal::Impl : public RenewalTree {
public:
    using RenewalTree::RenewalTree;

    std::vector<Bytes> members_of(const EvidenceRecord& record,
                                  const std::vector<Digest>& objects) {
        const Bytes sequence = hash().of({sequence_der(chains_of(record))});
        std::vector<Bytes> members;
        for (const Digest& object : objects) {
            if (object.algorithm() != algorithm()) {
                throw Error(Category::misuse, "digest_malformed", 0,
                            "a digest by " + object.algorithm().name() +
                                " can't stand in a chain by " + algorithm().name(),
                            "hash the object by the new algorithm");
            }
            members.push_back(rehashed_object(hash(), object.value(), sequence));
        }
        if (members.empty()) {
            throw Error(Category::misuse, "data_needed", 0,
                        "a renewal by a new hash needs the object's", "hash the object");
        }
        return distinct(std::move(members));
    }
};

HashRenewal::HashRenewal(const HashAlgorithm& algorithm)
    : impl_(guarded("renew records", [&] { return std::make_unique<Impl>(algorithm); })) {}
HashRenewal::HashRenewal(HashRenewal&& other) noexcept = default;
HashRenewal& HashRenewal::operator=(HashRenewal&& other) noexcept = default;
HashRenewal::~HashRenewal() = default;

void HashRenewal::add(const EvidenceRecord& record, const std::vector<Digest>& objects) {
    guarded("renew records",
            [&] { held_by(impl_).add(held_by(impl_).members_of(record, objects)); });
}

Digest HashRenewal::digest() {
    return guarded("renew records", [&] { return held_by(impl_).digest(); });
}

EvidenceRecord HashRenewal::renewed(const EvidenceRecord& record,
                                    const std::vector<Digest>& objects, const Stamp& stamp) {
    return guarded("renew a record", [&] {
        const Bytes added =
            held_by(impl_).stamp_for(record, held_by(impl_).members_of(record, objects), stamp);
        const Bytes chain = chain_der({added});
        auto chains = chains_of(record);
        chains.emplace_back(chain);
        return with_chains(record, held_by(impl_).algorithm(), chains);
    });
}

} // namespace chronoseal
