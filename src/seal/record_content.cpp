// Reading by the run-time's readers, whose bounds on nesting hold here too. That the bytes are DER
// is seen by writing the frame again: it has to come out the same.
#include <chronoseal/seal/record_content.h>

#include <algorithm>

#include <chronoseal/base/atl_exception.h>
#include <chronoseal/core/element_reader.h>
#include <chronoseal/seal/certificate_info.h>
#include <chronoseal/seal/der_element.h>
#include <chronoseal/seal/der_writer.h>
#include <chronoseal/seal/platform_text.h>
#include <chronoseal/seal/repeated_hash.h>

namespace chronoseal {

namespace {

using Halcyon::PKI::TSP::contents_of;
using Halcyon::PKI::TSP::Element;
using Halcyon::PKI::TSP::ElementReader;
using Halcyon::PKI::TSP::kContextByte0;
using Halcyon::PKI::TSP::kContextTag0;
using Halcyon::PKI::TSP::kSequenceTag;

constexpr unsigned char kOctetStringByte = 0x04;
constexpr unsigned kVersion = 1;

Error malformed(const std::string& what) {
    return Error(Category::refused, "record_malformed", 0,
                 "the evidence record is malformed: " + what,
                 "get it again from where it came, or from a copy");
}

Error too_large(const std::string& what) {
    return Error(Category::refused, "record_too_large", 0, "the evidence record has " + what,
                 "don't use it: honest records are far smaller");
}

ByteView view(Element element) {
    return view_of(element.data(), element.size());
}

// Reads one record, front to back.
class RecordReader {
public:
    explicit RecordReader(ByteView der) : reader_({octets(der), der.size()}) {}

    RecordParts read() {
        RecordParts parts;
        const auto record = reader_.enter(kSequenceTag);
        const auto version = contents_of(reader_.element(), Halcyon::PKI::TSP::kIntegerByte);
        if (!version || version->size() != 1 || version->front() != kVersion) {
            throw malformed("its version isn't 1");
        }
        parts.algorithms = view(reader_.element());
        if (reader_.at(kContextByte0)) {
            parts.crypto_infos = view(reader_.element());
        }
        if (reader_.at(kContextByte0 + 1)) {
            parts.encryption_info = view(reader_.element());
        }
        const auto chains = reader_.enter(kSequenceTag);
        while (!reader_.ended(chains)) {
            parts.chains.push_back(read_chain(view(reader_.element())));
        }
        reader_.leave(chains);
        reader_.leave(record);
        if (parts.chains.empty()) {
            throw malformed("there is no time-stamp in it");
        }
        return parts;
    }

private:
    ArchiveChain read_chain(ByteView der) {
        ArchiveChain chain{der, {}};
        ElementReader reader({octets(der), der.size()});
        const auto stamps = reader.enter(kSequenceTag);
        while (!reader.ended(stamps)) {
            if (++stamps_ > kMostStamps) {
                throw too_large("more than 1,000 time-stamps");
            }
            chain.stamps.push_back(read_stamp(view(reader.element())));
        }
        reader.leave(stamps);
        if (chain.stamps.empty()) {
            throw malformed("a chain in it is empty");
        }
        return chain;
    }

    static ArchiveStamp read_stamp(ByteView der) {
        ArchiveStamp stamp;
        stamp.der = der;
        ElementReader reader({octets(der), der.size()});
        const auto fields = reader.enter(kSequenceTag);
        if (reader.at(kContextByte0)) {
            stamp.algorithm = content_of(view(reader.element()));
            if (stamp.algorithm.empty()) {
                throw malformed("a hash algorithm is empty");
            }
        }
        if (reader.at(kContextByte0 + 1)) {
            stamp.attributes = view(reader.element());
        }
        if (reader.at(kContextByte0 + 2)) {
            read_tree(reader, stamp);
        }
        stamp.token = view(reader.element());
        reader.leave(fields);
        return stamp;
    }

    static void read_tree(ElementReader& reader, ArchiveStamp& stamp) {
        const auto tree = reader.enter(kContextTag0 + 2);
        while (!reader.ended(tree)) {
            if (stamp.tree.size() == kMostLists) {
                throw too_large("more than 64 lists of hashes in a tree");
            }
            HashList& list = stamp.tree.emplace_back();
            const auto hashes = reader.enter(kSequenceTag);
            while (!reader.ended(hashes)) {
                if (list.size() == kMostHashes) {
                    throw too_large("more than 1,000,000 hashes in a list");
                }
                const auto hash = contents_of(reader.element(), kOctetStringByte);
                if (!hash) {
                    throw malformed("a hash in it is no octet string");
                }
                list.push_back(view(*hash));
            }
            reader.leave(hashes);
            if (list.empty()) {
                throw malformed("a list of hashes in it is empty");
            }
        }
        reader.leave(tree);
        if (stamp.tree.empty()) {
            throw malformed("a tree of hashes in it is empty");
        }
    }

    static ByteView content_of(ByteView element) {
        const auto read = DerReader(element).next();
        return read ? read->content : ByteView{};
    }

    ElementReader reader_;
    std::size_t stamps_ = 0;
};

void check_is_der(const RecordParts& parts, ByteView der) {
    std::vector<Bytes> chains;
    for (const ArchiveChain& chain : parts.chains) {
        std::vector<Bytes> stamps;
        for (const ArchiveStamp& stamp : chain.stamps) {
            stamps.push_back(stamp_der(stamp.algorithm, stamp.attributes, stamp.tree, stamp.token));
        }
        chains.push_back(chain_der({stamps.begin(), stamps.end()}));
    }
    if (!same(record_der(parts, {chains.begin(), chains.end()}), der)) {
        throw malformed("it isn't encoded by the distinguished rules, over which its hashes are");
    }
}

} // namespace

RecordParts read_parts(ByteView der) {
    if (der.size() > kMostRecordBytes) {
        throw too_large("more than 256 MiB");
    }
    try {
        RecordParts parts = RecordReader(der).read();
        check_is_der(parts, der);
        return parts;
    } catch (const ATL::CAtlException&) {
        throw malformed("an element can't be read");
    }
}

Bytes hash_identifier(const std::string& oid) {
    return der_element(der_tag::kSequence, {der_oid(oid)});
}

void append_list(Bytes& target, std::span<const ByteView> hashes) {
    std::size_t length = 0;
    for (const ByteView hash : hashes) {
        length += der_size(hash.size());
    }
    append_head(target, der_tag::kSequence, length);
    for (const ByteView hash : hashes) {
        append_element(target, der_tag::kOctetString, hash);
    }
}

Bytes stamp_der(ByteView algorithm, ByteView attributes, const std::vector<HashList>& tree,
                ByteView token) {
    Bytes content;
    if (!algorithm.empty()) {
        append_element(content, der_tag::kContext0, algorithm);
    }
    append(content, attributes);
    Bytes lists;
    for (const HashList& list : tree) {
        append_list(lists, list);
    }
    if (!tree.empty()) {
        append_element(content, der_tag::kContext0 + 2, lists);
    }
    append(content, token);
    return der_element(der_tag::kSequence, {content});
}

Bytes chain_der(const std::vector<ByteView>& stamps) {
    Bytes content;
    for (const ByteView stamp : stamps) {
        append(content, stamp);
    }
    return der_element(der_tag::kSequence, {content});
}

Bytes sequence_der(const std::vector<ByteView>& chains) {
    return chain_der(chains);
}

Bytes record_der(const RecordParts& frame, const std::vector<ByteView>& chains) {
    constexpr std::byte kVersionDer[] = {std::byte{der_tag::kInteger}, std::byte{1},
                                         std::byte{kVersion}};
    return der_element(der_tag::kSequence, {kVersionDer, frame.algorithms, frame.crypto_infos,
                                            frame.encryption_info, sequence_der(chains)});
}

Bytes with_algorithm(ByteView algorithms, const std::string& oid) {
    for (const AlgorithmInfo& one : algorithms_in(algorithms)) {
        if (one.oid == oid) {
            return copy_of(algorithms);
        }
    }
    const auto element = DerReader(algorithms).next(der_tag::kSequence);
    return der_element(der_tag::kSequence,
                       {element ? element->content : ByteView{}, hash_identifier(oid)});
}

std::vector<AlgorithmInfo> algorithms_in(ByteView element) {
    const auto list = DerReader(element).next(der_tag::kSequence);
    if (!list) {
        throw malformed("it has no list of algorithms");
    }
    std::vector<AlgorithmInfo> result;
    DerReader reader(list->content);
    while (!reader.done()) {
        const auto one = reader.next(der_tag::kSequence);
        if (!one || result.size() == kMostStamps) {
            throw malformed("its list of algorithms can't be read");
        }
        result.push_back(algorithm_in(one->content));
    }
    return result;
}

AlgorithmInfo algorithm_in(ByteView content) {
    DerReader reader(content);
    const auto oid = reader.next(der_tag::kObjectIdentifier);
    const auto parameters = reader.next();
    const std::string dotted = oid ? dotted_oid(oid->content) : "";
    if (dotted.empty() || !reader.done()) {
        throw malformed("a hash algorithm can't be read");
    }
    return algorithm_info(dotted, parameters ? parameters->whole : ByteView{});
}

} // namespace chronoseal
