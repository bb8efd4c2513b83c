// The OBJ writer's body: the lines of the OBJ file and, for a textured mesh,
// the image and material side files beside it.
#pragma once

#include <KelpTriMesh.h>

#include <cstdio>
#include <string>

namespace KelpObj {

// Writes `mesh` to `file`, opened on `outputPath`, a line at a time: every
// line reaches the system as soon as it is complete.
void writeObj(std::FILE* file, const std::string& outputPath, const KelpCore::KelpTriMesh& mesh);

}  // namespace KelpObj
