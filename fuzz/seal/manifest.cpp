// Lists of hashes: pieces of any size make no difference, and what is read is written again so that
// it is read as the same.
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include <chronoseal/evidence.hpp>

namespace {

void require(bool condition) {
    if (!condition) {
        std::abort();
    }
}

struct Read {
    bool operator==(const Read&) const = default;

    std::string word;
    std::vector<std::string> lines;
    std::string digest;
};

Read read(chronoseal::ByteView list, std::size_t piece) {
    Read result;
    try {
        chronoseal::ManifestReader reader([&](const chronoseal::ManifestLine& line) {
            const chronoseal::Digest digest(line.algorithm,
                                            {line.digest.begin(), line.digest.end()});
            result.lines.push_back(chronoseal::manifest_line(digest, line.name));
        });
        for (std::size_t at = 0; at < list.size(); at += piece) {
            reader.feed(list.subspan(at, std::min(piece, list.size() - at)));
        }
        const auto info = reader.finish();
        require(info.lines == result.lines.size());
        result.digest = chronoseal::to_hex(info.digest.value());
    } catch (const chronoseal::Error& error) {
        require(error.word().starts_with("manifest_"));
        result.word = error.word();
    }
    return result;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto list = std::as_bytes(std::span(data, size));
    const Read whole = read(list, std::max<std::size_t>(size, 1));
    require(read(list, 1 + size / 3) == whole);
    if (size < 4096) {
        require(read(list, 1) == whole);
    }
    if (whole.word.empty()) {
        std::string again;
        for (const std::string& line : whole.lines) {
            again += line;
        }
        require(read(chronoseal::bytes_of(again), 1000).lines == whole.lines);
    }
    return 0;
}
