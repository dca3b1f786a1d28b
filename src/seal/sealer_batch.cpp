// Many items over several connections.
#include <chronoseal/seal/sealer_impl.h>

#include <atomic>
#include <thread>

#include <chronoseal/seal/failure.h>

namespace chronoseal {

namespace {

constexpr unsigned kMostConnections = 64;

// One batch under way: the workers take items and give results under one lock, so that the caller's
// functions see one thread at a time.
class Batch {
public:
    using Next = std::function<std::optional<Item>()>;
    using Done = std::function<void(const BatchResult&)>;

    Batch(const Sealer& sealer, unsigned quorum, const Next& next, const Done& done,
          std::stop_token stop)
        : sealer_(sealer), quorum_(quorum), next_(next), done_(done), stop_(std::move(stop)) {}

    BatchSummary run(unsigned connections) {
        {
            std::vector<std::jthread> workers;
            try {
                for (unsigned i = 0; i < connections; ++i) {
                    workers.emplace_back([this] { work(); });
                }
            } catch (const std::exception&) {
                work(); // no more threads, or no memory for them: fewer connections have to do
            }
        }
        if (failure_) {
            std::rethrow_exception(failure_);
        }
        return summary_;
    }

private:
    void work() {
        while (auto result = take()) {
            stamp(*result);
            if (!give(*result)) {
                return;
            }
        }
    }

    std::optional<BatchResult> take() {
        const std::lock_guard lock(mutex_);
        if (ended_) {
            return std::nullopt;
        }
        if (stop_.stop_requested()) {
            summary_.stopped = true;
            ended_ = true;
            return std::nullopt;
        }
        try {
            if (auto item = next_()) {
                return BatchResult{count_++, *std::move(item), {}, std::nullopt};
            }
        } catch (...) {
            failure_ = std::current_exception();
        }
        ended_ = true;
        return std::nullopt;
    }

    void stamp(BatchResult& result) const {
        try {
            const Digest digest = digest_of(result.item);
            if (quorum_ > 1) {
                result.stamps = sealer_.seal_quorum(digest, stop_);
            } else {
                result.stamps.push_back(sealer_.seal_digest(digest, stop_));
            }
        } catch (...) {
            result.error = error_in_flight("get a time-stamp");
        }
    }

    Digest digest_of(const Item& item) const {
        if (const auto* path = std::get_if<std::filesystem::path>(&item)) {
            return sealer_.digest_of(*path, {}, stop_);
        }
        const auto* digest = std::get_if<Digest>(&item);
        return digest != nullptr ? *digest : Digest::of(std::get<Bytes>(item), sealer_.hash());
    }

    bool give(const BatchResult& result) {
        const std::lock_guard lock(mutex_);
        if (result.error && result.error->word() == "cancelled") {
            summary_.stopped = true;
        }
        ++(result.error ? summary_.failed : summary_.stamped);
        if (failure_) {
            return false;
        }
        try {
            done_(result);
            return true;
        } catch (...) {
            failure_ = std::current_exception();
            ended_ = true;
            return false;
        }
    }

    const Sealer& sealer_;
    unsigned quorum_;
    const Next& next_;
    const Done& done_;
    std::stop_token stop_;
    std::mutex mutex_;
    bool ended_ = false;
    std::uint64_t count_ = 0;
    BatchSummary summary_;
    std::exception_ptr failure_;
};

} // namespace

BatchSummary Sealer::seal_all(const std::function<std::optional<Item>()>& next,
                              const std::function<void(const BatchResult&)>& done,
                              unsigned connections, std::stop_token stop) const {
    Batch batch(*this, impl_->options().quorum, next, done, std::move(stop));
    return batch.run(std::clamp(connections, 1U, kMostConnections));
}

} // namespace chronoseal
