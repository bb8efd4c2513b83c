#include "Loading.h"

#include <chrono>

namespace KelpTool {

void load(const std::string& path, const Format& format, Loaded& loaded) {
    loaded.format = &format;
    const auto start = std::chrono::steady_clock::now();
    loaded.ok = format.container == Container::Mesh ? format.readMesh(path.c_str(), &loaded.mesh)
                                                    : format.readPoints(path.c_str(), &loaded.points);
    loaded.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    loaded.report = takeLastReport();
}

Summary Loaded::summary(const std::string& path) const {
    Summary s = isMesh() ? summarise(mesh) : summarise(points);
    s.path = path;
    s.format = format->name;
    s.ok = ok;
    s.seconds = seconds;
    s.report = report;
    return s;
}

}  // namespace KelpTool
