// Test inputs are built in the test: a private temporary directory per test,
// and helpers to write and read whole files as bytes.
#pragma once

#include "ByteBuilder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>

namespace KelpTest {

class TempDir {
public:
    TempDir() {
        std::random_device seed;
        const auto* info = ::testing::UnitTest::GetInstance()->current_test_info();
        std::string name = "kelp-test";
        if (info) name += std::string("-") + info->test_suite_name() + "-" + info->name();
        for (char& c : name)
            if (c == '/') c = '_';
        path_ = std::filesystem::temp_directory_path() / (name + "-" + std::to_string(seed()));
        std::filesystem::create_directories(path_);
    }
    ~TempDir() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    const std::filesystem::path& path() const { return path_; }
    std::string file(const std::string& name) const { return (path_ / name).string(); }

private:
    std::filesystem::path path_;
};

inline void writeFile(const std::string& path, const std::string& bytes) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    ASSERT_TRUE(out.good()) << "cannot write " << path;
}

inline std::string readFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// The line end a text-mode stream writes for '\n' here.
#if defined(_WIN32)
inline constexpr const char* kTextLineEnd = "\r\n";
#else
inline constexpr const char* kTextLineEnd = "\n";
#endif

// A file written in text mode, with each of the platform's line ends read
// back as '\n'; a line break written any other way fails the test.
inline std::string readTextFile(const std::string& path) {
    const std::string bytes = readFile(path);
    const std::string lineEnd = kTextLineEnd;
    std::string text;
    for (std::size_t at = 0; at < bytes.size();) {
        if (bytes.compare(at, lineEnd.size(), lineEnd) == 0) {
            text += '\n';
            at += lineEnd.size();
            continue;
        }
        if (bytes[at] == '\n') ADD_FAILURE() << path << ": a bare line break at byte " << at;
        text += bytes[at++];
    }
    return text;
}

// Byte builders for binary formats, shared with the sample generator.
using KelpSamples::chunk3ds;
using KelpSamples::putF32;
using KelpSamples::putU16;
using KelpSamples::putU32;

}  // namespace KelpTest
