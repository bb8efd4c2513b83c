#include "obj/ObjFace.h"

#include <cstring>

namespace KelpObj {

namespace {
std::uint32_t toStoredIndex(std::int32_t number, std::uint32_t vertexCount) {
    // All in 32-bit unsigned arithmetic, as the index ends up unsigned:
    // n < 0 becomes n + 1 + vertexCount, then the file's 1-based n becomes n - 1.
    std::uint32_t n = static_cast<std::uint32_t>(number);
    if (number < 0) n = n + 1u + vertexCount;
    return n - 1u;
}

void recordComponent(std::size_t component, std::int32_t number, std::uint32_t vertexCount,
                     ObjFaceCorners& corners) {
    if (component == 0)
        corners.vertices.push_back(toStoredIndex(number, vertexCount));
    else if (component == 1)
        corners.texCoords.push_back(toStoredIndex(number, vertexCount));
    // Normal indices (component 2 and beyond) are read but not kept.
}

void parseCorner(const char* word, const char* wordEnd, std::uint32_t vertexCount, std::int32_t& lastIndex,
                 ObjFaceCorners& corners) {
    const char* componentStart = word;
    for (std::size_t component = 0;; ++component) {
        const void* slashAt = std::memchr(componentStart, '/', static_cast<std::size_t>(wordEnd - componentStart));
        const char* componentEnd = slashAt ? static_cast<const char*>(slashAt) : wordEnd;
        const bool isLast = slashAt == nullptr;
        if (isLast || componentEnd != componentStart) {
            // "%d" reads from the component's start; it stops at the '/'.
            std::int32_t number;
            if (scanDecimalInt(componentStart, componentEnd, number)) lastIndex = number;
            recordComponent(component, lastIndex, vertexCount, corners);
        }
        if (isLast) break;
        componentStart = componentEnd + 1;
    }
}
}  // namespace

void parseFaceLine(const ObjStream& stream, const char* line, std::size_t length, std::uint32_t vertexCount,
                   std::int32_t& lastIndex, ObjFaceCorners& corners) {
    corners.vertices.clear();
    corners.texCoords.clear();
    std::size_t offset = 0;
    // The offset can land one byte past a full 2047-byte line (a word that
    // ends at the last byte, reached with no blank before it); past the
    // stored bytes there is nothing more to read.
    while (offset < length) {
        // sscanf(line + offset, "%s", corner): a C string, so a zero byte ends it.
        std::size_t p = offset;
        while (p < length && line[p] != '\0' && stream.isSpace(static_cast<unsigned char>(line[p]))) ++p;
        if (p == length || line[p] == '\0') break;
        const std::size_t wordStart = p;
        while (p < length && line[p] != '\0' && !stream.isSpace(static_cast<unsigned char>(line[p]))) ++p;
        // While the advance stays within the blanks before this word, the next
        // scan finds the same word again; take those turns here instead of
        // rescanning the blanks each time (a long run of blanks would
        // otherwise cost its length squared).
        const std::size_t wordLength = p - wordStart;
        do {
            parseCorner(line + wordStart, line + p, vertexCount, lastIndex, corners);
            offset += wordLength + 1;
        } while (offset <= wordStart);
    }
}

}  // namespace KelpObj
