#pragma once

#include <movaSystem.h>
#include "time/Duration.h"
#include "xml/XmlPersistentComponent.h"

namespace mova {

/// A length of time; what it does is in Duration.h.
class TimeDuration final : public XmlVersionedComponent<TimeDuration, ::TimeDuration, ITimeDuration, IClone> {
 public:
    using XmlVersionedComponent::XmlVersionedComponent;
    /// A new duration. @throw std::bad_alloc
    static kv::Ptr<TimeDuration> Of(const calendar::Duration& duration);

    // ITimeDuration
    STDMETHODIMP put_Positive(VARIANT_BOOL flag) noexcept override;
    STDMETHODIMP get_Positive(VARIANT_BOOL* flag) noexcept override;
    STDMETHODIMP put_Days(LONG number) noexcept override;
    STDMETHODIMP get_Days(LONG* number) noexcept override;
    STDMETHODIMP put_Hours(LONG number) noexcept override;
    STDMETHODIMP get_Hours(LONG* number) noexcept override;
    STDMETHODIMP put_Minutes(LONG number) noexcept override;
    STDMETHODIMP get_Minutes(LONG* number) noexcept override;
    STDMETHODIMP put_Seconds(LONG number) noexcept override;
    STDMETHODIMP get_Seconds(LONG* number) noexcept override;
    STDMETHODIMP put_Nanoseconds(LONG number) noexcept override;
    STDMETHODIMP get_Nanoseconds(LONG* number) noexcept override;
    STDMETHODIMP QueryTicks(LONGLONG* ticks) noexcept override;
    STDMETHODIMP SetTicks(LONGLONG ticks) noexcept override;
    STDMETHODIMP Reset() noexcept override;
    STDMETHODIMP QueryDurationString(BSTR* text) noexcept override;
    STDMETHODIMP SetFromDurationString(BSTR text) noexcept override;
    STDMETHODIMP Normalize() noexcept override;
    STDMETHODIMP Negate() noexcept override;
    STDMETHODIMP Add(ITimeDuration* other) noexcept override;
    STDMETHODIMP Subtract(ITimeDuration* other) noexcept override;
    STDMETHODIMP Multiply(LONG factor) noexcept override;
    STDMETHODIMP Compare(ITimeDuration* other, LONG* order) noexcept override;
    // IClone
    STDMETHODIMP Clone(IUnknown** copy) noexcept override;

    // PersistentComponent's
    static constexpr ULONG sizeMax = 24;
    void WriteFields(kv::StreamWriter& out) const noexcept;
    HRESULT ReadFields(kv::StreamReader& in) noexcept;
    // XmlVersionedComponent's
    static constexpr std::u16string_view typeName = u"TimeDuration";
    static constexpr auto firstRelease = xml::SchemaRelease::V9_3;
    HRESULT WriteElements(XmlFieldWriter& out) const;
    HRESULT ReadElements(XmlFieldReader& in);

 private:
    HRESULT Put(std::int32_t calendar::Duration::*part, LONG number) noexcept;
    HRESULT Get(std::int32_t calendar::Duration::*part, LONG* number) const noexcept;
    /// Takes a length in its shortest form. @param length nothing where it is too long
    HRESULT Take(const std::optional<calendar::Length>& length) noexcept;

    calendar::Duration parts_;
};

/// The length of any duration. @return E_POINTER for null; the failure of the duration
HRESULT ReadLength(ITimeDuration* duration, calendar::Length& length) noexcept;

}  // namespace mova
