#include "vrml/VrmlKeywords.h"

#include "vrml/VrmlReader.h"

#include <string_view>
#include <unordered_map>

namespace KelpVrml {

namespace {

struct VrmlKeywordRow {
    const char* text;
    int code;
};

// Order matters only where a text repeats ("rotation"): the first row wins.
constexpr VrmlKeywordRow kTable[] = {
    // Nodes and statements.
    {"DEF", kDef}, {"USE", kUse}, {"AsciiText", kAsciiText}, {"Cone", kCone}, {"Cube", kCube}, {"Cylinder", kCylinder},
    {"DirectionalLight", kDirectionalLight}, {"FontStyle", kFontStyle}, {"IndexedLineSet", kIndexedLineSet},
    {"Info", kInfo}, {"LOD", kLod}, {"Normal", kNormal}, {"NormalBinding", kNormalBinding},
    {"OrthographicCamera", kOrthographicCamera}, {"PointLight", kPointLight}, {"PointSet", kPointSet},
    {"Rotation", kRotationNode}, {"Scale", kScale}, {"ShapeHints", kShapeHints}, {"Sphere", kSphere},
    {"SpotLight", kSpotLight}, {"Texture2", kTexture2}, {"Texture2Transform", kTexture2Transform},
    {"Transform", kTransform}, {"Translation", kTranslationNode}, {"WWWAnchor", kWwwAnchor}, {"WWWInline", kWwwInline},
    {"Separator", kSeparator}, {"Switch", kSwitch}, {"Material", kMaterial}, {"Coordinate3", kCoordinate3},
    {"IndexedFaceSet", kIndexedFaceSet}, {"MaterialBinding", kMaterialBinding},
    {"TextureCoordinate2", kTextureCoordinate2}, {"MatrixTransform", kMatrixTransform},
    {"PerspectiveCamera", kPerspectiveCamera},
    // Fields.
    {"string", kString}, {"spacing", kSpacing}, {"justification", kJustification}, {"width", kWidth}, {"parts", kParts},
    {"bottomRadius", kBottomRadius}, {"height", kHeight}, {"point", kPoint}, {"depth", kDepth}, {"radius", kRadius},
    {"on", kOn}, {"intensity", kIntensity}, {"color", kColor}, {"direction", kDirection}, {"size", kSize},
    {"family", kFamily}, {"style", kStyle}, {"coordIndex", kCoordIndex}, {"materialIndex", kMaterialIndex},
    {"normalIndex", kNormalIndex}, {"textureCoordIndex", kTextureCoordIndex}, {"range", kRange}, {"center", kCenter},
    {"ambientColor", kAmbientColor}, {"diffuseColor", kDiffuseColor}, {"specularColor", kSpecularColor},
    {"emissiveColor", kEmissiveColor}, {"shininess", kShininess}, {"transparency", kTransparency}, {"value", kValue},
    {"matrix", kMatrix}, {"vector", kVector}, {"position", kPosition}, {"orientation", kOrientation},
    {"focalDistance", kFocalDistance}, {"heightAngle", kHeightAngle}, {"location", kLocation},
    {"startIndex", kStartIndex}, {"numPoints", kNumPoints}, {"rotation", kRotation}, {"scaleFactor", kScaleFactor},
    {"renderCulling", kRenderCulling}, {"vertexOrdering", kVertexOrdering}, {"shapeType", kShapeType},
    {"faceType", kFaceType}, {"creaseAngle", kCreaseAngle}, {"dropOffRate", kDropOffRate},
    {"cutOffAngle", kCutOffAngle}, {"whichChild", kWhichChild}, {"filename", kFilename}, {"image", kImage},
    {"wrapS", kWrapS}, {"wrapT", kWrapT}, {"translation", kTranslation}, {"rotation", kRotation},
    {"scaleOrientation", kScaleOrientation}, {"name", kName}, {"description", kDescription}, {"map", kMap},
    {"bboxSize", kBboxSize}, {"bboxCenter", kBboxCenter},
    // Enum words. "CENTER" shares its code with the field "center".
    {"LEFT", kLeft}, {"CENTER", kCenter}, {"RIGHT", kRight}, {"SIDES", kSides}, {"BOTTOM", kBottom}, {"ALL", kAll},
    {"TOP", kTop}, {"SERIF", kSerif}, {"SANS", kSans}, {"TYPEWRITER", kTypewriter}, {"NONE", kNone}, {"BOLD", kBold},
    {"ITALIC", kItalic}, {"DEFAULT", kDefault}, {"OVERALL", kOverall}, {"PER_PART", kPerPart},
    {"PER_PART_INDEXED", kPerPartIndexed}, {"PER_FACE", kPerFace}, {"PER_FACE_INDEXED", kPerFaceIndexed},
    {"PER_VERTEX", kPerVertex}, {"PER_VERTEX_INDEXED", kPerVertexIndexed}, {"AUTO", kAuto}, {"ON", kOnWord},
    {"OFF", kOff}, {"UNKNOWN_ORDERING", kUnknownOrdering}, {"CLOCKWISE", kClockwise},
    {"COUNTERCLOCKWISE", kCounterClockwise}, {"UNKNOWN_SHAPE_TYPE", kUnknownShapeType}, {"SOLID", kSolid},
    {"UNKNOWN_FACE_TYPE", kUnknownFaceType}, {"CONVEX", kConvex}, {"REPEAT", kRepeat}, {"CLAMP", kClamp},
    {"POINT", kPointWord}, {"TRUE", kTrue}, {"FALSE", kFalse},
};

// Built once; emplace keeps the first row of a repeated text.
const std::unordered_map<std::string_view, int>& keywordIndex() {
    static const std::unordered_map<std::string_view, int> index = [] {
        std::unordered_map<std::string_view, int> built;
        built.reserve(std::size(kTable) * 2);
        for (const VrmlKeywordRow& row : kTable) built.emplace(row.text, row.code);
        return built;
    }();
    return index;
}

}  // namespace

int lookupVrmlKeyword(const char* text, std::size_t length) {
    const auto& index = keywordIndex();
    const auto found = index.find(std::string_view(text, length));
    return found == index.end() ? kTokenIdentifier : found->second;
}

}  // namespace KelpVrml
