// Trace contexts and lines. A context finds out what is switched on at its first question, not when
// it is made: contexts are made while libraries load, which must not read the configuration.
#include <basalt/trace.h>

#include <basalt/configuration.h>
#include <basalt/sup/descriptor.h>

#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <mutex>
#include <new>
#include <optional>
#include <string>
#include <string_view>

namespace {

constexpr unsigned int kAllLevels = ~0U;

// The levels that a list like "tsp=8,network" has for the module; the module's own entry wins over
// "all".
std::optional<unsigned int> levels_in(std::string_view list, std::string_view module) {
    std::optional<unsigned int> result;
    while (!list.empty()) {
        const std::size_t comma = std::min(list.find(','), list.size());
        const std::string entry(list.substr(0, comma));
        list.remove_prefix(std::min(comma + 1, list.size()));
        const std::size_t sign = std::min(entry.find('='), entry.size());
        const std::string_view name = std::string_view(entry).substr(0, sign);
        const unsigned int levels =
            sign == entry.size()
                ? kAllLevels
                : static_cast<unsigned int>(std::strtoul(entry.c_str() + sign + 1, nullptr, 0));
        if (name == module) {
            return levels;
        }
        if (name == "all") {
            result = levels;
        }
    }
    return result;
}

unsigned int levels_for(const std::string& module) {
    if (const char* list = secure_getenv("BASALT_TRACE"); list != nullptr) {
        if (const auto levels = levels_in(list, module)) {
            return *levels;
        }
    }
    long number = 0;
    if (support_registry_get_long(("\\config\\trace\\levels\\" + module).c_str(), &number) != 0 &&
        support_registry_get_long("\\config\\trace\\levels\\all", &number) != 0) {
        return 0;
    }
    return static_cast<unsigned int>(number);
}

std::string trace_file() {
    if (const char* name = secure_getenv("BASALT_TRACE_FILE"); name != nullptr && *name != '\0') {
        return name;
    }
    constexpr const char* kKey = "\\config\\trace\\file";
    std::size_t size = 0;
    if (support_registry_get_string(kKey, &size, nullptr) != 0 || size == 0) {
        return {};
    }
    std::string name(size + 1, '\0');
    if (support_registry_get_string(kKey, &size, name.data()) != 0) {
        return {};
    }
    name.resize(size);
    return name;
}

std::string time_text() {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    tm parts{};
    gmtime_r(&now.tv_sec, &parts);
    char text[48];
    const std::size_t length = std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%S", &parts);
    std::snprintf(text + length, sizeof text - length, ".%06ldZ", now.tv_nsec / 1000);
    return text;
}

__attribute__((format(printf, 1, 0))) std::string formatted(const char* format, va_list list) {
    va_list again;
    va_copy(again, list);
    const int length = std::vsnprintf(nullptr, 0, format, list);
    std::string text;
    if (length > 0) {
        text.resize(static_cast<std::size_t>(length));
        std::vsnprintf(text.data(), text.size() + 1, format, again);
    }
    va_end(again);
    return text;
}

void write_whole(int descriptor, const std::string& line) {
    static std::mutex mutex;
    const std::lock_guard lock(mutex);
    std::size_t done = 0;
    while (done < line.size()) {
        const ssize_t count = write(descriptor, line.data() + done, line.size() - done);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count <= 0) {
            return; // nowhere to complain to
        }
        done += static_cast<std::size_t>(count);
    }
}

} // namespace

struct TSupportDbContext_ {
    std::string module;
    unsigned int level;
    unsigned int mask;
    mutable std::mutex settling;
    mutable bool settled = false;
    mutable unsigned int enabled = 0;
    mutable basalt::Descriptor file;      // none: standard error
    mutable std::atomic<bool> off{false}; // settled, and nothing is written

    // The levels to write. Finds them at the first call.
    unsigned int levels() const {
        // Asked by every line that could be written: the one that settles it is the first.
        if (off.load(std::memory_order_acquire)) {
            return 0;
        }
        const std::lock_guard lock(settling);
        if (!settled) {
            settle();
        }
        return enabled;
    }

    void settle() const {
        enabled = (level | levels_for(module)) & mask;
        if (enabled == 0) {
            off.store(true, std::memory_order_release);
        } else if (const std::string name = trace_file(); !name.empty()) {
            file = basalt::Descriptor(
                open(name.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0600));
        }
        settled = true;
    }
};

TSupportDbContext_* support_print_init(int, const char* module, unsigned int level,
                                       unsigned int mask) noexcept {
    if (module == nullptr || *module == '\0') {
        return nullptr;
    }
    try {
        return new TSupportDbContext_{module, level, mask, {}, false, 0, {}};
    } catch (...) {
        return nullptr;
    }
}

void support_print_done(TSupportDbContext_* context) noexcept {
    delete context;
}

int support_print_is(const TSupportDbContext_* context, unsigned int level) noexcept {
    if (context == nullptr) {
        return 0;
    }
    const int saved = errno;
    unsigned int enabled = 0;
    try {
        enabled = context->levels();
    } catch (...) {
        enabled = 0; // no memory to find out: nothing is written
    }
    errno = saved;
    return (enabled & level) != 0 ? 1 : 0;
}

void support_dprint_print_(TSupportDbContext_* context, const char* format, const char* file,
                           int line, const char* function, ...) noexcept {
    if (context == nullptr || format == nullptr) {
        return;
    }
    const int saved = errno;
    va_list list;
    va_start(list, function);
    try {
        std::string text = time_text() + " " + context->module + " " + std::to_string(getpid()) +
                           "." + std::to_string(syscall(SYS_gettid)) + " ";
        if (file != nullptr && *file != '\0') {
            text += std::string(file) + ":" + std::to_string(line) + " ";
        }
        text += std::string(function != nullptr ? function : "") + ": " + formatted(format, list);
        if (text.back() != '\n') {
            text += '\n';
        }
        write_whole(context->file.is_open() ? context->file.get() : STDERR_FILENO, text);
    } catch (...) { // a line that there is no memory for isn't written
    }
    va_end(list);
    errno = saved;
}
