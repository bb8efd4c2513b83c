#include "vrml/VrmlKeywords.h"
#include "vrml/VrmlReader.h"

#include "VrmlTestSupport.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

using namespace KelpVrml;
using KelpVrmlTest::ReaderOnText;

namespace {

struct Parsed {
    explicit Parsed(const std::string& text) : on("#VRML V1.0 ascii\n" + text) { node = on.reader().parseNode(0); }
    std::string error() const { return on.error(); }
    std::string located(int line, const std::string& message) const {
        return "file \"" + on.path() + "\" line " + std::to_string(line) + ": " + message;
    }
    ReaderOnText on;
    VrmlNode* node = nullptr;
};

const VrmlField& field(const VrmlNode* node, int kind) {
    for (const VrmlField& f : node->fields)
        if (f.kind == kind) return f;
    ADD_FAILURE() << "no field " << kind;
    static const VrmlField none;
    return none;
}

float wordFloat(const VrmlField& f) {
    float value;
    std::memcpy(&value, &f.word, sizeof value);
    return value;
}

TEST(VrmlParser, SeparatorWithCoordinates) {
    Parsed p("Separator { Coordinate3 { point [0 0 0, 1 0 0, 0 1 0] } }");
    ASSERT_NE(p.node, nullptr);
    EXPECT_EQ(p.node->type, kSeparator);
    EXPECT_EQ(field(p.node, kRenderCulling).word, static_cast<std::uint32_t>(kAuto));
    ASSERT_EQ(p.node->children.size(), 1u);
    const VrmlField& point = field(p.node->children[0], kPoint);
    EXPECT_EQ(p.node->children[0]->type, kCoordinate3);
    EXPECT_EQ(point.count, 9);
    EXPECT_EQ(point.floats, (std::vector<float>{0, 0, 0, 1, 0, 0, 0, 1, 0}));
    EXPECT_EQ(p.error(), "no vrml error");
}

TEST(VrmlParser, DefaultsThatReachTheMesh) {
    // Without "point" a Coordinate3 holds one value slot and no values.
    Parsed coords("Coordinate3 { }");
    EXPECT_EQ(field(coords.node, kPoint).count, 1);
    EXPECT_TRUE(field(coords.node, kPoint).floats.empty());

    Parsed faces("IndexedFaceSet { }");
    EXPECT_EQ(field(faces.node, kCoordIndex).ints, (std::vector<std::int32_t>{0}));
    EXPECT_EQ(field(faces.node, kTextureCoordIndex).ints, (std::vector<std::int32_t>{-1}));
}

TEST(VrmlParser, EachReaderFamilyReadsItsValues) {
    Parsed light("DirectionalLight { on TRUE intensity 0.5 color [1, 0.5, 0.25] direction 0 -1 0 }");
    ASSERT_NE(light.node, nullptr);
    EXPECT_EQ(field(light.node, kOn).word, 1u);
    EXPECT_EQ(wordFloat(field(light.node, kIntensity)), 0.5f);
    EXPECT_EQ(field(light.node, kColor).floats, (std::vector<float>{1, 0.5f, 0.25f}));
    EXPECT_EQ(field(light.node, kDirection).floats, (std::vector<float>{0, -1, 0}));

    Parsed text("AsciiText { string [\"a\", b] spacing 2 justification CENTER width [1, 2 3] }");
    ASSERT_NE(text.node, nullptr);
    EXPECT_EQ(field(text.node, kString).strings, (std::vector<std::string>{"a", "b"}));
    EXPECT_EQ(field(text.node, kJustification).word, static_cast<std::uint32_t>(kCenter));
    EXPECT_EQ(field(text.node, kWidth).floats, (std::vector<float>{1, 2, 3}));

    Parsed cone("Cone { parts (SIDES | BOTTOM) height 3 }");
    ASSERT_NE(cone.node, nullptr);
    EXPECT_EQ(field(cone.node, kParts).word, static_cast<std::uint32_t>(kSides | kBottom));

    Parsed texture("Texture2 { filename \"t.png\" image 2 1 1 255 0 wrapS CLAMP }");
    ASSERT_NE(texture.node, nullptr);
    EXPECT_EQ(field(texture.node, kImage).ints, (std::vector<std::int32_t>{255, 0}));
    EXPECT_EQ(field(texture.node, kFilename).strings, (std::vector<std::string>{"t.png"}));

    Parsed matrix("MatrixTransform { matrix 1 0 0 0, 0 1 0 0, 0 0 1 0, 5 6 7 1 }");
    ASSERT_NE(matrix.node, nullptr);
    EXPECT_EQ(field(matrix.node, kMatrix).count, 16);

    Parsed info("Info { string \"x\" }");
    EXPECT_NE(info.node, nullptr);
    Parsed sw("Switch { whichChild 1 Cube { } Sphere { } }");
    ASSERT_NE(sw.node, nullptr);
    EXPECT_EQ(field(sw.node, kWhichChild).word, 1u);
    EXPECT_EQ(sw.node->children.size(), 2u);

    // The point of TextureCoordinate2 is read and dropped, and no type is set.
    Parsed coords("TextureCoordinate2 { point [0 0, 1 0, 1 1] }");
    ASSERT_NE(coords.node, nullptr);
    EXPECT_EQ(coords.node->type, 0);
    EXPECT_TRUE(coords.node->fields.empty());
}

TEST(VrmlParser, IndexListsDropTheNumberBeforeTheBracketAndEveryFourth) {
    Parsed trailing("IndexedFaceSet { coordIndex [0, 1, 2, -1, 3, 4, 5, -1, ] }");
    const VrmlField& kept = field(trailing.node, kCoordIndex);
    EXPECT_EQ(kept.ints, (std::vector<std::int32_t>{0, 1, 2, 3, 4, 5}));
    EXPECT_EQ(kept.count, 6);

    Parsed bare("IndexedFaceSet { coordIndex [0, 1, 2, -1] }");
    EXPECT_EQ(field(bare.node, kCoordIndex).ints, (std::vector<std::int32_t>{0, 1}));
    EXPECT_EQ(field(bare.node, kCoordIndex).count, 2);

    // Quads are not triangulated: the fourth corner goes, the -1 stays.
    Parsed quads("IndexedFaceSet { coordIndex [0, 1, 2, 3, -1, 4, 5, 6, 7, -1, ] }");
    EXPECT_EQ(field(quads.node, kCoordIndex).ints, (std::vector<std::int32_t>{0, 1, 2, -1, 4, 5, 7}));

    // Lengths that are not multiples of four never read past the list.
    for (int n = 0; n < 12; ++n) {
        std::string list = "[";
        for (int i = 0; i < n; ++i) list += std::to_string(i) + ", ";
        Parsed p("IndexedFaceSet { normalIndex " + list + "] }");
        EXPECT_EQ(field(p.node, kNormalIndex).ints.size(), static_cast<std::size_t>(n * 3 / 4)) << n;
    }

    // Without brackets one number is read; the stride leaves none of it.
    Parsed single("IndexedFaceSet { coordIndex 7 }");
    EXPECT_TRUE(field(single.node, kCoordIndex).ints.empty());
    // Line sets keep their lists whole (but for the number before "]").
    Parsed lines("IndexedLineSet { coordIndex [0, 1, 2, -1] }");
    EXPECT_EQ(field(lines.node, kCoordIndex).ints, (std::vector<std::int32_t>{0, 1, 2}));
    // Octal bits are a denormal float, truncated to 0.
    Parsed octal("IndexedFaceSet { coordIndex [010, 1, 2, -1, ] }");
    EXPECT_EQ(field(octal.node, kCoordIndex).ints, (std::vector<std::int32_t>{0, 1, 2}));
}

TEST(VrmlParser, DefAndUse) {
    Parsed twice("DEF A DEF B Cube { }");
    EXPECT_EQ(twice.node, nullptr);
    EXPECT_EQ(twice.error(), twice.located(2, "DEF statement occured more than one time"));

    Parsed missing("USE X");
    EXPECT_EQ(missing.node, nullptr);
    EXPECT_EQ(missing.error(), missing.located(2, "\"use\" referenced node not found"));

    Parsed named("DEF \"\" Cube { }");
    EXPECT_EQ(named.node, nullptr);
    EXPECT_EQ(named.error(), named.located(2, "identifier expected"));

    Parsed shared("Separator { DEF Abcdefghijklmnopqrstuvwxyz0 Cube { } USE Abcdefghijklmnopqrstuvwx "
                  "DEF Q USE Abcdefghijklmnopqrstuvwx USE Abcdefghijklmnopqrstuvwx }");
    ASSERT_NE(shared.node, nullptr) << shared.error();
    ASSERT_EQ(shared.node->children.size(), 4u);
    const VrmlNode* cube = shared.node->children[0];
    EXPECT_STREQ(cube->name, "Abcdefghijklmnopqrstuvwx");
    const VrmlNode* use = shared.node->children[1];
    EXPECT_EQ(use->type, kCube);
    EXPECT_EQ(use->isReference, 1);
    EXPECT_TRUE(use->fields.empty());
    ASSERT_EQ(use->children.size(), 1u);
    EXPECT_EQ(use->children[0], cube);
    // DEF Q USE B enters the reference under B, so the next USE finds it.
    const VrmlNode* entered = shared.node->children[2];
    EXPECT_STREQ(entered->name, "Abcdefghijklmnopqrstuvwx");
    EXPECT_EQ(shared.node->children[3]->children[0], entered);

    // A name beyond 24 characters is stored cut and so never found whole.
    Parsed longName("Separator { DEF Abcdefghijklmnopqrstuvwxyz0 Cube { } USE Abcdefghijklmnopqrstuvwxyz0 }");
    EXPECT_EQ(longName.node, nullptr);
}

TEST(VrmlParser, SeparatorTakesRenderCullingAsALoneKeyword) {
    Parsed p("Separator { renderCulling ON Cube { } }");
    ASSERT_NE(p.node, nullptr);
    EXPECT_EQ(field(p.node, kRenderCulling).word, static_cast<std::uint32_t>(kRenderCulling));
    ASSERT_EQ(p.node->children.size(), 1u);
    EXPECT_EQ(p.node->children[0]->type, kCube);

    // The word before "}" makes a child that eats the Separator's brace.
    Parsed eaten("Separator { renderCulling OFF }");
    EXPECT_EQ(eaten.node, nullptr);
}

TEST(VrmlParser, UnknownNodesAreSkippedToTheirFirstBrace) {
    Parsed p("Separator { Foo { a 1 } PointLight { on TRUE } Cube { } }");
    ASSERT_NE(p.node, nullptr);
    ASSERT_EQ(p.node->children.size(), 3u);
    EXPECT_EQ(p.node->children[0]->type, 0);
    EXPECT_EQ(p.node->children[1]->type, 0);
    EXPECT_EQ(p.node->children[2]->type, kCube);

    // Nested braces: the inner "}" ends the unknown node and the next one
    // closes the Separator early.
    Parsed nested("Separator { Foo { Bar { } } Cube { } }");
    ASSERT_NE(nested.node, nullptr);
    EXPECT_EQ(nested.node->children.size(), 1u);

    Parsed empty("Separator { }");
    ASSERT_NE(empty.node, nullptr);
    EXPECT_TRUE(empty.node->children.empty());
}

TEST(VrmlParser, ErrorTextsCarryFileAndLine) {
    Parsed height("Cube { width 1\nheight }");
    EXPECT_EQ(height.node, nullptr);
    EXPECT_EQ(height.error(), height.located(3, "invalid node syntax"));

    Parsed brace("Cube width 1 }");
    EXPECT_EQ(brace.node, nullptr);
    EXPECT_EQ(brace.error(), brace.located(2, "'{'"));

    Parsed bad("Separator { Cube { width 1.5.5 } Sphere { radius - } }");
    EXPECT_EQ(bad.node, nullptr);
    EXPECT_EQ(bad.error(), bad.located(2, "invalid node syntax"));

    Parsed bytes("Cube { width \x81 }");
    EXPECT_EQ(bytes.node, nullptr);
    EXPECT_EQ(bytes.error(), bytes.located(2, "invalid node syntax"));

    Parsed negative("\x90");
    EXPECT_EQ(negative.node, nullptr);
    EXPECT_EQ(negative.error(), "vrml file " + negative.on.path() + " has invalid content");
}

TEST(VrmlParser, EndOfInputFailsInsideNodesAndLists) {
    for (const char* text :
         {"Coordinate3 { point [0 0 0", "Cube { width 1", "IndexedFaceSet { coordIndex [0, 1", "Separator {",
          "Separator { Cube { } ", "Material { shininess [0.1", "AsciiText { string [\"a\"", "Texture2 { image 9 9 1 0",
          "Cone { parts (ALL |", "Separator { Switch { Separator { Coordinate3 { point 1 2"}) {
        Parsed p(text);
        EXPECT_EQ(p.node, nullptr) << text;
        EXPECT_NE(p.error(), "no vrml error") << text;
    }
    // At the top level the end of the input closes the node like "}".
    Parsed top("Foo 1 2");
    ASSERT_NE(top.node, nullptr);
    EXPECT_EQ(top.node->type, 0);
    Parsed nothing("");
    EXPECT_NE(nothing.node, nullptr);
}

TEST(VrmlParser, NestingIsBoundedWithoutExhaustingTheStack) {
    auto nested = [](int levels) {
        std::string text;
        for (int i = 0; i < levels; ++i) text += "Separator {\n";
        for (int i = 0; i < levels; ++i) text += "}\n";
        return text;
    };
    Parsed deepest(nested(kMaxGroupDepth + 1));
    EXPECT_NE(deepest.node, nullptr);
    Parsed tooDeep(nested(kMaxGroupDepth + 2));
    EXPECT_EQ(tooDeep.node, nullptr);
    Parsed huge(nested(100000));
    EXPECT_EQ(huge.node, nullptr);
    EXPECT_NE(huge.error().find("invalid node syntax"), std::string::npos) << huge.error();
}

}  // namespace
