#include "kvcore/GuidText.h"

#include <gtest/gtest.h>

#include <string>

namespace kv {
namespace {

/// 33221100 as the first, little-endian, field of 32 bits and so on: byte by byte 00, 11, 22 ... FF in memory.
constexpr IdBits counted{0x7766554433221100, 0xFFEEDDCCBBAA9988};
constexpr std::u16string_view text = u"{33221100-5544-7766-8899-AABBCCDDEEFF}";

std::u16string Format(const IdBits& id) {
    const auto formatted = FormatGuid(id);
    return {formatted.begin(), formatted.end()};
}

TEST(GuidText, IsWrittenInUpperCaseAndBraces) {
    EXPECT_EQ(Format(counted), text);
    EXPECT_EQ(Format({}), u"{00000000-0000-0000-0000-000000000000}");
    EXPECT_EQ(Format({~0ull, ~0ull}), u"{FFFFFFFF-FFFF-FFFF-FFFF-FFFFFFFFFFFF}");
}

TEST(GuidText, IsReadInEitherCaseWithBracesOrWithout) {
    const std::u16string_view bare = text.substr(1, text.size() - 2);
    for (const std::u16string_view good : {text, bare, std::u16string_view(u"33221100-5544-7766-8899-aabbccDDeeff")})
        EXPECT_EQ(ParseGuid(good), counted);
    for (std::size_t cut = 0; cut < text.size(); ++cut) {
        EXPECT_FALSE(ParseGuid(text.substr(0, cut))) << cut;
        EXPECT_FALSE(ParseGuid(text.substr(cut + 1))) << cut;
    }
    // Beside the digits and letters, behind the ASCII characters, and what would be a digit or a brace elsewhere.
    for (const char16_t bad : std::u16string_view(u"/:@G`g{}-. \u0130\uFF11")) {
        for (std::size_t i = 0; i < text.size(); ++i) {
            std::u16string changed(text);
            changed[i] = bad;
            EXPECT_TRUE(changed == text || !ParseGuid(changed)) << i << " " << static_cast<int>(bad);
        }
    }
    EXPECT_FALSE(ParseGuid(std::u16string(text) + u'\0'));
    EXPECT_FALSE(ParseGuid(u' ' + std::u16string(bare) + u' '));
    EXPECT_FALSE(ParseGuid(u'{' + std::u16string(bare) + u'{'));
}

}  // namespace
}  // namespace kv
