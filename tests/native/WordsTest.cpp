#include "tools/mova/Words.h"

#include <gtest/gtest.h>

#include <utility>

namespace mova::tool {
namespace {

TEST(Words, AreSplitAtBlanksOutsideQuotations) {
    // clang-format off
    const std::pair<std::string_view, std::optional<std::vector<std::string>>> rows[] = {
        {"", {{}}}, {" \t ", {{}}}, {"one", {{"one"}}}, {" one\ttwo  three ", {{"one", "two", "three"}}},
        {R"("one two" three)", {{"one two", "three"}}}, {R"(a"b c"d "e"f)", {{"ab cd", "ef"}}},
        {R"("a""b" "")", {{"ab", ""}}}, {R"("")", {{""}}}, {"a\nb\rc", {{"a\nb\rc"}}},
        {R"("a\"b" "c\\")", {{"a\"b", "c\\"}}}, {R"(a\ b)", {{"a\\", "b"}}}, {R"(\"a b")", {{"\\a b"}}},
        {R"("C:\new\\old" C:\a\\b)", {{R"(C:\new\old)", R"(C:\a\\b)"}}},
        {{"a\0b c", 5}, {{{"a\0b", 3}, "c"}}},
        {"\"", {}}, {"a \"b c", {}}, {R"("a\")", {}}, {R"("a\)", {}}, {R"(a" "b")", {}},
    };
    // clang-format on
    for (const auto& [line, words] : rows) EXPECT_EQ(SplitWords(line), words) << line;
}

}  // namespace
}  // namespace mova::tool
