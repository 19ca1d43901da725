#include "kvcore/NumberFmt.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

#include "kvcore/Utf.h"
#include "tests/NumberLocales.h"
#include "tests/NumberReference.h"

namespace kv {
namespace {

using mova::test::LocaleText;
using mova::test::numberLocales;
using mova::test::Rules;
using mova::test::Text;

Text ByRules(const UsNumber& number, const NumberFmt& fmt) {
    std::array<char16_t, formattedSize> text;
    return {text.data(), FormatByRules(number, fmt, text)};
}

constexpr double infinity = std::numeric_limits<double>::infinity();

}  // namespace

TEST(NumberFmt, WritesAsALocaleDoes) {
    std::mt19937_64 bits(3);
    int left = 0;
    for (const auto& locale : numberLocales) {
        for (int i = 0; i < 3'000; ++i) {
            const double value = std::ldexp(static_cast<double>(static_cast<std::int64_t>(bits()) >> bits() % 63),
                                            -static_cast<int>(bits() % 40)) /
                                 1024;
            NumberFmt fmt = locale.fmt;
            fmt.numDigits = static_cast<std::uint32_t>(bits() % 10);
            UsNumber number(value);
            number.Round(fmt.numDigits);
            std::array<char16_t, UsNumber::textSize> text;
            const Text made = ByRules(number, fmt);
            left += made.empty();
            if (made.empty()) continue;
            EXPECT_EQ(Utf8(made), Utf8(LocaleText({text.data(), number.Write(text.data())}, fmt))) << locale.name;
        }
    }
    EXPECT_LT(left, 5'000) << "of 27,000: those that are rounded to zero, with a minus sign";
}

TEST(NumberFmt, LeavesToTheLocaleWhatIsNotSure) {
    NumberFmt fmt = Rules(u".", u",", 3, u"-", 1, 1);
    fmt.numDigits = 1;
    EXPECT_EQ(ByRules(UsNumber(-1234.5), fmt), u"-1,234.5");
    UsNumber negativeZero(-0.04);
    negativeZero.Round(1);
    EXPECT_EQ(ByRules(negativeZero, fmt), u"") << "the sign of what is rounded to zero";
    for (const std::uint32_t grouping : {10u, 30u, 33u, 323u}) {
        NumberFmt odd = fmt;
        odd.grouping = grouping;
        EXPECT_EQ(ByRules(UsNumber(1234.5), odd), u"") << grouping;
    }
    NumberFmt order = fmt;
    order.negativeOrder = 5;
    EXPECT_EQ(ByRules(UsNumber(-1.5), order), u"");
    NumberFmt tooLong = fmt;
    tooLong.numDigits = 126;
    EXPECT_EQ(ByRules(UsNumber(1.5), tooLong), u"") << "the locale's function has 128 characters, its null among them";
}

TEST(NumberFmt, ReadsNumbers) {
    const NumberFmt english = numberLocales[0].fmt;
    const NumberFmt german = numberLocales[1].fmt;
    const NumberFmt french = numberLocales[2].fmt;
    const NumberFmt swiss = numberLocales[3].fmt;
    const NumberFmt hindi = numberLocales[4].fmt;
    const NumberFmt arabic = numberLocales[5].fmt;
    const NumberFmt blanks = numberLocales[6].fmt;
    const NumberFmt same = Rules(u",", u",", 3, u"-", 1, 1);
    // clang-format off
    const struct {
        const NumberFmt& fmt;
        std::u16string_view text;
        double value;
        std::u16string_view unit = {};
    } rows[] = {
        {english, u"1234.5", 1234.5},           {english, u" +1,234.5 ", 1234.5},
        {english, u"-1,234,567", -1234567},     {english, u".5", 0.5},
        {english, u"5.", 5},                    {english, u"007", 7},
        {english, u"1.5 km", 1.5},              {english, u"1.5 m\u00B2 (approx)", 1.5},
        {english, u"(1.5)", -1.5},              {english, u"- 1.5", -1.5},
        {english, u"1.5-", -1.5},               {english, u"1.5 - m", -1.5},
        {english, u"\u22121.5", -1.5},          {english, u"9.007200e+15", 9.0072e15},
        {english, u"1E-3", 1e-3},               {english, u"inf", infinity},
        {english, u"-inf", -infinity},          {english, u"1e-999", 0},
        {english, u"0.1e1 m", 1},
        {english, u"123456789012345678901234567890", 123456789012345678901234567890.0},
        {english, u"0.1234567890123456789012345", 0.1234567890123456789012345},
        {english, u"1 2", 1, u"2"},             {english, u"1 -", 1, u"-"},
        {english, u"1 e5 m", 1},                {english, u"5 2 ", 5, u"2 "},
        {german, u"1.234,5", 1234.5},           {german, u"1.234", 1234},
        {german, u"1.5", 1.5},                  {german, u"1,5", 1.5},
        {german, u"1.234567e+16", 1.234567e16}, {german, u"1,5e3", 1500},
        {french, u"1\u202F234,5", 1234.5},      {french, u"1\u00A0234,5", 1234.5},
        {french, u"1 234,5 km", 1234.5},        {french, u"1 234", 1, u"234"},
        {swiss, u"1\u2019234.5", 1234.5},       {swiss, u"1'234.5", 1234.5},
        {hindi, u"12,34,567.5", 1234567.5},     {hindi, u"1,234,567", 1234567},
        {arabic, u"12.5\u061C-", -12.5},        {arabic, u"12.5\u061C- m", -12.5},
        {blanks, u"(1 234,5)", -1234.5},        {blanks, u"1 234 234", 1234, u"234"},
        {same, u"1,234", 1.234},                {english, u"1 km", 1, u"m"}};
    // clang-format on
    for (const auto& row : rows) {
        SCOPED_TRACE(Utf8(row.text));
        EXPECT_EQ(StringToValue(row.text, row.fmt, row.unit), row.value);
        const auto plain = PlainStringToValue(row.text, row.fmt.decimalSeparator.View());
        EXPECT_EQ(plain.value_or(row.value), row.value);
    }
    // clang-format off
    const std::u16string_view refused[] = {
        u"", u"   ", u"-", u".", u"abc", u"1.2.3", u"1,23", u"1234,567", u",123", u"1,,234", u"1,", u"12km", u"1 2",
        u"1 -2", u"1 .5", u"+-1", u"--1", u"-1-", u"(1", u"1)", u"(-1)", u"1e999", u"1e", u"1,234e5", u"0x10", u"nan",
        u"infinite", std::u16string_view(u"1\0" u"2", 3), u"\u0661", u"1 234.5",
    };
    // clang-format on
    const auto refuse = [](std::u16string_view text, const NumberFmt& fmt) {
        EXPECT_EQ(StringToValue(text, fmt, {}), std::nullopt) << Utf8(text);
        EXPECT_EQ(PlainStringToValue(text, fmt.decimalSeparator.View()), std::nullopt) << Utf8(text);
    };
    for (const auto text : refused) refuse(text, english);
    for (const auto text : {u"1,234.5", u"1.23.456"}) refuse(text, german);
    refuse(u"1 23", french);
    EXPECT_EQ(StringToValue(Text(100'000, u'9'), english, {}), std::nullopt);
    EXPECT_EQ(StringToValue(Text(100'000, u'0') + u"7", english, {}), 7.0);
}

}  // namespace kv
