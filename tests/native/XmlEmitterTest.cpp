#include "xml/Emitter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "kvcore/Utf.h"
#include "tests/native/FailingAllocation.h"
#include "xml/Base64.h"

namespace xml {
namespace {

using namespace std::string_literals;

/// What was written, and in how many pieces.
struct Bytes final : ByteSink {
    void Write(std::string_view piece) noexcept override {
        all.append(piece);
        ++pieces;
    }

    std::string all;
    int pieces = 0;
};

/// A text escaped unit by unit; between those that do not stand for themselves it is converted by the run.
std::string Escaped(std::u16string_view text, bool normalises) {
    std::string out;
    std::u16string run;
    const auto endRun = [&](std::string_view put) {
        out.append(kv::Utf8(run)).append(put);
        run.clear();
    };
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char16_t unit = text[i];
        const std::pair<char16_t, std::string_view> entities[] = {
            {u'"', "&quot;"}, {u'&', "&amp;"}, {u'\'', "&apos;"}, {u'<', "&lt;"}, {u'>', "&gt;"}};
        const auto* const entity = std::find_if(std::begin(entities), std::end(entities),
                                                [=](const auto& each) { return each.first == unit; });
        if (entity != std::end(entities)) {
            endRun(entity->second);
        } else if (unit == u'\r' && normalises) {
            endRun(text.substr(i + 1, 1) == u"\n" ? "" : "\n");
        } else if ((unit < 0x20 && unit != u'\t' && unit != u'\n' && unit != u'\r') || unit >= 0xFFFE) {
            endRun("");
        } else {
            run += unit;
        }
    }
    endRun("");
    return out;
}

TEST(XmlEmitter, EscapesAnyTextAsUnitByUnit) {
    constexpr std::u16string_view units = u"ab \"&'<>\r\n\t\u0001\u001F\u007F\u00E4\u6771\uFFFD\uFFFE\uFFFF\U0001F30D";
    std::mt19937_64 chance(7);
    for (int round = 0; round < 4000; ++round) {
        // Mostly plain ones, around the lengths at which vectors and pieces end.
        std::u16string text(chance() % (round % 40 == 0 ? 2100 : 40), u'x');
        const std::size_t rarity = 1 + chance() % 12;
        for (char16_t& unit : text)
            if (chance() % rarity == 0) unit = units[chance() % units.size()];
        if (!text.empty() && round % 5 == 0)
            text[chance() % text.size()] = static_cast<char16_t>(0xD800 + chance() % 0x800);
        for (const bool normalises : {false, true}) {
            Bytes bytes;
            Emitter emitter(bytes);
            emitter.SetNormalisesLineEnds(normalises);
            emitter.Text(text);
            ASSERT_EQ(bytes.all, Escaped(text, normalises)) << round;
        }
    }
}

TEST(XmlEmitter, LongTextsComeOutAsOnePieceWould) {
    for (const char16_t* middle : {u"\U0001F30D", u"\r\n", u"\r\r", u"\r", u"&"}) {
        for (std::size_t before = 1020; before <= 1026; ++before) {
            const std::u16string text = std::u16string(before, u'a') + middle + std::u16string(2000, u'b');
            Bytes bytes;
            Emitter emitter(bytes);
            emitter.SetNormalisesLineEnds(true);
            emitter.Text(text);
            EXPECT_EQ(bytes.all, Escaped(text, true)) << before << testing::PrintToString(std::u16string(middle));
            bytes.all.clear();
            emitter.CData(text);
            EXPECT_EQ(bytes.all, "<![CDATA[" + kv::Utf8(text) + "]]>");
            EXPECT_GT(bytes.pieces, 3);
            bytes.all.clear();
            EXPECT_EQ(emitter.StartElement(text, {}, {}, {}, false), Refusal::None);
            EXPECT_EQ(emitter.EndElement(), Refusal::None);
            EXPECT_EQ(bytes.all, "<" + Escaped(text, true) + "></" + Escaped(text, true) + ">");
        }
    }
}

TEST(XmlEmitter, ATagIsOnePiece) {
    Bytes bytes;
    Emitter emitter(bytes);
    const Attribute attributes[] = {{u"", u"a", u"1"}, {u"u", u"b", u"'2'"}};
    const Declaration declarations[] = {{u"", u"d"}, {u"p", u"u"}};
    EXPECT_EQ(emitter.StartElement(u"e", u"u", attributes, declarations, false), Refusal::None);
    EXPECT_EQ(bytes.all, "<p:e a='1' p:b='&apos;2&apos;' xmlns='d' xmlns:p='u'>");
    EXPECT_EQ(emitter.EndElement(), Refusal::None);
    EXPECT_EQ(bytes.pieces, 2);
    EXPECT_EQ(emitter.EndElement(), Refusal::NothingOpen);
    EXPECT_EQ(bytes.pieces, 2);
}

// Whatever allocation fails, the document goes on as if nothing had been asked for.
TEST(XmlEmitter, ATagThatFailsForWantOfMemoryLeavesNothing) {
    const std::u16string name(3000, u'n');
    const Declaration declarations[] = {{u"prefix-of-many-letters", u"http://example.com/namespace"}, {u"q", u"r"}};
    const Attribute attributes[] = {{u"r", u"a", name}};
    bool succeeded = false;
    for (std::size_t granted = 0; !succeeded; ++granted) {
        Bytes bytes;
        bytes.all.reserve(10'000);
        Emitter emitter(bytes);
        try {
            const mova::FailingAllocation failing(granted);
            EXPECT_EQ(emitter.StartElement(name, u"r", attributes, declarations, false), Refusal::None);
            EXPECT_EQ(emitter.EndElement(), Refusal::None);
            succeeded = true;
        } catch (const std::bad_alloc&) {
            const bool isOpen = !bytes.all.empty();
            bytes.all.clear();
            EXPECT_EQ(emitter.EndElement(), isOpen ? Refusal::None : Refusal::NothingOpen);
            EXPECT_FALSE(emitter.PrefixOf(u"r"));
            EXPECT_EQ(emitter.EndElement(), Refusal::NothingOpen);
        }
        ASSERT_LT(granted, 100u);
    }
}

TEST(XmlEmitter, Base64HasTheVectorsOfItsStandard) {
    const std::pair<std::string_view, std::string_view> rows[] = {{"", ""},
                                                                  {"f", "Zg=="},
                                                                  {"fo", "Zm8="},
                                                                  {"foo", "Zm9v"},
                                                                  {"foob", "Zm9vYg=="},
                                                                  {"fooba", "Zm9vYmE="},
                                                                  {"foobar", "Zm9vYmFy"},
                                                                  {"\xFF\xFE\xFB", "//77"}};
    for (const auto& [bytes, text] : rows) {
        Bytes out;
        Emitter(out).Base64(std::as_bytes(std::span(bytes)));
        EXPECT_EQ(out.all, text);
    }
    Bytes long_;
    Emitter(long_).Base64(std::vector<std::byte>(10'000));
    EXPECT_EQ(long_.all, std::string(13'334, 'A') + "==");
}

}  // namespace
}  // namespace xml
