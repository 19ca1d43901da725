#include "time/IsoText.h"

#include <algorithm>
#include <limits>

#include "time/Calendar.h"
#include "time/Digits.h"

namespace calendar {
namespace {

constexpr std::int32_t minutesPerHour = 60;

/// What is left of a text.
class Rest {
 public:
    explicit Rest(std::u16string_view text) noexcept : at_(text.data()), end_(text.data() + text.size()) {}

    bool IsEmpty() const noexcept { return at_ == end_; }
    bool Take(char16_t unit) noexcept {
        if (at_ == end_ || *at_ != unit) return false;
        ++at_;
        return true;
    }
    /// Takes two digits that are a number within a range; leaves all others.
    bool TakeTwo(std::int32_t least, std::int32_t greatest, std::int32_t& number) noexcept {
        if (end_ - at_ < 2 || !IsDigit(at_[0]) || !IsDigit(at_[1])) return false;
        const std::int32_t read = (at_[0] - u'0') * 10 + (at_[1] - u'0');
        if (read < least || read > greatest) return false;
        number = read;
        at_ += 2;
        return true;
    }
    std::u16string_view TakeDigits() noexcept {
        const char16_t* const first = at_;
        while (at_ != end_ && IsDigit(*at_)) ++at_;
        return {first, at_};
    }
    /// Takes digits that are a number of 16 bits.
    bool TakeNumber(std::int32_t& number) noexcept {
        const std::u16string_view digits = TakeDigits();
        std::int32_t read = 0;
        for (const char16_t digit : digits) {
            read = read * 10 + (digit - u'0');
            if (read > std::numeric_limits<std::int16_t>::max()) return false;
        }
        number = read;
        return !digits.empty();
    }
    /// Takes a sign and the part behind it, or leaves both.
    bool TakePart(char16_t sign, std::int32_t least, std::int32_t greatest, std::int32_t& number) noexcept {
        const char16_t* const before = at_;
        if (Take(sign) && TakeTwo(least, greatest, number)) return true;
        at_ = before;
        return false;
    }

 private:
    const char16_t* at_;
    const char16_t* end_;
};

/// Takes the offset of a time, none where the text has ended. @return false for anything else
bool MatchZone(Rest& rest, std::int32_t& offset) noexcept {
    if (rest.IsEmpty() || rest.Take(u'Z') || rest.Take(u'z')) return true;
    const bool isBehind = rest.Take(u'-');
    if (!isBehind && !rest.Take(u'+')) return false;
    std::int32_t hours = 0;
    std::int32_t minutes = 0;
    if (!rest.TakeTwo(0, 23, hours)) return false;
    if (!rest.TakePart(u':', 0, 59, minutes)) rest.TakeTwo(0, 59, minutes);
    offset = hours * minutesPerHour + minutes;
    if (isBehind) offset = -offset;
    return true;
}

/// Takes decimals behind a point, where there are any. @return false for a point without
bool MatchFraction(Rest& rest, std::u16string_view& fraction) noexcept {
    if (!rest.Take(u'.')) return true;
    fraction = rest.TakeDigits();
    return !fraction.empty();
}

/// Takes the time of day behind the T.
bool MatchTime(Rest& rest, IsoParts& parts) noexcept {
    if (!rest.TakeTwo(0, 23, parts.hour)) return false;
    rest.Take(u':');
    rest.TakeTwo(0, 59, parts.minute);
    rest.Take(u':');
    rest.TakeTwo(0, 59, parts.second);
    return MatchFraction(rest, parts.fraction) && MatchZone(rest, parts.offset);
}

/// Reads an offset as the older reader does. @param text its sign and what follows
std::optional<std::int32_t> ScanZone(std::u16string_view text) noexcept {
    if (text.empty() || text == u"Z" || text == u"z") return 0;
    if (text.front() != u'-' && text.front() != u'+') return {};
    Rest rest(text.substr(1));
    std::int32_t hours = 0;
    std::int32_t minutes = 0;
    if (!rest.TakeTwo(0, 23, hours) && (!rest.TakeNumber(hours) || hours > 9)) return {};
    if (rest.Take(u':')) {
        if (!rest.TakeTwo(0, 59, minutes)) return {};
    } else {
        rest.TakeTwo(0, 59, minutes);
    }
    if (!rest.IsEmpty()) return {};
    const std::int32_t offset = hours * minutesPerHour + minutes;
    return text.front() == u'-' ? -offset : offset;
}

bool BeginsZone(char16_t unit) noexcept {
    const auto lower = static_cast<char16_t>(unit | 0x20);
    return unit == u'-' || unit == u'+' || (lower >= u'a' && lower <= u'z');
}

/// Reads up to three numbers with a sign between them, from the front. @return whether the first is there
bool ScanNumbers(Rest& rest, char16_t sign, std::int32_t& first, std::int32_t& second, std::int32_t& third) noexcept {
    return rest.TakeNumber(first) &&
           (!rest.Take(sign) || (rest.TakeNumber(second) && (!rest.Take(sign) || rest.TakeNumber(third))));
}

}  // namespace

std::optional<IsoParts> MatchIsoText(std::u16string_view text) noexcept {
    Rest rest(text);
    IsoParts parts;
    std::int32_t century = 0;
    if (!rest.TakeTwo(0, 99, century) || !rest.TakeTwo(0, 99, parts.year)) return {};
    parts.year += century * 100;
    // What one choice of the pattern takes, another takes, too, and leaves as much of the pattern at least: the first
    // that fits is as good as any.
    rest.TakePart(u'-', 1, 12, parts.month);
    rest.TakePart(u'-', 0, 39, parts.day);
    if (rest.Take(u'T') && !MatchTime(rest, parts)) return {};
    if (!rest.IsEmpty()) return {};
    return parts;
}

std::optional<IsoParts> ScanIsoText(std::u16string_view text) noexcept {
    const std::size_t dateEnd = std::min(text.find(u'T'), text.size());
    Rest date(text.substr(0, dateEnd));
    IsoParts parts;
    if (!ScanNumbers(date, u'-', parts.year, parts.month, parts.day) || !date.IsEmpty()) return {};
    if (dateEnd == text.size()) return parts;
    text.remove_prefix(dateEnd + 1);
    const auto* const zone = std::find_if(text.begin(), text.end(), BeginsZone);
    Rest time({text.begin(), zone});
    if (!ScanNumbers(time, u':', parts.hour, parts.minute, parts.second) || !MatchFraction(time, parts.fraction) ||
        !time.IsEmpty())
        return {};
    const auto offset = ScanZone({zone, text.end()});
    if (!offset) return {};
    parts.offset = *offset;
    return parts;
}

std::optional<kv::DateTime> TimeOf(const IsoParts& parts) noexcept {
    const std::int32_t nanoseconds = ReadFraction(parts.fraction);
    const bool isWhole = nanoseconds == kv::nanosecondsPerSecond;
    kv::DateTime fields{.year = static_cast<std::int16_t>(parts.year),
                        .month = static_cast<std::int16_t>(parts.month),
                        .day = static_cast<std::int16_t>(parts.day),
                        .hour = static_cast<std::int16_t>(parts.hour),
                        .minute = static_cast<std::int16_t>(parts.minute),
                        .second = static_cast<std::int16_t>(parts.second),
                        .nanosecond = isWhole ? 0 : nanoseconds};
    if (!IsValid(fields) || (isWhole && !StepSecond(fields))) return {};
    return fields;
}

}  // namespace calendar
