#include "xml/XmlValues.h"

#include <algorithm>
#include <limits>

#include "kvcore/CivilDay.h"
#include "kvcore/DateTime.h"
#include "kvcore/DatetimeHelper.h"
#include "kvcore/GuidText.h"
#include "kvcore/JsTime.h"
#include "kvcore/NumberText.h"

namespace xml {
namespace {

__extension__ using Wide = unsigned __int128;

constexpr std::int64_t secondsPerMinute = 60;
constexpr std::int64_t latestYear = 10'000;  // in which an offset can lead back to one before

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
    if (*hour == 24 && time != kv::secondsPerDay * 1'000) return {};
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
    if (!year || *year > latestYear || !TakeOne(text, u'-')) return {};
    const auto writtenYear = static_cast<std::int32_t>(*year);
    const auto month = TakeTwo(text, 1, 12);
    if (!month || !TakeOne(text, u'-')) return {};
    const auto writtenMonth = static_cast<std::int32_t>(*month);
    const auto day = TakeTwo(text, 1, kv::MonthLength(writtenMonth, kv::IsLeapYear(writtenYear)));
    if (!day) return {};
    std::optional<std::int64_t> time = 0;
    if (TakeOne(text, u'T')) time = TakeTime(text);
    if (!time) return {};
    const auto offset = TakeOffset(text);
    if (!offset || !text.empty()) return {};
    const std::int64_t days =
        kv::DayNumber({writtenYear, writtenMonth, static_cast<std::int32_t>(*day)}) - kv::dayNumber1970;
    const std::int64_t milliseconds = (days * kv::secondsPerDay - *offset * secondsPerMinute) * 1'000 + *time;
    const auto moment = static_cast<double>(milliseconds);
    if (moment < kv::firstOleMoment || moment >= kv::endOfOleMoments) return {};
    return kv::FromJsTime(moment);
}

char* FormatDate(char* out, double date) noexcept {
    const auto fields = DatetimeHelper::FromOADate(date);
    if (!fields) return nullptr;
    out = PutTwo(PutTwo(out, fields->year / 100), fields->year % 100);
    *out++ = '-';
    out = PutTwo(out, fields->month);
    *out++ = '-';
    out = PutTwo(out, fields->day);
    *out++ = 'T';
    out = PutTwo(out, fields->hour);
    *out++ = ':';
    out = PutTwo(out, fields->minute);
    *out++ = ':';
    out = PutTwo(out, fields->second);
    if (const std::int32_t thousandths = fields->nanosecond / kv::nanosecondsPerMillisecond; thousandths != 0) {
        *out++ = '.';
        *out++ = static_cast<char>('0' + thousandths / 100);
        out = PutTwo(out, thousandths % 100);
        while (out[-1] == '0') --out;
    }
    *out++ = 'Z';
    return out;
}

}  // namespace xml
