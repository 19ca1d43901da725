#include "time/IsoText.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>

#include "tests/IsoPattern.h"
#include "time/TimeText.h"

namespace calendar {
namespace {

std::string Narrow(std::u16string_view text) {
    std::string narrow;
    for (const char16_t unit : text) narrow += static_cast<char>(unit);
    return narrow;
}

/// What a text is read as, in the layout of all parts and with the offset; "-" where it is refused.
std::string Read(std::u16string_view text, IsoReader* read) {
    const auto parts = read(text);
    const auto fields = parts ? TimeOf(*parts) : std::nullopt;
    if (!fields) return "-";
    char16_t out[timeTextSize];
    return Narrow({out, FormatTime(out, *fields, 20)}) + " " + std::to_string(parts->offset);
}

/// Texts that the pattern takes, and those near them: a walk through the pattern that goes astray now and then.
class Texts {
 public:
    std::u16string Next() {
        text_.clear();
        Digits(4, 9);
        if (Often()) Two(u'-', 13);
        if (Often()) Two(u'-', 35);
        if (Often()) AddTime();
        for (auto changes = random_() % 4; changes > 1 && !text_.empty(); --changes) Change();
        return text_;
    }

 private:
    bool Often() { return random_() % 4 != 0; }
    void Digits(std::size_t count, std::size_t greatest) {
        while (count-- != 0) text_ += static_cast<char16_t>(u'0' + random_() % (greatest + 1));
    }
    void Two(char16_t sign, std::size_t end) {
        if (sign != 0) text_ += sign;
        const std::size_t number = random_() % end;
        text_ += static_cast<char16_t>(u'0' + number / 10);
        text_ += static_cast<char16_t>(u'0' + number % 10);
    }
    char16_t Colon() { return Often() ? u':' : u'\0'; }
    void AddTime() {
        text_ += u'T';
        Two(0, 25);
        if (Often()) Two(Colon(), 61);
        if (Often()) Two(Colon(), 61);
        if (Often()) {
            text_ += u'.';
            Digits(random_() % 14, 9);
        }
        if (!Often()) return;
        if (Often()) {
            Two(Often() ? u'+' : u'-', 25);
            if (Often()) Two(Colon(), 61);
        } else {
            text_ += Often() ? u'Z' : u'z';
        }
    }
    void Change() {
        constexpr std::u16string_view units = u"0123456789-+:.TtZz \n\0x\u0660\uFF11";
        const std::size_t at = random_() % text_.size();
        const char16_t unit = units[random_() % units.size()];
        switch (random_() % 4) {
            case 0:
                text_[at] = unit;
                break;
            case 1:
                text_.insert(at, 1, unit);
                break;
            case 2:
                text_.erase(at, 1);
                break;
            default:
                text_.resize(at);
        }
    }

    std::mt19937_64 random_{1};
    std::u16string text_;
};

/// The readers, the patterns that say what they take, and how many texts they are held against each other with.
const struct {
    IsoReader* read;
    std::optional<IsoParts> (*expected)(std::u16string_view);
    int count;
} readers[] = {{MatchIsoText, mova::test::MatchIsoPattern, 1'000'000},
               {ScanIsoText, mova::test::ScanIsoPattern, 200'000}};

TEST(IsoText, IsReadAsThePatternsSay) {
    for (const auto& reader : readers) {
        Texts texts;
        int taken = 0, wrong = 0;
        for (int i = 0; i < reader.count; ++i) {
            const std::u16string text = texts.Next();
            const auto read = reader.read(text);
            taken += read ? 1 : 0;
            if (read != reader.expected(text) && ++wrong < 10) ADD_FAILURE() << Narrow(text);
        }
        EXPECT_EQ(wrong, 0);
        EXPECT_GT(taken, reader.count / 10);
        EXPECT_LT(taken, reader.count * 9 / 10);
    }
}

TEST(IsoText, IsReadAsThePatternsSayWhereverItIsCutOrAltered) {
    const std::u16string whole = u"2020-12-31T23:59:59.125+02:30";
    const auto check = [](const std::u16string& text) {
        for (const auto& reader : readers) EXPECT_EQ(reader.read(text), reader.expected(text)) << Narrow(text);
    };
    for (std::size_t at = 0; at <= whole.size(); ++at) {
        for (int unit = 0; unit < 0x80; ++unit) {
            const std::u16string text = whole.substr(0, at) + static_cast<char16_t>(unit);
            check(text);
            if (at < whole.size()) check(text + whole.substr(at + 1));
        }
        check(whole.substr(0, at));
        check(whole.substr(at));
    }
}

TEST(IsoText, IsReadByBothReaders) {
    const struct {
        std::u16string_view text;
        std::string byPattern, byOlder;
    } rows[] = {
        {u"2020-05-17T10:20:30.5+02:00", "2020-05-17T10:20:30.5 120", "2020-05-17T10:20:30.5 120"},
        {u"2020", "2020-01-01T00:00:00.0 0", "2020-01-01T00:00:00.0 0"},
        {u"2020-05", "2020-05-01T00:00:00.0 0", "2020-05-01T00:00:00.0 0"},
        {u"2020-15", "2020-01-15T00:00:00.0 0", "-"},
        {u"1500-02-29", "1500-02-29T00:00:00.0 0", "1500-02-29T00:00:00.0 0"},
        {u"2020T10", "2020-01-01T10:00:00.0 0", "2020-01-01T10:00:00.0 0"},
        {u"2020T10:", "2020-01-01T10:00:00.0 0", "-"},
        {u"2020T10::30", "2020-01-01T10:00:30.0 0", "-"},
        {u"2020T10-05:00", "2020-01-01T10:00:00.0 -300", "2020-01-01T10:00:00.0 -300"},
        {u"2020T1020", "2020-01-01T10:20:00.0 0", "-"},
        {u"2020-05-17T102030Z", "2020-05-17T10:20:30.0 0", "-"},
        {u"2020-05-17T10:20:30z", "2020-05-17T10:20:30.0 0", "2020-05-17T10:20:30.0 0"},
        {u"2020-05-17T10:20:30-0530", "2020-05-17T10:20:30.0 -330", "2020-05-17T10:20:30.0 -330"},
        {u"2020-05-17T10:20:30+05", "2020-05-17T10:20:30.0 300", "2020-05-17T10:20:30.0 300"},
        {u"2020-05-17T10:20:30+5", "-", "2020-05-17T10:20:30.0 300"},
        {u"2020-5-7T1:2:3.25Z", "-", "2020-05-07T01:02:03.25 0"},
        {u"20-05-07", "-", "0020-05-07T00:00:00.0 0"},
        {u"32767-12-31T23:59:59", "-", "32767-12-31T23:59:59.0 0"},
        {u"2020-05-17T10:20:30.000000001", "2020-05-17T10:20:30.000000001 0", "2020-05-17T10:20:30.000000001 0"},
        {u"2020-05-17T10:20:30.0000000014999", "2020-05-17T10:20:30.000000001 0", "2020-05-17T10:20:30.000000001 0"},
        {u"2020-05-17T10:20:30.0000000015", "2020-05-17T10:20:30.000000002 0", "2020-05-17T10:20:30.000000002 0"},
        {u"2020-12-31T23:59:59.9999999994", "2020-12-31T23:59:59.999999999 0", "2020-12-31T23:59:59.999999999 0"},
        {u"2020-12-31T23:59:59.9999999995", "2021-01-01T00:00:00.0 0", "2021-01-01T00:00:00.0 0"},
        {u"2020-02-28T23:59:59.99999999999", "2020-02-29T00:00:00.0 0", "2020-02-29T00:00:00.0 0"},
        {u"2021-02-28T23:59:59.99999999999", "2021-03-01T00:00:00.0 0", "2021-03-01T00:00:00.0 0"},
        {u"2021-02-28T22:59:59.99999999999", "2021-02-28T23:00:00.0 0", "2021-02-28T23:00:00.0 0"},
        {u"9999-12-31T23:59:59.99999999999", "10000-01-01T00:00:00.0 0", "10000-01-01T00:00:00.0 0"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(Read(row.text, MatchIsoText), row.byPattern) << Narrow(row.text);
        EXPECT_EQ(Read(row.text, ScanIsoText), row.byOlder) << Narrow(row.text);
    }
    // clang-format off
    const std::u16string_view refused[] = {
        u"2020-15-02", u"2020-13-01", u"2020-02-30", u"2020-01-00", u"0000-01-01", u"1900-02-29",
        u"2020-05-17T10:20:30+05:", u"2020-05-17T10:20:30+24", u"2020-05-17T10:20:30+05:60", u"2020-05-17T10:20:30X",
        u"2020-05-17T10:20:30Z0", u"2020-05-17T10:20:30.", u"2020-05-17T24:00:00", u"32767-12-31T23:59:59.9999999999",
        u"32768-12-31", u"99999999999999999999", u"2020-05-17t10:20:30", u"2020-05-17T", u" 2020-05-17",
        u"-2020-05-17", u"2020-05-17T10:20:30.5\n", u"", u"T",
    };
    // clang-format on
    for (const auto text : refused) {
        EXPECT_EQ(Read(text, MatchIsoText), "-") << Narrow(text);
        EXPECT_EQ(Read(text, ScanIsoText), "-") << Narrow(text);
    }
    const std::u16string longest = u"2020-05-17T10:20:30." + std::u16string(1 << 20, u'9') + u"Z";
    EXPECT_EQ(Read(longest, MatchIsoText), "2020-05-17T10:20:31.0 0");
    EXPECT_EQ(Read(longest, ScanIsoText), "2020-05-17T10:20:31.0 0");
}

TEST(IsoText, IsReadBackAsItIsWritten) {
    std::mt19937_64 random(3);
    const auto below = [&](std::uint64_t end) { return static_cast<std::int16_t>(random() % end); };
    for (int i = 0; i < 200'000; ++i) {
        const kv::DateTime at{.year = static_cast<std::int16_t>(below(9'999) + 1),
                              .month = static_cast<std::int16_t>(below(12) + 1),
                              .day = static_cast<std::int16_t>(below(28) + 1),
                              .hour = below(24),
                              .minute = below(60),
                              .second = below(60),
                              .nanosecond = static_cast<std::int32_t>(random() % 3 ? random() % 1'000'000'000 : 0)};
        const std::int32_t offset = below(2 * greatestOffset + 1) - greatestOffset;
        char16_t out[timeTextSize];
        const std::u16string_view text(out, FormatXmlTime(out, at, offset));
        for (const auto& reader : readers) {
            const auto parts = reader.read(text);
            ASSERT_TRUE(parts) << Narrow(text);
            ASSERT_EQ(parts->offset, offset) << Narrow(text);
            ASSERT_EQ(TimeOf(*parts), at) << Narrow(text);
        }
    }
}

}  // namespace
}  // namespace calendar
