#include <basalt/certificate/extended_key_usage.h>

namespace basalt {

// What stands behind the sequence is passed over, as OpenSSL does.
bool names_usage(Bytes extension, Bytes usage) try {
    for (DerReader reader(DerReader(extension).take(tag::kSequence).contents); !reader.at_end();) {
        if (same_bytes(reader.take(tag::kOid).contents, usage)) {
            return true;
        }
    }
    return false;
} catch (const Fault&) {
    return false;
}

} // namespace basalt
