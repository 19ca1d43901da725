// How some locales write numbers: what differs among them is what number formats can get wrong.
#pragma once

#include "kvcore/NumberFmt.h"

namespace mova::test {

struct NumberLocale {
    const char* name;
    kv::NumberFmt fmt;
};

constexpr kv::NumberFmt Rules(std::u16string_view decimal, std::u16string_view thousands, std::uint32_t grouping,
                              std::u16string_view negativeSign, std::uint32_t negativeOrder,
                              std::uint32_t leadingZero) noexcept {
    kv::NumberFmt fmt;
    fmt.known = kv::NumberFmt::allRules;
    fmt.decimalSeparator = decimal;
    fmt.thousandsSeparator = thousands;
    fmt.grouping = grouping;
    fmt.negativeSign = negativeSign;
    fmt.negativeOrder = negativeOrder;
    fmt.leadingZero = leadingZero;
    return fmt;
}

inline constexpr NumberLocale numberLocales[] = {
    {"en-US", Rules(u".", u",", 3, u"-", 1, 1)},
    {"de-DE", Rules(u",", u".", 3, u"-", 1, 1)},
    {"fr-FR", Rules(u",", u"\u202F", 3, u"-", 1, 1)},
    {"de-CH", Rules(u".", u"\u2019", 3, u"-", 1, 1)},
    {"hi-IN", Rules(u".", u",", 32, u"-", 1, 1)},
    {"ar-SA", Rules(u".", u",", 3, u"\u061C-", 3, 1)},
    {"no leading zero, parentheses", Rules(u",", u" ", 3, u"-", 0, 0)},
    {"long separators, a blank after the sign", Rules(u"::", u"''", 4, u"minus", 2, 1)},
    {"groups of one, the sign behind a blank", Rules(u"\u066B", u"_", 1, u"\u2212", 4, 1)},
};

}  // namespace mova::test
