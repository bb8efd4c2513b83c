#include "scan/ScanSource.h"

#include <cstring>

namespace KelpScan {

namespace {
std::size_t chunkOverride = 0;
}

void ScanSource::setChunkForTesting(std::size_t chunk) { chunkOverride = chunk; }

ScanSource::ScanSource(std::FILE* file)
    : file_(file), chunk_(chunkOverride ? chunkOverride : kDefaultChunk), exhausted_(file == nullptr) {
    window_.resize(chunk_ + kMaxLookahead + 1);
    pos_ = end_ = base_ = window_.data();
}

ScanSource::ScanSource(const char* begin, const char* end) : chunk_(0), exhausted_(true) {
    pos_ = base_ = reinterpret_cast<const unsigned char*>(begin);
    end_ = reinterpret_cast<const unsigned char*>(end);
}

bool ScanSource::fillTo(std::size_t count) {
    // A caller that needs more than the window holds (a binary record read
    // whole) widens it to that, once; the size stays bounded by the request.
    if (count + kMaxLookahead + 1 > window_.size() && !exhausted_) {
        const std::size_t at = static_cast<std::size_t>(pos_ - window_.data());
        const std::size_t to = static_cast<std::size_t>(end_ - window_.data());
        window_.resize(count + chunk_ + kMaxLookahead + 1);
        pos_ = window_.data() + at;
        base_ = window_.data();
        end_ = window_.data() + to;
    }
    while (available() < count)
        if (!refill()) return false;
    return true;
}

bool ScanSource::refill() {
    if (exhausted_) return false;
    unsigned char* const base = window_.data();
    // Keep the unread bytes and the one before them (for a push-back after a
    // refill), moved to the front.
    const std::size_t keep = pos_ > base ? 1 : 0;
    const unsigned char* const from = pos_ - keep;
    const std::size_t unread = static_cast<std::size_t>(end_ - pos_);
    if (from > base) {
        consumedBefore_ += static_cast<std::uint64_t>(from - base);
        std::memmove(base, from, unread + keep);
    }
    pos_ = base + keep;
    end_ = pos_ + unread;
    std::size_t room = window_.size() - static_cast<std::size_t>(end_ - base);
    if (room > chunk_) room = chunk_;
    const std::size_t got = std::fread(base + (end_ - base), 1, room, file_);
    end_ += got;
    if (got < room) exhausted_ = true;
    return got > 0;
}

}  // namespace KelpScan
