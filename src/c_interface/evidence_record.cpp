// Evidence records as handles.
#include <chronoseal/c_interface/evidence_record.h>

#include <chronoseal/c_interface/call.h>
#include <chronoseal/c_interface/watch.h>

using namespace chronoseal;
using namespace chronoseal::c_interface;

namespace {

const chronoseal_archive_stamp* view_of(const chronoseal_evidence_record& handle,
                                        const ArchiveStampInfo& stamp) {
    handle.stamps.push_back(std::make_unique<chronoseal_stamp>(stamp.stamp));
    chronoseal_archive_stamp view{};
    view.chain = stamp.chain;
    view.stamp = handle.stamps.back().get();
    view.algorithm = c_interface::view_of(handle.kept, stamp.algorithm);
    view.lists = stamp.lists.empty() ? nullptr : stamp.lists.data();
    view.list_count = stamp.lists.size();
    return handle.kept.value(view);
}

void describe(const chronoseal_evidence_record& handle) {
    handle.stamps.clear(); // of an attempt for which there was no memory
    const EvidenceInfo& info = handle.record.info();
    std::vector<const chronoseal_algorithm*> algorithms;
    for (const AlgorithmInfo& algorithm : info.algorithms) {
        algorithms.push_back(handle.kept.value(c_interface::view_of(handle.kept, algorithm)));
    }
    std::vector<const chronoseal_archive_stamp*> stamps;
    for (const ArchiveStampInfo& stamp : info.stamps) {
        stamps.push_back(view_of(handle, stamp));
    }
    chronoseal_evidence_record_info view{};
    view.algorithm_count = algorithms.size();
    view.algorithms = handle.kept.array(std::move(algorithms));
    view.stamp_count = stamps.size();
    view.stamps = handle.kept.array(std::move(stamps));
    view.encrypted = info.encrypted ? 1 : 0;
    handle.info = handle.kept.value(view);
}

void name_algorithms(const chronoseal_evidence_record& handle) {
    std::vector<std::string> names;
    for (const HashAlgorithm& algorithm : handle.record.data_algorithms()) {
        names.push_back(algorithm.name());
    }
    handle.data_algorithms = handle.kept_names.words(names);
    handle.data_algorithm_count = names.size();
}

} // namespace

chronoseal_status chronoseal_evidence_record_read(const void* data, size_t size,
                                                  chronoseal_evidence_record** record,
                                                  chronoseal_error** error) {
    return call(error, [&] {
        auto*& place = emptied(record, "record");
        place =
            new chronoseal_evidence_record(EvidenceRecord::read(needed_bytes(data, size, "data")));
        return CHRONOSEAL_OK;
    });
}

chronoseal_status chronoseal_evidence_record_read_file(const char* path,
                                                       chronoseal_evidence_record** record,
                                                       chronoseal_error** error) {
    return call(error, [&] {
        auto*& place = emptied(record, "record");
        place =
            new chronoseal_evidence_record(EvidenceRecord::read_file(needed_text(path, "path")));
        return CHRONOSEAL_OK;
    });
}

chronoseal_status chronoseal_evidence_record_of_stamp(const chronoseal_stamp* stamp,
                                                      chronoseal_evidence_record** record,
                                                      chronoseal_error** error) {
    return call(error, [&] {
        auto*& place = emptied(record, "record");
        place =
            new chronoseal_evidence_record(EvidenceRecord::of_stamp(needed(stamp, "stamp").stamp));
        return CHRONOSEAL_OK;
    });
}

chronoseal_status chronoseal_evidence_record_get_info(const chronoseal_evidence_record* record,
                                                      const chronoseal_evidence_record_info** info,
                                                      chronoseal_error** error) {
    return give(info, "info", error, [&] {
        const chronoseal_evidence_record& handle = needed(record, "record");
        handle.info_once([&] { describe(handle); });
        return handle.info;
    });
}

chronoseal_status chronoseal_evidence_record_der(const chronoseal_evidence_record* record,
                                                 chronoseal_bytes* der, chronoseal_error** error) {
    return give(der, "der", error,
                [&] { return c_interface::view_of(needed(record, "record").record.der()); });
}

chronoseal_status
chronoseal_evidence_record_data_algorithms(const chronoseal_evidence_record* record,
                                           const char* const** algorithms, size_t* count,
                                           chronoseal_error** error) {
    return call(error, [&] {
        auto& place = emptied(algorithms, "algorithms");
        auto& number = emptied(count, "count");
        const chronoseal_evidence_record& handle = needed(record, "record");
        handle.names_once([&] { name_algorithms(handle); });
        place = handle.data_algorithms;
        number = handle.data_algorithm_count;
        return CHRONOSEAL_OK;
    });
}

chronoseal_status
chronoseal_evidence_record_renewal_algorithm(const chronoseal_evidence_record* record,
                                             const char** algorithm, chronoseal_error** error) {
    return give(algorithm, "algorithm", error, [&] {
        const chronoseal_evidence_record& handle = needed(record, "record");
        handle.renewal_once(
            [&] { handle.renewal_algorithm = handle.record.renewal_algorithm().name(); });
        return handle.renewal_algorithm.c_str();
    });
}

chronoseal_status chronoseal_evidence_record_hash_file(const chronoseal_evidence_record* record,
                                                       const char* path,
                                                       const chronoseal_control* control,
                                                       chronoseal_digest* digests, size_t room,
                                                       size_t* count, chronoseal_error** error) {
    return call(error, [&] {
        auto& number = emptied(count, "count");
        needed(digests, "digests");
        const EvidenceRecord& of = needed(record, "record").record;
        const std::size_t needs = of.data_algorithms().size();
        if (room < needs) {
            throw Error(Category::misuse, "buffer_too_small", 0,
                        "there is no room in 'digests' for all hashes of the record",
                        "give room for one of each algorithm");
        }
        Watch watch(control);
        const DataDigests found =
            digests_of_file(of, needed_text(path, "path"), watch.progress(), watch.stop());
        for (std::size_t i = 0; i < found.size() && i < room; ++i) {
            digests[i] = digest_of(found[i]);
        }
        number = found.size();
        return CHRONOSEAL_OK;
    });
}

chronoseal_status chronoseal_evidence_record_copy(const chronoseal_evidence_record* record,
                                                  chronoseal_evidence_record** copy,
                                                  chronoseal_error** error) {
    return give_new(copy, "copy", error, [&] { return needed(record, "record").record; });
}

void chronoseal_evidence_record_free(chronoseal_evidence_record** record) {
    release(record);
}
