// A forward pass over bytes already in the window, for records whose values
// are all plain numbers: each step takes the white space and one number in
// place, as readFloat ("%f") or readInt ("%d") would, without a call per
// character. A step that meets anything else (a sign other than '-', an
// exponent without digits, "nan", a long integer, the window's edge) fails
// and the whole pass is dropped: nothing has been consumed, so the caller
// replays the record through the cursor's general calls with the same
// results. A committed pass never touched the window's end, so the
// end-of-file indicator is left as it was.
#pragma once

#include "scan/ScanCursor.h"

#include <cstdint>

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

    bool readFloat(float& value) {
        if (!skipSpace()) return false;
        const unsigned char* stop;
        float converted;
        if (!convertPlainNumber(p_, end_, converted, stop) || stop == end_ || !space_[*stop]) return ok_ = false;
        value = converted;
        p_ = stop;
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
