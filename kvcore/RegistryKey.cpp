#include "kvcore/RegistryKey.h"

#include <algorithm>

namespace kv {

RegistryKey RegistryKey::Open(HKEY parent, const std::u16string& path) noexcept {
    RegistryKey opened;
    if (RegOpenKeyExW(parent, Wide(path.c_str()), 0, KEY_READ, &opened.key_) != ERROR_SUCCESS) return {};
    return opened;
}

RegistryKey RegistryKey::Create(HKEY parent, const std::u16string& path) noexcept {
    RegistryKey created;
    if (RegCreateKeyExW(parent, Wide(path.c_str()), 0, nullptr, REG_OPTION_NON_VOLATILE, KEY_ALL_ACCESS, nullptr,
                        &created.key_, nullptr) != ERROR_SUCCESS)
        return {};
    return created;
}

bool RegistryKey::DeleteTree(HKEY parent, const std::u16string& path) noexcept {
    const LSTATUS status = RegDeleteTreeW(parent, Wide(path.c_str()));
    return status == ERROR_SUCCESS || status == ERROR_FILE_NOT_FOUND;
}

bool RegistryKey::SetText(const char16_t* name, const std::u16string& text) const noexcept {
    const auto bytes = static_cast<DWORD>((text.size() + 1) * sizeof(char16_t));
    return RegSetValueExW(key_, name ? Wide(name) : nullptr, 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()),
                          bytes) == ERROR_SUCCESS;
}

std::u16string RegistryKey::Text(const char16_t* name) const {
    const wchar_t* value = name ? Wide(name) : nullptr;
    DWORD bytes = 0;
    if (RegGetValueW(key_, nullptr, value, RRF_RT_REG_SZ, nullptr, nullptr, &bytes) != ERROR_SUCCESS) return {};
    std::u16string text(bytes / sizeof(char16_t), u'\0');
    if (RegGetValueW(key_, nullptr, value, RRF_RT_REG_SZ, nullptr, text.data(), &bytes) != ERROR_SUCCESS) return {};
    text.resize(std::min(text.find(u'\0'), text.size()));
    return text;
}

std::optional<DWORD> RegistryKey::Number(const char16_t* name) const noexcept {
    DWORD number = 0;
    DWORD bytes = sizeof number;
    const wchar_t* value = name ? Wide(name) : nullptr;
    if (RegGetValueW(key_, nullptr, value, RRF_RT_REG_DWORD, nullptr, &number, &bytes) != ERROR_SUCCESS) return {};
    return number;
}

std::u16string RegistryKey::SubkeyName(DWORD index) const {
    wchar_t name[256];  // the platform's longest key name is 255 characters
    DWORD length = ARRAYSIZE(name);
    if (RegEnumKeyExW(key_, index, name, &length, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS) return {};
    return {Narrow16(name), length};
}

}  // namespace kv
