#include "3ds/ChunkSource.h"

#include "platform/FileOffset.h"

#include <algorithm>

namespace Kelp3ds {

ChunkSource::ChunkSource(std::FILE* file, std::size_t blockSize) : file_(file) {
    if (KelpPlatform::seek(file_, 0, SEEK_END)) {
        const std::int64_t end = KelpPlatform::tell(file_);
        if (end > 0) size_ = static_cast<std::uint64_t>(end);
    }
    KelpPlatform::seek(file_, 0, SEEK_SET);
    // A small file needs no more than itself; the reads of a field are never
    // longer than a few bytes, so a minimum of 64 always holds one.
    const std::uint64_t wanted = std::min<std::uint64_t>(size_, blockSize);
    block_.resize(static_cast<std::size_t>(std::max<std::uint64_t>(wanted, 64)));
}

bool ChunkSource::readSlow(void* out, std::size_t count) {
    if (count > block_.size() || position_ >= size_ || size_ - position_ < count) return false;
    blockStart_ = position_;
    blockLength_ = 0;
    if (!KelpPlatform::seek(file_, static_cast<std::int64_t>(blockStart_), SEEK_SET)) return false;
    blockLength_ = std::fread(block_.data(), 1, block_.size(), file_);
    if (blockLength_ < count) return false;
    std::memcpy(out, block_.data(), count);
    position_ += count;
    return true;
}

bool ChunkSource::discard(std::uint64_t count) {
    if (position_ > size_ || size_ - position_ < count) return false;
    position_ += count;
    return true;
}

}  // namespace Kelp3ds
