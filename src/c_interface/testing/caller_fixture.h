// For tests of this floor: a caller in C with an authority of its own, and what it needs for a
// sealer and a verifier.
#pragma once

#include <chronoseal/c_interface/testing/handles.h>

namespace chronoseal::testing {

// Each kind of handle by its own function.
struct HandleFree {
    void operator()(chronoseal_sealer* handle) const { chronoseal_sealer_free(&handle); }
    void operator()(chronoseal_verifier* handle) const { chronoseal_verifier_free(&handle); }
    void operator()(chronoseal_stamp* handle) const { chronoseal_stamp_free(&handle); }
    void operator()(chronoseal_verdict* handle) const { chronoseal_verdict_free(&handle); }
    void operator()(chronoseal_inspection* handle) const { chronoseal_inspection_free(&handle); }
    void operator()(chronoseal_hasher* handle) const { chronoseal_hasher_free(&handle); }
    void operator()(chronoseal_stop* handle) const { chronoseal_stop_free(&handle); }
};
template <class T>
using Handle = std::unique_ptr<T, HandleFree>;

class CInterfaceTest : public SealTest {
protected:
    CInterfaceTest() : root(authority.authority().root_der()), roots(source_of(root)) {
        trust.size = sizeof trust;
        trust.roots = &roots;
        trust.root_count = 1;
        url = authority.url();
        rates = folder.path() / "rates";
        options.size = sizeof options;
        options.url = url.c_str();
        options.trust = &trust;
        options.first_wait_ms = 5;
        options.longest_wait_ms = 50;
        options.rate_file = rates.c_str();
    }
    ~CInterfaceTest() override { chronoseal_error_free(&error); }

    Handle<chronoseal_sealer> make_sealer() {
        chronoseal_sealer* handle = nullptr;
        EXPECT_EQ(chronoseal_sealer_new(&options, &handle, &error), CHRONOSEAL_OK) << why();
        return Handle<chronoseal_sealer>(handle);
    }
    Handle<chronoseal_verifier> make_verifier() {
        chronoseal_verifier* handle = nullptr;
        EXPECT_EQ(chronoseal_verifier_new(&trust, &handle, &error), CHRONOSEAL_OK) << why();
        return Handle<chronoseal_verifier>(handle);
    }
    Handle<chronoseal_stamp> read(const std::string& bytes) {
        chronoseal_stamp* handle = nullptr;
        EXPECT_EQ(chronoseal_stamp_read(bytes.data(), bytes.size(), &handle, &error), CHRONOSEAL_OK)
            << why();
        return Handle<chronoseal_stamp>(handle);
    }
    std::string token(const tsp::TstInfo& info = {}, const tsp::Signing& signing = {}) {
        return authority.authority().token(info.encode(), signing);
    }
    std::string why() const { return chronoseal_error_message(error); }
    std::string word() const { return chronoseal_error_word(error); }

    LiveAuthority authority;
    std::string root, url, rates;
    chronoseal_source roots{};
    chronoseal_trust trust{};
    chronoseal_sealer_options options{};
    chronoseal_error* error = nullptr;
};

} // namespace chronoseal::testing
