// The fixed-width reader behind CDateTime and CDateTimeSpan from text.
#pragma once

#include <ctime>
#include <string>

namespace Halcyon {

// Reads YYYYMMDDhhmmss at fixed places; fields beyond the end of a short text read as 0. With 16
// characters or more the part from index 15 on, less one "Z" at its end, is the fraction, of which
// six digits count. No range is tested and no zone is looked at. With `asSpan` year and month go
// into the result as they stand, otherwise as years since 1900 and months since January. Throws
// CAtlException 0x8007076D for a character that is no digit.
std::tm GeneralizedTimeToTm(const std::string& text, int& microseconds, bool asSpan);

} // namespace Halcyon
