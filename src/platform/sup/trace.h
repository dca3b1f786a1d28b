// Trace lines, off by default. A level is a bit. A context belongs to one module; what it writes is
// its own level word joined with what the machine switches on for the module, within its mask.
//
// Switched on by the environment variable BASALT_TRACE, "module=levels" pairs separated by commas
// ("tsp=8,network=127"; a name alone means all levels, the name "all" any module), or by numbers in
// the table [config.trace.levels] of the configuration tree, named after the module or "all". Lines
// go to standard error, or are appended to the file that BASALT_TRACE_FILE or the string `file` in
// [config.trace] names. Set-uid programs ignore both variables. A context reads the settings once,
// at its first support_print_is. Lines of several threads don't mix.
#pragma once

#include <basalt/types.h>
#include <basalt/visibility.h>

struct TSupportDbContext_;

extern "C" {

// Makes a context for the module. `reserved` is 0. `level` holds the levels that are on anyway,
// `mask` those that may be on at all. Null when memory runs out or the module is null or empty.
BASALT_API TSupportDbContext_* support_print_init(int reserved, const char* module,
                                                  unsigned int level, unsigned int mask) noexcept;

// Ends a context. Null is allowed.
BASALT_API void support_print_done(TSupportDbContext_* context) noexcept;

// Non-zero if a message of this level is to be written. 0 for a null context.
BASALT_API int support_print_is(const TSupportDbContext_* context, unsigned int level) noexcept;

// Writes one line: time, module, process and thread, function (with file and line unless the file
// name is empty), text. The caller has asked support_print_is. The end of line is added when the
// format lacks it. Changes neither the last error nor errno.
BASALT_API void support_dprint_print_(TSupportDbContext_* context, const char* format,
                                      const char* file, int line, const char* function,
                                      ...) noexcept __attribute__((format(printf, 2, 6)));
}
