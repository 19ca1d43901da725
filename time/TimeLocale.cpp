// A time as its reader's country writes it.
#include "time/LocaleNames.h"
#include "time/Time.h"
#include "time/TimePicture.h"
#include "time/TimeRefusals.h"

namespace mova {
namespace {

constexpr auto noLocale = u"The system knows no such locale.";

/// The picture that a caller gave, else the locale's.
std::u16string PictureFor(LocaleNames& names, BSTR picture) {
    const std::u16string_view given = kv::View(picture);
    return given.empty() ? names.Picture() : std::u16string(given);
}

}  // namespace

STDMETHODIMP Time::QueryLocaleTimeString(LONG localeId, BSTR picture, BSTR* text) noexcept try {
    if (!text) return Refuse(E_POINTER);
    *text = nullptr;
    auto names = LocaleNames::Of(static_cast<LCID>(localeId));
    if (!names) return Refuse<ITime2>(E_INVALIDARG, noLocale);
    if (HRESULT status = BringUpToDate(); FAILED(status)) return status;
    const std::u16string wanted = PictureFor(*names, picture);
    std::u16string out;
    if (!calendar::FormatPicture(out, state_.fields, state_.mode, wanted, *names))
        return Refuse<ITime2>(E_FAIL, noDayNumber);
    *text = kv::BString(out).Detach();
    return S_OK;
} catch (...) {
    return CaughtStatus();
}

STDMETHODIMP Time::SetFromLocaleTimeString(LONG localeId, BSTR picture, BSTR text) noexcept try {
    auto names = LocaleNames::Of(static_cast<LCID>(localeId));
    if (!names) return Refuse<ITime2>(E_INVALIDARG, noLocale);
    if (HRESULT status = BringUpToDate(); FAILED(status)) return status;
    const std::u16string wanted = PictureFor(*names, picture);
    const auto read = calendar::ReadPicture(kv::View(text), wanted, state_.fields, *names);
    if (!read) return Refuse<ITime2>(E_INVALIDARG, u"The text does not follow the picture, or names no date.");
    Take(*read);
    return S_OK;
} catch (...) {
    return CaughtStatus();
}

STDMETHODIMP Time::FindMonthName(LONG localeId, VARIANT_BOOL abbreviated, BSTR text, LONG* foundMonth,
                                 LONG* position) noexcept try {
    return FindLocaleName(localeId, abbreviated ? calendar::NameKind::ShortMonth : calendar::NameKind::Month, text,
                          foundMonth, position);
} catch (...) {
    return CaughtStatus();
}

STDMETHODIMP Time::FindDayName(LONG localeId, VARIANT_BOOL abbreviated, BSTR text, LONG* weekday,
                               LONG* position) noexcept try {
    return FindLocaleName(localeId, abbreviated ? calendar::NameKind::ShortDay : calendar::NameKind::Day, text, weekday,
                          position);
} catch (...) {
    return CaughtStatus();
}

STDMETHODIMP Time::get_DayOfWeek(LONG* weekday) noexcept {
    if (!weekday) return Refuse(E_POINTER);
    *weekday = 0;
    if (HRESULT status = BringUpToDate(); FAILED(status)) return status;
    const auto number =
        calendar::IsMode(state_.mode) ? calendar::DayNumberOf(state_.fields, state_.mode) : std::nullopt;
    if (!number) return Refuse<ITime2>(E_FAIL, noDayNumber);
    *weekday = calendar::DayOfWeek(*number);
    return S_OK;
}

HRESULT Time::FindLocaleName(LONG localeId, calendar::NameKind kind, BSTR text, LONG* index, LONG* position) {
    if (!index || !position) return Refuse(E_POINTER);
    *index = -1;
    *position = 0;
    auto names = LocaleNames::Of(static_cast<LCID>(localeId));
    if (!names) return Refuse<ITime2>(E_INVALIDARG, noLocale);
    const auto found = calendar::FindName(kv::View(text), kind, *names);
    if (!found) return S_OK;
    *index = found->index + 1;
    *position = static_cast<LONG>(found->end);
    return S_OK;
}

}  // namespace mova
