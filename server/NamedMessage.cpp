#include "server/NamedMessage.h"

#include <array>

#include "server/Module.h"

namespace mova {

std::u16string Filled(std::u16string_view text, std::u16string_view gap, std::u16string_view filling) {
    std::u16string filled(text);
    if (const std::size_t at = filled.find(gap); at != std::u16string::npos) filled.replace(at, gap.size(), filling);
    return filled;
}

std::u16string WithName(std::u16string_view text, std::u16string_view name) {
    return Filled(text, u"%s", name);
}

std::u16string TableMessage(UINT messageId) {
    std::array<wchar_t, 512> text;  // longer than any row of the table
    const int length = LoadStringW(ThisModule(), messageId, text.data(), static_cast<int>(text.size()));
    return {kv::Narrow16(text.data()), static_cast<std::size_t>(length)};
}

std::u16string NamedMessage(UINT messageId, std::u16string_view name) {
    return WithName(TableMessage(messageId), name);
}

}  // namespace mova
