// The readers' C-library models were checked against glibc's stdio: tests that
// compare with the C library run where glibc is the C library and skip
// elsewhere (another runtime rounds, scans and reports positions its own way).
#pragma once

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

namespace KelpTest {

#if defined(__GLIBC__)
inline constexpr bool kGlibcReference = true;
// A read stream over `bytes` (which must outlive it).
inline std::FILE* memoryStream(std::string& bytes) { return fmemopen(bytes.data(), bytes.size(), "r"); }
#else
inline constexpr bool kGlibcReference = false;
inline std::FILE* memoryStream(std::string&) { return nullptr; }
#endif

}  // namespace KelpTest

#define KELP_REQUIRE_GLIBC_REFERENCE()                                                      \
    do {                                                                                    \
        if (!::KelpTest::kGlibcReference)                                                   \
            GTEST_SKIP() << "compares with glibc's stdio, which is not the C library here"; \
    } while (0)
