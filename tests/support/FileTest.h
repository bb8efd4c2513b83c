// The usual fixture of a reader's tests: a private directory, the locale put
// back to "C" around the test, and one input file written from bytes.
#pragma once

#include "support/LocaleGuard.h"
#include "support/TestFiles.h"

#include <gtest/gtest.h>

#include <string>

namespace KelpTest {

class FileTest : public ::testing::Test {
protected:
    // Writes `bytes` as the input file and returns its path.
    const char* write(const std::string& bytes) {
        writeFile(path, bytes);
        return path.c_str();
    }

    LocaleGuard locale;
    TempDir dir;
    const std::string path = dir.file("input");
};

}  // namespace KelpTest
