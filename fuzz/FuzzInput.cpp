#include "FuzzInput.h"

#include <cstdio>
#include <cstdlib>
#include <unistd.h>

namespace KelpFuzz {

const std::string& privateDir() {
    static const std::string dir = [] {
        std::string pattern = "/tmp/kelp-fuzz-XXXXXX";
        if (!mkdtemp(pattern.data())) std::abort();
        return pattern;
    }();
    return dir;
}

std::string writeInput(const std::string& name, const std::uint8_t* data, std::size_t size) {
    const std::string path = privateDir() + "/" + name;
    std::FILE* file = std::fopen(path.c_str(), "wb");
    if (!file) std::abort();
    if (size && std::fwrite(data, 1, size, file) != size) std::abort();
    std::fclose(file);
    return path;
}

}  // namespace KelpFuzz
