// The VRML reader's tokens taken where they lie in the read window: the usual
// token for the token loop, and runs of plain numbers and commas for the
// point and index lists. Each leaves the reader exactly as the byte-wise
// reads would (window cursor, pushed-back byte, line count, look-ahead), and
// backs off, with nothing consumed, from anything it does not handle.
#include "vrml/VrmlKeywords.h"
#include "vrml/VrmlNodeLayout.h"
#include "vrml/VrmlReader.h"
#include "vrml/VrmlWindow.h"

#include "scan/ScanNumber.h"
#include "scan/ScanPlainInteger.h"

#include <cstring>

namespace KelpVrml {

namespace {

// A number whose text "%f" converts in one pass (no leading "0" unless a "."
// follows it, no "x"), or the lone "0" that "%o" reads as zero bits. False for
// the rest, which readNumber's conversion handles, and for a number that an
// "e" ends, which that conversion reports to the call report.
bool convertInWindow(const VrmlWindowToken& found, float& value) {
    const unsigned char* const p = found.begin;
    const std::ptrdiff_t length = found.end - p;
    if ((*found.end | 0x20) == 'e') return false;
    if (*p == '0' && length == 1) {
        value = 0.0f;
        return true;
    }
    const bool decimal = (*p != '0' || p[1] == '.') && !(length > 1 && p[1] == 'x');
    if (!decimal) return false;
    const unsigned char* stop;
    return (KelpScan::scanPlainInteger(p, found.end, value, stop) && stop == found.end) ||
           KelpScan::convertPlainNumber(p, found.end, value, stop);
}

// The shape nearly every index takes, a blank or none and then "-?digits"
// ended by a byte that cannot continue a number, or a comma right at `p`:
// found and converted in one pass. False for anything else, which
// scanWindowToken and convertInWindow then take.
bool plainIndexAt(const unsigned char* p, const unsigned char* end, VrmlWindowToken& found, float& value) {
    if (p != end && *p == ',') {
        found = {WindowKind::Char, p, p + 1, p + 1, 0};
        return true;
    }
    if (p != end && *p == ' ') ++p;
    if (p == end || *p == '0') return false;
    const unsigned char* stop;
    if (!KelpScan::scanPlainInteger(p, end, value, stop) || stop == end || isNumberChar(*stop) || *stop == 'x' ||
        (*stop | 0x20) == 'e')
        return false;
    found = {WindowKind::Number, p, stop, stop, 0};
    return true;
}

}  // namespace

bool VrmlReader::windowStart(const unsigned char*& p, int& counted) const {
    if (!source_ || endOfInput_ || (hasPushBack_ && pushBack_ == -1)) return false;
    // A pushed-back byte is read again from the window; its line feed has
    // been counted already.
    p = source_->next() - (hasPushBack_ ? 1 : 0);
    counted = hasPushBack_ && pushBack_ == '\n' ? -1 : 0;
    return true;
}

void VrmlReader::commitWindowToken(const VrmlWindowToken& found, int lines, VrmlToken& token) {
    if (found.kind == WindowKind::Char) {
        source_->advanceTo(found.end);
        hasPushBack_ = false;
        token.text[0] = '\0';
    } else {
        const std::size_t length = static_cast<std::size_t>(found.end - found.begin);
        // Most tokens are short: one fixed-size copy where the window has the bytes.
        constexpr std::size_t kShortToken = 16;
        if (length < kShortToken && static_cast<std::size_t>(source_->limit() - found.begin) >= kShortToken)
            std::memcpy(token.text, found.begin, kShortToken);
        else
            std::memcpy(token.text, found.begin, length);
        token.text[length] = '\0';
        hasPushBack_ = true;
        pushBack_ = static_cast<signed char>(*found.end);
        lines += *found.end == '\n';
        source_->advanceTo(found.end + 1);
    }
    line_ += lines;
}

bool VrmlReader::readTokenInWindow(VrmlToken& token) {
    const unsigned char* p;
    int lines;
    VrmlWindowToken found;
    if (!windowStart(p, lines) || !scanWindowToken(p, source_->limit(), found)) return false;
    commitWindowToken(found, lines + found.lines, token);
    switch (found.kind) {
    case WindowKind::Char: token.code = *found.begin; break;
    case WindowKind::Word:
        token.code = lookupVrmlKeyword(token.text, static_cast<std::size_t>(found.end - found.begin));
        break;
    case WindowKind::Number:
        token.code = convertInWindow(found, token.value)
                         ? kTokenNumber
                         : convertNumber(token, static_cast<int>(found.end - found.begin));
        break;
    }
    return true;
}

// Each number or comma found here is the look-ahead that the index list's
// loop would read next; the one before it is consumed then, and a number is
// kept unless "]" follows it. The last one found stays the look-ahead, still
// to be decided by that loop.
void VrmlReader::takeIndexRunInWindow(std::vector<std::int32_t>& ints) {
    const unsigned char* p;
    int lines;
    if (!windowStart(p, lines)) return;
    const unsigned char* const end = source_->limit();
    VrmlToken& ahead = *lookAhead_;
    bool pending = ahead.code == kTokenNumber;
    float pendingValue = ahead.value;
    VrmlWindowToken found;
    VrmlWindowToken last;
    bool moved = false;
    for (;;) {
        float value = 0.0f;
        if (!plainIndexAt(p, end, found, value)) {
            if (!scanWindowToken(p, end, found)) break;
            if (found.kind == WindowKind::Number ? !convertInWindow(found, value)
                                                 : found.kind != WindowKind::Char || *found.begin != ',')
                break;
        }
        const bool number = found.kind == WindowKind::Number;
        if (pending) ints.push_back(truncateToInt(pendingValue));
        pending = number;
        pendingValue = value;
        lines += found.lines;
        p = found.next;
        last = found;
        moved = true;
    }
    if (!moved) return;
    commitWindowToken(last, lines, ahead);
    ahead.code = pending ? static_cast<int>(kTokenNumber) : ',';
    ahead.value = pending ? pendingValue : 0.0f;
}

// Whole items of a point list, each three numbers and at most one comma,
// from the look-ahead (the item's first number) on. The token after the
// last whole item becomes the look-ahead; an item the window does not hold
// whole, or that is not plain, is left to the token loop.
void VrmlReader::takeVectorRunInWindow(std::vector<float>& floats) {
    const unsigned char* p;
    int lines;
    if (!windowStart(p, lines)) return;
    const unsigned char* const end = source_->limit();
    VrmlToken& ahead = *lookAhead_;
    float first = ahead.value;
    VrmlWindowToken found[4];
    float values[2];
    VrmlWindowToken last;
    float lastValue = 0.0f;
    bool moved = false;
    for (;;) {
        int itemLines = 0;
        const unsigned char* q = p;
        bool whole = true;
        for (int i = 0; i < 2 && whole; ++i) {
            whole = scanWindowToken(q, end, found[i]) && found[i].kind == WindowKind::Number &&
                    convertInWindow(found[i], values[i]);
            if (whole) {
                itemLines += found[i].lines;
                q = found[i].next;
            }
        }
        // The token after the item's numbers, and after its comma.
        int after = 2;
        whole = whole && scanWindowToken(q, end, found[2]) && found[2].kind != WindowKind::Word;
        if (whole && found[2].kind == WindowKind::Char && *found[2].begin == ',') {
            itemLines += found[2].lines;
            after = 3;
            whole = scanWindowToken(found[2].next, end, found[3]) && found[3].kind != WindowKind::Word;
        }
        float nextValue = 0.0f;
        const bool nextIsNumber = whole && found[after].kind == WindowKind::Number;
        if (nextIsNumber) whole = convertInWindow(found[after], nextValue);
        if (!whole) break;
        floats.push_back(first);
        floats.push_back(values[0]);
        floats.push_back(values[1]);
        lines += itemLines + found[after].lines;
        p = found[after].next;
        last = found[after];
        lastValue = nextValue;
        moved = true;
        if (!nextIsNumber) break;
        first = nextValue;
    }
    if (!moved) return;
    commitWindowToken(last, lines, ahead);
    ahead.code = last.kind == WindowKind::Number ? static_cast<int>(kTokenNumber) : *last.begin;
    ahead.value = lastValue;
}

}  // namespace KelpVrml
