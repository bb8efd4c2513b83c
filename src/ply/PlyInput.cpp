#include "ply/PlyInput.h"

#include "platform/FileOffset.h"

#include <cctype>
#include <charconv>
#include <climits>
#include <clocale>
#include <cstdlib>
#include <limits>

namespace KelpPly {

namespace {
bool isScanSpace(int c) { return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r'; }
bool isDigit(int c) { return c >= '0' && c <= '9'; }
bool isHexDigit(int c) { return std::isxdigit(static_cast<unsigned char>(c)) != 0; }
int lower(int c) { return (c >= 'A' && c <= 'Z') ? c - 'A' + 'a' : c; }
}  // namespace

bool PlyInput::open(const char* path) {
    close();
    file_ = KelpIo::openFile(path, "rb");
    if (!file_) return false;
    const KelpPlatform::FileStatus status = KelpPlatform::statusOf(file_.get());
    if (status.regular) {
        sizeKnown_ = true;
        fileSize_ = static_cast<std::uint64_t>(status.size);
    }
    // Numbers are read under whatever locale is in force, as fscanf would.
    const char* point = std::localeconv()->decimal_point;
    std::size_t length = point ? std::strlen(point) : 0;
    if (length == 0 || length >= sizeof decimalPoint_) point = ".", length = 1;
    std::memcpy(decimalPoint_, point, length + 1);
    return true;
}

void PlyInput::close() {
    file_.reset();
    buffer_.clear();
    buffer_.shrink_to_fit();
    pos_ = end_ = 0;
    ended_ = false;
    sizeKnown_ = false;
    fileSize_ = 0;
    bufferStart_ = 0;
}

bool PlyInput::fill(std::size_t count) {
    if (!file_) return false;
    // Move what is left to the front, then top the buffer up.
    if (pos_ > 0) {
        std::memmove(buffer_.data(), buffer_.data() + pos_, end_ - pos_);
        bufferStart_ += pos_;
        end_ -= pos_;
        pos_ = 0;
    }
    const std::size_t wanted = count > kBufferSize ? count : kBufferSize;
    if (buffer_.size() < wanted) buffer_.resize(wanted);
    while (end_ < count && !ended_) {
        const std::size_t got = std::fread(buffer_.data() + end_, 1, buffer_.size() - end_, file_.get());
        end_ += got;
        if (got == 0) ended_ = true;
    }
    return end_ >= count;
}

std::size_t PlyInput::read(void* target, std::size_t count) {
    auto* out = static_cast<unsigned char*>(target);
    std::size_t done = 0;
    while (done < count) {
        if (pos_ == end_ && !fill(1)) break;
        std::size_t part = end_ - pos_;
        if (part > count - done) part = count - done;
        std::memcpy(out + done, buffer_.data() + pos_, part);
        pos_ += part;
        done += part;
    }
    return done;
}

std::uint64_t PlyInput::skip(std::uint64_t count) {
    std::uint64_t done = 0;
    while (done < count) {
        if (pos_ == end_ && !fill(1)) break;
        std::uint64_t part = end_ - pos_;
        if (part > count - done) part = count - done;
        pos_ += static_cast<std::size_t>(part);
        done += part;
    }
    return done;
}

bool PlyInput::readLine(std::string& line, std::size_t limit) {
    line.clear();
    while (line.size() < limit) {
        const int c = get();
        if (c < 0) break;
        line.push_back(static_cast<char>(c));
        if (c == '\n') break;
    }
    return !line.empty();
}

std::uint64_t PlyInput::bytesLeft() const {
    if (!sizeKnown_) return std::numeric_limits<std::uint64_t>::max();
    const std::uint64_t offset = bufferStart_ + pos_;
    return offset >= fileSize_ ? 0 : fileSize_ - offset;
}

bool PlyInput::skipSpace() {
    for (;;) {
        const int c = peek();
        if (c < 0) return false;
        if (!isScanSpace(c)) return true;
        ++pos_;
    }
}

namespace {
// Numbers are parsed in place when this much text is buffered; a number that
// runs to the end of it is collected character by character instead.
constexpr std::size_t kLookahead = 64;
constexpr std::ptrdiff_t kPlainDigits = 18;  // never overflows a 64-bit magnitude
}  // namespace

int PlyInput::scanPlainInteger(std::uint64_t& magnitude, bool& negative) {
    const bool atEnd = !ensure(kLookahead);
    const unsigned char* const start = data();
    const unsigned char* const end = start + available();
    const unsigned char* q = start;
    negative = false;
    if (q < end && (*q == '+' || *q == '-')) negative = *q++ == '-';
    const unsigned char* const digits = q;
    magnitude = 0;
    while (q < end && isDigit(*q) && q - digits < kPlainDigits) magnitude = magnitude * 10 + unsigned(*q++ - '0');
    if (q == digits) return (q < end || atEnd) ? 0 : -1;
    if (q < end ? isDigit(*q) : !atEnd) return -1;
    advance(static_cast<std::size_t>(q - start));
    return 1;
}

bool PlyInput::scanInteger(unsigned long long positiveLimit, unsigned long long negativeLimit, bool& negative,
                           unsigned long long& magnitude, bool& overflow) {
    if (!skipSpace()) return false;
    overflow = false;
    std::uint64_t plain;
    const int fast = scanPlainInteger(plain, negative);
    if (fast >= 0) {
        magnitude = plain;
        return fast == 1;
    }
    negative = false;
    int c = peek();
    if (c == '+' || c == '-') {
        negative = c == '-';
        ++pos_;
        c = peek();
    }
    if (!isDigit(c)) return false;
    const unsigned long long limit = negative ? negativeLimit : positiveLimit;
    magnitude = 0;
    while (isDigit(c = peek())) {
        ++pos_;
        const unsigned digit = static_cast<unsigned>(c - '0');
        if (!overflow) {
            if (magnitude > (limit - digit) / 10)
                overflow = true;
            else
                magnitude = magnitude * 10 + digit;
        }
    }
    return true;
}

bool PlyInput::scanInt(int& value) {
    // strtol: the magnitude saturates at the long range.
    bool negative, overflow;
    unsigned long long magnitude;
    if (!scanInteger(LONG_MAX, static_cast<unsigned long long>(LONG_MAX) + 1ull, negative, magnitude, overflow))
        return false;
    const unsigned long long asLong = overflow   ? (negative ? static_cast<unsigned long long>(LONG_MIN) : LONG_MAX)
                                      : negative ? 0ull - magnitude
                                                 : magnitude;
    value = static_cast<int>(static_cast<std::uint32_t>(asLong));
    return true;
}

bool PlyInput::scanUnsigned(unsigned& value) {
    // strtoul: overflow gives ULONG_MAX whatever the sign; otherwise a minus
    // negates in unsigned arithmetic.
    bool negative, overflow;
    unsigned long long magnitude;
    if (!scanInteger(ULONG_MAX, ULONG_MAX, negative, magnitude, overflow)) return false;
    const unsigned long long result = overflow ? ULONG_MAX : negative ? 0ull - magnitude : magnitude;
    value = static_cast<unsigned>(result);
    return true;
}

bool PlyInput::collectFloat(std::string& text) {
    text.clear();
    if (!skipSpace()) return false;
    auto take = [&] {
        text.push_back(static_cast<char>(buffer_[pos_]));
        ++pos_;
    };
    int c = peek();
    if (c == '+' || c == '-') {
        take();
        c = peek();
    }
    auto matchWord = [&](const char* word) {
        for (const char* w = word; *w; ++w) {
            if (lower(peek()) != *w) return false;
            take();
        }
        return true;
    };
    if (lower(c) == 'i') {
        if (!matchWord("inf")) return false;
        if (lower(peek()) == 'i' && !matchWord("inity")) return false;
        return true;
    }
    if (lower(c) == 'n') return matchWord("nan");

    std::size_t digits = 0;
    if (c == '0') {
        take();
        ++digits;
        if (lower(peek()) == 'x') {
            take();
            std::size_t hexDigits = 0;
            while (isHexDigit(peek())) take(), ++hexDigits;
            if (peek() == decimalPoint_[0] && decimalPoint_[1] == 0) {
                take();
                while (isHexDigit(peek())) take(), ++hexDigits;
            }
            if (hexDigits == 0) return false;
            if (lower(peek()) == 'p') {
                take();
                if (peek() == '+' || peek() == '-') take();
                while (isDigit(peek())) take();
            }
            return true;
        }
    }
    while (isDigit(peek())) take(), ++digits;
    // The decimal point may be several bytes long in some locales.
    const std::size_t pointLength = std::strlen(decimalPoint_);
    if (ensure(pointLength) && std::memcmp(data(), decimalPoint_, pointLength) == 0) {
        for (std::size_t i = 0; i < pointLength; ++i) take();
        while (isDigit(peek())) take(), ++digits;
    }
    if (digits == 0) return false;
    if (lower(peek()) == 'e') {
        take();
        if (peek() == '+' || peek() == '-') take();
        while (isDigit(peek())) take();
    }
    return true;
}

namespace {
template <typename Real>
Real convertCollected(const std::string& text, bool dotPoint) {
    if (dotPoint) {
        const char* first = text.data();
        const char* last = first + text.size();
        if (*first == '+') ++first;
        const bool hex = text.find_first_of("xX") != std::string::npos;
        if (!hex) {
            Real value{};
            const auto result = std::from_chars(first, last, value);
            if (result.ec == std::errc()) return value;
        }
    }
    // Out of range, hexadecimal or another decimal point: the C conversion
    // itself, with its saturation and locale.
    if constexpr (sizeof(Real) == sizeof(float))
        return std::strtof(text.c_str(), nullptr);
    else
        return std::strtod(text.c_str(), nullptr);
}
}  // namespace

template <typename Real>
int PlyInput::scanPlainReal(Real& value) {
    if (decimalPoint_[0] != '.' || decimalPoint_[1] != 0) return -1;
    const bool atEnd = !ensure(kLookahead);
    const unsigned char* const start = data();
    const unsigned char* const end = start + available();
    const unsigned char* q = start;
    if (q < end && (*q == '+' || *q == '-')) ++q;
    const unsigned char* const body = q;
    // Hexadecimal, infinity and NaN take the collecting path.
    if (q < end && (lower(*q) == 'i' || lower(*q) == 'n')) return -1;
    if (q + 1 < end && *q == '0' && lower(q[1]) == 'x') return -1;
    std::size_t digits = 0;
    while (q < end && isDigit(*q)) ++q, ++digits;
    if (q < end && *q == '.') {
        ++q;
        while (q < end && isDigit(*q)) ++q, ++digits;
    }
    if (digits == 0) return (q < end || atEnd) ? 0 : -1;
    // scanf takes an exponent marker and its sign even without digits.
    if (q < end && lower(*q) == 'e') {
        ++q;
        if (q < end && (*q == '+' || *q == '-')) ++q;
        while (q < end && isDigit(*q)) ++q;
    }
    if (q == end && !atEnd) return -1;
    const char* first = reinterpret_cast<const char*>(*start == '+' ? body : start);
    const auto parsed = std::from_chars(first, reinterpret_cast<const char*>(q), value);
    if (parsed.ec != std::errc()) return -1;  // out of range: the C conversion decides
    advance(static_cast<std::size_t>(q - start));
    return 1;
}

bool PlyInput::scanFloat(float& value) {
    if (!skipSpace()) return false;
    const int fast = scanPlainReal(value);
    if (fast >= 0) return fast == 1;
    if (!collectFloat(scratch_)) return false;
    value = convertCollected<float>(scratch_, decimalPoint_[0] == '.' && decimalPoint_[1] == 0);
    return true;
}

bool PlyInput::scanDouble(double& value) {
    if (!skipSpace()) return false;
    const int fast = scanPlainReal(value);
    if (fast >= 0) return fast == 1;
    if (!collectFloat(scratch_)) return false;
    value = convertCollected<double>(scratch_, decimalPoint_[0] == '.' && decimalPoint_[1] == 0);
    return true;
}

}  // namespace KelpPly
