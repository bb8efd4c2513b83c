// The node layer of the VRML reader: recursive descent over the tokens,
// DEF and USE, and one parser per node type driven by the field tables below.
#include "vrml/VrmlKeywords.h"
#include "vrml/VrmlReader.h"
#include "report/Recorder.h"

#include <algorithm>
#include <cstring>
#include <limits>

namespace KelpVrml {

enum class FieldReader {
    Float,       // SFFloat
    Long,        // SFLong
    Numbers,     // SFVec2f, SFVec3f, SFRotation, SFColor: a fixed count of numbers
    VectorList,  // MFVec3f
    IntList,     // MFLong
    FloatList,   // MFFloat
    StringList,  // MFString
    String,      // SFString
    Bool,        // SFBool
    BitMask,     // SFBitMask
    Enum,        // SFEnum
    Image,       // SFImage
    Matrix,      // SFMatrix
};

struct VrmlFieldLayout {
    int code;
    FieldReader reader;
    int arity;               // numbers read by FieldReader::Numbers
    int defaultCount;        // values in `defaults`, 0 when the node gives none
    float defaults[4];       // float defaults
    std::int32_t wordDefault;  // default of an integer, enum word or index list
};

struct VrmlNodeLayout {
    int code;
    const char* syntaxMessage;
    const VrmlFieldLayout* fields;
    int fieldCount;
    bool group;         // collects child nodes beside its fields
    bool stridedIndex;  // index lists keep three numbers of every four
    bool keepsNothing;  // reads its fields but records no type and no fields
};

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

constexpr int kFirstKeyword = 1000;
constexpr int kLastKeyword = 1136;

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

std::uint32_t floatBits(float value) {
    std::uint32_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}

// Integer fields truncate the float value; out of range the result is the
// one the processor's truncating conversion gives (INT_MIN).
std::int32_t truncateToInt(float value) {
    if (value >= -2147483648.0f && value < 2147483648.0f) return static_cast<std::int32_t>(value);
    return std::numeric_limits<std::int32_t>::min();
}

int clampedCount(std::size_t size) {
    return size > static_cast<std::size_t>(std::numeric_limits<int>::max()) ? std::numeric_limits<int>::max()
                                                                              : static_cast<int>(size);
}

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

// Index lists are stored as if every face were a triangle followed by its
// -1: of each four numbers kept by the reader the fourth is dropped, and the
// count becomes 3n/4.
void keepThreeOfFour(VrmlField& field) {
    const std::size_t kept = field.ints.size();
    const std::size_t count = kept * 3 / 4;
    for (std::size_t i = 0; i < count; ++i) field.ints[i] = field.ints[i + i / 3];
    field.ints.resize(count);
    field.count = clampedCount(count);
}

// Empties a node record in place (no temporary on the parser's stack frames,
// which nest once per group level).
void clearNode(VrmlNode& node) {
    node.type = 0;
    node.name[0] = '\0';
    node.isReference = 0;
    std::vector<VrmlField>().swap(node.fields);
    std::vector<VrmlNode*>().swap(node.children);
}

[[gnu::noinline]] std::vector<VrmlField> defaultFields(const VrmlNodeLayout& layout) {
    std::vector<VrmlField> fields;
    fields.reserve(static_cast<std::size_t>(layout.fieldCount));
    for (int i = 0; i < layout.fieldCount; ++i) fields.push_back(defaultField(layout.fields[i]));
    return fields;
}

bool isWord(int code) {
    return code >= kFirstKeyword && code != kTokenNumber && code != kTokenComment && code != kTokenString;
}

}  // namespace

// --- Value readers ---------------------------------------------------------

// Readers look at the look-ahead before they take it: a token of the wrong
// kind fails the field without being consumed.
bool VrmlReader::readOneNumber(float& value) {
    if (lookAhead().code != kTokenNumber) return false;
    nextToken();
    value = current().value;
    return true;
}

bool VrmlReader::readNumbers(int n, std::vector<float>& out) {
    if (lookAhead().code == '[') nextToken();
    for (int i = 0; i < n; ++i) {
        float value;
        if (!readOneNumber(value)) return false;
        out.push_back(value);
        if (lookAhead().code == ',') nextToken();
    }
    return true;
}

bool VrmlReader::readVectorList(VrmlField& field) {
    if (lookAhead().code != '[') {
        if (!readNumbers(3, field.floats)) return false;
    } else {
        nextToken();
        while (lookAhead().code != ']') {
            for (int i = 0; i < 3; ++i) {
                float value;
                if (!readOneNumber(value)) return false;
                field.floats.push_back(value);
            }
            if (lookAhead().code == ',') nextToken();
        }
    }
    field.count = clampedCount(field.floats.size());
    return true;
}

// The number right before "]" is not kept: the reader looks ahead after each
// number and leaves as soon as it sees the bracket, so [0, 1, 2, -1] keeps
// three numbers and [0, 1, 2, -1, ] four.
bool VrmlReader::readIntegerList(VrmlField& field) {
    if (lookAhead().code != '[') {
        float value;
        if (!readOneNumber(value)) return false;
        field.ints.push_back(truncateToInt(value));
        field.count = 1;
        return true;
    }
    nextToken();
    for (;;) {
        const int code = nextToken();
        if (code == ']') break;
        if (endedInsideNode(code)) return false;
        if (code == kTokenNumber) {
            if (lookAhead().code == ']') { KelpRecord::note(KelpRecord::Code::WrlLastNumber, {}, static_cast<std::uint64_t>(line())); break; }
            field.ints.push_back(truncateToInt(current().value));
        }
    }
    field.count = clampedCount(field.ints.size());
    return true;
}

bool VrmlReader::readFloatList(VrmlField& field) {
    float value;
    if (lookAhead().code != '[') {
        if (!readOneNumber(value)) return false;
        field.floats.push_back(value);
    } else {
        nextToken();
        while (lookAhead().code != ']') {
            if (lookAhead().code == ',') {
                nextToken();
                continue;
            }
            if (!readOneNumber(value)) return false;
            field.floats.push_back(value);
        }
    }
    field.count = clampedCount(field.floats.size());
    return true;
}

bool VrmlReader::readStringList(VrmlField& field) {
    if (lookAhead().code != '[') return readOneString(field);
    nextToken();
    while (lookAhead().code != ']') {
        if (lookAhead().code == ',') {
            nextToken();
            continue;
        }
        if (!readOneString(field)) return false;
    }
    field.count = clampedCount(field.strings.size());
    return true;
}

// A string or an identifier.
bool VrmlReader::readOneString(VrmlField& field) {
    const int code = lookAhead().code;
    if (code != kTokenString && code != kTokenIdentifier) return false;
    nextToken();
    field.strings.emplace_back(current().text);
    field.count = clampedCount(field.strings.size());
    return true;
}

// One enum word, or for bit masks "(" words joined by "|" ")".
bool VrmlReader::readEnumWord(VrmlField& field) {
    if (lookAhead().code != '(') {
        if (!isWord(lookAhead().code)) return false;
        field.word = static_cast<std::uint32_t>(nextToken());
        return true;
    }
    nextToken();
    field.word = 0;
    for (;;) {
        if (!isWord(lookAhead().code)) return false;
        field.word |= static_cast<std::uint32_t>(nextToken());
        const int separator = lookAhead().code;
        if (separator != ')' && separator != '|') return false;
        nextToken();
        if (separator == ')') return true;
    }
}

// Width, height and components, then width x height pixels.
bool VrmlReader::readImage(VrmlField& field) {
    if (!readNumbers(3, field.floats)) return false;
    const std::int64_t pixels =
        std::int64_t{truncateToInt(field.floats[0])} * std::int64_t{truncateToInt(field.floats[1])};
    for (std::int64_t i = 0; i < pixels; ++i) {
        float value;
        if (!readOneNumber(value)) return false;
        field.ints.push_back(truncateToInt(value));
        if (lookAhead().code == ',') nextToken();
    }
    field.count = clampedCount(3 + field.ints.size());
    return true;
}

bool VrmlReader::readFieldValue(const VrmlFieldLayout& layout, VrmlField& field) {
    // The new value replaces the default or an earlier one.
    field = VrmlField{};
    field.kind = layout.code;
    field.count = 1;
    float value = 0.0f;
    switch (layout.reader) {
    case FieldReader::Float:
        if (!readOneNumber(value)) return false;
        field.word = floatBits(value);
        return true;
    case FieldReader::Long:
        if (!readOneNumber(value)) return false;
        field.word = static_cast<std::uint32_t>(truncateToInt(value));
        return true;
    case FieldReader::Numbers:
        if (!readNumbers(layout.arity, field.floats)) return false;
        field.count = layout.arity;
        return true;
    case FieldReader::Matrix:
        if (!readNumbers(16, field.floats)) return false;
        field.count = 16;
        return true;
    case FieldReader::VectorList: return readVectorList(field);
    case FieldReader::IntList: return readIntegerList(field);
    case FieldReader::FloatList: return readFloatList(field);
    case FieldReader::StringList: return readStringList(field);
    case FieldReader::String: return readOneString(field);
    case FieldReader::Bool: {
        const int code = lookAhead().code;
        if (code != kTokenNumber && code != kTrue && code != kFalse) return false;
        nextToken();
        if (code == kTokenNumber)
            field.word = static_cast<std::uint32_t>(truncateToInt(current().value));
        else
            field.word = code == kTrue ? 1u : 0u;
        return true;
    }
    case FieldReader::BitMask:
    case FieldReader::Enum: return readEnumWord(field);
    case FieldReader::Image: return readImage(field);
    }
    return false;
}

// --- Node parsers ----------------------------------------------------------

// Fields of the node up to its "}" (not consumed); other tokens are passed
// over. The end of the input inside the braces fails the node.
bool VrmlReader::parseLeafBody(const VrmlNodeLayout& layout, std::vector<VrmlField>& fields) {
    while (lookAhead().code != '}') {
        const int code = nextToken();
        if (endedInsideNode(code)) return false;
        const int index = findField(layout, code);
        if (index < 0) continue;
        if (!readFieldValue(layout.fields[index], fields[static_cast<std::size_t>(index)])) return false;
        if (layout.stridedIndex && layout.fields[index].reader == FieldReader::IntList)
            keepThreeOfFour(fields[static_cast<std::size_t>(index)]);
    }
    return true;
}

// Fields and child nodes up to the group's "}" (not consumed). A Separator
// takes "renderCulling" as a lone keyword: it stores the keyword's own code
// and leaves the enum word after it to the next child's parse, which skips it.
bool VrmlReader::parseGroupBody(const VrmlNodeLayout& layout, std::vector<VrmlField>& fields,
                                std::vector<VrmlNode*>& children, int depth) {
    while (lookAhead().code != '}') {
        const int code = lookAhead().code;
        if (layout.code == kSeparator) {
            if (code == kRenderCulling) {
                nextToken();
                fields[0].word = static_cast<std::uint32_t>(kRenderCulling);
                continue;
            }
        } else if (const int index = findField(layout, code); index >= 0) {
            nextToken();
            if (!readFieldValue(layout.fields[index], fields[static_cast<std::size_t>(index)])) return false;
            continue;
        }
        savedBuilding_.push_back(std::move(building_));
        VrmlNode* child = parseNode(depth + 1);
        building_ = std::move(savedBuilding_.back());
        savedBuilding_.pop_back();
        if (!child) {
            std::vector<VrmlNode*>().swap(children);
            return false;
        }
        children.push_back(child);
    }
    return true;
}

// Called after the node's "{". On success the node under construction holds
// the node's type, fields and children; on failure it stays cleared.
bool VrmlReader::parseKnownNode(const VrmlNodeLayout& layout, int depth) {
    clearNode(building_);
    std::vector<VrmlField> fields = defaultFields(layout);
    std::vector<VrmlNode*> children;

    const bool parsed = layout.group ? parseGroupBody(layout, fields, children, depth) : parseLeafBody(layout, fields);
    if (!parsed) return false;
    if (!layout.keepsNothing) {
        building_.type = layout.code;
        building_.fields = std::move(fields);
    }
    building_.children = std::move(children);
    return true;
}

VrmlDefEntry* VrmlReader::findDef(const char* name) const {
    const auto found = defIndex_.find(std::string_view(name));
    return found == defIndex_.end() ? nullptr : found->second;
}

VrmlNode* VrmlReader::storeCompletedNode(bool defSeen) {
    records_.push_back(std::make_unique<VrmlNode>(std::move(building_)));
    VrmlNode* record = records_.back().get();
    clearNode(building_);
    if (defSeen) {
        VrmlDefEntry& entry = defEntries_.emplace_back();
        std::memcpy(entry.name, record->name, sizeof entry.name);
        entry.node = record;
        entry.next = defHead_;
        defHead_ = &entry;
        defIndex_[std::string_view(entry.name)] = &entry;
    }
    return record;
}

VrmlNode* VrmlReader::parseNode(int depth) {
    // Beyond this depth the input is refused rather than recursed into; the
    // enclosing groups then fail as for any other bad child.
    if (depth > kMaxGroupDepth) return nullptr;

    int code = nextToken();
    if (code < 0) return nullptr;
    clearNode(building_);

    bool defSeen = false;
    bool useHandled = false;
    bool parserFailed = false;
    char pendingName[kNameLength + 1] = {};
    while (code != '}' && code != kTokenEnd) {
        if (code == kDef) {
            if (defSeen) {
                setErrorWithLine("DEF statement occured more than one time");
                return nullptr;
            }
            defSeen = true;
            nextToken();
            if (current().text[0] == '\0') {
                setErrorWithLine("identifier expected");
                return nullptr;
            }
            // Longer names are cut to their first 24 characters.
            const std::size_t length = std::min<std::size_t>(std::strlen(current().text), kNameLength);
            std::memcpy(pendingName, current().text, length);
            pendingName[length] = '\0';
        } else if (code == kUse) {
            // A USE is the whole node: no braces follow it, and the token
            // after its name belongs to whoever reads next.
            nextToken();
            // The lookup's own message ("identifier expected", "reference
            // name not found") is replaced at once by this one.
            VrmlDefEntry* entry = current().text[0] ? findDef(current().text) : nullptr;
            if (!entry) {
                setErrorWithLine("\"use\" referenced node not found");
                return nullptr;
            }
            building_.type = entry->node->type;
            std::memcpy(building_.name, entry->node->name, sizeof building_.name);
            building_.isReference = 1;
            building_.fields.clear();
            building_.children.assign(1, entry->node);
            useHandled = true;
            break;
        } else if (const VrmlNodeLayout* layout = nodeLayoutFor(code)) {
            if (!expectOpenBrace()) return nullptr;
            if (!parseKnownNode(*layout, depth)) {
                setErrorWithLine(layout->syntaxMessage);
                parserFailed = true;
            }
        }
        code = nextToken();
        if (code < 0 || parserFailed) break;
    }

    if (parserFailed) {
        setErrorWithLine("invalid node syntax");
        return nullptr;
    }
    if (code < 0) return nullptr;
    if (!useHandled) {
        if (depth != 0 && code != '}') {
            setErrorWithLine("'}' expected");
            return nullptr;
        }
        std::memcpy(building_.name, pendingName, sizeof building_.name);
    }
    // After "DEF A USE B" the record carries B's name and is entered under B.
    return storeCompletedNode(defSeen);
}

void VrmlReader::releaseScene() {
    clearNode(building_);
    std::vector<VrmlNode>().swap(savedBuilding_);
    decltype(defIndex_)().swap(defIndex_);
    std::deque<VrmlDefEntry>().swap(defEntries_);
    defHead_ = nullptr;
    std::vector<std::unique_ptr<VrmlNode>>().swap(records_);
}

std::uint64_t VrmlReader::sceneSize() const {
    std::uint64_t size = 0;
    for (const auto& record : records_) {
        size += 1;
        for (const VrmlField& field : record->fields) size += field.floats.size() / 3 + field.ints.size() / 3;
    }
    return size;
}

}  // namespace KelpVrml
