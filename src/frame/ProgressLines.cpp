#include "frame/ProgressLines.h"

#include <KelpFileIO.h>

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <mutex>

namespace KelpFrame {

namespace {
struct Sink {
    KelpGraphic::KelpProgressSink call = nullptr;
    void* context = nullptr;
};

std::mutex sinkMutex;
Sink installed;

Sink currentSink() {
    std::lock_guard<std::mutex> lock(sinkMutex);
    return installed;
}
}  // namespace

void printProgress(const char* format, ...) {
    const Sink sink = currentSink();
    std::va_list args;
    va_start(args, format);
    if (!sink.call) {
        std::vprintf(format, args);
    } else {
        // The lines are short ("OpenBinary::fn=" and an int at most); a longer
        // one would be cut, never overrun.
        char line[128];
        std::vsnprintf(line, sizeof line, format, args);
        const std::size_t length = std::strlen(line);
        if (length > 0 && line[length - 1] == '\n') line[length - 1] = '\0';
        sink.call(line, sink.context);
    }
    va_end(args);
}

}  // namespace KelpFrame

namespace KelpGraphic {

void KelpSetProgressSink(KelpProgressSink sink, void* context) {
    std::lock_guard<std::mutex> lock(KelpFrame::sinkMutex);
    KelpFrame::installed = {sink, context};
}

}  // namespace KelpGraphic
