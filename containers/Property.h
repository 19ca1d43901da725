#pragma once

#include <memory>
#include <string_view>

#include "containers/HashedList.h"
#include "kvcore/Variant.h"

namespace mova {

/// A value with its name in one block of memory. A block that is made for a short text has room for it, too: to read
/// such a property is one trip to memory, and no string of the platform's has to be made and freed for it.
class Property {
 public:
    struct Deleter {
        void operator()(Property* property) const noexcept;
    };
    using Owner = std::unique_ptr<Property, Deleter>;

    /// A property that is empty. @param value what it is to hold, and may have room for. @throw std::bad_alloc
    static Owner Make(std::u16string_view name, const VARIANT& value);

    std::u16string_view Name() const noexcept { return {reinterpret_cast<const char16_t*>(this + 1), nameLength_}; }
    /// Whether it has a name: how the two are compared follows from the property's own.
    bool IsNamed(std::u16string_view name) const noexcept;

    /// The value, which is only to be looked at: its text can be this block's.
    const VARIANT& Value() const noexcept { return value_.Get(); }
    /// Hands out a deep copy, as kv::Variant does.
    HRESULT CopyTo(VARIANT* target) const noexcept { return value_.CopyTo(target); }
    /// Keeps a deep copy, as kv::Variant does.
    HRESULT Assign(const VARIANT& value) noexcept;
    /// Takes a value over. What was held is freed last: when an object among it calls back, it has the new value.
    void Take(kv::Variant value) noexcept;

    HashLink<Property> link;

 private:
    Property(std::u16string_view name, std::size_t textRoom) noexcept;
    ~Property();

    /// Keeps a text in the block. @return false, nothing being done, where the value is no text that it has room for
    bool KeepText(const VARIANT& value) noexcept;
    BSTR OwnText() const noexcept;
    bool HoldsOwnText() const noexcept {
        return textRoom_ != 0 && value_.Get().vt == VT_BSTR && value_.Get().bstrVal == OwnText();
    }

    kv::Variant value_;
    std::uint32_t nameLength_;
    std::uint16_t textRoom_;  ///< bytes; 0 for none
    bool ascii_;              ///< every character of the name is below 127: only A to Z are folded in comparing
};

}  // namespace mova
