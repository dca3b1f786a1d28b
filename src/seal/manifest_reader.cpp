// Lists of hashes, line by line. The form is settled by the first line: line ends, and which hash.
#include <chronoseal/evidence.hpp>

#include <algorithm>
#include <array>
#include <cctype>
#include <cstring>

#include <chronoseal/seal/file_bytes.h>
#include <chronoseal/seal/out_of_memory.h>
#include <chronoseal/seal/platform_text.h>

namespace chronoseal {

namespace {

// No file's name is longer than 4,096 bytes, escaped twice that; the rest is the hash.
constexpr std::size_t kLongestLine = std::size_t{64} << 10;
constexpr std::size_t kLongestComment = std::size_t{1} << 20; // before the first hash

struct KnownHash {
    std::size_t digits;
    const char* name;
    const char* tag; // as --tag writes it
};

constexpr KnownHash kHashes[] = {
    {64, "SHA-256", "SHA256"}, {96, "SHA-384", "SHA384"}, {128, "SHA-512", "SHA512"}};

// Those that people have lists of, and that prove nothing or can't be told by their length.
constexpr KnownHash kRefused[] = {
    {32, "MD5", "MD5"},        {40, "SHA-1", "SHA1"},   {56, "SHA-224", "SHA224"},
    {0, "BLAKE2b", "BLAKE2b"}, {0, "SM3", "SM3"},       {0, "RIPEMD-160", "RMD160"},
    {0, "BLAKE2s", "BLAKE2s"}, {0, "BLAKE3", "BLAKE3"}, {8, "CRC-32", "CRC32"}};

constexpr auto kDigitValues = [] {
    std::array<signed char, 256> values{};
    values.fill(-1);
    for (int i = 0; i < 10; ++i) {
        values[static_cast<std::size_t>('0' + i)] = static_cast<signed char>(i);
    }
    for (int i = 0; i < 6; ++i) {
        values[static_cast<std::size_t>('a' + i)] = static_cast<signed char>(10 + i);
        values[static_cast<std::size_t>('A' + i)] = static_cast<signed char>(10 + i);
    }
    return values;
}();

int digit_value(char c) {
    return kDigitValues[static_cast<unsigned char>(c)];
}

std::size_t leading_digits(std::string_view text) {
    std::size_t count = 0;
    while (count < text.size() && digit_value(text[count]) >= 0) {
        ++count;
    }
    return count;
}

Error refused(std::string_view word, std::uint64_t line, const std::string& text,
              std::string_view advice) {
    return Error(Category::refused, word, 0,
                 "line " + std::to_string(line) + " of the list " + text, std::string(advice));
}

Error bad_line(std::uint64_t line, const std::string& text) {
    return refused("manifest_line", line, text,
                   "make the list by sha256sum, sha384sum or sha512sum, or correct the line");
}

Error too_long(std::uint64_t line) {
    return bad_line(line, "is longer than 64 KiB");
}

constexpr char kOtherHash[] = "make the list by sha256sum, sha384sum or sha512sum";

Error bad_hash(std::uint64_t line, std::string_view name) {
    return refused("manifest_hash", line,
                   "has a hash by " + std::string(name) + ", which isn't taken", kOtherHash);
}

} // namespace

class ManifestReader::Impl {
public:
    explicit Impl(OnLine on_line) : on_line_(std::move(on_line)) {}

    void feed(ByteView piece) {
        if (hasher_) {
            hasher_->update(piece);
        } else {
            keep_unhashed(piece);
        }
        std::string_view text(reinterpret_cast<const char*>(piece.data()), piece.size());
        if (!rest_.empty()) {
            rest_.append(text);
            text = rest_;
        }
        const std::size_t used = take_lines(text, false);
        if (text.size() - used > kLongestLine) {
            throw too_long(lines_read_ + 1);
        }
        rest_ = std::string(text.substr(used));
    }

    ManifestInfo finish() {
        const std::size_t used = take_lines(rest_, true);
        if (used < rest_.size()) {
            take_line(std::string_view(rest_).substr(used));
        }
        if (!known_) {
            throw Error(Category::refused, "manifest_empty", 0, "the list has no line with a hash",
                        "give a list as sha256sum writes it");
        }
        return {*known_, hasher_->finish(), entries_};
    }

    const HashAlgorithm* algorithm() const { return known_ ? &*known_ : nullptr; }

private:
    // Where lines end is known once the first line is there as a whole: names have no NUL, so that
    // one in the first line says that all lines end so (-z).
    bool settle_ends(std::string_view text, bool last) {
        const std::string_view head = text.substr(0, kLongestLine);
        if (head.find('\0') != std::string_view::npos) {
            end_ = '\0';
        } else if (text.size() < kLongestLine && !last) {
            return false;
        } else {
            end_ = '\n';
            const std::size_t at = head.find('\n');
            returns_ = at != std::string_view::npos && at != 0 && head[at - 1] == '\r';
        }
        settled_ = true;
        return true;
    }

    // Until a line tells by which algorithm the list itself is to be hashed.
    void keep_unhashed(ByteView piece) {
        if (unhashed_.size() > kLongestComment) {
            throw bad_line(lines_read_ + 1, "comes after a mebibyte without a hash");
        }
        unhashed_.insert(unhashed_.end(), piece.begin(), piece.end());
    }

    // How much of the text has been taken.
    std::size_t take_lines(std::string_view text, bool last) {
        if (text.empty() || (!settled_ && !settle_ends(text, last))) {
            return 0;
        }
        std::size_t at = 0;
        while (at < text.size()) {
            const void* found = std::memchr(text.data() + at, end_, text.size() - at);
            if (found == nullptr) {
                break;
            }
            const auto end =
                static_cast<std::size_t>(static_cast<const char*>(found) - text.data());
            take_line(text.substr(at, end - at));
            at = end + 1;
        }
        return at;
    }

    void take_line(std::string_view line) {
        ++lines_read_;
        if (line.size() > kLongestLine) {
            throw too_long(lines_read_);
        }
        if (returns_ && line.ends_with('\r')) {
            line.remove_suffix(1);
        }
        if (line.starts_with('#')) { // a comment, for sha256sum as well
            return;
        }
        if (line.find('\0') != std::string_view::npos) {
            throw bad_line(lines_read_, "has a NUL byte in it");
        }
        const bool escaped = end_ == '\n' && line.starts_with('\\');
        if (escaped) {
            line.remove_prefix(1);
        }
        const std::size_t digits = leading_digits(line);
        if (digits == 0 || digits == line.size() || line[digits] != ' ' ||
            !take_plain(line, digits, escaped)) {
            take_tagged(line, digits, escaped);
        }
    }

    // "hash  name" or "hash *name".
    bool take_plain(std::string_view line, std::size_t digits, bool escaped) {
        if (line.size() < digits + 3 || (line[digits + 1] != ' ' && line[digits + 1] != '*')) {
            return false;
        }
        for (const KnownHash& other : kRefused) {
            if (other.digits == digits && digits != 0) {
                throw bad_hash(lines_read_, other.name);
            }
        }
        take_entry(line.substr(0, digits), line.substr(digits + 2), escaped);
        return true;
    }

    // "SHA256 (name) = hash".
    void take_tagged(std::string_view line, std::size_t digits, bool escaped) {
        constexpr std::string_view kOpen = " (", kClose = ") = ";
        const std::size_t open = line.find(kOpen);
        const std::size_t close = line.rfind(kClose);
        if (open == std::string_view::npos || close == std::string_view::npos ||
            close < open + kOpen.size() + 1) {
            throw bad_line(lines_read_, digits == 0
                                            ? "is no hash with a name"
                                            : "has no two blanks and a name after its hash");
        }
        const std::string_view tag = line.substr(0, open);
        for (const KnownHash& other : kRefused) {
            if (tag.starts_with(other.tag)) {
                throw bad_hash(lines_read_, other.name);
            }
        }
        const std::string_view hash = line.substr(close + kClose.size());
        const auto known = std::ranges::find(kHashes, tag, &KnownHash::tag);
        if (known == std::end(kHashes)) {
            throw bad_line(lines_read_, "is no hash with a name");
        }
        if (hash.size() != known->digits || leading_digits(hash) != hash.size()) {
            throw bad_line(lines_read_, std::string("has no hash by ") + known->name);
        }
        take_entry(hash, line.substr(open + kOpen.size(), close - open - kOpen.size()), escaped);
    }

    void take_entry(std::string_view digits, std::string_view name, bool escaped) {
        const auto known = std::ranges::find(kHashes, digits.size(), &KnownHash::digits);
        if (known == std::end(kHashes)) {
            throw bad_line(lines_read_, "begins with " + std::to_string(digits.size()) +
                                            " hexadecimal digits, which no hash taken here has");
        }
        if (!known_) {
            begin(*known);
        } else if (known_->size() * 2 != digits.size()) {
            throw refused("manifest_mixed", lines_read_,
                          std::string("has a hash by ") + known->name + ", and those before by " +
                              known_->name(),
                          "make a list for each hash");
        }
        ++entries_;
        if (!on_line_) {
            return;
        }
        for (std::size_t i = 0; i < digest_.size(); ++i) {
            digest_[i] = static_cast<std::byte>(digit_value(digits[2 * i]) << 4 |
                                                digit_value(digits[2 * i + 1]));
        }
        if (escaped) {
            name_ = unescaped(name);
            name = name_;
        }
        on_line_({lines_read_, *known_, digest_, name});
    }

    void begin(const KnownHash& known) {
        known_ = HashAlgorithm::by_name(known.name);
        digest_.resize(known_->size());
        hasher_.emplace(*known_);
        hasher_->update(unhashed_);
        unhashed_ = {};
    }

    std::string unescaped(std::string_view name) const {
        std::string result;
        for (std::size_t i = 0; i < name.size(); ++i) {
            if (name[i] != '\\') {
                result += name[i];
                continue;
            }
            const char next = ++i < name.size() ? name[i] : '\0';
            switch (next) {
            case '\\':
                result += '\\';
                break;
            case 'n':
                result += '\n';
                break;
            case 'r':
                result += '\r';
                break;
            default:
                throw bad_line(lines_read_, "has an escape in its name that means nothing");
            }
        }
        return result;
    }

    OnLine on_line_;
    std::string rest_; // what no line end has been seen of
    Bytes unhashed_;
    bool settled_ = false;
    bool returns_ = false; // a carriage return stands before each line end
    char end_ = '\n';
    std::uint64_t lines_read_ = 0, entries_ = 0;
    std::optional<HashAlgorithm> known_;
    std::optional<Hasher> hasher_;
    Bytes digest_;
    std::string name_;
};

ManifestReader::ManifestReader(OnLine on_line)
    : impl_(within_memory("read the list",
                          [&] { return std::make_unique<Impl>(std::move(on_line)); })) {}
ManifestReader::ManifestReader(ManifestReader&& other) noexcept = default;
ManifestReader& ManifestReader::operator=(ManifestReader&& other) noexcept = default;
ManifestReader::~ManifestReader() = default;

void ManifestReader::feed(ByteView piece) {
    within_memory("read the list", [&] { held_by(impl_).feed(piece); });
}

ManifestInfo ManifestReader::finish() {
    return within_memory("read the list", [&] { return held_by(impl_).finish(); });
}

const HashAlgorithm* ManifestReader::algorithm() const {
    return held_by(impl_).algorithm();
}

namespace {

ManifestInfo read_pieces(const std::filesystem::path& path, const ManifestReader::OnLine& on_line,
                         const Progress& progress, std::stop_token stop) {
    const FileBytes file(path, std::move(stop));
    ManifestReader reader(on_line);
    const auto named = [&](auto&& call) {
        try {
            return call();
        } catch (const Error& error) {
            if (!error.word().starts_with("manifest_")) {
                throw;
            }
            throw Error(error.category(), error.word(), error.code(),
                        quote_foreign(path.string()) + ": " + error.text(), error.advice());
        }
    };
    Bytes piece(std::size_t{1} << 20);
    std::uint64_t done = 0;
    while (const std::size_t count = file.read(piece)) {
        named([&] { reader.feed(ByteView(piece).first(count)); });
        done += count;
        if (progress) {
            progress(done, file.size());
        }
    }
    return named([&] { return reader.finish(); });
}

} // namespace

ManifestInfo read_manifest(const std::filesystem::path& path, const ManifestReader::OnLine& on_line,
                           const Progress& progress, std::stop_token stop) {
    return within_memory("read the list",
                         [&] { return read_pieces(path, on_line, progress, std::move(stop)); });
}

namespace {

std::string written(const Digest& digest, std::string_view name) {
    const bool odd = name.find_first_of("\n\r\\") != std::string_view::npos;
    std::string line = odd ? "\\" : "";
    line += to_hex(digest.value()) + "  ";
    for (const char c : name) {
        switch (c) {
        case '\n':
            line += "\\n";
            break;
        case '\r':
            line += "\\r";
            break;
        case '\\':
            line += "\\\\";
            break;
        default:
            line += c;
        }
    }
    return line + "\n";
}

} // namespace

std::string manifest_line(const Digest& digest, std::string_view name) {
    return within_memory("write a line", [&] { return written(digest, name); });
}

} // namespace chronoseal
