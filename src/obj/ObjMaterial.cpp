#include "obj/ObjMaterial.h"

#include <KelpImageLoad.h>

#include "io/FileHandle.h"
#include "report/Recorder.h"

#include <cctype>
#include <fstream>
#include <sstream>

namespace KelpObj {

std::string directoryOf(const std::string& path) {
    const std::size_t separator = path.find_last_of("\\/");
    if (separator == std::string::npos) return "./";
    return path.substr(0, separator + 1);
}

std::string textureExtension(const std::string& textureFile) {
    // With no '.', npos + 1 wraps to 0 and npos + 3 to 2: the first two
    // characters. The length grows with the dot's index, so a late dot keeps
    // more than three characters ("a.b.jpg" gives "b.jp").
    const std::size_t dot = textureFile.find('.');
    std::string extension = textureFile.substr(dot + 1, dot + 3);
    for (char& c : extension) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return extension;
}

namespace {
void storeIfColoured(bool newmtlSeen, std::size_t lastNameLength, ObjMaterial& current,
                     std::vector<ObjMaterial>& materials) {
    if (!newmtlSeen || lastNameLength == 0) return;
    if (!(current.hasDiffuse || current.hasAmbient || current.hasSpecular || current.hasTransparency)) return;
    materials.push_back(current);
    current.hasDiffuse = current.hasAmbient = current.hasSpecular = current.hasTransparency = false;
    current.textureFile.clear();
    current.name.clear();
}

void readColour(std::istream& words, float (&target)[3], bool& flag) {
    float r, g, b;
    if (words >> r && words >> g && words >> b) {
        target[0] = r;
        target[1] = g;
        target[2] = b;
        flag = true;
    }
}
}  // namespace

bool readMaterialLibrary(std::istream& in, std::vector<ObjMaterial>& materials) {
    if (in.fail()) return true;
    ObjMaterial current;
    bool newmtlSeen = false;
    std::size_t lastNameLength = 0;
    // Both survive from line to line: a line of blanks extracts no keyword and
    // runs the previous line's keyword again on an empty rest.
    std::string keyword, name, line;
    for (;;) {
        if (in.eof()) break;
        std::getline(in, line);
        if (in.bad()) return false;
        // Text mode would have turned CR LF into LF; do that here.
        if (!line.empty() && line.back() == '\r') line.pop_back();
        if (!line.empty()) {
            std::istringstream words(line);
            words >> keyword;
            if (line[0] == '#') {
                storeIfColoured(newmtlSeen, lastNameLength, current, materials);
            } else if (keyword == "newmtl") {
                words >> name;
                current.name = name;
                newmtlSeen = true;
                lastNameLength = name.size();
            } else if (keyword == "Kd") {
                readColour(words, current.diffuse, current.hasDiffuse);
            } else if (keyword == "Ka") {
                readColour(words, current.ambient, current.hasAmbient);
            } else if (keyword == "Ks") {
                readColour(words, current.specular, current.hasSpecular);
            } else if (keyword == "map_Kd") {
                std::string file;
                words >> file;
                current.textureFile = file;
            } else if (keyword == "Tr" || keyword == "d") {
                float value;
                if (words >> value) {
                    current.transparency = value;
                    current.hasTransparency = true;
                }
            }
        }
        if (in.fail() || in.bad()) break;
    }
    if (newmtlSeen) materials.push_back(current);
    return true;
}

void loadMaterialLibrary(const std::string& objPath, const std::string& libraryName,
                         std::vector<ObjMaterial>& materials, KelpCore::KelpImageData<unsigned char>& image) {
    const std::string directory = directoryOf(objPath);
    // The file's content names both side files: only regular files count,
    // anything else (a device, a FIFO, a directory) is a missing file.
    const std::string libraryPath = directory + libraryName;
    const KelpIo::FileKind libraryKind = KelpIo::fileKind(libraryPath.c_str());
    if (libraryKind == KelpIo::FileKind::Regular) {
        std::ifstream library(libraryPath);
        if (!library.fail()) readMaterialLibrary(library, materials);
        else KelpRecord::note(KelpRecord::Code::ObjLibraryMissing, libraryName);
    } else {
        KelpRecord::note(libraryKind == KelpIo::FileKind::Missing ? KelpRecord::Code::ObjLibraryMissing
                                                                 : KelpRecord::Code::ObjLibraryNotRegular,
                         libraryName);
    }
    if (materials.empty()) return;
    const std::string& textureFile = materials.front().textureFile;
    if (textureFile.empty()) return;
    const std::string extension = textureExtension(textureFile);
    if (extension == "JPG" || extension == "BMP" || extension == "PNG" || extension == "TIF") {
        const std::string imagePath = directory + textureFile;
        const KelpIo::FileKind imageKind = KelpIo::fileKind(imagePath.c_str());
        if (imageKind == KelpIo::FileKind::Other)
            KelpRecord::note(KelpRecord::Code::ObjTextureNotRegular, textureFile);
        else if (imageKind == KelpIo::FileKind::Missing || !KelpImageLoad::KelpReadImage(imagePath.c_str(), image))
            KelpRecord::note(KelpRecord::Code::ObjTextureUnreadable, textureFile);
    } else {
        KelpRecord::note(KelpRecord::Code::ObjTextureExtension, textureFile);
    }
}

}  // namespace KelpObj
