// Pins the float extraction to what `std::istringstream >> float` does in the
// "C" locale, apart from the described rule that a failed extraction keeps the
// previous value.
#include "pointcloud/StreamFloat.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <string>

namespace {

struct Extracted {
    bool ok;
    float value;
    std::size_t consumed;
};

Extracted extract(const std::string& text, float previous = 42.0f) {
    const char* cursor = text.data();
    float value = previous;
    const bool ok = KelpPointCloud::extractStreamFloat(&cursor, text.data() + text.size(), value);
    return {ok, value, static_cast<std::size_t>(cursor - text.data())};
}

TEST(StreamFloat, AcceptsTheStreamNotation) {
    EXPECT_EQ(extract("1.5").value, 1.5f);
    EXPECT_EQ(extract("  -2e3").value, -2000.0f);
    EXPECT_EQ(extract("+.5").value, 0.5f);
    EXPECT_EQ(extract("5.").value, 5.0f);
    EXPECT_EQ(extract("1E+2").value, 100.0f);
    EXPECT_EQ(extract("0.1").value, 0.1f);
    EXPECT_EQ(extract("1e-45").value, 1e-45f);  // denormal, kept
    EXPECT_EQ(extract("1e-60").value, 0.0f);    // underflow reads as zero
    EXPECT_TRUE(std::signbit(extract("-0").value));
}

TEST(StreamFloat, StopsAtTheFirstCharacterOutsideTheGrammar) {
    EXPECT_EQ(extract("1.5.3").consumed, 3u);
    EXPECT_EQ(extract("12abc").consumed, 2u);
    EXPECT_EQ(extract("1,2").consumed, 1u);
    EXPECT_EQ(extract("0x1p3").value, 0.0f);  // hexadecimal is not stream notation
    EXPECT_EQ(extract("0x1p3").consumed, 1u);
}

TEST(StreamFloat, FailuresKeepThePreviousValue) {
    for (const char* text : {"", "   ", "-", "+", ".", "e5", "1e", "1e+", "inf", "nan", "1e39", "-1e39", ",1"}) {
        const Extracted r = extract(text);
        EXPECT_FALSE(r.ok) << text;
        EXPECT_EQ(r.value, 42.0f) << text;
    }
}

}  // namespace
