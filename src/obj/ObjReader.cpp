// OBJ reading. The file is read in one block and scanned by ObjStream, which
// reproduces the classic loop
//
//     while (!feof(file)) {
//         fscanf(file, "%s", word);                 // result ignored
//         if (!strcmp(word, "v")) { fscanf "%f" x3; addVertex }
//         else if (!strcmp(word, "f")) { fgets(line, 2048, file); ... }
//         else ... fgets(skip, 2048, file);
//     }
//
// with its quirks: a failed number keeps the previous statement's value, the
// last statement runs once more when the file ends in white space, the rest
// of a line longer than 2047 bytes is read as further statements.
#include <KelpFileIO.h>
#include <KelpImageLoad.h>

#include "frame/ReaderLocale.h"
#include "io/FileBytes.h"
#include "io/FileHandle.h"
#include "obj/ObjFace.h"
#include "obj/ObjMaterial.h"
#include "obj/ObjStream.h"
#include "report/Recorder.h"

#include <cstring>
#include <string>
#include <vector>

namespace KelpGraphic {

namespace {
constexpr std::size_t kLineField = 2048;

enum class Statement { MaterialLibrary, Vertex, TexCoord, Normal, Face, Other };

Statement classify(const char* word, std::size_t length) {
    switch (length) {
        case 1:
            if (word[0] == 'v') return Statement::Vertex;
            if (word[0] == 'f') return Statement::Face;
            break;
        case 2:
            if (word[0] == 'v' && word[1] == 't') return Statement::TexCoord;
            if (word[0] == 'v' && word[1] == 'n') return Statement::Normal;
            break;
        case 6:
            if (std::memcmp(word, "mtllib", 6) == 0) return Statement::MaterialLibrary;
            break;
        default:
            break;
    }
    return Statement::Other;
}

// A statement read that finds no word (white space at the end of the file)
// runs the last statement again: a position, texture coordinate or normal
// is added once more with the values read before.
void noteRepeatedStatement(Statement statement, const char* word, std::size_t length) {
    if (statement == Statement::Vertex || statement == Statement::TexCoord || statement == Statement::Normal)
        KelpRecord::note(KelpRecord::Code::ObjRepeatedStatement, std::string_view(word, length));
}

// The texture coordinates, normals and face texture triples gathered during
// the pass, moved into the mesh at the end.
struct PendingAttributes {
    std::vector<KelpCore::Vec2f> texCoords;
    std::vector<KelpCore::Vec3f> normals;
    std::vector<KelpCore::Vec3u> faceTexCoords;
};

void addFan(const KelpObj::ObjFaceCorners& corners, KelpCore::KelpTriMesh& mesh, PendingAttributes& pending) {
    const std::vector<std::uint32_t>& v = corners.vertices;
    const std::size_t n = v.size();
    if (n >= 3)
        for (std::size_t i = 1; i + 1 < n; ++i) mesh.addFace(v[0], v[i], v[i + 1]);
    // Texture triples follow the vertex fan; where a face has fewer texture
    // indices than corners only the fully recorded triples are kept.
    const std::vector<std::uint32_t>& t = corners.texCoords;
    if (t.size() >= 3)
        for (std::size_t i = 1; i + 1 < n && i + 1 < t.size(); ++i)
            pending.faceTexCoords.push_back({t[0], t[i], t[i + 1]});
}

void moveNormals(const std::vector<KelpCore::Vec3f>& normals, KelpCore::KelpTriMesh& mesh) {
    if (normals.empty()) return;
    if (normals.size() > mesh.vertexCount) KelpRecord::note(KelpRecord::Code::ObjExtraNormals, {}, normals.size(), mesh.vertexCount);
    mesh.vertexAttributes |= KelpCore::KelpAttributeNormals;
    mesh.vertexNormals.resize(mesh.vertexCount);
    // The i-th "vn" belongs to the i-th vertex; normals beyond the vertices are dropped.
    const std::size_t count = normals.size() < mesh.vertexNormals.size() ? normals.size() : mesh.vertexNormals.size();
    std::copy_n(normals.begin(), count, mesh.vertexNormals.begin());
}

void moveTexture(PendingAttributes& pending, KelpCore::KelpImageData<unsigned char>& image,
                 KelpCore::KelpTriMesh& mesh) {
    if (image.data && pending.texCoords.empty()) KelpRecord::note(KelpRecord::Code::ObjTextureWithoutVt);
    if (!image.data || pending.texCoords.empty()) return;
    mesh.hasTexture = true;
    // The mesh takes the pixels over; pixels it held before are its own to free.
    mesh.releaseTexture();
    mesh.textureImage = image;
    image = {};
    mesh.texCoords = std::move(pending.texCoords);
    mesh.faceTexCoordIndices = std::move(pending.faceTexCoords);
    // So that writing the mesh back gives the same "vt" lines and corners: the
    // count always, the corner flag only when every face got a triple.
    mesh.texCoordCount = static_cast<std::uint32_t>(mesh.texCoords.size());
    mesh.hasFaceTexCoordIndices =
        !mesh.faceTexCoordIndices.empty() && mesh.faceTexCoordIndices.size() == mesh.faceCount;
}
}  // namespace

bool KelpReadObj(const char* path, KelpCore::KelpTriMesh* mesh) {
    KelpRecord::Call call("KelpReadObj", path, KelpRecord::Locale::Switched);
    KelpFrame::switchToReaderLocale();
    KelpIo::FileHandle file = KelpIo::openFile(path, "rt");
    if (!file) {
        KelpRecord::failOpen(KelpRecord::Code::ObjOpen);
        KelpFrame::switchToCLocale();
        return false;
    }
    std::string bytes;
    KelpIo::readRemaining(file.get(), bytes);
    const std::string objPath(path);

    KelpObj::ObjStream stream(bytes.data(), bytes.data() + bytes.size());
    // The statement word starts empty and keeps its last value when a read
    // finds nothing; as a C string it ends at its first zero byte.
    const char* word = "";
    std::size_t wordLength = 0;
    float xyz[3] = {0.0f, 0.0f, 0.0f};
    float uv[2] = {0.0f, 0.0f};
    std::int32_t lastIndex = 0;
    PendingAttributes pending;
    KelpObj::ObjFaceCorners corners;
    std::vector<KelpObj::ObjMaterial> materials;
    KelpCore::KelpImageData<unsigned char> image;
    const char* line;
    const char* lineEnd;

    while (!stream.eof()) {
        const char* wordBegin;
        const char* wordEnd;
        if (stream.readWord(wordBegin, wordEnd)) {
            word = wordBegin;
            const void* zero = std::memchr(wordBegin, '\0', static_cast<std::size_t>(wordEnd - wordBegin));
            wordLength = static_cast<std::size_t>((zero ? static_cast<const char*>(zero) : wordEnd) - wordBegin);
        } else {
            noteRepeatedStatement(classify(word, wordLength), word, wordLength);
        }
        switch (classify(word, wordLength)) {
            case Statement::MaterialLibrary: {
                std::string name;
                const char* nameBegin;
                const char* nameEnd;
                if (stream.readWord(nameBegin, nameEnd)) {
                    name.assign(nameBegin, nameEnd);
                    name.resize(std::strlen(name.c_str()));
                }
                try {
                    KelpObj::loadMaterialLibrary(objPath, name, materials, image);
                } catch (const std::exception&) {
                    // A library or image that cannot be read leaves no texture.
                }
                break;
            }
            case Statement::Vertex:
                for (float& c : xyz) stream.readFloat(c);
                mesh->addVertex({xyz[0], xyz[1], xyz[2]});
                break;
            case Statement::TexCoord:
                for (float& c : uv) stream.readFloat(c);
                if (uv[1] < 0.0f) uv[1] += 1.0f;
                pending.texCoords.push_back({uv[0], uv[1]});
                break;
            case Statement::Normal:
                for (float& c : xyz) stream.readFloat(c);
                pending.normals.push_back({xyz[0], xyz[1], xyz[2]});
                break;
            case Statement::Face:
                if (stream.readLine(kLineField, line, lineEnd))
                    KelpObj::parseFaceLine(stream, line, static_cast<std::size_t>(lineEnd - line), mesh->vertexCount,
                                           lastIndex, corners);
                else
                    KelpObj::parseFaceLine(stream, "", 0, mesh->vertexCount, lastIndex, corners);
                addFan(corners, *mesh, pending);
                break;
            case Statement::Other:
                stream.readLine(kLineField, line, lineEnd);
                break;
        }
    }

    moveNormals(pending.normals, *mesh);
    moveTexture(pending, image, *mesh);
    file.reset();
    KelpFrame::switchToCLocale();
    delete[] image.data;
    return true;
}

}  // namespace KelpGraphic
