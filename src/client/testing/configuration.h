// The configuration tree of the test program: a file of its own, with the policy read for each
// request, and stores and roots in an empty folder, so that nothing of the machine's is seen or
// touched.
#pragma once

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <basalt/configuration.h>
#include <chronoseal/base/test_code.h>

namespace Halcyon::PKI::TSP::Client::testing {

class Configuration {
public:
    static Configuration& instance() {
        static Configuration configuration;
        return configuration;
    }

    // Replaces the tree by `policy`, lines of the table tsppolicy, and `rest`, whole tables. Under
    // legacy reading the next request sees it.
    void set(const std::string& policy, const std::string& rest = {}, bool legacy = true) {
        const std::string fresh = path_ + ".new";
        std::ofstream(fresh) << "[config.cades.tsppolicy]\n"
                             << (legacy ? "LegacyPolicyReading = true\n" : "") << policy << '\n'
                             << rest << '\n';
        std::rename(fresh.c_str(), path_.c_str());
        support_registry_refresh();
    }
    void set_raw(const std::string& text) {
        std::ofstream(path_) << text;
        support_registry_refresh();
    }

    const std::string& folder() const { return folder_; }

private:
    Configuration() {
        ::umask(S_IWGRP | S_IWOTH); // configuration that others may write to is refused
        std::string pattern = ::testing::TempDir() + "chronoseal-client-XXXXXX";
        folder_ = ::mkdtemp(pattern.data());
        path_ = folder_ + "/config.toml";
        ::setenv("BASALT_CONFIG", path_.c_str(), 1);
        ::setenv("BASALT_USER_STORES", (folder_ + "/user").c_str(), 1);
        ::setenv("BASALT_MACHINE_STORES", (folder_ + "/machine").c_str(), 1);
        ::setenv("BASALT_SYSTEM_ROOTS", (folder_ + "/roots.pem").c_str(), 1);
        set({});
    }
    ~Configuration() {
        const std::string command = "rm -rf '" + folder_ + "'";
        [[maybe_unused]] const int result = std::system(command.c_str());
    }

    std::string folder_;
    std::string path_;
};

} // namespace Halcyon::PKI::TSP::Client::testing
