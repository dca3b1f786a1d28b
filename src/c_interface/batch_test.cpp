// Batches through the C interface.
#include <functional>

#include <chronoseal/c_interface/testing/caller_fixture.h>

namespace chronoseal::testing {
namespace {

// What one batch is told to do, and saw.
struct BatchState {
    std::size_t items = 6;
    std::size_t given = 0;
    std::size_t results = 0;
    std::vector<std::string> words;
    std::vector<Handle<chronoseal_stamp>> kept;
    std::function<int()> next, done;
    std::string missing = "/nowhere/at/all";
};

int next_item(void* user, chronoseal_item* item) {
    auto& state = *static_cast<BatchState*>(user);
    if (state.next) {
        return state.next();
    }
    if (state.given == state.items) {
        return CHRONOSEAL_END;
    }
    if (++state.given % 3 == 0) {
        item->path = state.missing.c_str();
    } else {
        item->data = &state.given;
        item->size = sizeof state.given;
    }
    return CHRONOSEAL_GO_ON;
}

int take_result(void* user, const chronoseal_batch_result* result) {
    auto& state = *static_cast<BatchState*>(user);
    ++state.results;
    if (result->error != nullptr) {
        EXPECT_EQ(result->path, state.missing);
        state.words.emplace_back(chronoseal_error_word(result->error));
    } else {
        EXPECT_EQ(result->stamp_count, 1U);
        state.kept.push_back(Caller().made<chronoseal_stamp_copy>(result->stamps[0]));
    }
    return state.done ? state.done() : CHRONOSEAL_GO_ON;
}

TEST_F(CInterfaceTest, ABatchGoesOnAndEndsAsItsFunctionsSay) {
    const auto sealer = made<chronoseal_sealer_new>(options);
    BatchState state;
    chronoseal_batch_summary summary{};
    const auto run = [&](unsigned connections = 1, chronoseal_stop* stop = nullptr) {
        state.given = state.results = 0;
        state.words.clear();
        state.kept.clear();
        const chronoseal_batch batch{sizeof batch, connections, next_item,
                                     take_result,  &state,      stop};
        done<chronoseal_seal_all>(sealer, batch, &summary);
    };
    run(3);
    EXPECT_EQ(summary.stamped, 4U);
    EXPECT_EQ(summary.failed, 2U);
    EXPECT_EQ(summary.stopped, 0);
    EXPECT_EQ(state.words, (std::vector<std::string>{"file_unreadable", "file_unreadable"}));
    EXPECT_EQ(state.kept.size(), 4U);

    for (const auto step : {CHRONOSEAL_END, CHRONOSEAL_ABORT}) {
        state.done = [step] { return step; };
        run();
        EXPECT_EQ(state.results, 1U);
        EXPECT_EQ(summary.stopped, 1);
    }
    state.done = {};
    state.next = [] { return CHRONOSEAL_ABORT; };
    run();
    EXPECT_EQ(summary.stopped, 1);
    state.next = {};

    const auto stop = made<chronoseal_stop_new>();
    state.done = [&] {
        chronoseal_stop_request(stop.get(), nullptr);
        return CHRONOSEAL_GO_ON;
    };
    run(1, stop.get());
    EXPECT_EQ(state.results, 1U);
    EXPECT_EQ(summary.stopped, 1);
}

TEST_F(CInterfaceTest, WhatACallbackThrowsOrMakesUpEndsTheCallAlone) {
    const auto sealer = made<chronoseal_sealer_new>(options);
    BatchState state;
    const chronoseal_batch batch{sizeof batch, 2, next_item, take_result, &state, nullptr};
    const auto run = [&] { return says<chronoseal_seal_all>(sealer, batch, nullptr); };
    state.next = []() -> int { throw 5; };
    EXPECT_EQ(run(), "misuse: callback_threw");
    state.next = []() -> int { throw std::runtime_error("a \x1b reason"); };
    EXPECT_EQ(run(), "unreachable: system_failed");
    EXPECT_EQ(why().find('\x1b'), std::string::npos);
    state.next = [] { return -3; };
    EXPECT_EQ(run(), "misuse: value_unknown");
    const auto each = [](void*, const chronoseal_setting*) -> int { throw 5; };
    EXPECT_EQ(says<chronoseal_policy>(each, nullptr, nullptr), "misuse: callback_threw");
}

} // namespace
} // namespace chronoseal::testing
