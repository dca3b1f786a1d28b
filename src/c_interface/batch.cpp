// Batches by callbacks.
#include <chronoseal/c_interface/call.h>
#include <chronoseal/c_interface/sealer.h>
#include <chronoseal/c_interface/view.h>
#include <chronoseal/c_interface/watch.h>

using namespace chronoseal;
using namespace chronoseal::c_interface;

namespace {

constexpr unsigned kConnections = 4;

Item item_of(const chronoseal_item& item) {
    if (item.path != nullptr) {
        return std::filesystem::path(item.path);
    }
    if (item.digest != nullptr) {
        return digest_of(item.digest);
    }
    const ByteView bytes = needed_bytes(item.data, item.size, "item");
    return Bytes(bytes.begin(), bytes.end());
}

// One batch under way, between the caller's functions and the sealer, which calls both on one
// thread at a time.
class Run {
public:
    Run(const chronoseal_batch& batch, Watch& watch) : batch_(batch), watch_(watch) {}

    std::optional<Item> next() {
        if (ended_) {
            return std::nullopt;
        }
        chronoseal_item item{};
        if (step(batch_.next(batch_.user, &item)) == CHRONOSEAL_GO_ON) {
            return item_of(item);
        }
        return std::nullopt;
    }

    void done(const BatchResult& result) {
        std::vector<std::unique_ptr<chronoseal_stamp>> handles;
        std::vector<const chronoseal_stamp*> stamps;
        for (const Stamp& stamp : result.stamps) {
            handles.push_back(std::make_unique<chronoseal_stamp>(stamp));
            stamps.push_back(handles.back().get());
        }
        const auto error =
            result.error ? std::optional<KeptError>(std::in_place, *result.error) : std::nullopt;
        const auto* const path = std::get_if<std::filesystem::path>(&result.item);
        chronoseal_batch_result view{};
        view.index = result.index;
        view.path = path != nullptr ? path->c_str() : nullptr;
        view.stamps = stamps.data();
        view.stamp_count = stamps.size();
        view.error = error ? &*error : nullptr;
        if (step(batch_.done(batch_.user, &view)) != CHRONOSEAL_GO_ON) {
            ended_ = true;
            stopped_ = true;
        }
    }

    bool stopped() const { return stopped_; }

private:
    int step(int answer) {
        if (answer < CHRONOSEAL_GO_ON || answer > CHRONOSEAL_ABORT) {
            refuse_value("what the callback returns");
        }
        if (answer == CHRONOSEAL_ABORT) {
            stopped_ = true;
            watch_.end();
        }
        return answer;
    }

    const chronoseal_batch& batch_;
    Watch& watch_;
    bool ended_ = false;
    bool stopped_ = false;
};

} // namespace

chronoseal_status chronoseal_seal_all(const chronoseal_sealer* sealer,
                                      const chronoseal_batch* batch,
                                      chronoseal_batch_summary* summary, chronoseal_error** error) {
    return call(error, [&] {
        if (summary != nullptr) {
            *summary = {};
        }
        const auto known = sized(batch, "batch");
        needed(known.next, "next");
        needed(known.done, "done");
        Watch watch(known.stop);
        Run run(known, watch);
        const BatchSummary all =
            needed(sealer, "sealer")
                .sealer.seal_all([&] { return run.next(); },
                                 [&](const BatchResult& result) { run.done(result); },
                                 known.connections != 0 ? known.connections : kConnections,
                                 watch.stop());
        if (summary != nullptr) {
            *summary = {all.stamped, all.failed, all.stopped || run.stopped() ? 1 : 0};
        }
        return CHRONOSEAL_OK;
    });
}
