// Recording the report of a call (include/KelpReport.h). Each of the ten
// functions opens a Call on entry; the readers record a reason where they
// decide to fail and a note where a kept behaviour changes the result. Both
// are made at decision points, never per item: a note that fires again only
// counts, and all text is formatted when the report is asked for.
#pragma once

#include "report/ReportCodes.h"

#include <cstdint>
#include <cstdio>
#include <string_view>

namespace KelpRecord {

enum class Locale { Switched, Untouched };

// The report of one call: begun here, ended by the destructor, which also
// sees an exception leaving the call. Functions that switch the locale get
// a note when they leave it at "Chinese-simplified".
class Call {
public:
    Call(const char* function, const char* path, Locale locale);
    ~Call();
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;

private:
    int exceptionsOnEntry_;
    bool switchesLocale_;
};

// The reason of a failure; the first one recorded in a call stands. Returns
// false, so that a failing path can `return KelpRecord::fail(...)`.
bool fail(Code code, std::string_view text = {}, std::uint64_t a = 0, std::uint64_t b = 0, std::uint64_t c = 0,
          std::uint64_t d = 0);
// fail() with the text of errno, for a file that could not be opened.
bool failOpen(Code code);
bool hasReason();

// A kept behaviour that fired. A code already noted in this call only counts.
void note(Code code, std::string_view text = {}, std::uint64_t a = 0, std::uint64_t b = 0, std::uint64_t c = 0,
          std::uint64_t d = 0);
// note() with the text of errno.
void noteOpen(Code code);

// A note on a text file at byte `offset` of `file` (its line is counted on
// the first firing only; a file that cannot be read again is placed by its
// byte). Fires `times` times at once.
void noteAt(Code code, std::FILE* file, std::uint64_t offset, std::string_view text = {}, unsigned times = 1);
// Whether `code` has fired in this call.
bool noted(Code code);

}  // namespace KelpRecord
