#include "containers/SystemNames.h"

#include "containers/NameFold.h"
#include "kvcore/Platform.h"

extern "C" NTSYSAPI WCHAR NTAPI RtlUpcaseUnicodeChar(WCHAR character);

namespace mova {
namespace {

// The table behind ordinal comparison.
char16_t SystemUpcase(char16_t character) noexcept {
    return static_cast<char16_t>(RtlUpcaseUnicodeChar(character));
}

}  // namespace

std::uint32_t HashName(std::u16string_view name) noexcept {
    return HashName(name, reinterpret_cast<std::uintptr_t>(&SystemUpcase), &SystemUpcase);
}

bool SameName(std::u16string_view stored, bool isAscii, std::u16string_view name) noexcept {
    return isAscii ? SameAsciiName(stored, name) : SameName(stored, name, &SystemUpcase);
}

}  // namespace mova
