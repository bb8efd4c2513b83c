#include "Json.h"

#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>

namespace KelpTool {

namespace {
// Length of the valid UTF-8 sequence at text[i], or 0.
std::size_t utf8Length(const std::string& text, std::size_t i) {
    const auto byte = [&](std::size_t k) { return static_cast<unsigned char>(text[k]); };
    const unsigned char lead = byte(i);
    std::size_t length;
    std::uint32_t code;
    if (lead < 0x80) return 1;
    if ((lead & 0xE0) == 0xC0) { length = 2; code = lead & 0x1F; }
    else if ((lead & 0xF0) == 0xE0) { length = 3; code = lead & 0x0F; }
    else if ((lead & 0xF8) == 0xF0) { length = 4; code = lead & 0x07; }
    else return 0;
    if (i + length > text.size()) return 0;
    for (std::size_t k = 1; k < length; ++k) {
        if ((byte(i + k) & 0xC0) != 0x80) return 0;
        code = (code << 6) | (byte(i + k) & 0x3F);
    }
    static const std::uint32_t smallest[] = {0, 0, 0x80, 0x800, 0x10000};
    if (code < smallest[length] || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF)) return 0;
    return length;
}
}  // namespace

std::string jsonString(const std::string& text) {
    std::string out = "\"";
    for (std::size_t i = 0; i < text.size();) {
        const unsigned char c = static_cast<unsigned char>(text[i]);
        if (c == '"' || c == '\\') {
            out += '\\';
            out += static_cast<char>(c);
        } else if (c == '\n') {
            out += "\\n";
        } else if (c == '\t') {
            out += "\\t";
        } else if (c == '\r') {
            out += "\\r";
        } else if (c < 0x20 || c == 0x7F) {
            char escaped[8];
            std::snprintf(escaped, sizeof escaped, "\\u%04x", c);
            out += escaped;
        } else if (c >= 0x80) {
            const std::size_t length = utf8Length(text, i);
            if (length == 0) {
                out += "\\ufffd";
                ++i;
                continue;
            }
            out.append(text, i, length);
            i += length;
            continue;
        } else {
            out += static_cast<char>(c);
        }
        ++i;
    }
    return out + "\"";
}

std::string jsonNumber(double value) {
    if (!std::isfinite(value)) return "null";
    // to_chars does not depend on the process locale, which the library switches.
    char text[32];
    const auto end = std::to_chars(text, text + sizeof text, value, std::chars_format::general, 9).ptr;
    return std::string(text, end);
}

}  // namespace KelpTool
