// The formats the tool knows: which library function reads or writes each,
// and which container it takes.
#pragma once

#include <KelpFileIO.h>

#include <string>
#include <vector>

namespace KelpTool {

enum class Container { Mesh, Points };

using MeshReader = bool (*)(const char*, KelpCore::KelpTriMesh*);
using PointReader = bool (*)(const char*, KelpCore::KelpPointSet*);
using MeshWriter = bool (*)(const char*, KelpCore::KelpTriMesh*);
using PointWriter = bool (*)(const char*, KelpCore::KelpPointSet*);

struct Format {
    std::string name;                     // as given to --format and shown in reports
    std::vector<std::string> extensions;  // lower case, with the dot
    Container container;
    MeshReader readMesh = nullptr;        // set for mesh formats
    PointReader readPoints = nullptr;     // set for point formats
    MeshWriter writeMesh = nullptr;
    PointWriter writePoints = nullptr;
};

const std::vector<Format>& formats();

// The format named `name` (case-insensitive), or null.
const Format* formatByName(const std::string& name);

// The format of a path by its extension (case-insensitive), or null.
const Format* formatForPath(const std::string& path);

// "stl, obj, ..." for messages.
std::string formatNames();

}  // namespace KelpTool
