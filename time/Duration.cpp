#include "time/Duration.h"

#include <limits>

#include "time/Digits.h"

namespace calendar {
namespace {

using kv::nanosecondsPerSecond;
using kv::secondsPerDay;

constexpr std::int64_t ticksPerSecond = 10'000'000;
constexpr std::int32_t nanosecondsPerTick = 100;
/// A second more than the longest duration in either direction.
constexpr std::int64_t endOfSeconds = (std::int64_t{std::numeric_limits<std::int32_t>::max()} + 1) * secondsPerDay;

/// The whole seconds of a duration, its sign left out.
constexpr std::int64_t SecondsOf(const Duration& duration) noexcept {
    return duration.days * secondsPerDay + duration.hours * std::int64_t{3'600} + duration.minutes * std::int64_t{60} +
           duration.seconds;
}

/// A number of seconds, from 0 on, as days, hours, minutes and seconds.
Duration InParts(std::uint64_t seconds, std::int32_t nanoseconds, bool isPositive) noexcept {
    const auto inDay = static_cast<std::int32_t>(seconds % secondsPerDay);
    return {.isPositive = isPositive,
            .days = static_cast<std::int32_t>(seconds / secondsPerDay),
            .hours = inDay / 3'600,
            .minutes = inDay / 60 % 60,
            .seconds = inDay % 60,
            .nanoseconds = nanoseconds};
}

/// Ticks in seconds, and what they are more.
struct Ticks {
    std::int64_t seconds, rest;

    friend constexpr bool operator<(const Ticks& left, const Ticks& right) noexcept {
        return left.seconds != right.seconds ? left.seconds < right.seconds : left.rest < right.rest;
    }
};
constexpr Ticks InTicks(std::int64_t seconds, std::int64_t ticks) noexcept {
    const std::int64_t rest = ticks % ticksPerSecond;
    const std::int64_t carry = ticks / ticksPerSecond;
    return rest < 0 ? Ticks{seconds + carry - 1, rest + ticksPerSecond} : Ticks{seconds + carry, rest};
}

/// Takes digits that are a number of 32 bits.
std::optional<std::int32_t> TakeNumber(std::u16string_view& text) noexcept {
    std::int64_t number = 0;
    std::size_t count = 0;
    for (; count < text.size() && IsDigit(text[count]); ++count) {
        number = number * 10 + (text[count] - u'0');
        if (number > std::numeric_limits<std::int32_t>::max()) return {};
    }
    if (count == 0) return {};
    text.remove_prefix(count);
    return static_cast<std::int32_t>(number);
}

bool TakeOne(std::u16string_view& text, char16_t unit) noexcept {
    if (text.empty() || text.front() != unit) return false;
    text.remove_prefix(1);
    return true;
}

/// Takes decimals behind a point, where there is one, and adds them to what was read.
bool TakeFraction(std::u16string_view& text, Duration& read, std::int32_t& seconds) noexcept {
    if (!TakeOne(text, u'.')) return true;
    std::size_t count = 0;
    while (count < text.size() && IsDigit(text[count])) ++count;
    if (count == 0) return false;
    read.nanoseconds = ReadFraction(text.substr(0, count));
    text.remove_prefix(count);
    if (read.nanoseconds < nanosecondsPerSecond) return true;
    if (seconds == std::numeric_limits<std::int32_t>::max()) return false;
    read.nanoseconds = 0;
    ++seconds;
    return true;
}

/// A part of a duration's text: the letter behind its number, and where the number goes.
struct Part {
    char16_t letter;
    bool isInTime;  ///< stands behind the T
    std::int32_t Duration::*number;
};
constexpr Part parts[] = {{u'D', false, &Duration::days},
                          {u'H', true, &Duration::hours},
                          {u'M', true, &Duration::minutes},
                          {u'S', true, &Duration::seconds}};

/// Takes the parts that stand behind the P, or behind the T, each once and in their order, to the T or to the end.
bool TakeParts(std::u16string_view& text, bool isInTime, Duration& read) noexcept {
    const Part* part = std::begin(parts);
    while (!text.empty() && text.front() != u'T') {
        auto number = TakeNumber(text);
        if (!number) return false;
        const bool isWhole = text.empty() || text.front() != u'.';
        if (!isWhole && !TakeFraction(text, read, *number)) return false;
        if (text.empty()) return false;
        while (part != std::end(parts) && (part->letter != text.front() || part->isInTime != isInTime)) ++part;
        if (part == std::end(parts) || (!isWhole && part->letter != u'S')) return false;
        read.*part->number = *number;
        ++part;
        text.remove_prefix(1);
    }
    return true;
}

/// Reads a text of weeks: the number and a W.
std::optional<std::int32_t> ReadWeeks(std::u16string_view text) noexcept {
    const auto weeks = TakeNumber(text);
    if (!weeks || text != u"W" || *weeks > std::numeric_limits<std::int32_t>::max() / 7) return {};
    return *weeks * 7;
}

}  // namespace

Length LengthOf(const Duration& duration) noexcept {
    const Length forward = LengthFrom(SecondsOf(duration), duration.nanoseconds);
    return duration.isPositive ? forward : Opposite(forward);
}

std::optional<Duration> DurationOf(const Length& length) noexcept {
    if (length.seconds < -endOfSeconds || length.seconds >= endOfSeconds) return {};
    const bool isPositive = length.seconds >= 0;
    const Length magnitude = isPositive ? length : Opposite(length);
    if (magnitude.seconds >= endOfSeconds) return {};
    return InParts(static_cast<std::uint64_t>(magnitude.seconds), magnitude.nanoseconds, isPositive);
}

Length Sum(const Length& left, const Length& right) noexcept {
    return LengthFrom(left.seconds + right.seconds, std::int64_t{left.nanoseconds} + right.nanoseconds);
}

Length Opposite(const Length& length) noexcept {
    return LengthFrom(-length.seconds, -std::int64_t{length.nanoseconds});
}

std::optional<Length> Multiple(const Length& length, std::int32_t factor) noexcept {
    const std::int64_t distance = length.seconds < 0 ? -length.seconds : length.seconds;
    const std::int64_t times = factor < 0 ? -std::int64_t{factor} : factor;
    if (distance != 0 && times > endOfSeconds / distance + 1) return {};
    return LengthFrom(length.seconds * factor, std::int64_t{length.nanoseconds} * factor);
}

std::optional<std::int64_t> TicksOf(const Duration& duration) noexcept {
    const std::int32_t half = duration.nanoseconds < 0 ? -nanosecondsPerTick / 2 : nanosecondsPerTick / 2;
    const std::int64_t sign = duration.isPositive ? 1 : -1;
    const Ticks ticks =
        InTicks(sign * SecondsOf(duration), sign * ((duration.nanoseconds + half) / nanosecondsPerTick));
    constexpr Ticks greatest = InTicks(0, std::numeric_limits<std::int64_t>::max());
    constexpr Ticks least = InTicks(0, std::numeric_limits<std::int64_t>::min());
    if (ticks < least || greatest < ticks) return {};
    if (ticks.seconds >= 0) return ticks.seconds * ticksPerSecond + ticks.rest;
    return (ticks.seconds + 1) * ticksPerSecond + (ticks.rest - ticksPerSecond);  // the lowest, too, without overflow
}

Duration DurationOfTicks(std::int64_t ticks) noexcept {
    const bool isPositive = ticks >= 0;
    const std::uint64_t magnitude =
        isPositive ? static_cast<std::uint64_t>(ticks) : 0 - static_cast<std::uint64_t>(ticks);
    return InParts(magnitude / ticksPerSecond,
                   static_cast<std::int32_t>(magnitude % ticksPerSecond) * nanosecondsPerTick, isPositive);
}

char16_t* FormatDuration(char16_t* out, const Duration& duration) noexcept {
    const auto put = [&](std::int32_t number, char16_t letter) {
        out = PutInteger(out, number);
        *out++ = letter;
    };
    if (!duration.isPositive) *out++ = u'-';
    *out++ = u'P';
    put(duration.days, u'D');
    *out++ = u'T';
    put(duration.hours, u'H');
    put(duration.minutes, u'M');
    if (duration.nanoseconds == 0) {
        put(duration.seconds, u'S');
        return out;
    }
    put(duration.seconds, u'.');
    out = PutFraction(out, duration.nanoseconds);
    *out++ = u'S';
    return out;
}

std::optional<Duration> ReadDuration(std::u16string_view text) noexcept {
    Duration read;
    read.isPositive = !TakeOne(text, u'-');
    if (!TakeOne(text, u'P') || text.empty()) return {};
    if (const auto days = ReadWeeks(text)) {
        read.days = *days;
        return read;
    }
    if (!TakeParts(text, false, read)) return {};
    if (TakeOne(text, u'T') && (text.empty() || !TakeParts(text, true, read) || !text.empty())) return {};
    if (!text.empty()) return {};
    return read;
}

}  // namespace calendar
