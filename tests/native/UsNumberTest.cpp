#include "kvcore/UsNumber.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <limits>
#include <random>
#include <string>

namespace kv {
namespace {

/// All digits of a magnitude, exactly: so many before the point, the rest behind it.
struct AllDigits {
    explicit AllDigits(double magnitude) {
        std::array<char, 1500> text;
        const int size = std::snprintf(text.data(), text.size(), "%.1080f", magnitude);
        digits.assign(text.data(), static_cast<std::size_t>(size));
        whole = digits.find('.');
        digits.erase(whole, 1);
    }
    /// Those before a place, rounded by those from it on, half away from zero. A carry adds a digit in front.
    std::string Rounded(std::size_t place) const {
        std::string kept = '0' + digits.substr(0, place);
        if (digits[place] >= '5') {
            std::size_t last = kept.size() - 1;
            while (kept[last] == '9') kept[last--] = '0';
            ++kept[last];
        }
        return kept;
    }

    std::string digits;
    std::size_t whole;
};

/// The digits from the first that is not 0 on.
std::string Significant(std::string digits) {
    return digits.erase(0, std::min(digits.find_first_not_of('0'), digits.size()));
}

std::string Narrow(const char16_t* begin, const char16_t* end) {
    return {begin, end};
}
std::string UsText(double value) {
    std::array<char16_t, UsNumber::textSize> text;
    return Narrow(text.data(), ValueToUSString(text.data(), value));
}
std::string FixedText(double value, int decimals) {
    std::array<char16_t, UsNumber::textSize> text;
    return Narrow(text.data(), UsNumber::Fixed(value, decimals).Write(text.data()));
}

/// Numbers of every size, exact ties of all kinds among them.
template <class Check>
void ForNumbers(int count, Check check) {
    std::mt19937_64 bits(6);
    for (int i = 0; i < count; ++i) {
        if (const auto any = std::bit_cast<double>(bits() & INT64_MAX); std::isfinite(any)) check(any);
        check(static_cast<double>(bits() >> 11));
        check(std::ldexp(static_cast<double>(bits() >> bits() % 54 >> 10), -static_cast<int>(bits() % 60)));
        check(static_cast<double>((bits() % 2'000'000) * 5) * std::pow(10, static_cast<int>(bits() % 12)));
        check(static_cast<double>(bits() % 2'000'000) / 1000);
    }
}

}  // namespace

TEST(UsNumber, TextsReadBackAndHaveTheFewestDigits) {
    const struct {
        double value;
        const char* text;
    } rows[] = {{0, "0"},
                {-0.0, "0"},
                {0.123, ".123"},
                {-0.5, "-.5"},
                {1234.5, "1234.5"},
                {1e-9, ".000000001"},
                {-1.25e-7, "-.000000125"},
                {9007199254740992.0, "9007199254740992"},
                {1e15, "1000000000000000"},
                {1e23, "100000000000000000000000"},
                {0.1 + 0.2, ".30000000000000004"}};
    for (const auto& row : rows) EXPECT_EQ(UsText(row.value), row.text);
    ForNumbers(3'000, [](double value) {
        const std::string text = UsText(value);
        EXPECT_EQ(std::strtod(text.c_str(), nullptr), value) << text;
        EXPECT_LE(text.find_last_not_of("0.") - text.find_first_not_of("0."), 17u) << text;
        EXPECT_TRUE(text == "0" || text.front() != '0') << text;
        EXPECT_TRUE(text.find('.') == std::string::npos || text.back() != '0') << text;
    });
    EXPECT_EQ(UsText(std::numeric_limits<double>::denorm_min()).size(), 325u);
    EXPECT_EQ(UsText(-std::numeric_limits<double>::max()).size(), 310u);
}

TEST(UsNumber, DigitsAreThoseOfTheExactValue) {
    int ties = 0;
    ForNumbers(1'500, [&](double value) {
        const AllDigits all(value);
        for (const int decimals : {0, 1, 2, 5, 9, 10, 12, 15, 23, 32}) {
            std::string expected = all.Rounded(all.whole + static_cast<std::size_t>(decimals));
            expected.insert(all.whole + 1, decimals > 0 ? "." : "");
            expected = Significant(expected);
            if (expected.empty()) expected = "0";
            EXPECT_EQ(FixedText(value, decimals), expected);
        }
        const std::size_t first = all.digits.find_first_not_of('0');
        if (first == std::string::npos) return;
        for (const int count : {1, 2, 3, 6, 14, 15, 16, 32}) {
            const std::size_t place = first + static_cast<std::size_t>(count);
            if (place >= all.digits.size()) continue;
            std::string expected = Significant(all.Rounded(place));
            const bool carried = expected.size() > static_cast<std::size_t>(count);
            ties += all.digits[place] == '5' && all.digits.find_first_not_of('0', place + 1) == std::string::npos;
            const int point = static_cast<int>(all.whole) - static_cast<int>(first) + (carried ? 1 : 0);
            expected.resize(static_cast<std::size_t>(count));
            const ExactDigits digits = DigitsOf(-value, count);
            EXPECT_EQ(digits.View(), expected) << value;
            EXPECT_EQ(digits.point, point) << value;
            EXPECT_TRUE(digits.isNegative);
            if (count > 15) continue;
            const std::string decimal = expected + "e" + std::to_string(point - count);
            EXPECT_EQ(GetRounded(value, count), std::strtod(decimal.c_str(), nullptr)) << value << " to " << count;
        }
    });
    EXPECT_GT(ties, 500) << "ties are what matters here";
    const ExactDigits zero = DigitsOf(0, 5);
    EXPECT_EQ(zero.View(), "00000");
    EXPECT_EQ(zero.point, 0);
}

TEST(UsNumber, RoundsToNoDigit) {
    const struct {
        double value, rounded;
    } rows[] = {{0, 0},    {4, 0},      {5, 10},   {-7, -10},  {49.9, 0},
                {50, 100}, {0.07, 0.1}, {0.04, 0}, {1e308, 0}, {9e307, 1e308}};
    for (const auto& row : rows) EXPECT_EQ(GetRounded(row.value, 0), row.rounded) << row.value;
}

TEST(UsNumber, RoundsAndCutsItsText) {
    const struct {
        double value;
        std::size_t decimals;
        const char *rounded, *cut;
    } rows[] = {{0.125, 2, ".13", ".12"},
                {2.675, 2, "2.68", "2.67"},
                {-0.05, 1, "-.1", "-.0"},
                {0.96, 1, "1.0", ".9"},
                {0.96, 0, "1", "0"},
                {0.04, 0, "0", "0"},
                {99.999, 2, "100.00", "99.99"},
                {12.5, 3, "12.5", "12.5"},
                {-0.4, 0, "-0", "-0"},
                {999999.9999999, 6, "1000000.000000", "999999.999999"},
                {1e20, 3, "100000000000000000000", "100000000000000000000"}};
    for (const auto& row : rows) {
        const auto text = [](const UsNumber& number) {
            std::array<char16_t, UsNumber::textSize> units;
            std::string written = Narrow(units.data(), number.Write(units.data()));
            EXPECT_EQ(written.size(), number.Size());
            EXPECT_EQ(number.IsZero(), written.find_first_of("123456789") == std::string::npos);
            return written;
        };
        UsNumber rounded(row.value);
        rounded.Round(row.decimals);
        EXPECT_EQ(text(rounded), row.rounded);
        UsNumber cut(row.value);
        cut.Cut(row.decimals);
        EXPECT_EQ(text(cut), row.cut);
    }
}

TEST(UsNumber, PrintsExponents) {
    const double infinity = std::numeric_limits<double>::infinity();
    for (const double value : {1e300, -9007199254740994.0, 1.2345675e16, 2.5e15, 1e16, infinity, -infinity}) {
        std::array<char, 32> printed;
        std::snprintf(printed.data(), printed.size(), "%e", value);
        std::array<char16_t, 16> text;
        EXPECT_EQ(Narrow(text.data(), FormatExponent(text.data(), value)), printed.data());
    }
    EXPECT_EQ(ScaledByTen(5, -1), 0.5);
    EXPECT_EQ(ScaledByTen(123, 300), 1.23e302);
    EXPECT_EQ(ScaledByTen(1, 309), infinity);
    EXPECT_EQ(ScaledByTen(1, -400), 0.0);
}

}  // namespace kv
