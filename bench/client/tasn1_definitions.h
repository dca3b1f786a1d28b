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
Node create(const char* type);
Node decode(const char* type, const void* data, std::size_t size);
// The contents of a field.
std::string read(const Node& node, const char* field);
void write(const Node& node, const char* field, const void* data, int size);
std::string encode(const Node& node);

} // namespace tasn1
