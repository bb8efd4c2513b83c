// Drives a private VrmlReader over text written to a temporary file.
#pragma once

#include "vrml/VrmlReader.h"

#include "support/TestFiles.h"

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace KelpVrmlTest {

inline std::uint32_t bitsOf(float value) {
    std::uint32_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}

struct Token {
    int code;
    float value;
    std::string text;
};

class ReaderOnText {
public:
    explicit ReaderOnText(const std::string& text, const std::string& name = "a.wrl") {
        path_ = dir_.file(name);
        KelpTest::writeFile(path_, text);
        opened_ = reader_.open(path_.c_str());
    }

    // Every token up to the end of the input (at most `limit`).
    std::vector<Token> tokens(std::size_t limit = 10000) {
        std::vector<Token> out;
        while (out.size() < limit) {
            const int code = reader_.nextToken();
            if (code == KelpVrml::kTokenEnd && reader_.atEndOfInput()) break;
            out.push_back({code, reader_.current().value, reader_.current().text});
        }
        return out;
    }

    KelpVrml::VrmlReader& reader() { return reader_; }
    const std::string& path() const { return path_; }
    int opened() const { return opened_; }
    std::string error() const { return reader_.errorText(); }

private:
    KelpTest::TempDir dir_;
    std::string path_;
    KelpVrml::VrmlReader reader_;
    int opened_ = 0;
};

}  // namespace KelpVrmlTest
