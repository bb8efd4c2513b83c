#include "FormatTable.h"

#include <algorithm>
#include <cctype>
#include <filesystem>

namespace KelpTool {

namespace {
std::string lowered(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}
}  // namespace

const std::vector<Format>& formats() {
    using namespace KelpGraphic;
    static const std::vector<Format> table = {
        {"stl", {".stl"}, Container::Mesh, KelpReadStl, nullptr, KelpWriteStl, nullptr},
        {"obj", {".obj"}, Container::Mesh, KelpReadObj, nullptr, KelpWriteObj, nullptr},
        {"ply", {".ply"}, Container::Mesh, KelpReadPly, nullptr, nullptr, nullptr},
        {"wrl", {".wrl", ".vrml"}, Container::Mesh, KelpReadWrl, nullptr, nullptr, nullptr},
        {"3ds", {".3ds"}, Container::Mesh, KelpRead3ds, nullptr, nullptr, nullptr},
        {"dxf", {".dxf"}, Container::Points, nullptr, KelpReadDxf, nullptr, nullptr},
        {"asc", {".asc"}, Container::Points, nullptr, KelpReadAsc, nullptr, KelpWriteAsc},
    };
    return table;
}

const Format* formatByName(const std::string& name) {
    const std::string wanted = lowered(name);
    for (const Format& format : formats())
        if (format.name == wanted) return &format;
    return nullptr;
}

const Format* formatForPath(const std::string& path) {
    const std::string extension = lowered(std::filesystem::path(path).extension().string());
    for (const Format& format : formats())
        if (std::find(format.extensions.begin(), format.extensions.end(), extension) != format.extensions.end())
            return &format;
    return nullptr;
}

std::string formatNames() {
    std::string names;
    for (const Format& format : formats()) names += (names.empty() ? "" : ", ") + format.name;
    return names;
}

}  // namespace KelpTool
