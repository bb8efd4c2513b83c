#include "Report.h"

#include "Json.h"

#include <algorithm>
#include <charconv>
#include <string>

namespace KelpTool {

namespace {
std::string number(double value, int digits) {
    char text[40];
    const auto end = std::to_chars(text, text + sizeof text, value, std::chars_format::general, digits).ptr;
    return std::string(text, end);
}

std::string join(const std::vector<std::string>& items, const char* separator) {
    std::string out;
    for (const auto& item : items) out += (out.empty() ? "" : separator) + item;
    return out;
}

std::string boundsText(const Summary& s) {
    if (!s.hasBounds) return "-";
    return "(" + number(s.min[0], 6) + ", " + number(s.min[1], 6) + ", " + number(s.min[2], 6) + ")..(" +
           number(s.max[0], 6) + ", " + number(s.max[1], 6) + ", " + number(s.max[2], 6) + ")";
}

std::string textureText(const Summary& s) {
    std::string text;
    if (s.texCoords) text = std::to_string(s.texCoords) + " uv";
    if (s.hasTextureImage) {
        text += (text.empty() ? "" : ", ") + std::to_string(s.textureWidth) + "x" + std::to_string(s.textureHeight) +
                "x" + std::to_string(s.textureChannels);
    }
    return text.empty() ? "-" : text;
}
}  // namespace

void printTable(std::FILE* out, const std::vector<Summary>& summaries) {
    const std::vector<std::string> head = {"file", "format", "result", "vertices", "faces",
                                           "bounding box", "arrays", "texture", "time"};
    std::vector<std::vector<std::string>> rows;
    for (const Summary& s : summaries) {
        rows.push_back({s.path, s.format, s.ok ? "ok" : "FAILED", std::to_string(s.vertices),
                        s.isMesh ? std::to_string(s.faces) : "-", boundsText(s),
                        s.arrays.empty() ? "-" : join(s.arrays, ","), textureText(s),
                        number(s.seconds * 1000.0, 3) + " ms"});
    }
    std::vector<std::size_t> width(head.size());
    for (std::size_t c = 0; c < head.size(); ++c) {
        width[c] = head[c].size();
        for (const auto& row : rows) width[c] = std::max(width[c], row[c].size());
    }
    const auto printRow = [&](const std::vector<std::string>& row) {
        std::string line;
        for (std::size_t c = 0; c < row.size(); ++c) {
            std::string cell = row[c];
            if (c + 1 < row.size()) cell.resize(width[c] + 2, ' ');
            line += cell;
        }
        std::fprintf(out, "%s\n", line.c_str());
    };
    printRow(head);
    std::vector<std::string> rule;
    for (std::size_t w : width) rule.push_back(std::string(w, '-'));
    printRow(rule);
    for (const auto& row : rows) printRow(row);
}

void printJson(std::FILE* out, const Summary& s) {
    std::string json = "{\"file\":" + jsonString(s.path) + ",\"format\":" + jsonString(s.format) +
                       ",\"ok\":" + (s.ok ? "true" : "false") + ",\"container\":" +
                       jsonString(s.isMesh ? "mesh" : "points") + ",\"vertices\":" + std::to_string(s.vertices);
    if (s.isMesh) json += ",\"faces\":" + std::to_string(s.faces);
    if (s.hasBounds) {
        json += ",\"bounds\":{\"min\":[" + jsonNumber(s.min[0]) + "," + jsonNumber(s.min[1]) + "," +
                jsonNumber(s.min[2]) + "],\"max\":[" + jsonNumber(s.max[0]) + "," + jsonNumber(s.max[1]) + "," +
                jsonNumber(s.max[2]) + "]}";
    } else {
        json += ",\"bounds\":null";
    }
    json += ",\"arrays\":[";
    for (std::size_t i = 0; i < s.arrays.size(); ++i) json += (i ? "," : "") + jsonString(s.arrays[i]);
    json += "]";
    if (s.isMesh) {
        json += ",\"texCoords\":" + std::to_string(s.texCoords) + ",\"texture\":";
        json += s.hasTextureImage ? "{\"width\":" + std::to_string(s.textureWidth) +
                                        ",\"height\":" + std::to_string(s.textureHeight) +
                                        ",\"channels\":" + std::to_string(s.textureChannels) + "}"
                                  : std::string("null");
    }
    json += ",\"seconds\":" + jsonNumber(s.seconds) + ",\"report\":" + reportJson(s.report) + "}";
    std::fprintf(out, "%s\n", json.c_str());
}

}  // namespace KelpTool
