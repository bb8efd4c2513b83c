// Every cursor of the scanning core against the C library on the same bytes,
// in the "C" and the reader's locale, through windows small enough that
// refills fall inside words and numbers.
#include "support/CReference.h"
#include "support/LocaleGuard.h"
#include "support/ScanOracle.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

namespace {

using KelpTest::ScanOp;
using KelpTest::ScanOracle;

std::vector<const char*> scanLocales() {
    std::vector<const char*> names = {"C"};
    if (KelpTest::readerLocaleExists()) names.push_back(KelpTest::kReaderLocale);
    return names;
}

// Refill sizes: every byte, odd sizes that cut tokens anywhere, the default.
const std::size_t kChunks[] = {1, 2, 3, 7, 61, 0};

// The spellings where the C library's choices show: partial exponents and
// signs, special values, hexadecimal, range limits, long mantissas, bytes
// outside ASCII and zero bytes.
std::vector<std::string> spellingFamily() {
    std::vector<std::string> family = {
        "1e", "1e+", "1e-x", "+.5", "-.5", "-", "+", ".", "-.", "-.e1", "5.", "nan", "-nan", "nan(12)", "na1",
        "nax", "inF", "-INF", "infx", "infi", "infinity", "INFINITYx", "infin", "0x1p3", "0X1P-2z", "0x", "-0x",
        "0x.", "0x.p1", "0x.8", "0xg", "0xp3", "0x1p", "0x1e+5", "1e39", "-1e39", "1e-39", "1e-46", "1e-50", "1e400",
        "3.4028236e38", "3.4028235e38", "1.7976931348623159e308", "4.9e-324", "2.4703282292062328e-324", "-0",
        "00e5", "0.e5", "1e+-5", "1.2.3", "1e5e5", "1,5", "--1", "+-", "12abc", "0.1", "123456789", "16777217",
        "0.000000059604644775390625", "1.000000059604644775390625", "1.00000005960464477539062500001",
        "9223372036854775807", "9223372036854775808", "-9223372036854775808", "-9223372036854775809",
        "18446744073709551615", "18446744073709551616", "4294967296", "-1", "2147483648", "99999999999999999999",
        std::string("1\0" "2", 3), std::string("\0", 1), "\xff", "1\xff", "\xa0" "1", "\xe3\x80\x80" "2",
        "nan(0x7ffffffffffff)", "-nan(0777)", "nan(99999999999999999999999)", "nan(1_)", "nan(0x)", "nan(5",
        "0x1.8p1", "0x.8", "0x1.p", "\v12", "\f-0x10"};
    // 400-digit mantissas: a halfway case decided only by the last digit,
    // and zeros before and after the point.
    family.push_back("1.00000005960464477539062" + std::string(400, '0') + "1");
    family.push_back("1.00000005960464477539062" + std::string(400, '0'));
    family.push_back(std::string(400, '9') + "e-400");
    family.push_back("0." + std::string(400, '0') + "1e400");
    family.push_back(std::string(400, '1'));
    family.push_back("-" + std::string(400, '0') + "7");
    family.push_back("0x" + std::string(400, 'f') + "p-1600");
    family.push_back("1e" + std::string(400, '9'));
    family.push_back("1e-" + std::string(400, '9'));
    return family;
}

class ScanCursor : public ::testing::Test {
protected:
    void SetUp() override { KELP_REQUIRE_GLIBC_REFERENCE(); }
    KelpTest::LocaleGuard guard;
};

TEST_F(ScanCursor, EverySpellingAsTheCLibrary) {
    const std::vector<std::string> family = spellingFamily();
    const std::string tails[] = {"", " ", "\n", "x", " 7"};
    for (const char* locale : scanLocales()) {
        std::setlocale(LC_ALL, locale);
        for (const std::string& spelling : family)
            for (const std::string& tail : tails)
                for (std::size_t chunk : kChunks)
                    for (int op = 0; op < static_cast<int>(ScanOp::Count); ++op) {
                        SCOPED_TRACE(::testing::Message() << locale << " [" << spelling + tail << "] chunk " << chunk);
                        ScanOracle oracle("  " + spelling + tail, chunk);
                        // The call itself, then what it left for the next one.
                        ASSERT_NO_FATAL_FAILURE(oracle.step(static_cast<ScanOp>(op)));
                        ASSERT_NO_FATAL_FAILURE(oracle.step(ScanOp::Word));
                        ASSERT_NO_FATAL_FAILURE(oracle.step(ScanOp::Float));
                    }
    }
}

TEST_F(ScanCursor, RandomCallsOnRandomText) {
    const std::vector<std::string> family = spellingFamily();
    const std::string alphabet = std::string("0123456789.eE+-xXpPnNaAiIfFtTyY \n\t\r\v/#(\xa0\x85\xff", 42) + '\0';
    std::mt19937 random(20261124);
    for (int round = 0; round < 3000; ++round) {
        std::setlocale(LC_ALL, scanLocales()[static_cast<std::size_t>(round) % scanLocales().size()]);
        std::string text;
        for (int i = static_cast<int>(random() % 12); i > 0; --i) {
            if (random() % 3 == 0)
                text += family[random() % family.size()];
            else
                text += alphabet[random() % alphabet.size()];
        }
        SCOPED_TRACE(::testing::Message() << "round " << round << " [" << text << "]");
        ScanOracle oracle(text, kChunks[random() % std::size(kChunks)]);
        for (int step = 0; step < 14; ++step)
            ASSERT_NO_FATAL_FAILURE(oracle.step(static_cast<ScanOp>(random() % static_cast<int>(ScanOp::Count))));
    }
}

// Plain numbers of every length up to 19 digits, with and without an
// exponent, some right on a float's rounding boundary: the one-pass
// conversion rounds as strtof and strtod do.
TEST_F(ScanCursor, PlainNumbersRoundAsTheCLibrary) {
    std::mt19937 random(17);
    std::string text;
    for (int i = 0; i < 4000; ++i) {
        std::string number = random() % 2 ? "-" : "";
        for (int d = 1 + static_cast<int>(random() % 10); d > 0; --d) number += static_cast<char>('0' + random() % 10);
        if (random() % 3) {
            number += '.';
            for (int d = static_cast<int>(random() % 10); d > 0; --d) number += static_cast<char>('0' + random() % 10);
        }
        if (random() % 4 == 0) number += "e" + std::to_string(static_cast<int>(random() % 60) - 30);
        text += number + (random() % 2 ? " " : "\n");
    }
    // Halfway between two floats: 1 + 2^-24 and neighbours, as decimals.
    text += "8388609.5 1.000000059604644775390625 1.0000000596046447753906 16777217 33554434.0 ";
    ScanOracle floats(text, 0), doubles(text, 0), passes(text, 0);
    for (int i = 0; i < 4005; ++i) {
        ASSERT_NO_FATAL_FAILURE(floats.step(ScanOp::Float));
        ASSERT_NO_FATAL_FAILURE(doubles.step(ScanOp::Double));
        ASSERT_NO_FATAL_FAILURE(passes.step(ScanOp::PlainFloat));
    }
}

// Words and lines far longer than the window, split where "%250s" and fgets
// split them.
TEST_F(ScanCursor, LongWordsAndLines) {
    std::mt19937 random(7);
    for (int round = 0; round < 60; ++round) {
        std::string text;
        while (text.size() < 3000) {
            const unsigned pick = random() % 10;
            if (pick < 2) text.push_back(" \t\n\v\f\r"[random() % 6]);
            else if (pick == 2) text.append(240 + random() % 600, static_cast<char>('a' + random() % 26));
            else text.push_back(pick == 3 ? '\0' : static_cast<char>(33 + random() % 200));
        }
        ScanOracle oracle(text, kChunks[static_cast<std::size_t>(round) % std::size(kChunks)]);
        for (int step = 0; step < 40; ++step) {
            const ScanOp ops[] = {ScanOp::Word, ScanOp::Word250, ScanOp::Word250InPlace, ScanOp::SkipWord, ScanOp::Line,
                                  ScanOp::SkipLine};
            ASSERT_NO_FATAL_FAILURE(oracle.step(ops[random() % std::size(ops)]));
        }
    }
}

TEST_F(ScanCursor, StreamExtractionAsIstringstream) {
    const std::vector<std::string> family = spellingFamily();
    std::mt19937 random(11);
    for (int round = 0; round < 3000; ++round) {
        std::string text;
        for (int line = 0; line < 4; ++line) {
            for (int k = static_cast<int>(random() % 4); k > 0; --k)
                text += std::string(random() % 3, ' ') + family[random() % family.size()];
            text += random() % 4 ? "\n" : "\r\n";
        }
        SCOPED_TRACE(::testing::Message() << "[" << text << "]");
        ScanOracle oracle(text, kChunks[random() % std::size(kChunks)]);
        for (int line = 0; line < 4; ++line) ASSERT_NO_FATAL_FAILURE(oracle.extractLine());
    }
}

}  // namespace
