// Lists of hashes, line by line, by callbacks.
#include <optional>
#include <utility>

#include <chronoseal/c_interface/call.h>
#include <chronoseal/c_interface/view.h>
#include <chronoseal/c_interface/watch.h>
#include <chronoseal/evidence.hpp>

using namespace chronoseal;
using namespace chronoseal::c_interface;

struct chronoseal_manifest_reader {
    std::optional<ManifestReader> reader; // none once it is finished or has failed
};

namespace {

using Each = int (*)(void* user, const chronoseal_manifest_line* line);

constexpr std::uint32_t kCancelled = 0x800704C7;

ManifestReader::OnLine on_line_of(Each each, void* user) {
    if (each == nullptr) {
        return {};
    }
    return [each, user](const ManifestLine& line) {
        const std::string shown = quote_foreign(line.name);
        const auto bytes = [](const void* data, std::size_t size) {
            return chronoseal_bytes{static_cast<const unsigned char*>(data), size};
        };
        const chronoseal_manifest_line view{
            line.number, line.algorithm.name().c_str(),
            bytes(line.digest.data(), line.digest.size()),
            bytes(line.name.empty() ? nullptr : line.name.data(), line.name.size()), shown.c_str()};
        if (each(user, &view) != 0) {
            throw error_of_code(kCancelled, "read the list");
        }
    };
}

void give(const ManifestInfo& info, chronoseal_digest& list, std::uint64_t& lines) {
    list = digest_of(info.digest);
    lines = info.lines;
}

// What a reader does once it is known to go on: a failure is its end.
template <class Step>
auto go_on(chronoseal_manifest_reader* handle, Step&& step) {
    auto& running = needed(handle, "reader").reader;
    if (!running) {
        throw Error(Category::misuse, "manifest_finished", 0, "the list is finished or has failed",
                    "make a reader for each list");
    }
    ManifestReader reader = std::exchange(running, std::nullopt).value();
    return step(reader);
}

} // namespace

chronoseal_status chronoseal_manifest_read(const char* path, Each each, void* user,
                                           const chronoseal_control* control,
                                           chronoseal_digest* list, uint64_t* lines,
                                           chronoseal_error** error) {
    return call(error, [&] {
        auto& digest = emptied(list, "list");
        auto& count = emptied(lines, "lines");
        Watch watch(control);
        give(read_manifest(needed_text(path, "path"), on_line_of(each, user), watch.progress(),
                           watch.stop()),
             digest, count);
        return CHRONOSEAL_OK;
    });
}

chronoseal_status chronoseal_manifest_reader_new(Each each, void* user,
                                                 chronoseal_manifest_reader** reader,
                                                 chronoseal_error** error) {
    return give_new(reader, "reader", error,
                    [&] { return ManifestReader(on_line_of(each, user)); });
}

chronoseal_status chronoseal_manifest_reader_feed(chronoseal_manifest_reader* reader,
                                                  const void* data, size_t size,
                                                  chronoseal_error** error) {
    return call(error, [&] {
        go_on(reader, [&](ManifestReader& own) {
            own.feed(needed_bytes(data, size, "data"));
            reader->reader.emplace(std::move(own));
        });
        return CHRONOSEAL_OK;
    });
}

chronoseal_status chronoseal_manifest_reader_finish(chronoseal_manifest_reader* reader,
                                                    chronoseal_digest* list, uint64_t* lines,
                                                    chronoseal_error** error) {
    return call(error, [&] {
        auto& digest = emptied(list, "list");
        auto& count = emptied(lines, "lines");
        go_on(reader, [&](ManifestReader& own) { give(own.finish(), digest, count); });
        return CHRONOSEAL_OK;
    });
}

void chronoseal_manifest_reader_free(chronoseal_manifest_reader** reader) {
    release(reader);
}

chronoseal_status chronoseal_manifest_write_line(const chronoseal_digest* digest, const void* name,
                                                 size_t name_size, unsigned char** line,
                                                 size_t* size, chronoseal_error** error) {
    return call(error, [&] {
        auto& place = emptied(line, "line");
        auto& place_size = emptied(size, "size");
        const ByteView bytes = needed_bytes(name, name_size, "name");
        const std::string text = manifest_line(
            digest_of(digest),
            std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size()));
        const ByteView written = bytes_of(text);
        hand_over(Bytes(written.begin(), written.end()), &place, &place_size);
        return CHRONOSEAL_OK;
    });
}
