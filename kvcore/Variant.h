#pragma once

#include <optional>

#include "kvcore/BString.h"

namespace kv {

/// How deeply arrays of VARIANTs may hold arrays of VARIANTs: the budget of everything that follows nested values.
inline constexpr int maxNesting = 500;

/// Owns a tagged value.
class Variant {
 public:
    Variant() noexcept { VariantInit(&value_); }
    Variant(Variant&& other) noexcept : value_(std::exchange(other.value_, VARIANT{})) {}
    /// What was held is freed last: when an object among it calls back, this value is the new one already.
    Variant& operator=(Variant&& other) noexcept {
        Variant former = Attach(std::exchange(value_, std::exchange(other.value_, VARIANT{})));
        return *this;
    }
    ~Variant() { Clear(); }

    static Variant Attach(const VARIANT& value) noexcept {
        Variant held;
        held.value_ = value;
        return held;
    }
    /// Takes over a text.
    static Variant FromText(BString text) noexcept;
    /// Takes over an array. @param elementType what the array's elements are.
    static Variant FromArray(SAFEARRAY* array, VARTYPE elementType) noexcept;

    /// Keeps a deep copy of a value, read through where it is by reference; what was held is kept where that fails.
    /// @return E_INVALIDARG for what is no storable value: a null or doubled reference, references inside an array,
    ///     nesting beyond maxNesting, a type that VARIANTs do not have; E_OUTOFMEMORY.
    HRESULT Assign(const VARIANT& source) noexcept;
    /// Hands out a deep copy. @param target is overwritten unread and is empty where that fails.
    /// @return as Assign
    HRESULT CopyTo(VARIANT* target) const noexcept;

    /// Writes the value with its type to a stream. @param keepsObjects whether objects are saved, else null is written.
    /// @return S_OK; DISP_E_BADVARTYPE for what cannot be saved; the failure of the stream or of an object
    HRESULT Write(IStream* stream, bool keepsObjects) const noexcept;
    /// Reads what Write wrote; what was held is kept where that fails.
    /// @param keepsObjects whether an object may be among it; else one is E_FAIL.
    /// @return S_OK; E_FAIL where the stream ends too early or holds no value; the failure of the stream or an object
    HRESULT Read(IStream* stream, bool keepsObjects) noexcept;

    [[nodiscard]] VARIANT Detach() noexcept { return std::exchange(value_, VARIANT{}); }
    /// Receives an out-parameter; frees what was held.
    VARIANT* Put() noexcept {
        Clear();
        return &value_;
    }
    void Clear() noexcept {
        if (value_.vt > VT_DATE) Free();  // the types up to there own nothing
        value_.vt = VT_EMPTY;
    }

    const VARIANT& Get() const noexcept { return value_; }

 private:
    void Free() noexcept;

    VARIANT value_;
};

/// Converts a value to another type. @param target is empty where that fails
inline HRESULT ChangeType(const VARIANT& source, VARTYPE type, LCID locale, USHORT flags, Variant& target) noexcept {
    return VariantChangeTypeEx(target.Put(), const_cast<VARIANT*>(&source), locale, flags, type);
}

/// Whether the parameters of a call have the arrays that their counts promise.
bool IsComplete(const DISPPARAMS& parameters) noexcept;

/// A value that is not a VARIANT reference: what the VT_BYREF | VT_VARIANT of an argument refers to, else the value.
/// Null for a reference to nothing or to another such reference.
const VARIANT* Referred(const VARIANT& value) noexcept;

/// The text that a value holds, directly or by reference; nothing where it is no text.
std::optional<std::u16string_view> TextIn(const VARIANT& value) noexcept;

/// An object as a value, which has the reference that it is handed.
inline VARIANT ObjectValue(IUnknown* object) noexcept {
    VARIANT value{};
    value.vt = VT_UNKNOWN;
    value.punkVal = object;
    return value;
}

/// Whether two values are of one type and hold the same: texts, arrays by bounds and elements, objects by identity;
/// not-a-number equals itself. References are never the same. @throw std::bad_alloc
bool SameValue(const VARIANT& left, const VARIANT& right);

}  // namespace kv
