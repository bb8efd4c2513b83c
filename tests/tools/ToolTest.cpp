// Runs the `kelp` tool as a process on generated files and checks its output,
// exit statuses and conversions.
#include "support/TestFiles.h"

#include <gtest/gtest.h>

#include <sys/wait.h>

#include <array>
#include <cstdio>
#include <string>

namespace {

struct Result {
    int status;
    std::string out;
};

// Runs a shell command; standard output is captured, standard error is
// folded into it when `withErrors` is set.
Result run(const std::string& command, bool withErrors = false) {
    const std::string full = command + (withErrors ? " 2>&1" : " 2>/dev/null");
    std::FILE* pipe = popen(full.c_str(), "r");
    if (!pipe) return {-1, ""};
    std::string out;
    std::array<char, 4096> chunk;
    std::size_t got;
    while ((got = std::fread(chunk.data(), 1, chunk.size(), pipe)) > 0) out.append(chunk.data(), got);
    const int raw = pclose(pipe);
    return {WIFEXITED(raw) ? WEXITSTATUS(raw) : -1, out};
}

std::string kelp(const std::string& arguments) { return std::string(KELP_TOOL) + " " + arguments; }

class Tool : public ::testing::Test {
protected:
    std::string path(const std::string& name) const { return "'" + dir.file(name) + "'"; }
    KelpTest::TempDir dir;
};

TEST_F(Tool, InfoPrintsATableRow) {
    KelpTest::writeFile(dir.file("c.asc"), "1 2 3\n-4 5 6");
    const Result r = run(kelp("info " + path("c.asc")));
    EXPECT_EQ(r.status, 0);
    EXPECT_NE(r.out.find("vertices"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("asc     ok"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("(-4, 2, 3)..(1, 5, 6)"), std::string::npos) << r.out;
}

TEST_F(Tool, JsonIsOneValidObjectPerFile) {
    KelpTest::writeFile(dir.file("a.asc"), "1 2 3\n");
    KelpTest::writeFile(dir.file("we\"ird\\name.asc"), "7 8 9");
    const Result r = run(kelp("info --json " + path("a.asc") + " " + path("we\"ird\\name.asc")));
    ASSERT_EQ(r.status, 0);
    EXPECT_NE(r.out.find("\"vertices\":2"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("we\\\"ird\\\\name.asc"), std::string::npos) << r.out;
    KelpTest::writeFile(dir.file("out.jsonl"), r.out);
    if (run("command -v python3").status != 0) GTEST_SKIP() << "python3 is missing: JSON not validated";
    EXPECT_EQ(run("python3 -m json.tool --json-lines " + path("out.jsonl") + " >/dev/null").status, 0) << r.out;
}

TEST_F(Tool, ExitStatusesTellFailuresFromUsageErrors) {
    EXPECT_EQ(run(kelp("info " + path("missing.asc"))).status, 1);
    const Result failed = run(kelp("info " + path("missing.asc")), true);
    EXPECT_NE(failed.out.find("asc reader failed on"), std::string::npos) << failed.out;
    EXPECT_EQ(run(kelp("info " + path("x.unknown"))).status, 2);
    EXPECT_EQ(run(kelp("info --format nosuch " + path("x.asc"))).status, 2);
    EXPECT_EQ(run(kelp("frobnicate")).status, 2);
    EXPECT_EQ(run(kelp("info")).status, 2);
    EXPECT_EQ(run(kelp("--help")).status, 0);
}

TEST_F(Tool, FormatOptionOverridesTheExtension) {
    KelpTest::writeFile(dir.file("points.TXT"), "1 1 1");
    EXPECT_EQ(run(kelp("info --format ASC " + path("points.TXT"))).status, 0);
    KelpTest::writeFile(dir.file("UPPER.ASC"), "1 1 1");
    EXPECT_EQ(run(kelp("info " + path("UPPER.ASC"))).status, 0);
}

TEST_F(Tool, QuietSilencesTheToolButNotTheStatus) {
    KelpTest::writeFile(dir.file("a.asc"), "1 2 3");
    const Result ok = run(kelp("info --quiet " + path("a.asc")));
    EXPECT_EQ(ok.status, 0);
    EXPECT_EQ(ok.out, "");
    EXPECT_EQ(run(kelp("info -q " + path("none.asc"))).status, 1);
}

TEST_F(Tool, ConvertAscRoundTrips) {
    KelpTest::writeFile(dir.file("in.asc"), "1 2 3\n4 5 6");
    const Result r = run(kelp("convert " + path("in.asc") + " " + path("out.asc")));
    EXPECT_EQ(r.status, 0) << r.out;
    EXPECT_EQ(KelpTest::readFile(dir.file("out.asc")), "1.000000 2.000000 3.000000 \n4.000000 5.000000 6.000000 \n");
    EXPECT_EQ(run(kelp("convert " + path("in.asc") + " " + path("out.xyz"))).status, 2);
    EXPECT_EQ(run(kelp("convert " + path("none.asc") + " " + path("o.asc"))).status, 1);
}

TEST_F(Tool, SamplesAllReadBack) {
    const std::string samples = dir.file("samples");
    ASSERT_EQ(run(std::string(KELP_SAMPLES_TOOL) + " '" + samples + "' >/dev/null").status, 0);
    const Result r = run(kelp("info --json '" + samples + "/cloud.asc'"));
    EXPECT_EQ(r.status, 0);
    EXPECT_NE(r.out.find("\"vertices\":201"), std::string::npos) << r.out;
}

}  // namespace
