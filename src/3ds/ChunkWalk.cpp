// The chunk walk. Each parent kind has its own handler with its own set of
// recognised children, so the nesting depth is bounded by that fixed set
// (main > editor > object > mesh, editor > material > map): a chunk that
// contains its own id is just an unknown child there and is skipped.
//
// Every pass of a child loop moves the position forward by at least a chunk
// header: lengths below the header's 6 bytes are taken as 6, and chunk ends
// are computed in 64 bits so that a length near 4 GiB points past the file
// instead of wrapping backwards. A walk is therefore linear in the file size.
#include "3ds/ChunkSource.h"
#include "3ds/Scene3ds.h"
#include "report/Recorder.h"

#include <algorithm>
#include <cstdio>

namespace Kelp3ds {

namespace {

constexpr std::uint32_t kHeaderSize = 6;

bool failNotMain(bool readable, std::uint16_t id) {
    char text[64];
    if (readable)
        std::snprintf(text, sizeof text, "it starts with chunk 0x%04X", static_cast<unsigned>(id));
    else
        std::snprintf(text, sizeof text, "it is shorter than a chunk header (6 bytes)");
    return KelpRecord::fail(KelpRecord::Code::T3dsNotMain, text);
}

struct ChunkHeader {
    std::uint16_t id = 0;
    std::uint64_t start = 0;
    std::uint64_t end = 0;  // start plus the length, at least a header further
};

class ChunkWalker {
public:
    ChunkWalker(ChunkSource& source, KelpCore::KelpTriMesh& mesh, Scene3ds& scene)
        : source_(source), mesh_(mesh), scene_(scene) {}

    bool walkFile() {
        ChunkHeader header;
        const bool readable = readHeader(header);
        source_.seek(0);
        if (!readable || header.id != kMain3ds) return failNotMain(readable, header.id);
        while (source_.tell() < source_.size()) {
            if (!readHeader(header)) return false;
            if (header.id == kMain3ds) {
                if (!walkMain(header)) return false;
            } else {
                skip(header);
            }
        }
        return true;
    }

private:
    bool readHeader(ChunkHeader& header) {
        header.start = source_.tell();
        std::uint32_t length = 0;
        if (!source_.readU16(header.id) || !source_.readU32(length)) return false;
        header.end = header.start + std::max(length, kHeaderSize);
        return true;
    }

    void skip(const ChunkHeader& header) { source_.seek(header.end); }

    // Reads the children of a chunk ending at `end`, each handled by `handle`
    // from wherever the previous one left the position.
    template <typename Handler>
    bool walkChildren(std::uint64_t end, Handler&& handle) {
        while (source_.tell() < end) {
            ChunkHeader child;
            if (!readHeader(child) || !handle(child)) return false;
        }
        return true;
    }

    bool readFloats(float* out, int count) {
        for (int i = 0; i < count; ++i)
            if (!source_.readF32(out[i])) return false;
        return true;
    }

    // Up to a zero byte or the end of the file (which is not a failure).
    void readName(std::string& name) {
        name.clear();
        for (int byte = source_.getByte(); byte > 0; byte = source_.getByte())
            if (name.size() < kMaxName3ds) name.push_back(static_cast<char>(byte));
    }

    bool readColourData(std::uint16_t id, Colour3ds& colour) {
        if (id == kColourFloat3ds) return readFloats(&colour.r, 1) && readFloats(&colour.g, 1) && readFloats(&colour.b, 1);
        std::uint8_t bytes[3];
        if (!source_.readU8(bytes[0]) || !source_.readU8(bytes[1]) || !source_.readU8(bytes[2])) return false;
        colour = {bytes[0] / 255.0f, bytes[1] / 255.0f, bytes[2] / 255.0f};
        return true;
    }

    // A colour sub-chunk; any other kind is passed over and fails the read.
    bool readColour(Colour3ds& colour) {
        ChunkHeader sub;
        if (!readHeader(sub)) return false;
        if (sub.id == kColourFloat3ds || sub.id == kColourBytes3ds) return readColourData(sub.id, colour);
        skip(sub);
        return KelpRecord::fail(KelpRecord::Code::T3dsColour, {}, sub.id, sub.start);
    }

    // A percentage sub-chunk; any other kind is passed over and fails the read.
    bool readPercentage(float& value) {
        ChunkHeader sub;
        if (!readHeader(sub)) return false;
        if (sub.id == kPercentInt3ds) {
            std::uint16_t percent = 0;
            if (!source_.readU16(percent)) return false;
            value = percent / 100.0f;
            return true;
        }
        if (sub.id == kPercentFloat3ds) return source_.readF32(value);
        skip(sub);
        return KelpRecord::fail(KelpRecord::Code::T3dsPercentage, {}, sub.id, sub.start);
    }

    bool walkMain(const ChunkHeader& main) {
        return walkChildren(main.end, [this](const ChunkHeader& child) {
            switch (child.id) {
            case kVersion3ds: return source_.readU32(scene_.fileVersion);
            case kEditor3ds: return walkEditor(child);
            default: skip(child); return true;
            }
        });
    }

    bool walkEditor(const ChunkHeader& editor) {
        return walkChildren(editor.end, [this](const ChunkHeader& child) {
            switch (child.id) {
            case kMeshVersion3ds: return source_.readU32(scene_.meshVersion);
            case kMasterScale3ds: return source_.readF32(scene_.masterScale);
            case kBackgroundColour3ds: return readColour(scene_.background);
            case kAmbientColour3ds: return readColour(scene_.ambient);
            case kObject3ds: return readObject(child);
            case kMaterial3ds: return readMaterial(child);
            default: skip(child); return true;
            }
        });
    }

    bool readObject(const ChunkHeader& object) {
        readName(objectName_);
        return walkChildren(object.end, [this](const ChunkHeader& child) {
            switch (child.id) {
            case kTriMesh3ds: return walkTriMesh(child);
            case kLight3ds: return readLight(child);
            case kCamera3ds: return readCamera(child);
            default: skip(child); return true;
            }
        });
    }

    bool walkTriMesh(const ChunkHeader& triMesh) {
        return walkChildren(triMesh.end, [this](const ChunkHeader& child) {
            switch (child.id) {
            case kVertexList3ds: return readVertexList();
            case kFaceList3ds: return readFaceList();
            case kFaceMaterials3ds: return readFaceMaterials();
            case kMappingCoords3ds: return readMappingCoords();
            default: skip(child); return true;
            }
        });
    }

    // The count is not trusted for any allocation: vertices are appended as
    // they are read, and a count beyond the file fails at its end.
    bool readVertexList() {
        std::uint16_t count = 0;
        if (!source_.readU16(count)) return false;
        for (std::uint32_t i = 0; i < count; ++i) {
            unsigned char bytes[12];
            if (!source_.read(bytes, sizeof bytes)) return false;
            mesh_.addVertex({ChunkSource::decodeF32(bytes), ChunkSource::decodeF32(bytes + 4),
                             ChunkSource::decodeF32(bytes + 8)});
        }
        return true;
    }

    // Indices are taken as stored, not offset by the vertices of earlier
    // objects; the flag word is dropped.
    bool readFaceList() {
        std::uint16_t count = 0;
        if (!source_.readU16(count)) return false;
        for (std::uint32_t i = 0; i < count; ++i) {
            unsigned char bytes[8];
            if (!source_.read(bytes, sizeof bytes)) return false;
            mesh_.addFace(static_cast<std::uint32_t>(bytes[0] | (bytes[1] << 8)),
                          static_cast<std::uint32_t>(bytes[2] | (bytes[3] << 8)),
                          static_cast<std::uint32_t>(bytes[4] | (bytes[5] << 8)));
        }
        return true;
    }

    bool readFaceMaterials() {
        readName(scratchName_);
        std::uint16_t count = 0;
        return source_.readU16(count) && source_.discard(2u * count);
    }

    bool readMappingCoords() {
        std::uint16_t count = 0;
        return source_.readU16(count) && source_.discard(8u * count);
    }

    bool readMaterial(const ChunkHeader& chunk) {
        Material3ds& material = scene_.material;
        material = Material3ds();
        return walkChildren(chunk.end, [this, &material](const ChunkHeader& child) {
            float percent = 0.0f;
            switch (child.id) {
            case kMaterialName3ds: readName(material.name); return true;
            case kMaterialAmbient3ds: return readColour(material.ambient);
            case kMaterialDiffuse3ds:
                if (!readColour(material.diffuse)) return false;
                material.quarterDiffuse = {material.diffuse.r * 0.25f, material.diffuse.g * 0.25f,
                                           material.diffuse.b * 0.25f};
                return true;
            case kMaterialSpecular3ds: return readColour(material.specular);
            case kMaterialShininess3ds:
                if (!readPercentage(percent)) return false;
                material.shininess = percent * 300.0f;
                return true;
            case kMaterialShininessStrength3ds: return readPercentage(material.shininessStrength);
            case kMaterialTransparency3ds:
                if (!readPercentage(percent)) return false;
                material.transparency = {percent, percent, percent};
                return true;
            case kMaterialTwoSided3ds: material.twoSided = true; return true;
            case kMaterialShading3ds: return source_.readU16(material.shading);
            case kMaterialTextureMap3ds: return readMap(child, material.textureMap);
            case kMaterialBumpMap3ds: return readMap(child, material.bumpMap);
            default: skip(child); return true;
            }
        });
    }

    bool readMap(const ChunkHeader& map, std::string& fileName) {
        return walkChildren(map.end, [this, &fileName](const ChunkHeader& child) {
            if (child.id == kMapFileName3ds)
                readName(fileName);
            else
                skip(child);
            return true;
        });
    }

    bool readLight(const ChunkHeader& chunk) {
        Light3ds& light = scene_.light;
        light = Light3ds();
        if (!readFloats(light.position, 3)) return false;
        return walkChildren(chunk.end, [this, &light](const ChunkHeader& child) {
            switch (child.id) {
            case kColourFloat3ds:
            case kColourBytes3ds: return readColourData(child.id, light.colour);
            case kLightSpot3ds:
                light.isSpot = true;
                return readFloats(light.target, 3) && readFloats(&light.hotspot, 1) && readFloats(&light.falloff, 1);
            case kLightOff3ds: light.on = false; return true;
            case kLightAttenuate3ds: light.attenuate = true; return true;
            case kLightInnerRange3ds: return source_.readF32(light.innerRange);
            case kLightOuterRange3ds: return source_.readF32(light.outerRange);
            default: skip(child); return true;
            }
        });
    }

    bool readCamera(const ChunkHeader& chunk) {
        Camera3ds& camera = scene_.camera;
        camera = Camera3ds();
        if (!readFloats(camera.position, 3) || !readFloats(camera.target, 3) || !readFloats(&camera.bank, 1) ||
            !readFloats(&camera.lens, 1))
            return false;
        return walkChildren(chunk.end, [this, &camera](const ChunkHeader& child) {
            if (child.id != kCameraRanges3ds) {
                skip(child);
                return true;
            }
            return readFloats(&camera.nearRange, 1) && readFloats(&camera.farRange, 1);
        });
    }

    ChunkSource& source_;
    KelpCore::KelpTriMesh& mesh_;
    Scene3ds& scene_;
    std::string objectName_;
    std::string scratchName_;
};

}  // namespace

bool readChunks(std::FILE* file, KelpCore::KelpTriMesh& mesh, Scene3ds& scene, std::size_t blockSize) {
    ChunkSource source(file, blockSize);
    const bool walked = ChunkWalker(source, mesh, scene).walkFile();
    // Every other failure is a read past the end of the file.
    if (!walked) KelpRecord::fail(KelpRecord::Code::T3dsCut, {}, source.tell(), source.size());
    return walked;
}

}  // namespace Kelp3ds
