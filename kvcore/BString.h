#pragma once

#include <new>
#include <utility>

#include "kvcore/Platform.h"

namespace kv {

/// Owns a length-prefixed wide string; null stands for the empty one.
class BString {
 public:
    BString() noexcept = default;
    /// A copy. @throw std::bad_alloc where there is no memory for it.
    explicit BString(std::u16string_view text)
        : text_(SysAllocStringLen(Wide(text.data()), static_cast<UINT>(text.size()))) {
        if (!text_) throw std::bad_alloc();
    }
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
    std::u16string_view View() const noexcept { return kv::View(text_); }

 private:
    BSTR text_ = nullptr;
};

}  // namespace kv
