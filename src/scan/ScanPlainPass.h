// A forward pass over bytes already in the window, for records whose values
// are all plain numbers: each step takes the white space and one number in
// place, as readFloat ("%f"), readInt ("%d") or extractFloat (`>>` within a
// line) would, without a call per character. A step that meets anything else (a sign other than '-', an
// exponent without digits, "nan", a long integer, the window's edge) fails
// and the whole pass is dropped: nothing has been consumed, so the caller
// replays the record through the cursor's general calls with the same
// results. A committed pass never touched the window's end, so the
// end-of-file indicator is left as it was.
#pragma once

#include "scan/ScanCursor.h"

#include <cstdint>
#include <cstring>

namespace KelpScan {

class ScanPlainPass {
public:
    // `bytes` is what one record may take at most: the pass only starts when
    // that much is in the window (or the file ends inside it).
    ScanPlainPass(ScanCursor& cursor, std::size_t bytes)
        : source_(cursor.source()), space_(cursor.locale().space) {
        source_.ensure(bytes);
        p_ = source_.next();
        end_ = source_.limit();
        ok_ = cursor.locale().plainPoint;
    }

    bool ok() const { return ok_; }

    bool readFloat(float& value) { return skipSpace() && plainFloat(value); }

    // `stream >> value` as extractFloat takes it: blanks up to the line feed
    // (which fails the pass: the line has no value there), then a plain number.
    bool extractFloat(float& value) {
        if (!ok_) return false;
        skipBlanks();
        if (p_ == end_ || *p_ == '\n') return ok_ = false;
        return plainFloat(value);
    }

    // The rest of the line up to and including its line feed, which must lie
    // in the pass's bytes.
    bool skipLine() {
        if (!ok_) return false;
        // Mostly a blank or two and the line feed: no search needed.
        skipBlanks();
        if (p_ != end_ && *p_ == '\n') {
            ++p_;
            return true;
        }
        const void* feed = std::memchr(p_, '\n', static_cast<std::size_t>(end_ - p_));
        if (!feed) return ok_ = false;
        p_ = static_cast<const unsigned char*>(feed) + 1;
        return true;
    }

    // "%d" of "-?digits" with at most nine digits: no saturation can apply,
    // and whatever follows the digits is left unread, as scanf leaves it.
    bool readInt(std::int32_t& value) {
        if (!skipSpace()) return false;
        const unsigned char* q = p_;
        const bool negative = *q == '-';
        if (negative) ++q;
        const unsigned char* const digits = q;
        std::int64_t magnitude = 0;
        while (q != end_ && q - digits < 10 && static_cast<unsigned>(*q - '0') < 10)
            magnitude = magnitude * 10 + (*q++ - '0');
        if (q == digits || q == end_ || q - digits > 9) return ok_ = false;
        value = static_cast<std::int32_t>(negative ? -magnitude : magnitude);
        p_ = q;
        return true;
    }

    // Consumes what the pass read.
    void commit() { source_.advanceTo(p_); }

private:
    // A plain number where the pass stands, ended by white space.
    bool plainFloat(float& value) {
        const unsigned char* stop;
        float converted;
        if (!convertPlainNumber(p_, end_, converted, stop) || stop == end_ || !space_[*stop]) return ok_ = false;
        value = converted;
        p_ = stop;
        return true;
    }

    // White space up to the line feed.
    void skipBlanks() {
        while (p_ != end_ && *p_ != '\n' && space_[*p_]) ++p_;
    }

    bool skipSpace() {
        if (!ok_) return false;
        while (p_ != end_ && space_[*p_]) ++p_;
        return p_ != end_ || (ok_ = false);
    }

    ScanSource& source_;
    const bool (&space_)[256];
    const unsigned char* p_;
    const unsigned char* end_;
    bool ok_;
};

}  // namespace KelpScan
