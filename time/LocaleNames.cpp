#include "time/LocaleNames.h"

namespace mova {

std::optional<LocaleNames> LocaleNames::Of(LCID locale) noexcept {
    wchar_t name[LOCALE_NAME_MAX_LENGTH];
    if (!LCIDToLocaleName(locale, name, LOCALE_NAME_MAX_LENGTH, 0)) return {};
    return LocaleNames(locale);
}

std::u16string_view LocaleNames::Name(calendar::NameKind kind, int index) {
    // The system's numbers of the names of a kind follow upon each other.
    constexpr LCTYPE first[] = {LOCALE_SMONTHNAME1, LOCALE_SABBREVMONTHNAME1, LOCALE_SDAYNAME1, LOCALE_SABBREVDAYNAME1,
                                LOCALE_S1159};
    last_ = Text(first[static_cast<std::size_t>(kind)] + static_cast<LCTYPE>(index));
    return last_;
}

std::size_t LocaleNames::Find(std::u16string_view text, std::u16string_view sought) noexcept {
    const int at = FindStringOrdinal(FIND_FROMSTART, kv::Wide(text.data()), static_cast<int>(text.size()),
                                     kv::Wide(sought.data()), static_cast<int>(sought.size()), TRUE);
    return at < 0 ? std::u16string_view::npos : static_cast<std::size_t>(at);
}

std::u16string LocaleNames::Picture() {
    return Text(LOCALE_SLONGDATE) + u' ' + Text(LOCALE_STIMEFORMAT);
}

std::u16string LocaleNames::Text(LCTYPE type) const {
    const int length = GetLocaleInfoW(locale_, type, nullptr, 0);
    if (length <= 0) return {};
    std::u16string text(static_cast<std::size_t>(length), u'\0');
    const int written = GetLocaleInfoW(locale_, type, kv::Wide(text.data()), length);
    text.resize(written > 0 ? static_cast<std::size_t>(written) - 1 : 0);  // without the NUL
    return text;
}

}  // namespace mova
