#include "xml/DocumentText.h"

#include <gtest/gtest.h>

#include "kvcore/Utf.h"

namespace xml {
namespace {

using namespace std::string_literals;

std::optional<std::u16string> TextOf(std::string_view bytes) {
    return TextOfDocument(std::as_bytes(std::span(bytes)));
}
std::string Wide(std::u16string_view text) {
    return {reinterpret_cast<const char*>(text.data()), text.size() * sizeof(char16_t)};
}

TEST(DocumentText, FindsTheEncodingThatIsDeclared) {
    const std::pair<std::u16string_view, std::u16string_view> rows[] = {
        {u"<?xml version=\"1.0\" encoding=\"utf-16\"?>", u"utf-16"},
        {u"<?xml version='1.0' encoding='UTF-8' standalone='yes' ?><a/>", u"UTF-8"},
        {u"<?xml\nversion\t= '1.0'\r\nencoding =\n'x'?>", u"x"},
        {u"<?xml version='encoding=\"a\"' encoding='b'?>", u"b"},
        {u"<?xml version='1.0'?><?p encoding='c'?>", u""},
        {u"<?xml version='1.0' encoding=d?>", u""},
        {u"<?xml version='1.0' encoding='d?>", u""},
        {u"<?xml version='1.0' encoding", u""},
        {u"<?xml encoding='d'", u""},
        {u"<?xmlx encoding='d'?>", u""},
        {u" <?xml encoding='d'?>", u""},
        {u"<?xml", u""},
        {u"", u""}};
    for (const auto& [text, encoding] : rows) EXPECT_EQ(DeclaredEncoding(text), encoding) << kv::Utf8(text);
}

TEST(DocumentText, BytesSayWhatTheyAre) {
    const std::u16string body = u"<\u00E4\U0001F30D/>";
    const auto declared = [&](std::u16string_view encoding) {
        return u"<?xml version='1.0' encoding='" + std::u16string(encoding) + u"'?>" + body;
    };
    for (const std::u16string& plain : {body, declared(u"utf-8"), declared(u"Utf-8")}) {
        EXPECT_EQ(BytesOfDocument(plain), kv::Utf8(plain));
        EXPECT_EQ(BytesOfDocument(u'\uFEFF' + plain), "\xEF\xBB\xBF" + kv::Utf8(plain));
        EXPECT_EQ(TextOf(BytesOfDocument(u'\uFEFF' + plain)), plain);
    }
    for (const std::u16string_view encoding : {u"iso-8859-1", u"ascii", u"utf8", u"utf-32"})
        EXPECT_EQ(BytesOfDocument(declared(encoding)), "\xEF\xBB\xBF" + kv::Utf8(declared(encoding)));
    for (const std::u16string_view encoding : {u"utf-16", u"UTF-16", u"utf-16LE"})
        EXPECT_EQ(BytesOfDocument(declared(encoding)), Wide(u'\uFEFF' + declared(encoding)));
    EXPECT_EQ(BytesOfDocument(declared(u"utf-16be")).substr(0, 6), "\xFE\xFF\0<\0?"s);
    for (const std::u16string_view encoding : {u"utf-8", u"iso-8859-1", u"utf-16", u"UTF-16LE", u"UTF-16BE"}) {
        const std::u16string text = declared(encoding);
        EXPECT_EQ(TextOf(BytesOfDocument(text)), text);
        const std::u16string lone = text + char16_t{0xD800};
        EXPECT_EQ(TextOf(BytesOfDocument(lone)), text + u'\uFFFD');
    }
    EXPECT_EQ(BytesOfDocument(u""), "");
    EXPECT_EQ(TextOf(""), u"");
}

TEST(DocumentText, BytesThatAreNoTextAreRefused) {
    for (const std::string& bad :
         {"\x80"s, "a\xC3"s, "\xED\xA0\x80"s, "\xC0\x80"s, "\xF4\x90\x80\x80"s, "\xEF\xBB\xBF\xFF"s, "\xFF\xFE<"s,
          "\xFE\xFF\0"s, "\xFF\xFE\x00\xD8"s, "\xFF\xFE\x00\xDC\x00\xD8"s, "\xFE\xFF\xD8\x00\x00\x61"s})
        EXPECT_FALSE(TextOf(bad)) << testing::PrintToString(bad);
}

}  // namespace
}  // namespace xml
