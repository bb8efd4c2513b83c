// The platform layer gives the same answers on every system: conversions in
// the "C" locale rounded once, and file positions and sizes past 2 GiB.
#include "platform/CFloat.h"
#include "platform/FileOffset.h"

#include "support/CReference.h"
#include "support/TestFiles.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <limits>

namespace {

TEST(PlatformFloat, ConvertsLikeStrtofInTheCLocale) {
    const float inf = std::numeric_limits<float>::infinity();
    const struct {
        const char* text;
        float value;
        int used;  // characters converted
        bool range;  // ERANGE expected
        bool c99;    // a spelling the Windows runtime's strtod does not know
    } cases[] = {
        {"1.5", 1.5f, 3, false, false},
        {"  -0x1.8p+1 ", -3.0f, 11, false, true},
        {"+.25e1x", 2.5f, 6, false, false},
        {"3.4028235e38", std::numeric_limits<float>::max(), 12, false, false},
        {"1e39", inf, 4, true, false},
        {"-1e39", -inf, 5, true, false},
        {"1e-50", 0.0f, 5, true, false},
        {"-Infinity", -inf, 9, false, true},
        {"1e+", 1.0f, 1, false, false},
        {"abc", 0.0f, 0, false, false},
        {"", 0.0f, 0, false, false},
        // Just above the halfway point between 1 and the next float, by less
        // than a double can tell: rounding through a double would give 1.
        {"1.00000005960464477539062500001", 1.00000011920928955078125f, 31, false, false},
    };
    for (const auto& c : cases) {
        if (c.c99 && !KelpTest::kGlibcReference) continue;
        char* end = nullptr;
        errno = 0;
        const float value = KelpPlatform::strtofC(c.text, &end);
        EXPECT_EQ(std::memcmp(&value, &c.value, sizeof value), 0) << c.text << " gave " << value;
        EXPECT_EQ(end - c.text, c.used) << c.text;
        if (c.range) {
            EXPECT_EQ(errno, ERANGE) << c.text;
        }
    }
    if (KelpTest::kGlibcReference) {
        char* end = nullptr;
        EXPECT_TRUE(std::isnan(KelpPlatform::strtofC("nan(12)", &end)));
        EXPECT_EQ(*end, '\0');
    }
}

TEST(PlatformFile, PositionsAndSizesPastTwoGibibytes) {
    KelpTest::TempDir dir;
    const std::string path = dir.file("big.bin");
    KelpTest::writeFile(path, "head");
    // Sparse where the file system allows: no 3 GiB are written.
    const std::int64_t size = std::int64_t{3} << 30;
    std::error_code error;
    std::filesystem::resize_file(path, static_cast<std::uintmax_t>(size), error);
    if (error) GTEST_SKIP() << "cannot make a 3 GiB file here: " << error.message();
    std::FILE* file = std::fopen(path.c_str(), "rb+");
    ASSERT_NE(file, nullptr);
    const KelpPlatform::FileStatus status = KelpPlatform::statusOf(file);
    EXPECT_TRUE(status.known && status.regular && !status.directory);
    EXPECT_EQ(status.size, size);
    ASSERT_TRUE(KelpPlatform::seek(file, 0, SEEK_END));
    EXPECT_EQ(KelpPlatform::tell(file), size);
    const std::int64_t late = size - 10;
    ASSERT_TRUE(KelpPlatform::seek(file, late, SEEK_SET));
    ASSERT_EQ(std::fputc('k', file), 'k');
    ASSERT_TRUE(KelpPlatform::seek(file, late, SEEK_SET));
    EXPECT_EQ(std::fgetc(file), 'k');
    EXPECT_EQ(KelpPlatform::tell(file), late + 1);
    std::fclose(file);
    EXPECT_EQ(KelpPlatform::pathKind(path.c_str()), KelpPlatform::PathKind::Regular);
    EXPECT_EQ(KelpPlatform::pathKind(dir.path().string().c_str()), KelpPlatform::PathKind::Directory);
    EXPECT_EQ(KelpPlatform::pathKind(dir.file("missing").c_str()), KelpPlatform::PathKind::Missing);
}

}  // namespace
