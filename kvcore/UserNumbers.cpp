#include "kvcore/UserNumbers.h"

#include <algorithm>
#include <atomic>

#include "kvcore/Platform.h"

namespace kv {
namespace {

/// A value of the user's locale as text. @return whether there is one
template <std::size_t size>
bool ReadText(LCTYPE type, std::array<wchar_t, size>& text, std::u16string_view& read) noexcept {
    const int length = GetLocaleInfoW(LOCALE_USER_DEFAULT, type, text.data(), static_cast<int>(size));
    if (length <= 0) return false;
    read = {Narrow16(text.data()), static_cast<std::size_t>(length) - 1};
    return true;
}

bool ReadText(LCTYPE type, RuleText& rule) noexcept {
    std::array<wchar_t, RuleText::most + 1> text;
    std::u16string_view read;
    if (!ReadText(type, text, read)) return false;
    rule = read;
    return true;
}

/// A value of one digit. As text it comes sooner than as a number.
bool ReadDigit(LCTYPE type, std::uint32_t& rule) noexcept {
    std::array<wchar_t, 2> text;
    std::u16string_view read;
    if (!ReadText(type, text, read) || read.size() != 1 || read[0] < u'0' || read[0] > u'9') return false;
    rule = static_cast<std::uint32_t>(read[0] - u'0');
    return true;
}

/// "3;2;0" as 32, "3;0" as 3, and "3", of which no more groups come, as 30.
bool ReadGrouping(std::uint32_t& rule) noexcept {
    constexpr std::size_t mostUnits = 10;  // five sizes
    std::array<wchar_t, mostUnits> text;
    std::u16string_view read;
    if (!ReadText(LOCALE_SGROUPING, text, read)) return false;
    const bool repeats = read.ends_with(u";0");
    if (repeats) read.remove_suffix(2);
    std::uint32_t grouping = 0;
    for (const char16_t unit : read)
        if (unit >= u'0' && unit <= u'9') grouping = grouping * 10 + static_cast<std::uint32_t>(unit - u'0');
    rule = repeats ? grouping : grouping * 10;
    return true;
}

bool ReadNegative(NumberFmt& fmt) noexcept {
    if (!ReadText(LOCALE_SNEGATIVESIGN, fmt.negativeSign) || !ReadDigit(LOCALE_INEGNUMBER, fmt.negativeOrder))
        return false;
    constexpr std::uint32_t signBehind = 3;
    if (MOVALocale::IsCoordinateRightToLeft()) fmt.negativeOrder = signBehind;
    return true;
}

}  // namespace

bool MOVALocale::IsCoordinateRightToLeft() noexcept {
    // The language that was asked for last, with its answer: the language can change, its direction cannot.
    static constinit std::atomic<std::uint32_t> known{0};
    constexpr std::uint32_t isKnown = 0x10000;
    constexpr std::uint32_t isRightToLeft = 0x20000;
    const LANGID language = GetUserDefaultUILanguage();
    std::uint32_t answer = known.load(std::memory_order_relaxed);
    if ((answer & ~isRightToLeft) != (isKnown | language)) {
        constexpr DWORD rightToLeft = 1;
        DWORD layout = 0;
        GetLocaleInfoW(MAKELCID(language, SORT_DEFAULT), LOCALE_IREADINGLAYOUT | LOCALE_RETURN_NUMBER,
                       reinterpret_cast<wchar_t*>(&layout), sizeof layout / sizeof(wchar_t));
        answer = isKnown | language | (layout == rightToLeft ? isRightToLeft : 0);
        known.store(answer, std::memory_order_relaxed);
    }
    return (answer & isRightToLeft) != 0;
}

void ReadUserRules(NumberFmt& fmt, unsigned rules) noexcept {
    rules &= ~fmt.known;
    const auto read = [&](NumberFmt::Rule rule, auto find) {
        if ((rules & rule) != 0 && find()) fmt.known |= rule;
    };
    read(NumberFmt::decimalRule, [&] { return ReadText(LOCALE_SDECIMAL, fmt.decimalSeparator); });
    read(NumberFmt::groupingRule,
         [&] { return ReadText(LOCALE_STHOUSAND, fmt.thousandsSeparator) && ReadGrouping(fmt.grouping); });
    read(NumberFmt::zeroRule, [&] { return ReadDigit(LOCALE_ILZERO, fmt.leadingZero); });
    read(NumberFmt::negativeRule, [&] { return ReadNegative(fmt); });
}

std::size_t FormatByUserLocale(std::u16string_view usText, const NumberFmt& fmt, std::span<char16_t> out) noexcept {
    if (fmt.numDigits > mostLocaleDecimals) return 0;
    NumberFmt all = fmt;
    ReadUserRules(all, NumberFmt::allRules);
    if (all.known != NumberFmt::allRules) return 0;
    // With ending nulls, which a separator has in the array behind its last unit, and the number in a copy.
    std::array<wchar_t, RuleText::most + 1> decimal{};
    std::array<wchar_t, RuleText::most + 1> thousands{};
    std::array<wchar_t, UsNumber::textSize + 1> number;
    std::ranges::copy(all.decimalSeparator.View(), decimal.begin());
    std::ranges::copy(all.thousandsSeparator.View(), thousands.begin());
    *std::ranges::copy(usText, number.begin()).out = L'\0';
    const NUMBERFMTW format{.NumDigits = all.numDigits,
                            .LeadingZero = all.leadingZero,
                            .Grouping = all.grouping,
                            .lpDecimalSep = decimal.data(),
                            .lpThousandSep = thousands.data(),
                            .NegativeOrder = all.negativeOrder};
    const int length = GetNumberFormatW(LOCALE_USER_DEFAULT, 0, number.data(), &format, Wide(out.data()),
                                        static_cast<int>(out.size()));
    return length > 0 ? static_cast<std::size_t>(length) - 1 : 0;
}

}  // namespace kv
