// What every test of the client stands on.
#pragma once

#include <memory>
#include <string>

#include <gtest/gtest.h>

#include <chronoseal/client/request.h>
#include <chronoseal/client/stamp.h>
#include <chronoseal/client/testing/authority.h>
#include <chronoseal/client/testing/configuration.h>
#include <chronoseal/client/testing/stores.h>
#include <loopback/loopback_server.h>

namespace Halcyon::PKI::TSP::Client::testing {

// The bytes that a getter gives to who has asked for their size.
template <class Object, class Getter>
std::string delivered(Object& object, Getter getter) {
    unsigned long size = 0;
    (object.*getter)(nullptr, &size);
    std::string bytes(size, '\0');
    (object.*getter)(reinterpret_cast<unsigned char*>(bytes.data()), &size);
    return bytes;
}

// The code that an import ends with; 0: it is taken.
inline std::uint32_t imported(const std::string& der) {
    CStamp stamp;
    return code_of([&] { import(stamp, der); });
}

} // namespace Halcyon::PKI::TSP::Client::testing
