// The process locale switch that most file functions make around their file
// access. The switch is process-wide and its result is never looked at: on a
// runtime without the locale the call fails and nothing changes.
#pragma once

namespace KelpFrame {

// The locale name the functions switch to, passed to the runtime as it stands.
inline constexpr const char* kReaderLocaleName = "Chinese-simplified";

// setlocale(LC_ALL, "Chinese-simplified"); the result is ignored.
void switchToReaderLocale();

// setlocale(LC_ALL, "C"): the reset that ends a file access. Each function
// decides on which paths it is made.
void switchToCLocale();

// True while the process is in the reader locale. The runtime may report the
// locale under another name than the one it was asked for (some give their
// full name), so the name it reported at the last switch counts as well.
bool readerLocaleInForce();

}  // namespace KelpFrame
