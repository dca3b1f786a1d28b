// Copy-on-write strings: sharing, growth, replacement and conversion.
#include <basalt/error_codes.h>
#include <chronoseal/atl/string.h>

#include <algorithm>
#include <cstring>
#include <cwchar>
#include <limits>
#include <string>

#include <basalt/text_conversion.h>
#include <chronoseal/base/atl_exception.h>

namespace ATL {

namespace {

constexpr std::int32_t kBadArgument = Halcyon::hr(E_INVALIDARG);
constexpr std::int32_t kOutOfMemory = Halcyon::hr(E_OUTOFMEMORY);

template <class T>
int text_length(const T* text) {
    const auto length = std::char_traits<T>::length(text);
    if (length > static_cast<std::size_t>(std::numeric_limits<int>::max())) {
        AtlThrowImpl(kBadArgument);
    }
    return static_cast<int>(length);
}

// Doubles up to 1024 characters, then takes steps of 1024 up to 2^30, and then none.
int grown_length(int present) {
    if (present <= 1024) {
        return present * 2;
    }
    return present <= 0x40000000 ? present + 1024 : present;
}

// Calls `visit(place)` for every `old` in the `length` characters at `text`, which end in a zero
// and may hold others. `visit` gives the place where the search goes on and may move what `end`
// points to.
template <class Visit>
void for_each_find(wchar_t* text, wchar_t*& end, const wchar_t* old, Visit visit) {
    while (text < end) {
        if (wchar_t* const place = std::wcsstr(text, old)) {
            text = visit(place);
        } else {
            text += std::wcslen(text) + 1;
        }
    }
}

} // namespace

template <class T, bool mfc>
CSimpleStringT<T, mfc>::CSimpleStringT(const CSimpleStringT& other) : CSimpleStringT() {
    *this = other;
}

template <class T, bool mfc>
CSimpleStringT<T, mfc>& CSimpleStringT<T, mfc>::operator=(const CSimpleStringT& other) {
    if (chars_ == other.chars_) {
        return *this;
    }
    if (other.header()->IsLocked()) {
        // One more share would turn the lock's count into 0, and the first release would free the
        // buffer under the other's feet.
        SetString(other.chars_, other.GetLength());
        return *this;
    }
    other.header()->AddRef();
    header()->Release();
    chars_ = other.chars_;
    return *this;
}

template <class T, bool mfc>
T* CSimpleStringT<T, mfc>::PrepareWrite(int length) {
    if (GetAllocLength() < length || header()->IsShared()) {
        PrepareWrite2(length);
    }
    return chars_;
}

template <class T, bool mfc>
void CSimpleStringT<T, mfc>::PrepareWrite2(int length) {
    length = std::max(length, GetLength());
    if (header()->IsShared()) {
        fork(length);
    } else if (GetAllocLength() < length) {
        grow(length);
    }
}

template <class T, bool mfc>
void CSimpleStringT<T, mfc>::fork(int length) {
    auto* const old = header();
    auto* const data = old->pStringMgr->Clone()->Allocate(length, sizeof(T));
    if (!data) {
        AtlThrowImpl(kOutOfMemory);
    }
    std::char_traits<T>::copy(chars_of(data), chars_,
                              static_cast<std::size_t>(old->nDataLength) + 1);
    data->nDataLength = old->nDataLength;
    chars_ = chars_of(data);
    old->Release();
}

template <class T, bool mfc>
void CSimpleStringT<T, mfc>::grow(int length) {
    const int present = GetAllocLength();
    const int wanted = std::max(grown_length(present), length);
    if (wanted < 1 || wanted <= present) {
        AtlThrowImpl(kOutOfMemory);
    }
    auto* const data = header()->pStringMgr->Reallocate(header(), wanted, sizeof(T));
    if (!data) {
        AtlThrowImpl(kOutOfMemory);
    }
    chars_ = chars_of(data);
}

template <class T, bool mfc>
void CSimpleStringT<T, mfc>::SetLength(int length) {
    if (length < 0 || length > GetAllocLength()) {
        AtlThrowImpl(kBadArgument);
    }
    header()->nDataLength = length;
    chars_[length] = T();
}

template <class T, bool mfc>
T* CSimpleStringT<T, mfc>::Lock() {
    PrepareWrite(GetLength());
    auto& refs = header()->nRefs;
    if (--refs == 0) {
        refs = -1;
    }
    return chars_;
}

template <class T, bool mfc>
void CSimpleStringT<T, mfc>::SetString(const T* text, int length) {
    if (length == 0) {
        if (GetLength() == 0) {
            return;
        }
        if (header()->IsLocked()) {
            SetLength(0);
            return;
        }
        auto* const nil = header()->pStringMgr->GetNilString();
        header()->Release();
        chars_ = chars_of(nil);
        return;
    }
    if (!text || length < 0) {
        AtlThrowImpl(kBadArgument);
    }
    const auto old_length = static_cast<std::size_t>(GetLength());
    const auto count = static_cast<std::size_t>(length);
    // By address, since `text` may be of another block.
    const auto offset =
        (reinterpret_cast<std::uintptr_t>(text) - reinterpret_cast<std::uintptr_t>(chars_)) /
        sizeof(T);
    const bool inside = offset <= old_length;
    T* const room = PrepareWrite(length);
    if (inside) {
        // Behind its end the string has zeros to give: its terminator, and no bytes that nobody
        // wrote.
        const std::size_t held = std::min(count, old_length - offset);
        std::char_traits<T>::move(room, room + offset, held);
        std::char_traits<T>::assign(room + held, count - held, T());
    } else {
        std::char_traits<T>::copy(room, text, count);
    }
    SetLength(length);
}

template <class T, bool mfc>
void CSimpleStringT<T, mfc>::SetString(const T* text) {
    SetString(text, text ? text_length(text) : 0);
}

template <class Traits>
void CStringT<char, Traits>::assign_wide(const wchar_t* text) {
    const int size =
        text ? WideCharToMultiByte(0, 0, text, -1, nullptr, 0, nullptr, nullptr) - 1 : 0;
    if (size <= 0) {
        SetString(nullptr, 0);
        return;
    }
    // The room takes the terminator as well, so that a converter which insists on writing it can.
    char* const room = PrepareWrite(size);
    WideCharToMultiByte(0, 0, text, -1, room, size + 1, nullptr, nullptr);
    SetLength(size);
}

template <class Traits>
int CStringT<wchar_t, Traits>::Replace(const wchar_t* old, const wchar_t* replacement) {
    if (!old || *old == L'\0' || IsEmpty()) {
        return 0;
    }
    replacement = replacement ? replacement : L"";
    const int old_size = text_length(old);
    const int new_size = text_length(replacement);
    auto* scan = const_cast<wchar_t*>(GetString());
    auto* end = scan + GetLength();
    int count = 0;
    for_each_find(scan, end, old, [&](wchar_t* place) {
        ++count;
        return place + old_size;
    });
    if (count == 0) {
        return 0;
    }
    const int present = GetLength();
    const auto wanted =
        present + static_cast<long long>(count) * (static_cast<long long>(new_size) - old_size);
    if (wanted > std::numeric_limits<int>::max()) {
        AtlThrowImpl(kOutOfMemory);
    }
    const int length = static_cast<int>(wanted);
    // Copies: both may lie in the buffer that is about to change.
    const std::wstring what(old);
    const std::wstring with(replacement);
    scan = PrepareWrite(std::max(length, present));
    end = scan + present;
    for_each_find(scan, end, what.c_str(), [&](wchar_t* place) {
        auto* const tail = place + old_size;
        std::wmemmove(place + new_size, tail, static_cast<std::size_t>(end - tail));
        std::wmemcpy(place, with.c_str(), static_cast<std::size_t>(new_size));
        end += new_size - old_size;
        *end = L'\0';
        return place + new_size;
    });
    SetLength(length);
    return count;
}

template class CSimpleStringT<char, false>;
template class CSimpleStringT<wchar_t, false>;
template class CStringT<char, StrTraitATL<char, ChTraitsCRT<char>>>;
template class CStringT<wchar_t, StrTraitATL<wchar_t, ChTraitsCRT<wchar_t>>>;

} // namespace ATL
