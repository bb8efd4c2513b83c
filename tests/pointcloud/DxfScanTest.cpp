// Pins the in-memory word and float scans to glibc's fscanf "%250s" and "%f"
// on the same bytes: same result, same value, same characters consumed.
#include "pointcloud/DxfScan.h"

#include "support/LocaleGuard.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <random>
#include <string>
#include <vector>

namespace {

using KelpPointCloud::DxfScanner;

struct FloatScan {
    bool stored;
    float value;
    long consumed;
};

FloatScan stdioScan(const std::string& text) {
    std::string copy = text;
    std::FILE* file = fmemopen(copy.data(), copy.size(), "r");
    float value = -7.0f;
    const int converted = std::fscanf(file, "%f", &value);
    const long consumed = std::ftell(file);
    std::fclose(file);
    return {converted == 1, value, consumed};
}

FloatScan memoryScan(const std::string& text) {
    DxfScanner scan(text.data(), text.data() + text.size());
    float value = -7.0f;
    const bool stored = scan.scanFloat(value);
    return {stored, value, static_cast<long>(scan.offset())};
}

void expectSameScan(const std::string& text) {
    const FloatScan expected = stdioScan(text);
    const FloatScan actual = memoryScan(text);
    EXPECT_EQ(actual.stored, expected.stored) << "[" << text << "]";
    EXPECT_EQ(actual.consumed, expected.consumed) << "[" << text << "]";
    if (std::isnan(expected.value)) {
        EXPECT_TRUE(std::isnan(actual.value)) << "[" << text << "]";
        EXPECT_EQ(std::signbit(actual.value), std::signbit(expected.value)) << "[" << text << "]";
    } else {
        EXPECT_EQ(std::memcmp(&actual.value, &expected.value, sizeof(float)), 0)
            << "[" << text << "] " << actual.value << " vs " << expected.value;
    }
}

TEST(DxfScanFloat, PartialNumbersAsTheStdioScan) {
    KelpTest::LocaleGuard locale;
    // What glibc makes of partial and unusual numbers, each followed by more text.
    for (const char* text :
         {"1.5abc X", "1e X", "1e+ X", "1e5x", "- X", "+ X", "-", "nan X", "NaN X", "nanx", "na X", "naX", "nX",
          "nan(123)", "inf", "infX", "infiX", "infinity X", "INFINITYx", "infin", "iX", "0x1p3", "0x X", "0x",
          "0x.p1", "0xg", "0x1p", "0x1.8", "0X1P-2z", "0xp3", "0x.1p1", "0x1e+5", "0xAe", "-0x", ".", ".5", "5.",
          "-.e1", ".e1", "1.2.3", "1e5e5", "1,5", "--1", "+-", "abc", "e5", "1e-50", "1e-40", "1e50", "1e400",
          "3.4028236e38", "0x1p200", "-0", "0e5", "00e5", "0.e5", "1e+-5", "12345678901234567890.123e-10",
          "1.000000059604644775390625", "1.00000005960464477539062500001", "  \n\t 42", "", "   ",
          "000000000000000000000000000000000000001"}) {
        expectSameScan(text);
    }
}

// The locales the scans run under: "C", and the reader's where it exists.
std::vector<const char*> scanLocales() {
    std::vector<const char*> names = {"C"};
    if (KelpTest::readerLocaleExists()) names.push_back(KelpTest::kReaderLocale);
    return names;
}

TEST(DxfScanFloat, RandomTextAsTheStdioScan) {
    KelpTest::LocaleGuard locale;
    const std::string alphabet = "0123456789.eE+-xXpPnNaAiIfFtTyY \n(\xa0\x85";
    for (const char* name : scanLocales()) {
        std::setlocale(LC_ALL, name);
        std::mt19937 random(20261121);
        for (int round = 0; round < 20000; ++round) {
            std::string text;
            const int length = static_cast<int>(random() % 12);
            for (int i = 0; i < length; ++i) text.push_back(alphabet[random() % alphabet.size()]);
            expectSameScan(text);
        }
    }
}

// Words of any length, with embedded zero bytes and every kind of white
// space, split exactly where "%250s" splits them.
TEST(DxfScanWord, WordsAsTheStdioScan) {
    KelpTest::LocaleGuard locale;
    std::mt19937 random(7);
    for (int round = 0; round < 200; ++round) {
        std::setlocale(LC_ALL, scanLocales()[static_cast<std::size_t>(round) % scanLocales().size()]);
        std::string text;
        while (text.size() < 2000) {
            const unsigned pick = random() % 10;
            if (pick < 2) {
                text.push_back(" \t\n\v\f\r"[random() % 6]);
            } else if (pick == 2) {
                text.append(240 + random() % 300, static_cast<char>('a' + random() % 26));
            } else if (pick == 3) {
                text.push_back('\0');
            } else {
                text.push_back(static_cast<char>(33 + random() % 200));
            }
        }
        std::string copy = text;
        std::FILE* file = fmemopen(copy.data(), copy.size(), "r");
        DxfScanner scan(text.data(), text.data() + text.size());
        char buffer[KelpPointCloud::kDxfWordLimit + 1];
        for (;;) {
            const bool expected = std::fscanf(file, "%250s", buffer) == 1;
            std::string_view word;
            ASSERT_EQ(scan.nextWord(word), expected);
            if (!expected) break;
            ASSERT_EQ(static_cast<long>(scan.offset()), std::ftell(file));
            // "%s" stores the zero bytes too; a comparison sees up to the first.
            ASSERT_EQ(std::string(word.substr(0, word.find('\0'))), std::string(buffer));
        }
        std::fclose(file);
    }
}

}  // namespace
