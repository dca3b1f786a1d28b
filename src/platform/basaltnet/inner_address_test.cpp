// Hosts that lie inside, in every notation, and their neighbours that don't.
#include <basalt/basaltnet/inner_address.h>

#include <arpa/inet.h>
#include <netinet/in.h>

#include <gtest/gtest.h>

#include <cstring>

namespace {

using basalt::is_inner;
using basalt::names_inner_host;

bool is_inner_text(const char* text) {
    sockaddr_storage whole{};
    sockaddr_in ip{};
    sockaddr_in6 ip6{};
    if (inet_pton(AF_INET, text, &ip.sin_addr) == 1) {
        ip.sin_family = AF_INET;
        std::memcpy(&whole, &ip, sizeof ip);
    } else {
        EXPECT_EQ(inet_pton(AF_INET6, text, &ip6.sin6_addr), 1) << text;
        ip6.sin6_family = AF_INET6;
        std::memcpy(&whole, &ip6, sizeof ip6);
    }
    return is_inner(reinterpret_cast<const sockaddr&>(whole));
}

TEST(InnerAddress, FirstAndLastOfEachNetworkAreInsideAndTheirNeighboursOutside) {
    const char* const inside[] = {"0.0.0.0",
                                  "0.255.255.255",
                                  "10.0.0.0",
                                  "10.255.255.255",
                                  "100.64.0.0",
                                  "100.127.255.255",
                                  "127.0.0.1",
                                  "127.255.255.255",
                                  "169.254.169.254",
                                  "172.16.0.0",
                                  "172.31.255.255",
                                  "192.0.0.8",
                                  "192.88.99.1",
                                  "192.168.0.0",
                                  "192.168.255.255",
                                  "198.18.0.0",
                                  "198.19.255.255",
                                  "224.0.0.1",
                                  "240.0.0.1",
                                  "255.255.255.255",
                                  "::",
                                  "::1",
                                  "::7f00:1",
                                  "::ffff:127.0.0.1",
                                  "::ffff:10.1.2.3",
                                  "::ffff:0:127.0.0.1",
                                  "64:ff9b::10.1.2.3",
                                  "64:ff9b:1::a00:1",
                                  "100::1",
                                  "2001::1",
                                  "2001:1ff:ffff::1",
                                  "2001:db8::1",
                                  "5f00::1",
                                  "2002:7f00:1::",
                                  "2002:c0a8:101::1",
                                  "fc00::1",
                                  "fdff::1",
                                  "fe80::1",
                                  "febf::1",
                                  "fec0::1",
                                  "ff02::1"};
    for (const char* inner : inside) {
        EXPECT_TRUE(is_inner_text(inner)) << inner;
    }
    for (const char* outer :
         {"1.0.0.0",         "9.255.255.255",   "11.0.0.0",         "100.63.255.255",
          "100.128.0.0",     "126.255.255.255", "128.0.0.0",        "169.253.255.255",
          "169.255.0.0",     "172.15.255.255",  "172.32.0.0",       "192.0.1.0",
          "192.167.255.255", "192.169.0.0",     "198.17.255.255",   "198.20.0.0",
          "223.255.255.255", "::ffff:1.2.3.4",  "64:ff9b::1.2.3.4", "2002:102:304::1",
          "2606:4700::1111", "fbff::1",         "64:ff9b:2::1",     "100:0:0:1::1",
          "2001:200::1",     "2001:db9::1",     "5f01::1",          "192.88.98.255"}) {
        EXPECT_FALSE(is_inner_text(outer)) << outer;
    }
    const sockaddr other{AF_UNIX, {}};
    EXPECT_TRUE(is_inner(other));
}

TEST(InnerAddress, HostsAreToldAsTheyAreWritten) {
    for (const char* inner :
         {"http://127.0.0.1/", "http://127.1:8080/x", "http://2130706433/", "http://0x7f.0.0.1/",
          "http://0177.0.0.1/", "https://[::1]/", "http://[::ffff:10.0.0.1]:80/",
          "http://localhost/", "http://LOCALHOST./", "http://a.localhost/", "http://printer/",
          "http://nas.local/", "http://metadata.google.internal/", "http://0/", "http:///x",
          "no address"}) {
        EXPECT_TRUE(names_inner_host(inner)) << inner;
    }
    for (const char* outer : {"http://example.org/ca.cer", "http://1.2.3.4/", "http://16909060/",
                              "https://[2606:4700::1111]:443/", "http://localhost.example.org/"}) {
        EXPECT_FALSE(names_inner_host(outer)) << outer;
    }
}

} // namespace
