#include "pointcloud/StreamFloat.h"

#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <string>
#include <system_error>

namespace KelpPointCloud {

namespace {
bool isStreamSpace(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r';
}

bool isDigit(char c) { return c >= '0' && c <= '9'; }

// from_chars gives up on magnitudes outside float's range; the stream then
// stores what strtof gives, failing only on overflow to infinity.
bool convertOutOfRange(const char* first, const char* last, float& value) {
    const std::string text(first, last);
    errno = 0;
    const float converted = std::strtof(text.c_str(), nullptr);
    if (std::isinf(converted)) return false;
    value = converted;
    return true;
}
}  // namespace

bool extractStreamFloat(const char** cursor, const char* end, float& value) {
    const char* p = *cursor;
    while (p < end && isStreamSpace(*p)) ++p;
    const char* const start = p;

    bool negative = false;
    if (p < end && (*p == '+' || *p == '-')) {
        negative = *p == '-';
        ++p;
    }
    const char* const mantissa = p;
    bool digits = false;
    while (p < end && isDigit(*p)) {
        ++p;
        digits = true;
    }
    if (p < end && *p == '.') {
        ++p;
        while (p < end && isDigit(*p)) {
            ++p;
            digits = true;
        }
    }
    bool exponentOk = true;
    if (digits && p < end && (*p == 'e' || *p == 'E')) {
        ++p;
        if (p < end && (*p == '+' || *p == '-')) ++p;
        exponentOk = false;
        while (p < end && isDigit(*p)) {
            ++p;
            exponentOk = true;
        }
    }
    *cursor = p;
    if (!digits || !exponentOk || p == start) return false;

    float parsed = 0.0f;
    const auto result = std::from_chars(mantissa, p, parsed, std::chars_format::general);
    if (result.ec == std::errc::result_out_of_range) {
        if (!convertOutOfRange(mantissa, p, parsed)) return false;
    } else if (result.ec != std::errc() || result.ptr != p) {
        return false;
    }
    value = negative ? -parsed : parsed;
    return true;
}

}  // namespace KelpPointCloud
