#include "streams/GrowingMemory.h"

#include <algorithm>
#include <cstring>

#include "kvcore/BlockPool.h"
#include "kvcore/Platform.h"

namespace mova {
namespace {

constexpr std::size_t firstCapacity = 512;
constexpr std::size_t large = std::size_t{128} << 10;
constexpr std::size_t leastReservation = std::size_t{1} << 30;
constexpr std::size_t reservationFactor = 8;
constexpr std::size_t mostAddresses = std::size_t{1} << 46;

}  // namespace

GrowingMemory::~GrowingMemory() {
    if (reserved_ != 0) {
        VirtualFree(begin_, 0, MEM_RELEASE);
    } else {
        kv::GiveBlock(begin_, capacity_);
    }
}

bool GrowingMemory::Grow(std::size_t needed, std::size_t used, GrowingMemory& former) noexcept {
    if (reserved_ != 0 && Commit(needed)) return true;
    GrowingMemory grown;
    if (needed > large) {
        if (needed > mostAddresses) return false;
        grown = Reserve(needed);
        if (!grown.Commit(needed)) return false;
    } else {
        grown.capacity_ = std::max({needed, 2 * capacity_, firstCapacity});
        grown.begin_ = static_cast<std::byte*>(kv::TakeBlock(grown.capacity_));
        if (!grown.begin_) return false;
    }
    if (used != 0) std::memcpy(grown.begin_, begin_, used);
    former = std::exchange(*this, std::move(grown));
    return true;
}

bool GrowingMemory::Commit(std::size_t needed) noexcept {
    if (needed > reserved_) return false;
    const std::size_t ahead = std::min(reserved_, std::max(needed, capacity_ + capacity_ / 2));
    for (const std::size_t wanted : {ahead, needed}) {
        if (!VirtualAlloc(begin_ + capacity_, wanted - capacity_, MEM_COMMIT, PAGE_READWRITE)) continue;
        capacity_ = wanted;
        return true;
    }
    return false;
}

GrowingMemory GrowingMemory::Reserve(std::size_t needed) noexcept {
    GrowingMemory memory;
    for (const std::size_t size : {std::max(leastReservation, reservationFactor * needed), needed}) {
        memory.begin_ = static_cast<std::byte*>(VirtualAlloc(nullptr, size, MEM_RESERVE, PAGE_NOACCESS));
        if (!memory.begin_) continue;
        memory.reserved_ = size;
        break;
    }
    return memory;
}

}  // namespace mova
