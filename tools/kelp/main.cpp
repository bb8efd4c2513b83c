// kelp: inspects and converts 3D geometry files with KelpFileIO. It uses only
// the library's public API, as any host would.
#include "Commands.h"
#include "FormatTable.h"

#include <CLI/CLI.hpp>

int main(int argc, char** argv) {
    CLI::App app{"Inspect and convert 3D geometry files with KelpFileIO"};
    app.require_subcommand(1);

    KelpTool::InfoOptions info;
    CLI::App* infoCommand = app.add_subcommand("info", "Read files and report what each reader made of them");
    infoCommand->add_option("files", info.files, "Files to read")->required();
    infoCommand->add_option("--format", info.format, "Reader to use instead of the extension's (" + KelpTool::formatNames() + ")");
    infoCommand->add_flag("--json", info.json, "One JSON object per file, one per line");
    infoCommand->add_flag("--explain", info.explain, "After the table, why a file failed and which kept behaviours changed its result");
    infoCommand->add_flag("-q,--quiet", info.quiet, "No output of the tool's own (the exit status still tells)");

    KelpTool::ConvertOptions convert;
    CLI::App* convertCommand = app.add_subcommand("convert", "Read IN and write it as OUT's format (stl, obj, asc)");
    convertCommand->add_option("input", convert.input, "File to read")->required();
    convertCommand->add_option("output", convert.output, "File to write; its extension picks the writer")->required();
    convertCommand->add_option("--format", convert.format, "Reader for the input instead of the extension's");
    convertCommand->add_flag("-q,--quiet", convert.quiet, "No output of the tool's own");
    bool noVerify = false;
    convertCommand->add_flag("--no-verify", noVerify, "Do not read the output back to check its counts");

    KelpTool::CheckOptions check;
    CLI::App* checkCommand = app.add_subcommand("check", "Read files; one line per failure or kept behaviour that changed a result");
    checkCommand->add_option("files", check.files, "Files to read")->required();
    checkCommand->add_option("--format", check.format, "Reader to use instead of the extension's");
    checkCommand->add_flag("-q,--quiet", check.quiet, "No summary line on standard error");

    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        const int status = app.exit(error);
        return status == 0 ? KelpTool::kSuccess : KelpTool::kUsageError;
    }
    if (*infoCommand) return KelpTool::runInfo(info);
    if (*checkCommand) return KelpTool::runCheck(check);
    convert.verify = !noVerify;
    return KelpTool::runConvert(convert);
}
