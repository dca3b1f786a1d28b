// Walks over the platform's provider types and providers by index.
#pragma once

#include <chronoseal/atl/temp_buffer.h>
#include <chronoseal/visibility.h>

namespace ATL2 {

// Calls OnType for each provider type until it returns false. Any failure ends the walk.
template <class T>
class CCryptProviderTypesEnumT;

template <>
class CHRONOSEAL_API CCryptProviderTypesEnumT<char> {
public:
    // True to go on.
    virtual bool OnType(unsigned type, const char* name) = 0;
    virtual ~CCryptProviderTypesEnumT() = default;

    // True when OnType ended the walk. Throws CAtlException 0x8007000E out of memory, and what
    // OnType throws.
    bool Enumerate();

private:
    CTempBufferEx<char, 128> name_;
};

// Calls OnProv for each provider until it returns false. An index that fails is passed over.
template <class T>
class CCryptProvidersEnumT;

template <>
class CHRONOSEAL_API CCryptProvidersEnumT<char> {
public:
    // True to go on.
    virtual bool OnProv(const char* name, unsigned type) = 0;
    virtual ~CCryptProvidersEnumT() = default;

    // True when OnProv ended the walk. Throws CAtlException 0x8007000E out of memory, and what
    // OnProv throws.
    bool Enumerate();

private:
    CTempBufferEx<char, 256> name_;
};

} // namespace ATL2
