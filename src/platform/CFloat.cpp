#include "platform/CFloat.h"

#include <clocale>
#include <cstdlib>
#include <locale.h>

#if defined(_WIN32)
#include <cctype>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <limits>
#include <system_error>
#endif

namespace KelpPlatform {

#if defined(_WIN32)
// The runtime has no strtof with a locale argument: _strtod_l finds the
// extent (blanks, sign, hexadecimal, infinity and nan spellings included) and
// from_chars rounds plain decimal text straight to float, so no value is
// rounded twice. Only what from_chars does not take (hexadecimal, inf/nan,
// out of range) goes through the double, with strtof's overflow and
// underflow results.
float strtofC(const char* text, char** end) {
    static const _locale_t locale = _create_locale(LC_ALL, "C");
    char* stop = nullptr;
    const double wide = _strtod_l(text, &stop, locale);
    if (end) *end = stop;
    if (stop == text) return 0.0f;
    const char* first = text;
    while (std::isspace(static_cast<unsigned char>(*first))) ++first;
    if (*first == '+') ++first;
    float value = 0.0f;
    const auto [ptr, ec] = std::from_chars(first, stop, value);
    if (ec == std::errc() && ptr == stop) return value;
    const double limit = std::numeric_limits<float>::max();
    if (std::isfinite(wide) && std::fabs(wide) > limit) {
        errno = ERANGE;
        return wide < 0 ? -HUGE_VALF : HUGE_VALF;
    }
    const float narrowed = static_cast<float>(wide);
    if (narrowed == 0.0f && wide != 0.0) errno = ERANGE;
    return narrowed;
}

double strtodC(const char* text, char** end) {
    static const _locale_t locale = _create_locale(LC_ALL, "C");
    return _strtod_l(text, end, locale);
}
#else
double strtodC(const char* text, char** end) {
    static const locale_t locale = newlocale(LC_ALL_MASK, "C", static_cast<locale_t>(nullptr));
    return strtod_l(text, end, locale);
}

float strtofC(const char* text, char** end) {
    static const locale_t locale = newlocale(LC_ALL_MASK, "C", static_cast<locale_t>(nullptr));
    return strtof_l(text, end, locale);
}
#endif

}  // namespace KelpPlatform
