// The 3DS chunk walk and the records it fills besides the mesh. Only vertices
// and triangles reach the mesh; materials, lights, cameras and scene settings
// are read so that the walk consumes their bytes exactly and fails where they
// are malformed; only the last record of each kind is kept, and it is dropped
// with the scene when the read ends.
#pragma once

#include <KelpCore.h>

#include <cstdint>
#include <cstdio>
#include <string>

namespace Kelp3ds {

// Chunk ids the walk recognises, by parent.
enum ChunkId3ds : std::uint16_t {
    kMain3ds = 0x4D4D,
    kVersion3ds = 0x0002,
    kEditor3ds = 0x3D3D,
    kMeshVersion3ds = 0x3D3E,
    kMasterScale3ds = 0x0100,
    kBackgroundColour3ds = 0x1200,
    kAmbientColour3ds = 0x2100,
    kObject3ds = 0x4000,
    kMaterial3ds = 0xAFFF,
    kTriMesh3ds = 0x4100,
    kLight3ds = 0x4600,
    kCamera3ds = 0x4700,
    kVertexList3ds = 0x4110,
    kFaceList3ds = 0x4120,
    kFaceMaterials3ds = 0x4130,
    kMappingCoords3ds = 0x4140,
    kColourFloat3ds = 0x0010,
    kColourBytes3ds = 0x0011,
    kPercentInt3ds = 0x0030,
    kPercentFloat3ds = 0x0031,
    kMaterialName3ds = 0xA000,
    kMaterialAmbient3ds = 0xA010,
    kMaterialDiffuse3ds = 0xA020,
    kMaterialSpecular3ds = 0xA030,
    kMaterialShininess3ds = 0xA040,
    kMaterialShininessStrength3ds = 0xA041,
    kMaterialTransparency3ds = 0xA050,
    kMaterialTwoSided3ds = 0xA081,
    kMaterialShading3ds = 0xA100,
    kMaterialTextureMap3ds = 0xA200,
    kMaterialBumpMap3ds = 0xA230,
    kMapFileName3ds = 0xA300,
    kLightSpot3ds = 0x4610,
    kLightOff3ds = 0x4620,
    kLightAttenuate3ds = 0x4625,
    kLightInnerRange3ds = 0x4659,
    kLightOuterRange3ds = 0x465A,
    kCameraRanges3ds = 0x4720,
};

// Names keep this many characters; the rest of a longer name is read and dropped.
inline constexpr std::size_t kMaxName3ds = 256;

struct Colour3ds {
    float r = 0.0f, g = 0.0f, b = 0.0f;
};

struct Material3ds {
    std::string name;
    Colour3ds ambient, diffuse, specular;
    Colour3ds quarterDiffuse;  // the diffuse colour times 0.25, set with it
    float shininess = 0.0f;    // percentage times 300
    float shininessStrength = 0.0f;
    Colour3ds transparency;    // the percentage in all three components
    bool twoSided = false;
    std::uint16_t shading = 0;
    std::string textureMap, bumpMap;
};

struct Light3ds {
    float position[3] = {0, 0, 0};
    Colour3ds colour;
    bool isSpot = false;
    float target[3] = {0, 0, 0};
    float hotspot = 0.0f, falloff = 0.0f;
    bool on = true;
    bool attenuate = false;
    float innerRange = 0.0f, outerRange = 0.0f;
};

struct Camera3ds {
    float position[3] = {0, 0, 0};
    float target[3] = {0, 0, 0};
    float bank = 0.0f, lens = 0.0f;
    float nearRange = 0.0f, farRange = 0.0f;
};

struct Scene3ds {
    std::uint32_t fileVersion = 0;
    std::uint32_t meshVersion = 0;
    float masterScale = 0.0f;
    Colour3ds background, ambient;
    // The last material, light and camera read. The mesh uses none of them,
    // so each chunk's record replaces the one before instead of joining a
    // list: a file of a million such chunks costs no memory per chunk.
    Material3ds material;
    Light3ds light;
    Camera3ds camera;
};

// Walks the whole file from offset 0: checks that it starts with a main chunk,
// then reads every top-level chunk, appending vertices and faces to `mesh` and
// storing records in `scene`. False when the first chunk is not a main chunk
// or a read inside a recognised chunk fails; what was appended stays.
// `blockSize` is the read-ahead of the file buffer; results do not depend on it.
bool readChunks(std::FILE* file, KelpCore::KelpTriMesh& mesh, Scene3ds& scene,
                std::size_t blockSize = std::size_t{1} << 20);

}  // namespace Kelp3ds
