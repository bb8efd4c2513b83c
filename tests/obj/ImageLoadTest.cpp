#include "ObjTestImages.h"
#include "support/TestFiles.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#if defined(_WIN32)
#include <objbase.h>
#endif

namespace {

std::vector<unsigned char> pattern(unsigned width, unsigned height, unsigned channels) {
    std::vector<unsigned char> pixels(width * height * channels);
    for (std::size_t i = 0; i < pixels.size(); ++i) pixels[i] = static_cast<unsigned char>(i * 7 + i / width);
    return pixels;
}

// Loads into an image that already holds pixels (a load releases them); the
// result and the pixel pointer must agree.
struct Loaded {
    KelpCore::KelpImageData<unsigned char> image;
    explicit Loaded(const std::string& path) {
        image.data = new unsigned char[4];
        const int result = KelpImageLoad::KelpReadImage(path.c_str(), image);
        EXPECT_EQ(result != 0, image.data != nullptr) << path;
    }
    ~Loaded() { delete[] image.data; }
};

TEST(ImageLoad, RoundTripsAndDamagedFiles) {
    KelpTest::TempDir dir;
    for (const std::string extension : {".png", ".TIF", ".tiff", ".bmp", ".jpg"}) {
        for (unsigned channels : {1u, 3u, 4u}) {
            const std::string path = dir.file("img" + std::to_string(channels) + extension);
            ASSERT_TRUE(KelpObjTest::saveImage(path, pattern(33, 17, channels), 33, 17, channels)) << path;
            // BMP keeps no gray, JPEG no alpha; JPEG is lossy.
            const bool jpeg = extension == ".jpg";
            const unsigned stored = jpeg ? (channels == 1 ? 1 : 3) : (extension == ".bmp" && channels == 1 ? 3 : channels);
            const Loaded loaded(path);
            ASSERT_NE(loaded.image.data, nullptr) << path;
            EXPECT_EQ(std::make_pair(loaded.image.width, loaded.image.height), std::make_pair(33u, 17u)) << path;
            ASSERT_EQ(loaded.image.channels, stored) << path;
            if (!jpeg && stored == channels) {
                EXPECT_EQ(std::vector<unsigned char>(loaded.image.data, loaded.image.data + 33 * 17 * channels),
                          pattern(33, 17, channels)) << path;
            }

            // Cut short or scrambled behind the header, a file loads nothing
            // or a whole image (libjpeg fills a truncated scan with gray).
            const std::string bytes = KelpTest::readFile(path);
            std::string scrambled = bytes;
            for (std::size_t i = 30; i < scrambled.size(); i += 7) scrambled[i] = static_cast<char>(scrambled[i] * 31 + 5);
            for (const std::string& broken : {bytes.substr(0, 4), bytes.substr(0, 40), bytes.substr(0, bytes.size() / 2),
                                              scrambled, std::string()}) {
                KelpTest::writeFile(dir.file("broken"), broken);
                const Loaded damaged(dir.file("broken"));
            }
        }
    }
    EXPECT_EQ(Loaded(dir.file("missing.png")).image.data, nullptr);
    EXPECT_EQ(Loaded(dir.path().string()).image.data, nullptr);
}

#if defined(_WIN32)
// The Windows codecs set COM up per call: inside a host that already set it
// up, in the other apartment model, they work and leave the host's set-up.
TEST(ImageLoad, WorksInsideTheHostsComApartment) {
    ASSERT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_OK);
    KelpTest::TempDir dir;
    const std::string path = dir.file("a.png");
    EXPECT_TRUE(KelpObjTest::saveImage(path, pattern(5, 3, 3), 5, 3, 3));
    EXPECT_NE(Loaded(path).image.data, nullptr);
    EXPECT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_FALSE);  // still the host's
    CoUninitialize();
    CoUninitialize();
}
#endif

}  // namespace
