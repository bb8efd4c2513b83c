#include "ply/PlyFile.h"

#include "scan/ScanNumber.h"

#include <cstring>

namespace KelpPly {

PlyScalarType plyTypeFromName(const char* token) {
    for (int code = 1; code < kPlyTypeCount; ++code) {
        if (std::strcmp(token, kPlyTypeNames[code]) == 0 || std::strcmp(token, kPlyTypeAltNames[code]) == 0)
            return static_cast<PlyScalarType>(code);
    }
    return PlyScalarType::None;
}

namespace {

// strtok over one header line with the delimiters " \t\n\r". The line is
// treated as a C string: a zero byte ends it.
class HeaderTokens {
public:
    explicit HeaderTokens(const std::string& line)
        : text_(line.c_str()), length_(std::strlen(line.c_str())) {}

    // The next token, or false when the line has no more.
    bool next(std::string& token) {
        while (pos_ < length_ && isDelimiter(text_[pos_])) ++pos_;
        if (pos_ >= length_) return false;
        const std::size_t start = pos_;
        while (pos_ < length_ && !isDelimiter(text_[pos_])) ++pos_;
        token.assign(text_ + start, pos_ - start);
        // strtok overwrites the delimiter that ends a token.
        if (pos_ < length_) ++pos_;
        return true;
    }

    // What follows the last token and its one delimiter, to the end of the line.
    std::string rest() const { return std::string(text_ + pos_, length_ - pos_); }

private:
    static bool isDelimiter(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

    const char* text_;
    std::size_t length_;
    std::size_t pos_ = 0;
};

}  // namespace

bool PlyFile::open(const char* path) {
    close();
    if (!input.open(path)) {
        lastError = PlyErrorCannotOpen;
        return false;
    }
    const int error = parseHeader();
    if (error != PlyErrorNone) {
        lastError = error;
        close();
        return false;
    }
    return true;
}

void PlyFile::close() { input.close(); }

int PlyFile::parseHeader() {
    std::string line;
    auto readHeaderLine = [&] {
        if (!input.readLine(line, kHeaderLineLimit)) return false;
        if (headerText.size() < kHeaderTextLimit - 1)
            headerText.append(line, 0, kHeaderTextLimit - 1 - headerText.size());
        return true;
    };

    if (!readHeaderLine()) return PlyErrorMissingLine;
    if (line.compare(0, 3, "ply") != 0) return PlyErrorNotPly;

    if (!readHeaderLine()) return PlyErrorMissingLine;
    {
        HeaderTokens tokens(line);
        std::string token;
        if (!tokens.next(token)) return PlyErrorMissingLine;
        if (token != "format") return PlyErrorBadFormatLine;
        if (!tokens.next(token)) return PlyErrorMissingLine;
        if (token == "ascii")
            format = PlyFormat::Ascii;
        else if (token == "binary_big_endian")
            format = PlyFormat::BinaryBigEndian;
        else if (token == "binary_little_endian")
            format = PlyFormat::BinaryLittleEndian;
        else
            return PlyErrorBadFormatLine;
        if (!tokens.next(token)) return PlyErrorMissingLine;
        version = static_cast<float>(
            KelpScan::convertDoubleText(token.data(), token.data() + token.size(), input.cursor().locale()));
    }

    PlyElement* current = nullptr;
    for (;;) {
        if (!readHeaderLine()) return PlyErrorMissingLine;
        HeaderTokens tokens(line);
        std::string keyword;
        if (!tokens.next(keyword)) return PlyErrorMissingLine;

        if (keyword == "comment" || keyword == "obj_info") {
            comments.push_back(tokens.rest());
        } else if (keyword == "element") {
            PlyElement element;
            std::string countText;
            if (!tokens.next(element.name)) return PlyErrorSyntax;
            if (!tokens.next(countText)) return PlyErrorSyntax;
            element.count =
                KelpScan::convertIntText(countText.data(), countText.data() + countText.size(), input.cursor().locale());
            elements.push_back(std::move(element));
            current = &elements.back();
        } else if (keyword == "property") {
            if (!current) return PlyErrorPropertyBeforeElement;
            PlyProperty property;
            std::string token;
            if (!tokens.next(token)) return PlyErrorSyntax;
            if (token == "list") {
                std::string countTypeName, itemTypeName;
                if (!tokens.next(countTypeName)) return PlyErrorSyntax;
                property.countType = plyTypeFromName(countTypeName.c_str());
                if (property.countType == PlyScalarType::None) return PlyErrorUnknownType;
                if (!tokens.next(itemTypeName)) return PlyErrorSyntax;
                property.type = plyTypeFromName(itemTypeName.c_str());
                if (property.type == PlyScalarType::None) return PlyErrorUnknownType;
                property.isList = true;
            } else {
                property.type = plyTypeFromName(token.c_str());
                if (property.type == PlyScalarType::None) return PlyErrorUnknownType;
            }
            if (!tokens.next(property.name)) return PlyErrorSyntax;
            current->properties.push_back(std::move(property));
        } else if (keyword == "end_header") {
            return PlyErrorNone;
        } else {
            return PlyErrorSyntax;
        }
    }
}

int PlyFile::findElement(const std::string& name) const {
    for (std::size_t i = 0; i < elements.size(); ++i)
        if (elements[i].name == name) return static_cast<int>(i);
    return -1;
}

int PlyFile::findProperty(const PlyElement& element, const std::string& name) {
    for (std::size_t i = 0; i < element.properties.size(); ++i)
        if (element.properties[i].name == name) return static_cast<int>(i);
    return -1;
}

bool PlyFile::requestProperty(const PlyPropertyRequest& request) {
    const int index = findElement(request.elementName);
    int error = PlyErrorNoSuchElement;
    if (index >= 0) error = checkRequest(elements[static_cast<std::size_t>(index)], request);
    if (error != PlyErrorNone) {
        lastError = error;
        return false;
    }
    return true;
}

int PlyFile::checkRequest(PlyElement& element, const PlyPropertyRequest& request) {
    const int index = findProperty(element, request.propertyName);
    if (index < 0) return PlyErrorNoSuchProperty;
    PlyProperty& property = element.properties[static_cast<std::size_t>(index)];

    if (!isValidRequestType(request.storedType) || !isValidRequestType(request.memoryType)) return PlyErrorBadTypeCode;
    if (request.isList &&
        (!isValidRequestType(request.countStoredType) || !isValidRequestType(request.countMemoryType)))
        return PlyErrorBadTypeCode;
    // Only the file's own types are accepted: callers that take several
    // encodings make several requests. The conversion table allows every
    // type to itself (PlyTypes.h), so it has nothing left to refuse.
    if (request.isList != property.isList || request.storedType != property.type) return PlyErrorRequestMismatch;
    if (request.isList && request.countStoredType != property.countType) return PlyErrorRequestMismatch;

    property.stored = true;
    PlyPropertyRequest& kept = property.request;
    kept.storedType = request.storedType;
    kept.memoryType = request.memoryType;
    kept.valueOffset = request.valueOffset;
    kept.isList = request.isList;
    kept.allocateList = request.allocateList;
    kept.countStoredType = request.countStoredType;
    kept.countMemoryType = request.countMemoryType;
    kept.countOffset = request.countOffset;
    kept.format = request.format;
    kept.listCapacity = request.listCapacity;
    return PlyErrorNone;
}

void PlyFile::selectElement(int index) {
    if (index < 0 || static_cast<std::size_t>(index) >= elements.size()) {
        selected = nullptr;
        return;
    }
    selected = &elements[static_cast<std::size_t>(index)];
    for (PlyProperty& property : selected->properties) prepareReader(property);
}

void PlyFile::prepareReader(PlyProperty& property) {
    property.request.format = format;
    property.routine = choosePlyRoutine(property, format);
}

bool PlyFile::readInstance(unsigned char* record) {
    if (!selected) return false;
    for (const PlyProperty& property : selected->properties) {
        // A property without a routine (an unsupported conversion) reads as a failure.
        if (!property.routine || !property.routine(input, record, property)) return false;
    }
    return true;
}

}  // namespace KelpPly
