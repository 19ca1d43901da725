#include "xml/XmlValues.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>
#include <random>
#include <string>

#include "kvcore/JsTime.h"
#include "kvcore/Utf.h"

namespace xml {
namespace {

std::string Date(double date) {
    std::array<char, dateTextSize> text;
    const char* const end = FormatDate(text.data(), date);
    return end ? std::string(static_cast<const char*>(text.data()), end) : "none";
}

TEST(XmlValues, ReadsNumbersAndBooleans) {
    constexpr double infinity = std::numeric_limits<double>::infinity();
    EXPECT_EQ(ReadDouble(u" \t\r\n+1.50 "), 1.5);
    EXPECT_EQ(ReadDouble(u"-INF"), -infinity);
    EXPECT_EQ(ReadFloat(u" INF"), std::numeric_limits<float>::infinity());
    EXPECT_TRUE(std::isnan(ReadDouble(u"NaN ").value()));
    EXPECT_TRUE(std::isnan(ReadFloat(u"NaN").value()));
    for (const std::u16string_view text : {u"", u"  ", u"inf", u"+INF", u"nan", u"1 2", u"1,5", u"\u00A01", u"1e400"}) {
        EXPECT_FALSE(ReadDouble(text)) << kv::Utf8(text);
        EXPECT_FALSE(ReadFloat(text)) << kv::Utf8(text);
    }
    const struct {
        std::u16string_view text;
        std::optional<std::int64_t> number;
    } integers[] = {{u" +007\n", 7},   {u"-32768", -32768},
                    {u"32767", 32767}, {u"-32769", {}},
                    {u"32768", {}},    {u"-0", 0},
                    {u"1.0", {}},      {u"", {}},
                    {u"-", {}},        {u"--1", {}},
                    {u"1 ", 1},        {u"- 1", {}},
                    {u"0x1", {}},      {u"99999999999999999999", {}}};
    for (const auto& row : integers) EXPECT_EQ(ReadInteger(row.text, -32768, 32767), row.number) << kv::Utf8(row.text);
    constexpr auto least = std::numeric_limits<std::int64_t>::min();
    constexpr auto greatest = std::numeric_limits<std::int64_t>::max();
    EXPECT_EQ(ReadInteger(u"-9223372036854775808", least, greatest), least);
    EXPECT_EQ(ReadInteger(u"9223372036854775807", least, greatest), greatest);
    EXPECT_FALSE(ReadInteger(u"9223372036854775808", least, greatest));
    EXPECT_EQ(ReadBoolean(u" true"), true);
    EXPECT_EQ(ReadBoolean(u"0"), false);
    for (const std::u16string_view text : {u"", u"True", u"yes", u"2", u"tr ue"}) EXPECT_FALSE(ReadBoolean(text));
}

TEST(XmlValues, ReadsIntegersFromZeroOn) {
    constexpr auto greatest = std::numeric_limits<std::uint64_t>::max();
    const struct {
        std::u16string_view text;
        std::uint64_t greatest;
        std::optional<std::uint64_t> number;
    } rows[] = {
        {u" +007\n", 255, 7},
        {u"255", 255, 255},
        {u"256", 255, {}},
        {u"-0", 255, 0},
        {u"-1", 255, {}},
        {u"1.", 255, {}},
        {u"1.0", 255, {}},
        {u"", 255, {}},
        {u"+", 255, {}},
        {u"1e1", 255, {}},
        {u"18446744073709551615", greatest, greatest},
        {u"0000000000000000000000000000018446744073709551615", greatest, greatest},
        {u"18446744073709551616", greatest, {}},
        {u"36893488147419103232", greatest, {}},
        {u"99999999999999999999999999999999999999999", greatest, {}},
    };
    for (const auto& row : rows) EXPECT_EQ(ReadUnsigned(row.text, row.greatest), row.number) << kv::Utf8(row.text);
}

TEST(XmlValues, ReadsDecimalsAndAmountsWithoutLosingADigit) {
    const struct {
        std::u16string_view text;
        std::optional<Decimal> number;
        std::optional<std::int64_t> amount;
    } rows[] = {
        {u" -12.50 ", Decimal{0, 125, 1, true}, -125'000},
        {u".5", Decimal{0, 5, 1, false}, 5'000},
        {u"+5.", Decimal{0, 5, 0, false}, 50'000},
        {u"-0.0", Decimal{}, 0},
        {u"0.00010000", Decimal{0, 1, 4, false}, 1},
        {u"0.00001", Decimal{0, 1, 5, false}, {}},
        {u"922337203685477.5807", Decimal{0, 9'223'372'036'854'775'807, 4, false}, INT64_MAX},
        {u"-922337203685477.5808", Decimal{0, 9'223'372'036'854'775'808u, 4, true}, INT64_MIN},
        {u"922337203685477.5808", Decimal{0, 9'223'372'036'854'775'808u, 4, false}, {}},
        {u"18446744073709551615", Decimal{0, UINT64_MAX, 0, false}, {}},
        {u"79228162514264337593543950335", Decimal{UINT32_MAX, UINT64_MAX, 0, false}, {}},
        {u"-7.9228162514264337593543950335", Decimal{UINT32_MAX, UINT64_MAX, 28, true}, {}},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(ReadDecimal(row.text), row.number) << kv::Utf8(row.text);
        EXPECT_EQ(ReadCurrency(row.text), row.amount) << kv::Utf8(row.text);
    }
    // clang-format off
    const std::u16string_view refused[] = {
        u"79228162514264337593543950336", u"79228162514264337593543950335.5", u"0.00000000000000000000000000001",
        u"0.000000000000000000000000000010", u"1e2", u"INF", u"", u".", u"-", u"1 2", u"--1", u"1,5",
    };
    // clang-format on
    for (const auto text : refused) {
        EXPECT_FALSE(ReadDecimal(text)) << kv::Utf8(text);
        EXPECT_FALSE(ReadCurrency(text)) << kv::Utf8(text);
    }
}

TEST(XmlValues, ReadsAndWritesHexadecimalDigits) {
    std::array<std::byte, 4> bytes{};
    EXPECT_EQ(ReadHex(bytes.data(), u"\t0fA9bCfF\n"), 4u);
    std::u16string text(8, u'?');
    EXPECT_EQ(PutHex(text.data(), bytes), text.data() + 8);
    EXPECT_EQ(text, u"0FA9BCFF");
    EXPECT_EQ(ReadHex(bytes.data(), u" "), 0u);
    for (const std::u16string_view bad :
         {u"0", u"0 0", u"0g", u"/0", u"0:", u"@0", u"G0", u"0`", u"\u0130A", u"\uFF10A"})
        EXPECT_FALSE(ReadHex(bytes.data(), bad)) << kv::Utf8(bad);
}

TEST(XmlValues, ReadsAndWritesDates) {
    const struct {
        std::u16string_view text;
        double date;
        std::string_view again;
    } rows[] = {{u"1970-01-01T00:00:00Z", 25'569, "1970-01-01T00:00:00Z"},
                {u" 2020-01-31\n", 43'861, "2020-01-31T00:00:00Z"},
                {u"2020-01-31+02:00", 43'860.0 + 22.0 / 24, "2020-01-30T22:00:00Z"},
                {u"2020-02-29T12:00:00", 43'890.5, "2020-02-29T12:00:00Z"},
                {u"2020-01-31T09:30:00-05:30", 43'861.625, "2020-01-31T15:00:00Z"},
                {u"2020-01-31T24:00:00", 43'862, "2020-02-01T00:00:00Z"},
                {u"2019-12-31T23:59:59.9996", 43'831, "2020-01-01T00:00:00Z"},
                {u"1899-12-29T06:00:00Z", -1.25, "1899-12-29T06:00:00Z"},
                {u"1899-12-30T06:00:00Z", 0.25, "1899-12-30T06:00:00Z"},
                {u"0100-01-01", -657'434, "0100-01-01T00:00:00Z"},
                {u"10000-01-01T00:00:00+14:00", 2'958'465.0 + 10.0 / 24, "9999-12-31T10:00:00Z"}};
    for (const auto& row : rows) {
        const auto date = ReadDate(row.text);
        ASSERT_TRUE(date) << kv::Utf8(row.text);
        EXPECT_DOUBLE_EQ(*date, row.date) << kv::Utf8(row.text);
        EXPECT_EQ(Date(*date), row.again);
    }
    EXPECT_EQ(Date(ReadDate(u"2020-01-31T07:30:00.5").value()), "2020-01-31T07:30:00.5Z");
    EXPECT_EQ(Date(ReadDate(u"2020-01-31T07:30:00.0406").value()), "2020-01-31T07:30:00.041Z");
    // clang-format off
    const std::u16string_view refused[] = {
        u"", u"2020", u"2020-1-31", u"2020-02-30", u"2019-02-29", u"1900-02-29", u"2020-13-01", u"2020-00-01",
        u"2020-01-00", u"0000-01-01", u"-0001-01-01", u"0099-12-31", u"10000-01-01", u"02020-01-01", u"20200131",
        u"2020-01-31T", u"2020-01-31T09:30", u"2020-01-31T9:30:00", u"2020-01-31T24:00:01", u"2020-01-31T23:60:00",
        u"2020-01-31T23:59:60", u"2020-01-31T09:30:00.", u"2020-01-31T09:30:00z", u"2020-01-31t09:30:00",
        u"2020-01-31T09:30:00+14:01", u"2020-01-31T09:30:00+0200", u"2020-01-31 09:30:00", u"2020-01-31Zx",
        u"0100-01-01T00:00:00+00:01", u"9999-12-31T24:00:00", u"31.01.2020",
    };
    // clang-format on
    for (const auto text : refused) EXPECT_FALSE(ReadDate(text)) << kv::Utf8(text);
    for (const double date : {-657'435.0, 2'958'466.0, 1e300, -1e300, std::nan(""), -std::nan("")})
        EXPECT_EQ(Date(date), "none") << date;
}

TEST(XmlValues, EveryDayComesBackInItsOrder) {
    std::string previous;
    std::mt19937_64 bits(1);
    for (int day = -657'434; day < 2'958'466; ++day) {
        const double time = kv::ToJsTime(day) + static_cast<double>(bits() % 86'400'000);
        const std::string text = Date(kv::FromJsTime(time));
        ASSERT_LT(previous, text);
        ASSERT_EQ(kv::ToJsTime(ReadDate(kv::Utf16(text)).value()), time) << text;
        previous = text;
    }
}

}  // namespace
}  // namespace xml
