// Extending one of several stamps.
#pragma once

#include <chronoseal/chronoseal.hpp>
#include <chronoseal/seal/shared_fetching.h>

namespace chronoseal {

// As `extend`; what it fetches is fetched together with the others.
Extension extend_together(const Stamp& stamp, const Trust& trust, const SharedFetching& together);

} // namespace chronoseal
