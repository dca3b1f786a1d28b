// libtasn1's part: its definitions of the messages, and its nodes.
#pragma once

#include <memory>
#include <string>

#include <libtasn1.h>

namespace tasn1 {

struct Delete {
    void operator()(asn1_node node) const { asn1_delete_structure(&node); }
};
using Node = std::unique_ptr<asn1_node_st, Delete>;

// An empty value of that type of the module "TSP".
Node create(char const* type);
Node decode(char const* type, void const* data, std::size_t size);
// The contents of a field.
std::string read(Node const& node, char const* field);
void write(Node const& node, char const* field, void const* data, int size);
std::string encode(Node const& node);

} // namespace tasn1
