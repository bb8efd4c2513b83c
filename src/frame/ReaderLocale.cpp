#include "frame/ReaderLocale.h"

#include <clocale>
#include <cstring>

namespace KelpFrame {

namespace {
// What setlocale reported for the reader locale; empty until a switch works.
char reportedName[256] = {};
}  // namespace

void switchToReaderLocale() {
    const char* name = std::setlocale(LC_ALL, kReaderLocaleName);
    if (name && std::strlen(name) < sizeof reportedName) std::strcpy(reportedName, name);
}

void switchToCLocale() { std::setlocale(LC_ALL, "C"); }

bool readerLocaleInForce() {
    const char* now = std::setlocale(LC_ALL, nullptr);
    if (!now) return false;
    return std::strcmp(now, kReaderLocaleName) == 0 || (reportedName[0] && std::strcmp(now, reportedName) == 0);
}

}  // namespace KelpFrame
