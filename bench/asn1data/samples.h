// What the codec benchmarks work on: a certificate of about 1.5 KB, lists of any length, and a
// signed message of about 4 KB, made with OpenSSL once for each run. They abort when OpenSSL can't.
#pragma once

#include <vector>

namespace samples {

using Bytes = std::vector<unsigned char>;

const Bytes& certificate();
Bytes certificate_list(int entries);
const Bytes& signed_message();

} // namespace samples
