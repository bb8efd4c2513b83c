#include "ply/PlyReport.h"

#include "report/Recorder.h"

#include <algorithm>
#include <string>

namespace KelpPly {

namespace {

using KelpRecord::Code;

std::string quoted(const std::string& text) { return "\"" + text + "\""; }

std::string typeText(const PlyProperty& property) {
    if (!property.isList) return kPlyTypeNames[property.type];
    return std::string("a list of ") + kPlyTypeNames[property.type] + " with a " + kPlyTypeNames[property.countType] +
           " count";
}

// One-based number of the last header line read (the one that failed).
std::uint64_t headerLine(const std::string& headerText) {
    const auto lines = static_cast<std::uint64_t>(std::count(headerText.begin(), headerText.end(), '\n'));
    return lines + (headerText.empty() || headerText.back() != '\n' ? 1 : 0);
}

void failHeader(const PlyFile& ply, int code) {
    const std::uint64_t line = headerLine(ply.headerText);
    std::string text = "header line " + std::to_string(line) + ": ";
    switch (code) {
        case PlyErrorNotPly: text += "the file does not start with \"ply\""; break;
        case PlyErrorMissingLine: text = "the header ends after line " + std::to_string(line) + " without \"end_header\", or a line misses its words"; break;
        case PlyErrorBadFormatLine: text += "no \"format ascii|binary_little_endian|binary_big_endian 1.0\" line"; break;
        case PlyErrorPropertyBeforeElement: text += "a \"property\" line before any \"element\" line"; break;
        case PlyErrorUnknownType: text += "unknown property type"; break;
        default: text += "syntax error (\"element\" needs a name and a count, \"property\" a type and a name)"; break;
    }
    KelpRecord::fail(Code::PlyHeader, text, line);
}

const PlyElement* element(const PlyFile& ply, const char* name) {
    const int index = ply.findElement(name);
    return index < 0 ? nullptr : &ply.elements[static_cast<std::size_t>(index)];
}

void failPositions(const PlyFile& ply) {
    const PlyElement* vertex = element(ply, "vertex");
    std::string text = "no \"vertex\" element";
    if (vertex) {
        for (const char* axis : {"x", "y", "z"}) {
            const int index = PlyFile::findProperty(*vertex, axis);
            if (index < 0) {
                text = std::string("element \"vertex\" has no property \"") + axis + "\"";
                break;
            }
            const PlyProperty& property = vertex->properties[static_cast<std::size_t>(index)];
            if (property.isList || property.type != PlyTypeFloat) {
                text = std::string("element \"vertex\": property \"") + axis + "\" is " + typeText(property) +
                       "; the reader takes float positions only";
                break;
            }
        }
    }
    KelpRecord::fail(Code::PlyNoPositions, text);
}

void failFaces(const PlyFile& ply) {
    const char* accepted =
        "; the reader takes int items with a char or uchar count, or uint items with a uchar count "
        "(or a \"tristrips\" element: a list of int with an int count)";
    const PlyElement* face = element(ply, "face");
    std::string text = "no \"face\" element and no usable \"tristrips\" element";
    if (face) {
        text = "element \"face\" has no property \"vertex_indices\" or \"vertex_index\"";
        for (const char* name : {"vertex_indices", "vertex_index"}) {
            const int index = PlyFile::findProperty(*face, name);
            if (index < 0) continue;
            text = std::string("element \"face\": property \"") + name + "\" is " +
                   typeText(face->properties[static_cast<std::size_t>(index)]) + accepted;
            break;
        }
    }
    KelpRecord::fail(Code::PlyNoFaces, text);
}

void failInstance(const PlyFile& ply, int code) {
    const std::string name = ply.selected ? quoted(ply.selected->name) : std::string("?");
    const std::uint64_t at = ply.input.offset();
    if (code == PlyImportNotTriangle) {
        KelpRecord::fail(Code::PlyNotTriangle, "element \"face\": a face with other than 3 corners ends before byte " +
                                                   std::to_string(at) + "; only triangles are read", at);
        return;
    }
    std::string text = "element " + name + ": an instance could not be read at byte " + std::to_string(at);
    if (ply.input.bytesLeft() == 0)
        text += " (the file ends there)";
    else if (ply.format == PlyFormatBinaryBigEndian)
        text += " (in binary_big_endian files a stored int or float of exactly 0 fails the read)";
    else if (ply.format == PlyFormatAscii)
        text += " (a value that is not a number)";
    else
        text += " (an unread list of no items, or items past the end of the file)";
    KelpRecord::fail(Code::PlyInstance, text, at);
}

// The byte-order rules kept from the replaced reader, where they touched
// values of this file.
void noteByteOrder(const PlyFile& ply) {
    if (ply.format == PlyFormatBinaryBigEndian) {
        KelpRecord::note(Code::PlyBigEndianOrder);
        return;
    }
    if (ply.format != PlyFormatBinaryLittleEndian) return;
    for (const PlyElement& element : ply.elements)
        for (const PlyProperty& property : element.properties) {
            const auto swapped = [](int type) { return type == PlyTypeShort || type == PlyTypeUshort || type == PlyTypeUint; };
            if (swapped(property.type) || (property.isList && swapped(property.countType))) {
                KelpRecord::note(Code::PlyLittleEndianShorts, element.name);
                return;
            }
        }
}

}  // namespace

PlyReportScope::~PlyReportScope() {
    // The texts allocate; out of memory, the report goes without them rather
    // than ending the process from a destructor.
    try {
        report();
    } catch (...) {
    }
}

void PlyReportScope::report() const {
    noteByteOrder(ply_);
    switch (result_.code) {
        case PlyImportOk: return;
        case PlyImportNoPath:  // also PlyErrorCannotOpen, told apart by the reader's own code
            if (ply_.lastError == PlyErrorCannotOpen)
                KelpRecord::failOpen(Code::PlyOpen);
            else
                KelpRecord::fail(Code::PlyOpen, "no path");
            return;
        case PlyImportNoVertices: failPositions(ply_); return;
        case PlyImportNoFaces: failFaces(ply_); return;
        case PlyImportBadInstance:
        case PlyImportNotTriangle: failInstance(ply_, result_.code); return;
        default: failHeader(ply_, result_.code); return;
    }
}

}  // namespace KelpPly
