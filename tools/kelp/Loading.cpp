#include "Loading.h"

#include <chrono>
#include <cstdio>
#include <exception>
#include <new>

namespace KelpTool {

std::string currentExceptionText() {
    try {
        throw;
    } catch (const std::bad_alloc&) {
        return "out of memory (std::bad_alloc)";
    } catch (const std::exception& error) {
        return error.what();
    } catch (...) {
        return "an unknown exception";
    }
}

void load(const std::string& path, const Format& format, Loaded& loaded) {
    loaded.format = &format;
    const auto start = std::chrono::steady_clock::now();
    try {
        loaded.ok = format.container == Container::Mesh ? format.readMesh(path.c_str(), &loaded.mesh)
                                                        : format.readPoints(path.c_str(), &loaded.points);
    } catch (...) {
        loaded.ok = false;
        loaded.thrown = currentExceptionText();
        // Counts and arrays may disagree after a throw: report nothing of them.
        loaded.mesh = KelpCore::KelpTriMesh();
        loaded.points = KelpCore::KelpPointSet();
    }
    loaded.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    loaded.report = takeLastReport();
}

void reportReadFailure(const std::string& path, const Loaded& loaded) {
    const std::string& reason = loaded.failureReason();
    std::fprintf(stderr, "kelp: the %s reader failed on %s%s%s\n", loaded.format->name.c_str(), path.c_str(),
                 reason.empty() ? "" : ": ", reason.c_str());
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
