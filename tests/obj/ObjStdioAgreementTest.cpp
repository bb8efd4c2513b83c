// KelpReadObj against the stdio loop it replaces: random OBJ text (tricky
// numbers, odd corners, blank runs, zero bytes, lines past 2047 bytes, files
// with and without a final line break) is read by both, and the meshes must be
// identical to the bit.
#include <KelpFileIO.h>
#include <KelpImageLoad.h>

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
    std::uint32_t u = static_cast<std::uint32_t>(n);
    if (n < 0) u = u + 1u + static_cast<std::uint32_t>(vertexCount);
    return u - 1u;
}

// The loop as written with the C library (fields made large instead of 64
// bytes; the generator keeps words short of them).
Expected readWithStdio(const std::string& path) {
    Expected out;
    std::FILE* file = std::fopen(path.c_str(), "rt");
    char word[4096] = {};
    float x = 0, y = 0, z = 0, u = 0, v = 0;
    int last = 0;
    while (!std::feof(file)) {
        if (std::fscanf(file, "%4095s", word)) {
        }
        if (!std::strcmp(word, "mtllib")) {
            char name[4096] = {};
            if (std::fscanf(file, "%4095s", name)) {
            }
        } else if (!std::strcmp(word, "v")) {
            if (std::fscanf(file, "%f", &x) + std::fscanf(file, "%f", &y) + std::fscanf(file, "%f", &z)) {
            }
            out.vertices.push_back({x, y, z});
        } else if (!std::strcmp(word, "vt")) {
            if (std::fscanf(file, "%f", &u) + std::fscanf(file, "%f", &v)) {
            }
            if (v < 0) v += 1.0f;
            out.texCoords.push_back({u, v});
        } else if (!std::strcmp(word, "vn")) {
            if (std::fscanf(file, "%f", &x) + std::fscanf(file, "%f", &y) + std::fscanf(file, "%f", &z)) {
            }
            out.normals.push_back({x, y, z});
        } else if (!std::strcmp(word, "f")) {
            std::vector<std::uint32_t> vi, ti;
            // fgets gets 2048 bytes, but the walk below can step one byte past
            // them (a word ending at the last byte, reached with no blank
            // before it): that byte counts as the end of the line.
            char line[4096] = {};
            if (std::fgets(line, 2048, file)) {
            }
            char* p = line;
            for (;;) {
                char corner[4096] = {};
                if (std::sscanf(p, "%4095s", corner) == -1) break;
                const std::size_t length = std::strlen(corner);
                char* component = corner;
                for (int k = 0;; ++k) {
                    char* slash = std::strchr(component, '/');
                    if (slash) *slash = '\0';
                    if (!slash || *component) {
                        if (std::sscanf(component, "%d", &last)) {
                        }
                        if (k == 0) vi.push_back(stored(last, out.vertices.size()));
                        if (k == 1) ti.push_back(stored(last, out.vertices.size()));
                    }
                    if (!slash) break;
                    component = slash + 1;
                }
                p += length + 1;
            }
            for (std::size_t i = 1; vi.size() >= 3 && i + 1 < vi.size(); ++i) out.faces.push_back({vi[0], vi[i], vi[i + 1]});
            for (std::size_t i = 1; ti.size() >= 3 && i + 1 < vi.size() && i + 1 < ti.size(); ++i)
                out.faceTexCoords.push_back({ti[0], ti[i], ti[i + 1]});
        } else {
            char skip[2048];
            if (std::fgets(skip, sizeof skip, file)) {
            }
        }
    }
    std::fclose(file);
    return out;
}

std::string randomObj(std::mt19937& random) {
    static const char* words[] = {"v", "v", "vt", "vn", "f", "f", "#", "g", "V", "vx", "s", "usemtl", "o"};
    static const char* numbers[] = {"1", "-2", "3.5", "1e", "+.5", "nan", "0x1p3", "-", "1e+", "inf", "-0",
                                    "12abc", ".", "0.25", "-0.75", "7", "1e5", "x", "#", "2/3",
                                    "\xe3\x80\x80" "1", "\xa0", "\xc2\xa0" "2"};
    static const char* corners[] = {"1", "2", "3", "2/3", "1//2", "-1", "-2", "3/", "/2", "1/2/3", "x", "-/",
                                    "4294967297", "4/-1", "//", "1/2/3/4", "5", "+2", "#",
                                    "2\xe3\x80\x80" "3", "\xa0" "1"};
    static const char* gaps[] = {" ", " ", " ", "  ", "\t", "\r\n", "\n", "\n", "\n"};
    auto pick = [&random](const auto& list) { return std::string(list[random() % (sizeof list / sizeof list[0])]); };
    std::string text = "mtllib m.mtl\n";
    const int statements = static_cast<int>(random() % 40);
    for (int s = 0; s < statements; ++s) {
        const std::string word = pick(words);
        text += word;
        const int items = static_cast<int>(random() % 6);
        for (int i = 0; i < items; ++i) {
            text += random() % 8 ? " " : "  ";
            text += word == "f" ? pick(corners) : pick(numbers);
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

void expectSameBits(const void* a, const void* b, std::size_t bytes, const char* what, int round) {
    if (bytes == 0) return;
    EXPECT_EQ(std::memcmp(a, b, bytes), 0) << what << " differ in round " << round;
}

TEST(ObjStdioAgreement, RandomFilesReadIdentically) {
    KELP_REQUIRE_READER_LOCALE();
    KelpTest::LocaleGuard guard;
    KelpTest::TempDir dir;
    KelpTest::writeFile(dir.file("m.mtl"), "newmtl m\nmap_Kd t.png\n");
    unsigned char pixel[3] = {10, 20, 30};
    KelpCore::KelpImageData<unsigned char> image;
    image.data = pixel;
    image.width = image.height = 1;
    image.channels = 3;
    ASSERT_NE(KelpImageLoad::KelpWriteImage(dir.file("t.png").c_str(), image), 0);

    std::mt19937 random(99);
    for (int round = 0; round < 300; ++round) {
        const std::string path = dir.file("r.obj");
        KelpTest::writeFile(path, randomObj(random));
        std::setlocale(LC_ALL, "Chinese-simplified");
        const Expected expected = readWithStdio(path);
        std::setlocale(LC_ALL, "C");

        KelpCore::KelpTriMesh mesh;
        ASSERT_TRUE(KelpGraphic::KelpReadObj(path.c_str(), &mesh));
        ASSERT_EQ(mesh.vertices.size(), expected.vertices.size()) << "round " << round;
        expectSameBits(mesh.vertices.data(), expected.vertices.data(), expected.vertices.size() * 12, "vertices", round);
        ASSERT_EQ(mesh.faces.size(), expected.faces.size()) << "round " << round;
        expectSameBits(mesh.faces.data(), expected.faces.data(), expected.faces.size() * 12, "faces", round);
        const std::size_t normals = std::min(expected.normals.size(), expected.vertices.size());
        if (!expected.normals.empty()) {
            ASSERT_EQ(mesh.vertexNormals.size(), expected.vertices.size());
        }
        expectSameBits(mesh.vertexNormals.data(), expected.normals.data(), normals * 12, "normals", round);
        if (!expected.texCoords.empty()) {
            ASSERT_TRUE(mesh.hasTexture);
            ASSERT_EQ(mesh.texCoords.size(), expected.texCoords.size());
            expectSameBits(mesh.texCoords.data(), expected.texCoords.data(), expected.texCoords.size() * 8, "vt", round);
            ASSERT_EQ(mesh.faceTexCoordIndices.size(), expected.faceTexCoords.size());
            expectSameBits(mesh.faceTexCoordIndices.data(), expected.faceTexCoords.data(),
                           expected.faceTexCoords.size() * 12, "face vt", round);
        } else {
            EXPECT_FALSE(mesh.hasTexture);
        }
    }
}

}  // namespace
