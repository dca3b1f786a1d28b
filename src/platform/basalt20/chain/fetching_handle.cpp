#include <basalt/chain/fetching_handle.h>

#include <basalt/coding/fault.h>
#include <basalt/error_codes.h>

#include <mutex>
#include <unordered_map>

namespace basalt {

namespace {

struct Register {
    std::mutex mutex;
    std::unordered_map<HBASALT_FETCHING, std::shared_ptr<Fetching>> open;
};

Register& the_register() {
    // Never destroyed: chains may be built while the process ends.
    static auto* const state = new Register;
    return *state;
}

} // namespace

HBASALT_FETCHING create_fetching() {
    auto fetching = std::make_shared<Fetching>();
    const HBASALT_FETCHING handle = fetching.get();
    const std::lock_guard lock(the_register().mutex);
    the_register().open.emplace(handle, std::move(fetching));
    return handle;
}

void free_fetching(HBASALT_FETCHING handle) {
    const std::lock_guard lock(the_register().mutex);
    the_register().open.erase(handle);
}

std::shared_ptr<Fetching> fetching_of(HBASALT_FETCHING handle) {
    if (handle == nullptr) {
        return nullptr;
    }
    const std::lock_guard lock(the_register().mutex);
    const auto found = the_register().open.find(handle);
    require(found != the_register().open.end(), ERROR_INVALID_HANDLE);
    return found->second;
}

} // namespace basalt
