// The PLY importer: maps a file's vertex, face and triangle-strip elements
// onto a KelpTriMesh through the PLY reader object.
#pragma once

#include <KelpTriMesh.h>

#include <cstdint>

namespace KelpPly {

// The importer's own codes; a header failure passes the reader's code on.
enum PlyImportError : int {
    PlyImportOk = 0,
    PlyImportNoPath = 1,
    PlyImportTooManyAttributes = 10,
    PlyImportNoVertices = 14,
    PlyImportNoFaces = 15,
    PlyImportBadInstance = 16,
    PlyImportNotTriangle = 17,
};

struct PlyVertexRecord {
    float x, y, z;
    float nx, ny, nz;
    std::int32_t flags;
    float quality;  // also "confidence"
    unsigned char red, green, blue;
};

struct PlyFaceRecord {
    static constexpr int kMaxCorners = 512;
    static constexpr int kMaxListValues = 32;

    unsigned char size;  // corners read
    std::int32_t indices[kMaxCorners];
    std::int32_t flags;
    float quality;
    float texCoords[kMaxListValues];
    unsigned char texCoordCount;
    std::int32_t textureNumber;
    float colour[kMaxListValues];
    unsigned char colourCount;
    unsigned char red, green, blue;
};

struct PlyStripRecord {
    std::int32_t size;
    std::int32_t* indices;  // calloc'd by the reader, freed after decoding
};

class PlyFile;

// Reads the elements of `ply`, opened on its header, into `mesh`, appending;
// returns the importer's code (0 on success). What was appended before a
// failure stays.
int importPly(PlyFile& ply, KelpCore::KelpTriMesh& mesh);

// KelpReadPly with the importer's code: the open, then importPly. A header
// that does not parse gives the reader's own code.
int readPlyFile(const char* path, KelpCore::KelpTriMesh* mesh);

// Appends the triangles of one strip (-1 restarts it).
void decodePlyStrip(const std::int32_t* indices, std::int32_t count, KelpCore::KelpTriMesh& mesh);

}  // namespace KelpPly
