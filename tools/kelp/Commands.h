// The tool's subcommands. Each returns the process exit status:
// 0 success, 1 a reader or writer returned false, 2 a usage error.
#pragma once

#include <string>
#include <vector>

namespace KelpTool {

enum ExitStatus { kSuccess = 0, kFileFailed = 1, kUsageError = 2 };

struct InfoOptions {
    std::vector<std::string> files;
    std::string format;  // empty: by extension
    bool json = false;
    bool explain = false;  // the report's reason and notes under the table
    bool quiet = false;
};

struct ConvertOptions {
    std::string input, output;
    std::string format;  // of the input; empty: by extension
    bool quiet = false;
    bool verify = true;  // read the output back and compare its counts
};

struct CheckOptions {
    std::vector<std::string> files;
    std::string format;  // empty: by extension
    bool quiet = false;  // no summary line
};

int runInfo(const InfoOptions& options);
int runConvert(const ConvertOptions& options);
// Exit status 0 when every file was read without failure and without notes, else 1.
int runCheck(const CheckOptions& options);

}  // namespace KelpTool
