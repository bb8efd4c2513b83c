// The value readers of the VRML reader: one per field type, each reading from
// the current look-ahead token.
#include "vrml/VrmlKeywords.h"
#include "vrml/VrmlNodeLayout.h"
#include "vrml/VrmlReader.h"
#include "report/Recorder.h"
#include "scan/ScanSizing.h"
#include "scan/ScanSource.h"

#include <new>

namespace KelpVrml {

namespace {


bool isWord(int code) {
    return code >= kFirstKeyword && code != kTokenNumber && code != kTokenComment && code != kTokenString;
}

}  // namespace

// Readers look at the look-ahead before they take it: a token of the wrong
// kind fails the field without being consumed.
bool VrmlReader::readOneNumber(float& value) {
    if (lookAhead().code != kTokenNumber) return false;
    nextToken();
    value = current().value;
    return true;
}

// `n` numbers, nothing between them.
bool VrmlReader::readPlainNumbers(int n, std::vector<float>& out) {
    for (int i = 0; i < n; ++i) {
        float value;
        if (!readOneNumber(value)) return false;
        out.push_back(value);
    }
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

// After "[": items each followed by at most one comma, until the look-ahead
// is "]" (left for the node loop to consume).
template <typename ReadItem>
bool VrmlReader::readListItems(ReadItem readItem) {
    while (lookAhead().code != ']') {
        if (!readItem()) return false;
        if (lookAhead().code == ',') nextToken();
    }
    return true;
}

VrmlReader::ListSizing VrmlReader::startListSizing() const {
    ListSizing sizing;
    sizing.done = fileSize_ == 0 || !source_;
    if (!sizing.done) sizing.start = source_->offset();
    return sizing;
}

// Once, when the list has shown its density: the rest of the file at that
// density, never more than a value per two bytes ("0 " or "0,"), so a small
// file reserves little whatever its first values look like. Beyond the
// reserve the list grows as usual.
template <typename T>
void VrmlReader::sizeListAhead(std::vector<T>& values, ListSizing& sizing) const {
    if (sizing.done || values.size() < KelpScan::kSizingSample) return;
    sizing.done = true;
    const std::uint64_t offset = source_->offset();
    if (offset <= sizing.start || offset >= fileSize_) return;
    const std::size_t target = KelpScan::expectedCount(values.size(), values.size(), offset - sizing.start,
                                                       fileSize_ - offset, 2.0);
    if (target <= values.capacity() + values.capacity() / 2) return;
    try {
        values.reserve(target);
    } catch (const std::bad_alloc&) {
        // More address space than the system grants: the list grows as usual.
    }
}

bool VrmlReader::readVectorList(VrmlField& field) {
    if (lookAhead().code != '[') {
        if (!readNumbers(3, field.floats)) return false;
    } else {
        nextToken();
        ListSizing sizing = startListSizing();
        for (;;) {
            sizeListAhead(field.floats, sizing);
            if (lookAhead().code == kTokenNumber) takeVectorRunInWindow(field.floats);
            if (lookAhead().code == ']') break;
            if (!readPlainNumbers(3, field.floats)) return false;
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
    ListSizing sizing = startListSizing();
    for (;;) {
        sizeListAhead(field.ints, sizing);
        if (lookAhead().code == kTokenNumber || lookAhead().code == ',') takeIndexRunInWindow(field.ints);
        const int code = nextToken();
        if (code == ']') break;
        if (endedInsideNode(code)) return false;
        if (code == kTokenNumber) {
            if (lookAhead().code == ']') {
                KelpRecord::note(KelpRecord::Code::WrlLastNumber, {}, static_cast<std::uint64_t>(line()));
                break;
            }
            field.ints.push_back(truncateToInt(current().value));
        }
    }
    field.count = clampedCount(field.ints.size());
    return true;
}

// Float and string lists take no single value in place of the list, and a
// comma with no value before it fails the field.
bool VrmlReader::readFloatList(VrmlField& field) {
    if (lookAhead().code != '[') return false;
    nextToken();
    if (!readListItems([&] { return readPlainNumbers(1, field.floats); })) return false;
    field.count = clampedCount(field.floats.size());
    return true;
}

bool VrmlReader::readStringList(VrmlField& field) {
    if (lookAhead().code != '[') return false;
    nextToken();
    if (!readListItems([&] { return readOneString(field); })) return false;
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

// Width, height and components, then width x height pixels: bare numbers,
// so a bracket or a comma anywhere in the image fails the field. Reading
// stops at the first token that is not a number, so a large announced size
// costs no more than the numbers the file holds.
bool VrmlReader::readImage(VrmlField& field) {
    if (!readPlainNumbers(3, field.floats)) return false;
    const std::int64_t pixels =
        std::int64_t{truncateToInt(field.floats[0])} * std::int64_t{truncateToInt(field.floats[1])};
    for (std::int64_t i = 0; i < pixels; ++i) {
        float value;
        if (!readOneNumber(value)) return false;
        field.ints.push_back(truncateToInt(value));
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

}  // namespace KelpVrml
