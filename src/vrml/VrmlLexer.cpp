// The token layer of the VRML reader: bytes with one character of push-back,
// line counting, tokens with one token of look-ahead, and the error text.
#include "vrml/VrmlKeywords.h"
#include "vrml/VrmlReader.h"
#include "vrml/VrmlWindow.h"
#include "vrml/VrmlReport.h"

#include "platform/FileOffset.h"
#include "scan/ScanLocale.h"
#include "scan/ScanNumber.h"

#include <charconv>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <system_error>

namespace KelpVrml {

namespace {

constexpr const char* kNoError = "no vrml error";


// A number or identifier that does not fit the token buffer ends the process
// without a message, as a failed range check of the buffer index does.
[[noreturn]] void tokenBufferOverrun() { std::abort(); }

float floatFromBits(std::uint32_t bits) {
    float value;
    static_assert(sizeof value == sizeof bits);
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

// "%o": octal digits from the start; the integer's bits become the float.
bool convertOctal(const char* text, float& value) {
    std::uint32_t bits = 0;
    int length = 0;
    while (text[length] >= '0' && text[length] <= '7') {
        if (length == 10) {
            unsigned int scanned = 0;
            if (std::sscanf(text, "%o", &scanned) != 1) return false;
            value = floatFromBits(scanned);
            return true;
        }
        bits = bits * 8 + static_cast<unsigned>(text[length] - '0');
        ++length;
    }
    value = floatFromBits(bits);
    return true;
}

// "%x": rare enough for the C library itself.
bool convertHex(const char* text, float& value) {
    unsigned int scanned = 0;
    if (std::sscanf(text, "%x", &scanned) != 1) return false;
    value = floatFromBits(scanned);
    return true;
}

std::string formatText(const char* format, ...) {
    va_list args;
    va_start(args, format);
    va_list again;
    va_copy(again, args);
    const int length = std::vsnprintf(nullptr, 0, format, args);
    va_end(args);
    std::string text(length > 0 ? static_cast<std::size_t>(length) : 0u, '\0');
    std::vsnprintf(text.data(), text.size() + 1, format, again);
    va_end(again);
    return text;
}

}  // namespace

VrmlReader::VrmlReader() : errorText_(kNoError) {}

VrmlReader::~VrmlReader() { close(); }

void VrmlReader::close() {
    source_.reset();
    file_.reset();
}

bool VrmlReader::open(const char* path) {
    close();
    releaseScene();
    line_ = 1;
    hasPushBack_ = false;
    errorText_ = kNoError;
    *current_ = VrmlToken{};
    *lookAhead_ = VrmlToken{};
    path_ = path;
    fileSize_ = 0;
    file_ = KelpIo::openFile(path, "r");
    if (!file_) {
        errorBuffer_ = formatText("cannot open vrml file %s", path);
        errorText_ = errorBuffer_.c_str();
        return false;
    }
    const KelpPlatform::FileStatus status = KelpPlatform::statusOf(file_.get());
    if (status.regular && status.size > 0) fileSize_ = static_cast<std::uint64_t>(status.size);
    source_ = std::make_unique<KelpScan::ScanSource>(file_.get());
    int code;
    do code = readRawToken(*lookAhead_);
    while (code == kTokenComment);
    if (code < 0) {
        errorBuffer_ = formatText("vrml file %s has invalid content", path);
        errorText_ = errorBuffer_.c_str();
        return false;
    }
    return true;
}

int VrmlReader::nextToken() {
    std::swap(current_, lookAhead_);
    int code;
    do code = readRawToken(*lookAhead_);
    while (code == kTokenComment);
    return current_->code;
}

void VrmlReader::setError(const char* message) {
    errorBuffer_ = message;
    errorText_ = errorBuffer_.c_str();
}

void VrmlReader::setErrorWithLine(const char* message) {
    errorBuffer_ = formatText("file \"%s\" line %d: %s", path_.c_str(), line_, message);
    errorText_ = errorBuffer_.c_str();
}

bool VrmlReader::expectOpenBrace() {
    const int code = nextToken();
    if (code < 0) return false;
    if (code == '{') return true;
    errorBuffer_ = formatText("file \"%s\" line %d: '%c'", path_.c_str(), line_, '{');
    errorText_ = errorBuffer_.c_str();
    return false;
}

int VrmlReader::readRawToken(VrmlToken& token) {
    token.text[0] = '\0';
    token.value = 0.0f;
    token.code = kTokenEnd;
    if (endOfInput_) return kTokenEnd;
    if (readTokenInWindow(token)) return token.code;

    int c;
    do c = readChar();
    while (isWhitespace(c));

    if (c == -1) {
        endOfInput_ = true;
        return kTokenEnd;
    }
    if (c == 0) return kTokenEnd;
    if (c == '#') {
        for (;;) {
            c = readChar();
            if (c == '\n' || c == 0) return token.code = kTokenComment;
            if (c == -1) {
                endOfInput_ = true;
                return kTokenEnd;
            }
        }
    }
    if (c == '"') return token.code = readString(token);
    if (c == '-' || c == '.' || isDigit(c)) return token.code = readNumber(token, c);
    if (isLetter(c) || c == '_') return token.code = readIdentifier(token, c);
    return token.code = c;
}

int VrmlReader::readNumber(VrmlToken& token, int first) {
    char* const text = token.text;
    int length = 0;
    text[length++] = static_cast<char>(first);
    for (;;) {
        const int c = readChar();
        if (!(isNumberChar(c) || (c == 'x' && length == 1))) {
            pushBack(c);
            break;
        }
        if (length == kTokenBufferSize - 1) tokenBufferOverrun();
        text[length++] = static_cast<char>(c);
    }
    text[length] = '\0';
    return convertNumber(token, length);
}

// The format follows the characters read: "%o" after a leading "0", "%x"
// after an "x" in second place, and "%f" again after any "." that comes later.
int VrmlReader::convertNumber(VrmlToken& token, int length) {
    const char* const text = token.text;
    // Both callers leave the byte after the token pushed back.
    if (hasPushBack_ && (pushBack_ | 0x20) == 'e') noteExponent(line_, text);
    const bool sawX = length > 1 && text[1] == 'x';
    bool dot = false;
    for (int i = sawX ? 2 : 0; i < length; ++i) dot |= text[i] == '.';
    enum class Format { Decimal, Octal, Hex } format = Format::Decimal;
    if (!dot) format = sawX ? Format::Hex : text[0] == '0' ? Format::Octal : Format::Decimal;

    bool converted;
    switch (format) {
    // A lone "0" reads as 0 either way.
    case Format::Octal:
    case Format::Hex:
        converted = format == Format::Octal ? convertOctal(text, token.value) : convertHex(text, token.value);
        if (converted && length > 1) noteIfLeadingZero(line_, text, token.value);
        break;
    default: {
        // "%f": a plain number (whatever follows it ignored) in one pass; the
        // rest, such as a decimal text with an 'x' in it ("0x.8", a
        // hexadecimal float), through the general scan.
        const auto* const begin = reinterpret_cast<const unsigned char*>(text);
        const unsigned char* stop;
        converted = (!sawX && KelpScan::convertPlainNumber(begin, begin + length, token.value, stop)) ||
                    KelpScan::scanFloatText(text, text + length, KelpScan::ScanLocale::current(), token.value);
        break;
    }
    }
    if (!converted) {
        setError("Number format error");
        return kTokenBadNumber;
    }
    return kTokenNumber;
}

int VrmlReader::readIdentifier(VrmlToken& token, int first) {
    char* const text = token.text;
    int length = 0;
    text[length++] = static_cast<char>(first);
    for (;;) {
        const int c = readChar();
        if (!isWordChar(c)) {
            pushBack(c);
            break;
        }
        if (length == kTokenBufferSize - 1) tokenBufferOverrun();
        text[length++] = static_cast<char>(c);
    }
    text[length] = '\0';
    return lookupVrmlKeyword(text, static_cast<std::size_t>(length));
}

// A string takes at most 511 positions of the token buffer; a backslash uses
// one position without storing anything (the text is kept compacted) and
// the character after it is stored as it stands. The closing quote may be the
// 512th character read; anything else there is left for the next tokens.
int VrmlReader::readString(VrmlToken& token) {
    char* const text = token.text;
    int stored = 0;
    int positions = 0;
    bool escaped = false;
    for (;;) {
        const int c = readChar();
        if (c == -1) {
            pushBack(c);
            break;
        }
        if (c == '"' && !escaped) break;
        if (positions == kTokenBufferSize - 1) {
            pushBack(c);
            break;
        }
        ++positions;
        if (escaped) {
            text[stored++] = static_cast<char>(c);
            escaped = false;
        } else if (c == '\\') {
            escaped = true;
        } else {
            text[stored++] = static_cast<char>(c);
        }
    }
    text[stored] = '\0';
    return kTokenString;
}

}  // namespace KelpVrml
