// Times read from text, written as text, and by day number, beside a regular expression, a date library and the
// platform.
#include <date/date.h>
#include <movaSystem.h>

#include <boost/regex.hpp>
#include <random>
#include <sstream>

#include "bench/Components.h"
#include "bench/Jobs.h"
#include "kvcore/BString.h"
#include "time/IsoText.h"

namespace bench {
namespace {

constexpr std::size_t count = 2'000;
using Instant = date::sys_time<std::chrono::milliseconds>;

/// The same times for all contestants.
struct Times {
    std::vector<std::wstring> wide;
    std::vector<std::string> narrow;
    std::vector<kv::BString> texts;
    std::vector<Instant> instants;
    std::vector<SYSTEMTIME> system;
    std::vector<LONG> dayNumbers;
    kv::Ptr<ITime2> time;
};

Times MakeTimes() {
    Times times;
    std::mt19937 random(1);
    const auto below = [&](unsigned end) { return static_cast<WORD>(random() % end); };
    for (std::size_t i = 0; i < count; ++i) {
        const SYSTEMTIME at{static_cast<WORD>(1601 + below(800)),
                            static_cast<WORD>(1 + below(12)),
                            0,
                            static_cast<WORD>(1 + below(28)),
                            below(24),
                            below(60),
                            below(60),
                            below(1000)};
        std::ostringstream text;
        const date::sys_days day = date::year(at.wYear) / at.wMonth / at.wDay;
        times.instants.push_back(day + std::chrono::hours(at.wHour) + std::chrono::minutes(at.wMinute) +
                                 std::chrono::seconds(at.wSecond) + std::chrono::milliseconds(at.wMilliseconds));
        text << date::format("%FT%T", times.instants.back()) << (i % 2 ? "+02:00" : "-05:30");
        times.narrow.push_back(text.str());
        times.wide.emplace_back(times.narrow.back().begin(), times.narrow.back().end());
        times.texts.emplace_back(std::u16string(times.wide.back().begin(), times.wide.back().end()));
        times.system.push_back(at);
        // The years that OLE dates have, too.
        times.dayNumbers.push_back(static_cast<LONG>(1'757'585 + random() % 3'615'000));
    }
    times.time = Make<ITime2>(FactoryOf(CLSID_Time));
    return times;
}

/// Does something for each of the times and counts those that went as they should. @param each answers whether it did
template <class Each>
Run ForEach(Each each) {
    return [=] {
        std::uint64_t right = 0;
        for (std::size_t i = 0; i < count; ++i) right += each(i) ? 1 : 0;
        return right;
    };
}

void CompareReading(const Session& session, const Times& times) {
    const boost::wregex pattern(calendar::isoPattern.begin(), calendar::isoPattern.end());
    const auto read = [](const std::string& text, Instant& instant, std::istringstream& stream) {
        stream.clear();
        stream.str(text);
        stream >> date::parse("%FT%T%Ez", instant);
        return !stream.fail();
    };
    for (std::size_t i = 0; i < count; ++i) {
        LONG offset = 0;
        kv::BString text;
        Instant instant;
        std::istringstream stream;
        const bool isRead = SUCCEEDED(times.time->SetFromXMLTimeString(times.texts[i].Get(), &offset)) &&
                            SUCCEEDED(times.time->QueryTimeString(movaTimeISOMillisecondZ, text.Put()));
        Require(isRead && read(times.narrow[i], instant, stream), "A time is not read.");
        const std::string theirs = date::format("%FT%TZ", instant + std::chrono::minutes(offset));
        Require(text.View() == std::u16string(theirs.begin(), theirs.end()), "A time is read as another one.");
    }
    session.Compare("time SetFromXMLTimeString (ns)", count,
                    {{"Time", ForEach([&](std::size_t i) {
                          LONG offset = 0;
                          return times.time->SetFromXMLTimeString(times.texts[i].Get(), &offset) == S_OK;
                      })},
                     {"Boost.Regex, the same pattern matched", ForEach([&](std::size_t i) {
                          boost::wcmatch groups;
                          const std::wstring& text = times.wide[i];
                          return boost::regex_match(text.c_str(), text.c_str() + text.size(), groups, pattern);
                      }),
                      30.0},
                     {"date::parse", ForEach([&, stream = std::make_shared<std::istringstream>()](std::size_t i) {
                          Instant instant;
                          return read(times.narrow[i], instant, *stream);
                      }),
                      10.0}});
}

void CompareWriting(const Session& session, const Times& times) {
    std::vector<kv::Ptr<ITime2>> objects;
    const auto factory = FactoryOf(CLSID_Time);
    for (std::size_t i = 0; i < count; ++i) {
        objects.push_back(Make<ITime2>(factory));
        Require(SUCCEEDED(objects[i]->SetFromXMLTimeString(times.texts[i].Get(), nullptr)), "A time is not read.");
        kv::BString text;
        objects[i]->QueryTimeString(movaTimeISOMillisecondZ, text.Put());
        const std::string theirs = date::format("%FT%TZ", times.instants[i]);
        Require(text.View() == std::u16string(theirs.begin(), theirs.end()), "A time is written as another one.");
    }
    session.Compare("time QueryTimeString (ns)", count,
                    {{"Time", ForEach([&](std::size_t i) {
                          kv::BString text;
                          return objects[i]->QueryTimeString(movaTimeISOMillisecondZ, text.Put()) == S_OK;
                      })},
                     {"date::format",
                      ForEach([&](std::size_t i) { return !date::format("%FT%TZ", times.instants[i]).empty(); }), 15.0},
                     {"GetDateFormatW + GetTimeFormatW", ForEach([&](std::size_t i) {
                          wchar_t text[64];
                          return GetDateFormatW(LOCALE_USER_DEFAULT, 0, &times.system[i], nullptr, text, 64) != 0 &&
                                 GetTimeFormatW(LOCALE_USER_DEFAULT, 0, &times.system[i], nullptr, text, 64) != 0;
                      }),
                      4.0}});
}

void CompareDays(const Session& session, const Times& times) {
    constexpr LONG firstOleDay = 2'415'019;
    session.Compare("time day number set and queried (ns)", count,
                    {{"Time", ForEach([&](std::size_t i) {
                          LONG number = 0;
                          times.time->SetFromJulianDayNumber(times.dayNumbers[i]);
                          times.time->QueryJulianDayNumber(&number);
                          return number == times.dayNumbers[i];
                      })},
                     {"VariantTimeToSystemTime + SystemTimeToVariantTime", ForEach([&](std::size_t i) {
                          SYSTEMTIME at{};
                          double date = 0;
                          const double day = times.dayNumbers[i] - firstOleDay;
                          VariantTimeToSystemTime(day, &at);
                          SystemTimeToVariantTime(&at, &date);
                          return date == day;
                      }),
                      5.0}});
}

}  // namespace

void RunTime(const Session& session) {
    const Times times = MakeTimes();
    CompareReading(session, times);
    CompareWriting(session, times);
    CompareDays(session, times);
}

}  // namespace bench
