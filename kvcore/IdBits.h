#pragma once

#include <bit>
#include <cstdint>

namespace kv {

/// A 128-bit identifier as two 64-bit halves in their order in memory, which two compares tell apart. The low word of
/// the first half is the identifier's first 32-bit field on the little-endian machines that this library serves.
struct IdBits {
    std::uint64_t first = 0;
    std::uint64_t second = 0;

    friend constexpr bool operator==(const IdBits&, const IdBits&) noexcept = default;
    friend constexpr bool operator<(const IdBits& left, const IdBits& right) noexcept {
        return left.first != right.first ? left.first < right.first : left.second < right.second;
    }
};

/// The halves of any 16-byte identifier structure.
template <class Id>
constexpr IdBits BitsOf(const Id& id) noexcept {
    static_assert(sizeof(Id) == sizeof(IdBits) && std::endian::native == std::endian::little);
    return std::bit_cast<IdBits>(id);
}

}  // namespace kv
