// How the binding calls the library. The library's calls must not overlap
// (they switch the process locale and some readers keep process-wide state),
// so every call releases the GIL, then takes one process-wide lock, and puts
// the caller's locale back when it is done. The STL progress lines are caught
// during the call and handed back for Python's logging.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace KelpPython {

struct CallOutcome {
    bool ok = false;
    // Why a call failed and what else it noticed, where the library says.
    std::optional<std::string> reason;
    std::vector<std::string> notes;
    // The progress lines the call printed, in order, without line feeds.
    std::vector<std::string> progress;
};

// Runs `call` as described above; must be entered holding the GIL. An
// exception of `call` (std::bad_alloc) passes through after the clean-up.
CallOutcome runSerialised(const std::function<bool()>& call);

}  // namespace KelpPython
