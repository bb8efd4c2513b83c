#include <KelpImageLoad.h>

#include "support/TestFiles.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

using Image = KelpCore::KelpImageData<unsigned char>;

namespace {

struct OwnedImage {
    Image image;
    ~OwnedImage() { delete[] image.data; }
};

std::vector<unsigned char> pattern(unsigned width, unsigned height, unsigned channels) {
    std::vector<unsigned char> pixels(width * height * channels);
    for (unsigned y = 0; y < height; ++y)
        for (unsigned x = 0; x < width; ++x)
            for (unsigned c = 0; c < channels; ++c)
                pixels[(y * width + x) * channels + c] = static_cast<unsigned char>(x * 16 + y * 4 + c * 60);
    return pixels;
}

bool save(const std::string& path, std::vector<unsigned char>& pixels, unsigned w, unsigned h, unsigned c) {
    Image image;
    image.data = pixels.data();
    image.width = w;
    image.height = h;
    image.channels = c;
    return KelpImageLoad::KelpWriteImage(path.c_str(), image) != 0;
}

TEST(ImageLoad, LosslessFormatsRoundTripExactly) {
    KelpTest::TempDir dir;
    for (const char* extension : {".png", ".PNG", ".tif", ".tiff", ".bmp"}) {
        for (unsigned channels : {1u, 3u, 4u}) {
            // stb writes BMP as 24-bit colour only: gray comes back as RGB, alpha is gone.
            if (std::string(extension) == ".bmp" && channels != 3) continue;
            const std::string path = dir.file("img" + std::to_string(channels) + extension);
            std::vector<unsigned char> pixels = pattern(7, 5, channels);
            ASSERT_TRUE(save(path, pixels, 7, 5, channels)) << path;
            OwnedImage loaded;
            ASSERT_NE(KelpImageLoad::KelpReadImage(path.c_str(), loaded.image), 0) << path;
            EXPECT_EQ(loaded.image.width, 7u) << path;
            EXPECT_EQ(loaded.image.height, 5u) << path;
            ASSERT_EQ(loaded.image.channels, channels) << path;
            EXPECT_EQ(std::vector<unsigned char>(loaded.image.data, loaded.image.data + pixels.size()), pixels) << path;
        }
    }
}

TEST(ImageLoad, JpegKeepsShapeAndIsReadByContent) {
    KelpTest::TempDir dir;
    std::vector<unsigned char> rgb = pattern(33, 17, 3);
    ASSERT_TRUE(save(dir.file("a.JPEG"), rgb, 33, 17, 3));
    std::vector<unsigned char> rgba = pattern(33, 17, 4);
    ASSERT_TRUE(save(dir.file("b.jpg"), rgba, 33, 17, 4));
    std::vector<unsigned char> gray = pattern(33, 17, 1);
    ASSERT_TRUE(save(dir.file("c.jpg"), gray, 33, 17, 1));
    // The name does not matter when reading: a PNG called .jpg is a PNG.
    ASSERT_TRUE(save(dir.file("d.png"), rgb, 33, 17, 3));
    std::filesystem::rename(dir.file("d.png"), dir.file("d.jpg"));

    const struct {
        const char* name;
        unsigned channels;
    } expected[] = {{"a.JPEG", 3}, {"b.jpg", 3}, {"c.jpg", 1}, {"d.jpg", 3}};
    for (const auto& e : expected) {
        OwnedImage loaded;
        ASSERT_NE(KelpImageLoad::KelpReadImage(dir.file(e.name).c_str(), loaded.image), 0) << e.name;
        EXPECT_EQ(loaded.image.width, 33u);
        EXPECT_EQ(loaded.image.height, 17u);
        EXPECT_EQ(loaded.image.channels, e.channels) << e.name;
        // Quality 95 stays close to the source.
        EXPECT_NEAR(loaded.image.data[3 * e.channels], rgb[3 * 3], 12) << e.name;
    }
}

TEST(ImageLoad, FailuresLeaveNoPixels) {
    KelpTest::TempDir dir;
    std::vector<unsigned char> rgb = pattern(64, 64, 3);
    ASSERT_TRUE(save(dir.file("good.jpg"), rgb, 64, 64, 3));
    ASSERT_TRUE(save(dir.file("good.png"), rgb, 64, 64, 3));
    ASSERT_TRUE(save(dir.file("good.tif"), rgb, 64, 64, 3));
    ASSERT_TRUE(save(dir.file("good.bmp"), rgb, 64, 64, 3));
    EXPECT_FALSE(save(dir.file("x.tga"), rgb, 64, 64, 3));
    EXPECT_FALSE(save(dir.file("noext"), rgb, 64, 64, 3));
    EXPECT_FALSE(save(dir.file("two.png"), rgb, 8, 8, 2));

    std::vector<std::string> broken;
    for (const char* name : {"good.jpg", "good.png", "good.tif", "good.bmp"}) {
        const std::string bytes = KelpTest::readFile(dir.file(name));
        // Cut short, and with the body scrambled behind an intact header.
        for (std::size_t keep : {std::size_t{4}, std::size_t{40}, bytes.size() / 2}) {
            const std::string path = dir.file(std::string("cut") + std::to_string(keep) + name);
            KelpTest::writeFile(path, bytes.substr(0, keep));
            broken.push_back(path);
        }
        std::string scrambled = bytes;
        for (std::size_t i = 30; i < scrambled.size(); i += 7) scrambled[i] = static_cast<char>(scrambled[i] * 31 + 5);
        KelpTest::writeFile(dir.file(std::string("scr") + name), scrambled);
        broken.push_back(dir.file(std::string("scr") + name));
    }
    KelpTest::writeFile(dir.file("empty.png"), "");
    broken.push_back(dir.file("empty.png"));
    broken.push_back(dir.file("missing.png"));
    broken.push_back(dir.path().string());

    for (const std::string& path : broken) {
        Image image;
        image.data = new unsigned char[4];  // replaced: a load releases what was there
        const int result = KelpImageLoad::KelpReadImage(path.c_str(), image);
        if (result == 0) {
            EXPECT_EQ(image.data, nullptr) << path;
        } else {
            // libjpeg fills a truncated scan with gray and calls it a success.
            EXPECT_NE(image.data, nullptr) << path;
            delete[] image.data;
        }
    }
}

}  // namespace
