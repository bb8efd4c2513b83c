#include "ply/PlyInput.h"

#include "platform/FileOffset.h"

#include <cstring>
#include <limits>

namespace KelpPly {

bool PlyInput::open(const char* path) {
    close();
    file_ = KelpIo::openFile(path, "rb");
    if (!file_) return false;
    const KelpPlatform::FileStatus status = KelpPlatform::statusOf(file_.get());
    if (status.regular) {
        sizeKnown_ = true;
        fileSize_ = static_cast<std::uint64_t>(status.size);
    }
    source_ = std::make_unique<KelpScan::ScanSource>(file_.get());
    cursor_ = std::make_unique<KelpScan::ScanCursor>(*source_, KelpScan::ScanLocale::current());
    return true;
}

void PlyInput::close() {
    cursor_.reset();
    source_.reset();
    file_.reset();
    sizeKnown_ = false;
    fileSize_ = 0;
}

std::size_t PlyInput::read(void* target, std::size_t count) {
    auto* out = static_cast<unsigned char*>(target);
    std::size_t done = 0;
    while (done < count) {
        if (source_->available() == 0 && !source_->refill()) break;
        std::size_t part = source_->available();
        if (part > count - done) part = count - done;
        std::memcpy(out + done, source_->next(), part);
        advance(part);
        done += part;
    }
    return done;
}

std::uint64_t PlyInput::skip(std::uint64_t count) {
    std::uint64_t done = 0;
    while (done < count) {
        if (source_->available() == 0 && !source_->refill()) break;
        std::uint64_t part = source_->available();
        if (part > count - done) part = count - done;
        advance(static_cast<std::size_t>(part));
        done += part;
    }
    return done;
}

bool PlyInput::readLine(std::string& line, std::size_t limit) {
    const char* text;
    std::size_t length;
    if (!cursor_->readLine(limit + 1, text, length)) {
        line.clear();
        return false;
    }
    line.assign(text, length);
    return true;
}

std::uint64_t PlyInput::bytesLeft() const {
    if (!sizeKnown_) return std::numeric_limits<std::uint64_t>::max();
    const std::uint64_t offset = source_->offset();
    return offset >= fileSize_ ? 0 : fileSize_ - offset;
}

}  // namespace KelpPly
