// Runs the `kelp` tool as a process on generated files and checks its output,
// exit statuses and conversions.
#include "support/TestFiles.h"

#include <gtest/gtest.h>

#if !defined(_WIN32)
#include <sys/wait.h>
#endif

#include <algorithm>
#include <array>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

namespace {

// The shell that runs the tool: sh, or cmd.exe on Windows (where the
// cross-built tests run under Wine, which shows the build's own folders on
// drive Z:; the pipe is read in text mode, so its line ends arrive as
// "\n"). Cases that need sh's own features (ulimit, traps, globs, links,
// file names with quotes, python3) are skipped under cmd.
#if defined(_WIN32)
constexpr bool kPosixShell = false;
const char* const kDropErrors = " 2>NUL";
std::string quote(const std::string& path) { return "\"" + path + "\""; }
std::string program(std::string path) {
    if (!path.empty() && path[0] == '/') path = "Z:" + path;
    std::replace(path.begin(), path.end(), '/', '\\');
    return quote(path);
}
// cmd /c drops the outermost quotes of a command that starts with one.
std::FILE* openPipe(const std::string& command) { return _popen(("\"" + command + "\"").c_str(), "rt"); }
int exitStatus(int raw) { return raw; }
#else
constexpr bool kPosixShell = true;
const char* const kDropErrors = " 2>/dev/null";
std::string quote(const std::string& path) { return "'" + path + "'"; }
std::string program(const std::string& path) { return path; }
std::FILE* openPipe(const std::string& command) { return popen(command.c_str(), "r"); }
int exitStatus(int raw) { return WIFEXITED(raw) ? WEXITSTATUS(raw) : -1; }
#endif

#define KELP_REQUIRE_POSIX_SHELL()                                            \
    do {                                                                      \
        if (!kPosixShell) GTEST_SKIP() << "needs a POSIX shell, not cmd.exe"; \
    } while (0)

struct Result {
    int status;
    std::string out;
};

// Runs a shell command; standard output is captured, standard error is
// folded into it when `withErrors` is set.
Result run(const std::string& command, bool withErrors = false) {
    const std::string full = command + (withErrors ? " 2>&1" : kDropErrors);
    std::FILE* pipe = openPipe(full);
    if (!pipe) return {-1, ""};
    std::string out;
    std::array<char, 4096> chunk;
    std::size_t got;
    while ((got = std::fread(chunk.data(), 1, chunk.size(), pipe)) > 0) out.append(chunk.data(), got);
#if defined(_WIN32)
    const int raw = _pclose(pipe);
#else
    const int raw = pclose(pipe);
#endif
    return {exitStatus(raw), out};
}

std::string kelp(const std::string& arguments) { return program(KELP_TOOL) + " " + arguments; }

// A `kelp` command line, its exit status and texts its output must hold
// (standard error folded in).
struct Command {
    std::string arguments;
    int status;
    std::vector<std::string> shown;
};

class Tool : public ::testing::Test {
protected:
    std::string path(const std::string& name) const { return quote(dir.file(name)); }
    // Runs the commands in order.
    static void expectCommands(const std::vector<Command>& commands) {
        for (const Command& c : commands) {
            const Result r = run(kelp(c.arguments), true);
            EXPECT_EQ(r.status, c.status) << c.arguments << "\n" << r.out;
            for (const std::string& text : c.shown) EXPECT_NE(r.out.find(text), std::string::npos) << text << "\n" << r.out;
        }
    }
    KelpTest::TempDir dir;
};

// Exit statuses tell failures (1) from usage errors (2).
TEST_F(Tool, CommandsExitStatusesAndMessages) {
    KelpTest::writeFile(dir.file("c.asc"), "1 2 3\n-4 5 6");
    for (const char* name : {"a.asc", "points.TXT", "UPPER.ASC"}) KelpTest::writeFile(dir.file(name), "1 2 3");
    std::filesystem::create_directory(dir.file("d.asc"));
    expectCommands({
        {"info " + path("c.asc"), 0, {"vertices", "asc     ok", "(-4, 2, 3)..(1, 5, 6)"}},
        {"info " + path("missing.asc"), 1,
         {"asc reader failed on", "missing.asc: ASC: cannot open the file (No such file or directory)"}},
        // A directory cannot be opened; the reason the library gives is printed.
        {"info " + path("d.asc"), 1, {"d.asc: ASC: cannot open the file (Is a directory)"}},
        {"convert " + path("a.asc") + " " + path("d.asc"), 1,
         {"the asc writer failed on " + dir.file("d.asc") + ": ASC: cannot create the file (Is a directory)"}},
        {"info " + path("x.unknown"), 2, {}},
        {"info --format nosuch " + path("x.asc"), 2, {}},
        {"frobnicate", 2, {}},
        {"info", 2, {}},
        {"--help", 0, {}},
        // The format option overrides the extension, which is read in any case.
        {"info --format ASC " + path("points.TXT"), 0, {}},
        {"info " + path("UPPER.ASC"), 0, {}},
        // Quiet silences the tool but not the status.
        {"info -q " + path("none.asc"), 1, {}},
        {"convert " + path("c.asc") + " " + path("out.asc"), 0, {}},
        {"convert " + path("c.asc") + " " + path("out.xyz"), 2, {}},
        {"convert " + path("none.asc") + " " + path("o.asc"), 1, {}},
    });
    EXPECT_EQ(run(kelp("info --quiet " + path("a.asc")), true).out, "");
    EXPECT_EQ(KelpTest::readFile(dir.file("out.asc")), "1.000000 2.000000 3.000000 \n-4.000000 5.000000 6.000000 \n");
}

TEST_F(Tool, AReaderThatThrowsFailsItsFileAndTheNextFileIsRead) {
    KELP_REQUIRE_POSIX_SHELL();
#if defined(__SANITIZE_ADDRESS__)
    GTEST_SKIP() << "AddressSanitizer ends the process on a failed allocation instead of throwing";
#endif
    // 84 bytes that announce 2^31 triangles: sizing the mesh throws
    // std::bad_alloc, which the STL reader lets through. The address space
    // is limited so that the allocation fails on any machine.
    std::string big(80, 's');
    KelpTest::putU32(big, 0x80000000u);
    KelpTest::writeFile(dir.file("big.stl"), big);
    KelpTest::writeFile(dir.file("a.asc"), "1 2 3");
    const std::string limit = "ulimit -v 4000000; ";
    const Result info = run(limit + kelp("info " + path("big.stl") + " " + path("a.asc")), true);
    EXPECT_EQ(info.status, 1) << info.out;
    EXPECT_NE(info.out.find("stl reader failed on " + dir.file("big.stl") + ": out of memory (std::bad_alloc)"),
              std::string::npos)
        << info.out;
    EXPECT_NE(info.out.find("stl     FAILED  0"), std::string::npos) << info.out;
    EXPECT_NE(info.out.find("asc     ok      1"), std::string::npos) << info.out;
    const Result convert = run(limit + kelp("convert " + path("big.stl") + " " + path("o.obj")), true);
    EXPECT_EQ(convert.status, 1) << convert.out;
    EXPECT_NE(convert.out.find("std::bad_alloc"), std::string::npos) << convert.out;
}

class ToolOnSamples : public Tool {
protected:
    void SetUp() override {
        samples = dir.file("samples");
        const char* const dropOutput = kPosixShell ? " >/dev/null" : " >NUL";
        ASSERT_EQ(run(program(KELP_SAMPLES_TOOL) + " " + quote(samples) + dropOutput).status, 0);
    }
    std::string sample(const std::string& name) const { return quote(samples + "/" + name); }
    std::string samples;
};

TEST_F(ToolOnSamples, InfoJsonIsOneValidObjectPerFileWithTheExpectedCounts) {
    // The STL sphere welds back to its 258 shared corners; the VRML scene and
    // the 3DS file repeat their quad; the cube's texture comes through its MTL.
    const std::pair<const char*, const char*> expected[] = {
        {"sphere-binary.stl", "\"vertices\":258,\"faces\":512"},
        {"sphere-ascii.stl", "\"vertices\":258,\"faces\":512"},
        {"cube.obj", "\"vertices\":8,\"faces\":12"},
        {"pyramid-ascii.ply", "\"vertices\":5,\"faces\":6"},
        {"pyramid-le.ply", "\"vertices\":5,\"faces\":6"},
        {"pyramid-be.ply", "\"vertices\":5,\"faces\":6"},
        {"scene.wrl", "\"vertices\":8,\"faces\":4"},
        {"two-objects.3ds", "\"vertices\":8,\"faces\":4"},
        {"points.dxf", "\"vertices\":8,"},
        {"cloud.asc", "\"vertices\":201,"},
    };
    std::string files;
    for (const auto& [file, counts] : expected) files += " " + sample(file);
    if (kPosixShell) {  // a name that JSON must escape, which cmd cannot pass
        KelpTest::writeFile(dir.file("we\"ird\\name.asc"), "7 8 9");
        files += " " + path("we\"ird\\name.asc");
    }
    const Result r = run(kelp("info --json" + files));
    EXPECT_EQ(r.status, 0);
    // The STL reader's own progress lines share standard output; keep the objects.
    std::vector<std::string> objects;
    std::string lines;
    for (std::size_t at = 0, next; at < r.out.size(); at = next + 1) {
        next = std::min(r.out.find('\n', at), r.out.size());
        if (r.out[at] == '{') objects.push_back(r.out.substr(at, next - at)), lines += objects.back() + "\n";
    }
    EXPECT_EQ(objects.size(), kPosixShell ? 11u : 10u) << r.out;
    EXPECT_EQ(lines.find("we\\\"ird\\\\name.asc") != std::string::npos, kPosixShell) << lines;
    EXPECT_NE(lines.find("\"texture\":{\"width\":64,\"height\":64,\"channels\":3}"), std::string::npos) << lines;
    for (const auto& [file, counts] : expected) {
        const auto object = std::find_if(objects.begin(), objects.end(),
                                         [file = file](const std::string& o) { return o.find(file) != std::string::npos; });
        ASSERT_NE(object, objects.end()) << file << "\n" << lines;
        EXPECT_NE(object->find(counts), std::string::npos) << *object;
        EXPECT_NE(object->find("\"ok\":true"), std::string::npos) << *object;
    }
    KelpTest::writeFile(dir.file("all.jsonl"), lines);
    KELP_REQUIRE_POSIX_SHELL();
    if (run("command -v python3").status != 0) GTEST_SKIP() << "python3 is missing: JSON not validated";
    EXPECT_EQ(run("python3 -m json.tool --json-lines " + path("all.jsonl") + " >/dev/null").status, 0) << lines;
}

TEST_F(ToolOnSamples, ConversionsRoundTrip) {
    expectCommands({
        // STL: the writer's count comes from the faces written.
        {"convert " + sample("sphere-ascii.stl") + " " + path("s.stl"), 0, {}},
        {"info --json " + path("s.stl"), 0, {"\"vertices\":258,\"faces\":512"}},
        // OBJ with its texture: side files beside the output.
        {"convert " + sample("cube.obj") + " " + path("c.obj"), 0, {}},
        {"info --json " + path("c.obj"), 0, {"\"vertices\":8,\"faces\":12", "\"width\":64"}},
        // A point cloud becomes an OBJ of points only, and is refused as STL.
        {"convert " + sample("points.dxf") + " " + path("p.obj"), 0, {}},
        {"convert " + sample("points.dxf") + " " + path("p.stl"), 2, {"point cloud"}},
        // A mesh written as ASC keeps its vertices.
        {"convert " + sample("two-objects.3ds") + " " + path("m.asc"), 0, {}},
        {"info --json " + path("m.asc"), 0, {"\"vertices\":9,"}},
    });
    EXPECT_EQ(KelpTest::readFile(dir.file("s.stl")).size(), 84u + 50u * 512u);
    EXPECT_NE(KelpTest::readFile(dir.file("p.obj")).find("# 8 vertices, 0 faces"), std::string::npos);
}

// check: silent and 0 on clean files; one line per reason or note otherwise.
// info --explain and --json carry the same report.
TEST_F(ToolOnSamples, CheckAndExplainListReasonsAndNotes) {
    std::string shortStl = KelpTest::readFile(samples + "/sphere-binary.stl");
    shortStl.resize(84 + 50 * 10);
    KelpTest::writeFile(dir.file("short.stl"), shortStl);
    const Result clean = run(kelp("check " + sample("sphere-binary.stl") + " " + sample("cube.obj") + " " +
                                  sample("points.dxf") + " " + sample("cube.jpg")));
    EXPECT_EQ(clean.status, 0) << clean.out;
    EXPECT_EQ(clean.out.find(": stl"), std::string::npos) << clean.out;
    EXPECT_NE(clean.out.find("cube.jpg: skipped: unknown file extension"), std::string::npos) << clean.out;
    expectCommands({
        {"check " + sample("cloud.asc") + " " + sample("pyramid-be.ply") + " " + path("short.stl") + " " + path("none.ply"),
         1,
         {"cloud.asc: asc.repeated-last: ASC: the file ends with a line feed",
          "pyramid-be.ply: ply.big-endian-order: PLY: binary_big_endian",
          "short.stl: stl.binary.short: binary STL: the header announces 512 triangles, the file "
          "holds 10 and 0 bytes; 502 triangles repeat the last corners read in full\n",
          "none.ply: ply.open: PLY: cannot open the file"}},
        {"check " + sample("scene.wrl"), 0, {}},
        {"check --format nosuch " + sample("scene.wrl"), 2, {}},
        {"info --explain " + sample("cloud.asc"), 0, {"cloud.asc: asc.repeated-last: ASC:"}},
        {"info --json " + path("short.stl"), 0,
         {"\"report\":{\"reason\":null,\"notes\":[{\"code\":151,\"name\":\"stl.binary.short\",\"text\":"}},
        {"info --json " + path("none.ply"), 1,
         {"\"report\":{\"reason\":{\"code\":501,\"name\":\"ply.open\",\"message\":\"PLY: cannot open"}},
    });
}

TEST_F(ToolOnSamples, ConvertReadsItsOutputBackToCatchAFullDisk) {
    KELP_REQUIRE_POSIX_SHELL();
    // Files may grow to 2 KiB here and writes beyond fail as on a full disk
    // (the signal the limit raises is ignored); every writer still returns true.
    const std::string fullDisk = "trap '' XFSZ; ulimit -f 4; ";
    const struct {
        const char* input;
        const char* output;
        const char* problem;
    } cases[] = {
        {"sphere-ascii.stl", "s.stl", "it holds 2048 bytes, 25684 expected"},
        {"sphere-binary.stl", "s.obj", "reading it back gave"},
        {"cloud.asc", "c.asc", "reading it back gave"},
    };
    for (const auto& c : cases) {
        const Result cut = run(fullDisk + kelp("convert " + sample(c.input) + " " + path(c.output)), true);
        EXPECT_EQ(cut.status, 1) << c.output << ": " << cut.out;
        EXPECT_NE(cut.out.find(dir.file(c.output) + " was not written in full: " + c.problem), std::string::npos)
            << cut.out;
        EXPECT_EQ(run(fullDisk + kelp("convert --no-verify " + sample(c.input) + " " + path(c.output))).status, 0)
            << c.output;
    }
    // Outputs that are not regular files are not read back (/dev/null reads empty).
    std::filesystem::create_symlink("/dev/null", dir.file("null.asc"));
    EXPECT_EQ(run(kelp("convert " + sample("cloud.asc") + " " + path("null.asc"))).status, 0);
}

}  // namespace
