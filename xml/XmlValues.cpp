#include "xml/XmlValues.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "kvcore/GuidText.h"
#include "kvcore/JsTime.h"
#include "kvcore/NumberText.h"

namespace xml {
namespace {

__extension__ using Wide = unsigned __int128;

constexpr std::int64_t secondsPerMinute = 60;
constexpr std::int64_t secondsPerDay = 86'400;

constexpr bool IsDigit(char16_t unit) noexcept {
    return unit >= u'0' && unit <= u'9';
}

/// What a hexadecimal digit counts; above 15 for any other unit.
constexpr unsigned HexDigitOf(char16_t unit) noexcept {
    if (IsDigit(unit)) return unit - u'0';
    const auto lower = static_cast<char16_t>(unit | 0x20);
    return lower >= u'a' && lower <= u'f' ? lower - u'a' + 10u : 16u;
}

bool TakeOne(std::u16string_view& text, char16_t unit) noexcept {
    if (text.empty() || text.front() != unit) return false;
    text.remove_prefix(1);
    return true;
}

/// Takes a number of exactly two digits within a range.
std::optional<std::int64_t> TakeTwo(std::u16string_view& text, std::int64_t least, std::int64_t greatest) noexcept {
    if (text.size() < 2 || !IsDigit(text[0]) || !IsDigit(text[1])) return {};
    const std::int64_t number = (text[0] - u'0') * 10 + (text[1] - u'0');
    text.remove_prefix(2);
    if (number < least || number > greatest) return {};
    return number;
}

/// What three forms of number, not digits, read as. @tparam Number has infinities
template <class Number>
std::optional<Number> ReadNoNumber(std::u16string_view text) noexcept {
    using Limits = std::numeric_limits<Number>;
    if (text == u"INF") return Limits::infinity();
    if (text == u"-INF") return -Limits::infinity();
    if (text == u"NaN") return Limits::quiet_NaN();
    return {};
}

constexpr bool IsLeap(std::int64_t year) noexcept {
    return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
}

constexpr std::int64_t DaysInMonth(std::int64_t year, std::int64_t month) noexcept {
    constexpr std::int64_t days[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    return days[month - 1] + (month == 2 && IsLeap(year) ? 1 : 0);
}

// Years are counted from March, so that the day that comes and goes is the last one; months then begin after
// (153 * month + 2) / 5 days. Days count from 1970-01-01. The year is above 0.
constexpr std::int64_t daysOf400Years = 146'097;
constexpr std::int64_t marchTo1970 = 719'468;  // from March of the year 0

constexpr std::int64_t ToDay(std::int64_t year, std::int64_t month, std::int64_t day) noexcept {
    const std::int64_t marchYear = month > 2 ? year : year - 1;
    const std::int64_t marchMonth = month > 2 ? month - 3 : month + 9;
    return marchYear * 365 + marchYear / 4 - marchYear / 100 + marchYear / 400 + (153 * marchMonth + 2) / 5 + day - 1 -
           marchTo1970;
}

struct Civil {
    std::int64_t year, month, day;
};

constexpr Civil FromDay(std::int64_t day) noexcept {
    const std::int64_t days = day + marchTo1970;
    const std::int64_t inCycle = days % daysOf400Years;
    const std::int64_t yearInCycle = (inCycle - inCycle / 1'460 + inCycle / 36'524 - inCycle / 146'096) / 365;
    const std::int64_t inYear = inCycle - (365 * yearInCycle + yearInCycle / 4 - yearInCycle / 100);
    const std::int64_t marchMonth = (5 * inYear + 2) / 153;
    const std::int64_t month = marchMonth < 10 ? marchMonth + 3 : marchMonth - 9;
    return {days / daysOf400Years * 400 + yearInCycle + (month <= 2 ? 1 : 0), month,
            inYear - (153 * marchMonth + 2) / 5 + 1};
}

constexpr double earliest = static_cast<double>(ToDay(100, 1, 1)) * kv::millisecondsPerDay;
constexpr double latest = static_cast<double>(ToDay(10'000, 1, 1)) * kv::millisecondsPerDay;  // which is too late

/// Takes a year of four digits or more, in which no zero is needless.
std::optional<std::int64_t> TakeYear(std::u16string_view& text) noexcept {
    constexpr std::size_t most = 6;  // more than any date has
    std::size_t count = 0;
    std::int64_t year = 0;
    while (count < text.size() && count < most && IsDigit(text[count])) year = year * 10 + (text[count++] - u'0');
    if (count < 4 || (count > 4 && text.front() == u'0') || year == 0) return {};
    text.remove_prefix(count);
    return year;
}

/// Takes the digits behind the point of a second. @return milliseconds
std::optional<std::int64_t> TakeFraction(std::u16string_view& text) noexcept {
    std::int64_t thousandths = 0;
    std::size_t count = 0;
    for (; count < text.size() && IsDigit(text[count]); ++count)
        if (count < 3) thousandths = thousandths * 10 + (text[count] - u'0');
    if (count == 0) return {};
    for (std::size_t i = count; i < 3; ++i) thousandths *= 10;
    if (count > 3 && text[3] >= u'5') ++thousandths;
    text.remove_prefix(count);
    return thousandths;
}

/// Takes a time of day. @return milliseconds; a whole day for 24:00:00
std::optional<std::int64_t> TakeTime(std::u16string_view& text) noexcept {
    const auto hour = TakeTwo(text, 0, 24);
    if (!hour || !TakeOne(text, u':')) return {};
    const auto minute = TakeTwo(text, 0, 59);
    if (!minute || !TakeOne(text, u':')) return {};
    const auto second = TakeTwo(text, 0, 59);
    if (!second) return {};
    std::optional<std::int64_t> fraction = 0;
    if (TakeOne(text, u'.')) fraction = TakeFraction(text);
    if (!fraction) return {};
    const std::int64_t time = ((*hour * 60 + *minute) * secondsPerMinute + *second) * 1'000 + *fraction;
    if (*hour == 24 && time != secondsPerDay * 1'000) return {};
    return time;
}

/// Takes how far ahead of UTC a time is. @return minutes; 0 where the text has ended
std::optional<std::int64_t> TakeOffset(std::u16string_view& text) noexcept {
    constexpr std::int64_t greatest = 14 * 60;
    if (text.empty() || TakeOne(text, u'Z')) return 0;
    const bool isBehind = TakeOne(text, u'-');
    if (!isBehind && !TakeOne(text, u'+')) return {};
    const auto hour = TakeTwo(text, 0, 14);
    if (!hour || !TakeOne(text, u':')) return {};
    const auto minute = TakeTwo(text, 0, 59);
    if (!minute || *hour * 60 + *minute > greatest) return {};
    const std::int64_t minutes = *hour * 60 + *minute;
    return isBehind ? -minutes : minutes;
}

char* PutTwo(char* out, std::int64_t number) noexcept {
    *out++ = static_cast<char>('0' + number / 10);
    *out++ = static_cast<char>('0' + number % 10);
    return out;
}

/// Takes digits from the front of a text.
std::u16string_view TakeDigits(std::u16string_view& text) noexcept {
    const auto* const end = std::find_if_not(text.begin(), text.end(), IsDigit);
    const std::u16string_view digits(text.begin(), end);
    text.remove_prefix(digits.size());
    return digits;
}

}  // namespace

std::u16string_view WithoutBlanks(std::u16string_view text) noexcept {
    const auto* const first = std::find_if_not(text.begin(), text.end(), IsBlank);
    text.remove_prefix(static_cast<std::size_t>(first - text.begin()));
    while (!text.empty() && IsBlank(text.back())) text.remove_suffix(1);
    return text;
}

std::optional<double> ReadDouble(std::u16string_view text) noexcept {
    text = WithoutBlanks(text);
    const auto number = kv::ReadXmlDouble(text);
    return number ? number : ReadNoNumber<double>(text);
}

std::optional<float> ReadFloat(std::u16string_view text) noexcept {
    text = WithoutBlanks(text);
    const auto number = kv::ReadXmlFloat(text);
    return number ? number : ReadNoNumber<float>(text);
}

std::optional<std::int64_t> ReadInteger(std::u16string_view text, std::int64_t least, std::int64_t greatest) noexcept {
    text = WithoutBlanks(text);
    const bool isNegative = TakeOne(text, u'-');
    if (!isNegative) TakeOne(text, u'+');
    if (text.empty() || !std::all_of(text.begin(), text.end(), IsDigit)) return {};
    const std::uint64_t number = kv::ReadUInt64(text);
    const std::uint64_t limit =
        isNegative ? 0 - static_cast<std::uint64_t>(least) : static_cast<std::uint64_t>(greatest);
    if (number > limit) return {};
    return static_cast<std::int64_t>(isNegative ? 0 - number : number);
}

std::optional<std::uint64_t> ReadUnsigned(std::u16string_view text, std::uint64_t greatest) noexcept {
    const auto number = ReadDecimal(text);
    if (!number || text.find(u'.') != std::u16string_view::npos || number->isNegative || number->high != 0 ||
        number->low > greatest)
        return {};
    return number->low;
}

std::optional<Decimal> ReadDecimal(std::u16string_view text) noexcept {
    text = WithoutBlanks(text);
    const bool isNegative = TakeOne(text, u'-');
    if (!isNegative) TakeOne(text, u'+');
    const std::u16string_view whole = TakeDigits(text);
    std::u16string_view fraction;
    if (TakeOne(text, u'.')) fraction = TakeDigits(text);
    if (!text.empty() || (whole.empty() && fraction.empty())) return {};
    fraction = fraction.substr(0, fraction.find_last_not_of(u'0') + 1);
    if (fraction.size() > kv::greatestScale) return {};
    constexpr int bits = 96;
    Wide number = 0;
    for (const std::u16string_view digits : {whole, fraction}) {
        for (const char16_t digit : digits) {
            number = number * 10 + static_cast<unsigned>(digit - u'0');
            if (number >> bits != 0) return {};
        }
    }
    return Decimal{static_cast<std::uint32_t>(number >> 64), static_cast<std::uint64_t>(number),
                   static_cast<int>(fraction.size()), isNegative && number != 0};
}

std::optional<std::int64_t> ReadCurrency(std::u16string_view text) noexcept {
    constexpr int decimals = 4;
    const auto number = ReadDecimal(text);
    if (!number || number->high != 0 || number->scale > decimals) return {};
    Wide amount = number->low;
    for (int scale = number->scale; scale < decimals; ++scale) amount *= 10;
    constexpr Wide half = Wide{1} << 63;  // there is one more below 0
    if (amount > half || (amount == half && !number->isNegative)) return {};
    const auto magnitude = static_cast<std::uint64_t>(amount);
    return static_cast<std::int64_t>(number->isNegative ? 0 - magnitude : magnitude);
}

std::optional<kv::IdBits> ReadGuid(std::u16string_view text) noexcept {
    return kv::ParseGuid(WithoutBlanks(text));
}

std::optional<std::size_t> ReadHex(std::byte* out, std::u16string_view text) noexcept {
    text = WithoutBlanks(text);
    if (text.size() % 2 != 0) return {};
    for (std::size_t i = 0; i < text.size(); i += 2) {
        const unsigned high = HexDigitOf(text[i]);
        const unsigned low = HexDigitOf(text[i + 1]);
        if ((high | low) > 15) return {};
        *out++ = static_cast<std::byte>(high << 4 | low);
    }
    return text.size() / 2;
}

char16_t* PutHex(char16_t* out, std::span<const std::byte> bytes) noexcept {
    constexpr std::u16string_view digits = u"0123456789ABCDEF";
    for (const std::byte byte : bytes) {
        *out++ = digits[std::to_integer<std::size_t>(byte >> 4)];
        *out++ = digits[std::to_integer<std::size_t>(byte & std::byte{0xF})];
    }
    return out;
}

std::optional<bool> ReadBoolean(std::u16string_view text) noexcept {
    text = WithoutBlanks(text);
    if (text == u"true" || text == u"1") return true;
    if (text == u"false" || text == u"0") return false;
    return {};
}

std::optional<double> ReadDate(std::u16string_view text) noexcept {
    text = WithoutBlanks(text);
    const auto year = TakeYear(text);
    if (!year || !TakeOne(text, u'-')) return {};
    const auto month = TakeTwo(text, 1, 12);
    if (!month || !TakeOne(text, u'-')) return {};
    const auto day = TakeTwo(text, 1, DaysInMonth(*year, *month));
    if (!day) return {};
    std::optional<std::int64_t> time = 0;
    if (TakeOne(text, u'T')) time = TakeTime(text);
    if (!time) return {};
    const auto offset = TakeOffset(text);
    if (!offset || !text.empty()) return {};
    const std::int64_t days = ToDay(*year, *month, *day);
    const std::int64_t milliseconds = (days * secondsPerDay - *offset * secondsPerMinute) * 1'000 + *time;
    const auto moment = static_cast<double>(milliseconds);
    if (moment < earliest || moment >= latest) return {};
    return kv::FromJsTime(moment);
}

char* FormatDate(char* out, double date) noexcept {
    const double moment = kv::ToJsTime(date);
    if (!(moment >= earliest && moment < latest)) return nullptr;
    const double day = std::floor(moment / kv::millisecondsPerDay);
    const auto inDay = static_cast<std::int64_t>(moment - day * kv::millisecondsPerDay);
    const Civil civil = FromDay(static_cast<std::int64_t>(day));
    out = PutTwo(PutTwo(out, civil.year / 100), civil.year % 100);
    *out++ = '-';
    out = PutTwo(out, civil.month);
    *out++ = '-';
    out = PutTwo(out, civil.day);
    const std::int64_t seconds = inDay / 1'000;
    *out++ = 'T';
    out = PutTwo(out, seconds / 3'600);
    *out++ = ':';
    out = PutTwo(out, seconds / 60 % 60);
    *out++ = ':';
    out = PutTwo(out, seconds % 60);
    if (const std::int64_t thousandths = inDay % 1'000; thousandths != 0) {
        *out++ = '.';
        *out++ = static_cast<char>('0' + thousandths / 100);
        out = PutTwo(out, thousandths % 100);
        while (out[-1] == '0') --out;
    }
    *out++ = 'Z';
    return out;
}

}  // namespace xml
