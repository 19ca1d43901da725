// Lengths of time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

#include "kvcore/DateTime.h"

namespace calendar {

/// A length of time in parts, which are kept as they are given. In its shortest form every part is from 0 on, hours are
/// below 24, minutes and seconds below 60, and no length at all is positive.
struct Duration {
    bool isPositive = true;  ///< else all parts count backward
    std::int32_t days = 0;
    std::int32_t hours = 0;
    std::int32_t minutes = 0;
    std::int32_t seconds = 0;
    std::int32_t nanoseconds = 0;  ///< 0 to 999,999,999

    friend bool operator==(const Duration&, const Duration&) noexcept = default;
};

/// A length of time as one number. Lengths compare by their members in their order.
struct Length {
    std::int64_t seconds = 0;      ///< below those that the nanoseconds are added to
    std::int32_t nanoseconds = 0;  ///< 0 to 999,999,999

    friend bool operator==(const Length&, const Length&) noexcept = default;
    friend constexpr bool operator<(const Length& left, const Length& right) noexcept {
        return left.seconds != right.seconds ? left.seconds < right.seconds : left.nanoseconds < right.nanoseconds;
    }
};

/// A length from seconds and any nanoseconds.
constexpr Length LengthFrom(std::int64_t seconds, std::int64_t nanoseconds) noexcept {
    const std::int64_t rest = nanoseconds % kv::nanosecondsPerSecond;
    const std::int64_t carry = nanoseconds / kv::nanosecondsPerSecond - (rest < 0 ? 1 : 0);
    return {seconds + carry, static_cast<std::int32_t>(rest < 0 ? rest + kv::nanosecondsPerSecond : rest)};
}
/// How long a duration is. @param duration nanoseconds of any kind
Length LengthOf(const Duration& duration) noexcept;
/// A length in its shortest form; nothing where 32 bits do not hold the days.
std::optional<Duration> DurationOf(const Length& length) noexcept;

/// Sums and multiples of the lengths of durations and of their differences, which are far from what 64 bits hold.
Length Sum(const Length& left, const Length& right) noexcept;
Length Opposite(const Length& length) noexcept;
/// @return nothing where it has more days than 32 bits hold
std::optional<Length> Multiple(const Length& length, std::int32_t factor) noexcept;

/// A duration in ticks of 100 nanoseconds: its nanoseconds rounded to ticks, halves away from 0; below 0 where it
/// counts backward. @return nothing where 64 bits do not hold them
std::optional<std::int64_t> TicksOf(const Duration& duration) noexcept;
/// So many ticks in the shortest form, where every count has one.
Duration DurationOfTicks(std::int64_t ticks) noexcept;

/// The room that a duration's text may use.
inline constexpr std::size_t durationTextSize = 72;
/// Writes a duration as ISO 8601 has it, with all four parts as they are: -P1DT2H3M4.5S. @param out has room for
/// durationTextSize units @return the end of the text
char16_t* FormatDuration(char16_t* out, const Duration& duration) noexcept;

/// Reads a duration of ISO 8601: P2DT12H, -PT0.5S, P3W. Days, hours, minutes and seconds are taken as they stand, any
/// but all of them can be missing; weeks stand alone. Decimals behind the ninth are rounded, halves up.
/// @return nothing for any other text, years and months among them, and where 32 bits do not hold a part
std::optional<Duration> ReadDuration(std::u16string_view text) noexcept;

}  // namespace calendar
