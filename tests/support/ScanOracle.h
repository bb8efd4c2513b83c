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
#include "support/Bits.h"
#include "support/CReference.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
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

class ScanOracle {
public:
    // `chunk` is the window's refill size; the locale in force now is the one
    // both sides scan under.
    ScanOracle(const std::string& text, std::size_t chunk) : text_(text), mine_(text) {
        stdioFile_.reset(stdio_ = open(text_));
        KelpScan::ScanSource::setChunkForTesting(chunk);
        cursorFile_.reset(open(mine_));
        source_ = std::make_unique<KelpScan::ScanSource>(cursorFile_.get());
        KelpScan::ScanSource::setChunkForTesting(0);
        cursor_ = std::make_unique<KelpScan::ScanCursor>(*source_, KelpScan::ScanLocale::current());
    }

    // One call on both sides; a gtest failure describes the first difference.
    void step(ScanOp op) {
        SCOPED_TRACE(::testing::Message() << scanOpName(op) << " at byte " << std::ftell(stdio_));
        std::uint64_t theirs = 0, ours = 0;
        int theirResult = 0, ourResult = 0;
        // A conversion into a value both sides start from `seed`.
        const auto number = [&](auto seed, const char* format, auto read) {
            auto a = seed, b = seed;
            theirResult = std::fscanf(stdio_, format, &a) == 1;
            ourResult = read(b);
            theirs = bitsOf(a), ours = bitsOf(b);
        };
        // A word or line into a buffer of `limit` characters.
        const auto text = [&](const char* buffer, const char* word, std::size_t length, std::size_t limit) {
            if (theirResult) theirs = hashPrefix(buffer, std::strlen(buffer), limit);
            if (ourResult) ours = hashPrefix(word, length, limit);
        };
        char buffer[251];
        std::string word;
        const char* view = nullptr;
        std::size_t length = 0;
        using KelpScan::ScanCursor;
        using KelpScan::ScanPlainPass;
        switch (op) {
            case ScanOp::Word: {
                std::string unbounded(text_.size() + 1, '\x7f');
                theirResult = std::fscanf(stdio_, "%s", &unbounded[0]) == 1;
                ourResult = cursor_->readWord(word, 64);
                text(unbounded.c_str(), word.data(), word.size(), 64);
                break;
            }
            case ScanOp::Word250:
                theirResult = std::fscanf(stdio_, "%250s", buffer) == 1;
                ourResult = cursor_->readWordWidth(word, 250);
                text(buffer, word.data(), word.size(), 250);
                break;
            case ScanOp::Word250InPlace:
                theirResult = std::fscanf(stdio_, "%250s", buffer) == 1;
                ourResult = cursor_->readWordWidth(view, length, 250);
                text(buffer, view, length, 250);
                break;
            case ScanOp::Line:
                theirResult = std::fgets(buffer, 17, stdio_) != nullptr;
                ourResult = cursor_->readLine(17, view, length);
                text(buffer, view, length, 64);
                break;
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
            case ScanOp::Float: number(-7.0f, "%f", [&](float& v) { return cursor_->readFloat(v); }); break;
            case ScanOp::Double: number(-7.0, "%lf", [&](double& v) { return cursor_->readDouble(v); }); break;
            case ScanOp::Int: number(-7, "%d", [&](std::int32_t& v) { return cursor_->readInt(v); }); break;
            case ScanOp::Unsigned: number(7u, "%u", [&](std::uint32_t& v) { return cursor_->readUnsigned(v); }); break;
            case ScanOp::PlainFloat:
                number(-7.0f, "%f", [&](float& v) { return passOrCall(v, &ScanPlainPass::readFloat, &ScanCursor::readFloat); });
                break;
            case ScanOp::PlainInt:
                number(-7, "%d", [&](std::int32_t& v) { return passOrCall(v, &ScanPlainPass::readInt, &ScanCursor::readInt); });
                break;
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
        if (!(pass.*passRead)(value)) return ((*cursor_).*read)(value);
        pass.commit();
        return 1;
    }

    static std::FILE* open(std::string& bytes) {
        if (bytes.empty()) return std::fopen("/dev/null", "r");
        return KelpTest::memoryStream(bytes);
    }
    // The text a fixed-size field would hold (up to a zero byte), as a number to compare.
    static std::uint64_t hashPrefix(const char* text, std::size_t length, std::size_t limit) {
        length = static_cast<std::size_t>(std::find(text, text + length, '\0') - text);
        std::uint64_t hash = 1469598103934665603ull ^ (length < limit ? length : limit);
        for (std::size_t i = 0; i < length && i < limit; ++i)
            hash = (hash ^ static_cast<unsigned char>(text[i])) * 1099511628211ull;
        return hash;
    }

    std::string text_, mine_;
    using File = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;
    File stdioFile_{nullptr, std::fclose}, cursorFile_{nullptr, std::fclose};
    std::FILE* stdio_ = nullptr;  // stdioFile_'s stream, which the C library side reads
    std::unique_ptr<KelpScan::ScanSource> source_;
    std::unique_ptr<KelpScan::ScanCursor> cursor_;
};

}  // namespace KelpTest
