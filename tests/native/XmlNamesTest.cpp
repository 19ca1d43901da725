#include "xml/XmlNames.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

#include "kvcore/Utf.h"

namespace xml {
namespace {

std::u16string Encoded(std::u16string_view text) {
    std::u16string out;
    AppendEncodedName(out, text);
    return out;
}
std::u16string Decoded(std::u16string_view text) {
    std::u16string out;
    AppendDecodedName(out, text);
    return out;
}

TEST(XmlNames, CharactersAreThoseOfTheStandard) {
    // How many characters the productions NameStartChar and NameChar name, the colon not counted, by the sums of their
    // ranges; and the ends of each range with their neighbours.
    std::size_t starts = 0;
    std::size_t parts = 0;
    for (char32_t c = 0; c <= 0x10FFFF; ++c) {
        starts += IsNameStart(c);
        parts += IsNamePart(c);
        ASSERT_TRUE(!IsNameStart(c) || IsNamePart(c));
    }
    EXPECT_EQ(starts, 971'505u);
    EXPECT_EQ(parts, starts + 2 + 10 + 1 + 112 + 2);
    const struct {
        char32_t first, last;
        bool starts;
    } rows[] = {{U'-', U'.', false},    {U'0', U'9', false},     {U'A', U'Z', true},      {U'_', U'_', true},
                {U'a', U'z', true},     {0xB7, 0xB7, false},     {0xC0, 0xD6, true},      {0xD8, 0xF6, true},
                {0x370, 0x37D, true},   {0x200C, 0x200D, true},  {0x203F, 0x2040, false}, {0x2070, 0x218F, true},
                {0x2C00, 0x2FEF, true}, {0x3001, 0xD7FF, true},  {0xF900, 0xFDCF, true},  {0xFDF0, 0xFFFD, true},
                {0x37F, 0x1FFF, true},  {0x10000, 0xEFFFF, true}};
    for (const auto& row : rows) {
        for (const char32_t in : {row.first, row.last}) {
            EXPECT_EQ(IsNameStart(in), row.starts) << std::hex << static_cast<unsigned>(in);
            EXPECT_TRUE(IsNamePart(in)) << std::hex << static_cast<unsigned>(in);
        }
        EXPECT_FALSE(IsNamePart(row.last + 1)) << std::hex << static_cast<unsigned>(row.last);
        EXPECT_FALSE(IsNameStart(row.first - 1)) << std::hex << static_cast<unsigned>(row.first);
    }
    EXPECT_FALSE(IsNamePart(0xF7));
    EXPECT_TRUE(IsNameStart(0x2FF));
    EXPECT_FALSE(IsNameStart(0x300));
    EXPECT_TRUE(IsNamePart(0x36F));
    EXPECT_FALSE(IsNamePart(U':'));
}

TEST(XmlNames, NamesAndQualifiedNames) {
    for (const std::u16string_view name :
         {u"a", u"_", u"A-1.b", u"\u00E4\u00B7", u"\U00010000", u"x\U000EFFFF", u"\u4E00"})
        EXPECT_TRUE(IsName(name)) << kv::Utf8(name);
    const std::u16string lone[] = {{u'a', 0xD800}, {0xDC00}, {u'a', 0xDC00, 0xD800}, {0xDB80, 0xDC00}};
    for (const std::u16string_view bad : {u"", u"1", u"-a", u"a b", u"a:b", u":", u"\u00B7", u"a\u00D7", u"a\uFFFE"})
        EXPECT_FALSE(IsName(bad)) << kv::Utf8(bad);
    for (const std::u16string& bad : lone) EXPECT_FALSE(IsName(bad)) << kv::Utf8(bad);

    const struct {
        std::u16string_view text, prefix, local;
    } rows[] = {{u"a", u"", u"a"}, {u"p:a", u"p", u"a"}, {u"_:\u00E4-1", u"_", u"\u00E4-1"}};
    for (const auto& row : rows) {
        const auto name = SplitName(row.text);
        ASSERT_TRUE(name) << kv::Utf8(row.text);
        EXPECT_EQ(name->prefix, row.prefix);
        EXPECT_EQ(name->local, row.local);
    }
    for (const std::u16string_view bad : {u"", u":", u":a", u"a:", u"a:b:c", u"a::b", u"1:a", u"a:1", u" a", u"a: b"})
        EXPECT_FALSE(SplitName(bad)) << kv::Utf8(bad);
}

TEST(XmlNames, AnyTextIsAName) {
    // clang-format off
    const std::pair<std::u16string_view, std::u16string_view> rows[] = {
        {u"", u"_x_"},                    {u"_x_", u"_x005F_x_"},         {u"Name", u"Name"},
        {u"a b", u"a_x0020_b"},           {u"a:b", u"a_x003A_b"},         {u"1a1", u"_x0031_a1"},
        {u"-", u"_x002D_"},               {u"_", u"_"},                   {u"_x0041_", u"_x005F_x0041_"},
        {u"_x0041 ", u"_x005F_x0041_x0020_"},
        {u"_xfACe_b", u"_x005F_xfACe_b"}, {u"_xfACg_b", u"_xfACg_b"},     {u"_X0041_", u"_X0041_"},
        {u"_ ", u"__x0020_"},             {u"\U00010400", u"\U00010400"},
        {u"\U0010FFFF", u"_xDBFF__xDFFF_"}};
    // clang-format on
    for (const auto& [text, name] : rows) {
        EXPECT_EQ(Encoded(text), name);
        EXPECT_EQ(Decoded(name), text);
        EXPECT_TRUE(IsName(Encoded(text))) << kv::Utf8(text);
    }
    EXPECT_EQ(Decoded(u"_x00e4_"), u"\u00E4");
    EXPECT_EQ(Decoded(u"_x00E4_x0020_"), u"\u00E4x0020_");
    for (const std::u16string_view same : {u"", u"_x004_", u"_x00411_", u"x0041_", u"_x004", u"__x_", u"_x_a"})
        EXPECT_EQ(Decoded(same), same);

    std::mt19937 chance(5);
    constexpr std::u16string_view units = u"__xxx0041aF gX:-\u00E4\uFFFF\U00010400\U0010FFFF";
    for (int round = 0; round < 50'000; ++round) {
        std::u16string text(chance() % 16, u'_');
        for (char16_t& unit : text) unit = units[chance() % units.size()];
        const std::u16string name = Encoded(text);
        ASSERT_TRUE(IsName(name)) << kv::Utf8(name);
        ASSERT_EQ(Decoded(name), text) << kv::Utf8(name);
    }
}

}  // namespace
}  // namespace xml
