#include <limits>

#include "tests/windows/Persistence.h"
#include "tests/windows/Support.h"

namespace mova::test {
namespace {

using Range = std::numeric_limits<LONG>;
constexpr auto tooLong = "The duration would have more days than 32 bits hold.";

kv::Ptr<ITimeDuration> NewDuration() {
    return New<ITimeDuration>(u"TimeDuration");
}
kv::Ptr<ITimeDuration> DurationOf(std::u16string_view text) {
    auto duration = NewDuration();
    EXPECT_EQ(duration->SetFromDurationString(Bstr(text)), S_OK) << kv::Utf8(text);
    return duration;
}
std::string Text(const kv::Ptr<ITimeDuration>& duration) {
    return kv::Utf8(AnswerOf(duration, &ITimeDuration::QueryDurationString).View());
}

}  // namespace

TEST(TimeDuration, KeepsItsPartsAndCountsTicks) {
    const auto duration = NewDuration();
    EXPECT_EQ(Text(duration), "P0DT0H0M0S");
    using Put = HRESULT (STDMETHODCALLTYPE ITimeDuration::*)(LONG);
    using Get = HRESULT (STDMETHODCALLTYPE ITimeDuration::*)(LONG*);
    const struct {
        Put put;
        Get get;
        LONG last;
    } rows[] = {{&ITimeDuration::put_Days, &ITimeDuration::get_Days, 1},
                {&ITimeDuration::put_Hours, &ITimeDuration::get_Hours, 2},
                {&ITimeDuration::put_Minutes, &ITimeDuration::get_Minutes, 3},
                {&ITimeDuration::put_Seconds, &ITimeDuration::get_Seconds, 4},
                {&ITimeDuration::put_Nanoseconds, &ITimeDuration::get_Nanoseconds, 500'000'000}};
    for (const auto& row : rows) {
        for (const LONG number : {Range::max(), Range::min(), row.last}) {
            const bool isTaken = row.last < 5 || number == row.last;
            EXPECT_EQ((duration.Get()->*row.put)(number), isTaken ? S_OK : E_INVALIDARG);
            EXPECT_EQ(AnswerOf(duration, row.get), isTaken ? number : 0);
        }
    }
    EXPECT_EQ(duration->put_Nanoseconds(-1), E_INVALIDARG);
    EXPECT_EQ(TakeErrorInfo(), Refusal<ITimeDuration>("TimeDuration", "The nanoseconds must be 0 to 999,999,999."));
    EXPECT_EQ(duration->put_Positive(VARIANT_FALSE), S_OK);
    EXPECT_EQ(Text(duration), "-P1DT2H3M4.5S");
    LONGLONG ticks = 7;
    EXPECT_EQ(AnswerOf(duration, &ITimeDuration::QueryTicks), -937'845'000'000);
    EXPECT_EQ(duration->put_Days(Range::max()), S_OK);
    EXPECT_EQ(duration->QueryTicks(&ticks), E_FAIL);
    EXPECT_EQ(TakeErrorInfo(),
              Refusal<ITimeDuration>("TimeDuration", "The duration has more ticks than 64 bits hold."));
    EXPECT_EQ(ticks, 0);
    for (const LONGLONG count :
         {std::numeric_limits<LONGLONG>::min(), -1LL, 0LL, std::numeric_limits<LONGLONG>::max()}) {
        EXPECT_EQ(duration->SetTicks(count), S_OK);
        EXPECT_EQ(AnswerOf(duration, &ITimeDuration::QueryTicks), count);
        EXPECT_EQ(AnswerOf(duration, &ITimeDuration::get_Positive), count >= 0 ? VARIANT_TRUE : VARIANT_FALSE);
    }
    duration->SetTicks(-1);
    EXPECT_EQ(Text(duration), "-P0DT0H0M0.0000001S");
    EXPECT_EQ(duration->Reset(), S_OK);
    EXPECT_EQ(Text(duration), "P0DT0H0M0S");
}

TEST(TimeDuration, ComputesOrStays) {
    const auto duration = DurationOf(u"PT90M");
    EXPECT_EQ(duration->Normalize(), S_OK);
    EXPECT_EQ(Text(duration), "P0DT1H30M0S");
    EXPECT_EQ(duration->Add(DurationOf(u"-P1D").Get()), S_OK);
    EXPECT_EQ(Text(duration), "-P0DT22H30M0S");
    EXPECT_EQ(duration->Subtract(DurationOf(u"-P2DT0.5S").Get()), S_OK);
    EXPECT_EQ(Text(duration), "P1DT1H30M0.5S");
    EXPECT_EQ(duration->Multiply(-3), S_OK);
    EXPECT_EQ(Text(duration), "-P3DT4H30M1.5S");
    EXPECT_EQ(duration->Add(duration.Get()), S_OK);
    EXPECT_EQ(Text(duration), "-P6DT9H0M3S");
    EXPECT_EQ(duration->Negate(), S_OK);
    EXPECT_EQ(Text(duration), "P6DT9H0M3S");
    EXPECT_EQ(duration->Multiply(0), S_OK);
    EXPECT_EQ(duration->Negate(), S_OK);
    EXPECT_EQ(Text(duration), "P0DT0H0M0S") << "nothing is positive";
    EXPECT_EQ(duration->Add(nullptr), E_POINTER);
    EXPECT_EQ(duration->Subtract(nullptr), E_POINTER);

    const auto longest = DurationOf(u"P2147483647DT23H59M59.999999999S");
    const std::string before = Text(longest);
    for (const HRESULT status :
         {longest->Add(DurationOf(u"PT0.000000001S").Get()), longest->Subtract(DurationOf(u"-PT0.000000001S").Get()),
          longest->Multiply(2), longest->Multiply(Range::min())})
        EXPECT_EQ(status, E_INVALIDARG);
    EXPECT_EQ(TakeErrorInfo(), Refusal<ITimeDuration>("TimeDuration", tooLong));
    EXPECT_EQ(Text(longest), before);
    EXPECT_EQ(longest->Multiply(-1), S_OK);
    EXPECT_EQ(Text(longest), "-" + before);
    longest->put_Hours(24);
    EXPECT_EQ(longest->Normalize(), E_INVALIDARG);

    const struct {
        const char16_t *left, *right;
        LONG order;
    } rows[] = {{u"P1D", u"PT24H", 0},   {u"-P0D", u"P0D", 0},  {u"PT1S", u"PT1.000000001S", -1},
                {u"-P1D", u"-PT25H", 1}, {u"-P1D", u"P0D", -1}, {u"P1DT1S", u"P1D", 1}};
    for (const auto& row : rows) {
        LONG order = 5;
        EXPECT_EQ(DurationOf(row.left)->Compare(DurationOf(row.right).Get(), &order), S_OK);
        EXPECT_EQ(order, row.order) << Text(DurationOf(row.left));
    }
    LONG order = 0;
    EXPECT_EQ(duration->Compare(nullptr, &order), E_POINTER);
}

TEST(TimeDuration, RefusesTextsAndStays) {
    const auto duration = DurationOf(u"P1DT2H");
    for (const std::u16string_view bad : {u"", u"P", u"P1Y", u"P1M", u"PT-1S", u"P2147483648D"}) {
        EXPECT_EQ(duration->SetFromDurationString(Bstr(bad)), E_INVALIDARG) << kv::Utf8(bad);
        EXPECT_EQ(TakeErrorInfo(),
                  Refusal<ITimeDuration>("TimeDuration",
                                         "The text is not an ISO 8601 duration of days, hours, minutes and seconds."));
    }
    EXPECT_EQ(duration->SetFromDurationString(nullptr), E_INVALIDARG);
    EXPECT_EQ(Text(duration), "P1DT2H0M0S");
}

TEST(TimeDuration, IsShownByTheClient) {
    ExpectClient(
        u"duration",
        {{u"1 2 3 4 500000000", "P1DT2H3M4.5S\t937845000000\n", 0},
         {u"--negative 1 2 3 4 500000000", "-P1DT2H3M4.5S\t-937845000000\n", 0},
         {u"0 0 0 0 150", "P0DT0H0M0.00000015S\t2\n", 0},
         {u"--ticks -1", "-P0DT0H0M0.0000001S\t-1\n", 0},
         {u"--ticks -9223372036854775808", "-P10675199DT2H48M5.4775808S\t-9223372036854775808\n", 0},
         {u"0 0 0 0 -1", "mova: movaSystem.TimeDuration: The nanoseconds must be 0 to 999,999,999. (0x80070057)\n", 1},
         {u"2147483647 0 0 0 0",
          "mova: movaSystem.TimeDuration: The duration has more ticks than 64 bits hold. (0x80004005)\n", 1},
         {u"1 2 3 4", "mova: duration takes D H M S NS, or --ticks N\n", 2},
         {u"1 2 3 4 x", "mova: duration takes a number of 32 bits\n", 2},
         {u"--ticks", "mova: duration --ticks takes one number\n", 2},
         {u"--ticks x", "mova: duration --ticks takes a number of 64 bits\n", 2}});
}

TEST(TimeDuration, SavesAndLoads) {
    const auto duration = DurationOf(u"-P1DT2H3M4.5S");
    ExpectGolden(SavedAlone(duration.Get()), "time-duration.bin");
    ULARGE_INTEGER size{};
    EXPECT_EQ(duration.As<IPersistStream>()->GetSizeMax(&size), S_OK);
    EXPECT_EQ(size.QuadPart, ReadGolden("time-duration.bin").size());
    ForEveryDamage(ReadGolden("time-duration.bin"), [](const Bytes& damaged) {
        const auto loaded = DurationOf(u"PT7S");
        const HRESULT status = loaded.As<IPersistStream>()->Load(StreamOf(damaged).Get());
        if (status == S_OK) {
            EXPECT_EQ(SavedAlone(loaded.Get()).size(), damaged.size());
        } else {
            EXPECT_EQ(status, E_FAIL);
            EXPECT_EQ(Text(loaded), "P0DT0H0M7S");
        }
    });
    EXPECT_EQ(Text(Loaded(Saved(duration.Get())).As<ITimeDuration>()), "-P1DT2H3M4.5S");
    const auto copy = CloneOf(duration);
    EXPECT_EQ(duration->Reset(), S_OK);
    EXPECT_EQ(Text(copy), "-P1DT2H3M4.5S");
}

TEST(TimeDuration, IsWrittenAsXmlAndRead) {
    const auto serializer = New<IXMLSerializerAlt>(u"XMLSerializerAlt");
    kv::BString text;
    EXPECT_EQ(serializer->SaveToString(DurationOf(u"-P1DT2H3M4.5S").Get(), nullptr, text.Put()), S_OK);
    const std::string content =
        "<Positive>false</Positive><Days>1</Days><Hours>2</Hours><Minutes>3</Minutes><Seconds>4</Seconds>"
        "<Nanoseconds>500000000</Nanoseconds>";
    const std::string document = kv::Utf8(text.View());
    EXPECT_NE(document.find(">" + content + "<"), std::string::npos) << document;
    kv::Ptr<IUnknown> read;
    EXPECT_EQ(Text(AnswerOf(serializer, &IXMLSerializerAlt::LoadFromString, text.Get()).As<ITimeDuration>()),
              "-P1DT2H3M4.5S");
    std::string empty = document;
    empty.erase(empty.find(content), content.size());
    EXPECT_EQ(
        Text(AnswerOf(serializer, &IXMLSerializerAlt::LoadFromString, Bstr(kv::Utf16(empty))).As<ITimeDuration>()),
        "P0DT0H0M0S")
        << "what is missing is as in a new one";
    std::string wrong = document;
    wrong.replace(wrong.find("500000000"), 9, "1000000000");
    EXPECT_EQ(serializer->LoadFromString(Bstr(kv::Utf16(wrong)), read.Put()), E_INVALIDARG);
    EXPECT_EQ(TakeErrorInfo(), Refusal<IXMLSerialize>("TimeDuration", "The nanoseconds must be 0 to 999,999,999."));
}

}  // namespace mova::test
