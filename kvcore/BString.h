#pragma once

#include <cstdint>
#include <limits>
#include <new>
#include <utility>

#include "kvcore/Platform.h"

namespace kv {

/// Owns a length-prefixed wide string; null stands for the empty one.
class BString {
 public:
    static constexpr std::size_t longest = std::numeric_limits<std::int32_t>::max() / sizeof(char16_t);  ///< in units

    BString() noexcept = default;
    /// A copy. @throw std::bad_alloc where there is no memory for it.
    explicit BString(std::u16string_view text) : text_(Allocate(text.data(), text.size())) {}
    /// A text of so many units, yet to be filled in. @throw std::bad_alloc where there is no memory for it.
    static BString OfLength(std::size_t units) { return Attach(Allocate(nullptr, units)); }
    BString(BString&& other) noexcept : text_(std::exchange(other.text_, nullptr)) {}
    BString& operator=(BString&& other) noexcept {
        std::swap(text_, other.text_);
        return *this;
    }
    ~BString() { SysFreeString(text_); }

    static BString Attach(BSTR text) noexcept {
        BString held;
        held.text_ = text;
        return held;
    }
    [[nodiscard]] BSTR Detach() noexcept { return std::exchange(text_, nullptr); }
    /// Receives an out-parameter; frees what was held.
    BSTR* Put() noexcept {
        *this = BString();
        return &text_;
    }

    BSTR Get() const noexcept { return text_; }
    /// The units, to be filled in.
    char16_t* Units() noexcept { return reinterpret_cast<char16_t*>(text_); }
    std::u16string_view View() const noexcept { return kv::View(text_); }

 private:
    static BSTR Allocate(const char16_t* units, std::size_t count) {
        const BSTR made = count <= longest ? SysAllocStringLen(Wide(units), static_cast<UINT>(count)) : nullptr;
        return made ? made : throw std::bad_alloc();
    }

    BSTR text_ = nullptr;
};

}  // namespace kv
