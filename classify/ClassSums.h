// What natural breaks need to know of a class, in integers, so that values join and leave it without any rounding.
#pragma once

#include <cstdint>

namespace mova {

__extension__ using Uint128 = unsigned __int128;

/// A whole number as a double, rounded by at most two units in its last place.
inline double AsDouble(Uint128 number) noexcept {
    constexpr double highUnit = 0x1p64;
    return static_cast<double>(static_cast<std::uint64_t>(number >> 64)) * highUnit +
           static_cast<double>(static_cast<std::uint64_t>(number));
}

/// An unsigned integer of 192 bits; it wraps.
struct Uint192 {
    Uint128 low = 0;
    std::uint64_t high = 0;

    Uint192& operator+=(const Uint192& other) noexcept {
        low += other.low;
        high += other.high + (low < other.low ? 1 : 0);
        return *this;
    }
    Uint192& operator-=(const Uint192& other) noexcept {
        high -= other.high + (low < other.low ? 1 : 0);
        low -= other.low;
        return *this;
    }
};

inline Uint192 Product(std::uint64_t left, Uint128 right) noexcept {
    const Uint128 lower = static_cast<Uint128>(left) * static_cast<std::uint64_t>(right);
    const Uint128 upper = static_cast<Uint128>(left) * static_cast<std::uint64_t>(right >> 64);
    Uint192 product{lower, static_cast<std::uint64_t>(upper >> 64)};
    return product += {upper << 64, 0};
}

inline double AsDouble(const Uint192& number) noexcept {
    constexpr double highUnit = 0x1p128;
    return static_cast<double>(number.high) * highUnit + AsDouble(number.low);
}

/// The sums over some values x with frequencies f, f below 2^31 and x below 2^62: with fewer than 2^32 values none of
/// them wraps.
struct ClassSums {
    std::uint64_t weight = 0;  ///< of f
    Uint128 sum = 0;           ///< of f x
    Uint192 squares;           ///< of f x x

    void Add(std::uint64_t value, std::uint64_t frequency) noexcept {
        const Uint128 product = static_cast<Uint128>(value) * frequency;
        weight += frequency;
        sum += product;
        squares += Product(value, product);
    }
    ClassSums& operator+=(const ClassSums& other) noexcept {
        weight += other.weight;
        sum += other.sum;
        squares += other.squares;
        return *this;
    }
    ClassSums& operator-=(const ClassSums& other) noexcept {
        weight -= other.weight;
        sum -= other.sum;
        squares -= other.squares;
        return *this;
    }
};

}  // namespace mova
