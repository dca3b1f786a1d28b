// The lists and answers that the cache keeps under one key: of one address and authority there may
// be several, since lists speak of different certificates and reasons. Fails as the cache does.
#pragma once

#include <basalt/coding/der_reader.h>

#include <string>
#include <vector>

namespace basalt {

inline constexpr std::size_t kMostKept = 4;

// Not more than that; none when nothing is kept that can be read.
std::vector<std::vector<BYTE>> kept_objects(const std::string& key);

// In place of what is kept; each is one whole element.
void keep_objects(const std::string& key, const std::vector<Bytes>& objects);

} // namespace basalt
