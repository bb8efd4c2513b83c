// Float extraction with the results of formatted stream input (`stream >> f`)
// in the "C" locale, on a span of characters: leading white space skipped, an
// optional sign, digits with at most one decimal point, an optional exponent.
#pragma once

#include <cstddef>

namespace KelpPointCloud {

// Extracts one float from [*cursor, end). On success stores it in `value`,
// moves *cursor past the characters used and returns true. On failure returns
// false, leaves `value` as it was and moves *cursor past whatever the stream
// would have consumed; the stream would then be failed, so callers stop
// extracting from that span.
bool extractStreamFloat(const char** cursor, const char* end, float& value);

}  // namespace KelpPointCloud
