// Certificates, revocation lists and OCSP answers of a Trust, in stores of the platform.
#pragma once

#include <span>

#include <chronoseal/atl/cert_store.h>
#include <chronoseal/chronoseal.hpp>

namespace chronoseal {

ATL2::CCertStore memory_store();

// Puts all that the source holds into the store, PEM or DER, one or many. Throws
// `file_unreadable`, and `no_certificates` for a source with nothing of use.
void add_source(const Source& source, const ATL2::CCertStore& store);
void add_sources(std::span<const Source> sources, const ATL2::CCertStore& store);

// A collection of open stores, which it keeps open.
ATL2::CCertStore collection_of(const std::vector<const ATL2::CCertStore*>& stores);

} // namespace chronoseal
