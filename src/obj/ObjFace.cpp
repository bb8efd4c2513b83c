#include "obj/ObjFace.h"

#include "scan/ScanNumber.h"

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

// A corner takes at least two bytes of the line (a blank or an advance of
// one, and a character), so a line of `length` bytes records at most this
// many indices of each kind.
void makeRoom(std::size_t length, ObjFaceCorners& corners) {
    const std::size_t most = length / 2 + 2;
    if (corners.vertices.size() < most) {
        corners.vertices.resize(most);
        corners.texCoords.resize(most);
    }
    corners.vertexCount = 0;
    corners.texCoordCount = 0;
    corners.staleIndices = 0;
}

void recordComponent(std::size_t component, std::int32_t number, std::uint32_t vertexCount,
                     ObjFaceCorners& corners) {
    if (component == 0)
        corners.vertices[corners.vertexCount++] = toStoredIndex(number, vertexCount);
    else if (component == 1)
        corners.texCoords[corners.texCoordCount++] = toStoredIndex(number, vertexCount);
    // Normal indices (component 2 and beyond) are read but not kept.
}

void parseCorner(const KelpScan::ScanLocale& locale, const char* word, const char* wordEnd,
                 std::uint32_t vertexCount, std::int32_t& lastIndex, ObjFaceCorners& corners) {
    const char* componentStart = word;
    for (std::size_t component = 0;; ++component) {
        const void* slashAt = std::memchr(componentStart, '/', static_cast<std::size_t>(wordEnd - componentStart));
        const char* componentEnd = slashAt ? static_cast<const char*>(slashAt) : wordEnd;
        const bool isLast = slashAt == nullptr;
        if (isLast || componentEnd != componentStart) {
            // "%d" reads from the component's start; it stops at the '/'.
            std::int32_t number;
            if (KelpScan::scanIntText(componentStart, componentEnd, locale.space, number)) lastIndex = number;
            else ++corners.staleIndices;
            recordComponent(component, lastIndex, vertexCount, corners);
        }
        if (isLast) break;
        componentStart = componentEnd + 1;
    }
}

bool isDigit(unsigned char c) { return c >= '0' && c <= '9'; }

// The usual shape in one forward pass: one blank before each corner, corners
// of short unsigned or negative numbers and '/', and a blank at the end (the
// line feed that fgets keeps), which stops every digit loop before the end
// without a test per byte. Anything else (doubled blanks, zero bytes, signs
// without digits, long numbers, other characters, a last line without its
// line feed) is left to the general walk: false, with `lastIndex` unchanged.
bool parsePlainFaceLine(const KelpScan::ScanLocale& locale, const char* line, std::size_t length,
                        std::uint32_t vertexCount, std::int32_t& lastIndex, ObjFaceCorners& corners) {
    const auto blank = [&locale](unsigned char c) { return locale.isSpace(c); };
    const unsigned char* p = reinterpret_cast<const unsigned char*>(line);
    const unsigned char* const end = p + length;
    if (length != 0 && !blank(end[-1])) return false;
    std::uint32_t* const vertices = corners.vertices.data();
    std::uint32_t* const texCoords = corners.texCoords.data();
    std::size_t vertexCountSeen = 0, texCoordCountSeen = 0;
    std::int32_t last = lastIndex;
    for (;;) {
        // One blank, then either a corner or only blanks to the end of the line.
        if (p == end) break;
        if (!blank(*p)) return false;
        ++p;
        if (p == end) break;
        if (blank(*p)) {
            while (p != end && blank(*p)) ++p;
            if (p == end) break;
            return false;
        }
        // From here on the final blank lies ahead of p.
        for (std::size_t component = 0;; ++component) {
            const bool negative = *p == '-';
            p += negative;
            const unsigned char* const digits = p;
            std::uint32_t number = 0;  // wraps harmlessly past 9 digits, which go to the general walk
            while (isDigit(*p)) number = number * 10 + static_cast<std::uint32_t>(*p++ - '0');
            if (p - digits > 9) return false;
            // Only '/' or a blank may follow the digits here.
            const bool slash = *p == '/';
            if (!slash && !blank(*p)) return false;
            if (p == digits) {
                // An empty component before a '/' records nothing; a sign
                // without digits is left to the general walk.
                if (negative) return false;
                corners.staleIndices += !slash;
            } else {
                last = negative ? -static_cast<std::int32_t>(number) : static_cast<std::int32_t>(number);
            }
            if (p != digits || !slash) {
                if (component == 0)
                    vertices[vertexCountSeen++] = toStoredIndex(last, vertexCount);
                else if (component == 1)
                    texCoords[texCoordCountSeen++] = toStoredIndex(last, vertexCount);
            }
            if (!slash) break;
            ++p;
        }
    }
    corners.vertexCount = vertexCountSeen;
    corners.texCoordCount = texCoordCountSeen;
    lastIndex = last;
    return true;
}
}  // namespace

void parseFaceLine(const KelpScan::ScanLocale& locale, const char* line, std::size_t length,
                   std::uint32_t vertexCount, std::int32_t& lastIndex, ObjFaceCorners& corners) {
    makeRoom(length, corners);
    if (parsePlainFaceLine(locale, line, length, vertexCount, lastIndex, corners)) return;
    corners.vertexCount = 0;
    corners.texCoordCount = 0;
    corners.staleIndices = 0;
    std::size_t offset = 0;
    // The offset can land one byte past a full 2047-byte line (a word that
    // ends at the last byte, reached with no blank before it); past the
    // stored bytes there is nothing more to read.
    while (offset < length) {
        // sscanf(line + offset, "%s", corner): a C string, so a zero byte ends it.
        std::size_t p = offset;
        while (p < length && line[p] != '\0' && locale.isSpace(static_cast<unsigned char>(line[p]))) ++p;
        if (p == length || line[p] == '\0') break;
        const std::size_t wordStart = p;
        while (p < length && line[p] != '\0' && !locale.isSpace(static_cast<unsigned char>(line[p]))) ++p;
        // While the advance stays within the blanks before this word, the next
        // scan finds the same word again; take those turns here instead of
        // rescanning the blanks each time (a long run of blanks would
        // otherwise cost its length squared).
        const std::size_t wordLength = p - wordStart;
        do {
            parseCorner(locale, line + wordStart, line + p, vertexCount, lastIndex, corners);
            offset += wordLength + 1;
        } while (offset <= wordStart);
    }
}

}  // namespace KelpObj
