// The text readers stream their files: a FIFO reads like a regular file, and
// a word or line far larger than the read window costs no more memory than a
// short one.
#include <KelpFileIO.h>

#include "support/Bits.h"
#include "support/LocaleGuard.h"
#include "support/TestFiles.h"

#include <gtest/gtest.h>

#include <sys/resource.h>
#include <sys/stat.h>

#include <csignal>
#include <cstdio>
#include <cstring>
#include <functional>
#include <string>
#include <thread>

namespace {

using KelpCore::KelpPointSet;
using KelpCore::KelpTriMesh;

// Feeds `size` bytes (the text, then `fill` repeated) into a FIFO from a
// thread while `read` opens and reads it.
template <typename Read>
void readThroughFifo(const std::string& fifo, const std::string& text, std::size_t size, char fill, Read read) {
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    // A reader that stops early closes the FIFO under the writer.
    std::signal(SIGPIPE, SIG_IGN);
    std::thread writer([&] {
        std::FILE* out = std::fopen(fifo.c_str(), "wb");
        if (!out) return;
        std::fwrite(text.data(), 1, text.size(), out);
        const std::string block(1 << 16, fill);
        for (std::size_t sent = text.size(); sent < size; sent += block.size())
            std::fwrite(block.data(), 1, std::min(block.size(), size - sent), out);
        std::fclose(out);
    });
    read();
    writer.join();
    std::remove(fifo.c_str());
}

long peakKilobytes() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

TEST(ScanStreaming, FifosReadLikeRegularFiles) {
    KelpTest::LocaleGuard guard;
    KelpTest::TempDir dir;
    const std::string obj = "v 1 2 3\nv 4.5 -6 7e1\nvn 0 0 1\nv 0x1p3 1e 9\nf 1 2 3\nf  -1 -2 -3 # x\nv 1 2 3\n";
    const std::string asc = "1 2 3\n4.5 x 6\n\n7 8 9 10\n";
    const std::string dxf = "0\nSECTION\n2\nENTITIES\n0\nPOINT\n10\n1.5\n20\n2.5\n30\n3.5\n0\nPOINT\n10\n-1\n0\nENDSEC\n";
    const std::string file = dir.file("regular"), fifo = dir.file("fifo");

    KelpTriMesh fromFile, fromFifo;
    KelpTest::writeFile(file, obj);
    ASSERT_TRUE(KelpGraphic::KelpReadObj(file.c_str(), &fromFile));
    readThroughFifo(fifo, obj, obj.size(), ' ', [&] { EXPECT_TRUE(KelpGraphic::KelpReadObj(fifo.c_str(), &fromFifo)); });
    EXPECT_TRUE(KelpTest::sameBits(fromFifo.vertices, fromFile.vertices));
    EXPECT_TRUE(KelpTest::sameBits(fromFifo.faces, fromFile.faces));
    EXPECT_TRUE(KelpTest::sameBits(fromFifo.vertexNormals, fromFile.vertexNormals));

    for (const auto& [text, reader] : {std::pair{asc, KelpGraphic::KelpReadAsc}, std::pair{dxf, KelpGraphic::KelpReadDxf}}) {
        KelpPointSet a, b;
        KelpTest::writeFile(file, text);
        ASSERT_TRUE(reader(file.c_str(), &a));
        readThroughFifo(fifo, text, text.size(), ' ', [&, r = reader] { EXPECT_TRUE(r(fifo.c_str(), &b)); });
        EXPECT_TRUE(KelpTest::sameBits(b.vertices, a.vertices)) << text;
    }
}

// 128 MiB of one word, one line or one number through a FIFO: each reader
// gives the described result and its memory does not grow with the input.
// (KelpReadStl opens its file twice, for the detection and for the read, so
// it cannot take a FIFO; its ASCII reader scans through the same core.)
TEST(ScanStreaming, HugeWordsAndLinesKeepMemoryFlat) {
    KelpTest::LocaleGuard guard;
    KelpTest::TempDir dir;
    const std::string fifo = dir.file("fifo");
    constexpr std::size_t kSize = std::size_t(128) << 20;
    const long before = peakKilobytes();

    KelpTriMesh mesh;  // one huge statement word, then nothing: no geometry
    readThroughFifo(fifo, "v 1 2 3\n", kSize, 'x', [&] { EXPECT_TRUE(KelpGraphic::KelpReadObj(fifo.c_str(), &mesh)); });
    EXPECT_EQ(mesh.vertexCount, 1u);

    KelpPointSet cloud;  // one line: its first three numbers, then the rest of the line is passed over
    readThroughFifo(fifo, "1 2 3 ", kSize, '5', [&] { EXPECT_TRUE(KelpGraphic::KelpReadAsc(fifo.c_str(), &cloud)); });
    EXPECT_EQ(cloud.vertexCount, 1u);

    KelpPointSet points;  // a 128 MiB mantissa read with "%f"
    readThroughFifo(fifo, "0\nSECTION\n2\nENTITIES\nPOINT\n10\n1.", kSize, '0',
                    [&] { EXPECT_TRUE(KelpGraphic::KelpReadDxf(fifo.c_str(), &points)); });
    EXPECT_EQ(points.vertexCount, 0u);

    // Far less than the input: the window and the scanners' bounded state.
    EXPECT_LT(peakKilobytes() - before, 64 * 1024);
}

}  // namespace
