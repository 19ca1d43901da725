#pragma once

#include <optional>
#include <span>
#include <vector>

#include "kvcore/SafeArray.h"

namespace mova {

/// Why an operation of this subsystem fails. The text may be null; both stay as they are where nothing fails.
struct Verdict {
    HRESULT status = S_OK;
    const char16_t* text = nullptr;

    explicit operator bool() const noexcept { return FAILED(status); }
};

/// The numbers of an array that a caller hands in: where they are, locked, if they are of the type that is wanted, else
/// converted. @tparam Number double (VT_R8) or std::int32_t (VT_I4)
template <class Number>
class NumberArray {
 public:
    NumberArray() noexcept = default;
    ~NumberArray() {
        if (locked_) SafeArrayUnlock(locked_);
    }
    NumberArray(const NumberArray&) = delete;
    NumberArray& operator=(const NumberArray&) = delete;

    /// Finds an array of one dimension, followed where it is by reference. @return E_INVALIDARG for anything else
    Verdict Find(const VARIANT& value) noexcept;
    std::size_t Count() const noexcept { return found_ ? found_->Count() : 0; }
    /// Locks what was found and reads it. Elements are of any type of numbers, or are VARIANTs of these; whole numbers
    /// are wanted for std::int32_t.
    /// @return E_INVALIDARG for others, E_FAIL for an array that cannot be locked. @throw std::bad_alloc
    Verdict Read();
    /// Both. @throw std::bad_alloc
    Verdict Open(const VARIANT& value);

    std::span<const Number> Numbers() const noexcept { return numbers_; }

 private:
    std::optional<kv::ArrayView> found_;
    SAFEARRAY* locked_ = nullptr;
    std::vector<Number> converted_;
    std::span<const Number> numbers_;
};

/// Tests loosely whether two arguments can be a histogram, as is required before anything else is looked at: by bits
/// that arrays of the types have, and others have, too.
Verdict TestHistogram(const VARIANT& values, const VARIANT& frequencies) noexcept;

/// A new array of VT_R8 or VT_I4 with such numbers. @throw std::bad_alloc
template <class Number>
VARIANT ArrayOf(std::span<const Number> numbers);

}  // namespace mova
