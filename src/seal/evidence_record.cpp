// Records as values: reading with all that can be checked without data and trust.
#include <chronoseal/evidence.hpp>

#include <algorithm>

#include <chronoseal/client/result_codes.h>
#include <chronoseal/seal/armor.h>
#include <chronoseal/seal/byte_kind.h>
#include <chronoseal/seal/der_element.h>
#include <chronoseal/seal/der_writer.h>
#include <chronoseal/seal/failure.h>
#include <chronoseal/seal/file_bytes.h>
#include <chronoseal/seal/platform_text.h>
#include <chronoseal/seal/record_content.h>
#include <chronoseal/seal/running_hash.h>
#include <chronoseal/seal/stamp_access.h>
#include <chronoseal/seal/token_der.h>

namespace chronoseal {

namespace {

HashAlgorithm known_hash(const AlgorithmInfo& algorithm) {
    if (auto known = HashAlgorithmAccess::find(algorithm.oid)) {
        return *std::move(known);
    }
    throw Error(Category::unreachable, "hash_unknown", 0,
                "the record's hash algorithm " + quote_foreign(algorithm.name) +
                    " isn't known here",
                "judge it where it is known");
}

// A response isn't taken for the token that it holds. Throws as the reader of stamps what can't be
// told, and `record_malformed` for all else that is no stamp.
Stamp read_token(ByteView token, std::size_t index) {
    try {
        Stamp stamp = StampAccess::make(StampAccess::read_der(token));
        if (stamp.has_token() && stamp.response().empty()) {
            return stamp;
        }
    } catch (const Error& error) {
        if (error.category() == Category::unreachable) {
            throw; // what nobody signed is damaged: the stamp may be one
        }
    } catch (const ATL::CAtlException&) {
    }
    throw Error(Category::refused, "record_malformed", 0,
                "the evidence record is malformed: its time-stamp " + std::to_string(index + 1) +
                    " is no time-stamp token",
                "get it again from where it came, or from a copy");
}

// The hash of the tree, which is that of the stamp where the record doesn't name one.
AlgorithmInfo algorithm_of(const ArchiveStamp& part, const Stamp& stamp) {
    return part.algorithm.empty() ? stamp.info().token->imprint_algorithm
                                  : algorithm_in(part.algorithm);
}

void check_lengths(const ArchiveStamp& part, const AlgorithmInfo& algorithm, std::size_t index) {
    const auto known = HashAlgorithmAccess::find(algorithm.oid);
    for (const HashList& list : part.tree) {
        for (const ByteView hash : list) {
            // Of an unknown algorithm at least all are of one length.
            const std::size_t wanted = known ? known->size() : part.tree[0][0].size();
            if (hash.size() != wanted) {
                throw Error(Category::refused, "hash_length", 0,
                            "a hash at time-stamp " + std::to_string(index + 1) + " has " +
                                std::to_string(hash.size()) + " bytes, not the " +
                                std::to_string(wanted) + " of " + quote_foreign(algorithm.name),
                            "don't trust this record: hashes of other lengths can hide others");
            }
        }
    }
}

EvidenceInfo info_of(const RecordParts& parts) {
    EvidenceInfo info;
    info.algorithms = algorithms_in(parts.algorithms);
    info.encrypted = !parts.encryption_info.empty();
    for (std::size_t chain = 0; chain < parts.chains.size(); ++chain) {
        for (const ArchiveStamp& part : parts.chains[chain].stamps) {
            const std::size_t index = info.stamps.size();
            Stamp stamp = read_token(part.token, index);
            AlgorithmInfo algorithm = algorithm_of(part, stamp);
            check_lengths(part, algorithm, index);
            ArchiveStampInfo one{chain, std::move(stamp), std::move(algorithm), {}};
            for (const HashList& list : part.tree) {
                one.lists.push_back(list.size());
            }
            if (index != 0 && info.stamps.back().chain == chain &&
                info.stamps.back().algorithm.oid != one.algorithm.oid) {
                throw Error(Category::refused, "algorithms_differ", 0,
                            "the time-stamps " + std::to_string(index) + " and " +
                                std::to_string(index + 1) +
                                " are of one chain and use different hashes",
                            "don't trust this record");
            }
            info.stamps.push_back(std::move(one));
        }
    }
    return info;
}

Error not_a_record(ByteView bytes) {
    return Error(Category::refused, "not_a_record", 0,
                 "the bytes are not an evidence record but " + describe_bytes(bytes),
                 "check the file");
}

} // namespace

EvidenceRecord RecordAccess::make(Bytes der) {
    auto content = std::make_shared<Content>();
    content->der = std::move(der);
    content->parts = read_parts(content->der);
    content->info = info_of(content->parts);
    return EvidenceRecord(std::move(content));
}

std::size_t RecordAccess::first_of_last_chain(const EvidenceRecord& record) {
    const auto& stamps = record.info().stamps;
    std::size_t index = stamps.size() - 1;
    while (index != 0 && stamps[index - 1].chain == stamps[index].chain) {
        --index;
    }
    return index;
}

EvidenceRecord EvidenceRecord::read(ByteView bytes) {
    return guarded("read the evidence record", [&] {
        Unarmored form = unarmor(bytes);
        // One that is cut short or too long has no kind; it is told what it lacks by the reader.
        const Kind kind = kind_of(form.der);
        if (kind != Kind::evidence_record && kind != Kind::unknown_der) {
            throw not_a_record(bytes);
        }
        try {
            return RecordAccess::make(std::move(form.der));
        } catch (const Error& error) {
            throw kind == Kind::unknown_der && error.word() == "record_malformed"
                ? not_a_record(bytes)
                : error;
        }
    });
}

EvidenceRecord EvidenceRecord::read_file(const std::filesystem::path& path) {
    return read(chronoseal::read_file(path, kMostRecordBytes));
}

EvidenceRecord EvidenceRecord::of_stamp(const Stamp& stamp) {
    return guarded("make an evidence record", [&] {
        if (!stamp.has_token()) {
            throw error_of_code(Halcyon::PKI::TSP::Client::kResultNoStamp,
                                "make an evidence record");
        }
        const std::string& oid = stamp.info().token->imprint_algorithm.oid;
        const Bytes algorithms = der_element(der_tag::kSequence, {hash_identifier(oid)});
        const Bytes chain = chain_der({stamp_der({}, {}, {}, token_der(stamp.token()))});
        return RecordAccess::make(record_der({algorithms, {}, {}, {}}, {chain}));
    });
}

const EvidenceInfo& EvidenceRecord::info() const noexcept {
    return content_->info;
}

const Bytes& EvidenceRecord::der() const noexcept {
    return content_->der;
}

std::vector<HashAlgorithm> EvidenceRecord::data_algorithms() const {
    std::vector<HashAlgorithm> result;
    for (const ArchiveStampInfo& stamp : info().stamps) {
        const bool known = std::ranges::any_of(
            result, [&](const HashAlgorithm& one) { return one.oid() == stamp.algorithm.oid; });
        if (!known) {
            result.push_back(known_hash(stamp.algorithm));
        }
    }
    return result;
}

HashAlgorithm EvidenceRecord::renewal_algorithm() const {
    return known_hash(info().stamps.back().algorithm);
}

bool EvidenceRecord::operator==(const EvidenceRecord& other) const noexcept {
    return der() == other.der();
}

} // namespace chronoseal
