// A verdict as one self-contained HTML page, to print and to keep with a case.
#pragma once

#include <string>

#include <chronoseal/chronoseal.hpp>

namespace cli {

// `file` is the stamp, `sha256` that of its bytes, which ties the page to it, `subject` what it was
// compared with (empty: nothing). All foreign text is quoted and escaped; the page loads nothing
// and runs nothing.
std::string verdict_page(const std::string& file, chronoseal::ByteView sha256,
                         const std::string& subject, const chronoseal::Verdict& verdict);

} // namespace cli
