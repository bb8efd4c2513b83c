// The scanner against glibc itself: every case runs through fscanf / sscanf
// on a real FILE and through ObjStream, and both must agree on the result,
// the value's bits, the bytes consumed and the end-of-file flag. Words and
// lines are checked the same way, file by file, in ObjStdioAgreementTest.
#include "obj/ObjStream.h"

#include "support/LocaleGuard.h"
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <random>
#include <string>

namespace {

std::FILE* fileWith(const std::string& text) {
    std::FILE* file = std::tmpfile();
    std::fwrite(text.data(), 1, text.size(), file);
    std::rewind(file);
    return file;
}

std::uint32_t bits(float f) {
    std::uint32_t b;
    std::memcpy(&b, &f, sizeof b);
    return b;
}

void expectFloatAgrees(const std::string& text) {
    std::FILE* file = fileWith(text);
    float expected = 42.0f;
    const int converted = std::fscanf(file, "%f", &expected);
    const long consumed = std::ftell(file);
    const bool eof = std::feof(file) != 0;
    std::fclose(file);

    KelpObj::ObjStream stream(text.data(), text.data() + text.size());
    float actual = 42.0f;
    const bool ok = stream.readFloat(actual);
    SCOPED_TRACE("input \"" + text + "\"");
    EXPECT_EQ(ok, converted == 1);
    EXPECT_EQ(bits(actual), bits(expected)) << actual << " vs " << expected;
    EXPECT_EQ(stream.offset(), static_cast<std::size_t>(consumed));
    EXPECT_EQ(stream.eof(), eof);
}

TEST(ObjStream, FloatSpellingsAgreeWithFscanf) {
    KelpTest::LocaleGuard guard;
    const char* cases[] = {
        "1e", "1e ", "1e+", "1e+ x", "1e+5", "+.5", "-", "- 3", ".", ".e5", "nan", "NaN x", "nan(12)", "na1",
        "inf", "infinity", "infin", "infx", "-inf", "+inf", "-nan", "0x1p3", "0x", "0x ", "0xg", "0x.8", "0x1p",
        "0x1p+", "0x.", "-0x.", "-0x", "0xp1", "0x1e5", "0X1P-2", "1.5.5", "1,5", "00.5e-2z", "1e400", "-1e400",
        "1e-50", "1.4e-45", "3.4028236e38", "+", "+-1", "e5", "  \n 7", "", "   ", "1e5e5", "12abc", "1.",
        "-.", "-.e", "i", "n", "0", "0\n", "00x1", "1e+-5", "5e.5", "0.1", "123456789012345678901234567890",
        "0.000000000000000000000000000000000000000000001", "\v5", "\x01", "1.e5", "-0",
    };
    for (const char* text : cases) expectFloatAgrees(text);
    expectFloatAgrees(std::string("1\0" "5", 3));
    expectFloatAgrees(std::string("\0" "5", 2));
}

TEST(ObjStream, RandomNumberTextAgreesWithFscanf) {
    KelpTest::LocaleGuard guard;
    const std::string alphabet = "0123456789.eE+-xXpPnNaAiIfFtTyY \n\t/#";
    std::mt19937 random(1234);
    for (int i = 0; i < 3000; ++i) {
        std::string text;
        const int length = static_cast<int>(random() % 9);
        for (int k = 0; k < length; ++k) text.push_back(alphabet[random() % alphabet.size()]);
        expectFloatAgrees(text);
    }
}

TEST(ObjStream, LineOfExactlyBufferSizeDoesNotSetEof) {
    const std::string text(2047, 'a');
    KelpObj::ObjStream stream(text.data(), text.data() + text.size());
    const char* b;
    const char* e;
    ASSERT_TRUE(stream.readLine(2048, b, e));
    EXPECT_EQ(e - b, 2047);
    EXPECT_FALSE(stream.eof());  // fgets stopped for room, without looking further
    EXPECT_FALSE(stream.readLine(2048, b, e));
    EXPECT_TRUE(stream.eof());
}

TEST(ObjStream, DecimalIntAgreesWithSscanf) {
    const char* cases[] = {"4294967297", "99999999999999999999", "-", "+5", "-0", "2147483648", "-2147483649",
                           "0x10", "1e5", "", "+", "--1", "12", "-99999999999999999999", "9223372036854775808",
                           "-9223372036854775808", "7abc", "a7"};
    for (const char* text : cases) {
        int expected = 42;
        const int converted = std::sscanf(text, "%d", &expected);
        std::int32_t actual = 42;
        const bool ok = KelpObj::scanDecimalInt(text, text + std::strlen(text), actual);
        EXPECT_EQ(ok, converted == 1) << text;
        EXPECT_EQ(actual, expected) << text;
    }
}

}  // namespace

namespace {

// The glibc results spelled out, so that a change of C library shows here too.
TEST(ObjStream, PinnedFloatResults) {
    const struct {
        const char* text;
        bool converted;
        float value;
        std::size_t consumed;
        bool eof;
    } cases[] = {
        {"1e", true, 1.0f, 2, true},      {"1e+ ", true, 1.0f, 3, false}, {"+.5", true, 0.5f, 3, true},
        {"- 3", false, 42.0f, 1, false},  {"na1", false, 42.0f, 3, false}, {"0x1p3", true, 8.0f, 5, true},
        {"0xg", false, 42.0f, 2, false},  {"infx", true, INFINITY, 3, false}, {"1.5.5", true, 1.5f, 3, false},
        {"e5", false, 42.0f, 0, false},   {"nan\n", true, NAN, 3, false},
    };
    for (const auto& c : cases) {
        const std::string text = c.text;
        KelpObj::ObjStream stream(text.data(), text.data() + text.size());
        float value = 42.0f;
        EXPECT_EQ(stream.readFloat(value), c.converted) << c.text;
        if (std::isnan(c.value))
            EXPECT_TRUE(std::isnan(value)) << c.text;
        else
            EXPECT_EQ(value, c.value) << c.text;
        EXPECT_EQ(stream.offset(), c.consumed) << c.text;
        EXPECT_EQ(stream.eof(), c.eof) << c.text;
    }
}

}  // namespace
