// Welding against a literal 100 x 100 x 100 grid walk over the bounding box
// (each vertex compared with the vertices of its own cell, duplicates given to
// the lowest index), on soups built to stress it: clustered positions, far
// outliers, flat axes, signed zeros, not-a-number bit patterns.
#include "stl/StlReaders.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <unordered_map>
#include <vector>

using KelpCore::KelpTriMesh;
using KelpCore::Vec3f;
using KelpCore::Vec3u;

namespace {

bool sameBits(const Vec3f& a, const Vec3f& b) { return std::memcmp(&a, &b, sizeof a) == 0; }

struct Welded {
    std::vector<Vec3f> vertices;
    std::vector<Vec3u> faces;
};

// The grid walk. Cells of not-a-number results (flat axes, NaN coordinates)
// are 0, and the maximum falls into the last cell.
Welded gridWalk(const std::vector<Vec3f>& soup) {
    constexpr int R = 100;
    const std::size_t V = soup.size();
    Welded out;
    if (V == 0) return out;
    Vec3f lo = soup[0], hi = soup[0];
    for (const Vec3f& p : soup)
        for (int a = 0; a < 3; ++a) {
            if (lo[a] > p[a]) lo[a] = p[a];
            if (p[a] > hi[a]) hi[a] = p[a];
        }
    float scale[3];
    for (int a = 0; a < 3; ++a) scale[a] = static_cast<float>(R) / (hi[a] - lo[a]);
    auto cellOf = [&](const Vec3f& p) {
        int i[3];
        for (int a = 0; a < 3; ++a) {
            const float t = (p[a] - lo[a]) * scale[a];
            i[a] = t >= 0.0f && t < static_cast<float>(R) ? static_cast<int>(t) : (t >= static_cast<float>(R) ? R - 1 : 0);
        }
        return (R * i[0] + i[1]) * R + i[2];
    };
    std::unordered_map<int, std::vector<std::uint32_t>> cells;  // occupied cells only
    for (std::uint32_t v = 0; v < V; ++v) cells[cellOf(soup[v])].push_back(v);
    std::vector<char> removed(V, 0);
    std::vector<std::uint32_t> replacement(V), newIndex(V);
    for (std::uint32_t i = 0; i < V; ++i) {
        if (removed[i]) continue;
        for (std::uint32_t j : cells[cellOf(soup[i])])
            if (j != i && sameBits(soup[i], soup[j])) {
                removed[j] = 1;
                replacement[j] = i;
            }
    }
    for (std::uint32_t i = 0; i < V; ++i)
        if (!removed[i]) {
            newIndex[i] = static_cast<std::uint32_t>(out.vertices.size());
            out.vertices.push_back(soup[i]);
        }
    for (std::uint32_t i = 0; i < V; ++i)
        if (removed[i]) newIndex[i] = newIndex[replacement[i]];
    for (std::size_t k = 0; k < V / 3; ++k) out.faces.push_back({newIndex[3 * k], newIndex[3 * k + 1], newIndex[3 * k + 2]});
    return out;
}

KelpTriMesh soupMesh(const std::vector<Vec3f>& soup) {
    KelpTriMesh mesh;
    mesh.setVertexCount(static_cast<std::uint32_t>(soup.size()));
    std::copy(soup.begin(), soup.end(), mesh.vertices.begin());
    mesh.setFaceCount(static_cast<std::uint32_t>(soup.size() / 3));
    for (std::uint32_t k = 0; k < mesh.faceCount; ++k) mesh.faces[k] = {k, k + 1, k + 2};  // provisional
    return mesh;
}

Welded weld(const std::vector<Vec3f>& soup) {
    KelpTriMesh mesh = soupMesh(soup);
    testing::internal::CaptureStdout();
    KelpStl::weldSoup(&mesh);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "RemoveRedundant::End\n");
    EXPECT_EQ(mesh.vertexCount, mesh.vertices.size());
    EXPECT_EQ(mesh.vertexFlags, std::vector<std::uint32_t>(mesh.vertexCount, 0));
    EXPECT_EQ(mesh.faceCount, mesh.faces.size());
    EXPECT_EQ(mesh.faceFlags, std::vector<std::uint32_t>(mesh.faceCount, 0));
    return {mesh.vertices, mesh.faces};
}

void expectSame(const Welded& actual, const Welded& expected) {
    ASSERT_EQ(actual.vertices.size(), expected.vertices.size());
    for (std::size_t i = 0; i < expected.vertices.size(); ++i) ASSERT_TRUE(sameBits(actual.vertices[i], expected.vertices[i])) << i;
    ASSERT_EQ(actual.faces, expected.faces);
}

float fromBits(std::uint32_t bits) {
    float f;
    std::memcpy(&f, &bits, 4);
    return f;
}

TEST(StlWeld, SharedEdgeInFirstAppearanceOrder) {
    EXPECT_TRUE(weld({}).vertices.empty());  // still prints its line
    const Welded w = weld({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}});
    EXPECT_EQ(w.vertices, (std::vector<Vec3f>{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {1, 1, 0}}));
    EXPECT_EQ(w.faces, (std::vector<Vec3u>{{0, 1, 2}, {1, 3, 2}}));
}

TEST(StlWeld, ComparesBitsNotValues) {
    const float next = std::nextafter(1.0f, 2.0f);
    const float nan1 = fromBits(0x7FC00001), nan2 = fromBits(0x7FC00002);
    const Welded w = weld({{0.0f, 1, 1}, {-0.0f, 1, 1}, {1, 1, next}, {1, 1, 1}, {nan1, 0, 0}, {nan1, 0, 0}, {nan2, 0, 0}, {1, 1, 1}, {1, 1, 1}});
    ASSERT_EQ(w.vertices.size(), 6u);  // +0/-0, the last-bit pair and distinct NaN payloads stay apart
    EXPECT_EQ(w.faces, (std::vector<Vec3u>{{0, 1, 2}, {3, 4, 4}, {5, 3, 3}}));  // degenerate faces stay
}

TEST(StlWeld, MatchesTheGridWalk) {
    std::mt19937 random(7);
    const float nan = std::numeric_limits<float>::quiet_NaN(), inf = std::numeric_limits<float>::infinity();
    for (int round = 0; round < 60; ++round) {
        // A small palette of positions repeated at random gives many duplicates.
        std::vector<Vec3f> palette;
        std::uniform_real_distribution<float> coordinate(-1.0f, 1.0f);
        const int kind = round % 6;
        for (int i = 0; i < 400; ++i) {
            Vec3f p{coordinate(random), coordinate(random), coordinate(random)};
            if (kind == 1) p = {1e-6f * p[0] + 3, 1e-6f * p[1] + 3, 1e-6f * p[2] + 3};  // one cluster
            if (kind == 2) p[2] = 5.0f;                                                 // flat axis
            if (kind == 3 && i % 17 == 0) p[i % 3] = nan;
            if (kind == 4 && i % 50 == 0) p = {i % 100 == 0 ? 1e30f : -1e30f, p[1], p[2]};  // outliers
            if (kind == 5 && i % 40 == 0) p[0] = i % 80 == 0 ? inf : -inf;
            palette.push_back(p);
        }
        if (kind == 1) palette.push_back({1e6f, -1e6f, 1e6f});
        // The last round has enough distinct positions to grow the table several times.
        const std::size_t triangles = round == 59 ? 30000 : 500 + round * 20;
        if (round == 59)
            for (int i = 0; i < 60000; ++i) palette.push_back({coordinate(random), coordinate(random), coordinate(random)});
        std::uniform_int_distribution<std::size_t> pick(0, palette.size() - 1);
        std::vector<Vec3f> soup(3 * triangles);
        for (Vec3f& p : soup) p = palette[pick(random)];
        SCOPED_TRACE(round);
        expectSame(weld(soup), gridWalk(soup));
    }
}

class ResetSpy : public KelpTriMesh {
public:
    void reset() override {
        ++calls;
        verticesAtReset = vertices.size();
        KelpTriMesh::reset();
        vertexNormals.assign(5, {9, 9, 9});  // left-over that welding must size again
    }
    int calls = 0;
    std::size_t verticesAtReset = 0;
};

TEST(StlWeld, ResetBeforeStoringAndAttributeArraysFollowTheCounts) {
    ResetSpy mesh;
    mesh.vertexAttributes = 1;
    mesh.faceAttributes = 4;
    const std::vector<Vec3f> soup{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 0}, {1, 0, 0}, {0, 0, 1}};
    mesh.setVertexCount(6);
    std::copy(soup.begin(), soup.end(), mesh.vertices.begin());
    mesh.setFaceCount(2);
    testing::internal::CaptureStdout();
    KelpStl::weldSoup(&mesh);
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(mesh.calls, 1);
    EXPECT_EQ(mesh.verticesAtReset, 6u);
    EXPECT_EQ(mesh.vertexCount, 4u);
    EXPECT_EQ(mesh.vertexNormals.size(), 4u);
    EXPECT_EQ(mesh.faceAuxValues.size(), 2u);
    EXPECT_EQ(mesh.faces, (std::vector<Vec3u>{{0, 1, 2}, {0, 1, 3}}));
}

TEST(StlWeld, CornersBeyondAWrappedVertexArrayNameNoVertex) {
    // What a header count whose 3 n wrapped in 32 bits leaves: fewer vertices than corners.
    KelpTriMesh mesh = soupMesh({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 0}});
    mesh.setFaceCount(3);
    testing::internal::CaptureStdout();
    KelpStl::weldSoup(&mesh);
    testing::internal::GetCapturedStdout();
    const std::uint32_t none = KelpStl::kNoVertex;
    EXPECT_EQ(mesh.vertexCount, 3u);
    EXPECT_EQ(mesh.faces, (std::vector<Vec3u>{{0, 1, 2}, {0, none, none}, {none, none, none}}));
}

}  // namespace
