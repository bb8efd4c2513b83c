// The in-memory scanner and the ASCII reader against the C runtime itself:
// the same operations through fscanf on a stream must consume the same
// characters, give the same values and set the same end-of-file indicator.
#include "frame/ReaderLocale.h"
#include "stl/StlReaders.h"
#include "stl/StlScan.h"
#include "support/LocaleGuard.h"
#include "support/TestFiles.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <random>
#include <string>
#include <vector>

namespace {

std::uint32_t bitsOf(float f) {
    std::uint32_t b;
    std::memcpy(&b, &f, 4);
    return b;
}

std::string randomText(std::mt19937& random, std::size_t length) {
    static const char kAlphabet[] = "0123456789....eeEE++--xXpPnNaAiIfFtTyY  \n\t\r\v\fbcdZ,\x80\xff";
    std::uniform_int_distribution<std::size_t> pick(0, sizeof kAlphabet - 2);
    std::string text;
    for (std::size_t i = 0; i < length; ++i) text.push_back(kAlphabet[pick(random)]);
    return text;
}

TEST(StlScan, ConsumesAndConvertsAsFscanf) {
    KelpTest::LocaleGuard locale;
    std::mt19937 random(1234);
    std::uniform_int_distribution<int> operation(0, 5);
    for (int round = 0; round < 4000; ++round) {
        std::string text = randomText(random, 1 + round % 40);
        if (round % 7 == 0) text = "  -0x1.8p+1 1e+ .e 0x 1.5.5 infinity -INF nan(12) 00x5 +";
        std::FILE* stream = fmemopen(text.data(), text.size(), "r");
        ASSERT_NE(stream, nullptr);
        KelpStl::ScanCursor cursor(text.data(), text.data() + text.size(), '.');
        for (int step = 0; step < 12; ++step) {
            const int op = operation(random);
            SCOPED_TRACE(::testing::Message() << "text \"" << text << "\" step " << step << " op " << op);
            if (op == 0) {
                ASSERT_EQ(cursor.skipWord(), std::fscanf(stream, "%*s") == 0);
            } else if (op == 1) {
                cursor.skipSpace();
                std::fscanf(stream, " ");
            } else if (op <= 3) {
                float mine = -7.0f, theirs = -7.0f;
                const bool converted = std::fscanf(stream, "%f", &theirs) == 1;
                ASSERT_EQ(cursor.readFloat(mine), converted);
                ASSERT_EQ(bitsOf(mine), bitsOf(theirs));
            } else if (op == 4) {
                float mine[3] = {}, theirs[3] = {};
                const bool all = std::fscanf(stream, "%*s %*s %f %f %f\n", &theirs[0], &theirs[1], &theirs[2]) == 3;
                ASSERT_EQ(cursor.wordsThenTriple(2, mine), all);
                for (int i = 0; i < 3; ++i) ASSERT_EQ(bitsOf(mine[i]), bitsOf(theirs[i]));
            } else {
                cursor.skipLine();
                int c;
                do c = std::fgetc(stream);
                while (c != EOF && c != '\n');
            }
            ASSERT_EQ(cursor.position() - text.data(), std::ftell(stream));
            ASSERT_EQ(cursor.atEnd(), std::feof(stream) != 0);
        }
        std::fclose(stream);
    }
}

// The ASCII grammar written with the C runtime's own calls.
struct ReferenceResult {
    bool ok = false;
    std::vector<KelpCore::Vec3f> vertices;
    std::vector<KelpCore::Vec3u> faces;
};

ReferenceResult referenceAscii(const std::string& path) {
    ReferenceResult result;
    std::FILE* file = std::fopen(path.c_str(), "r");
    int c;
    do c = std::fgetc(file);
    while (c != EOF && c != '\n');
    while (!std::feof(file)) {
        float n[3], v[3][3];
        if (std::fscanf(file, "%*s %*s %f %f %f\n", &n[0], &n[1], &n[2]) == 3) {
            std::fscanf(file, "%*s %*s");
            for (auto& corner : v) {
                if (std::fscanf(file, "%*s %f %f %f\n", &corner[0], &corner[1], &corner[2]) != 3) {
                    std::fclose(file);
                    return result;
                }
            }
            std::fscanf(file, "%*s");
            std::fscanf(file, "%*s");
            if (std::feof(file)) break;
            const auto k = static_cast<std::uint32_t>(result.faces.size());
            for (auto& corner : v) result.vertices.push_back({corner[0], corner[1], corner[2]});
            result.faces.push_back({k, k + 1, k + 2});
        }
    }
    std::fclose(file);
    result.ok = true;
    return result;
}

std::string randomStl(std::mt19937& random) {
    static const char* kPieces[] = {"facet", "normal", "outer", "loop", "vertex", "endloop", "endfacet",
                                    "endsolid", "0", "1.5", "-2e1", "3.25E-2", "nan", "x", "1e", "\n", " ", "\t"};
    std::uniform_int_distribution<int> pick(0, 17), chance(0, 99);
    std::string text = chance(random) < 80 ? "solid name\n" : "";
    const int facets = chance(random) % 6;
    for (int f = 0; f < facets; ++f) {
        text += "facet normal 0 0 1\nouter loop\n";
        for (int v = 0; v < 3; ++v) text += "vertex 1.5 -2 3e2\n";
        text += "endloop\nendfacet\n";
    }
    text += "endsolid\n";
    // Mutate: insert, delete or replace pieces.
    const int edits = chance(random) % 5;
    for (int e = 0; e < edits && !text.empty(); ++e) {
        const std::size_t at = std::uniform_int_distribution<std::size_t>(0, text.size() - 1)(random);
        const int kind = chance(random) % 3;
        if (kind == 0) text.insert(at, std::string(" ") + kPieces[pick(random)]);
        else if (kind == 1) text.erase(at, 1 + chance(random) % 6);
        else text[at] = kPieces[pick(random)][0];
    }
    if (chance(random) < 30) {
        while (!text.empty() && (text.back() == '\n' || text.back() == ' ')) text.pop_back();
    }
    return text;
}

TEST(StlScan, AsciiReaderMatchesTheFscanfGrammar) {
    KelpTest::LocaleGuard locale;
    KelpTest::TempDir dir;
    std::mt19937 random(99);
    const std::string path = dir.file("r.stl");
    int successes = 0;
    for (int round = 0; round < 400; ++round) {
        const std::string text = randomStl(random);
        KelpTest::writeFile(path, text);
        KelpFrame::switchToReaderLocale();
        const ReferenceResult expected = referenceAscii(path);
        KelpCore::KelpTriMesh mesh;
        mesh.addVertex({4, 4, 4});
        const bool ok = KelpStl::readAsciiStl(path.c_str(), &mesh);
        SCOPED_TRACE(text);
        ASSERT_EQ(ok, expected.ok);
        if (!ok) {
            ASSERT_EQ(mesh.vertexCount, 1u);
            continue;
        }
        ++successes;
        ASSERT_EQ(mesh.faces, expected.faces);
        ASSERT_EQ(mesh.vertices.size(), expected.vertices.size());
        for (std::size_t i = 0; i < expected.vertices.size(); ++i)
            for (int a = 0; a < 3; ++a) ASSERT_EQ(bitsOf(mesh.vertices[i][a]), bitsOf(expected.vertices[i][a]));
    }
    EXPECT_GT(successes, 100);
}

}  // namespace
