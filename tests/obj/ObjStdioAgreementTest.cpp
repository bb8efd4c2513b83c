// KelpReadObj against the stdio loop it replaces: random OBJ text (tricky
// numbers, odd corners, blank runs, zero bytes, bytes above 0x7F, lines past
// 2047 bytes, files with and without a final line break) is read by both, and
// the meshes must be identical to the bit.
#include <KelpFileIO.h>

#include "ObjTestImages.h"
#include "scan/ScanSource.h"
#include "support/Bits.h"
#include "support/CReference.h"
#include "support/LocaleGuard.h"
#include "support/TestFiles.h"
#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <random>
#include <string>
#include <vector>

namespace {

struct Expected {
    std::vector<KelpCore::Vec3f> vertices, normals;
    std::vector<KelpCore::Vec3u> faces, faceTexCoords;
    std::vector<KelpCore::Vec2f> texCoords;
};

std::uint32_t stored(int n, std::size_t vertexCount) {
    return static_cast<std::uint32_t>(n < 0 ? n + 1 + static_cast<int>(vertexCount) : n) - 1u;
}

// The loop never looks at what its reads return: a failed read keeps the old value.
template <class T>
void ignore(T) {}

// The loop as written with the C library (fields made large instead of 64
// bytes; the generator keeps words short of them).
Expected readWithStdio(const std::string& path) {
    Expected out;
    std::FILE* file = std::fopen(path.c_str(), "rt");
    char word[4096] = {};
    float x = 0, y = 0, z = 0, u = 0, v = 0;
    int last = 0;
    while (!std::feof(file)) {
        ignore(std::fscanf(file, "%4095s", word));
        if (!std::strcmp(word, "v") || !std::strcmp(word, "vn")) {
            for (float* c : {&x, &y, &z}) ignore(std::fscanf(file, "%f", c));
            (word[1] ? out.normals : out.vertices).push_back({x, y, z});
        } else if (!std::strcmp(word, "vt")) {
            for (float* c : {&u, &v}) ignore(std::fscanf(file, "%f", c));
            if (v < 0) v += 1.0f;
            out.texCoords.push_back({u, v});
        } else if (!std::strcmp(word, "f")) {
            std::vector<std::uint32_t> vi, ti;
            // fgets gets 2048 bytes, but the walk below can step one byte past
            // them (a word ending at the last byte, reached with no blank
            // before it): that byte counts as the end of the line.
            char line[4096] = {};
            ignore(std::fgets(line, 2048, file));
            for (char* p = line;;) {
                char corner[4096] = {};
                if (std::sscanf(p, "%4095s", corner) == -1) break;
                const std::size_t length = std::strlen(corner);
                char* component = corner;
                for (int k = 0;; ++k) {
                    char* slash = std::strchr(component, '/');
                    if (slash) *slash = '\0';
                    if (!slash || *component) {
                        ignore(std::sscanf(component, "%d", &last));
                        if (k < 2) (k == 0 ? vi : ti).push_back(stored(last, out.vertices.size()));
                    }
                    if (!slash) break;
                    component = slash + 1;
                }
                p += length + 1;
            }
            for (std::size_t i = 1; i + 1 < vi.size(); ++i) {
                out.faces.push_back({vi[0], vi[i], vi[i + 1]});
                if (i + 1 < ti.size()) out.faceTexCoords.push_back({ti[0], ti[i], ti[i + 1]});
            }
        } else {  // "mtllib m.mtl" included: the library has no geometry
            char skip[2048];
            ignore(std::fgets(skip, sizeof skip, file));
        }
    }
    std::fclose(file);
    // The triples reach the mesh only with a texture.
    if (out.texCoords.empty()) out.faceTexCoords.clear();
    return out;
}

std::string randomObj(std::mt19937& random) {
    static const char* words[] = {"v", "v", "vt", "vn", "f", "f", "#", "g", "V", "vx", "usemtl"};
    // Spellings where scanf's one-character push-back loses input, hexadecimal,
    // NaN payloads, range limits, bytes that are blanks only in some locales.
    static const char* numbers[] = {"1", "-2", "3.5", "1e", "1e+ x", "+.5", "nan(12)", "na1", "0x1p3", "0x",
                                    "0x.8", "0xg", "-", "inf", "infx", "-0", "1e400", "1.4e-45", "12abc", ".",
                                    "-0.75", "1,5", "x", "#", "2/3", "\xe3\x80\x80" "1", "\xa0", "\xc2\xa0" "2"};
    static const std::string alphabet = "0123456789.eE+-xXpPnNaAiIfFtTyY \n\t/#";
    static const char* corners[] = {"1", "2", "3", "2/3", "1//2", "-1", "-2", "3/", "/2", "1/2/3", "x", "-/",
                                    "4294967297", "-2147483649", "99999999999999999999", "4/-1", "//", "1/2/3/4",
                                    "+2", "#", "2\xe3\x80\x80" "3", "\xa0" "1", "120/34567", "-1234567",
                                    "12345678/9", "123456789", "0000002"};
    static const char* gaps[] = {" ", " ", " ", "  ", "\t", "\r\n", "\n", "\n", "\n"};
    auto pick = [&random](const auto& list) { return std::string(list[random() % std::size(list)]); };
    std::string text = "mtllib m.mtl\n";
    for (int s = static_cast<int>(random() % 40); s > 0; --s) {
        const std::string word = pick(words);
        text += word;
        for (int i = static_cast<int>(random() % 6); i > 0; --i)
            text += (random() % 8 ? " " : "  ") + (word == "f" ? pick(corners) : pick(numbers));
        if (word[0] == 'v' && random() % 3 == 0) {  // a random number spelling
            text += ' ';
            for (int k = static_cast<int>(random() % 9); k > 0; --k) text += alphabet[random() % alphabet.size()];
        }
        if (random() % 25 == 0) text.push_back('\0');
        if (random() % 30 == 0) {
            // A face line longer than the line buffer: the rest becomes statements.
            text += " ";
            for (int i = 0; i < 700; ++i) text += (i % 50 == 49) ? "v 1 " : "1 2 ";
        }
        text += pick(gaps);
    }
    if (random() % 2) text += "v 1 2 3";
    return text;
}

using KelpTest::sameBits;

TEST(ObjStdioAgreement, RandomFilesReadIdentically) {
    KELP_REQUIRE_GLIBC_REFERENCE();
    KELP_REQUIRE_READER_LOCALE();
    KelpTest::LocaleGuard guard;
    KelpTest::TempDir dir;
    KelpTest::writeFile(dir.file("m.mtl"), "newmtl m\nmap_Kd t.png\n");
    ASSERT_TRUE(KelpObjTest::saveImage(dir.file("t.png"), {10, 20, 30}, 1, 1, 3));

    std::mt19937 random(99);
    for (int round = 0; round < 500; ++round) {
        SCOPED_TRACE("round " + std::to_string(round));
        const std::string path = dir.file("r.obj");
        KelpTest::writeFile(path, randomObj(random));
        std::setlocale(LC_ALL, "Chinese-simplified");
        Expected want = readWithStdio(path);
        std::setlocale(LC_ALL, "C");

        // Every other round through a window of a few bytes, so that refills
        // fall inside words, numbers and face lines.
        KelpScan::ScanSource::setChunkForTesting(round % 2 ? 1 + round % 5 : 0);
        KelpCore::KelpTriMesh mesh;
        const bool read = KelpGraphic::KelpReadObj(path.c_str(), &mesh);
        KelpScan::ScanSource::setChunkForTesting(0);
        ASSERT_TRUE(read);
        EXPECT_TRUE(sameBits(mesh.vertices, want.vertices));
        EXPECT_TRUE(sameBits(mesh.faces, want.faces));
        EXPECT_EQ(mesh.vertexAttributes & KelpCore::KelpAttributeNormals, want.normals.empty() ? 0u : 1u);
        EXPECT_EQ(mesh.vertexNormals.size(), want.normals.empty() ? 0u : want.vertices.size());
        // Normals past the vertices have no vertex, vertices past the normals no defined normal.
        want.normals.resize(std::min(want.normals.size(), want.vertices.size()));
        mesh.vertexNormals.resize(want.normals.size());
        EXPECT_TRUE(sameBits(mesh.vertexNormals, want.normals));
        EXPECT_EQ(mesh.hasTexture, !want.texCoords.empty());
        EXPECT_TRUE(sameBits(mesh.texCoords, want.texCoords));
        EXPECT_TRUE(sameBits(mesh.faceTexCoordIndices, want.faceTexCoords));
    }
}

}  // namespace
