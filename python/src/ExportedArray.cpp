#include "ExportedArray.h"

#include <KelpCore.h>

#include <array>
#include <type_traits>

namespace KelpPython {

namespace {
// A zero-length buffer still needs a valid pointer for the buffer protocol.
alignas(8) unsigned char emptyStorage[8];

template <typename Item>
const char* formatOf() {
    if (std::is_same_v<Item, float>) return "f";
    if (std::is_same_v<Item, std::uint32_t>) return "I";
    return "B";
}
}  // namespace

template <typename Row>
ExportedArray ExportedArray::fromVector(std::vector<Row>&& storage, std::size_t columns) {
    using Item = typename Row::value_type;
    static_assert(sizeof(Row) == sizeof(Item) * std::tuple_size_v<Row>, "rows are packed");
    auto owned = std::make_shared<std::vector<Row>>(std::move(storage));
    ExportedArray array;
    array.data_ = owned->empty() ? static_cast<void*>(emptyStorage) : static_cast<void*>(owned->data());
    array.shape_ = {static_cast<pybind11::ssize_t>(owned->size()), static_cast<pybind11::ssize_t>(columns)};
    array.owner_ = std::move(owned);
    array.format_ = formatOf<Item>();
    array.itemSize_ = sizeof(Item);
    return array;
}

template ExportedArray ExportedArray::fromVector(std::vector<KelpCore::Vec3f>&&, std::size_t);
template ExportedArray ExportedArray::fromVector(std::vector<KelpCore::Vec3u>&&, std::size_t);
template ExportedArray ExportedArray::fromVector(std::vector<KelpCore::Vec2f>&&, std::size_t);

ExportedArray ExportedArray::fromPixels(unsigned char* pixels, std::size_t height, std::size_t width,
                                        std::size_t channels) {
    ExportedArray array;
    array.owner_ = std::shared_ptr<unsigned char>(pixels, std::default_delete<unsigned char[]>());
    array.data_ = pixels;
    array.shape_ = {static_cast<pybind11::ssize_t>(height), static_cast<pybind11::ssize_t>(width),
                    static_cast<pybind11::ssize_t>(channels)};
    array.format_ = "B";
    array.itemSize_ = 1;
    return array;
}

pybind11::buffer_info ExportedArray::buffer() const {
    std::vector<pybind11::ssize_t> strides(shape_.size());
    pybind11::ssize_t stride = itemSize_;
    for (std::size_t d = shape_.size(); d-- > 0;) {
        strides[d] = stride;
        stride *= shape_[d];
    }
    return pybind11::buffer_info(data_, itemSize_, format_, static_cast<pybind11::ssize_t>(shape_.size()), shape_,
                                 strides, /*readonly=*/false);
}

}  // namespace KelpPython
