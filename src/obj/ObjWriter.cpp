// OBJ writing. Every line goes to the file as soon as it is complete (the
// stream is flushed after each line break), formatted with the output
// stream's defaults: floats as %g with six significant digits, integers in
// plain decimal.
#include <KelpFileIO.h>

#include "frame/ReaderLocale.h"
#include "io/FileHandle.h"
#include "report/Recorder.h"
#include "obj/ObjMaterial.h"
#include "obj/ObjSideFiles.h"

#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

namespace KelpGraphic {

namespace {
// One output line, handed to the file whole and flushed at its end.
class LineWriter {
public:
    explicit LineWriter(std::FILE* file) : file_(file) {}

    LineWriter& text(const char* s) { return text(s, std::strlen(s)); }
    LineWriter& text(const std::string& s) { return text(s.data(), s.size()); }
    LineWriter& text(const char* s, std::size_t n) {
        makeRoom(n);
        if (n > kCapacity) {
            std::fwrite(s, 1, n, file_);
            return *this;
        }
        std::memcpy(buffer_ + used_, s, n);
        used_ += n;
        return *this;
    }
    LineWriter& character(char c) {
        makeRoom(1);
        buffer_[used_++] = c;
        return *this;
    }
    LineWriter& number(std::uint32_t value) {
        makeRoom(kFieldRoom);
        used_ = static_cast<std::size_t>(std::to_chars(buffer_ + used_, buffer_ + kCapacity, value).ptr - buffer_);
        return *this;
    }
    // A float as `stream << value` writes it: %g, precision 6, of the value
    // widened to double.
    LineWriter& number(float value) {
        makeRoom(kFieldRoom);
        const double wide = static_cast<double>(value);
        char* out = buffer_ + used_;
        if (std::isfinite(wide))
            out = std::to_chars(out, buffer_ + kCapacity, wide, std::chars_format::general, 6).ptr;
        else
            out += std::snprintf(out, kFieldRoom, "%g", wide);
        used_ = static_cast<std::size_t>(out - buffer_);
        return *this;
    }
    // The line break and the flush that follows every line: the file is
    // unbuffered, so the whole line reaches the system in one write.
    void endLine() {
        character('\n');
        std::fwrite(buffer_, 1, used_, file_);
        used_ = 0;
    }

private:
    static constexpr std::size_t kCapacity = 4096;
    static constexpr std::size_t kFieldRoom = 32;
    void makeRoom(std::size_t n) {
        if (used_ + n > kCapacity) {
            // Only very long names get here: pass on what is there, unflushed.
            std::fwrite(buffer_, 1, used_, file_);
            used_ = 0;
        }
    }
    std::FILE* file_;
    char buffer_[kCapacity];
    std::size_t used_ = 0;
};
// The counts are trusted to match the arrays; should a caller's mesh break
// that, the missing entries are written as zeros instead of being read from
// beyond the array.
template <typename Element>
const Element& entry(const std::vector<Element>& array, std::size_t index) {
    static const Element zero{};
    return index < array.size() ? array[index] : zero;
}
}  // namespace

bool KelpWriteObj(const char* path, KelpCore::KelpTriMesh* mesh) {
    KelpRecord::Call call("KelpWriteObj", path, KelpRecord::Locale::Switched);
    KelpFrame::switchToReaderLocale();
    KelpIo::FileHandle file = KelpIo::openFile(path, "w");
    if (!file) return KelpRecord::failOpen(KelpRecord::Code::ObjWriteOpen);  // the locale is left switched on this path
    std::setvbuf(file.get(), nullptr, _IONBF, 0);

    const std::string outputPath(path);
    const std::string baseName = KelpObj::objBaseName(outputPath);
    const std::string directory = KelpObj::directoryOf(outputPath);
    LineWriter out(file.get());

    if (mesh->textureImage.data) {
        KelpObj::saveTextureImage(directory, baseName, mesh->textureImage);
        out.text("mtllib ").text(baseName).text(".mtl").endLine();
        KelpObj::writeMaterialFile(directory, baseName);
    }

    out.text("# ").number(mesh->vertexCount).text(" vertices, ").number(mesh->faceCount).text(" faces").endLine();
    for (std::uint32_t i = 0; i < mesh->vertexCount; ++i) {
        const KelpCore::Vec3f& p = entry(mesh->vertices, i);
        out.text("v ").number(p[0]).character(' ').number(p[1]).character(' ').number(p[2]).endLine();
    }
    const bool normals = (mesh->vertexAttributes & KelpCore::KelpAttributeNormals) != 0;
    if (normals) {
        for (std::uint32_t i = 0; i < mesh->vertexCount; ++i) {
            const KelpCore::Vec3f& n = entry(mesh->vertexNormals, i);
            out.text("vn ").number(n[0]).character(' ').number(n[1]).character(' ').number(n[2]).endLine();
        }
    }
    if (mesh->hasTexture && mesh->texCoordCount != 0) {
        for (std::uint32_t i = 0; i < mesh->texCoordCount; ++i) {
            const KelpCore::Vec2f& t = entry(mesh->texCoords, i);
            out.text("vt ").number(t[0]).character(' ').number(t[1]).endLine();
        }
    }
    out.text("usemtl ").text(baseName).text("Material").endLine();

    const bool cornerTexCoords = mesh->hasFaceTexCoordIndices;
    for (std::uint32_t j = 0; j < mesh->faceCount; ++j) {
        out.text("f ", 2);
        const KelpCore::Vec3u& face = entry(mesh->faces, j);
        for (int k = 0; k < 3; ++k) {
            const std::uint32_t vertex = face[k] + 1u;
            out.number(vertex);
            if (cornerTexCoords) out.character('/').number(entry(mesh->faceTexCoordIndices, j)[k] + 1u);
            if (normals) {
                if (!cornerTexCoords) out.character('/');
                out.character('/').number(vertex);
            }
            out.character(' ');
        }
        out.endLine();
    }

    KelpFrame::switchToCLocale();
    return true;
}

}  // namespace KelpGraphic
