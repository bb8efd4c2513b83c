// A small JSON writer for the fixed shape of `kelp info --json`: one object
// per line, strings escaped, non-finite numbers written as null.
#pragma once

#include <string>

namespace KelpTool {

// `text` as a JSON string literal. Bytes that are not valid UTF-8 become U+FFFD,
// so that any file name gives valid JSON.
std::string jsonString(const std::string& text);

// A float with enough digits to round-trip, or null when it is not finite.
std::string jsonNumber(double value);

}  // namespace KelpTool
