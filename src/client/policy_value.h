// The four kinds of values in the machine's time-stamp policy, each read from the configuration
// tree under `\config\cades\`. A key that isn't there is never a failure; one that is there and
// can't be read is, for texts and lists. Loading is for one thread; what has been loaded may be
// read from any.
#pragma once

#include <set>
#include <string>

#include <chronoseal/visibility.h>

namespace Halcyon::PKI {

// In every `Load` the first argument isn't looked at, `folder` is the part of the path below
// `\config\cades\`, and `name` is the key. Folder and name must fit a path of 99 bytes: if they
// don't, and wherever text can't be converted, CAtlException carries the raw last error (122 for
// the path).

struct CHRONOSEAL_API CGPBool {
    void Load(wchar_t*& unused, wchar_t*& folder, const wchar_t* name, bool defaultValue);

    bool value = false;
};

struct CHRONOSEAL_API CGPLong {
    // A value of another type counts as absent.
    void Load(wchar_t*& unused, wchar_t*& folder, const wchar_t* name, long defaultValue);

    long value = 0;
};

struct CHRONOSEAL_API CGPString {
    // Without the key the value stays. Throws the support library's code for a key that can't be
    // read.
    void Load(wchar_t*& unused, wchar_t*& folder, const wchar_t* name);

    std::wstring value;
};

struct CHRONOSEAL_API CGPStrings {
    // `settedName` isn't read: a list is in force when its own key exists. With `normalize` entries
    // lose their blanks and lower-case letters of ASCII become upper case. Throws the support
    // library's code for a key that can't be read.
    void Load(wchar_t*& unused, wchar_t*& folder, const wchar_t* name, const wchar_t* settedName,
              bool normalize);

    // Exact and case-sensitive; `text` isn't normalised.
    bool Find(const wchar_t* text) const;

    std::set<std::wstring> values;
    bool isSet = false;
};

} // namespace Halcyon::PKI
