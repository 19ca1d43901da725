#include "kvcore/SystemText.h"

#include <array>
#include <cwchar>

namespace kv {

BString SystemText(HRESULT status, LCID locale) {
    std::array<wchar_t, 512> text;
    const auto capacity = static_cast<DWORD>(text.size());
    const auto code = static_cast<DWORD>(status);
    DWORD length = FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, code,
                                  LANGIDFROMLCID(locale), text.data(), capacity, nullptr);
    while (length > 0 && text[length - 1] <= L' ') --length;
    if (length == 0) length = static_cast<DWORD>(std::swprintf(text.data(), capacity, L"0x%08lX", code));
    return BString({Narrow16(text.data()), length});
}

}  // namespace kv
