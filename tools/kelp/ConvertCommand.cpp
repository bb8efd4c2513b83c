#include "Commands.h"
#include "FormatTable.h"
#include "Loading.h"
#include "OutputCheck.h"

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <memory>

namespace KelpTool {

namespace {
// No reader sets the mesh owner's face total; the STL header takes it, so it
// is set to the number of faces that will be written (deleted ones skipped).
void recordWrittenFaceCount(KelpCore::KelpTriMesh& mesh) {
    std::uint32_t kept = 0;
    for (std::uint32_t i = 0; i < mesh.faceCount; ++i)
        if ((mesh.faceFlags[i] & 1u) == 0) ++kept;
    mesh.recordedFaceCount = kept;
}

// The OBJ writer derives its texture side files' names from the path with
// only backslashes as separators, so a path with '/' directories would send
// them to a doubled directory. Writing from inside the output's directory
// with a bare file name puts them beside the OBJ file, where its "mtllib"
// line expects them.
bool writeFromItsDirectory(const Format& target, const std::string& path, KelpCore::KelpTriMesh& mesh) {
    const std::filesystem::path output(path);
    if (!output.has_parent_path()) return target.writeMesh(path.c_str(), &mesh);
    std::error_code error;
    const std::filesystem::path here = std::filesystem::current_path(error);
    if (error) return target.writeMesh(path.c_str(), &mesh);
    std::filesystem::current_path(output.parent_path(), error);
    if (error) return false;  // no such directory: the file cannot be created
    const bool ok = target.writeMesh(output.filename().string().c_str(), &mesh);
    std::filesystem::current_path(here, error);
    return ok;
}

bool write(const Format& target, const std::string& path, Loaded& loaded) {
    if (target.container == Container::Points) return target.writePoints(path.c_str(), loaded.isMesh() ? &loaded.mesh : &loaded.points);
    if (loaded.isMesh()) {
        if (target.name == "stl") recordWrittenFaceCount(loaded.mesh);
        if (target.name == "obj") return writeFromItsDirectory(target, path, loaded.mesh);
        return target.writeMesh(path.c_str(), &loaded.mesh);
    }
    // A point cloud written as a mesh: its points only, no faces.
    KelpCore::KelpTriMesh points;
    points.vertexCount = loaded.points.vertexCount;
    points.vertices = loaded.points.vertices;
    points.vertexFlags = loaded.points.vertexFlags;
    return target.writeMesh(path.c_str(), &points);
}
}  // namespace

int runConvert(const ConvertOptions& options) {
    const Format* source = options.format.empty() ? formatForPath(options.input) : formatByName(options.format);
    if (!source) {
        std::fprintf(stderr, "kelp: cannot tell the format of %s; use --format (one of: %s)\n", options.input.c_str(),
                     formatNames().c_str());
        return kUsageError;
    }
    const Format* target = formatForPath(options.output);
    if (!target || (!target->writeMesh && !target->writePoints)) {
        std::fprintf(stderr, "kelp: cannot write %s: writable formats are stl, obj and asc\n", options.output.c_str());
        return kUsageError;
    }
    if (source->container == Container::Points && target->name == "stl") {
        std::fprintf(stderr, "kelp: %s is a point cloud; STL holds triangles only, so it is not converted\n",
                     options.input.c_str());
        return kUsageError;
    }

    auto loaded = std::make_unique<Loaded>();
    load(options.input, *source, *loaded);
    if (!loaded->ok) {
        reportReadFailure(options.input, *loaded);
        return kFileFailed;
    }
    bool written = false;
    std::string reason;
    try {
        written = write(*target, options.output, *loaded);
    } catch (...) {
        reason = currentExceptionText();
    }
    if (!written) {
        if (reason.empty()) reason = takeLastReport().reason;
        std::fprintf(stderr, "kelp: the %s writer failed on %s%s%s\n", target->name.c_str(), options.output.c_str(),
                     reason.empty() ? "" : ": ", reason.c_str());
        return kFileFailed;
    }
    const Summary s = loaded->summary(options.input);
    const std::uint32_t faces = target->name == "stl" ? loaded->mesh.recordedFaceCount : s.faces;
    // The source is released before the output is read back.
    loaded.reset();
    if (options.verify) {
        const std::string problem =
            checkOutput(*target, options.output, expectedOutput(*target, s.vertices, faces));
        if (!problem.empty()) {
            std::fprintf(stderr, "kelp: %s was not written in full: %s\n", options.output.c_str(), problem.c_str());
            return kFileFailed;
        }
    }
    if (!options.quiet) {
        std::printf("converted %s (%s, %u vertices", options.input.c_str(), source->name.c_str(), s.vertices);
        if (s.isMesh) std::printf(", %u faces", s.faces);
        std::printf(") to %s (%s)\n", options.output.c_str(), target->name.c_str());
    }
    return kSuccess;
}

}  // namespace KelpTool
