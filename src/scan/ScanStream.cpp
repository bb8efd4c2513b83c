// Formatted stream input on the rest of a line: a word (`stream >> text`,
// for material libraries) and a float (`stream >> value`, for those and for
// the ASC reader). A float is white space, an optional sign, digits with at
// most one decimal point, an exponent only after a digit. The text must convert
// whole: "1e" and "1e+" fail after being consumed.
#include "scan/ScanCursor.h"

#include <cmath>

namespace KelpScan {

namespace {
bool isDigit(int c) { return c >= '0' && c <= '9'; }
}  // namespace

bool ScanCursor::extractFloat(float& value) {
    int c;
    do c = in_.get();
    while (c >= 0 && c != '\n' && locale_.space[c]);
    in_.unget(c);
    if (c < 0 || c == '\n') return false;
    if (readPlainReal(value) == 1) return true;

    float_.reset();
    c = in_.get();
    if (c == '+' || c == '-') {
        float_.sign(c == '-');
        c = in_.get();
    }
    for (; isDigit(c); c = in_.get()) float_.mantissaDigit(c);
    if (c == '.') {
        float_.point();
        for (c = in_.get(); isDigit(c); c = in_.get()) float_.mantissaDigit(c);
    }
    bool exponentOk = true;
    if (float_.hasMantissaDigit() && (c == 'e' || c == 'E')) {
        c = in_.get();
        if (c == '+' || c == '-') {
            float_.exponentSign(c == '-');
            c = in_.get();
        }
        for (; isDigit(c); c = in_.get()) float_.exponentDigit(c);
        exponentOk = float_.hasExponentDigit();
    }
    in_.unget(c);
    float converted;
    if (!exponentOk || !float_.toFloat(converted) || std::isinf(converted)) return false;
    value = converted;
    return true;
}

bool ScanCursor::extractWord(std::string& word, std::size_t keep) {
    int c;
    do c = in_.get();
    while (c >= 0 && c != '\n' && locale_.space[c]);
    if (c < 0 || c == '\n') {
        in_.unget(c);
        return false;
    }
    word.clear();
    for (; c >= 0 && !locale_.space[c]; c = in_.get())
        if (word.size() < keep) word.push_back(static_cast<char>(c));
    in_.unget(c);
    return true;
}

}  // namespace KelpScan
