#include "json/Emitter.h"

#include <gtest/gtest.h>

#include <functional>
#include <limits>
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

/// A small document with all that there is.
void WriteAll(Emitter& out) {
    out.StartObject();
    Member(out, u"text");
    out.Text(u"a\"\u00E4");
    Member(out, u"list");
    out.StartArray();
    Element(out);
    out.Number(1.5);
    Element(out);
    out.Boolean(true);
    Element(out);
    out.StartObject();
    EXPECT_EQ(out.EndObject(), Refusal::None);
    Element(out);
    out.StartArray();
    EXPECT_EQ(out.EndArray(), Refusal::None);
    EXPECT_EQ(out.EndArray(), Refusal::None);
    Member(out, u"n");
    out.Null();
    EXPECT_EQ(out.EndObject(), Refusal::None);
}

TEST(Emitter, PutsCommasColonsAndLines) {
    Emitter plain;
    WriteAll(plain);
    EXPECT_EQ(BytesOf(plain), "{\"text\":\"a\\\"\xC3\xA4\",\"list\":[1.5,true,{},[]],\"n\":null}");

    Emitter formatted;
    formatted.SetFormatted(true);
    formatted.SetIndent(3);
    WriteAll(formatted);
    EXPECT_EQ(
        BytesOf(formatted),
        "{\n   \"text\" : \"a\\\"\xC3\xA4\",\n   \"list\" : [\n      1.5,\n      true,\n      {\n      },\n      [\n"
        "      ]\n   ],\n   \"n\" : null\n}");
    formatted.Reset();
    formatted.Bytes().Clear();
    WriteAll(formatted);
    EXPECT_EQ(BytesOf(formatted), BytesOf(plain));
}

TEST(Emitter, RefusesWhatWouldBeNoJsonAndChangesNothing) {
    const auto object = [](Emitter& out) { out.StartObject(); };
    const auto member = [](Emitter& out) {
        out.StartObject();
        Member(out, u"m");
        out.Null();
    };
    const auto array = [](Emitter& out) { out.StartArray(); };
    const auto element = [](Emitter& out) {
        out.StartArray();
        Element(out);
        out.Null();
    };
    const struct {
        std::function<void(Emitter&)> before;
        Place place;
        Refusal member, element, object, array;
    } rows[] = {{[](Emitter&) {}, Place::Document, Refusal::Misplaced, Refusal::Misplaced, Refusal::Misplaced,
                 Refusal::Misplaced},
                {object, Place::EmptyObject, Refusal::None, Refusal::Misplaced, Refusal::None, Refusal::Misplaced},
                {member, Place::Object, Refusal::None, Refusal::Misplaced, Refusal::None, Refusal::Misplaced},
                {array, Place::EmptyArray, Refusal::Misplaced, Refusal::None, Refusal::Misplaced, Refusal::None},
                {element, Place::Array, Refusal::Misplaced, Refusal::None, Refusal::Misplaced, Refusal::None}};
    for (const auto& row : rows) {
        const std::pair<std::function<Refusal(Emitter&)>, Refusal> calls[] = {
            {[](Emitter& out) { return out.BeginMember(u"x"); }, row.member},
            {[](Emitter& out) { return out.BeginMember(u""); },
             row.member == Refusal::None ? Refusal::Nameless : row.member},
            {[](Emitter& out) { return out.BeginElement(); }, row.element},
            {[](Emitter& out) { return out.EndObject(); }, row.object},
            {[](Emitter& out) { return out.EndArray(); }, row.array}};
        for (const auto& [call, refusal] : calls) {
            Emitter out;
            row.before(out);
            const std::string before = BytesOf(out);
            EXPECT_EQ(out.Place(), row.place);
            EXPECT_EQ(call(out), refusal);
            if (refusal == Refusal::None) continue;
            EXPECT_EQ(BytesOf(out), before);
            EXPECT_EQ(out.Place(), row.place);
        }
    }
}

TEST(Emitter, WritesNumbersThatJsonDoesNotHave) {
    constexpr double infinity = std::numeric_limits<double>::infinity();
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    const std::pair<std::function<void(Emitter&)>, std::string_view> rows[] = {
        {[](Emitter& out) { out.Number(infinity); }, "1.7976931348623157e308"},
        {[](Emitter& out) { out.Number(-infinity, 2); }, "-1.7976931348623157e308"},
        {[](Emitter& out) { out.Number(static_cast<float>(infinity)); }, "1.7976931348623157e308"},
        {[](Emitter& out) { out.Number(nan, 2); }, "\"NaN\""},
        {[](Emitter& out) { out.Number(static_cast<float>(-nan)); }, "\"NaN\""},
        {[](Emitter& out) { out.Number(1.0f / 3); }, "0.333333343"},
        {[](Emitter& out) { out.Number(2.0 / 3, 2); }, "0.67"},
        {[](Emitter& out) { out.Number(2.0 / 3, 17); }, "0.6666666666666666"},
        {[](Emitter& out) {
             out.SetMaximumDecimals(3);
             out.Number(2.0 / 3);
         },
         "0.667"},
        {[](Emitter& out) {
             out.SetMaximumDecimals(3);
             out.Number(2.0 / 3, 17);
         },
         "0.667"},
        {[](Emitter& out) {
             out.SetMaximumDecimals(17);
             out.Number(2.0 / 3);
         },
         "0.6666666666666666"},
        {[](Emitter& out) {
             out.SetMaximumDecimals(3);
             out.Number(2.0 / 3, 5);
         },
         "0.66667"},
        {[](Emitter& out) { out.Integer(std::numeric_limits<std::int64_t>::min()); }, "-9223372036854775808"},
        {[](Emitter& out) { out.Unsigned(std::numeric_limits<std::uint64_t>::max()); }, "18446744073709551615"},
        {[](Emitter& out) { out.Raw(u"{\"\n\u20AC\xD800}"); }, "{\"\n\xE2\x82\xAC\xEF\xBF\xBD}"},
    };
    for (const auto& [write, text] : rows) {
        Emitter out;
        write(out);
        EXPECT_EQ(BytesOf(out), text);
    }
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
