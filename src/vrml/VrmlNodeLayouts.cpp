// The field tables of the known nodes and their defaults.
#include "vrml/VrmlNodeLayout.h"

#include "vrml/VrmlKeywords.h"

namespace KelpVrml {

namespace {

// Field table builders.
constexpr VrmlFieldLayout sfFloat(int code) { return {code, FieldReader::Float, 0, 0, {}, 0}; }
constexpr VrmlFieldLayout sfFloat(int code, float value) { return {code, FieldReader::Float, 0, 1, {value}, 0}; }
constexpr VrmlFieldLayout sfLong(int code, std::int32_t value) { return {code, FieldReader::Long, 0, 1, {}, value}; }
constexpr VrmlFieldLayout numbers(int code, int arity) { return {code, FieldReader::Numbers, arity, 0, {}, 0}; }
constexpr VrmlFieldLayout numbers(int code, int arity, float a, float b, float c = 0, float d = 0) {
    return {code, FieldReader::Numbers, arity, arity, {a, b, c, d}, 0};
}
constexpr VrmlFieldLayout vectorList(int code) { return {code, FieldReader::VectorList, 0, 0, {}, 0}; }
constexpr VrmlFieldLayout vectorList(int code, float a, float b, float c) {
    return {code, FieldReader::VectorList, 0, 3, {a, b, c}, 0};
}
constexpr VrmlFieldLayout intList(int code, std::int32_t value) { return {code, FieldReader::IntList, 0, 1, {}, value}; }
constexpr VrmlFieldLayout floatList(int code) { return {code, FieldReader::FloatList, 0, 0, {}, 0}; }
constexpr VrmlFieldLayout floatList(int code, float value) { return {code, FieldReader::FloatList, 0, 1, {value}, 0}; }
constexpr VrmlFieldLayout stringList(int code) { return {code, FieldReader::StringList, 0, 0, {}, 0}; }
constexpr VrmlFieldLayout sfString(int code) { return {code, FieldReader::String, 0, 0, {}, 0}; }
constexpr VrmlFieldLayout sfBool(int code) { return {code, FieldReader::Bool, 0, 0, {}, 0}; }
constexpr VrmlFieldLayout bitMask(int code, int word) { return {code, FieldReader::BitMask, 0, 1, {}, word}; }
constexpr VrmlFieldLayout enumWord(int code, int word) { return {code, FieldReader::Enum, 0, 1, {}, word}; }
constexpr VrmlFieldLayout image(int code) { return {code, FieldReader::Image, 0, 0, {}, 0}; }
constexpr VrmlFieldLayout matrix(int code) { return {code, FieldReader::Matrix, 0, 0, {}, 0}; }

constexpr VrmlFieldLayout kAsciiTextFields[] = {stringList(kString), sfFloat(kSpacing, 1.0f),
                                              enumWord(kJustification, kLeft), floatList(kWidth)};
constexpr VrmlFieldLayout kConeFields[] = {bitMask(kParts, kAll), sfFloat(kBottomRadius, 1.0f), sfFloat(kHeight, 2.0f)};
constexpr VrmlFieldLayout kCoordinate3Fields[] = {vectorList(kPoint)};
constexpr VrmlFieldLayout kCubeFields[] = {sfFloat(kWidth, 2.0f), sfFloat(kHeight, 2.0f), sfFloat(kDepth, 2.0f)};
constexpr VrmlFieldLayout kCylinderFields[] = {bitMask(kParts, kAll), sfFloat(kRadius, 1.0f), sfFloat(kHeight, 2.0f)};
constexpr VrmlFieldLayout kDirectionalLightFields[] = {sfBool(kOn), sfFloat(kIntensity, 1.0f),
                                                     numbers(kColor, 3, 1, 1, 1), numbers(kDirection, 3, 0, 0, -1)};
constexpr VrmlFieldLayout kFontStyleFields[] = {sfFloat(kSize, 10.0f), enumWord(kFamily, kSerif), bitMask(kStyle, kNone)};
constexpr VrmlFieldLayout kIndexFields[] = {intList(kCoordIndex, 0), intList(kMaterialIndex, -1),
                                          intList(kNormalIndex, -1), intList(kTextureCoordIndex, -1)};
constexpr VrmlFieldLayout kInfoFields[] = {sfString(kString)};
constexpr VrmlFieldLayout kLodFields[] = {floatList(kRange), numbers(kCenter, 3)};
constexpr VrmlFieldLayout kMaterialFields[] = {
    vectorList(kAmbientColor, 0.2f, 0.2f, 0.2f), vectorList(kDiffuseColor, 0.8f, 0.8f, 0.8f),
    vectorList(kSpecularColor), vectorList(kEmissiveColor), floatList(kShininess, 0.2f), floatList(kTransparency)};
constexpr VrmlFieldLayout kMaterialBindingFields[] = {enumWord(kValue, kOverall)};
constexpr VrmlFieldLayout kMatrixTransformFields[] = {matrix(kMatrix)};
constexpr VrmlFieldLayout kNormalFields[] = {vectorList(kVector)};
constexpr VrmlFieldLayout kNormalBindingFields[] = {enumWord(kValue, kDefault)};
constexpr VrmlFieldLayout kOrthographicCameraFields[] = {numbers(kPosition, 3), numbers(kOrientation, 4),
                                                       sfFloat(kFocalDistance, 5.0f), sfFloat(kHeight, 2.0f)};
constexpr VrmlFieldLayout kPerspectiveCameraFields[] = {numbers(kPosition, 3), numbers(kOrientation, 4),
                                                      sfFloat(kFocalDistance, 5.0f), sfFloat(kHeightAngle, 0.785398f)};
constexpr VrmlFieldLayout kPointSetFields[] = {sfLong(kStartIndex, 0), sfLong(kNumPoints, -1)};
constexpr VrmlFieldLayout kRotationFields[] = {numbers(kRotation, 4)};
constexpr VrmlFieldLayout kScaleFields[] = {numbers(kScaleFactor, 3, 1, 1, 1)};
constexpr VrmlFieldLayout kSeparatorFields[] = {enumWord(kRenderCulling, kAuto)};
constexpr VrmlFieldLayout kShapeHintsFields[] = {enumWord(kVertexOrdering, kUnknownOrdering),
                                               enumWord(kShapeType, kUnknownShapeType), enumWord(kFaceType, kConvex),
                                               sfFloat(kCreaseAngle, 0.5f)};
constexpr VrmlFieldLayout kSphereFields[] = {sfFloat(kRadius, 1.0f)};
constexpr VrmlFieldLayout kSpotLightFields[] = {sfBool(kOn),         sfFloat(kIntensity),    numbers(kColor, 3),
                                              numbers(kLocation, 3), numbers(kDirection, 3), sfFloat(kDropOffRate),
                                              sfFloat(kCutOffAngle)};
constexpr VrmlFieldLayout kSwitchFields[] = {sfLong(kWhichChild, -1)};
constexpr VrmlFieldLayout kTexture2Fields[] = {sfString(kFilename), image(kImage), enumWord(kWrapS, kRepeat),
                                             enumWord(kWrapT, kRepeat)};
constexpr VrmlFieldLayout kTexture2TransformFields[] = {numbers(kTranslation, 2), sfFloat(kRotation),
                                                      numbers(kScaleFactor, 2, 1, 1), numbers(kCenter, 2)};
constexpr VrmlFieldLayout kTextureCoordinate2Fields[] = {numbers(kPoint, 2)};
constexpr VrmlFieldLayout kTransformFields[] = {numbers(kTranslation, 3), numbers(kRotation, 4),
                                              numbers(kScaleFactor, 3, 1, 1, 1), numbers(kScaleOrientation, 4),
                                              numbers(kCenter, 3)};
constexpr VrmlFieldLayout kTranslationFields[] = {numbers(kTranslation, 3)};
constexpr VrmlFieldLayout kWwwAnchorFields[] = {sfString(kName), sfString(kDescription), enumWord(kMap, kNone)};
constexpr VrmlFieldLayout kWwwInlineFields[] = {sfString(kName), numbers(kBboxSize, 3), numbers(kBboxCenter, 3)};

template <std::size_t N>
constexpr VrmlNodeLayout leaf(int code, const char* message, const VrmlFieldLayout (&fields)[N]) {
    return {code, message, fields, static_cast<int>(N), false, false, false};
}
template <std::size_t N>
constexpr VrmlNodeLayout group(int code, const char* message, const VrmlFieldLayout (&fields)[N]) {
    return {code, message, fields, static_cast<int>(N), true, false, false};
}

// PointLight has a code but no parser: its tokens are skipped like those of
// an unknown node.
constexpr VrmlNodeLayout kNodeLayouts[] = {
    group(kSeparator, "bad syntax in separator node", kSeparatorFields),
    group(kSwitch, "bad syntax in switch node", kSwitchFields),
    leaf(kMaterial, "bad syntax in material node", kMaterialFields),
    leaf(kCoordinate3, "bad syntax in coordinate3 node", kCoordinate3Fields),
    {kIndexedFaceSet, "bad syntax in indexed faceset node", kIndexFields, 4, false, true, false},
    leaf(kMaterialBinding, "bad syntax in material binding node", kMaterialBindingFields),
    {kTextureCoordinate2, "bad syntax in texture coordinate2 node", kTextureCoordinate2Fields, 1, false, false, true},
    leaf(kMatrixTransform, "bad syntax in matrix transform node", kMatrixTransformFields),
    leaf(kPerspectiveCamera, "bad syntax in perspective camera node", kPerspectiveCameraFields),
    leaf(kAsciiText, "bad syntax in ascii node", kAsciiTextFields),
    leaf(kCone, "bad syntax in cone node", kConeFields),
    leaf(kCube, "bad syntax in cube node", kCubeFields),
    leaf(kCylinder, "bad syntax in cylinder node", kCylinderFields),
    leaf(kDirectionalLight, "bad syntax in directional light node", kDirectionalLightFields),
    leaf(kFontStyle, "bad syntax in font style node", kFontStyleFields),
    leaf(kIndexedLineSet, "bad syntax in indexed lineset node", kIndexFields),
    leaf(kInfo, "bad syntax in info node", kInfoFields),
    group(kLod, "bad syntax in LOD node", kLodFields),
    leaf(kNormal, "bad syntax in normal node", kNormalFields),
    leaf(kNormalBinding, "bad syntax in normal binding node", kNormalBindingFields),
    leaf(kOrthographicCamera, "bad syntax in orthographic camera node", kOrthographicCameraFields),
    leaf(kPointSet, "bad syntax in pointset node", kPointSetFields),
    leaf(kRotationNode, "bad syntax in rotation node", kRotationFields),
    leaf(kScale, "bad syntax in scale node", kScaleFields),
    leaf(kShapeHints, "bad syntax in shape hints node", kShapeHintsFields),
    leaf(kSphere, "bad syntax in sphere node", kSphereFields),
    leaf(kSpotLight, "bad syntax in spot light node", kSpotLightFields),
    leaf(kTexture2, "bad syntax in texture2 node", kTexture2Fields),
    leaf(kTexture2Transform, "bad syntax in texture2transform node", kTexture2TransformFields),
    leaf(kTransform, "bad syntax in transform node", kTransformFields),
    leaf(kTranslationNode, "bad syntax in translation node", kTranslationFields),
    group(kWwwAnchor, "bad syntax in www anchor node", kWwwAnchorFields),
    leaf(kWwwInline, "bad syntax in www inline node", kWwwInlineFields),
};

// A field as the node allocates it before reading. Fields without a default
// hold one value slot and no values.
VrmlField defaultField(const VrmlFieldLayout& layout) {
    VrmlField field;
    field.kind = layout.code;
    field.count = 1;
    switch (layout.reader) {
    case FieldReader::Float:
        if (layout.defaultCount) field.word = floatBits(layout.defaults[0]);
        break;
    case FieldReader::Long:
    case FieldReader::Bool:
    case FieldReader::BitMask:
    case FieldReader::Enum: field.word = static_cast<std::uint32_t>(layout.wordDefault); break;
    case FieldReader::Numbers:
    case FieldReader::VectorList:
    case FieldReader::FloatList:
        if (layout.defaultCount) {
            field.floats.assign(layout.defaults, layout.defaults + layout.defaultCount);
            field.count = layout.defaultCount;
        }
        break;
    case FieldReader::IntList: field.ints.assign(1, layout.wordDefault); break;
    default: break;
    }
    return field;
}

}  // namespace

const VrmlNodeLayout* nodeLayoutFor(int code) {
    static const auto* const byCode = [] {
        static const VrmlNodeLayout* table[kLastKeyword - kFirstKeyword + 1] = {};
        for (const VrmlNodeLayout& layout : kNodeLayouts) table[layout.code - kFirstKeyword] = &layout;
        return table;
    }();
    if (code < kFirstKeyword || code > kLastKeyword) return nullptr;
    return byCode[code - kFirstKeyword];
}

int findField(const VrmlNodeLayout& layout, int code) {
    for (int i = 0; i < layout.fieldCount; ++i)
        if (layout.fields[i].code == code) return i;
    return -1;
}

std::vector<VrmlField> defaultFields(const VrmlNodeLayout& layout) {
    std::vector<VrmlField> fields;
    fields.reserve(static_cast<std::size_t>(layout.fieldCount));
    for (int i = 0; i < layout.fieldCount; ++i) fields.push_back(defaultField(layout.fields[i]));
    return fields;
}

}  // namespace KelpVrml
