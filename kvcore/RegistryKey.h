#pragma once

#include <optional>
#include <string>
#include <utility>

#include "kvcore/Platform.h"

namespace kv {

/// An open key of the registry.
class RegistryKey {
 public:
    RegistryKey() noexcept = default;
    RegistryKey(RegistryKey&& other) noexcept : key_(std::exchange(other.key_, nullptr)) {}
    RegistryKey& operator=(RegistryKey&& other) noexcept {
        std::swap(key_, other.key_);
        return *this;
    }
    ~RegistryKey() {
        if (key_) RegCloseKey(key_);
    }

    /// Opens a key for reading; the holder is empty where there is none, or none that may be read.
    static RegistryKey Open(HKEY parent, const std::u16string& path) noexcept;
    /// Creates a key, or opens the one that is there, with full access; empty where that is not granted.
    static RegistryKey Create(HKEY parent, const std::u16string& path) noexcept;
    /// Deletes a key with all that is under it. True where it is gone, also when it never was.
    static bool DeleteTree(HKEY parent, const std::u16string& path) noexcept;

    /// Sets a text value; a null name is the key's default value.
    bool SetText(const char16_t* name, const std::u16string& text) const noexcept;
    /// A value where that is a text, else empty; a null name is the key's default value. @throw std::bad_alloc
    std::u16string Text(const char16_t* name) const;
    std::u16string DefaultText() const { return Text(nullptr); }
    /// A value where that is a number of 32 bits.
    std::optional<DWORD> Number(const char16_t* name) const noexcept;
    /// The name of the subkey at an index from 0; empty past the last one.
    std::u16string SubkeyName(DWORD index) const;

    HKEY Get() const noexcept { return key_; }
    explicit operator bool() const noexcept { return key_ != nullptr; }

 private:
    HKEY key_ = nullptr;
};

}  // namespace kv
