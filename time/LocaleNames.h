#pragma once

#include <optional>
#include <string>

#include "kvcore/Platform.h"
#include "time/TimePicture.h"

namespace mova {

/// The names that the system has for a locale, as the user may have changed them, and its pictures.
class LocaleNames final : public calendar::Names {
 public:
    /// The names of a locale; nothing where the system knows no such locale.
    static std::optional<LocaleNames> Of(LCID locale) noexcept;

    std::u16string_view Name(calendar::NameKind kind, int index) override;
    std::size_t Find(std::u16string_view text, std::u16string_view sought) noexcept override;
    /// The picture of a long date, a blank, and that of a time. @throw std::bad_alloc
    std::u16string Picture();

 private:
    explicit LocaleNames(LCID locale) noexcept : locale_(locale) {}
    /// @throw std::bad_alloc
    std::u16string Text(LCTYPE type) const;

    LCID locale_;
    std::u16string last_;  ///< the name that was told last
};

}  // namespace mova
