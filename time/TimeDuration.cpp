#include "time/TimeDuration.h"

#include <array>

#include "kvcore/DateTime.h"

namespace mova {
namespace {

using calendar::Duration;

constexpr std::uint16_t recordVersion = 1;
constexpr std::u16string_view positiveElement = u"Positive";

constexpr auto tooLong = u"The duration would have more days than 32 bits hold.";
constexpr auto badNanoseconds = u"The nanoseconds must be 0 to 999,999,999.";

/// The parts in the order of streams and documents.
struct Part {
    std::u16string_view element;
    std::int32_t Duration::*number;
    HRESULT (STDMETHODCALLTYPE ITimeDuration::*get)(LONG*);
};
constexpr std::array<Part, 5> parts = {{
    {u"Days", &Duration::days, &ITimeDuration::get_Days},
    {u"Hours", &Duration::hours, &ITimeDuration::get_Hours},
    {u"Minutes", &Duration::minutes, &ITimeDuration::get_Minutes},
    {u"Seconds", &Duration::seconds, &ITimeDuration::get_Seconds},
    {u"Nanoseconds", &Duration::nanoseconds, &ITimeDuration::get_Nanoseconds},
}};

bool AreNanoseconds(LONG number) noexcept {
    return number >= 0 && number < kv::nanosecondsPerSecond;
}

}  // namespace

HRESULT ReadLength(ITimeDuration* duration, calendar::Length& length) noexcept {
    if (!duration) return Refuse(E_POINTER);
    Duration read;
    VARIANT_BOOL isPositive = VARIANT_TRUE;
    if (HRESULT status = duration->get_Positive(&isPositive); FAILED(status)) return status;
    read.isPositive = isPositive != VARIANT_FALSE;
    for (const Part& part : parts) {
        LONG number = 0;
        if (HRESULT status = (duration->*part.get)(&number); FAILED(status)) return status;
        read.*part.number = number;
    }
    length = calendar::LengthOf(read);
    return S_OK;
}

kv::Ptr<TimeDuration> TimeDuration::Of(const Duration& duration) {
    auto made = kv::Ptr<TimeDuration>::Attach(Make());
    made->parts_ = duration;
    return made;
}

STDMETHODIMP TimeDuration::put_Positive(VARIANT_BOOL flag) noexcept {
    parts_.isPositive = flag != VARIANT_FALSE;
    SetDirty();
    return S_OK;
}

STDMETHODIMP TimeDuration::get_Positive(VARIANT_BOOL* flag) noexcept {
    if (!flag) return Refuse(E_POINTER);
    *flag = parts_.isPositive ? VARIANT_TRUE : VARIANT_FALSE;
    return S_OK;
}

STDMETHODIMP TimeDuration::put_Days(LONG number) noexcept {
    return Put(&Duration::days, number);
}
STDMETHODIMP TimeDuration::get_Days(LONG* number) noexcept {
    return Get(&Duration::days, number);
}
STDMETHODIMP TimeDuration::put_Hours(LONG number) noexcept {
    return Put(&Duration::hours, number);
}
STDMETHODIMP TimeDuration::get_Hours(LONG* number) noexcept {
    return Get(&Duration::hours, number);
}
STDMETHODIMP TimeDuration::put_Minutes(LONG number) noexcept {
    return Put(&Duration::minutes, number);
}
STDMETHODIMP TimeDuration::get_Minutes(LONG* number) noexcept {
    return Get(&Duration::minutes, number);
}
STDMETHODIMP TimeDuration::put_Seconds(LONG number) noexcept {
    return Put(&Duration::seconds, number);
}
STDMETHODIMP TimeDuration::get_Seconds(LONG* number) noexcept {
    return Get(&Duration::seconds, number);
}
STDMETHODIMP TimeDuration::put_Nanoseconds(LONG number) noexcept {
    if (!AreNanoseconds(number)) return Refuse<ITimeDuration>(E_INVALIDARG, badNanoseconds);
    return Put(&Duration::nanoseconds, number);
}
STDMETHODIMP TimeDuration::get_Nanoseconds(LONG* number) noexcept {
    return Get(&Duration::nanoseconds, number);
}

STDMETHODIMP TimeDuration::QueryTicks(LONGLONG* ticks) noexcept {
    if (!ticks) return Refuse(E_POINTER);
    *ticks = 0;
    const auto counted = calendar::TicksOf(parts_);
    if (!counted) return Refuse<ITimeDuration>(E_FAIL, u"The duration has more ticks than 64 bits hold.");
    *ticks = *counted;
    return S_OK;
}

STDMETHODIMP TimeDuration::SetTicks(LONGLONG ticks) noexcept {
    parts_ = calendar::DurationOfTicks(ticks);
    SetDirty();
    return S_OK;
}

STDMETHODIMP TimeDuration::Reset() noexcept {
    parts_ = {};
    SetDirty();
    return S_OK;
}

STDMETHODIMP TimeDuration::QueryDurationString(BSTR* text) noexcept try {
    if (!text) return Refuse(E_POINTER);
    *text = nullptr;
    std::array<char16_t, calendar::durationTextSize> out;
    *text = kv::BString({out.data(), calendar::FormatDuration(out.data(), parts_)}).Detach();
    return S_OK;
} catch (...) {
    return CaughtStatus();
}

STDMETHODIMP TimeDuration::SetFromDurationString(BSTR text) noexcept {
    const auto read = calendar::ReadDuration(kv::View(text));
    if (!read)
        return Refuse<ITimeDuration>(E_INVALIDARG,
                                     u"The text is not an ISO 8601 duration of days, hours, minutes and seconds.");
    parts_ = *read;
    SetDirty();
    return S_OK;
}

STDMETHODIMP TimeDuration::Normalize() noexcept {
    return Take(calendar::LengthOf(parts_));
}

STDMETHODIMP TimeDuration::Negate() noexcept {
    const bool isNothing = calendar::LengthOf(parts_) == calendar::Length();
    parts_.isPositive = isNothing || !parts_.isPositive;
    SetDirty();
    return S_OK;
}

STDMETHODIMP TimeDuration::Add(ITimeDuration* other) noexcept {
    calendar::Length length;
    if (HRESULT status = ReadLength(other, length); FAILED(status)) return status;
    return Take(calendar::Sum(calendar::LengthOf(parts_), length));
}

STDMETHODIMP TimeDuration::Subtract(ITimeDuration* other) noexcept {
    calendar::Length length;
    if (HRESULT status = ReadLength(other, length); FAILED(status)) return status;
    return Take(calendar::Sum(calendar::LengthOf(parts_), calendar::Opposite(length)));
}

STDMETHODIMP TimeDuration::Multiply(LONG factor) noexcept {
    return Take(calendar::Multiple(calendar::LengthOf(parts_), factor));
}

STDMETHODIMP TimeDuration::Compare(ITimeDuration* other, LONG* order) noexcept {
    if (!order) return Refuse(E_POINTER);
    *order = 0;
    calendar::Length theirs;
    if (HRESULT status = ReadLength(other, theirs); FAILED(status)) return status;
    const calendar::Length ours = calendar::LengthOf(parts_);
    *order = ours < theirs ? -1 : theirs < ours ? 1 : 0;
    return S_OK;
}

STDMETHODIMP TimeDuration::Clone(IUnknown** copy) noexcept try {
    if (!copy) return Refuse(E_POINTER);
    *copy = nullptr;
    *copy = Of(parts_).As<IUnknown>().Detach();
    return S_OK;
} catch (...) {
    return CaughtStatus();
}

void TimeDuration::WriteFields(kv::StreamWriter& out) const noexcept {
    out << recordVersion << static_cast<std::int16_t>(parts_.isPositive ? VARIANT_TRUE : VARIANT_FALSE);
    for (const Part& part : parts) out << parts_.*part.number;
}

HRESULT TimeDuration::ReadFields(kv::StreamReader& in) noexcept {
    std::uint16_t version = 0;
    if (in.Read(version) && version > recordVersion) return RefuseNewer();
    std::int16_t isPositive = VARIANT_FALSE;
    Duration read;
    in >> isPositive;
    for (const Part& part : parts) in >> read.*part.number;
    if (!AreNanoseconds(read.nanoseconds)) in.Fail();
    if (in.Failed()) return in.Status();
    read.isPositive = isPositive != VARIANT_FALSE;
    parts_ = read;
    return S_OK;
}

HRESULT TimeDuration::WriteElements(XmlFieldWriter& out) const {
    out.Add(&IXMLSerializeData::AddBoolean, positiveElement, parts_.isPositive ? VARIANT_TRUE : VARIANT_FALSE);
    for (const Part& part : parts) out.Add(&IXMLSerializeData::AddLong, part.element, parts_.*part.number);
    return out.Status();
}

HRESULT TimeDuration::ReadElements(XmlFieldReader& in) {
    Duration read;
    VARIANT_BOOL isPositive = VARIANT_TRUE;
    in.Get(&IXMLSerializeData::GetBoolean, positiveElement, &isPositive);
    read.isPositive = isPositive != VARIANT_FALSE;
    for (const Part& part : parts) {
        LONG number = 0;
        in.Get(&IXMLSerializeData::GetLong, part.element, &number);
        read.*part.number = number;
    }
    if (FAILED(in.Status())) return in.Status();
    if (!AreNanoseconds(read.nanoseconds)) return Refuse<IXMLSerialize>(E_INVALIDARG, badNanoseconds);
    parts_ = read;
    return S_OK;
}

HRESULT TimeDuration::Put(std::int32_t Duration::*part, LONG number) noexcept {
    parts_.*part = number;
    SetDirty();
    return S_OK;
}

HRESULT TimeDuration::Get(std::int32_t Duration::*part, LONG* number) const noexcept {
    if (!number) return Refuse(E_POINTER);
    *number = parts_.*part;
    return S_OK;
}

HRESULT TimeDuration::Take(const std::optional<calendar::Length>& length) noexcept {
    const auto shortest = length ? calendar::DurationOf(*length) : std::nullopt;
    if (!shortest) return Refuse<ITimeDuration>(E_INVALIDARG, tooLong);
    parts_ = *shortest;
    SetDirty();
    return S_OK;
}

}  // namespace mova
