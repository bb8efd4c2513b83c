#include "obj/ObjMaterial.h"
#include "obj/ObjSideFiles.h"

#include <gtest/gtest.h>

#include <sstream>

using KelpObj::ObjMaterial;

namespace {

std::vector<ObjMaterial> parse(const std::string& text) {
    std::istringstream in(text);
    std::vector<ObjMaterial> materials;
    EXPECT_TRUE(KelpObj::readMaterialLibrary(in, materials));
    return materials;
}

TEST(ObjMaterial, StoringRules) {
    auto m = parse("newmtl m\nmap_Kd tex.png\n");
    ASSERT_EQ(m.size(), 1u);
    EXPECT_EQ(m[0].name, "m");
    EXPECT_EQ(m[0].textureFile, "tex.png");

    // A coloured material is stored at a comment; the next starts fresh.
    m = parse("newmtl a\nKd 1 0 0\n# next\nnewmtl b\nmap_Kd b.jpg\n");
    ASSERT_EQ(m.size(), 2u);
    EXPECT_EQ(m[0].name, "a");
    EXPECT_TRUE(m[0].hasDiffuse);
    EXPECT_EQ(m[0].textureFile, "");
    EXPECT_EQ(m[1].name, "b");
    EXPECT_FALSE(m[1].hasDiffuse);
    EXPECT_EQ(m[1].diffuse[0], 1.0f);  // values stay, flags do not

    // Without a comment a second newmtl only renames.
    m = parse("newmtl a\nmap_Kd a.jpg\nnewmtl b\nmap_Kd b.jpg");
    ASSERT_EQ(m.size(), 1u);
    EXPECT_EQ(m[0].name, "b");
    EXPECT_EQ(m[0].textureFile, "b.jpg");

    // Nothing stored without newmtl; an uncoloured material waits for the end.
    EXPECT_TRUE(parse("map_Kd x.jpg\n# c\n").empty());
    EXPECT_EQ(parse("newmtl a\nmap_Kd x.jpg\n# c\n").size(), 1u);
    // A "#" after blanks is not a comment.
    EXPECT_EQ(parse("newmtl a\nKd 1 1 1\n  # c\n").size(), 1u);
}

TEST(ObjMaterial, KeywordsAndRepeatedKeyword) {
    auto m = parse("newmtl a\nd 0.5\nKd 1 1\nKs 0.1 0.2 0.3\n");
    ASSERT_EQ(m.size(), 1u);
    EXPECT_TRUE(m[0].hasTransparency);
    EXPECT_EQ(m[0].transparency, 0.5f);
    EXPECT_FALSE(m[0].hasDiffuse);
    EXPECT_TRUE(m[0].hasSpecular);
    EXPECT_EQ(m[0].specular[2], 0.3f);
    m = parse("newmtl a\nTr 0.25\n");
    EXPECT_EQ(m[0].transparency, 0.25f);

    // A line of blanks runs the previous keyword again on nothing.
    m = parse("newmtl a\nmap_Kd t.jpg\n   \n");
    EXPECT_EQ(m[0].textureFile, "");
    // A CR-only line counts as empty; CR LF lines read as LF lines.
    m = parse("newmtl a\r\nmap_Kd t.jpg\r\n\r\n");
    EXPECT_EQ(m[0].name, "a");
    EXPECT_EQ(m[0].textureFile, "t.jpg");
    // "newmtl" with no name keeps the last name read.
    m = parse("newmtl a\nnewmtl\n");
    EXPECT_EQ(m[0].name, "a");
}

TEST(ObjMaterial, PathRules) {
    EXPECT_EQ(KelpObj::directoryOf("C:\\data\\a.obj"), "C:\\data\\");
    EXPECT_EQ(KelpObj::directoryOf("out/mesh.obj"), "out/");
    EXPECT_EQ(KelpObj::directoryOf("a\\b/c.obj"), "a\\b/");
    EXPECT_EQ(KelpObj::directoryOf("mesh.obj"), "./");

    EXPECT_EQ(KelpObj::textureExtension("tex.jpg"), "JPG");
    EXPECT_EQ(KelpObj::textureExtension("TEX.Jpg"), "JPG");
    EXPECT_EQ(KelpObj::textureExtension("a.b.jpg"), "B.JP");
    EXPECT_EQ(KelpObj::textureExtension("my.tex.jpg"), "TEX.J");
    EXPECT_EQ(KelpObj::textureExtension("tex.jpeg"), "JPEG");
    EXPECT_EQ(KelpObj::textureExtension("tex"), "TE");
    EXPECT_EQ(KelpObj::textureExtension("t"), "T");

    EXPECT_EQ(KelpObj::objBaseName("out\\mesh.obj"), "mesh");
    EXPECT_EQ(KelpObj::objBaseName("C:\\out\\tri.obj"), "tri");
    EXPECT_EQ(KelpObj::objBaseName("out/mesh.obj"), "out/mesh");
    EXPECT_EQ(KelpObj::objBaseName("a.d\\mesh"), "mesh");
    EXPECT_EQ(KelpObj::objBaseName("mesh"), "mesh");
    EXPECT_EQ(KelpObj::objBaseName("x.y/mesh"), "x");
}

}  // namespace
