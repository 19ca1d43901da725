// What the compilers at hand offer beyond the standard, under one name.
#pragma once

#include <cstdint>

namespace kv {

/// The two halves of the 128-bit product, one upon the other: each bit of either factor reaches the whole result.
constexpr std::uint64_t FoldedProduct(std::uint64_t left, std::uint64_t right) noexcept {
    __extension__ using Wide = unsigned __int128;
    const Wide product = static_cast<Wide>(left) * right;
    return static_cast<std::uint64_t>(product) ^ static_cast<std::uint64_t>(product >> 64);
}

}  // namespace kv
