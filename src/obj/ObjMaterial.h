// Material libraries (MTL) and the texture image that the first material
// names, plus the path rules that locate side files.
#pragma once

#include <KelpImageData.h>

#include "scan/ScanSource.h"

#include <string>
#include <vector>

namespace KelpObj {

struct ObjMaterial {
    float diffuse[3] = {0.0f, 0.0f, 0.0f};
    bool hasDiffuse = false;
    float ambient[3] = {0.0f, 0.0f, 0.0f};
    bool hasAmbient = false;
    float specular[3] = {0.0f, 0.0f, 0.0f};
    bool hasSpecular = false;
    // "Tr" and "d" both land here.
    float transparency = 0.0f;
    bool hasTransparency = false;
    std::string textureFile;
    std::string name;
};

// The leading part of `path` up to and including its last '\\' or '/';
// "./" when it has neither.
std::string directoryOf(const std::string& path);

// The extension that decides whether a texture is loaded: from just after the
// first '.', (index of that '.') + 3 characters long, cut at the end of the
// name; the first two characters when there is no '.'. Upper-cased.
std::string textureExtension(const std::string& textureFile);

// Appends the materials of the MTL text in `in` to `materials`, line by line
// as a getline + istringstream loop reads them. A material is stored at a
// comment line when it has a colour or a transparency, and at the end of the
// text when a "newmtl" was met. Returns true.
bool readMaterialLibrary(KelpScan::ScanSource& in, std::vector<ObjMaterial>& materials);

// The "mtllib <name>" statement: reads the library next to the OBJ file and,
// when the first material of `materials` names a JPG, BMP, PNG or TIF file,
// loads it (relative to the OBJ file) into `image`. Either file is used only
// when it is a regular file. Every failure is silent.
void loadMaterialLibrary(const std::string& objPath, const std::string& libraryName,
                         std::vector<ObjMaterial>& materials, KelpCore::KelpImageData<unsigned char>& image);

}  // namespace KelpObj
