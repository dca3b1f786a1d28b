// Any text as a module, through all phases. Whatever it is, the compiler ends with code or with
// diagnostics.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "schemac/compiler.h"
#include "schemac/emit/generate.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::vector<std::unique_ptr<schemac::Source>> sources;
    sources.push_back(std::make_unique<schemac::Source>(
        "fuzz.asn1", std::string(reinterpret_cast<const char*>(data), size)));
    schemac::Diagnostics diagnostics;
    const auto schema = schemac::compile(sources, diagnostics);
    if (!schema && diagnostics.report().empty()) {
        std::abort(); // refused without a reason
    }
    if (schema) {
        schemac::generate(*schema);
        schemac::generate_table(*schema);
    }
    return 0;
}
