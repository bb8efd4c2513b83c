#include "ply/PlyFile.h"

#include "PlyTestFiles.h"
#include "support/FileTest.h"

#include <gtest/gtest.h>

#include <cstring>
#include <optional>
#include <vector>

using namespace KelpPly;
using KelpPlyTest::Bytes;
using KelpPlyTest::header;

namespace {

constexpr const char* kLE = "binary_little_endian";
constexpr const char* kBE = "binary_big_endian";

class PlyData : public KelpTest::FileTest {
protected:
    // One element "e" of one instance with the given property lines.
    void open(const std::string& format, const std::string& properties, const std::string& body) {
        std::memset(record, 0xAA, sizeof record);
        ply = PlyFile();
        ASSERT_TRUE(ply.open(write(header(format, "element e 1\n" + properties) + body)));
    }

    bool request(const char* name, PlyScalarType stored, PlyScalarType memory, std::size_t offset) {
        return ply.requestProperty({"e", name, stored, memory, offset});
    }

    // List "v": its count as an int at 0, its items from 16 with room for three.
    bool requestList(PlyScalarType stored, PlyScalarType memory, PlyScalarType countStored) {
        return ply.requestProperty(
            {"e", "v", stored, memory, 16, true, false, countStored, PlyScalarType::Int, 0, PlyFormat::Unknown, 3});
    }

    bool readOne() {
        ply.selectElement(0);
        return ply.readInstance(record);
    }

    template <typename T>
    T at(std::size_t offset) const {
        T v;
        std::memcpy(&v, record + offset, sizeof v);
        return v;
    }

    PlyFile ply;
    unsigned char record[4096];
};

// Every row of the byte-order and success rule, for stored scalars: the value
// read under little and under big endian (none where the read fails).
TEST_F(PlyData, BinaryScalarsFollowTheByteOrderAndSuccessTable) {
    const std::nullopt_t fails = std::nullopt;
    const std::vector<std::tuple<const char*, std::vector<unsigned>, std::optional<double>, std::optional<double>>>
        rows = {
            {"char", {0xFF}, -1, -1},
            {"uchar", {0xFF}, 255, 255},
            {"short", {0x01, 0x02}, 0x0102, 0x0201},  // reversed under little endian only
            {"short", {0xFF, 0xFE}, -2, -257},
            {"ushort", {0x01, 0x00}, 256, 1},
            {"ushort", {0xFF, 0xFE}, 0xFFFE, 0xFEFF},
            {"int", {0x01, 0, 0, 0}, 1, 1},  // as read in both
            {"int", {0, 0, 0, 0}, 0, fails},  // zero fails under big endian
            {"uint", {0x01, 0, 0, 0}, 16777216, 1},
            {"uint", {0, 0, 0, 0}, 0, 0},
            {"float", {0, 0, 0x80, 0x3F}, 1.0, 1.0},
            {"float", {0, 0, 0, 0}, 0.0, fails},
            {"double", {0, 0, 0, 0, 0, 0, 0xF0, 0x3F}, 1.0, 1.0},
            {"double", {0, 0, 0, 0, 0, 0, 0, 0}, 0.0, 0.0},
            {"short", {0x01}, fails, fails},  // short reads
            {"double", {0, 0, 0}, fails, fails},
            {"uchar", {}, fails, fails},
        };
    for (const auto& [name, bytes, little, big] : rows) {
        for (const char* format : {kLE, kBE}) {
            SCOPED_TRACE(std::string(format) + " " + name);
            const std::optional<double>& expected = format == kLE ? little : big;
            Bytes body;
            for (unsigned b : bytes) body.u8(b);
            open(format, std::string("property ") + name + " v\n", body.data);
            const PlyScalarType type = plyTypeFromName(name);
            // Char reads only into char; everything else is checked through double.
            ASSERT_TRUE(request("v", type, type == PlyScalarType::Char ? PlyScalarType::Char : PlyScalarType::Double, 8));
            EXPECT_EQ(readOne(), expected.has_value());
            if (expected) { EXPECT_EQ(type == PlyScalarType::Char ? at<std::int8_t>(8) : at<double>(8), *expected); }
        }
    }
}

TEST_F(PlyData, CharIntoOtherTypesIsDroppedAndNarrowingKeepsTheLowBytes) {
    open(kLE, "property char a\nproperty int b\nproperty float c\n", Bytes().u8(0x80).i32(0x12345678).f32(2).data);
    ASSERT_TRUE(request("a", PlyScalarType::Char, PlyScalarType::Int, 0));
    ASSERT_TRUE(request("b", PlyScalarType::Int, PlyScalarType::Ushort, 4));
    ASSERT_TRUE(request("c", PlyScalarType::Float, PlyScalarType::Int, 8));
    EXPECT_FALSE(readOne());  // a pair without a binary routine reads as a failure
    EXPECT_EQ(at<std::uint32_t>(0), 0xAAAAAAAAu);
    EXPECT_EQ(at<std::uint32_t>(4), 0xAAAA5678u);
}

struct ListRow {
    const char* format;
    const char* declaration;  // count type and item type
    PlyScalarType memoryType;
    Bytes body;
    bool ok;
    std::int32_t count;
    std::uint32_t firstItem;  // the raw bits at the items' destination
};

TEST_F(PlyData, BinaryListsReadTheirCountAsOneByteExceptForIntItemsAsInt) {
    const std::uint32_t untouched = 0xAAAAAAAAu;
    const std::vector<ListRow> rows = {
        {kLE, "int float", PlyScalarType::Float, Bytes().u8(2).u8(0).u8(0).u8(0x80).u8(0x3F).f32(2), true, 2, 0x3F800000},
        {kLE, "int int", PlyScalarType::Int, Bytes().i32(2).i32(1).i32(5), true, 2, 1},
        {kLE, "int int", PlyScalarType::Uint, Bytes().i32(2).i32(1).i32(5), true, 2, 0x01000000},
        {kLE, "char int", PlyScalarType::Int, Bytes().u8(0xFF), true, -1, untouched},  // signed count
        {kLE, "short int", PlyScalarType::Int, Bytes().u8(0).u8(1).i32(9), true, 1, 9},
        {kBE, "short int", PlyScalarType::Int, Bytes().u8(1).u8(0).i32(9), true, 1, 9},
        {kBE, "int int", PlyScalarType::Int, Bytes().i32(0), false, 0, 0},  // zero int count
        {kLE, "int int", PlyScalarType::Int, Bytes().i32(0), true, 0, untouched},
        {kLE, "uchar uint", PlyScalarType::Int, Bytes().u8(1).u8(0).u8(0).u8(0).u8(7), true, 1, 7},
        // Int and float items are not checked under big endian: a short list passes.
        {kBE, "uchar int", PlyScalarType::Int, Bytes().u8(3).i32(4), true, 3, 4},
        {kBE, "uchar float", PlyScalarType::Float, Bytes().u8(3).i32(4), true, 3, 4},
        {kLE, "uchar float", PlyScalarType::Float, Bytes().u8(3).i32(4), false, 0, 0},
        {kBE, "uchar short", PlyScalarType::Short, Bytes().u8(2).u8(0).u8(1), false, 0, 0},
        {kLE, "uchar char", PlyScalarType::Int, Bytes().u8(2).u8(5).u8(6), true, 2, untouched},  // char items dropped
        // Lists written in place keep what fits the room the caller gave; the rest must still be there.
        {kLE, "uchar int", PlyScalarType::Int, Bytes().u8(4).i32(1).i32(2).i32(3).i32(4), true, 4, 1},
        {kLE, "uchar int", PlyScalarType::Int, Bytes().u8(4).i32(1).i32(2).i32(3).u8(4), false, 0, 0},
        {kBE, "uchar int", PlyScalarType::Int, Bytes().u8(9).i32(1).i32(2).i32(3).u8(4), true, 9, 1},
    };
    for (const ListRow& row : rows) {
        SCOPED_TRACE(testing::Message() << row.format << " list " << row.declaration);
        open(row.format, std::string("property list ") + row.declaration + " v\n", row.body.data);
        const PlyProperty& declared = ply.elements[0].properties[0];
        ASSERT_TRUE(requestList(declared.type, row.memoryType, declared.countType));
        EXPECT_EQ(readOne(), row.ok);
        if (row.ok) { EXPECT_EQ(at<std::int32_t>(0), row.count); }
        if (row.ok || row.firstItem == untouched) { EXPECT_EQ(at<std::uint32_t>(16), row.firstItem); }
    }
}

// Unrequested properties are skipped; "m" behind them shows where the skip ended.
TEST_F(PlyData, SkippersKeepTheStreamInStep) {
    const std::vector<std::tuple<const char*, std::string, std::string, int>> rows = {
        {kLE, "property list uchar int l\n", Bytes().u8(0).u8(42).data, -1},  // a list of 0 items fails
        {kLE, "property list uchar int l\n", Bytes().u8(1).i32(9).u8(42).data, 42},
        {kLE, "property list uchar double l\n", Bytes().u8(2).le(0, 8).u8(42).data, 42},  // 4 bytes an item
        {kLE, "property list int short l\n", Bytes().u8(1).u8(0).u8(42).u8(0).data, 0},  // a one-byte count
        {kLE, "property double d\nproperty short s\n", Bytes().le(0, 8).le(0, 2).u8(42).data, 42},
        {kLE, "property double d\n", Bytes().le(0, 7).data, -1},
        {"ascii", "property list uchar int l\nproperty int i\nproperty float f\n", "2 1.5 2e3 7 -0.5 9\n", 9},
        {"ascii", "property list uchar int l\n", "2 1 x 5\n", -1},
        {"ascii", "property list uchar int l\n", "0 5\n", 5},
        {"ascii", "property int i\n", "x 5\n", -1},
    };
    for (const auto& [format, properties, body, m] : rows) {
        SCOPED_TRACE(properties);
        open(format, properties + "property uchar m\n", body);
        ASSERT_TRUE(request("m", PlyScalarType::Uchar, PlyScalarType::Uchar, 0));
        EXPECT_EQ(readOne(), m >= 0);
        if (m >= 0) { EXPECT_EQ(record[0], m); }
    }
}

TEST_F(PlyData, AsciiValuesNarrowToTheDeclaredTypeThenConvert) {
    const std::vector<std::tuple<const char*, const char*, PlyScalarType, double>> rows = {
        {"char", "200", PlyScalarType::Int, -56},
        {"uchar", "\n 300", PlyScalarType::Int, 44},
        {"uint", "-1", PlyScalarType::Double, 4294967295.0},
        {"int", "4294967301", PlyScalarType::Int, 5},  // the C library keeps the low bits
        {"float", "-2.75", PlyScalarType::Int, -2},    // any pair converts by value
    };
    for (const auto& [type, text, memory, expected] : rows) {
        SCOPED_TRACE(type);
        open("ascii", std::string("property ") + type + " v\n", text);
        ASSERT_TRUE(request("v", plyTypeFromName(type), memory, 0));
        ASSERT_TRUE(readOne());
        EXPECT_EQ(memory == PlyScalarType::Int ? at<std::int32_t>(0) : at<double>(0), expected);
    }
}

}  // namespace
