#include <KelpCore.h>

#include "support/MeshChecks.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <vector>

using KelpCore::KelpPointSet;
using KelpCore::KelpTriMesh;
using KelpCore::Vec3f;
using KelpCore::Vec3u;
using KelpTest::expectFaceInvariants;
using KelpTest::expectVertexInvariants;

namespace {

// An append fills every enabled array with its default (normals point up,
// the rest is zero) and checks no face index.
TEST(Containers, AppendsFillEveryEnabledArrayWithDefaults) {
    KelpTriMesh mesh;
    mesh.addVertex({1, 2, 3});
    mesh.vertexAttributes = mesh.faceAttributes = 1 | 2 | 4;
    mesh.updateVertexAttributes();  // the arrays it sizes come out zero as well
    mesh.vertexNormals[0] = {9, 9, 9};
    mesh.addVertex({4, 5, 6});
    mesh.addFace(7, 8, 4294967295u);
    expectVertexInvariants(mesh);
    expectFaceInvariants(mesh);
    EXPECT_EQ(mesh.vertices[1], (Vec3f{4, 5, 6}));
    EXPECT_EQ(mesh.vertexFlags, (std::vector<std::uint32_t>{0, 0}));
    EXPECT_EQ(mesh.vertexNormals, (std::vector<Vec3f>{{9, 9, 9}, {0, 0, 1}}));
    EXPECT_EQ(mesh.vertexAuxVectors, (std::vector<Vec3f>{{0, 0, 0}, {0, 0, 0}}));
    EXPECT_EQ(mesh.vertexAuxValues, (std::vector<float>{0, 0}));
    EXPECT_EQ(mesh.faces[0], (Vec3u{7, 8, 4294967295u}));
    EXPECT_EQ(mesh.faceNormals[0], (Vec3f{0, 0, 1}));
    EXPECT_EQ(mesh.faceAuxVectors[0], (Vec3f{0, 0, 0}));
}

TEST(Containers, SizingKeepsTheHeadAllocatesOnceAndReleasesClearedArrays) {
    KelpPointSet set;
    set.vertexAttributes = 1 | 4;
    for (int i = 0; i < 10; ++i) set.addVertex({float(i), float(i) * 2, 0});
    set.vertexNormals[3] = {1, 0, 0};
    set.vertexAuxValues[3] = 7.0f;
    set.setVertexCount(4);
    expectVertexInvariants(set);
    EXPECT_EQ(set.vertices[3], (Vec3f{3, 6, 0}));
    EXPECT_EQ(set.vertexNormals[3], (Vec3f{1, 0, 0}));
    EXPECT_EQ(set.vertexAuxValues[3], 7.0f);
    set.vertexAttributes = 0;
    set.updateVertexAttributes();
    EXPECT_EQ(set.vertexNormals.capacity(), 0u);
    expectVertexInvariants(set);

    KelpPointSet sized;
    sized.setVertexCount(1000);
    EXPECT_EQ(sized.vertices.capacity(), 1000u);
    EXPECT_EQ(sized.vertexFlags.capacity(), 1000u);
    expectVertexInvariants(sized);
}

TEST(Containers, AppendsGrowCapacityByHalf) {
    KelpPointSet set;
    std::size_t growths = 0, last = 0;
    for (int i = 0; i < 100000; ++i) {
        set.addVertex({0, 0, 0});
        if (set.vertices.capacity() == last) continue;
        if (last >= 2) { EXPECT_EQ(set.vertices.capacity(), last + last / 2); }
        last = set.vertices.capacity();
        ++growths;
    }
    EXPECT_LT(growths, 40u);  // geometric, not linear, growth
}

TEST(Containers, SetFaceCountZeroesEveryFlag) {
    KelpTriMesh mesh;
    mesh.faceAttributes = 1;
    mesh.addFace(0, 1, 2);
    mesh.addFace(1, 2, 3);
    mesh.faceFlags = {1u, 5u};
    mesh.setFaceCount(3);
    expectFaceInvariants(mesh);
    for (auto flag : mesh.faceFlags) EXPECT_EQ(flag, 0u);
    EXPECT_EQ(mesh.faces[1], (Vec3u{1, 2, 3}));

    mesh.setFaceCount(0);
    EXPECT_TRUE(mesh.faces.empty());
    expectFaceInvariants(mesh);
}

TEST(Containers, ResetEmptiesButKeepsTheAttributeBits) {
    KelpTriMesh mesh;
    mesh.vertexAttributes = mesh.faceAttributes = 1;
    mesh.addVertex({1, 2, 3});
    mesh.addFace(0, 0, 0);
    mesh.texCoords.push_back({0.5f, 0.5f});
    mesh.hasTexture = true;
    mesh.textureImage = {new unsigned char[12], 2, 2, 3, 0};
    KelpPointSet& base = mesh;
    base.reset();  // through the virtual slot, as the welding step calls it
    EXPECT_TRUE(mesh.vertices.empty() && mesh.faces.empty());
    EXPECT_EQ(mesh.vertexAttributes + mesh.faceAttributes, 2u);
    EXPECT_FALSE(mesh.hasTexture);
    EXPECT_EQ(mesh.textureImage.data, nullptr);
    EXPECT_TRUE(mesh.texCoords.empty());
    expectVertexInvariants(mesh);
    expectFaceInvariants(mesh);
}

TEST(Containers, CopiesOwnTheirTexturePixels) {
    KelpTriMesh mesh;
    mesh.textureImage = {new unsigned char[6]{1, 2, 3, 4, 5, 6}, 2, 1, 3, 7};
    mesh.addVertex({1, 1, 1});
    KelpTriMesh copy(mesh);
    ASSERT_NE(copy.textureImage.data, nullptr);
    EXPECT_NE(copy.textureImage.data, mesh.textureImage.data);
    EXPECT_EQ(0, std::memcmp(copy.textureImage.data, mesh.textureImage.data, 6));
    EXPECT_EQ(copy.textureImage.flagByte, 7u);
    EXPECT_EQ(copy.vertexCount, 1u);

    KelpTriMesh assigned;
    assigned = copy;
    EXPECT_NE(assigned.textureImage.data, copy.textureImage.data);

    KelpTriMesh moved(std::move(copy));
    EXPECT_EQ(copy.textureImage.data, nullptr);
    EXPECT_EQ(moved.textureImage.data[5], 6);
    // Each destructor releases only its own buffer; ASan flags any double free.
}

}  // namespace
