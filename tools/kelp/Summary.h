// What `kelp info` reports about one loaded file.
#pragma once

#include "CallReport.h"
#include "FormatTable.h"

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace KelpTool {

struct Summary {
    std::string path;
    std::string format;
    bool ok = false;
    double seconds = 0.0;
    std::uint32_t vertices = 0;
    std::uint32_t faces = 0;     // 0 for point formats
    bool isMesh = false;
    bool hasBounds = false;      // false when there are no vertices
    std::array<float, 3> min{}, max{};
    std::vector<std::string> arrays;  // the optional attribute arrays present
    std::uint32_t texCoords = 0;
    bool hasTextureImage = false;
    std::uint32_t textureWidth = 0, textureHeight = 0, textureChannels = 0;
    CallReport report;
};

Summary summarise(const KelpCore::KelpPointSet& cloud);
Summary summarise(const KelpCore::KelpTriMesh& mesh);

}  // namespace KelpTool
