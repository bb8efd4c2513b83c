// The files written beside an OBJ file when its mesh carries texture pixels:
// the texture as "<dir><base>.jpg" and a two-line material library
// "<dir><base>.mtl" that points at it.
#pragma once

#include <KelpImageData.h>

#include <string>

namespace KelpObj {

// The characters of `path` after its last backslash (only the backslash: a
// '/' stays part of the base name) and before its last '.'; to the end when
// no '.' follows that backslash.
std::string objBaseName(const std::string& path);

// Saves a copy of `image`'s pixels through the image library as
// directory + baseName + ".jpg". Images whose byte length does not fit a
// signed 32-bit count are not saved. Failures are silent.
void saveTextureImage(const std::string& directory, const std::string& baseName,
                      const KelpCore::KelpImageData<unsigned char>& image);

// Writes "newmtl <base>Material" and "map_Kd <base>.jpg" to
// directory + baseName + ".mtl"; nothing when the file cannot be created.
void writeMaterialFile(const std::string& directory, const std::string& baseName);

}  // namespace KelpObj
