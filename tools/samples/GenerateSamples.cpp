// kelp-samples DIR: writes a small set of sample files, one or more per
// format, for the README's main job, the tool's tests and the fuzzers' seed
// corpora. Every file is written byte by byte here, independently of the
// library's own writers, so that the samples also check the readers.
#include <KelpImageLoad.h>

#include "ByteBuilder.h"

#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace {

using namespace KelpSamples;

struct Mesh {
    std::vector<std::array<float, 3>> vertices;
    std::vector<std::array<std::uint32_t, 3>> faces;
};

// An octahedron refined `levels` times and pushed onto a sphere: a closed
// mesh whose corners are shared, as in real scans.
Mesh sphere(int levels, float radius, float dz) {
    Mesh m;
    m.vertices = {{1, 0, 0}, {-1, 0, 0}, {0, 1, 0}, {0, -1, 0}, {0, 0, 1}, {0, 0, -1}};
    m.faces = {{0, 2, 4}, {2, 1, 4}, {1, 3, 4}, {3, 0, 4}, {2, 0, 5}, {1, 2, 5}, {3, 1, 5}, {0, 3, 5}};
    for (int level = 0; level < levels; ++level) {
        std::vector<std::array<std::uint32_t, 3>> refined;
        for (const auto& f : m.faces) {
            std::uint32_t mid[3];
            for (int e = 0; e < 3; ++e) {
                const auto& a = m.vertices[f[e]];
                const auto& b = m.vertices[f[(e + 1) % 3]];
                m.vertices.push_back({(a[0] + b[0]) / 2, (a[1] + b[1]) / 2, (a[2] + b[2]) / 2});
                mid[e] = static_cast<std::uint32_t>(m.vertices.size() - 1);
            }
            refined.push_back({f[0], mid[0], mid[2]});
            refined.push_back({mid[0], f[1], mid[1]});
            refined.push_back({mid[2], mid[1], f[2]});
            refined.push_back({mid[0], mid[1], mid[2]});
        }
        m.faces = std::move(refined);
    }
    for (auto& v : m.vertices) {
        const float length = std::sqrt(v[0] * v[0] + v[1] * v[1] + v[2] * v[2]);
        for (int a = 0; a < 3; ++a) v[a] = v[a] / length * radius;
        v[2] += dz;
    }
    return m;
}

std::string fixed(float value) {
    char text[64];
    std::snprintf(text, sizeof text, "%g", static_cast<double>(value));
    return text;
}

bool save(const std::filesystem::path& path, const std::string& bytes) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    if (!out) {
        std::fprintf(stderr, "kelp-samples: cannot write %s\n", path.string().c_str());
        return false;
    }
    std::printf("  %s\n", path.filename().string().c_str());
    return true;
}

std::string binaryStl(const Mesh& m) {
    std::string out(80, '\0');
    std::memcpy(out.data(), "kelp sample sphere", 18);
    putU32(out, static_cast<std::uint32_t>(m.faces.size()));
    for (const auto& f : m.faces) {
        for (int k = 0; k < 3; ++k) putF32(out, 0.0f);
        for (auto index : f)
            for (float c : m.vertices[index]) putF32(out, c);
        putU16(out, 0);
    }
    return out;
}

std::string asciiStl(const Mesh& m) {
    std::string out = "solid sphere\n";
    for (const auto& f : m.faces) {
        out += "  facet normal 0 0 0\n    outer loop\n";
        for (auto index : f) {
            const auto& v = m.vertices[index];
            out += "      vertex " + fixed(v[0]) + " " + fixed(v[1]) + " " + fixed(v[2]) + "\n";
        }
        out += "    endloop\n  endfacet\n";
    }
    return out + "endsolid sphere\n";
}

// A unit cube with one texture square per side, and a 64 x 64 checker image.
bool texturedCube(const std::filesystem::path& dir) {
    std::string obj = "# textured cube\nmtllib cube.mtl\n";
    const float p[8][3] = {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}, {0, 0, 1}, {1, 0, 1}, {1, 1, 1}, {0, 1, 1}};
    for (const auto& v : p) obj += "v " + fixed(v[0]) + " " + fixed(v[1]) + " " + fixed(v[2]) + "\n";
    obj += "vt 0 0\nvt 1 0\nvt 1 1\nvt 0 1\n";
    const int sides[6][4] = {{1, 4, 3, 2}, {5, 6, 7, 8}, {1, 2, 6, 5}, {2, 3, 7, 6}, {3, 4, 8, 7}, {4, 1, 5, 8}};
    obj += "usemtl checker\n";
    for (const auto& s : sides) {
        obj += "f";
        for (int k = 0; k < 4; ++k) obj += " " + std::to_string(s[k]) + "/" + std::to_string(k + 1);
        obj += "\n";
    }
    const std::string mtl = "newmtl checker\nKd 1 1 1\nmap_Kd cube.jpg\n";

    constexpr std::uint32_t kSize = 64;
    std::vector<unsigned char> pixels(kSize * kSize * 3);
    for (std::uint32_t y = 0; y < kSize; ++y)
        for (std::uint32_t x = 0; x < kSize; ++x) {
            const bool dark = ((x / 8) + (y / 8)) % 2 == 0;
            unsigned char* px = &pixels[(y * kSize + x) * 3];
            px[0] = dark ? 30 : 230;
            px[1] = dark ? 60 : 200;
            px[2] = dark ? 120 : 40;
        }
    KelpCore::KelpImageData<unsigned char> image;
    image.data = pixels.data();
    image.width = kSize;
    image.height = kSize;
    image.channels = 3;
    const std::string jpeg = (dir / "cube.jpg").string();
    if (!KelpImageLoad::KelpWriteImage(jpeg.c_str(), image))
        std::fprintf(stderr, "kelp-samples: note: the image library could not write %s\n", jpeg.c_str());
    else
        std::printf("  cube.jpg\n");
    return save(dir / "cube.obj", obj) && save(dir / "cube.mtl", mtl);
}

// A square pyramid in the three PLY encodings. No coordinate is exactly 0:
// in big-endian files a zero float reads as a failure, as it always has.
struct Pyramid {
    float v[5][3] = {{-1, -1, 0.5f}, {1, -1, 0.5f}, {1, 1, 0.5f}, {-1, 1, 0.5f}, {0.25f, 0.25f, 2}};
    std::uint32_t f[6][3] = {{0, 2, 1}, {0, 3, 2}, {0, 1, 4}, {1, 2, 4}, {2, 3, 4}, {3, 0, 4}};
};

std::string plyHeader(const char* format) {
    return std::string("ply\nformat ") + format +
           " 1.0\ncomment kelp sample pyramid\nelement vertex 5\nproperty float x\nproperty float y\n"
           "property float z\nproperty uchar red\nproperty uchar green\nproperty uchar blue\n"
           "element face 6\nproperty list uchar int vertex_indices\nend_header\n";
}

std::string ply(const char* format) {
    const Pyramid p;
    std::string out = plyHeader(format);
    const bool ascii = std::strcmp(format, "ascii") == 0;
    const bool big = std::strcmp(format, "binary_big_endian") == 0;
    for (const auto& v : p.v) {
        if (ascii) {
            out += fixed(v[0]) + " " + fixed(v[1]) + " " + fixed(v[2]) + " 200 100 50\n";
            continue;
        }
        for (float c : v) big ? putF32BigEndian(out, c) : putF32(out, c);
        out += "\xC8\x64\x32";
    }
    for (const auto& f : p.f) {
        if (ascii) {
            out += "3 " + std::to_string(f[0]) + " " + std::to_string(f[1]) + " " + std::to_string(f[2]) + "\n";
            continue;
        }
        out.push_back(3);
        for (auto index : f) big ? putU32BigEndian(out, index) : putU32(out, index);
    }
    return out;
}

std::string vrml() {
    return "#VRML V1.0 ascii\n"
           "# two triangles of a shared quad, then the same shape again through USE\n"
           "Separator {\n"
           "  DEF Quad Separator {\n"
           "    Coordinate3 { point [ 0 0 0, 1 0 0, 1 1 0, 0 1 0 ] }\n"
           "    IndexedFaceSet { coordIndex [ 0, 1, 2, -1, 0, 2, 3, -1, ] }\n"
           "  }\n"
           "  Transform { translation 2 0 0 }\n"
           "  USE Quad\n"
           "}\n";
}

std::string object3ds(const char* name, float dx) {
    std::string vertices;
    putU16(vertices, 4);
    const float quad[4][3] = {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}};
    for (const auto& v : quad) {
        putF32(vertices, v[0] + dx);
        putF32(vertices, v[1]);
        putF32(vertices, v[2]);
    }
    std::string faces;
    putU16(faces, 2);
    for (std::uint16_t index : {0, 1, 2, 7, 0, 2, 3, 7}) putU16(faces, index);
    std::string mesh = chunk3ds(0x4110, vertices) + chunk3ds(0x4120, faces);
    return chunk3ds(0x4000, std::string(name) + '\0' + chunk3ds(0x4100, mesh));
}

std::string file3ds() {
    std::string version;
    putU32(version, 3);
    std::string scale;
    putF32(scale, 1.0f);
    std::string rgb;
    for (float c : {0.2f, 0.2f, 0.2f}) putF32(rgb, c);
    const std::string editor = chunk3ds(0x0100, scale) + chunk3ds(0x2100, chunk3ds(0x0010, rgb)) +
                               object3ds("left", 0.0f) + object3ds("right", 2.0f);
    return chunk3ds(0x4D4D, chunk3ds(0x0002, version) + chunk3ds(0x3D3D, editor));
}

std::string dxf() {
    std::string out = "0\nSECTION\n2\nHEADER\n0\nENDSEC\n0\nSECTION\n2\nENTITIES\n";
    for (int i = 0; i < 8; ++i) {
        const float a = static_cast<float>(i) * 0.785398f;
        out += "0\nPOINT\n10\n" + fixed(std::cos(a)) + "\n20\n" + fixed(std::sin(a)) + "\n30\n" +
               fixed(0.125f * static_cast<float>(i)) + "\n8\nPOINTS\n";
    }
    return out + "0\nENDSEC\n0\nEOF\n";
}

std::string asc() {
    std::string out;
    for (int i = 0; i < 200; ++i) {
        const float t = static_cast<float>(i) * 0.1f;
        char line[96];
        std::snprintf(line, sizeof line, "%f %f %f \n", std::cos(t), std::sin(t), t * 0.05f);
        out += line;
    }
    return out;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: kelp-samples DIR\n");
        return 2;
    }
    const std::filesystem::path dir = argv[1];
    std::error_code error;
    std::filesystem::create_directories(dir, error);
    std::printf("writing samples to %s\n", dir.string().c_str());

    const Mesh ball = sphere(3, 1.0f, 0.0f);
    bool ok = save(dir / "sphere-binary.stl", binaryStl(ball));
    ok = save(dir / "sphere-ascii.stl", asciiStl(ball)) && ok;
    ok = texturedCube(dir) && ok;
    ok = save(dir / "pyramid-ascii.ply", ply("ascii")) && ok;
    ok = save(dir / "pyramid-le.ply", ply("binary_little_endian")) && ok;
    ok = save(dir / "pyramid-be.ply", ply("binary_big_endian")) && ok;
    ok = save(dir / "scene.wrl", vrml()) && ok;
    ok = save(dir / "two-objects.3ds", file3ds()) && ok;
    ok = save(dir / "points.dxf", dxf()) && ok;
    ok = save(dir / "cloud.asc", asc()) && ok;
    return ok ? 0 : 1;
}
