// The only place that makes C++ names out of ASN.1 names.
#pragma once

#include <string>
#include <string_view>

namespace schemac::naming {

/// Hyphens become underscores; a C++ keyword gets an underscore behind it.
std::string identifier(std::string_view asn1_name);

/// The family of an anonymous type inside a component: `Outer_field`.
std::string nested(std::string_view outer, std::string_view field);

/// The family of an anonymous list of a named type: `_SeqOfElement`, `_SetOfElement`.
std::string list_of(bool is_set, std::string_view element);

/// The family of an anonymous element of the list: `List_element`.
std::string element_of(std::string_view list);

/// The family of an object's type: `_object_Suffix`.
std::string object_type(std::string_view object, std::string_view suffix);

/// The bit of an optional component in `m`.
std::string presence_bit(std::string_view field);

} // namespace schemac::naming
