// Drives a private VrmlReader over text written to a temporary file.
#pragma once

#include "vrml/VrmlReader.h"

#include "support/Bits.h"
#include "support/TestFiles.h"

#include <string>
#include <vector>

namespace KelpVrmlTest {

using KelpTest::bitsOf;

struct Token {
    int code;
    float value;
    std::string text;
};

struct ReaderOnText {
    explicit ReaderOnText(const std::string& text) {
        KelpTest::writeFile(path, text);
        opened = reader.open(path.c_str());
    }

    // Every token up to the end of the input.
    std::vector<Token> tokens() {
        std::vector<Token> out;
        for (int code = reader.nextToken(); code != KelpVrml::kTokenEnd || !reader.atEndOfInput();
             code = reader.nextToken())
            out.push_back({code, reader.current().value, reader.current().text});
        return out;
    }
    std::string error() const { return reader.errorText(); }

    KelpTest::TempDir dir;
    const std::string path = dir.file("a.wrl");
    KelpVrml::VrmlReader reader;
    bool opened = false;
};

}  // namespace KelpVrmlTest
