// The OBJ reader's statement loop, on a file its entry opened (ReadObj.cpp)
// under the reader's locale.
#pragma once

#include <KelpTriMesh.h>

#include <cstdio>
#include <string>

namespace KelpObj {

// Appends the vertices and fan-triangulated faces of the OBJ file open as
// `file`, named `objPath` (side files are found beside it), and its texture
// when a material library names one.
void readObj(std::FILE* file, const std::string& objPath, KelpCore::KelpTriMesh& mesh);

}  // namespace KelpObj
