// Text to float in the "C" locale, whatever the process locale is: the
// readers switch the process to another locale around their work.
#pragma once

namespace KelpPlatform {

// strtof with the "C" locale's decimal point and spellings: converts the
// longest prefix of `text` and sets `*end` (when given) past it, or to
// `text` when nothing converts.
float strtofC(const char* text, char** end);

// strtod in the "C" locale, likewise.
double strtodC(const char* text, char** end);

}  // namespace KelpPlatform
