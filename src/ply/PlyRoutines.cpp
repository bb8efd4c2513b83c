// The per-property routines of the element data: ASCII readers and skippers,
// binary readers per (stored type, memory type) pair, binary skippers, and
// the two generic routines that decide per call.
#include "ply/PlyFile.h"
#include "ply/PlyValues.h"
#include "report/Recorder.h"

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
        const std::size_t memorySize = static_cast<std::size_t>(kPlyTypeSizes[request.memoryType]);
        if (!itemsChecked) {
            buffer = std::calloc(static_cast<std::size_t>(count), memorySize);
            if (!buffer) return KelpRecord::fail(KelpRecord::Code::PlyOutOfMemory, {}, input.offset());
            auto* target = static_cast<unsigned char*>(buffer);
            // A last item cut short keeps the bytes that arrived.
            std::int64_t i = 0;
            for (; i < count && input.ensure(1); ++i, target += memorySize) readItem(target);
            if (i < count) KelpRecord::note(KelpRecord::Code::PlyListPastEnd, {}, input.offset(), std::uint64_t(count), std::uint64_t(i));
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
    if (count > kept) KelpRecord::note(KelpRecord::Code::PlyListCut, {}, input.offset(), std::uint64_t(count), std::uint64_t(kept));
    const std::size_t memorySize = static_cast<std::size_t>(kPlyTypeSizes[request.memoryType]);
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

inline bool binaryScalarBody(PlyInput& input, unsigned char* record, const PlyPropertyRequest& request,
                             int stored, int memory) {
    if (!record) return false;
    const int size = kPlyTypeSizes[stored];
    unsigned char bytes[8] = {};
    const bool complete = readBytes(input, bytes, size);
    const bool ok = zeroMeansFailure(stored, request.format) ? !allZero(bytes, size) : complete;
    // A char read into anything but char is dropped; the destination keeps
    // what it held.
    if (stored == PlyTypeChar && memory != PlyTypeChar) return ok;
    storeNumber(memory, record + request.valueOffset, loadNumber(stored, bytes, request.format));
    return ok;
}

// The list count as declared; only the reader of int items stored as int
// uses it. A count type it does not know reads as a failure.
inline bool readDeclaredCount(PlyInput& input, int countType, int format, std::int64_t& count) {
    if (countType != PlyTypeChar && countType != PlyTypeUchar && countType != PlyTypeShort &&
        countType != PlyTypeInt && countType != PlyTypeUint)
        return false;
    const int size = kPlyTypeSizes[countType];
    unsigned char bytes[4] = {};
    const bool complete = readBytes(input, bytes, size);
    const bool ok = zeroMeansFailure(countType, format) ? !allZero(bytes, size) : complete;
    count = static_cast<std::int32_t>(loadNumber(countType, bytes, format).integer);
    return ok;
}

inline bool binaryListBody(PlyInput& input, unsigned char* record, const PlyPropertyRequest& request, int stored,
                           int memory, bool countAsDeclared) {
    if (!record) return false;
    std::int64_t count = 0;
    if (countAsDeclared) {
        if (!readDeclaredCount(input, request.countStoredType, request.format, count)) return false;
    } else {
        unsigned char byte = 0;
        if (!readBytes(input, &byte, 1)) return false;
        count = byte;
    }
    storeCount(request, record, count);

    const int itemSize = kPlyTypeSizes[stored];
    const bool itemsChecked = listItemsChecked(stored, request.format);
    auto readItem = [&](unsigned char* target) {
        unsigned char bytes[8] = {};
        const bool complete = readBytes(input, bytes, itemSize);
        if (itemsChecked && !complete) return false;
        if (stored == PlyTypeChar && memory != PlyTypeChar) return true;
        storeNumber(memory, target, loadNumber(stored, bytes, request.format));
        return true;
    };
    if (request.allocateList)
        return readAllocatedList(input, record, request, count, itemSize, itemsChecked, readItem);
    return readInPlaceList(input, record, request, count, readItem,
                           [&](std::uint64_t n) { return dropBinaryItems(input, n, itemSize, itemsChecked); });
}

template <int Stored, int Memory>
bool binaryScalar(PlyInput& input, unsigned char* record, const PlyPropertyRequest& request) {
    return binaryScalarBody(input, record, request, Stored, Memory);
}

template <int Stored, int Memory>
bool binaryList(PlyInput& input, unsigned char* record, const PlyPropertyRequest& request) {
    return binaryListBody(input, record, request, Stored, Memory, Stored == PlyTypeInt && Memory == PlyTypeInt);
}

template <int Size>
bool binarySkip(PlyInput& input, unsigned char*, const PlyPropertyRequest&) {
    return input.skip(Size) == Size;
}

// One unsigned byte of count, then the items dropped in one read that must
// return at least one item: an unrequested list of 0 items fails.
template <int ItemSize>
bool binaryListSkip(PlyInput& input, unsigned char*, const PlyPropertyRequest&) {
    unsigned char count = 0;
    readBytes(input, &count, 1);
    return input.skip(std::uint64_t(count) * ItemSize) >= ItemSize;
}

template <int Stored>
PlyReadRoutine binaryScalarFor(int memory) {
    if (isFloatingType(Stored) && !isFloatingType(memory)) return nullptr;
    switch (memory) {
    case 1: return binaryScalar<Stored, 1>;
    case 2: return binaryScalar<Stored, 2>;
    case 3: return binaryScalar<Stored, 3>;
    case 4: return binaryScalar<Stored, 4>;
    case 5: return binaryScalar<Stored, 5>;
    case 6: return binaryScalar<Stored, 6>;
    case 7: return binaryScalar<Stored, 7>;
    case 8: return binaryScalar<Stored, 8>;
    default: return nullptr;
    }
}

template <int Stored>
PlyReadRoutine binaryListFor(int memory) {
    if (isFloatingType(Stored) && !isFloatingType(memory)) return nullptr;
    switch (memory) {
    case 1: return binaryList<Stored, 1>;
    case 2: return binaryList<Stored, 2>;
    case 3: return binaryList<Stored, 3>;
    case 4: return binaryList<Stored, 4>;
    case 5: return binaryList<Stored, 5>;
    case 6: return binaryList<Stored, 6>;
    case 7: return binaryList<Stored, 7>;
    case 8: return binaryList<Stored, 8>;
    default: return nullptr;
    }
}

PlyReadRoutine binaryScalarRoutine(int stored, int memory) {
    switch (stored) {
    case 1: return binaryScalarFor<1>(memory);
    case 2: return binaryScalarFor<2>(memory);
    case 3: return binaryScalarFor<3>(memory);
    case 4: return binaryScalarFor<4>(memory);
    case 5: return binaryScalarFor<5>(memory);
    case 6: return binaryScalarFor<6>(memory);
    case 7: return binaryScalarFor<7>(memory);
    case 8: return binaryScalarFor<8>(memory);
    default: return nullptr;
    }
}

PlyReadRoutine binaryListRoutine(int stored, int memory) {
    switch (stored) {
    case 1: return binaryListFor<1>(memory);
    case 2: return binaryListFor<2>(memory);
    case 3: return binaryListFor<3>(memory);
    case 4: return binaryListFor<4>(memory);
    case 5: return binaryListFor<5>(memory);
    case 6: return binaryListFor<6>(memory);
    case 7: return binaryListFor<7>(memory);
    case 8: return binaryListFor<8>(memory);
    default: return nullptr;
    }
}

// ---- ASCII -------------------------------------------------------------

// One value in the declared type's fscanf format, narrowed to that type.
bool asciiNumber(PlyInput& input, int declaredType, PlyNumber& n) {
    switch (declaredType) {
    case PlyTypeChar:
    case PlyTypeShort:
    case PlyTypeInt: {
        int v = 0;
        if (!input.scanInt(v)) return false;
        n.integer = declaredType == PlyTypeChar    ? static_cast<std::int8_t>(v)
                    : declaredType == PlyTypeShort ? static_cast<std::int16_t>(v)
                                                   : v;
        return true;
    }
    case PlyTypeUchar:
    case PlyTypeUshort:
    case PlyTypeUint: {
        unsigned v = 0;
        if (!input.scanUnsigned(v)) return false;
        n.integer = declaredType == PlyTypeUchar    ? static_cast<std::uint8_t>(v)
                    : declaredType == PlyTypeUshort ? static_cast<std::uint16_t>(v)
                                                    : v;
        return true;
    }
    case PlyTypeFloat: {
        float v = 0.0f;
        if (!input.scanFloat(v)) return false;
        n.real = v;
        n.isReal = true;
        return true;
    }
    case PlyTypeDouble: {
        double v = 0.0;
        if (!input.scanDouble(v)) return false;
        n.real = v;
        n.isReal = true;
        return true;
    }
    default: return false;
    }
}

bool asciiScalar(PlyInput& input, unsigned char* record, const PlyPropertyRequest& request) {
    if (!record) return false;
    PlyNumber n;
    if (!asciiNumber(input, request.storedType, n)) return false;
    storeNumber(request.memoryType, record + request.valueOffset, n);
    return true;
}

bool asciiSkipInt(PlyInput& input, unsigned char*, const PlyPropertyRequest&) {
    int ignored;
    return input.scanInt(ignored);
}

bool asciiSkipFloat(PlyInput& input, unsigned char*, const PlyPropertyRequest&) {
    float ignored;
    return input.scanFloat(ignored);
}

bool asciiList(PlyInput& input, unsigned char* record, const PlyPropertyRequest& request) {
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
bool asciiListSkip(PlyInput& input, unsigned char*, const PlyPropertyRequest&) {
    int count = 0;
    if (!input.scanInt(count)) return false;
    for (int i = 0; i < count; ++i) {
        float ignored;
        if (!input.scanFloat(ignored)) return false;
    }
    return true;
}

PlyReadRoutine binarySkipRoutine(int size) {
    switch (size) {
    case 1: return binarySkip<1>;
    case 2: return binarySkip<2>;
    case 4: return binarySkip<4>;
    case 8: return binarySkip<8>;
    default: return nullptr;
    }
}

PlyReadRoutine binaryListSkipRoutine(int itemSize) {
    switch (itemSize) {
    case 1: return binaryListSkip<1>;
    case 2: return binaryListSkip<2>;
    // Items of 8 bytes are dropped as 4 bytes each: hosts rely on the stream
    // position that gives.
    case 4:
    case 8: return binaryListSkip<4>;
    default: return nullptr;
    }
}

}  // namespace

PlyReadRoutine choosePlyRoutine(const PlyProperty& property, int format) {
    const PlyPropertyRequest& request = property.request;
    if (property.type <= PlyTypeNone || property.type >= kPlyTypeCount) return nullptr;
    if (format == PlyFormatAscii) {
        if (property.isList) return property.stored ? asciiList : asciiListSkip;
        if (property.stored) return asciiScalar;
        if (isIntegerType(property.type)) return asciiSkipInt;
        return asciiSkipFloat;
    }
    if (format != PlyFormatBinaryLittleEndian && format != PlyFormatBinaryBigEndian) return nullptr;
    if (property.isList) {
        if (!property.stored) return binaryListSkipRoutine(kPlyTypeSizes[property.type]);
        return binaryListRoutine(request.storedType, request.memoryType);
    }
    if (!property.stored) return binarySkipRoutine(kPlyTypeSizes[property.type]);
    return binaryScalarRoutine(request.storedType, request.memoryType);
}

bool plyGenericAsciiRoutine(PlyInput& input, unsigned char* record, const PlyPropertyRequest& request) {
    if (!isValidRequestType(request.storedType) || !isValidRequestType(request.memoryType)) return false;
    if (request.isList) return record ? asciiList(input, record, request) : asciiListSkip(input, record, request);
    if (record) return asciiScalar(input, record, request);
    return isIntegerType(request.storedType) ? asciiSkipInt(input, record, request)
                                             : asciiSkipFloat(input, record, request);
}

bool plyGenericBinaryRoutine(PlyInput& input, unsigned char* record, const PlyPropertyRequest& request) {
    const int stored = request.storedType;
    if (!isValidRequestType(stored) || !isValidRequestType(request.memoryType)) return false;
    if (!request.isList) {
        if (!record) return input.skip(static_cast<std::uint64_t>(kPlyTypeSizes[stored])) ==
                            static_cast<std::uint64_t>(kPlyTypeSizes[stored]);
        if (isFloatingType(stored) && !isFloatingType(request.memoryType)) return false;
        return binaryScalarBody(input, record, request, stored, request.memoryType);
    }
    // The count by its declared type, short, ushort and uint counts reversed
    // under binary_little_endian.
    const int countType = request.countStoredType;
    if (!isIntegerType(countType)) return false;
    unsigned char bytes[4] = {};
    if (!readBytes(input, bytes, kPlyTypeSizes[countType])) return false;
    const std::int64_t count = loadNumber(countType, bytes, request.format).integer;
    const int itemSize = kPlyTypeSizes[stored];
    if (!record) return input.skip(std::uint64_t(count > 0 ? count : 0) * std::uint64_t(itemSize)) ==
                        std::uint64_t(count > 0 ? count : 0) * std::uint64_t(itemSize);
    if (isFloatingType(stored) && !isFloatingType(request.memoryType)) return false;
    storeCount(request, record, count);
    const int memory = request.memoryType;
    const bool itemsChecked = listItemsChecked(stored, request.format);
    auto readItem = [&](unsigned char* target) {
        unsigned char item[8] = {};
        if (!readBytes(input, item, itemSize) && itemsChecked) return false;
        storeNumber(memory, target, loadNumber(stored, item, request.format));
        return true;
    };
    if (request.allocateList)
        return readAllocatedList(input, record, request, count, itemSize, itemsChecked, readItem);
    return readInPlaceList(input, record, request, count, readItem,
                           [&](std::uint64_t n) { return dropBinaryItems(input, n, itemSize, itemsChecked); });
}

}  // namespace KelpPly
