// Many threads on one handle, and threads that are cancelled.
#include <atomic>
#include <thread>

#include <pthread.h>

#include <chronoseal/c_interface/testing/caller_fixture.h>

namespace chronoseal::testing {
namespace {

TEST_F(CInterfaceTest, ManyThreadsUseOneOfEach) {
    const auto sealer = made<chronoseal_sealer_new>(options);
    const auto verifier = made<chronoseal_verifier_new>(trust);
    const auto stamp = made<chronoseal_stamp_read>(token());
    std::vector<std::jthread> threads;
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([&] {
            Caller own;
            const chronoseal_stamp_info* info = nullptr;
            chronoseal_stamp* got = nullptr;
            EXPECT_EQ(own.says<chronoseal_stamp_get_info>(stamp, &info), "");
            EXPECT_EQ(own.says<chronoseal_verify>(verifier, stamp, "data", 4, nullptr), "");
            EXPECT_EQ(own.says<chronoseal_seal>(sealer, "data", 4, nullptr, &got), "");
            chronoseal_stamp_free(&got);
        });
    }
}

struct CancelledThread {
    Handle<chronoseal_sealer> sealer;
    std::atomic<bool> returned = false;
    chronoseal_status status = CHRONOSEAL_MISUSE;
};

void seal_once(CancelledThread& thread) {
    chronoseal_stamp* stamp = nullptr;
    thread.status = chronoseal_seal(thread.sealer.get(), "data", 4, nullptr, &stamp, nullptr);
    chronoseal_stamp_free(&stamp);
    thread.returned = true;
}

// Has no locals of its own: the address sanitizer takes those of a cancelled thread for alive.
void* seal_and_be_cancelled(void* user) {
    seal_once(*static_cast<CancelledThread*>(user));
    pthread_testcancel();
    return nullptr;
}

// A thread that is cancelled within a call ends after it: unwinding through the library would end
// the program.
TEST_F(CInterfaceTest, ACancelledThreadFinishesItsCall) {
    std::atomic<bool> asked = false;
    LiveAuthority slow([&](const tsp::Authority& by, const std::string& request) {
        asked = true;
        LoopbackReply reply = http_reply(200, by.answer(body_of(request)));
        reply.delay = std::chrono::milliseconds(100);
        return reply;
    });
    root = slow.authority().root_der();
    roots = source_of(root);
    url = slow.url();
    options.url = url.c_str();
    CancelledThread state;
    state.sealer = made<chronoseal_sealer_new>(options);
    pthread_t thread{};
    ASSERT_EQ(pthread_create(&thread, nullptr, seal_and_be_cancelled, &state), 0);
    while (!asked) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    EXPECT_EQ(pthread_cancel(thread), 0);
    void* result = nullptr;
    EXPECT_EQ(pthread_join(thread, &result), 0);
    EXPECT_EQ(result, PTHREAD_CANCELED);
    EXPECT_TRUE(state.returned);
    EXPECT_EQ(state.status, CHRONOSEAL_OK);
}

} // namespace
} // namespace chronoseal::testing
