#pragma once

#include <cstdint>
#include <tuple>

namespace kv {

inline constexpr std::int32_t nanosecondsPerSecond = 1'000'000'000;
inline constexpr std::int32_t nanosecondsPerMillisecond = 1'000'000;
inline constexpr std::int64_t secondsPerDay = 86'400;
inline constexpr std::int64_t nanosecondsPerDay = secondsPerDay * nanosecondsPerSecond;

/// A date and time of day, as the interfaces hand it out and streams hold it: WKSDateTime. There is no year 0; -1 is
/// the year before 1.
struct DateTime {
    std::int16_t year = 1;
    std::int16_t month = 1;  ///< 1 to 12
    std::int16_t day = 1;
    std::int16_t hour = 0;
    std::int16_t minute = 0;
    std::int16_t second = 0;
    std::int32_t nanosecond = 0;

    friend bool operator==(const DateTime&, const DateTime&) noexcept = default;
    friend bool operator<(const DateTime& left, const DateTime& right) noexcept {
        const auto inOrder = [](const DateTime& at) {
            return std::tie(at.year, at.month, at.day, at.hour, at.minute, at.second, at.nanosecond);
        };
        return inOrder(left) < inOrder(right);
    }
};
static_assert(sizeof(DateTime) == 16);

/// Whether hour, minute, second and nanosecond are in their ranges; there is no leap second.
constexpr bool IsTimeOfDay(const DateTime& fields) noexcept {
    return fields.hour >= 0 && fields.hour <= 23 && fields.minute >= 0 && fields.minute <= 59 && fields.second >= 0 &&
           fields.second <= 59 && fields.nanosecond >= 0 && fields.nanosecond < nanosecondsPerSecond;
}

/// The nanoseconds since midnight.
constexpr std::int64_t TimeOfDay(const DateTime& fields) noexcept {
    const std::int64_t seconds = (fields.hour * 60 + fields.minute) * 60 + fields.second;
    return seconds * nanosecondsPerSecond + fields.nanosecond;
}

/// Sets the time of day. @param nanoseconds since midnight, 0 to nanosecondsPerDay - 1
constexpr void SetTimeOfDay(DateTime& fields, std::int64_t nanoseconds) noexcept {
    const auto seconds = static_cast<std::int32_t>(nanoseconds / nanosecondsPerSecond);
    fields.nanosecond = static_cast<std::int32_t>(nanoseconds % nanosecondsPerSecond);
    fields.second = static_cast<std::int16_t>(seconds % 60);
    fields.minute = static_cast<std::int16_t>(seconds / 60 % 60);
    fields.hour = static_cast<std::int16_t>(seconds / 3'600);
}

/// Years as they are written, without a year 0, and as one counts with them.
constexpr std::int32_t AstronomicalYear(std::int32_t year) noexcept {
    return year < 0 ? year + 1 : year;
}
constexpr std::int32_t WrittenYear(std::int32_t astronomical) noexcept {
    return astronomical < 1 ? astronomical - 1 : astronomical;
}

}  // namespace kv
