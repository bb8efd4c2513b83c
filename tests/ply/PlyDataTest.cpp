#include "ply/PlyFile.h"

#include "PlyTestFiles.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <vector>

using namespace KelpPly;
using KelpPlyTest::Bytes;
using KelpPlyTest::header;

namespace {

constexpr const char* kLE = "binary_little_endian";
constexpr const char* kBE = "binary_big_endian";

class PlyData : public ::testing::Test {
protected:
    // One element "e" of `count` instances with the given property lines.
    void open(const std::string& format, const std::string& properties, const std::string& body, int count = 1) {
        std::memset(record, 0xAA, sizeof record);
        const std::string path = dir.file("d.ply");
        KelpTest::writeFile(path, header(format, "element e " + std::to_string(count) + "\n" + properties) + body);
        ply = PlyFile();
        ASSERT_EQ(ply.open(path.c_str()), 0);
    }

    int requestScalar(const char* name, int stored, int memory, std::size_t offset) {
        PlyPropertyRequest r;
        r.elementName = "e";
        r.propertyName = name;
        r.storedType = stored;
        r.memoryType = memory;
        r.valueOffset = offset;
        return ply.requestProperty(r);
    }

    int requestList(const char* name, int stored, int memory, int countStored, int countMemory, int capacity = 64,
                    int allocate = 0) {
        PlyPropertyRequest r;
        r.elementName = "e";
        r.propertyName = name;
        r.storedType = stored;
        r.memoryType = memory;
        r.valueOffset = 16;
        r.isList = 1;
        r.allocateList = allocate;
        r.countStoredType = countStored;
        r.countMemoryType = countMemory;
        r.countOffset = 0;
        r.listCapacity = capacity;
        return ply.requestProperty(r);
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

struct ByteOrderRow {
    const char* format;
    const char* type;
    std::vector<unsigned> bytes;
    bool ok;
    double value;
};

// Every row of the byte-order and success rule, for stored scalars.
TEST_F(PlyData, BinaryScalarsFollowTheByteOrderAndSuccessTable) {
    const std::vector<ByteOrderRow> rows = {
        {kLE, "char", {0xFF}, true, -1},
        {kBE, "char", {0xFF}, true, -1},
        {kLE, "uchar", {0xFF}, true, 255},
        {kBE, "uchar", {0xFF}, true, 255},
        {kLE, "short", {0x01, 0x02}, true, 0x0102},  // reversed
        {kLE, "short", {0xFF, 0xFE}, true, -2},
        {kBE, "short", {0x01, 0x02}, true, 0x0201},  // as read
        {kBE, "short", {0x00, 0x00}, true, 0},
        {kLE, "ushort", {0x01, 0x00}, true, 256},
        {kBE, "ushort", {0x01, 0x00}, true, 1},
        {kLE, "ushort", {0xFF, 0xFE}, true, 0xFFFE},
        {kLE, "int", {0x01, 0, 0, 0}, true, 1},  // as read in both
        {kBE, "int", {0x01, 0, 0, 0}, true, 1},
        {kLE, "int", {0, 0, 0, 0}, true, 0},
        {kBE, "int", {0, 0, 0, 0}, false, 0},  // zero fails under big endian
        {kLE, "int", {0xFE, 0xFF, 0xFF, 0xFF}, true, -2},
        {kLE, "uint", {0x01, 0, 0, 0}, true, 16777216},  // reversed
        {kBE, "uint", {0x01, 0, 0, 0}, true, 1},
        {kBE, "uint", {0, 0, 0, 0}, true, 0},
        {kLE, "uint", {0, 0, 0, 0xFF}, true, 255},
        {kLE, "float", {0, 0, 0x80, 0x3F}, true, 1.0},
        {kBE, "float", {0, 0, 0x80, 0x3F}, true, 1.0},
        {kLE, "float", {0, 0, 0, 0}, true, 0.0},
        {kBE, "float", {0, 0, 0, 0}, false, 0.0},
        {kLE, "double", {0, 0, 0, 0, 0, 0, 0xF0, 0x3F}, true, 1.0},
        {kBE, "double", {0, 0, 0, 0, 0, 0, 0xF0, 0x3F}, true, 1.0},
        {kBE, "double", {0, 0, 0, 0, 0, 0, 0, 0}, true, 0.0},
        // Short reads fail.
        {kLE, "int", {0x01, 0x02}, false, 0},
        {kBE, "short", {0x01}, false, 0},
        {kLE, "double", {0, 0, 0}, false, 0},
        {kLE, "uchar", {}, false, 0},
    };
    for (const ByteOrderRow& row : rows) {
        SCOPED_TRACE(std::string(row.format) + " " + row.type);
        Bytes body;
        for (unsigned b : row.bytes) body.u8(b);
        open(row.format, std::string("property ") + row.type + " v\n", body.data);
        const int type = plyTypeFromName(row.type);
        // Char reads only into char; everything else is checked through double.
        const int memory = type == PlyTypeChar ? PlyTypeChar : PlyTypeDouble;
        ASSERT_EQ(requestScalar("v", type, memory, 8), 0);
        EXPECT_EQ(readOne(), row.ok);
        if (row.ok) {
            const double got = type == PlyTypeChar ? at<std::int8_t>(8) : at<double>(8);
            EXPECT_EQ(got, row.value);
        }
    }
}

TEST_F(PlyData, ConversionsWidenBySignAndStoreLowBytes) {
    open(kLE, "property char a\nproperty uchar b\nproperty short c\nproperty int d\nproperty uchar e\n",
         Bytes().u8(0x80).u8(0xFF).u8(0xFF).u8(0xFF).i32(0x12345678).u8(7).data);
    ASSERT_EQ(requestScalar("a", PlyTypeChar, PlyTypeInt, 0), 0);    // dropped: untouched
    ASSERT_EQ(requestScalar("b", PlyTypeUchar, PlyTypeInt, 4), 0);   // zero-widened
    ASSERT_EQ(requestScalar("c", PlyTypeShort, PlyTypeInt, 8), 0);   // sign-widened
    ASSERT_EQ(requestScalar("d", PlyTypeInt, PlyTypeUshort, 12), 0); // low bytes
    ASSERT_EQ(requestScalar("e", PlyTypeUchar, PlyTypeFloat, 16), 0);
    ASSERT_TRUE(readOne());
    EXPECT_EQ(at<std::uint32_t>(0), 0xAAAAAAAAu);
    EXPECT_EQ(at<std::int32_t>(4), 255);
    EXPECT_EQ(at<std::int32_t>(8), -1);
    EXPECT_EQ(at<std::uint16_t>(12), 0x5678);
    EXPECT_EQ(at<std::uint16_t>(14), 0xAAAA);
    EXPECT_EQ(at<float>(16), 7.0f);
}

TEST_F(PlyData, BinaryListCountsAreOneByteExceptForIntItemsAsInt) {
    // Float items with an int count: the count is the first byte of the four.
    open(kLE, "property list int float v\n", Bytes().u8(2).u8(0).u8(0).u8(0x80).u8(0x3F).i32(0x40000000).data);
    ASSERT_EQ(requestList("v", PlyTypeFloat, PlyTypeFloat, PlyTypeInt, PlyTypeInt), 0);
    ASSERT_TRUE(readOne());
    EXPECT_EQ(at<std::int32_t>(0), 2);
    EXPECT_EQ(at<float>(16), 1.0f);
    EXPECT_EQ(at<float>(20), 2.0f);

    // Int items read as int: the whole int count.
    open(kLE, "property list int int v\n", Bytes().i32(2).i32(1).i32(5).data);
    ASSERT_EQ(requestList("v", PlyTypeInt, PlyTypeInt, PlyTypeInt, PlyTypeInt), 0);
    ASSERT_TRUE(readOne());
    EXPECT_EQ(at<std::int32_t>(0), 2);
    EXPECT_EQ(at<std::int32_t>(16), 1);
    EXPECT_EQ(at<std::int32_t>(20), 5);

    // Int items read as uint use the one-byte count again.
    open(kLE, "property list int int v\n", Bytes().i32(2).i32(1).i32(5).data);
    ASSERT_EQ(requestList("v", PlyTypeInt, PlyTypeUint, PlyTypeInt, PlyTypeInt), 0);
    ASSERT_TRUE(readOne());
    EXPECT_EQ(at<std::int32_t>(0), 2);
    EXPECT_EQ(at<std::int32_t>(16), 0x01000000);  // items start right after the first byte

    // A char count is signed for int items: -1 reads no items.
    open(kLE, "property list char int v\n", Bytes().u8(0xFF).data);
    ASSERT_EQ(requestList("v", PlyTypeInt, PlyTypeInt, PlyTypeChar, PlyTypeInt), 0);
    ASSERT_TRUE(readOne());
    EXPECT_EQ(at<std::int32_t>(0), -1);
    EXPECT_EQ(at<std::uint32_t>(16), 0xAAAAAAAAu);

    // Short counts follow the byte-order rule.
    open(kLE, "property list short int v\n", Bytes().u8(0).u8(1).i32(9).data);
    ASSERT_EQ(requestList("v", PlyTypeInt, PlyTypeInt, PlyTypeShort, PlyTypeInt), 0);
    ASSERT_TRUE(readOne());
    EXPECT_EQ(at<std::int32_t>(0), 1);
    EXPECT_EQ(at<std::int32_t>(16), 9);
    open(kBE, "property list short int v\n", Bytes().u8(1).u8(0).i32(9).data);
    ASSERT_EQ(requestList("v", PlyTypeInt, PlyTypeInt, PlyTypeShort, PlyTypeInt), 0);
    ASSERT_TRUE(readOne());
    EXPECT_EQ(at<std::int32_t>(0), 1);

    // An int count of 0 is a failed read under big endian only.
    open(kBE, "property list int int v\n", Bytes().i32(0).data);
    ASSERT_EQ(requestList("v", PlyTypeInt, PlyTypeInt, PlyTypeInt, PlyTypeInt), 0);
    EXPECT_FALSE(readOne());
    open(kLE, "property list int int v\n", Bytes().i32(0).data);
    ASSERT_EQ(requestList("v", PlyTypeInt, PlyTypeInt, PlyTypeInt, PlyTypeInt), 0);
    EXPECT_TRUE(readOne());
    EXPECT_EQ(at<std::int32_t>(0), 0);
}

TEST_F(PlyData, BinaryListItemsFollowTheTable) {
    // uint items are reversed under little endian.
    open(kLE, "property list uchar uint v\n", Bytes().u8(1).be(7, 4).data);
    ASSERT_EQ(requestList("v", PlyTypeUint, PlyTypeInt, PlyTypeUchar, PlyTypeUchar), 0);
    ASSERT_TRUE(readOne());
    EXPECT_EQ(at<std::uint8_t>(0), 1);
    EXPECT_EQ(at<std::int32_t>(16), 7);

    // Int and float items are not checked under big endian: a short list passes.
    for (const char* type : {"int", "float"}) {
        const int code = plyTypeFromName(type);
        open(kBE, std::string("property list uchar ") + type + " v\n", Bytes().u8(3).i32(4).data);
        ASSERT_EQ(requestList("v", code, code, PlyTypeUchar, PlyTypeUchar), 0);
        EXPECT_TRUE(readOne()) << type;
        open(kLE, std::string("property list uchar ") + type + " v\n", Bytes().u8(3).i32(4).data);
        ASSERT_EQ(requestList("v", code, code, PlyTypeUchar, PlyTypeUchar), 0);
        EXPECT_FALSE(readOne()) << type;
    }
    open(kBE, "property list uchar short v\n", Bytes().u8(2).u8(0).u8(1).data);
    ASSERT_EQ(requestList("v", PlyTypeShort, PlyTypeShort, PlyTypeUchar, PlyTypeUchar), 0);
    EXPECT_FALSE(readOne());

    // A char item into anything but char is dropped.
    open(kLE, "property list uchar char v\n", Bytes().u8(2).u8(5).u8(6).data);
    ASSERT_EQ(requestList("v", PlyTypeChar, PlyTypeInt, PlyTypeUchar, PlyTypeUchar), 0);
    ASSERT_TRUE(readOne());
    EXPECT_EQ(at<std::uint32_t>(16), 0xAAAAAAAAu);

    // Lists written in place stop at the room the caller gave.
    open(kLE, "property list uchar int v\n", Bytes().u8(3).i32(1).i32(2).i32(3).data);
    ASSERT_EQ(requestList("v", PlyTypeInt, PlyTypeInt, PlyTypeUchar, PlyTypeUchar, 2), 0);
    EXPECT_FALSE(readOne());
    EXPECT_EQ(at<std::uint32_t>(16), 0xAAAAAAAAu);
}

TEST_F(PlyData, AllocatedListsAreOwnedByTheCaller) {
    open(kLE, "property list int int v\n", Bytes().i32(3).i32(4).i32(5).i32(6).i32(0).data, 2);
    ASSERT_EQ(requestList("v", PlyTypeInt, PlyTypeInt, PlyTypeInt, PlyTypeInt, 0, 1), 0);
    ASSERT_TRUE(readOne());
    EXPECT_EQ(at<std::int32_t>(0), 3);
    auto* items = at<std::int32_t*>(16);
    ASSERT_NE(items, nullptr);
    EXPECT_EQ(items[0], 4);
    EXPECT_EQ(items[2], 6);
    std::free(items);
    ASSERT_EQ(ply.readInstance(record), 0);  // count 0
    EXPECT_EQ(at<std::int32_t>(0), 0);
    std::free(at<std::int32_t*>(16));

    // A count far beyond the file's data allocates nothing and fails.
    open(kBE, "property list int int v\n", Bytes().i32(0x7FFFFFFF).i32(1).data);
    ASSERT_EQ(requestList("v", PlyTypeInt, PlyTypeInt, PlyTypeInt, PlyTypeInt, 0, 1), 0);
    EXPECT_FALSE(readOne());
}

TEST_F(PlyData, BinarySkippers) {
    // An unrequested list of 0 items fails; with items it is skipped.
    open(kLE, "property list uchar int l\nproperty uchar m\n", Bytes().u8(0).u8(42).data);
    ASSERT_EQ(requestScalar("m", PlyTypeUchar, PlyTypeUchar, 0), 0);
    EXPECT_FALSE(readOne());
    open(kLE, "property list uchar int l\nproperty uchar m\n", Bytes().u8(1).i32(9).u8(42).data);
    ASSERT_EQ(requestScalar("m", PlyTypeUchar, PlyTypeUchar, 0), 0);
    ASSERT_TRUE(readOne());
    EXPECT_EQ(record[0], 42);

    // Items of 8 bytes are skipped as 4 bytes each.
    open(kLE, "property list uchar double l\nproperty uchar m\n",
         Bytes().u8(2).le(0, 4).le(0, 4).u8(42).le(0, 8).data);
    ASSERT_EQ(requestScalar("m", PlyTypeUchar, PlyTypeUchar, 0), 0);
    ASSERT_TRUE(readOne());
    EXPECT_EQ(record[0], 42);

    // The count is one byte whatever the declared count type.
    open(kLE, "property list int short l\nproperty uchar m\n", Bytes().u8(1).u8(0).u8(0x2A).u8(0).u8(42).data);
    ASSERT_EQ(requestScalar("m", PlyTypeUchar, PlyTypeUchar, 0), 0);
    ASSERT_TRUE(readOne());
    EXPECT_EQ(record[0], 0);  // the skip took bytes 1-2; m is the fourth byte

    // Scalars skip their declared size.
    open(kLE, "property double d\nproperty short s\nproperty uchar m\n", Bytes().le(0, 8).le(0, 2).u8(42).data);
    ASSERT_EQ(requestScalar("m", PlyTypeUchar, PlyTypeUchar, 0), 0);
    ASSERT_TRUE(readOne());
    EXPECT_EQ(record[0], 42);
    open(kLE, "property double d\n", Bytes().le(0, 7).data);
    EXPECT_FALSE(readOne());
}

TEST_F(PlyData, AsciiValuesNarrowToTheDeclaredType) {
    open("ascii", "property char a\nproperty uchar b\nproperty ushort c\nproperty uint d\nproperty float e\n"
                  "property double f\nproperty int g\n",
         "200 300\n70000 -1 1.5e2\n\n  0.25 4294967301\n");
    ASSERT_EQ(requestScalar("a", PlyTypeChar, PlyTypeInt, 0), 0);
    ASSERT_EQ(requestScalar("b", PlyTypeUchar, PlyTypeInt, 4), 0);
    ASSERT_EQ(requestScalar("c", PlyTypeUshort, PlyTypeInt, 8), 0);
    ASSERT_EQ(requestScalar("d", PlyTypeUint, PlyTypeDouble, 16), 0);
    ASSERT_EQ(requestScalar("e", PlyTypeFloat, PlyTypeDouble, 24), 0);
    ASSERT_EQ(requestScalar("f", PlyTypeDouble, PlyTypeFloat, 32), 0);
    ASSERT_EQ(requestScalar("g", PlyTypeInt, PlyTypeInt, 36), 0);
    ASSERT_TRUE(readOne());
    EXPECT_EQ(at<std::int32_t>(0), -56);
    EXPECT_EQ(at<std::int32_t>(4), 44);
    EXPECT_EQ(at<std::int32_t>(8), 4464);
    EXPECT_EQ(at<double>(16), 4294967295.0);
    EXPECT_EQ(at<double>(24), 150.0);
    EXPECT_EQ(at<float>(32), 0.25f);
    EXPECT_EQ(at<std::int32_t>(36), 5);  // the C library keeps the low bits

    open("ascii", "property int a\n", "x12\n");
    ASSERT_EQ(requestScalar("a", PlyTypeInt, PlyTypeInt, 0), 0);
    EXPECT_FALSE(readOne());
    open("ascii", "property float a\n", "   \n");
    ASSERT_EQ(requestScalar("a", PlyTypeFloat, PlyTypeFloat, 0), 0);
    EXPECT_FALSE(readOne());
}

TEST_F(PlyData, AsciiListsAndSkippers) {
    open("ascii", "property list uchar int v\n", "3 0\n1\n   2\n");
    ASSERT_EQ(requestList("v", PlyTypeInt, PlyTypeInt, PlyTypeUchar, PlyTypeUchar, 3), 0);
    ASSERT_TRUE(readOne());
    EXPECT_EQ(record[0], 3);
    EXPECT_EQ(at<std::int32_t>(16), 0);
    EXPECT_EQ(at<std::int32_t>(20), 1);
    EXPECT_EQ(at<std::int32_t>(24), 2);

    // The count is "%d" whatever its declared type; below 1 reads nothing.
    open("ascii", "property list uchar int v\nproperty int w\n", "-4 7\n");
    ASSERT_EQ(requestList("v", PlyTypeInt, PlyTypeInt, PlyTypeUchar, PlyTypeInt, 3), 0);
    ASSERT_EQ(requestScalar("w", PlyTypeInt, PlyTypeInt, 8), 0);
    ASSERT_TRUE(readOne());
    EXPECT_EQ(at<std::int32_t>(0), -4);
    EXPECT_EQ(at<std::int32_t>(8), 7);

    // More items than the room given fails before writing.
    open("ascii", "property list uchar int v\n", "4 1 2 3 4\n");
    ASSERT_EQ(requestList("v", PlyTypeInt, PlyTypeInt, PlyTypeUchar, PlyTypeUchar, 3), 0);
    EXPECT_FALSE(readOne());

    // Skipped lists read every item as "%f"; scalars as "%d" or "%f".
    open("ascii", "property list uchar int l\nproperty int i\nproperty float f\nproperty uchar m\n",
         "2 1.5 2e3 7 -0.5 9\n");
    ASSERT_EQ(requestScalar("m", PlyTypeUchar, PlyTypeUchar, 0), 0);
    ASSERT_TRUE(readOne());
    EXPECT_EQ(record[0], 9);
    open("ascii", "property list uchar int l\n", "2 1 x\n");
    EXPECT_FALSE(readOne());
    open("ascii", "property list uchar int l\nproperty uchar m\n", "0 5\n");
    ASSERT_EQ(requestScalar("m", PlyTypeUchar, PlyTypeUchar, 0), 0);
    ASSERT_TRUE(readOne());
    EXPECT_EQ(record[0], 5);
}

TEST_F(PlyData, UnsupportedPairsReadAsFailures) {
    open(kLE, "property float f\n", Bytes().f32(2.0f).data);
    ASSERT_EQ(requestScalar("f", PlyTypeFloat, PlyTypeInt, 0), 0);
    EXPECT_FALSE(readOne());
    // In ASCII every pair converts by value.
    open("ascii", "property float f\n", "-2.75\n");
    ASSERT_EQ(requestScalar("f", PlyTypeFloat, PlyTypeInt, 0), 0);
    ASSERT_TRUE(readOne());
    EXPECT_EQ(at<std::int32_t>(0), -2);
}

TEST_F(PlyData, GenericRoutinesReadByTheRequest) {
    open(kLE, "property list ushort int v\n", Bytes().u8(0).u8(2).i32(3).i32(4).data);
    PlyPropertyRequest r;
    r.storedType = r.memoryType = PlyTypeInt;
    r.isList = 1;
    r.countStoredType = PlyTypeUshort;
    r.countMemoryType = PlyTypeInt;
    r.valueOffset = 16;
    r.listCapacity = 4;
    r.format = PlyFormatBinaryLittleEndian;
    ASSERT_TRUE(ply.genericRoutine(ply.input, record, r));
    EXPECT_EQ(at<std::int32_t>(0), 2);
    EXPECT_EQ(at<std::int32_t>(20), 4);

    open("ascii", "property float v\n", "2.5 x");
    r = PlyPropertyRequest();
    r.storedType = r.memoryType = PlyTypeFloat;
    ASSERT_TRUE(ply.genericRoutine(ply.input, record, r));
    EXPECT_EQ(at<float>(0), 2.5f);
    EXPECT_FALSE(ply.genericRoutine(ply.input, nullptr, r));
}

// The number reader against the C library's own fscanf.
TEST(PlyInputNumbers, MatchFscanf) {
    KelpTest::TempDir dir;
    const char* inputs[] = {"17",    " \n\t-42x", "+8",    "4294967301", "-1",     "99999999999999999999",
                            "0x1A",  "1e5",       "1e",    "1e+",        "+.5",    "-.",
                            ".5.5",  "1.e3",      "0x1p3", "0x",         "inf",    "-infinity",
                            "infin", "nan(1)",    "abc",   "",           "3.4e39", "1e-50",
                            "-0",    "  12.5\n",  "+-1",   "7.25f",  "-.5",    "1.5e400",
                            "1e-40", "0000000000000000000000000000000000000000000000000000000000000000000000001.5e1",
                            "-98765432109876543210987654321", "18446744073709551617"};
    std::vector<std::string> texts;
    for (const char* text : inputs) {
        texts.push_back(text);
        texts.push_back(std::string(text) + std::string(100, ' ') + "5");  // more text buffered behind
    }
    for (const std::string& text : texts) {
        SCOPED_TRACE("input '" + text + "'");
        const std::string path = dir.file("n.txt");
        KelpTest::writeFile(path, text);
        for (int kind = 0; kind < 4; ++kind) {
            std::FILE* file = std::fopen(path.c_str(), "rb");
            ASSERT_NE(file, nullptr);
            PlyInput input;
            ASSERT_TRUE(input.open(path.c_str()));
            int i1 = 0, i2 = 0;
            unsigned u1 = 0, u2 = 0;
            float f1 = 0, f2 = 0;
            double d1 = 0, d2 = 0;
            switch (kind) {
            case 0:
                EXPECT_EQ(std::fscanf(file, "%d", &i1) == 1, input.scanInt(i2));
                EXPECT_EQ(i1, i2);
                break;
            case 1:
                EXPECT_EQ(std::fscanf(file, "%u", &u1) == 1, input.scanUnsigned(u2));
                EXPECT_EQ(u1, u2);
                break;
            case 2:
                EXPECT_EQ(std::fscanf(file, "%f", &f1) == 1, input.scanFloat(f2));
                EXPECT_TRUE(f1 == f2 || (std::isnan(f1) && std::isnan(f2))) << f1 << " " << f2;
                break;
            default:
                EXPECT_EQ(std::fscanf(file, "%lf", &d1) == 1, input.scanDouble(d2));
                EXPECT_TRUE(d1 == d2 || (std::isnan(d1) && std::isnan(d2))) << d1 << " " << d2;
                break;
            }
            std::fclose(file);
        }
    }
}

}  // namespace
