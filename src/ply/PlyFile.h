// The PLY reader object: parses the header into elements and properties,
// takes the caller's property requests, and reads element instances into the
// caller's records (destinations are byte offsets into a record).
#pragma once

#include "ply/PlyInput.h"
#include "ply/PlyTypes.h"

#include <cstddef>
#include <string>
#include <vector>

namespace KelpPly {

struct PlyPropertyRequest {
    std::string elementName;
    std::string propertyName;
    int storedType = PlyTypeNone;  // what the file must declare
    int memoryType = PlyTypeNone;  // what the value is converted to
    std::size_t valueOffset = 0;   // items (or the pointer to them) for a list
    int isList = 0;
    int allocateList = 0;  // items into a fresh calloc'd buffer, its pointer at valueOffset
    int countStoredType = PlyTypeNone;
    int countMemoryType = PlyTypeNone;
    std::size_t countOffset = 0;
    int format = PlyFormatUnknown;  // filled in when the element is prepared
    // For a list written in place: how many items fit at valueOffset. The
    // items of a longer list beyond that are read and dropped.
    int listCapacity = 0;
};

class PlyInput;
// Reads (or skips) one property of one instance: true on success.
using PlyReadRoutine = bool (*)(PlyInput& input, unsigned char* record, const PlyPropertyRequest& request);

struct PlyProperty {
    std::string name;
    int type = PlyTypeNone;  // for a list, the items' type
    int isList = 0;
    int countType = PlyTypeNone;
    int stored = 0;
    PlyPropertyRequest request;  // the accepted request (names not copied)
    PlyReadRoutine routine = nullptr;
};

struct PlyElement {
    std::string name;
    int count = 0;
    std::vector<PlyProperty> properties;
};

class PlyFile {
public:
    // Parses the header; 0 on success, -1 on failure with lastError set.
    int open(const char* path);
    void close();

    // Finds the element by name and applies checkRequest: 0 or -1.
    int requestProperty(const PlyPropertyRequest& request);
    // The element-level check; returns the error code itself (0 = accepted)
    // and, on success, marks the property stored with the request's options.
    int checkRequest(PlyElement& element, const PlyPropertyRequest& request);

    int findElement(const std::string& name) const;  // first match, or -1
    static int findProperty(const PlyElement& element, const std::string& name);

    // Selects element `index` (none when out of range) and prepares its
    // properties' routines.
    void selectElement(int index);
    // Reads one instance of the selected element; 0 or -1 at the first
    // property that fails. `record` may be null when nothing is stored.
    int readInstance(unsigned char* record);

    // The routine chosen from the request's format, list flag and stored flag.
    void prepareReader(PlyProperty& property);

    std::vector<PlyElement> elements;
    std::vector<std::string> comments;
    PlyInput input;
    float version = 0.0f;
    int lastError = PlyErrorNone;
    int format = PlyFormatUnknown;
    // Every header line as read; kept within a fixed budget and never parsed again.
    std::string headerText;
    PlyElement* selected = nullptr;
    // Reads any property, deciding per call from its request; chosen at
    // "end_header" for the file's encoding.
    PlyReadRoutine genericRoutine = nullptr;

    static constexpr std::size_t kHeaderTextLimit = 4096;
    static constexpr std::size_t kHeaderLineLimit = 510;

private:
    int parseHeader();
};

// The routine table of the element data (PlyRoutines.cpp).
PlyReadRoutine choosePlyRoutine(const PlyProperty& property, int format);
bool plyGenericAsciiRoutine(PlyInput& input, unsigned char* record, const PlyPropertyRequest& request);
bool plyGenericBinaryRoutine(PlyInput& input, unsigned char* record, const PlyPropertyRequest& request);

}  // namespace KelpPly
