#include "vrml/VrmlKeywords.h"
#include "vrml/VrmlReader.h"

#include "scan/ScanSource.h"

#include "VrmlTestSupport.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

using namespace KelpVrml;
using KelpVrmlTest::ReaderOnText;
using Ints = std::vector<std::int32_t>;

namespace {

struct Parsed {
    explicit Parsed(const std::string& text) : on("#VRML V1.0 ascii\n" + text) { node = on.reader.parseNode(0); }
    std::string error() const { return on.error(); }
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

TEST(VrmlParser, EachReaderFamilyReadsItsValues) {
    Parsed p("Separator { Coordinate3 { point [0 0 0, 1 0 0\n0 1 0] } Coordinate3 { }\n"
             "DirectionalLight { on TRUE intensity 0.5 color [1, 0.5, 0.25] direction 0 -1 0 }\n"
             "AsciiText { string [\"a\", b] justification CENTER width [1, 2 3] }\n"
             "Cone { parts (SIDES | BOTTOM) height 3 } Texture2 { filename \"t.png\" image 2 1 1 255 0 wrapS CLAMP }\n"
             "MatrixTransform { matrix 1 0 0 0, 0 1 0 0, 0 0 1 0, 5 6 7 1 } Info { string \"x\" }\n"
             "Switch { whichChild 1 Cube { } Sphere { } } TextureCoordinate2 { point [0 0, 1 0] } }");
    ASSERT_NE(p.node, nullptr) << p.error();
    EXPECT_EQ(p.error(), "no vrml error");
    EXPECT_EQ(field(p.node, kRenderCulling).word, static_cast<std::uint32_t>(kAuto));
    const std::vector<VrmlNode*>& c = p.node->children;
    ASSERT_EQ(c.size(), 10u);
    EXPECT_EQ(field(c[0], kPoint).floats, (std::vector<float>{0, 0, 0, 1, 0, 0, 0, 1, 0}));
    // Without "point" a Coordinate3 holds one value slot and no values.
    EXPECT_EQ(field(c[1], kPoint).count, 1);
    EXPECT_TRUE(field(c[1], kPoint).floats.empty());
    EXPECT_EQ(field(c[2], kOn).word, 1u);
    EXPECT_EQ(field(c[2], kIntensity).word, 0x3F000000u);  // 0.5 as its bits
    EXPECT_EQ(field(c[2], kDirection).floats, (std::vector<float>{0, -1, 0}));
    EXPECT_EQ(field(c[3], kString).strings, (std::vector<std::string>{"a", "b"}));
    EXPECT_EQ(field(c[3], kJustification).word, static_cast<std::uint32_t>(kCenter));
    EXPECT_EQ(field(c[3], kWidth).floats, (std::vector<float>{1, 2, 3}));
    EXPECT_EQ(field(c[4], kParts).word, static_cast<std::uint32_t>(kSides | kBottom));
    EXPECT_EQ(field(c[5], kImage).ints, (Ints{255, 0}));
    EXPECT_EQ(field(c[6], kMatrix).count, 16);
    EXPECT_EQ(field(c[8], kWhichChild).word, 1u);
    // The point of TextureCoordinate2 is read and dropped, and no type is set.
    EXPECT_EQ(c[9]->type, 0);
    EXPECT_TRUE(c[9]->fields.empty());
}

TEST(VrmlParser, IndexListsDropTheNumberBeforeTheBracketAndEveryFourth) {
    const std::vector<std::pair<std::string, Ints>> cases = {
        {"IndexedFaceSet { }", {0}},
        {"IndexedFaceSet { coordIndex [0, 1, 2, -1, 3, 4, 5, -1, ] }", {0, 1, 2, 3, 4, 5}},
        {"IndexedFaceSet { coordIndex [0, 1, 2, -1] }", {0, 1}},
        // Quads are not triangulated: the fourth corner goes, the -1 stays.
        {"IndexedFaceSet { coordIndex [0, 1, 2, 3, -1, 4, 5, 6, 7, -1, ] }", {0, 1, 2, -1, 4, 5, 7}},
        // Without brackets one number is read; the stride leaves none of it.
        {"IndexedFaceSet { coordIndex 7 }", {}},
        // Line sets keep their lists whole (but for the number before "]").
        {"IndexedLineSet { coordIndex [0, 1, 2, -1] }", {0, 1, 2}},
        // Octal bits are a denormal float, truncated to 0.
        {"IndexedFaceSet { coordIndex [010, 1, 2, -1, ] }", {0, 1, 2}},
        // Shapes beside the plain index: "-0", an "x" in second place (hexadecimal
        // bits), a leading "0" after a "-" (decimal), double commas, line feeds, and
        // 20 digits (out of the int range).
        {"IndexedFaceSet { coordIndex [-0, 5x3 , 12 ,,7,\n-012,\n99999999999999999999, 3, ] }",
         {0, 0, 12, -12, INT32_MIN}}};
    // Also with refills falling inside the numbers.
    for (const std::size_t chunk : {std::size_t(0), std::size_t(1), std::size_t(5)}) {
        KelpScan::ScanSource::setChunkForTesting(chunk);
        for (const auto& [text, expected] : cases)
            EXPECT_EQ(field(Parsed(text).node, kCoordIndex).ints, expected) << text << " " << chunk;
    }
    KelpScan::ScanSource::setChunkForTesting(0);
    EXPECT_EQ(field(Parsed("IndexedFaceSet { }").node, kTextureCoordIndex).ints, (Ints{-1}));

    // Lengths that are not multiples of four never read past the list.
    for (int n = 0; n < 12; ++n) {
        std::string list = "[";
        for (int i = 0; i < n; ++i) list += std::to_string(i) + ", ";
        Parsed p("IndexedFaceSet { normalIndex " + list + "] }");
        EXPECT_EQ(field(p.node, kNormalIndex).ints.size(), static_cast<std::size_t>(n * 3 / 4)) << n;
    }
}

TEST(VrmlParser, DefAndUse) {
    // Names keep 24 characters: a longer one is never found whole. DEF Q USE B
    // enters the reference under B, so the next USE finds it.
    Parsed shared("Separator { DEF Abcdefghijklmnopqrstuvwxyz0 Cube { } USE Abcdefghijklmnopqrstuvwx "
                  "DEF Q USE Abcdefghijklmnopqrstuvwx USE Abcdefghijklmnopqrstuvwx }");
    ASSERT_NE(shared.node, nullptr) << shared.error();
    const std::vector<VrmlNode*>& c = shared.node->children;
    ASSERT_EQ(c.size(), 4u);
    EXPECT_STREQ(c[0]->name, "Abcdefghijklmnopqrstuvwx");
    EXPECT_EQ(c[1]->type, kCube);
    EXPECT_EQ(c[1]->isReference, 1);
    EXPECT_TRUE(c[1]->fields.empty());
    EXPECT_EQ(c[1]->children, (std::vector<VrmlNode*>{c[0]}));
    EXPECT_STREQ(c[2]->name, "Abcdefghijklmnopqrstuvwx");
    EXPECT_EQ(c[3]->children, (std::vector<VrmlNode*>{c[2]}));
    EXPECT_EQ(Parsed("Separator { DEF Abcdefghijklmnopqrstuvwxyz0 Cube { } USE Abcdefghijklmnopqrstuvwxyz0 }").node,
              nullptr);
}

TEST(VrmlParser, SeparatorsAndUnknownNodes) {
    // renderCulling takes a lone keyword; a word before "}" makes a child that
    // eats the Separator's brace.
    Parsed culling("Separator { renderCulling ON Cube { } }");
    ASSERT_NE(culling.node, nullptr);
    EXPECT_EQ(field(culling.node, kRenderCulling).word, static_cast<std::uint32_t>(kRenderCulling));
    EXPECT_EQ(culling.node->children.at(0)->type, kCube);
    EXPECT_EQ(Parsed("Separator { renderCulling OFF }").node, nullptr);

    // Unknown nodes are skipped to their first "}", so a nested one closes
    // the Separator early.
    Parsed unknown("Separator { Foo { a 1 } PointLight { on TRUE } Cube { } }");
    ASSERT_NE(unknown.node, nullptr);
    ASSERT_EQ(unknown.node->children.size(), 3u);
    EXPECT_EQ(unknown.node->children[1]->type, 0);
    EXPECT_EQ(unknown.node->children[2]->type, kCube);
    EXPECT_EQ(Parsed("Separator { Foo { Bar { } } Cube { } }").node->children.size(), 1u);
}

TEST(VrmlParser, ErrorTexts) {
    std::vector<std::pair<std::string, std::string>> cases = {
        {"DEF A DEF B Cube { }", "DEF statement occured more than one time"},
        {"USE X", "\"use\" referenced node not found"},
        {"DEF \"\" Cube { }", "identifier expected"},
        {"Cube width 1 }", "'{'"},
        {"Separator { Cube { width 1.5.5 } Sphere { radius - } }", "invalid node syntax"},
        {"Cube { width \x81 }", "invalid node syntax"}};
    // Float and string lists need brackets and single commas; images are bare numbers, enough of them.
    for (const char* text : {"Material { shininess 0.5 }", "Material { transparency [ , 0.5 ] }",
                             "Material { transparency [ 0.5,, 0.25 ] }", "AsciiText { string \"Hello\" }",
                             "AsciiText { width 2 }", "AsciiText { string [ , \"a\" ] }",
                             "AsciiText { string [ \"a\",, \"b\" ] }", "LOD { range [1,, 2] }"})
        cases.push_back({text, "invalid node syntax"});
    for (const char* image : {"[2 1 1 255 0]", "2, 1 1 255 0", "2 1 1, 255 0", "2 1 1 255, 0", "2 1 1 255",
                              "2 1 1 [255 0]", "65536 65536 1 1 2 3"})
        cases.push_back({std::string("Texture2 { image ") + image + " }", "invalid node syntax"});
    for (const auto& [text, message] : cases) {
        Parsed p(text);
        EXPECT_EQ(p.node, nullptr) << text;
        EXPECT_EQ(p.error(), "file \"" + p.on.path + "\" line 2: " + message) << text;
    }
    // The line is the one the look-ahead reached, past the comment; the line
    // feed after "1" is pushed back and counted once.
    Parsed height("Cube { width 1\n# c\n\nheight }");
    EXPECT_EQ(height.error(), "file \"" + height.on.path + "\" line 5: invalid node syntax");
    Parsed negative("\x90");
    EXPECT_EQ(negative.error(), "vrml file " + negative.on.path + " has invalid content");
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
    EXPECT_EQ(Parsed("Foo 1 2").node->type, 0);
    EXPECT_NE(Parsed("").node, nullptr);
}

TEST(VrmlParser, FloatAndStringListsReadTheirValues) {
    const std::vector<std::pair<std::string, std::vector<float>>> floats = {
        {"[0.5, 0.25]", {0.5f, 0.25f}}, {"[0.5 0.25]", {0.5f, 0.25f}}, {"[0.5, ]", {0.5f}}, {"[ ]", {}}};
    for (const auto& [list, values] : floats) {
        Parsed p("Material { transparency " + list + " }");
        ASSERT_NE(p.node, nullptr) << list << ": " << p.error();
        EXPECT_EQ(field(p.node, kTransparency).floats, values) << list;
        EXPECT_EQ(field(p.node, kTransparency).count, static_cast<int>(values.size())) << list;
    }
    Parsed strings("AsciiText { string [\"a\", b \"c\",] }");
    ASSERT_NE(strings.node, nullptr) << strings.error();
    EXPECT_EQ(field(strings.node, kString).strings, (std::vector<std::string>{"a", "b", "c"}));
}

TEST(VrmlParser, ImagesReadTheirPixels) {
    const std::vector<std::pair<std::string, Ints>> accepted = {
        {"2 1 1 255 0", {255, 0}}, {"0 0 0", {}}, {"1 1 3 0xFF00", {0}}, {"2 2 1 1 2 3 4 wrapS CLAMP", {1, 2, 3, 4}}};
    for (const auto& [image, pixels] : accepted) {
        Parsed p("Texture2 { image " + image + " }");
        ASSERT_NE(p.node, nullptr) << image << ": " << p.error();
        EXPECT_EQ(field(p.node, kImage).ints, pixels) << image;
        EXPECT_EQ(field(p.node, kImage).count, static_cast<int>(3 + pixels.size())) << image;
    }
}

}  // namespace
