#include "json/Unescape.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>

#include "kvcore/Utf.h"

namespace json {
namespace {

/// Into room of exactly the size that is promised, so that the sanitizer sees a write beyond it.
std::u16string Unescaped(std::u16string_view text) {
    const std::unique_ptr<char16_t[]> exact(new char16_t[text.size()]);
    std::copy(text.begin(), text.end(), exact.get());
    const std::unique_ptr<char16_t[]> out(new char16_t[text.size()]);
    return {out.get(), Unescape({exact.get(), text.size()}, out.get())};
}

std::u16string Between(std::u16string front, std::u16string_view text, std::u16string_view back) {
    return front.append(text).append(back);
}

TEST(Unescape, ResolvesWhatJsonHasAndDropsOtherBackslashes) {
    const struct {
        std::u16string_view text;
        std::u16string_view plain;
    } rows[] = {{u"", u""},
                {u"plain", u"plain"},
                {u"\\b\\f\\n\\r\\t", u"\b\f\n\r\t"},
                {u"\\\"\\\\\\/\\'", u"\"\\/'"},
                {u"\\u0041\\u00e4\\uD83c\\udf0D", u"A\u00E4\U0001F30D"},
                {u"\\ud800", u"\xD800"},
                {u"\\u12", u"u12"},
                {u"\\u12g4", u"u12g4"},
                {u"\\u", u"u"},
                {u"\\x41\\q", u"x41q"},
                {u"\\", u"\\"},
                {u"a\\\\", u"a\\"},
                {u"\\u004\\n", u"u004\n"}};
    for (const auto& row : rows) {
        for (const std::size_t before : std::initializer_list<std::size_t>{0, 1, 13, 15, 16, 17, 40}) {
            for (const std::size_t after : std::initializer_list<std::size_t>{0, 1, 15, 16, 33}) {
                const std::u16string front(before, u'<');
                const std::u16string back(row.text.ends_with(u"\\") && after != 0 && row.plain == u"\\" ? 0 : after,
                                          u'>');
                EXPECT_EQ(Unescaped(Between(front, row.text, back)), Between(front, row.plain, back))
                    << kv::Utf8(row.text) << " behind " << before;
            }
        }
    }
}

}  // namespace
}  // namespace json
