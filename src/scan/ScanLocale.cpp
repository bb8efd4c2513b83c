#include "scan/ScanLocale.h"

#include <cctype>
#include <clocale>
#include <cstring>
#include <initializer_list>

namespace KelpScan {

ScanLocale ScanLocale::current() {
    ScanLocale locale;
    for (int c = 0; c < 256; ++c) locale.space[c] = std::isspace(c) != 0;
    const std::lconv* conventions = std::localeconv();
    const char* point = conventions ? conventions->decimal_point : nullptr;
    const std::size_t length = point ? std::strlen(point) : 0;
    if (length > 0 && length < sizeof locale.decimalPoint) {
        std::memcpy(locale.decimalPoint, point, length + 1);
        locale.decimalLength = length;
    }
    locale.plainPoint = locale.decimalLength == 1 && locale.decimalPoint[0] == '.';
    return locale;
}

const ScanLocale& ScanLocale::classic() {
    static const ScanLocale locale = [] {
        ScanLocale c;
        for (const char s : {' ', '\t', '\n', '\v', '\f', '\r'}) c.space[static_cast<unsigned char>(s)] = true;
        return c;
    }();
    return locale;
}

}  // namespace KelpScan
