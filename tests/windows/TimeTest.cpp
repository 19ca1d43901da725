#include <cmath>
#include <limits>

#include "tests/windows/Persistence.h"
#include "tests/windows/Support.h"

namespace mova::test {
namespace {

using namespace std::string_literals;

constexpr auto noTime = "There is no such date or time of day.";
constexpr auto noOleDate = "The OLE date is outside the years 100 to 9999.";
constexpr auto noDayNumber = "The date has no day number in its calendar mode.";
constexpr auto outOfRange = "The date would be outside the years -32767 to 32767.";
constexpr LONG english = 0x409;

WKSDateTime At(SHORT year, SHORT month, SHORT day, SHORT hour = 0, SHORT minute = 0, SHORT second = 0,
               LONG nanosecond = 0) {
    return {year, month, day, hour, minute, second, nanosecond};
}

/// A calendar mode, or what is none.
movaCalendarMode Mode(LONG number) {
    return static_cast<movaCalendarMode>(number);
}

kv::Ptr<ITime2> NewTime() {
    return New<ITime2>(u"Time");
}
kv::Ptr<ITime2> TimeOf(const WKSDateTime& fields) {
    auto time = NewTime();
    EXPECT_EQ(time->SetDateTime(&fields), S_OK);
    return time;
}
kv::Ptr<ITime2> TimeOf(std::u16string_view text) {
    auto time = NewTime();
    EXPECT_EQ(time->SetFromXMLTimeString(Bstr(text), nullptr), S_OK) << kv::Utf8(text);
    return time;
}

std::string Text(ITime* time, LONG format = movaTimeISONanosecond) {
    kv::BString text;
    const HRESULT status = time->QueryTimeString(static_cast<movaTimeFormat>(format), text.Put());
    return status == S_OK ? kv::Utf8(text.View()) : "-";
}
std::string Text(const kv::Ptr<ITime2>& time, LONG format = movaTimeISONanosecond) {
    return Text(time.Get(), format);
}

/// A reference that answers what a test says.
class Reference final : public Local<ITimeReference> {
 public:
    STDMETHODIMP QueryUTCOffset(ITime* moment, LONG* minutes) noexcept override {
        asked = Text(moment);
        if (meanwhile) meanwhile();
        *minutes = offset;
        return status;
    }

    std::string asked;
    LONG offset = 0;
    HRESULT status = S_OK;
    std::function<void()> meanwhile;
};

}  // namespace

TEST(Time, BeginsWithTheFirstDay) {
    const auto time = NewTime();
    EXPECT_EQ(Text(time, movaTimeDashSecond), "0001-01-01 00:00:00");
    EXPECT_EQ(AnswerOf(time, &ITime2::get_CalendarMode), movaCalendarGregorian);
    EXPECT_EQ(AnswerOf(time, &ITime2::QuerySavedSize), 22);
    kv::BString uri;
    EXPECT_EQ(time.As<IXMLVersionSupport>()->get_MinNamespaceSupported(uri.Put()), S_OK);
    EXPECT_EQ(uri.View(), u"urn:mova:schemas:9.3");
}

TEST(Time, RefusesEachFieldOutOfItsRangeAndStays) {
    using Put = HRESULT (STDMETHODCALLTYPE ITime::*)(SHORT);
    using Get = HRESULT (STDMETHODCALLTYPE ITime::*)(SHORT*);
    const struct {
        Put put;
        Get get;
        std::vector<SHORT> good, bad;
    } rows[] = {
        {&ITime::put_Year, &ITime::get_Year, {1, -1, 32'767, -32'768, 2020}, {0}},
        {&ITime::put_Month, &ITime::get_Month, {1, 12, 5}, {0, 13, -1, 32'767, 4}},
        {&ITime::put_Day, &ITime::get_Day, {1, 31}, {0, 32, -1}},
        {&ITime::put_Hour, &ITime::get_Hour, {0, 23}, {24, -1}},
        {&ITime::put_Minute, &ITime::get_Minute, {0, 59}, {60, -1}},
        {&ITime::put_Second, &ITime::get_Second, {0, 59}, {60, -1}},
    };
    const auto time = TimeOf(At(2020, 5, 31, 1, 2, 3, 4));
    for (const auto& row : rows) {
        for (const SHORT good : row.good) {
            EXPECT_EQ((time.Get()->*row.put)(good), S_OK);
            EXPECT_EQ(AnswerOf(time, row.get), good);
        }
        for (const SHORT bad : row.bad) {
            const std::string before = Text(time);
            EXPECT_EQ((time.Get()->*row.put)(bad), E_INVALIDARG) << bad;
            EXPECT_EQ(TakeErrorInfo(), Refusal<ITime>("Time", noTime));
            EXPECT_EQ(Text(time), before);
        }
    }
    EXPECT_EQ(time->put_Nanosecond(999'999'999), S_OK);
    EXPECT_EQ(Text(time), "2020-05-31T23:59:59.999999999");
    for (const LONG bad : {-1L, 1'000'000'000L}) EXPECT_EQ(time->put_Nanosecond(bad), E_INVALIDARG);
    for (const WKSDateTime& bad :
         {At(1900, 2, 29), At(0, 1, 1), At(2020, 1, 1, 24), At(2020, 1, 1, 0, 0, 0, -1), At(0, 0, 0)}) {
        EXPECT_EQ(Refused(time->SetDateTime(&bad), E_INVALIDARG), Refusal<ITime>("Time", noTime));
    }
    EXPECT_EQ(time->SetDateTime(nullptr), E_POINTER);
    EXPECT_EQ(Text(time), "2020-05-31T23:59:59.999999999");
    const WKSDateTime oldLeapDay = At(1500, 2, 29);
    EXPECT_EQ(time->SetDateTime(&oldLeapDay), S_OK);
    EXPECT_EQ(time->put_Year(1501), E_INVALIDARG) << "has no such day";
    EXPECT_EQ(time->SetNanosecondsSinceMidnight(86'399'999'999'999), S_OK);
    EXPECT_EQ(Text(time), "1500-02-29T23:59:59.999999999");
    for (const LONGLONG bad : {86'400'000'000'000LL, -1LL})
        EXPECT_EQ(time->SetNanosecondsSinceMidnight(bad), E_INVALIDARG);
    EXPECT_EQ(AnswerOf(time, &ITime2::QueryNanosecondsSinceMidnight), 86'399'999'999'999);
    EXPECT_EQ(time->SetFromJulianDayNumber(1'721'119), S_OK);
    EXPECT_EQ(Text(time, movaTimeDashDay), "-001-02-29") << "which a setter does not take";
    EXPECT_EQ(time->put_Hour(5), S_OK) << "but which is no reason to refuse an hour";
}

TEST(Time, RefusesNullPointers) {
    const auto time = NewTime();
    EXPECT_EQ(time->QueryDateTime(nullptr), E_POINTER);
    LONG number = 0;
    EXPECT_EQ(time->FindMonthName(english, VARIANT_FALSE, nullptr, nullptr, &number), E_POINTER);
    EXPECT_EQ(time->FindDayName(english, VARIANT_FALSE, nullptr, &number, nullptr), E_POINTER);
    const auto operations = time.As<ITimeOffsetOperator>();
    kv::Ptr<ITimeDuration> duration;
    EXPECT_EQ(operations->AddDuration(nullptr), E_POINTER);
    EXPECT_EQ(operations->SubtractDuration(nullptr), E_POINTER);
    EXPECT_EQ(operations->QueryDifference(nullptr, duration.Put()), E_POINTER);
    EXPECT_EQ(operations->Compare(nullptr, &number), E_POINTER);
}

TEST(Time, CountsDaysByItsMode) {
    const auto time = TimeOf(u"2020-10-10T01:02:03.5");
    LONG number = 0;
    EXPECT_EQ(AnswerOf(time, &ITime2::QueryJulianDayNumber), 2'459'133);
    EXPECT_EQ(time->put_CalendarMode(movaCalendarJulian), S_OK);
    EXPECT_EQ(time->QueryJulianDayNumber(&number), E_FAIL);
    EXPECT_EQ(number, -1);
    EXPECT_EQ(TakeErrorInfo(), Refusal<ITime>("Time", noDayNumber));
    LONG weekday = 9;
    EXPECT_EQ(time->get_DayOfWeek(&weekday), E_FAIL);
    EXPECT_EQ(weekday, 0);
    EXPECT_EQ(time->SetFromJulianDayNumber(2'299'160), S_OK);
    EXPECT_EQ(Text(time), "1582-10-04T01:02:03.5");
    EXPECT_EQ(time->SetFromJulianDayNumber(2'299'161), S_OK);
    EXPECT_EQ(Text(time), "1582-10-15T01:02:03.5");
    EXPECT_EQ(time->get_DayOfWeek(&weekday), S_OK);
    EXPECT_EQ(time->put_CalendarMode(Mode(7)), S_OK);
    number = 5;
    EXPECT_EQ(time->QueryJulianDayNumber(&number), S_OK) << "no mode, no number";
    EXPECT_EQ(number, -1);
    EXPECT_EQ(time->get_DayOfWeek(&weekday), E_FAIL);
    EXPECT_EQ(time->SetFromJulianDayNumber(2'299'160), S_OK);
    EXPECT_EQ(Text(time, movaTimeDashDay), "1582-10-14");
    for (const LONG bad : {std::numeric_limits<LONG>::min(), std::numeric_limits<LONG>::max()}) {
        EXPECT_EQ(Refused(time->SetFromJulianDayNumber(bad), E_INVALIDARG), Refusal<ITime>("Time", outOfRange));
    }
    EXPECT_EQ(Text(time, movaTimeDashDay), "1582-10-14");
}

TEST(Time, HasTwentyThreeFormats) {
    const auto time = TimeOf(u"2020-05-17T10:20:30.12");
    EXPECT_EQ(Text(time, 0), "2020/05/17 10:20:30.12");
    EXPECT_EQ(Text(time, 22), "2020-05-17T10:20:30.120Z");
    for (const LONG bad : {23L, -1L, std::numeric_limits<LONG>::max(), std::numeric_limits<LONG>::min()}) {
        kv::BString text(u"before");
        BSTR out = text.Get();
        EXPECT_EQ(time->QueryTimeString(static_cast<movaTimeFormat>(bad), &out), E_FAIL);
        EXPECT_EQ(out, nullptr);
        EXPECT_EQ(TakeErrorInfo(), Refusal<ITime>("Time", "There is no such format of times."));
    }
}

TEST(Time, AsksTheReferenceForItsOffset) {
    const auto time = TimeOf(u"2020-05-17T10:20:30.5");
    const auto text = [&](ITimeReference* reference, HRESULT expected = S_OK) {
        kv::BString out;
        EXPECT_EQ(time->QueryXMLTimeString(reference, out.Put()), expected);
        return kv::Utf8(out.View());
    };
    Reference reference;
    EXPECT_EQ(text(nullptr), "2020-05-17T10:20:30.5+00:00");
    reference.offset = -90;
    EXPECT_EQ(text(&reference), "2020-05-17T10:20:30.5-01:30");
    EXPECT_EQ(reference.asked, "2020-05-17T10:20:30.5");
    reference.offset = 23 * 60 + 59;
    reference.meanwhile = [&] { time->put_Nanosecond(0); };
    EXPECT_EQ(text(&reference), "2020-05-17T10:20:30.5+23:59") << "as it was when it was asked";
    EXPECT_EQ(text(&reference), "2020-05-17T10:20:30+23:59");
    for (const LONG bad : {24 * 60L, -24 * 60L, std::numeric_limits<LONG>::min()}) {
        reference.offset = bad;
        EXPECT_EQ(text(&reference, E_FAIL), "");
        EXPECT_EQ(TakeErrorInfo(), Refusal<ITime>("Time", "The time reference answers an offset of a day or more."));
    }
    reference.status = E_ACCESSDENIED;
    EXPECT_EQ(text(&reference, E_ACCESSDENIED), "");
}

TEST(Time, ReadsXmlTextsOrStays) {
    const auto time = NewTime();
    LONG offset = 7;
    EXPECT_EQ(time->SetFromXMLTimeString(Bstr(u"2020-05-17T10:20:30.5+02:00"), &offset), S_OK);
    EXPECT_EQ(Text(time), "2020-05-17T10:20:30.5");
    EXPECT_EQ(offset, 120);
    EXPECT_EQ(time->SetFromXMLTimeString(Bstr(u"2021"), nullptr), S_OK);
    EXPECT_EQ(Text(time), "2021-01-01T00:00:00.0");
    const struct {
        std::u16string_view text;
        const char* told;
    } rows[] = {{u"2020-13-01", "The text is not an ISO 8601 date and time."},
                {u"", "The text is not an ISO 8601 date and time."},
                {std::u16string_view(u"2020\0", 5), "The text is not an ISO 8601 date and time."},
                {u"2020-02-30", noTime},
                {u"0000-01-01", noTime}};
    for (const auto& row : rows) {
        offset = 7;
        EXPECT_EQ(time->SetFromXMLTimeString(Bstr(row.text), &offset), E_INVALIDARG) << kv::Utf8(row.text);
        EXPECT_EQ(TakeErrorInfo(), Refusal<ITime>("Time", row.told));
        EXPECT_EQ(offset, 0);
        EXPECT_EQ(Text(time), "2021-01-01T00:00:00.0");
    }
    EXPECT_EQ(time->SetFromXMLTimeString(nullptr, nullptr), E_INVALIDARG);
}

TEST(Time, IsShownByTheClient) {
    ExpectClient(
        u"time",
        {{u"2020-05-17T10:20:30.5+02:00", "2020-05-17T10:20:30.5\n", 0},
         {u"--code 22 2020-05-17T10:20:30.5", "2020-05-17T10:20:30.500Z\n", 0},
         {u"2020-05-17T10:20:30.5-05:30 --offset", "-330\n", 0},
         {u"2020-05-17T10:20:30.5-05:30 --xml", "2020-05-17T10:20:30.5+00:00\n", 0},
         {u"--add-nanoseconds -1 --add-days 1 --code 6 1999-12-31", "1999-12-31 23:59:59.999999999\n", 0},
         {u"--day 2000-01-01", "2451545\n", 0},
         {u"--julian --day 2000-01-01", "2451558\n", 0},
         {u"--julian --day 2020-10-10",
          "mova: movaSystem.Time: The date has no day number in its calendar mode. (0x80004005)\n", 1},
         {u"--julian --from-day 2299160 --code 10", "1582-10-04\n", 0},
         {u"--from-day 2299160 --code 10", "1582-10-14\n", 0},
         {u"--from-ole -1.25", "1899-12-29T06:00:00.0\n", 0},
         {u"--ole 1899-12-29T06:00", "-1.25\n", 0},
         {u"--from-ole 1e300", "mova: movaSystem.Time: The OLE date is outside the years 100 to 9999. (0x80004005)\n",
          1},
         {u"--code 23 2020", "mova: movaSystem.Time: There is no such format of times. (0x80004005)\n", 1},
         {u"2020-13-01", "mova: movaSystem.Time: The text is not an ISO 8601 date and time. (0x80070057)\n", 1},
         {u"", "mova: time takes one TEXT, or --from-day N, or --from-ole X\n", 2},
         {u"2020 --from-day 1", "mova: time takes one TEXT, or --from-day N, or --from-ole X\n", 2},
         {u"2020 2021", "mova: time takes one TEXT\n", 2},
         {u"--from-day 1 --offset", "mova: time --offset takes a TEXT\n", 2},
         {u"2020 --code x", "mova: time --code takes a number of 32 bits\n", 2},
         {u"2020 --code", "mova: time --code takes a number\n", 2},
         {u"2020 --add-days 9223372036854775808", "mova: time --add-days takes a number of 64 bits\n", 2},
         {u"--from-ole x", "mova: time --from-ole takes a number\n", 2},
         {u"2020 --other", "mova: time does not take --other\n", 2}});
}

TEST(Time, ReadsXmlTextsAsTheUserWants) {
    constexpr auto name = u"UseOldSetFromXMLTimeString";
    const auto expect = [&](const char* when, DWORD shortForm, DWORD looseForm) {
        EXPECT_EQ(Mova(u"time 2020-05-17T102030Z").status, shortForm) << when;
        EXPECT_EQ(Mova(u"time 2020-5-17T10:20:30Z").status, looseForm) << when;
        EXPECT_EQ(Mova(u"time 2020-05-17T10:20:30.5Z").output, "2020-05-17T10:20:30.5\n") << when;
    };
    expect("by default", 0, 1);
    {
        const Setting off(name, DWORD{0});
        expect("off", 0, 1);
    }
    {
        const Setting on(name, DWORD{3});
        expect("on", 1, 0);
    }
    const Setting notANumber(name, std::u16string(u"1"));
    expect("not a number", 0, 1);
}

TEST(Time, ConvertsAnOleDateWhenItMust) {
    const auto time = TimeOf(u"2020-05-17T10:20:30.5");
    EXPECT_EQ(time->SetFromOleTime(-1.25), S_OK);
    EXPECT_EQ(SavedAlone(time.Get()).size(), 14u) << "still pending";
    double date = 7;
    EXPECT_EQ(AnswerOf(time, &ITime2::QueryOleTime), -1.25);
    EXPECT_EQ(Text(time), "1899-12-29T06:00:00.0");
    EXPECT_EQ(SavedAlone(time.Get()).size(), 22u);
    for (const double bad : {1e300, -657'435.0, 2'958'466.0, std::nan(""), HUGE_VAL}) {
        EXPECT_EQ(time->SetFromOleTime(bad), S_OK);
        for (int i = 0; i < 2; ++i) {
            LONG day = 0;
            SHORT year = 5;
            EXPECT_EQ(time->get_Year(&year), E_FAIL) << bad;
            EXPECT_EQ(TakeErrorInfo(), Refusal<ITime>("Time", noOleDate));
            EXPECT_EQ(year, 0);
            EXPECT_EQ(time->QueryJulianDayNumber(&day), E_FAIL);
            EXPECT_EQ(day, -1);
            EXPECT_EQ(time->QueryOleTime(&date), E_FAIL);
            EXPECT_EQ(time->put_Hour(1), E_FAIL);
            EXPECT_EQ(time->SetFromJulianDayNumber(2'451'545), E_FAIL);
            EXPECT_EQ(time.As<ITimeOffsetOperator>()->AddDays(1), E_FAIL);
            EXPECT_EQ(Text(time), "-");
        }
        EXPECT_EQ(SavedAlone(time.Get()).size(), 14u) << "still pending";
    }
    EXPECT_EQ(time->SetFromXMLTimeString(Bstr(u"1500-02-29"), nullptr), S_OK) << "needs nothing of what was";
    EXPECT_EQ(time->QueryOleTime(&date), E_FAIL) << "the Gregorian calendar does not have it";
    EXPECT_EQ(TakeErrorInfo(), Refusal<ITime>("Time", "The date is none that an OLE date can be."));
    const WKSDateTime early = At(-1, 1, 1);
    EXPECT_EQ(time->SetDateTime(&early), S_OK);
    EXPECT_EQ(time->QueryOleTime(&date), E_FAIL);
    EXPECT_EQ(date, 0.0);
}

TEST(Time, AddsAmounts) {
    const struct {
        HRESULT (STDMETHODCALLTYPE ITimeOffsetOperator::*add)(LONGLONG);
        LONGLONG amount;
        const char* after;
    } rows[] = {{&ITimeOffsetOperator::AddWeeks, -1, "2019-12-25T00:00:00.0"},
                {&ITimeOffsetOperator::AddDays, 59, "2020-02-29T00:00:00.0"},
                {&ITimeOffsetOperator::AddHours, -25, "2019-12-30T23:00:00.0"},
                {&ITimeOffsetOperator::AddMinutes, 1'441, "2020-01-02T00:01:00.0"},
                {&ITimeOffsetOperator::AddSeconds, -1, "2019-12-31T23:59:59.0"},
                {&ITimeOffsetOperator::AddMilliseconds, -1, "2019-12-31T23:59:59.999"},
                {&ITimeOffsetOperator::AddNanoseconds, -1, "2019-12-31T23:59:59.999999999"}};
    for (const auto& row : rows) {
        const auto time = TimeOf(u"2020-01-01");
        const auto operations = time.As<ITimeOffsetOperator>();
        EXPECT_EQ((operations.Get()->*row.add)(row.amount), S_OK);
        EXPECT_EQ(Text(time), row.after);
        if (row.add == &ITimeOffsetOperator::AddNanoseconds) continue;  // 64 bits of them are no more than 300 years
        for (const LONGLONG bad : {std::numeric_limits<LONGLONG>::min(), std::numeric_limits<LONGLONG>::max()}) {
            EXPECT_EQ(Refused((operations.Get()->*row.add)(bad), E_INVALIDARG),
                      Refusal<ITimeOffsetOperator>("Time", outOfRange));
            EXPECT_EQ(Text(time), row.after);
        }
    }
    const auto time = TimeOf(u"2020-02-29T12:00:00");
    const auto operations = time.As<ITimeOffsetOperator>();
    EXPECT_EQ(operations->AddYears(1), S_OK);
    EXPECT_EQ(Text(time), "2021-02-28T12:00:00.0");
    EXPECT_EQ(operations->AddMonths(-12 * 2'021), S_OK);
    EXPECT_EQ(Text(time), "-001-02-28T12:00:00.0");
    for (const LONG bad : {std::numeric_limits<LONG>::min(), std::numeric_limits<LONG>::max()}) {
        EXPECT_EQ(operations->AddYears(bad), E_INVALIDARG);
        EXPECT_EQ(operations->AddMonths(bad), E_INVALIDARG);
        EXPECT_EQ(Text(time), "-001-02-28T12:00:00.0");
    }
    const auto duration = New<ITimeDuration>(u"TimeDuration");
    duration->put_Days(1);
    duration->put_Hours(-23);
    duration->put_Nanoseconds(1);
    EXPECT_EQ(operations->AddDuration(duration.Get()), S_OK);
    EXPECT_EQ(Text(time), "-001-02-28T13:00:00.000000001");
    EXPECT_EQ(operations->SubtractDuration(duration.Get()), S_OK);
    duration->put_Positive(VARIANT_FALSE);
    duration->put_Hours(0);
    EXPECT_EQ(operations->AddDuration(duration.Get()), S_OK);
    EXPECT_EQ(Text(time), "-001-02-27T11:59:59.999999999");
    duration->put_Days(std::numeric_limits<LONG>::max());
    EXPECT_EQ(operations->AddDuration(duration.Get()), E_INVALIDARG);
    EXPECT_EQ(operations->SubtractDuration(duration.Get()), E_INVALIDARG);
    EXPECT_EQ(Text(time), "-001-02-27T11:59:59.999999999");
    time->put_CalendarMode(Mode(2));
    EXPECT_EQ(operations->AddDays(1), S_OK) << "from the day number -1, as every date has it then";
    EXPECT_EQ(Text(time), "-4714-11-24T11:59:59.999999999");
    time->put_CalendarMode(movaCalendarJulian);
    time->put_Month(10);
    time->put_Day(10);
    EXPECT_EQ(Refused(operations->AddDays(1), E_FAIL), Refusal<ITimeOffsetOperator>("Time", noDayNumber));
    EXPECT_EQ(Text(time), "-4714-10-10T11:59:59.999999999");
}

TEST(Time, ComparesWithOthers) {
    const struct {
        WKSDateTime left, right;
        movaCalendarMode leftMode, rightMode;
        std::string difference;  ///< "-" where there is none
        LONG order;              ///< 9 where there is none
    } rows[] = {
        {At(2020, 3, 1), At(2020, 2, 28), movaCalendarGregorian, movaCalendarGregorian, "P2DT0H0M0S", 1},
        {At(2020, 2, 28, 1), At(2020, 3, 1), movaCalendarGregorian, movaCalendarGregorian, "-P1DT23H0M0S", -1},
        {At(2020, 1, 1, 1, 2, 3, 4), At(2020, 1, 1, 1, 2, 3, 4), movaCalendarJulian, movaCalendarJulian, "P0DT0H0M0S",
         0},
        {At(2020, 1, 1, 0, 0, 0, 1), At(2020, 1, 1), movaCalendarGregorian, movaCalendarGregorian,
         "P0DT0H0M0.000000001S", 1},
        {At(1, 1, 1), At(-1, 12, 31), movaCalendarGregorian, movaCalendarGregorian, "P1DT0H0M0S", 1},
        {At(-32'767, 1, 1), At(32'767, 12, 31, 23, 59, 59, 999'999'999), movaCalendarGregorian, movaCalendarGregorian,
         "-P23935800DT23H59M59.999999999S", -1},
        {At(2000, 1, 1), At(2000, 1, 14), movaCalendarJulian, movaCalendarGregorian, "P0DT0H0M0S", 0},
        {At(2000, 10, 10), At(2000, 10, 11), movaCalendarJulian, movaCalendarJulian, "-", -1},
        {At(2000, 10, 10), At(2000, 10, 11), movaCalendarGregorian, movaCalendarJulian, "-", 9},
        {At(2000, 1, 1), At(2000, 1, 2), Mode(2), Mode(2), "-", -1},
        {At(2000, 1, 1), At(2000, 1, 2), movaCalendarGregorian, Mode(2), "-", 9},
    };
    for (const auto& row : rows) {
        const auto left = TimeOf(row.left);
        const auto right = TimeOf(row.right);
        left->put_CalendarMode(row.leftMode);
        right->put_CalendarMode(row.rightMode);
        SCOPED_TRACE(Text(left) + " " + Text(right));
        const auto operations = left.As<ITimeOffsetOperator>();
        kv::Ptr<ITimeDuration> duration;
        LONG order = 5;
        EXPECT_EQ(operations->QueryDifference(right.Get(), duration.Put()), row.difference == "-" ? E_FAIL : S_OK);
        kv::BString text(u"-");
        EXPECT_TRUE(!duration || duration->QueryDurationString(text.Put()) == S_OK);
        EXPECT_EQ(kv::Utf8(text.View()), row.difference);
        EXPECT_EQ(operations->Compare(right.Get(), &order), row.order == 9 ? E_FAIL : S_OK);
        EXPECT_EQ(order, row.order == 9 ? 0 : row.order);
        if (!duration || row.leftMode == movaCalendarJulian) continue;
        EXPECT_EQ(right.As<ITimeOffsetOperator>()->AddDuration(duration.Get()), S_OK);
        EXPECT_EQ(Text(right), Text(left)) << "what has to be added";
    }
}

TEST(Time, SpeaksTheLanguageOfALocale) {
    const auto time = TimeOf(u"2020-05-07T15:04:09");
    const struct {
        LONG locale;
        const char16_t* picture;
        std::u16string_view text;
    } rows[] = {
        {english, nullptr, u"Thursday, May 7, 2020 3:04:09 PM"},
        {english, u"dddd ddd MMMM MMM yyyy g", u"Thursday Thu May May 2020 A.D."},
        {0x407, u"dddd, d. MMMM yyyy", u"Donnerstag, 7. Mai 2020"},
        {0x40C, u"dddd d MMMM", u"jeudi 7 mai"},
        {0x411, u"yyyy'\u5E74'MMMd'\u65E5'", u"2020\u5E745\u67087\u65E5"},
    };
    for (const auto& row : rows) {
        kv::BString text;
        const Bstr picture(row.picture ? row.picture : u"");
        EXPECT_EQ(time->QueryLocaleTimeString(row.locale, row.picture ? BSTR(picture) : nullptr, text.Put()), S_OK);
        EXPECT_EQ(kv::Utf8(text.View()), kv::Utf8(row.text));
        const auto read = TimeOf(u"2020-01-01T15:04:09");
        EXPECT_EQ(read->SetFromLocaleTimeString(row.locale, picture, text.Get()), S_OK);
        EXPECT_EQ(Text(read, movaTimeDashMonth), "2020-05");
    }
    EXPECT_EQ(Refused(time->SetFromLocaleTimeString(english, Bstr(u"MMMM"), Bstr(u"Mai")), E_INVALIDARG),
              Refusal<ITime2>("Time", "The text does not follow the picture, or names no date."));
    EXPECT_EQ(Text(time), "2020-05-07T15:04:09.0");
    kv::BString text;
    time->put_CalendarMode(Mode(2));
    EXPECT_EQ(time->QueryLocaleTimeString(english, nullptr, text.Put()), E_FAIL) << "has no day of the week";
    LONG found = 5, position = 5;
    EXPECT_EQ(time->FindMonthName(english, VARIANT_FALSE, Bstr(u"june, may"), &found, &position), S_OK);
    EXPECT_EQ(found, 5);
    EXPECT_EQ(position, 9);
    EXPECT_EQ(time->FindDayName(english, VARIANT_TRUE, Bstr(u"a SUNday"), &found, &position), S_OK);
    EXPECT_EQ(found, 7);
    EXPECT_EQ(position, 5);
    EXPECT_EQ(time->FindMonthName(0x407, VARIANT_TRUE, Bstr(u"nothing"), &found, &position), S_OK);
    EXPECT_EQ(found, -1);
    EXPECT_EQ(position, 0);
    for (const LONG bad : {0x12345678L, -1L}) {
        EXPECT_EQ(Refused(time->QueryLocaleTimeString(bad, nullptr, text.Put()), E_INVALIDARG),
                  Refusal<ITime2>("Time", "The system knows no such locale."));
        EXPECT_EQ(time->SetFromLocaleTimeString(bad, nullptr, nullptr), E_INVALIDARG);
        EXPECT_EQ(time->FindMonthName(bad, VARIANT_FALSE, nullptr, &found, &position), E_INVALIDARG);
    }
}

TEST(Time, SavesAndLoads) {
    const auto time = TimeOf(At(-44, 3, 15, 13, 14, 15, 123'456'789));
    ExpectGolden(SavedAlone(time.Get()), "time.bin");
    ULARGE_INTEGER size{};
    EXPECT_EQ(time.As<IPersistStream>()->GetSizeMax(&size), S_OK);
    EXPECT_EQ(size.QuadPart, 22u);
    EXPECT_EQ(time.As<IPersistStream>()->IsDirty(), S_FALSE);
    const auto pending = NewTime();
    EXPECT_EQ(pending->SetFromOleTime(43'831.123456789), S_OK);
    EXPECT_EQ(pending.As<IPersistStream>()->IsDirty(), S_OK);
    ExpectGolden(SavedAlone(pending.Get()), "time-ole.bin");

    const auto load = [](const Bytes& bytes, const kv::Ptr<ITime2>& into) {
        return into.As<IPersistStream>()->Load(StreamOf(bytes).Get());
    };
    const auto loaded = TimeOf(u"2020-05-17");
    loaded->put_CalendarMode(movaCalendarJulian);
    EXPECT_EQ(load(ReadGolden("time-ole.bin"), loaded), S_OK);
    EXPECT_EQ(SavedAlone(loaded.Get()), SavedAlone(pending.Get())) << "pending, with the same number";
    EXPECT_EQ(load(ReadGolden("time.bin"), loaded), S_OK);
    EXPECT_EQ(Text(loaded), "-044-03-15T13:14:15.123456789");
    EXPECT_EQ(AnswerOf(loaded, &ITime2::get_CalendarMode), movaCalendarJulian) << "of which streams say nothing";

    for (const char* golden : {"time.bin", "time-ole.bin"}) {
        ForEveryDamage(ReadGolden(golden), [&](const Bytes& damaged) {
            const auto fresh = TimeOf(u"2020-05-17T10:20:30");
            const HRESULT status = load(damaged, fresh);
            if (status == S_OK) {
                Text(fresh);
                EXPECT_LE(SavedAlone(fresh.Get()).size(), 22u);
                return;
            }
            EXPECT_EQ(status, E_FAIL);
            EXPECT_NE(TakeErrorInfo(), "");
            EXPECT_EQ(Text(fresh), "0001-01-01T00:00:00.0");
            EXPECT_EQ(SavedAlone(fresh.Get()), SavedAlone(NewTime().Get()));
        });
    }
    Bytes versions = ReadGolden("time.bin");
    versions[0] = 0;
    EXPECT_EQ(load(versions, loaded), S_OK);
    versions[0] = 2;
    EXPECT_EQ(Refused(load(versions, loaded), E_FAIL),
              Refusal<IPersistStream>("Time", "The stream was written by a newer version."));
    Trickle failing(ReadGolden("time.bin"));
    failing.callsLeft = 2;
    EXPECT_EQ(loaded.As<IPersistStream>()->Load(&failing), E_FAIL);
    EXPECT_EQ(Text(loaded), "0001-01-01T00:00:00.0");
    EXPECT_EQ(Text(Loaded(Saved(time.Get())).As<ITime2>()), Text(time)) << "through an object stream";
}

TEST(Time, IsWrittenAsXmlAndRead) {
    const std::string declared =
        " xmlns:xsi='http://www.w3.org/2001/XMLSchema-instance' xmlns:xs='http://www.w3.org/2001/XMLSchema'"
        " xmlns:mova='urn:mova:schemas:10.0'";
    const auto serializer = New<IXMLSerializerAlt>(u"XMLSerializerAlt");
    const auto load = [](const std::string& content, kv::Ptr<IUnknown>& object) {
        return LoadXml(u"mova:Time", kv::Utf16(content), object);
    };
    const auto time = TimeOf(u"2020-05-17T10:20:30.5");
    time->put_CalendarMode(movaCalendarJulian);
    const auto pending = NewTime();
    pending->SetFromOleTime(-1.25);
    const std::pair<IUnknown*, std::string> rows[] = {
        {time.Get(),
         "<CalendarMode>1</CalendarMode><Year>2020</Year><Month>5</Month><Day>17</Day><Hour>10</Hour>"
         "<Minute>20</Minute><Second>30</Second><Nanosecond>500000000</Nanosecond>"},
        {pending.Get(), "<CalendarMode>0</CalendarMode><OleDate>-1.25</OleDate>"}};
    for (const auto& [object, content] : rows) {
        EXPECT_EQ(kv::Utf8(AnswerOf(serializer, &IXMLSerializerAlt::SaveToString, object, nullptr).View()),
                  "<Time xsi:type='mova:Time'" + declared + ">" + content + "</Time>");
        kv::Ptr<IUnknown> read;
        ASSERT_EQ(load(content, read), S_OK) << TakeErrorInfo();
        EXPECT_EQ(SavedAlone(read.Get()), SavedAlone(object));
    }
    kv::Ptr<IUnknown> read;
    EXPECT_EQ(load("<Year>-5</Year>", read), S_OK);
    EXPECT_EQ(Text(read.As<ITime2>()), "-005-01-01T00:00:00.0");
    for (const char* bad :
         {"<Year>0</Year>", "<Year>65537</Year>", "<Month>13</Month>", "<Nanosecond>-1</Nanosecond>"}) {
        EXPECT_EQ(load(bad, read), E_INVALIDARG) << bad;
        EXPECT_EQ(TakeErrorInfo(), Refusal<IXMLSerialize>("Time", noTime));
    }
    EXPECT_EQ(serializer->put_ReleaseNamespaceURI(Bstr(u"urn:mova:schemas:9.2")), S_OK);
    kv::BString text;
    EXPECT_EQ(serializer->SaveToString(time.Get(), nullptr, text.Put()), E_INVALIDARG) << "a type of later releases";
}

TEST(Time, ClonesWithItsMode) {
    const auto time = TimeOf(u"2020-10-10");
    time->put_CalendarMode(movaCalendarJulian);
    const auto copy = CloneOf(time);
    LONG day = 0;
    EXPECT_EQ(copy->QueryJulianDayNumber(&day), E_FAIL);
    EXPECT_EQ(time->SetFromOleTime(1.5), S_OK);
    EXPECT_EQ(Text(copy), "2020-10-10T00:00:00.0");
    EXPECT_EQ(SavedAlone(CloneOf(time).Get()), SavedAlone(time.Get())) << "pending, too";
}

}  // namespace mova::test
