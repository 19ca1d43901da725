#include "json/Emitter.h"

#include <gtest/gtest.h>

#include <string>

#include "kvcore/Utf.h"

namespace json {
namespace {

std::string BytesOf(const Emitter& out) {
    std::string bytes(out.Bytes().Size(), '?');
    out.Bytes().CopyTo(bytes.data());
    return bytes;
}

void Member(Emitter& out, std::u16string_view name) {
    EXPECT_EQ(out.BeginMember(name), Refusal::None);
}
void Element(Emitter& out) {
    EXPECT_EQ(out.BeginElement(), Refusal::None);
}

TEST(Emitter, PutsLongTextsAndDeepDocumentsTogetherAcrossBlocks) {
    Emitter out;
    std::string expected;
    std::u16string text;
    for (int i = 0; i < 3000; ++i) {
        text += i % 5 == 0 ? u"\U0001F600" : i % 3 == 0 ? u"\n" : u"plain";
        Member((out.StartObject(), out), text.substr(text.size() - static_cast<std::size_t>(i % 700) - 1));
        std::string name;
        kv::AppendQuoted(name, text.substr(text.size() - static_cast<std::size_t>(i % 700) - 1));
        expected += '{' + name + ':';
    }
    out.Text(text);
    kv::AppendQuoted(expected, text);
    EXPECT_EQ(out.Depth(), 3000u);
    while (out.Depth() != 0) EXPECT_EQ(out.EndObject(), Refusal::None);
    expected += std::string(3000, '}');
    EXPECT_EQ(BytesOf(out), expected);
    const std::u16string wide = kv::Utf16(expected);
    std::u16string found(out.Bytes().Utf16Length(), u'?');
    EXPECT_EQ(found.size(), wide.size());
    out.Bytes().CopyTo(found.data());
    EXPECT_EQ(found, wide);
}

TEST(Emitter, KnowsMixedContainersAtAnyDepth) {
    Emitter out;
    out.SetFormatted(true);
    out.SetIndent(0);
    const auto isArray = [](int level) { return level % 3 != 0; };
    for (int level = 0; level < 300; ++level) {
        if (level != 0 && isArray(level - 1)) Element(out);
        if (level != 0 && !isArray(level - 1)) Member(out, u"x");
        isArray(level) ? out.StartArray() : out.StartObject();
    }
    const auto deep = out.Save();
    for (int level = 299; level >= 0; --level) {
        EXPECT_EQ(isArray(level) ? out.EndObject() : out.EndArray(), Refusal::Misplaced);
        EXPECT_EQ(isArray(level) ? out.EndArray() : out.EndObject(), Refusal::None) << level;
    }
    const std::string whole = BytesOf(out);
    out.Restore(Emitter::Snapshot(deep));
    EXPECT_EQ(out.Depth(), 300u);
    for (int level = 299; level >= 0; --level)
        EXPECT_EQ(isArray(level) ? out.EndArray() : out.EndObject(), Refusal::None) << level;
    EXPECT_EQ(BytesOf(out), whole);
}

TEST(ByteChain, CutsBackToAnyPlaceAndKeepsItsMemory) {
    ByteChain chain;
    const auto append = [&](std::string_view bytes) {
        for (const char byte : bytes) chain.Append(byte);
    };
    const auto content = [&] {
        std::string bytes(chain.Size(), '?');
        chain.CopyTo(bytes.data());
        return bytes;
    };
    EXPECT_TRUE(chain.IsEmpty());
    const auto nothing = chain.End();
    append("first");
    const auto early = chain.End();
    const std::string much(100'000, 'x');
    append(much);
    const auto late = chain.End();
    append(much);
    chain.CutBack(late);
    EXPECT_EQ(content(), "first" + much);
    append("!");
    EXPECT_EQ(content(), "first" + much + "!");
    chain.CutBack(early);
    append(much);
    EXPECT_EQ(content(), "first" + much);
    ByteChain moved = std::move(chain);
    EXPECT_EQ(moved.Size(), 5 + much.size());
    moved.CutBack(nothing);
    EXPECT_TRUE(moved.IsEmpty());
    EXPECT_TRUE(moved.ForEachBlock([](std::string_view) { return false; }));
}

}  // namespace
}  // namespace json
