// A program for type_oracles.py: it answers one line for each line that it reads. `decode TYPE HEX`
// answers the status and what the value encodes to again; `random TYPE SEED` a random value's
// encoding; `list` the names of all types.
#include <iostream>
#include <sstream>
#include <string>

#include <chronoseal/asn1data/test_value.h>

namespace {

using test_coding::Encoded;
using test_coding::Value;

std::string told(const Encoded& encoded) {
    return encoded.status < 0 ? std::to_string(encoded.status) : "0 " + encoded.hex();
}

std::string decode(const asn1data::TypeEntry& type, const std::string& hex) {
    const test_coding::Bytes bytes = test_coding::from_hex(hex);
    Value value(type);
    const int status = value.decode(bytes);
    return status != 0 ? std::to_string(status) : told(value.encode());
}

std::string random(const asn1data::TypeEntry& type, unsigned seed) {
    Value value(type);
    value.randomize(seed);
    return told(value.encode());
}

std::string names() {
    std::string all;
    for (const asn1data::TypeEntry& entry : asn1data::typeTable()) {
        all += std::string(all.empty() ? "" : " ") + entry.name;
    }
    return all;
}

std::string answer(const std::string& line) {
    std::istringstream words(line);
    std::string verb, name, argument;
    words >> verb >> name >> argument;
    if (verb == "list") {
        return names();
    }
    const asn1data::TypeEntry* type = test_coding::find_type(name);
    if (type == nullptr) {
        return "unknown";
    }
    return verb == "decode" ? decode(*type, argument)
                            : random(*type, static_cast<unsigned>(std::stoul(argument)));
}

} // namespace

int main() {
    for (std::string line; std::getline(std::cin, line);) {
        std::cout << answer(line) << std::endl;
    }
    return 0;
}
