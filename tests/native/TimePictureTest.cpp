#include "time/TimePicture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

namespace calendar {
namespace {

using kv::DateTime;

char16_t Upper(char16_t unit) {
    return unit >= u'a' && unit <= u'z' ? static_cast<char16_t>(unit - 0x20) : unit;
}

/// English names, or those of a language that numbers its months.
class TestNames final : public Names {
 public:
    explicit TestNames(bool isNumbered) : isNumbered_(isNumbered) {}

    std::u16string_view Name(NameKind kind, int index) override {
        static constexpr std::u16string_view months[] = {u"January",   u"February", u"March",    u"April",
                                                         u"May",       u"June",     u"July",     u"August",
                                                         u"September", u"October",  u"November", u"December"};
        static constexpr std::u16string_view days[] = {u"Monday", u"Tuesday",  u"Wednesday", u"Thursday",
                                                       u"Friday", u"Saturday", u"Sunday"};
        static constexpr std::u16string_view halves[] = {u"AM", u"PM"};
        const auto i = static_cast<std::size_t>(index);
        if (kind == NameKind::HalfDay) return isNumbered_ ? u"" : halves[i];
        if (kind == NameKind::Day) return days[i];
        if (kind == NameKind::ShortDay) return days[i].substr(0, 3);
        if (!isNumbered_) return kind == NameKind::Month ? months[i] : months[i].substr(0, 3);
        last_ = index < 9 ? std::u16string(1, static_cast<char16_t>(u'1' + index))
                          : std::u16string{u'1', static_cast<char16_t>(u'0' + index - 9)};
        last_ += u'\u6708';
        return last_;
    }
    std::size_t Find(std::u16string_view text, std::u16string_view sought) noexcept override {
        const auto* const at = std::search(text.begin(), text.end(), sought.begin(), sought.end(),
                                           [](char16_t a, char16_t b) { return Upper(a) == Upper(b); });
        return at == text.end() ? std::u16string_view::npos : static_cast<std::size_t>(at - text.begin());
    }

 private:
    bool isNumbered_;
    std::u16string last_;
};

std::string Narrow(std::u16string_view text) {
    std::string narrow;
    for (const char16_t unit : text) narrow += unit < 0x80 ? static_cast<char>(unit) : '?';
    return narrow;
}

std::string Format(const DateTime& at, std::u16string_view picture, Mode mode = Mode::Gregorian) {
    TestNames names(false);
    std::u16string out;
    return FormatPicture(out, at, mode, picture, names) ? Narrow(out) : "-";
}

constexpr DateTime afternoon{
    .year = 2020, .month = 5, .day = 7, .hour = 15, .minute = 4, .second = 9, .nanosecond = 12'345'678};

TEST(TimePicture, IsWrittenElementByElement) {
    const struct {
        DateTime at;
        std::u16string_view picture;
        std::string text;
    } rows[] = {
        {afternoon, u"d dd ddd dddd ddddd", "7 07 Thu Thursday Thursday"},
        {afternoon, u"M MM MMM MMMM MMMMM", "5 05 May May May"},
        {afternoon, u"y yy yyy yyyy yyyyyy", "20 20 2020 2020 2020"},
        {afternoon, u"g gg", "A.D. A.D."},
        {afternoon, u"H HH HHH h hh", "15 15 15 3 03"},
        {afternoon, u"m mm s ss", "4 04 9 09"},
        {afternoon, u"f ff fff fffffffff ffffffffff", "0 01 012 012345678 012345678"},
        {afternoon, u"t tt", "P PM"},
        {afternoon, u"'d' d 'o''clock' '' x D", "d 7 o'clock  x D"},
        {afternoon, u"'open d", "open d"},
        {afternoon, u"'it''s", "it's"},
        {afternoon, u"", ""},
        {{}, u"h:mm tt HH", "12:00 AM 00"},
        {{.hour = 12}, u"h:mm t", "12:00 P"},
        {{.year = 5}, u"y yy yyyy", "5 05 0005"},
        {{.year = -44, .month = 3, .day = 15}, u"MMM d, yyyy g", "Mar 15, 0044 B.C."},
        {{.year = -44}, u"yyyy", "-0044"},
        {{.year = -32'768}, u"yyyy g", "32768 B.C."},
        {{.year = 2000}, u"dddd", "Saturday"},
    };
    for (const auto& row : rows) EXPECT_EQ(Format(row.at, row.picture), row.text) << Narrow(row.picture);
    const DateTime dropped{.year = 2020, .month = 10, .day = 10};
    EXPECT_EQ(Format(dropped, u"dddd"), "Saturday");
    EXPECT_EQ(Format(dropped, u"dddd", Mode::Julian), "-");
    EXPECT_EQ(Format(dropped, u"dddd", Mode{2}), "-");
    EXPECT_EQ(Format(dropped, u"d MMM", Mode::Julian), "10 Oct");
}

TEST(TimePicture, IsReadElementByElement) {
    const struct {
        std::u16string_view picture, text;
        std::string read;  ///< in numbers
    } rows[] = {
        {u"yyyy-MM-dd", u"1999-12-31", "1999-12-31 15:04:09.012345678"},
        {u"yyyyMMdd", u"19991231", "1999-12-31 15:04:09.012345678"},
        {u"yyyy-MM-dd", u"32767-1-2", "32767-01-02 15:04:09.012345678"},
        {u"yyyy", u"-5", "-0005-05-07 15:04:09.012345678"},
        {u"yyyy g", u"5 b.c.", "-0005-05-07 15:04:09.012345678"},
        {u"yyyy g", u"5 A.D.", "0005-05-07 15:04:09.012345678"},
        {u"g", u"B.C.", "-2020-05-07 15:04:09.012345678"},
        {u"yy", u"29", "2029-05-07 15:04:09.012345678"},
        {u"yy", u"30", "1930-05-07 15:04:09.012345678"},
        {u"dddd, MMMM d", u"sunday, JUNE 30", "2020-06-30 15:04:09.012345678"},
        {u"H:m:s.fff", u"1:2:3.25", "2020-05-07 01:02:03.250000000"},
        {u"H:m:s.fffffffff", u"1:2:3.000000001", "2020-05-07 01:02:03.000000001"},
        {u"h tt", u"12 am", "2020-05-07 00:04:09.012345678"},
        {u"h tt", u"12 PM", "2020-05-07 12:04:09.012345678"},
        {u"h t", u"1 a", "2020-05-07 01:04:09.012345678"},
        {u"h", u"1", "2020-05-07 13:04:09.012345678"},
        {u"'at' H", u"AT 5", "2020-05-07 05:04:09.012345678"},
        {u"H 'o''clock'", u"5 o'clock", "2020-05-07 05:04:09.012345678"},
        {u"", u"", "2020-05-07 15:04:09.012345678"},
    };
    TestNames names(false);
    for (const auto& row : rows) {
        const auto read = ReadPicture(row.text, row.picture, afternoon, names);
        ASSERT_TRUE(read) << Narrow(row.picture) << " " << Narrow(row.text);
        EXPECT_EQ(Format(*read, u"yyyy-MM-dd HH:mm:ss.fffffffff"), row.read)
            << Narrow(row.picture) << " " << Narrow(row.text);
    }
    // clang-format off
    const struct {
        std::u16string_view picture, text;
    } refused[] = {
        {u"yyyy", u"32768"}, {u"yyyy", u"0"}, {u"yyyy g", u"-5 A.D."}, {u"yyyy g", u"5 BC"}, {u"MMMM d", u"June 31"},
        {u"ddd MMM d", u"Xyz Jun 3"}, {u"MMM d", u"Jux 3"}, {u"H:m:s.f", u"1:2:3.25"}, {u"H", u"24"},
        {u"h tt", u"0 AM"}, {u"h tt", u"13 PM"}, {u"h tt", u"1 XM"}, {u"H", u"5 "}, {u"H ", u"5"}, {u"H", u""},
        {u"H", u"x"}, {u"", u"5"},
    };
    // clang-format on
    for (const auto& [picture, text] : refused)
        EXPECT_FALSE(ReadPicture(text, picture, afternoon, names)) << Narrow(picture) << " " << Narrow(text);
}

TEST(TimePicture, IsReadBackAsItIsWritten) {
    std::mt19937_64 random(17);
    const auto below = [&](std::uint64_t end) { return static_cast<std::int16_t>(random() % end); };
    for (const bool isNumbered : {false, true}) {
        TestNames names(isNumbered);
        for (const std::u16string_view picture :
             {u"dddd, MMMM d, yyyy g H:mm:ss.fffffffff", u"d/MMM/yyyy 'd' g HHmmssfffffffff",
              u"d MMMM yyyy, H 'h' m 's' s.fffffffff"}) {
            for (int i = 0; i < 2'000; ++i) {
                DateTime at;
                if (!SetDate(at, static_cast<std::int64_t>(random() % 13'000'000), Mode::Gregorian)) continue;
                at.day = std::min<std::int16_t>(at.day, 28);
                at.hour = below(24);
                at.minute = below(60);
                at.second = below(60);
                at.nanosecond = static_cast<std::int32_t>(random() % 1'000'000'000);
                std::u16string text;
                ASSERT_TRUE(FormatPicture(text, at, Mode::Gregorian, picture, names));
                ASSERT_EQ(ReadPicture(text, picture, {}, names), at) << Narrow(text);
            }
        }
    }
}

TEST(TimePicture, FindsTheFirstNameOfThoseInAText) {
    TestNames english(false);
    TestNames numbered(true);
    const auto find = [](std::u16string_view text, NameKind kind, Names& names) {
        const auto found = FindName(text, kind, names);
        return found ? std::to_string(found->index) + " " + std::to_string(found->end) : "-";
    };
    EXPECT_EQ(find(u"in JUNE and may", NameKind::Month, english), "4 15") << "May comes before June";
    EXPECT_EQ(find(u"decem", NameKind::Month, english), "-");
    EXPECT_EQ(find(u"decem", NameKind::ShortMonth, english), "11 3");
    EXPECT_EQ(find(u"x sunday", NameKind::Day, english), "6 8");
    EXPECT_EQ(find(u"", NameKind::ShortDay, english), "-");
    EXPECT_EQ(find(u"11\u6708", NameKind::Month, numbered), "0 3") << "the first that occurs anywhere";
    EXPECT_EQ(find(u"11\u6708", NameKind::HalfDay, numbered), "-") << "empty names are none";
}

}  // namespace
}  // namespace calendar
