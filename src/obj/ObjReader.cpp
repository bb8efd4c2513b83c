// OBJ reading. The file is streamed through the scanning core, which
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
#include "obj/ObjReader.h"

#include <KelpImageLoad.h>

#include "obj/ObjFace.h"
#include "obj/ObjMaterial.h"
#include "obj/ObjReport.h"
#include "obj/ObjSizing.h"
#include "report/Recorder.h"
#include "scan/ScanCursor.h"

#include <cstring>
#include <string>
#include <vector>

namespace KelpObj {

namespace {
constexpr std::size_t kLineField = 2048;
// The statement word field. Longer words match no statement, so only this
// much of a word is kept (a 1 GB word costs no more than a short one).
constexpr std::size_t kWordField = 64;
// A material library name longer than this cannot name a file (the system
// refuses paths of 4096 bytes or more), so the rest of it is not kept.
constexpr std::size_t kLibraryNameLimit = 8192;

enum class Statement { MaterialLibrary, Vertex, TexCoord, Normal, Face, Other };

// The word as the C string the field holds: it ends at a zero byte.
Statement classify(const char* word, std::size_t length) {
    for (std::size_t i = 0; i < length; ++i)
        if (word[i] == '\0') length = i;
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
void noteRepeatedStatement(Statement statement) {
    const char* word = statement == Statement::Vertex     ? "v"
                       : statement == Statement::TexCoord ? "vt"
                       : statement == Statement::Normal   ? "vn"
                                                          : nullptr;
    if (word) KelpRecord::note(KelpRecord::Code::ObjRepeatedStatement, word);
}

// The texture coordinates, normals and face texture triples gathered during
// the pass, moved into the mesh at the end.
struct PendingAttributes {
    std::vector<KelpCore::Vec2f> texCoords;
    std::vector<KelpCore::Vec3f> normals;
    std::vector<KelpCore::Vec3u> faceTexCoords;
};

// Room for `adding` more elements, grown as one-at-a-time appends would grow it.
template <typename Vector>
void reserveForAdding(Vector& v, std::size_t adding) {
    if (v.capacity() - v.size() >= adding) return;
    const std::size_t grown = v.capacity() + v.capacity() / 2;
    v.reserve(grown > v.size() + adding ? grown : v.size() + adding);
}

template <typename Vector>
void reserveAtLeast(Vector& v, std::size_t capacity) {
    if (v.capacity() < capacity) v.reserve(capacity);
}

void addFan(const KelpObj::ObjFaceCorners& corners, KelpCore::KelpTriMesh& mesh, PendingAttributes& pending) {
    const std::uint32_t* const v = corners.vertices.data();
    const std::size_t n = corners.vertexCount;
    if (n >= 3) {
        if (mesh.faceAttributes == 0) {
            // The face and flag arrays alone: filled straight, one capacity check each.
            reserveForAdding(mesh.faces, n - 2);
            reserveForAdding(mesh.faceFlags, n - 2);
            for (std::size_t i = 1; i + 1 < n; ++i) {
                mesh.faces.push_back({v[0], v[i], v[i + 1]});
                mesh.faceFlags.push_back(0u);
            }
            mesh.faceCount += static_cast<std::uint32_t>(n - 2);
        } else {
            for (std::size_t i = 1; i + 1 < n; ++i) mesh.addFace(v[0], v[i], v[i + 1]);
        }
    }
    // Texture triples follow the vertex fan; where a face has fewer texture
    // indices than corners only the fully recorded triples are kept.
    const std::uint32_t* const t = corners.texCoords.data();
    const std::size_t m = corners.texCoordCount;
    if (n >= 3 && m >= 3) {
        const std::size_t triples = (n < m ? n : m) - 2;
        reserveForAdding(pending.faceTexCoords, triples);
        for (std::size_t i = 1; i <= triples; ++i) pending.faceTexCoords.push_back({t[0], t[i], t[i + 1]});
    }
}

void moveNormals(std::vector<KelpCore::Vec3f>& normals, KelpCore::KelpTriMesh& mesh) {
    if (normals.empty()) return;
    if (normals.size() > mesh.vertexCount) KelpRecord::note(KelpRecord::Code::ObjExtraNormals, {}, normals.size(), mesh.vertexCount);
    mesh.vertexAttributes |= KelpCore::KelpAttributeNormals;
    if (mesh.vertexNormals.empty()) {
        // Nothing of the mesh's own to keep: the list becomes the array, with
        // no second copy of it (new elements are zero either way).
        normals.resize(mesh.vertexCount);
        mesh.vertexNormals = std::move(normals);
        return;
    }
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

void readObj(std::FILE* file, const std::string& objPath, KelpCore::KelpTriMesh& mesh) {
    KelpScan::ScanSource source(file);
    // White space and the decimal point as fscanf sees them under the locale
    // in force (the reader's).
    KelpScan::ScanCursor in(source, KelpScan::ScanLocale::current());
    float xyz[3] = {0.0f, 0.0f, 0.0f};
    float uv[2] = {0.0f, 0.0f};
    std::int32_t lastIndex = 0;
    PendingAttributes pending;
    KelpObj::ObjFaceCorners corners;
    std::vector<KelpObj::ObjMaterial> materials;
    KelpCore::KelpImageData<unsigned char> image;
    ObjFaceSizing sizing(file);
    const char* line;
    std::size_t lineLength;

    // The statement word starts empty and keeps its last value when a read
    // finds nothing, so the statement it names runs again.
    Statement statement = Statement::Other;
    while (!in.eof()) {
        const char* word;
        std::size_t wordLength;
        if (in.readWord(word, wordLength, kWordField))
            statement = classify(word, wordLength);
        else
            noteRepeatedStatement(statement);
        switch (statement) {
            case Statement::MaterialLibrary: {
                std::string name;
                if (in.readWord(name, kLibraryNameLimit)) name.resize(std::strlen(name.c_str()));
                try {
                    KelpObj::loadMaterialLibrary(objPath, name, materials, image);
                } catch (const std::exception&) {
                    // A library or image that cannot be read leaves no texture.
                }
                break;
            }
            case Statement::Vertex:
                for (float& c : xyz)
                    if (!in.readFloat(c)) noteStaleNumber(file, source.offset(), "v");
                if (mesh.vertices.size() == mesh.vertices.capacity()) {
                    const std::size_t capacity =
                        sizing.listCapacity(ObjFaceSizing::List::Vertices, mesh.vertices.size(), source.offset());
                    reserveAtLeast(mesh.vertices, capacity);
                    reserveAtLeast(mesh.vertexFlags, capacity);
                }
                mesh.addVertex({xyz[0], xyz[1], xyz[2]});
                break;
            case Statement::TexCoord:
                for (float& c : uv)
                    if (!in.readFloat(c)) noteStaleNumber(file, source.offset(), "vt");
                if (uv[1] < 0.0f) uv[1] += 1.0f;
                if (pending.texCoords.size() == pending.texCoords.capacity())
                    reserveAtLeast(pending.texCoords, sizing.listCapacity(ObjFaceSizing::List::TexCoords,
                                                                          pending.texCoords.size(), source.offset()));
                pending.texCoords.push_back({uv[0], uv[1]});
                break;
            case Statement::Normal:
                for (float& c : xyz)
                    if (!in.readFloat(c)) noteStaleNumber(file, source.offset(), "vn");
                if (pending.normals.size() == pending.normals.capacity())
                    reserveAtLeast(pending.normals, sizing.listCapacity(ObjFaceSizing::List::Normals,
                                                                        pending.normals.size(), source.offset()));
                pending.normals.push_back({xyz[0], xyz[1], xyz[2]});
                break;
            case Statement::Face:
                if (!in.readLine(kLineField, line, lineLength)) line = "", lineLength = 0;
                KelpObj::parseFaceLine(in.locale(), line, lineLength, mesh.vertexCount, lastIndex, corners);
                if (corners.staleIndices) noteStaleIndices(file, source.offset() - 1, corners.staleIndices);
                if (lineLength == kLineField - 1) noteIfLineGoesOn(source, file, line[lineLength - 1]);
                sizing.afterVertexGrowth(mesh.vertices.capacity() * sizeof(KelpCore::Vec3f) +
                                         pending.texCoords.capacity() * sizeof(KelpCore::Vec2f) +
                                         pending.normals.capacity() * sizeof(KelpCore::Vec3f));
                if (corners.vertexCount >= 3)
                    sizing.beforeFaces(corners.vertexCount - 2, source.offset(), mesh, pending.faceTexCoords);
                addFan(corners, mesh, pending);
                break;
            case Statement::Other:
                if (in.readLine(kLineField, line, lineLength) && lineLength == kLineField - 1)
                    noteIfLineGoesOn(source, file, line[lineLength - 1]);
                break;
        }
    }

    moveNormals(pending.normals, mesh);
    moveTexture(pending, image, mesh);
    delete[] image.data;
}

}  // namespace KelpObj
