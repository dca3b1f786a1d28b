// CStringA and CStringW: reference-counted strings that are copied when written to. The narrow one
// also serves as byte buffer for the platform's answers; embedded zeros are allowed. Failures are
// thrown as CAtlException: 0x8007000E out of memory, 0x80070057 bad length or null text.
#pragma once

#include <cstddef>
#include <string_view>

#include <chronoseal/atl/string_manager.h>

namespace ATL {

template <class T>
struct ChTraitsCRT {};

template <class T, class Base = ChTraitsCRT<T>>
struct StrTraitATL : Base {};

// The storage. Copies share one buffer; one string object belongs to one thread, but copies on
// several threads may come and go independently. Lengths are characters, without the terminator.
template <class T, bool mfc = false>
class CSimpleStringT {
public:
    CSimpleStringT() : chars_(chars_of(g_defaultStrMgr.GetNilString())) {}
    CSimpleStringT(const CSimpleStringT& other);
    CSimpleStringT& operator=(const CSimpleStringT& other);
    ~CSimpleStringT() { header()->Release(); }

    int GetLength() const noexcept { return header()->nDataLength; }
    int GetAllocLength() const noexcept { return header()->nAllocLength; }
    bool IsEmpty() const noexcept { return GetLength() == 0; }
    // Good until the string is written to, assigned to or destroyed.
    const T* GetString() const noexcept { return chars_; }
    operator const T*() const noexcept { return chars_; }

    // The characters for writing: unshared, with room for `length` of them; the text is kept.
    T* PrepareWrite(int length);
    // Sets the length within the room and writes the terminator there.
    void SetLength(int length);
    // Keeps the buffer in its place, unshared: emptying the string leaves it where it is, and a
    // copy takes a buffer of its own.
    T* Lock();
    // `text` may lie in this string; what `length` takes beyond its end is zeros.
    void SetString(const T* text, int length);
    void SetString(const T* text);
    void Empty() { SetString(nullptr, 0); }

protected:
    CStringData* header() const noexcept {
        return reinterpret_cast<CStringData*>(const_cast<T*>(chars_)) - 1;
    }

private:
    static T* chars_of(CStringData* data) noexcept { return static_cast<T*>(data->data()); }
    void PrepareWrite2(int length);
    void fork(int length);
    void grow(int length);

    T* chars_;
};

template <class T, class Traits = StrTraitATL<T>>
class CStringT;

template <class Traits>
class CStringT<char, Traits> : public CSimpleStringT<char, false> {
public:
    CStringT() = default;
    CStringT(const char* text) { SetString(text); }
    CStringT(const char* text, int length) { SetString(text, length); }
    explicit CStringT(const wchar_t* text) { assign_wide(text); }
    CStringT& operator=(const char* text) {
        SetString(text);
        return *this;
    }
    // Converts to the system's code page. Null, or text that can't be converted, empties the
    // string.
    CStringT& operator=(const wchar_t* text) {
        assign_wide(text);
        return *this;
    }

    // The content as bytes.
    const unsigned char* bytes() const noexcept {
        return reinterpret_cast<const unsigned char*>(GetString());
    }

private:
    void assign_wide(const wchar_t* text);
};

template <class Traits>
class CStringT<wchar_t, Traits> : public CSimpleStringT<wchar_t, false> {
public:
    CStringT() = default;
    CStringT(const wchar_t* text) { SetString(text); }
    CStringT(const wchar_t* text, int length) { SetString(text, length); }
    CStringT& operator=(const wchar_t* text) {
        SetString(text);
        return *this;
    }

    // Replaces every `old`, also behind embedded zeros; returns how many there were. A null or
    // empty `old` is found nowhere, a null `replacement` counts as empty.
    int Replace(const wchar_t* old, const wchar_t* replacement);
};

using CStringA = CStringT<char, StrTraitATL<char, ChTraitsCRT<char>>>;
using CStringW = CStringT<wchar_t, StrTraitATL<wchar_t, ChTraitsCRT<wchar_t>>>;

extern template class CSimpleStringT<char, false>;
extern template class CSimpleStringT<wchar_t, false>;
extern template class CStringT<char, StrTraitATL<char, ChTraitsCRT<char>>>;
extern template class CStringT<wchar_t, StrTraitATL<wchar_t, ChTraitsCRT<wchar_t>>>;

} // namespace ATL
