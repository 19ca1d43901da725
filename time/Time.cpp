#include "time/Time.h"

#include <array>
#include <bit>

#include "kvcore/DatetimeHelper.h"
#include "kvcore/TrelCore.h"
#include "time/IsoText.h"
#include "time/TimeRefusals.h"
#include "time/TimeText.h"

namespace mova {
namespace {

using kv::DateTime;

static_assert(sizeof(WKSDateTime) == sizeof(DateTime));

constexpr std::uint16_t recordVersion = 1;
/// What a record holds.
enum class RecordKind : std::uint32_t { OleDate = 1, Fields = 2 };

constexpr std::u16string_view modeElement = u"CalendarMode";
constexpr std::u16string_view oleDateElement = u"OleDate";
constexpr std::u16string_view nanosecondElement = u"Nanosecond";

constexpr auto noTime = u"There is no such date or time of day.";
constexpr auto noOleDate = u"The OLE date is outside the years 100 to 9999.";

/// The fields of 16 bits in the order of documents.
struct Field {
    std::u16string_view element;
    std::int16_t DateTime::*number;
};
constexpr std::array<Field, 6> shortFields = {{
    {u"Year", &DateTime::year},
    {u"Month", &DateTime::month},
    {u"Day", &DateTime::day},
    {u"Hour", &DateTime::hour},
    {u"Minute", &DateTime::minute},
    {u"Second", &DateTime::second},
}};

constinit TrelCore::LastingAnswer usesOlderReader(TrelCore::WantsOlderTimeReader);

}  // namespace

STDMETHODIMP Time::QueryJulianDayNumber(LONG* dayNumber) noexcept {
    if (!dayNumber) return Refuse(E_POINTER);
    *dayNumber = -1;
    if (HRESULT status = BringUpToDate(); FAILED(status)) return status;
    const auto number = calendar::DayNumberOf(state_.fields, state_.mode);
    if (!number) return Refuse<ITime>(E_FAIL, noDayNumber);
    *dayNumber = *number;
    return S_OK;
}

STDMETHODIMP Time::SetFromJulianDayNumber(LONG dayNumber) noexcept {
    if (HRESULT status = BringUpToDate(); FAILED(status)) return status;
    if (!calendar::SetDate(state_.fields, dayNumber, state_.mode)) return Refuse<ITime>(E_INVALIDARG, outOfRange);
    SetDirty();
    return S_OK;
}

STDMETHODIMP Time::QueryNanosecondsSinceMidnight(LONGLONG* nanoseconds) noexcept {
    if (!nanoseconds) return Refuse(E_POINTER);
    *nanoseconds = 0;
    if (HRESULT status = BringUpToDate(); FAILED(status)) return status;
    *nanoseconds = kv::TimeOfDay(state_.fields);
    return S_OK;
}

STDMETHODIMP Time::SetNanosecondsSinceMidnight(LONGLONG nanoseconds) noexcept {
    if (nanoseconds < 0 || nanoseconds >= kv::nanosecondsPerDay)
        return Refuse<ITime>(E_INVALIDARG, u"A time of day must be 0 to 86,399,999,999,999 nanoseconds.");
    if (HRESULT status = BringUpToDate(); FAILED(status)) return status;
    kv::SetTimeOfDay(state_.fields, nanoseconds);
    SetDirty();
    return S_OK;
}

STDMETHODIMP Time::QueryTimeString(movaTimeFormat format, BSTR* text) noexcept try {
    if (!text) return Refuse(E_POINTER);
    *text = nullptr;
    if (HRESULT status = BringUpToDate(); FAILED(status)) return status;
    std::array<char16_t, calendar::timeTextSize> out;
    const char16_t* const end = calendar::FormatTime(out.data(), state_.fields, static_cast<std::uint32_t>(format));
    if (!end) return Refuse<ITime>(E_FAIL, u"There is no such format of times.");
    *text = kv::BString({out.data(), end}).Detach();
    return S_OK;
} catch (...) {
    return CaughtStatus();
}

STDMETHODIMP Time::QueryXMLTimeString(ITimeReference* reference, BSTR* text) noexcept try {
    if (!text) return Refuse(E_POINTER);
    *text = nullptr;
    if (HRESULT status = BringUpToDate(); FAILED(status)) return status;
    const DateTime fields = state_.fields;  // the reference may call back and change them
    LONG offset = 0;
    if (reference) {
        if (HRESULT status = reference->QueryUTCOffset(this, &offset); FAILED(status)) return status;
        if (offset < -calendar::greatestOffset || offset > calendar::greatestOffset)
            return Refuse<ITime>(E_FAIL, u"The time reference answers an offset of a day or more.");
    }
    std::array<char16_t, calendar::timeTextSize> out;
    *text = kv::BString({out.data(), calendar::FormatXmlTime(out.data(), fields, offset)}).Detach();
    return S_OK;
} catch (...) {
    return CaughtStatus();
}

STDMETHODIMP Time::SetFromXMLTimeString(BSTR text, LONG* offset) noexcept try {
    if (offset) *offset = 0;
    calendar::IsoReader& read = usesOlderReader.Get() ? calendar::ScanIsoText : calendar::MatchIsoText;
    const auto parts = read(kv::View(text));
    if (!parts) return Refuse<ITime>(E_INVALIDARG, u"The text is not an ISO 8601 date and time.");
    const auto fields = calendar::TimeOf(*parts);
    if (!fields) return Refuse<ITime>(E_INVALIDARG, noTime);
    Take(*fields);
    if (offset) *offset = parts->offset;
    return S_OK;
} catch (...) {
    return CaughtStatus();
}

STDMETHODIMP Time::QueryOleTime(DATE* date) noexcept {
    if (!date) return Refuse(E_POINTER);
    *date = 0;
    if (HRESULT status = BringUpToDate(); FAILED(status)) return status;
    const auto converted = DatetimeHelper::ToOADate(state_.fields);
    if (!converted) return Refuse<ITime>(E_FAIL, u"The date is none that an OLE date can be.");
    *date = *converted;
    return S_OK;
}

STDMETHODIMP Time::SetFromOleTime(DATE date) noexcept {
    state_.oleDate = date;
    state_.isPending = true;
    SetDirty();
    return S_OK;
}

STDMETHODIMP Time::put_CalendarMode(movaCalendarMode mode) noexcept {
    state_.mode = static_cast<calendar::Mode>(mode);
    SetDirty();
    return S_OK;
}

STDMETHODIMP Time::get_CalendarMode(movaCalendarMode* mode) noexcept {
    if (!mode) return Refuse(E_POINTER);
    *mode = static_cast<movaCalendarMode>(state_.mode);
    return S_OK;
}

STDMETHODIMP Time::put_Year(SHORT number) noexcept {
    return PutField(&DateTime::year, number);
}
STDMETHODIMP Time::get_Year(SHORT* number) noexcept {
    return GetField(&DateTime::year, number);
}
STDMETHODIMP Time::put_Month(SHORT number) noexcept {
    return PutField(&DateTime::month, number);
}
STDMETHODIMP Time::get_Month(SHORT* number) noexcept {
    return GetField(&DateTime::month, number);
}
STDMETHODIMP Time::put_Day(SHORT number) noexcept {
    return PutField(&DateTime::day, number);
}
STDMETHODIMP Time::get_Day(SHORT* number) noexcept {
    return GetField(&DateTime::day, number);
}
STDMETHODIMP Time::put_Hour(SHORT number) noexcept {
    return PutField(&DateTime::hour, number);
}
STDMETHODIMP Time::get_Hour(SHORT* number) noexcept {
    return GetField(&DateTime::hour, number);
}
STDMETHODIMP Time::put_Minute(SHORT number) noexcept {
    return PutField(&DateTime::minute, number);
}
STDMETHODIMP Time::get_Minute(SHORT* number) noexcept {
    return GetField(&DateTime::minute, number);
}
STDMETHODIMP Time::put_Second(SHORT number) noexcept {
    return PutField(&DateTime::second, number);
}
STDMETHODIMP Time::get_Second(SHORT* number) noexcept {
    return GetField(&DateTime::second, number);
}

STDMETHODIMP Time::put_Nanosecond(LONG number) noexcept {
    if (number < 0 || number >= kv::nanosecondsPerSecond) return Refuse<ITime>(E_INVALIDARG, noTime);
    if (HRESULT status = BringUpToDate(); FAILED(status)) return status;
    state_.fields.nanosecond = number;
    SetDirty();
    return S_OK;
}

STDMETHODIMP Time::get_Nanosecond(LONG* number) noexcept {
    if (!number) return Refuse(E_POINTER);
    *number = 0;
    if (HRESULT status = BringUpToDate(); FAILED(status)) return status;
    *number = state_.fields.nanosecond;
    return S_OK;
}

STDMETHODIMP Time::SetDateTime(const WKSDateTime* fields) noexcept {
    if (!fields) return Refuse(E_POINTER);
    const auto put = std::bit_cast<DateTime>(*fields);
    if (!calendar::IsValid(put)) return Refuse<ITime>(E_INVALIDARG, noTime);
    Take(put);
    return S_OK;
}

STDMETHODIMP Time::QueryDateTime(WKSDateTime* fields) noexcept {
    if (!fields) return Refuse(E_POINTER);
    *fields = {};
    if (HRESULT status = BringUpToDate(); FAILED(status)) return status;
    *fields = std::bit_cast<WKSDateTime>(state_.fields);
    return S_OK;
}

STDMETHODIMP Time::QuerySavedSize(LONG* size) noexcept {
    if (!size) return Refuse(E_POINTER);
    *size = sizeMax;
    return S_OK;
}

STDMETHODIMP Time::Clone(IUnknown** copy) noexcept try {
    if (!copy) return Refuse(E_POINTER);
    *copy = nullptr;
    const auto clone = kv::Ptr<Time>::Attach(Make());
    clone->state_ = state_;
    *copy = clone.As<IUnknown>().Detach();
    return S_OK;
} catch (...) {
    return CaughtStatus();
}

void Time::WriteFields(kv::StreamWriter& out) const noexcept {
    out << recordVersion;
    if (state_.isPending) {
        out << RecordKind::OleDate << state_.oleDate;
    } else {
        out << RecordKind::Fields << state_.fields;
    }
}

HRESULT Time::ReadFields(kv::StreamReader& in) noexcept {
    std::uint16_t version = 0;
    State read;
    bool isNewer = false;
    if (in.Read(version)) isNewer = version > recordVersion;
    if (!isNewer) {
        RecordKind kind{};
        in >> kind;
        read.isPending = kind == RecordKind::OleDate;
        if (read.isPending) {
            in >> read.oleDate;
        } else if (kind == RecordKind::Fields) {
            in >> read.fields;
        } else {
            in.Fail();
        }
        if (!calendar::IsPossible(read.fields)) in.Fail();
    }
    const bool isRead = !isNewer && !in.Failed();
    if (!isRead) read = {};
    read.mode = state_.mode;  // of which streams say nothing
    state_ = read;
    if (isRead) return S_OK;
    SetDirty();
    return isNewer ? RefuseNewer() : E_FAIL;
}

HRESULT Time::WriteElements(XmlFieldWriter& out) const {
    out.Add(&IXMLSerializeData::AddLong, modeElement, static_cast<LONG>(state_.mode));
    if (state_.isPending) {
        out.Add(&IXMLSerializeData::AddDouble, oleDateElement, state_.oleDate);
        return out.Status();
    }
    for (const Field& field : shortFields)
        out.Add(&IXMLSerializeData::AddLong, field.element, LONG{state_.fields.*field.number});
    out.Add(&IXMLSerializeData::AddLong, nanosecondElement, state_.fields.nanosecond);
    return out.Status();
}

HRESULT Time::ReadElements(XmlFieldReader& in) {
    State read;
    LONG number = 0;
    if (in.Get(&IXMLSerializeData::GetLong, modeElement, &number)) read.mode = static_cast<calendar::Mode>(number);
    read.isPending = in.Get(&IXMLSerializeData::GetDouble, oleDateElement, &read.oleDate);
    bool isTime = true;
    for (const Field& field : shortFields) {
        if (!in.Get(&IXMLSerializeData::GetLong, field.element, &number)) continue;
        const auto narrow = static_cast<std::int16_t>(number);
        isTime = isTime && narrow == number;
        read.fields.*field.number = narrow;
    }
    if (in.Get(&IXMLSerializeData::GetLong, nanosecondElement, &number)) read.fields.nanosecond = number;
    if (FAILED(in.Status())) return in.Status();
    if (!isTime || !calendar::IsPossible(read.fields)) return Refuse<IXMLSerialize>(E_INVALIDARG, noTime);
    state_ = read;
    return S_OK;
}

HRESULT Time::ConvertOleDate() noexcept {
    const auto fields = DatetimeHelper::FromOADate(state_.oleDate);
    if (!fields) return Refuse<ITime>(E_FAIL, noOleDate);
    Take(*fields);
    return S_OK;
}

void Time::Take(const DateTime& fields) noexcept {
    state_.fields = fields;
    state_.isPending = false;
    SetDirty();
}

HRESULT Time::PutField(std::int16_t DateTime::*field, SHORT number) noexcept {
    if (HRESULT status = BringUpToDate(); FAILED(status)) return status;
    DateTime changed = state_.fields;
    changed.*field = number;
    // A date that came from a day number can be none that could be put; that does not keep the time from being put.
    const bool keepsDate =
        changed.year == state_.fields.year && changed.month == state_.fields.month && changed.day == state_.fields.day;
    if (!kv::IsTimeOfDay(changed) || (!keepsDate && !calendar::IsValid(changed)))
        return Refuse<ITime>(E_INVALIDARG, noTime);
    Take(changed);
    return S_OK;
}

HRESULT Time::GetField(std::int16_t DateTime::*field, SHORT* number) noexcept {
    if (!number) return Refuse(E_POINTER);
    *number = 0;
    if (HRESULT status = BringUpToDate(); FAILED(status)) return status;
    *number = state_.fields.*field;
    return S_OK;
}

}  // namespace mova
