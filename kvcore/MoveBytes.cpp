#include "kvcore/MoveBytes.h"

#include <array>
#include <cstring>

namespace kv {
namespace {

/// Moves N to 2 N bytes as two pieces that may overlap; both are in registers before one is written.
template <std::size_t N>
void MoveTwice(std::byte* target, const std::byte* source, std::size_t size) noexcept {
    std::array<std::byte, N> first;
    std::array<std::byte, N> last;
    std::memcpy(first.data(), source, N);
    std::memcpy(last.data(), source + size - N, N);
    std::memcpy(target, first.data(), N);
    std::memcpy(target + size - N, last.data(), N);
}

}  // namespace

void MoveBytes(void* to, const void* from, std::size_t size) noexcept {
    auto* const target = static_cast<std::byte*>(to);
    const auto* const source = static_cast<const std::byte*>(from);
    if (size > 128) {
        std::memmove(target, source, size);
    } else if (size > 32) {
        size > 64 ? MoveTwice<64>(target, source, size) : MoveTwice<32>(target, source, size);
    } else if (size > 8) {
        size > 16 ? MoveTwice<16>(target, source, size) : MoveTwice<8>(target, source, size);
    } else if (size > 2) {
        size >= 4 ? MoveTwice<4>(target, source, size) : MoveTwice<2>(target, source, size);
    } else if (size != 0) {
        MoveTwice<1>(target, source, size);
    }
}

}  // namespace kv
