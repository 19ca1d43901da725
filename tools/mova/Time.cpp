#include <movaSystem.h>

#include <charconv>
#include <limits>
#include <optional>

#include "kvcore/Utf.h"
#include "tools/mova/Client.h"
#include "tools/mova/NumberText.h"

namespace mova::tool {
namespace {

std::string Utf8(const kv::BString& text) {
    return kv::Utf8(text.View());
}

std::int64_t IntegerOf(const std::string& what, const std::string& text) {
    const auto number = ReadInteger(text);
    if (!number) throw WrongUsage{what + " takes a number of 64 bits"};
    return *number;
}

LONG LongOf(const std::string& what, const std::string& text) {
    using Range = std::numeric_limits<LONG>;
    const auto number = ReadInteger(text);
    if (!number || *number < Range::min() || *number > Range::max())
        throw WrongUsage{what + " takes a number of 32 bits"};
    return static_cast<LONG>(*number);
}

double DoubleOf(const std::string& what, const std::string& text) {
    double number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size()) throw WrongUsage{what + " takes a number"};
    return number;
}

enum class Shown : std::uint8_t { Text, Day, OleDate, Xml, Offset };

/// What `mova time` was asked for.
struct Request {
    bool isJulian = false;
    LONG code = movaTimeISONanosecond;
    LONGLONG days = 0;
    LONGLONG nanoseconds = 0;
    std::optional<LONG> fromDay;
    std::optional<double> fromOle;
    std::optional<std::string> text;
    Shown shown = Shown::Text;
};

constexpr struct {
    std::string_view option;
    Shown shown;
} shownOptions[] = {
    {"--day", Shown::Day}, {"--ole", Shown::OleDate}, {"--xml", Shown::Xml}, {"--offset", Shown::Offset}};

/// Takes an option that has no value, or the text. @return whether it is one
bool TakePlain(Request& request, const std::string& word) {
    for (const auto& row : shownOptions) {
        if (row.option != word) continue;
        request.shown = row.shown;
        return true;
    }
    if (word == "--julian") {
        request.isJulian = true;
        return true;
    }
    if (word.starts_with("--")) return false;
    if (request.text) throw WrongUsage{"time takes one TEXT"};
    request.text = word;
    return true;
}

bool TakeValue(Request& request, const std::string& option, const std::string& value) {
    const std::string what = "time " + option;
    if (option == "--code") {
        request.code = LongOf(what, value);
    } else if (option == "--add-days") {
        request.days = IntegerOf(what, value);
    } else if (option == "--add-nanoseconds") {
        request.nanoseconds = IntegerOf(what, value);
    } else if (option == "--from-day") {
        request.fromDay = LongOf(what, value);
    } else if (option == "--from-ole") {
        request.fromOle = DoubleOf(what, value);
    } else {
        return false;
    }
    return true;
}

Request RequestOf(Arguments arguments) {
    Request request;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        if (TakePlain(request, arguments[i])) continue;
        const bool hasValue = i + 1 < arguments.size();
        if (!TakeValue(request, arguments[i], hasValue ? arguments[i + 1] : std::string("0")))
            throw WrongUsage{"time does not take " + arguments[i]};
        if (!hasValue) throw WrongUsage{"time " + arguments[i] + " takes a number"};
        ++i;
    }
    const int sources = (request.text ? 1 : 0) + (request.fromDay ? 1 : 0) + (request.fromOle ? 1 : 0);
    if (sources != 1) throw WrongUsage{"time takes one TEXT, or --from-day N, or --from-ole X"};
    if (request.shown == Shown::Offset && !request.text) throw WrongUsage{"time --offset takes a TEXT"};
    return request;
}

std::string Result(ITime& time, const Request& request, LONG offset) {
    kv::BString text;
    LONG number = 0;
    double date = 0;
    switch (request.shown) {
        case Shown::Day:
            Check(time.QueryJulianDayNumber(&number));
            return std::to_string(number);
        case Shown::OleDate:
            Check(time.QueryOleTime(&date));
            return NumberText(date);
        case Shown::Xml:
            Check(time.QueryXMLTimeString(nullptr, text.Put()));
            return Utf8(text);
        case Shown::Offset:
            return std::to_string(offset);
        default:
            Check(time.QueryTimeString(static_cast<movaTimeFormat>(request.code), text.Put()));
            return Utf8(text);
    }
}

}  // namespace

int RunTime(Arguments arguments) {
    const Request request = RequestOf(arguments);
    const auto time = CreateAs<ITime2>(u"Time");
    LONG offset = 0;
    if (request.isJulian) Check(time->put_CalendarMode(movaCalendarJulian));
    if (request.text) Check(time->SetFromXMLTimeString(kv::BString(kv::Utf16(*request.text)).Get(), &offset));
    if (request.fromDay) Check(time->SetFromJulianDayNumber(*request.fromDay));
    if (request.fromOle) Check(time->SetFromOleTime(*request.fromOle));
    const auto operations = time.As<ITimeOffsetOperator>();
    if (request.days != 0) Check(operations->AddDays(request.days));
    if (request.nanoseconds != 0) Check(operations->AddNanoseconds(request.nanoseconds));
    Print(Result(*time.Get(), request, offset) + "\n");
    return 0;
}

int RunDuration(Arguments arguments) {
    const auto duration = CreateAs<ITimeDuration>(u"TimeDuration");
    if (!arguments.empty() && arguments[0] == "--ticks") {
        if (arguments.size() != 2) throw WrongUsage{"duration --ticks takes one number"};
        Check(duration->SetTicks(IntegerOf("duration --ticks", arguments[1])));
    } else {
        if (!arguments.empty() && arguments[0] == "--negative") {
            Check(duration->put_Positive(VARIANT_FALSE));
            arguments = arguments.subspan(1);
        }
        if (arguments.size() != 5) throw WrongUsage{"duration takes D H M S NS, or --ticks N"};
        const auto part = [&](std::size_t place) { return LongOf("duration", arguments[place]); };
        Check(duration->put_Days(part(0)));
        Check(duration->put_Hours(part(1)));
        Check(duration->put_Minutes(part(2)));
        Check(duration->put_Seconds(part(3)));
        Check(duration->put_Nanoseconds(part(4)));
    }
    kv::BString text;
    LONGLONG ticks = 0;
    Check(duration->QueryDurationString(text.Put()));
    Check(duration->QueryTicks(&ticks));
    Print(Utf8(text) + "\t" + std::to_string(ticks) + "\n");
    return 0;
}

}  // namespace mova::tool
