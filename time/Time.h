#pragma once

#include <movaSystem.h>

#include "time/Calendar.h"
#include "time/Duration.h"
#include "time/TimePicture.h"
#include "xml/XmlPersistentComponent.h"

namespace mova {

/// A date and time of day; what it computes is in Calendar.h, its texts in TimeText.h, IsoText.h and TimePicture.h.
class Time final : public XmlVersionedComponent<Time, ::Time, Generations<ITime2, ITime>, ITimeOffsetOperator, IClone> {
 public:
    using XmlVersionedComponent::XmlVersionedComponent;

    // ITime
    STDMETHODIMP QueryJulianDayNumber(LONG* dayNumber) noexcept override;
    STDMETHODIMP SetFromJulianDayNumber(LONG dayNumber) noexcept override;
    STDMETHODIMP QueryNanosecondsSinceMidnight(LONGLONG* nanoseconds) noexcept override;
    STDMETHODIMP SetNanosecondsSinceMidnight(LONGLONG nanoseconds) noexcept override;
    STDMETHODIMP QueryTimeString(movaTimeFormat format, BSTR* text) noexcept override;
    STDMETHODIMP QueryXMLTimeString(ITimeReference* reference, BSTR* text) noexcept override;
    STDMETHODIMP SetFromXMLTimeString(BSTR text, LONG* offset) noexcept override;
    STDMETHODIMP QueryOleTime(DATE* date) noexcept override;
    STDMETHODIMP SetFromOleTime(DATE date) noexcept override;
    STDMETHODIMP put_CalendarMode(movaCalendarMode mode) noexcept override;
    STDMETHODIMP get_CalendarMode(movaCalendarMode* mode) noexcept override;
    STDMETHODIMP put_Year(SHORT number) noexcept override;
    STDMETHODIMP get_Year(SHORT* number) noexcept override;
    STDMETHODIMP put_Month(SHORT number) noexcept override;
    STDMETHODIMP get_Month(SHORT* number) noexcept override;
    STDMETHODIMP put_Day(SHORT number) noexcept override;
    STDMETHODIMP get_Day(SHORT* number) noexcept override;
    STDMETHODIMP put_Hour(SHORT number) noexcept override;
    STDMETHODIMP get_Hour(SHORT* number) noexcept override;
    STDMETHODIMP put_Minute(SHORT number) noexcept override;
    STDMETHODIMP get_Minute(SHORT* number) noexcept override;
    STDMETHODIMP put_Second(SHORT number) noexcept override;
    STDMETHODIMP get_Second(SHORT* number) noexcept override;
    STDMETHODIMP put_Nanosecond(LONG number) noexcept override;
    STDMETHODIMP get_Nanosecond(LONG* number) noexcept override;
    STDMETHODIMP SetDateTime(const WKSDateTime* fields) noexcept override;
    STDMETHODIMP QueryDateTime(WKSDateTime* fields) noexcept override;
    STDMETHODIMP QuerySavedSize(LONG* size) noexcept override;
    // ITime2
    STDMETHODIMP QueryLocaleTimeString(LONG localeId, BSTR picture, BSTR* text) noexcept override;
    STDMETHODIMP SetFromLocaleTimeString(LONG localeId, BSTR picture, BSTR text) noexcept override;
    STDMETHODIMP FindMonthName(LONG localeId, VARIANT_BOOL abbreviated, BSTR text, LONG* foundMonth,
                               LONG* position) noexcept override;
    STDMETHODIMP FindDayName(LONG localeId, VARIANT_BOOL abbreviated, BSTR text, LONG* weekday,
                             LONG* position) noexcept override;
    STDMETHODIMP get_DayOfWeek(LONG* weekday) noexcept override;
    // ITimeOffsetOperator
    STDMETHODIMP AddYears(LONG amount) noexcept override;
    STDMETHODIMP AddMonths(LONG amount) noexcept override;
    STDMETHODIMP AddWeeks(LONGLONG amount) noexcept override;
    STDMETHODIMP AddDays(LONGLONG amount) noexcept override;
    STDMETHODIMP AddHours(LONGLONG amount) noexcept override;
    STDMETHODIMP AddMinutes(LONGLONG amount) noexcept override;
    STDMETHODIMP AddSeconds(LONGLONG amount) noexcept override;
    STDMETHODIMP AddMilliseconds(LONGLONG amount) noexcept override;
    STDMETHODIMP AddNanoseconds(LONGLONG amount) noexcept override;
    STDMETHODIMP AddDuration(ITimeDuration* duration) noexcept override;
    STDMETHODIMP SubtractDuration(ITimeDuration* duration) noexcept override;
    STDMETHODIMP QueryDifference(ITime* other, ITimeDuration** duration) noexcept override;
    STDMETHODIMP Compare(ITime* other, LONG* order) noexcept override;
    // IClone
    STDMETHODIMP Clone(IUnknown** copy) noexcept override;

    // PersistentComponent's
    static constexpr ULONG sizeMax = 22;
    void WriteFields(kv::StreamWriter& out) const noexcept;
    HRESULT ReadFields(kv::StreamReader& in) noexcept;
    // XmlVersionedComponent's
    static constexpr std::u16string_view typeName = u"Time";
    static constexpr auto firstRelease = xml::SchemaRelease::V9_3;
    HRESULT WriteElements(XmlFieldWriter& out) const;
    HRESULT ReadElements(XmlFieldReader& in);

 private:
    /// All that a time is. Where it is pending, the fields are yet to be made of the OLE date; else that means nothing.
    struct State {
        calendar::Mode mode = calendar::Mode::Gregorian;
        kv::DateTime fields;
        double oleDate = 0;
        bool isPending = false;
    };

    /// Makes the fields what they have to be. @return E_FAIL where the OLE date is none; it then stays pending
    HRESULT BringUpToDate() noexcept { return state_.isPending ? ConvertOleDate() : S_OK; }
    HRESULT ConvertOleDate() noexcept;
    void Take(const kv::DateTime& fields) noexcept;
    /// What an operation answers that adds to the fields.
    HRESULT Answer(calendar::Outcome outcome) noexcept;
    HRESULT PutField(std::int16_t kv::DateTime::*field, SHORT number) noexcept;
    HRESULT GetField(std::int16_t kv::DateTime::*field, SHORT* number) noexcept;
    HRESULT AddUnits(LONGLONG amount, std::int64_t unit) noexcept;
    HRESULT AddLength(const calendar::Length& length) noexcept;
    /// Reads how far any time is from the beginning of day 0. @return E_FAIL where it has no day number; the failure of
    /// the time
    HRESULT ReadMoment(ITime& time, calendar::Length& moment) noexcept;
    HRESULT FindLocaleName(LONG localeId, calendar::NameKind kind, BSTR text, LONG* index, LONG* position);

    State state_;
};

}  // namespace mova
