// The client's trace channel: the module "tsp" of the support library, all lines at level 8.
#pragma once

#include <basalt/trace.h>

namespace Halcyon::PKI {

// Written at load and unload only. Null means that no trace is possible.
extern TSupportDbContext_* _db_ctx;

// Owns the context in a variable: makes it, and ends it with its own life. The context that the
// variable held before is ended first.
class DbTraceInitializer {
public:
    DbTraceInitializer(const char* module, TSupportDbContext_*& context, unsigned int level,
                       unsigned int mask) noexcept;
    ~DbTraceInitializer();
    DbTraceInitializer(const DbTraceInitializer&) = delete;
    DbTraceInitializer& operator=(const DbTraceInitializer&) = delete;

private:
    TSupportDbContext_** context_;
};

// A printf format and the line where it stands.
struct TraceText {
    TraceText(const char* text, int place = __builtin_LINE()) noexcept
        : format(text), line(place) {}

    const char* format;
    int line;
};

// Whether lines go out at all, for callers whose arguments cost something.
inline bool tracing() noexcept {
    return _db_ctx && support_print_is(_db_ctx, 8) != 0;
}

// The formats are literals of the callers, which reach the call below through a parameter.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-security"
#pragma GCC diagnostic ignored "-Wformat-nonliteral"

// Writes a line under the short name of the function, if anyone listens.
template <class... Args>
void trace(const char* function, TraceText text, Args... args) noexcept {
    if (tracing()) {
        support_dprint_print_(_db_ctx, text.format, "", text.line, function, args...);
    }
}

#pragma GCC diagnostic pop

} // namespace Halcyon::PKI
