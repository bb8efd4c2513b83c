#include "support/CReference.h"
#include "vrml/VrmlKeywords.h"
#include "vrml/VrmlReader.h"

#include "VrmlTestSupport.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <utility>
#include <vector>

using namespace KelpVrml;
using KelpVrmlTest::bitsOf;
using KelpVrmlTest::ReaderOnText;
using KelpVrmlTest::Token;

namespace {

std::vector<int> codes(const std::string& text) {
    std::vector<int> out;
    for (const Token& t : ReaderOnText(text).tokens()) out.push_back(t.code);
    return out;
}

std::vector<std::string> texts(const std::string& text) {
    std::vector<std::string> out;
    for (const Token& t : ReaderOnText(text).tokens()) out.push_back(t.text);
    return out;
}

TEST(VrmlLexer, TokenCodes) {
    const std::vector<std::pair<std::string, std::vector<int>>> cases = {
        {"1,2", {kTokenNumber, ',', kTokenNumber}},
        {"+1", {'+', kTokenNumber}},
        {"on ON Separator separator _x9 rotation CENTER center TRUE PointLight",
         {kOn, kOnWord, kSeparator, kTokenIdentifier, kTokenIdentifier, kRotation, kCenter, kCenter, kTrue,
          kPointLight}},
        // Comments never reach the caller; the header line is one.
        {"#VRML V1.0 ascii\n{ # note\n}", {'{', '}'}},
        // Only tab, line feed, carriage return and space are white space.
        {"\t\r\n \v\x01", {'\v', 1}},
        // Bytes of 128 or more are negative outside strings and comments.
        {"\x80 \xfe # \xe4\xb8\xad\n", {-128, -2}},
        // Byte 0xFF ends the input wherever it stands; a zero byte ends one scan.
        {"1 \xff 2", {kTokenNumber}},
        {"1 # note \xff\n 2", {kTokenNumber}},
        {"\"ab\xff\" 3", {kTokenString}},
        {std::string("1 \0 2", 5), {kTokenNumber, kTokenEnd, kTokenNumber}},
        {std::string("# c\0 2", 6), {kTokenNumber}},
    };
    for (const auto& [text, expected] : cases) EXPECT_EQ(codes(text), expected) << text;

    ReaderOnText ended("7");
    ended.reader.nextToken();
    for (int i = 0; i < 3; ++i) EXPECT_EQ(ended.reader.nextToken(), kTokenEnd);
    EXPECT_TRUE(ended.reader.atEndOfInput());
}

TEST(VrmlLexer, NumberRules) {
    // A leading zero selects octal and an x as second character hexadecimal,
    // both stored as the bits of the float; a point switches back to "%f".
    const std::vector<std::pair<std::string, std::uint32_t>> bits = {
        {"-.5", bitsOf(-0.5f)}, {"-0", 0x80000000u},   {"1-2", bitsOf(1.0f)}, {"1.2.3", bitsOf(1.2f)},
        {"01.5", bitsOf(1.5f)}, {"0x.8", bitsOf(0.5f)}, {"010", 8u},           {"0x12", 0x12u},
        {"09", 0u},             {"1x5", 1u},            {"077777777777", 0xFFFFFFFFu}};
    for (const auto& [text, expected] : bits) {
        // A hexadecimal float converts as the C library converts it: glibc
        // knows the spelling, the Windows runtime stops at the x.
        if (text == "0x.8" && !KelpTest::kGlibcReference) continue;
        const std::vector<Token> t = ReaderOnText(text).tokens();
        ASSERT_EQ(t.size(), 1u) << text;
        EXPECT_EQ(bitsOf(t[0].value), expected) << text;
    }
    // Exponents are no part of numbers: letters start an identifier, a minus
    // the next number; a minus inside a number is collected.
    EXPECT_EQ(texts("1.5e3 1e-5 1-2"), (std::vector<std::string>{"1.5", "e3", "1", "e", "-5", "1-2"}));
    EXPECT_EQ(texts("0x1A 1xx"), (std::vector<std::string>{"0x1", "A", "1x", "x"}));

    // Decimal conversion is correctly rounded, as "%f".
    for (const char* text : {"0.1", "3.14159265358979", "16777217", "0.000000000000000000000000000000000000000000001",
                             "340282356779733661637539395458142568448", "99999999999999999999999999999999999999999",
                             "0.30000001192092896"}) {
        float expected = 0.0f;
        ASSERT_EQ(std::sscanf(text, "%f", &expected), 1);
        EXPECT_EQ(bitsOf(ReaderOnText(text).tokens().at(0).value), bitsOf(expected)) << text;
    }
}

TEST(VrmlLexer, BadNumbersAndOpenFailures) {
    for (const char* text : {"-", ".", "-.", "--1", ".x1", "-x"}) {
        ReaderOnText on(std::string("1 ") + text);
        EXPECT_EQ(on.reader.nextToken(), kTokenNumber);
        // The look-ahead read the bad number already; the text has no line.
        EXPECT_EQ(on.error(), "Number format error") << text;
        EXPECT_EQ(on.reader.nextToken(), kTokenBadNumber) << text;
    }
    ReaderOnText first("-");
    EXPECT_FALSE(first.opened);
    EXPECT_EQ(first.error(), "vrml file " + first.path + " has invalid content");

    KelpTest::TempDir dir;
    VrmlReader reader;
    const std::string path = dir.file("none.wrl");
    EXPECT_FALSE(reader.open(path.c_str()));
    EXPECT_EQ(std::string(reader.errorText()), "cannot open vrml file " + path);
    EXPECT_EQ(reader.nextToken(), kTokenEnd);
}

TEST(VrmlLexer, StringsAndTheFiveHundredElevenPositions) {
    const std::string exact(511, 's');
    const std::vector<std::pair<std::string, std::string>> firstText = {
        {R"("a\"b")", "a\"b"},
        {R"("x\\")", "x\\"},
        {R"("\n\q")", "nq"},
        {"\"two\nlines # not a comment\"", "two\nlines # not a comment"},
        {"\"\xe4\xb8\xad\"", "\xe4\xb8\xad"},
        {"\"open", "open"},  // unterminated at the end: what was read is kept
        {"\"" + exact + "\"", exact},
        {std::string(511, 'n'), std::string(511, 'n')},
        // Escapes use a position each though nothing is stored for them.
        {"\"" + std::string(300, '\\') + "zz\"", std::string(150, '\\') + "zz"},
        {"\"" + std::string(600, '\\') + "\"", std::string(255, '\\')}};
    for (const auto& [text, expected] : firstText) EXPECT_EQ(texts(text).at(0), expected) << text;
    // A longer string is cut, and its closing quote opens another.
    EXPECT_EQ(texts("\"" + exact + "tail\""), (std::vector<std::string>{exact, "tail", ""}));
    EXPECT_EQ(codes("\"" + exact + "tail\"").back(), kTokenString);
}

TEST(VrmlLexerDeath, OverlongNumbersAndIdentifiersEndTheProcess) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(codes(std::string(512, '7')), "");
    EXPECT_DEATH(codes(std::string(600, 'q')), "");
}

}  // namespace
