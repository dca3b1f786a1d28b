// Reading files of certificates.
#include "basalt20/store/object_file.h"

#include "basalt20/coding/der_writer.h"
#include "basalt20/coding/signed_message.h"

#include <openssl/evp.h>

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace basalt {
namespace {

constexpr off_t kMaxFileSize = off_t{256} << 20;
constexpr std::string_view kBegin = "-----BEGIN ";
constexpr std::string_view kDashes = "-----";

class Descriptor {
public:
    explicit Descriptor(int number) : number_(number) {}
    ~Descriptor() {
        if (number_ >= 0) {
            const int kept = errno;
            close(number_);
            errno = kept;
        }
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    int number() const { return number_; }

private:
    int number_;
};

struct PemBlock {
    std::string_view label;
    std::string bytes;
};

std::string from_base64(std::string_view text) {
    std::string kept;
    kept.reserve(text.size());
    for (const char c : text) {
        if (c != '\r' && c != '\n' && c != ' ' && c != '\t') {
            kept.push_back(c);
        }
    }
    if (kept.empty() || kept.size() % 4 != 0 || kept.size() > 0x7FFFFFFF) {
        return {};
    }
    const std::size_t padding = kept.ends_with("==") ? 2 : kept.ends_with('=') ? 1 : 0;
    std::string out(kept.size() / 4 * 3, '\0');
    const int size = EVP_DecodeBlock(reinterpret_cast<unsigned char*>(out.data()),
                                     reinterpret_cast<const unsigned char*>(kept.data()),
                                     static_cast<int>(kept.size()));
    if (size < 0) {
        return {};
    }
    out.resize(static_cast<std::size_t>(size) - padding);
    return out;
}

// The next PEM block (RFC 7468) of `text`, which is cut down to what lies behind it.
std::optional<PemBlock> next_pem_block(std::string_view& text) {
    while (true) {
        const std::size_t begin = text.find(kBegin);
        if (begin == std::string_view::npos) {
            return std::nullopt;
        }
        text.remove_prefix(begin + kBegin.size());
        const std::size_t label_end = text.find(kDashes);
        if (label_end == std::string_view::npos) {
            return std::nullopt;
        }
        const std::string_view label = text.substr(0, label_end);
        text.remove_prefix(label_end + kDashes.size());
        const std::size_t body_end = text.find("-----END ");
        if (body_end == std::string_view::npos) {
            return std::nullopt;
        }
        const std::string_view body = text.substr(0, body_end);
        text.remove_prefix(body_end);
        if (label.find('\n') == std::string_view::npos) {
            return PemBlock{label, from_base64(body)};
        }
    }
}

bool load_block(MemoryStore& store, const PemBlock& block) {
    const Bytes bytes = bytes_of(block.bytes);
    try {
        if (block.label == "CERTIFICATE" || block.label == "X509 CERTIFICATE") {
            store.load(std::make_shared<CertificateBody>(bytes), {});
        } else if (block.label == "X509 CRL") {
            store.load(std::make_shared<CrlBody>(bytes));
        } else if (block.label == "OCSP RESPONSE" && is_ocsp_response(bytes)) {
            store.load_ocsp(bytes);
        } else if (block.label == "PKCS7" || block.label == "CMS") {
            load_signed_data(store, bytes);
        } else {
            return false;
        }
        return true;
    } catch (const Fault&) {
        return false;
    }
}

template <class Load>
bool attempt(Load&& load) {
    try {
        load();
        return true;
    } catch (const Fault&) {
        return false;
    }
}

} // namespace

DWORD error_of_errno(int error) {
    switch (error) {
    case ENOENT:
    case ENOTDIR:
        return ERROR_FILE_NOT_FOUND;
    case EACCES:
    case EPERM:
    case EROFS:
        return E_ACCESSDENIED;
    case ENOMEM:
        return E_OUTOFMEMORY;
    default:
        return CRYPT_E_FILE_ERROR;
    }
}

std::optional<std::string> read_file(const std::string& path) {
    const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat status {};
    if (file.number() < 0 || fstat(file.number(), &status) != 0) {
        return std::nullopt;
    }
    if (!S_ISREG(status.st_mode) || status.st_size > kMaxFileSize) {
        errno = S_ISREG(status.st_mode) ? EFBIG : EINVAL;
        return std::nullopt;
    }
    std::string contents(static_cast<std::size_t>(status.st_size), '\0');
    std::size_t filled = 0;
    while (filled < contents.size()) {
        const ssize_t got = read(file.number(), contents.data() + filled, contents.size() - filled);
        if (got < 0 && errno != EINTR) {
            return std::nullopt;
        }
        if (got == 0) {
            break;
        }
        filled += got > 0 ? static_cast<std::size_t>(got) : 0;
    }
    contents.resize(filled);
    return contents;
}

bool is_ocsp_response(Bytes bytes) {
    return attempt([&] {
        DerReader response(sole_element(bytes, tag::kSequence).contents);
        response.take(tag::kEnumerated);
        response.take_if(tag::context_constructed(0));
        response.expect_end();
    });
}

void load_signed_data(MemoryStore& store, Bytes contents) {
    const SignedMessage message(contents, false);
    for (const Bytes certificate : message.certificates()) {
        attempt([&] { store.load(std::make_shared<CertificateBody>(certificate), {}); });
    }
    for (const Bytes list : message.crls()) {
        attempt([&] { store.load(std::make_shared<CrlBody>(list)); });
    }
}

void load_objects(MemoryStore& store, Bytes contents) {
    std::string_view text = text_of(contents);
    bool loaded = false;
    while (const auto block = next_pem_block(text)) {
        loaded = load_block(store, *block) || loaded;
    }
    if (loaded || attempt([&] { store.load(std::make_shared<CrlBody>(contents)); }) ||
        attempt([&] { load_signed_data(store, contents); })) {
        return;
    }
    if (is_ocsp_response(contents)) {
        store.load_ocsp(contents);
        return;
    }
    store.load(std::make_shared<CertificateBody>(contents), {});
}

} // namespace basalt
