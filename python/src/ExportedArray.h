// Arrays handed to Python without a copy: the storage of a container's array
// moves into an ExportedArray, which Python sees through the buffer protocol
// (so NumPy 1 and 2 alike wrap it without a copy and without NumPy's C ABI).
// Views keep the ExportedArray alive, so an array outlives the mesh it came from.
#pragma once

#include <pybind11/pybind11.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace KelpPython {

class ExportedArray {
public:
    // Takes over `storage`, whose elements are rows of `columns` items of
    // type Item (float, std::uint32_t or unsigned char).
    template <typename Row>
    static ExportedArray fromVector(std::vector<Row>&& storage, std::size_t columns);

    // Takes over pixels allocated with new[], as a height x width x channels image.
    static ExportedArray fromPixels(unsigned char* pixels, std::size_t height, std::size_t width, std::size_t channels);

    pybind11::buffer_info buffer() const;
    // The first byte, for callers that check that no copy was made.
    std::uintptr_t address() const { return reinterpret_cast<std::uintptr_t>(data_); }

private:
    std::shared_ptr<void> owner_;
    void* data_ = nullptr;
    std::string format_;
    pybind11::ssize_t itemSize_ = 0;
    std::vector<pybind11::ssize_t> shape_;
};

}  // namespace KelpPython
