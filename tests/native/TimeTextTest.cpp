#include "time/TimeText.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <limits>
#include <random>
#include <string>

#include "time/Digits.h"

namespace calendar {
namespace {

using kv::DateTime;

std::string Narrow(const char16_t* text, const char16_t* end) {
    std::string narrow;
    for (; text != end; ++text) narrow += static_cast<char>(*text);
    return narrow;
}

std::string Format(const DateTime& at, std::uint32_t layout) {
    char16_t out[timeTextSize];
    const char16_t* const end = FormatTime(out, at, layout);
    return end ? Narrow(out, end) : "-";
}

std::string FormatXml(const DateTime& at, int offset) {
    char16_t out[timeTextSize];
    return Narrow(out, FormatXmlTime(out, at, offset));
}

/// The layouts as printf writes them; %s stands for the fraction.
constexpr const char* formats[] = {
    "%04d/%02d/%02d %02d:%02d:%02d.%s",
    "%04d/%02d/%02d %02d:%02d:%02d",
    "%04d/%02d/%02d %02d:%02d",
    "%04d/%02d/%02d %02d",
    "%04d/%02d/%02d",
    "%04d/%02d",
    "%04d-%02d-%02d %02d:%02d:%02d.%s",
    "%04d-%02d-%02d %02d:%02d:%02d",
    "%04d-%02d-%02d %02d:%02d",
    "%04d-%02d-%02d %02d",
    "%04d-%02d-%02d",
    "%04d-%02d",
    "%04d%02d%02d%02d%02d%02d.%s",
    "%04d%02d%02d%02d%02d%02d",
    "%04d%02d%02d%02d%02d",
    "%04d%02d%02d%02d",
    "%04d%02d%02d",
    "%04d%02d",
    "%04d",
    "%04d-%02d-%02dT%02d:%02d:%02d.%sZ",
    "%04d-%02d-%02dT%02d:%02d:%02d.%s",
    "%04d-%02d-%02dT%02d:%02d:%02d",
    "%04d-%02d-%02dT%02d:%02d:%02d.%sZ",
};
static_assert(std::size(formats) == layoutCount);
constexpr std::uint32_t millisecondLayout = 22;

std::string Printed(const DateTime& at, std::uint32_t layout) {
    char fraction[16];
    if (layout == millisecondLayout) {
        std::snprintf(fraction, sizeof fraction, "%03d", at.nanosecond / 1'000'000);
    } else {
        int length = std::snprintf(fraction, sizeof fraction, "%09d", at.nanosecond);
        while (length > 1 && fraction[length - 1] == '0') fraction[--length] = 0;
    }
    char text[timeTextSize];
    std::snprintf(text, sizeof text, formats[layout], at.year, at.month, at.day, at.hour, at.minute, at.second,
                  fraction);
    return text;
}

TEST(TimeText, IsWrittenAsPrintfDoes) {
    std::mt19937_64 random(5);
    const auto below = [&](std::uint64_t end) { return static_cast<std::int16_t>(random() % end); };
    constexpr std::int32_t scales[] = {1, 10, 1'000, 1'000'000, 100'000'000, 1'000'000'000};
    const auto check = [](const DateTime& at) {
        for (std::uint32_t layout = 0; layout < layoutCount; ++layout)
            ASSERT_EQ(Format(at, layout), Printed(at, layout)) << layout;
    };
    for (int i = 0; i < 20'000; ++i) {
        const std::int32_t scale = scales[random() % std::size(scales)];
        check({.year = static_cast<std::int16_t>(static_cast<std::int16_t>(random()) >> random() % 16),
               .month = static_cast<std::int16_t>(below(12) + 1),
               .day = static_cast<std::int16_t>(below(31) + 1),
               .hour = below(24),
               .minute = below(60),
               .second = below(60),
               .nanosecond =
                   static_cast<std::int32_t>(random() % (1'000'000'000u / static_cast<unsigned>(scale))) * scale});
    }
    for (const int year : {-32'768, -10'000, -9'999, -1'000, -999, -1, 1, 9'999, 10'000, 32'767})
        check({.year = static_cast<std::int16_t>(year),
               .month = 12,
               .day = 31,
               .hour = 23,
               .minute = 59,
               .second = 59,
               .nanosecond = 999'999'999});
    EXPECT_EQ(Format({}, 7), "0001-01-01 00:00:00");
    EXPECT_EQ(Format({}, 19), "0001-01-01T00:00:00.0Z");
    EXPECT_EQ(Format({.nanosecond = 120'000'000}, 20), "0001-01-01T00:00:00.12");
    EXPECT_EQ(Format({.nanosecond = 120'999'999}, 22), "0001-01-01T00:00:00.120Z");
    EXPECT_EQ(Format({.year = -1}, 4), "-001/01/01");
    for (const std::uint32_t layout : {layoutCount, layoutCount + 1, std::numeric_limits<std::uint32_t>::max()})
        EXPECT_EQ(Format({}, layout), "-");
}

TEST(TimeText, IsWrittenWithItsOffset) {
    const DateTime at{.year = 2020, .month = 5, .day = 17, .hour = 10, .minute = 20, .second = 30};
    DateTime withFraction = at;
    withFraction.nanosecond = 500'000'000;
    EXPECT_EQ(FormatXml(at, 0), "2020-05-17T10:20:30+00:00");
    EXPECT_EQ(FormatXml(withFraction, 120), "2020-05-17T10:20:30.5+02:00");
    EXPECT_EQ(FormatXml(at, -330), "2020-05-17T10:20:30-05:30");
    EXPECT_EQ(FormatXml(at, -30), "2020-05-17T10:20:30-00:30");
    EXPECT_EQ(FormatXml(at, greatestOffset), "2020-05-17T10:20:30+23:59");
    EXPECT_EQ(FormatXml(at, -greatestOffset), "2020-05-17T10:20:30-23:59");
}

TEST(TimeText, IntegersArePadded) {
    for (const std::int32_t number : {0, 7, -7, 12, -12, 123, -123, INT32_MAX, INT32_MIN}) {
        for (const int least : {1, 2, 3, 4}) {
            char16_t out[integerTextSize];
            char expected[16];
            std::snprintf(expected, sizeof expected, "%0*d", least, number);
            EXPECT_EQ(Narrow(out, PutInteger(out, number, least)), expected);
        }
    }
}

}  // namespace
}  // namespace calendar
