#include "obj/ObjMaterial.h"
#include "obj/ObjSideFiles.h"

#include <gtest/gtest.h>

#include <sstream>

namespace {

// Each material as "name texture flags values": enough to tell the storing
// rules apart at a glance.
std::string parsed(const std::string& text) {
    KelpScan::ScanSource in(text.data(), text.data() + text.size());
    std::vector<KelpObj::ObjMaterial> materials;
    EXPECT_TRUE(KelpObj::readMaterialLibrary(in, materials));
    std::ostringstream out;
    for (const KelpObj::ObjMaterial& m : materials)
        out << "[" << m.name << " " << m.textureFile << " " << m.hasDiffuse << m.hasAmbient << m.hasSpecular
            << m.hasTransparency << " " << m.diffuse[0] << " " << m.specular[2] << " " << m.transparency << "]";
    return out.str();
}

TEST(ObjMaterial, StoringRules) {
    const struct {
        const char* library;
        const char* materials;
    } cases[] = {
        {"newmtl m\nmap_Kd tex.png\n", "[m tex.png 0000 0 0 0]"},
        // Stored at a comment when coloured; the next one keeps the values, not the flags.
        {"newmtl a\nKd 1 0 0\n# next\nnewmtl b\nmap_Kd b.jpg\n", "[a  1000 1 0 0][b b.jpg 0000 1 0 0]"},
        {"newmtl a\nmap_Kd a.jpg\nnewmtl b\nmap_Kd b.jpg", "[b b.jpg 0000 0 0 0]"},
        {"map_Kd x.jpg\n# c\n", ""},
        {"newmtl a\nmap_Kd x.jpg\n# c\n", "[a x.jpg 0000 0 0 0]"},
        {"newmtl a\nKd 1 1 1\n  # c\n", "[a  1000 1 0 0]"},
        {"newmtl a\nd 0.5\nKd 1 1\nKs 0.1 0.2 0.3\nKa 1 1 1\n", "[a  0111 0 0.3 0.5]"},
        {"newmtl a\nTr 0.25\nnewmtl\n", "[a  0001 0 0 0.25]"},
        // A line of blanks runs the previous keyword again on nothing; a bare CR line is empty.
        {"newmtl a\nmap_Kd t.jpg\n   \n", "[a  0000 0 0 0]"},
        {"newmtl a\r\nmap_Kd t.jpg\r\n\r\n", "[a t.jpg 0000 0 0 0]"},
        // Only whole keywords count; a colour needs three whole numbers.
        {"newmtl a\nnewmtlx b\nKd 1e 1 1\nKs 1 2 3e1\n", "[a  0010 0 30 0]"},
    };
    for (const auto& c : cases) EXPECT_EQ(parsed(c.library), c.materials) << c.library;
}

TEST(ObjMaterial, PathRules) {
    EXPECT_EQ(KelpObj::directoryOf("C:\\data\\a.obj"), "C:\\data\\");
    EXPECT_EQ(KelpObj::directoryOf("a\\b/c.obj"), "a\\b/");
    EXPECT_EQ(KelpObj::directoryOf("mesh.obj"), "./");
    EXPECT_EQ(KelpObj::textureExtension("a.b.jpg"), "B.JP");
    EXPECT_EQ(KelpObj::textureExtension("tex"), "TE");
    // Only a backslash ends the directory part of the base name.
    EXPECT_EQ(KelpObj::objBaseName("C:\\out\\tri.obj"), "tri");
    EXPECT_EQ(KelpObj::objBaseName("a.d\\mesh"), "mesh");
    EXPECT_EQ(KelpObj::objBaseName("x.y/mesh"), "x");
}

}  // namespace
