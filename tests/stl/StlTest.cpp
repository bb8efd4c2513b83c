// KelpReadStl, KelpWriteStl and the pieces behind them, on inputs built here;
// the ASCII side against the C runtime's own fscanf.
#include <KelpFileIO.h>

#include "frame/ReaderLocale.h"
#include "io/FileHandle.h"
#include "stl/StlReaders.h"
#include "scan/ScanSource.h"
#include "StlTestFiles.h"
#include "support/FileTest.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <map>
#include <random>
#include <utility>

using KelpCore::KelpTriMesh;
using KelpCore::Vec3f;
using KelpCore::Vec3u;

namespace {

using namespace KelpStlTest;

std::string asciiFacet(const Triangle& t) {
    std::string text = "  facet normal 0 0 1\n    outer loop\n";
    for (const Vec3f& c : t)
        text += "      vertex " + std::to_string(c[0]) + " " + std::to_string(c[1]) + " " + std::to_string(c[2]) + "\n";
    return text + "    endloop\n  endfacet\n";
}

std::vector<Vec3f> soupOf(const std::vector<Triangle>& triangles) {
    std::vector<Vec3f> soup;
    for (const Triangle& t : triangles) soup.insert(soup.end(), t.begin(), t.end());
    return soup;
}

// Positions as their bytes, so that not-a-number values compare too.
std::string bytesOf(const std::vector<Vec3f>& positions) {
    return std::string(reinterpret_cast<const char*>(positions.data()), sizeof(Vec3f) * positions.size());
}

template <typename Call>
std::string printed(Call call) {
    std::fflush(stdout);
    testing::internal::CaptureStdout();
    call();
    std::fflush(stdout);
    return testing::internal::GetCapturedStdout();
}

// The binary reader on its own, without the detection in front of it.
void readBinary(const char* path, KelpTriMesh* mesh) {
    KelpIo::FileHandle file = KelpIo::openFile(path, "rb");
    ASSERT_TRUE(file);
    KelpStl::readBinaryStl(file.get())->finish(mesh);
}

using Stl = KelpTest::FileTest;

TEST_F(Stl, DetectionBySizeThenByBytesAbove127) {
    std::string late = binaryStl(9, {kLow, kLow, kLow, kLow});
    late[212] = '\xFF';  // just past the probed offsets 84..211
    const std::pair<std::string, bool> cases[] = {
        {binaryStl(5, {kLow, kLow, kLow}), false},
        {binaryStl(7, {kA, kB}), true},  // 0x80 is the smallest byte that counts
        {late, false},
        {"solid " + std::string(100, 'x') + "\xE6\x96\x87\n" + asciiFacet(kA), true},
        {binaryStl(0x80000002u, {kLow, kLow}), true},  // 84 + 50 n wraps to 184
        // Bytes a short file lacks count as zeros.
        {std::string(84, '\0'), true},
        {std::string(83, '\0'), false},
        // Text mode ends the file at a Ctrl-Z byte on Windows: the byte
        // above 127 behind it is seen on Linux only.
        {std::string(84, 'h') + "\x1A\xC0" + std::string(200, 'x'), std::string(KelpTest::kTextLineEnd) == "\n"},
    };
    for (const auto& [bytes, binary] : cases) {
        std::FILE* file = std::fopen(write(bytes), "rt");
        EXPECT_EQ(KelpStl::looksBinary(file), binary) << "size " << bytes.size();
        std::fclose(file);
        // The public probe takes the same decision and hands over the count.
        std::uint32_t count = 12345;
        EXPECT_EQ(KelpGraphic::KelpStlAnnouncedFaces(path.c_str(), &count), binary) << "size " << bytes.size();
        EXPECT_EQ(count, binary ? KelpIo::loadLe32(reinterpret_cast<const unsigned char*>(bytes.c_str()) + 80) : 12345u);
    }
    std::uint32_t count = 0;
    EXPECT_FALSE(KelpGraphic::KelpStlAnnouncedFaces(dir.file("missing.stl").c_str(), &count));
}

// Welding must give every corner the first vertex with the same position bits
// and keep the survivors in order: what a grid walk over the bounding box
// gives, since identical bits always land in the same cell.
std::pair<std::string, std::vector<Vec3u>> firstAppearance(const std::vector<Vec3f>& soup) {
    std::map<std::string, std::uint32_t> survivors;
    std::string positions;
    std::vector<Vec3u> faces(soup.size() / 3);
    for (std::size_t v = 0; v < soup.size(); ++v) {
        const std::string bits = bytesOf({soup[v]});
        const auto [at, added] = survivors.emplace(bits, static_cast<std::uint32_t>(survivors.size()));
        if (added) positions += bits;
        faces[v / 3][v % 3] = at->second;
    }
    return {positions, faces};
}

TEST_F(Stl, ShortBinaryFileRepeatsTheCornerBufferAsTheLastReadLeftIt) {
    const std::string file = binaryStl(4, {kA, kC, kB});
    // The corners are one read into a buffer that every triangle reuses: a
    // cut inside them replaces the buffer's start with the bytes that came
    // (a partial float included) and keeps the previous triangle's rest.
    // Here 35 of kB's 36 bytes come and the last byte stays kC's: the top
    // byte 0x40 of 5.0f turns the last z into 2.0f.
    const Triangle mixed{{{1, 0, 0}, {1, 1, 0}, {0, 1, 2}}};
    const std::pair<std::size_t, std::vector<Vec3f>> cuts[] = {
        {84 + 100 + 48, soupOf({kA, kC, kB, kB})},
        {84 + 100 + 47, soupOf({kA, kC, mixed, mixed})},
        {84 + 100 + 16, soupOf({kA, kC, {{{1, 5, 5}, {6, 5, 5}, {5, 6, 5}}}, {{{1, 5, 5}, {6, 5, 5}, {5, 6, 5}}}})},
        // Cut inside the normal or the attribute count: the corners are as
        // the last corner read left them.
        {84 + 100 + 12, soupOf({kA, kC, kC, kC})},
        {84 + 100 + 5, soupOf({kA, kC, kC, kC})},
        {84 + 50 + 49, soupOf({kA, kC, kC, kC})},
        // Before the first triangle the buffer holds zeros: kA's first 18
        // corner bytes, (0, 0, 0), then x = 1 and half of y, over zeros.
        {84 + 30, soupOf(std::vector<Triangle>(4, Triangle{{{0, 0, 0}, {1, 0, 0}, {0, 0, 0}}}))},
        {84 + 12, std::vector<Vec3f>(12, Vec3f{0, 0, 0})},
    };
    for (const auto& [size, soup] : cuts) {
        KelpTriMesh mesh;
        EXPECT_EQ(printed([&] { readBinary(write(file.substr(0, size)), &mesh); }),
                  "OpenBinary::fn=4\nOpenBinary::read end\nRemoveRedundant::End\n");
        const auto [positions, faces] = firstAppearance(soup);
        EXPECT_EQ(bytesOf(mesh.vertices), positions) << "size " << size;
        EXPECT_EQ(mesh.faces, faces) << "size " << size;
    }
    // The loop compares as signed numbers: counts from 2^31 on visit nothing.
    EXPECT_EQ(KelpStl::visitedTriangles(0x7FFFFFFFu), 0x7FFFFFFFu);
    EXPECT_EQ(KelpStl::visitedTriangles(0x80000000u), 0u);
}

TEST_F(Stl, ProgressLinesGoToTheInstalledSinkOrElseToStandardOutput) {
    std::vector<std::string> lines;
    const auto collect = [](const char* line, void* context) {
        static_cast<std::vector<std::string>*>(context)->push_back(line);
    };
    KelpGraphic::KelpSetProgressSink(collect, &lines);
    KelpTriMesh mesh;
    const std::string sunk = printed([&] { EXPECT_TRUE(KelpGraphic::KelpReadStl(write(binaryStl(2, {kA, kB})), &mesh)); });
    KelpGraphic::KelpSetProgressSink(nullptr, nullptr);
    EXPECT_EQ(sunk, "");
    EXPECT_EQ(lines, (std::vector<std::string>{"OpenBinary::fn=2", "OpenBinary::read end", "RemoveRedundant::End"}));
    EXPECT_EQ(printed([&] { KelpGraphic::KelpReadStl(path.c_str(), &mesh); }),
              "OpenBinary::fn=2\nOpenBinary::read end\nRemoveRedundant::End\n");
}

// The ASCII grammar in the C runtime's own calls: the corners of the facets
// kept, as bytes, or false when a corner does not parse.
bool referenceAscii(const std::string& path, std::string& corners) {
    std::FILE* file = std::fopen(path.c_str(), "r");
    for (int c = 0; c != EOF && c != '\n';) c = std::fgetc(file);
    bool ok = true;
    while (ok && !std::feof(file)) {
        float n[3], v[9];
        if (std::fscanf(file, "%*s %*s %f %f %f\n", &n[0], &n[1], &n[2]) != 3) continue;
        std::fscanf(file, "%*s %*s");
        for (int c = 0; ok && c < 3; ++c) ok = std::fscanf(file, "%*s %f %f %f\n", &v[3 * c], &v[3 * c + 1], &v[3 * c + 2]) == 3;
        std::fscanf(file, "%*s");
        std::fscanf(file, "%*s");
        if (ok && !std::feof(file)) corners.append(reinterpret_cast<const char*>(v), sizeof v);
    }
    std::fclose(file);
    return ok;
}

// Facets with characters inserted or deleted, sometimes without a first line,
// an "endsolid" line or a final line break (which loses the last facet).
std::string randomStl(std::mt19937& random) {
    static const char kFacet[] = "facet normal 0 0 1\nouter loop\nvertex 1.5 -2 3e2\nvertex 0 1 2\nvertex -4 5e-1 6\nendloop\nendfacet\n";
    static const char kNoise[] = "0123456789.eE+-xXpnaif \n\tv";
    std::string text = random() % 5 ? "solid name\n" : "";
    for (int f = random() % 6; f > 0; --f) text += kFacet;
    if (random() % 2) text += "endsolid\n";
    for (int edits = random() % 5; edits > 0 && !text.empty(); --edits) {
        const std::size_t at = random() % text.size();
        if (random() % 2) text.erase(at, 1 + random() % 6);
        else text.insert(at, 1 + random() % 3, kNoise[random() % (sizeof kNoise - 1)]);
    }
    if (random() % 3 == 0)
        while (!text.empty() && (text.back() == '\n' || text.back() == ' ')) text.pop_back();
    return text;
}

TEST_F(Stl, AsciiReaderMatchesTheFscanfGrammar) {
    std::mt19937 random(99);
    int successes = 0;
    for (int round = 0; round < 400; ++round) {
        const std::string text = randomStl(random);
        SCOPED_TRACE(text);
        write(text);
        KelpFrame::switchToReaderLocale();
        std::string corners;
        const bool ok = referenceAscii(path, corners);
        KelpTriMesh mesh;
        // Every other file through a window of a few bytes: refills inside words and numbers.
        KelpScan::ScanSource::setChunkForTesting(round % 2 ? 1 + round % 7 : 0);
        const bool read = KelpStl::readAsciiStl(KelpIo::openFile(path.c_str(), "r").get(), &mesh);
        KelpScan::ScanSource::setChunkForTesting(0);
        ASSERT_EQ(read, ok);
        if (!ok) continue;
        ++successes;
        ASSERT_EQ(bytesOf(mesh.vertices), corners);
        // Provisional face numbers, one step per facet.
        ASSERT_EQ(mesh.faceCount, mesh.vertices.size() / 3);
        for (std::uint32_t k = 0; k < mesh.faceCount; ++k) ASSERT_EQ(mesh.faces[k], (Vec3u{k, k + 1, k + 2}));
    }
    EXPECT_GT(successes, 100);
}

TEST_F(Stl, WeldingWhileReadingMergesExactlyTheBitIdenticalCorners) {
    std::mt19937 random(7);
    std::uniform_real_distribution<float> coordinate(-1.0f, 1.0f);
    const float specials[] = {0.0f, -0.0f, NAN, -NAN, 1.0f, std::nextafter(1.0f, 2.0f), 1e30f, -INFINITY};
    // Palettes of half as many positions as corners give many duplicates. The
    // large files span several read blocks and grow the table; they end 28
    // bytes into the corners of record 15000, whose first two corners and x
    // then repeat over the rest of record 14999's.
    for (const std::uint32_t size : {1, 2, 50, 300, 1000, 3000, 20000, 20000}) {
        std::vector<Vec3f> palette(size * 3 / 2 + 1);
        for (Vec3f& p : palette)
            for (float& c : p) c = random() % 8 ? coordinate(random) : specials[random() % 8];
        if (size == 3000)  // flat on two axes: the positions differ in z alone
            for (Vec3f& p : palette) p[0] = p[1] = 0.5f;
        std::vector<Triangle> triangles(size);
        for (Triangle& t : triangles)
            for (Vec3f& p : t) p = palette[random() % palette.size()];
        std::string bytes = binaryStl(size, triangles);
        if (size > 15000) {
            bytes.resize(84 + 50 * 15000 + 40);
            const Triangle mixed{triangles[15000][0], triangles[15000][1],
                                 Vec3f{triangles[15000][2][0], triangles[14999][2][1], triangles[14999][2][2]}};
            std::fill(triangles.begin() + 15000, triangles.end(), mixed);
        }
        KelpTriMesh mesh;
        printed([&] { readBinary(write(bytes), &mesh); });
        const auto [positions, faces] = firstAppearance(soupOf(triangles));
        ASSERT_EQ(bytesOf(mesh.vertices), positions) << "size " << size;
        ASSERT_EQ(mesh.faces, faces) << "size " << size;
    }
}

// 3 n wraps in 32 bits for n from 1,431,655,766 up; such a file is too large
// to write here, so the welder is given a short vertex count directly. Corners
// beyond it name no vertex, however the triangles arrive.
TEST_F(Stl, WelderIgnoresCornersBeyondTheVertexCount) {
    const Triangle t = kC;
    const std::uint32_t none = KelpStl::kNoVertex;
    for (const std::size_t vertexTotal : {0, 2, 3, 7, 9}) {
        std::vector<std::vector<Vec3u>> results;
        for (int way = 0; way < 2; ++way) {
            KelpStl::SoupWelder welder(vertexTotal, 3, 9);
            if (way == 0) {
                const std::vector<Vec3f> soup = soupOf({kA, t, t});
                welder.addRun(soup.data(), 3);
                welder.addRun(soup.data() + 3, 6);
            } else {
                welder.addRun(kA.data(), 3);
                welder.addRepeated(t.data(), 2);
            }
            KelpTriMesh mesh;
            printed([&] { welder.finish(&mesh); });
            EXPECT_EQ(mesh.faceCount, 3u);
            EXPECT_EQ(mesh.vertexCount, std::min<std::size_t>(vertexTotal, 6));  // six distinct corners
            results.push_back(mesh.faces);
        }
        EXPECT_EQ(results[0], results[1]) << "vertex count " << vertexTotal;
        if (vertexTotal == 7) {
            EXPECT_EQ(results[0], (std::vector<Vec3u>{{0, 1, 2}, {3, 4, 5}, {3, none, none}}));
        }
    }
}

// Hosts may override reset(); welding calls it once, before it stores.
struct ResetSpy : KelpTriMesh {
    void reset() override {
        ++calls;
        KelpTriMesh::reset();
    }
    int calls = 0;
};

TEST_F(Stl, BothReadersWeldAndKeepTheAttributeBits) {
    for (const std::string& bytes : {binaryStl(2, {kA, kB}), "solid\n" + asciiFacet(kA) + asciiFacet(kB) + "endsolid\n"}) {
        ResetSpy mesh;
        mesh.vertexAttributes = KelpCore::KelpAttributeNormals;
        mesh.faceAttributes = KelpCore::KelpAttributeAuxVectors;
        for (int i = 0; i < 10; ++i) mesh.addVertex({9, 9, 9});
        printed([&] { ASSERT_TRUE(KelpGraphic::KelpReadStl(write(bytes), &mesh)); });
        EXPECT_EQ(mesh.calls, 1);
        EXPECT_EQ(mesh.vertices, (std::vector<Vec3f>{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {1, 1, 0}}));
        EXPECT_EQ(mesh.faces, (std::vector<Vec3u>{{0, 1, 2}, {1, 3, 2}}));
        EXPECT_EQ(mesh.vertexNormals.size(), 4u);
        EXPECT_EQ(mesh.faceAuxVectors.size(), 2u);
        EXPECT_TRUE(mesh.vertexAuxVectors.empty() && mesh.faceNormals.empty());
    }
}

TEST_F(Stl, LocaleStaysSwitchedOnlyWhenAReadFails) {
    KELP_REQUIRE_READER_LOCALE();
    KelpTriMesh mesh;
    mesh.addVertex({7, 7, 7});
    // A corner with two numbers fails the read, and nothing is welded.
    const std::string broken = "solid\n" + asciiFacet(kA) + "facet normal 0 0 1\nouter loop\nvertex 1 2\nvertex 1 2 3\n";
    bool result = true;
    EXPECT_EQ(printed([&] { result = KelpGraphic::KelpReadStl(write(broken), &mesh); }), "");
    EXPECT_FALSE(result);
    EXPECT_EQ(mesh.vertices, (std::vector<Vec3f>{{7, 7, 7}}));
    EXPECT_EQ(KelpTest::currentLocale(), KelpTest::readerLocaleName());

    // A successful read switches back to "C"; a binary count of 0 empties the mesh.
    EXPECT_EQ(printed([&] { EXPECT_TRUE(KelpGraphic::KelpReadStl(write(binaryStl(0, {})), &mesh)); }),
              "OpenBinary::fn=0\nOpenBinary::read end\nRemoveRedundant::End\n");
    EXPECT_TRUE(mesh.vertexCount == 0 && mesh.vertices.empty() && mesh.faceCount == 0 && mesh.faces.empty());
    EXPECT_EQ(KelpTest::currentLocale(), "C");
}

TEST_F(Stl, WriterTakesTheRecordedCountAndSkipsDeletedFaces) {
    KelpTriMesh mesh;
    const Vec3f d{-1, -2, 3.5f}, origin{0, 0, 0};
    for (const Vec3f& p : {kA[0], kA[1], kA[2], d}) mesh.addVertex(p);
    mesh.addFace(0, 1, 2);
    mesh.addFace(1, 2, 3);
    mesh.addFace(3, 2, 1);
    mesh.addFace(3, 7, 0xFFFFFFFFu);  // indices past the vertices write the origin
    mesh.faceFlags = {0, 1 | 8, 8, 0};  // bit 0 marks a deleted face
    mesh.recordedFaceCount = 3;
    ASSERT_TRUE(KelpGraphic::KelpWriteStl(path.c_str(), &mesh));
    EXPECT_EQ(KelpTest::readFile(path), binaryStl(3, {}, '\0') + record(kA) + record({d, kA[2], kA[1]}) + record({d, origin, origin}));
}

}  // namespace
