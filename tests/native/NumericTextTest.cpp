#include "formats/NumericText.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <limits>
#include <random>

#include "kvcore/Utf.h"
#include "tests/NumberLocales.h"
#include "tests/NumberReference.h"

namespace formats {
namespace {

using mova::test::FormatAsLocale;
using mova::test::numberLocales;
using mova::test::Text;
using mova::test::TextBySteps;
using mova::test::TextOf;

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double nan = std::numeric_limits<double>::quiet_NaN();

const kv::NumberFmt& english = numberLocales[0].fmt;
const kv::NumberFmt& arabic = numberLocales[5].fmt;

std::size_t RefuseToFormat(std::u16string_view, const kv::NumberFmt&, std::span<char16_t>) noexcept {
    return 0;
}

NumericSettings With(std::int32_t option, std::int32_t digits, bool zeroPad = false, bool separator = false,
                     bool plus = false) {
    NumericSettings settings;
    settings.roundingOption = option;
    settings.roundingValue = digits;
    settings.zeroPad = zeroPad ? -1 : 0;
    settings.useSeparator = separator ? 1 : 0;
    settings.showPlus = plus ? 2 : 0;
    return settings;
}
NumericSettings Aligned(std::int32_t width) {
    NumericSettings settings;
    settings.alignmentOption = alignRight;
    settings.alignmentWidth = width;
    return settings;
}

/// The text, made with no more rules than are needed.
Text Show(const NumericSettings& settings, double value, const kv::NumberFmt& rules,
          FormatByLocale byLocale = &FormatAsLocale) {
    kv::NumberFmt known;
    known.known = RulesNeeded(settings, value);
    if (known.known & kv::NumberFmt::decimalRule) known.decimalSeparator = rules.decimalSeparator;
    if (known.known & kv::NumberFmt::groupingRule)
        known.grouping = rules.grouping, known.thousandsSeparator = rules.thousandsSeparator;
    if (known.known & kv::NumberFmt::zeroRule) known.leadingZero = rules.leadingZero;
    if (known.known & kv::NumberFmt::negativeRule)
        known.negativeOrder = rules.negativeOrder, known.negativeSign = rules.negativeSign;
    static const kv::NumberFmt* all;
    static FormatByLocale reference;
    all = &rules;
    reference = byLocale;
    const FormatByLocale complete = [](std::u16string_view text, const kv::NumberFmt& fmt,
                                       std::span<char16_t> out) noexcept {
        kv::NumberFmt completed = *all;
        completed.numDigits = fmt.numDigits;
        if (fmt.known & kv::NumberFmt::groupingRule) completed.grouping = fmt.grouping;
        return reference(text, completed, out);
    };
    return TextOf(NumericText(settings, value, known, complete), {});
}

}  // namespace

TEST(NumericText, Examples) {
    const NumericSettings defaults;
    const struct {
        NumericSettings settings;
        double value;
        const char* text;
    } rows[] = {
        {defaults, 1234.5, "1234.5"},
        {With(0, 6, false, true), 1234.5, "1,234.5"},
        {With(0, 6, true), 1234.5, "1234.500000"},
        {defaults, 1e-10, "0"},
        {With(0, 6, false, false, true), -3, "-3"},
        {With(0, 6, false, false, true), 3, "+3"},
        {With(0, 6, false, false, true), 0, "0"},
        {With(0, 6, false, false, true), 5e-10, "0"},
        {With(0, 6, false, false, true), 1e-7, "+0"},
        {Aligned(12), 1.5, "         1.5"},
        {Aligned(2), 1234.5, "1234.5"},
        {Aligned(0), 1.5, "1.5"},
        {With(1, 6, true), 123, "123.000"},
        {With(1, 6), 123, "123"},
        // the edges of the rules
        {defaults, nan, "<Null>"},
        {defaults, 1e300, "1.000000e+300"},
        {defaults, -infinity, "-inf"},
        {defaults, 9007199254740992.0, "9007199254740992"},
        {defaults, 9007199254740991.0, "9007199254740991"},
        {defaults, 9007199254740994.0, "9.007199e+15"},
        {With(0, 15), 1e-9, "0.000000001"},
        {With(0, 15), std::nextafter(1e-9, 0), "0"},
        {With(0, 15), -5e-10, "0"},
        {defaults, -0.0, "0"},
        {With(0, 0), 2.5, "3"},
        {With(0, 2), 0.125, "0.13"},
        {With(0, 2), 2.675, "2.68"},
        {With(1, 3), 2.675, "2.67"},
        {With(1, 2), 0.125, "0.13"},
        {With(1, 3), 0.123, "0.123"},
        {With(1, 3, true), 0.0123, "0.0123"},
        {With(1, 3), 1234567, "1230000"},
        {With(1, 2, true), 9.99, "10"},
        {With(1, 3, true), 9.999, "10.0"},
        {With(1, 4, true), -123, "-123"},
        {With(1, 6, true), -123, "-123.000"},
        {With(1, 0), 7, "10"},
        {With(1, 0, true), -0.07, "-0"},
        {With(0, 6, false, true), 999999.9999999, "1,000,000"},
        {With(0, 12, true), 0.5, "0.500000000000"},
        {With(0, 12, true), -1234.5, "-1234.500000000000"},
        {With(0, 10), 0.9999999996, "0.9999999996"},
        {With(0, 10, true), 0.99999999996, "1.0000000000"},
        {With(0, 15), 0.1234567891, "0.1234567891"},
        {With(0, 15), 1234567.1234567891, "1234567.123456789180636"},
        {With(0, 10), 0.00048828125, "0.0004882813"},
        {With(2, 6, true, true, true), 1234.5, ""},
        {With(-1, 6), nan, "<Null>"},
        {With(7, 6), 1e20, "1.000000e+20"},
    };
    for (const auto& row : rows) EXPECT_EQ(kv::Utf8(Show(row.settings, row.value, english)), row.text) << row.value;
    EXPECT_EQ(kv::Utf8(Show(With(0, 12, true), -1.5, arabic)), "1.500000000000\u061C-") << "the sign stays behind";
    EXPECT_EQ(kv::Utf8(Show(With(0, 2), -1.999, arabic)), "2.00\u061C-") << "no zeros at the end to be dropped";
    const kv::NumberFmt& noZero = numberLocales[6].fmt;
    EXPECT_EQ(kv::Utf8(Show(With(0, 2), 0.1999, noZero)), ",20") << "the separator comes first";
    for (const bool zeroPad : {false, true}) {
        for (const double value : {0.0, 1e-10, 0.3}) {
            EXPECT_EQ(kv::Utf8(Show(With(0, 0, zeroPad), value, noZero)), "0") << "not without a digit: " << value;
            EXPECT_EQ(kv::Utf8(Show(With(1, 0, zeroPad), value, noZero)), "0") << value;
        }
        EXPECT_EQ(kv::Utf8(Show(With(0, 0, zeroPad), 0.5, noZero)), "1");
        EXPECT_EQ(kv::Utf8(Show(With(0, 2, zeroPad), 0.25, noZero)), ",25");
    }
    for (const std::uint32_t leadingZero : {0u, 1u}) {
        const kv::NumberFmt same = mova::test::Rules(u",", u",", 3, u"-", 1, leadingZero);
        EXPECT_EQ(kv::Utf8(Show(With(0, 2, false, true), 999.999, same)), "1,000") << "no digit before the point goes";
        EXPECT_EQ(kv::Utf8(Show(With(0, 2, false, true), 1000.5, same)), "1,000,5");
        EXPECT_EQ(kv::Utf8(Show(With(0, 0, false, true), 1000, same)), "1,000");
    }
}

TEST(NumericText, WhatTheLocaleRefusesIsUsText) {
    kv::NumberFmt odd = numberLocales[1].fmt;
    odd.grouping = 323;
    const NumericSettings grouped = With(0, 2, true, true, true);
    EXPECT_EQ(kv::Utf8(Show(grouped, 1234.5678, odd, &RefuseToFormat)), "+1234.5678");
    EXPECT_EQ(kv::Utf8(Show(grouped, 0.5, odd, &RefuseToFormat)), "+0,50") << "not asked";
    EXPECT_EQ(kv::Utf8(Show(With(0, 12, true, true), 1234.5678, odd, &RefuseToFormat)), "1234.5678");
    EXPECT_EQ(kv::Utf8(Show(With(0, 6), -1e-7, english, &RefuseToFormat)), "-.0000001");
}

TEST(NumericText, FieldsAreBounded) {
    EXPECT_EQ(Show(Aligned(widestField), 1, english).size(), 32'767u);
    for (const std::int32_t width : {widestField + 1, std::numeric_limits<std::int32_t>::max()}) {
        EXPECT_EQ(NumericText(Aligned(width), 1, english, &FormatAsLocale).What(), NumericText::Kind::tooWide);
        EXPECT_EQ(Show(Aligned(width), 1e20, english), u"1.000000e+20") << "not aligned";
    }
}

TEST(NumericText, IsWhatTheStepsSay) {
    std::mt19937_64 bits(61);
    std::vector<double> values{0.0,
                               -0.0,
                               5e-10,
                               1e-9,
                               -1e-9,
                               9007199254740992.0,
                               -9007199254740993.0,
                               0.5,
                               -0.5,
                               0.9999999996,
                               999999.9999995,
                               -99999.5,
                               1e15,
                               123,
                               -123,
                               1e-7,
                               -1e-7};
    for (int i = 0; i < 10; ++i) {
        values.push_back(std::ldexp(static_cast<double>(static_cast<std::int64_t>(bits()) >> bits() % 63),
                                    -static_cast<int>(bits() % 64)));
        values.push_back(std::round(std::ldexp(static_cast<double>(bits() >> 11), -static_cast<int>(bits() % 50))) /
                         1e4);
    }
    int checked = 0;
    for (const auto& locale : numberLocales) {
        for (unsigned flags = 0; flags < 16; ++flags) {
            for (int digits = 0; digits <= NumericSettings::mostDigits; ++digits) {
                for (const double value : values) {
                    NumericSettings settings =
                        With(static_cast<int>(flags & 1), digits, flags & 2, flags & 4, flags & 8);
                    settings.alignmentOption = digits % 2;
                    settings.alignmentWidth = digits * 2;
                    ASSERT_EQ(kv::Utf8(Show(settings, value, locale.fmt)),
                              kv::Utf8(TextBySteps(settings, value, locale.fmt, &FormatAsLocale, {})))
                        << value << " in " << locale.name << " to " << digits << ", flags " << flags;
                    ++checked;
                }
            }
        }
    }
    EXPECT_GT(checked, 50'000);
}

TEST(NumericText, IsReadBack) {
    std::mt19937_64 bits(7);
    for (const auto& locale : numberLocales) {
        for (const Text unit : {u"", u"m", u"2 m", u"-", u"e5", u",5"}) {
            for (int i = 0; i < 300; ++i) {
                const double value = std::ldexp(static_cast<double>(static_cast<std::int64_t>(bits()) >> bits() % 63),
                                                -static_cast<int>(bits() % 64));
                NumericSettings settings = With(0, static_cast<int>(bits() % 10), bits() % 2, bits() % 2, bits() % 2);
                const Text text = TextBySteps(settings, value, locale.fmt, &FormatAsLocale, unit);
                if (text.substr(0, text.size() - unit.size()).find_first_of(u"0123456789") == Text::npos) continue;
                const auto read = kv::StringToValue(text, locale.fmt, unit);
                ASSERT_TRUE(read) << kv::Utf8(text) << " in " << locale.name;
                EXPECT_NEAR(*read, value, std::pow(10, -settings.roundingValue) + std::fabs(value) * 1e-6);
                const Text again = TextBySteps(settings, *read, locale.fmt, &FormatAsLocale, unit);
                EXPECT_EQ(kv::StringToValue(again, locale.fmt, unit), read) << kv::Utf8(text) << " in " << locale.name;
            }
        }
    }
}

TEST(NumericText, Increments) {
    EXPECT_EQ(IncrementDecimals(1.5, 1), 1.6);
    EXPECT_EQ(IncrementDecimals(-1.5, 0), -0.5);
    EXPECT_EQ(IncrementDecimals(0, 15), 1e-15);
    EXPECT_EQ(IncrementDecimals(infinity, 6), infinity);
    const struct {
        double shown;
        int digits;
        double incremented;
    } rows[] = {
        {123.456, 6, 123.457},
        {-123.456, 6, -123.455},
        {0, 6, 1e-6},
        {0, 0, 1},
        {999, 3, 1000},
        {1, 1, 2},
        {-1, 1, -0.0},
        {1234, 3, 1240},           // 1230 has lost its last digit: it was never shown
        {0.001, 6, 0.00101},       // from nine places on fewer digits are counted: three of them
        {0.0012, 6, 0.00120001},   // log10 is -2, so six of them
        {1e-9, 15, 1.00001e-9},    // 15 - 9 digits
        {1e-9, 9, 1.00000001e-9},  // 9 - 9 are none, hence nine
        {5, 9, 5.00000001},
        {10, 0, 100},
        {-10, 0, 100},
        {9.0072e15, 7, 9.007201e15},
        {1e300, 2, 1.1e300},
    };
    for (const auto& row : rows) EXPECT_EQ(IncrementSignificant(row.shown, row.digits), row.incremented) << row.shown;
}

}  // namespace formats
