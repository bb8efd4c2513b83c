// The per-property routines of the element data: ASCII and binary readers
// and skippers. One reader per encoding and shape converts between whatever
// types the request names, as it runs; the common binary layouts are mostly
// decoded a whole instance at a time instead (PlyInstanceDecoder.h).
#include "ply/PlyFile.h"
#include "ply/PlyValues.h"
#include "report/Recorder.h"

#include <algorithm>
#include <cstdlib>
#include <vector>

namespace KelpPly {

namespace {

constexpr std::size_t kInitialListItems = 1024;

// fread(bytes, size, 1): the bytes that arrived land in `bytes` (zeroed
// beforehand by the caller); true when all of them did.
inline bool readBytes(PlyInput& input, unsigned char* bytes, int size) {
    const std::size_t want = static_cast<std::size_t>(size);
    if (input.available() >= want) {
        std::memcpy(bytes, input.data(), want);
        input.advance(want);
        return true;
    }
    return input.read(bytes, want) == want;
}

inline void storeCount(const PlyPropertyRequest& request, unsigned char* record, std::int64_t count) {
    PlyNumber n;
    n.integer = count;
    storeNumber(request.countMemoryType, record + request.countOffset, n);
}

inline void storePointer(unsigned char* target, void* pointer) { std::memcpy(target, &pointer, sizeof pointer); }

// Reads the items of an allocated list. When a short read fails the list, the
// buffer grows as the items arrive, so that a count no file could hold
// allocates nothing beyond the file's data. When short reads go unnoticed
// (`itemsChecked` false), the list always succeeds with `count` entries: the
// zero-filled buffer is allocated at once, the items the file still holds are
// read into it, and the rest stay 0 without being visited.
template <typename ReadItem>
bool readAllocatedList(PlyInput& input, unsigned char* record, const PlyPropertyRequest& request,
                       std::int64_t count, int itemBytesAtLeast, bool itemsChecked, ReadItem readItem) {
    void* buffer = nullptr;
    if (count > 0) {
        const std::size_t memorySize = static_cast<std::size_t>(plyTypeSize(request.memoryType));
        if (!itemsChecked) {
            buffer = std::calloc(static_cast<std::size_t>(count), memorySize);
            if (!buffer) return KelpRecord::fail(KelpRecord::Code::PlyOutOfMemory, {}, input.offset());
            auto* target = static_cast<unsigned char*>(buffer);
            // A last item cut short keeps the bytes that arrived.
            std::int64_t i = 0;
            for (; i < count && input.ensure(1); ++i, target += memorySize) readItem(target);
            if (i < count)
                KelpRecord::note(KelpRecord::Code::PlyListPastEnd, {}, input.offset(), std::uint64_t(count),
                                 std::uint64_t(i));
            storePointer(record + request.valueOffset, buffer);
            return true;
        }
        std::vector<unsigned char> items;
        items.reserve(memorySize * static_cast<std::size_t>(count < std::int64_t(kInitialListItems)
                                                                 ? count
                                                                 : std::int64_t(kInitialListItems)));
        for (std::int64_t i = 0; i < count; ++i) {
            if (!input.ensure(static_cast<std::size_t>(itemBytesAtLeast))) return false;
            items.resize(items.size() + memorySize);
            if (!readItem(items.data() + items.size() - memorySize)) return false;
        }
        buffer = std::calloc(static_cast<std::size_t>(count), memorySize);
        if (!buffer) return KelpRecord::fail(KelpRecord::Code::PlyOutOfMemory, {}, input.offset());
        std::memcpy(buffer, items.data(), items.size());
    }
    storePointer(record + request.valueOffset, buffer);
    return true;
}

// Reads the items of a list written in place: the items that fit the room the
// caller gave are stored, the rest are consumed by `dropItems(n)` and lost.
template <typename ReadItem, typename DropItems>
bool readInPlaceList(PlyInput& input, unsigned char* record, const PlyPropertyRequest& request, std::int64_t count,
                     ReadItem readItem, DropItems dropItems) {
    const std::int64_t kept = count < request.listCapacity ? count : request.listCapacity;
    if (count > kept)
        KelpRecord::note(KelpRecord::Code::PlyListCut, {}, input.offset(), std::uint64_t(count), std::uint64_t(kept));
    const std::size_t memorySize = static_cast<std::size_t>(plyTypeSize(request.memoryType));
    unsigned char* target = record + request.valueOffset;
    for (std::int64_t i = 0; i < kept; ++i, target += memorySize)
        if (!readItem(target)) return false;
    return count <= kept || dropItems(static_cast<std::uint64_t>(count - kept));
}

// Drops `n` binary items: they must all be there unless short reads go unnoticed.
inline bool dropBinaryItems(PlyInput& input, std::uint64_t n, int itemSize, bool itemsChecked) {
    const std::uint64_t bytes = n * static_cast<std::uint64_t>(itemSize);
    return input.skip(bytes) == bytes || !itemsChecked;
}

// ---- binary ------------------------------------------------------------

// The list count as declared; only the reader of int items stored as int
// uses it. A count type it does not know reads as a failure.
inline bool readDeclaredCount(PlyInput& input, PlyScalarType countType, PlyFormat format, std::int64_t& count) {
    if (countType != PlyScalarType::Char && countType != PlyScalarType::Uchar && countType != PlyScalarType::Short &&
        countType != PlyScalarType::Int && countType != PlyScalarType::Uint)
        return false;
    const int size = plyTypeSize(countType);
    unsigned char bytes[4] = {};
    const bool complete = readBytes(input, bytes, size);
    const bool ok = zeroMeansFailure(countType, format) ? !allZero(bytes, size) : complete;
    count = static_cast<std::int32_t>(loadNumber(countType, bytes, format).integer);
    return ok;
}

bool binaryScalar(PlyInput& input, unsigned char* record, const PlyProperty& property) {
    const PlyPropertyRequest& request = property.request;
    if (!record) return false;
    const PlyScalarType stored = request.storedType;
    const int size = plyTypeSize(stored);
    unsigned char bytes[8] = {};
    const bool complete = readBytes(input, bytes, size);
    const bool ok = zeroMeansFailure(stored, request.format) ? !allZero(bytes, size) : complete;
    // A char read into anything but char is dropped; the destination keeps
    // what it held.
    if (stored == PlyScalarType::Char && request.memoryType != PlyScalarType::Char) return ok;
    storeNumber(request.memoryType, record + request.valueOffset, loadNumber(stored, bytes, request.format));
    return ok;
}

bool binaryList(PlyInput& input, unsigned char* record, const PlyProperty& property) {
    const PlyPropertyRequest& request = property.request;
    if (!record) return false;
    const PlyScalarType stored = request.storedType;
    const PlyScalarType memory = request.memoryType;
    // The count is one unsigned byte, whatever its declared type, except for
    // int items stored as int.
    std::int64_t count = 0;
    if (stored == PlyScalarType::Int && memory == PlyScalarType::Int) {
        if (!readDeclaredCount(input, request.countStoredType, request.format, count)) return false;
    } else {
        unsigned char byte = 0;
        if (!readBytes(input, &byte, 1)) return false;
        count = byte;
    }
    storeCount(request, record, count);

    const int itemSize = plyTypeSize(stored);
    const bool itemsChecked = listItemsChecked(stored, request.format);
    auto readItem = [&](unsigned char* target) {
        unsigned char bytes[8] = {};
        const bool complete = readBytes(input, bytes, itemSize);
        if (itemsChecked && !complete) return false;
        if (stored == PlyScalarType::Char && memory != PlyScalarType::Char) return true;
        storeNumber(memory, target, loadNumber(stored, bytes, request.format));
        return true;
    };
    if (request.allocateList)
        return readAllocatedList(input, record, request, count, itemSize, itemsChecked, readItem);
    return readInPlaceList(input, record, request, count, readItem,
                           [&](std::uint64_t n) { return dropBinaryItems(input, n, itemSize, itemsChecked); });
}

bool binarySkip(PlyInput& input, unsigned char*, const PlyProperty& property) {
    const auto size = static_cast<std::uint64_t>(plyTypeSize(property.type));
    return input.skip(size) == size;
}

// One unsigned byte of count, then the items dropped in one read that must
// return at least one item: an unrequested list of 0 items fails. Items of 8
// bytes are dropped as 4 bytes each: hosts rely on the stream position that
// gives.
bool binaryListSkip(PlyInput& input, unsigned char*, const PlyProperty& property) {
    const std::uint64_t itemSize = std::min(plyTypeSize(property.type), 4);
    unsigned char count = 0;
    readBytes(input, &count, 1);
    return input.skip(count * itemSize) >= itemSize;
}

// ---- ASCII -------------------------------------------------------------

// One value in the declared type's fscanf format, narrowed to that type.
bool asciiNumber(PlyInput& input, PlyScalarType declaredType, PlyNumber& n) {
    switch (declaredType) {
    case PlyScalarType::Char:
    case PlyScalarType::Short:
    case PlyScalarType::Int: {
        int v = 0;
        if (!input.scanInt(v)) return false;
        n.integer = declaredType == PlyScalarType::Char    ? static_cast<std::int8_t>(v)
                    : declaredType == PlyScalarType::Short ? static_cast<std::int16_t>(v)
                                                           : v;
        return true;
    }
    case PlyScalarType::Uchar:
    case PlyScalarType::Ushort:
    case PlyScalarType::Uint: {
        unsigned v = 0;
        if (!input.scanUnsigned(v)) return false;
        n.integer = declaredType == PlyScalarType::Uchar    ? static_cast<std::uint8_t>(v)
                    : declaredType == PlyScalarType::Ushort ? static_cast<std::uint16_t>(v)
                                                            : v;
        return true;
    }
    case PlyScalarType::Float: {
        float v = 0.0f;
        if (!input.scanFloat(v)) return false;
        n.real = v;
        n.isReal = true;
        return true;
    }
    case PlyScalarType::Double: {
        double v = 0.0;
        if (!input.scanDouble(v)) return false;
        n.real = v;
        n.isReal = true;
        return true;
    }
    default: return false;
    }
}

bool asciiScalar(PlyInput& input, unsigned char* record, const PlyProperty& property) {
    const PlyPropertyRequest& request = property.request;
    if (!record) return false;
    PlyNumber n;
    if (!asciiNumber(input, request.storedType, n)) return false;
    storeNumber(request.memoryType, record + request.valueOffset, n);
    return true;
}

// An unrequested value is read and dropped as "%d" for the integer types and
// as "%f" for the others.
bool asciiSkip(PlyInput& input, unsigned char*, const PlyProperty& property) {
    if (isIntegerType(property.type)) {
        int ignored;
        return input.scanInt(ignored);
    }
    float ignored;
    return input.scanFloat(ignored);
}

bool asciiList(PlyInput& input, unsigned char* record, const PlyProperty& property) {
    const PlyPropertyRequest& request = property.request;
    if (!record) return false;
    int count = 0;
    if (!input.scanInt(count)) return false;
    storeCount(request, record, count);
    auto readItem = [&](unsigned char* target) {
        PlyNumber n;
        if (!asciiNumber(input, request.storedType, n)) return false;
        storeNumber(request.memoryType, target, n);
        return true;
    };
    if (request.allocateList) return readAllocatedList(input, record, request, count, 1, true, readItem);
    // Items beyond the record's room are still read as numbers of their type.
    auto dropItems = [&](std::uint64_t n) {
        PlyNumber ignored;
        for (std::uint64_t i = 0; i < n; ++i)
            if (!asciiNumber(input, request.storedType, ignored)) return false;
        return true;
    };
    return readInPlaceList(input, record, request, count, readItem, dropItems);
}

// The count as an int, then every item dropped as "%f" whatever its type.
bool asciiListSkip(PlyInput& input, unsigned char*, const PlyProperty&) {
    int count = 0;
    if (!input.scanInt(count)) return false;
    for (int i = 0; i < count; ++i) {
        float ignored;
        if (!input.scanFloat(ignored)) return false;
    }
    return true;
}

}  // namespace

PlyReadRoutine choosePlyRoutine(const PlyProperty& property, PlyFormat format) {
    if (!isValidRequestType(property.type)) return nullptr;
    if (format == PlyFormat::Ascii) {
        if (property.isList) return property.stored ? asciiList : asciiListSkip;
        return property.stored ? asciiScalar : asciiSkip;
    }
    if (!isBinaryFormat(format)) return nullptr;
    if (!property.stored) return property.isList ? binaryListSkip : binarySkip;
    // A floating value has no routine into an integer memory type.
    if (isFloatingType(property.request.storedType) && !isFloatingType(property.request.memoryType)) return nullptr;
    return property.isList ? binaryList : binaryScalar;
}

}  // namespace KelpPly
