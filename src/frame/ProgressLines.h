// The progress lines some readers print. They go to standard output, as they
// always have, unless a host installed a sink (KelpSetProgressSink).
#pragma once

namespace KelpFrame {

// printf-style: `format` ends with "\n". Without a sink this is printf; with
// one, the formatted line reaches the sink without its line feed.
void printProgress(const char* format, ...) __attribute__((format(printf, 1, 2)));

}  // namespace KelpFrame
