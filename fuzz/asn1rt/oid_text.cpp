// Text to object identifier: against a plain reading by strtoul, back to text, and the encoding
// against OpenSSL's. Aborts on a difference.
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include <openssl/objects.h>

#include <chronoseal/asn1rt/context.h>
#include <chronoseal/asn1rt/encode.h>
#include <chronoseal/asn1rt/object_identifier.h>

namespace {

void require(bool condition) {
    if (!condition) {
        std::abort();
    }
}

bool reference(const std::string& text, std::vector<std::uint32_t>& arcs) {
    const char* at = text.c_str();
    for (;;) {
        char* end = nullptr;
        const unsigned long value = std::strtoul(at, &end, 10);
        const std::string piece(at, static_cast<const char*>(end));
        if (end == at || value > 0xFFFFFFFF || arcs.size() == 128 ||
            (value == 0xFFFFFFFF && piece != "4294967295")) {
            return false;
        }
        arcs.push_back(static_cast<std::uint32_t>(value));
        if (*end != '.') {
            return *end == '\0';
        }
        at = end + 1;
    }
}

void check_encoding(const ASN1OBJID& oid, const std::string& text) {
    ASN1CTXT ctxt;
    require(rtInitContext(&ctxt, nullptr) == 0 && xe_setp(&ctxt, nullptr, 0) == 0);
    const int length = xe_objid(&ctxt, &oid, 0);
    if (length > 0) {
        ASN1_OBJECT* object = OBJ_txt2obj(text.c_str(), 1);
        require(object != nullptr && OBJ_length(object) == static_cast<std::size_t>(length));
        require(std::memcmp(OBJ_get0_data(object), xe_getp(&ctxt), OBJ_length(object)) == 0);
        ASN1_OBJECT_free(object);
    }
    rtFreeContext(&ctxt);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    const std::string input(reinterpret_cast<const char*>(data), size);
    const std::string text = input.c_str(); // up to the first zero byte
    ASN1OBJID oid;
    std::vector<std::uint32_t> arcs;
    const bool taken = rtStrToOid(text.c_str(), &oid) != 0;
    require(taken == reference(text, arcs));
    if (!taken) {
        return 0;
    }
    require(oid.numids == arcs.size() &&
            std::memcmp(oid.subid, arcs.data(), arcs.size() * sizeof arcs[0]) == 0);

    std::vector<char> out(rtOidToStrLen(&oid) + 1);
    require(rtOidToStr(&oid, out.data(), static_cast<std::uint32_t>(out.size())) == 1);
    require(std::strlen(out.data()) + 1 == out.size());
    std::vector<char> small(out.size() - 1);
    require(rtOidToStr(&oid, small.data(), static_cast<std::uint32_t>(small.size())) == 0);
    ASN1OBJID again;
    require(rtStrToOid(out.data(), &again) == 1 && again == oid);
    check_encoding(oid, out.data());
    return 0;
}
