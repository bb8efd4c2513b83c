// Pins the in-memory word and float scans to glibc's fscanf "%250s" and "%f"
// on the same bytes: same result, same value, same characters consumed.
#include "pointcloud/DxfScan.h"

#include "support/CReference.h"
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

// Scans `text` with fscanf("%f") and with the scanner: same result, same
// characters consumed, same bits stored (NaNs by sign only).
void expectSameScan(const std::string& text) {
    std::string copy = text;
    std::FILE* file = KelpTest::memoryStream(copy);
    float expected = -7.0f, actual = -7.0f;
    const bool expectedStored = std::fscanf(file, "%f", &expected) == 1;
    DxfScanner scan(text.data(), text.data() + text.size());
    EXPECT_EQ(scan.scanFloat(actual), expectedStored) << "[" << text << "]";
    EXPECT_EQ(static_cast<long>(scan.offset()), std::ftell(file)) << "[" << text << "]";
    std::fclose(file);
    if (std::isnan(expected))
        EXPECT_TRUE(std::isnan(actual) && std::signbit(actual) == std::signbit(expected)) << "[" << text << "]";
    else
        EXPECT_EQ(std::memcmp(&actual, &expected, sizeof(float)), 0) << "[" << text << "] " << actual;
}

// The locales the scans run under: "C", and the reader's where it exists.
std::vector<const char*> scanLocales() {
    std::vector<const char*> names = {"C"};
    if (KelpTest::readerLocaleExists()) names.push_back(KelpTest::kReaderLocale);
    return names;
}

TEST(DxfScanFloat, AsTheStdioScan) {
    KELP_REQUIRE_GLIBC_REFERENCE();
    KelpTest::LocaleGuard locale;
    // Partial and unusual numbers, then random text over the same alphabet.
    for (const char* text :
         {"1.5abc X", "1e+ X", "1e5x", "- X", "nan X", "nanx", "naX", "nan(123)", "infX", "infiX", "infinity X",
          "INFINITYx", "infin", "0x1p3", "0x X", "0x.p1", "0xg", "0x1p", "0X1P-2z", "0xp3", "0x1e+5", "-0x", ".",
          "5.", "-.e1", "1.2.3", "1e5e5", "1,5", "--1", "+-", "1e-50", "1e-40", "1e400", "3.4028236e38", "0x1p200",
          "-0", "00e5", "0.e5", "1e+-5", "12345678901234567890.123e-10", "1.000000059604644775390625",
          "1.00000005960464477539062500001", "  \n\t 42", "", "000000000000000000000000000000000000001"}) {
        expectSameScan(text);
    }
    const std::string alphabet = "0123456789.eE+-xXpPnNaAiIfFtTyY \n(\xa0\x85";
    for (const char* name : scanLocales()) {
        std::setlocale(LC_ALL, name);
        std::mt19937 random(20261121);
        for (int round = 0; round < 20000; ++round) {
            std::string text;
            for (int i = static_cast<int>(random() % 12); i > 0; --i)
                text.push_back(alphabet[random() % alphabet.size()]);
            expectSameScan(text);
        }
    }
}

// Words of any length, with embedded zero bytes and every kind of white
// space, split exactly where "%250s" splits them.
TEST(DxfScanWord, WordsAsTheStdioScan) {
    KELP_REQUIRE_GLIBC_REFERENCE();
    KelpTest::LocaleGuard locale;
    std::mt19937 random(7);
    for (int round = 0; round < 200; ++round) {
        std::setlocale(LC_ALL, scanLocales()[static_cast<std::size_t>(round) % scanLocales().size()]);
        // Runs of 240 to 540 letters between white space, zero bytes and other bytes.
        std::string text;
        while (text.size() < 2000) {
            const unsigned pick = random() % 10;
            if (pick < 2) text.push_back(" \t\n\v\f\r"[random() % 6]);
            else if (pick == 2) text.append(240 + random() % 300, static_cast<char>('a' + random() % 26));
            else text.push_back(pick == 3 ? '\0' : static_cast<char>(33 + random() % 200));
        }
        std::string copy = text;
        std::FILE* file = KelpTest::memoryStream(copy);
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
