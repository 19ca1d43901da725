#include "tools/mova/PropertyLines.h"

#include <gtest/gtest.h>

#include <tuple>
#include <utility>

namespace mova::tool {
namespace {

using namespace std::string_view_literals;

TEST(PropertyLines, SetAndRemoveByName) {
    using enum PropertyType;
    using Value = decltype(PropertyLine::value);
    const auto whole = [](std::int64_t number) { return Value(number); };
    // clang-format off
    const std::tuple<std::string_view, std::string_view, PropertyType, Value> rows[] = {
        {"a=empty:", "a", empty, {}},                    {"a=null:", "a", null, {}},
        {"a b=bool:true", "a b", boolean, true},         {"a:b=bool:false", "a:b", boolean, false},
        {"=i2:32767", "", i2, whole(32767)},             {"a=i2:-32768", "a", i2, whole(-32768)},
        {"a=i4:2147483647", "a", i4, whole(INT32_MAX)},  {"a=i4:-2147483648", "a", i4, whole(INT32_MIN)},
        {"a=i8:9223372036854775807", "a", i8, whole(INT64_MAX)},
        {"a=i8:-9223372036854775808", "a", i8, whole(INT64_MIN)},
        {"a=i8:007", "a", i8, whole(7)},                 {"a=date:45000.25", "a", date, 45000.25},
        {"a=r4:0.1", "a", r4, double{0.1f}},             {"a=r8:-1.797e308", "a", r8, -1.797e308},
        {"a=str:", "a", string, ""sv},                   {"a=str:x=y:z ", "a", string, "x=y:z "sv},
        {"a=str:\0\xFF"sv, "a", string, "\0\xFF"sv},
    };
    // clang-format on
    for (const auto& [line, name, type, value] : rows) {
        const auto parsed = ParsePropertyLine(line);
        ASSERT_TRUE(parsed && !parsed->removes) << line;
        EXPECT_EQ(std::tuple(parsed->name, parsed->type, parsed->value), std::tuple(name, type, value)) << line;
    }
    for (const auto line : {"-a"sv, "-"sv, "--"sv, "-a=i2:1"sv}) {
        const auto parsed = ParsePropertyLine(line);
        ASSERT_TRUE(parsed && parsed->removes) << line;
        EXPECT_EQ(parsed->name, line.substr(1));
    }
}

TEST(PropertyLines, AreRefusedWhereTheValueIsNoneOfTheType) {
    // clang-format off
    const std::string_view lines[] = {
        "", "a", "a=", "a=i2", "i2:1", "a:i2=1",                                         // no such line
        "a=:1", "a=I2:1", "a=i3:1", "a= i2:1", "a=i2 :1", "a=i:1", "a=i22:1", "a=string:x",   // no such type
        "a=empty:x", "a=null: ", "a=bool:", "a=bool:True", "a=bool:1",
        "a=i2:", "a=i2: 1", "a=i2:1 ", "a=i2:+1", "a=i2:0x10", "a=i2:1.0", "a=i4:1:2", "a=i4:-",
        "a=i2:32768", "a=i2:-32769", "a=i4:2147483648", "a=i4:-2147483649", "a=i8:9223372036854775808",
        "a=r8:", "a=r8: 1", "a=r8:1,5", "a=r8:1e", "a=r8:0x1p3", "a=r8:1e309", "a=r4:1e39", "a=date:", "a=date:x",
    };
    // clang-format on
    for (const std::string_view line : lines) EXPECT_FALSE(ParsePropertyLine(line)) << line;
}

TEST(PropertyLines, AreWhatStandsBetweenLineEnds) {
    // clang-format off
    const std::pair<std::string_view, std::vector<std::string_view>> rows[] = {
        {"", {}}, {"a", {"a"}}, {"a\n", {"a"}}, {"\n", {""}}, {"a\0\nb"sv, {"a\0"sv, "b"}},
        {"a\r\nb\n\n\r\nc", {"a", "b", "", "", "c"}}, {"a\rb\n", {"a\rb"}}, {"a\r\r\n", {"a\r"}},
        {"\xEF\xBB\xBF", {}}, {"\xEF\xBB\xBF\xEF\xBB\xBF", {"\xEF\xBB\xBF"}}, {"\xEF\xBBx", {"\xEF\xBBx"}},
        {"\xEF\xBB\xBFx\n\xEF\xBB\xBFy", {"x", "\xEF\xBB\xBFy"}},
    };
    // clang-format on
    for (const auto& [text, lines] : rows) EXPECT_EQ(SplitLines(text), lines) << testing::PrintToString(text);
}

}  // namespace
}  // namespace mova::tool
