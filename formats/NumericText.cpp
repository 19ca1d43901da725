#include "formats/NumericText.h"

#include <algorithm>
#include <cmath>

namespace formats {
namespace {

constexpr double greatestShown = 9007199254740992.0;  // 2^53: from here on not every whole number is a double
constexpr double leastShown = 1e-09;
constexpr double leastGrouped = 10;  ///< one digit makes no groups

/// How many decimals show so many significant digits. What looks odd is kept, for documents have been made with it: a
/// whole number below 0 that is filled up with zeros gets none where its digits and its sign are as many as asked for.
/// @param number a value that is rounded to so many significant digits
int DecimalsForDigits(const kv::UsNumber& number, double value, int digits, bool zeroPad) noexcept {
    const int sign = number.IsNegative() ? 1 : 0;
    const std::string_view fraction = number.Fraction();
    int point = sign + static_cast<int>(number.Whole().size());  // where the point stands in the text
    if (fraction.empty()) {
        digits = zeroPad ? std::max(digits - point, 0) : 0;
        point = 0;
    }
    if (digits > 0) {
        if (std::fabs(value) < 1) point -= static_cast<int>(std::min(fraction.find_first_not_of('0'), fraction.size()));
        point -= sign;
    }
    return std::max(digits - point, 0);
}

}  // namespace

NumericText::NumericText(const NumericSettings& settings, double value, const kv::NumberFmt& rules,
                         FormatByLocale byLocale) noexcept {
    if (std::isnan(value)) {
        kind_ = Kind::null;
        return;
    }
    if (std::fabs(value) > greatestShown) {
        kind_ = Kind::bare;
        size_ = static_cast<std::size_t>(kv::FormatExponent(units_.data(), value) - units_.data());
        return;
    }
    if (std::fabs(value) < leastShown) value = 0.0;
    const bool countsDigits = settings.roundingOption == roundSignificantDigits;
    if (!countsDigits && settings.roundingOption != roundDecimals) return;

    kv::NumberFmt fmt = rules;
    if (settings.useSeparator == 0) {
        fmt.grouping = 0;
        fmt.known |= kv::NumberFmt::groupingRule;
    }
    if (countsDigits || !FormatPlain(settings, value, fmt)) FormatBySteps(settings, value, fmt, byLocale);

    if (settings.showPlus != 0 && value > 0) size_ = kv::ShowPlus(units_, size_);
    if (settings.alignmentOption != alignRight) return;
    if (settings.alignmentWidth > widestField) kind_ = Kind::tooWide;
    width_ = static_cast<std::size_t>(settings.alignmentWidth);
}

/// Formats so many decimals where no zeros have to be dropped from what the locale writes, for there are none.
/// @return whether it did
bool NumericText::FormatPlain(const NumericSettings& settings, double value, kv::NumberFmt& fmt) noexcept {
    constexpr std::uint32_t signInFront = 1;
    const bool zeroPad = settings.zeroPad != 0;
    const auto decimals = static_cast<std::uint32_t>(settings.roundingValue);
    if (decimals > kv::mostLocaleDecimals) return false;
    const bool hasSeparator = (fmt.known & kv::NumberFmt::decimalRule) == 0 || !fmt.decimalSeparator.View().empty();
    const bool dropsZeros = hasSeparator && fmt.leadingZero != 0 && (value >= 0 || fmt.negativeOrder == signInFront);
    if (!zeroPad && !dropsZeros) return false;
    const auto number = kv::UsNumber::Rounded(value, settings.roundingValue, zeroPad);
    fmt.numDigits = zeroPad ? decimals : static_cast<std::uint32_t>(number.Fraction().size());
    size_ = kv::FormatByRules(number, fmt, {units_.data(), kv::formattedSize});
    return size_ != 0;
}

/// @param value rounded here where digits are counted
void NumericText::FormatBySteps(const NumericSettings& settings, double& value, kv::NumberFmt& fmt,
                                FormatByLocale byLocale) noexcept {
    const bool zeroPad = settings.zeroPad != 0;
    const bool countsDigits = settings.roundingOption == roundSignificantDigits;
    if (countsDigits) value = kv::GetRounded(value, settings.roundingValue);
    kv::UsNumber number(value);
    const int decimals =
        countsDigits ? DecimalsForDigits(number, value, settings.roundingValue, zeroPad) : settings.roundingValue;
    fmt.numDigits = static_cast<std::uint32_t>(decimals);
    if (!zeroPad) fmt.numDigits = std::min(fmt.numDigits, static_cast<std::uint32_t>(number.Fraction().size()));

    const auto format = [&](const kv::UsNumber& rounded) {
        const std::span<char16_t> out(units_.data(), kv::formattedSize);
        size_ = kv::FormatByRules(rounded, fmt, out);
        if (size_ != 0) return;
        std::array<char16_t, kv::UsNumber::textSize> text;
        size_ = byLocale({text.data(), static_cast<std::size_t>(rounded.Write(text.data()) - text.data())}, fmt, out);
    };
    std::u16string_view separator = fmt.decimalSeparator.View();
    if (fmt.numDigits <= kv::mostLocaleDecimals) {
        number.Round(fmt.numDigits);
        format(number);
    } else {
        // The locale shows the first decimals of the very number whose decimals follow, so that the digits before the
        // point belong to it.
        const auto exact = kv::UsNumber::Fixed(value, decimals);
        kv::UsNumber cut = exact;
        cut.Cut(kv::mostLocaleDecimals);
        fmt.numDigits = kv::mostLocaleDecimals;
        format(cut);
        if (size_ != 0) RebuildDecimals(exact.Fraction(), separator);
        separator = separator.substr(0, 1);
    }
    if (size_ == 0) {
        // A locale without leading zeros writes nothing at all for a zero without decimals. Else it has refused.
        if (fmt.numDigits != 0 || !number.IsZero()) number = kv::UsNumber(value);
        size_ = static_cast<std::size_t>(number.Write(units_.data()) - units_.data());
    } else if (!zeroPad && fmt.numDigits > 0) {
        Trim(separator);
    }
}

/// Puts these decimals in place of those that are there, behind the first unit of the separator. What stands behind
/// them stays: a minus sign, or a parenthesis.
void NumericText::RebuildDecimals(std::string_view decimals, std::u16string_view separator) noexcept {
    const std::size_t at = View().rfind(separator);
    const std::size_t behind = at + separator.size() + kv::mostLocaleDecimals;
    if (separator.empty() || at == std::u16string_view::npos || behind > size_) return;
    char16_t* const begin = units_.data() + at + 1;
    const std::size_t rest = size_ - behind;
    std::copy_n(units_.data() + behind, rest, units_.data() + units_.size() - rest);  // out of the way
    char16_t* const end = std::copy(decimals.begin(), decimals.end(), begin);
    size_ = static_cast<std::size_t>(std::copy_n(units_.data() + units_.size() - rest, rest, end) - units_.data());
}

/// Drops zeros at the end of the decimals, and the separator where none are left. Where the text begins with it, or
/// does not end in decimals, all stays.
void NumericText::Trim(std::u16string_view separator) noexcept {
    const std::size_t at = separator.empty() ? 0 : View().rfind(separator);
    if (at == 0 || at == std::u16string_view::npos) return;
    const std::size_t decimalsAt = at + separator.size();
    while (size_ > decimalsAt && units_[size_ - 1] == u'0') --size_;
    if (size_ == decimalsAt) size_ = at;
}

unsigned RulesNeeded(const NumericSettings& settings, double value) noexcept {
    const double magnitude = std::fabs(value);
    if (!(magnitude <= greatestShown)) return 0;
    const bool becomesZero = settings.roundingOption == roundSignificantDigits && settings.roundingValue == 0;
    unsigned needed = 0;
    if (settings.zeroPad != 0 || magnitude != static_cast<double>(static_cast<std::int64_t>(magnitude)))
        needed |= kv::NumberFmt::decimalRule;
    if (settings.useSeparator != 0 && magnitude >= leastGrouped) needed |= kv::NumberFmt::groupingRule;
    if (magnitude < 1 || becomesZero) needed |= kv::NumberFmt::zeroRule;
    if (value < 0) needed |= kv::NumberFmt::negativeRule;
    return needed;
}

double IncrementDecimals(double value, std::int32_t decimals) noexcept {
    return value + kv::ScaledByTen(1, -decimals);
}

double IncrementSignificant(double shown, std::int32_t digits) noexcept {
    const kv::UsNumber number(shown);
    const std::string_view whole = number.Whole();
    const std::string_view fraction = number.Fraction();
    // log10 of the magnitude without what is behind its point. Of 0.05 it is -1, of 0.01, a power of ten, -2.
    int logarithm = 0;
    if (!whole.empty()) {
        logarithm = static_cast<int>(whole.size()) - 1;
    } else {
        const std::size_t zeros = fraction.find_first_not_of('0');
        logarithm = -static_cast<int>(zeros + (fraction.substr(zeros) == "1" ? 1 : 0));
    }
    constexpr int mostPlaces = 9;
    int count = digits;
    if (digits - logarithm >= mostPlaces && logarithm <= 0) count = digits + logarithm;
    if (count <= 0) count = digits;

    const kv::ExactDigits exact = kv::DigitsOf(shown, std::max(count, 1));
    const double all = count > 0 ? kv::FastAtof(exact.View()) : 0.0;  // to no digit, nothing is left but the point
    const double sign = exact.isNegative ? -1 : 1;
    const double moved = sign + all;
    const double magnitude = kv::ScaledByTen(static_cast<std::uint64_t>(std::fabs(moved)), exact.point - count);
    return std::copysign(magnitude, moved) * sign;
}

char16_t* NumericText::Write(char16_t* out) const noexcept {
    return kv::RightAlign(out, View(), width_);
}

}  // namespace formats
