#include "kvcore/NumberText.h"

#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <functional>
#include <limits>
#include <random>
#include <string>

#include "kvcore/JsTime.h"
#include "kvcore/Utf.h"

namespace kv {
namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double nan = std::numeric_limits<double>::quiet_NaN();

template <class Write>
std::string Text(Write write) {
    std::array<char, numberTextSize> text;
    char* const end = write(text.data());
    EXPECT_LE(end, text.data() + text.size());
    return {text.data(), end};
}
std::string Shortest(double value) {
    return Text([&](char* out) { return FormatShortest(out, value); });
}
std::string Decimals(double value, int decimals) {
    return Text([&](char* out) { return FormatDecimals(out, value, decimals); });
}
std::string Printed(const char* format, int decimals, double value) {
    std::array<char, 512> text;
    const int size = std::snprintf(text.data(), text.size(), format, decimals, value);
    return {text.data(), static_cast<std::size_t>(size)};
}

/// The digits of a number's text between zeros at either end.
std::string SignificantDigits(std::string_view text) {
    std::string digits;
    for (const char c : text.substr(0, text.find('e')))
        if (c >= '0' && c <= '9') digits += c;
    digits.erase(0, digits.find_first_not_of('0'));
    digits.erase(digits.find_last_not_of('0') + 1);
    return digits;
}

/// What FormatDecimals must give, found the long way from the shortest text.
std::string DecimalsByPrinting(const std::string& shortest, double value, int decimals) {
    const std::size_t mark = std::min(shortest.find('e'), shortest.size());
    const std::size_t point = std::min(shortest.find('.'), mark);
    const int exponent = mark < shortest.size() ? std::stoi(shortest.substr(mark + 1)) : 0;
    const int behindPoint = point < mark ? static_cast<int>(mark - point) - 1 : 0;
    if (behindPoint - exponent <= decimals) return shortest;
    std::string text = Printed("%.*f", decimals, value);
    if (decimals != 0) text.erase(text.find_last_not_of('0') + 1);
    if (text.back() == '.') text.pop_back();
    return text == "-0" ? "-0.0" : text;
}

/// Numbers of many kinds, so many of each.
void ForNumbers(int count, const std::function<void(double)>& check) {
    std::mt19937_64 bits(20240517);
    std::uniform_real_distribution<double> degrees(-180, 180);
    std::uniform_real_distribution<double> metres(-2e7, 2e7);
    for (int i = 0; i < count; ++i) {
        if (const auto any = std::bit_cast<double>(bits()); std::isfinite(any)) check(any);
        check(degrees(bits));
        check(metres(bits));
        check(std::round(degrees(bits) * 1e7) / 1e7);
        check(static_cast<double>(static_cast<std::int64_t>(bits() >> bits() % 64)));
        check(std::ldexp(1.0, static_cast<int>(bits() % 2000) - 1000));
        check(std::exp(degrees(bits) / 9));
        check(static_cast<double>(bits() % 1'000'000) / 64);  // exact ties among them
        check(std::ldexp(static_cast<double>(bits() >> 11), -static_cast<int>(bits() % 75)));
    }
}

TEST(NumberText, HasTheFewestDigits) {
    const struct {
        double value;
        std::string_view text;
    } rows[] = {{0, "0"},
                {-0.0, "-0.0"},
                {1, "1"},
                {-1.25, "-1.25"},
                {0.1, "0.1"},
                {100, "100"},
                {0.1 + 0.2, "0.30000000000000004"},
                {5e-324, "5e-324"},
                {1e-6, "0.000001"},
                {0.0000012345678901234567, "0.0000012345678901234567"},
                {9.9999999e-7, "9.9999999e-7"},
                {999'999'999'999'999, "999999999999999"},
                {-999'999'999'999'999.9, "-999999999999999.9"},
                {1e15, "1e+15"},
                {1'234'567'890'123'456'789.0, "1.2345678901234568e+18"},
                {1e21, "1e+21"},
                {9'007'199'254'740'993.0, "9.007199254740992e+15"},
                {1'700'000'000'123.0, "1700000000123"},
                {std::numeric_limits<double>::max(), "1.7976931348623157e+308"},
                {std::numeric_limits<double>::min(), "2.2250738585072014e-308"},
                {nan, "NaN"},
                {-nan, "NaN"},
                {infinity, "INF"},
                {-infinity, "-INF"}};
    for (const auto& row : rows) EXPECT_EQ(Shortest(row.value), row.text);
}

TEST(NumberText, KeepsTheShortestTextOrRoundsTheExactValue) {
    const struct {
        double value;
        int decimals;
        std::string_view text;
    } rows[] = {{1.25, 3, "1.25"},
                {1.25, 2, "1.25"},
                {1.25, 1, "1.2"},    // a tie
                {1.75, 1, "1.8"},    // and another
                {2.675, 2, "2.67"},  // which is less than it seems
                {1.005, 2, "1"},
                {-0.04, 1, "-0.0"},
                {-1e-7, 4, "-0.0"},
                {0.5, 0, "0"},
                {1.5, 0, "2"},
                {9.996, 2, "10"},
                {123'456.7, 16, "123456.7"},
                {0.1, 16, "0.1"},
                {1e-7, 16, "1e-7"},
                {1.23456e-7, 10, "0.0000001235"},
                {1.5e300, 0, "1.5e+300"},
                {1'234'567'890'123'456.5, 0, "1234567890123456"},
                {nan, 2, "NaN"},
                {-infinity, 2, "-INF"}};
    for (const auto& row : rows) EXPECT_EQ(Decimals(row.value, row.decimals), row.text) << Shortest(row.value);
}

TEST(NumberText, HasTheDigitsOfTheStandardLibraryInMillionsOfNumbers) {
    ForNumbers(150'000, [](double value) {
        std::array<char, numberTextSize> text;
        char* const end = FormatShortest(text.data(), value);
        double back = 0;
        ASSERT_EQ(std::from_chars(text.data(), end, back).ptr, end);
        ASSERT_EQ(std::bit_cast<std::uint64_t>(back), std::bit_cast<std::uint64_t>(value)) << value;
        std::array<char, 64> known;
        const char* next = known.data();
        const char* const knownEnd =
            std::to_chars(known.data(), known.data() + known.size(), value, std::chars_format::scientific).ptr;
        const char* const mark = std::find(next, knownEnd, 'e');
        bool began = false;
        for (const char* c = text.data(); c != end && *c != 'e' && next != mark; ++c) {
            began |= *c >= '1' && *c <= '9';
            if (!began || *c == '.') continue;
            while (*next == '-' || *next == '.') ++next;
            ASSERT_EQ(*c, *next++) << value;
        }
        ASSERT_TRUE(next == mark || value == 0) << value;
    });
}

TEST(NumberText, RoundsAndReadsAsTheStandardLibraryDoes) {
    ForNumbers(5'000, [](double value) {
        const std::string text = Shortest(value);
        std::array<char, 64> known;
        const char* const end =
            std::to_chars(known.data(), known.data() + known.size(), value, std::chars_format::scientific).ptr;
        ASSERT_EQ(SignificantDigits(text), SignificantDigits({known.data(), end})) << text;
        const auto back = ReadDouble(Utf16(text));
        ASSERT_TRUE(back) << text;
        ASSERT_EQ(std::bit_cast<std::uint64_t>(*back), std::bit_cast<std::uint64_t>(value)) << text;
        for (const int decimals : {0, 3, 7, 16})
            ASSERT_EQ(Decimals(value, decimals), DecimalsByPrinting(text, value, decimals)) << text << " " << decimals;
        for (const int digits : {17, 19, 21, 40}) {
            const std::string longer = Printed("%.*e", digits, value);
            ASSERT_EQ(ReadDouble(Utf16(longer)), value) << longer;
        }
        const std::string few = Printed("%.*e", 8, value);
        ASSERT_EQ(ReadDouble(Utf16(few)), std::strtod(few.c_str(), nullptr)) << few;
    });
}

TEST(NumberText, ReadsJsonsNumbersToTheLastDigit) {
    const auto many = [](std::size_t count) { return std::u16string(count, u'0'); };
    // Half way between 1 and its neighbour, and a little more.
    const std::u16string halfWay = u"1.00000000000000011102230246251565404236316680908203125";
    const struct {
        std::u16string text;
        double value;
    } rows[] = {
        {u"0", 0.0},
        {u"-0", -0.0},
        {u"-12.50", -12.5},
        {u"1e5", 1e5},
        {u"1E+5", 1e5},
        {u"1e-5", 1e-5},
        {u"0.1e1", 1.0},
        {u"9007199254740993", 9007199254740992.0},
        {u"9007199254740993.1", 9007199254740994.0},
        {u"18446744073709551615", 18446744073709551615.0},
        {u"99999999999999999999", 1e20},
        {u"0.000000000000000000000000000012345678901234567890", 1.2345678901234567890e-29},
        {halfWay, 1.0},
        {halfWay + many(1000), 1.0},
        {halfWay + many(1000) + u"1", 1.0000000000000002},
        {u"1" + many(400) + u"e-400", 1.0},
        {u"0." + many(400) + u"1e401", 1.0},
        {u"0e99999999999999999999", 0.0},
        {u"1e-99999999999999999999", 0.0},
        {u"4.9e-324", 5e-324},
        {u"2e-324", 0.0},
        {u"1.7976931348623157e308", std::numeric_limits<double>::max()},
    };
    for (const auto& row : rows) {
        const auto read = ReadDouble(row.text);
        EXPECT_EQ(read, row.value) << Utf8(row.text);
        EXPECT_EQ(std::signbit(read.value_or(0)), std::signbit(row.value)) << Utf8(row.text);
    }
    // clang-format off
    const std::u16string_view refused[] = {
        u"1.7976931348623159e308", u"1e309", u"1e99999999999999999999", u"", u"-", u"+1", u"01", u"-01", u"1.", u".5",
        u"1e", u"1e+", u"1 ", u" 1", u"1.2.3", u"0x10", u"NaN", u"\u0661",
    };
    // clang-format on
    for (const auto text : refused) EXPECT_FALSE(ReadDouble(text)) << Utf8(text);
}

TEST(NumberText, ReadsXmlsNumbers) {
    const struct {
        std::u16string_view text;
        std::optional<double> number;
        std::optional<float> single;
    } rows[] = {{u"+1", 1.0, 1.0f},
                {u"007", 7.0, 7.0f},
                {u"-.5", -0.5, -0.5f},
                {u"5.e1", 50.0, 50.0f},
                {u"1.00000017881393432617187499", 1.00000017881393432617187499, 1.0000001f},  // not by way of a double
                {u"1e39", 1e39, {}},
                {u"1e-46", 1e-46, 0.0f},
                {u".", {}, {}},
                {u"+-1", {}, {}},
                {u"1e999", {}, {}}};
    for (const auto& row : rows) {
        EXPECT_EQ(ReadXmlDouble(row.text), row.number) << Utf8(row.text);
        EXPECT_EQ(ReadXmlFloat(row.text), row.single) << Utf8(row.text);
    }
}

TEST(NumberText, ReadsAndWritesIntegers) {
    constexpr auto least = std::numeric_limits<std::int64_t>::min();
    constexpr auto greatest = std::numeric_limits<std::int64_t>::max();
    const struct {
        std::u16string_view text;
        std::int64_t number;
        std::uint64_t unsignedNumber;
    } rows[] = {{u"0", 0, 0},
                {u"-1", -1, 0xFFFF'FFFF'FFFF'FFFF},
                {u" \t+12.5", 12, 12},
                {u"12e5", 12, 12},
                {u"9223372036854775807", greatest, 0x7FFF'FFFF'FFFF'FFFF},
                {u"9223372036854775808", greatest, 0x8000'0000'0000'0000},
                {u"-9223372036854775808", least, 0x8000'0000'0000'0000},
                {u"-9223372036854775809", least, 0x7FFF'FFFF'FFFF'FFFF},
                {u"18446744073709551615", greatest, 0xFFFF'FFFF'FFFF'FFFF},
                {u"18446744073709551616", greatest, 0xFFFF'FFFF'FFFF'FFFF},
                {u"99999999999999999999999", greatest, 0xFFFF'FFFF'FFFF'FFFF},
                {u"-99999999999999999999999", least, 0xFFFF'FFFF'FFFF'FFFF},
                {u"-18446744073709551615", least, 1},
                {u"", 0, 0},
                {u"x1", 0, 0},
                {u"-", 0, 0}};
    for (const auto& row : rows) {
        EXPECT_EQ(ReadInt64(row.text), row.number) << Utf8(row.text);
        EXPECT_EQ(ReadUInt64(row.text), row.unsignedNumber) << Utf8(row.text);
    }
    std::uint64_t number = 1;
    for (int i = 0; i < 1000; ++i) {
        EXPECT_EQ(Text([&](char* out) { return FormatUInt64(out, number); }), std::to_string(number));
        const auto same = static_cast<std::int64_t>(number);
        EXPECT_EQ(Text([&](char* out) { return FormatInt64(out, same); }), std::to_string(same));
        number = i < 130 ? (i % 2 == 0 ? number * 10 - 1 : number + 1) : number * 6364136223846793005 + 1;
    }
    for (const std::int64_t edge : {least, greatest, std::int64_t{0}})
        EXPECT_EQ(Text([&](char* out) { return FormatInt64(out, edge); }), std::to_string(edge));
}

TEST(NumberText, WritesFloatsWithNineDigits) {
    const struct {
        float value;
        std::string_view text;
    } rows[] = {{0.1f, "0.100000001"},
                {1.5f, "1.5"},
                {-0.0f, "-0"},
                {1e9f, "1e+09"},
                {123'456'789.0f, "123456792"},
                {1e-5f, "9.99999975e-06"},
                {std::numeric_limits<float>::max(), "3.40282347e+38"},
                {std::numeric_limits<float>::quiet_NaN(), "NaN"},
                {-std::numeric_limits<float>::infinity(), "-INF"}};
    for (const auto& row : rows) EXPECT_EQ(Text([&](char* out) { return FormatFloat(out, row.value); }), row.text);
}

TEST(JsTime, IsTheInverseOfOleDatesToTheMillisecond) {
    const std::pair<double, double> rows[] = {
        {25'569.0, 0.0},
        {25'569.5, 43'200'000.0},
        {25'568.75, -21'600'000.0},
        {0.0, -25'569 * millisecondsPerDay},
        {-1.25, -25'570 * millisecondsPerDay + 21'600'000.0}};  // 1899-12-29 06:00
    for (const auto& [date, time] : rows) {
        EXPECT_EQ(ToJsTime(date), time);
        EXPECT_EQ(FromJsTime(time), date);
    }
    std::mt19937_64 bits(1);
    std::uniform_int_distribution<std::int64_t> times(-59'011'459'200'000, 253'402'300'799'999);  // year 100 to 9999
    for (int i = 0; i < 100'000; ++i) {
        const auto time = static_cast<double>(times(bits));
        ASSERT_EQ(ToJsTime(FromJsTime(time)), time);
    }
    EXPECT_TRUE(std::isnan(ToJsTime(nan)));
    EXPECT_TRUE(std::isnan(FromJsTime(nan)));
}

}  // namespace
}  // namespace kv
