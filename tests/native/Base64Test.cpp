#include "xml/Base64.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "kvcore/Utf.h"

namespace xml {
namespace {

using Bytes = std::vector<std::byte>;

std::optional<Bytes> Read(std::u16string_view text) {
    Bytes bytes(BytesOfBase64(text));
    const auto count = ReadBase64(bytes.data(), text);
    if (!count) return {};
    bytes.resize(*count);
    return bytes;
}

std::u16string Put(const Bytes& bytes) {
    std::u16string text(Base64Size(bytes.size()), u'?');
    EXPECT_EQ(PutBase64(text.data(), bytes), text.data() + text.size());
    return text;
}

TEST(Base64, ComesBackWhateverTheBytes) {
    std::mt19937 chance(11);
    for (int round = 0; round < 4000; ++round) {
        Bytes bytes(chance() % (round % 50 == 0 ? 3000 : 40));
        for (std::byte& byte : bytes) byte = static_cast<std::byte>(chance());
        std::u16string text = Put(bytes);
        ASSERT_EQ(BytesOfBase64(text), bytes.size());
        ASSERT_EQ(Read(text), bytes) << kv::Utf8(text);
        for (std::size_t blanks = chance() % 8; blanks-- != 0;)
            text.insert(chance() % (text.size() + 1), 1, u" \t\r\n"[chance() % 4]);
        ASSERT_EQ(Read(text), bytes) << kv::Utf8(text);
        ASSERT_GE(BytesOfBase64(text), bytes.size());
    }
}

TEST(Base64, RefusesWhatNoBytesGive) {
    for (const std::u16string_view good : {u"", u" \r\n", u"AA==", u" A A = = ", u"AAA=", u"AAAA\n", u"++//"})
        EXPECT_TRUE(Read(good)) << kv::Utf8(good);
    for (const std::u16string_view bad :
         {u"A",         u"AA",    u"AAA",      u"AAAAA",      u"AA=",       u"A===",
          u"====",      u"=",     u"AA==AAAA", u"AAA=AAAA",   u"AA=A",      u"AAAA=",
          u"AAAA==",    u"AA===", u"AB==",     u"AP==",       u"AAB=",      u"AAD=",
          u"AA-A",      u"AA_A",  u"AA.A",     u"AAA\u00C1",  u"AAA\u0141", u"AA\uFF21A",
          u"AAAA,AAAA", u"AA==x", u"AA= A",    u"\u00A0AAAA", u"AAA\u0100", u"\u0041\u0300AA"})
        EXPECT_FALSE(Read(bad)) << kv::Utf8(bad);
    // One bad unit anywhere, around the ends of the alphabet's runs and of ASCII.
    const std::u16string good(32, u'R');
    for (std::size_t i = 0; i < good.size(); ++i) {
        for (const char16_t bad : std::u16string(u"*,-.:@[^_`{=\u007F\u0080\u00FF\u0151\uFFFF") + u'\0') {
            std::u16string text = good;
            text[i] = bad;
            EXPECT_FALSE(Read(text)) << i << " " << +bad;
        }
    }
}

}  // namespace
}  // namespace xml
