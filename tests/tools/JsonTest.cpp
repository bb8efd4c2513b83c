#include "Json.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

TEST(ToolJson, EscapesWhatJsonRequires) {
    EXPECT_EQ(KelpTool::jsonString("plain"), "\"plain\"");
    EXPECT_EQ(KelpTool::jsonString("a\"b\\c"), "\"a\\\"b\\\\c\"");
    EXPECT_EQ(KelpTool::jsonString("tab\there\nline\x01"), "\"tab\\there\\nline\\u0001\"");
    EXPECT_EQ(KelpTool::jsonString("caf\xC3\xA9"), "\"caf\xC3\xA9\"");            // valid UTF-8 kept
    EXPECT_EQ(KelpTool::jsonString("bad\xFF\xC3"), "\"bad\\ufffd\\ufffd\"");        // invalid bytes replaced
    EXPECT_EQ(KelpTool::jsonString("\xED\xA0\x80"), "\"\\ufffd\\ufffd\\ufffd\"");  // no surrogates
}

TEST(ToolJson, NumbersRoundTripAndNonFiniteIsNull) {
    EXPECT_EQ(KelpTool::jsonNumber(1.5), "1.5");
    EXPECT_EQ(KelpTool::jsonNumber(-0.1f), "-0.100000001");
    EXPECT_EQ(KelpTool::jsonNumber(1e30), "1e+30");
    EXPECT_EQ(KelpTool::jsonNumber(HUGE_VAL), "null");
    EXPECT_EQ(KelpTool::jsonNumber(NAN), "null");
}

}  // namespace
