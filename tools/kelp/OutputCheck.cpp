#include "OutputCheck.h"

#include "Loading.h"

#include <filesystem>
#include <memory>

namespace KelpTool {

ExpectedOutput expectedOutput(const Format& target, std::uint32_t vertices, std::uint32_t faces) {
    ExpectedOutput expected;
    expected.vertices = vertices;
    expected.faces = target.container == Container::Mesh ? faces : 0;
    if (target.name == "stl") {
        expected.compareVertices = false;
        expected.stlBytes = 84 + 50 * std::uint64_t{faces};
    }
    // Every written line ends with a line feed, and the ASC reader repeats
    // the last point of such a file.
    if (target.name == "asc" && vertices > 0) ++expected.vertices;
    return expected;
}

std::string checkOutput(const Format& target, const std::string& path, const ExpectedOutput& expected) {
    // Devices and pipes cannot be read back as they were written (/dev/null
    // reads empty, /dev/zero never ends): only regular files are checked.
    std::error_code error;
    const std::filesystem::file_status status = std::filesystem::status(path, error);
    if (!std::filesystem::exists(status)) return "it is missing";
    if (!std::filesystem::is_regular_file(status)) return {};
    // A cut binary STL still reads as its header count of triangles (the
    // last ones repeated), so its records are counted by the file size.
    if (expected.stlBytes != 0) {
        const std::uintmax_t size = std::filesystem::file_size(path, error);
        if (error) return "its size cannot be taken";
        if (size != expected.stlBytes)
            return "it holds " + std::to_string(size) + " bytes, " + std::to_string(expected.stlBytes) + " expected";
    }
    auto back = std::make_unique<Loaded>();
    load(path, target, *back);
    if (!back->ok) {
        const std::string& reason = back->failureReason();
        return "the " + target.name + " reader failed on it" + (reason.empty() ? "" : ": " + reason);
    }
    const Summary s = back->summary(path);
    const bool mesh = target.container == Container::Mesh;
    if ((expected.compareVertices && s.vertices != expected.vertices) || s.faces != expected.faces) {
        std::string got, wanted;
        if (expected.compareVertices) {
            got = std::to_string(s.vertices) + " vertices";
            wanted = std::to_string(expected.vertices);
        }
        if (mesh) {
            got += (got.empty() ? "" : " and ") + std::to_string(s.faces) + " faces";
            wanted += (wanted.empty() ? "" : " and ") + std::to_string(expected.faces);
        }
        return "reading it back gave " + got + ", expected " + wanted;
    }
    return {};
}

}  // namespace KelpTool
