// Certificates, revocation lists and OCSP answers of a Trust, in stores of the platform.
#pragma once

#include <span>

#include <chronoseal/atl/cert_store.h>
#include <chronoseal/chronoseal.hpp>

namespace chronoseal {

ATL2::CCertStore memory_store();

// What a source has to hold, whatever else stands in it: a slip that nobody tells of would make a
// verdict on something else than was meant.
enum class Wanted { anything, certificates, evidence };

// Puts all that the source holds into the store, PEM or DER, one or many. Throws
// `file_unreadable`, `no_certificates` for a source with nothing of use or without a certificate
// where one is wanted, `no_evidence` for one without a list or an answer, and `evidence_unreadable`
// where one of several can't be read.
void add_source(const Source& source, const ATL2::CCertStore& store,
                Wanted wanted = Wanted::anything);
void add_sources(std::span<const Source> sources, const ATL2::CCertStore& store,
                 Wanted wanted = Wanted::anything);

// A collection of open stores, which it keeps open.
ATL2::CCertStore collection_of(const std::vector<const ATL2::CCertStore*>& stores);

} // namespace chronoseal
