#include "vrml/VrmlKeywords.h"

#include "vrml/VrmlReader.h"

#include <string_view>
#include <unordered_map>

namespace KelpVrml {

namespace {

// Order matters only where a text repeats ("rotation"): the first row wins.
constexpr VrmlKeywordRow kTable[] = {
    // Nodes and statements.
    {"DEF", 1002}, {"USE", 1010}, {"AsciiText", 1024}, {"Cone", 1025}, {"Cube", 1026}, {"Cylinder", 1027},
    {"DirectionalLight", 1028}, {"FontStyle", 1029}, {"IndexedLineSet", 1030}, {"Info", 1031}, {"LOD", 1032},
    {"Normal", 1033}, {"NormalBinding", 1034}, {"OrthographicCamera", 1035}, {"PointLight", 1036},
    {"PointSet", 1037}, {"Rotation", 1038}, {"Scale", 1039}, {"ShapeHints", 1040}, {"Sphere", 1041},
    {"SpotLight", 1042}, {"Texture2", 1043}, {"Texture2Transform", 1044}, {"Transform", 1045},
    {"Translation", 1046}, {"WWWAnchor", 1047}, {"WWWInline", 1048}, {"Separator", 1000}, {"Switch", 1001},
    {"Material", 1003}, {"Coordinate3", 1008}, {"IndexedFaceSet", 1011}, {"MaterialBinding", 1013},
    {"TextureCoordinate2", 1016}, {"MatrixTransform", 1017}, {"PerspectiveCamera", 1019},
    // Fields.
    {"string", 1049}, {"spacing", 1050}, {"justification", 1051}, {"width", 1052}, {"parts", 1053},
    {"bottomRadius", 1054}, {"height", 1055}, {"point", 1009}, {"depth", 1056}, {"radius", 1057}, {"on", 1058},
    {"intensity", 1059}, {"color", 1060}, {"direction", 1074}, {"size", 1061}, {"family", 1062},
    {"style", 1063}, {"coordIndex", 1012}, {"materialIndex", 1064}, {"normalIndex", 1065},
    {"textureCoordIndex", 1066}, {"range", 1067}, {"center", 1068}, {"ambientColor", 1069},
    {"diffuseColor", 1004}, {"specularColor", 1005}, {"emissiveColor", 1070}, {"shininess", 1006},
    {"transparency", 1007}, {"value", 1014}, {"matrix", 1018}, {"vector", 1071}, {"position", 1072},
    {"orientation", 1073}, {"focalDistance", 1020}, {"heightAngle", 1075}, {"location", 1076},
    {"startIndex", 1077}, {"numPoints", 1078}, {"rotation", 1079}, {"scaleFactor", 1080},
    {"renderCulling", 1081}, {"vertexOrdering", 1082}, {"shapeType", 1083}, {"faceType", 1084},
    {"creaseAngle", 1085}, {"dropOffRate", 1086}, {"cutOffAngle", 1087}, {"whichChild", 1088},
    {"filename", 1089}, {"image", 1090}, {"wrapS", 1091}, {"wrapT", 1092}, {"translation", 1093},
    {"rotation", 1079}, {"scaleOrientation", 1094}, {"name", 1095}, {"description", 1096}, {"map", 1097},
    {"bboxSize", 1098}, {"bboxCenter", 1099},
    // Enum words. "CENTER" shares its code with the field "center".
    {"LEFT", 1100}, {"CENTER", 1068}, {"RIGHT", 1102}, {"SIDES", 1103}, {"BOTTOM", 1104}, {"ALL", 1105},
    {"TOP", 1106}, {"SERIF", 1107}, {"SANS", 1108}, {"TYPEWRITER", 1109}, {"NONE", 1110}, {"BOLD", 1111},
    {"ITALIC", 1112}, {"DEFAULT", 1113}, {"OVERALL", 1114}, {"PER_PART", 1115}, {"PER_PART_INDEXED", 1116},
    {"PER_FACE", 1117}, {"PER_FACE_INDEXED", 1118}, {"PER_VERTEX", 1119}, {"PER_VERTEX_INDEXED", 1015},
    {"AUTO", 1120}, {"ON", 1121}, {"OFF", 1122}, {"UNKNOWN_ORDERING", 1123}, {"CLOCKWISE", 1124},
    {"COUNTERCLOCKWISE", 1125}, {"UNKNOWN_SHAPE_TYPE", 1126}, {"SOLID", 1127}, {"UNKNOWN_FACE_TYPE", 1128},
    {"CONVEX", 1129}, {"REPEAT", 1130}, {"CLAMP", 1131}, {"POINT", 1132}, {"TRUE", 1134}, {"FALSE", 1136},
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

const VrmlKeywordRow* vrmlKeywordTable(std::size_t* rows) {
    *rows = std::size(kTable);
    return kTable;
}

int lookupVrmlKeyword(const char* text, std::size_t length) {
    const auto& index = keywordIndex();
    const auto found = index.find(std::string_view(text, length));
    return found == index.end() ? kTokenIdentifier : found->second;
}

}  // namespace KelpVrml
