#include "kvcore/Utf.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <tuple>
#include <utility>

namespace kv {
namespace {

using namespace std::string_view_literals;

TEST(Utf, EachMaximalPartOfACharacterBecomesOneReplacement) {
    // clang-format off
    const std::pair<std::string_view, std::u16string_view> rows[] = {  // a dot wherever a U+FFFD is to come out
        {"", u""}, {"x\0y"sv, u"x\0y"sv},
        {"\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF", u"\u007F\u0080\u07FF\u0800\uFFFF"},
        {"\xED\x9F\xBF\xEE\x80\x80\xF0\x90\x80\x80\xF4\x8F\xBF\xBF", u"\uD7FF\uE000\U00010000\U0010FFFF"},
        {"\x80\xBFx", u"..x"}, {"\xC3\xA4\xA4", u"\u00E4."},                                   // nothing to go on with
        {"\xC0\x80x\xC1\xBF", u"..x.."}, {"\xE0\x80\x80\xE0\x9F\xBF", u"......"},              // overlong
        {"\xF0\x80\x80\x80x\xF0\x8F\xBF\xBF", u"....x...."},
        {"\xED\xA0\x80x\xED\xBF\xBF", u"...x..."},                                             // surrogates
        {"\xF4\x90\x80\x80x\xF5\x80\xF8\xFC\xFE\xFF", u"....x......"},                         // beyond U+10FFFF
        {"\xC3", u"."}, {"\xE2\x82", u"."}, {"\xF0\x9F\x98", u"."}, {"\xF0\x9F", u"."},        // cut at the end
        {"\xC3x\xE2\x82x\xF0\x9F\x98x", u".x.x.x"}, {"\xF0\x9F\x98\xF0\x9F\x98\x80", u".\U0001F600"},  // and before it
        {"\xE2\x82\xE2\x82\xAC\xC3\xC3\xA4", u".\u20AC.\u00E4"}, {"\xF1\x80\x80\xE1\x80\xC2x\x80y", u"...x.y"},
    };
    // clang-format on
    for (const auto& [bytes, text] : rows) {
        std::u16string expected(text);
        std::replace(expected.begin(), expected.end(), u'.', u'\uFFFD');
        EXPECT_EQ(Utf16(bytes), expected) << testing::PrintToString(bytes);
    }
}

TEST(Utf, EveryCharacterComesBack) {
    std::string previous;
    for (char32_t character = 1; character <= 0x10FFFF; ++character) {
        if (character == 0xD800) character = 0xE000;
        const char32_t above = character - 0x10000;
        const std::u16string text = character > 0xFFFF ? std::u16string{static_cast<char16_t>(0xD800 + (above >> 10)),
                                                                        static_cast<char16_t>(0xDC00 + (above & 0x3FF))}
                                                       : std::u16string(1, static_cast<char16_t>(character));
        const std::string bytes = Utf8(text);
        ASSERT_EQ(Utf16(bytes), text);
        ASSERT_EQ(bytes.size(), character < 0x80 ? 1u : character < 0x800 ? 2u : character < 0x10000 ? 3u : 4u);
        ASSERT_LT(std::exchange(previous, bytes), bytes) << "UTF-8 sorts as its characters do";
    }
}

TEST(Utf, LoneSurrogatesAreReplacedAndQuotedTextEscapesWhatJsonMust) {
    const std::tuple<std::u16string, std::string_view, std::string_view> rows[] = {
        {u"", "", R"("")"},
        {u"a/b'c", "a/b'c", R"("a/b'c")"},
        {u"\"\\\b\f\n\r\t", "\"\\\b\f\n\r\t", R"("\"\\\b\f\n\r\t")"},
        {{0, 1, 0xB, 0x1F, u' '}, "\0\1\v\x1F "sv, R"("\u0000\u0001\u000b\u001f ")"},
        {u"\x7F\u2028\U0001F600", "\x7F\xE2\x80\xA8\xF0\x9F\x98\x80", "\"\x7F\xE2\x80\xA8\xF0\x9F\x98\x80\""},
        {{0xD800}, "\xEF\xBF\xBD", R"("\ud800")"},
        {{0xDBFF, u'x'}, "\xEF\xBF\xBDx", R"("\udbffx")"},
        {{u'x', 0xDC00}, "x\xEF\xBF\xBD", R"("x\udc00")"},
        {{0xDFFF, 0xD83D}, "\xEF\xBF\xBD\xEF\xBF\xBD", R"("\udfff\ud83d")"},
        {{0xD83D, 0xD83D, 0xDE00}, "\xEF\xBF\xBD\xF0\x9F\x98\x80", "\"\\ud83d\xF0\x9F\x98\x80\""},
        {{0xD83D, 0xDE00, 0xDE00}, "\xF0\x9F\x98\x80\xEF\xBF\xBD", "\"\xF0\x9F\x98\x80\\ude00\""},
    };
    for (const auto& [text, utf8, quoted] : rows) {
        std::string out = "before";
        AppendQuoted(out, text);
        EXPECT_EQ(out, "before" + std::string(quoted));
        EXPECT_EQ(Utf8(text), utf8) << quoted;
    }
}

TEST(Utf, FindsWhatDiffersAtEveryPlace) {
    const std::tuple<std::u16string_view, std::string_view, std::string_view> kinds[] = {
        {u"\"", "\"", "\\\""},
        {u"\\", "\\", "\\\\"},
        {u"\n", "\n", "\\n"},
        {std::u16string_view(u"\0", 1), "\0"sv, "\\u0000"},
        {u"\x7F", "\x7F", "\x7F"},
        {u"\u0080", "\xC2\x80", "\xC2\x80"},
        {u"\u00FF", "\xC3\xBF", "\xC3\xBF"},
        {u"\u0122", "\xC4\xA2", "\xC4\xA2"},  // its low byte is a quotation mark
        {u"\u7F22", "\xE7\xBC\xA2", "\xE7\xBC\xA2"},
        {u"\u8022", "\xE8\x80\xA2", "\xE8\x80\xA2"},
        {u"\uFFFF", "\xEF\xBF\xBF", "\xEF\xBF\xBF"},
        {u"\U0001F600", "\xF0\x9F\x98\x80", "\xF0\x9F\x98\x80"}};
    const std::u16string letters = u"abcdefghijklmnopqrstuvwxyz ABCDEFGHIJKLMNOP";
    for (const auto& [text, utf8, escaped] : kinds) {
        for (std::size_t length = 0; length <= 40; ++length) {
            for (std::size_t place = 0; place <= length; ++place) {
                const std::u16string before = letters.substr(0, place), after = letters.substr(place, length - place);
                const std::u16string whole = std::u16string(before).append(text).append(after);
                ASSERT_EQ(Utf8(whole), Utf8(before).append(utf8).append(Utf8(after)));
                std::string quoted;
                AppendQuoted(quoted, whole);
                ASSERT_EQ(quoted, '"' + Utf8(before) + std::string(escaped) + Utf8(after) + '"');
                const std::string bytes = Utf8(whole);
                std::u16string back(Utf16Length(bytes), u'?');
                ASSERT_EQ(PutUtf16(back.data(), bytes), back.data() + back.size());
                ASSERT_EQ(back, whole);
            }
        }
    }
}

TEST(Utf, PiecesPartNoCharacter) {
    std::u16string text;
    for (int i = 0; i < 3000; ++i) text += i % 3 == 0 ? u"\U0001F600" : i % 7 == 0 ? u"\xD83D" : u"x";
    for (const std::size_t most : {std::size_t{2}, std::size_t{3}, std::size_t{512}}) {
        std::u16string_view left = text;
        std::string joined;
        while (!left.empty()) {
            const std::u16string_view piece = TakePiece(left, most);
            ASSERT_TRUE(!piece.empty() && piece.size() <= most);
            joined += Utf8(piece);
        }
        EXPECT_EQ(joined, Utf8(text));
    }
}

}  // namespace
}  // namespace kv
