#include "obj/ObjMaterial.h"

#include <KelpImageLoad.h>

#include "io/FileHandle.h"
#include "report/Recorder.h"

#include "scan/ScanCursor.h"

#include <cctype>

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

void readColour(KelpScan::ScanCursor& words, float (&target)[3], bool& flag) {
    float r, g, b;
    if (words.extractFloat(r) && words.extractFloat(g) && words.extractFloat(b)) {
        target[0] = r;
        target[1] = g;
        target[2] = b;
        flag = true;
    }
}

// The line ends here: a line feed, the end of the text, or the CR of a CR LF
// (which text mode would have dropped).
bool atLineEnd(KelpScan::ScanSource& in) {
    if (!in.ensure(1)) return true;
    const unsigned char c = *in.next();
    if (c == '\n') return true;
    if (c != '\r') return false;
    return !in.ensure(2) || in.next()[1] == '\n';
}

// A keyword longer than this matches none, so no more of it is kept.
constexpr std::size_t kKeywordKeep = 8;
}  // namespace

bool readMaterialLibrary(KelpScan::ScanSource& source, std::vector<ObjMaterial>& materials) {
    // Extraction from a line string: white space and numbers of the "C" locale.
    KelpScan::ScanCursor words(source, KelpScan::ScanLocale::classic());
    ObjMaterial current;
    bool newmtlSeen = false;
    std::size_t lastNameLength = 0;
    // Both survive from line to line: a line of blanks extracts no keyword and
    // runs the previous line's keyword again on an empty rest.
    std::string keyword, name;
    while (source.ensure(1)) {
        if (!atLineEnd(source)) {
            const bool comment = *source.next() == '#';
            words.extractWord(keyword, kKeywordKeep);
            if (comment) {
                storeIfColoured(newmtlSeen, lastNameLength, current, materials);
            } else if (keyword == "newmtl") {
                words.extractWord(name, std::string::npos);
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
                words.extractWord(file, std::string::npos);
                current.textureFile = file;
            } else if (keyword == "Tr" || keyword == "d") {
                float value;
                if (words.extractFloat(value)) {
                    current.transparency = value;
                    current.hasTransparency = true;
                }
            }
        }
        words.skipLine();
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
        KelpIo::FileHandle library = KelpIo::openFile(libraryPath.c_str(), "rt");
        if (library) {
            KelpScan::ScanSource source(library.get());
            readMaterialLibrary(source, materials);
        } else {
            KelpRecord::note(KelpRecord::Code::ObjLibraryMissing, libraryName);
        }
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
