// The library switches the process locale; tests observe it and put the
// locale back to "C" afterwards so that one test cannot leak into the next.
#pragma once

#include <gtest/gtest.h>

#include <clocale>
#include <string>

namespace KelpTest {

inline constexpr const char* kReaderLocale = "Chinese-simplified";

inline std::string currentLocale() {
    const char* name = std::setlocale(LC_ALL, nullptr);
    return name ? name : "";
}

// True when the runtime knows the reader locale (created by the test setup
// with localedef where it can). Leaves the locale at "C".
inline bool readerLocaleExists() {
    const bool exists = std::setlocale(LC_ALL, kReaderLocale) != nullptr;
    std::setlocale(LC_ALL, "C");
    return exists;
}

// The name setlocale reports once the reader locale is in force: the name
// itself with glibc, the runtime's full name for it on Windows. Empty where
// the locale is missing. The locale in force is kept, so the name can be
// compared with it in either order of evaluation.
inline std::string readerLocaleName() {
    const std::string before = currentLocale();
    const char* name = std::setlocale(LC_ALL, kReaderLocale);
    const std::string reported = name ? name : "";
    std::setlocale(LC_ALL, before.c_str());
    return reported;
}

class LocaleGuard {
public:
    LocaleGuard() { std::setlocale(LC_ALL, "C"); }
    ~LocaleGuard() { std::setlocale(LC_ALL, "C"); }
};

}  // namespace KelpTest

// Skips the current test where the reader locale is missing, since a switch to
// it is then invisible.
#define KELP_REQUIRE_READER_LOCALE()                                                          \
    do {                                                                                      \
        if (!::KelpTest::readerLocaleExists())                                                \
            GTEST_SKIP() << "locale \"Chinese-simplified\" is missing here; create it with "  \
                            "'localedef -i zh_CN -f UTF-8 Chinese-simplified' (as root)";     \
    } while (0)
