// Runs the scanning cursor and the C library side by side on the same bytes:
// one stdio stream (fmemopen) driven by fscanf/fgets/getc, one cursor over a
// second stream read through a window of the chosen size, and compares what
// each call returns, the bits stored, the bytes consumed and the end-of-file
// indicator after every step. Stream extraction is compared with
// std::istringstream on the same line.
#pragma once

#include "scan/ScanCursor.h"
#include "scan/ScanPlainPass.h"
#include "scan/ScanSource.h"
#include "support/CReference.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <string>

namespace KelpTest {

// The *InPlace and Plain* calls are the window-pointing word and the
// forward pass (with the general call where the pass declines), which must
// match the same C library call.
enum class ScanOp {
    Word, Word250, SkipWord, Space, Float, Double, Int, Unsigned, Line, SkipLine,
    Word250InPlace, PlainFloat, PlainInt, TextDouble, TextLong, Count
};

inline const char* scanOpName(ScanOp op) {
    static const char* names[] = {"%s", "%250s", "%*s", "\" \"", "%f", "%lf", "%d", "%u", "fgets", "getc-line",
                                  "%250s in place", "%f plain pass", "%d plain pass", "strtod on the rest",
                                  "strtol on the rest"};
    return names[static_cast<int>(op)];
}

template <typename T>
std::uint64_t bitsOf(T value) {
    std::uint64_t bits = 0;
    std::memcpy(&bits, &value, sizeof value);
    return bits;
}

class ScanOracle {
public:
    // `chunk` is the window's refill size; the locale in force now is the one
    // both sides scan under.
    ScanOracle(const std::string& text, std::size_t chunk) : text_(text), mine_(text) {
        stdio_ = open(text_);
        KelpScan::ScanSource::setChunkForTesting(chunk);
        cursorFile_ = open(mine_);
        source_ = new KelpScan::ScanSource(cursorFile_);
        KelpScan::ScanSource::setChunkForTesting(0);
        cursor_ = new KelpScan::ScanCursor(*source_, KelpScan::ScanLocale::current());
    }
    ~ScanOracle() {
        delete cursor_;
        delete source_;
        std::fclose(cursorFile_);
        std::fclose(stdio_);
    }
    ScanOracle(const ScanOracle&) = delete;
    ScanOracle& operator=(const ScanOracle&) = delete;

    // One call on both sides; a gtest failure describes the first difference.
    void step(ScanOp op) {
        SCOPED_TRACE(::testing::Message() << scanOpName(op) << " at byte " << std::ftell(stdio_));
        std::uint64_t theirs = 0, ours = 0;
        int theirResult = 0, ourResult = 0;
        switch (op) {
            case ScanOp::Word: {
                std::string buffer(text_.size() + 1, '\x7f'), word;
                theirResult = std::fscanf(stdio_, "%s", &buffer[0]) == 1;
                ourResult = cursor_->readWord(word, 64);
                if (theirResult) theirs = hashPrefix(buffer.data(), std::strlen(buffer.c_str()), 64);
                if (ourResult) ours = hashPrefix(word.data(), word.find('\0') == std::string::npos ? word.size() : word.find('\0'), 64);
                break;
            }
            case ScanOp::Word250: {
                char buffer[251];
                std::string word;
                theirResult = std::fscanf(stdio_, "%250s", buffer) == 1;
                ourResult = cursor_->readWordWidth(word, 250);
                if (theirResult) theirs = hashPrefix(buffer, std::strlen(buffer), 250);
                if (ourResult) ours = hashPrefix(word.data(), std::strlen(word.c_str()), 250);
                break;
            }
            case ScanOp::Word250InPlace: {
                char buffer[251];
                const char* word = nullptr;
                std::size_t length = 0;
                theirResult = std::fscanf(stdio_, "%250s", buffer) == 1;
                ourResult = cursor_->readWordWidth(word, length, 250);
                if (theirResult) theirs = hashPrefix(buffer, std::strlen(buffer), 250);
                if (ourResult) ours = hashPrefix(word, std::strlen(std::string(word, length).c_str()), 250);
                break;
            }
            case ScanOp::PlainFloat: {
                float a = -7.0f, b = -7.0f;
                theirResult = std::fscanf(stdio_, "%f", &a) == 1;
                ourResult = passOrCall(b, &KelpScan::ScanPlainPass::readFloat, &KelpScan::ScanCursor::readFloat);
                theirs = bitsOf(a), ours = bitsOf(b);
                break;
            }
            case ScanOp::PlainInt: {
                int a = -7;
                std::int32_t b = -7;
                theirResult = std::fscanf(stdio_, "%d", &a) == 1;
                ourResult = passOrCall(b, &KelpScan::ScanPlainPass::readInt, &KelpScan::ScanCursor::readInt);
                theirs = static_cast<std::uint32_t>(a), ours = static_cast<std::uint32_t>(b);
                break;
            }
            // Conversions of the unread text as a C string: nothing is consumed.
            case ScanOp::TextDouble: {
                const std::string rest = text_.substr(static_cast<std::size_t>(std::ftell(stdio_)));
                theirs = bitsOf(std::strtod(rest.c_str(), nullptr));
                ours = bitsOf(KelpScan::convertDoubleText(rest.data(), rest.data() + rest.size(), cursor_->locale()));
                break;
            }
            case ScanOp::TextLong: {
                const std::string rest = text_.substr(static_cast<std::size_t>(std::ftell(stdio_)));
                theirs = static_cast<std::uint32_t>(static_cast<int>(std::strtol(rest.c_str(), nullptr, 10)));
                ours = static_cast<std::uint32_t>(
                    KelpScan::convertIntText(rest.data(), rest.data() + rest.size(), cursor_->locale()));
                break;
            }
            case ScanOp::SkipWord:
                theirResult = std::fscanf(stdio_, "%*s") == 0;
                ourResult = cursor_->skipWord();
                break;
            case ScanOp::Space:
                std::fscanf(stdio_, " ");
                cursor_->skipSpace();
                break;
            case ScanOp::Float: {
                float a = -7.0f, b = -7.0f;
                theirResult = std::fscanf(stdio_, "%f", &a) == 1;
                ourResult = cursor_->readFloat(b);
                theirs = bitsOf(a), ours = bitsOf(b);
                break;
            }
            case ScanOp::Double: {
                double a = -7.0, b = -7.0;
                theirResult = std::fscanf(stdio_, "%lf", &a) == 1;
                ourResult = cursor_->readDouble(b);
                theirs = bitsOf(a), ours = bitsOf(b);
                break;
            }
            case ScanOp::Int: {
                int a = -7;
                std::int32_t b = -7;
                theirResult = std::fscanf(stdio_, "%d", &a) == 1;
                ourResult = cursor_->readInt(b);
                theirs = static_cast<std::uint32_t>(a), ours = static_cast<std::uint32_t>(b);
                break;
            }
            case ScanOp::Unsigned: {
                unsigned a = 7;
                std::uint32_t b = 7;
                theirResult = std::fscanf(stdio_, "%u", &a) == 1;
                ourResult = cursor_->readUnsigned(b);
                theirs = a, ours = b;
                break;
            }
            case ScanOp::Line: {
                std::string buffer(64, '\0');
                theirResult = std::fgets(&buffer[0], 17, stdio_) != nullptr;
                const char* line = nullptr;
                std::size_t length = 0;
                ourResult = cursor_->readLine(17, line, length);
                if (theirResult) theirs = hashPrefix(buffer.data(), std::strlen(buffer.c_str()), 64);
                if (ourResult) ours = hashPrefix(line, std::strlen(std::string(line, length).c_str()), 64);
                break;
            }
            case ScanOp::SkipLine: {
                int c;
                do c = std::fgetc(stdio_);
                while (c != EOF && c != '\n');
                theirResult = c == '\n';
                ourResult = cursor_->skipLine();
                break;
            }
            case ScanOp::Count:
                break;
        }
        ASSERT_EQ(ourResult, theirResult);
        ASSERT_EQ(ours, theirs) << "stored values differ";
        ASSERT_EQ(static_cast<long>(source_->offset()), std::ftell(stdio_)) << "bytes consumed differ";
        ASSERT_EQ(cursor_->eof(), std::feof(stdio_) != 0) << "end-of-file indicators differ";
    }

    // `stream >> value` on the line under the cursor, against istringstream
    // on the same line: whether a value was stored, its bits, and (when
    // stored) the bytes used. Extracts up to three values, as the ASC reader
    // does, then moves both sides past the line.
    void extractLine() {
        const std::size_t start = static_cast<std::size_t>(std::ftell(stdio_));
        const std::size_t feed = text_.find('\n', start);
        const std::string line = text_.substr(start, feed == std::string::npos ? std::string::npos : feed - start);
        std::istringstream stream(line);
        for (int k = 0; k < 3; ++k) {
            float theirs = -7.0f, ours = -7.0f;
            const bool theirOk = static_cast<bool>(stream >> theirs);
            const bool ourOk = cursor_->extractFloat(ours);
            ASSERT_EQ(ourOk, theirOk) << "extraction " << k << " of [" << line << "]";
            if (!theirOk) break;
            ASSERT_EQ(bitsOf(ours), bitsOf(theirs)) << "extraction " << k << " of [" << line << "]";
            const auto used = static_cast<std::uint64_t>(stream.rdbuf()->pubseekoff(0, std::ios::cur, std::ios::in));
            ASSERT_EQ(source_->offset(), start + used) << "extraction " << k << " of [" << line << "]";
        }
        cursor_->skipLine();
        for (int c = 0; c != EOF && c != '\n';) c = std::fgetc(stdio_);
    }

private:
    // The forward pass where it takes the value, else the general call, as
    // the readers combine them.
    template <typename T>
    int passOrCall(T& value, bool (KelpScan::ScanPlainPass::*passRead)(T&), bool (KelpScan::ScanCursor::*read)(T&)) {
        KelpScan::ScanPlainPass pass(*cursor_, 64);
        if (!(pass.*passRead)(value)) return (cursor_->*read)(value);
        pass.commit();
        return 1;
    }

    static std::FILE* open(std::string& bytes) {
        if (bytes.empty()) return std::fopen("/dev/null", "r");
        return KelpTest::memoryStream(bytes);
    }
    // The text a fixed-size field would hold, as a number to compare.
    static std::uint64_t hashPrefix(const char* text, std::size_t length, std::size_t limit) {
        std::uint64_t hash = 1469598103934665603ull ^ (length < limit ? length : limit);
        for (std::size_t i = 0; i < length && i < limit; ++i)
            hash = (hash ^ static_cast<unsigned char>(text[i])) * 1099511628211ull;
        return hash;
    }

    std::string text_, mine_;
    std::FILE* stdio_ = nullptr;
    std::FILE* cursorFile_ = nullptr;
    KelpScan::ScanSource* source_ = nullptr;
    KelpScan::ScanCursor* cursor_ = nullptr;
};

}  // namespace KelpTest
