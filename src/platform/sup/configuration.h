// The configuration tree, read from TOML: /etc/basalt/config.toml holds the machine's settings and
// is always read; behind it the user's ~/.config/basalt/config.toml, which can add keys, never
// override one. The environment variable BASALT_CONFIG names another file in the place of the
// user's, and in the place of both where the process runs as root or the machine's file says
// `[config.basalt] AllowOverride = true`; set-uid programs ignore it and HOME.
//
// A path is `\config\cades\tsppolicy\StampAccuracy`: tables and a key, case counts. A file that has
// changed on disk is read again, within a second or after support_registry_refresh. All calls may
// be made from any thread; none sets the last error.
//
// Results: 0; ERROR_FILE_NOT_FOUND (2) no such key; ERROR_DATATYPE_MISMATCH (1629) a value of
// another type; ERROR_INVALID_DATA (13) a string with a zero character inside; ERROR_BADDB (1009) a
// file that can't be read, isn't TOML, or may have been written by somebody who has no say: a user
// other than its own and root, its group, the world; ERROR_MORE_DATA (234) a buffer too small, with
// the needed size in *size; ERROR_INVALID_PARAMETER (87) a null argument or a path that doesn't
// begin with a backslash.
//
// A key that is there and can't be read must not pass for an absent one, or a slip in a policy file
// would open what the policy means to close. So the size question for a string or a list fails only
// when the key is absent (2), the call wrong (87) or memory gone (8). For a value of the wrong
// type, and for every key while a file is broken, it answers 0 with *size 0, and the read that
// follows gives the error.
#pragma once

#include <basalt/types.h>
#include <basalt/visibility.h>

extern "C" {

BASALT_API int support_registry_get_long(const char* path, long* value) noexcept;

// A boolean, or a number, of which 0 is false. *value becomes 0 or 1.
BASALT_API int support_registry_get_bool(const char* path, int* value) noexcept;

// A string in UTF-8. With a null buffer *size becomes the length in bytes without the end mark.
// Otherwise *size is the room for text, one less than the size of the buffer: text and end mark are
// written, and *size becomes the length.
BASALT_API int support_registry_get_string(const char* path, std::size_t* size,
                                           char* buffer) noexcept;

// A list of strings: each with a zero behind it, all of which *size counts; an empty list has size
// 0. Behind the last one the buffer gets one more zero, which isn't counted, so that it must hold
// *size + 1 bytes. A single string counts as a list of one.
BASALT_API int support_registry_get_multi_string(const char* path, std::size_t* size,
                                                 char* buffer) noexcept;

// The next reading looks whether the files have changed, which otherwise happens once a second at
// most.
BASALT_API void support_registry_refresh() noexcept;

// What follows is for programs that show or check the tree. A broken file gives its code at once.

enum support_registry_type {
    SUPPORT_REGISTRY_NUMBER = 1,
    SUPPORT_REGISTRY_BOOL = 2,
    SUPPORT_REGISTRY_STRING = 3,
    SUPPORT_REGISTRY_MULTI_STRING = 4,
    SUPPORT_REGISTRY_OTHER = 5 // no type of the tree: a date, a float, an array of something else
};

// The name of the file that the key's value comes from, by the protocol of
// support_registry_get_string.
BASALT_API int support_registry_origin(const char* path, std::size_t* size, char* buffer) noexcept;

BASALT_API int support_registry_get_type(const char* path, int* type) noexcept;

// The full path of the key number `index` (from 0, sorted) anywhere below the folder, by the
// protocol of support_registry_get_string; ERROR_NO_MORE_ITEMS (259) behind the last. A file that
// changes in the middle of a listing shifts the numbers.
BASALT_API int support_registry_enum(const char* folder, DWORD index, std::size_t* size,
                                     char* buffer) noexcept;

// One line for each file that can't be read: its name, the place and what is wrong, by the protocol
// of support_registry_get_string. Empty when all is well.
BASALT_API int support_registry_problem(std::size_t* size, char* buffer) noexcept;

// A key that means something.
struct support_registry_known_key {
    const char* path; // the name `*` at its end stands for any
    int type;
    long least; // of a number; both 0: any will do
    long most;
    const char* words;    // the values allowed, with `|` between; null: any will do
    const char* fallback; // what holds without the key; empty: nothing
};

// All of them, in the order of docs/configuration.md; null behind the last.
BASALT_API const support_registry_known_key* support_registry_known(DWORD index) noexcept;

enum support_registry_finding {
    SUPPORT_REGISTRY_UNKNOWN = 1,    // a key, or an empty table, that means nothing
    SUPPORT_REGISTRY_WRONG_TYPE = 2, // a value that can't be read as its key wants it
    SUPPORT_REGISTRY_WRONG_VALUE = 3 // one that is out of range or not among the words allowed
};

// The finding number `index` (from 0) in the tree as it is, and the path that it is about, by the
// protocol of support_registry_get_string; ERROR_NO_MORE_ITEMS (259) behind the last.
BASALT_API int support_registry_check(DWORD index, int* finding, std::size_t* size,
                                      char* buffer) noexcept;

// The known path that somebody who wrote this one most likely meant, by the same protocol;
// ERROR_FILE_NOT_FOUND (2) when none is near.
BASALT_API int support_registry_nearest(const char* path, std::size_t* size, char* buffer) noexcept;
}
