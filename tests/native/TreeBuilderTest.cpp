#include "json/TreeBuilder.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "fuzz/Documents.h"

namespace json {
namespace {

// Texts are narrowed by the block, and short ones before it is known whether they can be.
TEST(TreeBuilder, KeepsTextsOfEveryLength) {
    const auto arena = kv::ArenaPtr::Attach(kv::Arena::Make());
    TreeBuilder builder(
        *arena.Get(), [](std::u16string_view) noexcept { return std::uint32_t{0}; }, false, 0);
    std::vector<std::pair<std::u16string, Value>> kept;
    const auto keep = [&](const std::u16string& text) { kept.emplace_back(text, builder.CopyText(text)); };
    for (std::size_t length = 0; length < 600; length += length < 40 ? 1 : 47) {
        std::u16string text(length, u' ');
        for (std::size_t i = 0; i < length; ++i) text[i] = static_cast<char16_t>(i * 7 % 0x80);
        keep(text);
        EXPECT_EQ(kept.back().second.tag.kind, length == 0 ? Kind::NoText : Kind::AsciiText) << length;
        for (std::size_t i = 0; i < length; ++i) {
            for (const char16_t beyond : {u'\u0080', u'\u0100', u'\uFF41'}) {
                std::u16string wide = text;
                wide[i] = beyond;
                keep(wide);
                EXPECT_EQ(kept.back().second.tag.kind, Kind::WideText) << length << ", " << i;
            }
        }
    }
    for (const auto& [text, value] : kept) ASSERT_EQ(fuzz::TextOf(value), text) << text.size();
}

}  // namespace
}  // namespace json
