// Loads the module: as the dynamic linker finds it for this library, or else beside this library.
#include <basalt/network/network_module.h>

#include <dlfcn.h>

#include <atomic>

namespace basalt {

namespace {

// Never closed: threads keep handles of the module until they end.
constexpr int kMode = RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE;

std::string linker_problem() {
    const char* text = dlerror();
    return text != nullptr ? text : "the module can't be loaded";
}

// The folder of this library with a slash, or nothing. A sanitizer's own dlopen doesn't know where
// this library's RUNPATH leads.
std::string own_folder() {
    Dl_info info{};
    if (dladdr(reinterpret_cast<const void*>(&own_folder), &info) == 0 ||
        info.dli_fname == nullptr) {
        return {};
    }
    const std::string name = info.dli_fname;
    return name.starts_with('/') ? name.substr(0, name.rfind('/') + 1) : "";
}

void* open_module(const char* module, std::string& problem) {
    if (void* opened = dlopen(module, kMode)) {
        return opened;
    }
    problem = linker_problem();
    const std::string folder = own_folder();
    return folder.empty() ? nullptr : dlopen((folder + module).c_str(), kMode);
}

} // namespace

ExchangeFunction load_exchange_function(const char* module, std::string& problem) {
    void* opened = open_module(module, problem);
    if (opened == nullptr) {
        return nullptr;
    }
    auto* const function = reinterpret_cast<ExchangeFunction>(dlsym(opened, kExchangeFunction));
    if (function == nullptr) {
        problem = linker_problem();
    }
    return function;
}

ExchangeFunction exchange_function(std::string& problem) {
    static std::atomic<ExchangeFunction> loaded = nullptr;
    ExchangeFunction function = loaded.load(std::memory_order_acquire);
    if (function == nullptr) {
        function = load_exchange_function(kExchangeModule, problem);
        loaded.store(function, std::memory_order_release);
    }
    return function;
}

} // namespace basalt
