#include "kvcore/DateText.h"

#include "kvcore/Variant.h"

namespace kv {
namespace {

constexpr DATE beforeFirst = -657435.0;     ///< the day before 0100-01-01
constexpr DATE afterLast = 2958466.0;       ///< 10000-01-01
constexpr DATE firstFormatted = -109205.0;  ///< 1601-01-01, where the system's calendar begins
constexpr int longestText = 128;

/// Formats through one of the system's functions. @return the length; 0 where it fails
template <class Format>
std::size_t Append(wchar_t* out, Format format) noexcept {
    const int length = format(out, longestText);
    return length > 0 ? static_cast<std::size_t>(length) - 1 : 0;  // without the NUL
}

}  // namespace

HRESULT DateText(DATE date, LCID locale, DWORD flags, BString& text) noexcept try {
    if (date <= beforeFirst || date >= afterLast) {
        text = BString(u"<?>");
        return S_OK;
    }
    if (date < firstFormatted) {
        VARIANT source{};
        source.vt = VT_DATE;
        source.date = date;
        Variant changed;
        const USHORT changeFlags = flags ? VARIANT_NOUSEROVERRIDE : 0;
        if (HRESULT status = ChangeType(source, VT_BSTR, locale, changeFlags, changed); FAILED(status)) return status;
        text = BString::Attach(changed.Detach().bstrVal);
        return S_OK;
    }
    SYSTEMTIME fields;
    wchar_t name[LOCALE_NAME_MAX_LENGTH];
    if (!VariantTimeToSystemTime(date, &fields) || !LCIDToLocaleName(locale, name, LOCALE_NAME_MAX_LENGTH, 0))
        return E_FAIL;
    wchar_t out[2 * longestText];
    std::size_t length = Append(
        out, [&](wchar_t* to, int room) { return GetDateFormatEx(name, flags, &fields, nullptr, to, room, nullptr); });
    if (length == 0) return E_FAIL;
    if (fields.wHour || fields.wMinute || fields.wSecond) {
        out[length++] = L' ';
        const std::size_t timeLength = Append(out + length, [&](wchar_t* to, int room) {
            return GetTimeFormatEx(name, flags, &fields, nullptr, to, room);
        });
        if (timeLength == 0) return E_FAIL;
        length += timeLength;
    }
    text = BString({Narrow16(out), length});
    return S_OK;
} catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
}

}  // namespace kv
