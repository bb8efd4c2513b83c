#include "ply/PlyFile.h"

#include "PlyTestFiles.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <optional>
#include <vector>

using namespace KelpPly;
using KelpPlyTest::Bytes;
using KelpPlyTest::header;

namespace {

constexpr const char* kLE = "binary_little_endian";
constexpr const char* kBE = "binary_big_endian";

class PlyData : public ::testing::Test {
protected:
    // One element "e" of one instance with the given property lines.
    void open(const std::string& format, const std::string& properties, const std::string& body) {
        std::memset(record, 0xAA, sizeof record);
        const std::string path = dir.file("d.ply");
        KelpTest::writeFile(path, header(format, "element e 1\n" + properties) + body);
        ply = PlyFile();
        ASSERT_EQ(ply.open(path.c_str()), 0);
    }

    int request(const char* name, int stored, int memory, std::size_t offset) {
        return ply.requestProperty({"e", name, stored, memory, offset});
    }

    // List "v": its count as an int at 0, its items from 16 with room for three.
    int requestList(int stored, int memory, int countStored) {
        return ply.requestProperty({"e", "v", stored, memory, 16, 1, 0, countStored, PlyTypeInt, 0, 0, 3});
    }

    bool readOne() {
        ply.selectElement(0);
        return ply.readInstance(record) == 0;
    }

    template <typename T>
    T at(std::size_t offset) const {
        T v;
        std::memcpy(&v, record + offset, sizeof v);
        return v;
    }

    KelpTest::TempDir dir;
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
            const int type = plyTypeFromName(name);
            // Char reads only into char; everything else is checked through double.
            ASSERT_EQ(request("v", type, type == PlyTypeChar ? PlyTypeChar : PlyTypeDouble, 8), 0);
            EXPECT_EQ(readOne(), expected.has_value());
            if (expected) { EXPECT_EQ(type == PlyTypeChar ? at<std::int8_t>(8) : at<double>(8), *expected); }
        }
    }
}

TEST_F(PlyData, CharIntoOtherTypesIsDroppedAndNarrowingKeepsTheLowBytes) {
    open(kLE, "property char a\nproperty int b\nproperty float c\n", Bytes().u8(0x80).i32(0x12345678).f32(2).data);
    ASSERT_EQ(request("a", PlyTypeChar, PlyTypeInt, 0), 0);
    ASSERT_EQ(request("b", PlyTypeInt, PlyTypeUshort, 4), 0);
    ASSERT_EQ(request("c", PlyTypeFloat, PlyTypeInt, 8), 0);
    EXPECT_FALSE(readOne());  // a pair without a binary routine reads as a failure
    EXPECT_EQ(at<std::uint32_t>(0), 0xAAAAAAAAu);
    EXPECT_EQ(at<std::uint32_t>(4), 0xAAAA5678u);
}

struct ListRow {
    const char* format;
    const char* declaration;  // count type and item type
    int memoryType;
    Bytes body;
    bool ok;
    std::int32_t count;
    std::uint32_t firstItem;  // the raw bits at the items' destination
};

TEST_F(PlyData, BinaryListsReadTheirCountAsOneByteExceptForIntItemsAsInt) {
    const std::uint32_t untouched = 0xAAAAAAAAu;
    const std::vector<ListRow> rows = {
        {kLE, "int float", PlyTypeFloat, Bytes().u8(2).u8(0).u8(0).u8(0x80).u8(0x3F).f32(2), true, 2, 0x3F800000},
        {kLE, "int int", PlyTypeInt, Bytes().i32(2).i32(1).i32(5), true, 2, 1},
        {kLE, "int int", PlyTypeUint, Bytes().i32(2).i32(1).i32(5), true, 2, 0x01000000},
        {kLE, "char int", PlyTypeInt, Bytes().u8(0xFF), true, -1, untouched},  // signed count
        {kLE, "short int", PlyTypeInt, Bytes().u8(0).u8(1).i32(9), true, 1, 9},
        {kBE, "short int", PlyTypeInt, Bytes().u8(1).u8(0).i32(9), true, 1, 9},
        {kBE, "int int", PlyTypeInt, Bytes().i32(0), false, 0, 0},  // zero int count
        {kLE, "int int", PlyTypeInt, Bytes().i32(0), true, 0, untouched},
        {kLE, "uchar uint", PlyTypeInt, Bytes().u8(1).u8(0).u8(0).u8(0).u8(7), true, 1, 7},
        // Int and float items are not checked under big endian: a short list passes.
        {kBE, "uchar int", PlyTypeInt, Bytes().u8(3).i32(4), true, 3, 4},
        {kBE, "uchar float", PlyTypeFloat, Bytes().u8(3).i32(4), true, 3, 4},
        {kLE, "uchar float", PlyTypeFloat, Bytes().u8(3).i32(4), false, 0, 0},
        {kBE, "uchar short", PlyTypeShort, Bytes().u8(2).u8(0).u8(1), false, 0, 0},
        {kLE, "uchar char", PlyTypeInt, Bytes().u8(2).u8(5).u8(6), true, 2, untouched},  // char items dropped
        // Lists written in place keep what fits the room the caller gave; the rest must still be there.
        {kLE, "uchar int", PlyTypeInt, Bytes().u8(4).i32(1).i32(2).i32(3).i32(4), true, 4, 1},
        {kLE, "uchar int", PlyTypeInt, Bytes().u8(4).i32(1).i32(2).i32(3).u8(4), false, 0, 0},
        {kBE, "uchar int", PlyTypeInt, Bytes().u8(9).i32(1).i32(2).i32(3).u8(4), true, 9, 1},
    };
    for (const ListRow& row : rows) {
        SCOPED_TRACE(testing::Message() << row.format << " list " << row.declaration);
        open(row.format, std::string("property list ") + row.declaration + " v\n", row.body.data);
        const PlyProperty& declared = ply.elements[0].properties[0];
        ASSERT_EQ(requestList(declared.type, row.memoryType, declared.countType), 0);
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
        ASSERT_EQ(request("m", PlyTypeUchar, PlyTypeUchar, 0), 0);
        EXPECT_EQ(readOne(), m >= 0);
        if (m >= 0) { EXPECT_EQ(record[0], m); }
    }
}

TEST_F(PlyData, AsciiValuesNarrowToTheDeclaredTypeThenConvert) {
    const std::vector<std::tuple<const char*, const char*, int, double>> rows = {
        {"char", "200", PlyTypeInt, -56},
        {"uchar", "\n 300", PlyTypeInt, 44},
        {"uint", "-1", PlyTypeDouble, 4294967295.0},
        {"int", "4294967301", PlyTypeInt, 5},  // the C library keeps the low bits
        {"float", "-2.75", PlyTypeInt, -2},    // any pair converts by value
    };
    for (const auto& [type, text, memory, expected] : rows) {
        SCOPED_TRACE(type);
        open("ascii", std::string("property ") + type + " v\n", text);
        ASSERT_EQ(request("v", plyTypeFromName(type), memory, 0), 0);
        ASSERT_TRUE(readOne());
        EXPECT_EQ(memory == PlyTypeInt ? at<std::int32_t>(0) : at<double>(0), expected);
    }
}

}  // namespace
