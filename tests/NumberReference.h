// The text of a number step by step, with strings and nothing clever, for what is quick to be held against.
#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <string>
#include <vector>

#include "formats/NumericText.h"

namespace mova::test {

using Text = std::u16string;

/// A number of a locale's as GetNumberFormatW writes it.
inline Text LocaleText(Text number, const kv::NumberFmt& fmt) {
    const bool isNegative = number.starts_with(u'-');
    if (isNegative) number.erase(0, 1);
    const std::size_t point = std::min(number.find(u'.'), number.size());
    Text whole = number.substr(0, point);
    Text decimals = number.substr(std::min(point + 1, number.size()));
    decimals.resize(fmt.numDigits, u'0');
    whole.erase(0, std::min(whole.find_first_not_of(u'0'), whole.size()));
    if (whole.empty() && fmt.leadingZero != 0) whole = u"0";

    std::vector<std::size_t> sizes;
    for (std::uint32_t rest = fmt.grouping; rest != 0; rest /= 10) sizes.insert(sizes.begin(), rest % 10);
    Text grouped;
    for (std::size_t group = 0; !whole.empty(); ++group) {
        std::size_t size = whole.size();
        if (!sizes.empty()) size = std::min(size, sizes[std::min(group, sizes.size() - 1)]);
        if (size == 0) size = whole.size();  // no more groups
        const Text separator = group > 0 ? Text(fmt.thousandsSeparator.View()) : Text();
        grouped = whole.substr(whole.size() - size) + separator + grouped;
        whole.resize(whole.size() - size);
    }
    if (fmt.numDigits > 0) grouped += Text(fmt.decimalSeparator.View()) + decimals;
    if (!isNegative) return grouped;
    const Text sign(fmt.negativeSign.View());
    const std::array<Text, 5> orders{u"(" + grouped + u")", sign + grouped, sign + u" " + grouped, grouped + sign,
                                     grouped + u" " + sign};
    return orders.at(fmt.negativeOrder);
}
inline std::size_t FormatAsLocale(std::u16string_view number, const kv::NumberFmt& fmt,
                                  std::span<char16_t> out) noexcept {
    const Text text = LocaleText(Text(number), fmt);
    if (text.size() >= out.size()) return 0;
    std::copy(text.begin(), text.end(), out.begin());
    return text.size();
}

inline Text UsText(double value) {
    std::array<char16_t, kv::UsNumber::textSize> text;
    return {text.data(), kv::ValueToUSString(text.data(), value)};
}

/// A text in US notation rounded to so many decimals, a 5 and what follows it away from zero.
inline Text RoundedText(Text text, std::size_t decimals) {
    const std::size_t point = text.find(u'.');
    if (point == Text::npos || text.size() - point - 1 <= decimals) return text;
    bool carries = text[point + decimals + 1] >= u'5';
    text.resize(point + decimals + 1);
    const std::size_t first = text.front() == u'-' ? 1 : 0;
    for (std::size_t place = text.size(); carries && place > first; --place) {
        char16_t& digit = text[place - 1];
        if (digit == u'.') continue;
        carries = digit == u'9';
        digit = carries ? u'0' : static_cast<char16_t>(digit + 1);
    }
    if (carries) text.insert(first, 1, u'1');
    if (decimals == 0) text.pop_back();
    if (text.size() == first) text += u'0';
    return text;
}

inline Text ByLocale(const Text& number, const kv::NumberFmt& fmt, formats::FormatByLocale byLocale) {
    std::array<char16_t, kv::formattedSize> text;
    return {text.data(), byLocale(number, fmt, text)};
}

/// @param rules all known  @param byLocale as for NumericText; it makes every text here
inline Text TextBySteps(const formats::NumericSettings& settings, double value, const kv::NumberFmt& rules,
                        formats::FormatByLocale byLocale, const Text& suffix) {
    if (std::isnan(value)) return u"<Null>";
    if (std::fabs(value) > 9007199254740992.0) {
        std::array<char16_t, 16> text;
        return {text.data(), kv::FormatExponent(text.data(), value)};
    }
    if (std::fabs(value) < 1e-09) value = 0;
    int n = settings.roundingValue;
    Text s;
    if (settings.roundingOption == 1) {
        value = kv::GetRounded(value, n);
        s = UsText(value);
        int p = 0;
        if (s.find(u'.') != Text::npos) {
            p = static_cast<int>(s.find(u'.'));
        } else {
            n = settings.zeroPad != 0 ? std::max(n - static_cast<int>(s.size()), 0) : 0;
        }
        if (value > -1 && value < 1 && n > 0)
            for (std::size_t i = s.find(u'.') + 1; i != 0 && i < s.size() && s[i] == u'0'; ++i) --p;
        if (value < 0 && n > 0) --p;
        n = std::max(n - p, 0);
    }
    if (settings.roundingOption == 0 || settings.roundingOption == 1) {
        if (s.empty()) s = UsText(value);
        const std::size_t point = s.find(u'.');
        kv::NumberFmt fmt = rules;
        fmt.numDigits = static_cast<std::uint32_t>(n);
        if (settings.zeroPad == 0)
            fmt.numDigits =
                std::min(fmt.numDigits, point == Text::npos ? 0 : static_cast<std::uint32_t>(s.size() - point - 1));
        if (settings.useSeparator == 0) fmt.grouping = 0;
        Text separator(fmt.decimalSeparator.View());
        Text shown;
        if (fmt.numDigits <= 9) {
            const Text rounded = RoundedText(s, fmt.numDigits);
            shown = ByLocale(rounded, fmt, byLocale);
            const bool isZero = rounded.find_first_of(u"123456789") == Text::npos;
            if (shown.empty() && fmt.numDigits == 0 && isZero) shown = rounded;
        } else {
            std::array<char16_t, kv::UsNumber::textSize> text;
            const Text exact(text.data(), kv::UsNumber::Fixed(value, n).Write(text.data()));
            const std::size_t exactPoint = exact.find(u'.');
            fmt.numDigits = 9;
            shown = ByLocale(exact.substr(0, exactPoint + 10), fmt, byLocale);
            const std::size_t at = shown.rfind(separator);
            if (!shown.empty() && !separator.empty() && at != Text::npos && at + separator.size() + 9 <= shown.size())
                shown =
                    shown.substr(0, at + 1) + exact.substr(exactPoint + 1) + shown.substr(at + separator.size() + 9);
            separator = separator.substr(0, 1);
        }
        const std::size_t at = separator.empty() ? 0 : shown.rfind(separator);
        if (settings.zeroPad == 0 && fmt.numDigits > 0 && at != 0 && at != Text::npos) {
            while (shown.size() > at + separator.size() && shown.back() == u'0') shown.pop_back();
            if (shown.size() == at + separator.size()) shown.resize(at);
        }
        if (!shown.empty()) s = shown;
        if (settings.showPlus != 0 && value > 0) s.insert(0, 1, u'+');
        if (settings.alignmentOption == 0 && s.size() < static_cast<std::size_t>(settings.alignmentWidth))
            s.insert(0, static_cast<std::size_t>(settings.alignmentWidth) - s.size(), u' ');
    }
    if (!suffix.empty()) s += u' ' + suffix;
    return s;
}

/// What the quick way makes, with a unit behind it.
inline Text TextOf(const formats::NumericText& made, const Text& suffix) {
    if (made.What() == formats::NumericText::Kind::null) return u"<Null>";
    Text text(made.Size(), u'?');
    if (made.Write(text.data()) != text.data() + text.size()) return u"wrong size";
    return made.What() == formats::NumericText::Kind::number && !suffix.empty() ? text + u' ' + suffix : text;
}

}  // namespace mova::test
