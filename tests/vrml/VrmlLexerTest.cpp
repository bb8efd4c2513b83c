#include "vrml/VrmlKeywords.h"
#include "vrml/VrmlReader.h"

#include "VrmlTestSupport.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>

#include <string>
#include <vector>

using namespace KelpVrml;
using KelpVrmlTest::bitsOf;
using KelpVrmlTest::ReaderOnText;
using KelpVrmlTest::Token;

namespace {

std::vector<int> codes(const std::string& text) {
    ReaderOnText on(text);
    std::vector<int> out;
    for (const Token& t : on.tokens()) out.push_back(t.code);
    return out;
}

Token single(const std::string& text) {
    ReaderOnText on(text);
    const auto all = on.tokens();
    EXPECT_EQ(all.size(), 1u) << text;
    return all.empty() ? Token{} : all[0];
}

TEST(VrmlLexer, CommasArePunctuationBetweenNumbers) {
    ReaderOnText on("1,2,3");
    const auto t = on.tokens();
    ASSERT_EQ(t.size(), 5u);
    EXPECT_EQ(std::vector<int>({t[0].code, t[1].code, t[2].code, t[3].code, t[4].code}),
              (std::vector<int>{kTokenNumber, ',', kTokenNumber, ',', kTokenNumber}));
    EXPECT_EQ(t[4].value, 3.0f);
    EXPECT_EQ(t[4].text, "3");
}

TEST(VrmlLexer, NumberGrammarStopsAtLettersAndPlus) {
    EXPECT_EQ(single("-.5").value, -0.5f);
    EXPECT_EQ(single("-0").value, 0.0f);
    EXPECT_TRUE(std::signbit(single("-0").value));

    // Exponents are not part of numbers: digits continue an identifier, a
    // minus starts the next number.
    ReaderOnText exponent("1.5e3 1e-5");
    const auto e = exponent.tokens();
    ASSERT_EQ(e.size(), 5u);
    EXPECT_EQ(e[0].value, 1.5f);
    EXPECT_EQ(e[1].code, kTokenIdentifier);
    EXPECT_EQ(e[1].text, "e3");
    EXPECT_EQ(e[2].value, 1.0f);
    EXPECT_EQ(e[3].text, "e");
    EXPECT_EQ(e[4].value, -5.0f);

    // A minus inside a number is collected and ignored by the conversion.
    const Token inner = single("1-2");
    EXPECT_EQ(inner.text, "1-2");
    EXPECT_EQ(inner.value, 1.0f);
    EXPECT_EQ(codes("+1"), (std::vector<int>{'+', kTokenNumber}));
    EXPECT_EQ(single("1.2.3").value, 1.2f);
}

TEST(VrmlLexer, DecimalConversionIsCorrectlyRounded) {
    for (const char* text : {"0.1", "3.14159265358979", "123456789", "16777217", "0.000000000000000000000000000000000000000000001",
                             "340282356779733661637539395458142568448", "99999999999999999999999999999999999999999",
                             "1234.5678", "0.30000001192092896"}) {
        float expected = 0.0f;
        ASSERT_EQ(std::sscanf(text, "%f", &expected), 1);
        ReaderOnText on(text);
        const auto t = on.tokens();
        ASSERT_FALSE(t.empty()) << text;
        EXPECT_EQ(bitsOf(t[0].value), bitsOf(expected)) << text;
    }
}

TEST(VrmlLexer, LeadingZeroAndXSelectOctalAndHexBits) {
    EXPECT_EQ(bitsOf(single("010").value), 8u);
    EXPECT_EQ(bitsOf(single("012").value), 10u);
    EXPECT_EQ(single("0").value, 0.0f);
    EXPECT_EQ(single("0.5").value, 0.5f);
    EXPECT_EQ(single("01.5").value, 1.5f);
    EXPECT_EQ(bitsOf(single("0x12").value), 0x12u);
    EXPECT_EQ(bitsOf(single("09").value), 0u);           // octal stops at 9
    EXPECT_EQ(bitsOf(single("1x5").value), 1u);          // x as second character
    EXPECT_EQ(bitsOf(single("077777777777").value), 0xFFFFFFFFu);
    // "%f" reads a hexadecimal float once a point switches the format back.
    EXPECT_EQ(single("0x.8").value, 0.5f);

    ReaderOnText split("0x1A 1xx");
    const auto t = split.tokens();
    ASSERT_EQ(t.size(), 4u);
    EXPECT_EQ(bitsOf(t[0].value), 1u);
    EXPECT_EQ(t[1].text, "A");
    EXPECT_EQ(t[2].text, "1x");
    EXPECT_EQ(t[3].text, "x");  // an x elsewhere starts an identifier
}

TEST(VrmlLexer, BadNumbersFailWithoutLinePrefix) {
    for (const char* text : {"-", ".", "-.", "--1", ".x1", "-x"}) {
        ReaderOnText on(std::string("1 ") + text);
        EXPECT_EQ(on.reader().nextToken(), kTokenNumber);
        EXPECT_EQ(on.reader().current().code, kTokenNumber);
        // The look-ahead read the bad number already.
        EXPECT_EQ(on.error(), "Number format error") << text;
        EXPECT_EQ(on.reader().nextToken(), kTokenBadNumber) << text;
    }
    ReaderOnText first("-");
    EXPECT_EQ(first.opened(), 0);
    EXPECT_EQ(first.error(), "vrml file " + first.path() + " has invalid content");
}

TEST(VrmlLexer, StringsKeepEscapedCharactersCompacted) {
    const Token quote = single(R"("a\"b")");
    EXPECT_EQ(quote.code, kTokenString);
    EXPECT_EQ(quote.text, "a\"b");
    EXPECT_EQ(single(R"("x\\")").text, "x\\");
    EXPECT_EQ(single(R"("\n\q")").text, "nq");
    EXPECT_EQ(single(R"("")").text, "");
    EXPECT_EQ(single("\"two\nlines # not a comment\"").text, "two\nlines # not a comment");
    // Unterminated at the end of the input: what was read is kept.
    EXPECT_EQ(single("\"open").text, "open");
}

TEST(VrmlLexer, LongStringsAreCutAtFiveHundredElevenPositions) {
    const std::string exact(511, 's');
    EXPECT_EQ(single("\"" + exact + "\"").text, exact);

    ReaderOnText longer("\"" + exact + "tail\"");
    const auto t = longer.tokens();
    ASSERT_EQ(t.size(), 3u);
    EXPECT_EQ(t[0].text, exact);
    EXPECT_EQ(t[1].text, "tail");
    EXPECT_EQ(t[2].code, kTokenString);  // the old closing quote opens a string

    // Escapes use a position each though nothing is stored for them.
    ReaderOnText pairs("\"" + std::string(300, '\\') + "zz\"");
    const auto p = pairs.tokens();
    ASSERT_FALSE(p.empty());
    EXPECT_EQ(p[0].text, std::string(150, '\\') + "zz");
    ReaderOnText full("\"" + std::string(600, '\\') + "\"");
    EXPECT_EQ(full.tokens()[0].text, std::string(255, '\\'));
}

TEST(VrmlLexer, IdentifiersAndCaseSensitiveKeywords) {
    EXPECT_EQ(codes("on ON Separator separator _x9 rotation CENTER center TRUE PointLight"),
              (std::vector<int>{kOn, kOnWord, kSeparator, kTokenIdentifier, kTokenIdentifier, kRotation, kCenter,
                                kCenter, kTrue, kPointLight}));
    const std::string longest(511, 'n');
    EXPECT_EQ(single(longest).text, longest);

}

TEST(VrmlLexerDeath, OverlongNumbersAndIdentifiersEndTheProcess) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(single(std::string(512, '7')), "");
    EXPECT_DEATH(single(std::string(600, 'q')), "");
}

TEST(VrmlLexer, CommentsWhitespaceAndOtherBytes) {
    // Comments never reach the caller; the header line is one.
    EXPECT_EQ(codes("#VRML V1.0 ascii\n{ # note\n}"), (std::vector<int>{'{', '}'}));
    // Only tab, line feed, carriage return and space are white space.
    EXPECT_EQ(codes("\t\r\n \v\x01"), (std::vector<int>{'\v', 1}));
    // Bytes of 128 or more are negative outside strings and comments.
    EXPECT_EQ(codes("\x80 \xfe # \xe4\xb8\xad\n"), (std::vector<int>{-128, -2}));
    EXPECT_EQ(single("\"\xe4\xb8\xad\"").text, "\xe4\xb8\xad");
}

TEST(VrmlLexer, ByteFFEndsTheInputAndZeroEndsOneScan) {
    EXPECT_EQ(codes("1 \xff 2"), (std::vector<int>{kTokenNumber}));
    EXPECT_EQ(codes("1 # note \xff\n 2"), (std::vector<int>{kTokenNumber}));
    EXPECT_EQ(codes("12\xff"), (std::vector<int>{kTokenNumber}));
    EXPECT_EQ(codes("\"ab\xff\" 3"), (std::vector<int>{kTokenString}));
    EXPECT_EQ(codes(std::string("1 \0 2", 5)), (std::vector<int>{kTokenNumber, kTokenEnd, kTokenNumber}));
    EXPECT_EQ(codes(std::string("# c\0 2", 6)), (std::vector<int>{kTokenNumber}));

    ReaderOnText ended("7");
    ended.reader().nextToken();
    for (int i = 0; i < 3; ++i) EXPECT_EQ(ended.reader().nextToken(), kTokenEnd);
    EXPECT_TRUE(ended.reader().atEndOfInput());
}

TEST(VrmlLexer, LineCounterIncludesTheLookAhead) {
    // Reading "a" for the look-ahead went one byte too far: the line feed.
    ReaderOnText on("a\nb\n\n# c\nd");
    EXPECT_EQ(on.reader().line(), 2);
    on.reader().nextToken();  // a; look-ahead b
    EXPECT_EQ(on.reader().line(), 3);
    on.reader().nextToken();  // b; look-ahead d, past the comment
    EXPECT_EQ(on.reader().line(), 5);
    // A pushed-back line feed is counted once.
    ReaderOnText pushed("12\n34");
    pushed.reader().nextToken();
    EXPECT_EQ(pushed.reader().line(), 2);
}

TEST(VrmlLexer, MissingFileIsReported) {
    KelpTest::TempDir dir;
    VrmlReader reader;
    const std::string path = dir.file("none.wrl");
    EXPECT_EQ(reader.open(path.c_str()), 0);
    EXPECT_EQ(std::string(reader.errorText()), "cannot open vrml file " + path);
    EXPECT_EQ(reader.nextToken(), kTokenEnd);
}

}  // namespace
