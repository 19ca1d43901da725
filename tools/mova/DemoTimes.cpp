#include <movaSystem.h>

#include "kvcore/Utf.h"
#include "tools/mova/Demo.h"

namespace mova::tool {
namespace {

using Moment = kv::Ptr<ITime2>;

Moment TimeOf(const std::string& text) {
    auto time = CreateAs<ITime2>(u"Time");
    Check(time->SetFromXMLTimeString(Text(kv::Utf16(text)).Get(), nullptr));
    return time;
}

std::string TextOf(ITime& time) {
    kv::BString text;
    Check(time.QueryTimeString(movaTimeISONanosecondZ, text.Put()));
    return kv::Utf8(text.View());
}

std::string TextOf(ITimeDuration& duration) {
    kv::BString text;
    Check(duration.QueryDurationString(text.Put()));
    return kv::Utf8(text.View());
}

kv::Ptr<ITimeDuration> Between(const Moment& from, const Moment& to) {
    kv::Ptr<ITimeDuration> duration;
    Check(to.As<ITimeOffsetOperator>()->QueryDifference(from.Get(), duration.Put()));
    return duration;
}

/// The time when an event of the sample was.
Moment TimeOfEvent(IJSONArray& events, LONG index) {
    return TimeOf(TextIn(*ObjectIn(*ObjectIn(events, index).Get(), u"properties").Get(), u"time"));
}

/// The times of the events, the longest pause between two, and the last one moved.
void ShowEvents(IJSONArray& events) {
    LONG count = 0;
    Check(events.GetCount(&count));
    auto longest = CreateAs<ITimeDuration>(u"TimeDuration");
    const Moment first = TimeOfEvent(events, 0);
    Moment last = first;
    for (LONG i = 1; i < count; ++i) {
        const Moment next = TimeOfEvent(events, i);
        const auto pause = Between(last, next);
        LONG order = 0;
        Check(pause->Compare(longest.Get(), &order));
        if (order > 0) longest = pause;
        last = next;
    }
    LONG day = 0;
    Check(first->QueryJulianDayNumber(&day));
    kv::BString english;
    constexpr LONG unitedStates = 0x409;
    Check(first->QueryLocaleTimeString(unitedStates, Text(u"dddd, MMMM d, yyyy g, h:mm tt").Get(), english.Put()));
    Print("  first        " + TextOf(*first.Get()) + ", day number " + std::to_string(day) + ", " +
          kv::Utf8(english.View()) + "\n");
    Print("  last         " + TextOf(*last.Get()) + "\n");
    Print("  all took     " + TextOf(*Between(first, last).Get()) + "\n");
    Print("  longest rest " + TextOf(*longest.Get()) + "\n");
    const auto moves = last.As<ITimeOffsetOperator>();
    Check(moves->AddMonths(2));
    Print("  two months after the last          " + TextOf(*last.Get()) + "\n");
    Check(moves->SubtractDuration(longest.Get()));
    Print("  less the longest rest              " + TextOf(*last.Get()) + "\n");
    Check(moves->AddNanoseconds(-1));
    Print("  and a nanosecond                   " + TextOf(*last.Get()) + "\n");
}

}  // namespace

void ShowTimes() {
    Heading("The times of these events, read, compared and moved");
    const auto document = CreateAs<IJSONObject>(u"JSONObject");
    Check(document->FromJSONString(Text(kv::Utf16(ReadSample("events.geojson"))).Get()));
    kv::Ptr<IJSONArray> events;
    VARIANT_BOOL found = VARIANT_FALSE;
    Check(document->GetJSONArray(Text(u"features").Get(), events.Put(), &found));
    ShowEvents(*events.Get());
    try {
        TimeOf("2024-02-30T00:00:00Z");
    } catch (const Refused& refused) {
        PrintRefusal(refused);
    }
}

}  // namespace mova::tool
