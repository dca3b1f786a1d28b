// Reading files of certificates.
#include <basalt/store/object_file.h>

#include <basalt/certificate/body_cache.h>
#include <basalt/coding/der_writer.h>
#include <basalt/coding/revocation_values.h>
#include <basalt/coding/signed_message.h>
#include <basalt/sup/pem_text.h>

#include <openssl/evp.h>

#include <algorithm>
#include <cerrno>

namespace basalt {
namespace {

constexpr std::int64_t kMaxFileSize = std::int64_t{256} << 20;

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

bool load_block(MemoryStore& store, const PemText& block) {
    const std::string decoded = from_base64(block.base64);
    const Bytes bytes = bytes_of(decoded);
    try {
        if (block.label == "CERTIFICATE" || block.label == "X509 CERTIFICATE") {
            store.load(body_of(bytes), {});
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

std::optional<std::string> read_file(const Descriptor& file, const struct stat& status) {
    if (!S_ISREG(status.st_mode) || status.st_size > kMaxFileSize) {
        errno = S_ISREG(status.st_mode) ? EFBIG : EINVAL;
        return std::nullopt;
    }
    std::string contents;
    contents.reserve(static_cast<std::size_t>(status.st_size));
    if (const int error = read_whole(file.get(), kMaxFileSize, contents); error != 0) {
        errno = error;
        return std::nullopt;
    }
    return contents;
}

std::optional<std::string> read_file(const std::string& path) {
    Descriptor file;
    struct stat status {};
    if (const int error = open_file(path, file, status); error != 0) {
        errno = error;
        return std::nullopt;
    }
    return read_file(file, status);
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
        attempt([&] { store.load(body_of(certificate), {}); });
    }
    const auto load_list = [&](Bytes list) {
        attempt([&] { store.load(std::make_shared<CrlBody>(list)); });
    };
    const auto load_answer = [&](Bytes answer) {
        if (is_ocsp_response(answer)) {
            store.load_ocsp(answer);
        }
    };
    std::for_each(message.crls().begin(), message.crls().end(), load_list);
    std::for_each(message.ocsp_responses().begin(), message.ocsp_responses().end(), load_answer);
    RevocationValues values; // views into the message
    for (const Bytes encoded : message.signers()) {
        attempt([&] { add_revocation_values(SignerInfo(encoded), values); });
    }
    std::for_each(values.crls.begin(), values.crls.end(), load_list);
    for (const std::string& answer : values.ocsp_responses) {
        load_answer(bytes_of(answer));
    }
}

void load_objects(MemoryStore& store, Bytes contents) {
    PemReader reader(text_of(contents));
    bool loaded = false;
    if (!begins_as_sequence(text_of(contents))) { // else it is what the octets say that it is
        while (const auto block = reader.next()) {
            loaded = load_block(store, *block) || loaded;
        }
    }
    if (loaded || attempt([&] { store.load(std::make_shared<CrlBody>(contents)); }) ||
        attempt([&] { load_signed_data(store, contents); })) {
        return;
    }
    if (is_ocsp_response(contents)) {
        store.load_ocsp(contents);
        return;
    }
    store.load(body_of(contents), {});
}

} // namespace basalt
