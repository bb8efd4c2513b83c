#include <KelpImageLoad.h>

// No codec is wired in yet: every load and save reports failure and leaves the
// image untouched, which callers already treat as "no texture".
namespace KelpImageLoad {

int KelpReadImage(const char*, KelpCore::KelpImageData<unsigned char>& image) {
    image.data = nullptr;
    return 0;
}

int KelpWriteImage(const char*, KelpCore::KelpImageData<unsigned char>&) { return 0; }

}  // namespace KelpImageLoad
