#include <KelpFileIO.h>

#include "stl/StlTestFiles.h"
#include "support/LocaleGuard.h"
#include "support/TestFiles.h"

#include <gtest/gtest.h>

using KelpCore::KelpTriMesh;
using KelpCore::Vec3f;

namespace {

class StlWrite : public ::testing::Test {
protected:
    KelpTest::LocaleGuard locale;
    KelpTest::TempDir dir;
};

std::string record(const std::vector<Vec3f>& corners) {
    std::string bytes(12, '\0');
    for (const Vec3f& c : corners)
        for (float v : c) KelpTest::putF32(bytes, v);
    return bytes + std::string(2, '\0');
}

TEST_F(StlWrite, RecordedCountDeletedFacesSkippedZeroNormals) {
    KelpTriMesh mesh;
    for (const Vec3f& p : std::vector<Vec3f>{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {-1, -2, 3.5f}}) mesh.addVertex(p);
    mesh.addFace(0, 1, 2);
    mesh.addFace(1, 2, 3);
    mesh.addFace(3, 2, 1);
    mesh.faceFlags[1] = 1 | 8;
    mesh.recordedFaceCount = 3;
    const std::string path = dir.file("out.stl");
    ASSERT_TRUE(KelpGraphic::KelpWriteStl(path.c_str(), &mesh));
    std::string expected(80, '\0');
    KelpTest::putU32(expected, 3);
    expected += record({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}});
    expected += record({{-1, -2, 3.5f}, {0, 1, 0}, {1, 0, 0}});
    EXPECT_EQ(KelpTest::readFile(path), expected);

    // Without faces: the bare 84 bytes, whatever the recorded count says.
    KelpTriMesh empty;
    empty.recordedFaceCount = 0x01020304;
    ASSERT_TRUE(KelpGraphic::KelpWriteStl(path.c_str(), &empty));
    EXPECT_EQ(KelpTest::readFile(path), std::string(80, '\0') + "\x04\x03\x02\x01");
}

TEST_F(StlWrite, IndexPastTheVerticesWritesTheOrigin) {
    KelpTriMesh mesh;
    mesh.addVertex({1, 2, 3});
    mesh.addFace(0, 7, 0xFFFFFFFFu);
    mesh.recordedFaceCount = 1;
    const std::string path = dir.file("dangling.stl");
    ASSERT_TRUE(KelpGraphic::KelpWriteStl(path.c_str(), &mesh));
    EXPECT_EQ(KelpTest::readFile(path).substr(84), record({{1, 2, 3}, {0, 0, 0}, {0, 0, 0}}));
}

TEST_F(StlWrite, UnwritablePathFailsAndLocaleIsLeftAlone) {
    KELP_REQUIRE_READER_LOCALE();
    KelpTriMesh mesh;
    EXPECT_FALSE(KelpGraphic::KelpWriteStl(dir.file("no/such/dir.stl").c_str(), &mesh));
    std::setlocale(LC_ALL, KelpTest::kReaderLocale);
    EXPECT_TRUE(KelpGraphic::KelpWriteStl(dir.file("ok.stl").c_str(), &mesh));
    EXPECT_EQ(KelpTest::currentLocale(), KelpTest::kReaderLocale);
}

TEST_F(StlWrite, RoundTripThroughTheReader) {
    KelpTriMesh mesh;
    for (int i = 0; i < 50; ++i) mesh.addVertex({static_cast<float>(i), -0.5f * i, 1e-3f * i * i});
    for (std::uint32_t i = 0; i + 2 < 50; ++i) mesh.addFace(i, i + 1, i + 2);
    mesh.recordedFaceCount = mesh.faceCount;
    const std::string path = dir.file("round.stl");
    ASSERT_TRUE(KelpGraphic::KelpWriteStl(path.c_str(), &mesh));
    KelpTriMesh back;
    testing::internal::CaptureStdout();
    ASSERT_TRUE(KelpGraphic::KelpReadStl(path.c_str(), &back));
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "OpenBinary::fn=48\nOpenBinary::read end\nRemoveRedundant::End\n");
    EXPECT_EQ(back.vertices, mesh.vertices);
    EXPECT_EQ(back.faces, mesh.faces);
}

}  // namespace
