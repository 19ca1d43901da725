// Adding to times, and comparing them.
#include <bit>

#include "time/Time.h"
#include "time/TimeDuration.h"
#include "time/TimeRefusals.h"

namespace mova {
namespace {

template <class Place>
LONG OrderOf(const Place& left, const Place& right) noexcept {
    if (left < right) return -1;
    return right < left ? 1 : 0;
}

}  // namespace

STDMETHODIMP Time::AddYears(LONG amount) noexcept {
    if (HRESULT status = BringUpToDate(); FAILED(status)) return status;
    return Answer(calendar::AddMonths(state_.fields, state_.mode, std::int64_t{amount} * 12));
}

STDMETHODIMP Time::AddMonths(LONG amount) noexcept {
    if (HRESULT status = BringUpToDate(); FAILED(status)) return status;
    return Answer(calendar::AddMonths(state_.fields, state_.mode, amount));
}

STDMETHODIMP Time::AddWeeks(LONGLONG amount) noexcept {
    if (HRESULT status = BringUpToDate(); FAILED(status)) return status;
    return Answer(calendar::AddWeeks(state_.fields, state_.mode, amount));
}

STDMETHODIMP Time::AddDays(LONGLONG amount) noexcept {
    return AddUnits(amount, kv::nanosecondsPerDay);
}
STDMETHODIMP Time::AddHours(LONGLONG amount) noexcept {
    return AddUnits(amount, 3'600 * std::int64_t{kv::nanosecondsPerSecond});
}
STDMETHODIMP Time::AddMinutes(LONGLONG amount) noexcept {
    return AddUnits(amount, 60 * std::int64_t{kv::nanosecondsPerSecond});
}
STDMETHODIMP Time::AddSeconds(LONGLONG amount) noexcept {
    return AddUnits(amount, kv::nanosecondsPerSecond);
}
STDMETHODIMP Time::AddMilliseconds(LONGLONG amount) noexcept {
    return AddUnits(amount, kv::nanosecondsPerMillisecond);
}
STDMETHODIMP Time::AddNanoseconds(LONGLONG amount) noexcept {
    return AddUnits(amount, 1);
}

STDMETHODIMP Time::AddDuration(ITimeDuration* duration) noexcept {
    calendar::Length length;
    if (HRESULT status = ReadLength(duration, length); FAILED(status)) return status;
    return AddLength(length);
}

STDMETHODIMP Time::SubtractDuration(ITimeDuration* duration) noexcept {
    calendar::Length length;
    if (HRESULT status = ReadLength(duration, length); FAILED(status)) return status;
    return AddLength(calendar::Opposite(length));
}

STDMETHODIMP Time::QueryDifference(ITime* other, ITimeDuration** duration) noexcept try {
    if (!duration) return Refuse(E_POINTER);
    *duration = nullptr;
    if (!other) return Refuse(E_POINTER);
    calendar::Length ours;
    calendar::Length theirs;
    if (HRESULT status = ReadMoment(*this, ours); FAILED(status)) return status;
    if (HRESULT status = ReadMoment(*other, theirs); FAILED(status)) return status;
    const auto difference = calendar::DurationOf(calendar::Sum(ours, calendar::Opposite(theirs)));
    if (!difference)
        return Refuse<ITimeOffsetOperator>(E_FAIL, u"The times are further apart than a duration is long.");
    *duration = TimeDuration::Of(*difference).As<ITimeDuration>().Detach();
    return S_OK;
} catch (...) {
    return CaughtStatus();
}

STDMETHODIMP Time::Compare(ITime* other, LONG* order) noexcept {
    if (!order) return Refuse(E_POINTER);
    *order = 0;
    if (!other) return Refuse(E_POINTER);
    movaCalendarMode mode = movaCalendarGregorian;
    if (HRESULT status = other->get_CalendarMode(&mode); FAILED(status)) return status;
    if (static_cast<calendar::Mode>(mode) == state_.mode) {
        WKSDateTime theirs{};
        if (HRESULT status = other->QueryDateTime(&theirs); FAILED(status)) return status;
        if (HRESULT status = BringUpToDate(); FAILED(status)) return status;
        *order = OrderOf(state_.fields, std::bit_cast<kv::DateTime>(theirs));
        return S_OK;
    }
    calendar::Length ours;
    calendar::Length theirs;
    if (HRESULT status = ReadMoment(*this, ours); FAILED(status)) return status;
    if (HRESULT status = ReadMoment(*other, theirs); FAILED(status)) return status;
    *order = OrderOf(ours, theirs);
    return S_OK;
}

HRESULT Time::ReadMoment(ITime& time, calendar::Length& moment) noexcept {
    movaCalendarMode mode = movaCalendarGregorian;
    if (HRESULT status = time.get_CalendarMode(&mode); FAILED(status)) return status;
    if (!calendar::IsMode(static_cast<calendar::Mode>(mode))) return Refuse<ITimeOffsetOperator>(E_FAIL, noDayNumber);
    LONG day = 0;
    LONGLONG nanoseconds = 0;
    if (HRESULT status = time.QueryJulianDayNumber(&day); FAILED(status)) return status;
    if (HRESULT status = time.QueryNanosecondsSinceMidnight(&nanoseconds); FAILED(status)) return status;
    moment = calendar::LengthFrom(day * kv::secondsPerDay, nanoseconds);
    return S_OK;
}

HRESULT Time::Answer(calendar::Outcome outcome) noexcept {
    if (outcome == calendar::Outcome::NoDayNumber) return Refuse<ITimeOffsetOperator>(E_FAIL, noDayNumber);
    if (outcome == calendar::Outcome::OutOfRange) return Refuse<ITimeOffsetOperator>(E_INVALIDARG, outOfRange);
    SetDirty();
    return S_OK;
}

HRESULT Time::AddUnits(LONGLONG amount, std::int64_t unit) noexcept {
    if (HRESULT status = BringUpToDate(); FAILED(status)) return status;
    return Answer(calendar::AddUnits(state_.fields, state_.mode, amount, unit));
}

HRESULT Time::AddLength(const calendar::Length& length) noexcept {
    if (HRESULT status = BringUpToDate(); FAILED(status)) return status;
    return Answer(calendar::AddLength(state_.fields, state_.mode, length.seconds, length.nanoseconds));
}

}  // namespace mova
